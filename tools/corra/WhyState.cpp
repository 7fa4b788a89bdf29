#include "corra/WhyState.h"

#include <algorithm>
#include <tuple>

namespace corra {

namespace {

using Pseudowire::ConnectorKey;
using Pseudowire::ConnectorType;
using Pseudowire::PseudowireUserKey;
using UserType = PseudowireUserKey::UserType;

// "pw1" for an LDP pseudowire; others by their whole key.
std::string nameOf(const ConnectorKey& key) {
    return key.connectorType() == ConnectorType::ldp ? std::string(key.name().view())
                                                     : textOfValue(key);
}

std::string nameOf(const PseudowireUserKey& user) {
    std::string name(user.name().view());
    // Under a profile each peer has a pseudowire.
    if (user.userType() != UserType::vplsLdpPseudowire)
        name += ' ' + textOfValue(user.peerAddr());
    return name;
}

// The connector that the user stands for. A peer may send users of kinds that this build does
// not know.
std::optional<ConnectorKey> connectorOf(const PseudowireUserKey& user) {
    if (user.userType() == UserType::patchLdpConnector ||
        user.userType() == UserType::patchBgpVpwsConnector) {
        return user.connectorKey();
    }
    return {};
}

}  // namespace

WhyState::WhyState(const Roots& roots)
    : config(roots),
      panel(roots),
      signalling(roots),
      labels(roots),
      vpls(roots),
      forwarding(roots),
      hardware(roots) {
    addPatches();
    addPseudowires();
    addLabels();
    countPeers();
}

void WhyState::addPatches() {
    const auto add = [&](const Zin::String& name, const auto& keys) {
        auto& joined = patches_[std::string(name.view())];
        forEachKey(keys, [&](const ConnectorKey& key) { joined.insert(key); });
    };
    if (config) {
        for (auto it = config->patch().iteratorConst(); it; ++it) {
            add(it.key(), it.value()->connectorKey());
        }
    }
    if (panel) {
        for (auto it = panel->patch().iteratorConst(); it; ++it) {
            add(it.key(), it.value()->patchConnectorKey());
        }
    }
    for (const auto& [name, keys] : patches_) {
        for (const ConnectorKey& key : keys) membership_[key].insert(name);
    }
}

void WhyState::addPseudowires() {
    const auto connector = [&](const ConnectorKey& key) {
        addConnector(key);
    };
    const auto user = [&](const PseudowireUserKey& key) {
        addUser(key);
    };
    if (config) forEachKey(config->connector(), connector);
    if (panel) forEachKey(panel->remoteConnStatus(), connector);
    for (const auto& [key, names] : membership_) addConnector(key);
    if (signalling) forEachKey(signalling->connectorStatus(), user);
    if (labels) forEachKey(labels->localLabel(), user);
    std::sort(pseudowires_.begin(), pseudowires_.end(), [](const auto& a, const auto& b) {
        return std::tie(a.name, a.connectorKey, a.user) <
               std::tie(b.name, b.connectorKey, b.user);
    });
    byConnector_.clear();
    byUser_.clear();
    for (std::size_t i = 0; i < pseudowires_.size(); ++i) {
        if (pseudowires_[i].connectorKey) byConnector_[*pseudowires_[i].connectorKey] = i;
        if (pseudowires_[i].user) byUser_[*pseudowires_[i].user] = i;
    }
}

void WhyState::addConnector(const ConnectorKey& key) {
    const bool isPseudowire =
        key.connectorType() == ConnectorType::ldp || key.connectorType() == ConnectorType::bgp;
    if (!isPseudowire || byConnector_.contains(key)) return;
    KnownPseudowire pseudowire{nameOf(key), key, {}, {}};
    if (config && config->connectorHas(key)) {
        pseudowire.ldpKey = config->connector(key).ldpKey();
    } else if (panel && panel->remoteConnStatus(key)) {
        pseudowire.ldpKey = panel->remoteConnStatus(key)->connector().ldpKey();
    }
    byConnector_[key] = pseudowires_.size();
    pseudowires_.push_back(std::move(pseudowire));
}

void WhyState::addUser(const PseudowireUserKey& user) {
    if (byUser_.contains(user)) return;
    std::optional<ConnectorKey> key = connectorOf(user);
    if (key) {
        addConnector(*key);
    } else {
        // The pseudowire of an instance is configured as a connector, too.
        ConnectorKey configured;
        configured.ldpConnectorKeyIs(user.name());
        const auto found = byConnector_.find(configured);
        if (found != byConnector_.end() && !pseudowires_[found->second].user &&
            pseudowires_[found->second].ldpKey.peerAddr() == user.peerAddr() &&
            user.userType() == UserType::vplsLdpPseudowire) {
            key = configured;
        }
    }
    if (key && !pseudowires_[byConnector_[*key]].user) {
        byUser_[user] = byConnector_[*key];
        pseudowires_[byConnector_[*key]].user = user;
        return;
    }
    byUser_[user] = pseudowires_.size();
    const auto number = signalling ? signalling->connectorStatus(user).pwId() : 0;
    pseudowires_.push_back({nameOf(user), {}, user, {user.peerAddr(), number}});
}

void WhyState::addLabels() {
    const auto add = [&](Vorn::MplsLabel label, const PseudowireUserKey& user) {
        if (label != Vorn::MplsLabel()) labelUsers_[label.value()].insert(user);
    };
    if (labels) {
        for (auto it = labels->localLabel().iteratorConst(); it; ++it)
            add(it.value(), it.key());
        for (auto it = labels->pseudowire().iteratorConst(); it; ++it)
            add(it.key(), it.value());
    }
    if (signalling) {
        for (auto it = signalling->connectorStatus().iteratorConst(); it; ++it) {
            add(it.value().localLabel(), it.key());
        }
    }
}

void WhyState::countPeers() {
    for (const KnownPseudowire& each : pseudowires_) {
        if (each.ldpKey.peerAddr() == Vorn::IpGenAddr()) continue;
        PeerCount& count = peers_[each.ldpKey.peerAddr()];
        ++count.all;
        if (!signalling || !each.user) continue;
        const auto* const node = signalling->connectorStatus().lookup(*each.user);
        if (!node) continue;
        const PseudowireConnectorStatus status = node->value().status();
        if (status == PseudowireConnectorStatus::up) ++count.up;
        if (status == PseudowireConnectorStatus::noSession) ++count.withoutSession;
    }
}

const KnownPseudowire* WhyState::pseudowire(const ConnectorKey& key) const {
    const auto found = byConnector_.find(key);
    return found == byConnector_.end() ? nullptr : &pseudowires_[found->second];
}

const KnownPseudowire* WhyState::pseudowire(const PseudowireUserKey& user) const {
    const auto found = byUser_.find(user);
    return found == byUser_.end() ? nullptr : &pseudowires_[found->second];
}

std::vector<const KnownPseudowire*> WhyState::pseudowiresOfVpls(const Zin::String& name) const {
    std::vector<const KnownPseudowire*> found;
    const auto first = std::lower_bound(
        pseudowires_.begin(),
        pseudowires_.end(),
        name.view(),
        [](const KnownPseudowire& each, std::string_view wanted) {
            return each.name < wanted;
        });
    for (auto it = first; it != pseudowires_.end() && it->name == name.view(); ++it) {
        if (!isInPatch(*it)) found.push_back(&*it);
    }
    return found;
}

std::vector<const KnownPseudowire*> WhyState::pseudowiresOfProfile(
    const Zin::String& name) const {
    std::vector<const KnownPseudowire*> found;
    for (const auto& [user, place] : byUser_) {
        if (user.userType() == UserType::vplsLdpProfileAndPeer && user.name() == name) {
            found.push_back(&pseudowires_[place]);
        }
    }
    return found;
}

namespace {

void addConfigured(Ends& ends, const WhyState& state, const KnownPseudowire& pseudowire) {
    if (!state.config) return;
    ends.mtuIgnore = {state.config->mtuIgnore(), {state.config.at("mtuIgnore")}};
    if (!pseudowire.connectorKey || !state.config->connectorHas(*pseudowire.connectorKey))
        return;
    const Pseudowire::Connector connector = state.config->connector(*pseudowire.connectorKey);
    const auto at = [&](std::string_view field) {
        return std::vector{state.config.at("connector", *pseudowire.connectorKey, field)};
    };
    ends.localType = {connector.pseudowireType(), at("pseudowireType")};
    ends.localControlWord = {connector.controlWord(), at("controlWord")};
    // What a connector does not state is that of the whole service.
    ends.localMtu = {connector.mtu(), at("mtu")};
    if (connector.mtu() == 0) ends.localMtu = {state.config->mtu(), {state.config.at("mtu")}};
}

// The peer that the pseudowire leads to; the only one where it is not said which.
std::optional<Pseudowire::PseudowirePeerAttributeStatus> peerOf(
    const Pseudowire::PseudowireAttributeStatus& status,
    Vorn::IpGenAddr& peer) {
    const auto& peers = status.peerInfo();
    if (peer == Vorn::IpGenAddr() && peers.members() == 1) peer = peers.iteratorConst().key();
    const auto* const node = peers.lookup(peer);
    if (!node) return {};
    return node->value();
}

void addSignalled(
    Ends& ends,
    const WhyState& state,
    const PseudowireUserKey& user,
    Vorn::IpGenAddr& peer) {
    const auto* const node = state.signalling->connectorStatus().lookup(user);
    if (!node) return;
    const Pseudowire::PseudowireAttributeStatus& status = node->value();
    const auto at = [&](std::string_view field) {
        return std::vector{state.signalling.at("connectorStatus", user, field)};
    };
    ends.localLabel = {status.localLabel().value(), at("localLabel")};
    const auto info = peerOf(status, peer);
    ends.remoteLabel = {Vorn::MplsLabel::noLabel, at("peerInfo")};
    if (!info || info->peerLabel() == Vorn::MplsLabel()) return;
    // Only a label comes with the rest.
    ends.remoteLabel.value = info->peerLabel().value();
    ends.remoteMtu = {info->mtu(), at("peerInfo")};
    ends.remoteControlWord = {info->encapControlWord(), at("peerInfo")};
    ends.remoteType = {status.remotePwType(), at("remotePwType")};
    ends.flags = {status.pwStatusFlags(), at("pwStatusFlags")};
    if (status.requestedDot1qTag() != Bridging::VlanIdOrNone()) {
        ends.requestedTag = {status.requestedDot1qTag().value(), at("requestedDot1qTag")};
    }
    if (info->tunnelId() != Tunnel::TunnelTable::TunnelId()) {
        ends.tunnel = {textOfValue(info->tunnelId()), at("peerInfo")};
    }
}

}  // namespace

Ends endsOf(const WhyState& state, const KnownPseudowire& pseudowire) {
    Ends ends;
    Vorn::IpGenAddr peer = pseudowire.ldpKey.peerAddr();
    addConfigured(ends, state, pseudowire);
    if (state.signalling && pseudowire.user) {
        addSignalled(ends, state, *pseudowire.user, peer);
    }
    const bool hasLabel =
        ends.localLabel.value && *ends.localLabel.value != Vorn::MplsLabel::noLabel;
    if (state.labels && pseudowire.user && !hasLabel) {
        const auto* const bound = state.labels->localLabel().lookup(*pseudowire.user);
        if (bound) {
            ends.localLabel = {
                bound->value().value(),
                {state.labels.at("localLabel", *pseudowire.user)}};
        }
    }
    ends.peer = peer == Vorn::IpGenAddr() ? "the peer" : textOfValue(peer);
    return ends;
}

}  // namespace corra
