#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "Zin/ValueInfo.h"
#include "corra/PanelOf.h"

namespace {

using Zin::textOf;

struct Case {
    // "NAME CONNECTOR...; ...": a name behind "-" is of a patch that is disabled.
    const char* patches;
    // "CONNECTOR PW-ID; ...".
    const char* connectors;
    // "PSEUDOWIRE STATUS; ...".
    const char* signalled;
    // What is told of patches and connectors, and of which patch these are: "NAME STATUS".
    std::set<std::string> panel;
};

template <class Take>
void forEachItem(const char* text, const Take& take) {
    std::istringstream items(text);
    for (std::string item; std::getline(items >> std::ws, item, ';');) {
        std::istringstream words(item);
        std::string first;
        words >> first;
        take(first, words);
    }
}

std::set<std::string> toldBy(const Case& given) {
    const auto config = Pseudowire::configFactory("pw");
    const auto signalling = Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    forEachItem(given.patches, [&](const std::string& name, std::istream& keys) {
        const bool enabled = name[0] != '-';
        const auto patch = config->patchIs(name.substr(enabled ? 0 : 1));
        patch->enabledIs(enabled);
        for (std::string key; keys >> key;) {
            patch->connectorKeyIs(Pseudowire::ConnectorKey::fromStringValue(key));
        }
    });
    forEachItem(given.connectors, [&](const std::string& key, std::istream& ids) {
        Pseudowire::Connector connector(Pseudowire::ConnectorKey::fromStringValue(key));
        Pseudowire::PseudowireId id = 0;
        if (ids >> id) connector.ldpKeyIs({Vorn::IpGenAddr({1, 1, 1, 1}), id});
        config->connectorIs(connector);
    });
    forEachItem(given.signalled, [&](const std::string& name, std::istream& words) {
        std::string text;
        words >> text;
        Pseudowire::PseudowireUserKey user;
        user.nameIs(name);
        Pseudowire::PseudowireAttributeStatus status;
        using Status = Pseudowire::PseudowireConnectorStatus;
        const auto number = Zin::EnumType::instance<Status>(Zin::String(text)).value();
        status.statusIs(static_cast<Status>(number));
        signalling->connectorStatusIs(user, status);
    });

    const auto panel = corra::panelOf("panel", *config, *signalling);
    std::set<std::string> told;
    for (auto it = panel->patch().iteratorConst(); it; ++it) {
        told.insert(
            std::string(it.key().view()) + ' ' + textOf(panel->patch(it.key())->status()));
    }
    const auto tell = [&](const auto& connectors) {
        for (auto it = connectors.iteratorConst(); it; ++it) {
            const auto connector = frame::childIn(connectors, it.key());
            const std::string of(connector->patchName().view());
            told.insert(of + ' ' + textOf(it.key()) + ' ' + textOf(connector->status()));
        }
    };
    tell(panel->localConnStatus());
    tell(panel->remoteConnStatus());
    return told;
}

TEST(PanelOfTest, TellsTheFirstReason) {
    constexpr const char* one = "a local:eth1 ldp:'p'";
    constexpr const char* both = "local:eth1; ldp:'p' 7";
    const Case cases[] = {
        {one, both, "p up", {"a up", "a local:eth1 up", "a ldp:'p' up"}},
        {one, both, "", {"a unknown", "a local:eth1 unknown", "a ldp:'p' unknown"}},
        {one,
         both,
         "p mtuMismatch",
         {"a mtuMismatch", "a local:eth1 unknown", "a ldp:'p' mtuMismatch"}},
        {one,
         both,
         "p localCircuitDown",
         {"a localCircuitDown", "a local:eth1 localCircuitDown", "a ldp:'p' localCircuitDown"}},
        {"-a local:eth1 ldp:'p'",
         "local:eth1",
         "p up",
         {"a adminDown", "a local:eth1 adminDown", "a ldp:'p' adminDown"}},
        {one,
         "local:eth1",
         "",
         {"a notConfigured", "a local:eth1 unknown", "a ldp:'p' notConfigured"}},
        {"a ldp:'p'; b",
         "ldp:'p' 7",
         "p up",
         {"a patchIncomplete", "b patchIncomplete", "a ldp:'p' patchIncomplete"}},
        // One circuit in two patches.
        {"b local:eth1 ldp:'p'; a local:eth1 ldp:'q'",
         "local:eth1; ldp:'p' 7; ldp:'q' 8",
         "p up; q noSession",
         {"a conflict",
          "b conflict",
          "a local:eth1 conflict",
          "b ldp:'p' up",
          "a ldp:'q' noSession"}},
        {"b local:eth1 ldp:'p'; -a local:eth1 ldp:'q'",
         "local:eth1; ldp:'p' 7; ldp:'q' 8",
         "p up",
         {"a adminDown", "b up", "b local:eth1 up", "b ldp:'p' up", "a ldp:'q' adminDown"}},
        // A pseudowire that a connector of no patch claims, too.
        {one,
         "local:eth1; ldp:'p' 7; ldp:'q' 7",
         "p up",
         {"a conflict", "a local:eth1 up", "a ldp:'p' conflict"}},
        // Connectors that signalling has no word for.
        {"a local:eth1 local:eth2; b local:eth3 other:9,'n','',none",
         "local:eth1; local:eth2; local:eth3; other:9,'n','',none",
         "n up",
         {"a unknown",
          "b unknown",
          "a local:eth1 unknown",
          "a local:eth2 unknown",
          "b local:eth3 unknown",
          "b other:9,'n','',none unknown"}},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(each.panel, toldBy(each)) << each.patches << "; " << each.signalled;
    }
}

}  // namespace
