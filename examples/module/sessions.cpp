// Owns the sessions of a switch, mirrors them over an attribute log, and tells when one of the
// mirror goes down or comes up.

#include <iostream>

#include "SessionDir.h"
#include "Zin/NboAttrLogConnection.h"

using namespace Zin::NboAttrLog;

namespace {

struct Alarm : Bfd::SessionDir::Notifiee {
    using Notifiee::Notifiee;

    void onState(const Vorn::IpGenAddr& peer) override {
        const char* const what =
            notifier()->state(peer) == Bfd::State::up ? " is up\n" : " is not up\n";
        std::cout << peer.stringValue().view() << what;
    }
};

}  // namespace

int main() {
    const auto sessions = Bfd::sessionDirFactory("bfd");
    const auto mirror = Bfd::sessionDirFactory("bfd");
    const Alarm alarm(mirror);

    Exports exports, none;
    exports.exportIs("bfd", sessions);
    Observer observer;
    Connection owner(exports, observer), peer(none, observer);
    peer.mount("bfd", mirror);
    const auto exchange = [&] {
        const auto carry = [](Connection& from, Connection& to) {
            const auto bytes = from.produce(65536);
            to.feed(bytes);
            from.consumed(bytes.size());
        };
        while (owner.hasOutput() || peer.hasOutput()) {
            carry(owner, peer);
            carry(peer, owner);
        }
    };

    const auto berlin = Vorn::IpGenAddr::fromStringValue("192.0.2.7");
    sessions->stateIs(berlin, Bfd::State::up);
    exchange();
    sessions->stateIs(berlin, Bfd::State::down);
    exchange();
    std::cout << "sessions: " << mirror->state().members() << '\n';
}
