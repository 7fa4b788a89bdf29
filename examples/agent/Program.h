// What both programs of this example share: options, messages and exit statuses.

#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace agent {

// Exit statuses: ended as asked; refused by the owner; trouble.
enum : int { exitGood = 0, exitRefused = 1, exitTrouble = 2 };

// "PROGRAM: TEXT" on standard error.
void say(std::string_view text);

// A line on standard output, at once.
void tell(std::string_view line);

struct Option {
    const char* name;  // "--listen"
    const char* value;
    const char* about;
    bool required;
};

// Calls `run` with the values of the options by name, those that were given. What it throws is
// said, and ends the program with exitTrouble, as do options that are not understood.
int runProgram(
    int argc,
    char** argv,
    const char* about,
    const std::vector<Option>& options,
    int (*run)(const std::map<std::string, std::string>& values));

}  // namespace agent
