// What the patch panel computes, its constants, and how its types differ from most others. All
// else about them is in the laws and the simulator.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Pseudowire/PwCliPatch.h"
#include "Zin/Exceptions.h"
#include "Zin/GenericIf.h"
#include "Zin/GenericIfImpl.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogOut.h"
#include "frame/TypeImpl.h"
#include "support/Dump.h"

namespace {

using namespace Pseudowire;
using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Fxc::VidNormalization;
using Vorn::IntfId;
using Zin::ZinAttr;
using Zin::GenericIf::AttributeOp;
using Zin::GenericIf::Status;
using Bytes = std::vector<int>;

ConnectorKey local(const char* name) {
    ConnectorKey key;
    key.localConnectorKeyIs(IntfId::fromStringValue(name));
    return key;
}

ConnectorKey ldp(const char* name) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    return key;
}

Dot1qEncap tags(std::uint16_t outer, std::uint16_t inner) {
    return {VlanIdOrNone(outer), VlanIdOrNone(inner)};
}

Bytes encoded(const auto& value) {
    std::byte bytes[8];
    Zin::NboAttrLog::Out out(bytes, bytes + sizeof bytes);
    out << value;
    Bytes written;
    for (const std::byte* at = bytes; at + out.room() < bytes + sizeof bytes; ++at) {
        written.push_back(static_cast<int>(*at));
    }
    return written;
}

// --- Values ---

TEST(ConnectorPatchInfo, HasConstantsThatNobodyWrites) {
    using Methods = Zin::TypeImpl<ConnectorPatchInfo>;
    const auto type = Zin::typeOf<ConnectorPatchInfo>();
    ASSERT_TRUE(type.valueInfo());
    const auto operate = [&](std::uint32_t id, AttributeOp op, ConnectorPatchInfo& info) {
        const ZinAttr attr = ZinAttr::of(type, id);
        return Methods::genericIfAttributeOp(&info, nullptr, attr, op, nullptr, &info);
    };
    const ConnectorPatchInfo other(true, VidNormalization::double_);
    ConnectorPatchInfo info = other;
    for (const std::uint32_t id : {4u, 5u}) {
        EXPECT_EQ(operate(id, AttributeOp::set, info), Status::unsupported);
        EXPECT_EQ(info, other);
        EXPECT_EQ(operate(id, AttributeOp::get, info), Status::done);
        EXPECT_EQ(info, ConnectorPatchInfo(id == 4, VidNormalization{}));
        info = other;
    }
    EXPECT_EQ(operate(6, AttributeOp::get, info), Status::unknownAttribute);
    EXPECT_EQ(ConnectorPatchInfo::enabledValue(), ConnectorPatchInfo(true, {}));
    EXPECT_EQ(ConnectorPatchInfo::disabledValue(), ConnectorPatchInfo());
}

TEST(ConnectorPatchInfo, IsOrderedByWhetherItIsEnabledFirst) {
    const ConnectorPatchInfo disabled;
    const ConnectorPatchInfo normalising(false, VidNormalization::single);
    const ConnectorPatchInfo enabled(true, VidNormalization::none);
    EXPECT_TRUE(disabled < normalising && normalising < enabled && disabled < enabled);
    EXPECT_FALSE(disabled);
    EXPECT_TRUE(normalising && enabled);
    EXPECT_EQ(
        valueToStrep(normalising),
        "Value('Pseudowire::ConnectorPatchInfo', ** "
        "{'enabled': False, 'vidNormalization': single})");
}

TEST(PatchValues, TravelAsPeersExpect) {
    EXPECT_EQ(
        encoded(ConnectorPatchInfo(true, VidNormalization::double_)),
        (Bytes{1, 0, 0, 0, 2}));
    EXPECT_EQ(
        encoded(PatchEncapAndOp(tags(0x102, 3), Dot1qTagOperation::swap)),
        (Bytes{1, 2, 0, 3, 0, 0, 0, 3}));
    const std::vector<std::byte> wide{{}, {}, {}, std::byte{7}, std::byte{1}};
    Zin::NboAttrLog::In in(wide);
    EXPECT_EQ(ConnectorPatchInfo(in), ConnectorPatchInfo(false, VidNormalization::single));
}

TEST(PatchValues, HaveNoHashAndEncapsulationsNoOrder) {
    const ConnectorPatchInfo info;
    EXPECT_THROW(
        Zin::TypeImpl<ConnectorPatchInfo>::genericIfHash(
            &info,
            Zin::typeOf<ConnectorPatchInfo>()),
        Zin::UnhashableException);
    using Methods = Zin::TypeImpl<PatchEncapAndOp>;
    const auto type = Zin::typeOf<PatchEncapAndOp>();
    const PatchEncapAndOp encap({}, Dot1qTagOperation::pop);
    EXPECT_THROW(Methods::genericIfHash(&encap, type), Zin::UnhashableException);
    bool isLess = true;
    EXPECT_EQ(Methods::genericIfLess(&isLess, &encap, &encap, type), Status::unsupported);
    EXPECT_TRUE(isLess);
    EXPECT_EQ(
        valueToStrep(PatchEncapAndOp(tags(12, 0), Dot1qTagOperation::pop)),
        "Value('Pseudowire::PatchEncapAndOp', ** {'dot1qEncap': <12,0>, 'dot1qTagOp': pop})");
}

// --- The panel ---

TEST(PatchPanel, KnowsTheTagsOfLocalConnectors) {
    const auto panel = patchPanelFactory("panel");
    const ConnectorKey key = local("Ethernet1.10");
    const auto told = [&] {
        // The same, asked by who knows no types.
        Dot1qEncap found;
        const auto status = Zin::TypeImpl<PatchPanel>::genericIfAttributeOp(
            &found,
            panel.get(),
            ZinAttr::of(panel->fwkType(), 264),
            AttributeOp::get,
            &key,
            nullptr);
        EXPECT_EQ(status, Status::done);
        EXPECT_EQ(panel->getDot1qEncap(key), found);
        return found;
    };
    EXPECT_EQ(told(), tags(4095, 0));
    EXPECT_FALSE(panel->localConnStatus(key));
    const auto status = panel->localConnStatusIs(key);
    EXPECT_EQ(told(), tags(0, 0));
    status->encapIs({tags(10, 7), Dot1qTagOperation::swap});
    EXPECT_EQ(told(), tags(10, 7));
    EXPECT_EQ(panel->localConnStatusDel(key), status);
    EXPECT_EQ(status->parent(), nullptr);
    EXPECT_EQ(told(), tags(4095, 0));
}

TEST(PatchPanel, AbortsWhenAskedForTagsOfAPseudowire) {
    const auto panel = patchPanelFactory("panel");
    EXPECT_DEATH(
        panel->getDot1qEncap(ldp("pw1")),
        "assertion failed: connectorKey.isLocal\\(\\) \\(/src/Pseudowire/PwCliPatch:8, "
        "Bridging::Dot1qEncap Pseudowire::PatchPanel::getDot1qEncap\\("
        "const Pseudowire::ConnectorKey&\\) const\\)");
}

TEST(ConnectorToPatches, CountsThePatchesThatAreEnabled) {
    const auto patches = patchPanelFactory("panel")->connToPatchIs(ldp("pw1"));
    const auto expect = [&](std::uint32_t count) {
        EXPECT_EQ(patches->activeCount(), count);
        Zin::String first;
        for (auto it = patches->patch().iteratorConst(); it; ++it) {
            if (first.view().empty() && it.node().value().enabled()) first = it.key();
        }
        EXPECT_EQ(patches->activePatch(), first);
        EXPECT_EQ(first.view().empty(), count == 0);
    };
    expect(0);
    patches->patchIs("off", {false, VidNormalization::double_});
    expect(0);
    for (std::uint32_t i = 0; i < 40; ++i) {
        patches->patchIs("on" + std::to_string(i), ConnectorPatchInfo::enabledValue());
        expect(i + 1);
    }
    patches->patchIs(patches->activePatch(), ConnectorPatchInfo::disabledValue());
    expect(39);
    patches->patchDelAll();
    expect(0);
}

TEST(PatchStatus, StartsEnabledAndKeepsItsInterface) {
    const auto panel = patchPanelFactory("panel");
    support::Listener listener(*panel);
    const auto one = IntfId::fromStringValue("Pseudowire1");
    const auto status = panel->patchIs("metro", one);
    EXPECT_TRUE(status->enabled());
    EXPECT_EQ(status->status(), PseudowireConnectorStatus{});
    EXPECT_EQ(status->name(), "metro");
    EXPECT_EQ(panel->patchIs("metro", one), status);
    try {
        panel->patchIs("metro", IntfId::fromStringValue("Pseudowire2"));
        ADD_FAILURE();
    } catch (const Zin::MutatorReinstantiatingException& e) {
        const std::string text = e.what();
        EXPECT_NE(
            text.find("exists with Pseudowire1, was requested with Pseudowire2"),
            text.npos);
    }
    EXPECT_EQ(panel->patch("metro")->pwIntfId(), one);
    EXPECT_EQ(listener.told, std::vector<std::string>{"patch['metro']"});
}

TEST(LdpKeyToConnKeys, KeepsWhatIsFalse) {
    const auto keys = patchPanelFactory("panel")->ldpKeyToConnKeyIs({});
    support::Listener listener(*keys);
    keys->connKeyIs(ldp("pw1"), false);
    keys->connKeyIs(ldp("pw1"), false);
    EXPECT_FALSE(keys->connKey(ldp("pw1")));
    EXPECT_TRUE(keys->connKey().has(ldp("pw1")));
    EXPECT_EQ(listener.told.size(), 1u);
    EXPECT_FALSE(keys->connKeyDel(ldp("pw1")));
    EXPECT_FALSE(keys->connKey().has(ldp("pw1")));
    EXPECT_EQ(listener.told.size(), 2u);
}

}  // namespace
