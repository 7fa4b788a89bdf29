// The status of VPLS interfaces on the attribute log, record by record, and what it inherits:
// reactors, types, references to configuration.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/VplsEthIntfStatus.h"
#include "Zin/Exceptions.h"
#include "frame/TypeModule.h"
#include "support/Dump.h"
#include "support/Link.h"

namespace {

using namespace Pseudowire;
using Interface::EthIntfConfig;
using Interface::IntfConfig;
using Interface::IntfStatus;
using support::Link;
using Vorn::IntfId;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::StreamErrorKind;
using Told = std::vector<std::string>;

const IntfId eth1 = IntfId::fromStringValue("Ethernet1");

// --- Records ---

// The owner's configuration, directory and status have the numbers 1, 2 and 3 on the stream,
// and their types too.
struct World {
    explicit World(Access access = Access::readOnly) {
        exports.exportIs("c", config, access);
        exports.exportIs("d", dir, access);
        for (const char* const name : {"c", "d"}) {
            mount(name);
            EXPECT_TRUE(link.settle());
        }
        EXPECT_EQ(link.fault(), "");
        mirrored = mirror->intfStatus(eth1);
    }

    void mount(std::string_view name) {
        if (name == "c") {
            link.end(1).mount("c", mirroredConfig);
        } else {
            link.end(1).mount("d", mirror);
        }
    }

    // One side hears a message with this payload, in hexadecimal, about entity 2 or 3. Owners
    // hear of them as writes.
    void
    hear(std::size_t end, std::uint32_t entity, std::int32_t id, std::string_view payload) {
        std::vector<std::byte> bytes;
        const auto put = [&](std::uint32_t word) {
            for (int shift = 24; shift >= 0; shift -= 8) {
                bytes.push_back(static_cast<std::byte>(word >> shift));
            }
        };
        std::vector<std::byte> data;
        for (std::size_t at = 0; at < payload.size(); ++at) {
            if (payload[at] == ' ') continue;
            const std::string pair(payload.substr(at++, 2));
            data.push_back(static_cast<std::byte>(std::strtoul(pair.c_str(), nullptr, 16)));
        }
        put(4);
        put(end == 1 ? 9 : 10);
        put(entity);
        put(static_cast<std::uint32_t>(data.size()));
        put(static_cast<std::uint32_t>(id));
        bytes.insert(bytes.end(), data.begin(), data.end());
        link.end(end).feed(bytes);
    }
    // What ended the stream on that side, or nothing.
    std::string faultOf(std::size_t end) {
        const auto* const error = link.end(end).error();
        return error ? std::string(nameOf(error->kind)) : std::string();
    }

    Zin::NboAttrLog::Exports exports;
    Zin::NboAttrLog::Exports none;
    Zin::NboAttrLog::Observer quiet;
    Zin::Ptr<EthIntfConfig> config = EthIntfConfig::EthIntfConfigIs(eth1);
    Zin::Ptr<EthIntfConfig> mirroredConfig = EthIntfConfig::EthIntfConfigIs(eth1);
    Zin::Ptr<VplsEthIntfStatusDir> dir = vplsEthIntfStatusDirFactory("d");
    Zin::Ptr<VplsEthIntfStatusDir> mirror = vplsEthIntfStatusDirFactory("d");
    Zin::Ptr<VplsEthIntfStatus> status = dir->intfStatusIs(eth1, 5);
    Zin::Ptr<VplsEthIntfStatus> mirrored;
    Link link{exports, quiet, none, quiet};
};

struct Record {
    std::int32_t id;
    const char* payload;
    // What changes, and what it is then.
    const char* name;
    const char* text;
};

const Record statusRecords[] = {
    {259, "00000001", "intfConfig", nullptr},
    {261, "00000003 657431", "deviceName", "'et1'"},
    {262, "ab000002", "forwardingModel", "routed"},
    {263, "00002328", "mtu", "9000"},
    {264, "00002400", "maxMtu", "9216"},
    {265, "00000001", "operStatus", "up"},
    {266,
     "0000000000000007 3ff8000000000000",
     "operStatusChange",
     "Value('Interface::OperStatusChange', ** {'count': 7, 'time': 1.5})"},
    {273, "01", "active", "True"},
    {274, "00000004", "activeStatusChanges", "4"},
    {386, "001b213c9df8", "addr", "00:1b:21:3c:9d:f8"},
    {387, "001b213c9df9", "routedAddr", "00:1b:21:3c:9d:f9"},
    {388, "ff000002", "rawLinkStatus", "up"},
    {389, "00010001", "debouncedLinkStatus", "down"},
    {390, "00000102", "linkStatus", "up"},
    {391, "00000005", "linkStatusChanges", "5"},
    {392, "4004000000000000", "lastLinkStatusChangeTime", "2.5"},
    {393, "01000006", "speedEnum", "speed10Gbps"},
    {394, "0000000100000000", "speedMbps", "4294967296"},
    {398, "00000009", "portId", "9"},
    {399, "00000010", "l2Mtu", "16"},
    {400, "00000011", "l2Mru", "17"},
    {401, "00000012", "l2MruMax", "18"},
    {402, "00000013", "l2MruMin", "19"},
    {403, "01", "macRxRemoteFault", "True"},
    {404, "00000014", "macRxRemoteFaultChanges", "20"},
    {405, "3fe0000000000000", "lastMacRxRemoteFaultChange", "0.5"},
    {406, "01", "macRxLocalFault", "True"},
    {407, "00000015", "macRxLocalFaultChanges", "21"},
    {408, "3fd0000000000000", "lastMacRxLocalFaultChange", "0.25"},
    {409, "01", "macActive", "True"},
    {410, "01", "macActivePrev", "True"},
    {411, "00000016", "macActiveChanges", "22"},
    {412, "4020000000000000", "lastMacActiveChange", "8"},
    {414, "00000003 666563 00000002 6f6b", "macLayerAdditionalStatus['fec']", "'ok'"},
    {-414, "00000003 666563", "macLayerAdditionalStatus['fec']", nullptr},
};

const Record dirRecords[] = {
    {258, "00000008", "genIdMarker", "8"},
    {260, "00000001 61", "counterDirPath", "'a'"},
    {261, "00000001 62", "dropCounterDirPath", "'b'"},
    {386,
     "1000200000000000 00000004 01 00000003 1000200000000000 00000007",
     "intfStatus[Ethernet2]",
     "Pseudowire::VplsEthIntfStatus Ethernet2"},
    {-386, "1000200000000000", "intfStatus[Ethernet2]", nullptr},
};

// All that may arrive, all that may not, and the schema agree.
template <std::size_t count>
void checkDispatch(const Record (&records)[count], std::uint32_t number) {
    const auto entityOf = [&](World& world) -> Zin::Ptr<Zin::Entity> {
        if (number == 2) return world.mirror;
        return world.mirrored;
    };
    World taking;
    const auto entity = entityOf(taking);
    const Zin::EntityTypeInfo& type = *entity->fwkType().info();
    support::Listener listener(*entity);
    std::set<std::int32_t> ids;
    for (const Record& record : records) {
        SCOPED_TRACE(record.id);
        ids.insert(record.id);
        taking.hear(1, number, record.id, record.payload);
        EXPECT_EQ(taking.link.fault(), "");
        EXPECT_EQ(std::exchange(listener.told, {}), Told{record.name});
        const support::State state = support::dump(*entity, support::Depth::own);
        const auto found = state.find(record.name);
        if (record.text) {
            EXPECT_EQ(found == state.end() ? "absent" : found->second, record.text);
        } else {
            EXPECT_EQ(found, state.end());
        }
        // Too much, too little, and from a proxy that may not write.
        for (const bool more : {true, false}) {
            World refusing;
            const std::string_view payload(record.payload);
            const std::string wrong = more ? std::string(payload) + "00"
                                           : std::string(payload.substr(0, payload.size() - 2));
            refusing.hear(1, number, record.id, wrong);
            EXPECT_EQ(refusing.faultOf(1), "malformed");
        }
        World owning;
        owning.hear(0, number, record.id, record.payload);
        EXPECT_EQ(owning.faultOf(0), "read-only");
    }

    std::set<std::int32_t> streamed;
    for (const Zin::AttributeInfo& attribute : type.attributes) {
        const auto id = static_cast<std::int32_t>(attribute.id);
        if (attribute.streamed) streamed.insert(id);
        if (attribute.isCollection()) streamed.insert(-id);
    }
    EXPECT_EQ(streamed, ids);

    std::set<std::int32_t> others;
    for (const std::int32_t id : ids) others.insert({id - 1, id + 1, -id});
    for (const std::int32_t id : others) {
        if (ids.contains(id) || (id >= 0 && id < 258)) continue;
        SCOPED_TRACE(id);
        World refusing;
        refusing.hear(1, number, id, "00000001");
        EXPECT_EQ(refusing.faultOf(1), "unknown name");
    }
}

TEST(VplsEthIntfStatus, TakesTheRecordsOfItsBasesAndNoOthers) {
    checkDispatch(statusRecords, 3);
    World world;
    world.hear(1, 3, 259, "00000001");
    EXPECT_EQ(world.mirrored->intfConfig(), world.mirroredConfig);
}

TEST(VplsEthIntfStatusDir, TakesTheRecordsOfItsBaseAndItsOwn) {
    checkDispatch(dirRecords, 2);
    World world;
    world.hear(1, 2, 386, dirRecords[3].payload);
    EXPECT_EQ(world.mirror->intfStatus(IntfId::fromStringValue("Ethernet2"))->genId(), 7u);
}

// --- The directory ---

TEST(VplsEthIntfStatusDir, AStatusKeepsItsGeneration) {
    const auto dir = vplsEthIntfStatusDirFactory("d");
    support::Listener listener(*dir);
    const auto status = dir->intfStatusIs(eth1, 5);
    EXPECT_EQ(dir->intfStatusIs(eth1, 5), status);
    try {
        dir->intfStatusIs(eth1, 6);
        ADD_FAILURE() << "not refused";
    } catch (const Zin::MutatorReinstantiatingException& e) {
        const std::string why = e.what();
        EXPECT_NE(why.find("267"), std::string::npos) << why;
        EXPECT_NE(why.find("exists with 5, was requested with 6"), std::string::npos) << why;
    }
    EXPECT_EQ(listener.told, Told{"intfStatus[Ethernet1]"});
    EXPECT_EQ(status->name(), "Ethernet1");
    EXPECT_EQ(status->parent(), dir.get());
    EXPECT_FALSE(status->intfConfig());
    EXPECT_FALSE(vplsEthIntfStatusFactory(eth1, 1)->intfConfig());
    EXPECT_EQ(dir->intfStatusDel(eth1), status);
}

// --- What is inherited ---

TEST(VplsEthIntfStatus, IsSeenAsWhatItDerivesFrom) {
    const auto status = vplsEthIntfStatusFactory(eth1, 5);
    const Zin::ZinTypeBase type = status->fwkType();
    EXPECT_EQ(type.name(), "Pseudowire::VplsEthIntfStatus");
    EXPECT_TRUE(type.isDerived(frame::handleOf<Interface::EthIntfStatus>));
    EXPECT_TRUE(type.isDerived(frame::handleOf<IntfStatus>));
    EXPECT_FALSE(type.isDerived(frame::handleOf<IntfConfig>));
    EXPECT_FALSE(frame::handleOf<IntfStatus>.isDerived(type));

    struct Watcher : VplsEthIntfStatus::Notifiee {
        using Notifiee::Notifiee;
        void onMtu() override { told.push_back("mtu " + std::to_string(notifier()->mtu())); }
        void onMacActive() override { told.push_back("macActive"); }
        Told told;
    };
    struct OfAnyKind : IntfStatus::Notifiee {
        using Notifiee::Notifiee;
        void onMtu() override { ++told; }
        int told = 0;
    };
    Watcher watcher(status);
    OfAnyKind ofAnyKind{Zin::Ptr<IntfStatus>(status)};
    int attached = 0;
    const auto attachment =
        frame::attach<&IntfStatus::Notifiee::onMtu>(status, [&] { ++attached; });
    status->mtuIs(9000);
    status->macActiveIs(true);
    status->macActiveIs(true);
    EXPECT_EQ(watcher.told, (Told{"mtu 9000", "macActive"}));
    EXPECT_EQ(ofAnyKind.told, 1);
    EXPECT_EQ(attached, 1);
}

TEST(VplsEthIntfStatusDir, GoesWithItsChildrenThroughTheBase) {
    auto dir = vplsEthIntfStatusDirFactory("d");
    dir->intfStatusIs(eth1, 5);
    dir->counterDirPathIs("/counters");
    std::string text;
    dir->dumpState(Quib::DumpContext::make(text), 0);
    for (const char* const line :
         {"\n  counterDirPath /counters\n",
          "\n  intfStatuss #1\n    VplsEthIntfStatus Ethernet1\n      intfConfig none\n",
          "\n      genId 5\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << text;
    }
    Zin::Ptr<Interface::IntfStatusDir> base = dir;
    support::Listener listener(*base);
    dir = nullptr;
    base = nullptr;
    EXPECT_EQ(listener.told, Told{"intfStatus[Ethernet1]"});
}

// --- References ---

TEST(References, LeadToTheMirrorOfWhatTheyNameOnceItIsThere) {
    World world;
    support::Listener listener(*world.mirrored);
    const auto stray = EthIntfConfig::EthIntfConfigIs(eth1);
    const auto settled = [&] {
        EXPECT_TRUE(world.link.settle());
        EXPECT_EQ(world.link.fault(), "");
        return world.mirrored->intfConfig();
    };
    world.status->intfConfigIs(world.config);
    EXPECT_EQ(settled(), world.mirroredConfig);
    EXPECT_EQ(world.mirroredConfig->parent(), nullptr);
    world.status->intfConfigIs(stray);
    EXPECT_EQ(settled(), nullptr);

    const auto strayMirror = EthIntfConfig::EthIntfConfigIs(eth1);
    world.exports.exportIs("stray", stray);
    world.link.end(1).mount("stray", strayMirror);
    EXPECT_EQ(settled(), strayMirror);
    // Neither does it own what it refers to, nor is that gone when the stream no longer
    // carries it.
    world.link.end(1).unmount("stray");
    EXPECT_EQ(settled(), strayMirror);
    EXPECT_EQ(listener.told.size(), 3u);

    EXPECT_THROW(
        world.mirrored->intfConfigIs(world.mirroredConfig),
        Zin::WriteUpdateFromReadOnlyProxyException);
    EXPECT_EQ(settled(), nullptr) << "the stream carries the stray one no longer";
}

TEST(References, OfAMirrorBecomeWhatTheOwnerMakesOfThem) {
    World world(Access::readWrite);
    const auto settled = [&] {
        EXPECT_TRUE(world.link.settle());
        EXPECT_EQ(world.link.fault(), "");
        return world.mirrored->intfConfig();
    };
    world.mirrored->intfConfigIs(world.mirroredConfig);
    EXPECT_EQ(settled(), world.mirroredConfig);
    EXPECT_EQ(world.status->intfConfig(), world.config);
    // Nobody but the mirror knows these.
    for (int round = 0; round < 2; ++round) {
        world.mirrored->intfConfigIs(EthIntfConfig::EthIntfConfigIs(eth1));
        EXPECT_EQ(settled(), nullptr);
        EXPECT_EQ(world.status->intfConfig(), nullptr);
    }
}

TEST(References, ToNothingThatBelongsThereEndTheStream) {
    struct Named {
        const char* number;
        const char* fault;
    };
    for (const Named& named :
         {Named{"00000002", "unknown name"}, {"00000009", "out of order"}}) {
        World world;
        world.hear(1, 3, 259, named.number);
        EXPECT_EQ(world.faultOf(1), named.fault);
        EXPECT_FALSE(world.mirrored->intfConfig());
    }
}

}  // namespace
