// PwHwStatus says which forwarding objects the hardware could not program, and why. What is
// programmed is in none of its maps.

#pragma once

#include <cstdint>
#include <optional>

#include "Vorn/IntfId.h"
#include "Vorn/MplsLabel.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "Zin/Strep.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PseudowireOxoTypes_e3fae1e4_zinModule;

namespace OxoPw {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

// No reason has the number 0.
enum class UnprogrammedReason : std::uint32_t {
    connInfoMissing = 1,        // the connector's own state has not arrived
    invalidEndPointConfig = 2,  // the hardware cannot do what is configured
    hwFecNotProgrammed = 3,     // what the object forwards to is not programmed itself
    hwProgrammingFailed = 4,    // the hardware refused
};

consteval auto enumeration(UnprogrammedReason) {
    using enum UnprogrammedReason;
    return describe::enumerators<UnprogrammedReason>(
        "OxoPw::UnprogrammedReason",
        {{connInfoMissing, "connInfoMissing"},
         {invalidEndPointConfig, "invalidEndPointConfig"},
         {hwFecNotProgrammed, "hwFecNotProgrammed"},
         {hwProgrammingFailed, "hwProgrammingFailed"}});
}

// The enumerator of that number, or of that name; throws Zin::RangeException when there is
// none.
ZIN_EXPORT Zin::EnumType UnprogrammedReasonInstance(std::uint32_t number);
ZIN_EXPORT Zin::EnumType UnprogrammedReasonInstance(const Zin::String& name);

class ZIN_EXPORT PwHwStatus final : public frame::EntityOf<PwHwStatus> {
  public:
    template <std::uint32_t seed, class K>
    using ByKey = Zin::HashMap2018NodeExternKey<false, seed, K, UnprogrammedReason, false>;
    struct ZinUnprogrammedEncapAdj : ByKey<0xa8908d44, Vorn::IntfId> {};
    struct ZinUnprogrammedDecapAdj : ByKey<0x23085ff5, Vorn::MplsLabel> {};
    struct ZinUnprogrammedLocalConnector : ByKey<0x610739e6, Vorn::IntfId> {};
    using UnprogrammedEncapAdjMap =
        Zin::HashMap2018<ZinUnprogrammedEncapAdj, Vorn::IntfId, UnprogrammedReason>;
    using UnprogrammedDecapAdjMap =
        Zin::HashMap2018<ZinUnprogrammedDecapAdj, Vorn::MplsLabel, UnprogrammedReason>;
    using UnprogrammedLocalConnectorMap =
        Zin::HashMap2018<ZinUnprogrammedLocalConnector, Vorn::IntfId, UnprogrammedReason>;

    struct Notifiee : frame::NotifieeOf<PwHwStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onUnprogrammedEncapAdj(const Vorn::IntfId& /*circuit*/) {}
        virtual void onUnprogrammedDecapAdj(const Vorn::MplsLabel& /*label*/) {}
        virtual void onUnprogrammedLocalConnector(const Vorn::IntfId& /*circuit*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PseudowireOxoTypes_e3fae1e4_zinModule, 1>(
            "OxoPw::PwHwStatus",
            frame::attribute<
                258,
                &PwHwStatus::unprogrammedEncapAdj_,
                &Notifiee::onUnprogrammedEncapAdj>("unprogrammedEncapAdj"),
            frame::attribute<
                259,
                &PwHwStatus::unprogrammedDecapAdj_,
                &Notifiee::onUnprogrammedDecapAdj>("unprogrammedDecapAdj"),
            frame::attribute<
                260,
                &PwHwStatus::unprogrammedLocalConnector_,
                &Notifiee::onUnprogrammedLocalConnector>("unprogrammedLocalConnector"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<PwHwStatus> PwHwStatusIs(const Zin::String& name);

    // --- Encapsulations, by the circuit whose frames they are for (Status.encapAdjacency) ---
    const UnprogrammedEncapAdjMap& unprogrammedEncapAdj() const {
        return unprogrammedEncapAdj_;
    }
    // The reason, or nothing where the object is programmed, here and below.
    std::optional<UnprogrammedReason> unprogrammedEncapAdj(Vorn::IntfId circuit) const {
        return reasonOf(unprogrammedEncapAdj_, circuit);
    }
    void unprogrammedEncapAdjIs(Vorn::IntfId circuit, UnprogrammedReason reason) {
        memberIs<&PwHwStatus::unprogrammedEncapAdj_>(circuit, reason);
    }
    // The removed reason, or one without a name, here and below.
    UnprogrammedReason unprogrammedEncapAdjDel(Vorn::IntfId circuit) {
        return memberDel<&PwHwStatus::unprogrammedEncapAdj_>(circuit);
    }
    void unprogrammedEncapAdjDelAll() { membersDelAll<&PwHwStatus::unprogrammedEncapAdj_>(); }

    // --- Decapsulations, by the label that frames come with ---
    const UnprogrammedDecapAdjMap& unprogrammedDecapAdj() const {
        return unprogrammedDecapAdj_;
    }
    std::optional<UnprogrammedReason> unprogrammedDecapAdj(Vorn::MplsLabel label) const {
        return reasonOf(unprogrammedDecapAdj_, label);
    }
    void unprogrammedDecapAdjIs(Vorn::MplsLabel label, UnprogrammedReason reason) {
        memberIs<&PwHwStatus::unprogrammedDecapAdj_>(label, reason);
    }
    UnprogrammedReason unprogrammedDecapAdjDel(Vorn::MplsLabel label) {
        return memberDel<&PwHwStatus::unprogrammedDecapAdj_>(label);
    }
    void unprogrammedDecapAdjDelAll() { membersDelAll<&PwHwStatus::unprogrammedDecapAdj_>(); }

    // --- Local connectors, by the interface of the circuit (Status.localConnectorInfo) ---
    const UnprogrammedLocalConnectorMap& unprogrammedLocalConnector() const {
        return unprogrammedLocalConnector_;
    }
    std::optional<UnprogrammedReason> unprogrammedLocalConnector(Vorn::IntfId circuit) const {
        return reasonOf(unprogrammedLocalConnector_, circuit);
    }
    void unprogrammedLocalConnectorIs(Vorn::IntfId circuit, UnprogrammedReason reason) {
        memberIs<&PwHwStatus::unprogrammedLocalConnector_>(circuit, reason);
    }
    UnprogrammedReason unprogrammedLocalConnectorDel(Vorn::IntfId circuit) {
        return memberDel<&PwHwStatus::unprogrammedLocalConnector_>(circuit);
    }
    void unprogrammedLocalConnectorDelAll() {
        membersDelAll<&PwHwStatus::unprogrammedLocalConnector_>();
    }

    PwHwStatus(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    template <class Map>
    static std::optional<UnprogrammedReason> reasonOf(
        const Map& map,
        const typename Map::Key& key) {
        const auto* const node = map.lookup(key);
        return node ? std::optional(node->value()) : std::nullopt;
    }

    UnprogrammedEncapAdjMap unprogrammedEncapAdj_;
    UnprogrammedDecapAdjMap unprogrammedDecapAdj_;
    UnprogrammedLocalConnectorMap unprogrammedLocalConnector_;
};

ZIN_EXPORT Zin::Ptr<PwHwStatus> pwHwStatusFactory(const Zin::String& name);

}  // namespace OxoPw
