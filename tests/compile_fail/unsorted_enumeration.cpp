// EXPECT: THE_ENUMERATORS_MUST_BE_LISTED_IN_ASCENDING_ORDER
#include "Zin/Enum.h"

enum class Light : unsigned char { red = 0, green = 1 };
consteval auto enumeration(Light) {
    return describe::enumerators<Light>(
        "Light",
        {{Light::green, "green"}, {Light::red, "red"}});
}

Zin::String name(Light light) {
    return Zin::stringValue(light);
}
