// EthIntfStatus is what the switch says of an Ethernet interface: its addresses, its link, its
// speed and its MAC layer.

#pragma once

#include <cstdint>

#include "Interface/IntfStatus.h"
#include "Vorn/EthAddr.h"
#include "Zin/HashMap2018.h"

namespace Interface {

class ZIN_EXPORT EthIntfStatus : public frame::DerivedOf<EthIntfStatus, IntfStatus> {
  public:
    struct ZinMacLayerAdditionalStatus
        : Zin::HashMap2018NodeExternKey<false, 0x6c1f0b5d, Zin::String, Zin::String, false> {};
    using MacLayerAdditionalStatusMap =
        Zin::HashMap2018<ZinMacLayerAdditionalStatus, Zin::String, Zin::String>;

    struct Notifiee : frame::NotifieeOf<EthIntfStatus, IntfStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onAddr() {}
        virtual void onRoutedAddr() {}
        virtual void onRawLinkStatus() {}
        virtual void onDebouncedLinkStatus() {}
        virtual void onLinkStatus() {}
        virtual void onLinkStatusChanges() {}
        virtual void onLastLinkStatusChangeTime() {}
        virtual void onSpeedEnum() {}
        virtual void onSpeedMbps() {}
        virtual void onPortId() {}
        virtual void onL2Mtu() {}
        virtual void onL2Mru() {}
        virtual void onL2MruMax() {}
        virtual void onL2MruMin() {}
        virtual void onMacRxRemoteFault() {}
        virtual void onMacRxRemoteFaultChanges() {}
        virtual void onLastMacRxRemoteFaultChange() {}
        virtual void onMacRxLocalFault() {}
        virtual void onMacRxLocalFaultChanges() {}
        virtual void onLastMacRxLocalFaultChange() {}
        virtual void onMacActive() {}
        virtual void onMacActivePrev() {}
        virtual void onMacActiveChanges() {}
        virtual void onLastMacActiveChange() {}
        virtual void onMacLayerAdditionalStatus(const Zin::String& /*name*/) {}
    };

    static consteval auto schema() {
        using Status = EthIntfStatus;
        using frame::attribute;
        return frame::entity<_Interface_zinModule, 3>(
            "Interface::EthIntfStatus",
            attribute<386, &Status::addr_, &Notifiee::onAddr>("addr"),
            attribute<387, &Status::routedAddr_, &Notifiee::onRoutedAddr>("routedAddr"),
            attribute<388, &Status::rawLinkStatus_, &Notifiee::onRawLinkStatus>(
                "rawLinkStatus"),
            attribute<389, &Status::debouncedLinkStatus_, &Notifiee::onDebouncedLinkStatus>(
                "debouncedLinkStatus"),
            attribute<390, &Status::linkStatus_, &Notifiee::onLinkStatus>("linkStatus"),
            attribute<391, &Status::linkStatusChanges_, &Notifiee::onLinkStatusChanges>(
                "linkStatusChanges"),
            attribute<
                392,
                &Status::lastLinkStatusChangeTime_,
                &Notifiee::onLastLinkStatusChangeTime>("lastLinkStatusChangeTime"),
            attribute<393, &Status::speedEnum_, &Notifiee::onSpeedEnum>("speedEnum"),
            attribute<394, &Status::speedMbps_, &Notifiee::onSpeedMbps>("speedMbps"),
            attribute<398, &Status::portId_, &Notifiee::onPortId>("portId"),
            attribute<399, &Status::l2Mtu_, &Notifiee::onL2Mtu>("l2Mtu"),
            attribute<400, &Status::l2Mru_, &Notifiee::onL2Mru>("l2Mru"),
            attribute<401, &Status::l2MruMax_, &Notifiee::onL2MruMax>("l2MruMax"),
            attribute<402, &Status::l2MruMin_, &Notifiee::onL2MruMin>("l2MruMin"),
            attribute<403, &Status::macRxRemoteFault_, &Notifiee::onMacRxRemoteFault>(
                "macRxRemoteFault"),
            attribute<
                404,
                &Status::macRxRemoteFaultChanges_,
                &Notifiee::onMacRxRemoteFaultChanges>("macRxRemoteFaultChanges"),
            attribute<
                405,
                &Status::lastMacRxRemoteFaultChange_,
                &Notifiee::onLastMacRxRemoteFaultChange>("lastMacRxRemoteFaultChange"),
            attribute<406, &Status::macRxLocalFault_, &Notifiee::onMacRxLocalFault>(
                "macRxLocalFault"),
            attribute<
                407,
                &Status::macRxLocalFaultChanges_,
                &Notifiee::onMacRxLocalFaultChanges>("macRxLocalFaultChanges"),
            attribute<
                408,
                &Status::lastMacRxLocalFaultChange_,
                &Notifiee::onLastMacRxLocalFaultChange>("lastMacRxLocalFaultChange"),
            attribute<409, &Status::macActive_, &Notifiee::onMacActive>("macActive"),
            attribute<410, &Status::macActivePrev_, &Notifiee::onMacActivePrev>(
                "macActivePrev"),
            attribute<411, &Status::macActiveChanges_, &Notifiee::onMacActiveChanges>(
                "macActiveChanges"),
            attribute<412, &Status::lastMacActiveChange_, &Notifiee::onLastMacActiveChange>(
                "lastMacActiveChange"),
            attribute<
                414,
                &Status::macLayerAdditionalStatus_,
                &Notifiee::onMacLayerAdditionalStatus>("macLayerAdditionalStatus"));
    }

    // The burnt-in address, and the one that routed frames are sent from.
    const Vorn::EthAddr& addr() const { return addr_; }
    void addrIs(const Vorn::EthAddr& value) { valueIs<&EthIntfStatus::addr_>(value); }
    const Vorn::EthAddr& routedAddr() const { return routedAddr_; }
    void routedAddrIs(const Vorn::EthAddr& value) {
        valueIs<&EthIntfStatus::routedAddr_>(value);
    }
    // The link: as the transceiver says, behind the debouncing timers, and as it is told to
    // others.
    LinkStatus rawLinkStatus() const { return rawLinkStatus_; }
    void rawLinkStatusIs(LinkStatus value) { valueIs<&EthIntfStatus::rawLinkStatus_>(value); }
    LinkStatus debouncedLinkStatus() const { return debouncedLinkStatus_; }
    void debouncedLinkStatusIs(LinkStatus value) {
        valueIs<&EthIntfStatus::debouncedLinkStatus_>(value);
    }
    LinkStatus linkStatus() const { return linkStatus_; }
    void linkStatusIs(LinkStatus value) { valueIs<&EthIntfStatus::linkStatus_>(value); }
    std::uint32_t linkStatusChanges() const { return linkStatusChanges_; }
    void linkStatusChangesIs(std::uint32_t value) {
        valueIs<&EthIntfStatus::linkStatusChanges_>(value);
    }
    // In seconds of the switch's clock, as all times below.
    double lastLinkStatusChangeTime() const { return lastLinkStatusChangeTime_; }
    void lastLinkStatusChangeTimeIs(double seconds) {
        valueIs<&EthIntfStatus::lastLinkStatusChangeTime_>(seconds);
    }
    EthSpeed speedEnum() const { return speedEnum_; }
    void speedEnumIs(EthSpeed value) { valueIs<&EthIntfStatus::speedEnum_>(value); }
    std::uint64_t speedMbps() const { return speedMbps_; }
    void speedMbpsIs(std::uint64_t value) { valueIs<&EthIntfStatus::speedMbps_>(value); }
    const PortId& portId() const { return portId_; }
    void portIdIs(const PortId& value) { valueIs<&EthIntfStatus::portId_>(value); }
    // The longest frames that are sent, and that are taken: now, and within which bounds.
    std::uint32_t l2Mtu() const { return l2Mtu_; }
    void l2MtuIs(std::uint32_t value) { valueIs<&EthIntfStatus::l2Mtu_>(value); }
    std::uint32_t l2Mru() const { return l2Mru_; }
    void l2MruIs(std::uint32_t value) { valueIs<&EthIntfStatus::l2Mru_>(value); }
    std::uint32_t l2MruMax() const { return l2MruMax_; }
    void l2MruMaxIs(std::uint32_t value) { valueIs<&EthIntfStatus::l2MruMax_>(value); }
    std::uint32_t l2MruMin() const { return l2MruMin_; }
    void l2MruMinIs(std::uint32_t value) { valueIs<&EthIntfStatus::l2MruMin_>(value); }
    // The fault signals of the reconciliation sublayer (IEEE 802.3, clauses 46 and 81).
    bool macRxRemoteFault() const { return macRxRemoteFault_; }
    void macRxRemoteFaultIs(bool value) { valueIs<&EthIntfStatus::macRxRemoteFault_>(value); }
    std::uint32_t macRxRemoteFaultChanges() const { return macRxRemoteFaultChanges_; }
    void macRxRemoteFaultChangesIs(std::uint32_t value) {
        valueIs<&EthIntfStatus::macRxRemoteFaultChanges_>(value);
    }
    double lastMacRxRemoteFaultChange() const { return lastMacRxRemoteFaultChange_; }
    void lastMacRxRemoteFaultChangeIs(double seconds) {
        valueIs<&EthIntfStatus::lastMacRxRemoteFaultChange_>(seconds);
    }
    bool macRxLocalFault() const { return macRxLocalFault_; }
    void macRxLocalFaultIs(bool value) { valueIs<&EthIntfStatus::macRxLocalFault_>(value); }
    std::uint32_t macRxLocalFaultChanges() const { return macRxLocalFaultChanges_; }
    void macRxLocalFaultChangesIs(std::uint32_t value) {
        valueIs<&EthIntfStatus::macRxLocalFaultChanges_>(value);
    }
    double lastMacRxLocalFaultChange() const { return lastMacRxLocalFaultChange_; }
    void lastMacRxLocalFaultChangeIs(double seconds) {
        valueIs<&EthIntfStatus::lastMacRxLocalFaultChange_>(seconds);
    }
    // Whether the MAC passes frames, and whether it did before that changed last.
    bool macActive() const { return macActive_; }
    void macActiveIs(bool value) { valueIs<&EthIntfStatus::macActive_>(value); }
    bool macActivePrev() const { return macActivePrev_; }
    void macActivePrevIs(bool value) { valueIs<&EthIntfStatus::macActivePrev_>(value); }
    std::uint32_t macActiveChanges() const { return macActiveChanges_; }
    void macActiveChangesIs(std::uint32_t value) {
        valueIs<&EthIntfStatus::macActiveChanges_>(value);
    }
    double lastMacActiveChange() const { return lastMacActiveChange_; }
    void lastMacActiveChangeIs(double seconds) {
        valueIs<&EthIntfStatus::lastMacActiveChange_>(seconds);
    }

    // What else the MAC layer has to say, by what it is about.
    const MacLayerAdditionalStatusMap& macLayerAdditionalStatus() const {
        return macLayerAdditionalStatus_;
    }
    // Empty when nothing is said.
    Zin::String macLayerAdditionalStatus(const Zin::String& name) const {
        return memberOf<&EthIntfStatus::macLayerAdditionalStatus_>(name);
    }
    void macLayerAdditionalStatusIs(const Zin::String& name, const Zin::String& text) {
        memberIs<&EthIntfStatus::macLayerAdditionalStatus_>(name, text);
    }
    Zin::String macLayerAdditionalStatusDel(const Zin::String& name) {
        return memberDel<&EthIntfStatus::macLayerAdditionalStatus_>(name);
    }
    void macLayerAdditionalStatusDelAll() {
        membersDelAll<&EthIntfStatus::macLayerAdditionalStatus_>();
    }

    EthIntfStatus(frame::Construct construct, const Vorn::IntfId& intfId, std::uint32_t genId)
        : DerivedOf(construct, intfId, genId) {}
    EthIntfStatus(
        frame::Construct construct,
        const Vorn::IntfId& intfId,
        const Zin::Ptr<EthIntfConfig>& intfConfig,
        std::uint32_t genId)
        : DerivedOf(construct, intfId, intfConfig, genId) {}

  private:
    Vorn::EthAddr addr_;
    Vorn::EthAddr routedAddr_;
    LinkStatus rawLinkStatus_ = LinkStatus::unknown;
    LinkStatus debouncedLinkStatus_ = LinkStatus::unknown;
    LinkStatus linkStatus_ = LinkStatus::unknown;
    std::uint32_t linkStatusChanges_ = 0;
    double lastLinkStatusChangeTime_ = 0;
    EthSpeed speedEnum_ = EthSpeed::unknown;
    std::uint64_t speedMbps_ = 0;
    PortId portId_;
    std::uint32_t l2Mtu_ = 0;
    std::uint32_t l2Mru_ = 0;
    std::uint32_t l2MruMax_ = 0;
    std::uint32_t l2MruMin_ = 0;
    bool macRxRemoteFault_ = false;
    std::uint32_t macRxRemoteFaultChanges_ = 0;
    double lastMacRxRemoteFaultChange_ = 0;
    bool macRxLocalFault_ = false;
    std::uint32_t macRxLocalFaultChanges_ = 0;
    double lastMacRxLocalFaultChange_ = 0;
    bool macActive_ = false;
    bool macActivePrev_ = false;
    std::uint32_t macActiveChanges_ = 0;
    double lastMacActiveChange_ = 0;
    MacLayerAdditionalStatusMap macLayerAdditionalStatus_;
};

}  // namespace Interface
