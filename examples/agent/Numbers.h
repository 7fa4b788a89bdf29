// Numbers gives out numbers from 1 on: always the lowest that nobody has.

#pragma once

#include <cstdint>
#include <set>

namespace agent {

class Numbers {
  public:
    std::uint32_t take() {
        return returned_.empty() ? ++highest_ : returned_.extract(returned_.begin()).value();
    }
    // REQUIRES: it was taken.
    void giveBack(std::uint32_t number) { returned_.insert(number); }

  private:
    std::uint32_t highest_ = 0;
    std::set<std::uint32_t> returned_;
};

}  // namespace agent
