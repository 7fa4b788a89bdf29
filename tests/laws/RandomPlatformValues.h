// Random values of the platform's types whose fields depend on each other, and what their laws
// must know about them.

#pragma once

#include <algorithm>
#include <cstdint>

#include "Bridging/VlanId.h"
#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/PwPseudowireUserKey.h"
#include "Quib/Tristate.h"
#include "Vorn/EthAddr.h"
#include "Vorn/IntfId.h"
#include "Vorn/Ip6Addr.h"
#include "Vorn/IpGenAddr.h"
#include "laws/RandomValue.h"

namespace laws {

// Any number is an interface id; most random ones follow no naming.
template <>
struct RandomOf<Vorn::IntfId> {
    static Vorn::IntfId value(Random& random) {
        const std::uint64_t kind = below(random, 6);
        const std::uint64_t naming = below(random, 8);
        const std::uint64_t number = randomValue<std::uint32_t>(random);
        const std::uint64_t outer =
            below(random, 2) * randomValue<std::uint16_t>(random) & 0xfff;
        const std::uint64_t inner =
            below(random, 2) * randomValue<std::uint16_t>(random) & 0xfff;
        const std::uint64_t id = kind << 60 | naming << 56 | number << 24 | outer << 12 | inner;
        return Vorn::IntfId(below(random, 8) == 0 ? random() : id);
    }
};

template <>
struct RandomOf<Vorn::IpGenAddr> {
    static Vorn::IpGenAddr value(Random& random) {
        const auto address = randomValue<Vorn::Ip6Addr>(random);
        const Vorn::Ip6Addr::Bytes& b = address.bytes();
        switch (below(random, 3)) {
            case 0:
                return Vorn::IpGenAddr();
            case 1:
                return Vorn::IpGenAddr(Vorn::IpGenAddr::Ip4Bytes{b[0], b[1], b[2], b[3]});
            default:
                return Vorn::IpGenAddr(address);
        }
    }
};

template <class Number>
struct RandomOf<Quib::Tristate<Number>> {
    static Quib::Tristate<Number> value(Random& random) {
        return {randomValue<bool>(random), randomValue<Number>(random)};
    }
};

// Within the range that text has.
template <bool any, bool none>
struct RandomOf<Bridging::VlanNumber<any, none>> {
    using Vlan = Bridging::VlanNumber<any, none>;
    static Vlan value(Random& random) {
        const auto number = static_cast<std::uint16_t>(below(random, Vlan::most + 1u));
        return Vlan(std::max(number, Vlan::least));
    }
};

// IPv6 addresses have many spellings.
template <>
inline constexpr bool oneTextPerValue<Vorn::Ip6Addr> = false;
template <>
inline constexpr bool oneTextPerValue<Vorn::IpGenAddr> = false;
// MAC addresses may have capitals.
template <>
inline constexpr bool oneTextPerValue<Vorn::EthAddr> = false;
template <>
inline constexpr bool oneTextPerValue<Pseudowire::PseudowireLdpKey> = false;

// The family of the peer's address is not hashed.
template <>
inline bool mayHashAlike(
    const Pseudowire::PseudowireUserKey& a,
    const Pseudowire::PseudowireUserKey& b) {
    return a.peerAddr().address() == b.peerAddr().address();
}

}  // namespace laws
