// What the tool says: messages on standard error, and coloured lines on standard output when
// that is a terminal and NO_COLOR (https://no-color.org) is not set.

#pragma once

#include <string>
#include <string_view>

namespace corra {

// Exit statuses.
enum : int { exitGood = 0, exitFailed = 1, exitTrouble = 2 };

// "corra: TEXT" on standard error.
void say(std::string_view text);

// Text on standard output.
void print(std::string_view text);

// A line on standard output, coloured by its first character when that is that of a change (+ -
// ~).
void printLine(std::string_view line);

// Writes out what was printed. Throws std::system_error when it cannot be written.
void flushOutput();

}  // namespace corra
