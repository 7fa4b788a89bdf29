#include "Bridging/VlanId.h"

#include "Zin/Exceptions.h"

namespace Bridging::detail {

std::uint16_t vlanNumberNext(
    Zin::TextReader& reader,
    std::string_view typeName,
    std::uint16_t least,
    std::uint16_t most) {
    const auto refuse = [&](const char* relation, std::uint16_t bound) {
        Zin::throwRangeException(
            std::string(typeName) + "::value " + relation + ' ' + std::to_string(bound) +
            " not allowed");
    };
    const std::uint64_t number = reader.number();
    if (number < least) refuse("<", least);
    if (number > most) refuse(">", most);
    return static_cast<std::uint16_t>(number);
}

}  // namespace Bridging::detail
