#include "Pseudowire/PseudowireStatus.h"

#include "Vorn/IntfIdKinds.h"
#include "Zin/Assert.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PseudowireStatus_6edd4dd7_zinModule = frame::moduleOf<
    Pseudowire::PwAdjGroupId,
    Pseudowire::LocalConnectorInfo,
    Pseudowire::EncapAdjacency,
    Pseudowire::PwEncapAdjacency,
    Pseudowire::PwEncapAdjGroup,
    Pseudowire::EncapMapAndRewrite,
    Pseudowire::ViaInfo,
    Pseudowire::IntfIdDot1qEncap,
    Pseudowire::Dot1qConnectorKeyMap,
    Pseudowire::PatchAcSet,
    Pseudowire::Status>("PseudowireStatus");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PseudowireStatus_6edd4dd7_zinModule);

// The port of a circuit that is on a subinterface of it, or on all of it.
Vorn::IntfId portOf(Vorn::IntfId circuit) {
    if (!Vorn::SubIntfId::isSubIntfId(circuit)) return circuit;
    return Vorn::SubIntfId::parentIntfId(circuit);
}

}  // namespace

Vorn::IntfId LocalConnectorInfo::localPortIntfId() const {
    const Vorn::IntfId portIntfId = portOf(parentIntfId_);
    // clang-format off
    ZIN_ASSERT(Vorn::EthIntfId::isEthIntfId( portIntfId ) || Vorn::PortChannelIntfId::isPortChannelIntfId( portIntfId ), "PseudowireStatus");
    // clang-format on
    return portIntfId;
}

void Dot1qConnectorKeyMap::add(
    const ConnectorKey& connectorKey,
    const Bridging::Dot1qEncap& dot1qEncap) {
    const Vorn::IntfId port = portOf(connectorKey.localIntfId());
    connectorKeyIs(IntfIdDot1qEncap(port, dot1qEncap), connectorKey);
    dot1qEncapIs(connectorKey, dot1qEncap);
}

Bridging::Dot1qEncap Dot1qConnectorKeyMap::remove(const ConnectorKey& connectorKey) {
    const Vorn::IntfId port = portOf(connectorKey.localIntfId());
    const Bridging::Dot1qEncap encap = dot1qEncapDel(connectorKey);
    connectorKeyDel(IntfIdDot1qEncap(port, encap));
    return encap;
}

void Dot1qConnectorKeyMap::clear() {
    connectorKeyDelAll();
    dot1qEncapDelAll();
}

Zin::Ptr<Dot1qConnectorKeyMap> Dot1qConnectorKeyMap::Dot1qConnectorKeyMapIs(
    const Zin::String& name) {
    return frame::make<Dot1qConnectorKeyMap>(name);
}

Zin::Ptr<Dot1qConnectorKeyMap> dot1qConnectorKeyMapFactory(const Zin::String& name) {
    return Dot1qConnectorKeyMap::Dot1qConnectorKeyMapIs(name);
}

Zin::Ptr<Status> Status::StatusIs(const Zin::String& name) {
    return frame::make<Status>(name);
}

Zin::Ptr<Status> statusFactory(const Zin::String& name) {
    return Status::StatusIs(name);
}

}  // namespace Pseudowire
