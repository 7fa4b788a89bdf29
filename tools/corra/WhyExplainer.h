// How single things are doing, each as one node of the chain of reasons with what lies below.

#pragma once

#include <map>
#include <optional>
#include <string>

#include "corra/Why.h"
#include "corra/WhyState.h"

namespace corra {

struct Doing {
    Verdict verdict = Verdict::unknown;
    // The first reason, and what it says with the values of both sides.
    PseudowireConnectorStatus status = PseudowireConnectorStatus::unknown;
    std::string summary;
    // Some of what it is made of is up.
    bool isUpInPart = false;
    // Where the state says so; empty where that is not one place.
    std::string place;
    Reason reason;

    // One more cause; the first one in the order of the enumeration is the reason.
    void isDown(PseudowireConnectorStatus cause, const std::string& why);
    // Takes the word of the state.
    void isStated(PseudowireConnectorStatus stated, const std::string& why);
};

class Explainer {
  public:
    // REQUIRES: the state outlives it.
    explicit Explainer(const WhyState& state) : state_(state) {}

    const WhyState& state() const { return state_; }

    Doing patch(const std::string& name) const;
    // Is down unless all of its pseudowires are up, or stand by as they are meant to.
    Doing instance(const Pseudowire::VplsInstanceConfig& instance) const;
    // A circuit, or a pseudowire by way of its connector.
    Doing connector(const Pseudowire::ConnectorKey& key) const;
    Doing circuit(const Pseudowire::ConnectorKey& key) const;
    // By way of its connector, where it has one.
    Doing pseudowire(const KnownPseudowire& pseudowire) const;

  private:
    Doing signalled(const KnownPseudowire& pseudowire) const;
    void addSignalled(
        Doing& doing,
        const KnownPseudowire& pseudowire,
        const Ends& ends,
        PseudowireConnectorStatus stated,
        const std::string& place) const;
    void addPanel(Doing& doing, const KnownPseudowire& pseudowire, const Ends& ends) const;
    void addLabels(Reason& reason, const Pseudowire::PseudowireUserKey& user) const;
    void addPeer(Doing& doing, const KnownPseudowire& pseudowire, const Ends& ends) const;
    void addHardware(
        Doing& doing,
        const std::string& what,
        std::optional<OxoPw::UnprogrammedReason> why,
        const std::string& place) const;
    // What keeps something down, in the order in which reasons are looked for.
    using Reasons = std::map<PseudowireConnectorStatus, std::string>;
    Reasons reasonsOfPatchItself(Reason& reason, const std::string& name) const;
    struct Tally {
        std::size_t all = 0;
        std::size_t up = 0;
    };
    Doing group(
        const std::string& place,
        const Pseudowire::VplsLdpPseudowireGroupConfig& group,
        Tally& tally) const;
    void addPatchPanel(Doing& doing, const Reasons& reasons, const std::string& name) const;
    void addForwarding(Doing& doing, const std::string& name) const;

    const WhyState& state_;
};

// Whether it is worth being shown also for what is up.
bool holdsMore(const Reason& reason);

std::string wordsOf(OxoPw::UnprogrammedReason reason);

// "nothing is known of signalling: no ... is served".
template <class T>
Reason missingRoot(const Rooted<T>& /*root*/, const std::string& what) {
    return {
        Reason::Kind::missing,
        "nothing is known of " + what + ": no " + Rooted<T>::type() + " is served",
        {},
        {}};
}

}  // namespace corra
