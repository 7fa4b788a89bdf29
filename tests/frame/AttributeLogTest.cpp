// The hooks by which an entity type takes part in the attribute log, on Runnability and Config.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwRunnability.h"
#include "frame/AttributeLog.h"
#include "frame/TypeImpl.h"
#include "support/Dump.h"
#include "support/Link.h"

namespace {

using namespace support;
using Pseudowire::Config;
using Pseudowire::Connector;
using Pseudowire::ConnectorKey;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::Observer;
using Zin::NboAttrLog::Role;
using Zin::NboAttrLog::Sa;

TEST(AttributeLog, AFlowOutStartsDirtyFromItsFirstAttributeOn) {
    for (Zin::AttributeId start :
         {0U, 1U, 257U, 258U, 259U, 260U, 261U, 262U, 263U, 264U, 265U, 300U}) {
        SCOPED_TRACE(start);
        const auto flow = Zin::TypeImpl<Config>::newFlowOut(nullptr, true, start);
        EXPECT_TRUE(flow->hasNotificationActive());
        EXPECT_FALSE(flow->hasDirtyCollKeys());
        for (const Zin::AttributeId id : {258U, 259U, 260U, 264U}) {
            EXPECT_EQ(flow->zinIsDirty(id), start <= id) << id;
        }
        for (const Zin::AttributeId id : {262U, 263U}) {
            EXPECT_EQ(flow->zinHasSynced(id), start > id) << id;
        }
        for (const Zin::AttributeId id : {261U, 265U, 266U, 267U}) {
            EXPECT_FALSE(flow->zinIsDirty(id) || flow->zinHasSynced(id)) << id;
        }
        EXPECT_EQ(flow->hasDirtyAttributes(), start <= 264);
    }
}

// An adapter beside those of a greeted connection, whose hooks are called by hand.
template <class T>
struct Adapter {
    explicit Adapter(Role role = Role::owner, bool writable = true)
        : entity(frame::make<T>(Zin::String("e"))),
          link(std::make_unique<Link>(none, quiet, none, quiet)) {
        EXPECT_TRUE(link->settle());
        sa = std::make_unique<Sa>(link->end(0), entity, 99, role, writable, nullptr);
    }
    // The adapter goes after the connection, which may have it in line.
    ~Adapter() { link.reset(); }

    std::int32_t flowOut(Zin::AttributeId start) {
        return Zin::TypeImpl<T>::handleAttrFlowOut(sa.get(), start, &sa->flowOut());
    }
    std::uint64_t messages() { return link->end(0).counters().messagesOut; }
    // How much the flow-outs that follow may put into the stream.
    void roomIs(std::size_t bytes) { link->end(0).produce(bytes); }

    template <class... Values>
    void receive(Zin::AttributeId id, bool fromReadOnlyProxy, const Values&... values) {
        std::vector<std::byte> bytes((Zin::NboAttrLog::attrLogSize(values) + ... + 0));
        Zin::NboAttrLog::Out out(bytes.data(), bytes.data() + bytes.size());
        (out << ... << values);
        In in(bytes);
        Zin::TypeImpl<T>::doHandleAttrDeserialization(sa.get(), id, fromReadOnlyProxy, 0, &in);
    }

    Exports none;
    Observer quiet;
    Zin::Ptr<T> entity;
    std::unique_ptr<Link> link;
    std::unique_ptr<Sa> sa;
};

TEST(AttributeLog, AFlowOutBeginsAtStreamedAttributesOnly) {
    Adapter<Config> config;
    for (const Zin::AttributeId id : {1U, 257U, 261U, 265U, 266U, 267U, 268U, 0xfffffefeU}) {
        EXPECT_EQ(config.flowOut(id), -1) << id;
    }
    Adapter<Pseudowire::Runnability> runnability;
    EXPECT_EQ(runnability.flowOut(259), -1);
    runnability.sa->flowOutIs(0);
    EXPECT_EQ(runnability.flowOut(0), 0);
    EXPECT_FALSE(runnability.sa->flowOut().zinIsDirty(258));
}

TEST(AttributeLog, AFlowOutStopsAndResumesBehindWhatWasSent) {
    struct Case {
        Zin::AttributeId start;
        std::int32_t resume;
    };
    for (const Case& c :
         {Case{0, 258}, {258, 259}, {259, 260}, {260, 262}, {262, 262}, {263, 263}, {264, 0}}) {
        SCOPED_TRACE(c.start);
        Adapter<Config> config;
        config.entity->patchIs("p");
        config.sa->flowOutIs(0);
        config.roomIs(0);
        EXPECT_EQ(config.flowOut(c.start), c.resume);
        const bool walking = c.start == 262 || c.start == 263;
        EXPECT_EQ(config.sa->flowOut().zinIsDirty(c.start), false);
        EXPECT_EQ(config.sa->flowOut().zinHasSynced(c.start), false);
        EXPECT_EQ(
            Zin::TypeImpl<Config>::freeResyncState(&config.sa->flowOut()),
            walking ? 1 : 0);
        EXPECT_EQ(Zin::TypeImpl<Config>::freeResyncState(&config.sa->flowOut()), 0);
        config.roomIs(1 << 20);
        EXPECT_EQ(config.flowOut(0), 0);
        EXPECT_FALSE(config.sa->flowOut().hasDirtyAttributes());
    }
}

TEST(AttributeLog, AChangeIsWrittenOnceIfTheTypeStreamsIt) {
    Adapter<Config> config;
    const Zin::String name("p");
    const ConnectorKey connectorKey;
    for (Zin::AttributeId id = 250; id < 275; ++id) {
        SCOPED_TRACE(id);
        const bool streamed = id >= 258 && id <= 264 && id != 261;
        const void* const key = id == 262   ? static_cast<const void*>(&name)
                                : id == 263 ? static_cast<const void*>(&connectorKey)
                                            : nullptr;
        // The first message selects the entity.
        const std::uint64_t before = config.messages() + (id == 258 ? 1 : 0);
        EXPECT_EQ(
            Zin::TypeImpl<Config>::streamAdapterOnAttribute(config.sa.get(), id, key),
            streamed);
        EXPECT_EQ(config.messages() - before, streamed ? 1u : 0u);
    }
}

TEST(AttributeLog, WhatIsReceivedIsToldIfItIsNew) {
    Adapter<Config> config;
    config.entity->mtuIs(1500);
    Connector connector{ConnectorKey()};
    config.entity->connectorIs(connector);
    Listener listener(*config.entity);
    config.receive(259, false, std::uint32_t{1500});
    config.receive(258, false, true);
    config.receive(264, false, 30.0, 45.0);
    config.receive(263, false, connector);
    config.receive(~262U + 1, false, Zin::String("absent"));
    EXPECT_EQ(listener.told, std::vector<std::string>());
    config.receive(259, false, std::uint32_t{9000});
    config.receive(~263U + 1, false, connector.key());
    config.receive(~263U + 1, false, connector.key());
    EXPECT_EQ(listener.told.size(), 2u);
    EXPECT_EQ(config.entity->mtu(), 9000u);
    EXPECT_TRUE(config.entity->connector().empty());
}

TEST(AttributeLog, AReadOnlyProxyMayNotWrite) {
    Adapter<Config> config(Role::owner, false);
    Listener listener(*config.entity);
    EXPECT_THROW(config.receive(259, true, 5U), Zin::WriteUpdateFromReadOnlyProxyException);
    EXPECT_THROW(
        config.receive(~262U + 1, true, Zin::String("p")),
        Zin::WriteUpdateFromReadOnlyProxyException);
    EXPECT_EQ(config.entity->mtu(), 0u);
    EXPECT_TRUE(listener.told.empty());
}

}  // namespace
