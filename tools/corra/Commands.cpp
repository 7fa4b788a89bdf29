#include "corra/Commands.h"

#include "corra/Modules.h"

namespace corra {

namespace {

constexpr const char* aboutTool =
    "Loads, serves, mirrors, watches and changes the pseudowire state of a router.\n"
    "\n"
    "  corra demo examples/pe1\n"
    "  corra serve examples/pe1/t1-converged --listen unix:pw.sock --writable\n"
    "  corra watch --at unix:pw.sock\n"
    "  corra set --at unix:pw.sock pw.mtu 9000\n";

}  // namespace

Commands::Commands() : app_(aboutTool, "corra") {
    app_.set_version_flag("--version", "corra " CORRA_VERSION);
    app_.require_subcommand(1);
    app_.add_option(
            "--module",
            libraries_,
            "Know the types of the modules in this library too; may be repeated; also "
            "$CORRA_MODULE")
        ->type_name(argument::library)
        ->allow_extra_args(false);
    // It may stand behind the command, too.
    app_.fallthrough();
    addServing(*this);
    addReading(*this);
    addChanging(*this);
    addHelping(*this);
    for (CLI::App* const command : app_.get_subcommands([](CLI::App*) { return true; })) {
        for (CLI::Option* const option : command->get_options()) {
            // Nothing new to those who read the help.
            if (option->get_name() == option->get_type_name()) option->option_text(" ");
        }
    }
}

int Commands::run() const {
    loadModules(libraries_);
    return chosen_();
}

void addAt(CLI::App& command, std::string& at) {
    command.add_option("-a,--at", at, "Where the state is; default: $CORRA_AT")
        ->type_name(argument::source);
}

void addPatience(CLI::App& command, std::chrono::milliseconds& patience) {
    command
        .add_option_function<double>(
            "--timeout",
            [&patience](double seconds) {
                patience = std::chrono::milliseconds(static_cast<long>(seconds * 1000));
            },
            "How long to wait for a live owner; default: 10")
        ->type_name(argument::seconds)
        ->check(CLI::Range(0.001, 86400.0).description(""));
}

CLI::Option* addPath(CLI::App& command, std::string& path, const std::string& about) {
    return command.add_option("PATH", path, about)->type_name(argument::path);
}

CLI::Option* addJson(CLI::App& command, bool& json, const std::string& about) {
    return command.add_flag("--json", json, about);
}

void addQuiet(CLI::App& command, bool& quiet) {
    command.add_flag("-q,--quiet", quiet, "Do not show what has changed");
}

void addFooter(
    CLI::App& command,
    const std::string& examples,
    const std::vector<std::string>& paragraphs) {
    std::string text = "Examples:\n" + examples;
    for (const std::string& paragraph : paragraphs) text += '\n' + paragraph + '\n';
    command.footer(text + '\n' + aboutStatuses);
}

}  // namespace corra
