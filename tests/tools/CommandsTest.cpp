// The commands on live owners and on state files. Nothing here waits for a time to pass.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/Commands.h"
#include "corra/Completion.h"
#include "corra/Dump.h"
#include "corra/ShellLine.h"
#include "corra/StateFile.h"
#include "corra/WholeFile.h"
#include "tools/Captures.h"
#include "tools/Tool.h"

namespace {

using corra::readWholeFile;
using corra::test::captureDirectory;
using corra::test::Ran;
using corra::test::Tool;
using corra::test::waitUntil;
using corra::test::Words;

const std::string manual = std::string(CORRA_SOURCE_DIR) + "/tools/corra/corra.1";

class CommandsTest : public corra::test::CommandTest {
  protected:
    CommandsTest() {
        const Ran exported = run({"export", "-a", captureDirectory("t0-alone"), "-o", file_});
        EXPECT_EQ(0, exported.status) << exported.errors;
    }

    // A server of sources that can be connected to.
    Tool served(Words arguments, const std::string& address) const {
        arguments.insert(arguments.begin(), {"serve", "--listen", address});
        ::setenv("CORRA_TEST_ERRORS", (errors_ + ".server").c_str(), 1);
        Tool server(arguments);
        ::setenv("CORRA_TEST_ERRORS", errors_.c_str(), 1);
        corra::test::waitUntilServed(address);
        return server;
    }

    std::string stateOf(const std::string& source) const {
        const Ran dumped = run({"dump", "--at", source});
        EXPECT_EQ(0, dumped.status) << dumped.errors;
        return dumped.output;
    }

    const std::string file_ = directory_.path() + "/pw.json";
    const std::string live_ = "unix:" + directory_.path() + "/pw.sock";
};

struct Step {
    Words arguments;
    int status;
    std::string output;
    // A part of what is said on standard error.
    std::string said;
};

const std::string patch = R"(pw.patch['it\'s [a] "b".c'])";

const Step steps[] = {
    {{"get", "pw.mtu"}, 0, "0\n", ""},
    {{"set", "pw.mtu", "9000"}, 0, "~ pw.mtu 0 -> 9000\n", ""},
    {{"set", "pw.mtu", "9000"}, 0, "", ""},
    {{"set", "Config(\"pw\").mtu", "1500", "-q"}, 0, "", ""},
    {{"get", "--json", "Pseudowire::Config('pw').mtu"}, 0, "1500\n", ""},
    {{"set", "pw.intfReviewDelayRange.min", "12.5"},
     0,
     "~ pw.intfReviewDelayRange.min 30 -> 12.5\n",
     ""},
    {{"dump", "pw.intfReviewDelayRange"}, 0, "pw.intfReviewDelayRange min=12.5 max=45\n", ""},
    {{"get", "pw.getMtuDefault"}, 0, "0\n", ""},
    {{"dump", "--tree", "pw.mtu"}, 2, "", "pw.mtu is no entity"},
    {{"dump", "--tree", "pw.patch['none']"}, 1, "", "there is no pw.patch['none']"},
    // Children and sets.
    {{"get", patch}, 1, "", "there is no " + patch},
    {{"get", patch + ".enabled"}, 1, "", "there is no " + patch + ".enabled"},
    {{"set", patch + ".enabled", "False"}, 2, "", "there is no " + patch},
    {{"set", patch}, 0, "+ " + patch + " enabled=True\n", ""},
    {{"set", patch}, 0, "", ""},
    {{"set", patch + ".enabled", "False"}, 0, "~ " + patch + ".enabled True -> False\n", ""},
    {{"set", patch + ".connectorKey[ldp:'a']"},
     0,
     "+ " + patch + ".connectorKey[ldp:'a']\n",
     ""},
    {{"get", patch},
     0,
     patch + ": Pseudowire::Patch enabled=False\n" + patch + ".connectorKey[ldp:'a']\n",
     ""},
    {{"del", patch + ".connectorKey"}, 0, "- " + patch + ".connectorKey[ldp:'a']\n", ""},
    {{"del", patch}, 0, "- " + patch + "\n", ""},
    {{"del", patch}, 1, "", "there is no " + patch},
    {{"del", patch + ".connectorKey"}, 1, "", "there is no " + patch},
    // Members, and strings with and without quotes.
    {{"set", "pw.connector[ldp:'a'].mtu", "1"}, 2, "", "there is no pw.connector[ldp:'a']"},
    {{"set", "pw.connector[ldp:'a']"},
     0,
     "+ pw.connector[ldp:'a'] pwStatusTlv=True qosMapName='default-map'\n",
     ""},
    {{"set", "pw.connector[ldp:'a'].intfDescription", "it's [1,2]"},
     0,
     R"(~ pw.connector[ldp:'a'].intfDescription '' -> 'it\'s [1,2]')"
     "\n",
     ""},
    {{"set", "pw.connector[ldp:'a'].intfDescription", "'quoted'"},
     0,
     R"(~ pw.connector[ldp:'a'].intfDescription 'it\'s [1,2]' -> 'quoted')"
     "\n",
     ""},
    {{"get", "pw.connector[ldp:'a'].intfDescription", "--json"}, 0, "\"quoted\"\n", ""},
    {{"set", "pw.connector[ldp:'a'].intfDescription", "[a,b]"},
     0,
     "~ pw.connector[ldp:'a'].intfDescription 'quoted' -> '[a,b]'\n",
     ""},
    {{"set", "pw.connector[ldp:'a'].intfDescription", ""},
     0,
     "~ pw.connector[ldp:'a'].intfDescription '[a,b]' -> ''\n",
     ""},
    {{"set", "pw.connector[ldp:'a'].color", "7"},
     0,
     "~ pw.connector[ldp:'a'].color unset -> 7\n",
     ""},
    // What cannot be done.
    {{"set", "pw.mtu"}, 2, "", "pw.mtu: one value is expected, U32"},
    {{"set", "pw.mtu", "1", "2"}, 2, "", "one value is expected"},
    {{"set", "pw.mtu", "many"}, 2, "", "found 'many'\n  many\n  ^\n"},
    {{"set", "pw.mtu", "--", "-1"}, 2, "", "found '-1'"},
    {{"set", "pw.mtu", "4294967296"}, 2, "", "a number from 0 to 4294967295"},
    {{"set", "pw.connector[ldp:'a'].dot1qEncap", "<1,5000>"}, 2, "", "5000"},
    {{"set", "pw.groupIdAllocation", "byPort"}, 2, "", "cannot be changed"},
    {{"set", "pw.connector", "1"}, 2, "", "pw.connector is a collection"},
    {{"set", patch, "argument"}, 2, "", "due: none"},
    {{"del", "pw.mtu"}, 2, "", "cannot be deleted"},
    {{"del", "pw"}, 2, "", "cannot be deleted"},
    // Paths that lead nowhere.
    {{"get", "pw.mtuu"}, 2, "", "has no attribute 'mtuu'"},
    {{"get", "pw.mtuu"}, 2, "", "\n  pw.mtuu\n     ^\n"},
    {{"del", "pw.patch['\xc3\xa9'].x"}, 1, "", "there is no"},
    {{"set", "pw.connector[ldp:'\xc3\xa9'].x", "1"}, 2, "", "x\n                        ^\n"},
    {{"get", "pw.connector[ldp:'a"}, 2, "", "a closing quote"},
    {{"get", "Patch('pw').mtu"}, 2, "", "\"pw\" is a Pseudowire::Config"},
    {{"get", "pw2.mtu"}, 2, "", "pw2"},
    {{"get", ""}, 2, "", "the name of a root"},
};

// A live owner and a state file take the same steps alike; a step that fails changes nothing.
TEST_F(CommandsTest, StepsOnLiveOwnersAndOnFilesAreTheSame) {
    const Tool server = served({"--writable", file_}, live_);
    for (const std::string& at : {live_, file_}) {
        ::setenv("CORRA_AT", at.c_str(), 1);
        std::string before = stateOf(at);
        for (const Step& step : steps) {
            SCOPED_TRACE(at + ' ' + testing::PrintToString(step.arguments));
            const Ran ran = run(step.arguments);
            EXPECT_EQ(step.status, ran.status) << ran.errors;
            EXPECT_EQ(step.output, ran.output);
            EXPECT_NE(ran.errors.npos, ran.errors.find(step.said)) << ran.errors;
            EXPECT_EQ(step.said.empty(), ran.errors.empty()) << ran.errors;
            const std::string now = stateOf(at);
            const bool changes = step.status == 0 && step.arguments[0] != "get" &&
                                 step.arguments[0] != "dump" &&
                                 (!step.output.empty() || step.arguments.back() == "-q");
            EXPECT_EQ(changes, before != now);
            before = now;
        }
    }
    EXPECT_EQ("", run({"diff", file_, live_}).output);
}

TEST_F(CommandsTest, WhatMayNotBeWrittenIsRefused) {
    const Tool server = served({file_}, live_);
    const std::string before = stateOf(live_);
    const std::string capture = captureDirectory("t0-alone");
    for (const Words& change :
         {Words{"set", "pw.mtu", "1"},
          {"del", "pw.patch"},
          {"import", captureDirectory("t3-pe3-back-reconfigured")}}) {
        SCOPED_TRACE(change[0]);
        for (const auto& [at, why] :
             {std::pair{live_, "refused: the server does not allow writes"},
              std::pair{capture, "a capture cannot be changed"},
              std::pair{live_ + ".gone", "No such file or directory"},
              std::pair{directory_.path(), "no capture"}}) {
            Words arguments = change;
            arguments.insert(arguments.end(), {"--at", at});
            const Ran ran = run(arguments);
            EXPECT_EQ(2, ran.status);
            EXPECT_EQ("", ran.output);
            EXPECT_NE(ran.errors.npos, ran.errors.find(why)) << ran.errors;
        }
        EXPECT_NE(run(change).errors.find("CORRA_AT"), std::string::npos);
    }
    EXPECT_EQ(before, stateOf(live_));
    // An owner who accepts and then says nothing.
    const std::string mute = "unix:" + directory_.path() + "/mute.sock";
    const auto listening = Zin::NboAttrLog::listenAt(Zin::NboAttrLog::Address::fromText(mute));
    const Ran ran = run({"get", "pw", "--at", mute, "--timeout", "0.05"});
    EXPECT_EQ(2, ran.status);
    EXPECT_EQ("corra: " + mute + ": the peer says nothing within 50 ms\n", ran.errors);
}

// There and back: what is imported is what is held, and mirrors hear of what differs only.
TEST_F(CommandsTest, AnImportMakesOwnersAndFilesTheSame) {
    const std::string t3 = captureDirectory("t3-pe3-back-reconfigured");
    const Tool server = served({"--writable", file_}, live_);
    Tool watcher({"watch", "--at", live_, "--once"});
    waitUntil([&] { return readWholeFile(errors_).find("synchronised") != std::string::npos; });
    const Ran differing = run({"diff", live_, t3});
    EXPECT_EQ(1, differing.status);

    const Ran imported = run({"import", t3, "--at", live_});
    EXPECT_EQ(0, imported.status) << imported.errors;
    EXPECT_EQ(differing.output, imported.output);
    EXPECT_EQ("", run({"import", t3, "--at", live_}).output);
    EXPECT_EQ(0, run({"diff", live_, t3}).status);
    EXPECT_EQ(differing.output, run({"import", live_, "--at", file_}).output);
    EXPECT_EQ(corra::stateText(corra::readStateFile(file_)), readWholeFile(file_));
    EXPECT_EQ(run({"export", "-a", live_}).output, readWholeFile(file_));

    const std::string before = readWholeFile(file_);
    corra::writeFileAtomically(
        directory_.path() + "/bad",
        R"({"format": "x", "version": 1, "roots": {}})");
    for (const std::string& at : {live_, file_}) {
        const Ran bad = run({"import", directory_.path() + "/bad", "--at", at});
        EXPECT_EQ(2, bad.status);
        EXPECT_NE(bad.errors.npos, bad.errors.find("/bad: /format: ")) << bad.errors;
        EXPECT_EQ(2, run({"export", "--at", at, "-o", directory_.path()}).status);
    }
    EXPECT_EQ(before, readWholeFile(file_));
    EXPECT_EQ(before, run({"export", "-a", live_}).output);
}

TEST_F(CommandsTest, DifferencesAreSortedAndSymmetric) {
    const std::string t0 = captureDirectory("t0-alone");
    const std::string t3 = captureDirectory("t3-pe3-back-reconfigured");
    const auto lines = [](const std::string& text) {
        Words all;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) all.push_back(line);
        return all;
    };
    const Words forth = lines(run({"diff", t0, t3}).output);
    const Words back = lines(run({"diff", t3, t0}).output);
    const auto json = nlohmann::json::parse(run({"diff", "--json", t0, t3}).output);
    ASSERT_EQ(forth.size(), back.size());
    ASSERT_EQ(forth.size(), json.size());
    std::set<std::string> rootsTold;
    std::string previous;
    for (std::size_t i = 0; i < forth.size(); ++i) {
        const std::string path = json[i]["path"];
        EXPECT_TRUE((forth[i].substr(2) + ' ').starts_with(path + ' ')) << forth[i];
        EXPECT_TRUE((back[i].substr(2) + ' ').starts_with(path + ' ')) << back[i];
        EXPECT_LT(previous, path);
        const auto turned = std::string("+-~").find(forth[i][0]);
        EXPECT_EQ("-+~"[turned], back[i][0]);
        rootsTold.insert(path.substr(0, path.find('.')));
        previous = path;
    }
    EXPECT_EQ(5U, rootsTold.size());

    // Single trees are compared whatever their names are; of more the names count.
    auto one = nlohmann::json::parse(readWholeFile(file_));
    one["roots"] = {{"pw", one["roots"]["pw"]}};
    auto other = one;
    other["roots"] = {{"qw", one["roots"]["pw"]}};
    corra::writeFileAtomically(file_, one.dump());
    corra::writeFileAtomically(file_ + "2", other.dump());
    EXPECT_EQ(0, run({"diff", file_, file_ + "2"}).status);
    other["roots"]["pw"] = one["roots"]["pw"];
    corra::writeFileAtomically(file_ + "2", other.dump());
    const Ran more = run({"diff", file_, file_ + "2"});
    EXPECT_EQ(1, more.status);
    EXPECT_TRUE(more.output.starts_with("+ qw ")) << more.output;
}

// Each watcher hears of its path and of nothing else.
TEST_F(CommandsTest, WatchersHearOfTheirPaths) {
    const struct {
        std::string path;
        Words told;
    } cases[] = {
        {"pw.mtu", {"+ pw.mtu", "~ pw.mtu 0 -> 7"}},
        {"Config('pw').intfReviewDelayRange",
         {"+ pw.intfReviewDelayRange min=30 max=45", "~ pw.intfReviewDelayRange max 45 -> 50"}},
        {"pw.patch['n']",
         {"+ pw.patch['n'] enabled=True",
          "~ pw.patch['n'] enabled True -> False",
          "+ pw.patch['n'].connectorKey[ldp:'a']",
          "- pw.patch['n']"}},
        {"pw.patch[\"n\"].enabled",
         {"+ pw.patch['n'].enabled True",
          "~ pw.patch['n'].enabled True -> False",
          "- pw.patch['n']"}},
        {"pw.patch['n'].connectorKey",
         {"+ pw.patch['n'].connectorKey[ldp:'a']", "- pw.patch['n']"}},
        {"pw.connector[ldp:'a'].mtu",
         {"+ pw.connector[ldp:'a'].mtu",
          "~ pw.connector[ldp:'a'].mtu 0 -> 5",
          "- pw.connector[ldp:'a']"}},
    };
    Tool server = served({"--writable", file_}, live_);
    ::setenv("CORRA_AT", live_.c_str(), 1);
    std::vector<std::unique_ptr<Tool>> watchers;
    for (const auto& each : cases) {
        const Words arguments{"watch", each.path, "--once"};
        watchers.push_back(std::make_unique<Tool>(arguments));
    }
    const auto synchronised = [&] {
        const std::string said = readWholeFile(errors_);
        std::size_t count = 0;
        for (std::size_t at = 0; (at = said.find("synchronised: pw\n", at)) != said.npos;
             ++at) {
            ++count;
        }
        return count == std::size(cases);
    };
    waitUntil(synchronised);
    for (const Words& change :
         {Words{"set", "pw.mtu", "7"},
          {"set", "pw.intfReviewDelayRange.max", "50"},
          {"set", "pw.patch['n']"},
          {"set", "pw.patch['n'].enabled", "False"},
          {"set", "pw.patch['n'].connectorKey[ldp:'a']"},
          {"set", "pw.connector[ldp:'a']"},
          {"set", "pw.connector[ldp:'a'].mtu", "5"},
          {"set", "pw.connector[ldp:'a'].color", "5"},
          {"del", "pw.patch['n']"},
          {"del", "pw.connector[ldp:'a']"}}) {
        ASSERT_EQ(0, run(change).status) << testing::PrintToString(change);
    }
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        Words told;
        while (told.size() < cases[i].told.size()) {
            told.push_back(watchers[i]->line().value_or("no line"));
        }
        EXPECT_EQ(cases[i].told, told) << cases[i].path;
    }
    server.kill(SIGTERM);
    for (const auto& watcher : watchers) {
        EXPECT_EQ("", watcher->rest());
        EXPECT_EQ(0, watcher->wait());
    }
    Tool second = served({"--writable", file_}, live_);
    const Ran bad = run({"watch", "pw.nope"});
    EXPECT_EQ(2, bad.status);
    EXPECT_NE(bad.errors.npos, bad.errors.find("has no attribute 'nope'")) << bad.errors;
}

TEST_F(CommandsTest, ServedFilesAreLoadedAgain) {
    Tool server = served({file_}, live_);
    ASSERT_EQ(0, run({"set", "pw.mtu", "77", "--at", file_}).status);
    server.kill(SIGHUP);
    EXPECT_EQ("77\n", run({"get", "pw.mtu", "--at", live_}).output);
    corra::writeFileAtomically(file_, "{");
    server.kill(SIGHUP);
    EXPECT_EQ("77\n", run({"get", "pw.mtu", "--at", live_}).output);
    EXPECT_EQ(2, run({"serve", live_, "--listen", live_ + "2"}).status);
}

// --- Completion ---

constexpr const char* bashBreaks = " \t\n\"'@><=;|&(:";

TEST_F(CommandsTest, LinesAreCompleted) {
    for (const Words& edit :
         {Words{"del", "pw.patch"},
          {"del", "pw.connector"},
          {"set", "pw.patch['a b']"},
          {"set", "pw.patch['a\\'c']"},
          {"set", "pw.connector[ldp:'x']"}}) {
        Words arguments = edit;
        arguments.insert(arguments.end(), {"--at", file_});
        ASSERT_EQ(0, run(arguments).status);
    }
    ::setenv("CORRA_AT", file_.c_str(), 1);
    const struct {
        std::string line;
        Words candidates;
    } cases[] = {
        {"corra comp", {"completion "}},
        {"corra completion ", {"bash "}},
        {"corra get --j", {"--json "}},
        {"corra types PseudowireC", {"PseudowireConfig "}},
        {"corra get --at=" + directory_.path() + "/pw", {directory_.path() + "/pw.json "}},
        {"corra diff x -", {"--help", "--json", "--module", "--timeout"}},
        {"corra dump -a u", {"unix:"}},
        {"corra get pw", {"pw", "pw."}},
        {"corra get p", {"panel", "pw"}},
        {"corra get pw.mtuI", {"pw.mtuIgnore "}},
        {"corra get pw.pa", {"pw.patch", "pw.patch["}},
        {"corra set pw.mtuIgnore T", {"True "}},
        {"corra set --at /none pw.mtuIgnore ", {}},
        {"corra get -- pw.intfReviewDelayRange.m",
         {"pw.intfReviewDelayRange.max", "pw.intfReviewDelayRange.min"}},
        {"corra get nothing.", {}},
        // Keys, in each way of quoting.
        {"corra get pw.patch[", {R"("pw.patch['a b'])", R"("pw.patch['a\\'c'])"}},
        {R"(corra get "pw.patch['a )", {"pw.patch['a b']", "pw.patch['a b']."}},
        {R"(corra get 'pw.patch['\''a )", {R"(a b'\''])", R"(a b'\''].)"}},
        {R"(corra get pw.patch[\'a\ b\'].en)", {R"("pw.patch['a b'].enabled" )"}},
        {"corra get pw.patch['a ", {R"('\''a b'\''])", R"('\''a b'\''].)"}},
        {"corra get pw.connector[l",
         {R"("pw.connector[ldp:'x'])", R"("pw.connector[ldp:'x'].)"}},
        {"corra get pw.connector[ldp:", {R"(\'x\'\])", R"(\'x\'\].)"}},
    };
    corra::Commands commands;
    for (const auto& each : cases) {
        EXPECT_EQ(each.candidates, corra::completions(commands.app(), each.line, bashBreaks))
            << each.line;
    }
}

// What bash makes of a completed line is the path.
TEST_F(CommandsTest, BashTakesWhatIsCompleted) {
    ASSERT_EQ(0, run({"set", R"(pw.patch['a $x\\\'"`[z]*'])", "--at", file_}).status);
    ::setenv("CORRA_AT", file_.c_str(), 1);
    const std::string script = directory_.path() + "/completion";
    corra::writeFileAtomically(script, corra::bashCompletion());
    for (const std::string begun :
         {R"("pw.patch['a)", R"('pw.patch['\''a)", R"(pw.patch[\'a)", "pw.patch["}) {
        SCOPED_TRACE(begun);
        const std::string line = "corra get " + begun;
        const corra::ShellLine read(line, bashBreaks);
        const std::string all = R"(pw.patch['a $x\\\'"`[z]*'])";
        const auto completed = read.replacements({{all}});
        ASSERT_EQ(1U, completed.size());
        // Where bash replaces: behind the open quote, or from where the word begins.
        const bool isQuoted = begun.front() == '"' || begun.front() == '\'';
        std::string word = begun.substr(0, isQuoted ? begun.rfind(begun.front()) + 1 : 0);
        word += completed[0];
        if (isQuoted) word += begun.front();
        const std::string check = directory_.path() + "/check";
        corra::writeFileAtomically(check, "printf '%s' " + word + " >" + check + ".out\n");
        ASSERT_EQ(0, std::system(("bash " + check).c_str()));
        EXPECT_EQ(all, readWholeFile(check + ".out")) << word;
    }
    // The script itself.
    const std::string asked = "source " + script +
                              " && COMP_WORDBREAKS=$' \\t\\n' COMP_LINE='corra get pw.mtuI' && "
                              "COMP_POINT=${#COMP_LINE} && _corra " CORRA_TOOL
                              " && "
                              "printf '<%s>' \"${COMPREPLY[@]}\" >" +
                              script + ".out\n";
    corra::writeFileAtomically(script + ".sh", asked);
    ASSERT_EQ(0, std::system(("bash " + script + ".sh").c_str()));
    EXPECT_EQ("<pw.mtuIgnore >", readWholeFile(script + ".out"));
}

// --- The manual ---

TEST(Manual, NamesEachCommandAndOption) {
    corra::Commands commands;
    const std::string text = readWholeFile(manual);
    const auto expectOption = [&](const CLI::Option& option) {
        for (const std::string& name : option.get_lnames()) {
            EXPECT_NE(text.npos, text.find("Fl -" + name)) << name;
        }
        for (const std::string& name : option.get_snames()) {
            EXPECT_NE(text.npos, text.find("Fl " + name)) << name;
        }
    };
    for (const CLI::Option* const option : commands.app().get_options()) expectOption(*option);
    for (const CLI::App* const command : commands.app().get_subcommands(
             [](const CLI::App* each) { return !each->get_group().empty(); })) {
        EXPECT_NE(text.npos, text.find(".Nm\n.Cm " + command->get_name() + '\n'));
        EXPECT_NE(text.npos, text.find(".It Cm " + command->get_name() + '\n'));
        for (const CLI::Option* const option : command->get_options()) expectOption(*option);
        // The help says how it is used.
        EXPECT_NE(command->help().npos, command->help().find("Examples:\n"))
            << command->get_name();
    }
}

TEST(Manual, IsWellFormed) {
    EXPECT_EQ(0, std::system(("mandoc -T lint -W warning " + manual).c_str()));
}

}  // namespace
