// The attribute log's view of an entity type: how each kind of attribute is written, walked in
// a resynchronisation, and applied when it is received. The stream itself is
// Zin/NboAttrLogConnection.h; what it calls is Zin::TypeImpl<T> (frame/TypeImpl.h).
//
// An attribute is read when it is written to the stream, never earlier: what is remembered of a
// change is its attribute, or its key.

#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <tuple>
#include <utility>

#include "Zin/HSet.h"
#include "Zin/NboAttrLogConnection.h"
#include "Zin/NboAttrLogFlowOut.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogSa.h"
#include "frame/Entity.h"

namespace frame {

using Zin::NboAttrLog::Demuxer;
using Zin::NboAttrLog::FlowOut;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::Out;
using Zin::NboAttrLog::Role;
using Zin::NboAttrLog::Sa;
using Zin::NboAttrLog::TransactionType;

// --- Flow-out state
// ------------------------------------------------------------------------------

namespace detail {

// Nothing is kept of an attribute beyond its flags, unless it is a collection.
template <class A>
struct CollectionFlow {
    bool dirty() const { return false; }
};
template <class A>
requires(
    A::kind == AttributeKind::collection ||
    A::kind == AttributeKind::instantiating) struct CollectionFlow<A> {
    using Keys = Zin::HSet<typename A::Value::Key, 0>;

    Keys dirtyKeys;
    // Of children that a proxy's side made and that the owner has yet to name.
    Keys ephemeralKeys;
    // The walk that is under way must begin anew: keys were dropped meanwhile.
    bool restart = false;

    bool dirty() const { return dirtyKeys.members() != 0; }
};

template <class A>
requires(A::kind == AttributeKind::singleton) struct CollectionFlow<A> {
    // The child was made on a proxy's side, and the owner has yet to name it.
    bool ephemeral = false;

    bool dirty() const { return false; }
};

// A reactor that throws must not keep the rest of a message from being applied: what it throws
// is passed on when that is done.
class Deferred {
  public:
    template <class Step>
    void run(const Step& step) {
        try {
            step();
        } catch (...) {
            if (!thrown_) thrown_ = std::current_exception();
        }
    }
    void rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

  private:
    std::exception_ptr thrown_;
};

template <class Schema>
struct FlowState;
template <const Zin::ZinModule& module, std::uint32_t index, class... Attributes>
struct FlowState<EntitySchema<module, index, Attributes...>> : CollectionFlow<Attributes>... {
    bool anyDirty() const {
        return (static_cast<const CollectionFlow<Attributes>&>(*this).dirty() || ...);
    }

    std::array<std::uint8_t, sizeof...(Attributes)> flags{};
};

// Where a walk over a hashed collection goes on: at the bucket of this hash position, or behind
// the last one.
struct HashBookmark final : FlowOut::Bookmark {
    explicit HashBookmark(std::uint64_t at) : position(at) {}
    std::uint64_t position;
};
// Where a walk over an ordered collection goes on: at the first key that is not below this one, or
// behind the last one.
template <class K>
struct KeyBookmark final : FlowOut::Bookmark {
    explicit KeyBookmark(std::optional<K> at) : key(std::move(at)) {}
    std::optional<K> key;
};

}  // namespace detail

template <class T>
class FlowOutOf final : private detail::FlowState<decltype(T::schema())>, public FlowOut {
    using State = detail::FlowState<decltype(T::schema())>;

  public:
    FlowOutOf(Sa* sa, const Zin::EntityTypeInfo& type, AttributeId start)
        : FlowOut(sa, type, State::flags, start) {}

    bool hasDirtyCollKeys() const override { return State::anyDirty(); }

    template <class A>
    detail::CollectionFlow<A>& of() {
        return *this;
    }

    static void operator delete(FlowOutOf* object, std::destroying_delete_t) {
        object->~FlowOutOf();
        Zin::PtrInterface::zinMemFree(object, sizeof(FlowOutOf));
        zinAllocTrackTypeInfo_.trackDeallocation(typeid(FlowOut), sizeof(FlowOutOf));
    }
};

// --- One attribute of one type
// -----------------------------------------------------------------

// Beyond as many members as live and this many, dirty keys are dropped for a resynchronisation
// of the collection: keys that come and go while a peer stalls must not pile up.
inline constexpr std::uint32_t dirtyKeySlack = 1024;

template <class T, class A>
struct AttributeLogOf {
    using V = typename A::Value;
    using Key = KeyOf<V>;

    static T& of(Sa& sa) { return static_cast<T&>(sa.entity()); }
    static V& stored(Sa& sa) { return of(sa).*A::member; }
    static auto& flowOf(Sa& sa) {
        return static_cast<FlowOutOf<T>&>(sa.flowOut()).template of<A>();
    }
    // A mirror's write that was not sent yet outranks what the owner says meanwhile: the owner
    // will hear it, and what it makes of it comes back.
    static bool unsent(Sa& sa) {
        return sa.role() == Role::proxy && sa.writable() && sa.flowOut().zinIsDirty(A::id);
    }
    template <class K>
    static bool unsent(Sa& sa, const K& key) {
        return sa.role() == Role::proxy && flowOf(sa).dirtyKeys.has(key);
    }

    // --- Single values ---

    static void handleValueSerialization(Sa& sa, const V& value) {
        if (std::optional<Out> out =
                sa.singletonSerializeCheck(A::id, Zin::NboAttrLog::attrLogSize(value))) {
            *out << value;
            sa.outSmCommitMessage();
        }
    }

    static void applyValue(Sa& sa, In& in) {
        const V value = in.next<V>();
        sa.finish(in);
        if (unsent(sa)) return;
        const Sa::Applying applying(sa, A::id, nullptr);
        of(sa).template valueIs<A::member>(value);
    }

    // --- Members of collections ---

    // Remembers a key that the stream cannot take now.
    template <class K>
    static void remember(Sa& sa, const K& key) {
        auto& flow = flowOf(sa);
        bool kept = false;
        if (sa.role() == Role::proxy ||
            flow.dirtyKeys.members() < stored(sa).members() + dirtyKeySlack) {
            try {
                flow.dirtyKeys.put(key);
                kept = true;
            } catch (const std::bad_alloc&) {
                if (sa.role() == Role::proxy) throw;
            }
        }
        if (!kept) return resynchronise(sa);
        sa.schedule();
    }

    // All members are sent anew instead of those whose keys were remembered.
    static void resynchronise(Sa& sa) {
        flowOf(sa).dirtyKeys.clear();
        flowOf(sa).restart = true;
        sa.flowOut().zinHasSyncedIs(A::id, false);
        if (sa.flowOut().currentAttribute() == A::id) sa.flowOut().zinFlowOutBookmarkDeq();
        sa.schedule();
    }

    // Writes one message about a member, or remembers its key.
    template <class K, class Write>
    static bool
    sendMember(Sa& sa, const K& key, bool deleted, std::size_t size, Write&& write) {
        std::optional<Out> out = sa.collSerializeCheck(A::id, deleted, size);
        if (!out) {
            remember(sa, key);
            return false;
        }
        write(*out);
        sa.outSmCommitMessage();
        flowOf(sa).dirtyKeys.erase(key);
        return true;
    }

    template <class K>
    static void sendDeletion(Sa& sa, const K& key) {
        flowOf(sa).ephemeralKeys.erase(key);
        sendMember(sa, key, true, Zin::NboAttrLog::attrLogSize(key), [&](Out& out) {
            out << key;
        });
    }

    template <class Node>
    static void handleIntKeyValueCollSerialization(Sa& sa, const Node& node) {
        const auto& value = node.value();
        sendMember(sa, node.key(), false, Zin::NboAttrLog::attrLogSize(value), [&](Out& out) {
            out << value;
        });
    }
    template <class Node>
    static void handleExtKeyValueCollSerialization(Sa& sa, const Node& node) {
        const auto& key = node.key();
        const auto& value = node.value();
        sendMember(
            sa,
            key,
            false,
            Zin::NboAttrLog::attrLogSize(key) + Zin::NboAttrLog::attrLogSize(value),
            [&](Out& out) { out << key << value; });
    }
    template <class Node>
    static void handleSetSerialization(Sa& sa, const Node& node) {
        const auto& key = node.key();
        sendMember(sa, key, false, Zin::NboAttrLog::attrLogSize(key), [&](Out& out) {
            out << key;
        });
    }
    template <class Node>
    static void handleInstantiatingCollSerialization(Sa& sa, const Node& node) {
        const auto& key = keyOfChild<V>(node);
        const Zin::Ptr<ChildOf<V>> child(&childOf<V>(node));
        const std::size_t size =
            Zin::NboAttrLog::attrLogSize(key) + Demuxer::referenceSize(sa, *child);
        if (sa.role() == Role::proxy) flowOf(sa).ephemeralKeys.put(key);
        const bool sent = sendMember(sa, key, false, size, [&](Out& out) {
            out << key;
            Demuxer::putReference(out, sa, *child);
        });
        if (sent) Demuxer::streamDemuxer(sa, child);
    }

    template <class Node>
    static void sendNode(Sa& sa, const Node& node) {
        if constexpr (InstantiatingCollection<V>) {
            handleInstantiatingCollSerialization(sa, node);
        } else if constexpr (SetCollection<V>) {
            handleSetSerialization(sa, node);
        } else if constexpr (KeyInsideValue<V>) {
            handleIntKeyValueCollSerialization(sa, node);
        } else {
            handleExtKeyValueCollSerialization(sa, node);
        }
    }

    // --- Whole collections ---

    // What changes during the walk, or finds no room in the stream, is remembered by key and sent
    // behind it. Only then has the peer heard of all members, and may delete the others.
    static bool handleSerializationOfColl(Sa& sa, FlowOut& flowOut) {
        const bool synced = flowOut.zinHasSynced(A::id);
        if (!synced && !walk(sa, flowOut)) return false;
        auto& keys = flowOf(sa).dirtyKeys;
        for (auto key = keys.iterator(); key; ++key) {
            if (!sa.continueFlowOut()) {
                if (!synced) pause(flowOut, behindTheLast());
                return false;
            }
            const auto& sent = key.key();
            send(sa, &sent);
        }
        if (synced) return true;
        // What could not be sent although there was room must not be missing from the whole.
        if (keys.members() != 0) resynchronise(sa);
        if (flowOf(sa).restart) return false;
        sa.sendTransaction(A::id, TransactionType::close);
        flowOut.zinHasSyncedIs(A::id, true);
        return true;
    }

    using Bookmark = std::conditional_t<
        HashedCollection<V>,
        detail::HashBookmark,
        detail::KeyBookmark<Key>>;

    static void pause(FlowOut& flowOut, Bookmark at) {
        flowOut.zinFlowOutBookmarkEnq(std::make_unique<Bookmark>(std::move(at)));
    }
    static Bookmark behindTheLast() {
        if constexpr (HashedCollection<V>) {
            return Bookmark(V::visitEnd);
        } else {
            return Bookmark(std::nullopt);
        }
    }

    // Whether the walk came to its end.
    static bool walk(Sa& sa, FlowOut& flowOut) {
        const std::unique_ptr<FlowOut::Bookmark> saved = flowOut.zinFlowOutBookmarkDeq();
        const auto* const bookmark = static_cast<const Bookmark*>(saved.get());
        if (!bookmark) {
            sa.sendTransaction(A::id, TransactionType::open);
            flowOf(sa).dirtyKeys.clear();
            flowOf(sa).restart = false;
        }
        const V& collection = stored(sa);
        if constexpr (HashedCollection<V>) {
            std::uint64_t position = bookmark ? bookmark->position : 0;
            while (position < V::visitEnd) {
                if (!sa.continueFlowOut()) {
                    pause(flowOut, Bookmark(position));
                    return false;
                }
                position = collection.visitBucket(
                    static_cast<std::uint32_t>(position),
                    [&](const auto& node) { sendNode(sa, node); });
            }
        } else if (!bookmark || bookmark->key) {
            auto it = bookmark ? collection.lowerBound(*bookmark->key) : collection.iteratorConst();
            for (; it; ++it) {
                if (!sa.continueFlowOut()) {
                    pause(flowOut, Bookmark(it.key()));
                    return false;
                }
                sendNode(sa, it.node());
            }
        }
        return true;
    }

    static void markAll(Zin::Entity& entity) {
        V& collection = static_cast<T&>(entity).*A::member;
        if constexpr (InstantiatingCollection<V>) {
            for (const auto& node : collection) childOf<V>(node).markedForDeletionIs(true);
        } else {
            collection.zinMarkAllForDeletion();
        }
    }

    static bool isMarked(const V& collection, const auto& it) {
        if constexpr (InstantiatingCollection<V>) {
            return childOf<V>(it.node()).markedForDeletion();
        } else {
            return collection.zinMarkedForDeletion(it.key());
        }
    }

    // The peer named all that it has: what is still marked goes.
    static void sweep(Sa& sa) {
        V& collection = stored(sa);
        if constexpr (requires { collection.markedMembers(); }) {
            if (!InstantiatingCollection<V> && collection.markedMembers() == 0) return;
        }
        const Zin::Ptr<Zin::Entity> guard(&sa.entity());
        detail::Deferred reactors;
        for (auto it = collection.iterator(); it && sa.isActive(); ++it) {
            if (it.markedForDeletion() || !isMarked(collection, it)) continue;
            const Key& key = it.key();
            if (!unsent(sa, key)) reactors.run([&] { deleteMember(sa, key); });
        }
        reactors.rethrow();
    }

    static void deleteMember(Sa& sa, const Key& key) {
        const Sa::Applying applying(sa, A::id, &key);
        if constexpr (InstantiatingCollection<V>) {
            if (const auto child = childIn(stored(sa), key);
                child && sa.role() == Role::proxy) {
                Demuxer::deactivate(sa, *child);
            }
            of(sa).template childDel<A::member>(key);
        } else {
            of(sa).template memberDel<A::member>(key);
        }
    }

    // --- Receiving members ---

    static void applyMember(Sa& sa, In& in) {
        if constexpr (InstantiatingCollection<V>) {
            applyChild(sa, in);
        } else if constexpr (SetCollection<V>) {
            const auto key = in.next<Key>();
            storeMember(sa, in, key, key);
        } else if constexpr (KeyInsideValue<V>) {
            const auto value = in.next<typename V::Value>();
            storeMember(sa, in, keyInside<V>(value), value);
        } else {
            const auto key = in.next<Key>();
            const auto value = in.next<typename V::Value>();
            storeMember(sa, in, key, key, value);
        }
    }

    template <class... Arguments>
    static void storeMember(Sa& sa, In& in, const Key& key, const Arguments&... arguments) {
        sa.finish(in);
        stored(sa).zinMarkedForDeletionIs(key, false);
        if (unsent(sa, key)) return;
        const Sa::Applying applying(sa, A::id, &key);
        of(sa).template memberIs<A::member>(arguments...);
    }

    static void applyDeletion(Sa& sa, In& in) {
        const auto key = in.next<Key>();
        sa.finish(in);
        if (!unsent(sa, key)) deleteMember(sa, key);
    }

    // --- Receiving children ---

    template <class Child>
    static typename Child::ConstructorArguments nextArguments(In& in) {
        typename Child::ConstructorArguments arguments;
        std::apply(
            [&](auto&... each) {
                ((each = in.next<std::remove_reference_t<decltype(each)>>()), ...);
            },
            arguments);
        return arguments;
    }

    // A reference that describes a child must describe one of the type that belongs here.
    template <class Child>
    static std::optional<typename Child::ConstructorArguments>
    nextDescription(Sa& sa, In& in, const Demuxer::Reference& reference) {
        if (!reference.described) return std::nullopt;
        if (reference.typeName != entitySchemaOf<Child>.typeName) {
            Demuxer::faultType(sa, reference.typeName, entitySchemaOf<Child>.typeName);
        }
        Demuxer::requireNewId(sa, reference);
        return nextArguments<Child>(in);
    }

    static void applyChild(Sa& sa, In& in) {
        using Child = ChildOf<V>;
        const auto key = in.next<Key>();
        const Demuxer::Reference reference = Demuxer::nextReference(in, sa);
        const auto arguments = nextDescription<Child>(sa, in, reference);
        if (arguments && !(std::get<0>(*arguments) == key)) {
            in.fail("a child that is made with its key", "another first constructor parameter");
        }
        sa.finish(in);
        const auto existing = [&] {
            return childIn(stored(sa), key);
        };
        const auto made = [&] {
            const Sa::Applying applying(sa, A::id, &key);
            std::apply(
                [&](const auto&... each) { of(sa).template childIs<A::member>(each...); },
                *arguments);
        };
        if (const auto child = existing()) child->markedForDeletionIs(false);
        if (sa.role() == Role::owner) {
            takeWrittenChild(sa, reference, existing(), made, &key);
            return;
        }
        if (unsent(sa, key)) {
            sa.skipId(reference.entityId);
            return;
        }
        const bool madeHere = flowOf(sa).ephemeralKeys.erase(key);
        takeChild<Child>(sa, reference, arguments, existing, madeHere, made, [&] {
            deleteMember(sa, key);
        });
    }

    // The owner's side: a proxy's side made a child. It is made here too, and is named to all
    // streams; where one is there already, that one is described to the writer.
    static void takeWrittenChild(
        Sa& sa,
        const Demuxer::Reference& reference,
        const auto& existing,
        const auto& make,
        const void* key) {
        if (!reference.described || reference.entityId != 0) {
            Demuxer::fault(
                sa,
                Zin::NboAttrLog::StreamErrorKind::malformed,
                "a proxy's child must be described and have no number");
        }
        if (existing) {
            Demuxer::deactivate(sa, *existing);
            send(sa, key);
        } else {
            make();
        }
    }

    // The proxy's side: the owner names a child.
    template <class Child, class Arguments>
    static void takeChild(
        Sa& sa,
        const Demuxer::Reference& reference,
        const std::optional<Arguments>& arguments,
        const auto& existing,
        bool madeHere,
        const auto& make,
        const auto& unmake) {
        const std::uint32_t id = reference.entityId;
        Zin::Ptr<Child> child = existing();
        if (!arguments) {
            if (child && Demuxer::isBound(sa, *child, id)) return;
            if (Demuxer::hasGone(sa, id)) return;
            Demuxer::fault(
                sa,
                Zin::NboAttrLog::StreamErrorKind::outOfOrder,
                "entity " + std::to_string(id) + " was never described");
        }
        detail::Deferred reactors;
        if (child && (Demuxer::checkEphemeralEntityDeletion(sa, *child, id, true) ||
                      !(child->constructorArguments() == *arguments))) {
            reactors.run(unmake);
            child = existing();
            madeHere = false;
        }
        if (!child && sa.isActive()) {
            reactors.run(make);
            child = existing();
        }
        // A reactor may have removed it at once, or put another in its place.
        if (child && sa.isActive() && child->constructorArguments() == *arguments) {
            Demuxer::bind(sa, child, id, madeHere);
        } else {
            sa.skipId(id);
        }
        reactors.rethrow();
    }

    // --- A single child ---

    static void handleSingletonSerialization(Sa& sa) {
        const auto child = stored(sa);
        if (!child) {
            if (std::optional<Out> out = sa.singletonSerializeCheck(A::id, 4 + 1)) {
                *out << std::uint32_t{0} << false;
                sa.outSmCommitMessage();
            }
            return;
        }
        std::optional<Out> out =
            sa.singletonSerializeCheck(A::id, Demuxer::referenceSize(sa, *child));
        if (!out) return;
        Demuxer::putReference(*out, sa, *child);
        sa.outSmCommitMessage();
        flowOf(sa).ephemeral = sa.role() == Role::proxy;
        Demuxer::streamDemuxer(sa, child);
    }

    static void applySingleton(Sa& sa, In& in) {
        using Child = typename Zin::PointeeOf<V>::Type;
        const Demuxer::Reference reference = Demuxer::nextReference(in, sa);
        const auto arguments = nextDescription<Child>(sa, in, reference);
        sa.finish(in);
        if (unsent(sa)) {
            sa.skipId(reference.entityId);
            return;
        }
        const auto unmake = [&] {
            const Sa::Applying applying(sa, A::id, nullptr);
            if (stored(sa) && sa.role() == Role::proxy) Demuxer::deactivate(sa, *stored(sa));
            of(sa).template singletonDel<A::member>();
        };
        const bool madeHere = std::exchange(flowOf(sa).ephemeral, false);
        if (!reference.described && reference.entityId == 0) return unmake();
        const auto made = [&] {
            const Sa::Applying applying(sa, A::id, nullptr);
            std::apply(
                [&](const auto&... each) { of(sa).template singletonIs<A::member>(each...); },
                *arguments);
        };
        const auto existing = [&] {
            return Zin::Ptr<Child>(stored(sa));
        };
        if (sa.role() == Role::owner) {
            takeWrittenChild(sa, reference, existing(), made, nullptr);
        } else {
            takeChild<Child>(sa, reference, arguments, existing, madeHere, made, unmake);
        }
    }

    // --- What the table holds ---

    // The attribute, or the member of it under the key, as it is now.
    static void send(Sa& sa, const void* key) {
        if constexpr (Collection<V>) {
            const auto& k = *static_cast<const Key*>(key);
            if (const auto* const node = stored(sa).lookup(k)) {
                sendNode(sa, *node);
            } else {
                sendDeletion(sa, k);
            }
        } else if constexpr (A::kind == AttributeKind::singleton) {
            handleSingletonSerialization(sa);
        } else {
            handleValueSerialization(sa, stored(sa));
        }
    }

    static void apply(Sa& sa, In& in) {
        if constexpr (Collection<V>) {
            applyMember(sa, in);
        } else if constexpr (A::kind == AttributeKind::singleton) {
            applySingleton(sa, in);
        } else {
            applyValue(sa, in);
        }
    }

    // What the peer asks to hear again: a collection without a key is asked for as a whole.
    static void resend(Sa& sa, In& in) {
        if constexpr (Collection<V>) {
            if (in.left() == 0) {
                if constexpr (InstantiatingCollection<V>) {
                    for (const auto& node : stored(sa)) Demuxer::deactivate(sa, childOf<V>(node));
                }
                return resynchronise(sa);
            }
            const auto key = in.next<Key>();
            in.requireEnd();
            if constexpr (InstantiatingCollection<V>) {
                if (const auto child = childIn(stored(sa), key))
                    Demuxer::deactivate(sa, *child);
            }
            // A key that only the peer knows is not remembered for it.
            if (!sa.mayWrite() && !stored(sa).has(key)) return resynchronise(sa);
            send(sa, &key);
        } else {
            in.requireEnd();
            if constexpr (A::kind == AttributeKind::singleton) {
                if (stored(sa)) Demuxer::deactivate(sa, *stored(sa));
            }
            send(sa, nullptr);
        }
    }

    static bool sameKey(const void* a, const void* b) {
        return *static_cast<const Key*>(a) == *static_cast<const Key*>(b);
    }
    static std::size_t keySize(const void* key) {
        return Zin::NboAttrLog::attrLogSize(*static_cast<const Key*>(key));
    }
    static void putKey(Out& out, const void* key) { out << *static_cast<const Key*>(key); }
};

// --- Walks over a type's table, compiled once
// --------------------------------------------------

ZIN_EXPORT int streamAdapterOnAttribute(Sa& sa, AttributeId id, const void* key);
ZIN_EXPORT std::int32_t handleAttrFlowOut(Sa& sa, AttributeId start, FlowOut& flowOut);
ZIN_EXPORT int freeResyncState(FlowOut& flowOut);
ZIN_EXPORT void doHandleAttrTransaction(Sa& sa, AttributeId id, TransactionType type);
ZIN_EXPORT void
doHandleAttrDeserialization(Sa& sa, AttributeId id, bool fromReadOnlyProxy, In& in);

}  // namespace frame
