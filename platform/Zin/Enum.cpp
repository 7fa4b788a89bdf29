#include "Zin/Enum.h"

#include <algorithm>
#include <string>

#include "Zin/Exceptions.h"

namespace Zin {

namespace {

using All = std::span<const describe::Enumerator>;

const describe::Enumerator* enumeratorNumbered(All all, std::uint32_t number) noexcept {
    const auto below = [](const describe::Enumerator& e, std::uint32_t n) {
        return e.number < n;
    };
    const auto at = std::lower_bound(all.begin(), all.end(), number, below);
    return at != all.end() && at->number == number ? &*at : nullptr;
}

const describe::Enumerator* enumeratorNamed(All all, std::string_view name) noexcept {
    const auto isIt = [&](const describe::Enumerator& e) {
        return e.name == name;
    };
    const auto at = std::find_if(all.begin(), all.end(), isIt);
    return at == all.end() ? nullptr : &*at;
}

[[noreturn]] void
throwNoEnumerator(std::string_view typeName, All all, const std::string& found) {
    std::string text = std::string(typeName) + " has no enumerator " + found + ", only";
    for (const describe::Enumerator& e : all) {
        text += " " + std::string(e.name) + " (" + std::to_string(e.number) + ")";
    }
    throwRangeException(text);
}

}  // namespace

String enumName(All all, std::uint32_t number) {
    if (const auto* const e = enumeratorNumbered(all, number)) return e->name;
    return std::to_string(number);
}

std::optional<std::uint32_t> enumNumber(All all, std::string_view name) noexcept {
    if (const auto* const e = enumeratorNamed(all, name)) return e->number;
    return std::nullopt;
}

EnumType::EnumType(std::string_view typeName, All all, std::uint32_t number)
    : typeName_(typeName), enumerator_(enumeratorNumbered(all, number)) {
    if (!enumerator_) throwNoEnumerator(typeName, all, std::to_string(number));
}

EnumType::EnumType(std::string_view typeName, All all, std::string_view name)
    : typeName_(typeName), enumerator_(enumeratorNamed(all, name)) {
    if (!enumerator_) throwNoEnumerator(typeName, all, "\"" + std::string(name) + "\"");
}

}  // namespace Zin
