#include "corra/StrictJson.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "corra/StateError.h"

namespace corra {

namespace {

using nlohmann::json;

// The parser says "[...] parse error at PLACE: syntax error while parsing value - unexpected
// ']'; expected ...", or "... - invalid literal; last read: ..." with text of the file, which
// may be long and no UTF-8 and is left out.
std::string problemOf(std::string_view message) {
    if (message.find("number overflow") != std::string_view::npos) return "number too large";
    const std::size_t dash = message.find(" - ");
    if (dash == std::string_view::npos) return "no JSON";
    message.remove_prefix(dash + 3);
    const std::size_t end = message.find("; ");
    std::string problem(message.substr(0, end));
    constexpr std::string_view expected = "; expected ";
    if (end == std::string_view::npos || !message.substr(end).starts_with(expected))
        return problem;
    return problem + ", expected " + std::string(message.substr(end + expected.size()));
}

// Builds the document from the parser's events. It knows where it is at any time.
class Builder {
  public:
    explicit Builder(std::string_view text, std::string_view file) : text_(text), file_(file) {}

    JsonDocument take() { return std::move(document_); }

    bool null() { return add(nullptr); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(std::int64_t value) { return add(value); }
    bool number_unsigned(std::uint64_t value) { return add(value); }
    bool number_float(double value, const std::string&) { return add(value); }
    bool string(std::string& value) { return add(std::move(value)); }
    bool binary(json::binary_t&) { return false; }

    bool start_object(std::size_t) { return open(json::object()); }
    bool key(std::string& name) {
        Open& object = open_.back();
        object.name = name;
        if (object.container->contains(name)) fail("expected each name once, found it again");
        return true;
    }
    bool end_object() { return close(); }
    bool start_array(std::size_t) { return open(json::array()); }
    bool end_array() { return close(); }

    [[noreturn]] bool
    parse_error(std::size_t position, const std::string&, const json::exception& error) {
        const std::string_view before =
            text_.substr(0, std::min(position > 0 ? position - 1 : 0, text_.size()));
        const auto lines = std::count(before.begin(), before.end(), '\n');
        const std::size_t lineStart = before.rfind('\n') + 1;
        throw StateError(
            file_,
            static_cast<std::size_t>(lines) + 1,
            before.size() - lineStart + 1,
            problemOf(error.what()));
    }

  private:
    struct Open {
        json* container;
        // Of the member that is read, in an object.
        std::string name;
    };

    json* place(json value) {
        if (open_.empty()) return &(document_.root() = std::move(value));
        Open& around = open_.back();
        if (around.container->is_array()) {
            around.container->push_back(std::move(value));
            return &around.container->back();
        }
        return &((*around.container)[around.name] = std::move(value));
    }
    bool add(json value) {
        place(std::move(value));
        return true;
    }
    bool open(json container) {
        json* const placed = place(std::move(container));
        if (open_.size() == maxJsonDepth) {
            fail(
                "expected at most " + std::to_string(maxJsonDepth) +
                " objects and arrays inside of each other, found one more");
        }
        open_.push_back({placed, {}});
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    [[noreturn]] void fail(const std::string& problem) const {
        std::string pointer;
        for (const Open& around : open_) {
            const bool isArray = around.container->is_array();
            pointer += '/' + (isArray ? std::to_string(around.container->size() - 1)
                                      : pointerToken(around.name));
        }
        throw StateError(file_, pointer, problem);
    }

    std::string_view text_;
    std::string_view file_;
    JsonDocument document_;
    std::vector<Open> open_;
};

// No deeper than maxJsonDepth.
void removeMembers(json& value) noexcept {
    if (!value.is_structured()) return;
    for (json& member : value) removeMembers(member);
    value.clear();
}

}  // namespace

JsonDocument::~JsonDocument() {
    removeMembers(root_);
}

JsonDocument parseStrictJson(std::string_view text, std::string_view file) {
    Builder builder(text, file);
    json::sax_parse(text, &builder);
    return builder.take();
}

}  // namespace corra
