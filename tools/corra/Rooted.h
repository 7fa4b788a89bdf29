// Entity trees for code that knows their types: found among the roots, walked by their keys.

#pragma once

#include <string>
#include <string_view>

#include "Zin/Strep.h"
#include "corra/Facts.h"
#include "corra/Roots.h"
#include "frame/Entity.h"

namespace corra {

template <class T>
std::string textOfValue(const T& value) {
    return std::string(Zin::valueToStrep(value).view());
}

// The first root of a type, by the order of names; false when there is none.
template <class T>
class Rooted {
  public:
    explicit Rooted(const Roots& roots) {
        for (const auto& [name, root] : roots) {
            entity_ = dynamic_cast<const T*>(root.get());
            if (!entity_) continue;
            path_ = pathOfRoot(name.view(), *root);
            return;
        }
    }

    explicit operator bool() const { return entity_ != nullptr; }
    const T* operator->() const { return entity_; }
    const T* get() const { return entity_; }
    static std::string type() { return std::string(frame::entitySchemaOf<T>.typeName); }

    std::string at(std::string_view attribute) const {
        return path_ + '.' + std::string(attribute);
    }
    template <class Key>
    std::string at(std::string_view collection, const Key& key) const {
        return at(collection) + '[' + textOfValue(key) + ']';
    }
    template <class Key>
    std::string at(std::string_view collection, const Key& key, std::string_view field) const {
        return at(collection, key) + '.' + std::string(field);
    }

  private:
    const T* entity_ = nullptr;
    std::string path_;
};

template <class Collection, class Visit>
void forEachKey(const Collection& collection, const Visit& visit) {
    for (auto it = collection.iteratorConst(); it; ++it) visit(it.key());
}

}  // namespace corra
