#include "corra/Serve.h"

#include <csignal>
#include <exception>
#include <memory>
#include <stdexcept>

#include "corra/Console.h"
#include "corra/EventLoop.h"
#include "corra/Locate.h"
#include "corra/Server.h"
#include "corra/Source.h"

namespace corra {

using Zin::NboAttrLog::Access;

namespace {

// What is loaded, and what is offered of it.
class Served {
  public:
    explicit Served(const ServeOptions& options)
        : access_(options.writable ? Access::readWrite : Access::readOnly) {
        for (const std::string& place : options.sources) {
            if (Source::kindOf(place) == Source::Kind::live) {
                throw std::runtime_error(place + ": what is live is served by its owner");
            }
            sources_.push_back(std::make_unique<Source>(SourceOptions{place}));
            offer(*sources_.back());
        }
    }

    Zin::NboAttrLog::Exports& exports() { return exports_; }

    void reload() {
        for (const auto& source : sources_) {
            try {
                const Roots before = source->roots();
                source->reload();
                for (const auto& [name, root] : before) {
                    const auto now = source->roots().find(name);
                    const bool stays = now != source->roots().end() && now->second == root;
                    if (!stays) exports_.exportDel(name);
                }
                offer(*source);
            } catch (const std::exception& failure) {
                say(std::string(failure.what()) + "; nothing is changed");
            }
        }
    }

  private:
    void offer(Source& source) {
        for (const auto& [name, root] : source.roots()) {
            const auto offered = exports_.all().find(name);
            if (offered != exports_.all().end() && offered->second.entity == root) continue;
            exports_.exportIs(name, root, access_);
        }
        say(source.place() + ": " + std::to_string(factsOf(source.roots()).size()) + " facts");
    }

    const Access access_;
    std::vector<std::unique_ptr<Source>> sources_;
    Zin::NboAttrLog::Exports exports_;
};

}  // namespace

int serve(const ServeOptions& options) {
    Served served(options);
    EventLoop loop;
    Server server(loop, served.exports());
    loop.add(std::make_unique<SignalSource>(
        std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP},
        [&](int signal) { signal == SIGHUP ? served.reload() : loop.stop(); }));
    for (const std::string& address : options.addresses) server.listenAt(address);
    loop.run();
    say("ending");
    return exitGood;
}

}  // namespace corra
