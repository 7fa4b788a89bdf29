// The process beside a forwarding agent that programs the hardware: mirrors the agent's
// Pseudowire::Status, fills a table of limited size from it, and reports into the agent's
// OxoPw::PwHwStatus what did not get in.

#include <cstddef>
#include <limits>
#include <string>

#include "Zin/TextReader.h"
#include "agent/HardwareTable.h"
#include "agent/Loop.h"
#include "agent/OwnerLink.h"
#include "agent/Program.h"

namespace {

constexpr const char* usualCapacity = "1024";

class Hardware final : agent::OwnerLink::Listener {
  public:
    Hardware(const std::string& agentAddress, std::size_t capacity)
        : table_(status_, hwStatus_, capacity),
          agent_(loop_, agentAddress, {{"status", status_}, {"hw", hwStatus_}}, *this) {
        loop_.onHangup([this] { agent_.settle(); });
    }

    int run() { return loop_.run(); }

  private:
    void onSynced() override { table_.sayAllAgain(); }
    void onUpdate() override { table_.update(); }
    void onSettled() override {
        agent::tell(
            "settled: programmed " + std::to_string(table_.programmed()) + " of " +
            std::to_string(status_->encapAdjacency().members()) + " adjacencies");
    }

    const Zin::Ptr<Pseudowire::Status> status_ = Pseudowire::statusFactory("status");
    const Zin::Ptr<OxoPw::PwHwStatus> hwStatus_ = OxoPw::pwHwStatusFactory("hw");
    agent::HardwareTable table_;
    agent::Loop loop_;
    agent::OwnerLink agent_;
};

std::size_t capacityFrom(const std::string& text) {
    Zin::TextReader reader(text);
    const auto capacity = reader.number(std::numeric_limits<std::uint32_t>::max());
    reader.needEnd();
    return static_cast<std::size_t>(capacity);
}

}  // namespace

int main(int argc, char** argv) {
    return agent::runProgram(
        argc,
        argv,
        "Stands for hardware that a forwarding agent's status is programmed into.\n"
        "SIGHUP: say when all that the agent holds by then is programmed, or reported.",
        {{"--agent", "ADDRESS", "where the agent serves \"status\" and \"hw\"", true},
         {"--capacity", "N", "encapsulations that the hardware has room for", false}},
        [](const auto& values) {
            const auto capacity = values.find("--capacity");
            Hardware hardware(
                values.at("--agent"),
                capacityFrom(capacity == values.end() ? usualCapacity : capacity->second));
            return hardware.run();
        });
}
