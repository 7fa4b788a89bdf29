// The attribute log beside a loop written by hand that makes and reads the same bytes, and
// beside Protocol Buffers, in one run. Records are those of two collections: the pseudowires of
// a VPLS group (33 bytes as a message) and encapsulations (64 bytes, with a string).
//
// Encode: all members of a collection, from a peer's request on. Decode: from the bytes to
// values. Apply: from the bytes to members of a mirror, growing from empty, beside inserting
// the decoded values into a bare collection. ns/op is per member.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "Zin/NboAttrLogConnection.h"
#include "records.pb.h"

namespace {

using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::Observer;
using Zin::NboAttrLog::wordAt;
using Bytes = std::vector<std::byte>;
using Tunnel::TunnelTable::TunnelId;

constexpr std::uint32_t members = 65536;

Vorn::IntfId keyAt(std::uint32_t i) {
    return Vorn::IntfId((std::uint64_t{i} + 1) * 0x9e3779b97f4a7c15);
}

// --- Bytes by hand ---

struct Writer {
    std::byte* at;

    template <std::unsigned_integral Word>
    void put(Word word) {
        if constexpr (sizeof word == 8) word = __builtin_bswap64(word);
        if constexpr (sizeof word == 4) word = __builtin_bswap32(word);
        if constexpr (sizeof word == 2) word = __builtin_bswap16(word);
        std::memcpy(at, &word, sizeof word);
        at += sizeof word;
    }
    void put(bool flag) { put(std::uint8_t{flag}); }
    void put(std::string_view text) {
        put(static_cast<std::uint32_t>(text.size()));
        std::memcpy(at, text.data(), text.size());
        at += text.size();
    }
};

struct Reader {
    const std::byte* at;
    const std::byte* end;
    bool good = true;

    template <std::unsigned_integral Word>
    Word next() {
        Word word{};
        if (static_cast<std::size_t>(end - at) < sizeof word) {
            good = false;
            return word;
        }
        std::memcpy(&word, at, sizeof word);
        at += sizeof word;
        if constexpr (sizeof word == 8) word = __builtin_bswap64(word);
        if constexpr (sizeof word == 4) word = __builtin_bswap32(word);
        if constexpr (sizeof word == 2) word = __builtin_bswap16(word);
        return word;
    }
    bool nextBool() { return next<std::uint8_t>() != 0; }
    std::string_view nextText() {
        const auto size = next<std::uint32_t>();
        if (static_cast<std::size_t>(end - at) < size) {
            good = false;
            return {};
        }
        const std::string_view text(reinterpret_cast<const char*>(at), size);
        at += size;
        return text;
    }
};

// --- The two kinds of records ---

struct VplsPseudowires {
    using Key = Vorn::IntfId;
    using Value = Pseudowire::VplsForwardingStatusPseudowire;
    using Entity = Pseudowire::VplsForwardingStatusPseudowireGroup;
    using Map = Entity::PseudowireMap;
    using Message = bench::VplsPseudowire;
    static constexpr std::uint32_t attribute = 259;
    static constexpr std::size_t mostBytes = 8 + 25;

    static Zin::Ptr<Entity> make() {
        return Pseudowire::vplsForwardingStatusPseudowireGroupFactory("core", true);
    }
    static const Map& map(const Entity& entity) { return entity.pseudowire(); }
    static Value valueAt(std::uint32_t i) {
        return {
            keyAt(i),
            Vorn::MplsLabel(16 + i),
            Vorn::MplsLabel(17 + i),
            TunnelId(i),
            i % 2 == 0};
    }
    static void set(Entity& entity, std::uint32_t i) { entity.pseudowireIs(valueAt(i)); }
    static void put(Map& map, const Key&, const Value& value) { map.put(value); }

    static void write(Writer& out, const Key&, const Value& value) {
        out.put(std::uint32_t{25});
        out.put(attribute);
        out.put(value.intfId().value());
        out.put(value.decapLabel().value());
        out.put(value.encapLabel().value());
        out.put(value.encapTunnel().value());
        out.put(value.controlWord());
    }
    static Value read(Reader& in, Key&) {
        Value value;
        value.intfIdIs(Vorn::IntfId(in.next<std::uint64_t>()));
        value.decapLabelIs(Vorn::MplsLabel(in.next<std::uint32_t>()));
        value.encapLabelIs(Vorn::MplsLabel(in.next<std::uint32_t>()));
        value.encapTunnelIs(TunnelId(in.next<std::uint64_t>()));
        value.controlWordIs(in.nextBool());
        return value;
    }
    static Value next(In& in, Key&) { return in.next<Value>(); }

    static void fill(Message& message, const Key&, const Value& value) {
        message.set_intf_id(value.intfId().value());
        message.set_decap_label(value.decapLabel().value());
        message.set_encap_label(value.encapLabel().value());
        message.set_encap_tunnel(value.encapTunnel().value());
        message.set_control_word(value.controlWord());
    }
    static Value valueOf(const Message& message, Key&) {
        return {
            Vorn::IntfId(message.intf_id()),
            Vorn::MplsLabel(message.decap_label()),
            Vorn::MplsLabel(message.encap_label()),
            TunnelId(message.encap_tunnel()),
            message.control_word()};
    }
};

struct Encapsulations {
    using Key = Vorn::IntfId;
    using Value = Pseudowire::EncapAdjacency;
    using Entity = Pseudowire::Status;
    using Map = Entity::EncapAdjacencyMap;
    using Message = bench::EncapAdjacency;
    static constexpr std::uint32_t attribute = 260;
    static constexpr std::size_t mostBytes = 8 + 80;

    static Zin::Ptr<Entity> make() { return Pseudowire::statusFactory("status"); }
    static const Map& map(const Entity& entity) { return entity.encapAdjacency(); }
    static Value valueAt(std::uint32_t i) {
        Value value("metro-" + std::to_string(100'000 + i));
        value.encapPwLabelIs(Vorn::MplsLabel(16 + i));
        value.pseudowireTypeIs(Pseudowire::PseudowireType::ethernetTagged);
        value.dot1qTagIs(Bridging::VlanIdOrNone(static_cast<std::uint16_t>(i % 4094 + 1)));
        value.controlWordIs(true);
        value.tunnelIdIs(TunnelId(i));
        return value;
    }
    static void set(Entity& entity, std::uint32_t i) {
        entity.encapAdjacencyIs(keyAt(i), valueAt(i));
    }
    static void put(Map& map, const Key& key, const Value& value) { map.put(key, value); }

    static void write(Writer& out, const Key& key, const Value& value) {
        Writer size{out.at};
        out.at += 4;
        const std::byte* const begin = out.at + 4;
        out.put(attribute);
        out.put(key.value());
        out.put(value.patchName().view());
        out.put(value.encapPwLabel().value());
        out.put(static_cast<std::uint32_t>(value.dot1qTagOp()));
        out.put(static_cast<std::uint32_t>(value.pseudowireType()));
        out.put(value.dot1qTag().value());
        out.put(value.dot1qTagInner().value());
        out.put(value.controlWord());
        out.put(value.flowLabel());
        out.put(value.tunnelId().value());
        out.put(value.entropyLabel());
        out.put(value.destIntfId().value());
        out.put(value.isLocalAdj());
        size.put(static_cast<std::uint32_t>(out.at - begin));
    }
    static Value read(Reader& in, Key& key) {
        key = Vorn::IntfId(in.next<std::uint64_t>());
        Value value{Zin::String(in.nextText())};
        value.encapPwLabelIs(Vorn::MplsLabel(in.next<std::uint32_t>()));
        value.dot1qTagOpIs(
            static_cast<Pseudowire::Dot1qTagOperation>(in.next<std::uint32_t>()));
        value.pseudowireTypeIs(
            static_cast<Pseudowire::PseudowireType>(in.next<std::uint32_t>()));
        value.dot1qTagIs(Bridging::VlanIdOrNone(in.next<std::uint16_t>()));
        value.dot1qTagInnerIs(Bridging::VlanIdOrNone(in.next<std::uint16_t>()));
        value.controlWordIs(in.nextBool());
        value.flowLabelIs(in.nextBool());
        value.tunnelIdIs(TunnelId(in.next<std::uint64_t>()));
        value.entropyLabelIs(in.nextBool());
        value.destIntfIdIs(Vorn::IntfId(in.next<std::uint64_t>()));
        value.isLocalAdjIs(in.nextBool());
        return value;
    }
    static Value next(In& in, Key& key) {
        key = in.next<Key>();
        return in.next<Value>();
    }

    static void fill(Message& message, const Key& key, const Value& value) {
        const std::string_view name = value.patchName().view();
        message.set_intf_id(key.value());
        message.set_patch_name(name.data(), name.size());
        message.set_encap_pw_label(value.encapPwLabel().value());
        message.set_dot1q_tag_op(static_cast<std::uint32_t>(value.dot1qTagOp()));
        message.set_pseudowire_type(static_cast<std::uint32_t>(value.pseudowireType()));
        message.set_dot1q_tag(value.dot1qTag().value());
        message.set_dot1q_tag_inner(value.dot1qTagInner().value());
        message.set_control_word(value.controlWord());
        message.set_flow_label(value.flowLabel());
        message.set_tunnel_id(value.tunnelId().value());
        message.set_entropy_label(value.entropyLabel());
        message.set_dest_intf_id(value.destIntfId().value());
        message.set_is_local_adj(value.isLocalAdj());
    }
    static Value valueOf(const Message& message, Key& key) {
        key = Vorn::IntfId(message.intf_id());
        return {
            Zin::String(message.patch_name()),
            Vorn::MplsLabel(message.encap_pw_label()),
            static_cast<Pseudowire::Dot1qTagOperation>(message.dot1q_tag_op()),
            static_cast<Pseudowire::PseudowireType>(message.pseudowire_type()),
            Bridging::VlanIdOrNone(static_cast<std::uint16_t>(message.dot1q_tag())),
            Bridging::VlanIdOrNone(static_cast<std::uint16_t>(message.dot1q_tag_inner())),
            message.control_word(),
            message.flow_label(),
            TunnelId(message.tunnel_id()),
            message.entropy_label(),
            Vorn::IntfId(message.dest_intf_id()),
            message.is_local_adj()};
    }
};

template <class Records>
Zin::Ptr<typename Records::Entity> filled() {
    auto entity = Records::make();
    for (std::uint32_t i = 0; i < members; ++i) Records::set(*entity, i);
    return entity;
}

// --- Streams ---

// An owner, and a mirror that has asked for what it holds.
template <class Records>
struct Stream {
    explicit Stream(const Zin::Ptr<typename Records::Entity>& entity)
        : owner(exports, quiet), mirror(none, quiet), mirrored(Records::make()) {
        exports.exportIs("e", entity);
        mirror.mount("e", mirrored);
        while (mirror.hasOutput()) {
            const auto bytes = mirror.produce(chunk);
            owner.feed(bytes);
            mirror.consumed(bytes.size());
        }
    }

    template <class Take>
    void produceAll(const Take& take) {
        while (owner.hasOutput()) {
            const auto bytes = owner.produce(chunk);
            take(bytes);
            owner.consumed(bytes.size());
        }
    }

    static constexpr std::size_t chunk = std::size_t{64} << 10;
    Exports exports, none;
    Observer quiet;
    Connection owner, mirror;
    Zin::Ptr<typename Records::Entity> mirrored;
};

using Clock = std::chrono::steady_clock;

// Runs `timed` on what `prepare` makes anew each time.
template <class Prepare, class Timed>
void measure(benchmark::State& state, const Prepare& prepare, const Timed& timed) {
    for (auto _ : state) {
        auto prepared = prepare();
        const auto before = Clock::now();
        timed(prepared);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - before).count());
    }
    state.counters["ns/op"] = benchmark::Counter(
        double{members} * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

struct Nothing {};

template <class Records>
void encode(benchmark::State& state) {
    const auto entity = filled<Records>();
    std::size_t bytes = 0;
    measure(
        state,
        [&] { return std::make_unique<Stream<Records>>(entity); },
        [&](auto& stream) {
            bytes = 0;
            stream->produceAll([&](std::span<const std::byte> produced) {
                benchmark::DoNotOptimize(produced.data());
                bytes += produced.size();
            });
        });
    state.counters["B/op"] = static_cast<double>(bytes) / members;
}

template <class Records>
void encodeByHand(benchmark::State& state) {
    const auto entity = filled<Records>();
    Bytes buffer(Stream<Records>::chunk);
    std::byte* const full = buffer.data() + buffer.size() - Records::mostBytes;
    measure(
        state,
        [] { return Nothing(); },
        [&](Nothing) {
            Writer out{buffer.data()};
            for (const auto& member : Records::map(*entity)) {
                Records::write(out, member.key(), member.value());
                if (out.at <= full) continue;
                benchmark::DoNotOptimize(buffer.data());
                benchmark::ClobberMemory();
                out.at = buffer.data();
            }
            benchmark::ClobberMemory();
        });
}

// Each message behind its size.
template <class Records>
Bytes protobufBytes(const typename Records::Entity& entity) {
    Bytes bytes;
    typename Records::Message message;
    for (const auto& member : Records::map(entity)) {
        Records::fill(message, member.key(), member.value());
        const std::size_t size = message.ByteSizeLong();
        const std::size_t at = bytes.size();
        bytes.resize(at + 1 + size);
        bytes[at] = static_cast<std::byte>(size);
        message.SerializeWithCachedSizesToArray(
            reinterpret_cast<std::uint8_t*>(bytes.data() + at + 1));
    }
    return bytes;
}

template <class Records>
void encodeProtobuf(benchmark::State& state) {
    const auto entity = filled<Records>();
    Bytes buffer(Stream<Records>::chunk);
    auto* const begin = reinterpret_cast<std::uint8_t*>(buffer.data());
    const std::uint8_t* const full = begin + buffer.size() - 2 * Records::mostBytes;
    measure(
        state,
        [] { return typename Records::Message(); },
        [&](auto& message) {
            std::uint8_t* at = begin;
            for (const auto& member : Records::map(*entity)) {
                Records::fill(message, member.key(), member.value());
                *at++ = static_cast<std::uint8_t>(message.ByteSizeLong());
                at = message.SerializeWithCachedSizesToArray(at);
                if (at <= full) continue;
                benchmark::DoNotOptimize(begin);
                benchmark::ClobberMemory();
                at = begin;
            }
            benchmark::ClobberMemory();
        });
}

// The messages of the members, without the stream's own.
template <class Records>
Bytes handBytes(const typename Records::Entity& entity) {
    Bytes bytes(members * Records::mostBytes);
    Writer out{bytes.data()};
    for (const auto& member : Records::map(entity)) {
        Records::write(out, member.key(), member.value());
    }
    bytes.resize(static_cast<std::size_t>(out.at - bytes.data()));
    return bytes;
}

// All that an owner sends to a mirror that knows nothing.
template <class Records>
Bytes streamBytes(const Zin::Ptr<typename Records::Entity>& entity) {
    Bytes bytes;
    Stream<Records>(entity).produceAll([&](std::span<const std::byte> produced) {
        bytes.insert(bytes.end(), produced.begin(), produced.end());
    });
    return bytes;
}

template <class Records>
void decode(benchmark::State& state) {
    const auto entity = filled<Records>();
    const Bytes bytes = handBytes<Records>(*entity);
    const Bytes whole = streamBytes<Records>(entity);
    if (std::search(whole.begin(), whole.end(), bytes.begin(), bytes.end()) == whole.end()) {
        state.SkipWithError("the loop by hand makes other bytes");
    }
    measure(
        state,
        [] { return Nothing(); },
        [&](Nothing) {
            std::span<const std::byte> left(bytes);
            while (!left.empty()) {
                // As a connection does it.
                const auto size = wordAt<std::uint32_t>(left.data());
                if (wordAt<std::uint32_t>(left.data() + 4) != Records::attribute) std::abort();
                In in(left.subspan(8, size));
                typename Records::Key key;
                const auto value = Records::next(in, key);
                benchmark::DoNotOptimize(&value);
                left = left.subspan(8 + size);
            }
        });
}

template <class Records, class Take>
void readByHand(const Bytes& bytes, const Take& take) {
    const std::byte* at = bytes.data();
    const std::byte* const end = at + bytes.size();
    while (at != end) {
        Reader header{at, end};
        const auto size = header.next<std::uint32_t>();
        if (header.next<std::uint32_t>() != Records::attribute) std::abort();
        if (static_cast<std::size_t>(end - header.at) < size) std::abort();
        Reader in{header.at, header.at + size};
        typename Records::Key key;
        const auto value = Records::read(in, key);
        if (!in.good) std::abort();
        take(key, value);
        at = in.end;
    }
}

template <class Records>
void decodeByHand(benchmark::State& state) {
    const Bytes bytes = handBytes<Records>(*filled<Records>());
    measure(
        state,
        [] { return Nothing(); },
        [&](Nothing) {
            readByHand<Records>(bytes, [](const auto&, const auto& value) {
                benchmark::DoNotOptimize(&value);
            });
        });
}

template <class Records>
void decodeProtobuf(benchmark::State& state) {
    const Bytes bytes = protobufBytes<Records>(*filled<Records>());
    measure(
        state,
        [] { return typename Records::Message(); },
        [&](auto& message) {
            const auto* at = reinterpret_cast<const std::uint8_t*>(bytes.data());
            const auto* const end = at + bytes.size();
            while (at != end) {
                const int size = *at++;
                if (!message.ParseFromArray(at, size)) std::abort();
                typename Records::Key key;
                const auto value = Records::valueOf(message, key);
                benchmark::DoNotOptimize(&value);
                at += size;
            }
        });
}

template <class Records>
void apply(benchmark::State& state) {
    const auto entity = filled<Records>();
    const Bytes bytes = streamBytes<Records>(entity);
    measure(
        state,
        [&] { return std::make_unique<Stream<Records>>(entity); },
        [&](auto& stream) { stream->mirror.feed(bytes); });
    Stream<Records> last(entity);
    last.mirror.feed(bytes);
    if (Records::map(*last.mirrored).members() != members) state.SkipWithError("not applied");
}

template <class Records>
void applyToBareCollection(benchmark::State& state) {
    const auto entity = filled<Records>();
    std::vector<std::pair<typename Records::Key, typename Records::Value>> values;
    for (const auto& member : Records::map(*entity)) {
        values.emplace_back(member.key(), member.value());
    }
    measure(
        state,
        [] { return std::make_unique<typename Records::Map>(); },
        [&](auto& map) {
            for (const auto& [key, value] : values) Records::put(*map, key, value);
        });
}

template <class Records>
void add(const std::string& records) {
    const auto each = [&](const std::string& what, const char* who, auto run) {
        const std::string name = "AttributeLog/" + what + records + '/' + who + '/';
        benchmark::RegisterBenchmark((name + std::to_string(members)).c_str(), run)
            ->UseManualTime();
    };
    each("Encode", "Corra", encode<Records>);
    each("Encode", "ByHand", encodeByHand<Records>);
    each("Encode", "Protobuf", encodeProtobuf<Records>);
    each("Decode", "Corra", decode<Records>);
    each("Decode", "ByHand", decodeByHand<Records>);
    each("Decode", "Protobuf", decodeProtobuf<Records>);
    each("Apply", "Corra", apply<Records>);
    each("Apply", "BareCollection", applyToBareCollection<Records>);
}

[[maybe_unused]] const bool added = [] {
    add<VplsPseudowires>("25");
    add<Encapsulations>("64");
    return true;
}();

}  // namespace
