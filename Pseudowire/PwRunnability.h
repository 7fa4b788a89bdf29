// Whether the pseudowire service has configuration to act on: the smallest entity of the
// library, and the whole shape of one. A type states what it is made of in schema(); its
// mutators name the members that they change; everything else (notification, the attribute log,
// tables, text) follows.

#pragma once

#include "Zin/Export.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PwRunnability_4c2637c2_zinModule;

namespace Pseudowire {

class ZIN_EXPORT Runnability final : public frame::EntityOf<Runnability> {
  public:
    struct Notifiee : frame::NotifieeOf<Runnability> {
        using NotifieeOf::NotifieeOf;
        virtual void onConfig() {}
    };

    static consteval auto schema() {
        return frame::entity<_PwRunnability_4c2637c2_zinModule, 0>(
            "Pseudowire::Runnability",
            frame::attribute<258, &Runnability::config_, &Notifiee::onConfig>("config"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<Runnability> RunnabilityIs(const Zin::String& name);

    // True when there is pseudowire configuration to act on.
    bool config() const { return config_; }
    void configIs(bool config) { valueIs<&Runnability::config_>(config); }

    Runnability(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    bool config_ = false;
};

ZIN_EXPORT Zin::Ptr<Runnability> runnabilityFactory(const Zin::String& name);

}  // namespace Pseudowire
