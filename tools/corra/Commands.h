// The commands of the tool and their options, said once: what reads the command line, the help,
// the completion and the check of the manual all take them from here.

#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "corra/Source.h"

namespace corra {

class Commands {
  public:
    template <class Options>
    struct Command {
        CLI::App& app;
        Options& options;
    };

    Commands();

    CLI::App& app() { return app_; }
    // Runs the command that was parsed, with the modules that the line and the environment
    // name, and returns the exit status.
    int run() const;

    // A command that is run with options of its own.
    template <class Options>
    Command<Options> add(
        const std::string& name,
        const std::string& about,
        std::function<int(const Options&)> call) {
        CLI::App* const command = app_.add_subcommand(name, about);
        const auto options = std::make_shared<Options>();
        command->callback([this, options, call] {
            chosen_ = [options, call] {
                return call(*options);
            };
        });
        return {*command, *options};
    }

  private:
    CLI::App app_;
    std::vector<std::string> libraries_;
    std::function<int()> chosen_;
};

// What an option or an argument stands for: shown in the help, and says how it is completed.
namespace argument {
inline constexpr const char* address = "ADDRESS";
inline constexpr const char* directory = "DIR";
inline constexpr const char* file = "FILE";
inline constexpr const char* format = "FORMAT";
inline constexpr const char* library = "LIBRARY";
inline constexpr const char* module = "MODULE";
inline constexpr const char* name = "NAME";
inline constexpr const char* path = "PATH";
inline constexpr const char* seconds = "SECONDS";
inline constexpr const char* shell = "SHELL";
inline constexpr const char* source = "SOURCE";
inline constexpr const char* value = "VALUE";
}  // namespace argument

// --- Parts of several commands ---

void addAt(CLI::App& command, std::string& at);
void addPatience(CLI::App& command, std::chrono::milliseconds& patience);
CLI::Option* addPath(CLI::App& command, std::string& path, const std::string& about);
CLI::Option* addJson(CLI::App& command, bool& json, const std::string& about);
void addQuiet(CLI::App& command, bool& quiet);

inline constexpr const char* aboutAddresses =
    "An address is unix:PATH, a socket for processes of the same user, or tcp:PORT on the\n"
    "loopback interface.";
inline constexpr const char* aboutSources =
    "A source is the address of a live owner (unix:PATH, tcp:PORT), a directory with the\n"
    "running-config.txt of a router, or a state file.";
inline constexpr const char* aboutPaths =
    "A path is a root and what lies below: pw.mtu, pw.connector[ldp:'pw1'].mtu. Quote it for\n"
    "the shell.";
inline constexpr const char* aboutStatuses =
    "Exit status: 0 when all went well, 1 for no: nothing there, not the same, not to be had; "
    "2 for\n"
    "wrong usage and other trouble.";

// The examples, then the paragraphs.
void addFooter(
    CLI::App& command,
    const std::string& examples,
    const std::vector<std::string>& paragraphs);

// --- Groups of commands ---

void addServing(Commands& commands);
void addReading(Commands& commands);
void addChanging(Commands& commands);
void addHelping(Commands& commands);

}  // namespace corra
