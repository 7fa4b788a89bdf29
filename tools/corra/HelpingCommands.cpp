// types and schema describe what can be held; completion helps to write it.

#include "corra/Commands.h"
#include "corra/Completion.h"
#include "corra/Console.h"
#include "corra/Export.h"
#include "corra/Types.h"

namespace corra {

namespace {

struct CompletionOptions {
    std::string shell;
};

struct CompleteOptions {
    std::string line;
    std::string wordBreaks;
};

void addTypes(Commands& commands) {
    const auto [app, options] = commands.add<TypesOptions>(
        "types",
        "Show the types of the modules, with their attributes and fields",
        types);
    app.add_option("MODULE", options.module, "Default: all")->type_name(argument::module);
    addJson(app, options.json, "Show JSON");
    addFooter(app, "  corra types\n  corra types PseudowireConfig --json\n", {});
}

void addSchema(Commands& commands) {
    struct None {};
    const auto [app, options] =
        commands.add<None>("schema", "Print the JSON Schema of state files", [](const None&) {
            return schema();
        });
    addFooter(app, "  corra schema > state.schema.json\n", {});
}

void addCompletion(Commands& commands) {
    const auto [app, options] = commands.add<CompletionOptions>(
        "completion",
        "Print a script that makes a shell complete what corra is given",
        [](const CompletionOptions&) {
            print(bashCompletion());
            flushOutput();
            return int{exitGood};
        });
    app.add_option("SHELL", options.shell, "bash")
        ->required()
        ->type_name(argument::shell)
        ->check(CLI::IsMember({"bash"}).description(""));
    addFooter(
        app,
        "  source <(corra completion bash)\n",
        {"Paths are completed from where --at or CORRA_AT lead to."});

    const auto [complete, request] = commands.add<CompleteOptions>(
        "__complete",
        "Print how a line can go on",
        [&commands](const CompleteOptions& asked) {
            for (const std::string& candidate :
                 completions(commands.app(), asked.line, asked.wordBreaks)) {
                print(candidate + '\n');
            }
            flushOutput();
            return int{exitGood};
        });
    // Not shown.
    complete.group("");
    complete.add_option("LINE", request.line)->required();
    complete.add_option("WORD_BREAKS", request.wordBreaks)->required();
}

}  // namespace

void addHelping(Commands& commands) {
    addTypes(commands);
    addSchema(commands);
    addCompletion(commands);
}

}  // namespace corra
