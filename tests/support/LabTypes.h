// A module of entity types that exists for tests: an attribute of every kind and of every plain
// type, and children of every kind several levels deep. Nothing here but schemas and accessors.
//
//     Bench   every kind of attribute; the root
//       Rack      child with a further constructor argument, itself with children
//         Slot      child that is the node of an ordered tree
//       Sample    child that is made with its name alone; also as the single child "spare"

#pragma once

#include <cstdint>

#include "Zin/Enum.h"
#include "Zin/HSet.h"
#include "Zin/HashMap2018.h"
#include "Zin/RbTreeMap.h"
#include "Zin/Strep.h"
#include "Zin/Value.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern const Zin::ZinModule _Lab_0_zinModule;

namespace Lab {

enum class Colour : std::uint8_t { red = 0, green = 1, violet = 7 };

consteval auto enumeration(Colour) {
    using enum Colour;
    return describe::enumerators<Colour>(
        "Lab::Colour",
        {{red, "red"}, {green, "green"}, {violet, "violet"}});
}

using Zin::operator<<, Zin::sequenceToValue, Zin::stringValue, Zin::valueToStrep;

// A value whose key is one of its fields.
class Reagent : public Zin::Value<Reagent> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Lab::Reagent",
            describe::field<&Reagent::name_>("name"),
            describe::field<&Reagent::grams_>("grams"),
            describe::field<&Reagent::colour_>("colour"),
            describe::constant<&Reagent::water>("water"),
            describe::constant<&Reagent::mostGrams>("mostGrams"),
            describe::function<&Reagent::toStrep>("toStrep"));
    }

    Reagent() = default;
    Reagent(const Zin::String& name, std::int32_t grams) : name_(name), grams_(grams) {}
    static Reagent water() { return {"water", 1000}; }
    static std::int32_t mostGrams() { return 5000; }
    Reagent(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : Reagent(Zin::parsed<Reagent>(it, end)) {}

    const Zin::String& name() const { return name_; }

    Zin::String toStrep() const {
        return Zin::shortForm({{"name", name_}, {"grams", grams_}, {"heavy", grams_ > 1000}});
    }

  private:
    Zin::String name_;
    std::int32_t grams_ = 0;
    Colour colour_ = Colour::green;
};

// A value that holds collections.
class Mixture : public Zin::Value<Mixture> {
    struct ShareNode
        : Zin::HashMap2018NodeExternKey<false, 13, Zin::String, std::uint32_t, false> {};

  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Lab::Mixture",
            describe::field<&Mixture::stirred_>("stirred"),
            describe::field<&Mixture::solvents_>("solvents"),
            describe::field<&Mixture::shares_>("shares"));
    }

    void stirredIs(bool stirred) { stirred_ = stirred; }
    void solventsIs(const Reagent& solvent) { solvents_.put(solvent); }
    void sharesIs(const Zin::String& name, std::uint32_t percent) {
        shares_.put(name, percent);
    }

  private:
    bool stirred_ = false;
    Zin::HSet<Reagent, 12> solvents_;
    Zin::HashMap2018<ShareNode, Zin::String, std::uint32_t> shares_;
};

struct NameOf {
    const Zin::String& operator()(const Reagent& reagent) const { return reagent.name(); }
    template <class Child>
    const Zin::String& operator()(const Zin::Ptr<Child>& child) const {
        return child->entityKey();
    }
    template <std::derived_from<Zin::Entity> Child>
    const Zin::String& operator()(const Child& child) const {
        return child.entityKey();
    }
};

template <class Child, std::uint32_t seed>
struct ChildNode
    : Zin::
          HashMap2018NodeInternalKey<false, seed, Zin::String, Zin::Ptr<Child>, NameOf, false> {
};
template <class Child, std::uint32_t seed>
using ChildMap = Zin::HashMap2018<ChildNode<Child, seed>, Zin::String, Zin::Ptr<Child>>;

class Sample final : public frame::EntityOf<Sample> {
  public:
    struct Notifiee : frame::NotifieeOf<Sample> {
        using NotifieeOf::NotifieeOf;
        virtual void onMass() {}
        virtual void onMark(const Zin::String&) {}
    };

    static consteval auto schema() {
        return frame::entity<_Lab_0_zinModule, 2>(
            "Lab::Sample",
            frame::attribute<258, &Sample::mass_, &Notifiee::onMass>("mass"),
            frame::attribute<259, &Sample::mark_, &Notifiee::onMark>("mark"));
    }

    std::uint32_t mass() const { return mass_; }
    void massIs(std::uint32_t mass) { valueIs<&Sample::mass_>(mass); }
    const auto& mark() const { return mark_; }
    void markIs(const Zin::String& mark) { memberIs<&Sample::mark_>(mark); }

    Sample(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    std::uint32_t mass_ = 7;
    Zin::HSet<Zin::String, 3> mark_;
};

// The node of an ordered tree.
class Slot final : public frame::EntityOf<Slot>, public Zin::RbTreeNode {
  public:
    struct Notifiee : frame::NotifieeOf<Slot> {
        using NotifieeOf::NotifieeOf;
        virtual void onLabel() {}
        virtual void onSample(const Zin::String&) {}
    };

    static consteval auto schema() {
        return frame::entity<_Lab_0_zinModule, 4>(
            "Lab::Slot",
            frame::attribute<258, &Slot::label_, &Notifiee::onLabel>("label"),
            frame::attribute<259, &Slot::sample_, &Notifiee::onSample>("sample"));
    }

    void labelIs(const Zin::String& label) { valueIs<&Slot::label_>(label); }
    Zin::Ptr<Sample> sampleIs(const Zin::String& name) { return childIs<&Slot::sample_>(name); }
    const auto& sample() const { return sample_; }

    // A dump of its own.
    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
        const frame::Dump body = frame::Dump(context, indent).header("Slot", name());
        const frame::Dump samples = body.collection("sample", sample_.members());
        for (auto it = sample_.iteratorConst(); it; ++it) samples.child(it.value().get());
        body.attribute("label", label_);
    }

    Slot(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    Zin::String label_;
    ChildMap<Sample, 11> sample_;
};

class Rack final : public frame::EntityOf<Rack> {
  public:
    struct Notifiee : frame::NotifieeOf<Rack> {
        using NotifieeOf::NotifieeOf;
        virtual void onHeight() {}
        virtual void onSlot(const Zin::String&) {}
        virtual void onSpare() {}
    };

    static consteval auto schema() {
        return frame::entity<_Lab_0_zinModule, 3>(
            "Lab::Rack",
            frame::constructorParameter<258, &Rack::cooled_>("cooled"),
            frame::attribute<259, &Rack::height_, &Notifiee::onHeight>("height"),
            frame::attribute<260, &Rack::slot_, &Notifiee::onSlot>("slot"),
            frame::attribute<261, &Rack::spare_, &Notifiee::onSpare>("spare"));
    }
    static constexpr frame::DumpStyle dumpStyle = frame::DumpStyle::assigning;
    using ConstructorArguments = std::tuple<Zin::String, bool>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {0, 258};
    ConstructorArguments constructorArguments() const { return {entityKey(), cooled_}; }

    bool cooled() const { return cooled_; }
    std::uint16_t height() const { return height_; }
    void heightIs(std::uint16_t height) { valueIs<&Rack::height_>(height); }
    const auto& slot() const { return slot_; }
    Zin::Ptr<Slot> slotIs(const Zin::String& name) { return childIs<&Rack::slot_>(name); }
    Zin::Ptr<Slot> slotDel(const Zin::String& name) { return childDel<&Rack::slot_>(name); }
    Zin::Ptr<Sample> spareIs(const Zin::String& name) {
        return singletonIs<&Rack::spare_>(name);
    }

    Rack(frame::Construct construct, const Zin::String& name, bool cooled)
        : EntityOf(construct, name), cooled_(cooled) {}

  private:
    struct SlotNode : Zin::RbTreeMapNodeEntity<Zin::String, Slot, NameOf> {};

    bool cooled_;
    std::uint16_t height_ = 1;
    Zin::RbTreeMap<SlotNode, Zin::String, Slot> slot_;
    Zin::Ptr<Sample> spare_;
};

class Bench final : public frame::EntityOf<Bench> {
  public:
    struct Notifiee : frame::NotifieeOf<Bench> {
        using NotifieeOf::NotifieeOf;
        virtual void onScalar() {}
        virtual void onNumber(const std::uint32_t&) {}
        virtual void onName(const Zin::String&) {}
        virtual void onRack(const Zin::String&) {}
        virtual void onSpare() {}
    };

    static consteval auto schema() {
        return frame::entity<_Lab_0_zinModule, 1>(
            "Lab::Bench",
            frame::attribute<258, &Bench::flag_, &Notifiee::onScalar>("flag"),
            frame::attribute<259, &Bench::tiny_, &Notifiee::onScalar>("tiny"),
            frame::attribute<260, &Bench::small_, &Notifiee::onScalar>("small"),
            frame::attribute<261, &Bench::wide_, &Notifiee::onScalar>("wide"),
            frame::frozen<262, &Bench::batch_>("batch"),
            frame::attribute<263, &Bench::huge_, &Notifiee::onScalar>("huge"),
            frame::attribute<264, &Bench::balance_, &Notifiee::onScalar>("balance"),
            frame::attribute<265, &Bench::ratio_, &Notifiee::onScalar>("ratio"),
            frame::attribute<266, &Bench::colour_, &Notifiee::onScalar>("colour"),
            frame::attribute<267, &Bench::label_, &Notifiee::onScalar>("label"),
            frame::attribute<268, &Bench::solvent_, &Notifiee::onScalar>("solvent"),
            frame::attribute<269, &Bench::reading_, &Notifiee::onNumber>("reading"),
            frame::attribute<270, &Bench::reagent_, &Notifiee::onName>("reagent"),
            frame::attribute<271, &Bench::tag_, &Notifiee::onNumber>("tag"),
            frame::function<272, &Bench::racks>("racks"),
            frame::attribute<273, &Bench::rack_, &Notifiee::onRack>("rack"),
            frame::attribute<274, &Bench::sample_, &Notifiee::onName>("sample"),
            frame::attribute<275, &Bench::spare_, &Notifiee::onSpare>("spare"),
            frame::attribute<276, &Bench::step_, &Notifiee::onNumber>("step"),
            frame::attribute<277, &Bench::stock_, &Notifiee::onName>("stock"),
            frame::attribute<278, &Bench::mixture_, &Notifiee::onName>("mixture"),
            frame::function<279, &Bench::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<Bench> BenchIs(const Zin::String& name) { return frame::make<Bench>(name); }

    std::uint32_t wide() const { return wide_; }
    void wideIs(std::uint32_t wide) { valueIs<&Bench::wide_>(wide); }
    Zin::String label() const { return label_; }
    void labelIs(const Zin::String& label) { valueIs<&Bench::label_>(label); }
    const auto& reading() const { return reading_; }
    void readingIs(std::uint32_t at, const Zin::String& text) {
        memberIs<&Bench::reading_>(at, text);
    }
    Zin::String readingDel(std::uint32_t at) { return memberDel<&Bench::reading_>(at); }
    void readingDelAll() { membersDelAll<&Bench::reading_>(); }
    const auto& reagent() const { return reagent_; }
    void reagentIs(const Reagent& reagent) { memberIs<&Bench::reagent_>(reagent); }
    void reagentDel(const Zin::String& name) { memberDel<&Bench::reagent_>(name); }
    void tagIs(std::uint32_t tag) { memberIs<&Bench::tag_>(tag); }
    const auto& mixture() const { return mixture_; }
    Mixture mixture(const Zin::String& name) const { return memberOf<&Bench::mixture_>(name); }
    void mixtureIs(const Zin::String& name, const Mixture& mixture) {
        memberIs<&Bench::mixture_>(name, mixture);
    }
    std::uint32_t racks() const { return rack_.members(); }
    const auto& rack() const { return rack_; }
    Zin::Ptr<Rack> rack(const Zin::String& name) const { return frame::childIn(rack_, name); }
    Zin::Ptr<Rack> rackIs(const Zin::String& name, bool cooled) {
        return childIs<&Bench::rack_>(name, cooled);
    }
    Zin::Ptr<Rack> rackDel(const Zin::String& name) { return childDel<&Bench::rack_>(name); }
    void rackDelAll() { childrenDelAll<&Bench::rack_>(); }
    Zin::Ptr<Sample> spare() const { return spare_; }
    Zin::Ptr<Sample> spareIs(const Zin::String& name) {
        return singletonIs<&Bench::spare_>(name);
    }
    Zin::Ptr<Sample> spareDel() { return singletonDel<&Bench::spare_>(); }

    Bench(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    struct ReadingNode
        : Zin::HashMap2018NodeExternKey<false, 5, std::uint32_t, Zin::String, false> {};
    struct ReagentNode
        : Zin::HashMap2018NodeInternalKey<false, 6, Zin::String, Reagent, NameOf, false> {};
    struct MixtureNode : Zin::HashMap2018NodeExternKey<false, 14, Zin::String, Mixture, false> {
    };
    struct StepNode : Zin::RbTreeMapNodeExternKey<std::uint32_t, Zin::String> {};
    struct StockNode : Zin::RbTreeMapNodeInternalKey<Zin::String, Reagent, NameOf> {};

    bool flag_ = true;
    std::uint8_t tiny_ = 1;
    std::uint16_t small_ = 2;
    std::uint32_t wide_ = 3;
    std::uint32_t batch_ = 4;
    std::uint64_t huge_ = 5;
    std::int32_t balance_ = -6;
    double ratio_ = 0.5;
    Colour colour_ = Colour::violet;
    Zin::String label_ = "none";
    Reagent solvent_;
    Zin::HashMap2018<ReadingNode, std::uint32_t, Zin::String> reading_;
    Zin::HashMap2018<ReagentNode, Zin::String, Reagent> reagent_;
    Zin::HSet<std::uint32_t, 9> tag_;
    ChildMap<Rack, 7> rack_;
    ChildMap<Sample, 8> sample_;
    Zin::Ptr<Sample> spare_;
    Zin::RbTreeMap<StepNode, std::uint32_t, Zin::String> step_;
    Zin::RbTreeMap<StockNode, Zin::String, Reagent> stock_;
    Zin::HashMap2018<MixtureNode, Zin::String, Mixture> mixture_;
};

}  // namespace Lab
