// The attribute log's view of one attribute of an entity type: how it is written
// (frame/AttributeSending.h) and how what a peer sends of it is applied. The stream itself is
// Zin/NboAttrLogConnection.h; what it calls is Zin::TypeImpl<T> (frame/TypeImpl.h).
//
// A payload is read to its end before anything is applied, and applied through the entity's own
// mutators, so that reactors hear of it like of any other change.

#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <tuple>

#include "Zin/NboAttrLogConnection.h"
#include "Zin/NboAttrLogIn.h"
#include "frame/AttributeSending.h"

namespace frame {

namespace detail {

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

}  // namespace detail

template <class T, class A>
struct AttributeLogOf : AttributeSending<T, A> {
    using Sending = AttributeSending<T, A>;
    using Sending::flowOf;
    using Sending::of;
    using Sending::outranked;
    using Sending::send;
    using Sending::stored;
    using Sending::unsent;
    using typename Sending::Key;
    using typename Sending::V;

    // --- Single values ---

    static void applyValue(Sa& sa, In& in) {
        const V value = in.next<V>();
        sa.finish(in);
        if (unsent(sa)) return;
        const Sa::Applying applying(sa, A::id, nullptr);
        of(sa).template valueIs<A::member>(value);
    }

    // --- A reference ---

    static void applyReference(Sa& sa, In& in) {
        using Target = typename Zin::PointeeOf<V>::Type;
        const std::uint32_t number = in.nextU32();
        sa.finish(in);
        const Zin::Ptr<Zin::Entity> named = Demuxer::entityNumbered(sa, number);
        if (named && !named->fwkType().isDerived(handleOf<Target>)) {
            Demuxer::faultType(sa, named->fwkType().name(), handleOf<Target>.name());
        }
        if (unsent(sa)) return;
        const Zin::Ptr<Target> target(static_cast<Target*>(named.get()));
        // A proxy's side may have meant an entity that this stream does not carry: it is told
        // what became of that.
        if (sa.role() == Role::owner && stored(sa) == target) return Sending::send(sa, nullptr);
        const Sa::Applying applying(sa, A::id, nullptr);
        of(sa).template valueIs<A::member>(target);
    }

    // --- Whole collections ---

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
            if (!outranked(sa, key)) reactors.run([&] { deleteMember(sa, key); });
        }
        if constexpr (InstantiatingCollection<V>) {
            auto& ephemeral = flowOf(sa).ephemeralKeys;
            for (auto it = ephemeral.iterator(); it; ++it) {
                if (sa.wasHeard(it.node().value()) && !collection.has(it.key())) {
                    ephemeral.erase(it.key());
                }
            }
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
        if (outranked(sa, key)) return;
        if constexpr (InstantiatingCollection<V>) flowOf(sa).ephemeralKeys.erase(key);
        deleteMember(sa, key);
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
        const auto mine = [&] {
            return outranked(sa, key);
        };
        if (mine()) {
            sa.skipId(reference.entityId);
            return;
        }
        const bool madeHere = flowOf(sa).ephemeralKeys.erase(key);
        takeChild<Child>(sa, reference, arguments, existing, madeHere, mine, made, [&] {
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
        Demuxer::confirm(sa);
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
        const auto& outranked,
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
        Zin::Ptr<Child> justMade;
        if (child && madeHere) {
            justMade = std::apply(
                [](const auto&... each) { return frame::make<Child>(each...); },
                *arguments);
        } else if (!child && sa.isActive()) {
            reactors.run(make);
            child = existing();
        }
        // A reactor may have removed it at once, or put another in its place.
        if (child && sa.isActive() && !outranked() &&
            child->constructorArguments() == *arguments) {
            Sa& bound = Demuxer::bind(sa, child, id);
            if (justMade) Demuxer::keepHeld(bound, *justMade);
        } else {
            sa.skipId(id);
        }
        reactors.rethrow();
    }

    // --- A single child ---

    static void applySingleton(Sa& sa, In& in) {
        using Child = typename Zin::PointeeOf<V>::Type;
        const Demuxer::Reference reference = Demuxer::nextReference(in, sa);
        const auto arguments = nextDescription<Child>(sa, in, reference);
        sa.finish(in);
        const auto mine = [&] {
            return outranked(sa);
        };
        if (mine()) {
            sa.skipId(reference.entityId);
            return;
        }
        const auto unmake = [&] {
            const Sa::Applying applying(sa, A::id, nullptr);
            if (stored(sa) && sa.role() == Role::proxy) Demuxer::deactivate(sa, *stored(sa));
            of(sa).template singletonDel<A::member>();
        };
        const bool madeHere = std::exchange(flowOf(sa).ephemeral, 0) != 0;
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
            takeChild<Child>(sa, reference, arguments, existing, madeHere, mine, made, unmake);
        }
    }

    // --- What the table holds ---

    static void apply(Sa& sa, In& in) {
        if constexpr (Collection<V>) {
            applyMember(sa, in);
        } else if constexpr (A::kind == AttributeKind::singleton) {
            applySingleton(sa, in);
        } else if constexpr (A::kind == AttributeKind::reference) {
            applyReference(sa, in);
        } else {
            applyValue(sa, in);
        }
    }
};

// --- Walks over a type's table, compiled once ---

ZIN_EXPORT int streamAdapterOnAttribute(Sa& sa, AttributeId id, const void* key);
ZIN_EXPORT std::int32_t handleAttrFlowOut(Sa& sa, AttributeId start, FlowOut& flowOut);
ZIN_EXPORT int freeResyncState(FlowOut& flowOut);
ZIN_EXPORT void doHandleAttrTransaction(Sa& sa, AttributeId id, TransactionType type);
ZIN_EXPORT void
doHandleAttrDeserialization(Sa& sa, AttributeId id, bool fromReadOnlyProxy, In& in);

}  // namespace frame
