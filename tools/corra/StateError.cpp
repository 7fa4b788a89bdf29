#include "corra/StateError.h"

namespace corra {

namespace {

std::string separated(const std::string& place, const std::string& problem) {
    return place.empty() ? ": " + problem : ": " + place + ": " + problem;
}

std::string described(const nlohmann::json& value) {
    if (value.is_object()) return "an object";
    if (value.is_array()) return "an array";
    if (value.is_string()) return inJson(value.get_ref<const std::string&>());
    return value.dump();
}

}  // namespace

StateError::StateError(
    std::string_view file,
    const std::string& pointer,
    const std::string& problem)
    : std::runtime_error(std::string(file) + separated(pointer, problem)),
      place_(pointer),
      problem_(problem) {}

StateError::StateError(
    std::string_view file,
    std::size_t line,
    std::size_t column,
    const std::string& problem)
    : std::runtime_error(
          std::string(file) + ':' + std::to_string(line) + ':' + std::to_string(column) + ": " +
          problem),
      place_(std::to_string(line) + ':' + std::to_string(column)),
      problem_(problem) {}

StateError::~StateError() = default;

std::string StatePlace::pointer() const {
    if (!around_) return {};
    return around_->pointer() + '/' + pointerToken(name_);
}

void StatePlace::fail(const std::string& problem) const {
    throw StateError(file_, pointer(), problem);
}

void StatePlace::fail(const std::string& expected, const std::string& found) const {
    fail("expected " + expected + ", found " + found);
}

void StatePlace::fail(const std::string& expected, const nlohmann::json& found) const {
    fail(expected, described(found));
}

std::string pointerToken(std::string_view name) {
    std::string token;
    for (const char c : name) {
        if (c == '~') {
            token += "~0";
        } else if (c == '/') {
            token += "~1";
        } else {
            token += c;
        }
    }
    return token;
}

std::string inJson(std::string_view text) {
    constexpr std::size_t most = 60;
    const bool whole = text.size() <= most;
    // What a cut leaves of a character is dropped.
    const nlohmann::json shown = std::string(text.substr(0, most));
    using Handler = nlohmann::json::error_handler_t;
    return shown.dump(-1, ' ', false, Handler::ignore) + (whole ? "" : "...");
}

}  // namespace corra
