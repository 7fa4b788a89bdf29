#include "Zin/ValueInfo.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Zin/Assert.h"
#include "Zin/Enum.h"
#include "Zin/Exceptions.h"
#include "Zin/Module.h"
#include "Zin/ValueInfoOf.h"

namespace Zin {

namespace {

template <class Number>
void appendNumber(std::string& text, Number number) {
    std::array<char, 40> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

// Of a number of that many bytes, the bits of its magnitude.
constexpr std::uint64_t mostOf(std::size_t bytes, bool isSigned) {
    const std::uint64_t all = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * bytes);
    return isSigned ? all >> 1 : all;
}

constexpr std::string_view doubleCharacters = "+-.0123456789abcdefghijklmnopqrstuvwxyz";

// Bytes of the well-formed UTF-8 sequence (RFC 3629) that the text begins with; 0 when it
// begins with none.
std::size_t utf8Length(std::string_view text) {
    const auto byte = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u;
    };
    const auto continues = [&](std::size_t count) {
        for (std::size_t at = 1; at <= count; ++at) {
            if ((byte(at) & 0xc0) != 0x80) return false;
        }
        return true;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return text.empty() ? 0 : 1;
    if (first >= 0xc2 && first < 0xe0) return continues(1) ? 2 : 0;
    if (first >= 0xe0 && first < 0xf0) {
        const bool overlong = first == 0xe0 && byte(1) < 0xa0;
        const bool surrogate = first == 0xed && byte(1) >= 0xa0;
        return continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xf0 && first < 0xf5) {
        const bool overlong = first == 0xf0 && byte(1) < 0x90;
        const bool beyond = first == 0xf4 && byte(1) >= 0x90;
        return continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

[[noreturn]] void failForCollection(const ValueInfo& type) {
    const ZinModule* const module = typeNamed(type.name).module;
    const std::string condition = "!\"No String constructor for " +
                                  std::string(unqualified(type.name)) + " - has collection\"";
    const std::string source(module ? module->name : "ValueInfo");
    assertionFailed(condition.c_str(), source.c_str(), __LINE__, __func__);
}

void readValue(TextReader& reader, const ValueInfo& type, void* value);

// Runs read(), which reads the field's value; an error is passed on with the field's name.
template <class Read>
void named(TextReader& reader, std::string_view fieldName, const Read& read) {
    const TextReader start = reader;
    try {
        read();
    } catch (const TextException& e) {
        throw TextException(e, fieldName);
    } catch (const TextRangeException& e) {
        throw TextRangeException(e, fieldName);
    } catch (const RangeException& e) {
        throw TextRangeException(
            start.position(),
            fieldName,
            std::string(e.what()) + ", found " + start.found());
    }
}

void readFieldOf(TextReader& reader, const FieldInfo& field, void* value) {
    named(reader, field.name, [&] { readValue(reader, *field.type, field.mutableIn(value)); });
}

// REQUIRES: no collection is inside.
void readValue(TextReader& reader, const ValueInfo& type, void* value) {
    if (type.readText) return type.readText(reader, value);
    if (type.isWrapper()) return readFieldOf(reader, type.fields[0], value);
    reader.need("Value('" + std::string(type.name) + "', ** {");
    std::string_view separator;
    for (const FieldInfo& field : type.fields) {
        reader.need(std::string(separator) + '\'' + std::string(field.name) + "': ");
        readFieldOf(reader, field, value);
        separator = ", ";
    }
    reader.need("})");
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

std::uint64_t readUnsigned(TextReader& reader, std::size_t bytes) {
    return reader.number(mostOf(bytes, false));
}

std::int64_t readSigned(TextReader& reader, std::size_t bytes) {
    const TextReader start = reader;
    if (!reader.skip("-")) {
        return static_cast<std::int64_t>(reader.number(mostOf(bytes, true)));
    }
    const std::uint64_t magnitude = reader.number(mostOf(bytes, true) + 1);
    if (magnitude == 0) start.fail("0 without a sign");
    // The magnitude of the least number does not fit before it is negative.
    return -static_cast<std::int64_t>(magnitude - 1) - 1;
}

double readDouble(TextReader& reader) {
    const TextReader start = reader;
    const std::string_view digits = reader.run(doubleCharacters);
    double number = 0;
    const char* const end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number);
    if (digits.empty() || read.ec != std::errc() || read.ptr != end) {
        start.fail("a floating-point number");
    }
    return number;
}

bool readBool(TextReader& reader) {
    if (reader.skip("True")) return true;
    if (!reader.skip("False")) reader.fail("True or False");
    return false;
}

std::uint32_t readEnumerator(
    TextReader& reader,
    std::span<const describe::Enumerator> all,
    std::size_t bytes) {
    const TextReader start = reader;
    const auto isDigit = [](char c) {
        return c >= '0' && c <= '9';
    };
    if (!reader.rest().empty() && isDigit(reader.rest()[0])) {
        const auto number = static_cast<std::uint32_t>(reader.number(mostOf(bytes, false)));
        const bool named = std::any_of(all.begin(), all.end(), [&](const auto& e) {
            return e.number == number;
        });
        if (named) start.fail(enumName(all, number).view());
        return number;
    }
    constexpr std::string_view wordCharacters =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    if (const auto number = enumNumber(all, reader.run(wordCharacters))) return *number;
    std::string names;
    for (const describe::Enumerator& e : all) {
        names += (names.empty() ? "" : ", ") + std::string(e.name);
    }
    start.fail("one of " + names);
}

}  // namespace detail

bool ValueInfo::holdsCollection() const noexcept {
    if (kind == ValueKind::collection) return true;
    return kind == ValueKind::fields &&
           std::any_of(fields.begin(), fields.end(), [](const FieldInfo& field) {
               return field.type->holdsCollection();
           });
}

bool isUtf8(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const std::size_t length = utf8Length(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

void appendHex64(std::string& text, std::uint64_t number) {
    text += "0x";
    for (int shift = 60; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[number >> shift & 15];
    }
}

void appendQuoted(std::string& text, std::string_view bytes) {
    constexpr std::string_view hex = "0123456789abcdef";
    text += '\'';
    for (std::size_t length = 1; !bytes.empty(); bytes.remove_prefix(length)) {
        const auto byte = static_cast<unsigned char>(bytes[0]);
        const std::size_t whole = utf8Length(bytes);
        length = 1;
        if (bytes[0] == '\'' || bytes[0] == '\\') {
            text += '\\';
            text += bytes[0];
        } else if (whole == 0 || byte < 0x20 || byte == 0x7f) {
            text += "\\x";
            text += hex[byte >> 4];
            text += hex[byte & 15];
        } else {
            text += bytes.substr(0, whole);
            length = whole;
        }
    }
    text += '\'';
}

void appendText(std::string& text, const ValueInfo& type, const void* value) {
    if (type.appendText) return type.appendText(text, value);
    if (type.isWrapper()) {
        return appendText(text, *type.fields[0].type, type.fields[0].in(value));
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

void readText(TextReader& reader, const ValueInfo& type, void* value) {
    if (type.holdsCollection()) failForCollection(type);
    readValue(reader, type, value);
}

void readField(
    TextReader& reader,
    std::string_view fieldName,
    const ValueInfo& type,
    void* value) {
    named(reader, fieldName, [&] { readText(reader, type, value); });
}

}  // namespace Zin
