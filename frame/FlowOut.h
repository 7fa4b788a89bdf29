// FlowOutOf is what a stream remembers of one entity of type T (Zin/NboAttrLogFlowOut.h): for
// each collection the keys that are dirty, for the walk over one the bookmark at which it goes
// on.

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

namespace detail {

// Nothing is kept of an attribute beyond its flags, unless it is a collection.
template <class A>
struct CollectionFlow {
    bool dirty() const { return false; }
};
template <class Key>
struct KeysFlow {
    Zin::HSet<Key, 0> dirtyKeys;
    // The walk that is under way must begin anew: keys were dropped meanwhile.
    bool restart = false;

    bool dirty() const { return dirtyKeys.members() != 0; }
};

template <class A>
requires(A::kind == AttributeKind::collection) struct CollectionFlow<A>
    : KeysFlow<typename A::Value::Key> {
};

// Children that a proxy's side made, and of which the owner has yet to say what becomes of
// them: each with the number of the message that told the owner.
template <class A>
requires(A::kind == AttributeKind::instantiating) struct CollectionFlow<A>
    : KeysFlow<typename A::Value::Key> {
    using Key = typename A::Value::Key;

    Zin::HashMap2018<
        Zin::HashMap2018NodeExternKey<false, 0, Key, std::uint64_t, false>,
        Key,
        std::uint64_t>
        ephemeralKeys;
};

template <class A>
requires(A::kind == AttributeKind::singleton) struct CollectionFlow<A> {
    // 0: none.
    std::uint64_t ephemeral = 0;

    bool dirty() const { return false; }
};

template <class A>
requires(A::kind == AttributeKind::reference) struct CollectionFlow<A> {
    // The entity is none that the stream carries yet.
    Zin::NboAttrLog::Awaiting awaiting;

    bool dirty() const { return false; }
};

template <class Schema>
struct FlowState;
template <const Zin::ZinModule& module, std::uint32_t index, class... Attributes>
struct FlowState<EntitySchema<module, index, Attributes...>> : CollectionFlow<Attributes>... {
    bool anyDirty() const {
        return (static_cast<const CollectionFlow<Attributes>&>(*this).dirty() || ...);
    }
};

// Where a walk over a hashed collection goes on: at the bucket of this hash position, or behind
// the last one.
struct HashBookmark final : FlowOut::Bookmark {
    explicit HashBookmark(std::uint64_t at) : position(at) {}
    std::uint64_t position;
};
// Where a walk over an ordered collection goes on: at the first key that is not below this one,
// or behind the last one.
template <class K>
struct KeyBookmark final : FlowOut::Bookmark {
    explicit KeyBookmark(std::optional<K> at) : key(std::move(at)) {}
    std::optional<K> key;
};

// What lies below the flow-out of T: that of the type that T derives from.
template <class T>
struct FlowOutBelow {
    using Type = FlowOut;
};
template <DerivedEntity T>
struct FlowOutBelow<T> {
    using Type = FlowOutOf<BaseOf<T>>;
};

}  // namespace detail

template <class T>
class FlowOutOf : private detail::FlowState<decltype(T::schema())>,
                  public detail::FlowOutBelow<T>::Type {
    using State = detail::FlowState<decltype(T::schema())>;
    using Below = typename detail::FlowOutBelow<T>::Type;

  public:
    bool hasDirtyCollKeys() const override {
        if constexpr (DerivedEntity<T>) {
            if (Below::hasDirtyCollKeys()) return true;
        }
        return State::anyDirty();
    }

    // Of an attribute that T itself lists.
    template <class A>
    detail::CollectionFlow<A>& flowOf() {
        return static_cast<State&>(*this);
    }

  protected:
    using Below::Below;
};

namespace detail {

template <std::size_t attributes>
struct FlowFlags {
    std::array<std::uint8_t, attributes> flags{};
};

// A flow-out as it is made: with the flags of all attributes, inherited ones included.
template <class T, std::size_t attributes>
class MadeFlowOut final : private FlowFlags<attributes>, public FlowOutOf<T> {
  public:
    MadeFlowOut(Sa* sa, const Zin::EntityTypeInfo& type, bool initial, AttributeId start)
        : FlowOutOf<T>(sa, type, FlowFlags<attributes>::flags, initial, start) {}

    static void operator delete(MadeFlowOut* object, std::destroying_delete_t) {
        object->~MadeFlowOut();
        Zin::PtrInterface::zinMemFree(object, sizeof(MadeFlowOut));
        FlowOut::zinAllocTrackTypeInfo_.trackDeallocation(typeid(FlowOut), sizeof(MadeFlowOut));
    }
};

}  // namespace detail

}  // namespace frame
