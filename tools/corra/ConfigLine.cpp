#include "corra/ConfigLine.h"

#include <algorithm>

namespace corra {

namespace {

constexpr std::string_view blanks = " \t";

constexpr bool isPrintable(char c) {
    return c >= 0x20 && c <= 0x7e;
}

}  // namespace

std::string inQuotes(std::string_view text) {
    constexpr std::size_t shown = 60;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text.substr(0, shown)) {
        const auto byte = static_cast<unsigned char>(c);
        if (isPrintable(c) && c != '"' && c != '\\') {
            out += c;
        } else {
            out += {'\\', 'x', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    out += text.size() > shown ? "...\"" : "\"";
    return out;
}

ConfigLine::ConfigLine(std::string_view text, std::size_t number)
    : text_(text.substr(0, text.find_last_not_of(" \t\r") + 1)),
      number_(number),
      indentation_(std::min(text_.find_first_not_of(blanks), text_.size())),
      at_(indentation_) {}

ConfigLine::Word ConfigLine::peek() const {
    const std::size_t begin = std::min(text_.find_first_not_of(blanks, at_), text_.size());
    const std::size_t end = std::min(text_.find_first_of(blanks, begin), text_.size());
    return {text_.substr(begin, end - begin), begin + 1};
}

ConfigLine::Word ConfigLine::next() {
    const Word word = peek();
    at_ = word.column - 1 + word.text.size();
    return word;
}

ConfigLine::Word ConfigLine::junk() const {
    const auto* const at = std::find_if(text_.begin(), text_.end(), [](char c) {
        return !isPrintable(c) && c != '\t';
    });
    const auto offset = static_cast<std::size_t>(at - text_.begin());
    return {text_.substr(offset, 1), offset + 1};
}

}  // namespace corra
