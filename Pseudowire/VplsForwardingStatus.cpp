#include "Pseudowire/VplsForwardingStatus.h"

#include "frame/Dump.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _VplsForwardingStatus_706b8ee4_zinModule = frame::moduleOf<
    Pseudowire::VplsForwardingStatusPseudowire,
    Pseudowire::VplsForwardingStatusVlan,
    Pseudowire::VplsForwardingStatusPseudowireGroup,
    Pseudowire::VplsForwardingStatusInstance,
    Pseudowire::VplsForwardingStatus>("VplsForwardingStatus");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_VplsForwardingStatus_706b8ee4_zinModule);

using frame::Dump;

}  // namespace

Zin::String VplsForwardingStatusPseudowire::toStrep() const {
    return Zin::shortForm(
        {{"intfId", intfId_},
         {"decapLabel", decapLabel_},
         {"encapLabel", encapLabel_},
         {"encapTunnel", encapTunnel_},
         {"controlWord", controlWord_}});
}

Zin::String VplsForwardingStatusVlan::toStrep() const {
    return Zin::shortForm({{"vlanId", vlanId_}, {"normalizedTag", normalizedTag_}});
}

// --- Dumps ---

void VplsForwardingStatus::dumpState(const Quib::DumpContextPtr& context, unsigned indent)
    const {
    const Dump body = Dump(context, indent).header("VplsForwardingStatus", name().view());
    const Dump instances = body.collection("instance", instance_.members());
    for (auto it = instance_.iteratorConst(); it; ++it) instances.child(it.value().get());
}

void VplsForwardingStatusInstance::dumpState(
    const Quib::DumpContextPtr& context,
    unsigned indent) const {
    const Dump body =
        Dump(context, indent).header("VplsForwardingStatusInstance", name().view());
    const Dump vlans = body.collection("vlan", vlan_.members());
    for (auto it = vlan_.iteratorConst(); it; ++it) {
        vlans.line("%s", it.value().toStrep().c_str());
    }
    const Dump groups = body.collection("pseudowireGroup", pseudowireGroup_.members());
    for (auto it = pseudowireGroup_.iteratorConst(); it; ++it) groups.child(it.value().get());
}

void VplsForwardingStatusPseudowireGroup::dumpState(
    const Quib::DumpContextPtr& context,
    unsigned indent) const {
    const Dump body =
        Dump(context, indent).header("VplsForwardingStatusPseudowireGroup", name().view());
    body.attribute("splitHorizon", splitHorizon_);
    const Dump pseudowires = body.collection("pseudowire", pseudowire_.members());
    for (auto it = pseudowire_.iteratorConst(); it; ++it) {
        pseudowires.line("%s", it.value().toStrep().c_str());
    }
}

// --- Factories ---

Zin::Ptr<VplsForwardingStatus> VplsForwardingStatus::VplsForwardingStatusIs(
    const Zin::String& name) {
    return frame::make<VplsForwardingStatus>(name);
}

Zin::Ptr<VplsForwardingStatusInstance>
VplsForwardingStatusInstance::VplsForwardingStatusInstanceIs(const Zin::String& name) {
    return frame::make<VplsForwardingStatusInstance>(name);
}

Zin::Ptr<VplsForwardingStatusPseudowireGroup>
VplsForwardingStatusPseudowireGroup::VplsForwardingStatusPseudowireGroupIs(
    const Zin::String& name,
    bool splitHorizon) {
    return frame::make<VplsForwardingStatusPseudowireGroup>(name, splitHorizon);
}

Zin::Ptr<VplsForwardingStatus> vplsForwardingStatusFactory(const Zin::String& name) {
    return VplsForwardingStatus::VplsForwardingStatusIs(name);
}

Zin::Ptr<VplsForwardingStatusInstance> vplsForwardingStatusInstanceFactory(
    const Zin::String& name) {
    return VplsForwardingStatusInstance::VplsForwardingStatusInstanceIs(name);
}

Zin::Ptr<VplsForwardingStatusPseudowireGroup> vplsForwardingStatusPseudowireGroupFactory(
    const Zin::String& name,
    bool splitHorizon) {
    return VplsForwardingStatusPseudowireGroup::VplsForwardingStatusPseudowireGroupIs(
        name,
        splitHorizon);
}

}  // namespace Pseudowire
