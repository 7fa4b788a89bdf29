// The children of the patch panel (Pseudowire/PwCliPatch.h): how each patch and each connector
// is doing, and which belong together.

#pragma once

#include <cstdint>
#include <tuple>

#include "Pseudowire/Connector.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/PatchEncap.h"
#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/VidNormalization.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "Zin/HSet.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PwCliPatch_aa96eec2_zinModule;

namespace Pseudowire {

// The patches that a connector takes part in.
class ZIN_EXPORT ConnectorToPatches final
    : public frame::EntityOf<ConnectorToPatches, ConnectorKey> {
  public:
    struct ZinPatch : Zin::HashMap2018NodeExternKey<
                          false,
                          0xe889e1e8,
                          Zin::String,
                          ConnectorPatchInfo,
                          false> {};
    using PatchMap = Zin::HashMap2018<ZinPatch, Zin::String, ConnectorPatchInfo>;

    struct Notifiee : frame::NotifieeOf<ConnectorToPatches> {
        using NotifieeOf::NotifieeOf;
        virtual void onPatch(const Zin::String& /*patchName*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 2>(
            "Pseudowire::ConnectorToPatches",
            frame::constructorParameter<258, &ConnectorToPatches::entityKey_>("connectorKey"),
            frame::attribute<259, &ConnectorToPatches::patch_, &Notifiee::onPatch>("patch"),
            frame::function<260, &ConnectorToPatches::activeCount>("activeCount"),
            frame::function<261, &ConnectorToPatches::activePatch>("activePatch"));
    }
    static constexpr frame::AttributeId constructorAttributeIds[] = {258};

    const ConnectorKey& connectorKey() const { return entityKey(); }

    // By the name of the patch.
    const PatchMap& patch() const { return patch_; }
    // Disabled when the connector is not in the patch.
    ConnectorPatchInfo patch(const Zin::String& name) const {
        return memberOf<&ConnectorToPatches::patch_>(name);
    }
    void patchIs(const Zin::String& name, const ConnectorPatchInfo& info) {
        memberIs<&ConnectorToPatches::patch_>(name, info);
    }
    ConnectorPatchInfo patchDel(const Zin::String& name) {
        return memberDel<&ConnectorToPatches::patch_>(name);
    }
    void patchDelAll() { membersDelAll<&ConnectorToPatches::patch_>(); }

    // How many patches are enabled on the connector. Linear.
    std::uint32_t activeCount() const;
    // The first of them in the order of iteration, which means nothing; an empty name when
    // there is none. Linear.
    Zin::String activePatch() const;

    ConnectorToPatches(frame::Construct construct, const ConnectorKey& connectorKey)
        : EntityOf(construct, connectorKey) {}

  private:
    PatchMap patch_;
};

// The connectors that stand for one pseudowire of LDP.
class ZIN_EXPORT LdpKeyToConnKeys final
    : public frame::EntityOf<LdpKeyToConnKeys, PseudowireLdpKey> {
  public:
    struct ZinConnKey
        : Zin::HashMap2018NodeExternKey<false, 0xf68137ef, ConnectorKey, bool, false> {};
    using ConnKeyMap = Zin::HashMap2018<ZinConnKey, ConnectorKey, bool>;

    struct Notifiee : frame::NotifieeOf<LdpKeyToConnKeys> {
        using NotifieeOf::NotifieeOf;
        virtual void onConnKey(const ConnectorKey& /*key*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 3>(
            "Pseudowire::LdpKeyToConnKeys",
            frame::constructorParameter<258, &LdpKeyToConnKeys::entityKey_>("ldpKey"),
            frame::attribute<259, &LdpKeyToConnKeys::connKey_, &Notifiee::onConnKey>(
                "connKey"));
    }
    static constexpr frame::AttributeId constructorAttributeIds[] = {258};

    const PseudowireLdpKey& ldpKey() const { return entityKey(); }

    const ConnKeyMap& connKey() const { return connKey_; }
    // False also when the connector is unknown, which connKey().has(key) tells.
    bool connKey(const ConnectorKey& key) const {
        return memberOf<&LdpKeyToConnKeys::connKey_>(key);
    }
    void connKeyIs(const ConnectorKey& key, bool flag) {
        memberIs<&LdpKeyToConnKeys::connKey_>(key, flag);
    }
    bool connKeyDel(const ConnectorKey& key) {
        return memberDel<&LdpKeyToConnKeys::connKey_>(key);
    }
    void connKeyDelAll() { membersDelAll<&LdpKeyToConnKeys::connKey_>(); }

    LdpKeyToConnKeys(frame::Construct construct, const PseudowireLdpKey& ldpKey)
        : EntityOf(construct, ldpKey) {}

  private:
    ConnKeyMap connKey_;
};

// How a patch is doing.
class ZIN_EXPORT PatchStatus final : public frame::EntityOf<PatchStatus> {
  public:
    using ZinPatchConnectorKey = Zin::HSet<ConnectorKey, 0xf1cb6d49>;

    struct Notifiee : frame::NotifieeOf<PatchStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onPatchConnectorKey(const ConnectorKey& /*key*/) {}
        virtual void onStatus() {}
        virtual void onEnabled() {}
    };

    static consteval auto schema() {
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 4>(
            "Pseudowire::PatchStatus",
            frame::constructorParameter<258, &PatchStatus::entityKey_>("name"),
            frame::constructorParameter<259, &PatchStatus::pwIntfId_>("pwIntfId"),
            frame::attribute<
                260,
                &PatchStatus::patchConnectorKey_,
                &Notifiee::onPatchConnectorKey>("patchConnectorKey"),
            frame::attribute<261, &PatchStatus::status_, &Notifiee::onStatus>("status"),
            frame::attribute<262, &PatchStatus::enabled_, &Notifiee::onEnabled>("enabled"));
    }
    using ConstructorArguments = std::tuple<Zin::String, Vorn::IntfId>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {258, 259};
    ConstructorArguments constructorArguments() const { return {entityKey(), pwIntfId_}; }

    // The interface that stands for the patch's pseudowire; never changes.
    Vorn::IntfId pwIntfId() const { return pwIntfId_; }

    const ZinPatchConnectorKey& patchConnectorKey() const { return patchConnectorKey_; }
    void patchConnectorKeyIs(const ConnectorKey& key) {
        memberIs<&PatchStatus::patchConnectorKey_>(key);
    }
    void patchConnectorKeyDel(const ConnectorKey& key) {
        memberDel<&PatchStatus::patchConnectorKey_>(key);
    }
    void patchConnectorKeyDelAll() { membersDelAll<&PatchStatus::patchConnectorKey_>(); }

    // Up, or why it is down.
    PseudowireConnectorStatus status() const { return status_; }
    void statusIs(PseudowireConnectorStatus status) { valueIs<&PatchStatus::status_>(status); }

    // A new patch is enabled.
    bool enabled() const { return enabled_; }
    void enabledIs(bool enabled) { valueIs<&PatchStatus::enabled_>(enabled); }

    PatchStatus(frame::Construct construct, const Zin::String& name, Vorn::IntfId pwIntfId)
        : EntityOf(construct, name), pwIntfId_(pwIntfId) {}

  private:
    Vorn::IntfId pwIntfId_;
    ZinPatchConnectorKey patchConnectorKey_;
    PseudowireConnectorStatus status_{};
    bool enabled_ = true;
};

// How a circuit on this switch is doing.
class ZIN_EXPORT PatchLocalConnectorStatus final
    : public frame::EntityOf<PatchLocalConnectorStatus, ConnectorKey> {
  public:
    struct Notifiee : frame::NotifieeOf<PatchLocalConnectorStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onEncap() {}
        virtual void onStatus() {}
        virtual void onPeerConnectorKey() {}
        virtual void onPatchName() {}
    };

    static consteval auto schema() {
        using Local = PatchLocalConnectorStatus;
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 5>(
            "Pseudowire::PatchLocalConnectorStatus",
            frame::constructorParameter<258, &Local::entityKey_>("connectorKey"),
            frame::attribute<259, &Local::encap_, &Notifiee::onEncap>("encap"),
            frame::attribute<260, &Local::status_, &Notifiee::onStatus>("status"),
            frame::attribute<261, &Local::peerConnectorKey_, &Notifiee::onPeerConnectorKey>(
                "peerConnectorKey"),
            frame::attribute<262, &Local::patchName_, &Notifiee::onPatchName>("patchName"));
    }
    static constexpr frame::AttributeId constructorAttributeIds[] = {258};

    const ConnectorKey& connectorKey() const { return entityKey(); }

    // The circuit's tags, and what is done with them.
    const PatchEncapAndOp& encap() const { return encap_; }
    void encapIs(const PatchEncapAndOp& encap) {
        valueIs<&PatchLocalConnectorStatus::encap_>(encap);
    }
    PseudowireConnectorStatus status() const { return status_; }
    void statusIs(PseudowireConnectorStatus status) {
        valueIs<&PatchLocalConnectorStatus::status_>(status);
    }
    // The other connector of the patch.
    const ConnectorKey& peerConnectorKey() const { return peerConnectorKey_; }
    void peerConnectorKeyIs(const ConnectorKey& key) {
        valueIs<&PatchLocalConnectorStatus::peerConnectorKey_>(key);
    }
    const Zin::String& patchName() const { return patchName_; }
    void patchNameIs(const Zin::String& name) {
        valueIs<&PatchLocalConnectorStatus::patchName_>(name);
    }

    PatchLocalConnectorStatus(frame::Construct construct, const ConnectorKey& connectorKey)
        : EntityOf(construct, connectorKey) {}

  private:
    PatchEncapAndOp encap_;
    PseudowireConnectorStatus status_{};
    ConnectorKey peerConnectorKey_;
    Zin::String patchName_;
};

// How a pseudowire is doing.
class ZIN_EXPORT PatchRemoteConnectorStatus final
    : public frame::EntityOf<PatchRemoteConnectorStatus, ConnectorKey> {
  public:
    using ZinLocalConnectorKey = Zin::HSet<ConnectorKey, 0x8ca3764a>;

    struct Notifiee : frame::NotifieeOf<PatchRemoteConnectorStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onConnector() {}
        virtual void onStatus() {}
        virtual void onLocalConnectorKey(const ConnectorKey& /*key*/) {}
        virtual void onPatchName() {}
        virtual void onVidNormalization() {}
        virtual void onMtu() {}
    };

    static consteval auto schema() {
        using Remote = PatchRemoteConnectorStatus;
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 6>(
            "Pseudowire::PatchRemoteConnectorStatus",
            frame::constructorParameter<258, &Remote::entityKey_>("connectorKey"),
            frame::attribute<259, &Remote::connector_, &Notifiee::onConnector>("connector"),
            frame::attribute<260, &Remote::status_, &Notifiee::onStatus>("status"),
            frame::attribute<261, &Remote::localConnectorKey_, &Notifiee::onLocalConnectorKey>(
                "localConnectorKey"),
            frame::attribute<262, &Remote::patchName_, &Notifiee::onPatchName>("patchName"),
            frame::attribute<263, &Remote::vidNormalization_, &Notifiee::onVidNormalization>(
                "vidNormalization"),
            frame::attribute<264, &Remote::mtu_, &Notifiee::onMtu>("mtu"));
    }
    static constexpr frame::AttributeId constructorAttributeIds[] = {258};

    const ConnectorKey& connectorKey() const { return entityKey(); }

    // What is configured, or was signalled.
    const Connector& connector() const { return connector_; }
    void connectorIs(const Connector& connector) {
        valueIs<&PatchRemoteConnectorStatus::connector_>(connector);
    }
    PseudowireConnectorStatus status() const { return status_; }
    void statusIs(PseudowireConnectorStatus status) {
        valueIs<&PatchRemoteConnectorStatus::status_>(status);
    }
    // The circuits that the pseudowire serves.
    const ZinLocalConnectorKey& localConnectorKey() const { return localConnectorKey_; }
    void localConnectorKeyIs(const ConnectorKey& key) {
        memberIs<&PatchRemoteConnectorStatus::localConnectorKey_>(key);
    }
    void localConnectorKeyDel(const ConnectorKey& key) {
        memberDel<&PatchRemoteConnectorStatus::localConnectorKey_>(key);
    }
    void localConnectorKeyDelAll() {
        membersDelAll<&PatchRemoteConnectorStatus::localConnectorKey_>();
    }
    const Zin::String& patchName() const { return patchName_; }
    void patchNameIs(const Zin::String& name) {
        valueIs<&PatchRemoteConnectorStatus::patchName_>(name);
    }
    Fxc::VidNormalization vidNormalization() const { return vidNormalization_; }
    void vidNormalizationIs(Fxc::VidNormalization vidNormalization) {
        valueIs<&PatchRemoteConnectorStatus::vidNormalization_>(vidNormalization);
    }
    // In bytes, as the peer announced it; 0 when it announced none.
    std::uint32_t mtu() const { return mtu_; }
    void mtuIs(std::uint32_t mtu) { valueIs<&PatchRemoteConnectorStatus::mtu_>(mtu); }

    PatchRemoteConnectorStatus(frame::Construct construct, const ConnectorKey& connectorKey)
        : EntityOf(construct, connectorKey) {}

  private:
    Connector connector_;
    PseudowireConnectorStatus status_{};
    ZinLocalConnectorKey localConnectorKey_;
    Zin::String patchName_;
    Fxc::VidNormalization vidNormalization_{};
    std::uint32_t mtu_ = 0;
};

}  // namespace Pseudowire
