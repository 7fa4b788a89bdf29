// Changes a pseudowire configuration and reacts to it: a reactor that hears of whole
// collections, and a callable that is attached to one attribute.

#include <iostream>

#include "Pseudowire/PseudowireConfig.h"
#include "frame/Reactor.h"

namespace {

using Pseudowire::Config;

struct Agent : Config::Notifiee {
    using Notifiee::Notifiee;

    void onConnector(const Pseudowire::ConnectorKey& key) override {
        if (!notifier()->connectorHas(key)) {
            std::cout << key.stringValue().view() << " is gone\n";
            return;
        }
        std::cout << key.stringValue().view() << " has MTU " << notifier()->connector(key).mtu()
                  << '\n';
    }
    void onPatch(const Zin::String& name) override {
        std::cout << "patch " << name.view()
                  << (notifier()->patch(name) ? " is there\n" : " is gone\n");
    }
};

}  // namespace

int main() {
    const auto config = Pseudowire::configFactory("config");
    const Agent agent(config);
    const auto onMtu = frame::attach<&Config::Notifiee::onMtu>(config, [&] {
        std::cout << "the default MTU is " << config->mtu() << '\n';
    });

    Pseudowire::ConnectorKey local;
    local.localConnectorKeyIs(Vorn::IntfId::fromStringValue("Ethernet3/1.100"));
    Pseudowire::ConnectorKey remote;
    remote.ldpConnectorKeyIs("to-berlin");

    config->mtuIs(1500);
    config->mtuIs(1500);  // changes nothing, so nobody is told
    config->connectorIs(Pseudowire::Connector(local));
    Pseudowire::Connector pseudowire(remote);
    pseudowire.ldpKeyIs({Vorn::IpGenAddr::fromStringValue("192.0.2.7"), 1001});
    pseudowire.mtuIs(9000);
    config->connectorIs(pseudowire);

    const auto patch = config->patchIs("line-1");
    patch->connectorKeyIs(local);
    patch->connectorKeyIs(remote);

    config->patchDel("line-1");
    config->connectorDel(remote);
}
