// The tool with a module of a user's own: it knows no such type by itself, and with --module
// works on its entities as on all others. Libraries that cannot join are refused as a whole.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Zin/Exceptions.h"
#include "Zin/Module.h"
#include "Zin/NboAttrLogFd.h"
#include "corra/Commands.h"
#include "corra/Completion.h"
#include "corra/Process.h"
#include "corra/WholeFile.h"
#include "tools/Tool.h"

namespace {

using corra::test::Ran;
using corra::test::Tool;
using corra::test::waitUntil;
using corra::test::Words;

const std::string build =
    std::filesystem::path(CORRA_TOOL).parent_path().parent_path().string();
const std::string library = build + "/lib/libBfdSessionDir.so";
const std::string renamed = build + "/lib/libRenamedModule.so";
const std::string claiming = build + "/lib/libClaimingModules.so";

constexpr const char* state = R"({
  "format": "corra-state",
  "roots": {
    "bfd": {
      "attributes": {
        "detectMult": 5,
        "state": {
          "192.0.2.7": "up",
          "2001:db8::1": "down"
        }
      },
      "type": "Bfd::SessionDir"
    }
  },
  "version": 1
}
)";

class ModuleTest : public corra::test::CommandTest {
  protected:
    ModuleTest() {
        ::unsetenv("CORRA_MODULE");
        corra::writeFileAtomically(file_, state);
    }
    ~ModuleTest() override { ::unsetenv("CORRA_MODULE"); }

    Ran runWithModule(Words arguments) const {
        arguments.insert(arguments.end(), {"--module", library});
        return run(arguments);
    }

    const std::string file_ = directory_.path() + "/bfd.json";
    const std::string socket_ = directory_.path() + "/bfd.sock";
    const std::string live_ = "unix:" + socket_;
};

TEST_F(ModuleTest, AnOwnersEntitiesAreShownChangedWatchedAndKept) {
    Tool server({"--module", library, "serve", file_, "--listen", live_, "--writable"});
    waitUntil([&] { return std::filesystem::exists(socket_); });
    Tool watch({"--module", library, "watch", "--at", live_, "bfd.state"});
    EXPECT_EQ("+ bfd.state[192.0.2.7] up", watch.line().value_or(""));
    EXPECT_EQ("+ bfd.state[2001:db8::1] down", watch.line().value_or(""));

    const struct {
        Words arguments;
        int status;
        std::string output;
    } steps[] = {
        {{"get", "--at", live_, "bfd.detectMult"}, 0, "5\n"},
        {{"get", "--at", live_, "bfd.state[192.0.2.7]"}, 0, "up\n"},
        {{"set", "--at", live_, "bfd.state[192.0.2.7]", "init"},
         0,
         "~ bfd.state[192.0.2.7] up -> init\n"},
        {{"set", "--at", live_, "bfd.state[192.0.2.7]", "up", "-q"}, 0, ""},
        {{"del", "--at", live_, "bfd.state[2001:db8::1]"},
         0,
         "- bfd.state[2001:db8::1] down\n"},
        {{"diff", file_, live_}, 1, "- bfd.state[2001:db8::1] down\n"},
        {{"import", "--at", live_, file_}, 0, "+ bfd.state[2001:db8::1] down\n"},
        {{"export", "--at", live_}, 0, state},
    };
    for (const auto& step : steps) {
        const Ran ran = runWithModule(step.arguments);
        SCOPED_TRACE(testing::PrintToString(step.arguments));
        EXPECT_EQ(step.status, ran.status) << ran.errors;
        EXPECT_EQ(step.output, ran.output);
    }
    for (const char* const change :
         {"~ bfd.state[192.0.2.7] up -> init",
          "~ bfd.state[192.0.2.7] init -> up",
          "- bfd.state[2001:db8::1]",
          "+ bfd.state[2001:db8::1] down"}) {
        EXPECT_EQ(change, watch.line().value_or(""));
    }

    // Who does not know the types says so, and the owner does not mind.
    const Ran without = run({"get", "--at", live_, "bfd.detectMult"});
    EXPECT_EQ(2, without.status);
    EXPECT_NE(without.errors.npos, without.errors.find("Bfd::SessionDir")) << without.errors;
    EXPECT_EQ(0, runWithModule({"dump", "--at", live_}).status);
    server.kill(SIGTERM);
    EXPECT_EQ(0, server.wait());
}

TEST_F(ModuleTest, ItsTypesAreKnownWhereverTheLibraryIsNamed) {
    const Words command{"types", "BfdSessionDir"};
    EXPECT_EQ(2, run(command).status);
    const std::string told = runWithModule(command).output;
    EXPECT_NE(told.npos, told.find("entity Bfd::SessionDir : Zin::Entity (root)")) << told;
    EXPECT_EQ(told, run({"--module", library, "types", "BfdSessionDir"}).output);
    EXPECT_EQ(told, run({"types", "--module=" + library, "BfdSessionDir"}).output);
    const std::string schema = runWithModule({"schema"}).output;
    EXPECT_NE(schema.npos, schema.find("\"Bfd::SessionDir\""));

    // Twice is once, whichever way.
    ::setenv("CORRA_MODULE", (":" + library + ":" + library).c_str(), 1);
    EXPECT_EQ(told, runWithModule(command).output);
}

TEST_F(ModuleTest, LinesAreCompletedWithItsTypes) {
    const std::string line = "corra --module " + library + " set --at " + file_ + " ";
    const auto completed = [](const std::string& asked) {
        return Tool({"__complete", asked, " \t\n"}).rest();
    };
    EXPECT_EQ("bfd.detectMult \n", completed(line + "bfd.de"));
    EXPECT_EQ("up \n", completed(line + "bfd.state[192.0.2.7] u"));
    EXPECT_EQ("--module \n", completed("corra get --mo"));
    EXPECT_EQ(
        library + " \n",
        completed("corra get --module " + library.substr(0, library.size() - 6)));
}

TEST_F(ModuleTest, WhatCannotJoinIsRefusedInWords) {
    const std::string copy = directory_.path() + "/copy.so";
    std::filesystem::copy_file(library, copy);
    const std::string text = directory_.path() + "/text.so";
    corra::writeFileAtomically(text, "no library");
    const struct {
        Words libraries;
        std::string said;
    } cases[] = {
        {{"none.so"}, "none.so: cannot open shared object file"},
        {{text}, text + ": file too short"},
        {{"libm.so.6"}, "libm.so.6: registers no module"},
        {{library, copy}, copy + ": module BfdSessionDir is there already"},
        {{renamed}, renamed + ": module Renamed has the fingerprint of module PwRunnability"},
        {{claiming},
         claiming + ": module Claiming has a type Vorn::AddressFamily, which module Vorn has "
                    "already"},
    };
    for (const auto& each : cases) {
        Words arguments{"types", "Zin"};
        for (const std::string& name : each.libraries) {
            arguments.insert(arguments.end(), {"--module", name});
        }
        const Ran ran = run(arguments);
        EXPECT_EQ(2, ran.status) << each.said;
        EXPECT_EQ("", ran.output);
        EXPECT_EQ(0U, ran.errors.find("corra: " + each.said)) << ran.errors;
    }
}

TEST_F(ModuleTest, OneThatCannotJoinKeepsItsCompanionsOut) {
    for (int time = 0; time < 2; ++time) {
        EXPECT_THROW(Zin::modulesOf(claiming), Zin::ModuleException);
        EXPECT_EQ(nullptr, Zin::moduleNamed("Newcomer"));
        EXPECT_FALSE(Zin::typeNamed("Claiming::Side").module);
    }
}

}  // namespace
