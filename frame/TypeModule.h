// A type module: the descriptor that a module's source defines and registers.
//
//     constinit const Zin::ZinModule _PwRunnability_4c2637c2_zinModule =
//         frame::moduleOf<Pseudowire::Runnability>("PwRunnability");
//     const Zin::ModuleRegistration registration(&_PwRunnability_4c2637c2_zinModule);
//
// The types stand in the order of their indices: entity types, value types and enumerations.

#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "Zin/TypeModule.h"
#include "frame/TypeImpl.h"

template <std::derived_from<Zin::Entity> T>
struct Zin::TypeInfoOf<T> {
    static constexpr TypeInfo info{nullptr, &frame::entityTypeInfo<T>};
};

namespace frame {

namespace detail {

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
    return Zin::moduleOf<Types...>(name);
}

}  // namespace frame
