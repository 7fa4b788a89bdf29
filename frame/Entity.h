// EntityOf is what an entity type gets from its schema: its handle, its name, how it is made
// and unmade, and the bodies of its mutators. DerivedOf is the same for a type that derives
// from another: attributes of its own come behind those that it inherits.
//
// A mutator changes the state first and then, only if something really changed, tells the
// reactors: a scalar by its id, a collection's member by id and key, once, before the mutator
// returns. Where memory runs out nothing has changed. What a reactor throws reaches the caller
// after the change.

#pragma once

#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Zin/AllocTrack.h"
#include "Zin/Entity.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Probe.h"
#include "Zin/ValueInfoOf.h"
#include "frame/Attribute.h"
#include "frame/Dump.h"

namespace frame {

// Lets make(), and nobody else, call the constructor of an entity.
class Construct {
    template <class T, class... Arguments>
    friend Zin::Ptr<T> make(const Arguments&... arguments);
    constexpr Construct() = default;
};

// A new entity, notification-active, held by the reference that is returned. The allocation is
// reported before it is made; what throws on the way leaves nothing behind.
template <class T, class... Arguments>
Zin::Ptr<T> make(const Arguments&... arguments) {
    T::zinAllocTrackTypeInfo_.trackAllocation(typeid(T), sizeof(T));
    void* memory = nullptr;
    Zin::Ptr<T> made;
    try {
        memory = Zin::PtrInterface::zinMemAlloc(sizeof(T));
        made = Zin::Ptr<T>(new (memory) T(Construct(), arguments...));
    } catch (...) {
        if (memory) Zin::PtrInterface::zinMemFree(memory, sizeof(T));
        T::zinAllocTrackTypeInfo_.trackDeallocation(typeid(T), sizeof(T));
        throw;
    }
    made->hasNotificationActiveIs(true);
    return made;
}

template <class T>
concept FrameEntity = std::derived_from<T, Zin::Entity> && requires {
    typename T::EntityKey;
};

template <class T>
class FlowOutOf;
template <class T, class A>
struct AttributeLogOf;
template <class T, class A>
struct GenericIfOf;

namespace detail {

// What an entity has whatever its attributes are: its key, and its reactors.
template <class Key>
class ZIN_EXPORT KeyedEntity : public Zin::Entity {
  public:
    using EntityKey = Key;
    using ConstructorArguments = std::tuple<Key>;
    // The attribute of each constructor argument; most names have none.
    static constexpr AttributeId constructorAttributeIds[] = {0};

    Zin::String name() const override {
        if constexpr (std::same_as<Key, Zin::String>) {
            return entityKey_;
        } else {
            return Zin::textOf(entityKey_);
        }
    }
    const Key& entityKey() const noexcept { return entityKey_; }
    ConstructorArguments constructorArguments() const { return {entityKey_}; }

    Zin::NotifieeListDescriptor notifieeList() const final { return {1, &notifieeList_}; }

  protected:
    KeyedEntity(Construct, const Key& key) : entityKey_(key) {}

    void notify(AttributeId id, const void* key) {
        ZIN_PROBE(mutation, this, id, key);
        if (notifieeList_.empty() || notifieeList_.visitOnly(id, key)) return;
        // A reactor may drop the last reference to this entity.
        const Zin::Ptr<Zin::Entity> guard(this);
        notifieeList_.visit(id, key);
    }
    void deleteChildren() noexcept {}

    // A type whose key is also an attribute of it lists this member.
    Key entityKey_;
    mutable Zin::NotifieeList notifieeList_;
};

// What an entity type T gets from its schema, on top of what it derives from.
template <class T, class Below>
class ZIN_EXPORT EntityLayer : public Below {
  public:
    using FlowOut = FlowOutOf<T>;

    using Below::Below;

    static constexpr DumpStyle dumpStyle = DumpStyle::plain;
    // Prints the entity and all below it (frame/Dump.h).
    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
        dumpBySchema(*this, T::dumpStyle, context, indent);
    }

    Zin::ZinTypeBase fwkType() const override { return handleOf<T>; }

    // Children first, so that reactors hear of each; then the reactors; then the members, last
    // declared first; then the memory.
    static void operator delete(EntityLayer* object, std::destroying_delete_t) {
        T* const self = static_cast<T*>(object);
        static_cast<EntityLayer*>(self)->deleteChildren();
        static_cast<EntityLayer*>(self)->notifieeList_.deleteAll();
        self->~T();
        Zin::PtrInterface::zinMemFree(self, sizeof(T));
        zinAllocTrackTypeInfo_.trackDeallocation(typeid(T), sizeof(T));
    }

    static inline constinit Zin::AllocTrackTypeInfo zinAllocTrackTypeInfo_;

  protected:
    // --- Single values ---
    template <auto member>
    void valueIs(const describe::ValueOf<member>& value) {
        using V = describe::ValueOf<member>;
        V& stored = self().*member;
        if (stored == value) return;
        if constexpr (std::is_trivially_copyable_v<V>) {
            stored = value;
        } else {
            // The copy may run out of memory; moving it in cannot.
            V copy(value);
            stored = std::move(copy);
        }
        this->notify(AttributeFor<T, member>::id, nullptr);
    }

    // --- Value collections and sets ---
    // Inserts or overwrites: (key, value), (value) where the key lies inside it, (key) for a
    // set.
    template <auto member, class... Arguments>
    void memberIs(const Arguments&... arguments) {
        using C = describe::ValueOf<member>;
        C& collection = self().*member;
        if (this->notifieeList_.empty()) {
            collection.put(arguments...);
            return;
        }
        // The key may lie in the entry, which changes now and which a reactor may remove.
        const typename C::Key kept = [](const auto& first, const auto&...) {
            if constexpr (KeyInsideValue<C>) {
                return keyInside<C>(first);
            } else {
                return first;
            }
        }(arguments...);
        if (collection.put(arguments...) == Zin::Put::unchanged) return;
        this->notify(AttributeFor<T, member>::id, &kept);
    }

    // The removed value, or a default one when the key was absent.
    template <auto member>
    auto memberDel(const typename describe::ValueOf<member>::Key& key) {
        using C = describe::ValueOf<member>;
        // The key may lie in the entry that goes.
        const typename C::Key kept(key);
        if constexpr (SetCollection<C>) {
            if ((self().*member).erase(kept)) this->notify(AttributeFor<T, member>::id, &kept);
        } else {
            typename C::Value removed{};
            if ((self().*member).erase(kept, &removed)) {
                this->notify(AttributeFor<T, member>::id, &kept);
            }
            return removed;
        }
    }

    // The member on which the iterator stands. One that has gone stays gone: another that came
    // under its key is left alone.
    // REQUIRES: the iterator is over this collection, and not behind its last member.
    template <auto member>
    auto memberDel(const typename describe::ValueOf<member>::IteratorConst& at) {
        using C = describe::ValueOf<member>;
        const bool gone = at.markedForDeletion();
        if constexpr (SetCollection<C>) {
            if (!gone) memberDel<member>(at.key());
        } else {
            return gone ? typename C::Value{} : memberDel<member>(at.key());
        }
    }

    template <auto member>
    void membersDelAll() {
        auto& collection = self().*member;
        if (this->notifieeList_.empty()) {
            collection.clear();
            return;
        }
        const Zin::Ptr<Zin::Entity> guard(this);
        for (auto it = collection.iterator(); it; ++it) memberDel<member>(it.key());
    }

    // The stored value, or a default one when the key is absent. Never inserts.
    template <auto member>
    auto memberOf(const typename describe::ValueOf<member>::Key& key) const {
        using V = typename describe::ValueOf<member>::Value;
        const auto* const node = (self().*member).lookup(key);
        return node ? V(node->value()) : V{};
    }

    // --- Child entities ---
    // The child under the key, made when there is none. Throws MutatorReinstantiatingException
    // when there is one that was made with other arguments.
    template <auto member, class... More>
    auto childIs(const typename describe::ValueOf<member>::Key& key, const More&... more) {
        using C = describe::ValueOf<member>;
        using Child = ChildOf<C>;
        C& collection = self().*member;
        if (Zin::Ptr<Child> existing = childIn(collection, key)) {
            requireArguments(*existing, more...);
            return existing;
        }
        const typename C::Key kept(key);
        Zin::Ptr<Child> made = make<Child>(kept, more...);
        if constexpr (EntityNodeCollection<C>) {
            collection.memberNewChild(made);
        } else {
            collection.put(made);
        }
        linkTo(*made, this);
        this->notify(AttributeFor<T, member>::id, &kept);
        return made;
    }

    // The removed child, without a parent from now on, or null when the key was absent.
    template <auto member>
    auto childDel(const typename describe::ValueOf<member>::Key& key) {
        using C = describe::ValueOf<member>;
        using Child = ChildOf<C>;
        const typename C::Key kept(key);
        Zin::Ptr<Child> removed;
        if constexpr (EntityNodeCollection<C>) {
            removed = (self().*member).erase(kept);
        } else {
            (self().*member).erase(kept, &removed);
        }
        if (removed) removedChild(*removed, AttributeFor<T, member>::id, &kept);
        return removed;
    }

    // The child on which the iterator stands, as memberDel() does; null when it has gone.
    template <auto member>
    auto childDel(const typename describe::ValueOf<member>::IteratorConst& at) {
        using Child = ChildOf<describe::ValueOf<member>>;
        return at.markedForDeletion() ? Zin::Ptr<Child>() : childDel<member>(at.key());
    }

    template <auto member>
    void childrenDelAll() {
        const Zin::Ptr<Zin::Entity> guard(this);
        for (auto it = (self().*member).iterator(); it; ++it) childDel<member>(it.key());
    }

    // --- A single child ---
    template <auto member, class... Arguments>
    auto singletonIs(const Arguments&... arguments) {
        using Child = typename Zin::PointeeOf<describe::ValueOf<member>>::Type;
        Zin::Ptr<Child>& stored = self().*member;
        if (stored) return stored;
        Zin::Ptr<Child> made = make<Child>(arguments...);
        stored = made;
        linkTo(*made, this);
        this->notify(AttributeFor<T, member>::id, nullptr);
        return made;
    }

    template <auto member>
    auto singletonDel() {
        auto removed = std::exchange(self().*member, nullptr);
        if (removed) removedChild(*removed, AttributeFor<T, member>::id, nullptr);
        return removed;
    }

  private:
    template <class U, class A>
    friend struct frame::AttributeLogOf;
    template <class U, class A>
    friend struct frame::GenericIfOf;
    template <class U, class Other>
    friend class EntityLayer;

    T& self() { return static_cast<T&>(*this); }
    const T& self() const { return static_cast<const T&>(*this); }

    static void linkTo(Zin::Entity& child, Zin::Entity* parent) {
        child.parentIs(Zin::Ptr<Zin::Entity>(parent));
    }

    // What the child's own reactors throw must not keep those of its parent from hearing.
    void removedChild(Zin::Entity& child, AttributeId id, const void* key) {
        const Zin::Ptr<Zin::Entity> guard(this);
        try {
            linkTo(child, nullptr);
        } catch (...) {
            try {
                this->notify(id, key);
            } catch (...) {
            }
            throw;
        }
        this->notify(id, key);
    }

    // What reactors throw has nobody left to reach, and keeps no other child from being
    // deleted.
    void deleteChildren() noexcept {
        Below::deleteChildren();
        entitySchemaOf<T>.forEach([&]<class A>(const A&) {
            if constexpr (A::kind == AttributeKind::instantiating) {
                auto& collection = self().*A::member;
                for (auto it = collection.iterator(); it; ++it) {
                    try {
                        this->template childDel<A::member>(it.key());
                    } catch (...) {
                        if (collection.has(it.key())) releaseChildren<A>();
                    }
                }
            } else if constexpr (A::kind == AttributeKind::singleton) {
                try {
                    this->template singletonDel<A::member>();
                } catch (...) {
                }
            }
        });
    }

    // There is no memory to take children out one by one: all leave at once, and reactors hear
    // of each behind that.
    template <class A>
    void releaseChildren() noexcept {
        using C = typename A::Value;
        const C released(std::exchange(self().*A::member, C()));
        for (const auto& node : released) {
            try {
                linkTo(childOf<C>(node), nullptr);
            } catch (...) {
            }
            try {
                const typename C::Key& key = keyOfChild<C>(node);
                this->notify(A::id, &key);
            } catch (...) {
            }
        }
    }

    // Compares the arguments beyond the key with those that the child was made with.
    template <class Child, class... More>
    static void requireArguments(const Child& child, const More&... more) {
        if constexpr (sizeof...(More) != 0) {
            const auto made = child.constructorArguments();
            [&]<std::size_t... i>(std::index_sequence<i...>) {
                (requireArgument<i + 1>(child, std::get<i + 1>(made), more), ...);
            }
            (std::index_sequence_for<More...>());
        }
    }
    template <std::size_t place, class Child, class Argument>
    static void
    requireArgument(const Child& child, const Argument& existing, const Argument& requested) {
        if (existing == requested) return;
        constexpr AttributeId id = Child::constructorAttributeIds[place];
        if constexpr (std::same_as<Argument, bool> || std::same_as<Argument, std::uint32_t>) {
            Zin::throwMutatorReinstantiating(child, id, existing, requested);
        } else {
            Zin::throwMutatorReinstantiating(
                child,
                id,
                std::string_view(Zin::textOf(existing)),
                std::string_view(Zin::textOf(requested)));
        }
    }
};

}  // namespace detail

// The base of an entity type T that is made with a key: for most types a name; for a child that
// lies under another key, that key, whose text is then the entity's name. A type with further
// constructor parameters hides ConstructorArguments, constructorAttributeIds and
// constructorArguments(); one with a dump of its own hides dumpState().
template <class T, class Key = Zin::String>
class ZIN_EXPORT EntityOf : public detail::EntityLayer<T, detail::KeyedEntity<Key>> {
  public:
    using SchemaBase = void;

  protected:
    EntityOf(Construct construct, const Key& key)
        : detail::EntityLayer<T, detail::KeyedEntity<Key>>(construct, key) {}
};

// The base of an entity type T that derives from the entity type Base. T lists the attributes
// that it adds, numbered behind those of Base; all that is done with an entity's attributes is
// done with both. Base is made, streamed and seen as before, and its reactors observe a T too.
template <class T, class Base>
class ZIN_EXPORT DerivedOf : public detail::EntityLayer<T, Base> {
  public:
    using SchemaBase = Base;

  protected:
    using detail::EntityLayer<T, Base>::EntityLayer;
};

}  // namespace frame
