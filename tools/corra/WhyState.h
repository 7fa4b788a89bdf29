// What entity trees hold of pseudowires, for `corra why`: the roots by their types, and who
// belongs to whom among patches, connectors, users of signalling and labels.
//
// Holds on to the trees; they must not change while it lives.

#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/VplsConfig.h"
#include "corra/Rooted.h"
#include "corra/Roots.h"
#include "corra/WhyStatus.h"

namespace corra {

// A pseudowire: a connector, a user of signalling, or both.
struct KnownPseudowire {
    // As people call it.
    std::string name;
    std::optional<Pseudowire::ConnectorKey> connectorKey;
    std::optional<Pseudowire::PseudowireUserKey> user;
    // Without a peer where it is not known.
    Pseudowire::PseudowireLdpKey ldpKey;
};

class WhyState {
  public:
    explicit WhyState(const Roots& roots);

    const Rooted<Pseudowire::Config> config;
    const Rooted<Pseudowire::PatchPanel> panel;
    const Rooted<Pseudowire::PseudowireAttributeStatusColl> signalling;
    const Rooted<Pseudowire::LabelBindingColl> labels;
    const Rooted<Pseudowire::VplsConfig> vpls;
    const Rooted<Pseudowire::Status> forwarding;
    const Rooted<OxoPw::PwHwStatus> hardware;

    struct PeerCount {
        std::size_t all = 0;
        std::size_t up = 0;
        std::size_t withoutSession = 0;
    };
    // The connectors that each patch joins.
    using Patches = std::map<std::string, std::set<Pseudowire::ConnectorKey>>;
    // The names of the patches that each connector is in.
    using Membership = std::map<Pseudowire::ConnectorKey, std::set<std::string>>;
    using Labels = std::map<std::uint32_t, std::set<Pseudowire::PseudowireUserKey>>;

    const Patches& patches() const { return patches_; }
    const Membership& membership() const { return membership_; }
    // In the order of their names.
    const std::vector<KnownPseudowire>& pseudowires() const { return pseudowires_; }
    // Null when there is none.
    const KnownPseudowire* pseudowire(const Pseudowire::ConnectorKey& key) const;
    const KnownPseudowire* pseudowire(const Pseudowire::PseudowireUserKey& user) const;
    // Of that name, or discovered under a profile of that name; none that is in a patch.
    std::vector<const KnownPseudowire*> pseudowiresOfVpls(const Zin::String& name) const;
    std::vector<const KnownPseudowire*> pseudowiresOfProfile(const Zin::String& name) const;
    // Pseudowires as signalling sees them, by peer.
    const std::map<Vorn::IpGenAddr, PeerCount>& peers() const { return peers_; }
    // Who has a label, in whatever place says so.
    const Labels& labelUsers() const { return labelUsers_; }

    bool isInPatch(const KnownPseudowire& pseudowire) const {
        return pseudowire.connectorKey && membership_.contains(*pseudowire.connectorKey);
    }

  private:
    void addPatches();
    void addPseudowires();
    void addConnector(const Pseudowire::ConnectorKey& key);
    void addUser(const Pseudowire::PseudowireUserKey& user);
    void addLabels();
    void countPeers();

    Patches patches_;
    Membership membership_;
    std::vector<KnownPseudowire> pseudowires_;
    std::map<Pseudowire::ConnectorKey, std::size_t> byConnector_;
    std::map<Pseudowire::PseudowireUserKey, std::size_t> byUser_;
    std::map<Vorn::IpGenAddr, PeerCount> peers_;
    Labels labelUsers_;
};

// Both ends of the pseudowire, as far as the state tells.
Ends endsOf(const WhyState& state, const KnownPseudowire& pseudowire);

}  // namespace corra
