#include "agent/OwnerLink.h"

#include <chrono>
#include <exception>
#include <memory>
#include <utility>

#include "agent/Program.h"

namespace agent {

using Zin::NboAttrLog::Fd;

namespace {

constexpr std::chrono::milliseconds retryPause(200);

// The first barrier comes back when all that the owner held was heard; the second one goes out
// behind the answers to it.
constexpr int barriersToSettle = 2;

}  // namespace

class OwnerLink::Stream final : public Loop::Source, Zin::NboAttrLog::Observer {
  public:
    Stream(OwnerLink& link, Fd fd) : link_(link), stream_(std::move(fd), link.exports_, *this) {
        for (const Mirror& mirror : link_.mirrors_) {
            stream_.connection().mount(mirror.name, mirror.entity);
        }
    }

    void barrier() { stream_.connection().barrier(0); }

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }
    bool ready(short events) override {
        if (stream_.ready(events)) {
            link_.afterReading();
            return true;
        }
        const auto* const error = stream_.connection().error();
        link_.lost(
            link_.addressText_ + ": " +
            (error ? error->text : "the owner closed the connection"));
        return false;
    }

  private:
    void onRefused(const Zin::String& name, const Zin::String& why) override {
        link_.refused(name, why);
    }
    void onSynced(const Zin::String& name) override { link_.synced(name); }
    void onBarrierReached(std::uint64_t) override { link_.barrierReached_ = true; }
    void onSkipped(const Zin::String& what) override {
        say("the owner is of another build: " + std::string(what.view()) + ", skipped");
    }

    OwnerLink& link_;
    Zin::NboAttrLog::FdStream stream_;
};

OwnerLink::OwnerLink(
    Loop& loop,
    const std::string& address,
    std::vector<Mirror> mirrors,
    Listener& listener)
    : loop_(loop),
      addressText_(address),
      address_(Zin::NboAttrLog::Address::fromText(address)),
      mirrors_(std::move(mirrors)),
      listener_(listener) {
    loop_.after({}, [this] { connect(); });
}

void OwnerLink::connect() {
    try {
        auto stream = std::make_unique<Stream>(*this, Zin::NboAttrLog::connectTo(address_));
        stream_ = stream.get();
        whole_ = false;
        synced_.clear();
        loop_.add(std::move(stream));
    } catch (const std::exception& failure) {
        lost(failure.what());
    }
}

void OwnerLink::lost(const std::string& why) {
    stream_ = nullptr;
    barriersToCome_ = 0;
    barrierReached_ = false;
    if (why != std::exchange(lastFailure_, why)) {
        say(why + "; trying again");
    }
    loop_.after(retryPause, [this] { connect(); });
}

void OwnerLink::refused(const Zin::String& name, const Zin::String& why) {
    say(addressText_ + ": " + std::string(name.view()) +
        " cannot be mirrored: " + std::string(why.view()));
    loop_.end(exitRefused);
}

void OwnerLink::synced(const Zin::String& name) {
    synced_.insert(name);
    if (whole_ || synced_.size() < mirrors_.size()) return;
    whole_ = true;
    lastFailure_.clear();
    say("synchronised with " + addressText_);
    listener_.onSynced();
    settle();
}

void OwnerLink::afterReading() {
    update();
    if (!std::exchange(barrierReached_, false) || barriersToCome_ == 0) return;
    if (--barriersToCome_ == 0) return listener_.onSettled();
    stream_->barrier();
}

void OwnerLink::update() {
    if (whole_) listener_.onUpdate();
}

void OwnerLink::settle() {
    if (!stream_ || !whole_) return;
    // One that is under way may have passed what is to be waited for: it is begun anew when it
    // comes back.
    const bool underWay = barriersToCome_ != 0;
    barriersToCome_ = underWay ? barriersToSettle + 1 : barriersToSettle;
    if (!underWay) stream_->barrier();
}

}  // namespace agent
