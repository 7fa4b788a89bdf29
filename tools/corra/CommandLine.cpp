#include "corra/CommandLine.h"

#include <csignal>
#include <exception>
#include <string>

#include "corra/Commands.h"
#include "corra/Console.h"

namespace corra {

int runCommandLine(int argc, char** argv) {
    // A file that may not grow further is an error of the write, which is told.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        Commands commands;
        try {
            commands.app().parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            // What was asked for, like --help.
            if (error.get_exit_code() == 0) return commands.app().exit(error);
            say(std::string(error.what()) + "; try --help");
            return exitTrouble;
        }
        return commands.run();
    } catch (const std::exception& failure) {
        say(failure.what());
        return exitTrouble;
    }
}

}  // namespace corra
