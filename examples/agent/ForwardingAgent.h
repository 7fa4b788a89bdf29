// ForwardingAgent keeps a Pseudowire::Status equal to what a Pseudowire::Config and what peers
// signalled ask for. Its reactors only take down what changed; update() computes that anew,
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
#include "Pseudowire/PwRemoteConnector.h"
#include "agent/Claims.h"
#include "agent/ForwardingStatus.h"
#include "agent/Numbers.h"

namespace agent {

class ForwardingAgent final : Pseudowire::Config::Notifiee,
                              Pseudowire::PseudowireAttributeStatusColl::Notifiee {
  public:
    using Signalling = Pseudowire::PseudowireAttributeStatusColl;

    // The status is this object's to write.
    ForwardingAgent(
        Zin::Ptr<Pseudowire::Config> config,
        Zin::Ptr<Signalling> signalling,
        Zin::Ptr<Pseudowire::Status> status);
    ~ForwardingAgent();

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
    void onConnectorStatus(const Pseudowire::PseudowireUserKey& user) override;

    bool isEnabled(const Zin::String& name) const;
    void takePatch(const Zin::String& name);
    PatchState stateOf(const Zin::String& name) const;
    void withdraw(const PatchForwarding& held, const PatchForwarding& wanted);
    void install(const Zin::String& name, const PatchForwarding& wanted);
    void updateGroup(const Vorn::IpGenAddr& peer);

    const Zin::Ptr<Pseudowire::Config> config_;
    const Zin::Ptr<Signalling> signalling_;
    const Zin::Ptr<Pseudowire::Status> status_;
    std::map<Zin::String, std::unique_ptr<PatchReactor>> reactors_;

    // --- What changed since the last update ---
    std::set<Zin::String> changedPatches_;
    std::set<Key> changedConnectors_;
    std::set<Vorn::IpGenAddr> changedPeers_;

    // --- As of the last update ---
    // What enabled patches join.
    Claims<Key, Zin::String> joined_;
    std::map<Zin::String, PatchForwarding> forwarding_;
    std::map<Vorn::IpGenAddr, Group> groups_;
    Numbers groupIds_;
};

}  // namespace agent
