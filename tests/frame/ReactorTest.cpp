// Reactors that register, unregister, destroy and change whatever they like from inside
// callbacks, in visits within visits, against a model of who must be told.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

#include "Pseudowire/PwRunnability.h"
#include "Zin/NotifieeList.h"
#include "laws/RandomValue.h"
#include "support/LabTypes.h"

namespace {

constexpr unsigned deepest = 4;

// Registrations are numbered: one that came after a visit began is not that visit's business.
class World {
  public:
    explicit World(std::uint64_t seed) : random_(seed), reactors_(8) {
        for (std::size_t i = 0; i < reactors_.size(); ++i) join(i);
    }

    void visit() {
        std::map<std::uint64_t, int> times;  // by registration: how often it was told
        for (const auto& reactor : reactors_) {
            if (reactor && reactor->number) times[reactor->number] = 0;
        }
        const std::size_t due = times.size();
        Visit visit{&times, current_};
        current_ = &visit;
        list_.visit(static_cast<Zin::AttributeId>(300 + depth_));
        current_ = visit.outer;
        EXPECT_EQ(times.size(), due) << "one that came later was told";
        for (const auto& [number, told] : times) {
            EXPECT_LE(told, 1);
            EXPECT_TRUE(told == 1 || !stillRegistered(number)) << "one that stayed was skipped";
        }
    }

    unsigned long long calls = 0;

  private:
    struct Visit {
        std::map<std::uint64_t, int>* times;
        Visit* outer;
    };
    struct Reactor final : Zin::Notifiee {
        explicit Reactor(World& w) : world(w) {}
        void onAttribute(Zin::AttributeId, const void*) override { world.told(*this); }
        void join(Zin::NotifieeList& list) {
            registerWith(list);
            number = ++world.registrations_;
        }
        void leave() {
            unregister();
            number = 0;
        }
        World& world;
        std::uint64_t number = 0;
    };

    bool stillRegistered(std::uint64_t number) const {
        for (const auto& reactor : reactors_) {
            if (reactor && reactor->number == number) return true;
        }
        return false;
    }

    void join(std::size_t i) {
        if (!reactors_[i]) reactors_[i] = std::make_unique<Reactor>(*this);
        reactors_[i]->join(list_);
    }

    void told(Reactor& reactor) {
        ++calls;
        EXPECT_NE(reactor.number, 0u) << "one that is gone was told";
        ++(*current_->times)[reactor.number];
        for (std::uint64_t acts = laws::below(random_, 3); acts != 0; --acts) {
            const auto i = static_cast<std::size_t>(laws::below(random_, reactors_.size()));
            switch (laws::below(random_, 5)) {
                case 0:
                    if (reactors_[i]) reactors_[i]->leave();
                    break;
                case 1:
                    reactors_[i].reset();
                    break;
                case 2:
                case 3:
                    join(i);
                    break;
                default:
                    if (depth_ == deepest) break;
                    ++depth_;
                    visit();
                    --depth_;
            }
        }
    }

    laws::Random random_;
    Zin::NotifieeList list_;
    std::uint64_t registrations_ = 0;
    unsigned depth_ = 0;
    Visit* current_ = nullptr;
    std::vector<std::unique_ptr<Reactor>> reactors_;
};

TEST(Reactors, AnyReentrancyKeepsTheBooksRight) {
    for (std::uint64_t seed = 1; seed <= 300 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        World world(seed);
        for (int i = 0; i < 20; ++i) world.visit();
        EXPECT_GT(world.calls, 0u);
    }
}

// The last reference goes while reactors are told, in a nested visit too: the rest of those
// that stay registered hear of it, and the entity goes when the mutator ends.
TEST(Reactors, TheLastReferenceMayGoInACallback) {
    for (const bool nested : {false, true}) {
        auto bench = Lab::Bench::BenchIs("b");
        Lab::Bench* const raw = bench.get();
        int told = 0;
        const auto first =
            frame::attach<&Lab::Bench::Notifiee::onNumber>(bench, [&](std::uint32_t) {
                if (nested && told == 0) {
                    ++told;
                    raw->readingIs(2, "y");
                }
                bench = {};
            });
        const auto second = frame::attach<&Lab::Bench::Notifiee::onNumber>(
            bench,
            [&](std::uint32_t) { ++told; });
        raw->readingIs(1, "x");
        EXPECT_EQ(told, nested ? 3 : 1);
        EXPECT_EQ(bench, nullptr);
    }
}

// A child that is deleted by a reactor of its parent while it tells its own.
TEST(Reactors, AChildMayBeDeletedWhileItTells) {
    const auto bench = Lab::Bench::BenchIs("b");
    int told = 0;
    const auto rack = bench->rackIs("r", true).get();
    struct Watcher : Lab::Rack::Notifiee {
        Watcher(Lab::Bench& b, int& n) : owner(b), count(n) {}
        void onHeight() override {
            ++count;
            owner.rackDelAll();
        }
        Lab::Bench& owner;
        int& count;
    } first(*bench, told), second(*bench, told);
    first.notifierIs(bench->rack("r"));
    second.notifierIs(bench->rack("r"));
    rack->heightIs(7);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(bench->rack().members(), 0u);
    EXPECT_FALSE(first.registered());
}

}  // namespace
