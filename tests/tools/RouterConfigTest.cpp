#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corra/RouterConfig.h"
#include "tools/Captures.h"

namespace {

using corra::parseRouterConfig;
using corra::RouterConfig;
using corra::RouterConfigError;
using corra::test::captures;
using corra::test::captureText;
using Pseudowire::PseudowireType;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
}

// What the lines of the layer-2 VPN blocks say: their words one blank apart, numbers without
// leading zeros.
std::string essence(const std::string& text) {
    std::string out;
    bool isInside = false;
    for (const std::string& line : linesOf(text)) {
        isInside = isInside || line.starts_with("l2vpn ");
        std::istringstream words(line);
        std::string said;
        for (std::string word; words >> word;) {
            const bool isNumber = word.find_first_not_of("0123456789") == word.npos;
            said += ' ' + (isNumber ? std::to_string(std::stoull(word)) : word);
        }
        if (isInside && !said.empty() && said[1] != '!' && said[1] != '#' && said != " end") {
            out += said + '\n';
        }
    }
    return out;
}

// As the router prints it.
std::string print(const RouterConfig& config) {
    std::ostringstream out;
    for (const auto& instance : config.instances) {
        out << "l2vpn " << instance.name << " type vpls\n";
        if (instance.pseudowireType == PseudowireType::ethernetTagged) {
            out << " vc type ethernet-tagged\n";
        }
        if (instance.mtu != 1500) out << " mtu " << instance.mtu << '\n';
        if (!instance.bridge.empty()) out << " bridge " << instance.bridge << '\n';
        for (const auto& each : instance.interfaces) {
            out << " member interface " << each.name << '\n';
        }
        out << " !\n";
        for (const auto& each : instance.pseudowires) {
            out << " member pseudowire " << each.name << '\n';
            out << "  neighbor lsr-id " << each.neighborLsrId.stringValue().view() << '\n';
            out << "  pw-id " << each.pwId << '\n';
            if (!each.controlWord) out << "  control-word exclude\n";
            if (!each.pwStatus) out << "  pw-status disable\n";
            out << " exit\n !\n";
        }
        out << "exit\n!\n";
    }
    return out.str();
}

TEST(RouterConfigCapture, PrintsBackAsItWas) {
    for (const char* moment : captures) {
        const std::string original = captureText(moment);
        const RouterConfig config = parseRouterConfig(original, moment);
        EXPECT_EQ(original.substr(original.find("l2vpn ")), print(config) + "end\n") << moment;
        EXPECT_NE(original.find("\nhostname " + config.hostname + "\n"), original.npos);
        EXPECT_NE(
            original.find("\n router-id " + std::string(config.routerId.stringValue()) + "\n"),
            original.npos);
        EXPECT_TRUE(config.diagnostics.empty());
    }
}

TEST(RouterConfigCapture, ItemsKnowTheirLines) {
    for (const char* moment : captures) {
        const std::string original = captureText(moment);
        const std::vector<std::string> lines = linesOf(original);
        const RouterConfig config = parseRouterConfig(original, moment);
        const auto lineIs = [&](std::size_t line, const std::string& expected) {
            return line >= 1 && line <= lines.size() && lines[line - 1] == expected;
        };
        for (const auto& instance : config.instances) {
            EXPECT_TRUE(lineIs(instance.line, "l2vpn " + instance.name + " type vpls"));
            for (const auto& each : instance.interfaces) {
                EXPECT_TRUE(lineIs(each.line, " member interface " + each.name));
            }
            for (const auto& each : instance.pseudowires) {
                EXPECT_TRUE(lineIs(each.line, " member pseudowire " + each.name));
            }
        }
    }
}

// What a damaged text says is either refused, or reported, or taken as it stands: nothing is
// lost without a word.
enum class Outcome { refused, reported, taken };

Outcome outcomeOf(const std::string& damaged) {
    const std::size_t lineCount = linesOf(damaged).size();
    try {
        const RouterConfig config = parseRouterConfig(damaged, "damaged");
        for (const auto& each : config.diagnostics) {
            EXPECT_TRUE(each.line >= 1 && each.line <= lineCount) << each.text;
        }
        if (!config.diagnostics.empty()) return Outcome::reported;
        EXPECT_EQ(essence(print(config)), essence(damaged));
        return Outcome::taken;
    } catch (const RouterConfigError& error) {
        EXPECT_TRUE(error.line() >= 1 && error.line() <= lineCount + 1) << error.what();
        return Outcome::refused;
    }
}

TEST(RouterConfigCapture, DamageIsNeverSilent) {
    constexpr std::string_view garble("a9.- !\0\x80\t", 9);
    const std::string original = captureText("t3-pe3-back-reconfigured");
    const std::vector<std::string> lines = linesOf(original);
    std::set<Outcome> outcomes;
    std::uint32_t random = 1;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        // What stands outside of blocks may say anything.
        if (lines[at] == "!" || lines[at] == "end") continue;
        SCOPED_TRACE("line " + std::to_string(at + 1));
        std::vector<std::string> damaged = lines;
        damaged.erase(damaged.begin() + static_cast<std::ptrdiff_t>(at));
        outcomes.insert(outcomeOf(joined(damaged)));

        damaged = lines;
        damaged.insert(damaged.begin() + static_cast<std::ptrdiff_t>(at), lines[at]);
        outcomes.insert(outcomeOf(joined(damaged)));

        damaged = lines;
        for (const char c : garble) {
            if (lines[at].empty()) continue;
            random = random * 1664525 + 1013904223;
            damaged[at] = lines[at];
            damaged[at][(random >> 8) % lines[at].size()] = c;
            outcomes.insert(outcomeOf(joined(damaged)));
        }
    }
    EXPECT_EQ(3U, outcomes.size());
}

TEST(RouterConfigCapture, EveryPrefixIsRefusedInsideOfABlockAndTakenOutside) {
    const std::string original = captureText("t1-converged");
    for (std::size_t size = 0; size < original.size(); ++size) {
        const std::string prefix = original.substr(0, size);
        try {
            const RouterConfig config = parseRouterConfig(prefix, "prefix");
            EXPECT_TRUE(config.diagnostics.empty());
            const std::size_t lastOpen = prefix.rfind("\nl2vpn ");
            EXPECT_TRUE(
                lastOpen == prefix.npos || prefix.find("\nexit", lastOpen) != prefix.npos)
                << size;
        } catch (const RouterConfigError& error) {
            const std::size_t lastLine = linesOf(prefix + ".").size();
            EXPECT_EQ(lastLine, error.line()) << error.what();
        }
    }
}

RouterConfig withoutColumns(RouterConfig config) {
    for (RouterConfig::Instance& instance : config.instances) {
        for (RouterConfig::Interface& interface : instance.interfaces) interface.column = 0;
    }
    return config;
}

TEST(RouterConfigCapture, LineEndsAndBlanksDoNotMatter) {
    const std::string original = captureText("t3-pe3-back-reconfigured");
    const RouterConfig config = withoutColumns(parseRouterConfig(original, ""));
    std::string unusual = "\xef\xbb\xbf";
    for (const std::string& line : linesOf(original)) {
        for (const char c : line) unusual += c == ' ' ? "\t " : std::string(1, c);
        unusual += " \t\r\n";
    }
    EXPECT_EQ(config, withoutColumns(parseRouterConfig(unusual, "")));
    while (unusual.back() != 'd') unusual.pop_back();
    EXPECT_EQ(config, withoutColumns(parseRouterConfig(unusual, "")));
}

struct Case {
    std::string text;
    std::string message;
};

// Lines 1 and 2 of most of the cases below; what follows starts at line 3 of a pseudowire.
const std::string opened = "l2vpn A type vpls\n member pseudowire p\n";
const std::string whole = opened + "  neighbor lsr-id 2.2.2.2\n  pw-id 7\n exit\n";

TEST(RouterConfig, RefusesWithThePlaceAndWhatWasExpected) {
    const Case cases[] = {
        {"l2vpn", "1:6: expected an instance name, found end of line"},
        {"l2vpn A", "1:8: expected \"type\", found end of line"},
        {"l2vpn A type vpws\nexit", "1:14: expected \"vpls\", found \"vpws\""},
        {"no l2vpn A type", "1:16: expected \"vpls\", found end of line"},
        {"l2vpn A type vpls x", "1:19: expected end of line, found \"x\""},
        {"l2vpn A type vpls",
         "1:18: expected \"exit\" of instance \"A\" of line 1, found end of file"},
        {"l2vpn A type vpls\n",
         "2:1: expected \"exit\" of instance \"A\" of line 1, found end of file"},
        {"l2vpn A type vpls\nend\n",
         "2:1: expected \"exit\" of instance \"A\" of line 1, found \"end\""},
        {"l2vpn A type vpls\nl2vpn B type vpls\n",
         "2:1: expected \"exit\" of instance \"A\" of line 1, found \"l2vpn\""},
        {"l2vpn A type vpls\nexit\n!\nl2vpn A type vpls\n",
         "4:7: expected an instance name that is not in use, found \"A\" of line 1"},
        {"l2vpn A type vpls\n mtu\n",
         "2:5: expected a number from 512 to 65535, found end of line"},
        {"l2vpn A type vpls\n mtu 511\n",
         "2:6: expected a number from 512 to 65535, found \"511\""},
        {"l2vpn A type vpls\n mtu 65536\n",
         "2:6: expected a number from 512 to 65535, found \"65536\""},
        {"l2vpn A type vpls\n mtu 99999999999999999999\n",
         "2:6: expected a number from 512 to 65535, found \"99999999999999999999\""},
        {"l2vpn A type vpls\n mtu -600\n",
         "2:6: expected a number from 512 to 65535, found \"-600\""},
        {"l2vpn A type vpls\n mtu 9000x\n",
         "2:6: expected a number from 512 to 65535, found \"9000x\""},
        {"l2vpn A type vpls\n no mtu 1\n",
         "2:9: expected a number from 512 to 65535, found \"1\""},
        {"l2vpn A type vpls\n vc\n", "2:4: expected \"type\", found end of line"},
        {"l2vpn A type vpls\n vc type ip\n",
         "2:10: expected \"ethernet\" or \"ethernet-tagged\", found \"ip\""},
        {"l2vpn A type vpls\n member\n",
         "2:8: expected \"interface\" or \"pseudowire\", found end of line"},
        {"l2vpn A type vpls\n member interface\n",
         "2:18: expected an interface name, found end of line"},
        {"l2vpn A type vpls\n bridge\n", "2:8: expected a bridge name, found end of line"},
        {"l2vpn A type vpls\n bridge b\n member interface b\n",
         "3:19: expected a name that is not in use, found \"b\" of line 2"},
        {"l2vpn A type vpls\n pw-id 7\n",
         "2:2: expected \"member pseudowire NAME\" before this line, found \"pw-id\""},
        {"l2vpn A type vpls\n bridge caf\xc3\xa9\n",
         "2:12: expected printable ASCII, found \"\\xc3\""},
        {std::string("l2vpn A\0 type vpls\n", 19),
         "1:8: expected printable ASCII, found \"\\x00\""},
        {opened + "  bridge b\n",
         "3:3: expected \"exit\" of pseudowire \"p\" of line 2, found \"bridge\""},
        {opened + " exit\n",
         "3:2: expected \"neighbor lsr-id A.B.C.D\" of pseudowire \"p\" before this line, "
         "found \"exit\""},
        {opened + "  neighbor lsr-id 2.2.2.2\n exit\n",
         "4:2: expected \"pw-id NUMBER\" of pseudowire \"p\" before this line, found \"exit\""},
        {opened + "  neighbor lsr-id 2.2.2\n",
         "3:19: expected a unicast IPv4 address, found \"2.2.2\""},
        {opened + "  neighbor lsr-id 0.0.0.0\n",
         "3:19: expected a unicast IPv4 address, found \"0.0.0.0\""},
        {opened + "  neighbor lsr-id 224.0.0.1\n",
         "3:19: expected a unicast IPv4 address, found \"224.0.0.1\""},
        {opened + "  neighbor address fe80::1\n",
         "3:20: expected a unicast IPv4 or IPv6 address, found \"fe80::1\""},
        {opened + "  neighbor address\n",
         "3:19: expected a unicast IPv4 or IPv6 address, found end of line"},
        {opened + "  pw-id 0\n", "3:9: expected a number from 1 to 4294967295, found \"0\""},
        {opened + "  pw-id 4294967296\n",
         "3:9: expected a number from 1 to 4294967295, found \"4294967296\""},
        {opened + "  control-word maybe\n",
         "3:16: expected \"include\" or \"exclude\", found \"maybe\""},
        {opened + "  pw-status\n", "3:12: expected \"disable\", found end of line"},
        {whole + " member pseudowire p\n",
         "6:20: expected a name that is not in use, found \"p\" of line 2"},
        {whole + " member pseudowire q\n  pw-id 7\n  neighbor lsr-id 2.2.2.2\n exit\n",
         "7:9: expected a pw-id that is not in use with this neighbor, found 7 of the "
         "pseudowire of line 2"},
        {"router bgp 1\nexit\n member interface x\n",
         "3:2: expected \"l2vpn NAME type vpls\" before this line, found \"member\""},
        {"mpls ldp\n router-id 300.1.1.1\n",
         "2:12: expected a unicast IPv4 address, found \"300.1.1.1\""},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        try {
            parseRouterConfig(each.text, "pe1.txt");
            ADD_FAILURE() << "was taken";
        } catch (const RouterConfigError& error) {
            EXPECT_EQ("pe1.txt:" + each.message, error.what());
            EXPECT_EQ(
                each.message,
                std::to_string(error.line()) + ":" + std::to_string(error.column()) +
                    ": expected " + error.expected() + ", found " + error.found());
        }
    }
}

TEST(RouterConfig, ReportsAndGoesOn) {
    const Case cases[] = {
        {"l2vpn A type vpls\n colour red\n mtu 9000\nexit",
         "2:2: warning: unknown statement \"colour red\" left out"},
        {"l2vpn A type vpls\n no colour\n mtu 9000\nexit",
         "2:5: warning: unknown statement \"no colour\" left out"},
        {"l2vpn A type vpls\n member circuit c\n  mtu 1\n  bridge x\n exit\n mtu 9000\nexit",
         "2:2: warning: unknown statement \"member circuit c\" left out; lines indented below "
         "it, left out too: 2"},
        {"l2vpn A type vpls\n mtu 1600\n mtu 9000\nexit",
         "3:2: warning: replaces the value of line 2"},
        {"l2vpn A type vpls\n mtu 9000\nexit\n!\nexit",
         "5:1: warning: no block is open for this \"exit\""},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        const RouterConfig config = parseRouterConfig(each.text, "pe1.txt");
        const RouterConfig::Instance expected = {.name = "A", .line = 1, .mtu = 9000};
        EXPECT_EQ(std::vector{expected}, config.instances);
        ASSERT_EQ(1U, config.diagnostics.size());
        EXPECT_EQ("pe1.txt:" + each.message, located("pe1.txt", config.diagnostics[0]));
    }
}

TEST(RouterConfig, ReadsWhatTheCapturesDoNotHave) {
    const RouterConfig config = parseRouterConfig(
        "l2vpn A type vpls\n member pseudowire p\n  neighbor address 10.0.0.9\n"
        "  neighbor lsr-id 2.2.2.2\n  pw-id 4294967295\n  control-word include\n exit\n"
        " member pseudowire q\n  neighbor address 2001:db8::9\n  neighbor lsr-id 3.3.3.3\n"
        "  pw-id 1\n exit\n vc type ethernet\nexit\nmpls ldp\nexit\nrouter-id 9.9.9.9\n"
        "pseudowire z\n mtu 9\n control-word include\nexit\n",
        "");
    ASSERT_EQ(1U, config.instances.size());
    const auto& instance = config.instances[0];
    EXPECT_EQ(PseudowireType::ethernet, instance.pseudowireType);
    ASSERT_EQ(2U, instance.pseudowires.size());
    EXPECT_EQ(
        Vorn::IpGenAddr(Vorn::IpGenAddr::Ip4Bytes{10, 0, 0, 9}),
        instance.pseudowires[0].neighborAddress);
    EXPECT_EQ(4294967295U, instance.pseudowires[0].pwId);
    const Vorn::Ip6Addr v6({0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9});
    EXPECT_EQ(Vorn::IpGenAddr(v6), instance.pseudowires[1].neighborAddress);
    EXPECT_EQ(Vorn::IpGenAddr(), config.routerId) << "not that of LDP";
}

// Each text says the same as the one without its `no` lines and what they take back.
TEST(RouterConfig, NoTakesBack) {
    const std::pair<std::string, std::string> cases[] = {
        {" mtu 9000\n no mtu\n", ""},
        {" mtu 9000\n no mtu 9000\n mtu 1600\n", " mtu 1600\n"},
        {" vc type ethernet-tagged\n no vc type ethernet-tagged\n", ""},
        {" bridge b\n no bridge b\n member interface b\n", " member interface b\n"},
        {" member interface i\n member interface j\n no member interface i\n bridge i\n",
         " bridge i\n member interface j\n"},
        {" no member interface never-there\n", ""},
        {" bridge b\n no member interface b\n no member pseudowire b\n", " bridge b\n"},
        {" member pseudowire p\n  neighbor lsr-id 2.2.2.2\n  pw-id 7\n exit\n"
         " no member pseudowire p\n"
         " member pseudowire q\n  neighbor lsr-id 2.2.2.2\n  pw-id 7\n  control-word exclude\n"
         "  no control-word exclude\n  pw-status disable\n  no pw-status disable\n exit\n",
         " member pseudowire q\n  neighbor lsr-id 2.2.2.2\n  pw-id 7\n exit\n"},
    };
    for (const auto& [withNo, without] : cases) {
        const auto block = [](const std::string& body) {
            return "l2vpn A type vpls\n" + body + "exit\n";
        };
        SCOPED_TRACE(withNo);
        const RouterConfig config = parseRouterConfig(block(withNo), "");
        EXPECT_EQ(essence(block(without)), essence(print(config)));
        EXPECT_TRUE(config.diagnostics.empty());

        const RouterConfig replaced =
            parseRouterConfig(block(withNo) + "no l2vpn A type vpls\n" + block(without), "");
        EXPECT_EQ(essence(block(without)), essence(print(replaced)));
    }
    EXPECT_THROW(
        parseRouterConfig(whole + " member pseudowire q\n  pw-id 8\n  no pw-id\n", ""),
        RouterConfigError);
}

TEST(RouterConfig, AnyBytesAreATextWithoutInstancesOrRefused) {
    EXPECT_EQ(RouterConfig{}, parseRouterConfig("", ""));
    EXPECT_EQ(RouterConfig{}, parseRouterConfig(std::string(1 << 20, '\n'), ""));
    EXPECT_EQ(RouterConfig{}, parseRouterConfig(std::string(1 << 20, '\0'), ""));
    const std::string longName(1 << 20, 'x');
    const RouterConfig config = parseRouterConfig("l2vpn " + longName + " type vpls\nexit", "");
    EXPECT_EQ(longName, config.instances.at(0).name);
    try {
        parseRouterConfig("l2vpn A type " + longName, "");
        ADD_FAILURE() << "was taken";
    } catch (const RouterConfigError& error) {
        EXPECT_LT(std::string_view(error.what()).size(), 200U);
    }
    std::uint32_t random = 7;
    for (int round = 0; round < 200; ++round) {
        std::string bytes = round % 2 == 0 ? "" : opened;
        for (int i = 0; i < 2000; ++i) {
            random = random * 1664525 + 1013904223;
            bytes += static_cast<char>(random >> 24);
        }
        try {
            EXPECT_TRUE(parseRouterConfig(bytes, "").instances.empty());
        } catch (const RouterConfigError& error) {
            EXPECT_EQ(1, round % 2) << error.what();
        }
    }
}

}  // namespace
