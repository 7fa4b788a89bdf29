// ResolutionRibProfileConfig says in which routing tables the next hops of pseudowires are
// looked up. By default the switch's own profile decides. Otherwise the primary table is asked
// first, and the fallback table when the primary one has no route; an empty name stands for no
// table.

#pragma once

#include <utility>

#include "Routing/Rib/Strep.h"
#include "Zin/String.h"
#include "Zin/Value.h"

namespace Routing::Rib {

class ResolutionRibProfileConfig : public Zin::Value<ResolutionRibProfileConfig> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Routing::Rib::ResolutionRibProfileConfig",
            describe::field<&ResolutionRibProfileConfig::useDefault_>("useDefault"),
            describe::field<&ResolutionRibProfileConfig::primaryRib_>("primaryRib"),
            describe::field<&ResolutionRibProfileConfig::fallbackRib_>("fallbackRib"));
    }

    ResolutionRibProfileConfig() = default;
    ResolutionRibProfileConfig(bool useDefault, Zin::String primaryRib, Zin::String fallbackRib)
        : useDefault_(useDefault),
          primaryRib_(std::move(primaryRib)),
          fallbackRib_(std::move(fallbackRib)) {}

    bool useDefault() const { return useDefault_; }
    void useDefaultIs(bool useDefault) { useDefault_ = useDefault; }
    const Zin::String& primaryRib() const { return primaryRib_; }
    void primaryRibIs(Zin::String primaryRib) { primaryRib_ = std::move(primaryRib); }
    const Zin::String& fallbackRib() const { return fallbackRib_; }
    void fallbackRibIs(Zin::String fallbackRib) { fallbackRib_ = std::move(fallbackRib); }

  private:
    bool useDefault_ = true;
    Zin::String primaryRib_;
    Zin::String fallbackRib_;
};

}  // namespace Routing::Rib
