// The records that all sides of an end-to-end benchmark hold: encapsulations of pseudowires by
// interface, and the changes that are made to them.

#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireStatus.h"

namespace endtoend {

// The key of the i-th record; keys are in no order.
inline Vorn::IntfId keyAt(std::uint32_t i) {
    return Vorn::IntfId((std::uint64_t{i} + 1) * 0x9e3779b97f4a7c15);
}

inline Pseudowire::EncapAdjacency valueAt(std::uint32_t i) {
    Pseudowire::EncapAdjacency value("metro-" + std::to_string(100'000 + i));
    value.encapPwLabelIs(Vorn::MplsLabel(16 + i));
    value.pseudowireTypeIs(Pseudowire::PseudowireType::ethernetTagged);
    value.dot1qTagIs(Bridging::VlanIdOrNone(static_cast<std::uint16_t>(i % 4094 + 1)));
    value.controlWordIs(true);
    value.tunnelIdIs(Tunnel::TunnelTable::TunnelId(i));
    return value;
}

// Visits the name and the value of each field; values are a std::string_view, bool or
// std::int64_t.
template <class Visit>
void forEachField(const Pseudowire::EncapAdjacency& value, const Visit& visit) {
    const auto number = [&](const char* name, auto word) {
        visit(name, static_cast<std::int64_t>(word));
    };
    visit("patchName", value.patchName().view());
    number("encapPwLabel", value.encapPwLabel().value());
    number("dot1qTagOp", value.dot1qTagOp());
    number("pseudowireType", value.pseudowireType());
    number("dot1qTag", value.dot1qTag().value());
    number("dot1qTagInner", value.dot1qTagInner().value());
    visit("controlWord", value.controlWord());
    visit("flowLabel", value.flowLabel());
    number("tunnelId", value.tunnelId().value());
    visit("entropyLabel", value.entropyLabel());
    number("destIntfId", value.destIntfId().value());
    visit("isLocalAdj", value.isLocalAdj());
}

// Changes of one field, tunnelId, of one member each. Members come in a shuffled order, all of
// them before the first comes again: a sender that lags by less than a pass has no two changes
// of one member to send as one.
class Changes {
  public:
    struct Change {
        std::uint32_t member;
        std::uint64_t tunnelId;
    };

    // Values differ from those of other rounds and of valueAt().
    Changes(std::uint32_t members, std::uint32_t round)
        : order_(members), tunnelId_(std::uint64_t{round + 1} << 32) {
        std::iota(order_.begin(), order_.end(), 0);
        std::shuffle(order_.begin(), order_.end(), std::mt19937(round));
    }

    Change next() {
        if (at_ == order_.size()) at_ = 0;
        return {order_[at_++], ++tunnelId_};
    }

  private:
    std::vector<std::uint32_t> order_;
    std::uint64_t tunnelId_;
    std::size_t at_ = 0;
};

// The same for equal members, in whatever order.
inline std::uint64_t checksumOf(const Pseudowire::Status& status) {
    std::uint64_t sum = 0;
    for (const auto& member : status.encapAdjacency()) {
        const std::uint64_t word = member.key().value() ^
                                   member.value().tunnelId().value() * 0xff51afd7ed558ccd ^
                                   std::uint64_t{member.value().encapPwLabel().value()} << 40;
        sum += (word ^ word >> 29) * 0xc4ceb9fe1a85ec53;
    }
    return sum;
}

}  // namespace endtoend
