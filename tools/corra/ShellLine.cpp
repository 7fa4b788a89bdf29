#include "corra/ShellLine.h"

#include <algorithm>

namespace corra {

namespace {

constexpr std::string_view blanks = " \t\n";
constexpr std::string_view quotes = "'\"";
// In double quotes.
constexpr std::string_view alive = "\"$`\\";

bool isIn(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}

std::string escapedIn(std::string_view text, char quote) {
    // A bracket alone is no pattern.
    constexpr std::string_view special = " \t\n'\"\\$`&|;<>()]{}*?!#~";
    std::string escaped;
    for (const char c : text) {
        if (quote == '\'') {
            escaped += c == '\'' ? std::string("'\\''") : std::string(1, c);
        } else {
            if (isIn(c, quote == '"' ? alive : special)) escaped += '\\';
            escaped += c;
        }
    }
    return escaped;
}

std::string withoutQuotes(std::string text) {
    std::erase_if(text, [](char c) { return isIn(c, quotes); });
    return text;
}

}  // namespace

ShellLine::ShellLine(std::string_view line, std::string_view wordBreaks) {
    std::size_t keptBeforeQuote = 0;
    bool inWord = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        std::string& word = words_.back();
        if (c == quote_) {
            quote_ = 0;
            kept_ = keptBeforeQuote;
        } else if (c == '\\' && quote_ != '\'' && at + 1 < line.size()) {
            const char next = line[++at];
            if (quote_ == '"' && !isIn(next, alive)) word += c;
            word += next;
        } else if (quote_) {
            word += c;
        } else if (isIn(c, quotes)) {
            quote_ = c;
            keptBeforeQuote = std::exchange(kept_, word.size());
        } else if (!isIn(c, blanks)) {
            word += c;
            if (isIn(c, wordBreaks)) kept_ = word.size();
        } else if (inWord) {
            words_.emplace_back();
            kept_ = 0;
        }
        inWord = quote_ || !isIn(c, blanks);
    }
}

std::vector<std::string> ShellLine::replacements(
    const std::vector<Candidate>& candidates) const {
    std::vector<Candidate> fitting;
    for (const Candidate& candidate : candidates) {
        if (candidate.text.starts_with(last())) fitting.push_back(candidate);
    }
    if (fitting.empty()) {
        // Quotes of a key that the shell took for its own.
        const std::string loose = withoutQuotes(last());
        for (const Candidate& candidate : candidates) {
            const bool fits = withoutQuotes(candidate.text).starts_with(loose) &&
                              candidate.text.starts_with(last().substr(0, kept_));
            if (fits) fitting.push_back(candidate);
        }
    }
    if (fitting.size() == 1 && !fitting.front().more.empty()) {
        fitting.push_back({fitting.front().text + fitting.front().more, false});
    }
    // Double quotes are easier to read than backslashes.
    const bool opensQuote =
        !quote_ && kept_ == 0 &&
        std::any_of(fitting.begin(), fitting.end(), [](const Candidate& candidate) {
            return escapedIn(candidate.text, 0) != candidate.text;
        });
    const char quote = opensQuote ? '"' : quote_;
    const bool isOnly = fitting.size() == 1 && fitting.front().isWhole;
    std::vector<std::string> replacements;
    for (const Candidate& candidate : fitting) {
        std::string text = escapedIn(candidate.text.substr(kept_), quote);
        if (opensQuote) text.insert(0, 1, quote);
        if (isOnly && opensQuote) text += quote;
        // A quote that was open is closed by bash.
        if (isOnly && !quote_) text += ' ';
        replacements.push_back(std::move(text));
    }
    return replacements;
}

}  // namespace corra
