// What a peer may send: recorded streams, damaged in every way that is cheap to try. Whatever
// comes, nothing crashes, the stream ends with an error that lies within it or goes on,
// entities stay as the last whole message left them, memory stays bounded, and other streams
// notice nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <vector>

#include "Zin/NboAttrLogOut.h"
#include "frame/Allocations.h"
#include "laws/RandomValue.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Link.h"

namespace {

using namespace support;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::headerSize;
using Zin::NboAttrLog::MessageId;
using Zin::NboAttrLog::Observer;
using Zin::NboAttrLog::StreamErrorKind;
using Bytes = std::vector<std::byte>;

// All that is ready is sent at once: numbers of entities then do not depend on the chunks.
constexpr std::size_t chunkSize = 1 << 20;

std::uint32_t wordAt(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        word = word << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    }
    return word;
}

void wordIs(Bytes& bytes, std::size_t at, std::uint32_t word) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<std::byte>(word >> (24 - 8 * i));
}

template <class... Values>
Bytes message(MessageId id, const Values&... values) {
    using Zin::NboAttrLog::attrLogSize;
    const std::size_t size = (attrLogSize(values) + ... + 0);
    Bytes bytes(headerSize + size);
    Zin::NboAttrLog::Out out(bytes.data(), bytes.data() + bytes.size());
    out << static_cast<std::uint32_t>(size) << static_cast<std::uint32_t>(id);
    static_cast<void>((out << ... << values));
    return bytes;
}

// The starts of the messages, and the end.
std::vector<std::size_t> bordersOf(std::span<const std::byte> stream) {
    std::vector<std::size_t> borders{0};
    while (borders.back() + headerSize <= stream.size()) {
        borders.push_back(borders.back() + headerSize + wordAt(stream, borders.back()));
    }
    return borders;
}

Zin::Ptr<Lab::Bench> bench() {
    const auto made = Lab::Bench::BenchIs("bench");
    made->labelIs("a label");
    made->readingIs(7, "seven");
    made->readingIs(8, "eight");
    made->reagentIs({"salt", 3});
    const auto rack = made->rackIs("rack", true);
    rack->heightIs(4);
    rack->slotIs("slot")->sampleIs("sample")->markIs("mark");
    made->spareIs("spare");
    return made;
}

// What both ends of a stream sent while the mirror was filled and then wrote to the owner.
struct Recording {
    Bytes sent[2];

    Recording() {
        const auto owner = bench();
        Exports exports;
        Exports none;
        Observer quiet;
        exports.exportIs("bench", owner, Access::readWrite);
        Link link(exports, quiet, none, quiet);
        link.tap = [this](std::size_t from, std::span<const std::byte> bytes) {
            sent[from].insert(sent[from].end(), bytes.begin(), bytes.end());
        };
        const auto mirror = Lab::Bench::BenchIs("bench");
        link.end(1).mount("bench", mirror);
        link.end(1).barrier(1);
        EXPECT_TRUE(link.settle(chunkSize));
        mirror->wideIs(77);
        mirror->readingDel(8);
        mirror->rackIs("second", false)->heightIs(5);
        mirror->rackDel("rack");
        mirror->spareIs("spare")->massIs(9);
        EXPECT_TRUE(link.settle(chunkSize));
        owner->labelIs("another");
        EXPECT_TRUE(link.settle(chunkSize));
        EXPECT_EQ(difference(dump(*owner), dump(*mirror)), "");
    }
};

const Recording& recorded() {
    static const Recording recording;
    return recording;
}

// Mounts, and says as many messages as the recorded mirror did, some of which its owner
// confirms.
void mountLikeRecorded(Connection& connection, const Zin::Ptr<Lab::Bench>& mirror) {
    connection.mount("bench", mirror);
    for (int i = 0; i < 16; ++i) {
        connection.mount("elsewhere");
        connection.unmount("elsewhere");
    }
}

// One end that is fed by hand: the owner of a bench, or its mirror. A healthy peer mirrors the
// owner at the same time.
struct Victim {
    explicit Victim(std::size_t side)
        : entity(side == 0 ? bench() : Lab::Bench::BenchIs("bench")) {
        if (side == 0) exports.exportIs("bench", entity, Access::readWrite);
        connection = std::make_unique<Connection>(exports, quiet);
        if (side == 1) mountLikeRecorded(*connection, entity);
        connection->consumed(connection->produce(chunkSize).size());
        if (side == 1) return;
        healthy = Lab::Bench::BenchIs("bench");
        link = std::make_unique<Link>(exports, quiet, none, quiet);
        link->end(1).mount("bench", healthy);
        EXPECT_TRUE(link->settle());
    }

    void feed(std::span<const std::byte> bytes) {
        // No more than one message at a time, and each answered before the next one.
        for (std::size_t at = 0; at < bytes.size(); at += headerSize) {
            const auto chunk = bytes.subspan(at, std::min(headerSize, bytes.size() - at));
            // A block of its own, so that a sanitizer sees a read behind its end.
            const Bytes own(chunk.begin(), chunk.end());
            connection->feed(own);
            connection->consumed(connection->produce(chunkSize).size());
        }
    }

    // After the damage: an error lies within what was fed, and the healthy peer was told all.
    void check(std::size_t fed) {
        if (connection->error()) {
            EXPECT_LE(connection->error()->position, fed);
            EXPECT_NE(connection->error()->text, "");
        }
        if (!link) return;
        EXPECT_TRUE(link->settle());
        EXPECT_EQ(link->fault(), "");
        EXPECT_EQ(difference(dump(*entity), dump(*healthy)), "");
    }

    Exports exports;
    Exports none;
    Observer quiet;
    Zin::Ptr<Lab::Bench> entity;
    std::unique_ptr<Connection> connection;
    Zin::Ptr<Lab::Bench> healthy;
    std::unique_ptr<Link> link;
};

// What the first whole messages of the recorded stream make of the victim.
State stateAfter(std::size_t side, std::size_t bytes) {
    Victim victim(side);
    victim.feed(std::span(recorded().sent[1 - side]).first(bytes));
    return dump(*victim.entity);
}

class BothSides : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(HostileBytes, BothSides, testing::Values(0, 1));

TEST_P(BothSides, AStreamCutAnywhereLeavesWholeMessages) {
    const Bytes& stream = recorded().sent[1 - GetParam()];
    const auto borders = bordersOf(stream);
    ASSERT_EQ(borders.back(), stream.size());
    std::size_t whole = 0;
    State expected = stateAfter(GetParam(), 0);
    for (std::size_t size = 0; size <= stream.size(); ++size) {
        if (size == borders[whole + 1 < borders.size() ? whole + 1 : whole] && size != 0) {
            ++whole;
            expected = stateAfter(GetParam(), size);
        }
        Victim victim(GetParam());
        victim.feed(std::span(stream).first(size));
        ASSERT_FALSE(victim.connection->closed());
        victim.connection->feedEnd();
        EXPECT_EQ(victim.connection->error() != nullptr, size != borders[whole]);
        if (victim.connection->error()) {
            EXPECT_EQ(victim.connection->error()->kind, StreamErrorKind::truncated);
            EXPECT_EQ(victim.connection->error()->position, size);
        }
        ASSERT_EQ(difference(expected, dump(*victim.entity)), "") << size;
    }
}

TEST_P(BothSides, AFlippedByteEndsTheStreamOrIsAValue) {
    const Bytes& stream = recorded().sent[1 - GetParam()];
    const auto borders = bordersOf(stream);
    std::vector<State> states;
    for (const std::size_t border : borders) states.push_back(stateAfter(GetParam(), border));
    for (std::size_t at = 0; at < stream.size(); ++at) {
        for (const unsigned mask : {0x01U, 0x80U, 0xffU}) {
            Bytes damaged = stream;
            damaged[at] ^= static_cast<std::byte>(mask);
            Victim victim(GetParam());
            Allocations::resetPeak();
            const std::size_t before = Allocations::liveBytes();
            victim.feed(damaged);
            EXPECT_LT(Allocations::peakBytes() - before, std::size_t{4} << 20) << at;
            // Nothing before the message at fault is to blame.
            if (const auto* const error = victim.connection->error()) {
                const auto border = std::upper_bound(borders.begin(), borders.end(), at) - 1;
                if (error->position < border[1]) {
                    const auto done = static_cast<std::size_t>(border - borders.begin());
                    ASSERT_EQ(difference(states[done], dump(*victim.entity)), "") << at;
                }
                EXPECT_GE(error->position, *border) << at << ' ' << error->text;
            }
            victim.check(damaged.size());
        }
    }
}

TEST_P(BothSides, MessagesMayBeLostDoubledMovedAndMixed) {
    const Bytes& stream = recorded().sent[1 - GetParam()];
    const auto borders = bordersOf(stream);
    laws::Random random(5);
    const auto any = [&](std::size_t bound) {
        return static_cast<std::ptrdiff_t>(laws::below(random, bound));
    };
    for (int round = 0; round < 1500; ++round) {
        std::vector<Bytes> messages;
        for (std::size_t i = 0; i + 1 < borders.size(); ++i) {
            messages.emplace_back(
                stream.begin() + static_cast<std::ptrdiff_t>(borders[i]),
                stream.begin() + static_cast<std::ptrdiff_t>(borders[i + 1]));
        }
        for (int damage = 0; damage < 3; ++damage) {
            // The greeting stays first, most of the time, so that more than that is tried.
            const auto at = messages.begin() + 1 + any(messages.size() - 1);
            const auto other =
                messages.begin() + (round % 8 ? 1 : 0) + any(messages.size() - 1);
            Bytes& bytes = *at;
            switch (any(8)) {
                case 0:
                    std::swap(*at, *other);
                    break;
                case 1:
                    bytes = *other;
                    break;
                case 2:
                    messages.insert(at, Bytes(*other));
                    break;
                case 3:
                    messages.erase(at);
                    break;
                case 4:
                    if (bytes.size() >= headerSize + 4) {
                        const auto word =
                            static_cast<std::size_t>(any(bytes.size() - headerSize - 3));
                        wordIs(
                            bytes,
                            headerSize + word,
                            static_cast<std::uint32_t>(random() >> any(60)));
                    }
                    break;
                case 5:
                    wordIs(bytes, 4, 250 + static_cast<std::uint32_t>(any(40)));
                    break;
                case 6:
                    wordIs(bytes, 4, static_cast<std::uint32_t>(any(20)));
                    break;
                default:
                    if (bytes.size() > headerSize) {
                        bytes.erase(
                            bytes.begin() + headerSize + any(bytes.size() - headerSize));
                        wordIs(bytes, 0, static_cast<std::uint32_t>(bytes.size() - headerSize));
                    }
            }
        }
        Bytes damaged;
        for (const Bytes& m : messages) damaged.insert(damaged.end(), m.begin(), m.end());
        Victim victim(GetParam());
        victim.feed(damaged);
        victim.check(damaged.size());
    }
}

// A message by hand, after the greeting and perhaps a mount, and the fault that it must be.
TEST(HostileBytes, FaultsAreTold) {
    const Bytes& mirrors = recorded().sent[1];
    const auto borders = bordersOf(mirrors);
    const Bytes hello(
        mirrors.begin(),
        mirrors.begin() + static_cast<std::ptrdiff_t>(borders[1]));
    const Bytes mount =
        message(MessageId::mount, std::uint32_t{1}, Zin::String("bench"), Zin::String());
    const Bytes select = message(MessageId::selectPeers, std::uint32_t{1});
    Bytes endless = message(MessageId::barrier, std::uint64_t{1});
    wordIs(endless, 0, 0xffffffff);
    Bytes crowded = hello;
    wordIs(crowded, headerSize + 10, 0xffffffff);
    struct Case {
        std::vector<Bytes> before;
        Bytes bytes;
        StreamErrorKind kind;
        // What the text says among other things.
        std::string about = {};
    };
    const Case cases[] = {
        {{}, mount, StreamErrorKind::protocol},
        {{}, crowded, StreamErrorKind::malformed},
        {{hello}, hello, StreamErrorKind::outOfOrder},
        {{hello}, endless, StreamErrorKind::oversized},
        {{hello}, message(static_cast<MessageId>(20)), StreamErrorKind::unknownMessage},
        {{hello}, message(static_cast<MessageId>(257)), StreamErrorKind::unknownMessage},
        {{hello}, message(static_cast<MessageId>(258), true), StreamErrorKind::outOfOrder},
        {{hello}, select, StreamErrorKind::unknownName},
        {{hello, mount}, mount, StreamErrorKind::outOfOrder},
        {{hello, mount}, message(MessageId::selectPeers, 9u), StreamErrorKind::unknownName},
        {{hello, mount}, message(MessageId::select, 1u), StreamErrorKind::unknownName},
        {{hello, mount, select},
         message(static_cast<MessageId>(300), true),
         StreamErrorKind::unknownName},
        {{hello, mount, select},
         message(static_cast<MessageId>(262), 5u),
         StreamErrorKind::unknownName},
        {{hello, mount, select},
         message(static_cast<MessageId>(258), std::uint8_t{2}),
         StreamErrorKind::malformed},
        {{hello, mount, select},
         message(static_cast<MessageId>(261), 5u, true),
         StreamErrorKind::malformed,
         "Lab::Bench \"bench\", attribute 261 (wide): "},
        {{hello, mount, select},
         message(static_cast<MessageId>(267), 0xfffffff0u),
         StreamErrorKind::malformed},
        {{hello, mount, select},
         message(static_cast<MessageId>(~258u + 1), 5u),
         StreamErrorKind::unknownName},
        {{hello, mount, select},
         message(MessageId::transaction, 269u, std::uint8_t{2}),
         StreamErrorKind::malformed},
        {{hello, mount, select},
         message(MessageId::transaction, 269u, std::uint8_t{0}),
         StreamErrorKind::outOfOrder},
        {{hello}, message(MessageId::heard, std::uint64_t{0}), StreamErrorKind::outOfOrder},
        {{hello}, message(MessageId::settled), StreamErrorKind::outOfOrder},
        {{hello}, message(MessageId::heard, std::uint64_t{99}), StreamErrorKind::outOfOrder},
        {{hello, mount, select},
         message(MessageId::refresh, 262u),
         StreamErrorKind::unknownName},
        {{hello, mount},
         message(MessageId::typeName, 1u, Zin::String(std::string(5000, 'x'))),
         StreamErrorKind::limit},
        {{hello}, message(MessageId::unmount, 1u), StreamErrorKind::unknownName},
        {{hello}, message(MessageId::synced, 1u), StreamErrorKind::unknownName},
        {{hello}, message(MessageId::barrier, 1u), StreamErrorKind::malformed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        Victim victim(0);
        std::size_t fed = 0;
        for (const Bytes& bytes : c.before) {
            victim.feed(bytes);
            fed += bytes.size();
        }
        ASSERT_EQ(victim.connection->error(), nullptr) << victim.connection->error()->text;
        const State before = dump(*victim.entity);
        victim.feed(c.bytes);
        ASSERT_NE(victim.connection->error(), nullptr);
        EXPECT_EQ(victim.connection->error()->kind, c.kind) << victim.connection->error()->text;
        EXPECT_GE(victim.connection->error()->position, fed);
        EXPECT_EQ(difference(before, dump(*victim.entity)), "");
        const std::string& text = victim.connection->error()->text;
        EXPECT_NE(text.npos, text.find(c.about)) << text;
        victim.check(fed + c.bytes.size());
        EXPECT_TRUE(victim.connection->produce(1).empty());
    }
}

// A peer that asks and asks and never reads: what this side keeps for it is bounded.
TEST(HostileBytes, FloodsEndOrCostNothing) {
    const Bytes& mirrors = recorded().sent[1];
    const auto borders = bordersOf(mirrors);
    const Bytes hello(
        mirrors.begin(),
        mirrors.begin() + static_cast<std::ptrdiff_t>(borders[1]));
    const std::string big(100000, 'x');
    using Messages = std::vector<Bytes>;
    struct Flood {
        std::uint32_t rounds;
        std::size_t kept;
        Messages (*make)(std::uint32_t i, const std::string& big);
    };
    const Flood floods[] = {
        {100000,
         1 << 20,
         [](std::uint32_t i, const std::string&) {
             return Messages{message(MessageId::barrier, std::uint64_t{i})};
         }},
        {40000,
         1 << 20,
         [](std::uint32_t i, const std::string&) {
             return Messages{
                 message(MessageId::mount, i + 2, Zin::String("none"), Zin::String())};
         }},
        {40000,
         1 << 20,
         [](std::uint32_t i, const std::string&) {
             return Messages{
                 message(MessageId::unmount, i + 1),
                 message(MessageId::mount, i + 2, Zin::String("bench"), Zin::String())};
         }},
        {300,
         4 << 20,
         [](std::uint32_t i, const std::string& text) {
             return Messages{
                 message(MessageId::refresh, 270u, Zin::String(text + std::to_string(i)))};
         }},
        {40000,
         1 << 20,
         [](std::uint32_t, const std::string&) {
             return Messages{message(MessageId::refresh, 273u, Zin::String("rack"))};
         }},
        {10000,
         6 << 20,
         [](std::uint32_t i, const std::string& text) {
             return Messages{
                 message(MessageId::typeName, i, Zin::String(text.substr(0, 1000)))};
         }},
        {100,
         4 << 20,
         [](std::uint32_t i, const std::string& text) {
             return Messages{message(
                 MessageId::mount,
                 i + 2,
                 Zin::String(text + std::to_string(i)),
                 Zin::String())};
         }},
    };
    for (const Flood& flood : floods) {
        SCOPED_TRACE(&flood - floods);
        Victim victim(0);
        Connection& connection = *victim.connection;
        connection.feed(hello);
        connection.feed(message(MessageId::mount, 1u, Zin::String("bench"), Zin::String()));
        connection.produce(100);
        connection.feed(message(MessageId::selectPeers, 1u));
        const std::size_t before = Allocations::liveBytes();
        for (std::uint32_t i = 0; i < flood.rounds && !connection.closed(); ++i) {
            for (const Bytes& bytes : flood.make(i, big)) connection.feed(bytes);
            connection.produce(1 << 20);
        }
        EXPECT_LT(Allocations::liveBytes(), before + flood.kept);
        if (connection.error()) {
            EXPECT_EQ(connection.error()->kind, StreamErrorKind::limit)
                << connection.error()->text;
        }
    }
}

// A peer of another build: what this side does not know is skipped, and said once.
TEST(HostileBytes, AnotherBuildIsSkippedWhereItIsUnknown) {
    struct Skips : Observer {
        void onSkipped(const Zin::String& what) override {
            skipped.push_back(std::string(what.view()));
        }
        std::vector<std::string> skipped;
    } observer;
    Bytes stream = recorded().sent[0];
    const auto borders = bordersOf(stream);
    // The greeting ends with the fingerprint of one module after the other; each differs by a
    // bit.
    std::size_t at = headerSize + 14;
    while (at < borders[1]) {
        at += 4 + wordAt(stream, at) + 8;
        stream[at - 1] ^= std::byte{1};
    }
    // An attribute that is not known here, twice, in place of one that is.
    std::size_t replaced = 0;
    for (std::size_t i = 1; i + 1 < borders.size(); ++i) {
        const std::uint32_t id = wordAt(stream, borders[i] + 4);
        if (id == 263 || id == 264) {
            wordIs(stream, borders[i] + 4, 400);
            ++replaced;
        }
    }
    ASSERT_EQ(replaced, 2u);
    Exports none;
    Connection connection(none, observer);
    const auto mirror = Lab::Bench::BenchIs("bench");
    mountLikeRecorded(connection, mirror);
    connection.feed(stream);
    ASSERT_EQ(connection.error(), nullptr) << connection.error()->text;
    EXPECT_EQ(observer.skipped, std::vector<std::string>{"Lab::Bench has no attribute 400"});
    EXPECT_EQ(mirror->label(), "another");
    EXPECT_EQ(mirror->wide(), 77u);
}

}  // namespace
