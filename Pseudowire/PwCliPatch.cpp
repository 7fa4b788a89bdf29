#include "Pseudowire/PwCliPatch.h"

#include "Zin/Assert.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PwCliPatch_aa96eec2_zinModule = frame::moduleOf<
    Pseudowire::ConnectorPatchInfo,
    Pseudowire::PatchEncapAndOp,
    Pseudowire::ConnectorToPatches,
    Pseudowire::LdpKeyToConnKeys,
    Pseudowire::PatchStatus,
    Pseudowire::PatchLocalConnectorStatus,
    Pseudowire::PatchRemoteConnectorStatus,
    Pseudowire::PatchPanel>("PwCliPatch");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PwCliPatch_aa96eec2_zinModule);

}  // namespace

std::uint32_t ConnectorToPatches::activeCount() const {
    std::uint32_t count = 0;
    for (const auto& node : patch_) count += node.value().enabled() ? 1 : 0;
    return count;
}

Zin::String ConnectorToPatches::activePatch() const {
    for (const auto& node : patch_) {
        if (node.value().enabled()) return node.key();
    }
    return {};
}

Bridging::Dot1qEncap PatchPanel::getDot1qEncap(const ConnectorKey& connectorKey) const {
    // Reported in the same words whatever compiler built this and wherever it stands.
    if (!connectorKey.isLocal()) {
        Zin::assertionFailed(
            "connectorKey.isLocal()",
            "/src/Pseudowire/PwCliPatch",
            8,
            "Bridging::Dot1qEncap Pseudowire::PatchPanel::getDot1qEncap("
            "const Pseudowire::ConnectorKey&) const");
    }
    if (const auto status = localConnStatus(connectorKey)) return status->encap().dot1qEncap();
    constexpr std::uint16_t anyTag = 4095;
    return {Bridging::VlanIdOrNone(anyTag), Bridging::VlanIdOrNone()};
}

Zin::Ptr<PatchPanel> PatchPanel::PatchPanelIs(const Zin::String& name) {
    return frame::make<PatchPanel>(name);
}

Zin::Ptr<PatchPanel> patchPanelFactory(const Zin::String& name) {
    return PatchPanel::PatchPanelIs(name);
}

}  // namespace Pseudowire
