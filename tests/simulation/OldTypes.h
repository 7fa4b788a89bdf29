// The types of support/LabTypes.h as a build knew them that is older: a Bench without some of
// its attributes, and none of the types Sample, Slot and Mixture.

#pragma once

#include "support/LabTypes.h"
#include "support/RootTypes.h"

extern const Zin::ZinModule _Old_0_zinModule;

namespace Old {

class Rack final : public frame::EntityOf<Rack> {
  public:
    struct Notifiee : frame::NotifieeOf<Rack> {
        using NotifieeOf::NotifieeOf;
        virtual void onHeight() {}
    };

    static consteval auto schema() {
        return frame::entity<_Old_0_zinModule, 1>(
            "Old::Rack",
            frame::constructorParameter<258, &Rack::cooled_>("cooled"),
            frame::attribute<259, &Rack::height_, &Notifiee::onHeight>("height"));
    }
    using ConstructorArguments = std::tuple<Zin::String, bool>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {0, 258};
    ConstructorArguments constructorArguments() const { return {entityKey(), cooled_}; }

    Rack(frame::Construct construct, const Zin::String& name, bool cooled)
        : EntityOf(construct, name), cooled_(cooled) {}

  private:
    bool cooled_;
    std::uint16_t height_ = 1;
};

class Bench final : public frame::EntityOf<Bench> {
  public:
    struct Notifiee : frame::NotifieeOf<Bench> {
        using NotifieeOf::NotifieeOf;
        virtual void onScalar() {}
        virtual void onNumber(const std::uint32_t&) {}
        virtual void onName(const Zin::String&) {}
    };

    static consteval auto schema() {
        return frame::entity<_Old_0_zinModule, 0>(
            "Old::Bench",
            frame::attribute<258, &Bench::flag_, &Notifiee::onScalar>("flag"),
            frame::attribute<261, &Bench::wide_, &Notifiee::onScalar>("wide"),
            frame::attribute<265, &Bench::ratio_, &Notifiee::onScalar>("ratio"),
            frame::attribute<267, &Bench::label_, &Notifiee::onScalar>("label"),
            frame::attribute<270, &Bench::reagent_, &Notifiee::onName>("reagent"),
            frame::attribute<271, &Bench::tag_, &Notifiee::onNumber>("tag"),
            frame::attribute<273, &Bench::rack_, &Notifiee::onName>("rack"),
            frame::attribute<276, &Bench::step_, &Notifiee::onNumber>("step"));
    }
    static constexpr bool isRoot = true;

    Bench(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    struct ReagentNode : Zin::HashMap2018NodeInternalKey<
                             false,
                             6,
                             Zin::String,
                             Lab::Reagent,
                             Lab::NameOf,
                             false> {};
    struct StepNode : Zin::RbTreeMapNodeExternKey<std::uint32_t, Zin::String> {};

    bool flag_ = true;
    std::uint32_t wide_ = 3;
    double ratio_ = 0.5;
    Zin::String label_ = "none";
    Zin::HashMap2018<ReagentNode, Zin::String, Lab::Reagent> reagent_;
    Zin::HSet<std::uint32_t, 9> tag_;
    Lab::ChildMap<Rack, 7> rack_;
    Zin::RbTreeMap<StepNode, std::uint32_t, Zin::String> step_;
};

extern const support::EntityType benchType;

}  // namespace Old
