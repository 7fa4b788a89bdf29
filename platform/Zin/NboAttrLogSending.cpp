#include <algorithm>
#include <new>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/NboAttrLogConnection.h"
#include "Zin/NboAttrLogConnectionImpl.h"

// What a connection sends, and the adapters whose entities it sends.

namespace Zin::NboAttrLog {

// --- Sending ---

Out Connection::message(std::uint32_t id, std::size_t size) {
    if (toConfirm_ != 0) sendConfirmation();
    return messageIn(out_.room(headerSize + size), id, size);
}

void Connection::confirm() {
    toConfirm_ = counters_.messagesIn;
    wake();
}

void Connection::sendConfirmation() {
    const std::uint64_t heard = std::exchange(toConfirm_, 0);
    try {
        send(MessageId::heard, heard);
    } catch (...) {
        toConfirm_ = heard;
        throw;
    }
}

void Connection::sendHello() {
    std::vector<const ZinModule*> modules;
    std::size_t size = 4 + 2 + 4 + 4;
    forEachModule([&](const ZinModule& module) {
        modules.push_back(&module);
        size += 4 + module.name.size() + 8;
    });
    Out out = message(static_cast<std::uint32_t>(MessageId::hello), size);
    out << protocolMagic << protocolVersion << static_cast<std::uint32_t>(options_.maxMessage)
        << static_cast<std::uint32_t>(modules.size());
    for (const ZinModule* const module : modules) {
        out << String(module->name) << module->fingerprint;
    }
    commit();
}

void Connection::sendExport(const String& name, const Exports::Export& offer) {
    send(
        MessageId::exported,
        name,
        String(offer.entity->fwkType().info()->name),
        offer.access == Access::readWrite);
}

void Connection::select(Sa& sa) {
    if (selectedOut_ == &sa) return;
    send(sa.role() == Role::owner ? MessageId::select : MessageId::selectPeers, sa.entityId());
    selectedOut_ = &sa;
}

std::optional<Out>
Connection::firstAttributeMessage(Sa& sa, std::uint32_t id, std::size_t size) {
    if (!mayWrite()) return std::nullopt;
    if (size > std::min(options_.maxMessage, peerMaxMessage_)) {
        fail(
            StreamErrorKind::oversized,
            counters_.bytesOut,
            std::string(sa.type().name) + " " + quoted(sa.entity().name()) + ", attribute " +
                std::to_string(id) + ": a message of " + std::to_string(size) +
                " bytes to send");
        return std::nullopt;
    }
    try {
        select(sa);
        return message(id, size);
    } catch (const std::bad_alloc&) {
        // As if the stream were full: the change stays dirty until there is memory.
        return std::nullopt;
    }
}

std::span<const std::byte> Connection::produce(std::size_t budget) {
    const Depth depth(*this);
    if (state_ == State::open && !producing_) {
        producing_ = true;
        struct Producing {
            bool& producing;
            ~Producing() { producing = false; }
        };
        const Producing producing{producing_};
        limit_ = std::min(budget, options_.highWater);
        try {
            if (toConfirm_ != 0) sendConfirmation();
            flowOutPending();
            sendAfterPending();
        } catch (const std::bad_alloc&) {
            fail(StreamErrorKind::resources, position_, "no memory to send");
        }
    }
    const std::span<const std::byte> front = out_.front();
    if (front.empty()) woken_ = false;
    if (unsendable_) std::rethrow_exception(std::exchange(unsendable_, nullptr));
    return front.first(std::min(budget, front.size()));
}

void Connection::consumed(std::size_t bytes) noexcept {
    ZIN_ASSERT(bytes <= out_.size(), "NboAttrLogConnection");
    out_.consume(bytes);
}

bool Connection::hasOutput() const noexcept {
    if (!out_.empty()) return true;
    return state_ == State::open && greeted_ &&
           (firstPending_ || !afterPending_.empty() || toConfirm_ != 0 ||
            (!barriers_.empty() && settling_ == 0));
}

void Connection::flowOutPending() {
    while (firstPending_ && state_ == State::open && greeted_ && out_.size() < limit_) {
        Sa& sa = *firstPending_;
        const bool fromTheFirst = sa.resumeAt_ == 0;
        const std::uint64_t messagesBefore = counters_.messagesOut;
        const bool done = flowOut(sa);
        // To the end of the line, so that an entity that never rests keeps no other waiting.
        unschedule(sa);
        if (done) continue;
        schedule(sa);
        // No memory for even one message: the next call tries again.
        if (fromTheFirst && counters_.messagesOut == messagesBefore) return;
    }
}

// Sends what is dirty. Whether that was all.
bool Connection::flowOut(Sa& sa) {
    if (sa.role() == Role::proxy && !sa.writable()) return sa.askForRefreshes();
    const std::int32_t resume = sa.type().handleAttrFlowOut(&sa, sa.resumeAt_, &sa.flowOut());
    ZIN_ASSERT(resume >= 0, "NboAttrLogConnection");
    sa.resumeAt_ = static_cast<AttributeId>(resume);
    return resume == 0 && !sa.flowOut().hasDirtyAttributes();
}

void Connection::sendAfterPending() {
    while (!firstPending_ && state_ == State::open && greeted_ && out_.size() < limit_) {
        if (!afterPending_.empty()) {
            const auto [id, number] = afterPending_.front();
            if (id == MessageId::synced) {
                send(id, static_cast<std::uint32_t>(number));
            } else if (id == MessageId::settled) {
                send(id);
                settleAsked_ = false;
            } else {
                send(id, number);
            }
            afterPending_.pop_front();
        } else if (barriers_.empty() || settling_ != 0) {
            return;
        } else if (childTold_ != childSettled_) {
            send(MessageId::settle);
            settling_ = childTold_;
        } else {
            send(MessageId::barrier, barriers_.front());
            barriers_.pop_front();
        }
    }
}

void Connection::wakeNow() {
    woken_ = true;
    observer_.onOutput();
}

// --- Adapters ---

Sa& Connection::attach(
    Ptr<Entity> entity,
    std::uint32_t id,
    Role role,
    bool writable,
    Sa* parent) {
    const std::size_t index = indexOf(role);
    const Entity* const key = entity.get();
    auto made = std::make_unique<Sa>(*this, std::move(entity), id, role, writable, parent);
    Sa& sa = *made;
    byEntity_[index].emplace(key, &sa);
    try {
        adapters_[index].emplace(id, std::move(made));
    } catch (...) {
        byEntity_[index].erase(key);
        throw;
    }
    lastEntityId_[index] = std::max(lastEntityId_[index], id);
    const auto [first, last] = awaited_.equal_range(key);
    for (auto at = first; role == Role::owner && at != last; ++at) {
        const Awaiting& waiting = *at->second;
        if (!waiting.sa_->isActive()) continue;
        waiting.sa_->flowOut().zinIsDirtyIs(waiting.id_, true);
        schedule(*waiting.sa_);
    }
    return sa;
}

Sa* Connection::adapterOf(Role role, std::uint32_t id) const noexcept {
    const auto& adapters = adapters_[indexOf(role)];
    const auto at = adapters.find(id);
    return at == adapters.end() ? nullptr : at->second.get();
}

Sa* Connection::adapterOf(Role role, const Entity& entity) const noexcept {
    const auto& adapters = byEntity_[indexOf(role)];
    const auto at = adapters.find(&entity);
    return at == adapters.end() ? nullptr : at->second;
}

void Connection::release(Sa& sa) noexcept {
    while (sa.firstChild_) release(*sa.firstChild_);
    unschedule(sa);
    if (selectedOut_ == &sa) selectedOut_ = nullptr;
    if (selectedIn_ == &sa) {
        selectedIn_ = nullptr;
        selectedInIsGone_ = true;
    }
    sa.detach();
    const std::size_t index = indexOf(sa.role());
    byEntity_[index].erase(&sa.entity());
    const auto at = adapters_[index].find(sa.entityId());
    sa.nextPending_ = firstReleased_;
    firstReleased_ = at->second.release();
    adapters_[index].erase(at);
    if (depth_ == 0) destroyReleased();
}

// What goes here may drop the last reference to an entity, and so run reactors that release
// more.
void Connection::destroyReleased() noexcept {
    while (Sa* const sa = firstReleased_) {
        firstReleased_ = sa->nextPending_;
        delete sa;
    }
}

void Connection::schedule(Sa& sa) {
    if (sa.pending_) return;
    sa.pending_ = true;
    sa.previousPending_ = lastPending_;
    sa.nextPending_ = nullptr;
    (lastPending_ ? lastPending_->nextPending_ : firstPending_) = &sa;
    lastPending_ = &sa;
}

void Connection::unschedule(Sa& sa) noexcept {
    if (!sa.pending_) return;
    sa.pending_ = false;
    (sa.previousPending_ ? sa.previousPending_->nextPending_ : firstPending_) = sa.nextPending_;
    (sa.nextPending_ ? sa.nextPending_->previousPending_ : lastPending_) = sa.previousPending_;
}

std::uint32_t Connection::typeNumber(const EntityTypeInfo& type) {
    const auto at = sentTypes_.find(&type);
    if (at != sentTypes_.end()) return at->second;
    const auto number = static_cast<std::uint32_t>(sentTypes_.size() + 1);
    send(MessageId::typeName, number, String(type.name));
    sentTypes_.emplace(&type, number);
    return number;
}

}  // namespace Zin::NboAttrLog
