// Something of everything that tools/gdb shows; stops at look().

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireStatus.h"
#include "support/LabTypes.h"

namespace {

[[gnu::noinline]] void look() {
    asm volatile("");
}

// Forty members are in several buckets below a directory.
constexpr std::uint32_t manyMembers = 40;

struct StepNode : Zin::RbTreeMapNodeExternKey<std::uint32_t, Zin::String> {};
using Steps = Zin::RbTreeMap<StepNode, std::uint32_t, Zin::String>;

}  // namespace

int main() {
    const Zin::String text("to \"Berlin\"");
    const Zin::String none;
    const Zin::Ptr<Pseudowire::Config> nobody;
    const auto config = Pseudowire::configFactory("pw");
    config->mtuIs(1500);
    const auto patch = config->patchIs("metro");
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs("pw1");
    patch->connectorKeyIs(key);
    config->connectorIs(Pseudowire::Connector(key));

    const auto bench = Lab::Bench::BenchIs("bench");
    bench->labelIs("oak");
    for (std::uint32_t i = 0; i < manyMembers; ++i) bench->readingIs(i, std::to_string(i * i));
    const auto& reading = bench->reading();
    Steps steps;
    steps.put(7, "stir");
    steps.put(3, "heat");
    const auto rack = bench->rackIs("left", true);
    rack->slotIs("b");
    rack->slotIs("a")->labelIs("cork");
    const Zin::Entity& base = *rack;

    look();
    return static_cast<int>(reading.members() - manyMembers) + (base.parent() ? 0 : 1) +
           (text.empty() || nobody || none || steps.empty() ? 1 : 0);
}
