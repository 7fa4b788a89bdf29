// The values by which forwarding status says how frames enter pseudowires: the circuits on this
// side (LocalConnectorInfo), the encapsulation towards a pseudowire (EncapAdjacency), groups of
// pseudowires that frames are spread over (PwEncapAdjGroup), and how the tags of one circuit
// become those of another (EncapMapAndRewrite).

#pragma once

#include <cstdint>
#include <utility>

#include "Bridging/Dot1qEncap.h"
#include "Bridging/VlanId.h"
#include "Dwil/IntfEncap.h"
#include "Pseudowire/Dot1qTagOperation.h"
#include "Pseudowire/PseudowireType.h"
#include "Tunnel/TunnelTable/TunnelId.h"
#include "Vorn/IntfId.h"
#include "Vorn/MplsLabel.h"
#include "Zin/Export.h"
#include "Zin/HSet.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/Strep.h"
#include "Zin/String.h"
#include "Zin/Value.h"

namespace Pseudowire {

// An attachment circuit (RFC 3985) on this switch.
class LocalConnectorInfo : public Zin::Value<LocalConnectorInfo> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::LocalConnectorInfo",
            describe::field<&LocalConnectorInfo::parentIntfId_>("parentIntfId"),
            describe::field<&LocalConnectorInfo::dot1qTag_>("dot1qTag"),
            describe::field<&LocalConnectorInfo::dot1qTagInner_>("dot1qTagInner"),
            describe::field<&LocalConnectorInfo::intVlanId_>("intVlanId"));
    }

    LocalConnectorInfo() = default;
    LocalConnectorInfo(
        Vorn::IntfId parentIntfId,
        Bridging::VlanIdOrAny dot1qTag,
        Bridging::VlanIdOrAnyOrNone dot1qTagInner,
        Bridging::VlanIdOrAnyOrNone intVlanId)
        : parentIntfId_(parentIntfId),
          dot1qTag_(dot1qTag),
          dot1qTagInner_(dot1qTagInner),
          intVlanId_(intVlanId) {}
    explicit LocalConnectorInfo(Zin::NboAttrLog::In& in)
        : LocalConnectorInfo(in.next<LocalConnectorInfo>()) {}
    LocalConnectorInfo(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : LocalConnectorInfo(Zin::parsed<LocalConnectorInfo>(it, end)) {}

    // The port, port channel or subinterface of the circuit.
    Vorn::IntfId parentIntfId() const { return parentIntfId_; }
    void parentIntfIdIs(Vorn::IntfId parentIntfId) { parentIntfId_ = parentIntfId; }
    // The tags of the frames that belong to the circuit.
    Bridging::VlanIdOrAny dot1qTag() const { return dot1qTag_; }
    void dot1qTagIs(Bridging::VlanIdOrAny dot1qTag) { dot1qTag_ = dot1qTag; }
    Bridging::VlanIdOrAnyOrNone dot1qTagInner() const { return dot1qTagInner_; }
    void dot1qTagInnerIs(Bridging::VlanIdOrAnyOrNone tag) { dot1qTagInner_ = tag; }
    // The VLAN by which the switch tells the circuit from others inside.
    Bridging::VlanIdOrAnyOrNone intVlanId() const { return intVlanId_; }
    void intVlanIdIs(Bridging::VlanIdOrAnyOrNone intVlanId) { intVlanId_ = intVlanId; }

    // The port or the port channel itself. Fatal assertion for a circuit that is on neither.
    ZIN_EXPORT Vorn::IntfId localPortIntfId() const;

  private:
    Vorn::IntfId parentIntfId_;
    Bridging::VlanIdOrAny dot1qTag_;
    Bridging::VlanIdOrAnyOrNone dot1qTagInner_;
    Bridging::VlanIdOrAnyOrNone intVlanId_;
};

// What is put in front of a frame of a local circuit: towards its pseudowire, or, for a patch
// of two local circuits, towards the other one.
class EncapAdjacency : public Zin::Value<EncapAdjacency> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::EncapAdjacency",
            describe::field<&EncapAdjacency::patchName_>("patchName"),
            describe::field<&EncapAdjacency::encapPwLabel_>("encapPwLabel"),
            describe::field<&EncapAdjacency::dot1qTagOp_>("dot1qTagOp"),
            describe::field<&EncapAdjacency::pseudowireType_>("pseudowireType"),
            describe::field<&EncapAdjacency::dot1qTag_>("dot1qTag"),
            describe::field<&EncapAdjacency::dot1qTagInner_>("dot1qTagInner"),
            describe::field<&EncapAdjacency::controlWord_>("controlWord"),
            describe::field<&EncapAdjacency::flowLabel_>("flowLabel"),
            describe::field<&EncapAdjacency::tunnelId_>("tunnelId"),
            describe::field<&EncapAdjacency::entropyLabel_>("entropyLabel"),
            describe::field<&EncapAdjacency::destIntfId_>("destIntfId"),
            describe::field<&EncapAdjacency::isLocalAdj_>("isLocalAdj"));
    }

    EncapAdjacency() = default;
    explicit EncapAdjacency(Zin::String patchName) : patchName_(std::move(patchName)) {}
    EncapAdjacency(
        Zin::String patchName,
        Vorn::MplsLabel encapPwLabel,
        Dot1qTagOperation dot1qTagOp,
        PseudowireType pseudowireType,
        Bridging::VlanIdOrNone dot1qTag,
        Bridging::VlanIdOrNone dot1qTagInner,
        bool controlWord,
        bool flowLabel,
        Tunnel::TunnelTable::TunnelId tunnelId,
        bool entropyLabel,
        Vorn::IntfId destIntfId,
        bool isLocalAdj)
        : patchName_(std::move(patchName)),
          encapPwLabel_(encapPwLabel),
          dot1qTagOp_(dot1qTagOp),
          pseudowireType_(pseudowireType),
          dot1qTag_(dot1qTag),
          dot1qTagInner_(dot1qTagInner),
          controlWord_(controlWord),
          flowLabel_(flowLabel),
          tunnelId_(tunnelId),
          entropyLabel_(entropyLabel),
          destIntfId_(destIntfId),
          isLocalAdj_(isLocalAdj) {}
    explicit EncapAdjacency(Zin::NboAttrLog::In& in)
        : EncapAdjacency(in.next<EncapAdjacency>()) {}
    EncapAdjacency(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : EncapAdjacency(Zin::parsed<EncapAdjacency>(it, end)) {}

    const Zin::String& patchName() const { return patchName_; }
    void patchNameIs(Zin::String patchName) { patchName_ = std::move(patchName); }
    // The label that the peer of the pseudowire asked for; noLabel until it did.
    Vorn::MplsLabel encapPwLabel() const { return encapPwLabel_; }
    void encapPwLabelIs(Vorn::MplsLabel encapPwLabel) { encapPwLabel_ = encapPwLabel; }
    // What happens to the frame's own tags, and the tags that it gets.
    Dot1qTagOperation dot1qTagOp() const { return dot1qTagOp_; }
    void dot1qTagOpIs(Dot1qTagOperation dot1qTagOp) { dot1qTagOp_ = dot1qTagOp; }
    PseudowireType pseudowireType() const { return pseudowireType_; }
    void pseudowireTypeIs(PseudowireType pseudowireType) { pseudowireType_ = pseudowireType; }
    Bridging::VlanIdOrNone dot1qTag() const { return dot1qTag_; }
    void dot1qTagIs(Bridging::VlanIdOrNone dot1qTag) { dot1qTag_ = dot1qTag; }
    Bridging::VlanIdOrNone dot1qTagInner() const { return dot1qTagInner_; }
    void dot1qTagInnerIs(Bridging::VlanIdOrNone tag) { dot1qTagInner_ = tag; }
    // RFC 4385.
    bool controlWord() const { return controlWord_; }
    void controlWordIs(bool controlWord) { controlWord_ = controlWord; }
    // RFC 6391.
    bool flowLabel() const { return flowLabel_; }
    void flowLabelIs(bool flowLabel) { flowLabel_ = flowLabel; }
    Tunnel::TunnelTable::TunnelId tunnelId() const { return tunnelId_; }
    void tunnelIdIs(Tunnel::TunnelTable::TunnelId tunnelId) { tunnelId_ = tunnelId; }
    // RFC 6790.
    bool entropyLabel() const { return entropyLabel_; }
    void entropyLabelIs(bool entropyLabel) { entropyLabel_ = entropyLabel; }
    // The other circuit of a patch of two local ones.
    Vorn::IntfId destIntfId() const { return destIntfId_; }
    void destIntfIdIs(Vorn::IntfId destIntfId) { destIntfId_ = destIntfId; }
    bool isLocalAdj() const { return isLocalAdj_; }
    void isLocalAdjIs(bool isLocalAdj) { isLocalAdj_ = isLocalAdj; }

  private:
    Zin::String patchName_;
    Vorn::MplsLabel encapPwLabel_;
    Dot1qTagOperation dot1qTagOp_{};
    PseudowireType pseudowireType_{};
    Bridging::VlanIdOrNone dot1qTag_;
    Bridging::VlanIdOrNone dot1qTagInner_;
    bool controlWord_ = false;
    bool flowLabel_ = false;
    Tunnel::TunnelTable::TunnelId tunnelId_;
    bool entropyLabel_ = false;
    Vorn::IntfId destIntfId_;
    bool isLocalAdj_ = false;
};

// One pseudowire of a group that frames are spread over.
class PwEncapAdjacency : public Zin::Value<PwEncapAdjacency> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PwEncapAdjacency",
            describe::field<&PwEncapAdjacency::tunnelId_>("tunnelId"),
            describe::field<&PwEncapAdjacency::peerLabel_>("peerLabel"),
            describe::field<&PwEncapAdjacency::flowLabel_>("flowLabel"),
            describe::field<&PwEncapAdjacency::controlWord_>("controlWord"));
    }

    PwEncapAdjacency() = default;
    PwEncapAdjacency(
        Tunnel::TunnelTable::TunnelId tunnelId,
        Vorn::MplsLabel peerLabel,
        bool flowLabel,
        bool controlWord)
        : tunnelId_(tunnelId),
          peerLabel_(peerLabel),
          flowLabel_(flowLabel),
          controlWord_(controlWord) {}
    explicit PwEncapAdjacency(Zin::NboAttrLog::In& in)
        : PwEncapAdjacency(in.next<PwEncapAdjacency>()) {}
    PwEncapAdjacency(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : PwEncapAdjacency(Zin::parsed<PwEncapAdjacency>(it, end)) {}

    Tunnel::TunnelTable::TunnelId tunnelId() const { return tunnelId_; }
    void tunnelIdIs(Tunnel::TunnelTable::TunnelId tunnelId) { tunnelId_ = tunnelId; }
    Vorn::MplsLabel peerLabel() const { return peerLabel_; }
    void peerLabelIs(Vorn::MplsLabel peerLabel) { peerLabel_ = peerLabel; }
    bool flowLabel() const { return flowLabel_; }
    void flowLabelIs(bool flowLabel) { flowLabel_ = flowLabel; }
    bool controlWord() const { return controlWord_; }
    void controlWordIs(bool controlWord) { controlWord_ = controlWord; }

  private:
    Tunnel::TunnelTable::TunnelId tunnelId_;
    Vorn::MplsLabel peerLabel_;
    bool flowLabel_ = false;
    bool controlWord_ = false;
};

class PwAdjGroupId : public Zin::Value<PwAdjGroupId> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PwAdjGroupId",
            describe::field<&PwAdjGroupId::value_>("value"));
    }

    constexpr PwAdjGroupId() = default;
    constexpr explicit PwAdjGroupId(std::uint32_t value) : value_(value) {}
    explicit PwAdjGroupId(Zin::NboAttrLog::In& in) : PwAdjGroupId(in.next<PwAdjGroupId>()) {}
    PwAdjGroupId(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : PwAdjGroupId(Zin::parsed<PwAdjGroupId>(it, end)) {}

    constexpr std::uint32_t value() const { return value_; }
    constexpr void valueIs(std::uint32_t value) { value_ = value; }

  private:
    std::uint32_t value_ = 0;
};

// The pseudowires that share the frames of a circuit, under the group's id.
class PwEncapAdjGroup : public Zin::Value<PwEncapAdjGroup> {
  public:
    using ZinPwAdjSet = Zin::HSet<PwEncapAdjacency, 0x29d2537d>;
    static constexpr bool ordered = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PwEncapAdjGroup",
            describe::field<&PwEncapAdjGroup::pwAdjGroupId_>("pwAdjGroupId"),
            describe::field<&PwEncapAdjGroup::pwAdjSet_>("pwAdjSet"));
    }

    PwEncapAdjGroup() = default;
    explicit PwEncapAdjGroup(PwAdjGroupId pwAdjGroupId) : pwAdjGroupId_(pwAdjGroupId) {}
    explicit PwEncapAdjGroup(Zin::NboAttrLog::In& in)
        : PwEncapAdjGroup(in.next<PwEncapAdjGroup>()) {}
    // Fatal assertion: the text does not hold the set.
    PwEncapAdjGroup(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : PwEncapAdjGroup(Zin::parsed<PwEncapAdjGroup>(it, end)) {}

    const PwAdjGroupId& pwAdjGroupId() const { return pwAdjGroupId_; }
    void pwAdjGroupIdIs(PwAdjGroupId pwAdjGroupId) { pwAdjGroupId_ = pwAdjGroupId; }
    const ZinPwAdjSet& pwAdjSet() const { return pwAdjSet_; }
    void pwAdjSetIs(const PwEncapAdjacency& adjacency) { pwAdjSet_.put(adjacency); }
    void pwAdjSetDel(const PwEncapAdjacency& adjacency) { pwAdjSet_.erase(adjacency); }
    void pwAdjSetDelAll() { pwAdjSet_.clear(); }

  private:
    PwAdjGroupId pwAdjGroupId_;
    ZinPwAdjSet pwAdjSet_;
};

// How the tags of one circuit become those of another, and which priority bits (IEEE 802.1Q
// PCP) the frame keeps on the way.
class EncapMapAndRewrite : public Zin::Value<EncapMapAndRewrite> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::EncapMapAndRewrite",
            describe::field<&EncapMapAndRewrite::sourceIntfEncap_>("sourceIntfEncap"),
            describe::field<&EncapMapAndRewrite::destIntfEncap_>("destIntfEncap"),
            describe::field<&EncapMapAndRewrite::retainOuterCos_>("retainOuterCos"),
            describe::field<&EncapMapAndRewrite::retainInnerCos_>("retainInnerCos"));
    }

    EncapMapAndRewrite() = default;
    EncapMapAndRewrite(
        Dwil::IntfEncap sourceIntfEncap,
        Dwil::IntfEncap destIntfEncap,
        bool retainOuterCos,
        bool retainInnerCos)
        : sourceIntfEncap_(sourceIntfEncap),
          destIntfEncap_(destIntfEncap),
          retainOuterCos_(retainOuterCos),
          retainInnerCos_(retainInnerCos) {}
    explicit EncapMapAndRewrite(Zin::NboAttrLog::In& in)
        : EncapMapAndRewrite(in.next<EncapMapAndRewrite>()) {}
    EncapMapAndRewrite(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : EncapMapAndRewrite(Zin::parsed<EncapMapAndRewrite>(it, end)) {}

    const Dwil::IntfEncap& sourceIntfEncap() const { return sourceIntfEncap_; }
    void sourceIntfEncapIs(Dwil::IntfEncap encap) { sourceIntfEncap_ = encap; }
    const Dwil::IntfEncap& destIntfEncap() const { return destIntfEncap_; }
    void destIntfEncapIs(Dwil::IntfEncap encap) { destIntfEncap_ = encap; }
    bool retainOuterCos() const { return retainOuterCos_; }
    void retainOuterCosIs(bool retain) { retainOuterCos_ = retain; }
    bool retainInnerCos() const { return retainInnerCos_; }
    void retainInnerCosIs(bool retain) { retainInnerCos_ = retain; }

  private:
    Dwil::IntfEncap sourceIntfEncap_;
    Dwil::IntfEncap destIntfEncap_;
    bool retainOuterCos_ = false;
    bool retainInnerCos_ = false;
};

// Which local interfaces lead to the interface of a pseudowire.
class ViaInfo : public Zin::Value<ViaInfo> {
  public:
    using ZinLocalIntfId = Zin::HSet<Vorn::IntfId, 0xb80cba85>;
    static constexpr bool ordered = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::ViaInfo",
            describe::field<&ViaInfo::pwIntfId_>("pwIntfId"),
            describe::field<&ViaInfo::patchName_>("patchName"),
            describe::field<&ViaInfo::localIntfId_>("localIntfId"));
    }

    ViaInfo() = default;
    explicit ViaInfo(Vorn::IntfId pwIntfId) : pwIntfId_(pwIntfId) {}
    explicit ViaInfo(Zin::NboAttrLog::In& in) : ViaInfo(in.next<ViaInfo>()) {}
    // Fatal assertion: the text does not hold the set.
    ViaInfo(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : ViaInfo(Zin::parsed<ViaInfo>(it, end)) {}

    const Vorn::IntfId& pwIntfId() const { return pwIntfId_; }
    void pwIntfIdIs(Vorn::IntfId pwIntfId) { pwIntfId_ = pwIntfId; }
    const Zin::String& patchName() const { return patchName_; }
    void patchNameIs(Zin::String patchName) { patchName_ = std::move(patchName); }
    const ZinLocalIntfId& localIntfId() const { return localIntfId_; }
    void localIntfIdIs(Vorn::IntfId intfId) { localIntfId_.put(intfId); }
    void localIntfIdDel(Vorn::IntfId intfId) { localIntfId_.erase(intfId); }
    void localIntfIdDelAll() { localIntfId_.clear(); }

  private:
    Vorn::IntfId pwIntfId_;
    Zin::String patchName_;
    ZinLocalIntfId localIntfId_;
};

// A port together with the tags of a circuit on it.
class IntfIdDot1qEncap : public Zin::Value<IntfIdDot1qEncap> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::IntfIdDot1qEncap",
            describe::field<&IntfIdDot1qEncap::intfId_>("intfId"),
            describe::field<&IntfIdDot1qEncap::dot1qEncap_>("dot1qEncap"));
    }

    IntfIdDot1qEncap() = default;
    IntfIdDot1qEncap(Vorn::IntfId intfId, Bridging::Dot1qEncap dot1qEncap)
        : intfId_(intfId), dot1qEncap_(dot1qEncap) {}
    explicit IntfIdDot1qEncap(Zin::NboAttrLog::In& in)
        : IntfIdDot1qEncap(in.next<IntfIdDot1qEncap>()) {}
    IntfIdDot1qEncap(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : IntfIdDot1qEncap(Zin::parsed<IntfIdDot1qEncap>(it, end)) {}

    Vorn::IntfId intfId() const { return intfId_; }
    void intfIdIs(Vorn::IntfId intfId) { intfId_ = intfId; }
    const Bridging::Dot1qEncap& dot1qEncap() const { return dot1qEncap_; }
    void dot1qEncapIs(Bridging::Dot1qEncap dot1qEncap) { dot1qEncap_ = dot1qEncap; }

  private:
    Vorn::IntfId intfId_;
    Bridging::Dot1qEncap dot1qEncap_;
};

}  // namespace Pseudowire
