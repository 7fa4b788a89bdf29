#include "frame/AttributeLog.h"

namespace frame {

namespace {

using Zin::AttributeInfo;

bool isStreamed(const AttributeInfo* attribute) {
    return attribute && attribute->streamed;
}

// The next streamed attribute from this place in the table on, or null.
const AttributeInfo* streamedFrom(const Zin::EntityTypeInfo& type, std::size_t place) {
    for (; place < type.attributes.size(); ++place) {
        if (type.attributes[place].streamed) return &type.attributes[place];
    }
    return nullptr;
}

std::size_t placeBehind(const Zin::EntityTypeInfo& type, const AttributeInfo& attribute) {
    return static_cast<std::size_t>(&attribute - type.attributes.data()) + 1;
}

}  // namespace

int streamAdapterOnAttribute(Sa& sa, AttributeId id, const void* key) {
    const AttributeInfo* const attribute = sa.type().attribute(id);
    if (!isStreamed(attribute)) return 0;
    attribute->send(sa, key);
    return 1;
}

std::int32_t handleAttrFlowOut(Sa& sa, AttributeId start, FlowOut& flowOut) {
    const Zin::EntityTypeInfo& type = sa.type();
    const AttributeInfo* attribute = start == 0 ? streamedFrom(type, 0) : type.attribute(start);
    if (start == 0) {
        if (!attribute) return 0;
        if (!sa.continueFlowOut()) return static_cast<std::int32_t>(attribute->id);
    }
    if (!isStreamed(attribute)) return -1;
    while (attribute) {
        flowOut.currentAttributeIs(attribute->id);
        const AttributeInfo* const next = streamedFrom(type, placeBehind(type, *attribute));
        const std::int32_t nextId = next ? static_cast<std::int32_t>(next->id) : 0;
        if (attribute->isCollection()) {
            const bool finished = attribute->flowOut(sa, flowOut);
            if (!sa.continueFlowOut()) {
                if (!finished) return static_cast<std::int32_t>(attribute->id);
                return flowOut.hasDirtyAttributes() ? nextId : 0;
            }
        } else {
            if (flowOut.zinIsDirty(attribute->id)) sa.onAttributeForConnection(attribute->id);
            if (!sa.continueFlowOut()) return nextId;
        }
        attribute = next;
    }
    return 0;
}

int freeResyncState(FlowOut& flowOut) {
    const AttributeInfo* const current = flowOut.type().attribute(flowOut.currentAttribute());
    if (!current || !current->isCollection()) return 0;
    return flowOut.zinFlowOutBookmarkDeq() ? 1 : 0;
}

void doHandleAttrTransaction(Sa& sa, AttributeId id, TransactionType type) {
    const AttributeInfo* const attribute = sa.type().attribute(id);
    if (!isStreamed(attribute) || !attribute->isCollection()) return;
    if (type == TransactionType::open) {
        attribute->markAll(sa.entity());
    } else {
        attribute->sweep(sa);
    }
}

void doHandleAttrDeserialization(Sa& sa, AttributeId id, bool fromReadOnlyProxy, In& in) {
    const bool deletion = static_cast<std::int32_t>(id) < 0;
    const AttributeId positive = deletion ? ~id + 1 : id;
    if (fromReadOnlyProxy && !allowWriteFromReadOnlyRemote(sa, positive)) {
        Zin::throwWriteUpdateFromReadOnlyProxyException(sa.entity(), positive);
    }
    const AttributeInfo* const attribute = sa.type().attribute(positive);
    if (!isStreamed(attribute) || (deletion && !attribute->isCollection())) {
        doBaseZinNboAttrLogSaMsg(sa, id, in);
    } else if (deletion) {
        attribute->applyDeletion(sa, in);
    } else {
        attribute->apply(sa, in);
    }
}

}  // namespace frame
