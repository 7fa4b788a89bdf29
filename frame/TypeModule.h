// A type module: the descriptor that a module's source defines and registers.
//
//     constinit const Zin::ZinModule _PwRunnability_4c2637c2_zinModule =
//         frame::moduleOf<Pseudowire::Runnability>("PwRunnability");
//     const Zin::ModuleRegistration registration(&_PwRunnability_4c2637c2_zinModule);
//
// The types stand in the order of their indices; enumerations and value types take their place.

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Zin/Module.h"
#include "frame/TypeImpl.h"

namespace frame {

namespace detail {

// A running hash of what two builds must agree on to read each other's messages.
class Fingerprint {
  public:
    constexpr void add(std::uint64_t word) {
        state_ = Zin::hashing::mixed(state_ ^ word) + 0x9e3779b97f4a7c15;
    }
    constexpr void add(std::string_view text) {
        add(text.size());
        for (const char c : text)
            add(static_cast<std::uint64_t>(static_cast<unsigned char>(c)));
    }
    template <class V>
    constexpr void addType() {
        add(Zin::detail::nameOf<V>());
        if constexpr (describe::Value<V>) {
            describe::schemaOf<V>.forEach([&]<class F>(const F& field) {
                add(field.name);
                this->addType<typename F::Value>();
            });
        } else if constexpr (Collection<V>) {
            addType<typename V::Key>();
            if constexpr (InstantiatingCollection<V>) {
                add(entitySchemaOf<ChildOf<V>>.typeName);
            } else if constexpr (!SetCollection<V>) {
                addType<typename V::Value>();
            }
        }
    }
    template <class T>
    constexpr void addEntity() {
        add(entitySchemaOf<T>.typeName);
        [&]<class... Arguments>(std::tuple<Arguments...>*) {
            (this->addType<Arguments>(), ...);
        }(static_cast<typename T::ConstructorArguments*>(nullptr));
        entitySchemaOf<T>.forEach([&]<class A>(const A& attribute) {
            add(A::id);
            add(attribute.name);
            add(static_cast<std::uint64_t>(A::kind));
            if constexpr (A::streamed) {
                if constexpr (A::kind == AttributeKind::singleton) {
                    add(entitySchemaOf<typename Zin::PointeeOf<typename A::Value>::Type>.typeName);
                } else {
                    this->addType<typename A::Value>();
                }
            }
        });
    }
    constexpr std::uint64_t result() const { return state_; }

  private:
    std::uint64_t state_ = 0;
};

template <class T>
consteval const Zin::EntityTypeInfo* typeInfoOf() {
    if constexpr (std::derived_from<T, Zin::Entity>) {
        return &entityTypeInfo<T>;
    } else {
        return nullptr;
    }
}

template <class... Types>
inline constexpr std::array<const Zin::EntityTypeInfo*, sizeof...(Types)> typesOf{
    typeInfoOf<Types>()...};

template <class... Types>
consteval bool inOrder() {
    std::uint32_t place = 0;
    bool good = true;
    const auto check = [&]<class T>(const T*) {
        if constexpr (std::derived_from<T, Zin::Entity>) {
            good = good && entitySchemaOf<T>.index == place;
        }
        ++place;
    };
    (check(static_cast<const Types*>(nullptr)), ...);
    return good;
}

}  // namespace detail

template <class... Types>
consteval Zin::ZinModule moduleOf(std::string_view name) {
    static_assert(
        detail::inOrder<Types...>(),
        "The types of a module must be listed in the order of the indices in their schemas.");
    detail::Fingerprint fingerprint;
    const auto add = [&]<class T>(const T*) {
        if constexpr (std::derived_from<T, Zin::Entity>) fingerprint.addEntity<T>();
    };
    (add(static_cast<const Types*>(nullptr)), ...);
    return {name, detail::typesOf<Types...>, fingerprint.result()};
}

}  // namespace frame
