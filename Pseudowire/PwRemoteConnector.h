// What signalling learnt of each pseudowire: its state, the labels, what the peers announced.
// PseudowireAttributeStatusColl holds it by user, PseudowireAttributeStatus by peer.

#pragma once

#include <cstdint>
#include <utility>

#include "Bridging/VlanId.h"
#include "Pseudowire/FlowLabelType.h"
#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireId.h"
#include "Pseudowire/PseudowireLdpStatusFlags.h"
#include "Pseudowire/PseudowireType.h"
#include "Pseudowire/PwPseudowireUserKey.h"
#include "Pseudowire/Vccv.h"
#include "Quib/DumpContext.h"
#include "Quib/Tristate.h"
#include "Tunnel/TunnelTable/TunnelId.h"
#include "Vorn/IpGenAddr.h"
#include "Vorn/MplsLabel.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "Zin/Strep.h"
#include "Zin/Value.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PwRemoteConnector_ed40835_zinModule;

namespace Pseudowire {

// What one peer announced for a pseudowire.
class PseudowirePeerAttributeStatus : public Zin::Value<PseudowirePeerAttributeStatus> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        using Self = PseudowirePeerAttributeStatus;
        return describe::value(
            "Pseudowire::PseudowirePeerAttributeStatus",
            describe::field<&Self::peerLabel_>("peerLabel"),
            describe::field<&Self::tunnelId_>("tunnelId"),
            describe::field<&Self::color_>("color"),
            describe::field<&Self::mtu_>("mtu"),
            describe::field<&Self::encapControlWord_>("encapControlWord"),
            describe::function<&Self::toStrep>("toStrep"));
    }

    PseudowirePeerAttributeStatus() = default;
    PseudowirePeerAttributeStatus(
        Vorn::MplsLabel peerLabel,
        Tunnel::TunnelTable::TunnelId tunnelId,
        Quib::TristateU32 color,
        std::uint32_t mtu,
        bool encapControlWord)
        : peerLabel_(peerLabel),
          tunnelId_(tunnelId),
          color_(color),
          mtu_(mtu),
          encapControlWord_(encapControlWord) {}
    explicit PseudowirePeerAttributeStatus(Zin::NboAttrLog::In& in)
        : PseudowirePeerAttributeStatus(in.next<PseudowirePeerAttributeStatus>()) {}
    PseudowirePeerAttributeStatus(
        Zin::String::IteratorConst& it,
        const Zin::String::IteratorConst& end)
        : PseudowirePeerAttributeStatus(Zin::parsed<PseudowirePeerAttributeStatus>(it, end)) {}

    // The label that the peer asked for; noLabel until it did.
    Vorn::MplsLabel peerLabel() const { return peerLabel_; }
    void peerLabelIs(Vorn::MplsLabel peerLabel) { peerLabel_ = peerLabel; }
    // What carries frames to the peer.
    Tunnel::TunnelTable::TunnelId tunnelId() const { return tunnelId_; }
    void tunnelIdIs(Tunnel::TunnelTable::TunnelId tunnelId) { tunnelId_ = tunnelId; }
    Quib::TristateU32 color() const { return color_; }
    void colorIs(Quib::TristateU32 color) { color_ = color; }
    // In bytes, as announced; 0 when the peer announced none.
    std::uint32_t mtu() const { return mtu_; }
    void mtuIs(std::uint32_t mtu) { mtu_ = mtu; }
    // Whether frames to the peer carry a control word (RFC 4385).
    bool encapControlWord() const { return encapControlWord_; }
    void encapControlWordIs(bool encapControlWord) { encapControlWord_ = encapControlWord; }

    // "<peerLabel=16;tunnelId=ldp.7;mtu=1500;encapControlWord=yes>".
    ZIN_EXPORT Zin::String toStrep() const;

  private:
    Vorn::MplsLabel peerLabel_;
    Tunnel::TunnelTable::TunnelId tunnelId_;
    Quib::TristateU32 color_;
    std::uint32_t mtu_ = 0;
    bool encapControlWord_ = false;
};

// What is known of one pseudowire.
class PseudowireAttributeStatus : public Zin::Value<PseudowireAttributeStatus> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    struct ZinPeerInfo : Zin::HashMap2018NodeExternKey<
                             false,
                             0x851b63fb,
                             Vorn::IpGenAddr,
                             PseudowirePeerAttributeStatus,
                             false> {};
    using PeerInfoMap =
        Zin::HashMap2018<ZinPeerInfo, Vorn::IpGenAddr, PseudowirePeerAttributeStatus>;

    static consteval auto schema() {
        using Self = PseudowireAttributeStatus;
        return describe::value(
            "Pseudowire::PseudowireAttributeStatus",
            describe::field<&Self::status_>("status"),
            describe::field<&Self::localLabel_>("localLabel"),
            describe::field<&Self::remotePwType_>("remotePwType"),
            describe::field<&Self::decapControlWord_>("decapControlWord"),
            describe::field<&Self::peerInfo_>("peerInfo"),
            describe::field<&Self::flowLabelType_>("flowLabelType"),
            describe::field<&Self::intfDescription_>("intfDescription"),
            describe::field<&Self::localVccvCcTypes_>("localVccvCcTypes"),
            describe::field<&Self::localVccvCvTypes_>("localVccvCvTypes"),
            describe::field<&Self::peerVccvCcTypes_>("peerVccvCcTypes"),
            describe::field<&Self::peerVccvCvTypes_>("peerVccvCvTypes"),
            describe::field<&Self::reassemblySupported_>("reassemblySupported"),
            describe::field<&Self::requestedDot1qTag_>("requestedDot1qTag"),
            describe::field<&Self::pwStatusFlags_>("pwStatusFlags"),
            describe::field<&Self::pwId_>("pwId"),
            describe::function<&Self::changedForAdjProgramming>("changedForAdjProgramming"),
            describe::function<&Self::dumpState>("dumpState"));
    }

    PseudowireAttributeStatus() = default;
    PseudowireAttributeStatus(
        PseudowireConnectorStatus status,
        Vorn::MplsLabel localLabel,
        PseudowireType remotePwType,
        bool decapControlWord,
        FlowLabelType flowLabelType,
        Zin::String intfDescription,
        VccvCcTypes localVccvCcTypes,
        VccvCvTypes localVccvCvTypes,
        VccvCcTypes peerVccvCcTypes,
        VccvCvTypes peerVccvCvTypes,
        bool reassemblySupported,
        Bridging::VlanIdOrNone requestedDot1qTag,
        PseudowireLdpStatusFlags pwStatusFlags,
        PseudowireId pwId)
        : status_(status),
          localLabel_(localLabel),
          remotePwType_(remotePwType),
          decapControlWord_(decapControlWord),
          flowLabelType_(flowLabelType),
          intfDescription_(std::move(intfDescription)),
          localVccvCcTypes_(localVccvCcTypes),
          localVccvCvTypes_(localVccvCvTypes),
          peerVccvCcTypes_(peerVccvCcTypes),
          peerVccvCvTypes_(peerVccvCvTypes),
          reassemblySupported_(reassemblySupported),
          requestedDot1qTag_(requestedDot1qTag),
          pwStatusFlags_(pwStatusFlags),
          pwId_(pwId) {}
    explicit PseudowireAttributeStatus(Zin::NboAttrLog::In& in)
        : PseudowireAttributeStatus(in.next<PseudowireAttributeStatus>()) {}
    // Fatal assertion: the text does not hold the peers.
    PseudowireAttributeStatus(
        Zin::String::IteratorConst& it,
        const Zin::String::IteratorConst& end)
        : PseudowireAttributeStatus(Zin::parsed<PseudowireAttributeStatus>(it, end)) {}

    // Up, or why it is down.
    PseudowireConnectorStatus status() const { return status_; }
    void statusIs(PseudowireConnectorStatus status) { status_ = status; }
    // The label that peers are asked to send with.
    Vorn::MplsLabel localLabel() const { return localLabel_; }
    void localLabelIs(Vorn::MplsLabel localLabel) { localLabel_ = localLabel; }

    // --- What the other end announced ---
    PseudowireType remotePwType() const { return remotePwType_; }
    void remotePwTypeIs(PseudowireType remotePwType) { remotePwType_ = remotePwType; }
    // Whether frames come with a control word (RFC 4385).
    bool decapControlWord() const { return decapControlWord_; }
    void decapControlWordIs(bool decapControlWord) { decapControlWord_ = decapControlWord; }
    // By the address of the peer. A status with a peer under no address (the default one)
    // cannot be sent: Zin::ValueCollectionDefaultKeyException.
    const PeerInfoMap& peerInfo() const { return peerInfo_; }
    // A default value when there is no such peer.
    ZIN_EXPORT PseudowirePeerAttributeStatus peerInfo(const Vorn::IpGenAddr& peer) const;
    void peerInfoIs(const Vorn::IpGenAddr& peer, const PseudowirePeerAttributeStatus& info) & {
        peerInfo_.put(peer, info);
    }
    void peerInfoDel(const Vorn::IpGenAddr& peer) & { peerInfo_.erase(peer); }
    void peerInfoDelAll() & { peerInfo_.clear(); }
    // RFC 6391.
    FlowLabelType flowLabelType() const { return flowLabelType_; }
    void flowLabelTypeIs(FlowLabelType flowLabelType) { flowLabelType_ = flowLabelType; }
    const Zin::String& intfDescription() const { return intfDescription_; }
    void intfDescriptionIs(Zin::String description) {
        intfDescription_ = std::move(description);
    }
    // RFC 5085, of this end and of the other one.
    VccvCcTypes localVccvCcTypes() const { return localVccvCcTypes_; }
    void localVccvCcTypesIs(VccvCcTypes types) { localVccvCcTypes_ = types; }
    VccvCvTypes localVccvCvTypes() const { return localVccvCvTypes_; }
    void localVccvCvTypesIs(VccvCvTypes types) { localVccvCvTypes_ = types; }
    VccvCcTypes peerVccvCcTypes() const { return peerVccvCcTypes_; }
    void peerVccvCcTypesIs(VccvCcTypes types) { peerVccvCcTypes_ = types; }
    VccvCvTypes peerVccvCvTypes() const { return peerVccvCvTypes_; }
    void peerVccvCvTypesIs(VccvCvTypes types) { peerVccvCvTypes_ = types; }
    // RFC 4623.
    bool reassemblySupported() const { return reassemblySupported_; }
    void reassemblySupportedIs(bool supported) { reassemblySupported_ = supported; }
    // The tag that the peer wants frames with (RFC 4448).
    Bridging::VlanIdOrNone requestedDot1qTag() const { return requestedDot1qTag_; }
    void requestedDot1qTagIs(Bridging::VlanIdOrNone tag) { requestedDot1qTag_ = tag; }
    PseudowireLdpStatusFlags pwStatusFlags() const { return pwStatusFlags_; }
    void pwStatusFlagsIs(PseudowireLdpStatusFlags flags) { pwStatusFlags_ = flags; }
    PseudowireId pwId() const { return pwId_; }
    void pwIdIs(PseudowireId pwId) { pwId_ = pwId; }

    // Whether forwarding towards the pseudowire must be programmed anew where `other` was
    // programmed before: another local label, flow labels sent or no longer sent (RFC 6391),
    // another number of peers, or a peer here with another tunnel, label or control word than
    // there. A peer that is unknown there is compared with a default one; what peers there are
    // that are unknown here is not looked at, so the answer is not the same both ways. Linear
    // in the number of peers.
    ZIN_EXPORT bool changedForAdjProgramming(const PseudowireAttributeStatus& other) const;

    ZIN_EXPORT void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

  private:
    PseudowireConnectorStatus status_{};
    Vorn::MplsLabel localLabel_;
    PseudowireType remotePwType_{};
    bool decapControlWord_ = false;
    PeerInfoMap peerInfo_;
    FlowLabelType flowLabelType_;
    Zin::String intfDescription_;
    VccvCcTypes localVccvCcTypes_;
    VccvCvTypes localVccvCvTypes_;
    VccvCcTypes peerVccvCcTypes_;
    VccvCvTypes peerVccvCvTypes_;
    bool reassemblySupported_ = false;
    Bridging::VlanIdOrNone requestedDot1qTag_;
    PseudowireLdpStatusFlags pwStatusFlags_;
    PseudowireId pwId_ = 0;
};

class ZIN_EXPORT PseudowireAttributeStatusColl final
    : public frame::EntityOf<PseudowireAttributeStatusColl> {
  public:
    struct ZinConnectorStatus : Zin::HashMap2018NodeExternKey<
                                    false,
                                    0x9550ef99,
                                    PseudowireUserKey,
                                    PseudowireAttributeStatus,
                                    false> {};
    using ConnectorStatusMap =
        Zin::HashMap2018<ZinConnectorStatus, PseudowireUserKey, PseudowireAttributeStatus>;

    struct Notifiee : frame::NotifieeOf<PseudowireAttributeStatusColl> {
        using NotifieeOf::NotifieeOf;
        virtual void onConnectorStatus(const PseudowireUserKey& /*user*/) {}
    };

    static consteval auto schema() {
        using Coll = PseudowireAttributeStatusColl;
        return frame::entity<_PwRemoteConnector_ed40835_zinModule, 2>(
            "Pseudowire::PseudowireAttributeStatusColl",
            frame::attribute<258, &Coll::connectorStatus_, &Notifiee::onConnectorStatus>(
                "connectorStatus"),
            frame::function<259, &Coll::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<PseudowireAttributeStatusColl> PseudowireAttributeStatusCollIs(
        const Zin::String& name);

    // By the user of the pseudowire.
    const ConnectorStatusMap& connectorStatus() const { return connectorStatus_; }
    // A default value when the user is unknown.
    PseudowireAttributeStatus connectorStatus(const PseudowireUserKey& user) const {
        return memberOf<&PseudowireAttributeStatusColl::connectorStatus_>(user);
    }
    void connectorStatusIs(
        const PseudowireUserKey& user,
        const PseudowireAttributeStatus& status) {
        memberIs<&PseudowireAttributeStatusColl::connectorStatus_>(user, status);
    }
    // What was removed, or a default value.
    PseudowireAttributeStatus connectorStatusDel(const PseudowireUserKey& user) {
        return memberDel<&PseudowireAttributeStatusColl::connectorStatus_>(user);
    }
    void connectorStatusDelAll() {
        membersDelAll<&PseudowireAttributeStatusColl::connectorStatus_>();
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    PseudowireAttributeStatusColl(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    ConnectorStatusMap connectorStatus_;
};

ZIN_EXPORT Zin::Ptr<PseudowireAttributeStatusColl> pseudowireAttributeStatusCollFactory(
    const Zin::String& name);

}  // namespace Pseudowire
