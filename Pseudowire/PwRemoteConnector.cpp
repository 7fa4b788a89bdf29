#include "Pseudowire/PwRemoteConnector.h"

#include "frame/Dump.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PwRemoteConnector_ed40835_zinModule = frame::moduleOf<
    Pseudowire::PseudowirePeerAttributeStatus,
    Pseudowire::PseudowireAttributeStatus,
    Pseudowire::PseudowireAttributeStatusColl>("PwRemoteConnector");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PwRemoteConnector_ed40835_zinModule);

bool sendsFlowLabels(const PseudowireAttributeStatus& status) {
    return status.flowLabelType().bit(FlowLabelDirection::transmit);
}

}  // namespace

Zin::String PseudowirePeerAttributeStatus::toStrep() const {
    return Zin::shortForm(
        {{"peerLabel", peerLabel_},
         {"tunnelId", tunnelId_},
         {"mtu", mtu_},
         {"encapControlWord", encapControlWord_}});
}

PseudowirePeerAttributeStatus PseudowireAttributeStatus::peerInfo(
    const Vorn::IpGenAddr& peer) const {
    const auto* const node = peerInfo_.lookup(peer);
    return node ? node->value() : PseudowirePeerAttributeStatus();
}

bool PseudowireAttributeStatus::changedForAdjProgramming(
    const PseudowireAttributeStatus& other) const {
    if (!(localLabel_ == other.localLabel_)) return true;
    if (sendsFlowLabels(*this) != sendsFlowLabels(other)) return true;
    if (peerInfo_.members() != other.peerInfo_.members()) return true;
    for (auto it = peerInfo_.iteratorConst(); it; ++it) {
        const PseudowirePeerAttributeStatus& here = it.value();
        const PseudowirePeerAttributeStatus there = other.peerInfo(it.key());
        if (!(here.tunnelId() == there.tunnelId())) return true;
        if (!(here.peerLabel() == there.peerLabel())) return true;
        if (here.encapControlWord() != there.encapControlWord()) return true;
    }
    return false;
}

void PseudowireAttributeStatus::dumpState(const Quib::DumpContextPtr& context, unsigned indent)
    const {
    const frame::Dump body(context, indent);
    body.attribute("status", status_);
    body.attribute("localLabel", localLabel_);
    body.attribute("remotePwType", remotePwType_);
    body.attribute("decapControlWord", decapControlWord_);
    const frame::Dump peers = body.collection("peerInfo", peerInfo_.members());
    for (auto it = peerInfo_.iteratorConst(); it; ++it) {
        peers.member(it.key(), it.value().toStrep());
    }
    body.attribute("flowLabelType", flowLabelType_);
    body.attribute("intfDescription", intfDescription_);
    body.attribute("localVccvCcTypes", localVccvCcTypes_);
    body.attribute("localVccvCvTypes", localVccvCvTypes_);
    body.attribute("peerVccvCcTypes", peerVccvCcTypes_);
    body.attribute("peerVccvCvTypes", peerVccvCvTypes_);
    body.attribute("reassemblySupported", reassemblySupported_);
    body.attribute("requestedDot1qTag", requestedDot1qTag_.value());
    body.attribute("pwStatusFlags", pwStatusFlags_.value());
    body.attribute("pwId", pwId_);
}

void PseudowireAttributeStatusColl::dumpState(
    const Quib::DumpContextPtr& context,
    unsigned indent) const {
    const frame::Dump body =
        frame::Dump(context, indent).header("PseudowireAttributeStatusColl");
    const frame::Dump users = body.collection("connectorStatus", connectorStatus_.members());
    for (auto it = connectorStatus_.iteratorConst(); it; ++it) {
        users.header("PseudowireAttributeStatus", frame::dumpText(it.key().toStrep()).view());
        it.value().dumpState(context, indent + 6);
    }
}

Zin::Ptr<PseudowireAttributeStatusColl>
PseudowireAttributeStatusColl::PseudowireAttributeStatusCollIs(const Zin::String& name) {
    return frame::make<PseudowireAttributeStatusColl>(name);
}

Zin::Ptr<PseudowireAttributeStatusColl> pseudowireAttributeStatusCollFactory(
    const Zin::String& name) {
    return PseudowireAttributeStatusColl::PseudowireAttributeStatusCollIs(name);
}

}  // namespace Pseudowire
