#include "support/Dump.h"

#include <set>

#include "Zin/ValueInfo.h"

namespace support {

namespace {

using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::Entity;

std::string nameOf(const AttributeInfo& attribute, const void* key) {
    std::string name(attribute.name);
    if (!attribute.isCollection()) return name;
    name += '[';
    Zin::appendText(name, *attribute.key, key);
    return name + ']';
}

std::string textOf(const Zin::ValueInfo* type, const void* value) {
    std::string text;
    if (!type || !value) return text;
    Zin::appendText(text, *type, value);
    // Of collections inside, that text says nothing.
    for (const Zin::FieldInfo& field : type->fields) {
        if (!field.type->collection) continue;
        struct Members {
            const Zin::CollectionInfo& of;
            std::set<std::string> texts;
        } members{*field.type->collection, {}};
        members.of.forEachMember(
            field.in(value),
            [](void* to, const void* key, const void* member) {
                auto& [of, texts] = *static_cast<Members*>(to);
                texts.insert(textOf(of.key, key) + " -> " + textOf(of.value, member));
            },
            &members);
        for (const std::string& member : members.texts) text += ", " + member;
    }
    return text;
}

// Calls visit(name, text, child) for each member, or for the attribute itself.
template <class Visit>
void forEach(
    const Entity& entity,
    const AttributeInfo& attribute,
    const void* only,
    Visit visit) {
    if (attribute.isCollection()) {
        struct Members final : Zin::MemberVisitor {
            Members(const AttributeInfo& a, const void* k, Visit& v) : info(a), key(k), to(v) {}
            void onMember(const void* k, const void* value, const Entity* child) override {
                if (!key || info.sameKey(key, k)) {
                    to(nameOf(info, k), textOf(info.value, value), child);
                }
            }
            const AttributeInfo& info;
            const void* key;
            Visit& to;
        } members(attribute, only, visit);
        attribute.forEachMember(entity, members);
    } else if (attribute.kind == AttributeKind::singleton) {
        if (const Entity* const child = attribute.child(entity)) {
            visit(std::string(attribute.name), std::string(), child);
        }
    } else if (attribute.valueOf) {
        visit(
            std::string(attribute.name),
            textOf(attribute.value, attribute.valueOf(entity)),
            static_cast<const Entity*>(nullptr));
    }
}

void add(State& state, const std::string& prefix, const State& more) {
    for (const auto& [name, text] : more) state[prefix + name] = text;
}

std::string described(const Entity& child) {
    return std::string(child.fwkType().info()->name) + ' ' + std::string(child.name().view());
}

}  // namespace

State dumpAttribute(
    const Entity& entity,
    const AttributeInfo& attribute,
    const void* key,
    Depth depth) {
    State state;
    forEach(
        entity,
        attribute,
        key,
        [&](const std::string& name, const auto& text, auto* child) {
            state[name] = child ? described(*child) : text;
            if (child && depth == Depth::all) add(state, name + '.', dump(*child));
        });
    return state;
}

State dump(const Entity& entity, Depth depth) {
    State state;
    for (const AttributeInfo& attribute : entity.fwkType().info()->attributes) {
        state.merge(dumpAttribute(entity, attribute, nullptr, depth));
    }
    return state;
}

std::vector<Zin::Ptr<Entity>> tree(const Zin::Ptr<Entity>& root) {
    std::vector<Zin::Ptr<Entity>> all{root};
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Entity& entity = *all[i];
        for (const AttributeInfo& attribute : entity.fwkType().info()->attributes) {
            forEach(entity, attribute, nullptr, [&](const auto&, const auto&, auto* child) {
                if (child) all.emplace_back(const_cast<Entity*>(child));
            });
        }
    }
    return all;
}

std::string difference(const State& expected, const State& found) {
    std::string text;
    const auto missing = [&](const State& from, const State& in, const char* what) {
        for (const auto& [name, value] : from) {
            const auto at = in.find(name);
            if (at == in.end() || at->second != value)
                text += what + name + " = " + value + '\n';
        }
    };
    missing(expected, found, "expected ");
    missing(found, expected, "found    ");
    return text;
}

// --- Shadow ---

Shadow::Shadow(const Zin::Ptr<Entity>& entity, Heard& heard, Shadow* above)
    : entity_(entity.get()), type_(*entity_->fwkType().info()), heard_(heard), above_(above) {
    registerWith(*entity_->notifieeList().list);
    for (const AttributeInfo& attribute : type_.attributes) read(attribute, nullptr);
}

void Shadow::read(const AttributeInfo& attribute, const void* key) {
    forEach(
        *entity_,
        attribute,
        key,
        [&](const std::string& name, const auto& text, auto* child) {
            own_[name] = child ? described(*child) : text;
            auto& below = children_[name];
            if (child && !(below && below->entity_ == child && below->registered())) {
                below = std::make_unique<Shadow>(
                    Zin::Ptr<Entity>(const_cast<Entity*>(child)),
                    heard_,
                    this);
            }
        });
}

std::pair<std::optional<std::string>, const Entity*> Shadow::known(
    const std::string& name) const {
    const auto text = own_.find(name);
    const auto below = children_.find(name);
    return {
        text == own_.end() ? std::nullopt : std::optional(text->second),
        below == children_.end() || !below->second ? nullptr : below->second->entity_};
}

void Shadow::onAttribute(Zin::AttributeId id, const void* key) {
    if (id == Zin::parentId && above_ && !entity_->parent()) {
        for (const auto& [name, below] : above_->children_) {
            if (below.get() == this) ++above_->left_[name];
        }
    }
    const AttributeInfo* const attribute = type_.attribute(id);
    if (!attribute) return;
    ++heard_.changes;
    const std::string name = nameOf(*attribute, key);
    const auto before = known(name);
    own_.erase(name);
    if (dumpAttribute(*entity_, *attribute, key, Depth::own).empty()) children_.erase(name);
    read(*attribute, key);
    const auto now = known(name);
    if (attribute->hasNoForm() || (now != before && now.first)) return;
    if (unsigned& left = left_[name]; left != 0) {
        --left;
    } else if (now == before) {
        heard_.ofNothing.push_back(name);
    }
}

State Shadow::state() const {
    State state = own_;
    for (const auto& [name, child] : children_) {
        if (child) add(state, name + '.', child->state());
    }
    return state;
}

// --- Listener ---

Listener::Listener(const Entity& entity) : type_(*entity.fwkType().info()) {
    registerWith(*entity.notifieeList().list);
}

void Listener::onAttribute(Zin::AttributeId id, const void* key) {
    const AttributeInfo* const attribute = type_.attribute(id);
    told.push_back(attribute ? nameOf(*attribute, key) : std::to_string(id));
}

}  // namespace support
