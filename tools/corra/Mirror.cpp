#include "corra/Mirror.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <map>
#include <memory>
#include <utility>

#include "corra/Console.h"
#include "corra/Dump.h"
#include "corra/EventLoop.h"
#include "corra/Mirroring.h"
#include "corra/PathFilter.h"
#include "corra/Watch.h"

namespace corra {

using Zin::NboAttrLog::Address;

namespace {

constexpr std::chrono::milliseconds shortestPause(100);
constexpr std::chrono::milliseconds longestPause(5000);

class Mirror final : Mirroring::Listener {
  public:
    explicit Mirror(const MirrorOptions& options)
        : options_(options),
          address_(Address::fromText(options.address)),
          filter_(options.path) {}

    int run();

  private:
    void onMirrored(const Zin::String& name, const Mirrored& mirrored) override;
    void onForgotten(const Zin::String& name) override;
    void onRefused(const Zin::String& name, const std::string& why) override;
    void onSynced() override;
    void onBarrier(std::uint64_t token) override;
    void onLost(bool wasSynced, const std::string& why) override;

    void connect();
    void lost(bool wasSynced, const std::string& why);
    void sayUnlessQuiet(const std::string& text) const;
    void show(const Change& change);
    void showState() const;
    void showStateAs(const std::string& token) const;

    const MirrorOptions& options_;
    const Address address_;
    PathFilter filter_;
    const TreeWatcher::Listener listener_ = [this](const Change& change) {
        show(change);
    };
    Mirrors mirrors_;
    std::map<Zin::String, std::unique_ptr<TreeWatcher>> watchers_;
    std::chrono::milliseconds pause_ = shortestPause;
    std::string lastFailure_;
    bool refused_ = false;
    int status_ = exitFailed;
    EventLoop loop_;
};

int Mirror::run() {
    loop_.add(std::make_unique<SignalSource>(
        std::initializer_list<int>{SIGINT, SIGTERM},
        [this](int) {
            if (options_.watch) status_ = exitGood;
            loop_.stop();
        }));
    loop_.after({}, [this] { connect(); });
    loop_.run();
    flushOutput();
    return status_;
}

void Mirror::connect() {
    try {
        Fd fd = Zin::NboAttrLog::connectTo(address_);
        Listener& self = *this;
        loop_.add(std::make_unique<Mirroring>(std::move(fd), mirrors_, self, filter_.root()));
    } catch (const std::exception& failure) {
        lost(false, failure.what());
    }
}

void Mirror::onMirrored(const Zin::String& name, const Mirrored& mirrored) {
    if (!options_.watch) return;
    filter_.rootIs(name, mirrored.entity);
    watchers_[name] = std::make_unique<TreeWatcher>(
        pathOfRoot(name.view(), *mirrored.entity),
        *mirrored.entity,
        listener_);
}

void Mirror::onForgotten(const Zin::String& name) {
    const auto watcher = watchers_.find(name);
    if (watcher == watchers_.end()) return;
    watchers_.erase(watcher);
    const Zin::Entity& root = *mirrors_.at(name).entity;
    show({Change::Kind::removed, pathOfRoot(name.view(), root), {}, {}});
    filter_.rootIs(name, {});
}

void Mirror::onRefused(const Zin::String& name, const std::string& why) {
    say(std::string(name.view()) + " cannot be mirrored: " + why);
    refused_ = true;
}

void Mirror::onBarrier(std::uint64_t token) {
    if (options_.states) showStateAs(std::to_string(token));
}

void Mirror::onLost(bool wasSynced, const std::string& why) {
    lost(wasSynced, options_.address + ": " + why);
}

void Mirror::lost(bool wasSynced, const std::string& why) {
    if (options_.once) {
        // An owner that ends is no failure for who watches.
        status_ = options_.watch && wasSynced ? exitGood : exitFailed;
        if (status_ == exitFailed || !options_.quiet) say(why);
        return loop_.stop();
    }
    if (why != std::exchange(lastFailure_, why)) say(why + "; trying again");
    loop_.after(pause_, [this] { connect(); });
    pause_ = std::min(pause_ * 2, longestPause);
}

void Mirror::onSynced() {
    pause_ = shortestPause;
    lastFailure_.clear();
    std::string names;
    for (const auto& [name, mirrored] : mirrors_) {
        names += (names.empty() ? "" : ", ") + std::string(name.view());
    }
    if (mirrors_.empty()) {
        say(options_.address + " exports nothing that can be mirrored" +
            (options_.path.empty() ? "" : " as " + std::string(filter_.root().view())));
    } else if (!options_.path.empty() && !filter_.findsAnything()) {
        sayUnlessQuiet("nothing is at " + options_.path + " so far");
    }
    status_ = mirrors_.empty() || refused_ ? exitFailed : exitGood;
    if (options_.states) showStateAs("synced");
    if (options_.watch) {
        if (!mirrors_.empty()) sayUnlessQuiet("synchronised: " + names);
        return;
    }
    showState();
    loop_.stop();
}

void Mirror::sayUnlessQuiet(const std::string& text) const {
    if (!options_.quiet) say(text);
}

void Mirror::show(const Change& change) {
    const auto shown = filter_.narrowed(change);
    if (shown) printLine(options_.json ? lineOf(jsonOf(*shown)) : textOf(*shown));
}

void Mirror::showState() const {
    JsonArray array;
    for (const auto& [name, mirrored] : mirrors_) {
        const Zin::Entity& root = *mirrored.entity;
        forEachFact(pathOfRoot(name.view(), root), root, [&](const Fact& fact) {
            if (options_.json) return array.add(jsonOf(fact));
            printLine(textOf(fact));
        });
    }
    if (options_.json) array.end();
}

void Mirror::showStateAs(const std::string& token) const {
    std::string text;
    for (const auto& [name, mirrored] : mirrors_) {
        text += dump(pathOfRoot(name.view(), *mirrored.entity), *mirrored.entity);
    }
    printLine("= " + token + ' ' + std::to_string(std::count(text.begin(), text.end(), '\n')));
    if (!text.empty()) printLine(std::string_view(text).substr(0, text.size() - 1));
}

}  // namespace

int mirror(const MirrorOptions& options) {
    return Mirror(options).run();
}

}  // namespace corra
