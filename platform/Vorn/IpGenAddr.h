// IpGenAddr holds an IPv4 address, an IPv6 address, or none. An IPv4 address takes the first 4
// of the 16 bytes; bytes that its family does not use are zero, always.
//
// Its text is a dotted quad, an IPv6 address (Vorn/Ip6Addr.h), or "none". On the attribute log
// it takes 20 bytes: the family, then the address.

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Vorn/Ip6Addr.h"
#include "Vorn/Strep.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Zin::NboAttrLog {
class In;
}

namespace Vorn {

// Numbers of the IANA registry "Address Family Numbers", where 0 is reserved.
enum class AddressFamily : std::uint8_t { none, ip4, ip6 };

consteval auto enumeration(AddressFamily) {
    using enum AddressFamily;
    return describe::enumerators<AddressFamily>(
        "Vorn::AddressFamily",
        {{none, "none"}, {ip4, "ip4"}, {ip6, "ip6"}});
}

class IpGenAddr : public Zin::Value<IpGenAddr> {
  public:
    // In network order.
    using Ip4Bytes = std::array<std::uint8_t, 4>;

    static consteval auto schema() {
        return describe::value(
            "Vorn::IpGenAddr",
            describe::field<&IpGenAddr::family_>("family"),
            describe::field<&IpGenAddr::address_>("address"));
    }

    constexpr IpGenAddr() = default;
    // Throws a Zin::RangeException for an unknown family and for bytes that the family does not
    // use.
    ZIN_EXPORT IpGenAddr(AddressFamily family, const Ip6Addr& address);
    // An IPv4 address in network order.
    ZIN_EXPORT explicit IpGenAddr(const Ip4Bytes& bytes);
    explicit IpGenAddr(const Ip6Addr& address)
        : family_(AddressFamily::ip6), address_(address) {}

    // The parts are changed together: assign a new address.
    constexpr AddressFamily family() const { return family_; }
    constexpr const Ip6Addr& address() const { return address_; }

    ZIN_EXPORT Zin::String stringValue() const;
    static IpGenAddr fromStringValue(std::string_view text) {
        return Zin::wholeText<IpGenAddr>(text);
    }
    ZIN_EXPORT static IpGenAddr textNext(Zin::TextReader& reader);
    // A dotted quad and nothing else: where what follows it could belong to an IPv6 address.
    ZIN_EXPORT static IpGenAddr ip4TextNext(Zin::TextReader& reader);

    // Refuses what the field-wise constructor refuses.
    ZIN_EXPORT static IpGenAddr attrLogNext(Zin::NboAttrLog::In& in);

  private:
    AddressFamily family_ = AddressFamily::none;
    Ip6Addr address_;
};

}  // namespace Vorn
