// What a peer sends. An input is four bytes that say how, and the stream from its greeting on:
//
//     0   bytes that are received at once; 0: all
//     1   after how many of those this side changes something of its own; 0: never
//     2   what it changes
//     3   not 0: what this side offers may be read and not written
//
// Whatever comes, the stream goes on or ends with an error that lies in it; all is as the last
// whole message left it; what may not be written is not; what is answered is whole messages;
// and another stream of the same exports goes on and carries all.

#include <algorithm>

#include "fuzz/Fuzz.h"
#include "fuzz/StreamEnd.h"
#include "support/Link.h"

namespace {

using fuzz::below;
using fuzz::Bytes;
using fuzz::require;
using fuzz::StreamEnd;
using Zin::NboAttrLog::headerSize;

constexpr std::size_t howSize = 4;
// All that is ready is sent at once: numbers of entities then do not depend on the chunks.
constexpr std::size_t budget = 1 << 20;

struct How {
    std::size_t chunk = 0;
    unsigned every = 0;
    unsigned seed = 0;
    Zin::NboAttrLog::Access access = {};
};

void requireEqual(
    const support::State& expected,
    const support::State& found,
    std::string_view law) {
    if (expected != found) require(false, law, support::difference(expected, found));
}

struct Victim : StreamEnd {
    using StreamEnd::StreamEnd;

    void answer() {
        for (;;) {
            const auto produced = connection->produce(budget);
            if (produced.empty()) return;
            sent.insert(sent.end(), produced.begin(), produced.end());
            connection->consumed(produced.size());
        }
    }
    void feed(std::span<const std::byte> stream, const How& how) {
        laws::Random random(how.seed);
        answer();
        unsigned chunks = 0;
        while (!stream.empty() && !connection->closed()) {
            if (how.every != 0 && ++chunks % how.every == 0) step(random);
            const std::size_t size =
                how.chunk ? std::min(how.chunk, stream.size()) : stream.size();
            // A block of its own, so that a sanitizer sees a read behind its end.
            const Bytes chunk(
                stream.begin(),
                stream.begin() + static_cast<std::ptrdiff_t>(size));
            connection->feed(chunk);
            answer();
            stream = stream.subspan(size);
        }
    }

    Bytes sent;
};

// Mirrors what the victim offers, over a stream of its own.
struct Bystander : Zin::NboAttrLog::Observer {
    explicit Bystander(Victim& of) : victim(of), link(of.exports, *this, none, *this) {
        for (const support::EntityType* type : victim.types) {
            mirrors.push_back(type->make("bystander"));
            link.end(1).mount(Zin::String(mirrors.back()->fwkType().name()), mirrors.back());
        }
        require(link.settle(), "a sound stream settles");
    }
    void check() {
        require(link.settle(), "another stream settles");
        require(link.fault().empty(), "another stream goes on", link.fault());
        for (std::size_t i = 0; i < mirrors.size(); ++i) {
            requireEqual(
                support::dump(*victim.offered[i]),
                support::dump(*mirrors[i]),
                "another stream carries all");
        }
    }

    Victim& victim;
    Zin::NboAttrLog::Exports none;
    support::Link link;
    std::vector<Zin::Ptr<Zin::Entity>> mirrors;
};

std::size_t sizeOf(const std::vector<Bytes>& messages, std::size_t most) {
    std::size_t size = 0;
    for (const Bytes& message : messages) {
        if (size + message.size() > most) break;
        size += message.size();
    }
    return size;
}

void checkError(const Victim& victim, const Bytes& stream, const How& how) {
    const Zin::NboAttrLog::StreamError& error = *victim.connection->error();
    require(victim.connection->closed(), "an error ends the stream", error.text);
    require(error.position <= stream.size(), "an error lies in the stream", error.text);
    require(!error.text.empty(), "an error is told");
    // What this side changed is not repeated.
    if (how.every != 0) return;
    const auto at = static_cast<std::size_t>(error.position);
    const std::size_t sound = sizeOf(fuzz::messagesOf(stream), at);
    Victim other(victim.types, victim.access);
    other.feed(std::span(stream).first(sound), how);
    requireEqual(other.offeredState(), victim.offeredState(), "messages are taken as a whole");
    requireEqual(other.mountedState(), victim.mountedState(), "messages are taken as a whole");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < howSize) return 0;
    const How how{
        data[0],
        data[1],
        data[2],
        data[3] ? Zin::NboAttrLog::Access::readOnly : Zin::NboAttrLog::Access::readWrite};
    const auto* const begin = reinterpret_cast<const std::byte*>(data);
    Bytes stream(begin + howSize, begin + size);
    fuzz::fingerprintsAre(stream, true);

    Victim victim(fuzz::typesIn(stream), how.access);
    Bystander bystander(victim);
    const auto before = victim.offeredState();
    victim.feed(stream, how);
    const bool isKept = how.access == Zin::NboAttrLog::Access::readOnly && how.every == 0;
    if (isKept) requireEqual(before, victim.offeredState(), "what may not be written is not");
    if (!victim.connection->closed()) {
        const bool isWhole = sizeOf(fuzz::messagesOf(stream), stream.size()) == stream.size();
        victim.connection->feedEnd();
        require(
            (victim.connection->error() == nullptr) == isWhole,
            "a stream ends at a message");
    }
    victim.answer();
    if (victim.connection->error()) checkError(victim, stream, how);
    const auto answers = fuzz::messagesOf(victim.sent);
    require(
        sizeOf(answers, victim.sent.size()) == victim.sent.size(),
        "what is answered is whole messages");
    bystander.check();
    return 0;
}

// --- Mutation that keeps messages whole ---

namespace {

std::uint32_t anyNumber(fuzz::Random& random) {
    // Entities, types and mounts have small numbers.
    const auto number = static_cast<std::uint32_t>(below(random, 24));
    return below(random, 16) ? number : static_cast<std::uint32_t>(random()) * 2 - number;
}

std::uint32_t anyId(fuzz::Random& random) {
    const auto number = static_cast<std::uint32_t>(below(random, 24));
    const std::uint32_t attribute = Zin::NboAttrLog::firstAttributeId + number;
    const std::uint32_t ids[]{number, attribute, attribute, 0U - attribute};
    return ids[below(random, 4)];
}

void mutatePayload(Bytes& bytes) {
    std::string payload(fuzz::textOf(
        reinterpret_cast<const std::uint8_t*>(bytes.data()) + headerSize,
        bytes.size() - headerSize));
    payload = fuzz::mutated(payload);
    bytes.resize(headerSize + payload.size());
    std::transform(payload.begin(), payload.end(), bytes.begin() + headerSize, [](char c) {
        return static_cast<std::byte>(c);
    });
    fuzz::wordIs(bytes, 0, static_cast<std::uint32_t>(payload.size()));
}

void mutate(std::vector<Bytes>& messages, fuzz::Random& random) {
    // The greeting stays first, most of the time.
    const std::size_t first = messages.size() > 1 && below(random, 16) ? 1 : 0;
    const auto any = [&] {
        const std::size_t at = first + below(random, messages.size() - first);
        return messages.begin() + static_cast<std::ptrdiff_t>(at);
    };
    const auto at = any();
    switch (below(random, 8)) {
        case 0:
            return std::swap(*at, *any());
        case 1:
            messages.insert(at, Bytes(*any()));
            return;
        case 2:
            messages.erase(at);
            return;
        case 3:
            return fuzz::wordIs(*at, 4, anyId(random));
        case 4:
        case 5:
            if (at->size() < headerSize + 4) return;
            return fuzz::wordIs(
                *at,
                headerSize + below(random, at->size() - headerSize - 3),
                anyNumber(random));
        default:
            return mutatePayload(*at);
    }
}

}  // namespace

std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    fuzz::Random random(seed);
    const auto* const begin = reinterpret_cast<const std::byte*>(data);
    if (size <= howSize || below(random, 32) == 0) return LLVMFuzzerMutate(data, size, most);
    std::vector<Bytes> messages = fuzz::messagesOf({begin + howSize, begin + size});
    if (messages.empty()) return LLVMFuzzerMutate(data, size, most);
    std::string mutated(fuzz::textOf(data, howSize));
    if (below(random, 16) == 0) mutated = (fuzz::mutated(mutated) + "\x08").substr(0, howSize);
    mutated.resize(howSize);
    do mutate(messages, random);
    while (!messages.empty() && below(random, 2));
    for (const Bytes& bytes : messages) {
        mutated.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    return fuzz::put(mutated, data, size, most);
}
