#include "corra/CommandLine.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <string>

#include "corra/Console.h"
#include "corra/Demo.h"
#include "corra/Mirror.h"
#include "corra/Serve.h"

namespace corra {

namespace {

constexpr const char* about =
    "Loads, serves, mirrors and watches the pseudowire state of a router.\n"
    "\n"
    "  corra demo examples/pe1\n"
    "  corra serve examples/pe1/t1-converged --listen unix:pw.sock\n"
    "  corra mirror unix:pw.sock --watch\n";

constexpr const char* statuses =
    "Exit status: 0 when all went well, 1 when what was asked for failed, 2 for wrong usage "
    "and other\n"
    "trouble.";

constexpr const char* aboutAddresses =
    "An address is unix:PATH, a socket for processes of the same user, or tcp:PORT on the "
    "loopback\n"
    "interface.";

std::string footer(const std::string& examples, const std::string& more) {
    return "Examples:\n" + examples + '\n' + more + '\n' + aboutAddresses + '\n' + statuses;
}

void addServe(CLI::App& app, ServeOptions& options, std::function<int()>& command) {
    CLI::App* const serveApp =
        app.add_subcommand("serve", "Serve the state of a capture to any number of mirrors");
    serveApp
        ->add_option(
            "CAPTURE_DIR",
            options.captureDirectory,
            "Directory with a running-config.txt")
        ->required();
    serveApp->add_option("--listen", options.addresses, "Address to serve at; may be repeated")
        ->required()
        ->type_name("ADDRESS")
        ->allow_extra_args(false);
    serveApp->add_flag("--writable", options.writable, "Let mirrors change the state");
    serveApp->footer(footer(
        "  corra serve examples/pe1/t0-alone --listen unix:pw.sock\n"
        "  corra serve examples/pe1/t0-alone --listen tcp:7000 --writable\n",
        "SIGHUP imports the capture again: mirrors hear of what differs. SIGINT and SIGTERM "
        "end.\n"));
    serveApp->callback([&] {
        command = [&] {
            return serve(options);
        };
    });
}

void addMirror(CLI::App& app, MirrorOptions& options, std::function<int()>& command) {
    CLI::App* const mirrorApp =
        app.add_subcommand("mirror", "Mirror all that a peer exports, and show it");
    mirrorApp->add_option("ADDRESS", options.address, "Where the peer serves")->required();
    auto* const watch = mirrorApp->add_flag(
        "--watch",
        options.watch,
        "Show each change as it comes, and go on");
    auto* const json = mirrorApp->add_flag(
        "--json",
        options.json,
        "Show JSON: an array of facts, or a line a change");
    mirrorApp->add_flag("--once", options.once, "End when the peer goes, do not connect again");
    mirrorApp->add_flag("--quiet", options.quiet, "Say only what goes wrong on standard error");
    mirrorApp
        ->add_flag(
            "--states",
            options.states,
            "While watching, show the state too: when synchronised, and at each barrier of the "
            "peer")
        ->needs(watch)
        ->excludes(json);
    mirrorApp->footer(footer(
        "  corra mirror unix:pw.sock           the state, sorted, once it is complete\n"
        "  corra mirror tcp:7000 --watch            changes as they come\n"
        "  corra mirror tcp:7000 --watch --json     the same for programs\n",
        "Changes: + added (fields that are zero, false or empty are left out), - removed, ~ "
        "changed.\n"
        "When the peer goes the mirror keeps what it has, connects again with growing pauses, "
        "and\n"
        "is resynchronised. Colours are for terminals only; NO_COLOR turns them off.\n"));
    mirrorApp->callback([&] {
        command = [&] {
            return mirror(options);
        };
    });
}

void addDemo(CLI::App& app, DemoOptions& options, std::function<int()>& command) {
    CLI::App* const demoApp = app.add_subcommand(
        "demo",
        "Play captures to an owner, and show what a mirror in another process is told");
    demoApp->add_option("DIR", options.directory, "Directory of captures")->required();
    demoApp->add_flag("--all", options.all, "Show every line that the mirror prints");
    demoApp->footer(
        "Examples:\n"
        "  corra demo examples/pe1\n"
        "  corra demo examples/pe1 --all\n"
        "\n"
        "Exit status: 0 when owner and mirror were equal after each capture, 1 when not, 2 for "
        "wrong\n"
        "usage and other trouble.");
    demoApp->callback([&] {
        command = [&] {
            return demo(options);
        };
    });
}

}  // namespace

int runCommandLine(int argc, char** argv) {
    try {
        CLI::App app(about, "corra");
        app.set_version_flag("--version", "corra " CORRA_VERSION);
        app.require_subcommand(1);
        std::function<int()> command;
        ServeOptions serveOptions;
        MirrorOptions mirrorOptions;
        DemoOptions demoOptions;
        addServe(app, serveOptions, command);
        addMirror(app, mirrorOptions, command);
        addDemo(app, demoOptions, command);
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            // What was asked for, like --help.
            if (error.get_exit_code() == 0) return app.exit(error);
            say(std::string(error.what()) + "; try --help");
            return exitTrouble;
        }
        return command();
    } catch (const std::exception& failure) {
        say(failure.what());
        return exitTrouble;
    }
}

}  // namespace corra
