// TextReader reads the text forms of values. It stands at a position of a text, takes what it
// is asked for, and throws a TextException with the position when something else is there.
//
// A value type with a text form supplies `static T textNext(TextReader&)`, which reads one
// value and leaves the reader behind it, so that values can be read out of the middle of longer
// texts.
//
// Numbers have one spelling: no sign, no blanks, no leading zeros. Linear in what is read.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/String.h"

namespace Zin {

class ZIN_EXPORT TextReader {
  public:
    // REQUIRES: the text outlives this object.
    explicit TextReader(std::string_view text) : text_(text) {}

    std::size_t position() const { return at_; }
    // What was not read yet.
    std::string_view rest() const { return text_.substr(at_); }

    // Takes the literal if it comes next.
    bool skip(std::string_view literal);
    void need(std::string_view literal);
    void needEnd() const;

    // The longest run of these characters, possibly empty.
    std::string_view run(std::string_view characters);

    // A decimal number. One that takes more than 64 bits reads as 2^64 - 1: its range is for
    // the caller to judge.
    std::uint64_t number();
    // A decimal number from `least` to `most`; any other is refused.
    std::uint64_t number(std::uint64_t most) { return number(0, most); }
    std::uint64_t number(std::uint64_t least, std::uint64_t most);
    // Exactly 16 lower-case hexadecimal digits.
    std::uint64_t hex64();
    // A string as appendQuoted writes it.
    String quoted();

    // What stands here, as errors show it: cut short, in quotes.
    std::string found() const;
    // Throws a TextException that names this position and what stands there.
    [[noreturn]] void fail(std::string_view expected) const;

  private:
    std::uint8_t escapedByte();
    // Nothing when it takes more than 64 bits.
    std::optional<std::uint64_t> anyNumber();

    std::string_view text_;
    std::size_t at_ = 0;
};

// The value that the whole text stands for.
template <class T>
T wholeText(std::string_view text) {
    TextReader reader(text);
    T value = T::textNext(reader);
    reader.needEnd();
    return value;
}

}  // namespace Zin
