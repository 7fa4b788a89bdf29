#include "Zin/NboAttrLogConnection.h"

#include <algorithm>
#include <array>
#include <new>

#include "Zin/Assert.h"
#include "Zin/NboAttrLogConnectionImpl.h"
#include "Zin/Probe.h"

namespace Zin::NboAttrLog {

namespace {

constexpr std::size_t maxFailureText = 512;
// Of names of attributes that were skipped: each is told once.
constexpr std::size_t maxSkippedNames = 4096;

// Of a message whose header is there.
std::uint32_t sizeOf(std::span<const std::byte> message) {
    return wordAt<std::uint32_t>(message.data());
}
std::uint32_t idOf(std::span<const std::byte> message) {
    return wordAt<std::uint32_t>(message.data() + 4);
}

bool isWithin(const Entity& entity, const Entity& root) {
    for (const Entity* e = &entity; e; e = e->parent()) {
        if (e == &root) return true;
    }
    return false;
}

// A message in words: one about an attribute, or its deletion, with the entity that it is
// about.
std::string messageNamed(std::uint32_t id, const Sa* selected) {
    if (id < firstAttributeId || !selected) return "message " + std::to_string(id);
    const bool deletion = static_cast<std::int32_t>(id) < 0;
    const AttributeId attribute = deletion ? ~id + 1 : id;
    const AttributeInfo* const info = selected->type().attribute(attribute);
    return std::string(selected->type().name) + " \"" +
           std::string(selected->entity().name().view()) +
           (deletion ? "\", deletion in attribute " : "\", attribute ") +
           std::to_string(attribute) + (info ? " (" + std::string(info->name) + ")" : "");
}

}  // namespace

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

// --- Exports ---

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

// --- Life ---

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
    barriers_.push_back(token);
    wake();
}

// --- Receiving ---

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
        if (!fits(bytes)) return;
        const std::size_t size = sizeOf(bytes);
        if (bytes.size() < headerSize + size) return;
        const std::span<const std::byte> whole = bytes.first(headerSize + size);
        bytes = bytes.subspan(whole.size());
        takeMessage(whole);
    }
}

// Whether the message that begins here is one that this side takes; otherwise the stream ends.
bool Connection::fits(std::span<const std::byte> header) {
    const std::size_t size = sizeOf(header);
    if (size <= options_.maxMessage) return true;
    fail(
        StreamErrorKind::oversized,
        position_,
        "a payload of " + std::to_string(size) + " bytes, more than " +
            std::to_string(options_.maxMessage));
    return false;
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
        if (!fits(partial_)) return false;
        const std::size_t size = sizeOf(partial_);
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
    const std::uint32_t id = idOf(whole);
    In in(whole.subspan(headerSize));
    ZIN_PROBE(message_in, this, id, in.left());
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
            messageNamed(id, selectedIn_) + ": " + failure.what());
    } catch (const std::bad_alloc&) {
        fail(StreamErrorKind::resources, start, "no memory to apply a message");
    }
}

// --- Faults ---

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
    if (skipped_.size() < maxSkippedNames && skipped_.emplace(what, true).second) {
        observer_.onSkipped(what);
    }
}

bool Connection::sameBuild(const ZinModule* module) const {
    if (!module) return false;
    const auto at = peerModules_.find(String(module->name));
    return at != peerModules_.end() && at->second == module->fingerprint;
}

}  // namespace Zin::NboAttrLog
