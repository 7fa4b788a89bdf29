#include "corra/Graph.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/VplsConfig.h"
#include "Vorn/MplsLabel.h"
#include "Zin/ValueInfoOf.h"
#include "corra/Rooted.h"
#include "corra/WhyStatus.h"

namespace corra {

namespace {

using ::Pseudowire::Config;
using ::Pseudowire::Connector;
using ::Pseudowire::ConnectorKey;
using ::Pseudowire::ConnectorType;
using ::Pseudowire::PatchPanel;
using ::Pseudowire::PseudowireAttributeStatus;
using ::Pseudowire::PseudowireAttributeStatusColl;
using ::Pseudowire::PseudowireUserKey;
using ::Pseudowire::VplsConfig;
using ::Pseudowire::VplsInstanceConfig;
using UserType = PseudowireUserKey::UserType;
using Status = ::Pseudowire::PseudowireConnectorStatus;
using Health = Graph::Health;
using Kind = Graph::Kind;

// Empty where nothing is known.
std::string textOf(Status status, const std::set<Vorn::IpGenAddr>& peers = {}) {
    if (status == Status::unknown) return {};
    if (status == Status::up) return "up";
    return peers.size() == 1 ? wordsOf(status, Zin::textOf(*peers.begin())) : wordsOf(status);
}

Health healthOf(Status status) {
    switch (status) {
        case Status::up:
            return Health::up;
        case Status::adminDown:
        case Status::standby:
            return Health::idle;
        case Status::notConfigured:
        case Status::patchIncomplete:
        case Status::conflict:
        case Status::localCircuitMissing:
        case Status::localCircuitDown:
        case Status::noLocalLabel:
        case Status::noTunnel:
        case Status::hardwareNotProgrammed:
            return Health::here;
        case Status::pwTypeMismatch:
        case Status::controlWordMismatch:
        case Status::mtuMismatch:
        case Status::dot1qTagMismatch:
            return Health::disagree;
        case Status::noSession:
        case Status::noRemoteEnd:
        case Status::remoteRejected:
        case Status::remoteNotForwarding:
        case Status::remoteCircuitFault:
        case Status::remoteTunnelFault:
            return Health::there;
        case Status::unknown:
            break;
    }
    // Also a number that only a newer build knows.
    return Health::unknown;
}

// How the pseudowires of a service or of a peer are doing together. Those that are idle do not
// count where others are not.
class Tally {
  public:
    void add(Status status) {
        if (healthOf(status) == Health::idle) {
            idle_ = true;
            return;
        }
        ++all_;
        if (status == Status::up) {
            ++up_;
        } else if (healthOf(status) != Health::unknown) {
            reasons_.insert(status);
        }
    }

    Health health() const {
        if (all_ == 0) return idle_ ? Health::idle : Health::unknown;
        if (up_ != 0) return up_ == all_ ? Health::up : Health::partly;
        return reasons_.empty() ? Health::unknown : healthOf(*reasons_.begin());
    }
    // Empty where nothing is known.
    std::string text() const {
        if (health() == Health::unknown) return {};
        if (health() == Health::idle) return "idle";
        return std::to_string(up_) + " of " + std::to_string(all_) + " up";
    }
    bool hasNoSession() const { return up_ == 0 && reasons_.contains(Status::noSession); }

  private:
    std::size_t all_ = 0;
    std::size_t up_ = 0;
    bool idle_ = false;
    std::set<Status> reasons_;
};

std::string idOf(const ConnectorKey& key) {
    return (key.isLocal() ? "circuit " : "pseudowire ") + Zin::textOf(key);
}
std::string idOf(const PseudowireUserKey& user) {
    return "pseudowire " + Zin::textOf(user.userType()) + ' ' + Zin::textOf(user.name()) + ' ' +
           Zin::textOf(user.vpwsName()) + ' ' + Zin::textOf(user.peerAddr());
}
std::string idOfPatch(const Zin::String& name) {
    return "patch " + Zin::textOf(name);
}
std::string idOfInstance(const Zin::String& name) {
    return "instance " + Zin::textOf(name);
}
std::string idOf(const Vorn::IpGenAddr& peer) {
    return "peer " + Zin::textOf(peer);
}

std::string nameOf(const ConnectorKey& key) {
    if (key.isLocal()) return Zin::textOf(key.localIntfId());
    return key.connectorType() == ConnectorType::ldp ? std::string(key.name().view())
                                                     : Zin::textOf(key);
}

ConnectorKey ldpConnectorKey(const Zin::String& name) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    return key;
}

std::string textOf(Vorn::MplsLabel label) {
    return label == Vorn::MplsLabel() ? "-" : Zin::textOf(label);
}

// "VLAN 7, 100-199"; empty for none.
std::string textOf(const VplsInstanceConfig::VlanMap& vlans) {
    std::string text;
    std::uint16_t first = 0;
    std::uint16_t last = 0;
    const auto close = [&] {
        if (first == 0) return;
        text += text.empty() ? "VLAN " : ", ";
        text += std::to_string(first);
        if (first != last) text += '-' + std::to_string(last);
    };
    forEachKey(vlans, [&](const Bridging::VlanId& vlan) {
        if (first == 0 || vlan.value() != last + 1) {
            close();
            first = vlan.value();
        }
        last = vlan.value();
    });
    close();
    return text;
}

class Drawing {
  public:
    explicit Drawing(const Roots& roots)
        : config_(rootOf<Config>(roots)),
          panel_(rootOf<PatchPanel>(roots)),
          signalling_(rootOf<PseudowireAttributeStatusColl>(roots)),
          vpls_(rootOf<VplsConfig>(roots)) {}

    Graph graph() {
        collect();
        for (const ConnectorKey& key : connectors_) {
            key.isLocal() ? addCircuit(key) : addPseudowire(key);
        }
        if (signalling_) {
            forEachKey(signalling_->connectorStatus(), [&](const PseudowireUserKey& user) {
                if (!usersOfConnectors_.contains(user)) addPseudowire(user);
            });
        }
        for (const auto& [name, joined] : patches_) addPatch(name, joined);
        if (vpls_) {
            forEachKey(vpls_->instance(), [&](const Zin::String& name) {
                addInstance(*vpls_->instance(name));
            });
        }
        for (const auto& [peer, tally] : peers_) addPeer(peer, tally);
        for (auto& [id, node] : nodes_) graph_.nodes.push_back(std::move(node));
        for (auto& [ends, edge] : edges_) graph_.edges.push_back(std::move(edge));
        return std::move(graph_);
    }

  private:
    template <class T>
    const T* rootOf(const Roots& roots) {
        const Rooted<T> found(roots);
        if (!found) graph_.missing.push_back(found.type());
        return found.get();
    }

    void collect() {
        const auto join = [&](const Zin::String& patch, const auto& keys) {
            auto& joined = patches_[patch];
            forEachKey(keys, [&](const ConnectorKey& key) {
                joined.insert(key);
                connectors_.insert(key);
                inPatches_.insert(key);
            });
        };
        const auto take = [&](const ConnectorKey& key) {
            connectors_.insert(key);
        };
        if (config_) {
            forEachKey(config_->connector(), take);
            forEachKey(config_->patch(), [&](const Zin::String& name) {
                join(name, config_->patch(name)->connectorKey());
            });
        }
        if (panel_) {
            forEachKey(panel_->localConnStatus(), take);
            forEachKey(panel_->remoteConnStatus(), take);
            forEachKey(panel_->patch(), [&](const Zin::String& name) {
                join(name, panel_->patch(name)->patchConnectorKey());
            });
        }
        if (signalling_) {
            forEachKey(signalling_->connectorStatus(), [&](const PseudowireUserKey& user) {
                if (user.userType() != UserType::vplsLdpPseudowire) return;
                usersOfVpls_[user.name()].push_back(user);
            });
        }
        if (!vpls_) return;
        forEachKey(vpls_->instance(), [&](const Zin::String& name) {
            forEachGroup(*vpls_->instance(name), [&](const auto& group) {
                forEachKey(group.pseudowire(), [&](const Zin::String& pseudowire) {
                    connectors_.insert(ldpConnectorKey(pseudowire));
                });
            });
        });
    }

    template <class Visit>
    static void forEachGroup(const VplsInstanceConfig& instance, const Visit& visit) {
        forEachKey(instance.ldpPseudowireGroup(), [&](const Zin::String& name) {
            visit(*instance.ldpPseudowireGroup(name));
        });
    }

    Graph::Node& add(Kind kind, const std::string& id, std::string name, Health health) {
        return nodes_[id] = Graph::Node{kind, id, std::move(name), {}, {}, health};
    }
    void connect(
        const std::string& from,
        const std::string& to,
        Health health,
        const std::string& label = {}) {
        edges_.insert_or_assign({from, to}, Graph::Edge{from, to, health, label});
    }

    // What the configuration alone says of a connector.
    Status configuredStatus(const ConnectorKey& key) const {
        return config_ && !config_->connectorHas(key) ? Status::notConfigured : Status::unknown;
    }

    void addCircuit(const ConnectorKey& key) {
        Status status = Status::unknown;
        const auto known = panel_ ? panel_->localConnStatus(key) : nullptr;
        if (known) status = known->status();
        if (status == Status::unknown) status = configuredStatus(key);
        statuses_[idOf(key)] = status;
        add(Kind::circuit, idOf(key), nameOf(key), healthOf(status)).state = textOf(status);
    }

    // The status of the pseudowire of a connector, whichever kind of user it is signalled for.
    std::optional<PseudowireAttributeStatus> signalled(
        const ConnectorKey& key,
        const Vorn::IpGenAddr& peer) {
        const auto type = key.connectorType();
        if (!signalling_ || (type != ConnectorType::ldp && type != ConnectorType::bgp)) {
            return {};
        }
        std::vector<PseudowireUserKey> users{PseudowireUserKey::fromConnectorKey(key)};
        if (peer != Vorn::IpGenAddr()) {
            users.emplace_back(UserType::vplsLdpPseudowire, key.name(), Zin::String(), peer);
        } else if (const auto named = usersOfVpls_.find(key.name());
                   type == ConnectorType::ldp && named != usersOfVpls_.end() &&
                   named->second.size() == 1) {
            users.push_back(named->second.front());
        }
        for (const PseudowireUserKey& user : users) {
            if (!signalling_->connectorStatus().has(user)) continue;
            usersOfConnectors_.insert(user);
            return signalling_->connectorStatus(user);
        }
        return {};
    }

    void addPseudowire(const ConnectorKey& key) {
        const Connector connector = config_ ? config_->connector(key) : Connector();
        Vorn::IpGenAddr peer;
        ::Pseudowire::PseudowireId pwId = 0;
        if (key.connectorType() == ConnectorType::ldp) {
            peer = connector.ldpKey().peerAddr();
            pwId = connector.ldpKey().pwId();
        }
        const auto known = signalled(key, peer);
        const auto remote = panel_ ? panel_->remoteConnStatus(key) : nullptr;
        Status status = remote ? remote->status() : Status::unknown;
        if (status == Status::unknown && known) status = known->status();
        if (status == Status::unknown) status = configuredStatus(key);
        addPseudowire(idOf(key), nameOf(key), peer, pwId, status, known);
    }

    // One that no connector stands for.
    void addPseudowire(const PseudowireUserKey& user) {
        const auto known = signalling_->connectorStatus(user);
        std::string name(user.name().view());
        if (!user.vpwsName().view().empty()) name += '/' + std::string(user.vpwsName().view());
        addPseudowire(idOf(user), name, user.peerAddr(), 0, known.status(), known);
        if (user.userType() == UserType::vplsLdpProfileAndPeer) {
            discovered_[user.name()].push_back(idOf(user));
        }
    }

    void addPseudowire(
        const std::string& id,
        const std::string& name,
        const Vorn::IpGenAddr& peer,
        ::Pseudowire::PseudowireId pwId,
        Status status,
        const std::optional<PseudowireAttributeStatus>& known) {
        statuses_[id] = status;
        Graph::Node& node = add(Kind::pseudowire, id, name, healthOf(status));
        std::set<Vorn::IpGenAddr> peers{peer};
        if (known) {
            if (pwId == 0) pwId = known->pwId();
            forEachKey(known->peerInfo(), [&](const Vorn::IpGenAddr& other) {
                peers.insert(other);
            });
        }
        // No address.
        peers.erase(Vorn::IpGenAddr());
        if (pwId != 0) node.details.push_back("pw-id " + Zin::textOf(pwId));
        std::string peerLabels;
        for (const Vorn::IpGenAddr& each : peers) {
            peers_[each].add(status);
            connect(id, idOf(each), healthOf(status));
            if (!known) continue;
            if (!peerLabels.empty()) peerLabels += ' ';
            peerLabels += textOf(known->peerInfo(each).peerLabel());
        }
        if (peerLabels.empty()) peerLabels = "-";
        if (known)
            node.details.push_back("labels " + textOf(known->localLabel()) + '/' + peerLabels);
        node.state = textOf(status, peers);
        peersOf_[id] = std::move(peers);
    }

    void connectConnector(const ConnectorKey& key, const std::string& service) {
        const std::string id = idOf(key);
        const Health health = healthOf(statuses_.at(id));
        key.isLocal() ? connect(id, service, health) : connect(service, id, health);
    }

    void addPatch(const Zin::String& name, const std::set<ConnectorKey>& joined) {
        const auto known = panel_ ? panel_->patch(name) : nullptr;
        Status status = known ? known->status() : Status::unknown;
        const auto configured = config_ ? config_->patch(name) : nullptr;
        if (status == Status::unknown && configured && !configured->enabled()) {
            status = Status::adminDown;
        }
        Graph::Node& node =
            add(Kind::patch, idOfPatch(name), std::string(name.view()), healthOf(status));
        std::set<Vorn::IpGenAddr> peers;
        for (const ConnectorKey& key : joined) {
            const auto found = peersOf_.find(idOf(key));
            if (found != peersOf_.end())
                peers.insert(found->second.begin(), found->second.end());
        }
        node.state = textOf(status, peers);
        for (const ConnectorKey& key : joined) connectConnector(key, node.id);
    }

    void addInstance(const VplsInstanceConfig& instance) {
        const Zin::String& name = instance.entityKey();
        const std::string id = idOfInstance(name);
        Tally tally;
        const bool hasGroups = instance.ldpPseudowireGroup().members() > 1;
        forEachGroup(instance, [&](const auto& group) {
            const std::string groupName =
                hasGroups ? std::string(group.entityKey().view()) : std::string();
            const auto take = [&](const std::string& pseudowire, const std::string& label) {
                const Status status = statuses_.at(pseudowire);
                tally.add(status);
                connect(id, pseudowire, healthOf(status), label);
            };
            forEachKey(group.pseudowire(), [&](const Zin::String& pseudowire) {
                std::string label = groupName;
                if (group.pseudowire(pseudowire).secondary()) {
                    label += label.empty() ? "secondary" : ", secondary";
                }
                take(idOf(ldpConnectorKey(pseudowire)), label);
            });
            const auto found = discovered_.find(group.pseudowireBgpAutoDiscoveryProfile());
            if (found == discovered_.end()) return;
            for (const std::string& pseudowire : found->second) take(pseudowire, groupName);
        });
        Graph::Node& node = add(Kind::instance, id, std::string(name.view()), tally.health());
        if (const std::string vlans = textOf(instance.vlan()); !vlans.empty()) {
            node.details.push_back(vlans);
        }
        node.state = tally.text();
        if (!config_) return;
        for (const ConnectorKey& key : connectors_) {
            if (!key.isLocal() || inPatches_.contains(key)) continue;
            const auto outer = config_->connector(key).dot1qEncap().outer().value();
            if (outer != 0 && instance.vlan().has(Bridging::VlanId(outer))) {
                connectConnector(key, id);
            }
        }
    }

    void addPeer(const Vorn::IpGenAddr& peer, const Tally& tally) {
        Graph::Node& node = add(Kind::peer, idOf(peer), Zin::textOf(peer), tally.health());
        node.state = tally.text();
        if (tally.hasNoSession()) node.state += ", no session";
    }

    // Before the roots, which note what they miss.
    Graph graph_;
    const Config* const config_;
    const PatchPanel* const panel_;
    const PseudowireAttributeStatusColl* const signalling_;
    const VplsConfig* const vpls_;

    std::set<ConnectorKey> connectors_;
    std::set<ConnectorKey> inPatches_;
    std::map<Zin::String, std::set<ConnectorKey>> patches_;
    std::map<Zin::String, std::vector<PseudowireUserKey>> usersOfVpls_;
    std::set<PseudowireUserKey> usersOfConnectors_;
    // Pseudowires by the profile that their peers were discovered under.
    std::map<Zin::String, std::vector<std::string>> discovered_;
    std::map<Vorn::IpGenAddr, Tally> peers_;
    // Of circuits and pseudowires, by id.
    std::map<std::string, Status> statuses_;
    // Of pseudowires, by id.
    std::map<std::string, std::set<Vorn::IpGenAddr>> peersOf_;
    std::map<std::string, Graph::Node> nodes_;
    std::map<std::pair<std::string, std::string>, Graph::Edge> edges_;
};

}  // namespace

Graph graphOf(const Roots& roots) {
    return Drawing(roots).graph();
}

Graph partOf(const Graph& graph, const std::vector<std::string>& names) {
    std::set<std::string> left;
    for (const Graph::Node& node : graph.nodes) {
        if (std::find(names.begin(), names.end(), node.name) != names.end()) {
            left.insert(node.id);
        }
    }
    std::set<std::string> right = left;
    constexpr int mostSteps = 3;
    for (int step = 0; step < mostSteps; ++step) {
        for (const Graph::Edge& edge : graph.edges) {
            if (left.contains(edge.to)) left.insert(edge.from);
            if (right.contains(edge.from)) right.insert(edge.to);
        }
    }
    const auto isKept = [&](const std::string& id) {
        return left.contains(id) || right.contains(id);
    };
    Graph part{{}, {}, graph.missing};
    for (const Graph::Node& node : graph.nodes) {
        if (isKept(node.id)) part.nodes.push_back(node);
    }
    for (const Graph::Edge& edge : graph.edges) {
        if (isKept(edge.from) && isKept(edge.to)) part.edges.push_back(edge);
    }
    return part;
}

}  // namespace corra
