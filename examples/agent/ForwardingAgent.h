// ForwardingAgent keeps a Pseudowire::Status equal to what a Pseudowire::Config and the labels
// of the peers ask for. Its reactors only take down what changed; update() computes that anew,
// and nothing else: its cost follows the change, not the size of the configuration.
//
// A connector that several enabled patches join belongs to the first of them by name.
//
// An adjacency group holds the pseudowires that share a peer, and so its fate. No circuit is
// mapped to a group: its frames would be spread over the pseudowires of other patches.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireStatus.h"
#include "agent/ForwardingStatus.h"
#include "agent/PeerLabels.h"

namespace agent {

class ForwardingAgent final : Pseudowire::Config::Notifiee {
  public:
    // The status is this object's to write.
    ForwardingAgent(Zin::Ptr<Pseudowire::Config> config, Zin::Ptr<Pseudowire::Status> status);
    ~ForwardingAgent();

    void peerLabelsAre(PeerLabels labels);
    void update();

  private:
    using Key = Pseudowire::ConnectorKey;

    class PatchReactor;
    struct Group {
        Pseudowire::PwAdjGroupId id;
        std::map<Key, Pseudowire::PwEncapAdjacency> members;
    };

    void onPatch(const Zin::String& name) override;
    void onConnector(const Key& key) override;

    void takeConnector(const Key& key);
    void takePatch(const Zin::String& name);
    PatchConfig configOf(const Zin::String& name) const;
    void withdraw(const PatchForwarding& held, const PatchForwarding& wanted);
    void install(const Zin::String& name, const PatchForwarding& wanted);
    void updateGroup(const Vorn::IpGenAddr& peer);
    Pseudowire::PwAdjGroupId freeGroupId() const;

    const Zin::Ptr<Pseudowire::Config> config_;
    const Zin::Ptr<Pseudowire::Status> status_;
    PeerLabels labels_;
    std::map<Zin::String, std::unique_ptr<PatchReactor>> reactors_;

    // --- What changed since the last update ---
    std::set<Zin::String> changedPatches_;
    std::set<Key> changedConnectors_;
    std::set<Vorn::IpGenAddr> changedPeers_;

    // --- As of the last update ---
    // What enabled patches join, and by whom each connector is joined.
    std::map<Zin::String, std::set<Key>> joined_;
    std::map<Key, std::set<Zin::String>> joinedBy_;
    std::map<Key, Pseudowire::PseudowireLdpKey> ldpKeyOf_;
    std::map<Pseudowire::PseudowireLdpKey, std::set<Key>> byLdpKey_;
    std::map<Zin::String, PatchForwarding> forwarding_;
    std::map<Vorn::IpGenAddr, Group> groups_;
};

}  // namespace agent
