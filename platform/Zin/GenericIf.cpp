#include "Zin/GenericIf.h"

#include <string>

#include "Zin/Exceptions.h"
#include "Zin/TypeTable.h"

namespace Zin {

AttributeId ZinAttrBase::attributeId() const noexcept {
    const TypeTable table(module_ ? module_->typeTable : std::span<const std::uint8_t>());
    const auto found = table.record(record());
    return found ? found->id : 0;
}

ZinAttr ZinAttr::of(const ZinTypeBase& type, AttributeId id) noexcept {
    if (!type.module) return {};
    const auto record = TypeTable(type.module->typeTable).recordOf(type.index, id);
    return record ? ZinAttr(type, *record) : ZinAttr();
}

namespace GenericIf {

namespace {

// The attribute, when it is one of the type or of those that the type derives from.
const AttributeInfo* attributeOf(const EntityTypeInfo& type, const ZinAttr& attr) noexcept {
    const bool own = type.handle.isDerived(attr.type());
    return own ? type.attribute(attr.attributeId()) : nullptr;
}

// The collection that an attribute is, whatever type it belongs to.
const IteratorOps* iteratorOpsOf(const ZinAttr& attr) noexcept {
    const EntityTypeInfo* const type = attr.type().info();
    const AttributeInfo* const attribute = type ? attributeOf(*type, attr) : nullptr;
    return attribute ? attribute->iteratorOps : nullptr;
}

[[noreturn]] void throwNull(const EntityTypeInfo& type, const std::string& what) {
    throw NullPointerException(std::string(type.name) + ": " + what);
}

}  // namespace

Status attributeOp(
    const EntityTypeInfo& type,
    void* result,
    Entity* object,
    const ZinAttr& attr,
    AttributeOp op,
    const void* key,
    const void* value) {
    const AttributeInfo* const attribute = attributeOf(type, attr);
    if (!attribute) return Status::unknownAttribute;
    if (!object) throwNull(type, "no entity to operate on");
    return attribute->operate(result, *object, op, key, value);
}

void* iterator(
    const EntityTypeInfo& type,
    Entity* object,
    const ZinAttr& attr,
    const TypeIteratorOps** ops) {
    const AttributeInfo* const attribute = attributeOf(type, attr);
    if (!attribute || !attribute->iteratorOps) return nullptr;
    if (!object || !ops) throwNull(type, "no entity to walk, or no place for the operations");
    *ops = &typeIteratorOps;
    return attribute->iteratorOps->make(*object);
}

// An attribute that is no collection has no iterators: nothing is done with it.
constinit const TypeIteratorOps typeIteratorOps{
    .iterNonnull = [](const ZinAttr& attr, const void* iterator) -> bool {
        const IteratorOps* const ops = iterator ? iteratorOpsOf(attr) : nullptr;
        return ops && ops->nonnull(iterator);
    },
    .iterInc =
        [](const ZinAttr& attr, void* iterator) {
            const IteratorOps* const ops = iterator ? iteratorOpsOf(attr) : nullptr;
            if (ops) ops->inc(iterator);
        },
    .iterKey =
        [](const ZinAttr& attr, const void* iterator, void* out) {
            const IteratorOps* const ops = iterator ? iteratorOpsOf(attr) : nullptr;
            if (ops && out) ops->key(iterator, out);
        },
    .iterObj =
        [](const ZinAttr& attr, const void* iterator, void* out) {
            const IteratorOps* const ops = iterator ? iteratorOpsOf(attr) : nullptr;
            if (ops && out) *static_cast<MemberRef*>(out) = ops->obj(iterator);
        },
    .iterDel =
        [](const ZinAttr& attr, void* iterator) noexcept {
            const IteratorOps* const ops = iterator ? iteratorOpsOf(attr) : nullptr;
            if (ops) ops->del(iterator);
        },
};

}  // namespace GenericIf

}  // namespace Zin
