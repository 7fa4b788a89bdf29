#include "agent/Program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace agent {

namespace {

std::string program;

std::string usage(const char* about, const std::vector<Option>& options) {
    std::string text = std::string(about) + "\n\nusage: " + program;
    for (const Option& option : options) {
        const std::string words = std::string(option.name) + ' ' + option.value;
        text += option.required ? ' ' + words : " [" + words + ']';
    }
    text += "\n\n";
    for (const Option& option : options) {
        const std::string words = std::string(option.name) + ' ' + option.value;
        text += "  " + words + std::string(words.size() < 20 ? 20 - words.size() : 1, ' ') +
                option.about + '\n';
    }
    return text + "\nAn ADDRESS is unix:PATH or tcp:PORT, on the loopback interface.\n";
}

std::map<std::string, std::string>
valuesOf(int argc, char** argv, const std::vector<Option>& options) {
    std::map<std::string, std::string> values;
    for (int i = 1; i < argc; i += 2) {
        const std::string name = argv[i];
        const bool known = std::any_of(options.begin(), options.end(), [&](const Option& o) {
            return name == o.name;
        });
        if (!known) throw std::invalid_argument(name + " is not known; try --help");
        if (i + 1 == argc) throw std::invalid_argument(name + " needs a value; try --help");
        if (!values.emplace(name, argv[i + 1]).second) {
            throw std::invalid_argument(name + " is given twice; try --help");
        }
    }
    for (const Option& option : options) {
        if (option.required && !values.contains(option.name)) {
            throw std::invalid_argument(std::string(option.name) + " is required; try --help");
        }
    }
    return values;
}

}  // namespace

void say(std::string_view text) {
    const std::string line = program + ": " + std::string(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void tell(std::string_view line) {
    const std::string text = std::string(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int runProgram(
    int argc,
    char** argv,
    const char* about,
    const std::vector<Option>& options,
    int (*run)(const std::map<std::string, std::string>& values)) {
    program = argc > 0 ? argv[0] : "";
    program.erase(0, program.rfind('/') + 1);
    if (argc == 2 && std::string_view(argv[1]) == "--help") {
        std::fputs(usage(about, options).c_str(), stdout);
        return exitGood;
    }
    try {
        return run(valuesOf(argc, argv, options));
    } catch (const std::exception& failure) {
        say(failure.what());
        return exitTrouble;
    }
}

}  // namespace agent
