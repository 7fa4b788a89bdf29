// The types that every module may refer to by a number (Zin/TypeTable.h): they have handles
// like all others.

#include <cstdint>

#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _Zin_zinModule = Zin::moduleOf<
    bool,
    std::uint8_t,
    std::uint16_t,
    std::uint32_t,
    std::uint64_t,
    std::int8_t,
    std::int16_t,
    std::int32_t,
    std::int64_t,
    double,
    Zin::String>("Zin");

namespace {

const Zin::ModuleRegistration registration(&_Zin_zinModule);

}  // namespace
