// An agent: mirrors the Pseudowire::Config and what signalling learnt, which another process
// owns, computes a Pseudowire::Status from them, and serves that as "status". Beside it, as
// "hw", lies an OxoPw::PwHwStatus for whoever programs the hardware (hardware_agent.cpp) to
// write.

#include <string>

#include "Pseudowire/PseudowireOxoTypes.h"
#include "agent/ForwardingAgent.h"
#include "agent/Loop.h"
#include "agent/OwnerLink.h"
#include "agent/Program.h"
#include "agent/Server.h"

namespace {

using Zin::NboAttrLog::Access;

class Agent final : agent::OwnerLink::Listener {
  public:
    explicit Agent(const std::string& configAddress)
        : owner_(loop_, configAddress, {{"pw", config_}, {"signalling", signalling_}}, *this) {
        exports_.exportIs("status", status_);
        exports_.exportIs("hw", hwStatus_, Access::readWrite);
        loop_.onHangup([this] { owner_.settle(); });
    }

    int run(const std::string& listenAddress) {
        agent::serveAt(listenAddress, exports_, loop_);
        return loop_.run();
    }

  private:
    void onUpdate() override { forwarding_.update(); }
    void onSettled() override {
        agent::tell(
            "settled: patches " + std::to_string(status_->patchToAcSet().members()) +
            ", adjacencies " + std::to_string(status_->encapAdjacency().members()) +
            ", groups " + std::to_string(status_->adjGroup().members()));
    }

    const Zin::Ptr<Pseudowire::Config> config_ = Pseudowire::configFactory("pw");
    const Zin::Ptr<Pseudowire::PseudowireAttributeStatusColl> signalling_ =
        Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    const Zin::Ptr<Pseudowire::Status> status_ = Pseudowire::statusFactory("status");
    const Zin::Ptr<OxoPw::PwHwStatus> hwStatus_ = OxoPw::pwHwStatusFactory("hw");
    agent::ForwardingAgent forwarding_{config_, signalling_, status_};
    Zin::NboAttrLog::Exports exports_;
    agent::Loop loop_;
    agent::OwnerLink owner_;
};

}  // namespace

int main(int argc, char** argv) {
    return agent::runProgram(
        argc,
        argv,
        "Computes the forwarding status of a pseudowire configuration, and serves it.\n"
        "SIGHUP: say when all that is known by then is computed.",
        {{"--config", "ADDRESS", "where \"pw\" and \"signalling\" are served", true},
         {"--listen", "ADDRESS", "where to serve \"status\" and \"hw\"", true}},
        [](const auto& values) {
            Agent agent(values.at("--config"));
            return agent.run(values.at("--listen"));
        });
}
