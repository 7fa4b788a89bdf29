// Status is the forwarding state of all patches: the circuits on this switch, what is put in
// front of their frames, how tags are rewritten between circuits, and which pseudowires share
// frames. Agents compute it from configuration and signalling; the forwarding plane is
// programmed from it.

#pragma once

#include "Dwil/IntfEncap.h"
#include "Pseudowire/Dot1qConnectorKeyMap.h"
#include "Pseudowire/PatchAcSet.h"
#include "Pseudowire/PseudowireStatusModule.h"
#include "Pseudowire/PwEncap.h"
#include "Pseudowire/QosMap.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/RbTreeMap.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Pseudowire {

class ZIN_EXPORT Status final : public frame::EntityOf<Status> {
  public:
    struct AcToDestIntfEncapKeyFunktor {
        const Dwil::IntfEncap& operator()(const EncapMapAndRewrite& map) const {
            return map.sourceIntfEncap();
        }
    };
    using PwToAcIntfEncapKeyFunktor = AcToDestIntfEncapKeyFunktor;
    struct PatchToAcSetKeyFunktor {
        const Zin::String& operator()(const PatchAcSet& set) const { return set.patchName(); }
    };
    struct AdjGroupKeyFunktor {
        const PwAdjGroupId& operator()(const PwEncapAdjGroup& group) const {
            return group.pwAdjGroupId();
        }
    };
    struct ViaInfoKeyFunktor {
        const Vorn::IntfId& operator()(const ViaInfo& via) const { return via.pwIntfId(); }
    };

    template <std::uint32_t seed, class K, class V>
    using ByKey = Zin::HashMap2018NodeExternKey<false, seed, K, V, false>;
    template <std::uint32_t seed, class K, class V, class KeyFunktor>
    using ByField = Zin::HashMap2018NodeInternalKey<false, seed, K, V, KeyFunktor, false>;

    struct ZinLocalConnectorInfo : ByKey<0xd7f6e786, Vorn::IntfId, LocalConnectorInfo> {};
    struct ZinEncapAdjacency : ByKey<0x68ea123e, Vorn::IntfId, EncapAdjacency> {};
    struct ZinAcToDestIntfEncap : ByField<
                                      0x0e852599,
                                      Dwil::IntfEncap,
                                      EncapMapAndRewrite,
                                      AcToDestIntfEncapKeyFunktor> {};
    struct ZinPatchToAcSet
        : Zin::RbTreeMapNodeEntity<Zin::String, PatchAcSet, PatchToAcSetKeyFunktor> {};
    struct ZinPwToAcIntfEncap
        : ByField<0xeeb4ae3d, Dwil::IntfEncap, EncapMapAndRewrite, PwToAcIntfEncapKeyFunktor> {
    };
    struct ZinAcToPwEncapAdjGroup : ByKey<0xab69ad72, Dwil::IntfEncap, PwAdjGroupId> {};
    struct ZinAdjGroup
        : ByField<0xfae4818c, PwAdjGroupId, PwEncapAdjGroup, AdjGroupKeyFunktor> {};
    struct ZinQosMap : ByKey<0xb79d75ab, Vorn::IntfId, Pseudowire::QosMap> {};
    struct ZinViaInfo
        : ByField<0xeb492234, Vorn::IntfId, Pseudowire::ViaInfo, ViaInfoKeyFunktor> {};

    using LocalConnectorInfoMap =
        Zin::HashMap2018<ZinLocalConnectorInfo, Vorn::IntfId, LocalConnectorInfo>;
    using EncapAdjacencyMap = Zin::HashMap2018<ZinEncapAdjacency, Vorn::IntfId, EncapAdjacency>;
    using AcToDestIntfEncapMap =
        Zin::HashMap2018<ZinAcToDestIntfEncap, Dwil::IntfEncap, EncapMapAndRewrite>;
    using PatchToAcSetMap = Zin::RbTreeMap<ZinPatchToAcSet, Zin::String, PatchAcSet>;
    using PwToAcIntfEncapMap =
        Zin::HashMap2018<ZinPwToAcIntfEncap, Dwil::IntfEncap, EncapMapAndRewrite>;
    using AcToPwEncapAdjGroupMap =
        Zin::HashMap2018<ZinAcToPwEncapAdjGroup, Dwil::IntfEncap, PwAdjGroupId>;
    using AdjGroupMap = Zin::HashMap2018<ZinAdjGroup, PwAdjGroupId, PwEncapAdjGroup>;
    using QosMapMap = Zin::HashMap2018<ZinQosMap, Vorn::IntfId, Pseudowire::QosMap>;
    using ViaInfoMap = Zin::HashMap2018<ZinViaInfo, Vorn::IntfId, Pseudowire::ViaInfo>;

    struct Notifiee : frame::NotifieeOf<Status> {
        using NotifieeOf::NotifieeOf;
        virtual void onLocalConnectorInfo(const Vorn::IntfId& /*circuit*/) {}
        virtual void onLocalConnectorDot1qConnKeyMap() {}
        virtual void onEncapAdjacency(const Vorn::IntfId& /*circuit*/) {}
        virtual void onEncapAdjacencyDot1qConnKeyMap() {}
        virtual void onAcToDestIntfEncap(const Dwil::IntfEncap& /*source*/) {}
        virtual void onPatchToAcSet(const Zin::String& /*patchName*/) {}
        virtual void onPwToAcIntfEncap(const Dwil::IntfEncap& /*source*/) {}
        virtual void onAcToPwEncapAdjGroup(const Dwil::IntfEncap& /*circuit*/) {}
        virtual void onAdjGroup(const PwAdjGroupId& /*id*/) {}
        virtual void onQosMap(const Vorn::IntfId& /*intfId*/) {}
        virtual void onViaInfo(const Vorn::IntfId& /*pwIntfId*/) {}
    };

    static consteval auto schema() {
        using frame::attribute;
        return frame::entity<_PseudowireStatus_6edd4dd7_zinModule, 10>(
            "Pseudowire::Status",
            attribute<258, &Status::localConnectorInfo_, &Notifiee::onLocalConnectorInfo>(
                "localConnectorInfo"),
            attribute<
                259,
                &Status::localConnectorDot1qConnKeyMap_,
                &Notifiee::onLocalConnectorDot1qConnKeyMap>("localConnectorDot1qConnKeyMap"),
            attribute<260, &Status::encapAdjacency_, &Notifiee::onEncapAdjacency>(
                "encapAdjacency"),
            attribute<
                261,
                &Status::encapAdjacencyDot1qConnKeyMap_,
                &Notifiee::onEncapAdjacencyDot1qConnKeyMap>("encapAdjacencyDot1qConnKeyMap"),
            attribute<262, &Status::acToDestIntfEncap_, &Notifiee::onAcToDestIntfEncap>(
                "acToDestIntfEncap"),
            attribute<263, &Status::patchToAcSet_, &Notifiee::onPatchToAcSet>("patchToAcSet"),
            attribute<264, &Status::pwToAcIntfEncap_, &Notifiee::onPwToAcIntfEncap>(
                "pwToAcIntfEncap"),
            attribute<265, &Status::acToPwEncapAdjGroup_, &Notifiee::onAcToPwEncapAdjGroup>(
                "acToPwEncapAdjGroup"),
            attribute<266, &Status::adjGroup_, &Notifiee::onAdjGroup>("adjGroup"),
            attribute<267, &Status::qosMap_, &Notifiee::onQosMap>("qosMap"),
            attribute<268, &Status::viaInfo_, &Notifiee::onViaInfo>("viaInfo"),
            frame::function<269, &Status::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<Status> StatusIs(const Zin::String& name);

    // --- Circuits on this switch, by interface ---
    const LocalConnectorInfoMap& localConnectorInfo() const { return localConnectorInfo_; }
    // A default value when the circuit is unknown, here and below.
    LocalConnectorInfo localConnectorInfo(Vorn::IntfId circuit) const {
        return memberOf<&Status::localConnectorInfo_>(circuit);
    }
    void localConnectorInfoIs(Vorn::IntfId circuit, const LocalConnectorInfo& info) {
        memberIs<&Status::localConnectorInfo_>(circuit, info);
    }
    // What was removed, or a default value, here and below.
    LocalConnectorInfo localConnectorInfoDel(Vorn::IntfId circuit) {
        return memberDel<&Status::localConnectorInfo_>(circuit);
    }
    void localConnectorInfoDelAll() { membersDelAll<&Status::localConnectorInfo_>(); }

    // Null until it is made.
    const Zin::Ptr<Dot1qConnectorKeyMap>& localConnectorDot1qConnKeyMap() const {
        return localConnectorDot1qConnKeyMap_;
    }
    Zin::Ptr<Dot1qConnectorKeyMap> localConnectorDot1qConnKeyMapIs(const Zin::String& name) {
        return singletonIs<&Status::localConnectorDot1qConnKeyMap_>(name);
    }
    Zin::Ptr<Dot1qConnectorKeyMap> localConnectorDot1qConnKeyMapDel() {
        return singletonDel<&Status::localConnectorDot1qConnKeyMap_>();
    }

    // --- What is put in front of the frames of a circuit ---
    const EncapAdjacencyMap& encapAdjacency() const { return encapAdjacency_; }
    EncapAdjacency encapAdjacency(Vorn::IntfId circuit) const {
        return memberOf<&Status::encapAdjacency_>(circuit);
    }
    void encapAdjacencyIs(Vorn::IntfId circuit, const EncapAdjacency& adjacency) {
        memberIs<&Status::encapAdjacency_>(circuit, adjacency);
    }
    EncapAdjacency encapAdjacencyDel(Vorn::IntfId circuit) {
        return memberDel<&Status::encapAdjacency_>(circuit);
    }
    void encapAdjacencyDelAll() { membersDelAll<&Status::encapAdjacency_>(); }

    const Zin::Ptr<Dot1qConnectorKeyMap>& encapAdjacencyDot1qConnKeyMap() const {
        return encapAdjacencyDot1qConnKeyMap_;
    }
    Zin::Ptr<Dot1qConnectorKeyMap> encapAdjacencyDot1qConnKeyMapIs(const Zin::String& name) {
        return singletonIs<&Status::encapAdjacencyDot1qConnKeyMap_>(name);
    }
    Zin::Ptr<Dot1qConnectorKeyMap> encapAdjacencyDot1qConnKeyMapDel() {
        return singletonDel<&Status::encapAdjacencyDot1qConnKeyMap_>();
    }

    // --- Rewriting between circuits, under the encapsulation that frames come with ---
    // From a circuit to where its frames go.
    const AcToDestIntfEncapMap& acToDestIntfEncap() const { return acToDestIntfEncap_; }
    EncapMapAndRewrite acToDestIntfEncap(const Dwil::IntfEncap& source) const {
        return memberOf<&Status::acToDestIntfEncap_>(source);
    }
    void acToDestIntfEncapIs(const EncapMapAndRewrite& map) {
        memberIs<&Status::acToDestIntfEncap_>(map);
    }
    EncapMapAndRewrite acToDestIntfEncapDel(const Dwil::IntfEncap& source) {
        return memberDel<&Status::acToDestIntfEncap_>(source);
    }
    void acToDestIntfEncapDelAll() { membersDelAll<&Status::acToDestIntfEncap_>(); }

    // The circuits of each patch, in the order of the patches' names.
    const PatchToAcSetMap& patchToAcSet() const { return patchToAcSet_; }
    // Null when there is none.
    Zin::Ptr<PatchAcSet> patchToAcSet(const Zin::String& patchName) const {
        return frame::childIn(patchToAcSet_, patchName);
    }
    // The set of that name, made when there is none. Throws
    // Zin::MutatorReinstantiatingException when there is one with the other isLocalLocal.
    Zin::Ptr<PatchAcSet> patchToAcSetIs(const Zin::String& patchName, bool isLocalLocal) {
        return childIs<&Status::patchToAcSet_>(patchName, isLocalLocal);
    }
    Zin::Ptr<PatchAcSet> patchToAcSetDel(const Zin::String& patchName) {
        return childDel<&Status::patchToAcSet_>(patchName);
    }
    Zin::Ptr<PatchAcSet> patchToAcSetDel(const PatchToAcSetMap::IteratorConst& at) {
        return childDel<&Status::patchToAcSet_>(at);
    }
    void patchToAcSetDelAll() { childrenDelAll<&Status::patchToAcSet_>(); }

    // From a pseudowire to the circuit that its frames leave through.
    const PwToAcIntfEncapMap& pwToAcIntfEncap() const { return pwToAcIntfEncap_; }
    EncapMapAndRewrite pwToAcIntfEncap(const Dwil::IntfEncap& source) const {
        return memberOf<&Status::pwToAcIntfEncap_>(source);
    }
    void pwToAcIntfEncapIs(const EncapMapAndRewrite& map) {
        memberIs<&Status::pwToAcIntfEncap_>(map);
    }
    EncapMapAndRewrite pwToAcIntfEncapDel(const Dwil::IntfEncap& source) {
        return memberDel<&Status::pwToAcIntfEncap_>(source);
    }
    void pwToAcIntfEncapDelAll() { membersDelAll<&Status::pwToAcIntfEncap_>(); }

    // --- Groups of pseudowires that share frames ---
    // The group that a circuit's frames are spread over.
    const AcToPwEncapAdjGroupMap& acToPwEncapAdjGroup() const { return acToPwEncapAdjGroup_; }
    PwAdjGroupId acToPwEncapAdjGroup(const Dwil::IntfEncap& circuit) const {
        return memberOf<&Status::acToPwEncapAdjGroup_>(circuit);
    }
    void acToPwEncapAdjGroupIs(const Dwil::IntfEncap& circuit, PwAdjGroupId group) {
        memberIs<&Status::acToPwEncapAdjGroup_>(circuit, group);
    }
    PwAdjGroupId acToPwEncapAdjGroupDel(const Dwil::IntfEncap& circuit) {
        return memberDel<&Status::acToPwEncapAdjGroup_>(circuit);
    }
    void acToPwEncapAdjGroupDelAll() { membersDelAll<&Status::acToPwEncapAdjGroup_>(); }

    const AdjGroupMap& adjGroup() const { return adjGroup_; }
    // A group 0 without pseudowires when the id is unknown.
    PwEncapAdjGroup adjGroup(PwAdjGroupId id) const { return memberOf<&Status::adjGroup_>(id); }
    bool adjGroupHas(PwAdjGroupId id) const { return adjGroup_.has(id); }
    void adjGroupIs(const PwEncapAdjGroup& group) { memberIs<&Status::adjGroup_>(group); }
    PwEncapAdjGroup adjGroupDel(PwAdjGroupId id) { return memberDel<&Status::adjGroup_>(id); }
    void adjGroupDelAll() { membersDelAll<&Status::adjGroup_>(); }

    // --- By interface of a pseudowire or a circuit ---
    const QosMapMap& qosMap() const { return qosMap_; }
    // The map named "default-map" when the interface has none of its own.
    Pseudowire::QosMap qosMap(Vorn::IntfId intfId) const {
        return memberOf<&Status::qosMap_>(intfId);
    }
    void qosMapIs(Vorn::IntfId intfId, const Pseudowire::QosMap& map) {
        memberIs<&Status::qosMap_>(intfId, map);
    }
    Pseudowire::QosMap qosMapDel(Vorn::IntfId intfId) {
        return memberDel<&Status::qosMap_>(intfId);
    }
    void qosMapDelAll() { membersDelAll<&Status::qosMap_>(); }

    const ViaInfoMap& viaInfo() const { return viaInfo_; }
    Pseudowire::ViaInfo viaInfo(Vorn::IntfId pwIntfId) const {
        return memberOf<&Status::viaInfo_>(pwIntfId);
    }
    void viaInfoIs(const Pseudowire::ViaInfo& via) { memberIs<&Status::viaInfo_>(via); }
    Pseudowire::ViaInfo viaInfoDel(Vorn::IntfId pwIntfId) {
        return memberDel<&Status::viaInfo_>(pwIntfId);
    }
    void viaInfoDelAll() { membersDelAll<&Status::viaInfo_>(); }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    Status(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    LocalConnectorInfoMap localConnectorInfo_;
    Zin::Ptr<Dot1qConnectorKeyMap> localConnectorDot1qConnKeyMap_;
    EncapAdjacencyMap encapAdjacency_;
    Zin::Ptr<Dot1qConnectorKeyMap> encapAdjacencyDot1qConnKeyMap_;
    AcToDestIntfEncapMap acToDestIntfEncap_;
    PatchToAcSetMap patchToAcSet_;
    PwToAcIntfEncapMap pwToAcIntfEncap_;
    AcToPwEncapAdjGroupMap acToPwEncapAdjGroup_;
    AdjGroupMap adjGroup_;
    QosMapMap qosMap_;
    ViaInfoMap viaInfo_;
};

ZIN_EXPORT Zin::Ptr<Status> statusFactory(const Zin::String& name);

}  // namespace Pseudowire
