#include "Zin/Enum.h"

#include <algorithm>
#include <string>

namespace Zin {

String enumName(std::span<const describe::Enumerator> all, std::uint32_t number) {
    const auto at = std::lower_bound(
        all.begin(),
        all.end(),
        number,
        [](const describe::Enumerator& e, std::uint32_t n) { return e.number < n; });
    if (at != all.end() && at->number == number) return at->name;
    return std::to_string(number);
}

std::optional<std::uint32_t> enumNumber(
    std::span<const describe::Enumerator> all,
    std::string_view name) noexcept {
    for (const describe::Enumerator& e : all) {
        if (e.name == name) return e.number;
    }
    return std::nullopt;
}

}  // namespace Zin
