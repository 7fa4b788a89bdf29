#include <algorithm>
#include <utility>

#include "Zin/NboAttrLogConnection.h"
#include "Zin/NboAttrLogConnectionImpl.h"

// What a connection does about each message that it takes.

namespace Zin::NboAttrLog {

namespace {

// What a peer may make this side queue beyond the high-water mark before it is cut off.
constexpr std::size_t replyBacklog = std::size_t{64} << 10;
constexpr std::size_t maxQueuedTokens = 1024;
constexpr std::size_t maxPeerNames = 4096;
constexpr std::size_t maxPeerNameSize = 1024;

}  // namespace

void Connection::dispatch(MessageId id, In& in) {
    switch (id) {
        case MessageId::hello:
            return onHello(in);
        case MessageId::exported: {
            const String name = in.nextString();
            const String type = in.nextString();
            const bool writable = in.nextbool();
            in.requireEnd();
            return observer_.onExported(
                name,
                type,
                writable ? Access::readWrite : Access::readOnly);
        }
        case MessageId::unexported: {
            const String name = in.nextString();
            in.requireEnd();
            return observer_.onUnexported(name);
        }
        case MessageId::mount:
            return onMount(in);
        case MessageId::mounted:
            return onMountedMessage(in);
        case MessageId::refused:
            return onRefusedMessage(in);
        case MessageId::synced: {
            const auto mount = mountNumbered(in.nextU32());
            in.requireEnd();
            if (mount == mounts_.end()) return;
            if (!mount->second.answered) {
                fault(StreamErrorKind::outOfOrder, "a mount is synced before it was answered");
            }
            observer_.onSynced(String(mount->second.name));
            return;
        }
        case MessageId::typeName: {
            const std::uint32_t number = in.nextU32();
            const String name = in.nextString();
            in.requireEnd();
            requireShort(name);
            if (peerTypes_.size() >= maxPeerNames) {
                fault(StreamErrorKind::limit, "more than 4096 type names");
            }
            if (!peerTypes_.emplace(number, name).second) {
                fault(
                    StreamErrorKind::outOfOrder,
                    "type " + std::to_string(number) + " named twice");
            }
            return;
        }
        case MessageId::select:
            return onSelect(in, Role::proxy);
        case MessageId::selectPeers:
            return onSelect(in, Role::owner);
        case MessageId::transaction:
            return onTransaction(in);
        case MessageId::refresh:
            return onRefresh(in);
        case MessageId::barrier: {
            const std::uint64_t token = in.nextU64();
            in.requireEnd();
            if (afterPending_.size() >= maxQueuedTokens) {
                fault(StreamErrorKind::limit, "more than 1024 barriers unanswered");
            }
            observer_.onBarrier(token);
            afterPending_.emplace_back(MessageId::barrierReached, token);
            return wake();
        }
        case MessageId::barrierReached: {
            const std::uint64_t token = in.nextU64();
            in.requireEnd();
            return observer_.onBarrierReached(token);
        }
        case MessageId::heard: {
            const std::uint64_t message = in.nextU64();
            in.requireEnd();
            if (message <= heardByPeer_ || message > counters_.messagesOut) {
                fault(
                    StreamErrorKind::outOfOrder,
                    "message " + std::to_string(message) + " is confirmed");
            }
            heardByPeer_ = message;
            return;
        }
        case MessageId::settle:
            in.requireEnd();
            if (std::exchange(settleAsked_, true)) {
                fault(StreamErrorKind::outOfOrder, "settle is asked for twice");
            }
            afterPending_.emplace_back(MessageId::settled, 0);
            return wake();
        case MessageId::settled:
            in.requireEnd();
            if (settling_ == 0) fault(StreamErrorKind::outOfOrder, "nothing was to be settled");
            childSettled_ = std::exchange(settling_, 0);
            return wake();
        case MessageId::unmount: {
            const std::uint32_t number = in.nextU32();
            in.requireEnd();
            const auto at = peerMounts_.find(number);
            if (at == peerMounts_.end()) {
                fault(
                    StreamErrorKind::unknownName,
                    "unmount of number " + std::to_string(number));
            }
            if (Sa* const sa = adapterOf(Role::owner, *at->second)) release(*sa);
            peerMounts_.erase(at);
            return;
        }
        case MessageId::failed: {
            const String text = in.nextString();
            in.requireEnd();
            return fail(
                StreamErrorKind::peerFailed,
                position_,
                "the peer says: " + std::string(text.view()));
        }
    }
    fault(
        StreamErrorKind::unknownMessage,
        "message " + std::to_string(static_cast<std::uint32_t>(id)));
}

void Connection::onHello(In& in) {
    if (greeted_) fault(StreamErrorKind::outOfOrder, "a second greeting");
    if (in.nextU32() != protocolMagic) {
        fault(StreamErrorKind::protocol, "the greeting does not begin with \"ZNAL\"");
    }
    const std::uint16_t version = in.nextU16();
    if (version != protocolVersion) {
        fault(
            StreamErrorKind::protocol,
            "protocol version " + std::to_string(version) + ", this side speaks " +
                std::to_string(protocolVersion));
    }
    peerMaxMessage_ = in.nextU32();
    const std::uint32_t modules = in.nextU32();
    // A module takes at least twelve bytes: more than fit are not counted through.
    if (modules > in.left() / 12)
        in.fail("modules within the message", std::to_string(modules));
    for (std::uint32_t i = 0; i < modules; ++i) {
        const String name = in.nextString();
        peerModules_[name] = in.nextU64();
    }
    in.requireEnd();
    greeted_ = true;
    forEachModule([&](const ZinModule& module) {
        if (!sameBuild(&module)) sameBuilds_ = false;
    });
    for (const auto& [name, offer] : exports_.all()) sendExport(name, offer);
    wake();
}

void Connection::onMount(In& in) {
    requireRoomForReply();
    const std::uint32_t number = in.nextU32();
    const String name = in.nextString();
    const String wanted = in.nextString();
    in.requireEnd();
    requireShort(name);
    requireShort(wanted);
    if (peerMounts_.contains(number)) {
        fault(
            StreamErrorKind::outOfOrder,
            "mount " + std::to_string(number) + " asked for twice");
    }
    const auto refuse = [&](const std::string& why) {
        send(MessageId::refused, number, String(why));
        wake();
    };
    const auto offer = exports_.all().find(name);
    if (offer == exports_.all().end())
        return refuse("nothing is exported under " + quoted(name));
    const Ptr<Entity> entity = offer->second.entity;
    const EntityTypeInfo& type = *entity->fwkType().info();
    if (!wanted.empty() && wanted != type.name) {
        return refuse(
            quoted(name) + " is a " + std::string(type.name) + ", not a " +
            std::string(wanted.view()));
    }
    if (overlapsMounted(*entity)) {
        return refuse(
            quoted(name) + " is mounted already, or a part of it, or what it is part of");
    }
    const bool writable = offer->second.access == Access::readWrite;
    const std::uint32_t typeNumber = this->typeNumber(type);
    const std::uint32_t entityId = lastEntityId_[indexOf(Role::owner)] + 1;
    Out out = message(
        static_cast<std::uint32_t>(MessageId::mounted),
        4 + 1 + 4 + 4 + type.attrLogSizeCtorParams(*entity));
    out << number << writable << entityId << typeNumber;
    type.serializeConstructorParams(out, *entity);
    commit();
    peerMounts_.emplace(number, entity);
    Sa& sa = attach(entity, entityId, Role::owner, writable, nullptr);
    sa.flowOutIs(0);
    schedule(sa);
    afterPending_.emplace_back(MessageId::synced, number);
    wake();
}

// One entity has one number on a stream, so what is mounted may not contain each other.
bool Connection::overlapsMounted(const Entity& entity) const {
    for (const Entity* e = &entity; e; e = e->parent()) {
        if (adapterOf(Role::owner, *e)) return true;
    }
    for (const auto& [number, mounted] : peerMounts_) {
        for (const Entity* e = mounted.get(); e; e = e->parent()) {
            if (e == &entity) return true;
        }
    }
    return false;
}

void Connection::onMountedMessage(In& in) {
    const std::uint32_t number = in.nextU32();
    const bool writable = in.nextbool();
    const std::uint32_t entityId = in.nextU32();
    const std::uint32_t typeNumber = in.nextU32();
    const auto type = peerTypes_.find(typeNumber);
    if (type == peerTypes_.end()) {
        fault(
            StreamErrorKind::outOfOrder,
            "type " + std::to_string(typeNumber) + " has no name yet");
    }
    if (entityId <= lastEntityId_[indexOf(Role::proxy)]) {
        fault(
            StreamErrorKind::outOfOrder,
            "entity " + std::to_string(entityId) + " comes twice");
    }
    const auto mount = mountNumbered(number);
    lastEntityId_[indexOf(Role::proxy)] = entityId;
    if (mount == mounts_.end()) return;
    if (mount->second.answered) {
        fault(
            StreamErrorKind::outOfOrder,
            "mount " + std::to_string(number) + " answered twice");
    }
    const String name = mount->second.name;
    if (!mount->second.local) {
        const EntityTypeInfo* const known = typeNamed(type->second.view()).info();
        if (!known) {
            send(MessageId::unmount, number);
            mounts_.erase(mount);
            return observer_.onRefused(
                name,
                "its type " + std::string(type->second.view()) + " is not known here");
        }
        mount->second.local = known->newEntityForAttrLog(&in);
        in.requireEnd();
    } else if (mount->second.local->fwkType().info()->name != type->second) {
        fault(
            StreamErrorKind::malformed,
            "mount " + quoted(name) + " is answered with another type");
    }
    mount->second.answered = true;
    const Ptr<Entity> local = mount->second.local;
    if (adapterOf(Role::proxy, *local)) {
        fault(
            StreamErrorKind::outOfOrder,
            quoted(name) + " is mirrored by this stream already");
    }
    attach(local, entityId, Role::proxy, writable, nullptr);
    observer_.onMounted(name, local, writable ? Access::readWrite : Access::readOnly);
}

void Connection::onRefusedMessage(In& in) {
    const auto mount = mountNumbered(in.nextU32());
    const String why = in.nextString();
    in.requireEnd();
    if (mount == mounts_.end()) return;
    const String name = mount->second.name;
    mounts_.erase(mount);
    observer_.onRefused(name, why);
}

// The mount, or the end when this side has unmounted it meanwhile.
std::map<std::uint32_t, Connection::Mount>::iterator Connection::mountNumbered(
    std::uint32_t number) {
    if (number == 0 || number > lastMount_) {
        fault(
            StreamErrorKind::unknownName,
            "mount " + std::to_string(number) + " was never asked for");
    }
    return mounts_.find(number);
}

void Connection::onSelect(In& in, Role role) {
    const std::uint32_t id = in.nextU32();
    in.requireEnd();
    selectedIn_ = adapterOf(role, id);
    std::uint32_t& last = lastEntityId_[indexOf(role)];
    // What was skipped may have described it.
    if (role == Role::proxy && skippedMessages_) last = std::max(last, id);
    selectedInIsGone_ = !selectedIn_ && ((id != 0 && id <= last) || !sameBuilds_);
    if (!selectedIn_ && !selectedInIsGone_) {
        fault(StreamErrorKind::unknownName, "entity " + std::to_string(id));
    }
}

void Connection::onTransaction(In& in) {
    const std::uint32_t id = in.nextU32();
    const std::uint8_t what = in.nextU8();
    in.requireEnd();
    if (what > static_cast<std::uint8_t>(TransactionType::close)) {
        fault(StreamErrorKind::malformed, "transaction " + std::to_string(what));
    }
    if (!selectedIn_) {
        if (!selectedInIsGone_) fault(StreamErrorKind::outOfOrder, "no entity is selected");
        return;
    }
    Sa& sa = *selectedIn_;
    if (sa.role() == Role::owner) fault(StreamErrorKind::outOfOrder, "a proxy's transaction");
    const AttributeInfo* const attribute = sa.type().attribute(id);
    if (!attribute || !attribute->isCollection()) {
        return skipOrFault(
            sa.sameBuild(),
            std::string(sa.type().name) + " has no collection " + std::to_string(id));
    }
    sa.type().doHandleAttrTransaction(&sa, id, static_cast<TransactionType>(what));
}

void Connection::onRefresh(In& in) {
    const std::uint32_t id = in.nextU32();
    if (!selectedIn_) {
        if (!selectedInIsGone_) fault(StreamErrorKind::outOfOrder, "no entity is selected");
        return;
    }
    Sa& sa = *selectedIn_;
    const AttributeInfo* const attribute = sa.type().attribute(id);
    if (sa.role() != Role::owner || !attribute || !attribute->streamed) {
        return skipOrFault(
            sa.sameBuild(),
            std::string(sa.type().name) + " has no attribute " + std::to_string(id));
    }
    attribute->resend(sa, in);
}

void Connection::onAttribute(std::uint32_t id, In& in) {
    if (!selectedIn_) {
        if (!selectedInIsGone_) fault(StreamErrorKind::outOfOrder, "no entity is selected");
        skippedMessages_ = true;
        return;
    }
    Sa& sa = *selectedIn_;
    const bool fromReadOnlyProxy = sa.role() == Role::owner && !sa.writable();
    try {
        sa.type().doHandleAttrDeserialization(
            &sa,
            id,
            fromReadOnlyProxy,
            static_cast<std::uint32_t>(in.left()),
            &in);
    } catch (const WriteUpdateFromReadOnlyProxyException& refused) {
        if (!fromReadOnlyProxy) throw;
        fault(StreamErrorKind::readOnly, refused.what());
    }
}

// What a peer names is kept, and said back to it.
void Connection::requireShort(const String& name) const {
    if (name.size() > maxPeerNameSize) {
        fault(StreamErrorKind::limit, "a name of " + std::to_string(name.size()) + " bytes");
    }
}

void Connection::requireRoomForReply() const {
    if (out_.size() > options_.highWater + replyBacklog) {
        fault(StreamErrorKind::limit, "the peer asks for more than it reads");
    }
}

}  // namespace Zin::NboAttrLog
