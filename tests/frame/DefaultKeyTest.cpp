// Values that cannot be sent because a map inside of them holds the default key: whoever sets
// or sends one hears of it, and nothing else changes for any peer.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "frame/TypeModule.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Link.h"

namespace Lab {

extern const Zin::ZinModule _Still_0_zinModule;

// The value as a single attribute, with another behind it.
class Still final : public frame::EntityOf<Still> {
  public:
    struct Notifiee : frame::NotifieeOf<Still> {
        using NotifieeOf::NotifieeOf;
        virtual void onChange() {}
    };
    static consteval auto schema() {
        return frame::entity<_Still_0_zinModule, 0>(
            "Lab::Still",
            frame::attribute<258, &Still::mixture_, &Notifiee::onChange>("mixture"),
            frame::attribute<259, &Still::degrees_, &Notifiee::onChange>("degrees"));
    }
    static constexpr bool isRoot = true;

    void mixtureIs(const Mixture& mixture) { valueIs<&Still::mixture_>(mixture); }
    const Mixture& mixture() const { return mixture_; }
    void degreesIs(std::uint32_t degrees) { valueIs<&Still::degrees_>(degrees); }
    std::uint32_t degrees() const { return degrees_; }

    Still(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    Mixture mixture_;
    std::uint32_t degrees_ = 0;
};

constinit const Zin::ZinModule _Still_0_zinModule = frame::moduleOf<Still>("Still");

}  // namespace Lab

namespace {

using namespace support;
using Lab::Bench;
using Lab::Mixture;
using Lab::Still;
using Zin::ValueCollectionDefaultKeyException;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::DecodeException;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::Observer;
using Zin::NboAttrLog::Out;

const Zin::ModuleRegistration registration(&Lab::_Still_0_zinModule);

Mixture mixture(const char* share, std::uint32_t percent = 1) {
    Mixture made;
    made.sharesIs(share, percent);
    return made;
}

TEST(DefaultKey, IsNeitherWrittenNorTaken) {
    const Mixture bad = mixture("");
    std::vector<std::byte> bytes(100);
    Out out(bytes.data(), bytes.data() + bytes.size());
    EXPECT_THROW(Zin::NboAttrLog::attrLogSize(bad), ValueCollectionDefaultKeyException);
    try {
        out << bad;
        ADD_FAILURE() << "was written";
    } catch (const ValueCollectionDefaultKeyException& e) {
        EXPECT_STREQ(
            e.what(),
            "Lab::Mixture with a member under the default key in 'shares', which has no wire "
            "form");
        EXPECT_EQ(out.room(), bytes.size());
    }

    // Unstirred, no solvents, one share.
    out << false << 0U << 1U << Zin::String("") << 7U;
    try {
        In(bytes).next<Mixture>();
        ADD_FAILURE() << "was taken";
    } catch (const DecodeException& e) {
        EXPECT_EQ(e.position(), 5u);
    }

    Mixture solvent;
    solvent.solventsIs(Lab::Reagent());
    std::vector<std::byte> whole(Zin::NboAttrLog::attrLogSize(solvent));
    Out sound(whole.data(), whole.data() + whole.size());
    sound << solvent;
    EXPECT_EQ(In(whole).next<Mixture>(), solvent) << "a set may hold it";
}

template <class T>
struct Mirrored {
    explicit Mirrored(std::size_t highWater = 256 << 10) : water(highWater) {
        exports.exportIs("e", owner);
    }
    void join() {
        link.reset();
        Zin::NboAttrLog::Connection::Options options;
        options.highWater = water;
        link = std::make_unique<Link>(exports, quiet, none, quiet, options);
        link->end(1).mount("e", mirror);
    }
    // How often the owner's side said what it could not send.
    int settle() {
        for (int told = 0; told < 1000; ++told) {
            try {
                EXPECT_TRUE(link->settle(64));
                EXPECT_EQ(link->fault(), "");
                return told;
            } catch (const ValueCollectionDefaultKeyException&) {
            }
        }
        ADD_FAILURE() << "it is told again and again";
        return 0;
    }
    std::string apart() { return difference(dump(*owner), dump(*mirror)); }

    std::size_t water;
    Exports exports;
    Exports none;
    Observer quiet;
    Zin::Ptr<T> owner = frame::make<T>(Zin::String("e"));
    Zin::Ptr<T> mirror = frame::make<T>(Zin::String("e"));
    std::unique_ptr<Link> link;
};

// With room in the stream, and without.
TEST(DefaultKey, WhoeverSetsItIsTold) {
    for (const std::size_t highWater : {256U << 10, 1U}) {
        SCOPED_TRACE(highWater);
        Mirrored<Bench> one(highWater);
        one.owner->mixtureIs("m", mixture("old"));
        one.join();
        one.settle();
        const State before = dump(*one.mirror);
        one.owner->wideIs(17);
        one.owner->mixtureIs("m", mixture("older"));
        const std::uint64_t sent = one.link->end(0).counters().messagesOut;
        try {
            one.owner->mixtureIs("m", mixture(""));
            ADD_FAILURE() << "was sent";
        } catch (const ValueCollectionDefaultKeyException& e) {
            EXPECT_NE(
                std::string(e.what()).find(
                    "Lab::Bench \"e\", attribute 278 (mixture), key 'm': "),
                std::string::npos)
                << e.what();
        }
        EXPECT_EQ(one.link->end(0).counters().messagesOut, sent);
        EXPECT_EQ(one.owner->mixture("m"), mixture("")) << "the change stands";
        EXPECT_EQ(one.settle(), 0) << "told once";
        EXPECT_EQ(one.mirror->wide(), 17u);
        EXPECT_EQ(one.mirror->mixture("m"), mixture(highWater == 1 ? "old" : "older"));
        one.owner->mixtureIs("m", mixture("new"));
        one.settle();
        EXPECT_EQ(one.apart(), "");
        EXPECT_NE(dump(*one.mirror), before);
    }
}

TEST(DefaultKey, AResynchronisationSendsAllElse) {
    for (const std::size_t highWater : {256U << 10, 200U, 1U}) {
        SCOPED_TRACE(highWater);
        Mirrored<Bench> one(highWater);
        for (int i = 0; i < 200; ++i) {
            const std::string name = "m" + std::to_string(i);
            one.owner->mixtureIs(name, mixture("good"));
            one.mirror->mixtureIs(name, mixture("stale"));
        }
        for (const char* const bad : {"m3", "m77", "absent"}) {
            one.owner->mixtureIs(bad, mixture(""));
        }
        one.owner->wideIs(17);
        one.join();
        const int told = one.settle();
        EXPECT_GE(told, 1);
        EXPECT_LE(told, 3);
        EXPECT_EQ(one.mirror->wide(), 17u);
        EXPECT_EQ(one.mirror->mixture().members(), 198u);
        EXPECT_FALSE(one.mirror->mixture().has("m3"));
        EXPECT_EQ(one.settle(), 0);
        for (const char* const bad : {"m3", "m77", "absent"}) {
            one.owner->mixtureIs(bad, mixture("good"));
        }
        EXPECT_EQ(one.settle(), 0);
        EXPECT_EQ(one.apart(), "");
    }
}

TEST(DefaultKey, OtherAttributesAndPeersDoNotNotice) {
    Mirrored<Still> one;
    one.join();
    Exports& exports = one.exports;
    const auto second = frame::make<Still>(Zin::String("e"));
    Link other(exports, one.quiet, one.none, one.quiet);
    other.end(1).mount("e", second);
    one.settle();
    ASSERT_TRUE(other.settle());
    Listener listener(*one.owner);
    EXPECT_THROW(one.owner->mixtureIs(mixture("")), ValueCollectionDefaultKeyException);
    EXPECT_EQ(listener.told.size(), 1u) << "reactors behind the streams hear of the change";
    one.owner->degreesIs(80);
    EXPECT_EQ(one.settle(), 0);
    ASSERT_TRUE(other.settle());
    EXPECT_EQ(other.fault(), "");
    EXPECT_EQ(one.mirror->degrees() + second->degrees(), 160u);

    // One that comes later, and one that asks again.
    one.join();
    one.owner->degreesIs(90);
    EXPECT_EQ(one.settle(), 1);
    EXPECT_EQ(one.mirror->degrees(), 90u);
    EXPECT_THROW(
        one.mirror->mixtureIs(mixture("mine")),
        Zin::WriteUpdateFromReadOnlyProxyException);
    EXPECT_EQ(one.settle(), 0);
    one.owner->mixtureIs(mixture("good"));
    one.settle();
    ASSERT_TRUE(other.settle());
    EXPECT_EQ(one.apart(), "");
    EXPECT_EQ(second->mixture(), mixture("good"));
}

}  // namespace
