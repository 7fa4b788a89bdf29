// Code that knows no types: lists what an entity is made of, walks over a collection, prints a
// whole tree, and changes a value that a path leads to.

#include <iostream>
#include <string>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/GenericIf.h"
#include "Zin/Place.h"

namespace {

// What the table of its type says.
void listAttributes(const Zin::Entity& entity) {
    const Zin::EntityTypeInfo& type = *entity.fwkType().info();
    std::cout << type.name << ' ' << entity.name().view() << '\n';
    for (const Zin::AttributeInfo& attribute : type.attributes) {
        if (!attribute.streamed) continue;
        std::cout << "  " << attribute.id << ' ' << attribute.name;
        if (attribute.value) std::cout << " : " << attribute.value->name;
        if (attribute.childType) std::cout << " : " << attribute.childType->name;
        if (attribute.key) std::cout << " by " << attribute.key->name;
        std::cout << '\n';
    }
}

// The members may change meanwhile: the iterator keeps its place.
void listKeys(Zin::Entity& entity, const Zin::AttributeInfo& collection) {
    const auto attribute = Zin::ZinAttr::of(entity.fwkType(), collection.id);
    const Zin::GenericIf::TypeIteratorOps* ops = nullptr;
    void* const at =
        Zin::GenericIf::iterator(*entity.fwkType().info(), &entity, attribute, &ops);
    for (; ops->iterNonnull(attribute, at); ops->iterInc(attribute, at)) {
        Zin::Any key(*collection.key);
        ops->iterKey(attribute, at, key.get());
        std::cout << collection.name << " has " << key.text() << '\n';
    }
    ops->iterDel(attribute, at);
}

// All that lies below, each by its path.
void listTree(const Zin::Place& place) {
    for (const Zin::Place& below : place.children()) {
        if (!below.children().empty()) {
            listTree(below);
        } else if (below.type()) {
            std::cout << below.path() << " = " << below.value().text() << '\n';
        } else {
            std::cout << below.path() << '\n';
        }
    }
}

}  // namespace

int main() {
    const auto config = Pseudowire::configFactory("pw");
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs("to-berlin");
    config->patchIs("line-1")->connectorKeyIs(key);

    const Zin::Ptr<Zin::Entity> entity = config;  // from here on its type is not known
    listAttributes(*entity);
    listKeys(*entity, *entity->fwkType().info()->attribute("patch"));

    const Zin::Place root(entity);
    const Zin::Place mtu = root.walk(".mtu");
    mtu.textIs("9000");
    try {
        mtu.textIs("many");
    } catch (const Zin::Exception& failure) {
        std::cout << mtu.path() << ": " << failure.what() << '\n';
    }
    listTree(root);
}
