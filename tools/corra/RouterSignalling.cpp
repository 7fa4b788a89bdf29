#include "corra/RouterSignalling.h"

#include <array>
#include <limits>
#include <nlohmann/json.hpp>

#include "Zin/Exceptions.h"
#include "corra/StateError.h"
#include "corra/StrictJson.h"

namespace corra {

namespace {

using nlohmann::json;
using ::Pseudowire::PseudowireLdpKey;
using ::Pseudowire::PseudowireType;

constexpr std::uint64_t mostOf32Bits = std::numeric_limits<std::uint32_t>::max();
// Lower ones have a purpose of their own (RFC 7274).
constexpr std::uint64_t leastLabel = 16;
constexpr std::uint64_t mostLabel = Vorn::MplsLabel::noLabel - 1;

std::string placeOf(const StatePlace& place) {
    return std::string(place.file()) + ": " + place.pointer();
}

// The members of an object, each of which is asked for once. What nobody asked for is reported.
class Members {
  public:
    Members(const StatePlace& place, const json& object, Warnings& warnings)
        : place_(place), object_(object), warnings_(warnings) {
        if (!object.is_object()) place.fail("an object", object);
    }

    const StatePlace& place() const { return place_; }

    const json* find(std::string_view name) {
        asked_.insert(name);
        const auto found = object_.find(name);
        return found == object_.end() ? nullptr : &*found;
    }

    std::string text(std::string_view name) {
        const json& found = need(name);
        if (!found.is_string()) StatePlace(place_, name).fail("a string", found);
        return found.get<std::string>();
    }

    std::uint32_t number(std::string_view name, std::uint64_t least, std::uint64_t most) {
        const json& found = need(name);
        if (!isNumber(found, least, most)) {
            StatePlace(place_, name).fail(wholeNumber(least, most), found);
        }
        return found.get<std::uint32_t>();
    }

    Vorn::IpGenAddr address(std::string_view name) {
        const json& found = need(name);
        try {
            const auto read = Vorn::IpGenAddr::fromStringValue(text(name));
            if (read.family() == Vorn::AddressFamily::ip4) return read;
        } catch (const Zin::TextException&) {
        }
        StatePlace(place_, name).fail("an IPv4 address", found);
    }

    PseudowireLdpKey ldpKey(std::string_view peer) {
        const Vorn::IpGenAddr address = this->address(peer);
        return {address, number("vcId", 1, mostOf32Bits)};
    }

    // The router has a word for "none", which differs from table to table.
    Vorn::MplsLabel label(std::string_view name) {
        const json& found = need(name);
        if (isText(found, "unassigned") || isText(found, "-")) return {};
        if (!isNumber(found, leastLabel, mostLabel)) {
            StatePlace(place_, name)
                .fail(wholeNumber(leastLabel, mostLabel) + R"(, "unassigned" or "-")", found);
        }
        return Vorn::MplsLabel(found.get<std::uint32_t>());
    }

    PseudowireType pseudowireType(std::string_view name) {
        const std::string word = text(name);
        if (word == "Ethernet") return PseudowireType::ethernet;
        if (word == "Eth Tagged") return PseudowireType::ethernetTagged;
        warn(name, "unknown pseudowire type " + inJson(word) + " left out");
        return PseudowireType::unset;
    }

    void warn(std::string_view name, std::string_view text) {
        warnings_.push_back(warningAt(placeOf(StatePlace(place_, name)), text));
    }

    void warnOfOthers() {
        for (const auto& member : object_.items()) {
            if (!asked_.contains(member.key())) warn(member.key(), "not expected, left out");
        }
    }

  private:
    // The library's own comparison copies the text where it may not throw.
    static bool isText(const json& value, std::string_view text) {
        return value.is_string() && value.get_ref<const std::string&>() == text;
    }
    static bool isNumber(const json& value, std::uint64_t least, std::uint64_t most) {
        return value.is_number_unsigned() && value.get<std::uint64_t>() >= least &&
               value.get<std::uint64_t>() <= most;
    }
    static std::string wholeNumber(std::uint64_t least, std::uint64_t most) {
        return "a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    }

    const json& need(std::string_view name) {
        const json* const found = find(name);
        if (!found) place_.fail("a member " + inJson(name), std::string("none"));
        return *found;
    }

    const StatePlace& place_;
    const json& object_;
    Warnings& warnings_;
    std::set<std::string_view> asked_;
};

struct EndNames {
    std::string_view label, controlWord, vcType, groupId, mtu;
};
constexpr EndNames localNames{
    "localLabel",
    "localControlWord",
    "localVcType",
    "localGroupID",
    "localIfMtu"};
constexpr EndNames remoteNames{
    "remoteLabel",
    "remoteControlWord",
    "remoteVcType",
    "remoteGroupID",
    "remoteIfMtu"};

RouterBinding::End endOf(Members& members, const EndNames& names) {
    RouterBinding::End end;
    end.label = members.label(names.label);
    if (!end.isBound()) return end;
    end.controlWord = members.number(names.controlWord, 0, 1) == 1;
    end.pseudowireType = members.pseudowireType(names.vcType);
    end.mtu = members.number(names.mtu, 0, 65535);  // two octets (RFC 8077)
    if (const auto group = members.number(names.groupId, 0, mostOf32Bits); group != 0) {
        members.warn(names.groupId, "group id " + std::to_string(group) + " left out");
    }
    return end;
}

RouterBinding bindingOf(Members& members, const std::string& name) {
    RouterBinding binding{placeOf(members.place())};
    binding.ldpKey = members.ldpKey("destination");
    const std::string expected = std::string(binding.ldpKey.peerAddr().stringValue().view()) +
                                 ": " + std::to_string(binding.ldpKey.pwId());
    // No pseudowire can be there twice then.
    if (name != expected) {
        members.place().fail(
            "the name " + inJson(expected) + " of what is in it",
            inJson(name));
    }
    binding.local = endOf(members, localNames);
    binding.remote = endOf(members, remoteNames);
    constexpr std::string_view reason = "lastFailureReason";
    if (binding.local.isBound() || members.find(reason)) {
        binding.failureReason = members.text(reason);
    }
    return binding;
}

RouterCircuit circuitOf(Members& members, const std::string& name) {
    RouterCircuit circuit{placeOf(members.place()), name};
    circuit.ldpKey = members.ldpKey("peerId");
    circuit.instance = members.text("vpnName");
    // An older name of the same.
    constexpr std::string_view oldName = "VpnName";
    if (members.find(oldName) && members.text(oldName) != circuit.instance) {
        members.warn(
            oldName,
            inJson(members.text(oldName)) + R"( left out: "vpnName" is )" +
                inJson(circuit.instance));
    }
    const std::string status = members.text("status");
    if (status != "up" && status != "down") {
        StatePlace(members.place(), "status").fail(R"("up" or "down")", inJson(status));
    }
    circuit.isUp = status == "up";
    return circuit;
}

// Of an object of objects, the struct that each is read into.
template <class Read>
auto parseMembers(
    std::string_view text,
    std::string_view file,
    Warnings& warnings,
    const Read& read) {
    const JsonDocument parsed = parseStrictJson(text, file);
    const json& document = parsed;
    const StatePlace top(file);
    if (!document.is_object()) top.fail("an object", document);
    Warnings found;
    std::vector<decltype(read(std::declval<Members&>(), std::string()))> all;
    for (const auto& member : document.items()) {
        const StatePlace place(top, member.key());
        Members members(place, member.value(), found);
        all.push_back(read(members, member.key()));
        members.warnOfOthers();
    }
    warnings.insert(warnings.end(), found.begin(), found.end());
    return all;
}

}  // namespace

std::vector<RouterBinding>
parseRouterBindings(std::string_view text, std::string_view file, Warnings& warnings) {
    return parseMembers(text, file, warnings, bindingOf);
}

std::vector<RouterCircuit>
parseRouterCircuits(std::string_view text, std::string_view file, Warnings& warnings) {
    return parseMembers(text, file, warnings, circuitOf);
}

std::set<Vorn::IpGenAddr>
parseRouterSessions(std::string_view text, std::string_view file, Warnings& warnings) {
    const JsonDocument parsed = parseStrictJson(text, file);
    const json& document = parsed;
    const StatePlace top(file);
    Warnings found;
    Members members(top, document, found);
    std::set<Vorn::IpGenAddr> sessions;
    // The router leaves the list out when it is empty.
    if (const json* const list = members.find("neighbors")) {
        const StatePlace listPlace(top, "neighbors");
        if (!list->is_array()) listPlace.fail("an array", *list);
        for (std::size_t i = 0; i < list->size(); ++i) {
            const std::string index = std::to_string(i);
            const StatePlace place(listPlace, index);
            Members neighbor(place, (*list)[i], found);
            const Vorn::IpGenAddr lsrId = neighbor.address("neighborId");
            if (neighbor.text("state") == "OPERATIONAL") sessions.insert(lsrId);
            for (const auto* const unused : {"addressFamily", "transportAddress", "upTime"}) {
                neighbor.find(unused);
            }
            neighbor.warnOfOthers();
        }
    }
    members.warnOfOthers();
    warnings.insert(warnings.end(), found.begin(), found.end());
    return sessions;
}

std::string warningAt(std::string_view place, std::string_view text) {
    return std::string(place) + ": warning: " + std::string(text);
}

}  // namespace corra
