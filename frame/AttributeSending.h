// How an attribute is written to a stream, and how a collection is walked in a
// resynchronisation.
//
// An attribute is read when it is written, never earlier: what is remembered of a change that
// the stream cannot take is its attribute, or its key.

#pragma once

#include <memory>
#include <new>
#include <optional>
#include <type_traits>

#include "Zin/NboAttrLogConnection.h"
#include "frame/FlowOut.h"

namespace frame {

// Beyond as many members as live and this many, dirty keys are dropped for a resynchronisation
// of the collection: keys that come and go while a peer stalls must not pile up.
inline constexpr std::uint32_t dirtyKeySlack = 1024;

template <class T, class A>
struct AttributeSending {
    using V = typename A::Value;
    using Key = KeyOf<V>;

    static T& of(Sa& sa) { return static_cast<T&>(sa.entity()); }
    static V& stored(Sa& sa) { return of(sa).*A::member; }
    static auto& flowOf(Sa& sa) {
        return static_cast<FlowOutOf<T>&>(sa.flowOut()).template flowOf<A>();
    }
    // A mirror's write that was not sent yet outranks what the owner says meanwhile: the owner
    // will hear it, and what it makes of it comes back.
    static bool unsent(Sa& sa) {
        return sa.role() == Role::proxy && sa.writable() && sa.flowOut().zinIsDirty(A::id);
    }
    template <class K>
    static bool unsent(Sa& sa, const K& key) {
        if (sa.role() != Role::proxy) return false;
        const auto& dirtyKeys = flowOf(sa).dirtyKeys;
        return !dirtyKeys.empty() && dirtyKeys.has(key);
    }
    // A mirror's child of which the owner had not heard outranks it likewise: the owner will
    // describe the child, or say that it went, when it has heard.
    static bool outranked(Sa& sa) {
        if constexpr (A::kind == AttributeKind::singleton) {
            if (!sa.wasHeard(flowOf(sa).ephemeral)) return true;
        }
        return unsent(sa);
    }
    template <class K>
    static bool outranked(Sa& sa, const K& key) {
        if constexpr (InstantiatingCollection<V>) {
            const auto* const ephemeral = flowOf(sa).ephemeralKeys.lookup(key);
            if (ephemeral && !sa.wasHeard(ephemeral->value())) return true;
        }
        return unsent(sa, key);
    }

    // What has no wire form is not tried again until it changes: it would be met each time.
    template <class Send, class Forget>
    static void sendOr(Sa& sa, const void* key, const Forget& forget, const Send& send) {
        try {
            send();
        } catch (const Zin::ValueCollectionDefaultKeyException& unsendable) {
            forget();
            sa.onUnsendable(A::id, key, unsendable);
        }
    }

    // --- Single values ---

    template <class Value>
    static void handleValueSerialization(Sa& sa, const Value& value) {
        const auto forget = [&] {
            sa.flowOut().zinIsDirtyIs(A::id, false);
        };
        sendOr(sa, nullptr, forget, [&] {
            if (std::optional<Out> out =
                    sa.singletonSerializeCheck(A::id, Zin::NboAttrLog::attrLogSize(value))) {
                *out << value;
                sa.outSmCommitMessage();
            }
        });
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
        // In the walk over a collection mostly nothing is dirty.
        if (auto& dirtyKeys = flowOf(sa).dirtyKeys; !dirtyKeys.empty()) dirtyKeys.erase(key);
        return true;
    }

    template <class K>
    static void sendDeletion(Sa& sa, const K& key) {
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
        auto& ephemeral = flowOf(sa).ephemeralKeys;
        if (sa.role() == Role::proxy) ephemeral.put(key, 0);
        const bool sent = sendMember(sa, key, false, size, [&](Out& out) {
            out << key;
            Demuxer::putReference(out, sa, *child);
        });
        if (!sent) return;
        // Overwriting takes no memory.
        if (sa.role() == Role::proxy) ephemeral.put(key, sa.childWasTold());
        Demuxer::streamDemuxer(sa, child);
    }

    template <class Node>
    static void sendNode(Sa& sa, const Node& node) {
        if constexpr (InstantiatingCollection<V>) {
            handleInstantiatingCollSerialization(sa, node);
        } else if constexpr (SetCollection<V>) {
            handleSetSerialization(sa, node);
        } else {
            const Key& key = node.key();
            const auto forget = [&] {
                flowOf(sa).dirtyKeys.erase(key);
            };
            sendOr(sa, &key, forget, [&] {
                if constexpr (KeyInsideValue<V>) {
                    handleIntKeyValueCollSerialization(sa, node);
                } else {
                    handleExtKeyValueCollSerialization(sa, node);
                }
            });
        }
    }

    // --- Whole collections ---

    // What changes during the walk, or finds no room in the stream, is remembered by key and
    // sent behind it. Only then has the peer heard of all members, and may delete the others.
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

    using Bookmark =
        std::conditional_t<HashedCollection<V>, detail::HashBookmark, detail::KeyBookmark<Key>>;

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
            auto it =
                bookmark ? collection.lowerBound(*bookmark->key) : collection.iteratorConst();
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
        if (sa.role() == Role::proxy) flowOf(sa).ephemeral = sa.childWasTold();
        Demuxer::streamDemuxer(sa, child);
    }

    // --- A reference ---

    // The number of the entity, where the stream carries it; it is sent again when it does.
    static void handleReferenceSerialization(Sa& sa) {
        const V& target = stored(sa);
        const std::uint32_t number = target ? Demuxer::numberOf(sa, *target) : 0;
        if (target && number == 0 && sa.role() == Role::owner) {
            flowOf(sa).awaiting.begin(sa, A::id, *target);
        } else {
            flowOf(sa).awaiting.end();
        }
        handleValueSerialization(sa, number);
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
        } else if constexpr (A::kind == AttributeKind::reference) {
            handleReferenceSerialization(sa);
        } else {
            handleValueSerialization(sa, stored(sa));
        }
    }

    // What the peer asks to hear again: a collection without a key is asked for as a whole.
    static void resend(Sa& sa, In& in) {
        if constexpr (Collection<V>) {
            if (in.left() == 0) {
                if constexpr (InstantiatingCollection<V>) {
                    for (const auto& node : stored(sa))
                        Demuxer::deactivate(sa, childOf<V>(node));
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

    // --- Children that were made on a proxy's side ---

    static void keepHeld(Sa& sa, const Zin::Entity& justMade) {
        if constexpr (Collection<V>) {
            for (auto it = stored(sa).iteratorConst(); it; ++it) {
                flowOf(sa).dirtyKeys.put(it.key());
            }
        } else {
            const bool held = !(stored(sa) == static_cast<const T&>(justMade).*A::member);
            sa.flowOut().zinIsDirtyIs(A::id, held);
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

}  // namespace frame
