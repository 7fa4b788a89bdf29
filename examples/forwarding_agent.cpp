// An agent: mirrors the Pseudowire::Config that another process owns, computes a
// Pseudowire::Status from it, and serves that as "status". Beside it, as "hw", lies an
// OxoPw::PwHwStatus for whoever programs the hardware (hardware_agent.cpp) to write.

#include <exception>
#include <string>

#include "Pseudowire/PseudowireOxoTypes.h"
#include "agent/ForwardingAgent.h"
#include "agent/Loop.h"
#include "agent/OwnerLink.h"
#include "agent/PeerLabels.h"
#include "agent/Program.h"
#include "agent/Server.h"

namespace {

using Zin::NboAttrLog::Access;

class Agent final : agent::OwnerLink::Listener {
  public:
    Agent(const std::string& configAddress, const std::string& labelsFile)
        : labelsFile_(labelsFile), owner_(loop_, configAddress, {{"pw", config_}}, *this) {
        if (!labelsFile_.empty()) {
            forwarding_.peerLabelsAre(agent::readPeerLabels(labelsFile_));
        }
        exports_.exportIs("status", status_);
        exports_.exportIs("hw", hwStatus_, Access::readWrite);
        loop_.onHangup([this] { readLabelsAgain(); });
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

    void readLabelsAgain() {
        try {
            if (!labelsFile_.empty()) {
                forwarding_.peerLabelsAre(agent::readPeerLabels(labelsFile_));
            }
        } catch (const std::exception& failure) {
            agent::say(std::string(failure.what()) + "; the labels stay as they are");
        }
        owner_.update();
        owner_.settle();
    }

    const std::string labelsFile_;
    const Zin::Ptr<Pseudowire::Config> config_ = Pseudowire::configFactory("pw");
    const Zin::Ptr<Pseudowire::Status> status_ = Pseudowire::statusFactory("status");
    const Zin::Ptr<OxoPw::PwHwStatus> hwStatus_ = OxoPw::pwHwStatusFactory("hw");
    agent::ForwardingAgent forwarding_{config_, status_};
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
        "SIGHUP: read the labels again, and say when all that is known by then is computed.",
        {{"--config", "ADDRESS", "where \"pw\" is served, a Pseudowire::Config", true},
         {"--listen", "ADDRESS", "where to serve \"status\" and \"hw\"", true},
         {"--labels", "FILE", "labels of the peers, lines such as \"2.2.2.2:1006 22\"", false}},
        [](const auto& values) {
            const auto labels = values.find("--labels");
            Agent agent(
                values.at("--config"),
                labels == values.end() ? std::string() : labels->second);
            return agent.run(values.at("--listen"));
        });
}
