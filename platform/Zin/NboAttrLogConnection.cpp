#include "Zin/NboAttrLogConnection.h"

#include <algorithm>
#include <array>
#include <new>

#include "Zin/Assert.h"

namespace Zin::NboAttrLog {

namespace {

// What a peer may make this side queue beyond the high-water mark before it is cut off.
constexpr std::size_t replyBacklog = std::size_t{64} << 10;
constexpr std::size_t maxQueuedTokens = 1024;
constexpr std::size_t maxPeerNames = 4096;
constexpr std::size_t maxPeerNameSize = 1024;
constexpr std::size_t maxFailureText = 512;

std::uint32_t wordAt(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        word = word << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    }
    return word;
}

std::size_t indexOf(Role role) {
    return static_cast<std::size_t>(role);
}

std::string quoted(const String& name) {
    std::string text;
    appendQuoted(text, name.view());
    return text;
}

bool isWithin(const Entity& entity, const Entity& root) {
    for (const Entity* e = &entity; e; e = e->parent()) {
        if (e == &root) return true;
    }
    return false;
}

}  // namespace

// Thrown by what finds a fault in a message, caught where messages are taken.
struct Connection::StreamFailure {
    StreamErrorKind kind;
    std::string text;
};

std::string_view nameOf(StreamErrorKind kind) noexcept {
    constexpr std::array<std::string_view, 11> names{
        "protocol",
        "truncated",
        "oversized",
        "unknown message",
        "unknown name",
        "malformed",
        "out of order",
        "read-only",
        "limit",
        "resources",
        "peer failed"};
    return names[static_cast<std::size_t>(kind)];
}

Observer::~Observer() = default;

// --- Exports
// -----------------------------------------------------------------------------------

Exports::~Exports() {
    ZIN_ASSERT(connections_.empty(), "NboAttrLogConnection");
}

void Exports::exportIs(const String& name, const Ptr<Entity>& entity, Access access) {
    if (!entity || !entity->fwkType().info()) {
        throw Exception("export of " + quoted(name) + ": no entity of a registered type");
    }
    const auto [at, inserted] = all_.emplace(name, Export{entity, access});
    if (!inserted) throw Exception("export of " + quoted(name) + ": the name is taken");
    for (Connection* const connection : std::vector(connections_)) {
        if (connection->greeted() && !connection->closed()) {
            connection->sendExport(name, at->second);
            connection->wake();
        }
    }
}

void Exports::exportDel(const String& name) {
    if (all_.erase(name) == 0) return;
    for (Connection* const connection : std::vector(connections_)) {
        if (connection->greeted() && !connection->closed()) {
            connection->send(MessageId::unexported, name);
            connection->wake();
        }
    }
}

// --- Life
// --------------------------------------------------------------------------------------

Connection::Connection(Exports& exports, Observer& observer)
    : Connection(exports, observer, Options()) {}

Connection::Connection(Exports& exports, Observer& observer, const Options& options)
    : exports_(exports), observer_(observer), options_(options) {
    exports_.connections_.push_back(this);
    try {
        sendHello();
    } catch (...) {
        exports_.connections_.pop_back();
        throw;
    }
}

Connection::~Connection() {
    ZIN_ASSERT(depth_ == 0, "NboAttrLogConnection");
    state_ = State::closed;
    std::erase(exports_.connections_, this);
    for (auto& adapters : adapters_) {
        const auto gone = std::move(adapters);
        adapters.clear();
    }
}

void Connection::close() noexcept {
    if (state_ == State::closed) return;
    state_ = State::closed;
    out_.clear();
}

void Connection::mount(const String& name, const Ptr<Entity>& local) {
    for (const auto& [number, mount] : mounts_) {
        if (mount.name == name)
            throw Exception("mount of " + quoted(name) + ": mounted already");
        if (local && mount.local &&
            (isWithin(*local, *mount.local) || isWithin(*mount.local, *local))) {
            throw Exception(
                "mount of " + quoted(name) + ": its mirror overlaps that of " +
                quoted(mount.name));
        }
    }
    if (closed()) throw Exception("mount of " + quoted(name) + ": the stream is closed");
    const EntityTypeInfo* const type = local ? local->fwkType().info() : nullptr;
    if (local && !type) throw Exception("mount of " + quoted(name) + ": of no registered type");
    const Depth depth(*this);
    const std::uint32_t number = lastMount_ + 1;
    send(MessageId::mount, number, name, type ? String(type->name) : String());
    mounts_.emplace(number, Mount{name, local});
    lastMount_ = number;
    wake();
}

void Connection::unmount(const String& name) {
    const auto at = std::find_if(mounts_.begin(), mounts_.end(), [&](const auto& m) {
        return m.second.name == name;
    });
    if (at == mounts_.end() || closed()) return;
    const Depth depth(*this);
    send(MessageId::unmount, at->first);
    const Ptr<Entity> local = at->second.local;
    mounts_.erase(at);
    if (Sa* const sa = local ? adapterOf(Role::proxy, *local) : nullptr) release(*sa);
    wake();
}

void Connection::barrier(std::uint64_t token) {
    if (closed()) return;
    const Depth depth(*this);
    afterPending_.emplace_back(MessageId::barrier, token);
    wake();
}

// --- Receiving
// ---------------------------------------------------------------------------------

void Connection::feed(std::span<const std::byte> bytes) {
    if (closed()) return;
    if (feeding_) throw Exception("feed() was called from inside feed()");
    const Depth depth(*this);
    // Whatever is thrown on the way, what was not taken yet waits for the next call.
    struct Feeding {
        Connection& connection;
        std::span<const std::byte>& rest;
        ~Feeding() {
            connection.feeding_ = false;
            if (connection.closed() || rest.empty()) return;
            try {
                connection.partial_.insert(connection.partial_.end(), rest.begin(), rest.end());
            } catch (const std::bad_alloc&) {
                connection.fail(
                    StreamErrorKind::resources,
                    connection.position_,
                    "no memory to receive");
            }
        }
    };
    const Feeding feeding{*this, bytes};
    feeding_ = true;
    counters_.bytesIn += bytes.size();
    while (!closed() && !partial_.empty()) {
        if (!takePartial(bytes)) return;
    }
    while (!closed() && bytes.size() >= headerSize) {
        const std::size_t size = wordAt(bytes, 0);
        if (size > options_.maxMessage) {
            fail(
                StreamErrorKind::oversized,
                position_,
                "a payload of " + std::to_string(size) + " bytes, more than " +
                    std::to_string(options_.maxMessage));
            return;
        }
        if (bytes.size() < headerSize + size) return;
        const std::span<const std::byte> whole = bytes.first(headerSize + size);
        bytes = bytes.subspan(whole.size());
        takeMessage(whole);
    }
}

// Completes the message of which a part was received, and takes it. False when bytes are
// missing.
bool Connection::takePartial(std::span<const std::byte>& bytes) {
    const auto complete = [&](std::size_t size) {
        if (partial_.size() >= size) return true;
        const std::size_t missing = std::min(size - partial_.size(), bytes.size());
        partial_.insert(
            partial_.end(),
            bytes.begin(),
            bytes.begin() + static_cast<std::ptrdiff_t>(missing));
        bytes = bytes.subspan(missing);
        return partial_.size() >= size;
    };
    try {
        if (!complete(headerSize)) return false;
        const std::size_t size = wordAt(partial_, 0);
        if (size > options_.maxMessage) {
            fail(
                StreamErrorKind::oversized,
                position_,
                "a payload of " + std::to_string(size) + " bytes, more than " +
                    std::to_string(options_.maxMessage));
            return false;
        }
        if (!complete(headerSize + size)) return false;
        // More than one message waits here when a reactor threw.
        if (partial_.size() == headerSize + size) {
            whole_.swap(partial_);
            partial_.clear();
        } else {
            const auto end = partial_.begin() + static_cast<std::ptrdiff_t>(headerSize + size);
            whole_.assign(partial_.begin(), end);
            partial_.erase(partial_.begin(), end);
        }
    } catch (const std::bad_alloc&) {
        fail(StreamErrorKind::resources, position_, "no memory to receive");
        return false;
    }
    takeMessage(whole_);
    return !closed();
}

void Connection::feedEnd() {
    if (closed()) return;
    if (!partial_.empty()) {
        fail(
            StreamErrorKind::truncated,
            position_ + partial_.size(),
            "the peer closed after " + std::to_string(partial_.size()) + " bytes of a message");
        return;
    }
    close();
}

void Connection::takeMessage(std::span<const std::byte> whole) {
    const std::uint64_t start = position_;
    position_ += whole.size();
    ++counters_.messagesIn;
    const std::uint32_t id = wordAt(whole, 4);
    In in(whole.subspan(headerSize));
    try {
        if (!greeted_ && id != static_cast<std::uint32_t>(MessageId::hello)) {
            fault(
                StreamErrorKind::protocol,
                "message " + std::to_string(id) + " before the greeting");
        }
        if (id >= firstAttributeId) {
            onAttribute(id, in);
        } else {
            dispatch(static_cast<MessageId>(id), in);
        }
    } catch (const StreamFailure& failure) {
        fail(failure.kind, start, failure.text);
    } catch (const DecodeException& failure) {
        fail(
            StreamErrorKind::malformed,
            start + headerSize + failure.position(),
            "message " + std::to_string(id) + ": " + failure.what());
    } catch (const std::bad_alloc&) {
        fail(StreamErrorKind::resources, start, "no memory to apply a message");
    }
}

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
    if (sa.role() == Role::owner && !allowWriteFromReadOnlyRemote(sa, id)) {
        fault(StreamErrorKind::readOnly, "a transaction from a read-only proxy");
    }
    const AttributeInfo* const attribute = sa.type().attribute(id);
    if (!attribute || !attribute->isCollection()) {
        return skipOrFault(
            sameBuild(sa.entity().fwkType().module),
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
            sameBuild(sa.entity().fwkType().module),
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

void Connection::fault(StreamErrorKind kind, const std::string& text) const {
    throw StreamFailure{kind, text};
}

void Connection::fail(
    StreamErrorKind kind,
    std::uint64_t position,
    const std::string& text) noexcept {
    if (closed()) return;
    try {
        error_ = StreamError{
            kind,
            position,
            std::string(nameOf(kind)) + " at byte " + std::to_string(position) + ": " + text};
        if (kind != StreamErrorKind::peerFailed) {
            send(MessageId::failed, String(error_->text.substr(0, maxFailureText)));
        }
    } catch (...) {
        if (!error_) error_ = StreamError{kind, position, {}};
    }
    state_ = State::closed;
    wake();
}

void Connection::skipOrFault(bool sameBuild, const std::string& what) {
    if (sameBuild) fault(StreamErrorKind::unknownName, what);
    if (skipped_.size() < maxPeerNames && skipped_.emplace(what, true).second) {
        observer_.onSkipped(what);
    }
}

bool Connection::sameBuild(const ZinModule* module) const {
    if (!module) return false;
    const auto at = peerModules_.find(String(module->name));
    return at != peerModules_.end() && at->second == module->fingerprint;
}

// --- Sending
// -----------------------------------------------------------------------------------

Out Connection::message(std::uint32_t id, std::size_t size) {
    messageSize_ = headerSize + size;
    std::byte* const begin = out_.room(messageSize_);
    Out out(begin, begin + messageSize_);
    out << static_cast<std::uint32_t>(size) << id;
    return out;
}

void Connection::commit() noexcept {
    out_.added(messageSize_);
    ++counters_.messagesOut;
    counters_.bytesOut += messageSize_;
}

template <class... Values>
void Connection::send(MessageId id, const Values&... values) {
    Out out = message(static_cast<std::uint32_t>(id), (attrLogSize(values) + ... + 0));
    (out << ... << values);
    commit();
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

bool Connection::mayWrite() const noexcept {
    return state_ == State::open && greeted_ && out_.size() < options_.highWater;
}

void Connection::select(Sa& sa) {
    if (selectedOut_ == &sa) return;
    send(sa.role() == Role::owner ? MessageId::select : MessageId::selectPeers, sa.entityId());
    selectedOut_ = &sa;
}

std::optional<Out> Connection::attributeMessage(Sa& sa, std::uint32_t id, std::size_t size) {
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
            flowOutPending();
            sendAfterPending();
        } catch (const std::bad_alloc&) {
            fail(StreamErrorKind::resources, position_, "no memory to send");
        }
    }
    const std::span<const std::byte> front = out_.front();
    if (front.empty()) woken_ = false;
    return front.first(std::min(budget, front.size()));
}

void Connection::consumed(std::size_t bytes) noexcept {
    ZIN_ASSERT(bytes <= out_.size(), "NboAttrLogConnection");
    out_.consume(bytes);
}

bool Connection::hasOutput() const noexcept {
    if (!out_.empty()) return true;
    return state_ == State::open && greeted_ && (firstPending_ || !afterPending_.empty());
}

void Connection::flowOutPending() {
    while (firstPending_ && state_ == State::open && greeted_ && out_.size() < limit_) {
        Sa& sa = *firstPending_;
        const std::uint64_t messagesBefore = counters_.messagesOut;
        const bool done = flowOut(sa);
        // To the end of the line, so that an entity that never rests keeps no other waiting.
        unschedule(sa);
        if (done) continue;
        schedule(sa);
        // No memory for even one message: the next call tries again.
        if (counters_.messagesOut == messagesBefore) return;
    }
}

// Sends what is dirty. Whether that was all.
bool Connection::flowOut(Sa& sa) {
    if (sa.role() == Role::proxy && !sa.writable()) return sa.askForRefreshes();
    const std::int32_t resume =
        sa.type().handleAttrFlowOut(&sa, sa.resumeAt_, &sa.flowOut());
    ZIN_ASSERT(resume >= 0, "NboAttrLogConnection");
    sa.resumeAt_ = static_cast<AttributeId>(resume);
    return resume == 0 && !sa.flowOut().hasDirtyAttributes();
}

void Connection::sendAfterPending() {
    while (!firstPending_ && !afterPending_.empty() && state_ == State::open && greeted_ &&
           out_.size() < limit_) {
        const auto [id, number] = afterPending_.front();
        if (id == MessageId::synced) {
            send(id, static_cast<std::uint32_t>(number));
        } else {
            send(id, number);
        }
        afterPending_.pop_front();
    }
}

void Connection::wake() {
    if (woken_ || producing_) return;
    woken_ = true;
    observer_.onOutput();
}

// --- Adapters
// ----------------------------------------------------------------------------------

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
