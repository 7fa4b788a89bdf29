#include "Vorn/EthAddr.h"

#include <charconv>

#include "Zin/Format.h"
#include "Zin/Hash.h"

namespace Vorn {

std::uint32_t EthAddr::hash(std::uint32_t seed) const noexcept {
    return Zin::hashBytes(
        seed,
        std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()));
}

Zin::String EthAddr::stringValue() const {
    const Bytes& b = bytes_;
    return Zin::format("%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2], b[3], b[4], b[5]);
}

EthAddr EthAddr::textNext(Zin::TextReader& reader) {
    constexpr std::size_t textSize = 3 * std::tuple_size_v<Bytes> - 1;
    const Zin::TextReader start = reader;
    const std::string_view text = reader.run("0123456789abcdefABCDEF:");
    Bytes bytes{};
    bool good = text.size() == textSize;
    for (std::size_t i = 0; good && i < bytes.size(); ++i) {
        const char* const pair = text.data() + 3 * i;
        good = std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2 &&
               (i + 1 == bytes.size() || pair[2] == ':');
    }
    if (!good) start.fail("a MAC address");
    return EthAddr(bytes);
}

}  // namespace Vorn
