// PatchAcSet holds the attachment circuits of one patch as encapsulations on interfaces. It is
// a child of Pseudowire::Status.

#pragma once

#include "Dwil/IntfEncap.h"
#include "Pseudowire/PseudowireStatusModule.h"
#include "Zin/Export.h"
#include "Zin/RbTreeMap.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Pseudowire {

class ZIN_EXPORT PatchAcSet final : public frame::EntityOf<PatchAcSet>, public Zin::RbTreeNode {
  public:
    struct ZinAcIntfEncap : Zin::RbTreeMapNodeExternKey<Dwil::IntfEncap, bool> {};
    using AcIntfEncapMap = Zin::RbTreeMap<ZinAcIntfEncap, Dwil::IntfEncap, bool>;

    struct Notifiee : frame::NotifieeOf<PatchAcSet> {
        using NotifieeOf::NotifieeOf;
        virtual void onAcIntfEncap(const Dwil::IntfEncap& /*encap*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PseudowireStatus_6edd4dd7_zinModule, 9>(
            "Pseudowire::PatchAcSet",
            frame::constructorParameter<258, &PatchAcSet::entityKey_>("patchName"),
            frame::constructorParameter<259, &PatchAcSet::isLocalLocal_>("isLocalLocal"),
            frame::attribute<260, &PatchAcSet::acIntfEncap_, &Notifiee::onAcIntfEncap>(
                "acIntfEncap"),
            frame::function<261, &PatchAcSet::dumpState>("dumpState"));
    }
    using ConstructorArguments = std::tuple<Zin::String, bool>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {258, 259};
    ConstructorArguments constructorArguments() const { return {patchName(), isLocalLocal_}; }

    const Zin::String& patchName() const { return entityKey(); }
    // Whether the patch joins two local circuits, without a pseudowire between them.
    bool isLocalLocal() const { return isLocalLocal_; }

    // The circuits, in order.
    const AcIntfEncapMap& acIntfEncap() const { return acIntfEncap_; }
    // False when there is no such circuit.
    bool acIntfEncap(const Dwil::IntfEncap& encap) const {
        return memberOf<&PatchAcSet::acIntfEncap_>(encap);
    }
    void acIntfEncapIs(const Dwil::IntfEncap& encap, bool flag) {
        memberIs<&PatchAcSet::acIntfEncap_>(encap, flag);
    }
    bool acIntfEncapDel(const Dwil::IntfEncap& encap) {
        return memberDel<&PatchAcSet::acIntfEncap_>(encap);
    }
    bool acIntfEncapDel(const AcIntfEncapMap::IteratorConst& at) {
        return memberDel<&PatchAcSet::acIntfEncap_>(at);
    }
    void acIntfEncapDelAll() { membersDelAll<&PatchAcSet::acIntfEncap_>(); }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    PatchAcSet(frame::Construct construct, const Zin::String& patchName, bool isLocalLocal)
        : EntityOf(construct, patchName), isLocalLocal_(isLocalLocal) {}

  private:
    bool isLocalLocal_;
    AcIntfEncapMap acIntfEncap_;
};

}  // namespace Pseudowire
