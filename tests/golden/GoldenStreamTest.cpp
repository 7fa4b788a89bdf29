// Streams that owners sent once, which every build must read: streams/<what>.<recording>.stream
// holds each byte, and .state beside it what a mirror held then, as text.
//
// What a build writes differs from the highest recording of a kind only on purpose. It is then
// recorded anew: CORRA_RECORD=<next number> runs this program and writes a file for each kind
// that differs. The old ones stay, because old peers do; of their texts nothing but what is
// about a removed attribute may go. Recordings with a word in place of a number come from
// builds whose types held more or less than they ever will here; they are only read.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "Interface/IntfConfig.h"
#include "Pseudowire/VplsEthIntfStatus.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogProtocol.h"
#include "Zin/Place.h"
#include "Zin/ValueInfo.h"
#include "support/Dump.h"
#include "support/Link.h"
#include "support/RootTypes.h"

namespace {

using namespace support;
using Zin::Place;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::headerSize;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::MessageId;
using Zin::NboAttrLog::Observer;
using Bytes = std::vector<std::byte>;
using Roots = std::map<std::string, Zin::Ptr<Zin::Entity>>;

// --- Streams ---

// What tells builds apart, taken out of a stream.
struct Builds {
    std::map<std::string, std::uint64_t> fingerprints;
    // Of the types that the stream names.
    std::set<std::string> modules;
    // All but the fingerprints.
    Bytes rest;

    explicit Builds(std::span<const std::byte> stream) {
        const auto keep = [&](std::span<const std::byte> bytes) {
            rest.insert(rest.end(), bytes.begin(), bytes.end());
        };
        while (!stream.empty()) {
            In header(stream.first(headerSize));
            const std::uint32_t length = header.nextU32();
            const auto id = static_cast<MessageId>(header.nextU32());
            const auto payload = stream.subspan(headerSize, length);
            In in(payload);
            if (id == MessageId::hello) {
                constexpr std::size_t fixed = 4 + 2 + 4;
                in.skip(fixed);
                keep(payload.first(fixed));
                for (std::uint32_t left = in.nextU32(); left > 0; --left) {
                    const std::string module(in.nextString().view());
                    fingerprints[module] = in.nextU64();
                }
                in.requireEnd();
            } else {
                keep(stream.first(headerSize + length));
            }
            if (id == MessageId::typeName) {
                in.nextU32();
                const auto type = Zin::typeNamed(in.nextString().view());
                if (type.module) modules.insert(std::string(type.module->name));
            }
            stream = stream.subspan(headerSize + length);
        }
    }

    bool sameTypes() const {
        return std::all_of(modules.begin(), modules.end(), [&](const std::string& name) {
            const auto found = fingerprints.find(name);
            return found != fingerprints.end() &&
                   found->second == Zin::moduleNamed(name)->fingerprint;
        });
    }
};

// By name of the root. No dump shows what a reference stands for: here it is the root's name.
std::string stateOf(const Roots& roots) {
    State state;
    std::map<const Zin::Entity*, std::string> nameOf;
    for (const auto& [name, root] : roots) nameOf[root.get()] = name;
    for (const auto& [name, root] : roots) {
        state[name] = root->fwkType().info()->name;
        for (const auto& [path, value] : dump(*root)) state[name + '.' + path] = value;
        for (const auto& entity : tree(root)) {
            const std::string place = name + '/' + std::string(entity->name().view()) + '.';
            for (const auto& attribute : entity->fwkType().info()->attributes) {
                if (attribute.kind != Zin::AttributeKind::reference) continue;
                if (const auto* const target = attribute.child(*entity)) {
                    state[place + std::string(attribute.name)] = nameOf[target];
                }
            }
        }
    }
    std::string text;
    for (const auto& [name, value] : state) {
        text += name + " = ";
        // The names of children stand there as they are, whatever they hold.
        if (Zin::isUtf8(value) && value.find_first_of(std::string("\0\n", 2)) == value.npos) {
            text += value;
        } else {
            Zin::appendQuoted(text, value);
        }
        text += '\n';
    }
    return text;
}

// Mirrors all that a stream offers, and writes down how it stands when all of it has come.
struct Mirror : private Observer {
    Mirror() = default;

    void feed(std::span<const std::byte> bytes) { connection.feed(bytes); }
    // Answers nothing: who recorded the stream has gone.
    std::string fault() const {
        return connection.error() ? connection.error()->text : std::string();
    }
    bool synced() const { return !roots.empty() && synced_ == roots.size(); }

    Roots roots;
    std::string whenSynced;

  private:
    void onExported(const Zin::String& name, const Zin::String&, Access) override {
        connection.mount(name);
        roots[std::string(name.view())];
    }
    void onMounted(const Zin::String& name, const Zin::Ptr<Zin::Entity>& entity, Access)
        override {
        roots[std::string(name.view())] = entity;
    }
    void onSynced(const Zin::String&) override {
        if (++synced_ == roots.size()) whenSynced = stateOf(roots);
    }

    Exports none_;
    std::size_t synced_ = 0;

  public:
    Connection connection{none_, *this};
};

// All that an owner of these says to a peer that mounts each, and then sees all collections and
// single children go.
Bytes written(const Roots& roots) {
    Exports exports;
    Exports none;
    Observer quiet;
    for (const auto& [name, root] : roots) exports.exportIs(Zin::String(name), root);
    Link link(exports, quiet, none, quiet);
    Bytes sent;
    link.tap = [&](std::size_t from, std::span<const std::byte> bytes) {
        if (from == 0) sent.insert(sent.end(), bytes.begin(), bytes.end());
    };
    for (const auto& [name, root] : roots) link.end(1).mount(Zin::String(name));
    // In one go, because numbers of entities depend on how much is sent at once.
    constexpr std::size_t chunk = 1 << 20;
    EXPECT_TRUE(link.settle(chunk));
    for (const auto& [name, root] : roots) {
        for (const Place& place : Place(root).children()) {
            if (place.kind() == Place::Kind::collection ||
                place.kind() == Place::Kind::entity) {
                place.del();
            }
        }
    }
    EXPECT_TRUE(link.settle(chunk));
    EXPECT_EQ(link.fault(), "");
    return sent;
}

// --- Recordings ---

const std::filesystem::path directory = CORRA_SOURCE_DIR "/tests/golden/streams";
constexpr char emptied[] = "--- emptied\n";

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path << " cannot be read";
    return std::string(std::istreambuf_iterator<char>(file), {});
}

struct Recording {
    std::string kind;
    std::string label;

    std::filesystem::path path(const char* suffix) const {
        return directory / (kind + '.' + label + suffix);
    }
    Bytes stream() const {
        const std::string content = contentOf(path(".stream"));
        const auto* const bytes = reinterpret_cast<const std::byte*>(content.data());
        return Bytes(bytes, bytes + content.size());
    }
    // A number, or 0 where the label is a word.
    unsigned long number() const { return std::strtoul(label.c_str(), nullptr, 10); }

    friend void PrintTo(const Recording& recording, std::ostream* to) {
        *to << recording.kind << '.' << recording.label;
    }
};

std::vector<Recording> recordings() {
    std::vector<Recording> all;
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
        if (file.path().extension() != ".stream") continue;
        const std::string name = file.path().stem().string();
        const auto dot = name.rfind('.');
        all.push_back({name.substr(0, dot), name.substr(dot + 1)});
    }
    std::sort(all.begin(), all.end(), [](const Recording& a, const Recording& b) {
        return std::tuple(a.kind, a.number(), a.label) <
               std::tuple(b.kind, b.number(), b.label);
    });
    return all;
}

// The highest of each kind.
std::map<std::string, Recording> newest() {
    std::map<std::string, Recording> last;
    for (const Recording& recording : recordings()) {
        if (recording.number() != 0) last[recording.kind] = recording;
    }
    return last;
}

// What is recorded, by kind: one of each type, and a status that refers to a configuration.
std::map<std::string, Roots> scenes() {
    std::map<std::string, Roots> all;
    for (const EntityType& type : rootTypes) {
        const auto root = type.make("root");
        laws::Random random(1);
        type.fill(*root, random);
        std::string kind(root->fwkType().info()->name);
        kind.replace(kind.find("::"), 2, "-");
        all[kind]["root"] = root;
    }
    const Vorn::IntfId eth1 = Vorn::IntfId::fromStringValue("Ethernet1");
    const auto config = Interface::EthIntfConfig::EthIntfConfigIs(eth1);
    config->enabledIs(false);
    config->descriptionIs("uplink");
    const auto dir = Pseudowire::vplsEthIntfStatusDirFactory("dir");
    dir->intfStatusIs(eth1, 5)->intfConfigIs(config);
    all["references"] = {{"config", config}, {"dir", dir}};
    return all;
}

// How a mirror of the stream stands: when all has come, and in the end.
std::string stateText(std::span<const std::byte> stream) {
    Mirror mirror;
    mirror.feed(stream);
    EXPECT_EQ(mirror.fault(), "");
    EXPECT_TRUE(mirror.synced());
    return mirror.whenSynced + emptied + stateOf(mirror.roots);
}

// Whether an owner that holds what a mirror of the recorded one held writes the same bytes.
bool isStillWritten(const Recording& recording) {
    const Bytes stream = recording.stream();
    Roots held;
    {
        Mirror mirror;
        for (std::size_t at = 0; at < stream.size() && !mirror.synced(); ++at) {
            mirror.feed({&stream[at], 1});
        }
        EXPECT_TRUE(mirror.synced()) << mirror.fault();
        held = mirror.roots;
    }
    const Builds then(stream);
    return then.sameTypes() && then.rest == Builds(written(held)).rest;
}

// Of each kind that is not written any more as it was recorded last.
void record(const std::string& label) {
    const auto last = newest();
    for (const auto& [kind, roots] : scenes()) {
        const auto recorded = last.find(kind);
        if (recorded != last.end() && isStillWritten(recorded->second)) continue;
        const Recording recording{kind, label};
        ASSERT_FALSE(std::filesystem::exists(recording.path(".stream")))
            << recording.path(".stream") << " stays as it is";
        const Bytes stream = written(roots);
        std::ofstream(recording.path(".stream"), std::ios::binary)
            .write(
                reinterpret_cast<const char*>(stream.data()),
                static_cast<std::streamsize>(stream.size()));
        std::ofstream(recording.path(".state"), std::ios::binary) << stateText(stream);
    }
}

// --- Tests ---

using Lines = std::vector<std::string>;

// The lines of the second text that the first does not have.
Lines linesBeyond(const std::string& known, const std::string& text) {
    const auto linesOf = [](const std::string& all) {
        std::multiset<std::string> lines;
        std::istringstream in(all);
        for (std::string line; std::getline(in, line);) lines.insert(line);
        return lines;
    };
    const auto a = linesOf(text);
    const auto b = linesOf(known);
    Lines beyond;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(beyond));
    return beyond;
}

class GoldenStream : public testing::TestWithParam<Recording> {};

TEST_P(GoldenStream, IsReadAsItWasMeant) {
    const Bytes stream = GetParam().stream();
    const std::string expected = contentOf(GetParam().path(".state"));
    const std::string found = stateText(stream);
    if (Builds(stream).sameTypes()) {
        EXPECT_EQ(found, expected);
        return;
    }
    // A type that has more attributes now shows those too, but no members that were never sent.
    EXPECT_EQ(linesBeyond(found, expected), Lines());
    Lines more = linesBeyond(expected, found);
    std::erase_if(more, [](const auto& line) { return line.find("] = ") == line.npos; });
    EXPECT_EQ(more, Lines());
}

INSTANTIATE_TEST_SUITE_P(
    Recorded,
    GoldenStream,
    testing::ValuesIn(recordings()),
    [](const auto& instance) {
        std::string name = instance.param.kind + '_' + instance.param.label;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

TEST(GoldenStreams, AreStillWritten) {
    for (const auto& [kind, recording] : newest()) {
        EXPECT_TRUE(isStillWritten(recording))
            << "This build writes " << kind
            << " in another way than it was recorded. If that is meant, record it anew:\n"
            << "    CORRA_RECORD=" << recording.number() + 1 << " golden_tests";
    }
}

TEST(GoldenStreams, AreRecordedOfEveryType) {
    if (const char* const label = std::getenv("CORRA_RECORD")) record(label);
    const auto last = newest();
    for (const auto& [kind, roots] : scenes()) {
        EXPECT_TRUE(last.contains(kind))
            << kind << " was never recorded: CORRA_RECORD=1 golden_tests";
    }
}

}  // namespace
