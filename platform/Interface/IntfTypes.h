// What the status of an interface is said in: whether it passes packets, its link, its speed,
// its port.

#pragma once

#include <cstdint>

#include "Interface/Strep.h"
#include "Zin/Enum.h"
#include "Zin/Value.h"

namespace Interface {

// ifOperStatus of RFC 2863.
enum class OperStatus : std::uint32_t {
    up = 1,
    down = 2,
    testing = 3,
    unknown = 4,
    dormant = 5,
    notPresent = 6,
    lowerLayerDown = 7,
};

consteval auto enumeration(OperStatus) {
    using enum OperStatus;
    return describe::enumerators<OperStatus>(
        "Interface::OperStatus",
        {{up, "up"},
         {down, "down"},
         {testing, "testing"},
         {unknown, "unknown"},
         {dormant, "dormant"},
         {notPresent, "notPresent"},
         {lowerLayerDown, "lowerLayerDown"}});
}

// Who takes the frames that arrive.
enum class ForwardingModel : std::uint8_t {
    unset,
    bridged,
    routed,
    crossConnected,  // a patch or a pseudowire
};

consteval auto enumeration(ForwardingModel) {
    using enum ForwardingModel;
    return describe::enumerators<ForwardingModel>(
        "Interface::ForwardingModel",
        {{unset, "unset"},
         {bridged, "bridged"},
         {routed, "routed"},
         {crossConnected, "crossConnected"}});
}

enum class LinkStatus : std::uint8_t { unknown, down, up };

consteval auto enumeration(LinkStatus) {
    using enum LinkStatus;
    return describe::enumerators<LinkStatus>(
        "Interface::LinkStatus",
        {{unknown, "unknown"}, {down, "down"}, {up, "up"}});
}

// The rates of IEEE 802.3.
enum class EthSpeed : std::uint8_t {
    unknown,
    speed10Mbps,
    speed100Mbps,
    speed1Gbps,
    speed2500Mbps,
    speed5Gbps,
    speed10Gbps,
    speed25Gbps,
    speed40Gbps,
    speed50Gbps,
    speed100Gbps,
    speed200Gbps,
    speed400Gbps,
    speed800Gbps,
};

consteval auto enumeration(EthSpeed) {
    using enum EthSpeed;
    return describe::enumerators<EthSpeed>(
        "Interface::EthSpeed",
        {{unknown, "unknown"},
         {speed10Mbps, "speed10Mbps"},
         {speed100Mbps, "speed100Mbps"},
         {speed1Gbps, "speed1Gbps"},
         {speed2500Mbps, "speed2500Mbps"},
         {speed5Gbps, "speed5Gbps"},
         {speed10Gbps, "speed10Gbps"},
         {speed25Gbps, "speed25Gbps"},
         {speed40Gbps, "speed40Gbps"},
         {speed50Gbps, "speed50Gbps"},
         {speed100Gbps, "speed100Gbps"},
         {speed200Gbps, "speed200Gbps"},
         {speed400Gbps, "speed400Gbps"},
         {speed800Gbps, "speed800Gbps"}});
}

// How often OperStatus changed, and when it did last.
class OperStatusChange : public Zin::Value<OperStatusChange> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Interface::OperStatusChange",
            describe::field<&OperStatusChange::count_>("count"),
            describe::field<&OperStatusChange::time_>("time"));
    }

    constexpr OperStatusChange() = default;
    constexpr OperStatusChange(std::uint64_t count, double time) : count_(count), time_(time) {}

    constexpr std::uint64_t count() const { return count_; }
    constexpr void countIs(std::uint64_t count) { count_ = count; }
    // In seconds of the switch's clock; 0 when it never changed.
    constexpr double time() const { return time_; }
    constexpr void timeIs(double seconds) { time_ = seconds; }

  private:
    std::uint64_t count_ = 0;
    double time_ = 0;
};

// The number of a port among those of its bridge (IEEE 802.1D); 0 for none.
class PortId : public Zin::Value<PortId> {
  public:
    static consteval auto schema() {
        return describe::value("Interface::PortId", describe::field<&PortId::value_>("value"));
    }

    constexpr PortId() = default;
    constexpr explicit PortId(std::uint32_t value) : value_(value) {}

    constexpr std::uint32_t value() const { return value_; }
    constexpr void valueIs(std::uint32_t value) { value_ = value; }

  private:
    std::uint32_t value_ = 0;
};

}  // namespace Interface
