#include "corra/Demo.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "corra/Console.h"
#include "corra/Dump.h"
#include "corra/Import.h"
#include "corra/MirrorProcess.h"
#include "corra/Roots.h"
#include "corra/WhyChanges.h"

namespace corra {

namespace {

// Of a long step.
constexpr std::size_t shownLines = 12;

std::vector<std::filesystem::path> capturesIn(const std::string& directory) {
    std::vector<std::filesystem::path> captures;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (std::filesystem::exists(runningConfigFile(entry.path().string()))) {
            captures.push_back(entry.path());
        }
    }
    std::sort(captures.begin(), captures.end());
    if (captures.empty()) {
        throw std::runtime_error(directory + ": no directory with a running-config.txt in it");
    }
    return captures;
}

std::string counted(std::uint64_t number, const std::string& one, const std::string& many) {
    return std::to_string(number) + ' ' + (number == 1 ? one : many);
}

struct Holding {
    std::size_t connectors = 0;
    std::size_t patches = 0;

    // Of a dump, whoever made it.
    static Holding of(const std::string& state) {
        Holding holding;
        std::istringstream lines(state);
        for (std::string line; std::getline(lines, line);) {
            const std::string head = line.substr(0, line.find(": "));
            if (line.starts_with("pw.connector[")) ++holding.connectors;
            // Its members follow under the same path.
            if (head.starts_with("pw.patch[") && head != line) ++holding.patches;
        }
        return holding;
    }
};

class Demo {
  public:
    explicit Demo(const DemoOptions& options) : options_(options) {}

    int run();

  private:
    void play(const std::filesystem::path& capture);
    void exportNew();
    void showChanges(const std::vector<std::string>& changes) const;
    void showHolding(const char* who, const std::string& state) const;
    void compare(const std::string& mirrored);
    void explain();

    const DemoOptions& options_;
    Roots roots_;
    std::set<Zin::String> exported_;
    Zin::NboAttrLog::Exports exports_;
    std::unique_ptr<MirrorProcess> mirror_;
    std::size_t unequal_ = 0;
    // After the capture before.
    std::optional<Overview> overview_;
};

int Demo::run() {
    const auto captures = capturesIn(options_.directory);
    for (const auto& capture : captures) {
        play(capture);
        flushOutput();
    }
    const int status = mirror_->end();
    if (status != exitGood) {
        throw std::runtime_error("the mirror ended with status " + std::to_string(status));
    }
    const std::string played = "demo: " + counted(captures.size(), "capture", "captures");
    printLine(
        unequal_ == 0
            ? played + ", owner and mirror equal after each"
            : played + ", owner and mirror NOT EQUAL after " + std::to_string(unequal_));
    return unequal_ == 0 ? exitGood : exitFailed;
}

void Demo::play(const std::filesystem::path& capture) {
    printLine("== " + capture.filename().string());
    for (const std::string& left : importCapture(capture.string(), roots_)) say(left);
    exportNew();
    MirrorProcess::Told told;
    if (!mirror_) {
        mirror_ = std::make_unique<MirrorProcess>(exports_);
        printLine(
            "the owner is process " + std::to_string(::getpid()) + ", the mirror process " +
            std::to_string(mirror_->id()) + ", a Unix socket joins them");
        told = mirror_->synchronised();
        printLine("first synchronisation: the mirror is told of all that the owner holds");
    } else {
        told = mirror_->barrier();
        if (told.changes.empty()) {
            printLine("the state is the same as before: 0 changes, nothing was told");
        } else {
            printLine("the mirror was told of these changes:");
        }
    }
    showChanges(told.changes);
    printLine(
        "   " + counted(told.changes.size(), "line", "lines") +
        "; sent to the mirror: " + counted(told.messages, "message", "messages") + ", " +
        counted(told.bytes, "byte", "bytes"));
    compare(told.state);
    explain();
}

// A capture updates the trees of the one before.
void Demo::exportNew() {
    for (const auto& [name, root] : roots_) {
        if (exported_.insert(name).second) exports_.exportIs(name, root);
    }
}

void Demo::explain() {
    Overview now = overview(roots_);
    printLine("what came of it:");
    for (const std::string& line : changedLines(overview_ ? &*overview_ : nullptr, now)) {
        printLine("   " + line);
    }
    overview_ = std::move(now);
}

void Demo::showChanges(const std::vector<std::string>& changes) const {
    // A few lines more than shown are no reason to leave them out.
    const bool isLong = changes.size() > shownLines + shownLines / 2 && !options_.all;
    const std::size_t shown = isLong ? shownLines : changes.size();
    for (std::size_t i = 0; i < shown; ++i) printLine(changes[i]);
    if (isLong) {
        printLine(
            "   ... and " + std::to_string(changes.size() - shown) +
            " lines more; --all shows them");
    }
}

void Demo::showHolding(const char* who, const std::string& state) const {
    const Holding holding = Holding::of(state);
    printLine(
        who + counted(holding.connectors, "connector", "connectors") + ", " +
        counted(holding.patches, "patch", "patches") + ", digest " + digest(state));
}

void Demo::compare(const std::string& mirrored) {
    std::string owned;
    for (const auto& [name, root] : roots_) {
        owned += dump(pathOfRoot(name.view(), *root), *root);
    }
    showHolding("   owner:  ", owned);
    showHolding("   mirror: ", mirrored);
    if (owned == mirrored) {
        printLine("   equal, byte for byte");
        return;
    }
    ++unequal_;
    const auto [ours, theirs] =
        std::mismatch(owned.begin(), owned.end(), mirrored.begin(), mirrored.end());
    const auto line = std::count(owned.begin(), ours, '\n') + 1;
    printLine("   NOT EQUAL: the states differ from line " + std::to_string(line) + " on");
}

}  // namespace

int demo(const DemoOptions& options) {
    return Demo(options).run();
}

}  // namespace corra
