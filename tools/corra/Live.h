// Live is a connection to an owner for a command that ends: it waits for the owner, at most as
// long as it was told. The mirrors change only inside of the calls below.

#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "corra/EventLoop.h"
#include "corra/Mirroring.h"
#include "corra/Roots.h"

namespace corra {

// How long commands wait unless they are told otherwise.
inline constexpr std::chrono::milliseconds usualPatience(10'000);

class Live final : Mirroring::Listener {
  public:
    // Connects, and waits until all that the owner exports is mirrored; only the root of that
    // name if it is not empty. Throws std::runtime_error that says what is missing.
    Live(std::string address, std::chrono::milliseconds patience, const Zin::String& only);

    Roots roots() const;
    bool isWritable(const Zin::String& root) const;

    // Waits until the owner has taken what was changed in the mirrors, and the mirrors have
    // heard of all that came of it. Throws std::runtime_error; how much the owner has taken is
    // not known then.
    void settle();

  private:
    void onRefused(const Zin::String& name, const std::string& why) override;
    void onSynced() override { loop_.stop(); }
    void onBarrierReached() override { loop_.stop(); }
    void onLost(bool wasSynced, const std::string& why) override;
    void wait();
    [[noreturn]] void fail(const std::string& why) const;

    const std::string address_;
    const std::chrono::milliseconds patience_;
    Mirrors mirrors_;
    std::string failure_;
    unsigned waits_ = 0;
    EventLoop loop_;
    // In the loop, until it is lost.
    Mirroring* mirroring_ = nullptr;
};

}  // namespace corra
