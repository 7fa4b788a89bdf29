// One line of a router's configuration and a place in it that moves by words. It refers to the
// text that it was made from. Columns count bytes from 1; a tab is one byte.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corra {

// Any text as part of a message: short, printable, in quotation marks.
std::string inQuotes(std::string_view text);

class ConfigLine {
  public:
    struct Word {
        std::string_view text = {};
        std::size_t column = 0;

        std::string found() const { return text.empty() ? "end of line" : inQuotes(text); }
    };

    // What trails the line, blanks and a carriage return, is not part of it.
    ConfigLine(std::string_view text, std::size_t number);

    std::size_t number() const { return number_; }
    std::size_t indentation() const { return indentation_; }
    std::string_view statement() const { return text_.substr(indentation_); }
    bool isComment() const {
        return statement().empty() || statement()[0] == '!' || statement()[0] == '#';
    }

    // The next word. An empty one, just behind the line, when there is none.
    Word peek() const;
    Word next();

    // The first byte that is not printable ASCII or a tab. An empty word when there is none.
    Word junk() const;

  private:
    std::string_view text_;
    std::size_t number_;
    std::size_t indentation_;
    std::size_t at_;
};

}  // namespace corra
