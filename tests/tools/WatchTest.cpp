#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/PwRunnability.h"
#include "corra/Dump.h"
#include "corra/Watch.h"
#include "tools/Captures.h"

namespace {

using corra::Change;
using corra::TreeWatcher;
using Lines = std::vector<std::string>;

Pseudowire::ConnectorKey ldpKey(const char* name) {
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    return key;
}

class WatchTest : public testing::Test {
  protected:
    // What was told since the last call.
    Lines told() { return std::exchange(lines_, {}); }

    const Zin::Ptr<Pseudowire::Config> config_ = Pseudowire::configFactory("any");
    Lines lines_;
    const TreeWatcher::Listener listener_ = [this](const Change& change) {
        lines_.push_back(textOf(change));
    };
};

TEST_F(WatchTest, TellsEachKindOfChange) {
    const TreeWatcher watcher("pw", *config_, listener_);
    EXPECT_EQ(1U, told().size());

    config_->mtuIs(1500);
    config_->intfReviewDelayRangeIs(Pseudowire::TimeRange(30.0, 60.5));
    EXPECT_EQ(
        (Lines{"~ pw mtu 0 -> 1500", "~ pw intfReviewDelayRange.max 45 -> 60.5"}),
        told());

    Pseudowire::Connector connector(ldpKey("pw'1"));
    connector.mtuIs(9000);
    config_->connectorIs(connector);
    connector.mtuIs(1600);
    connector.controlWordIs(true);
    config_->connectorIs(connector);
    config_->connectorIs(connector);
    config_->connectorDel(ldpKey("pw'1"));
    config_->connectorDel(ldpKey("pw'1"));
    EXPECT_EQ(
        (Lines{
            "+ pw.connector[ldp:'pw\\'1'] pwStatusTlv=True mtu=9000 qosMapName='default-map'",
            "~ pw.connector[ldp:'pw\\'1'] mtu 9000 -> 1600, controlWord False -> True",
            "- pw.connector[ldp:'pw\\'1']"}),
        told());
}

TEST_F(WatchTest, FollowsChildrenAsTheyComeAndGo) {
    config_->patchIs("old")->connectorKeyIs(ldpKey("a"));
    const TreeWatcher watcher("pw", *config_, listener_);
    Lines first = told();
    ASSERT_EQ(3U, first.size());
    EXPECT_EQ("+ pw.patch['old'] enabled=True", first[1]);
    EXPECT_EQ("+ pw.patch['old'].connectorKey[ldp:'a']", first[2]);

    const auto fresh = config_->patchIs("new");
    fresh->connectorKeyIs(ldpKey("b"));
    fresh->enabledIs(false);
    fresh->connectorKeyDel(ldpKey("b"));
    const auto removed = config_->patchDel("old");
    removed->enabledIs(false);
    EXPECT_EQ(
        (Lines{
            "+ pw.patch['new'] enabled=True",
            "+ pw.patch['new'].connectorKey[ldp:'b']",
            "~ pw.patch['new'] enabled True -> False",
            "- pw.patch['new'].connectorKey[ldp:'b']",
            "- pw.patch['old']"}),
        told());

    // Another entity under a known name.
    config_->patchDel("new");
    config_->patchIs("new");
    EXPECT_EQ((Lines{"- pw.patch['new']", "+ pw.patch['new'] enabled=True"}), told());
}

// The text of such a value leaves its members out.
TEST_F(WatchTest, TellsWhatChangesInACollectionInsideOfAValue) {
    const auto status = Pseudowire::statusFactory("any");
    const TreeWatcher watcher("status", *status, listener_);
    Pseudowire::ViaInfo via(Vorn::IntfId::fromStringValue("Pseudowire1"));
    status->viaInfoIs(via);
    told();
    via.localIntfIdIs(Vorn::IntfId::fromStringValue("swp2"));
    via.localIntfIdIs(Vorn::IntfId::fromStringValue("swp1"));
    status->viaInfoIs(via);
    Pseudowire::PwEncapAdjGroup group(Pseudowire::PwAdjGroupId(1));
    group.pwAdjSetIs({{}, Vorn::MplsLabel(21), false, true});
    status->adjGroupIs(group);
    EXPECT_EQ(
        (Lines{
            "~ status.viaInfo[Pseudowire1] localIntfId {} -> {swp1, swp2}",
            "+ status.adjGroup[1] pwAdjSet={tunnelId=none peerLabel=21 flowLabel=False "
            "controlWord=True}"}),
        told());
}

TEST_F(WatchTest, OutlivesWhatItWatches) {
    auto runnability = Pseudowire::runnabilityFactory("r");
    const TreeWatcher watcher("run", *runnability, listener_);
    runnability->configIs(true);
    runnability = {};
    EXPECT_EQ((Lines{"+ run", "~ run config False -> True"}), told());
}

TEST_F(WatchTest, JsonHasTypedValues) {
    std::vector<nlohmann::ordered_json> changes;
    const TreeWatcher::Listener listener = [&](const Change& change) {
        changes.push_back(jsonOf(change));
    };
    const TreeWatcher watcher("pw", *config_, listener);
    config_->mtuIs(1500);
    Pseudowire::Connector connector(ldpKey("a"));
    connector.qosMapNameIs("it's\n");
    config_->connectorIs(connector);
    ASSERT_EQ(3U, changes.size());
    EXPECT_EQ(
        R"({"change":"~","path":"pw","before":{"mtu":0},"after":{"mtu":1500}})",
        changes[1].dump());
    EXPECT_EQ("it's\n", changes[2]["after"]["qosMapName"]);
    EXPECT_EQ(true, changes[2]["after"]["pwStatusTlv"]);
}

// Neither the order of changes nor the name of the root leaves a trace.
TEST(DumpTest, DependsOnWhatIsHeldAlone) {
    const auto forwards = Pseudowire::configFactory("one");
    const auto backwards = Pseudowire::configFactory("other");
    for (int i = 0; i < 100; ++i) {
        for (const auto& [config, number] :
             {std::pair(forwards, i), std::pair(backwards, 99 - i)}) {
            std::string name("p");
            name += std::to_string(number);
            config->connectorIs(Pseudowire::Connector(ldpKey(name.c_str())));
            config->patchIs(name)->connectorKeyIs(ldpKey(name.c_str()));
        }
    }
    EXPECT_EQ(corra::dump("pw", *forwards), corra::dump("pw", *backwards));

    const std::string before = corra::dump("pw", *forwards);
    EXPECT_EQ(301, std::count(before.begin(), before.end(), '\n'));
    forwards->patch("p7")->connectorKeyDel(ldpKey("p7"));
    EXPECT_NE(before, corra::dump("pw", *forwards));
    forwards->patch("p7")->connectorKeyIs(ldpKey("p7"));
    EXPECT_EQ(before, corra::dump("pw", *forwards));
}

// Published test vectors of FNV-1a.
TEST(DumpTest, DigestIsFnv1a) {
    EXPECT_EQ("cbf29ce484222325", corra::digest(""));
    EXPECT_EQ("af63dc4c8601ec8c", corra::digest("a"));
    EXPECT_EQ("85944171f73967e8", corra::digest("foobar"));
}

}  // namespace
