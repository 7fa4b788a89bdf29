// The descriptor of a module of value types and enumerations, as its source defines it.
//
//     constinit const Zin::ZinModule _Vorn_zinModule =
//         Zin::moduleOf<IntfId, MplsLabel>("Vorn");
//     const Zin::ModuleRegistration registration(&_Vorn_zinModule);
//
// frame/TypeModule.h does the same for modules that have entity types.

#pragma once

#include <array>
#include <string_view>

#include "Zin/Module.h"
#include "Zin/TypeTableBuilder.h"
#include "Zin/ValueInfoOf.h"

namespace Zin {

template <class T>
struct TypeInfoOf {
    static constexpr TypeInfo info{&valueInfo<T>, nullptr};
};

template <class... Types>
inline constexpr std::array<TypeInfo, sizeof...(Types)> typeInfos{TypeInfoOf<Types>::info...};

template <class... Types>
consteval ZinModule moduleOf(std::string_view name) {
    return {
        name,
        typeInfos<Types...>,
        compiledTypeTable<typeInfos<Types...>>,
        fingerprintOf(typeInfos<Types...>)};
}

}  // namespace Zin
