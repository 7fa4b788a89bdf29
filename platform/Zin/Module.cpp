#include "Zin/Module.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/Exceptions.h"

namespace Zin {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string_view, const ZinModule*> modules;
    // A name that two modules claim stays with the first.
    std::unordered_map<std::string_view, ZinTypeBase> types;
    // What each library handed over while modulesOf() loaded it, by its dlopen(3) handle. None
    // is unloaded, so a handle stands for one library for ever.
    std::unordered_map<void*, std::vector<const ZinModule*>> libraries;

    void add(const ZinModule& module) {
        modules.emplace(module.name, &module);
        for (std::uint32_t index = 0; index < module.types.size(); ++index) {
            types.emplace(module.types[index].name(), ZinTypeBase{&module, index});
        }
    }
};

// Made at first use, because modules register while static objects are still being made; leaked
// because they may be looked up while static objects are torn down.
Registry& registry() {
    static Registry* const all = new Registry;
    return *all;
}

// Where modules go that register while modulesOf() loads a library on this thread: whether they
// may join is asked when all of them are known.
thread_local std::vector<const ZinModule*>* arriving = nullptr;

std::vector<const ZinModule*> loaded(const std::string& library, void*& handle) {
    std::vector<const ZinModule*> modules;
    std::vector<const ZinModule*>* const outer = std::exchange(arriving, &modules);
    handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    arriving = outer;
    if (handle) return modules;
    const char* const why = ::dlerror();
    throw ModuleException(why ? why : library + ": cannot be loaded");
}

// Throws when the module, or a type of it, is there already in another one.
void requireNew(const Registry& all, const ZinModule& module, const std::string& library) {
    const auto refuse = [&](const std::string& why) {
        throw ModuleException(library + ": module " + std::string(module.name) + why);
    };
    if (all.modules.contains(module.name)) refuse(" is there already");
    for (const auto& [name, other] : all.modules) {
        if (other->fingerprint == module.fingerprint) {
            refuse(" has the fingerprint of module " + std::string(name));
        }
    }
    for (const TypeInfo& type : module.types) {
        const auto claimed = all.types.find(type.name());
        if (claimed == all.types.end()) continue;
        refuse(
            " has a type " + std::string(type.name()) + ", which module " +
            std::string(claimed->second.module->name) + " has already");
    }
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
    if (arriving) {
        arriving->push_back(module);
        return;
    }
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const bool inserted = !all.modules.contains(module->name);
    ZIN_ASSERT(inserted, "Module");
    all.add(*module);
}

std::vector<const ZinModule*> modulesOf(const std::string& library) {
    void* handle = nullptr;
    std::vector<const ZinModule*> modules = loaded(library, handle);
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    const auto [known, isFirst] = all.libraries.try_emplace(handle, modules);
    if (!isFirst) modules = known->second;
    if (modules.empty()) {
        throw ModuleException(library + ": registers no module");
    }
    const auto isRegistered = [&](const ZinModule* module) {
        const auto at = all.modules.find(module->name);
        return at != all.modules.end() && at->second == module;
    };
    if (std::all_of(modules.begin(), modules.end(), isRegistered)) return modules;
    Registry joined{.mutex = {}, .modules = all.modules, .types = all.types, .libraries = {}};
    for (const ZinModule* const module : modules) {
        requireNew(joined, *module, library);
        joined.add(*module);
    }
    all.modules.swap(joined.modules);
    all.types.swap(joined.types);
    return modules;
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
