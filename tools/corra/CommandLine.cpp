#include "corra/CommandLine.h"

#include <exception>
#include <string>

#include "corra/Commands.h"
#include "corra/Console.h"

namespace corra {

int runCommandLine(int argc, char** argv) {
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
