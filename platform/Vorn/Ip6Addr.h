// Ip6Addr holds the 16 bytes of an IPv6 address in network order. The default is "::".
//
// Text is written as RFC 5952 recommends and read in any form of RFC 4291, section 2.2.

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Vorn/Strep.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Vorn {

class Ip6Addr : public Zin::Value<Ip6Addr> {
  public:
    // In network order.
    using Bytes = std::array<std::uint8_t, 16>;

    static consteval auto schema() {
        return describe::value("Vorn::Ip6Addr", describe::field<&Ip6Addr::bytes_>("bytes"));
    }

    constexpr Ip6Addr() = default;
    constexpr explicit Ip6Addr(const Bytes& bytes) : bytes_(bytes) {}

    constexpr const Bytes& bytes() const { return bytes_; }
    constexpr void bytesIs(const Bytes& bytes) { bytes_ = bytes; }

    // All bytes at once: they are one address, not 16 fields.
    ZIN_EXPORT std::uint32_t hash(std::uint32_t seed) const noexcept;

    ZIN_EXPORT Zin::String stringValue() const;
    static Ip6Addr fromStringValue(std::string_view text) {
        return Zin::wholeText<Ip6Addr>(text);
    }
    ZIN_EXPORT static Ip6Addr textNext(Zin::TextReader& reader);

  private:
    Bytes bytes_{};
};

}  // namespace Vorn
