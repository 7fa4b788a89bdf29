#include "corra/Mirror.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "Zin/NboAttrLogFd.h"
#include "corra/Console.h"
#include "corra/Dump.h"
#include "corra/EventLoop.h"
#include "corra/Watch.h"

namespace corra {

using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Address;
using Zin::NboAttrLog::FdStream;

namespace {

constexpr std::chrono::milliseconds shortestPause(100);
constexpr std::chrono::milliseconds longestPause(5000);

std::string textOf(const nlohmann::ordered_json& json) {
    // Names may hold any bytes.
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

class Mirror {
  public:
    explicit Mirror(const MirrorOptions& options)
        : options_(options), address_(Address::fromText(options.address)) {}

    int run();

  private:
    class Session;

    // What the peer exports, and what it exported before it went.
    struct Mounted {
        Zin::Ptr<Zin::Entity> entity;
        std::unique_ptr<TreeWatcher> watcher;
        bool synced = false;
    };

    void connect();
    void onLost(bool wasSynced, const std::string& why);
    void onSynced();
    void sayUnlessQuiet(const std::string& text) const;
    void show(const Change& change) const;
    void forget(const Zin::String& name);
    void showState() const;
    void showStateAs(const std::string& token) const;

    const MirrorOptions& options_;
    const Address address_;
    const TreeWatcher::Listener listener_ = [this](const Change& change) {
        show(change);
    };
    // Nothing is offered to the peer.
    Zin::NboAttrLog::Exports exports_;
    std::map<Zin::String, Mounted> mounted_;
    std::chrono::milliseconds pause_ = shortestPause;
    std::string lastFailure_;
    bool refused_ = false;
    int status_ = exitFailed;
    EventLoop loop_;
};

// One connection to the peer.
class Mirror::Session final : public EventLoop::Source, Zin::NboAttrLog::Observer {
  public:
    Session(Mirror& mirror, Fd fd)
        : mirror_(mirror), stream_(std::move(fd), mirror.exports_, *this) {
        for (auto& [name, mounted] : mirror_.mounted_) mounted.synced = false;
        // It comes back behind all that the peer exports now.
        stream_.connection().barrier(0);
    }

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }
    bool ready(short events) override;

  private:
    void onExported(const Zin::String& name, const Zin::String& type, Access) override;
    void onUnexported(const Zin::String& name) override;
    void onMounted(const Zin::String& name, const Zin::Ptr<Zin::Entity>& entity, Access)
        override;
    void onRefused(const Zin::String& name, const Zin::String& why) override;
    void onSynced(const Zin::String& name) override;
    void onSkipped(const Zin::String& what) override;
    void onBarrier(std::uint64_t token) override;
    void onBarrierReached(std::uint64_t) override;
    void checkSynced();

    Mirror& mirror_;
    FdStream stream_;
    std::set<Zin::String> exported_;
    bool allExportsKnown_ = false;
    bool synced_ = false;
};

bool Mirror::Session::ready(short events) {
    bool alive = false;
    std::string why = "the peer closed the connection";
    try {
        alive = stream_.ready(events);
        if (const auto* const error = stream_.connection().error()) why = error->text;
    } catch (const Zin::Exception& failure) {
        why = failure.what();
    }
    flushOutput();
    if (!alive) mirror_.onLost(synced_, mirror_.options_.address + ": " + why);
    return alive;
}

void Mirror::Session::onExported(const Zin::String& name, const Zin::String& type, Access) {
    const auto known = mirror_.mounted_.find(name);
    if (known != mirror_.mounted_.end() &&
        known->second.entity->fwkType().info()->name != type.view()) {
        mirror_.forget(name);
    }
    exported_.insert(name);
    const auto kept = mirror_.mounted_.find(name);
    stream_.connection().mount(
        name,
        kept == mirror_.mounted_.end() ? Zin::Ptr<Zin::Entity>() : kept->second.entity);
}

void Mirror::Session::onUnexported(const Zin::String& name) {
    stream_.connection().unmount(name);
    exported_.erase(name);
    mirror_.forget(name);
    checkSynced();
}

void Mirror::Session::onMounted(
    const Zin::String& name,
    const Zin::Ptr<Zin::Entity>& entity,
    Access) {
    Mounted& mounted = mirror_.mounted_[name];
    if (mounted.entity == entity) return;
    mounted.entity = entity;
    if (!mirror_.options_.watch) return;
    mounted.watcher =
        std::make_unique<TreeWatcher>(std::string(name.view()), *entity, mirror_.listener_);
}

void Mirror::Session::onRefused(const Zin::String& name, const Zin::String& why) {
    say(std::string(name.view()) + " cannot be mirrored: " + std::string(why.view()));
    mirror_.refused_ = true;
    exported_.erase(name);
    mirror_.forget(name);
    checkSynced();
}

void Mirror::Session::onSynced(const Zin::String& name) {
    const auto mounted = mirror_.mounted_.find(name);
    // Told of a mount that was never answered, when the peer is out of order.
    if (mounted == mirror_.mounted_.end()) return;
    mounted->second.synced = true;
    checkSynced();
}

void Mirror::Session::onSkipped(const Zin::String& what) {
    say("the peer is of another build: " + std::string(what.view()) + ", skipped");
}

void Mirror::Session::onBarrier(std::uint64_t token) {
    if (mirror_.options_.states) mirror_.showStateAs(std::to_string(token));
}

// What was exported before the connection was lost, and is no longer, goes.
void Mirror::Session::onBarrierReached(std::uint64_t) {
    allExportsKnown_ = true;
    std::vector<Zin::String> gone;
    for (const auto& [name, mounted] : mirror_.mounted_) {
        if (!exported_.contains(name)) gone.push_back(name);
    }
    for (const Zin::String& name : gone) mirror_.forget(name);
    checkSynced();
}

void Mirror::Session::checkSynced() {
    const auto isSynced = [&](const Zin::String& name) {
        const auto mounted = mirror_.mounted_.find(name);
        return mounted != mirror_.mounted_.end() && mounted->second.synced;
    };
    if (synced_ || !allExportsKnown_) return;
    if (!std::all_of(exported_.begin(), exported_.end(), isSynced)) return;
    synced_ = true;
    mirror_.onSynced();
}

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
        loop_.add(std::make_unique<Session>(*this, Zin::NboAttrLog::connectTo(address_)));
    } catch (const std::exception& failure) {
        onLost(false, failure.what());
    }
}

void Mirror::onLost(bool wasSynced, const std::string& why) {
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
    for (const auto& [name, mounted] : mounted_) {
        names += (names.empty() ? "" : ", ") + std::string(name.view());
    }
    if (mounted_.empty()) say(options_.address + " exports nothing that can be mirrored");
    status_ = mounted_.empty() || refused_ ? exitFailed : exitGood;
    if (options_.states) showStateAs("synced");
    if (options_.watch) {
        if (!mounted_.empty()) sayUnlessQuiet("synchronised: " + names);
        return;
    }
    showState();
    loop_.stop();
}

void Mirror::sayUnlessQuiet(const std::string& text) const {
    if (!options_.quiet) say(text);
}

void Mirror::show(const Change& change) const {
    printLine(options_.json ? textOf(jsonOf(change)) : corra::textOf(change));
}

void Mirror::forget(const Zin::String& name) {
    const auto known = mounted_.find(name);
    if (known == mounted_.end()) return;
    if (known->second.watcher) show({Change::Kind::removed, std::string(name.view()), {}, {}});
    mounted_.erase(known);
}

void Mirror::showState() const {
    if (!options_.json) {
        for (const auto& [name, mounted] : mounted_) {
            const std::string text = dump(name.view(), *mounted.entity);
            printLine(std::string_view(text).substr(0, text.size() - 1));
        }
        return;
    }
    std::string lines;
    for (const auto& [name, mounted] : mounted_) {
        for (const auto& fact : dumpJson(name.view(), *mounted.entity)) {
            lines += (lines.empty() ? "[\n" : ",\n") + textOf(fact);
        }
    }
    printLine(lines.empty() ? "[]" : lines + "\n]");
}

void Mirror::showStateAs(const std::string& token) const {
    std::string text;
    for (const auto& [name, mounted] : mounted_) text += dump(name.view(), *mounted.entity);
    printLine("= " + token + ' ' + std::to_string(std::count(text.begin(), text.end(), '\n')));
    if (!text.empty()) printLine(std::string_view(text).substr(0, text.size() - 1));
}

}  // namespace

int mirror(const MirrorOptions& options) {
    return Mirror(options).run();
}

}  // namespace corra
