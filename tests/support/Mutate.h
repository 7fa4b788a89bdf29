// Changes to any entity, drawn at random from the schema of its type: a type joins by standing
// in a list. Keys come from a small set, so that members and children are met again,
// overwritten, deleted and made anew; about one change in four leaves things as they are.
// Entities can be filled too, so that nothing is left as it is by default.

#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "Zin/Exceptions.h"
#include "frame/TypeImpl.h"
#include "laws/RandomValue.h"
#include "support/RootTypes.h"

namespace support {

struct Mutators;

// A random value that a peer would take: a type that restricts its fields refuses others.
template <class V>
V randomSound(laws::Random& random) {
    for (;;) {
        const V value = laws::randomValue<V>(random);
        std::vector<std::byte> bytes(Zin::NboAttrLog::attrLogSize(value));
        Zin::NboAttrLog::Out out(bytes.data(), bytes.data() + bytes.size());
        out << value;
        try {
            return Zin::NboAttrLog::In(bytes).next<V>();
        } catch (const Zin::NboAttrLog::DecodeException&) {
        }
    }
}

// How much of a value differs from a default one. A collection inside counts with one member,
// in which there is no order.
template <class V>
unsigned fieldsSet(const V& value) {
    if constexpr (describe::Described<V>) {
        unsigned set = 0;
        describe::schemaOf<V>.forEach([&](auto field) { set += fieldsSet(field.in(value)); });
        return set;
    } else if constexpr (requires { value.members(); }) {
        return value.members() == 1 ? 1 : 0;
    } else {
        return value == V{} ? 0 : 1;
    }
}

// Of many values the one of which most is set. Those that are `unwanted` do not count.
template <class V>
V fullest(laws::Random& random, const V& unwanted = {}) {
    V best{};
    unsigned most = 0;
    for (int tries = 0; tries < 500; ++tries) {
        const V value = randomSound<V>(random);
        const unsigned set = fieldsSet(value) + 1;
        if (value == unwanted || set <= most) continue;
        most = set;
        best = value;
    }
    return best;
}

}  // namespace support

// Mutators are protected: each type gives them names of its own. Where the attribute log may
// call them all, so may this.
template <class T>
struct frame::AttributeLogOf<T, support::Mutators> {
    static constexpr std::uint64_t keys = 6;

    template <class K>
    static K key(laws::Random& random) {
        laws::Random one(laws::below(random, keys));
        one();
        return support::randomSound<K>(one);
    }

    template <class V, class Make>
    static void insert(const typename V::Key& name, laws::Random& random, const Make& make) {
        using Child = ChildOf<V>;
        typename Child::ConstructorArguments arguments;
        std::apply(
            [&](auto& first, auto&... more) {
                first = name;
                ((more = support::randomSound<std::remove_reference_t<decltype(more)>>(random)),
                 ...);
                try {
                    make(first, more...);
                } catch (const Zin::MutatorReinstantiatingException&) {
                }
            },
            arguments);
    }

    template <class A>
    static void change(T& entity, laws::Random& random) {
        using V = typename A::Value;
        const std::uint64_t dice = laws::below(random, 16);
        V& stored = entity.*A::member;
        if constexpr (A::kind == AttributeKind::single) {
            const V value = dice < 4 ? V(stored) : support::randomSound<V>(random);
            entity.template valueIs<A::member>(value);
        } else if constexpr (A::kind == AttributeKind::singleton) {
            using Child = typename Zin::PointeeOf<V>::Type;
            if (stored && dice < 8) {
                const Zin::Ptr<Child> child = stored;
                AttributeLogOf<Child, support::Mutators>::step(*child, random);
            } else if (dice < 13) {
                entity.template singletonIs<A::member>(key<Zin::String>(random));
            } else {
                entity.template singletonDel<A::member>();
            }
        } else if constexpr (A::kind == AttributeKind::reference) {
            // No stream carries it.
            using Target = typename Zin::PointeeOf<V>::Type;
            V target;
            typename Target::ConstructorArguments arguments;
            std::apply(
                [&](auto&... each) {
                    ((each = support::randomSound<std::remove_reference_t<decltype(each)>>(
                          random)),
                     ...);
                    if (dice < 12) target = make<Target>(each...);
                },
                arguments);
            entity.template valueIs<A::member>(target);
        } else if constexpr (InstantiatingCollection<V>) {
            const auto name = key<typename V::Key>(random);
            const auto child = childIn(stored, name);
            if (child && dice < 11) {
                AttributeLogOf<ChildOf<V>, support::Mutators>::step(*child, random);
            } else if (dice < 13) {
                insert<V>(name, random, [&](const auto&... arguments) {
                    entity.template childIs<A::member>(arguments...);
                });
            } else if (dice < 15 || stored.members() < 3) {
                entity.template childDel<A::member>(name);
            } else {
                entity.template childrenDelAll<A::member>();
            }
        } else {
            const auto name = key<typename V::Key>(random);
            if (dice == 0 && stored.members() > 3) {
                entity.template membersDelAll<A::member>();
            } else if (dice < 5) {
                entity.template memberDel<A::member>(name);
            } else if constexpr (SetCollection<V>) {
                entity.template memberIs<A::member>(name);
            } else if constexpr (KeyInsideValue<V>) {
                using Value = typename V::Value;
                Value value = support::randomSound<Value>(random);
                // The key is whichever field has its type first.
                bool given = false;
                describe::schemaOf<Value>.forEach([&](auto field) {
                    using Field = typename decltype(field)::Value;
                    if constexpr (std::same_as<Field, typename V::Key>) {
                        if (!given) field.in(value) = name;
                        given = true;
                    }
                });
                entity.template memberIs<A::member>(value);
            } else {
                using Value = typename V::Value;
                const auto* const node = stored.lookup(name);
                const Value value = node && dice < 8 ? Value(node->value())
                                                     : support::randomSound<Value>(random);
                entity.template memberIs<A::member>(name, value);
            }
        }
    }

    // Sets all that can be set, with one member in each collection. References stay empty.
    static void fill(Zin::Entity& given, laws::Random& random) {
        T& entity = static_cast<T&>(given);
        if constexpr (DerivedEntity<T>)
            AttributeLogOf<BaseOf<T>, support::Mutators>::fill(given, random);
        entitySchemaOf<T>.forEach([&]<class A>(const A&) {
            if constexpr (A::writable) fillAttribute<A>(entity, random);
        });
    }

    template <class A>
    static void fillAttribute(T& entity, laws::Random& random) {
        using V = typename A::Value;
        V& stored = entity.*A::member;
        if constexpr (A::kind == AttributeKind::single) {
            entity.template valueIs<A::member>(support::fullest<V>(random, stored));
        } else if constexpr (A::kind == AttributeKind::singleton) {
            const auto child =
                entity.template singletonIs<A::member>(support::fullest<Zin::String>(random));
            AttributeLogOf<typename Zin::PointeeOf<V>::Type, support::Mutators>::fill(
                *child,
                random);
        } else if constexpr (InstantiatingCollection<V>) {
            const auto name = support::fullest<typename V::Key>(random);
            insert<V>(name, random, [&](const auto&... arguments) {
                entity.template childIs<A::member>(arguments...);
            });
            AttributeLogOf<ChildOf<V>, support::Mutators>::fill(*childIn(stored, name), random);
        } else if constexpr (SetCollection<V>) {
            entity.template memberIs<A::member>(support::fullest<typename V::Key>(random));
        } else if constexpr (KeyInsideValue<V>) {
            entity.template memberIs<A::member>(support::fullest<typename V::Value>(random));
        } else if constexpr (Collection<V>) {
            const auto name = support::fullest<typename V::Key>(random);
            entity.template memberIs<A::member>(
                name,
                support::fullest<typename V::Value>(random));
        }
    }

    // One change to the entity or to one below it.
    static void step(Zin::Entity& given, laws::Random& random) {
        T& entity = static_cast<T&>(given);
        constexpr std::size_t count = decltype(T::schema())::size;
        if constexpr (DerivedEntity<T>) {
            constexpr std::size_t inherited = AttributesOf<BaseOf<T>>::all.size();
            if (laws::below(random, inherited + count) < inherited) {
                return AttributeLogOf<BaseOf<T>, support::Mutators>::step(given, random);
            }
        }
        auto left = static_cast<std::size_t>(laws::below(random, count));
        bool done = false;
        // An attribute that nobody changes leaves the turn to the next one.
        for (int round = 0; round < 2 && !done; ++round) {
            entitySchemaOf<T>.forEach([&]<class A>(const A&) {
                if (done || (left != 0 && left--)) return;
                if constexpr (A::writable) {
                    done = true;
                    const Zin::Ptr<Zin::Entity> guard(&entity);
                    change<A>(entity, random);
                }
            });
        }
    }
};

namespace support {

template <class T>
constexpr EntityType entityType() {
    return {
        [](const Zin::String& name) -> Zin::Ptr<Zin::Entity> {
            return Zin::typeNamed(frame::entitySchemaOf<T>.typeName)
                .info()
                ->newEntityForDir(name, nullptr);
        },
        &frame::AttributeLogOf<T, Mutators>::step,
        &frame::AttributeLogOf<T, Mutators>::fill};
}

}  // namespace support
