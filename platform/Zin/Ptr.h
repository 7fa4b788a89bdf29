// Ptr holds a reference to a counted object (Zin/PtrInterface.h), or none.
//
// A Ptr is one word. Copying counts; moving does not. The flag Zin::VFPtrInterface decides
// whether counting is atomic.

#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "Zin/PtrInterface.h"

namespace Zin {

template <class T>
class Ptr {
  public:
    // What it points at.
    using Pointee = T;

    constexpr Ptr() noexcept = default;
    // Refers to nothing.
    constexpr Ptr(std::nullptr_t) noexcept {}
    // Takes a reference to the object, which others may hold too.
    explicit Ptr(T* object) noexcept : object_(object) { inc(); }
    Ptr(const Ptr& other) noexcept : object_(other.object_) { inc(); }
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    requires(std::is_convertible_v<U*, T*> && !std::is_same_v<U, T>) Ptr(const Ptr<U>& other)
    noexcept : Ptr(other.get()) {}
    template <class U>
    requires(std::is_convertible_v<U*, T*> && !std::is_same_v<U, T>) Ptr(Ptr<U>&& other)
    noexcept : object_(other.release()) {}
    ~Ptr() { dec(object_); }

    Ptr& operator=(Ptr other) noexcept {
        swap(other);
        return *this;
    }

    void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }

    // The object, or null. Counts nothing.
    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // Hands the reference over to the caller.
    [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }
    // Takes over a reference that somebody released.
    [[nodiscard]] static Ptr adopted(T* object) noexcept {
        Ptr pointer;
        pointer.object_ = object;
        return pointer;
    }

    friend bool operator==(const Ptr& a, const Ptr& b) noexcept {
        return a.object_ == b.object_;
    }
    friend bool operator==(const Ptr& a, std::nullptr_t) noexcept { return !a.object_; }
    friend bool operator<(const Ptr& a, const Ptr& b) noexcept {
        return std::less<T*>()(a.object_, b.object_);
    }

  private:
    void inc() const noexcept {
        if (object_) object_->ptrInc();
    }
    static void dec(T* object) {
        if (object) object->ptrDec();
    }

    T* object_ = nullptr;
};

template <class T>
struct PointeeOf;
// What a Ptr points at, by the Ptr's type.
template <class T>
struct PointeeOf<Ptr<T>> {
    // The type of the object.
    using Type = T;
};

}  // namespace Zin
