// The state of an entity and all below it as text, read through the attribute tables alone:
// what two copies are compared by. Sorted, so that no order of iteration matters.
//
//     "label" -> "'x'"    "reading[3]" -> "'y'"    "rack['a'].height" -> "1"

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Zin/Entity.h"
#include "Zin/Module.h"

namespace support {

using State = std::map<std::string, std::string>;

enum class Depth { all, own };
State dump(const Zin::Entity& entity, Depth depth = Depth::all);
// One attribute of the entity, as dump() shows it; of a collection all members, or one of them.
State dumpAttribute(
    const Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const void* key = nullptr,
    Depth depth = Depth::all);
// The entity and all below it.
std::vector<Zin::Ptr<Zin::Entity>> tree(const Zin::Ptr<Zin::Entity>& root);
// What stands in one and not in the other, a line each; empty where they are equal.
std::string difference(const State& expected, const State& found);

// What shadows were told of.
struct Heard {
    std::uint64_t changes = 0;
    // Where nothing had changed.
    std::vector<std::string> ofNothing;
};

// A model of an entity and all below it that is fed by notifications and by what was readable
// when they came. It equals dump() unless some reactor was not told of a last change. Who
// changes the entity from inside callbacks registers behind it: it must see each change alone.
class Shadow : private Zin::Notifiee {
  public:
    // REQUIRES: `heard` outlives it.
    Shadow(const Zin::Ptr<Zin::Entity>& entity, Heard& heard, Shadow* above = nullptr);

    State state() const;

  private:
    void onAttribute(Zin::AttributeId id, const void* key) override;
    void read(const Zin::AttributeInfo& attribute, const void* key);
    // What it knows under the name: a text, and a child.
    std::pair<std::optional<std::string>, const Zin::Entity*> known(
        const std::string& name) const;

    Zin::Entity* entity_;
    const Zin::EntityTypeInfo& type_;
    Heard& heard_;
    Shadow* above_;
    State own_;
    // Children that have left, and of which this was not told yet: their own reactors are first
    // to hear it, and may put others in their places.
    std::map<std::string, unsigned> left_;
    std::map<std::string, std::unique_ptr<Shadow>> children_;
};

// Writes down what a reactor of one entity is told, as dump() names it.
class Listener : private Zin::Notifiee {
  public:
    explicit Listener(const Zin::Entity& entity);

    std::vector<std::string> told;

  private:
    void onAttribute(Zin::AttributeId id, const void* key) override;

    const Zin::EntityTypeInfo& type_;
};

}  // namespace support
