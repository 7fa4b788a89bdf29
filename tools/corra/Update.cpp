#include "corra/Update.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Zin/Exceptions.h"
#include "corra/Generic.h"

namespace corra {

namespace {

using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::Entity;
using Zin::Ptr;

// Equal, where a number that is none equals itself: it would never come to rest.
bool isSame(const Zin::ValueInfo& type, const void* a, const void* b) {
    if (type.equal(a, b)) return true;
    if (type.kind == Zin::ValueKind::floatingNumber) {
        return !type.equal(a, a) && !type.equal(b, b);
    }
    const bool hasFields =
        type.kind == Zin::ValueKind::fields || type.kind == Zin::ValueKind::text;
    return hasFields && !type.fields.empty() &&
           std::all_of(type.fields.begin(), type.fields.end(), [&](const auto& field) {
               return isSame(*field.type, field.in(a), field.in(b));
           });
}

void updateMembers(Entity& target, const Entity& source, const AttributeInfo& attribute) {
    for (const Zin::Any& key : keysOf(target, attribute)) {
        if (!attribute.member(source, key.get()).present) del(target, attribute, key.get());
    }
    for (const Zin::Any& key : keysOf(source, attribute)) {
        const Zin::MemberRef wanted = attribute.member(source, key.get());
        const Zin::MemberRef held = attribute.member(target, key.get());
        const bool isThere =
            held.present &&
            (!attribute.value || isSame(*attribute.value, held.value, wanted.value));
        if (!isThere) set(target, attribute, key.get(), wanted.value);
    }
}

void updateAll(Entity& target, const Entity& source);

// The child under the key, or the single child; `wanted` is the source's.
void updateChild(
    Entity& target,
    const AttributeInfo& attribute,
    const void* key,
    const Entity& wanted) {
    const auto arguments = constructorArgumentsOf(wanted);
    Ptr<Entity> child = childOf(target, attribute, key);
    if (child && !(constructorArgumentsOf(*child) == arguments)) {
        del(target, attribute, key);
        child = nullptr;
    }
    if (!child) child = makeChild(target, attribute, arguments);
    if (child) updateAll(*child, wanted);
}

void updateChildren(Entity& target, const Entity& source, const AttributeInfo& attribute) {
    for (const Zin::Any& key : keysOf(target, attribute)) {
        if (!attribute.member(source, key.get()).present) del(target, attribute, key.get());
    }
    for (const Zin::Any& key : keysOf(source, attribute)) {
        const Ptr<Entity> wanted = childOf(source, attribute, key.get());
        if (wanted) updateChild(target, attribute, key.get(), *wanted);
    }
}

void updateSingleChild(Entity& target, const Entity& source, const AttributeInfo& attribute) {
    if (const Entity* const wanted = attribute.child(source)) {
        updateChild(target, attribute, nullptr, *wanted);
    } else if (attribute.child(target)) {
        del(target, attribute, nullptr);
    }
}

void updateAll(Entity& target, const Entity& source) {
    for (const AttributeInfo& attribute : source.fwkType().info()->attributes) {
        if (!attribute.writable) continue;
        switch (attribute.kind) {
            case AttributeKind::single: {
                const void* const wanted = attribute.valueOf(source);
                if (!isSame(*attribute.value, attribute.valueOf(target), wanted)) {
                    set(target, attribute, nullptr, wanted);
                }
                break;
            }
            case AttributeKind::collection:
                updateMembers(target, source, attribute);
                break;
            case AttributeKind::instantiating:
                updateChildren(target, source, attribute);
                break;
            case AttributeKind::singleton:
                updateSingleChild(target, source, attribute);
                break;
            case AttributeKind::reference:
            case AttributeKind::function:
            case AttributeKind::constructorParameter:
                break;
        }
    }
}

}  // namespace

void update(Entity& target, const Entity& source) {
    if (target.fwkType() != source.fwkType()) {
        Zin::GenericIfImpl::throwTypeException(source.fwkType(), target.fwkType());
    }
    auto made = constructorArgumentsOf(target);
    // Roots of different names may be brought to one state.
    made[0] = constructorArgumentsOf(source)[0];
    if (!(made == constructorArgumentsOf(source))) {
        throw Zin::Exception(
            std::string(target.fwkType().name()) + " '" + std::string(target.name().view()) +
            "': made with other arguments than its source");
    }
    // Reactors may drop the last reference to it.
    const Ptr<Entity> guard(&target);
    updateAll(target, source);
}

}  // namespace corra
