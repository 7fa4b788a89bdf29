#include "corra/Generic.h"

#include <string>

#include "Zin/Exceptions.h"

namespace corra {

namespace {

using Zin::GenericIf::AttributeOp;

void operate(
    Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    AttributeOp op,
    const void* key,
    const void* value) {
    const auto status = attribute.operate(nullptr, entity, op, key, value);
    if (status == Zin::GenericIf::Status::done) return;
    throw Zin::Exception(
        std::string(entity.fwkType().name()) + " \"" + std::string(entity.name().view()) +
        "\", attribute " + std::to_string(attribute.id) + " (" + std::string(attribute.name) +
        ") cannot be changed so");
}

}  // namespace

std::vector<Zin::Any> keysOf(const Zin::Entity& entity, const Zin::AttributeInfo& collection) {
    struct Keys final : Zin::MemberVisitor {
        explicit Keys(const Zin::ValueInfo& keyType) : type(keyType) {}
        void onMember(const void* key, const void*, const Zin::Entity*) override {
            all.emplace_back(type, key);
        }
        const Zin::ValueInfo& type;
        std::vector<Zin::Any> all;
    } keys(*collection.key);
    collection.forEachMember(entity, keys);
    return std::move(keys.all);
}

std::vector<Zin::Any> constructorArgumentsOf(const Zin::Entity& entity) {
    struct Arguments {
        std::span<const Zin::ValueInfo* const> types;
        std::vector<Zin::Any> all;
    } arguments{entity.fwkType().info()->constructorArguments, {}};
    entity.fwkType().info()->forEachConstructorArgument(
        entity,
        [](void* context, const void* argument) {
            Arguments& to = *static_cast<Arguments*>(context);
            to.all.emplace_back(*to.types[to.all.size()], argument);
        },
        &arguments);
    return std::move(arguments.all);
}

Zin::Ptr<Zin::Entity>
childOf(const Zin::Entity& entity, const Zin::AttributeInfo& attribute, const void* key) {
    const Zin::Entity* const child = attribute.isCollection()
                                         ? attribute.member(entity, key).child
                                         : attribute.child(entity);
    // Whoever may change the parent may change its children.
    return Zin::Ptr<Zin::Entity>(const_cast<Zin::Entity*>(child));
}

Zin::Ptr<Zin::Entity> makeChild(
    Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const std::vector<Zin::Any>& arguments) {
    std::vector<const void*> pointers;
    pointers.reserve(arguments.size());
    for (const Zin::Any& argument : arguments) pointers.push_back(argument.get());
    operate(entity, attribute, AttributeOp::set, pointers[0], pointers.data() + 1);
    return childOf(entity, attribute, pointers[0]);
}

void set(
    Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const void* key,
    const void* value) {
    operate(entity, attribute, AttributeOp::set, key, value);
}

void del(Zin::Entity& entity, const Zin::AttributeInfo& attribute, const void* key) {
    operate(entity, attribute, AttributeOp::del, key, nullptr);
}

}  // namespace corra
