#include "support/Link.h"

#include <algorithm>
#include <span>
#include <stdexcept>

namespace support {

using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

namespace {

constexpr std::size_t wireCapacity = 2048;
constexpr unsigned settlingRounds = 20000;

}  // namespace

Link::Link(
    Exports& first,
    Observer& firstObserver,
    Exports& second,
    Observer& secondObserver,
    const Connection::Options& options)
    : ends_{
          std::make_unique<Connection>(first, firstObserver, options),
          std::make_unique<Connection>(second, secondObserver, options)} {}

bool Link::send(std::size_t from, std::size_t bytes) {
    Wire& wire = wires_[from];
    if (wire.stalled || wire.bytes.size() >= wireCapacity) return false;
    const std::span<const std::byte> produced = ends_[from]->produce(bytes);
    std::vector<std::byte> sent(produced.begin(), produced.end());
    ends_[from]->consumed(sent.size());
    if (sent.empty()) return false;
    if (tap) tap(from, sent);
    wire.bytes.insert(wire.bytes.end(), sent.begin(), sent.end());
    return true;
}

bool Link::deliver(std::size_t from, std::size_t bytes) {
    Wire& wire = wires_[from];
    const std::size_t size = std::min(bytes, wire.bytes.size());
    if (wire.stalled || size == 0) return false;
    const auto end = wire.bytes.begin() + static_cast<std::ptrdiff_t>(size);
    // A block of its own, so that a sanitizer sees a read behind its end.
    const std::vector<std::byte> chunk(wire.bytes.begin(), end);
    wire.bytes.erase(wire.bytes.begin(), end);
    std::span<const std::byte> left(chunk);
    for (;;) {
        try {
            ends_[1 - from]->feed(left);
            return true;
        } catch (const std::runtime_error&) {
            left = {};
        }
    }
}

bool Link::settle(std::size_t chunk) {
    for (unsigned round = 0; round < settlingRounds; ++round) {
        bool moved = false;
        for (const std::size_t from : {0U, 1U}) {
            moved |= send(from, chunk);
            moved |= deliver(from, std::max(chunk, wireCapacity));
        }
        if (!moved) return true;
    }
    return false;
}

std::string Link::fault() const {
    for (const auto& end : ends_) {
        if (end->error()) return end->error()->text;
        if (end->closed()) return "closed without an error";
    }
    return {};
}

}  // namespace support
