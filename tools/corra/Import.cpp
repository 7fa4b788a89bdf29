#include "corra/Import.h"

#include <cerrno>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "Pseudowire/VplsConfig.h"
#include "Vorn/IntfIdKinds.h"
#include "Zin/Exceptions.h"
#include "corra/ConfigLine.h"
#include "corra/PanelOf.h"
#include "corra/SignallingState.h"
#include "corra/Update.h"
#include "corra/WholeFile.h"

namespace corra {

namespace {

using Pseudowire::Config;
using Pseudowire::Connector;
using Pseudowire::ConnectorKey;
using Pseudowire::VplsConfig;

struct Wanted {
    std::map<ConnectorKey, Connector> connectors;
    std::map<Zin::String, std::set<ConnectorKey>> patches;
};

Vorn::IntfId intfIdOf(const RouterConfig::Interface& interface, std::string_view file) {
    constexpr const char* expected = "an interface name such as eth4, swp14, bond0 or eth4.303";
    try {
        const auto id = Vorn::IntfId::fromStringValue(interface.name);
        if (id != Vorn::IntfId()) return id;
    } catch (const Zin::Exception&) {
    }
    throw RouterConfigError(
        std::string(file),
        interface.line,
        interface.column,
        expected,
        inQuotes(interface.name));
}

Connector localConnector(Vorn::IntfId interface, const RouterConfig::Instance& instance) {
    ConnectorKey key;
    key.localConnectorKeyIs(interface);
    Connector connector(key);
    if (Vorn::SubIntfId::isSubIntfId(interface)) {
        connector.dot1qEncapIs(Bridging::Dot1qEncap(
            Bridging::VlanIdOrNone(Vorn::SubIntfId::outerTag(interface)),
            Bridging::VlanIdOrNone(Vorn::SubIntfId::innerTag(interface))));
    }
    connector.mtuIs(instance.mtu);
    return connector;
}

Connector ldpConnector(
    const RouterConfig::Pseudowire& pseudowire,
    const RouterConfig::Instance& instance) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(pseudowire.name);
    Connector connector(key);
    connector.ldpKeyIs(Pseudowire::PseudowireLdpKey(pseudowire.neighborLsrId, pseudowire.pwId));
    connector.controlWordIs(pseudowire.controlWord);
    connector.pwStatusTlvIs(pseudowire.pwStatus);
    connector.pseudowireTypeIs(instance.pseudowireType);
    connector.mtuIs(instance.mtu);
    return connector;
}

bool isPointToPoint(const RouterConfig::Instance& instance) {
    return instance.interfaces.size() == 1 && instance.pseudowires.size() == 1;
}

// Instances that are not point to point. What came from one pseudowire of an instance goes to
// no other (RFC 4762 section 4.4), so all are in one group.
Zin::Ptr<VplsConfig> vplsWantedBy(const RouterConfig& router, std::string_view file) {
    auto vpls = Pseudowire::vplsConfigFactory("vpls");
    for (const RouterConfig::Instance& instance : router.instances) {
        if (isPointToPoint(instance)) continue;
        const auto wanted = vpls->instanceIs(instance.name);
        for (const auto& interface : instance.interfaces) {
            const Vorn::IntfId id = intfIdOf(interface, file);
            if (!Vorn::SubIntfId::isSubIntfId(id)) continue;
            wanted->vlanIs({Bridging::VlanId(Vorn::SubIntfId::outerTag(id)), {}});
        }
        const auto group = wanted->ldpPseudowireGroupIs("core", true);
        for (const auto& pseudowire : instance.pseudowires) {
            group->pseudowireIs({pseudowire.name, false, 0});
        }
    }
    return vpls;
}

Wanted wantedBy(const RouterConfig& router, std::string_view file) {
    Wanted wanted;
    for (const RouterConfig::Instance& instance : router.instances) {
        std::set<ConnectorKey> joined;
        const auto add = [&](const Connector& connector) {
            wanted.connectors.emplace(connector.key(), connector);
            joined.insert(connector.key());
        };
        for (const auto& interface : instance.interfaces) {
            add(localConnector(intfIdOf(interface, file), instance));
        }
        for (const auto& pseudowire : instance.pseudowires) {
            add(ldpConnector(pseudowire, instance));
        }
        if (isPointToPoint(instance)) {
            wanted.patches.emplace(instance.name, std::move(joined));
        }
    }
    return wanted;
}

template <class Collection, class Keys>
std::vector<typename Collection::Key> keysNotIn(const Keys& wanted, const Collection& held) {
    std::vector<typename Collection::Key> keys;
    for (auto it = held.iteratorConst(); it; ++it) {
        if (!wanted.contains(it.key())) keys.push_back(it.key());
    }
    return keys;
}

// Patches go before what they join and come after it.
void apply(const Wanted& wanted, Config& config) {
    config.mtuIgnoreIs(false);
    for (const auto& name : keysNotIn(wanted.patches, config.patch())) config.patchDel(name);
    for (const auto& name : keysNotIn(wanted.connectors, config.connector())) {
        config.connectorDel(name);
    }
    for (const auto& [key, connector] : wanted.connectors) config.connectorIs(connector);
    for (const auto& [name, keys] : wanted.patches) {
        const auto patch = config.patchIs(name);
        patch->enabledIs(true);
        for (const auto& key : keysNotIn(keys, patch->connectorKey())) {
            patch->connectorKeyDel(key);
        }
        for (const auto& key : keys) patch->connectorKeyIs(key);
    }
}

void addWarnings(RouterConfig& router) {
    for (const RouterConfig::Instance& instance : router.instances) {
        for (const RouterConfig::Pseudowire& pseudowire : instance.pseudowires) {
            const Vorn::IpGenAddr& address = pseudowire.neighborAddress;
            if (address == Vorn::IpGenAddr() || address == pseudowire.neighborLsrId) continue;
            router.diagnostics.push_back(
                {pseudowire.line,
                 1,
                 "the neighbor address of pseudowire " + inQuotes(pseudowire.name) +
                     " left out: the neighbor is known by its lsr-id"});
        }
    }
}

struct Parsed {
    Wanted wanted;
    Zin::Ptr<VplsConfig> vpls;
    std::vector<RouterConfig::Diagnostic> diagnostics;
};

Parsed parsedConfig(std::string_view text, std::string_view file) {
    RouterConfig router = parseRouterConfig(text, file);
    Wanted wanted = wantedBy(router, file);
    auto vpls = vplsWantedBy(router, file);
    addWarnings(router);
    return {std::move(wanted), std::move(vpls), std::move(router.diagnostics)};
}

// Nothing when there is no such file. Throws std::system_error when it cannot be read.
std::optional<std::string> contentsOf(const std::string& file) {
    try {
        return readWholeFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) return std::nullopt;
        throw;
    }
}

// Nothing when the router was not asked for its bindings.
std::optional<RouterSignalling> signallingIn(const std::string& directory, Warnings& warnings) {
    const auto path = [&](const char* name) {
        return directory + '/' + name;
    };
    const std::string bindings = path("l2vpn-atom-binding.json");
    const std::string circuits = path("l2vpn-atom-vc.json");
    const std::string sessions = path("mpls-ldp-neighbor.json");
    RouterSignalling signalling;
    const auto text = contentsOf(bindings);
    if (!text) return std::nullopt;
    signalling.bindings = parseRouterBindings(*text, bindings, warnings);
    if (const auto found = contentsOf(circuits)) {
        signalling.circuits = parseRouterCircuits(*found, circuits, warnings);
    }
    if (const auto found = contentsOf(sessions)) {
        signalling.sessions = parseRouterSessions(*found, sessions, warnings);
    }
    return signalling;
}

}  // namespace

std::vector<RouterConfig::Diagnostic>
importRouterConfig(std::string_view text, std::string_view file, Config& config) {
    Parsed parsed = parsedConfig(text, file);
    apply(parsed.wanted, config);
    return std::move(parsed.diagnostics);
}

std::string runningConfigFile(std::string_view captureDirectory) {
    return std::string(captureDirectory) + "/running-config.txt";
}

std::vector<RouterConfig::Diagnostic> importFile(const std::string& file, Config& config) {
    const auto text = contentsOf(file);
    if (!text) throw std::system_error(ENOENT, std::generic_category(), file);
    return importRouterConfig(*text, file, config);
}

Warnings importCapture(const std::string& directory, Roots& roots) {
    const std::string file = runningConfigFile(directory);
    const auto text = contentsOf(file);
    if (!text) throw std::system_error(ENOENT, std::generic_category(), file);
    const Parsed parsed = parsedConfig(*text, file);
    Warnings warnings;
    for (const auto& diagnostic : parsed.diagnostics) {
        warnings.push_back(located(file, diagnostic));
    }
    const auto signalling = signallingIn(directory, warnings);

    const auto held = roots.find("pw");
    const auto config = held == roots.end()
                            ? Pseudowire::configFactory("pw")
                            : Zin::Ptr<Config>(static_cast<Config*>(held->second.get()));
    Roots derived;
    derived["vpls"] = parsed.vpls;
    if (signalling) {
        // The rest is derived from what the configuration is going to be.
        const auto configured = Pseudowire::configFactory("pw");
        update(*configured, *config);
        apply(parsed.wanted, *configured);
        const auto state = signallingStateOf(*signalling, *configured, warnings);
        derived["labels"] = state.labels;
        derived["signalling"] = state.statuses;
        derived["panel"] = panelOf("panel", *configured, *state.statuses);
    }

    apply(parsed.wanted, *config);
    roots["pw"] = config;
    for (const char* const name : {"vpls", "labels", "signalling", "panel"}) {
        const auto wanted = derived.find(name);
        const auto target = roots.find(name);
        if (wanted == derived.end()) {
            roots.erase(name);
        } else if (target == roots.end()) {
            roots.insert(*wanted);
        } else {
            update(*target->second, *wanted->second);
        }
    }
    return warnings;
}

}  // namespace corra
