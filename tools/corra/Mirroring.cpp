#include "corra/Mirroring.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "corra/Console.h"

namespace corra {

Mirroring::Mirroring(Fd fd, Mirrors& mirrors, Listener& listener, const Zin::String& only)
    : mirrors_(mirrors),
      listener_(listener),
      only_(only),
      stream_(std::move(fd), exports_, *this) {
    for (auto& [name, mirrored] : mirrors_) mirrored.synced = false;
    // It comes back behind all that the peer exports now.
    stream_.connection().barrier(exportsBarrier);
}

std::string Mirroring::missing() {
    if (!stream_.connection().greeted()) return "the peer says nothing";
    if (!allExportsKnown_) return "the peer does not say what it exports";
    std::string names;
    for (const Zin::String& name : exported_) {
        if (!isSynced(name)) names += (names.empty() ? "" : ", ") + std::string(name.view());
    }
    return names.empty() ? "the peer does not say that it took the changes"
                         : "the peer does not send all of " + names;
}

bool Mirroring::ready(short events) {
    bool alive = false;
    std::string why = "the peer closed the connection";
    try {
        alive = stream_.ready(events);
        if (const auto* const error = stream_.connection().error()) why = error->text;
    } catch (const Zin::Exception& failure) {
        why = failure.what();
    }
    flushOutput();
    if (!alive) listener_.onLost(synced_, why);
    return alive;
}

void Mirroring::onExported(const Zin::String& name, const Zin::String& type, Access) {
    if (!only_.empty() && name != only_) return;
    auto known = mirrors_.find(name);
    if (known != mirrors_.end() &&
        known->second.entity->fwkType().info()->name != type.view()) {
        forget(name);
        known = mirrors_.end();
    }
    exported_.insert(name);
    stream_.connection().mount(
        name,
        known == mirrors_.end() ? Zin::Ptr<Zin::Entity>() : known->second.entity);
}

void Mirroring::onUnexported(const Zin::String& name) {
    if (exported_.erase(name) == 0) return;
    stream_.connection().unmount(name);
    forget(name);
    checkSynced();
}

void Mirroring::onMounted(
    const Zin::String& name,
    const Zin::Ptr<Zin::Entity>& entity,
    Access access) {
    Mirrored& mirrored = mirrors_[name];
    const bool isNew = mirrored.entity != entity;
    mirrored.entity = entity;
    mirrored.access = access;
    if (isNew) listener_.onMirrored(name, mirrored);
}

void Mirroring::onRefused(const Zin::String& name, const Zin::String& why) {
    listener_.onRefused(name, std::string(why.view()));
    exported_.erase(name);
    forget(name);
    checkSynced();
}

void Mirroring::onSynced(const Zin::String& name) {
    const auto mirrored = mirrors_.find(name);
    // Told of a mount that was never answered, when the peer is out of order.
    if (mirrored == mirrors_.end()) return;
    mirrored->second.synced = true;
    checkSynced();
}

void Mirroring::onSkipped(const Zin::String& what) {
    say("the peer is of another build: " + std::string(what.view()) + ", skipped");
}

void Mirroring::onBarrier(std::uint64_t token) {
    listener_.onBarrier(token);
}

// What was exported before the connection was lost, and is no longer, goes.
void Mirroring::onBarrierReached(std::uint64_t token) {
    if (token != exportsBarrier) return listener_.onBarrierReached();
    allExportsKnown_ = true;
    std::vector<Zin::String> gone;
    for (const auto& [name, mirrored] : mirrors_) {
        if (!exported_.contains(name)) gone.push_back(name);
    }
    for (const Zin::String& name : gone) forget(name);
    checkSynced();
}

void Mirroring::forget(const Zin::String& name) {
    if (!mirrors_.contains(name)) return;
    listener_.onForgotten(name);
    mirrors_.erase(name);
}

bool Mirroring::isSynced(const Zin::String& name) const {
    const auto mirrored = mirrors_.find(name);
    return mirrored != mirrors_.end() && mirrored->second.synced;
}

void Mirroring::checkSynced() {
    if (synced_ || !allExportsKnown_) return;
    const auto synced = [this](const Zin::String& name) {
        return isSynced(name);
    };
    if (!std::all_of(exported_.begin(), exported_.end(), synced)) return;
    synced_ = true;
    listener_.onSynced();
}

}  // namespace corra
