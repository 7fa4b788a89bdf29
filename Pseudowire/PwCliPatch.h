// PatchPanel is where connectors and patches meet: which connectors each patch has, which
// patches each connector takes part in, and how all of them are doing.

#pragma once

#include "Bridging/Dot1qEncap.h"
#include "Pseudowire/PatchConnectors.h"
#include "Pseudowire/TimeRange.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Pseudowire {

class ZIN_EXPORT PatchPanel final : public frame::EntityOf<PatchPanel> {
  public:
    // A child lies under the key that it was made with.
    template <class Child>
    struct EntityKeyFunktor {
        const typename Child::EntityKey& operator()(const Zin::Ptr<Child>& child) const {
            return child->entityKey();
        }
    };
    template <std::uint32_t seed, class Child>
    using ChildNode = Zin::HashMap2018NodeInternalKey<
        false,
        seed,
        typename Child::EntityKey,
        Zin::Ptr<Child>,
        EntityKeyFunktor<Child>,
        false>;
    struct ZinConnToPatch : ChildNode<0xc693faf1, ConnectorToPatches> {};
    struct ZinLocalConnStatus : ChildNode<0x575cd25b, PatchLocalConnectorStatus> {};
    struct ZinRemoteConnStatus : ChildNode<0x6bfd223f, PatchRemoteConnectorStatus> {};
    struct ZinPatch : ChildNode<0x415c6a47, PatchStatus> {};
    struct ZinLdpKeyToConnKey : ChildNode<0x5949696f, LdpKeyToConnKeys> {};

    using ConnToPatchMap =
        Zin::HashMap2018<ZinConnToPatch, ConnectorKey, Zin::Ptr<ConnectorToPatches>>;
    using LocalConnStatusMap =
        Zin::HashMap2018<ZinLocalConnStatus, ConnectorKey, Zin::Ptr<PatchLocalConnectorStatus>>;
    using RemoteConnStatusMap = Zin::
        HashMap2018<ZinRemoteConnStatus, ConnectorKey, Zin::Ptr<PatchRemoteConnectorStatus>>;
    using PatchMap = Zin::HashMap2018<ZinPatch, Zin::String, Zin::Ptr<PatchStatus>>;
    using LdpKeyToConnKeyMap =
        Zin::HashMap2018<ZinLdpKeyToConnKey, PseudowireLdpKey, Zin::Ptr<LdpKeyToConnKeys>>;

    struct Notifiee : frame::NotifieeOf<PatchPanel> {
        using NotifieeOf::NotifieeOf;
        virtual void onConnToPatch(const ConnectorKey& /*key*/) {}
        virtual void onLocalConnStatus(const ConnectorKey& /*key*/) {}
        virtual void onRemoteConnStatus(const ConnectorKey& /*key*/) {}
        virtual void onPatch(const Zin::String& /*name*/) {}
        virtual void onLdpKeyToConnKey(const PseudowireLdpKey& /*key*/) {}
        virtual void onIntfReviewDelayRange() {}
    };

    static consteval auto schema() {
        using frame::attribute;
        return frame::entity<_PwCliPatch_aa96eec2_zinModule, 7>(
            "Pseudowire::PatchPanel",
            attribute<258, &PatchPanel::connToPatch_, &Notifiee::onConnToPatch>("connToPatch"),
            attribute<259, &PatchPanel::localConnStatus_, &Notifiee::onLocalConnStatus>(
                "localConnStatus"),
            attribute<260, &PatchPanel::remoteConnStatus_, &Notifiee::onRemoteConnStatus>(
                "remoteConnStatus"),
            attribute<261, &PatchPanel::patch_, &Notifiee::onPatch>("patch"),
            attribute<262, &PatchPanel::ldpKeyToConnKey_, &Notifiee::onLdpKeyToConnKey>(
                "ldpKeyToConnKey"),
            attribute<
                263,
                &PatchPanel::intfReviewDelayRange_,
                &Notifiee::onIntfReviewDelayRange>("intfReviewDelayRange"),
            frame::function<264, &PatchPanel::getDot1qEncap>("getDot1qEncap"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<PatchPanel> PatchPanelIs(const Zin::String& name);

    // --- Each look-up returns null when there is none; each Is makes the child when there is
    // none; each Del returns the removed child, without a parent from now on, or null. ---

    const ConnToPatchMap& connToPatch() const { return connToPatch_; }
    Zin::Ptr<ConnectorToPatches> connToPatch(const ConnectorKey& key) const {
        return frame::childIn(connToPatch_, key);
    }
    Zin::Ptr<ConnectorToPatches> connToPatchIs(const ConnectorKey& key) {
        return childIs<&PatchPanel::connToPatch_>(key);
    }
    Zin::Ptr<ConnectorToPatches> connToPatchDel(const ConnectorKey& key) {
        return childDel<&PatchPanel::connToPatch_>(key);
    }
    void connToPatchDelAll() { childrenDelAll<&PatchPanel::connToPatch_>(); }

    const LocalConnStatusMap& localConnStatus() const { return localConnStatus_; }
    Zin::Ptr<PatchLocalConnectorStatus> localConnStatus(const ConnectorKey& key) const {
        return frame::childIn(localConnStatus_, key);
    }
    Zin::Ptr<PatchLocalConnectorStatus> localConnStatusIs(const ConnectorKey& key) {
        return childIs<&PatchPanel::localConnStatus_>(key);
    }
    Zin::Ptr<PatchLocalConnectorStatus> localConnStatusDel(const ConnectorKey& key) {
        return childDel<&PatchPanel::localConnStatus_>(key);
    }
    void localConnStatusDelAll() { childrenDelAll<&PatchPanel::localConnStatus_>(); }

    const RemoteConnStatusMap& remoteConnStatus() const { return remoteConnStatus_; }
    Zin::Ptr<PatchRemoteConnectorStatus> remoteConnStatus(const ConnectorKey& key) const {
        return frame::childIn(remoteConnStatus_, key);
    }
    Zin::Ptr<PatchRemoteConnectorStatus> remoteConnStatusIs(const ConnectorKey& key) {
        return childIs<&PatchPanel::remoteConnStatus_>(key);
    }
    Zin::Ptr<PatchRemoteConnectorStatus> remoteConnStatusDel(const ConnectorKey& key) {
        return childDel<&PatchPanel::remoteConnStatus_>(key);
    }
    void remoteConnStatusDelAll() { childrenDelAll<&PatchPanel::remoteConnStatus_>(); }

    const PatchMap& patch() const { return patch_; }
    Zin::Ptr<PatchStatus> patch(const Zin::String& name) const {
        return frame::childIn(patch_, name);
    }
    // Throws Zin::MutatorReinstantiatingException when there is one with another interface.
    Zin::Ptr<PatchStatus> patchIs(const Zin::String& name, Vorn::IntfId pwIntfId) {
        return childIs<&PatchPanel::patch_>(name, pwIntfId);
    }
    Zin::Ptr<PatchStatus> patchDel(const Zin::String& name) {
        return childDel<&PatchPanel::patch_>(name);
    }
    void patchDelAll() { childrenDelAll<&PatchPanel::patch_>(); }

    const LdpKeyToConnKeyMap& ldpKeyToConnKey() const { return ldpKeyToConnKey_; }
    Zin::Ptr<LdpKeyToConnKeys> ldpKeyToConnKey(const PseudowireLdpKey& key) const {
        return frame::childIn(ldpKeyToConnKey_, key);
    }
    Zin::Ptr<LdpKeyToConnKeys> ldpKeyToConnKeyIs(const PseudowireLdpKey& key) {
        return childIs<&PatchPanel::ldpKeyToConnKey_>(key);
    }
    Zin::Ptr<LdpKeyToConnKeys> ldpKeyToConnKeyDel(const PseudowireLdpKey& key) {
        return childDel<&PatchPanel::ldpKeyToConnKey_>(key);
    }
    void ldpKeyToConnKeyDelAll() { childrenDelAll<&PatchPanel::ldpKeyToConnKey_>(); }

    // Seconds, see Config.intfReviewDelayRange.
    TimeRange intfReviewDelayRange() const { return intfReviewDelayRange_; }
    void intfReviewDelayRangeIs(const TimeRange& seconds) {
        valueIs<&PatchPanel::intfReviewDelayRange_>(seconds);
    }

    // The tags of a local connector: none until its status has an encapsulation, but an outer
    // tag of 4095, "any", when there is no status of it. Fatal assertion for a connector that
    // is not local.
    Bridging::Dot1qEncap getDot1qEncap(const ConnectorKey& connectorKey) const;

    PatchPanel(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    ConnToPatchMap connToPatch_;
    LocalConnStatusMap localConnStatus_;
    RemoteConnStatusMap remoteConnStatus_;
    PatchMap patch_;
    LdpKeyToConnKeyMap ldpKeyToConnKey_;
    TimeRange intfReviewDelayRange_;
};

ZIN_EXPORT Zin::Ptr<PatchPanel> patchPanelFactory(const Zin::String& name);

}  // namespace Pseudowire
