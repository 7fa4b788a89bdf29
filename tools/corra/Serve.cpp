#include "corra/Serve.h"

#include <csignal>
#include <exception>
#include <memory>

#include "Pseudowire/PseudowireConfig.h"
#include "corra/Console.h"
#include "corra/EventLoop.h"
#include "corra/Import.h"
#include "corra/Server.h"

namespace corra {

using Zin::NboAttrLog::Access;

namespace {

void importCapture(const ServeOptions& options, Pseudowire::Config& config) {
    const std::string file = runningConfigFile(options.captureDirectory);
    for (const auto& diagnostic : importFile(file, config)) say(located(file, diagnostic));
    say(file + ": " + std::to_string(config.connector().members()) + " connectors, " +
        std::to_string(config.patch().members()) + " patches");
}

}  // namespace

int serve(const ServeOptions& options) {
    const auto config = Pseudowire::configFactory("pw");
    importCapture(options, *config);

    Zin::NboAttrLog::Exports exports;
    exports.exportIs("pw", config, options.writable ? Access::readWrite : Access::readOnly);
    EventLoop loop;
    Server server(loop, exports);
    loop.add(std::make_unique<SignalSource>(
        std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP},
        [&](int signal) {
            if (signal != SIGHUP) return loop.stop();
            try {
                importCapture(options, *config);
            } catch (const std::exception& failure) {
                say(std::string(failure.what()) + "; nothing is changed");
            }
        }));
    for (const std::string& address : options.addresses) server.listenAt(address);
    loop.run();
    say("ending");
    return exitGood;
}

}  // namespace corra
