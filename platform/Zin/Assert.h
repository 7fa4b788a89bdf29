// Broken invariants stop the process: the handler prints the condition's text, the source, the
// line and the function, then aborts. Misuse by callers throws instead (Zin/Exceptions.h).
//
// The source is a name such as "HashMap2018NodeInternalKey", not a path: the text is compared
// by people and tests, and must not depend on where the code was built.

#pragma once

#include "Zin/Export.h"

namespace Zin {

// Called before the process aborts. May write the text elsewhere; must return.
using AssertionReporter =
    void (*)(const char* condition, const char* source, int line, const char* function);

// The reporter in force is replaced; null restores the one that writes to standard error.
ZIN_EXPORT void assertionReporterIs(AssertionReporter reporter) noexcept;

// Reports, and aborts the process.
[[noreturn]] ZIN_EXPORT void assertionFailed(
    const char* condition,
    const char* source,
    int line,
    const char* function) noexcept;

}  // namespace Zin

// The condition is evaluated in every build. Its text is the message.
#define ZIN_ASSERT(condition, source)   \
    ((condition) ? static_cast<void>(0) \
                 : ::Zin::assertionFailed(#condition, source, __LINE__, __PRETTY_FUNCTION__))
