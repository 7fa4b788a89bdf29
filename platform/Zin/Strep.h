// String representations: the text of a value that can be read back (Zin/ValueInfo.h has its
// rules).
//
//     Zin::String text = valueToStrep(value);
//     auto same = Zin::strepToValue<Pseudowire::TimeRange>(text, nullptr);
//
// Values stream as this text. An enumeration takes part when its namespace has
// `using Zin::valueToStrep; using Zin::operator<<; using Zin::sequenceToValue; using
// Zin::stringValue;`.

#pragma once

#include <ostream>
#include <string_view>

#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/ValueInfoOf.h"

namespace Zin {

template <class T>
concept Strepped = describe::Value<T> || describe::DescribedEnum<T> || std::integral<T> ||
    std::floating_point<T> || std::same_as<T, String>;

template <Strepped T>
String valueToStrep(const T& value) {
    return textOf(value);
}

// Reads the literal, or throws a TextException whose position counts from `it`.
ZIN_EXPORT void needString(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    std::string_view literal);

ZIN_EXPORT void strepToValueEnd(
    const String::IteratorConst& it,
    const String::IteratorConst& end);

namespace detail {

// Reads a value, moves `it` behind it. `fieldName` may be empty.
ZIN_EXPORT void readAttr(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    const ValueInfo& type,
    void* value,
    std::string_view fieldName);

}  // namespace detail

// The value that stands at `it`, which is moved behind it. Errors name the field.
template <Strepped T>
T deserializeAttr(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    std::string_view fieldName) {
    T value{};
    detail::readAttr(it, end, valueInfo<T>, &value, fieldName);
    return value;
}

// The body of a value type's parse constructor:
//     explicit T(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
//         : T(Zin::parsed<T>(it, end)) {}
template <describe::Value T>
T parsed(String::IteratorConst& it, const String::IteratorConst& end) {
    return deserializeAttr<T>(it, end, {});
}

// The value that the whole text stands for. The pointer only tells the type.
template <Strepped T>
T strepToValue(const String& text, const T*) {
    TextReader reader(text.view());
    T value{};
    readText(reader, valueInfo<T>, &value);
    reader.needEnd();
    return value;
}

// Reads an enumerator's name.
template <describe::DescribedEnum E>
void sequenceToValue(String::IteratorConst& it, const String::IteratorConst& end, E* value) {
    *value = deserializeAttr<E>(it, end, {});
}

template <class T>
requires(describe::Value<T> || describe::DescribedEnum<T>) std::ostream& operator<<(
    std::ostream& out,
    const T& value) {
    return out << textOf(value);
}

}  // namespace Zin
