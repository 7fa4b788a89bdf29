// TreeWatcher observes an entity and all of its children and tells of each change as it
// happens, fact by fact (corra/Facts.h). It knows no types. It keeps the text of what it saw,
// to tell what was there before: memory follows the state. Call it from the thread that changes
// the entities.

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "Zin/Entity.h"
#include "Zin/Module.h"
#include "Zin/NotifieeList.h"
#include "corra/Facts.h"

namespace corra {

struct Change {
    enum class Kind : char { added = '+', removed = '-', changed = '~' };

    Kind kind;
    std::string path;
    // All fields of what was added, or was removed where they are known; of what changed those
    // that differ, before and after.
    Fields before;
    Fields after;
};

class TreeWatcher final : public Zin::Notifiee {
  public:
    using Listener = std::function<void(const Change&)>;

    // Tells first of all that the tree holds now, as added. REQUIRES: the listener outlives it.
    // The entity may go first.
    TreeWatcher(std::string path, Zin::Entity& entity, const Listener& listener);

    void onAttribute(Zin::AttributeId id, const void* key) override;

  private:
    struct Child {
        const Zin::Entity* entity;
        std::unique_ptr<TreeWatcher> watcher;
    };

    void updateMember(
        const Zin::AttributeInfo& collection,
        const std::string& keyText,
        const Zin::MemberRef& now);
    void updateChild(const std::string& path, const Zin::Entity* now);
    void tellDifferences(const std::string& path, const Fields& before, const Fields& after)
        const;

    std::string path_;
    Zin::Entity& entity_;
    const Listener& listener_;
    Fields fields_;
    // By path.
    std::map<std::string, Fields> members_;
    std::map<std::string, Child> children_;
};

// Nothing when the fields, of the same names, are equal.
std::optional<Change>
changeOf(const std::string& path, const Fields& before, const Fields& after);

// "+ PATH NAME=TEXT ..." or "- PATH NAME=TEXT ...", where fields that are zero, false or empty
// are left out, or "~ PATH NAME BEFORE -> AFTER, ...".
std::string textOf(const Change& change);

nlohmann::ordered_json jsonOf(const Change& change);

}  // namespace corra
