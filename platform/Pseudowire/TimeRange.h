// TimeRange is a span that a delay is drawn from: its two bounds in seconds. 16 bytes on the
// attribute log.

#pragma once

#include "Pseudowire/Strep.h"
#include "Zin/Value.h"

namespace Pseudowire {

class TimeRange : public Zin::Value<TimeRange> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::TimeRange",
            describe::field<&TimeRange::min_>("min"),
            describe::field<&TimeRange::max_>("max"));
    }

    constexpr TimeRange() = default;
    constexpr TimeRange(double min, double max) : min_(min), max_(max) {}

    constexpr double min() const { return min_; }
    constexpr void minIs(double min) { min_ = min; }
    constexpr double max() const { return max_; }
    constexpr void maxIs(double max) { max_ = max; }

  private:
    double min_ = 0;
    double max_ = 0;
};

}  // namespace Pseudowire
