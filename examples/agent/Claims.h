// Claims says who has what several claim: the first of its claimants, in their order.

#pragma once

#include <map>
#include <set>
#include <utility>

namespace agent {

template <class Thing, class Claimant>
class Claims {
  public:
    // The claimant claims these things from now on, and no others. Whoever had one of them or
    // has one of them now that changed hands is added to `concerned`.
    void
    claimsAre(const Claimant& claimant, std::set<Thing> things, std::set<Claimant>& concerned) {
        const auto known = claims_.find(claimant);
        if (known != claims_.end()) {
            for (const Thing& thing : known->second) {
                if (!things.contains(thing)) drop(thing, claimant, concerned);
            }
            claims_.erase(known);
        }
        for (const Thing& thing : things) {
            std::set<Claimant>& claimants = claimantsOf_[thing];
            if (!claimants.empty()) concerned.insert(*claimants.begin());
            claimants.insert(claimant);
            concerned.insert(*claimants.begin());
        }
        if (!things.empty()) claims_.emplace(claimant, std::move(things));
    }

    bool has(const Claimant& claimant, const Thing& thing) const {
        const auto found = claimantsOf_.find(thing);
        return found != claimantsOf_.end() && *found->second.begin() == claimant;
    }
    // Both are empty where there is no claim.
    const std::set<Claimant>& claimants(const Thing& thing) const {
        return in(claimantsOf_, thing);
    }
    const std::set<Thing>& claims(const Claimant& claimant) const {
        return in(claims_, claimant);
    }

  private:
    template <class Key, class Member>
    static const std::set<Member>& in(
        const std::map<Key, std::set<Member>>& sets,
        const Key& key) {
        static const std::set<Member> none;
        const auto found = sets.find(key);
        return found != sets.end() ? found->second : none;
    }
    void drop(const Thing& thing, const Claimant& claimant, std::set<Claimant>& concerned) {
        const auto found = claimantsOf_.find(thing);
        found->second.erase(claimant);
        if (found->second.empty()) {
            claimantsOf_.erase(found);
        } else {
            concerned.insert(*found->second.begin());
        }
    }

    std::map<Claimant, std::set<Thing>> claims_;
    std::map<Thing, std::set<Claimant>> claimantsOf_;
};

}  // namespace agent
