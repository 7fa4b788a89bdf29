#include "Zin/ValueInfo.h"

#include <charconv>

namespace Zin {

namespace {

template <class Number>
void appendNumber(std::string& text, Number number) {
    std::array<char, 40> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

}  // namespace

namespace detail {

void appendUnsigned(std::string& text, std::uint64_t number) {
    appendNumber(text, number);
}

void appendSigned(std::string& text, std::int64_t number) {
    appendNumber(text, number);
}

void appendDouble(std::string& text, double number) {
    appendNumber(text, number);
}

}  // namespace detail

void appendQuoted(std::string& text, std::string_view bytes) {
    constexpr std::string_view hex = "0123456789abcdef";
    text += '\'';
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\'' || c == '\\') {
            text += '\\';
            text += c;
        } else if (byte < 0x20 || byte == 0x7f) {
            text += "\\x";
            text += hex[byte >> 4];
            text += hex[byte & 15];
        } else {
            text += c;
        }
    }
    text += '\'';
}

void appendText(std::string& text, const ValueInfo& type, const void* value) {
    if (type.appendText) {
        type.appendText(text, value);
        return;
    }
    text += "Value('";
    text += type.name;
    text += "', ** {";
    std::string_view separator;
    for (const FieldInfo& field : type.fields) {
        text += separator;
        text += '\'';
        text += field.name;
        text += "': ";
        appendText(text, *field.type, field.in(value));
        separator = ", ";
    }
    text += "})";
}

}  // namespace Zin
