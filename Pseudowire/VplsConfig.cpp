#include "Pseudowire/VplsConfig.h"

#include "frame/Dump.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _VplsConfig_fdabf9f1_zinModule = frame::moduleOf<
    Pseudowire::VplsLdpPseudowireConfig,
    Pseudowire::VplsVlanConfig,
    Pseudowire::VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation,
    Pseudowire::VplsLdpPseudowireGroupConfig,
    Pseudowire::VplsInstanceConfig,
    Pseudowire::VplsConfig>("VplsConfig");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_VplsConfig_fdabf9f1_zinModule);

using frame::Dump;

}  // namespace

Zin::String VplsLdpPseudowireConfig::toStrep() const {
    return Zin::shortForm(
        {{"name", name_}, {"secondary", secondary_}, {"precedence", precedence_}});
}

Zin::String VplsVlanConfig::toStrep() const {
    return Zin::shortForm({{"vlanId", vlanId_}, {"normalizedTag", normalizedTag_}});
}

Zin::EnumType MacWithdrawalPropagationInstance(std::uint32_t number) {
    return Zin::EnumType::instance<VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation>(
        number);
}

Zin::EnumType MacWithdrawalPropagationInstance(const Zin::String& name) {
    return Zin::EnumType::instance<VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation>(
        name);
}

// --- Dumps ---

void VplsConfig::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
    const Dump body = Dump(context, indent).header("VplsConfig", name().view());
    const Dump instances = body.collection("instance", instance_.members());
    for (auto it = instance_.iteratorConst(); it; ++it) instances.child(&it.node());
}

void VplsInstanceConfig::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
    const Dump body = Dump(context, indent).header("VplsInstanceConfig", name().view());
    const Dump vlans = body.collection("vlan", vlan_.members());
    for (auto it = vlan_.iteratorConst(); it; ++it) {
        vlans.line("%s", it.value().toStrep().c_str());
    }
    const Dump groups = body.collection("ldpPseudowireGroup", ldpPseudowireGroup_.members());
    for (auto it = ldpPseudowireGroup_.iteratorConst(); it; ++it) groups.child(&it.node());
    body.attribute("macWithdrawalTriggerInterface", macWithdrawalTriggerInterface_);
}

void VplsLdpPseudowireGroupConfig::dumpState(
    const Quib::DumpContextPtr& context,
    unsigned indent) const {
    const Dump body =
        Dump(context, indent).header("VplsLdpPseudowireGroupConfig", name().view());
    body.attribute("splitHorizon", splitHorizon_);
    body.attribute("macWithdrawalTriggerPseudowire", macWithdrawalTriggerPseudowire_);
    body.attribute("macWithdrawalPropagation", macWithdrawalPropagation_);
    body.attribute("pseudowireBgpAutoDiscoveryProfile", pseudowireBgpAutoDiscoveryProfile_);
    const Dump pseudowires = body.collection("pseudowire", pseudowire_.members());
    for (auto it = pseudowire_.iteratorConst(); it; ++it) {
        pseudowires.line("%s", it.value().toStrep().c_str());
    }
}

// --- Factories ---

Zin::Ptr<VplsConfig> VplsConfig::VplsConfigIs(const Zin::String& name) {
    return frame::make<VplsConfig>(name);
}

Zin::Ptr<VplsInstanceConfig> VplsInstanceConfig::VplsInstanceConfigIs(const Zin::String& name) {
    return frame::make<VplsInstanceConfig>(name);
}

Zin::Ptr<VplsLdpPseudowireGroupConfig>
VplsLdpPseudowireGroupConfig::VplsLdpPseudowireGroupConfigIs(
    const Zin::String& name,
    bool splitHorizon) {
    return frame::make<VplsLdpPseudowireGroupConfig>(name, splitHorizon);
}

Zin::Ptr<VplsConfig> vplsConfigFactory(const Zin::String& name) {
    return VplsConfig::VplsConfigIs(name);
}

Zin::Ptr<VplsInstanceConfig> vplsInstanceConfigFactory(const Zin::String& name) {
    return VplsInstanceConfig::VplsInstanceConfigIs(name);
}

Zin::Ptr<VplsLdpPseudowireGroupConfig> vplsLdpPseudowireGroupConfigFactory(
    const Zin::String& name,
    bool splitHorizon) {
    return VplsLdpPseudowireGroupConfig::VplsLdpPseudowireGroupConfigIs(name, splitHorizon);
}

}  // namespace Pseudowire
