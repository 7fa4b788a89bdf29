// Mirrors the configuration that somebody serves, and prints what changes, until the owner
// goes.
//
// usage: mirror ADDRESS     such as unix:pw.sock

#include <poll.h>

#include <exception>
#include <iostream>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/NboAttrLogFd.h"

using namespace Zin::NboAttrLog;

int main(int argc, char** argv) try {
    if (argc != 2) throw Zin::Exception("usage: mirror ADDRESS");
    const auto config = Pseudowire::configFactory("pw");
    const auto onMtu = frame::attach<&Pseudowire::Config::Notifiee::onMtu>(config, [&] {
        std::cout << "the default MTU is " << config->mtu() << std::endl;
    });
    const auto onPatch = frame::attach<&Pseudowire::Config::Notifiee::onPatch>(
        config,
        [&](const Zin::String& name) {
            std::cout << "patch " << name.view() << (config->patch(name) ? "" : " is gone")
                      << std::endl;
        });

    Exports none;
    Observer observer;
    FdStream owner(connectTo(Address::fromText(argv[1])), none, observer);
    owner.connection().mount("pw", config);
    for (pollfd polled{owner.fd(), 0, 0};;) {
        polled.events = owner.wanted();
        ::poll(&polled, 1, -1);
        if (!owner.ready(polled.revents)) return 0;
    }
} catch (const std::exception& error) {
    std::cerr << "mirror: " << error.what() << '\n';
    return 2;
}
