#include "corra/Live.h"

#include <memory>
#include <stdexcept>
#include <utility>

namespace corra {

Live::Live(std::string address, std::chrono::milliseconds patience, const Zin::String& only)
    : address_(std::move(address)), patience_(patience) {
    Fd fd = Zin::NboAttrLog::connectTo(Zin::NboAttrLog::Address::fromText(address_));
    Listener& self = *this;
    auto mirroring = std::make_unique<Mirroring>(std::move(fd), mirrors_, self, only);
    mirroring_ = mirroring.get();
    loop_.add(std::move(mirroring));
    wait();
    if (!mirrors_.empty()) return;
    fail(
        only.empty() ? "nothing is exported"
                     : "nothing is exported as " + std::string(only.view()));
}

Roots Live::roots() const {
    Roots roots;
    for (const auto& [name, mirrored] : mirrors_) roots[name] = mirrored.entity;
    return roots;
}

bool Live::isWritable(const Zin::String& root) const {
    const auto found = mirrors_.find(root);
    return found != mirrors_.end() &&
           found->second.access == Zin::NboAttrLog::Access::readWrite;
}

void Live::settle() {
    mirroring_->barrier();
    wait();
}

void Live::onRefused(const Zin::String& name, const std::string& why) {
    failure_ = std::string(name.view()) + " cannot be mirrored: " + why;
    loop_.stop();
}

void Live::onLost(bool, const std::string& why) {
    if (failure_.empty()) failure_ = why;
    loop_.stop();
}

void Live::wait() {
    const unsigned thisWait = ++waits_;
    loop_.after(patience_, [this, thisWait] {
        if (thisWait != waits_) return;
        const std::string within = std::to_string(patience_.count()) + " ms";
        failure_ = mirroring_->missing() + " within " + within;
        loop_.stop();
    });
    if (failure_.empty()) loop_.run();
    if (!failure_.empty()) fail(failure_);
}

void Live::fail(const std::string& why) const {
    throw std::runtime_error(address_ + ": " + why);
}

}  // namespace corra
