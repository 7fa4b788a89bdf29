// Connector is the configuration of one end of a patch: a local circuit, an LDP pseudowire (RFC
// 4447, RFC 8077) or a BGP pseudowire (RFC 8214), as its key says. Fields that its kind has no
// use for keep their defaults and are ignored.
//
// It starts from a key and is filled field by field. Two connectors are the same connector when
// their keys are equal.

#pragma once

#include <cstdint>
#include <utility>

#include "Bridging/Dot1qEncap.h"
#include "Bridging/VlanId.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/FlowLabelType.h"
#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/PseudowireType.h"
#include "Pseudowire/QosMap.h"
#include "Pseudowire/Strep.h"
#include "Pseudowire/Vccv.h"
#include "Quib/Tristate.h"
#include "Zin/String.h"
#include "Zin/Value.h"

namespace Pseudowire {

class Connector : public Zin::Value<Connector> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::Connector",
            describe::field<&Connector::key_>("key"),
            describe::field<&Connector::dot1qEncap_>("dot1qEncap"),
            describe::field<&Connector::ldpKey_>("ldpKey"),
            describe::field<&Connector::groupId_>("groupId"),
            describe::field<&Connector::pwStatusTlv_>("pwStatusTlv"),
            describe::field<&Connector::localVpwsId_>("localVpwsId"),
            describe::field<&Connector::remoteVpwsId_>("remoteVpwsId"),
            describe::field<&Connector::pseudowireType_>("pseudowireType"),
            describe::field<&Connector::mtu_>("mtu"),
            describe::field<&Connector::controlWord_>("controlWord"),
            describe::field<&Connector::flowLabelType_>("flowLabelType"),
            describe::field<&Connector::reassembly_>("reassembly"),
            describe::field<&Connector::requestedDot1qTag_>("requestedDot1qTag"),
            describe::field<&Connector::intfDescription_>("intfDescription"),
            describe::field<&Connector::vccvCcTypes_>("vccvCcTypes"),
            describe::field<&Connector::vccvCvTypes_>("vccvCvTypes"),
            describe::field<&Connector::color_>("color"),
            describe::field<&Connector::qosMapName_>("qosMapName"));
    }

    Connector() = default;
    explicit Connector(ConnectorKey key) : key_(std::move(key)) {}

    const ConnectorKey& key() const { return key_; }
    void keyIs(ConnectorKey key) { key_ = std::move(key); }

    // --- Local circuits ---

    // The tags by which frames on the interface belong to the circuit.
    Bridging::Dot1qEncap dot1qEncap() const { return dot1qEncap_; }
    void dot1qEncapIs(Bridging::Dot1qEncap dot1qEncap) { dot1qEncap_ = dot1qEncap; }

    // --- LDP pseudowires ---

    // The peer and the pseudowire id that it knows the pseudowire by.
    const PseudowireLdpKey& ldpKey() const { return ldpKey_; }
    void ldpKeyIs(const PseudowireLdpKey& ldpKey) { ldpKey_ = ldpKey; }
    // The group of pseudowires whose labels and status may be signalled together (RFC 8077).
    std::uint32_t groupId() const { return groupId_; }
    void groupIdIs(std::uint32_t groupId) { groupId_ = groupId; }
    // Whether faults are signalled with the PW Status TLV; otherwise the label is withdrawn.
    bool pwStatusTlv() const { return pwStatusTlv_; }
    void pwStatusTlvIs(bool pwStatusTlv) { pwStatusTlv_ = pwStatusTlv; }

    // --- BGP pseudowires ---

    // The service instance ids of this and of the other end: 24 bits, 0 for none (RFC 8214).
    std::uint32_t localVpwsId() const { return localVpwsId_; }
    void localVpwsIdIs(std::uint32_t localVpwsId) { localVpwsId_ = localVpwsId; }
    std::uint32_t remoteVpwsId() const { return remoteVpwsId_; }
    void remoteVpwsIdIs(std::uint32_t remoteVpwsId) { remoteVpwsId_ = remoteVpwsId; }

    // --- Both kinds of pseudowires: what is announced to the peer ---

    PseudowireType pseudowireType() const { return pseudowireType_; }
    void pseudowireTypeIs(PseudowireType pseudowireType) { pseudowireType_ = pseudowireType; }
    // In bytes; 0 when none is configured.
    std::uint32_t mtu() const { return mtu_; }
    void mtuIs(std::uint32_t mtu) { mtu_ = mtu; }
    // RFC 4385.
    bool controlWord() const { return controlWord_; }
    void controlWordIs(bool controlWord) { controlWord_ = controlWord; }
    FlowLabelType flowLabelType() const { return flowLabelType_; }
    void flowLabelTypeIs(FlowLabelType flowLabelType) { flowLabelType_ = flowLabelType; }
    // Whether fragments are put together again (RFC 4623).
    bool reassembly() const { return reassembly_; }
    void reassemblyIs(bool reassembly) { reassembly_ = reassembly; }
    // The VLAN id that the peer is asked to send tagged frames with (RFC 4448).
    Bridging::VlanIdOrNone requestedDot1qTag() const { return requestedDot1qTag_; }
    void requestedDot1qTagIs(Bridging::VlanIdOrNone tag) { requestedDot1qTag_ = tag; }
    // Free text about the circuit. LDP signals up to 80 bytes of it (RFC 8077).
    const Zin::String& intfDescription() const { return intfDescription_; }
    void intfDescriptionIs(Zin::String description) {
        intfDescription_ = std::move(description);
    }
    VccvCcTypes vccvCcTypes() const { return vccvCcTypes_; }
    void vccvCcTypesIs(VccvCcTypes vccvCcTypes) { vccvCcTypes_ = vccvCcTypes; }
    VccvCvTypes vccvCvTypes() const { return vccvCvTypes_; }
    void vccvCvTypesIs(VccvCvTypes vccvCvTypes) { vccvCvTypes_ = vccvCvTypes; }

    // --- How traffic is forwarded here ---

    // The colour of the tunnels that the pseudowire prefers (RFC 9012, section 4.3).
    Quib::TristateU32 color() const { return color_; }
    void colorIs(Quib::TristateU32 color) { color_ = color; }
    const Zin::String& qosMapName() const { return qosMapName_; }
    void qosMapNameIs(Zin::String qosMapName) { qosMapName_ = std::move(qosMapName); }

  private:
    ConnectorKey key_;
    Bridging::Dot1qEncap dot1qEncap_;
    PseudowireLdpKey ldpKey_;
    std::uint32_t groupId_ = 0;
    bool pwStatusTlv_ = true;
    std::uint32_t localVpwsId_ = 0;
    std::uint32_t remoteVpwsId_ = 0;
    PseudowireType pseudowireType_ = PseudowireType::unset;
    std::uint32_t mtu_ = 0;
    bool controlWord_ = false;
    FlowLabelType flowLabelType_;
    bool reassembly_ = false;
    Bridging::VlanIdOrNone requestedDot1qTag_;
    Zin::String intfDescription_;
    VccvCcTypes vccvCcTypes_;
    VccvCvTypes vccvCvTypes_;
    Quib::TristateU32 color_;
    Zin::String qosMapName_ = QosMap::defaultMapName;
};

}  // namespace Pseudowire
