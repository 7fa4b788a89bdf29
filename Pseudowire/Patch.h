// A patch joins connectors into one cross-connect: a local attachment circuit and a pseudowire,
// or two local circuits. Patches are children of Pseudowire::Config.

#pragma once

#include "Pseudowire/ConnectorKey.h"
#include "Zin/Export.h"
#include "Zin/HSet.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _Pseudowire_2685b2b7_zinModule;

namespace Pseudowire {

class ZIN_EXPORT Patch final : public frame::EntityOf<Patch> {
  public:
    using ZinConnectorKey = Zin::HSet<ConnectorKey, 0x5b1e7d24>;

    struct Notifiee : frame::NotifieeOf<Patch> {
        using NotifieeOf::NotifieeOf;
        virtual void onEnabled() {}
        virtual void onConnectorKey(const ConnectorKey& /*key*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_Pseudowire_2685b2b7_zinModule, 0>(
            "Pseudowire::Patch",
            frame::attribute<258, &Patch::enabled_, &Notifiee::onEnabled>("enabled"),
            frame::attribute<259, &Patch::connectorKey_, &Notifiee::onConnectorKey>(
                "connectorKey"));
    }

    // Whether traffic may cross the patch, as far as its administrator is concerned.
    bool enabled() const { return enabled_; }
    void enabledIs(bool enabled) { valueIs<&Patch::enabled_>(enabled); }

    // The connectors that the patch joins. They need not exist in Config.connector.
    const ZinConnectorKey& connectorKey() const { return connectorKey_; }
    void connectorKeyIs(const ConnectorKey& key) { memberIs<&Patch::connectorKey_>(key); }
    void connectorKeyDel(const ConnectorKey& key) { memberDel<&Patch::connectorKey_>(key); }
    void connectorKeyDelAll() { membersDelAll<&Patch::connectorKey_>(); }

    Patch(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    bool enabled_ = true;
    ZinConnectorKey connectorKey_;
};

}  // namespace Pseudowire
