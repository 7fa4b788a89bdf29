#include "Zin/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Zin {

namespace {

void reportToStandardError(
    const char* condition,
    const char* source,
    int line,
    const char* function) {
    std::fprintf(
        stderr,
        "assertion failed: %s (%s:%d, %s)\n",
        condition,
        source,
        line,
        function);
}

AssertionReporter reporterInForce = reportToStandardError;

}  // namespace

void assertionReporterIs(AssertionReporter reporter) noexcept {
    reporterInForce = reporter ? reporter : reportToStandardError;
}

void assertionFailed(
    const char* condition,
    const char* source,
    int line,
    const char* function) noexcept {
    reporterInForce(condition, source, line, function);
    std::abort();
}

}  // namespace Zin
