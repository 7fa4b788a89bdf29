// IntfStatusDir is a directory of interface status. What is in it is a matter of the types that
// derive from it, each of which holds status of one kind; their attributes are numbered from
// 386 on.

#pragma once

#include <cstdint>

#include "Interface/InterfaceModule.h"
#include "Zin/Export.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Interface {

// What directories have in common, whatever they hold.
class ZIN_EXPORT IntfStatusDirBase : public frame::EntityOf<IntfStatusDirBase> {
  public:
    struct Notifiee : frame::NotifieeOf<IntfStatusDirBase> {
        using NotifieeOf::NotifieeOf;
        virtual void onGenIdMarker() {}
        virtual void onCounterDirPath() {}
        virtual void onDropCounterDirPath() {}
    };

    static consteval auto schema() {
        using Dir = IntfStatusDirBase;
        using frame::attribute;
        return frame::entity<_Interface_zinModule, 4>(
            "Interface::IntfStatusDirBase",
            attribute<258, &Dir::genIdMarker_, &Notifiee::onGenIdMarker>("genIdMarker"),
            attribute<260, &Dir::counterDirPath_, &Notifiee::onCounterDirPath>(
                "counterDirPath"),
            attribute<261, &Dir::dropCounterDirPath_, &Notifiee::onDropCounterDirPath>(
                "dropCounterDirPath"));
    }

    // The number that the next interface is told from earlier ones by.
    std::uint32_t genIdMarker() const { return genIdMarker_; }
    void genIdMarkerIs(std::uint32_t marker) {
        valueIs<&IntfStatusDirBase::genIdMarker_>(marker);
    }
    // Where the counters of the interfaces are kept, and those of dropped packets.
    const Zin::String& counterDirPath() const { return counterDirPath_; }
    void counterDirPathIs(const Zin::String& path) {
        valueIs<&IntfStatusDirBase::counterDirPath_>(path);
    }
    const Zin::String& dropCounterDirPath() const { return dropCounterDirPath_; }
    void dropCounterDirPathIs(const Zin::String& path) {
        valueIs<&IntfStatusDirBase::dropCounterDirPath_>(path);
    }

    IntfStatusDirBase(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    std::uint32_t genIdMarker_ = 0;
    Zin::String counterDirPath_;
    Zin::String dropCounterDirPath_;
};

class ZIN_EXPORT IntfStatusDir : public frame::DerivedOf<IntfStatusDir, IntfStatusDirBase> {
  public:
    struct Notifiee : frame::NotifieeOf<IntfStatusDir, IntfStatusDirBase> {
        using NotifieeOf::NotifieeOf;
    };

    static consteval auto schema() {
        return frame::entity<_Interface_zinModule, 5>("Interface::IntfStatusDir");
    }

    IntfStatusDir(frame::Construct construct, const Zin::String& name)
        : DerivedOf(construct, name) {}
};

}  // namespace Interface
