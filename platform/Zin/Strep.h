// String representations: the text of a value that can be read back (Zin/ValueInfo.h has its
// rules).
//
//     Zin::String text = valueToStrep(value);
//     auto same = Zin::strepToValue<Pseudowire::TimeRange>(text, nullptr);
//
// Values stream as this text. An enumeration takes part when its namespace names these
// functions in a using-declaration, as Pseudowire/Strep.h does.
//
// A type with a short form for people has a hand-written toStrep(), which shortForm() helps to
// write.
//
// Positions in errors count from the iterator that was given; where reading fails, the iterator
// stays where it was.

#pragma once

#include <concepts>
#include <initializer_list>
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

// The text of the value. Linear in its length.
template <Strepped T>
String valueToStrep(const T& value) {
    return textOf(value);
}

// Reads the literal, or throws a TextException.
ZIN_EXPORT void needString(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    std::string_view literal);

// Throws a TextException unless all was read.
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

// Reads an enumerator's name, or a number that has none.
template <describe::DescribedEnum E>
void sequenceToValue(String::IteratorConst& it, const String::IteratorConst& end, E* value) {
    *value = deserializeAttr<E>(it, end, {});
}

// Writes the text of the value.
template <class T>
requires(describe::Value<T> || describe::DescribedEnum<T>) std::ostream& operator<<(
    std::ostream& out,
    const T& value) {
    return out << textOf(value);
}

// One part of a short form.
class ShortField {
  public:
    // The name, and the value's short form or text.
    template <class T>
    ShortField(std::string_view name, const T& value) : name_(name), text_(textIn(value)) {}

    // What it is called.
    std::string_view name() const { return name_; }
    // Its value, as text.
    const String& text() const { return text_; }

  private:
    // Strings as they stand, without quotes.
    static String textIn(const String& text) { return text; }
    static String textIn(bool value) { return value ? "yes" : "no"; }
    template <class T>
    static String textIn(const T& value) {
        if constexpr (requires { value.toStrep(); }) {
            return value.toStrep();
        } else {
            return textOf(value);
        }
    }

    std::string_view name_;
    String text_;
};

// "<vlanId=7;normalizedTag=unset>" of {{"vlanId", vlanId_}, {"normalizedTag", normalizedTag_}}.
ZIN_EXPORT String shortForm(std::initializer_list<ShortField> fields);

}  // namespace Zin
