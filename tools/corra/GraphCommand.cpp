#include "corra/GraphCommand.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "corra/Console.h"
#include "corra/EventLoop.h"
#include "corra/Graph.h"
#include "corra/GraphDot.h"
#include "corra/Process.h"
#include "corra/WholeFile.h"

namespace corra {

namespace {

std::string formatOf(const GraphOptions& options) {
    if (!options.format.empty()) return options.format;
    const std::string ending = std::filesystem::path(options.file).extension().string();
    if (ending.empty() || ending == ".dot" || ending == ".gv") return "dot";
    if (ending == ".svg" || ending == ".png") return ending.substr(1);
    throw std::runtime_error(
        options.file + ": expected .dot, .gv, .svg or .png, found " + ending +
        "; or say --format");
}

ChildProcess startDot(const std::vector<std::string>& arguments, int output) {
    try {
        return {"dot", arguments, output};
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) throw;
        throw std::runtime_error(
            "the program dot is not installed: the package graphviz has it; --format dot needs "
            "none");
    }
}

std::string rendered(const std::string& dot, const std::string& format) {
    const TemporaryDirectory directory;
    const std::string from = directory.path() + "/services.dot";
    const std::string to = directory.path() + "/services." + format;
    writeFileAtomically(from, dot);
    const Fd output(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (output.get() < 0) throw std::system_error(errno, std::generic_category(), to);
    ChildProcess process = startDot({"-T" + format, from}, output.get());
    if (const int status = process.wait(); status != 0) {
        throw std::runtime_error(
            "the program dot failed" + (status < 0
                                            ? std::string(" by a signal")
                                            : " with exit status " + std::to_string(status)));
    }
    return readWholeFile(to);
}

}  // namespace

int graph(const GraphOptions& options) {
    const std::string format = formatOf(options);
    Source source(options.source);
    Graph services = graphOf(source.roots());
    for (const std::string& name : options.only) {
        const auto has = [&](const Graph::Node& node) {
            return node.name == name;
        };
        if (std::any_of(services.nodes.begin(), services.nodes.end(), has)) continue;
        say("there is no service, circuit, pseudowire or peer " + drawable(name));
        return exitFailed;
    }
    if (!options.only.empty()) services = partOf(services, options.only);
    std::string text = dotOf(services);
    if (format != "dot") text = rendered(text, format);
    if (!options.file.empty()) {
        writeFileAtomically(options.file, text);
        return exitGood;
    }
    print(text);
    flushOutput();
    return exitGood;
}

}  // namespace corra
