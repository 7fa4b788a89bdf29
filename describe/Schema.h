// A schema is the one place where a type states what it is made of.
//
// A type is described when it has a static consteval `schema()`. Comparison, hash, text, wire
// form and reflection are derived from it, so no member is ever listed twice. Names are
// contracts with people and peers: they are written here, not deduced from C++.
//
//     class TimeRange : public Zin::Value<TimeRange> {
//       public:
//         static consteval auto schema() {
//             return describe::value(
//                 "Pseudowire::TimeRange",
//                 describe::field<&TimeRange::min_>("min"),
//                 describe::field<&TimeRange::max_>("max"));
//         }
//         ...
//       private:
//         double min_ = 0;
//         double max_ = 0;
//     };
//
// This layer includes the standard library alone. It knows values and enumerations; attributes
// with numbers, mutators and notification are in frame/Attribute.h.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <type_traits>

namespace describe {

template <class T>
concept Described = requires {
    T::schema();
};

template <class>
struct MemberPointer;
template <class O, class V>
struct MemberPointer<V O::*> {
    using Owner = O;
    using Value = V;
};

template <auto member>
using OwnerOf = typename MemberPointer<decltype(member)>::Owner;
template <auto member>
using ValueOf = typename MemberPointer<decltype(member)>::Value;

// One member of a type. The member is a template argument, so that every diagnostic that
// mentions a Field also names the member.
template <auto memberPointer>
struct Field {
    using Owner = OwnerOf<memberPointer>;
    using Value = ValueOf<memberPointer>;
    static constexpr auto member = memberPointer;

    std::string_view name;

    static constexpr const Value& in(const Owner& owner) { return owner.*memberPointer; }
    static constexpr Value& in(Owner& owner) { return owner.*memberPointer; }
};

template <auto member>
consteval Field<member> field(std::string_view name) {
    return {name};
}

// A value that belongs to a value type as such and never changes: what a static function
// without arguments returns.
template <auto functionPointer>
struct Constant {
    static constexpr auto function = functionPointer;
    using Value = std::remove_cvref_t<decltype(functionPointer())>;

    std::string_view name;
};

template <auto functionPointer>
consteval Constant<functionPointer> constant(std::string_view name) {
    return {name};
}

// A function of a value type that people may find by name.
template <auto functionPointer>
struct Function {
    static constexpr auto function = functionPointer;

    std::string_view name;
};

template <auto functionPointer>
consteval Function<functionPointer> function(std::string_view name) {
    return {name};
}

// In the order in which a value type lists them.
enum class MemberKind : std::uint8_t { field, constant, function };

template <class Member>
inline constexpr MemberKind memberKind = MemberKind::field;
template <auto functionPointer>
inline constexpr MemberKind memberKind<Constant<functionPointer>> = MemberKind::constant;
template <auto functionPointer>
inline constexpr MemberKind memberKind<Function<functionPointer>> = MemberKind::function;

// The members are bases: each is a type of its own, so none can be listed twice, and a walk
// over them is a fold, which costs the compiler far less than std::tuple does.
template <class... Members>
struct Schema : Members... {
    static constexpr std::size_t size = sizeof...(Members);
    template <MemberKind kind>
    static constexpr std::size_t count = ((memberKind<Members> == kind ? 1 : 0) + ... + 0);

    std::string_view typeName;

    // Calls visit(field) for each field, in schema order. (Walks are always inlined: each has
    // one caller, and what it does with a field is often an instruction or two.)
    [[gnu::always_inline]] constexpr void forEach(auto&& visit) const {
        (ifField<Members>(visit, true), ...);
    }

    // True when test(field) holds for each of them; stops at the first that fails.
    [[gnu::always_inline]] constexpr bool all(auto&& test) const {
        return (ifField<Members>(test, true) && ...);
    }

    // True when test(field) holds for one of them; stops at the first that holds.
    [[gnu::always_inline]] constexpr bool any(auto&& test) const {
        return (ifField<Members>(test, false) || ...);
    }

    // Calls visit(member) for each constant, or each function, in schema order.
    template <MemberKind kind>
    constexpr void forEachOf(auto&& visit) const {
        const auto each = [&]<class Member>(const Member& listed) {
            if constexpr (memberKind<Member> == kind) visit(listed);
        };
        (each(static_cast<const Members&>(*this)), ...);
    }

  private:
    template <class Member>
    [[gnu::always_inline]] constexpr bool ifField(auto&& call, bool otherwise) const {
        if constexpr (memberKind<Member> != MemberKind::field) {
            return otherwise;
        } else if constexpr (std::is_void_v<decltype(call(
                                 static_cast<const Member&>(*this)))>) {
            call(static_cast<const Member&>(*this));
            return otherwise;
        } else {
            return call(static_cast<const Member&>(*this));
        }
    }
};

namespace check {

// Never defined. A call that is reached while a schema is built stops the build, and the
// compiler prints the name of the function.
void TWO_MEMBERS_OF_A_SCHEMA_SHARE_ONE_NAME();
void TWO_ENUMERATORS_SHARE_ONE_NUMBER();
void THE_ENUMERATORS_MUST_BE_LISTED_IN_ASCENDING_ORDER();

template <class T>
consteval bool distinct(std::initializer_list<T> values) {
    for (auto i = values.begin(); i != values.end(); ++i) {
        if (std::find(i + 1, values.end(), *i) != values.end()) return false;
    }
    return true;
}

consteval void distinctNames(std::initializer_list<std::string_view> names) {
    if (!distinct(names)) TWO_MEMBERS_OF_A_SCHEMA_SHARE_ONE_NAME();
}

template <class... Members>
consteval bool fieldsFirst() {
    const std::initializer_list<MemberKind> kinds{memberKind<Members>...};
    return std::is_sorted(kinds.begin(), kinds.end());
}

// The size of a class that holds exactly these members in this order. A member that the schema
// forgets makes the class bigger than that, unless it hides in padding.
template <class... Members>
consteval std::size_t sizeOfMembers() {
    std::size_t size = 0;
    std::size_t alignment = 1;
    const auto add = [&](std::size_t bytes, std::size_t align) {
        size = (size + align - 1) / align * align + bytes;
        alignment = std::max(alignment, align);
    };
    const auto addMember = [&]<class Member>(const Member*) {
        if constexpr (memberKind<Member> == MemberKind::field) {
            add(sizeof(typename Member::Value), alignof(typename Member::Value));
        }
    };
    (addMember(static_cast<const Members*>(nullptr)), ...);
    return (std::max<std::size_t>(size, 1) + alignment - 1) / alignment * alignment;
}

template <class T, class... Members>
consteval auto schema(const Schema<Members...>& described) {
    static_assert(
        sizeof(T) == sizeOfMembers<Members...>(),
        "schema() of this value type does not list every member exactly once, in the order of "
        "declaration.");
    return described;
}

}  // namespace check

// The description of a value type: its qualified name, its fields in the order of declaration,
// its constants and its functions.
template <class... Members>
consteval Schema<Members...> value(std::string_view typeName, Members... members) {
    static_assert(
        check::fieldsFirst<Members...>(),
        "A value type lists its fields first, then its constants, then its functions.");
    check::distinctNames({members.name...});
    return {members..., typeName};
}

// The schema of T, checked. All derived operations use this one.
template <Described T>
inline constexpr auto schemaOf = check::schema<T>(T::schema());

template <Described T>
inline constexpr std::size_t fieldsIn =
    decltype(T::schema())::template count<MemberKind::field>;

// --- Enumerations --------------------------------------------------------------------------

struct Enumerator {
    std::string_view name;
    std::uint32_t number;
};

// The description of an enumeration: found by argument-dependent lookup as
// `consteval auto enumeration(E)` beside the enumeration.
template <std::size_t count>
struct Enumeration {
    std::string_view typeName;
    std::array<Enumerator, count> enumerators;
};

template <class E>
struct NamedValue {
    E value;
    std::string_view name;
};

// Enumerators in ascending order of their numbers.
template <class E, std::size_t count>
consteval Enumeration<count> enumerators(
    std::string_view typeName,
    const NamedValue<E> (&named)[count]) {
    Enumeration<count> all{typeName, {}};
    for (std::size_t i = 0; i < count; ++i) {
        all.enumerators[i] = {named[i].name, static_cast<std::uint32_t>(named[i].value)};
        if (i == 0) continue;
        if (all.enumerators[i].number == all.enumerators[i - 1].number) {
            check::TWO_ENUMERATORS_SHARE_ONE_NUMBER();
        }
        if (all.enumerators[i].number < all.enumerators[i - 1].number) {
            check::THE_ENUMERATORS_MUST_BE_LISTED_IN_ASCENDING_ORDER();
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = i + 1; j < count; ++j) {
            if (named[i].name == named[j].name) check::TWO_MEMBERS_OF_A_SCHEMA_SHARE_ONE_NAME();
        }
    }
    return all;
}

template <class E>
concept DescribedEnum = std::is_enum_v<E> && requires {
    enumeration(E{});
};

template <DescribedEnum E>
inline constexpr auto enumerationOf = enumeration(E{});

}  // namespace describe
