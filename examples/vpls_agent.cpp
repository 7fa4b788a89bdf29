// An agent: mirrors the Pseudowire::VplsConfig, the pseudowires and what signalling learnt of
// them, which another process owns, computes a Pseudowire::VplsForwardingStatus, and serves
// that as "vplsForwarding". Beside it, as "interfaces", lies which interface stands for each
// pseudowire.

#include <cstdint>
#include <string>

#include "agent/Loop.h"
#include "agent/OwnerLink.h"
#include "agent/Program.h"
#include "agent/Server.h"
#include "agent/VplsForwardingAgent.h"

namespace {

class Agent final : agent::OwnerLink::Listener {
  public:
    explicit Agent(const std::string& configAddress)
        : owner_(
              loop_,
              configAddress,
              {{"vpls", vpls_}, {"pw", config_}, {"signalling", signalling_}},
              *this) {
        exports_.exportIs("vplsForwarding", forwarding_);
        exports_.exportIs("interfaces", interfaces_);
        loop_.onHangup([this] { owner_.settle(); });
    }

    int run(const std::string& listenAddress) {
        agent::serveAt(listenAddress, exports_, loop_);
        return loop_.run();
    }

  private:
    void onUpdate() override { agent_.update(); }
    void onSettled() override {
        std::uint32_t vlans = 0;
        std::uint32_t pseudowires = 0;
        for (const auto& instance : forwarding_->instance()) {
            vlans += instance.value()->vlan().members();
            for (const auto& group : instance.value()->pseudowireGroup()) {
                pseudowires += group.value()->pseudowire().members();
            }
        }
        agent::tell(
            "settled: instances " + std::to_string(forwarding_->instance().members()) +
            ", VLANs " + std::to_string(vlans) + ", pseudowires " +
            std::to_string(pseudowires) + " of " +
            std::to_string(interfaces_->psudowireIntfId().members()));
    }

    const Zin::Ptr<Pseudowire::VplsConfig> vpls_ = Pseudowire::vplsConfigFactory("vpls");
    const Zin::Ptr<Pseudowire::Config> config_ = Pseudowire::configFactory("pw");
    const Zin::Ptr<Pseudowire::PseudowireAttributeStatusColl> signalling_ =
        Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    const Zin::Ptr<Pseudowire::VplsForwardingStatus> forwarding_ =
        Pseudowire::vplsForwardingStatusFactory("vplsForwarding");
    const Zin::Ptr<Pseudowire::PseudowireIntfIdMapping> interfaces_ =
        Pseudowire::pseudowireIntfIdMappingFactory("interfaces");
    agent::VplsForwardingAgent agent_{vpls_, config_, signalling_, forwarding_, interfaces_};
    Zin::NboAttrLog::Exports exports_;
    agent::Loop loop_;
    agent::OwnerLink owner_;
};

}  // namespace

int main(int argc, char** argv) {
    return agent::runProgram(
        argc,
        argv,
        "Computes the forwarding status of VPLS instances, and serves it.\n"
        "SIGHUP: say when all that is known by then is computed.",
        {{"--config", "ADDRESS", "where \"vpls\", \"pw\" and \"signalling\" are served", true},
         {"--listen", "ADDRESS", "where to serve \"vplsForwarding\" and \"interfaces\"", true}},
        [](const auto& values) {
            Agent agent(values.at("--config"));
            return agent.run(values.at("--listen"));
        });
}
