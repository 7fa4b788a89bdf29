#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Pseudowire/VplsConfig.h"
#include "Zin/ValueInfo.h"
#include "corra/Import.h"
#include "corra/Watch.h"
#include "tools/Captures.h"

namespace {

using corra::importRouterConfig;
using corra::RouterConfigError;
using corra::test::captures;
using corra::test::captureText;
using corra::test::dumpOf;
using corra::test::imported;
using Pseudowire::Config;

using ConfigPtr = Zin::Ptr<Config>;

// What a line-by-line reading finds, told in words; it knows that `mtu` and `vc type` come
// before the members.
std::set<std::string> readPlainly(const std::string& text) {
    std::set<std::string> found;
    std::istringstream in(text);
    std::string instance, mtu, type, name, lsrId, pwId, word, status, patched;
    int interfaces = 0;
    int pseudowires = 0;
    bool isInside = false;
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string a, b, c;
        words >> a >> b >> c;
        if (a == "l2vpn") {
            instance = b;
            mtu = "1500";
            type = "ethernet";
            interfaces = pseudowires = 0;
            isInside = true;
        }
        if (!isInside) continue;
        if (a == "mtu") mtu = b;
        if (a == "vc") type = c == "ethernet-tagged" ? "ethernetTagged" : c;
        if (b == "interface") {
            const auto dot = c.find('.');
            std::string tags = dot == c.npos ? "0.0" : c.substr(dot + 1);
            if (tags.find('.') == tags.npos) tags += ".0";
            tags[tags.find('.')] = ',';
            found.insert("local:" + c + " <" + tags + "> mtu " + mtu);
            patched = "local:" + c;
            ++interfaces;
        }
        if (b == "pseudowire") {
            name = c;
            word = "True";
            status = "True";
        }
        if (b == "lsr-id") lsrId = c;
        if (a == "pw-id") pwId = b;
        if (a == "control-word" && b == "exclude") word = "False";
        if (a == "pw-status" && b == "disable") status = "False";
        if (a == "exit" && line[0] == ' ') {
            found.insert(
                "ldp:'" + name + "' " + lsrId + ':' + pwId + " mtu " + mtu + " type " + type +
                " word " + word + " status " + status);
            ++pseudowires;
        }
        if (a == "exit" && line[0] == 'e') {
            isInside = false;
            if (interfaces == 1 && pseudowires == 1) {
                found.insert("patch " + instance + ' ' + patched + " ldp:'" + name + '\'');
            }
        }
    }
    return found;
}

std::set<std::string> toldInWords(const Config& config) {
    std::set<std::string> told;
    for (auto it = config.connector().iteratorConst(); it; ++it) {
        const Pseudowire::Connector connector = config.connector(it.key());
        std::string text = Zin::textOf(it.key()) + ' ';
        if (connector.key().isLocal()) {
            text += Zin::textOf(connector.dot1qEncap());
            text += " mtu " + std::to_string(connector.mtu());
        } else {
            text += Zin::textOf(connector.ldpKey()) + " mtu " + std::to_string(connector.mtu());
            text += " type " + Zin::textOf(connector.pseudowireType());
            text += " word " + Zin::textOf(connector.controlWord());
            text += " status " + Zin::textOf(connector.pwStatusTlv());
        }
        told.insert(text);
    }
    for (auto it = config.patch().iteratorConst(); it; ++it) {
        std::set<std::string, std::greater<>> keys;
        const auto patch = config.patch(it.key());
        for (auto key = patch->connectorKey().iteratorConst(); key; ++key) {
            keys.insert(Zin::textOf(key.key()));
        }
        std::string text = "patch " + std::string(it.key().view());
        for (const std::string& key : keys) text += ' ' + key;
        EXPECT_TRUE(patch->enabled());
        told.insert(text);
    }
    return told;
}

TEST(ImportTest, HoldsWhatThePlainTextSays) {
    for (const char* const moment : captures) {
        SCOPED_TRACE(moment);
        const std::string text = captureText(moment);
        const auto config = Pseudowire::configFactory("pw");
        EXPECT_TRUE(importRouterConfig(text, moment, *config).empty());
        EXPECT_EQ(readPlainly(text), toldInWords(*config));
    }
}

// Counts what reactors hear of the root's collections.
struct Counts : Config::Notifiee {
    using Notifiee::Notifiee;
    void onPatch(const Zin::String& name) override { ++heard["patch " + Zin::textOf(name)]; }
    void onConnector(const Pseudowire::ConnectorKey& key) override {
        ++heard[Zin::textOf(key)];
    }
    void onMtu() override { ++heard["mtu"]; }

    std::map<std::string, int> heard;
};

// Each key under which the two differ, once.
std::map<std::string, int> differing(const Config& a, const Config& b) {
    std::map<std::string, int> keys;
    const auto compare = [&](const Config& one, const Config& other) {
        for (auto it = one.connector().iteratorConst(); it; ++it) {
            const bool same = other.connectorHas(it.key()) &&
                              one.connector(it.key()) == other.connector(it.key());
            if (!same) keys[Zin::textOf(it.key())] = 1;
        }
        for (auto it = one.patch().iteratorConst(); it; ++it) {
            if (!other.patch(it.key())) keys["patch " + Zin::textOf(it.key())] = 1;
        }
    };
    compare(a, b);
    compare(b, a);
    return keys;
}

void expectUpdateLaw(const std::string& before, const std::string& after) {
    const ConfigPtr fresh = imported(after);
    const ConfigPtr updated = imported(before);
    const auto expected = differing(*updated, *fresh);
    Counts counts(updated);
    importRouterConfig(after, "after", *updated);
    EXPECT_EQ(dumpOf(fresh), dumpOf(updated));
    EXPECT_EQ(expected, counts.heard);
}

TEST(ImportTest, AnUpdateEqualsAFreshImportAndTellsOnlyWhatDiffers) {
    for (const char* const before : captures) {
        for (const char* const after : captures) {
            SCOPED_TRACE(std::string(before) + " to " + after);
            expectUpdateLaw(captureText(before), captureText(after));
        }
        expectUpdateLaw(captureText(before), "");
        expectUpdateLaw("", captureText(before));
    }
}

// Leaves out, doubles, swaps or alters a few lines.
std::string damaged(const std::string& text, std::mt19937& random) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    const auto anyOf = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    for (std::size_t left = 1 + anyOf(4); left != 0; --left) {
        const auto at = lines.begin() + static_cast<std::ptrdiff_t>(anyOf(lines.size()));
        switch (anyOf(4)) {
            case 0:
                lines.erase(at);
                break;
            case 1:
                lines.insert(at, lines[anyOf(lines.size())]);
                break;
            case 2:
                std::swap(*at, lines[anyOf(lines.size())]);
                break;
            default:
                if (!at->empty()) (*at)[anyOf(at->size())] = "0123456789.abcxyz "[anyOf(18)];
        }
    }
    std::string out;
    for (const std::string& line : lines) out += line + '\n';
    return out;
}

TEST(ImportTest, DamagedTextIsAnUpdateOrChangesNothing) {
    std::mt19937 random(20261121);
    int updates = 0;
    int refusals = 0;
    ConfigPtr config = imported(captureText(captures[0]));
    std::string last = captureText(captures[0]);
    while (updates < 100 || refusals < 100) {
        const std::string text = damaged(captureText(captures[updates % 2 ? 3 : 0]), random);
        SCOPED_TRACE(text);
        ConfigPtr fresh;
        try {
            fresh = imported(text);
        } catch (const RouterConfigError&) {
            ++refusals;
        }
        if (fresh) {
            ++updates;
            expectUpdateLaw(last, text);
            importRouterConfig(text, "after", *config);
            ASSERT_EQ(dumpOf(fresh), dumpOf(config));
            last = text;
        } else {
            const std::string kept = dumpOf(config);
            Counts counts(config);
            EXPECT_THROW(importRouterConfig(text, "after", *config), RouterConfigError);
            ASSERT_EQ(kept, dumpOf(config));
            EXPECT_TRUE(counts.heard.empty());
        }
        if (HasFailure()) return;
    }
}

// The first instance is good, so a half-applied import would show.
TEST(ImportTest, AnErrorSaysWhereAndLeavesAllAsItWas) {
    const std::string good =
        "l2vpn A type vpls\n member interface eth1\nexit\nl2vpn B type vpls\n";
    const struct {
        const char* text;
        const char* message;
    } cases[] = {
        {" mtu many\nexit\n",
         "pe1.txt:5:6: expected a number from 512 to 65535, found \"many\""},
        {" member interface ge-0/0/1\nexit\n",
         "pe1.txt:5:19: expected an interface name such as eth4, swp14, bond0 or eth4.303, "
         "found "
         "\"ge-0/0/1\""},
        {"  member interface eth4.4095\nexit\n",
         "pe1.txt:5:20: expected an interface name such as eth4, swp14, bond0 or eth4.303, "
         "found "
         "\"eth4.4095\""},
        {" member interface none\nexit\n",
         "pe1.txt:5:19: expected an interface name such as eth4, swp14, bond0 or eth4.303, "
         "found "
         "\"none\""},
    };
    const ConfigPtr config = imported(captureText(captures[0]));
    const std::string before = dumpOf(config);
    for (const auto& each : cases) {
        try {
            importRouterConfig(good + each.text, "pe1.txt", *config);
            ADD_FAILURE() << "no error: " << each.message;
        } catch (const RouterConfigError& error) {
            EXPECT_STREQ(each.message, error.what());
        }
        EXPECT_EQ(before, dumpOf(config));
    }
}

TEST(ImportTest, ReturnsWhatIsLeftOut) {
    const auto config = Pseudowire::configFactory("pw");
    const auto diagnostics = importRouterConfig(
        "l2vpn A type vpls\n colour red\n member pseudowire p\n  neighbor lsr-id 2.2.2.2\n"
        "  neighbor address 10.0.0.2\n  pw-id 7\n exit\nexit\n",
        "pe1.txt",
        *config);
    ASSERT_EQ(2U, diagnostics.size());
    EXPECT_EQ(
        "pe1.txt:2:2: warning: unknown statement \"colour red\" left out",
        located("pe1.txt", diagnostics[0]));
    EXPECT_EQ(3U, diagnostics[1].line);
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs("p");
    EXPECT_EQ("2.2.2.2:7", Zin::textOf(config->connector(key).ldpKey()));
}

// The import owns connectors, patches and whether the MTU counts; the rest belongs to others.
TEST(ImportTest, OtherAttributesStay) {
    const ConfigPtr config = imported(captureText(captures[0]));
    config->mtuIs(1400);
    config->mtuIgnoreIs(true);
    config->patch("eline-6")->enabledIs(false);
    importRouterConfig(captureText(captures[1]), "t1", *config);
    EXPECT_EQ(1400U, config->mtu());
    EXPECT_FALSE(config->mtuIgnore());
    EXPECT_TRUE(config->patch("eline-6")->enabled());
}

// By instance: the VLANs and the pseudowires, in words.
using Vpls = std::map<std::string, std::set<std::string>>;

Vpls readVplsPlainly(const std::string& text) {
    std::map<std::string, std::vector<std::string>> interfaces, pseudowires;
    std::istringstream in(text);
    std::string instance;
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string a, b, c;
        words >> a >> b >> c;
        if (a == "l2vpn") instance = b;
        if (a == "member" && b == "interface") interfaces[instance].push_back(c);
        if (a == "member" && b == "pseudowire") pseudowires[instance].push_back(c);
    }
    Vpls found;
    for (const auto& [name, members] : pseudowires) {
        if (members.size() == 1 && interfaces[name].size() == 1) continue;
        for (const std::string& member : members) found[name].insert("pseudowire " + member);
        for (const std::string& member : interfaces[name]) {
            const auto dot = member.find('.');
            if (dot == member.npos) continue;
            const auto tag = member.substr(dot + 1);
            found[name].insert("vlan " + tag.substr(0, tag.find('.')));
        }
    }
    return found;
}

TEST(ImportTest, WhatIsNotPointToPointIsAnInstanceOfVpls) {
    for (const char* const capture : captures) {
        SCOPED_TRACE(capture);
        corra::Roots roots;
        corra::importCapture(corra::test::captureDirectory(capture), roots);
        const auto& vpls = static_cast<const Pseudowire::VplsConfig&>(*roots.at("vpls"));
        Vpls held;
        for (auto it = vpls.instance().iteratorConst(); it; ++it) {
            const auto instance = vpls.instance(it.key());
            auto& words = held[std::string(it.key().view())];
            for (auto vlan = instance->vlan().iteratorConst(); vlan; ++vlan) {
                words.insert("vlan " + std::string(Zin::textOf(vlan.key())));
            }
            const auto group = instance->ldpPseudowireGroup("core");
            EXPECT_TRUE(group->splitHorizon());
            for (auto pw = group->pseudowire().iteratorConst(); pw; ++pw) {
                words.insert("pseudowire " + std::string(pw.key().view()));
            }
        }
        EXPECT_EQ(readVplsPlainly(captureText(capture)), held);
        EXPECT_LT(10U, held.size());
    }
}

}  // namespace
