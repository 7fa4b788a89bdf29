// EXPECT: attributes of an entity type are numbered behind those that it inherits
#include "frame/TypeModule.h"

extern const Zin::ZinModule testModule;

struct Base : frame::EntityOf<Base> {
    static consteval auto schema() {
        return frame::entity<testModule, 0>("Base", frame::frozen<259, &Base::a_>("a"));
    }
    using EntityOf::EntityOf;
    int a_ = 0;
};

struct Derived final : frame::DerivedOf<Derived, Base> {
    static consteval auto schema() {
        return frame::entity<testModule, 1>("Derived", frame::frozen<258, &Derived::b_>("b"));
    }
    using DerivedOf::DerivedOf;
    int b_ = 0;
};

constexpr auto count = frame::AttributesOf<Derived>::all.size();
