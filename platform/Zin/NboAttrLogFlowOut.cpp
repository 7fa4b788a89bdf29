#include "Zin/NboAttrLogFlowOut.h"

namespace Zin::NboAttrLog {

constinit AllocTrackTypeInfo FlowOut::zinAllocTrackTypeInfo_;

FlowOut::FlowOut(
    Sa* sa,
    const EntityTypeInfo& type,
    std::span<std::uint8_t> flags,
    bool initial,
    AttributeId start) noexcept
    : sa_(sa), type_(type), flags_(flags), initial_(initial), current_(start) {
    for (const AttributeInfo& attribute : type_.attributes) {
        if (!attribute.streamed) continue;
        if (attribute.isCollection()) {
            zinHasSyncedIs(attribute.id, start >= attribute.id + 1);
        } else {
            zinIsDirtyIs(attribute.id, start < attribute.id + 1);
        }
    }
}

FlowOut::~FlowOut() = default;

bool FlowOut::hasDirtyAttributes() const {
    for (std::size_t i = 0; i < type_.attributes.size(); ++i) {
        const AttributeInfo& attribute = type_.attributes[i];
        if (!attribute.streamed) continue;
        if (attribute.isCollection() ? (flags_[i] & synced) == 0 : (flags_[i] & dirty) != 0) {
            return true;
        }
    }
    return hasDirtyCollKeys();
}

bool FlowOut::has(AttributeId id, std::uint8_t flag) const noexcept {
    const AttributeInfo* const attribute = type_.attribute(id);
    return attribute &&
           (flags_[static_cast<std::size_t>(attribute - type_.attributes.data())] & flag) != 0;
}

void FlowOut::is(AttributeId id, std::uint8_t flag, bool value) noexcept {
    const AttributeInfo* const attribute = type_.attribute(id);
    if (!attribute) return;
    std::uint8_t& flags = flags_[static_cast<std::size_t>(attribute - type_.attributes.data())];
    flags = static_cast<std::uint8_t>(value ? flags | flag : flags & ~flag);
}

}  // namespace Zin::NboAttrLog
