// HardwareTable stands for a forwarding chip with room for so many encapsulations. It takes
// them from a Pseudowire::Status as they come, and says in an OxoPw::PwHwStatus which objects
// it could not program, and why. A place that becomes free goes to the first circuit that
// waits. The cost of update() follows the change.

#pragma once

#include <cstddef>
#include <set>

#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"

namespace agent {

class HardwareTable final : Pseudowire::Status::Notifiee {
  public:
    HardwareTable(
        Zin::Ptr<Pseudowire::Status> status,
        Zin::Ptr<OxoPw::PwHwStatus> hwStatus,
        std::size_t capacity);

    void update();
    // Says all again at the next update: what is said elsewhere may be of somebody before.
    void sayAllAgain();

    std::size_t programmed() const { return programmed_.size(); }

  private:
    void onEncapAdjacency(const Vorn::IntfId& circuit) override { changed_.insert(circuit); }
    void onLocalConnectorInfo(const Vorn::IntfId& circuit) override {
        changed_.insert(circuit);
    }

    bool canBeProgrammed(Vorn::IntfId circuit) const;
    void report(Vorn::IntfId circuit);

    const Zin::Ptr<Pseudowire::Status> status_;
    const Zin::Ptr<OxoPw::PwHwStatus> hwStatus_;
    const std::size_t capacity_;
    std::set<Vorn::IntfId> changed_;
    std::set<Vorn::IntfId> programmed_;
    std::set<Vorn::IntfId> waiting_;
};

}  // namespace agent
