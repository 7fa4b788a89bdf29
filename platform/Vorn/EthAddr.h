// EthAddr holds a MAC address (IEEE 802, 48 bits) in the order in which it is sent. The
// default, all zeros, is no station's.
//
// Text is six pairs of hexadecimal digits, "00:1b:21:3c:9d:f8"; capitals are read too.

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

class EthAddr : public Zin::Value<EthAddr> {
  public:
    // In the order of transmission.
    using Bytes = std::array<std::uint8_t, 6>;

    static consteval auto schema() {
        return describe::value("Vorn::EthAddr", describe::field<&EthAddr::bytes_>("bytes"));
    }

    constexpr EthAddr() = default;
    constexpr explicit EthAddr(const Bytes& bytes) : bytes_(bytes) {}

    constexpr const Bytes& bytes() const { return bytes_; }
    constexpr void bytesIs(const Bytes& bytes) { bytes_ = bytes; }

    // All bytes at once: they are one address, not six fields.
    ZIN_EXPORT std::uint32_t hash(std::uint32_t seed) const noexcept;

    ZIN_EXPORT Zin::String stringValue() const;
    static EthAddr fromStringValue(std::string_view text) {
        return Zin::wholeText<EthAddr>(text);
    }
    ZIN_EXPORT static EthAddr textNext(Zin::TextReader& reader);

  private:
    Bytes bytes_{};
};

}  // namespace Vorn
