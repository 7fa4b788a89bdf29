#include "Zin/Module.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "Zin/Assert.h"

namespace Zin {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string_view, const ZinModule*> modules;
};

// Made at first use, because modules register while static objects are still being made; leaked
// because they may be looked up while static objects are torn down.
Registry& registry() {
    static Registry* const all = new Registry;
    return *all;
}

}  // namespace

const EntityTypeInfo* ZinTypeBase::info() const noexcept {
    return module && index < module->types.size() ? module->types[index] : nullptr;
}

const AttributeInfo* EntityTypeInfo::attribute(AttributeId id) const noexcept {
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
    ZinTypeBase found;
    forEachModule([&](const ZinModule& module) {
        for (std::uint32_t index = 0; index < module.types.size(); ++index) {
            const EntityTypeInfo* const type = module.types[index];
            if (type && type->name == qualifiedName) found = {&module, index};
        }
    });
    return found;
}

}  // namespace Zin
