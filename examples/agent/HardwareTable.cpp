#include "agent/HardwareTable.h"

#include <utility>

#include "Vorn/IntfIdKinds.h"

namespace agent {

using OxoPw::UnprogrammedReason;

namespace {

bool isOnPort(Vorn::IntfId intfId) {
    const Vorn::IntfId port =
        Vorn::SubIntfId::isSubIntfId(intfId) ? Vorn::SubIntfId::parentIntfId(intfId) : intfId;
    return Vorn::EthIntfId::isEthIntfId(port) ||
           Vorn::PortChannelIntfId::isPortChannelIntfId(port);
}

}  // namespace

HardwareTable::HardwareTable(
    Zin::Ptr<Pseudowire::Status> status,
    Zin::Ptr<OxoPw::PwHwStatus> hwStatus,
    std::size_t capacity)
    : Notifiee(status),
      status_(std::move(status)),
      hwStatus_(std::move(hwStatus)),
      capacity_(capacity) {
    sayAllAgain();
}

void HardwareTable::sayAllAgain() {
    for (const auto& adjacency : status_->encapAdjacency()) changed_.insert(adjacency.key());
    for (const auto& info : status_->localConnectorInfo()) changed_.insert(info.key());
    for (const auto& said : hwStatus_->unprogrammedEncapAdj()) changed_.insert(said.key());
    for (const auto& said : hwStatus_->unprogrammedLocalConnector()) {
        changed_.insert(said.key());
    }
}

bool HardwareTable::canBeProgrammed(Vorn::IntfId circuit) const {
    return status_->encapAdjacency().has(circuit) && isOnPort(circuit);
}

void HardwareTable::update() {
    auto changed = std::exchange(changed_, {});
    // What goes makes room for what comes.
    for (const Vorn::IntfId circuit : changed) {
        if (canBeProgrammed(circuit)) continue;
        programmed_.erase(circuit);
        waiting_.erase(circuit);
    }
    for (const Vorn::IntfId circuit : changed) {
        if (canBeProgrammed(circuit) && !programmed_.contains(circuit))
            waiting_.insert(circuit);
    }
    while (programmed_.size() < capacity_ && !waiting_.empty()) {
        changed.insert(*waiting_.begin());
        programmed_.insert(waiting_.extract(waiting_.begin()));
    }
    for (const Vorn::IntfId circuit : changed) report(circuit);
}

void HardwareTable::report(Vorn::IntfId circuit) {
    const bool isProgrammed = programmed_.contains(circuit);
    if (isProgrammed || !status_->encapAdjacency().has(circuit)) {
        hwStatus_->unprogrammedEncapAdjDel(circuit);
    } else {
        hwStatus_->unprogrammedEncapAdjIs(
            circuit,
            isOnPort(circuit) ? UnprogrammedReason::hwProgrammingFailed
                              : UnprogrammedReason::invalidEndPointConfig);
    }
    if (isProgrammed || !status_->localConnectorInfo().has(circuit)) {
        hwStatus_->unprogrammedLocalConnectorDel(circuit);
    } else {
        hwStatus_->unprogrammedLocalConnectorIs(
            circuit,
            isOnPort(circuit) ? UnprogrammedReason::hwFecNotProgrammed
                              : UnprogrammedReason::invalidEndPointConfig);
    }
}

}  // namespace agent
