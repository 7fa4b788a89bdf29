#include "corra/Watch.h"

#include <algorithm>
#include <utility>

#include "Zin/Module.h"
#include "corra/Dump.h"

namespace corra {

namespace {

// Zero, false or empty: all words of its text say so.
bool saysNothing(const Field& field) {
    const auto isInWord = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    for (auto at = field.text.begin(); at != field.text.end();) {
        const auto begin = std::find_if(at, field.text.end(), isInWord);
        at = std::find_if_not(begin, field.text.end(), isInWord);
        const std::string_view word(begin, at);
        if (word.find_first_not_of('0') == std::string_view::npos) continue;
        if (word != "False" && word != "none" && word != "unset") return false;
    }
    return true;
}

}  // namespace

TreeWatcher::TreeWatcher(std::string path, Zin::Entity& entity, const Listener& listener)
    : path_(std::move(path)), entity_(entity), listener_(listener), fields_(fieldsOf(entity)) {
    registerWith(*entity.notifieeList().list);
    listener_({Change::Kind::added, path_, {}, fields_});
    for (const Zin::AttributeInfo& attribute : entity.fwkType().info()->attributes) {
        if (attribute.kind == Zin::AttributeKind::singleton) {
            updateChild(pathOf(path_, attribute), attribute.child(entity));
        } else if (attribute.isCollection()) {
            std::map<std::string, Member> sorted;
            forEachMember(entity, attribute, [&](const Member& member) {
                sorted.emplace(member.keyText, member);
            });
            for (const auto& [key, member] : sorted) {
                updateMember(attribute, key, {true, member.value, member.child});
            }
        }
    }
}

void TreeWatcher::onAttribute(Zin::AttributeId id, const void* key) {
    const Zin::AttributeInfo* const attribute = entity_.fwkType().info()->attribute(id);
    // That the entity got or lost its parent is told by the parent's own watcher.
    if (!attribute) return;
    if (attribute->isCollection()) {
        updateMember(*attribute, textOfKey(*attribute, key), attribute->member(entity_, key));
    } else if (attribute->kind == Zin::AttributeKind::singleton) {
        updateChild(pathOf(path_, *attribute), attribute->child(entity_));
    } else {
        Fields now = fieldsOf(entity_);
        tellDifferences(path_, fields_, now);
        fields_ = std::move(now);
    }
}

void TreeWatcher::updateMember(
    const Zin::AttributeInfo& collection,
    const std::string& keyText,
    const Zin::MemberRef& now) {
    const std::string path = pathOf(path_, collection, keyText);
    if (collection.kind == Zin::AttributeKind::instantiating)
        return updateChild(path, now.child);
    const auto known = members_.find(path);
    if (!now.present) {
        if (known == members_.end()) return;
        members_.erase(known);
        return listener_({Change::Kind::removed, path, {}, {}});
    }
    Fields fields = fieldsOf(collection, keyText, now.value);
    if (known == members_.end()) {
        listener_({Change::Kind::added, path, {}, fields});
        members_.emplace(path, std::move(fields));
    } else {
        tellDifferences(path, known->second, fields);
        known->second = std::move(fields);
    }
}

// A child may have made room for another one meanwhile.
void TreeWatcher::updateChild(const std::string& path, const Zin::Entity* now) {
    const auto known = children_.find(path);
    if (known != children_.end()) {
        if (known->second.entity == now && known->second.watcher->registered()) return;
        children_.erase(known);
        listener_({Change::Kind::removed, path, {}, {}});
    }
    if (!now) return;
    // The tables show children as constant; a reactor is no change of what they hold.
    auto& entity = const_cast<Zin::Entity&>(*now);
    children_.emplace(path, Child{now, std::make_unique<TreeWatcher>(path, entity, listener_)});
}

void TreeWatcher::tellDifferences(
    const std::string& path,
    const Fields& before,
    const Fields& after) const {
    if (const auto change = changeOf(path, before, after)) listener_(*change);
}

std::optional<Change>
changeOf(const std::string& path, const Fields& before, const Fields& after) {
    Change change{Change::Kind::changed, path, {}, {}};
    // One type, so the same fields.
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i) {
        if (before[i] == after[i]) continue;
        change.before.push_back(before[i]);
        change.after.push_back(after[i]);
    }
    if (change.before.empty()) return std::nullopt;
    return change;
}

std::string textOf(const Change& change) {
    std::string text{static_cast<char>(change.kind), ' '};
    text += change.path;
    if (change.kind != Change::Kind::changed) {
        Fields fields = change.kind == Change::Kind::added ? change.after : change.before;
        std::erase_if(fields, saysNothing);
        return text + textOf(fields);
    }
    for (std::size_t i = 0; i < change.before.size(); ++i) {
        text += i == 0 ? " " : ", ";
        if (!change.after[i].name.empty()) text += change.after[i].name + ' ';
        text += change.before[i].text + " -> " + change.after[i].text;
    }
    return text;
}

nlohmann::ordered_json jsonOf(const Change& change) {
    nlohmann::ordered_json object{
        {"change", std::string(1, static_cast<char>(change.kind))},
        {"path", change.path}};
    const auto add = [&](const char* name, const Fields& fields) {
        for (const Field& field : fields) {
            if (field.name.empty()) {
                object[name] = jsonOf(field);
            } else {
                object[name][field.name] = jsonOf(field);
            }
        }
    };
    add("before", change.before);
    add("after", change.after);
    return object;
}

}  // namespace corra
