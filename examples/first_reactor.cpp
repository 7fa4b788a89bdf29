// A configuration, a reactor, and a mirror of it over an attribute log, in one process.

#include <iostream>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/NboAttrLogConnection.h"

using namespace Zin::NboAttrLog;

int main() {
    auto config = Pseudowire::configFactory("pw");
    auto mirror = Pseudowire::configFactory("pw");
    auto attached = frame::attach<&Pseudowire::Config::Notifiee::onPatch>(
        mirror,
        [](const Zin::String& name) { std::cout << "patch " << name.view() << '\n'; });

    Exports exports, none;
    exports.exportIs("pw", config);
    Observer observer;
    Connection owner(exports, observer), peer(none, observer);
    peer.mount("pw", mirror);
    const auto carry = [](Connection& from, Connection& to) {
        const auto bytes = from.produce(65536);
        to.feed(bytes);
        from.consumed(bytes.size());
    };

    config->patchIs("metro-003")->enabledIs(false);
    while (owner.hasOutput() || peer.hasOutput()) {
        carry(owner, peer);  // produce() here, feed() there
        carry(peer, owner);
    }
    std::cout << "enabled: " << mirror->patch("metro-003")->enabled() << '\n';
}
