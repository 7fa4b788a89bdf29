#include "Zin/Any.h"

#include <new>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/Exceptions.h"
#include "Zin/TextReader.h"

namespace Zin {

bool sameType(const ValueInfo& a, const ValueInfo& b) noexcept {
    if (&a == &b) return true;
    return a.kind == b.kind && a.kind != ValueKind::collection && a.size == b.size &&
           a.alignment == b.alignment && a.name == b.name;
}

Any::Any(const ValueInfo& type, const void* from) : type_(&type) {
    const std::align_val_t alignment{type.alignment};
    void* const memory = ::operator new(type.size, alignment);
    try {
        type.construct(memory, from);
    } catch (...) {
        ::operator delete(memory, alignment);
        throw;
    }
    value_ = memory;
}

Any::Any(const Any& other) {
    if (other.type_) Any(*other.type_, other.value_).swap(*this);
}

Any::Any(Any&& other) noexcept
    : type_(std::exchange(other.type_, nullptr)),
      value_(std::exchange(other.value_, nullptr)) {}

Any& Any::operator=(Any other) noexcept {
    swap(other);
    return *this;
}

Any::~Any() {
    if (!type_) return;
    type_->destruct(value_);
    ::operator delete (value_, std::align_val_t{type_->alignment});
}

void Any::swap(Any& other) noexcept {
    std::swap(type_, other.type_);
    std::swap(value_, other.value_);
}

Any Any::fromText(const ValueInfo& type, std::string_view text) {
    if (type.holdsCollection()) {
        throw Exception(
            std::string(type.name) + " holds a collection: it cannot be read from text");
    }
    Any any(type);
    TextReader reader(text);
    readText(reader, type, any.value_);
    reader.needEnd();
    return any;
}

std::string Any::text() const {
    ZIN_ASSERT(type_, "Any");
    std::string text;
    appendText(text, *type_, value_);
    return text;
}

bool operator==(const Any& a, const Any& b) {
    if (!a.type_ || !b.type_) return a.type_ == b.type_;
    return sameType(*a.type_, *b.type_) && a.type_->equal(a.value_, b.value_);
}

}  // namespace Zin
