#include "Vorn/Ip6Addr.h"

#include <charconv>
#include <string>

#include "Vorn/InetText.h"
#include "Zin/Hash.h"

namespace Vorn {

namespace {

constexpr std::size_t groupCount = 8;
using Groups = std::array<std::uint16_t, groupCount>;

struct Run {
    std::size_t begin = groupCount;
    std::size_t size = 0;
};

// RFC 5952, section 4.2: the longest run of zero groups, the first of several, never a single
// one.
Run shortened(const Groups& groups) {
    Run best;
    for (std::size_t i = 0; i < groupCount;) {
        std::size_t end = i;
        while (end < groupCount && groups[end] == 0) ++end;
        if (end - i >= 2 && end - i > best.size) best = {i, end - i};
        i = end + 1;
    }
    return best;
}

void appendHex(std::string& text, std::uint16_t group) {
    std::array<char, 4> digits;
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), unsigned{group}, 16).ptr;
    text.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

}  // namespace

std::uint32_t Ip6Addr::hash(std::uint32_t seed) const noexcept {
    return Zin::hashBytes(
        seed,
        std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()));
}

Zin::String Ip6Addr::stringValue() const {
    Groups groups;
    for (std::size_t i = 0; i < groupCount; ++i) {
        groups[i] = static_cast<std::uint16_t>(bytes_[2 * i] << 8 | bytes_[2 * i + 1]);
    }
    const Run zeros = shortened(groups);
    // RFC 5952, section 5: the prefix ::ffff:0:0/96 says that an IPv4 address follows.
    if (zeros.begin == 0 && zeros.size == 5 && groups[5] == 0xffff) {
        std::string text = "::ffff";
        char separator = ':';
        for (std::size_t i = 12; i < bytes_.size(); ++i) {
            text += separator + std::to_string(bytes_[i]);
            separator = '.';
        }
        return text;
    }

    std::string text;
    for (std::size_t i = 0; i < groupCount; ++i) {
        if (i == zeros.begin) {
            text += "::";
            i += zeros.size - 1;
            continue;
        }
        if (!text.empty() && text.back() != ':') text += ':';
        appendHex(text, groups[i]);
    }
    return text;
}

Ip6Addr Ip6Addr::textNext(Zin::TextReader& reader) {
    const Zin::TextReader start = reader;
    Bytes bytes;
    if (!inetBytes(AF_INET6, reader.run("0123456789abcdefABCDEF:."), bytes.data())) {
        start.fail("an IPv6 address");
    }
    return Ip6Addr(bytes);
}

}  // namespace Vorn
