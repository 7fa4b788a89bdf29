// Text by a format as printf knows it, which the compiler checks. A `%s` takes c_str(), so it
// ends at a NUL inside of a string.

#pragma once

#include <cstdarg>
#include <string>

#include "Zin/Export.h"
#include "Zin/String.h"

namespace Zin {

// The text. Throws as appendFormat does.
[[gnu::format(printf, 1, 2)]] ZIN_EXPORT String format(const char* format, ...);

// Throws a Zin::Exception when an argument cannot be written, which is a wide character that
// the locale lacks.
[[gnu::format(printf, 2, 0)]] ZIN_EXPORT void
appendFormat(std::string& text, const char* format, std::va_list arguments);

}  // namespace Zin
