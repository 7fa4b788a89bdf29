// Config is the root of the pseudowire configuration: the patches, the connectors that they
// join, and the settings of the whole service.

#pragma once

#include <cstdint>

#include "Pseudowire/Connector.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/Patch.h"
#include "Pseudowire/Strep.h"
#include "Pseudowire/TimeRange.h"
#include "Routing/Rib/ResolutionRibProfileConfig.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PseudowireConfig_4a3e203c_zinModule;

namespace Pseudowire {

// Who decides on the group id (RFC 8077 section 5.2) that a pseudowire is signalled with.
enum class GroupIdAllocation : std::uint8_t { byPort = 0, byPseudowire = 1, manual = 2 };

consteval auto enumeration(GroupIdAllocation) {
    using enum GroupIdAllocation;
    return describe::enumerators<GroupIdAllocation>(
        "Pseudowire::GroupIdAllocation",
        {{byPort, "byPort"}, {byPseudowire, "byPseudowire"}, {manual, "manual"}});
}

// The enumerator of that number, or of that name; throws Zin::RangeException when there is
// none.
ZIN_EXPORT Zin::EnumType GroupIdAllocationInstance(std::uint32_t number);
ZIN_EXPORT Zin::EnumType GroupIdAllocationInstance(const Zin::String& name);

class ZIN_EXPORT Config final : public frame::EntityOf<Config> {
  public:
    struct PatchKeyFunktor {
        const Zin::String& operator()(const Zin::Ptr<Patch>& patch) const {
            return patch->entityKey();
        }
    };
    struct ConnectorKeyFunktor {
        const ConnectorKey& operator()(const Connector& connector) const {
            return connector.key();
        }
    };
    struct ZinPatch : Zin::HashMap2018NodeInternalKey<
                          false,
                          0x031f8347,
                          Zin::String,
                          Zin::Ptr<Patch>,
                          PatchKeyFunktor,
                          false> {};
    struct ZinConnector : Zin::HashMap2018NodeInternalKey<
                              false,
                              0xc84b1730,
                              Pseudowire::ConnectorKey,
                              Connector,
                              ConnectorKeyFunktor,
                              false> {};
    using PatchMap = Zin::HashMap2018<ZinPatch, Zin::String, Zin::Ptr<Patch>>;
    using ConnectorMap = Zin::HashMap2018<ZinConnector, Pseudowire::ConnectorKey, Connector>;

    struct Notifiee : frame::NotifieeOf<Config> {
        using NotifieeOf::NotifieeOf;
        virtual void onMtuIgnore() {}
        virtual void onMtu() {}
        virtual void onResolutionRibProfileConfig() {}
        virtual void onPatch(const Zin::String& /*name*/) {}
        virtual void onConnector(const Pseudowire::ConnectorKey& /*key*/) {}
        virtual void onIntfReviewDelayRange() {}
    };

    static consteval auto schema() {
        return frame::entity<_PseudowireConfig_4a3e203c_zinModule, 1>(
            "Pseudowire::Config",
            frame::attribute<258, &Config::mtuIgnore_, &Notifiee::onMtuIgnore>("mtuIgnore"),
            frame::attribute<259, &Config::mtu_, &Notifiee::onMtu>("mtu"),
            frame::attribute<
                260,
                &Config::resolutionRibProfileConfig_,
                &Notifiee::onResolutionRibProfileConfig>("resolutionRibProfileConfig"),
            frame::frozen<261, &Config::groupIdAllocation_>("groupIdAllocation"),
            frame::attribute<262, &Config::patch_, &Notifiee::onPatch>("patch"),
            frame::attribute<263, &Config::connector_, &Notifiee::onConnector>("connector"),
            frame::attribute<
                264,
                &Config::intfReviewDelayRange_,
                &Notifiee::onIntfReviewDelayRange>("intfReviewDelayRange"),
            frame::function<265, &Config::intfReviewDelayRangeDefault>(
                "intfReviewDelayRangeDefault"),
            frame::function<266, &Config::getMtuDefault>("getMtuDefault"),
            frame::function<267, &Config::getMtuIgnoreDefault>("getMtuIgnoreDefault"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<Config> ConfigIs(const Zin::String& name);

    // Whether pseudowires come up although the ends disagree on the MTU (RFC 8077 section 5.1).
    bool mtuIgnore() const { return mtuIgnore_; }
    void mtuIgnoreIs(bool ignore) { valueIs<&Config::mtuIgnore_>(ignore); }

    // The MTU in bytes that is signalled for connectors that state none; 0 leaves it to the
    // circuit.
    std::uint32_t mtu() const { return mtu_; }
    void mtuIs(std::uint32_t bytes) { valueIs<&Config::mtu_>(bytes); }

    // Which routing tables resolve the addresses of peers to tunnels.
    Routing::Rib::ResolutionRibProfileConfig resolutionRibProfileConfig() const {
        return resolutionRibProfileConfig_;
    }
    void resolutionRibProfileConfigIs(const Routing::Rib::ResolutionRibProfileConfig& profile) {
        valueIs<&Config::resolutionRibProfileConfig_>(profile);
    }

    // Frozen: always manual.
    GroupIdAllocation groupIdAllocation() const { return groupIdAllocation_; }

    // The patches by name; each has this Config as parent.
    const PatchMap& patch() const { return patch_; }
    Zin::Ptr<Patch> patch(const Zin::String& name) const {
        return frame::childIn(patch_, name);
    }
    // The patch of that name, made when there is none.
    Zin::Ptr<Patch> patchIs(const Zin::String& name) { return childIs<&Config::patch_>(name); }
    // The removed patch, without a parent from now on, or null.
    Zin::Ptr<Patch> patchDel(const Zin::String& name) {
        return childDel<&Config::patch_>(name);
    }
    void patchDelAll() { childrenDelAll<&Config::patch_>(); }

    // The connectors under the keys that they carry.
    const ConnectorMap& connector() const { return connector_; }
    // A default Connector when the key is absent.
    Connector connector(const Pseudowire::ConnectorKey& key) const {
        return memberOf<&Config::connector_>(key);
    }
    bool connectorHas(const Pseudowire::ConnectorKey& key) const { return connector_.has(key); }
    void connectorIs(const Connector& connector) { memberIs<&Config::connector_>(connector); }
    // The removed connector, or a default one when the key was absent.
    Connector connectorDel(const Pseudowire::ConnectorKey& key) {
        return memberDel<&Config::connector_>(key);
    }
    void connectorDelAll() { membersDelAll<&Config::connector_>(); }

    // Seconds that pass before an interface that came up is looked at: a bound below and above.
    TimeRange intfReviewDelayRange() const { return intfReviewDelayRange_; }
    void intfReviewDelayRangeIs(const TimeRange& seconds) {
        valueIs<&Config::intfReviewDelayRange_>(seconds);
    }

    TimeRange intfReviewDelayRangeDefault() const { return TimeRange(30.0, 45.0); }
    std::uint32_t getMtuDefault() const { return 0; }
    std::uint32_t getMtuIgnoreDefault() const { return 1; }

    Config(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    bool mtuIgnore_ = getMtuIgnoreDefault() != 0;
    std::uint32_t mtu_ = getMtuDefault();
    Routing::Rib::ResolutionRibProfileConfig resolutionRibProfileConfig_;
    GroupIdAllocation groupIdAllocation_ = GroupIdAllocation::manual;
    PatchMap patch_;
    ConnectorMap connector_;
    TimeRange intfReviewDelayRange_ = intfReviewDelayRangeDefault();
};

ZIN_EXPORT Zin::Ptr<Config> configFactory(const Zin::String& name);

}  // namespace Pseudowire
