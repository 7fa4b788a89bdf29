#include "Zin/TextReader.h"

#include <algorithm>
#include <limits>
#include <string>

#include "Zin/Exceptions.h"
#include "Zin/ValueInfo.h"

namespace Zin {

namespace {

constexpr std::string_view decimalDigits = "0123456789";
constexpr std::string_view hexDigits = "0123456789abcdef";

}  // namespace

std::string TextReader::found() const {
    constexpr std::size_t shown = 24;
    if (rest().empty()) return "the end of the text";
    std::string found;
    appendQuoted(found, rest().substr(0, shown));
    if (rest().size() > shown) found += "...";
    return found;
}

void TextReader::fail(std::string_view expected) const {
    throw TextException(at_, expected, found());
}

bool TextReader::skip(std::string_view literal) {
    if (!rest().starts_with(literal)) return false;
    at_ += literal.size();
    return true;
}

void TextReader::need(std::string_view literal) {
    if (skip(literal)) return;
    std::string expected;
    appendQuoted(expected, literal);
    fail(expected);
}

void TextReader::needEnd() const {
    if (!rest().empty()) fail("the end of the text");
}

std::string_view TextReader::run(std::string_view characters) {
    const std::string_view left = rest();
    const std::string_view taken = left.substr(0, left.find_first_not_of(characters));
    at_ += taken.size();
    return taken;
}

std::optional<std::uint64_t> TextReader::anyNumber() {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const TextReader start = *this;
    const std::string_view digits = run(decimalDigits);
    if (digits.empty()) start.fail("a decimal number");
    if (digits.size() > 1 && digits[0] == '0') start.fail("a number without leading zeros");
    std::uint64_t number = 0;
    for (const char c : digits) {
        const auto digit = static_cast<std::uint64_t>(c - '0');
        if (number > (most - digit) / 10) return std::nullopt;
        number = number * 10 + digit;
    }
    return number;
}

std::uint64_t TextReader::number() {
    return anyNumber().value_or(std::numeric_limits<std::uint64_t>::max());
}

std::uint64_t TextReader::number(std::uint64_t least, std::uint64_t most) {
    const TextReader start = *this;
    const std::optional<std::uint64_t> read = anyNumber();
    if (!read || *read < least || *read > most) {
        start.fail("a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return *read;
}

std::uint64_t TextReader::hex64() {
    std::uint64_t number = 0;
    for (int i = 0; i < 16; ++i) {
        const std::size_t digit =
            rest().empty() ? std::string_view::npos : hexDigits.find(rest()[0]);
        if (digit == std::string_view::npos) fail("16 lower-case hexadecimal digits");
        number = number << 4 | digit;
        ++at_;
    }
    return number;
}

std::uint8_t TextReader::escapedByte() {
    if (skip("\\")) return '\\';
    if (skip("'")) return '\'';
    const TextReader start = *this;
    if (skip("x") && rest().size() >= 2) {
        const std::size_t high = hexDigits.find(rest()[0]);
        const std::size_t low = hexDigits.find(rest()[1]);
        const bool digits = high != std::string_view::npos && low != std::string_view::npos;
        const std::size_t byte = high << 4 | low;
        if (digits && (byte < 0x20 || byte >= 0x7f)) {
            at_ += 2;
            return static_cast<std::uint8_t>(byte);
        }
    }
    start.fail("an escaped quote, backslash, control character or byte that is no UTF-8");
}

String TextReader::quoted() {
    const TextReader start = *this;
    need("'");
    std::string bytes;
    bool plain = true;
    while (!skip("'")) {
        if (rest().empty()) fail("a closing quote");
        if (skip("\\")) {
            bytes += static_cast<char>(escapedByte());
        } else {
            const auto byte = static_cast<unsigned char>(rest()[0]);
            if (byte < 0x20 || byte == 0x7f) fail("no control character");
            bytes += rest()[0];
            ++at_;
        }
        plain = plain && static_cast<unsigned char>(bytes.back()) < 0x80;
    }
    if (!plain) {
        // One spelling: bytes are escaped where they are no UTF-8, and nowhere else.
        std::string written;
        appendQuoted(written, bytes);
        const std::string_view read = start.rest().substr(0, at_ - start.at_);
        if (read != written) {
            const auto [found, due] =
                std::mismatch(read.begin(), read.end(), written.begin(), written.end());
            at_ = start.at_ + static_cast<std::size_t>(found - read.begin());
            fail("UTF-8 as it stands, other bytes escaped");
        }
    }
    return bytes;
}

}  // namespace Zin
