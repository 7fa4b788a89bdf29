// Two modules: one is like no other, one has a type of a name that the library has already.

#include <cstdint>

#include "Zin/Enum.h"
#include "Zin/TypeModule.h"

namespace Claiming {

enum class Side : std::uint8_t { left, right };
consteval auto enumeration(Side) {
    return describe::enumerators<Side>(
        "Claiming::Side",
        {{Side::left, "left"}, {Side::right, "right"}});
}

enum class Family : std::uint8_t { round, square };
consteval auto enumeration(Family) {
    return describe::enumerators<Family>(
        "Vorn::AddressFamily",
        {{Family::round, "round"}, {Family::square, "square"}});
}

}  // namespace Claiming

constinit const Zin::ZinModule _Newcomer_zinModule = Zin::moduleOf<Claiming::Side>("Newcomer");
constinit const Zin::ZinModule _Claiming_zinModule =
    Zin::moduleOf<Claiming::Family>("Claiming");

namespace {

const Zin::ModuleRegistration newcomer(&_Newcomer_zinModule);
const Zin::ModuleRegistration claiming(&_Claiming_zinModule);

}  // namespace
