#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Zin/Module.h"
#include "corra/Console.h"
#include "corra/Types.h"
#include "support/LabTypes.h"

namespace {

// What types() prints, with its exit status.
std::string printed(const corra::TypesOptions& options, int status) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(status, corra::types(options));
    return testing::internal::GetCapturedStdout();
}

TEST(TypesTest, ShowsEveryKindOfAttribute) {
    const std::string lab = printed({.module = "Lab"}, corra::exitGood);
    EXPECT_EQ(0U, lab.find(R"(Lab: 7 types

  enumeration Lab::Colour : U8
    0  red
    1  green
    7  violet

  entity Lab::Bench : Zin::Entity (root)
    258  flag       value     bool
)"));
    for (const char* const line :
         {"    262  batch      constant  U32\n",
          "    269  reading    map       Zin::String by U32\n",
          "    270  reagent    map       Reagent by name: Zin::String\n",
          "    271  tag        set       U32\n",
          "    272  racks      function\n",
          "    273  rack       children  Rack by name: Zin::String\n",
          "    275  spare      child     Sample\n",
          "\n  entity Lab::Rack : Zin::Entity (made with 2 arguments)\n",
          "    4  colour     field     Colour\n"
          "    5  water      constant  Reagent\n"
          "    6  mostGrams  constant  S32\n"
          "    7  toStrep    function\n"}) {
        EXPECT_NE(std::string::npos, lab.find(line)) << line << lab;
    }
}

TEST(TypesTest, FitsItsScreenAndShowsAllModulesInOrder) {
    const std::string all = printed({}, corra::exitGood);
    std::size_t from = 0;
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        const std::string head = std::string(module.name) + ": ";
        const std::size_t at = from == 0 ? 0 : all.find("\n\n" + head, from);
        ASSERT_NE(std::string::npos, at) << head;
        from = at + 1;
    });
    std::istringstream lines(all);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 110U) << line;
        EXPECT_FALSE(line.ends_with(' ')) << line;
    }
}

TEST(TypesTest, SaysTheSameInJson) {
    const auto all = nlohmann::ordered_json::parse(printed({.module = "Lab", .json = true}, 0));
    ASSERT_EQ(1U, all.size());
    EXPECT_EQ("Lab", all[0]["module"]);
    const auto& types = all[0]["types"];
    EXPECT_EQ(
        R"({"name":"Lab::Colour","kind":"enumeration","base":"U8","flags":[],"enumerators":[)"
        R"({"number":0,"name":"red"},{"number":1,"name":"green"},{"number":7,"name":"violet"}]})",
        types[0].dump());
    EXPECT_EQ("Lab::Reagent", types[5]["name"]);
    EXPECT_EQ(3, types[5]["fields"]);
    const auto& bench = types[1];
    EXPECT_EQ(nlohmann::ordered_json({"root"}), bench["flags"]);
    EXPECT_EQ(22U, bench["attributes"].size());
    EXPECT_EQ(
        R"({"id":270,"name":"reagent","kind":"collection","access":"writable",)"
        R"("valueType":"Lab::Reagent","keyType":"Zin::String","keyField":"name"})",
        bench["attributes"][12].dump());
    EXPECT_EQ(
        R"({"id":271,"name":"tag","kind":"collection","access":"writable",)"
        R"("valueType":null,"keyType":"U32","keyField":null})",
        bench["attributes"][13].dump());
}

TEST(TypesTest, NamesTheModulesThatThereAre) {
    testing::internal::CaptureStderr();
    EXPECT_EQ("", printed({.module = "lab"}, corra::exitTrouble));
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(told.starts_with("corra: there is no module 'lab'; there are ")) << told;
    EXPECT_NE(std::string::npos, told.find("Lab, Pseudowire, PseudowireConfig")) << told;
}

}  // namespace
