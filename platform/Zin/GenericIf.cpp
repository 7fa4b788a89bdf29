#include "Zin/GenericIf.h"

#include <memory>
#include <string>

#include "Zin/Exceptions.h"
#include "Zin/TypeTable.h"

namespace Zin {

AttributeId ZinAttrBase::attributeId() const noexcept {
    if (!module_) return 0;
    const TypeTable table(module_->typeTable);
    const auto owner = table.type(type().index);
    const auto found = table.record(record());
    // An unsigned difference: records before the first one are far behind the last.
    const bool isOwn = owner && found && record() - owner->firstRecord < owner->records;
    return isOwn ? found->id : 0;
}

ZinAttr ZinAttr::of(const ZinTypeBase& type, AttributeId id) noexcept {
    if (!type.module) return {};
    const auto record = TypeTable(type.module->typeTable).recordOf(type.index, id);
    if (record) return ZinAttr(type, *record);
    const EntityTypeInfo* const info = type.info();
    return info && info->base ? of(info->base->handle, id) : ZinAttr();
}

namespace GenericIf {

namespace {

// The attribute, when it is one of the type or of those that the type derives from.
const AttributeInfo* attributeOf(const EntityTypeInfo& type, const ZinAttr& attr) noexcept {
    const bool own = type.handle.isDerived(attr.type());
    return own ? type.attribute(attr.attributeId()) : nullptr;
}

[[noreturn]] void throwNull(const EntityTypeInfo& type, const std::string& what) {
    throw NullPointerException(std::string(type.name) + ": " + what);
}

void requireEntity(const EntityTypeInfo& type, const Entity* object) {
    if (!object) throwNull(type, "no entity was given");
    if (!object->fwkType().isDerived(type.handle)) {
        GenericIfImpl::throwTypeException(object->fwkType(), type.handle);
    }
}

// What an untyped iterator points at.
class Walk {
  public:
    Walk(const ZinAttr& attr, const IteratorOps& ops, Entity& entity)
        : attr_(attr), entity_(&entity), ops_(ops), iterator_(ops.make(entity)) {}
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    // The iterator goes first: it looks into the entity.
    ~Walk() { ops_.del(iterator_); }

    bool isOver(const ZinAttr& attr) const { return attr_ == attr; }
    bool nonnull() const { return ops_.nonnull(iterator_); }
    void inc() { ops_.inc(iterator_); }
    void key(void* out) const { ops_.key(iterator_, out); }
    MemberRef obj() const { return ops_.obj(iterator_); }

  private:
    const ZinAttr attr_;
    const Ptr<Entity> entity_;
    const IteratorOps& ops_;
    void* const iterator_;
};

std::string described(const ZinAttr& attr) {
    return Zin::described(attr.type(), attr.attributeId());
}

const Walk& walkOf(const ZinAttr& attr, const void* iterator) {
    const auto* const walk = static_cast<const Walk*>(iterator);
    if (!walk) throw NullPointerException(described(attr) + ": no iterator was given");
    if (!walk->isOver(attr)) {
        throw TypeException(described(attr) + ": the iterator is over another attribute");
    }
    return *walk;
}

// The walk, when it stands on an element.
const Walk& elementOf(const ZinAttr& attr, const void* iterator) {
    const Walk& walk = walkOf(attr, iterator);
    if (!walk.nonnull()) {
        throw Exception(described(attr) + ": the iterator is behind the last element");
    }
    return walk;
}

void requirePlace(const ZinAttr& attr, const void* out) {
    if (!out) throw NullPointerException(described(attr) + ": no place for the result");
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
    requireEntity(type, object);
    return attribute->operate(result, *object, op, key, value);
}

void* iterator(
    const EntityTypeInfo& type,
    Entity* object,
    const ZinAttr& attr,
    const TypeIteratorOps** ops) {
    const AttributeInfo* const attribute = attributeOf(type, attr);
    if (!attribute || !attribute->iteratorOps) return nullptr;
    requireEntity(type, object);
    if (!ops) throwNull(type, "no place for the operations");
    auto walk = std::make_unique<Walk>(attr, *attribute->iteratorOps, *object);
    *ops = &typeIteratorOps;
    return walk.release();
}

constinit const TypeIteratorOps typeIteratorOps{
    .iterNonnull = [](const ZinAttr& attr, const void* iterator) -> bool {
        return iterator && walkOf(attr, iterator).nonnull();
    },
    .iterInc =
        [](const ZinAttr& attr, void* iterator) {
            elementOf(attr, iterator);
            static_cast<Walk*>(iterator)->inc();
        },
    .iterKey =
        [](const ZinAttr& attr, const void* iterator, void* out) {
            const Walk& walk = elementOf(attr, iterator);
            requirePlace(attr, out);
            walk.key(out);
        },
    .iterObj =
        [](const ZinAttr& attr, const void* iterator, void* out) {
            const Walk& walk = elementOf(attr, iterator);
            requirePlace(attr, out);
            *static_cast<MemberRef*>(out) = walk.obj();
        },
    .iterDel =
        [](const ZinAttr& attr, void* iterator) noexcept {
            Walk* const walk = static_cast<Walk*>(iterator);
            if (walk && walk->isOver(attr)) delete walk;
        },
};

}  // namespace GenericIf

}  // namespace Zin
