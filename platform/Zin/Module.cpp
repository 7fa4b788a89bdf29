#include "Zin/Module.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <unordered_map>

#include "Zin/Assert.h"

namespace Zin {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string_view, const ZinModule*> modules;
    // A name that two modules claim stays with the first.
    std::unordered_map<std::string_view, ZinTypeBase> types;
};

// Made at first use, because modules register while static objects are still being made; leaked
// because they may be looked up while static objects are torn down.
Registry& registry() {
    static Registry* const all = new Registry;
    return *all;
}

}  // namespace

const EntityTypeInfo* ZinTypeBase::info() const noexcept {
    return module && index < module->types.size() ? module->types[index].entity : nullptr;
}

const ValueInfo* ZinTypeBase::valueInfo() const noexcept {
    return module && index < module->types.size() ? module->types[index].value : nullptr;
}

std::string_view ZinTypeBase::name() const noexcept {
    if (const EntityTypeInfo* const entity = info()) return entity->name;
    const ValueInfo* const value = valueInfo();
    return value ? value->name : "an unnamed type";
}

bool ZinTypeBase::isDerived(const ZinTypeBase& base) const noexcept {
    const EntityTypeInfo* const wanted = base.info();
    for (const EntityTypeInfo* type = info(); type && wanted; type = type->base) {
        // Each library that uses a type may have a table of its own.
        if (type->handle == wanted->handle) return true;
    }
    return false;
}

const AttributeInfo* EntityTypeInfo::attributeAmongAll(AttributeId id) const noexcept {
    const auto at = std::lower_bound(
        attributes.begin(),
        attributes.end(),
        id,
        [](const AttributeInfo& a, AttributeId wanted) { return a.id < wanted; });
    return at != attributes.end() && at->id == id ? &*at : nullptr;
}

const AttributeInfo* EntityTypeInfo::attribute(std::string_view attributeName) const noexcept {
    for (const AttributeInfo& a : attributes) {
        if (a.name == attributeName) return &a;
    }
    return nullptr;
}

void zinModuleIs(const ZinModule* module) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const bool inserted = all.modules.emplace(module->name, module).second;
    ZIN_ASSERT(inserted, "Module");
    for (std::uint32_t index = 0; index < module->types.size(); ++index) {
        all.types.emplace(module->types[index].name(), ZinTypeBase{module, index});
    }
}

void forEachModule(const std::function<void(const ZinModule&)>& visit) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    for (const auto& [name, module] : all.modules) visit(*module);
}

const ZinModule* moduleNamed(std::string_view name) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto at = all.modules.find(name);
    return at == all.modules.end() ? nullptr : at->second;
}

ZinTypeBase typeNamed(std::string_view qualifiedName) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto at = all.types.find(qualifiedName);
    return at == all.types.end() ? ZinTypeBase() : at->second;
}

}  // namespace Zin
