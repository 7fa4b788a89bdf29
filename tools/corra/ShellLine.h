// The words of a command line that is being written, and how the last one is replaced.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corra/Completion.h"

namespace corra {

class ShellLine {
  public:
    // Quotes and backslashes are understood as bash does, expansions are not.
    ShellLine(std::string_view line, std::string_view wordBreaks);

    // Without quotes. The last one is where the cursor is, and may be empty.
    const std::vector<std::string>& words() const { return words_; }
    const std::string& last() const { return words_.back(); }

    // The candidates that can be written there, quoted as that word is, without what bash
    // leaves standing of the word. A whole one that is alone ends with what ends the word.
    std::vector<std::string> replacements(const std::vector<Candidate>& candidates) const;

  private:
    std::vector<std::string> words_{{}};
    // The quote that is open at the cursor, or 0.
    char quote_ = 0;
    // How much of the last word bash leaves standing.
    std::size_t kept_ = 0;
};

}  // namespace corra
