// Connection is one end of an attribute-log stream, as a pure state machine: bytes in, bytes
// out, no socket, no clock, no thread. What this side exports the peer may mount; what this
// side mounts it mirrors from the peer. Zin/NboAttrLogFd.h drives it from a file descriptor.
//
//     feed(bytes)      takes what was received, in chunks of any size, and applies whole
//     messages. produce(budget)  returns bytes to be sent, at most `budget`; consumed(n) says
//     how many went. closed()         says that the stream is over, error() why.
//
// Bad bytes end the stream with a StreamError that names the position; every entity stays as
// the last whole message left it, and no other stream notices. feed() does not throw for what
// the peer does; what this side's own reactors throw passes through it after the message was
// applied, and the next feed(), of nothing if need be, goes on.
//
// A value that has no wire form is not sent, and the peer keeps what it has. What says so, a
// ValueCollectionDefaultKeyException, is thrown to whoever makes the change that would be sent;
// where the value is met later, by produce() at its end, which goes on when it is called again,
// or by feed(), when the peer has asked for it.
//
// Memory: one message of at most Options::maxMessage bytes on the way in; on the way out about
// Options::highWater, and the dirty keys of a peer that does not keep up.
// One thread at a time uses a connection and the entities it joins.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "Zin/ByteQueue.h"
#include "Zin/Export.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogProtocol.h"
#include "Zin/NboAttrLogSa.h"
#include "Zin/Probe.h"
#include "Zin/String.h"

namespace Zin::NboAttrLog {

struct StreamError {
    // What sort of fault it is.
    StreamErrorKind kind;
    // Bytes of the stream before the message at fault, or before the fault itself where it is
    // known.
    std::uint64_t position;
    // What was found, and what was expected.
    std::string text;
};

// Whether mirrors may write.
enum class Access : std::uint8_t { readOnly, readWrite };

class Connection;

// The entities that a process offers for mounting, by name. Outlives the connections that offer
// it.
class ZIN_EXPORT Exports {
  public:
    // An entity on offer, and what its mirrors may do.
    struct Export {
        // The root of what is mirrored.
        Ptr<Entity> entity;
        // What its mirrors may do.
        Access access;
    };

    Exports() = default;
    Exports(const Exports&) = delete;
    Exports& operator=(const Exports&) = delete;
    ~Exports();

    // Offers an entity; connected peers are told. Throws Zin::Exception when the name is taken.
    void
    exportIs(const String& name, const Ptr<Entity>& entity, Access access = Access::readOnly);
    // Takes an offer back. Mirrors that exist stay joined.
    void exportDel(const String& name);

    // All that is on offer, by name.
    const std::map<String, Export>& all() const noexcept { return all_; }

  private:
    friend class Connection;

    std::map<String, Export> all_;
    std::vector<Connection*> connections_;
};

// Told of what happens on a connection, from inside feed(), produce() or a mutator. May mount,
// change entities and close the connection, but not destroy it.
class ZIN_EXPORT Observer {
  public:
    virtual ~Observer();
    // There is something to produce() although the last call returned nothing.
    virtual void onOutput() {}
    // The peer offers an entity, or no longer does.
    virtual void onExported(const String& /*name*/, const String& /*type*/, Access) {}
    virtual void onUnexported(const String& /*name*/) {}
    // The mirror is joined to the owner's entity; what the owner holds follows.
    virtual void onMounted(const String& /*name*/, const Ptr<Entity>& /*mirror*/, Access) {}
    virtual void onRefused(const String& /*name*/, const String& /*why*/) {}
    // The mirror holds all that the owner held when it was mounted.
    virtual void onSynced(const String& /*name*/) {}
    // The peer's barrier: all that it changed before has been applied here.
    virtual void onBarrier(std::uint64_t /*token*/) {}
    // This side's barrier: the peer has applied all that was changed before, and what it
    // changed in consequence has been applied here.
    virtual void onBarrierReached(std::uint64_t /*token*/) {}
    // Said once per name: the peer is of another build and sends what this one does not know.
    virtual void onSkipped(const String& /*what*/) {}
};

// A reference to an entity that the owner's side does not carry on the stream yet. While one
// lives, the attribute is sent again when the entity is carried.
class ZIN_EXPORT Awaiting {
  public:
    Awaiting() = default;
    ~Awaiting() { end(); }
    Awaiting(const Awaiting&) = delete;
    Awaiting& operator=(const Awaiting&) = delete;

    // In place of what was awaited before.
    void begin(Sa& sa, AttributeId id, const Entity& entity);
    void end() noexcept;

  private:
    friend class Connection;

    Sa* sa_ = nullptr;
    AttributeId id_ = 0;
    std::multimap<const Entity*, Awaiting*>::iterator at_;
};

class ZIN_EXPORT Connection {
  public:
    // Bounds, in bytes.
    struct Options {
        // The longest payload that is sent or accepted.
        std::size_t maxMessage = std::size_t{16} << 20;
        // Changes are written at once while fewer bytes than this wait to be sent.
        std::size_t highWater = std::size_t{256} << 10;
    };
    // Whole messages and bytes so far, since the connection was made.
    struct Counters {
        // Messages that were received whole.
        std::uint64_t messagesIn = 0;
        // Bytes that were fed.
        std::uint64_t bytesIn = 0;
        // Messages that were written.
        std::uint64_t messagesOut = 0;
        // Bytes that were consumed.
        std::uint64_t bytesOut = 0;
    };

    // REQUIRES: the exports and the observer outlive the connection.
    Connection(Exports& exports, Observer& observer, const Options& options);
    Connection(Exports& exports, Observer& observer);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Mirrors what the peer exports under `name` into `local`, which becomes what the owner
    // holds: members that the owner does not have are deleted at the end of their collection's
    // synchronisation. Without `local` an entity of the owner's type and name is made.
    // Throws Zin::Exception when `name` is mounted already, or `local` or a part of it is a
    // mirror.
    void mount(const String& name, const Ptr<Entity>& local = {});
    // Ends the mirroring; the local entity stays as it is.
    void unmount(const String& name);

    // Takes bytes that were received, in chunks of any size, and applies whole messages.
    // Linear.
    void feed(std::span<const std::byte> bytes);
    // The peer sends no more: in the middle of a message that is an error.
    void feedEnd();

    // Bytes to be sent, at most `budget`, valid until the next call; empty when there are none
    // now.
    std::span<const std::byte> produce(std::size_t budget);
    // REQUIRES: no more than the last produce() returned.
    void consumed(std::size_t bytes) noexcept;
    // Whether produce() would return something.
    bool hasOutput() const noexcept;

    // Sends the token behind all that is dirty now, and behind what children hold that were
    // made here and that the owner has yet to name (Observer::onBarrier, onBarrierReached).
    void barrier(std::uint64_t token);

    // Ends the stream from this side. What was not sent is lost.
    void close() noexcept;
    bool closed() const noexcept { return state_ == State::closed; }
    // Why the stream ended, or null when this side closed it or it is open.
    const StreamError* error() const noexcept { return error_ ? &*error_ : nullptr; }

    // Whether the peer's greeting was read and accepted.
    bool greeted() const noexcept { return greeted_; }
    // What went over the connection so far.
    const Counters& counters() const noexcept { return counters_; }

  private:
    friend class Awaiting;
    friend class Demuxer;
    friend class Exports;
    friend class Sa;

    enum class State : std::uint8_t { open, closed };
    struct Mount {
        String name;
        Ptr<Entity> local;
        bool answered = false;
    };
    struct StreamFailure;
    // Counts the calls that are under way: adapters that were released go when the last
    // returns.
    class Depth {
      public:
        explicit Depth(Connection& connection) : connection_(connection) {
            ++connection_.depth_;
        }
        ~Depth() {
            if (--connection_.depth_ == 0) connection_.destroyReleased();
        }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;

      private:
        Connection& connection_;
    };

    // --- Received messages ---
    bool fits(std::span<const std::byte> header);
    bool takePartial(std::span<const std::byte>& bytes);
    void takeMessage(std::span<const std::byte> whole);
    void dispatch(MessageId id, In& in);
    void onHello(In& in);
    void onMount(In& in);
    bool overlapsMounted(const Entity& entity) const;
    void onMountedMessage(In& in);
    void onRefusedMessage(In& in);
    void onSelect(In& in, Role role);
    void onTransaction(In& in);
    void onRefresh(In& in);
    void onAttribute(std::uint32_t id, In& in);
    std::map<std::uint32_t, Mount>::iterator mountNumbered(std::uint32_t number);
    void requireShort(const String& name) const;
    void requireRoomForReply() const;
    [[noreturn]] void fault(StreamErrorKind kind, const std::string& text) const;
    void fail(StreamErrorKind kind, std::uint64_t position, const std::string& text) noexcept;
    // A name that this side does not know: skipped when the peer's build differs, else a fault.
    void skipOrFault(bool sameBuild, const std::string& what);
    bool sameBuild(const ZinModule* module) const;

    // --- Messages to be sent ---
    // Room for a message whose payload has this size.
    Out message(std::uint32_t id, std::size_t size);
    Out messageIn(std::byte* room, std::uint32_t id, std::size_t size) noexcept;
    // What message() returned is a whole message now.
    void commit() noexcept {
        out_.added(messageSize_);
        ++counters_.messagesOut;
        counters_.bytesOut += messageSize_;
    }
    template <class... Values>
    void send(MessageId id, const Values&... values);
    void sendHello();
    void sendExport(const String& name, const Exports::Export& offer);
    // Room for a message about the adapter's entity, or nothing when it cannot be sent now.
    std::optional<Out> attributeMessage(Sa& sa, std::uint32_t id, std::size_t size);
    std::optional<Out> firstAttributeMessage(Sa& sa, std::uint32_t id, std::size_t size);
    void select(Sa& sa);
    bool mayWrite() const noexcept {
        return state_ == State::open && greeted_ && out_.size() < options_.highWater;
    }
    void flowOutPending();
    bool flowOut(Sa& sa);
    void sendAfterPending();
    void wake() {
        if (!woken_ && !producing_) wakeNow();
    }
    void wakeNow();
    // Before this side says anything more, the peer is told that the message which is being
    // taken was heard.
    void confirm();
    void sendConfirmation();

    // --- Adapters ---
    Sa& attach(Ptr<Entity> entity, std::uint32_t id, Role role, bool writable, Sa* parent);
    Sa* adapterOf(Role role, std::uint32_t id) const noexcept;
    Sa* adapterOf(Role role, const Entity& entity) const noexcept;
    // Ends the adapter and those of its entity's children. They are destroyed when no call into
    // this connection is under way.
    void release(Sa& sa) noexcept;
    void destroyReleased() noexcept;
    void schedule(Sa& sa);
    void unschedule(Sa& sa) noexcept;
    std::uint32_t typeNumber(const EntityTypeInfo& type);

    Exports& exports_;
    Observer& observer_;
    Options options_;
    Counters counters_;
    State state_ = State::open;
    bool greeted_ = false;
    bool sameBuilds_ = true;
    bool feeding_ = false;
    bool producing_ = false;
    bool woken_ = false;
    unsigned depth_ = 0;
    std::optional<StreamError> error_;
    // Thrown at the end of the produce() that met it.
    std::exception_ptr unsendable_;
    std::size_t peerMaxMessage_ = 0;

    // A message of which a part was received, and the place of its first byte in the stream.
    std::vector<std::byte> partial_;
    std::vector<std::byte> whole_;
    std::uint64_t position_ = 0;

    ByteQueue out_;
    std::size_t messageSize_ = 0;
    std::size_t limit_ = 0;
    // Replies, and this side's barriers, that follow when nothing is dirty any more.
    std::deque<std::pair<MessageId, std::uint64_t>> afterPending_;
    std::deque<std::uint64_t> barriers_;
    // The last message that told the owner of a child which was made here. Barriers wait until
    // what is in such children was sent as well: behind the last message that is settled.
    std::uint64_t childTold_ = 0;
    std::uint64_t childSettled_ = 0;
    // The message to which the round that is under way answers, or 0.
    std::uint64_t settling_ = 0;
    bool settleAsked_ = false;
    // The peer's message that is still to be confirmed, or 0; this side's last one that was.
    std::uint64_t toConfirm_ = 0;
    std::uint64_t heardByPeer_ = 0;

    std::map<String, std::uint64_t> peerModules_;
    std::map<std::uint32_t, Mount> mounts_;
    std::uint32_t lastMount_ = 0;
    // The peer's mounts of this side's entities.
    std::map<std::uint32_t, Ptr<Entity>> peerMounts_;

    // What references wait for. Outlives the adapters, which hold those.
    std::multimap<const Entity*, Awaiting*> awaited_;

    // Adapters by number and by entity, for each role.
    std::unordered_map<std::uint32_t, std::unique_ptr<Sa>> adapters_[2];
    std::unordered_map<const Entity*, Sa*> byEntity_[2];
    Sa* firstReleased_ = nullptr;
    // The highest number given so far: a lower one that has no adapter has gone.
    std::uint32_t lastEntityId_[2] = {0, 0};
    // What the next attribute message is about: as sent, and as received.
    Sa* selectedOut_ = nullptr;
    Sa* selectedIn_ = nullptr;
    bool selectedInIsGone_ = false;
    // Messages about entities that have gone here were skipped, whatever they described.
    bool skippedMessages_ = false;

    std::map<const EntityTypeInfo*, std::uint32_t> sentTypes_;
    std::map<std::uint32_t, String> peerTypes_;
    std::map<String, bool> skipped_;

    Sa* firstPending_ = nullptr;
    Sa* lastPending_ = nullptr;
};

// Joins received references to entities, and decides what gives way to what.
class ZIN_EXPORT Demuxer {
  public:
    // A reference to a child as it was read: its number and, when it comes for the first time,
    // the number of its type; the constructor parameters follow in the payload.
    struct Reference {
        std::uint32_t entityId = 0;
        bool described = false;
        String typeName;
    };

    // Writes a reference to a child: its number, and at the first time its type and constructor
    // parameters. The size must be known before the message is begun.
    static std::size_t referenceSize(Sa& sa, const Entity& child);
    static void putReference(Out& out, Sa& sa, const Entity& child);
    // After the message with a child that was described: the child's own attributes follow.
    static void streamDemuxer(Sa& sa, const Ptr<Entity>& child);

    static Reference nextReference(In& in, Sa& sa);
    // A child is described under a number higher than all before.
    static void requireNewId(const Sa& sa, const Reference& reference);

    // Whether the child that is there must give way to the one that the peer names: it is
    // another entity of the peer's.
    static bool checkEphemeralEntityDeletion(
        Sa& sa,
        const Entity& existing,
        std::uint32_t incomingId,
        bool isNew);
    // The child's adapter goes: nothing more is said of it on this stream, unless it is
    // described anew.
    static void deactivate(Sa& sa, const Entity& existing);
    // The child stands for the peer's entity from now on.
    static Sa& bind(Sa& sa, const Ptr<Entity>& child, std::uint32_t entityId);
    // What the child holds beyond one that was just made is dirty: the owner will hear it.
    static void keepHeld(Sa& child, const Entity& justMade);
    static bool isBound(const Sa& sa, const Entity& child, std::uint32_t entityId);
    // A proxy's side made a child: what this side says from now on it says knowing that.
    static void confirm(Sa& sa);
    // Whether the number was given to an entity that has gone since.
    static bool hasGone(const Sa& sa, std::uint32_t entityId);
    // The number of an entity on this side of the stream, 0 when it has none.
    static std::uint32_t numberOf(const Sa& sa, const Entity& entity);
    // The entity of that number; null for 0, and for one that has gone.
    static Ptr<Entity> entityNumbered(const Sa& sa, std::uint32_t entityId);
    // The type of an entity is not the one that belongs there.
    [[noreturn]] static void
    faultType(const Sa& sa, const String& found, std::string_view wanted);
    // An attribute that the type does not have.
    static void faultAttribute(Sa& sa, AttributeId id);
    // A fault in a message about an entity.
    [[noreturn]] static void fault(const Sa& sa, StreamErrorKind kind, const std::string& text);
};

// What each message about an attribute goes through. Compilers would not inline it by
// themselves, and a call costs more than what is in it.

[[gnu::always_inline]] inline Out
Connection::messageIn(std::byte* room, std::uint32_t id, std::size_t size) noexcept {
    ZIN_PROBE(message_out, this, id, size);
    messageSize_ = headerSize + size;
    Out out(room, room + messageSize_);
    out << static_cast<std::uint32_t>(size) << id;
    return out;
}

[[gnu::always_inline]] inline std::optional<Out>
Connection::attributeMessage(Sa& sa, std::uint32_t id, std::size_t size) {
    // One more about the same entity, with room for it.
    const bool isOneMore = selectedOut_ == &sa && toConfirm_ == 0 && mayWrite() &&
                           size <= std::min(options_.maxMessage, peerMaxMessage_) &&
                           out_.hasRoom(headerSize + size);
    if (!isOneMore) return firstAttributeMessage(sa, id, size);
    return messageIn(out_.room(headerSize + size), id, size);
}

[[gnu::always_inline]] inline std::optional<Out>
Sa::collSerializeCheck(AttributeId id, bool deleted, std::size_t size) {
    return connection_.attributeMessage(*this, deleted ? ~id + 1 : id, size);
}

inline void Sa::outSmCommitMessage() {
    connection_.commit();
    connection_.wake();
}

// A write that came from a proxy which may not write is refused.
ZIN_EXPORT bool allowWriteFromReadOnlyRemote(const Sa& sa, AttributeId id);

// The end of every dispatch: an attribute that the type does not have.
ZIN_EXPORT void doBaseZinNboAttrLogSaMsg(Sa& sa, AttributeId id, In& in);

}  // namespace Zin::NboAttrLog
