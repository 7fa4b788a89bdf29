// The facts of one connector in a patch, as values: whether the patch is enabled on it, and
// what happens to VLAN tags (IEEE 802.1Q) on the way across.

#pragma once

#include "Bridging/Dot1qEncap.h"
#include "Pseudowire/Dot1qTagOperation.h"
#include "Pseudowire/VidNormalization.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/Strep.h"
#include "Zin/Value.h"

namespace Pseudowire {

// One patch of a connector. 5 bytes on the attribute log.
class ConnectorPatchInfo : public Zin::Value<ConnectorPatchInfo> {
  public:
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::ConnectorPatchInfo",
            describe::field<&ConnectorPatchInfo::enabled_>("enabled"),
            describe::field<&ConnectorPatchInfo::vidNormalization_>("vidNormalization"),
            describe::constant<&ConnectorPatchInfo::enabledValue>("enabledValue"),
            describe::constant<&ConnectorPatchInfo::disabledValue>("disabledValue"));
    }

    constexpr ConnectorPatchInfo() = default;
    constexpr ConnectorPatchInfo(bool enabled, Fxc::VidNormalization vidNormalization)
        : enabled_(enabled), vidNormalization_(vidNormalization) {}
    explicit ConnectorPatchInfo(Zin::NboAttrLog::In& in)
        : ConnectorPatchInfo(in.next<ConnectorPatchInfo>()) {}
    ConnectorPatchInfo(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : ConnectorPatchInfo(Zin::parsed<ConnectorPatchInfo>(it, end)) {}

    // --- A patch that is enabled, or not, outside of any flexible cross-connect ---
    static constexpr ConnectorPatchInfo enabledValue() {
        return {true, Fxc::VidNormalization::none};
    }
    static constexpr ConnectorPatchInfo disabledValue() { return {}; }

    // Whether the administrator enabled the patch on this connector.
    constexpr bool enabled() const { return enabled_; }
    constexpr void enabledIs(bool enabled) { enabled_ = enabled; }
    // How VLAN ids are normalised in a flexible cross-connect (RFC 9744).
    constexpr Fxc::VidNormalization vidNormalization() const { return vidNormalization_; }
    constexpr void vidNormalizationIs(Fxc::VidNormalization vidNormalization) {
        vidNormalization_ = vidNormalization;
    }

  private:
    bool enabled_ = false;
    Fxc::VidNormalization vidNormalization_{};
};

// The tags of a local circuit, and what is done with them when a frame crosses the patch. 8
// bytes on the attribute log.
class PatchEncapAndOp : public Zin::Value<PatchEncapAndOp> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PatchEncapAndOp",
            describe::field<&PatchEncapAndOp::dot1qEncap_>("dot1qEncap"),
            describe::field<&PatchEncapAndOp::dot1qTagOp_>("dot1qTagOp"));
    }

    PatchEncapAndOp() = default;
    PatchEncapAndOp(Bridging::Dot1qEncap dot1qEncap, Dot1qTagOperation dot1qTagOp)
        : dot1qEncap_(dot1qEncap), dot1qTagOp_(dot1qTagOp) {}
    explicit PatchEncapAndOp(Zin::NboAttrLog::In& in)
        : PatchEncapAndOp(in.next<PatchEncapAndOp>()) {}
    PatchEncapAndOp(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : PatchEncapAndOp(Zin::parsed<PatchEncapAndOp>(it, end)) {}

    Bridging::Dot1qEncap dot1qEncap() const { return dot1qEncap_; }
    void dot1qEncapIs(Bridging::Dot1qEncap dot1qEncap) { dot1qEncap_ = dot1qEncap; }
    Dot1qTagOperation dot1qTagOp() const { return dot1qTagOp_; }
    void dot1qTagOpIs(Dot1qTagOperation dot1qTagOp) { dot1qTagOp_ = dot1qTagOp; }

  private:
    Bridging::Dot1qEncap dot1qEncap_;
    Dot1qTagOperation dot1qTagOp_{};
};

}  // namespace Pseudowire
