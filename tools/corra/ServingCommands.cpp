// serve, mirror, watch and demo.

#include "corra/Commands.h"
#include "corra/Demo.h"
#include "corra/Mirror.h"
#include "corra/Serve.h"

namespace corra {

namespace {

constexpr const char* aboutChanges =
    "Changes: + added (fields that are zero, false or empty are left out), - removed, ~\n"
    "changed. When the owner goes the mirror keeps what it has, connects again with growing\n"
    "pauses, and is resynchronised. Colours are for terminals only; NO_COLOR turns them off.";

void addServe(Commands& commands) {
    const auto [app, options] = commands.add<ServeOptions>(
        "serve",
        "Serve the state of captures and state files to any number of mirrors",
        serve);
    app.add_option("SOURCE", options.sources, "Captures and state files")
        ->required()
        ->type_name(argument::source);
    app.add_option("--listen", options.addresses, "Address to serve at; may be repeated")
        ->required()
        ->type_name(argument::address)
        ->allow_extra_args(false);
    app.add_flag("--writable", options.writable, "Let mirrors change the state");
    addFooter(
        app,
        "  corra serve examples/pe1/t0-alone --listen unix:pw.sock\n"
        "  corra serve pw.json --listen unix:pw.sock --listen tcp:7000 --writable\n",
        {"SIGHUP loads the sources again: mirrors hear of what differs. SIGINT and SIGTERM\n"
         "end. What mirrors change is not written back: see corra export.",
         aboutAddresses});
}

void addMirror(Commands& commands) {
    const auto [app, options] = commands.add<MirrorOptions>(
        "mirror",
        "Mirror all that an owner exports, and show it",
        mirror);
    app.add_option("ADDRESS", options.address, "Where the owner serves")
        ->required()
        ->type_name(argument::address);
    auto* const watch =
        app.add_flag("--watch", options.watch, "Show each change as it comes, and go on");
    auto* const json =
        addJson(app, options.json, "Show JSON: an array of facts, or a line a change");
    app.add_flag("--once", options.once, "End when the owner goes, do not connect again");
    app.add_flag("--quiet", options.quiet, "Say only what goes wrong on standard error");
    app.add_flag(
           "--states",
           options.states,
           "While watching, show the state too: when synchronised, and at each barrier of the "
           "owner")
        ->needs(watch)
        ->excludes(json);
    addFooter(
        app,
        "  corra mirror unix:pw.sock           the state, sorted, once it is complete\n"
        "  corra mirror tcp:7000 --watch            changes as they come\n"
        "  corra mirror tcp:7000 --watch --json     the same for programs\n",
        {aboutChanges, aboutAddresses});
}

void addWatch(Commands& commands) {
    const auto call = [](const WatchOptions& options) {
        const std::string place = Source::placeOf({options.at});
        if (Source::kindOf(place) != Source::Kind::live) {
            throw std::runtime_error(place + ": only a live owner can be watched");
        }
        MirrorOptions watching = options.mirror;
        watching.address = place;
        watching.watch = true;
        return mirror(watching);
    };
    const auto [app, options] = commands.add<WatchOptions>(
        "watch",
        "Show each change of what lies at a path as it comes",
        call);
    addPath(app, options.mirror.path, "What to watch, existing or not; default: all");
    addAt(app, options.at);
    addJson(app, options.mirror.json, "Show JSON, a line a change");
    app.add_flag("--once", options.mirror.once, "End when the owner goes");
    app.add_flag("-q,--quiet", options.mirror.quiet, "Say only what goes wrong");
    addFooter(
        app,
        "  corra watch --at unix:pw.sock\n"
        "  corra watch --at unix:pw.sock pw.mtu\n"
        "  corra watch --at tcp:7000 \"pw.patch['metro-003']\" --json\n",
        {"First comes all that is there, as added.", aboutChanges, aboutPaths, aboutAddresses});
}

void addDemo(Commands& commands) {
    const auto [app, options] = commands.add<DemoOptions>(
        "demo",
        "Play captures to an owner, and show what a mirror in another process is told",
        demo);
    app.add_option("DIR", options.directory, "Directory of captures")
        ->required()
        ->type_name(argument::directory);
    app.add_flag("--all", options.all, "Show every line that the mirror prints");
    addFooter(
        app,
        "  corra demo examples/pe1\n"
        "  corra demo examples/pe1 --all\n",
        {"It ends with 0 when owner and mirror were equal after each capture."});
}

}  // namespace

void addServing(Commands& commands) {
    addServe(commands);
    addMirror(commands);
    addWatch(commands);
    addDemo(commands);
}

}  // namespace corra
