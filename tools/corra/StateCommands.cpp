// dump, get, why, diff, export and graph read a state; set, del and import change one.

#include "corra/Commands.h"
#include "corra/Diff.h"
#include "corra/Edit.h"
#include "corra/Export.h"
#include "corra/GraphCommand.h"
#include "corra/Show.h"
#include "corra/WhyCommand.h"

namespace corra {

namespace {

using Words = std::vector<std::string>;

constexpr const char* aboutWrites =
    "At a live owner the change is made in a mirror, and the owner must then hold it: a "
    "server\n"
    "that does not allow writes (serve --writable) refuses it. A state file is replaced as a\n"
    "whole. A capture cannot be changed. What has changed is shown: + added, - removed, ~ "
    "changed.";

void addDump(Commands& commands) {
    const auto [app, options] = commands.add<ShowOptions>(
        "dump",
        "Show what lies at a path, or all: a line a fact, sorted",
        [](const ShowOptions& chosen) { return dump(chosen); });
    addPath(app, options.path, "Default: all");
    addAt(app, options.source.at);
    CLI::Option* const json = addJson(app, options.json, "Show JSON: an array of facts");
    app.add_flag("--tree", options.tree, "Show entities as they dump themselves, indented")
        ->excludes(json);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra dump --at examples/pe1/t0-alone\n"
        "  corra dump --at unix:pw.sock pw.patch\n"
        "  corra dump --at unix:pw.sock --tree vpls\n"
        "  CORRA_AT=pw.json corra dump --json\n",
        {aboutSources, aboutPaths});
}

void addGet(Commands& commands) {
    const auto [app, options] = commands.add<ShowOptions>(
        "get",
        "Show the value of an attribute, a field or a member; of all else the facts",
        get);
    addPath(app, options.path, "What to show")->required();
    addAt(app, options.source.at);
    addJson(app, options.json, "Show JSON");
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra get --at unix:pw.sock pw.mtu\n"
        "  corra get --at pw.json \"pw.connector[ldp:'pw1'].ldpKey\"\n",
        {aboutSources, aboutPaths});
}

void addWhy(Commands& commands) {
    const auto [app, options] = commands.add<WhyOptions>(
        "why",
        "Say whether something is up and, if not, the chain of reasons",
        why);
    app.add_option(
           "NAME",
           options.name,
           "A patch, a pseudowire, an interface, the address of a peer or a local label; "
           "default: all that is not up")
        ->type_name(argument::name);
    addAt(app, options.source.at);
    addJson(app, options.json, "Show JSON: an array of answers");
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra why --at examples/pe1/t2-pe3-gone\n"
        "  corra why --at unix:pw.sock eline-6\n"
        "  corra why --at unix:pw.sock 3.3.3.3\n"
        "  corra why --at unix:pw.sock \"ldp:'pw6-2'\"\n",
        {"The chain leads from effect to cause; a path behind \"see\" is one for corra get.\n"
         "It ends with 0 when what was asked about is up, and with 1 when it is not, when that "
         "is\n"
         "not known, and when nothing has the name.",
         aboutSources});
}

void addDiff(Commands& commands) {
    const auto [app, options] =
        commands.add<DiffOptions>("diff", "Show what differs between two states", diff);
    app.add_option("A", options.before, "The one state")
        ->required()
        ->type_name(argument::source);
    app.add_option("B", options.after, "The other state")
        ->required()
        ->type_name(argument::source);
    addJson(app, options.json, "Show JSON: an array of changes");
    addPatience(app, options.patience);
    addFooter(
        app,
        "  corra diff examples/pe1/t0-alone examples/pe1/t1-converged\n"
        "  corra diff pw.json unix:pw.sock\n",
        {"Changes that make B of A, in the order of paths: + added, - removed, ~ changed.\n"
         "Trees are compared by the names of their roots; where both states hold one tree,\n"
         "these two are compared whatever their names.",
         aboutSources});
}

void addExport(Commands& commands) {
    const auto [app, options] =
        commands.add<ExportOptions>("export", "Write a state file", exportState);
    addAt(app, options.source.at);
    app.add_option("-o,--output", options.file, "File to replace; default: standard output")
        ->type_name(argument::file);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra export --at unix:pw.sock -o pw.json\n"
        "  corra export --at examples/pe1/t0-alone\n",
        {aboutSources});
}

void addGraph(Commands& commands) {
    const auto [app, options] =
        commands.add<GraphOptions>("graph", "Draw the services, coloured by state", graph);
    addAt(app, options.source.at);
    app.add_option("--format", options.format, "dot, svg or png; default: as FILE ends, or dot")
        ->type_name(argument::format)
        ->check(CLI::IsMember({"dot", "svg", "png"}).description(""));
    app.add_option("-o,--output", options.file, "File to replace; default: standard output")
        ->type_name(argument::file);
    app.add_option("--only", options.only, "Draw these, and what they are connected with")
        ->type_name(argument::name);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra graph --at unix:pw.sock -o services.svg\n"
        "  corra graph --at examples/pe1/t1-converged --only eline-6 3.3.3.3\n"
        "  corra graph --at pw.json | dot -Tpdf -o services.pdf\n",
        {"From left to right: circuits, services, pseudowires, peers. A name is that of any "
         "of\n"
         "them. The program dot of Graphviz makes SVG and PNG.",
         aboutSources});
}

void addSet(Commands& commands) {
    const auto [app, options] = commands.add<EditOptions>(
        "set",
        "Set an attribute, a field or a member, or make an absent member",
        [](const EditOptions& chosen) { return set(chosen); });
    addPath(app, options.path, "What to set")->required();
    // Apart from the others, which are split where they are lists in brackets.
    app.add_option_function<std::string>(
           "VALUE",
           [&values = options.values](const std::string& value) { values.push_back(value); },
           "Its text; of a child that is made, the first constructor argument behind its name")
        ->type_name(argument::value);
    app.add_option_function<Words>(
           "ARGUMENT",
           [&values = options.values](const Words& more) {
               values.insert(values.end(), more.begin(), more.end());
           },
           "More of the constructor arguments")
        ->type_name(argument::value);
    addAt(app, options.source.at);
    addQuiet(app, options.quiet);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra set --at unix:pw.sock pw.mtu 9000\n"
        "  corra set --at pw.json \"pw.patch['metro']\"\n"
        "  corra set --at pw.json \"pw.connector[ldp:'pw1'].intfDescription\" 'to the core'\n",
        {"A value is written as corra get shows it. A string may do without its quotes, "
         "unless\n"
         "it would read as one in quotes. Without VALUE an absent member or child is made.",
         aboutWrites,
         aboutSources,
         aboutPaths});
}

void addDel(Commands& commands) {
    const auto [app, options] = commands.add<EditOptions>(
        "del",
        "Delete a member, a child, or all members of a collection",
        del);
    addPath(app, options.path, "What to delete")->required();
    addAt(app, options.source.at);
    addQuiet(app, options.quiet);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra del --at unix:pw.sock \"pw.patch['metro-003']\"\n"
        "  corra del --at pw.json pw.patch\n",
        {aboutWrites, aboutSources, aboutPaths});
}

void addImport(Commands& commands) {
    const auto [app, options] = commands.add<ImportOptions>(
        "import",
        "Bring a live owner or a state file to another state",
        import);
    app.add_option("FROM", options.from, "The state that is wanted")
        ->required()
        ->type_name(argument::source);
    addAt(app, options.source.at);
    addQuiet(app, options.quiet);
    addPatience(app, options.source.patience);
    addFooter(
        app,
        "  corra import --at unix:pw.sock pw.json\n"
        "  corra import --at pw.json examples/pe1/t1-converged\n",
        {"Trees go by the names of their roots; what else the owner or the file holds stays. "
         "Only\n"
         "what differs is changed. An owner gets all roots of FROM only if it exports them; "
         "a\n"
         "state file gets those that it lacks. An error in FROM changes nothing.",
         aboutWrites,
         aboutSources});
}

}  // namespace

void addReading(Commands& commands) {
    addDump(commands);
    addGet(commands);
    addWhy(commands);
    addDiff(commands);
    addExport(commands);
    addGraph(commands);
}

void addChanging(Commands& commands) {
    addSet(commands);
    addDel(commands);
    addImport(commands);
}

}  // namespace corra
