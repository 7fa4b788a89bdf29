// The step that the text forms of addresses share: from the characters of an address to its
// bytes.

#pragma once

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace Vorn {

// Writes the address to `bytes`, which has room for one of `family` (AF_INET or AF_INET6).
// False when the text is none. A text that is longer than any address is refused before it is
// copied, and one that holds NUL is not cut there.
inline bool inetBytes(int family, std::string_view text, std::uint8_t* bytes) {
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    if (text.size() >= terminated.size() || text.find('\0') != std::string_view::npos)
        return false;
    std::copy(text.begin(), text.end(), terminated.begin());
    return inet_pton(family, terminated.data(), bytes) == 1;
}

}  // namespace Vorn
