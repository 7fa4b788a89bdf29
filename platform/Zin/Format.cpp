#include "Zin/Format.h"

#include <cstddef>
#include <cstdio>

#include "Zin/Exceptions.h"

namespace Zin {

void appendFormat(std::string& text, const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    char brief[200];
    const int written = std::vsnprintf(brief, sizeof brief, format, arguments);
    const auto size = static_cast<std::size_t>(written);
    if (written < 0) {
        va_end(again);
        throw Exception(
            "an argument cannot be written as \"" + std::string(format) + "\" asks");
    }
    if (size < sizeof brief) {
        text.append(brief, size);
    } else {
        const std::size_t before = text.size();
        // One more for the NUL that vsnprintf writes.
        text.resize(before + size + 1);
        std::vsnprintf(text.data() + before, size + 1, format, again);
        text.resize(before + size);
    }
    va_end(again);
}

String format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text;
    appendFormat(text, format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace Zin
