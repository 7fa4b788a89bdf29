// Typed reactors. Each entity type has a Notifiee with one callback per attribute; a reactor
// derives from it and overrides what it wants to hear:
//
//     struct Watcher : Config::Notifiee {
//         using Notifiee::Notifiee;
//         void onMtu() override { ... notifier()->mtu() ... }
//         void onPatch(Zin::String const& name) override { ... }
//     };
//     Watcher watcher(config);
//
// or attaches a callable to one attribute in one line:
//
//     auto attached = frame::attach<&Config::Notifiee::onMtu>(config, [&] { ... });
//
// Registration ends with the reactor or with the entity. What a callback may do is said in
// Zin/NotifieeList.h.

#pragma once

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "Zin/NotifieeList.h"
#include "Zin/Ptr.h"
#include "frame/Attribute.h"

namespace frame {

namespace detail {

// Whether the id is of an attribute that T itself lists.
template <class T, class Routing>
bool tellBySchema(Routing& routing, AttributeId id, const void* key) {
    return entitySchemaOf<T>.any([&]<class A>(const A&) {
        if (A::id != id) return false;
        A::tell(static_cast<typename T::Notifiee&>(routing), key);
        return true;
    });
}

}  // namespace detail

// Routes an attribute id to the callback that the schema names for it. A type that derives from
// another has a Notifiee that derives from the other's:
//
//     struct Notifiee : frame::NotifieeOf<EthIntfStatus, IntfStatus> { ... };
template <class T, class Base = void>
class NotifieeOf;

template <class T>
class NotifieeOf<T, void> : public Zin::Notifiee {
  public:
    NotifieeOf() = default;
    // Observes the entity from now on.
    explicit NotifieeOf(const Zin::Ptr<T>& entity) { notifierIs(entity); }

    // Observes the entity from now on, and what was observed before no longer; null ends it.
    void notifierIs(const Zin::Ptr<T>& entity) {
        unregister();
        notifier_ = entity.get();
        if (notifier_) registerWith(*notifier_->notifieeList().list);
    }

    // The observed entity, or null when there is none or it has gone. Holds no reference to it.
    T* notifier() const noexcept { return registered() ? notifier_ : nullptr; }

  protected:
    // Calls the callback that the schema names.
    void onAttribute(AttributeId id, const void* key) override {
        (void)detail::tellBySchema<T>(*this, id, key);
    }

  private:
    T* notifier_ = nullptr;
};

template <class T, class Base>
class NotifieeOf : public Base::Notifiee {
  public:
    NotifieeOf() = default;
    // Observes the entity from now on.
    explicit NotifieeOf(const Zin::Ptr<T>& entity) { notifierIs(entity); }

    // Observes the entity from now on, and what was observed before no longer; null ends it.
    void notifierIs(const Zin::Ptr<T>& entity) { Base::Notifiee::notifierIs(entity); }
    // The observed entity, or null when there is none or it has gone. Holds no reference to it.
    T* notifier() const noexcept { return static_cast<T*>(Base::Notifiee::notifier()); }

  protected:
    // Calls the callback that the schema names, or that of the base.
    void onAttribute(AttributeId id, const void* key) override {
        if (!detail::tellBySchema<T>(*this, id, key)) Base::Notifiee::onAttribute(id, key);
    }
};

namespace detail {

template <auto value>
struct Constant {};

template <auto onChange, class A>
inline constexpr bool tellsBy = false;
template <auto onChange, AttributeId id, auto member, auto itsOnChange, AttributeKind kind>
inline constexpr bool tellsBy<onChange, Attribute<id, member, itsOnChange, kind>> =
    std::is_same_v<Constant<onChange>, Constant<itsOnChange>>;

// The attribute of T, or of what it derives from, that names the callback.
template <class T, auto onChange, class... Attributes>
struct PickByCallback;
template <
    class T,
    auto onChange,
    const Zin::ZinModule& module,
    std::uint32_t index,
    class... As>
PickByCallback<T, onChange, As...> pickByCallback(const EntitySchema<module, index, As...>&);

template <class T, auto onChange>
struct PickByCallback<T, onChange> {
    static_assert(
        DerivedEntity<T>,
        "No attribute in schema() of this entity type names the callback.");
};
template <DerivedEntity T, auto onChange>
struct PickByCallback<T, onChange>
    : decltype(pickByCallback<BaseOf<T>, onChange>(BaseOf<T>::schema())) {};
template <class T, auto onChange, class A, class... Others>
struct PickByCallback<T, onChange, A, Others...> : PickByCallback<T, onChange, Others...> {};
template <class T, auto onChange, class A, class... Others>
requires tellsBy<onChange, A>
struct PickByCallback<T, onChange, A, Others...> {
    using Type = A;
};

template <class T, auto onChange, class Callable>
class AttachedTo final : public Zin::Notifiee {
  public:
    AttachedTo(T& entity, Callable callable) : callable_(std::move(callable)) {
        registerWith(*entity.notifieeList().list);
    }

  private:
    using A = typename decltype(pickByCallback<T, onChange>(T::schema()))::Type;

    void onAttribute(AttributeId id, const void* key) override {
        if (id != A::id) return;
        if constexpr (Collection<typename A::Value>) {
            callable_(*static_cast<const typename A::Value::Key*>(key));
        } else {
            callable_();
        }
    }

    Callable callable_;
};

}  // namespace detail

// Keeps a callable attached for as long as it lives.
class Attachment {
  public:
    Attachment() = default;
    // Made by attach().
    explicit Attachment(std::unique_ptr<Zin::Notifiee, void (*)(Zin::Notifiee*)> notifiee)
        : notifiee_(std::move(notifiee)) {}

    // Ends the attachment before its time.
    void end() noexcept { notifiee_.reset(); }

  private:
    std::unique_ptr<Zin::Notifiee, void (*)(Zin::Notifiee*)> notifiee_{nullptr, nullptr};
};

// Calls `callable` after each change of the attribute whose callback is named: without
// argument, or with the key of a collection's member.
template <auto onChange, class T, class Callable>
[[nodiscard]] Attachment attach(const Zin::Ptr<T>& entity, Callable callable) {
    using Attached = detail::AttachedTo<T, onChange, Callable>;
    return Attachment(std::unique_ptr<Zin::Notifiee, void (*)(Zin::Notifiee*)>(
        new Attached(*entity, std::move(callable)),
        [](Zin::Notifiee* notifiee) { delete static_cast<Attached*>(notifiee); }));
}

}  // namespace frame
