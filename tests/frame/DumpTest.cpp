// Debug dumps: what people see of an entity, to the letter.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Pseudowire/PseudowireConfig.h"
#include "frame/Dump.h"
#include "support/LabTypes.h"

namespace {

using Quib::DumpContext;
using AfterChild = DumpContext::AfterChild;

std::string withoutAddresses(std::string text) {
    for (std::size_t at = 0; (at = text.find("0x", at)) != std::string::npos;) {
        const std::size_t end = text.find_first_not_of("0123456789abcdef", at + 2);
        text.replace(at, end - at, "ADDRESS");
    }
    return text;
}

template <class T>
std::string dumped(const T& entity, unsigned indent, AfterChild after = AfterChild::blankLine) {
    const auto live = DumpContext::zinAllocTrackTypeInfo_.counts().liveObjects;
    std::string text;
    entity.dumpState(DumpContext::make(text, after), indent);
    EXPECT_EQ(DumpContext::zinAllocTrackTypeInfo_.counts().liveObjects, live);
    return withoutAddresses(text);
}

// With blanks in front of each line that is not empty, or without the lines that are.
std::string indented(const std::string& text, unsigned indent, bool keepEmpty = true) {
    std::string all;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) all += std::string(indent, ' ') + line;
        if (keepEmpty || !line.empty()) all += '\n';
    }
    return all;
}

constexpr const char* benchAsText = R"(Bench ADDRESS
  flag yes
  tiny 1
  small 2
  wide 3
  batch 4
  huge 5
  balance -6
  ratio 0.5
  colour violet
  label 'two\x0alines'
  solvent Value('Lab::Reagent', ** {'name': '', 'grams': 0, 'colour': green})
  readings #1
    7 -> seven
  reagents #1
    salt -> Value('Lab::Reagent', ** {'name': 'salt', 'grams': 5, 'colour': green})
  tags #1
    12
  racks #1
    Rack east
      cooled=yes
      height=4
      slot[] 1
        Slot left
          samples #1
            Sample s
              mass 7
              marks #1
                fragile

          label 

      spare
        NULL

  samples #0
  spare
    Sample extra
      mass 7
      marks #0

  steps #0
  stocks #0
  mixtures #1
    m -> Value('Lab::Mixture', ** {'stirred': True, 'solvents': None, 'shares': None})
)";

Zin::Ptr<Lab::Bench> bench() {
    const auto made = Lab::Bench::BenchIs("b");
    made->labelIs("two\nlines");
    made->readingIs(7, "seven");
    made->reagentIs(Lab::Reagent("salt", 5));
    made->tagIs(12);
    const auto rack = made->rackIs("east", true);
    rack->heightIs(4);
    rack->slotIs("left")->sampleIs("s")->markIs("fragile");
    made->spareIs("extra");
    Lab::Mixture mixture;
    mixture.stirredIs(true);
    mixture.solventsIs(Lab::Reagent("salt", 1));
    made->mixtureIs("m", mixture);
    return made;
}

TEST(Dump, FollowsTheSchemaAtAnyIndentation) {
    const auto entity = bench();
    const std::string expected = benchAsText;
    for (const unsigned indent : {0u, 2u, 7u}) {
        EXPECT_EQ(dumped(*entity, indent), indented(expected, indent));
    }
    EXPECT_EQ(dumped(*entity, 0, AfterChild::nothing), indented(expected, 0, false));

    // By code that does not know the type.
    std::string text;
    const Zin::Entity& untyped = *entity;
    untyped.fwkType().info()->dumpState(untyped, DumpContext::make(text), 0);
    EXPECT_EQ(withoutAddresses(text), expected);
    // To standard output.
    testing::internal::CaptureStdout();
    entity->dumpState(nullptr, 0);
    EXPECT_EQ(
        withoutAddresses(testing::internal::GetCapturedStdout()),
        dumped(*entity, 0, AfterChild::nothing));
}

TEST(Dump, AssigningStyleGivesEachFieldALine) {
    std::string text;
    const auto entity = bench();
    frame::dumpBySchema(
        *entity,
        frame::DumpStyle::assigning,
        DumpContext::make(text, AfterChild::nothing),
        0);
    for (const char* part :
         {"  flag=yes\n",
          "  solvent=Value('Lab::Reagent', ** {",
          "  reading[] 1\n    7 -> seven\n",
          "  reagent[] 1\n    Reagent salt\n      grams=5\n      colour=green\n  tag[] 1\n"
          "    12\n",
          "  sample[] 0\n  spare\n    Sample extra\n      mass 7\n",
          "  mixture[] 1\n    Mixture m\n      stirred=yes\n      solvents[] 1\n"
          "        Reagent\n          name=salt\n          grams=1\n          colour=green\n"
          "      shares[] 0\n"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "is not in\n" << text;
    }
}

TEST(Dump, RefersToWhatWasDumped) {
    const auto config = Pseudowire::configFactory("c");
    const auto patch = config->patchIs("p");
    std::string text;
    const auto context = DumpContext::make(text);
    EXPECT_FALSE(context->isDumped(patch.get()));
    EXPECT_EQ(context->getDumpLineForObj(patch.get()), 0u);
    Quib::objDumpPrintf(context, "%s\n\n", "head");
    Quib::ObjDumpChild(patch.get(), context, 2);
    EXPECT_EQ(context->getDumpLineForObj(patch.get()), 3u);
    const std::size_t before = text.size();
    for (const unsigned indent : {2u, 0u}) Quib::ObjDumpChild(patch.get(), context, indent);
    // The name is that of the object, whatever it is held as.
    Quib::ObjDumpChild<Pseudowire::Patch>(nullptr, context, 1);
    Quib::ObjDumpChild<Pseudowire::Patch>(nullptr, context, 0);
    EXPECT_EQ(
        text.substr(before),
        "  Pseudowire::Patch dumped at line 3\nPseudowire::Patch dumped at line 3\n NULL\n"
        "NULL\n");
    // Found again from above.
    config->dumpState(context, 0);
    EXPECT_NE(
        text.find("  patchs #1\n    Pseudowire::Patch dumped at line 3\n"),
        std::string::npos);
}

struct Unnamed final : Zin::PtrInterface {};

TEST(Dump, SmallWords) {
    const std::pair<std::uint16_t, const char*> tags[]{
        {0, "none"},
        {1, "1"},
        {4094, "4094"},
        {4095, "any"}};
    for (const auto& [tag, text] : tags) EXPECT_EQ(Quib::vidString(tag), text);
    const Zin::Ptr<Unnamed> object(new Unnamed);
    EXPECT_EQ(Quib::objDumpTypeName(static_cast<Zin::PtrInterface*>(object.get())), "Unnamed");
    EXPECT_EQ(Quib::objDumpSanitizeTypeName("*Not mangled"), "Not mangled");
    EXPECT_EQ(Quib::objDumpSanitizeTypeName("*N3Lab4SlotE"), "Lab::Slot");
}

}  // namespace
