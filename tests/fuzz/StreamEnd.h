// One end of an attribute-log stream: it offers an entity of each root type that is in
// question, which holds something, and mirrors what its peer may offer of each. Names are those
// of the types.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Zin/NboAttrLogConnection.h"
#include "support/Dump.h"
#include "support/RootTypes.h"

namespace fuzz {

using Bytes = std::vector<std::byte>;

inline std::uint32_t wordAt(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        word = word << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    }
    return word;
}

inline void wordIs(std::span<std::byte> bytes, std::size_t at, std::uint32_t word) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<std::byte>(word >> (24 - 8 * i));
    }
}

// The whole messages at the start of a stream, each with its header.
std::vector<Bytes> messagesOf(std::span<const std::byte> stream);

// Gives each module of a greeting this fingerprint, or, where it is 0, that of this build: so a
// stream that is kept greets every build as one of its own.
void fingerprintsAre(Bytes& stream, bool ofThisBuild);

using Types = std::vector<const support::EntityType*>;

// The root types whose names occur in a stream: no others can be mounted on it.
Types typesIn(std::span<const std::byte> stream);

struct StreamEnd : Zin::NboAttrLog::Observer {
    StreamEnd(Types inQuestion, Zin::NboAttrLog::Access offeredFor);

    void onMounted(
        const Zin::String&,
        const Zin::Ptr<Zin::Entity>& mirror,
        Zin::NboAttrLog::Access) override {
        mounted.push_back(mirror);
    }

    // A random change to something that is offered or mirrored.
    void step(laws::Random& random);
    // Of what is offered, and of what is mirrored.
    support::State offeredState() const;
    support::State mountedState() const;

    const Types types;
    const Zin::NboAttrLog::Access access;
    Zin::NboAttrLog::Exports exports;
    // One of each type.
    std::vector<Zin::Ptr<Zin::Entity>> offered;
    // As the peer answers.
    std::vector<Zin::Ptr<Zin::Entity>> mounted;
    std::unique_ptr<Zin::NboAttrLog::Connection> connection;
};

}  // namespace fuzz
