// What is wrong with a state file, or other JSON, and where.
//
//     pe1.json: /roots/pw/attributes/mtu: expected a whole number from 0 to 4294967295, found
//     -1 pe1.json:7:13: unexpected '}', expected string literal

#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace corra {

class StateError : public std::runtime_error {
  public:
    // At a JSON pointer (RFC 6901), empty for the whole file.
    StateError(std::string_view file, const std::string& pointer, const std::string& problem);
    // At a line and a column, both counted from 1, columns in bytes.
    StateError(
        std::string_view file,
        std::size_t line,
        std::size_t column,
        const std::string& problem);
    ~StateError() override;

    // "/roots/pw" or "7:13".
    const std::string& place() const noexcept { return place_; }
    const std::string& problem() const noexcept { return problem_; }

  private:
    std::string place_;
    std::string problem_;
};

// A place in a file while that is read: a chain of object members and array elements, kept on
// the stack.
class StatePlace {
  public:
    explicit StatePlace(std::string_view file) : file_(file) {}
    // REQUIRES: the place around it and the name outlive this object.
    StatePlace(const StatePlace& around, std::string_view name)
        : file_(around.file_), around_(&around), name_(name) {}

    std::string_view file() const { return file_; }
    // RFC 6901.
    std::string pointer() const;

    // Throws a StateError.
    [[noreturn]] void fail(const std::string& problem) const;
    [[noreturn]] void fail(const std::string& expected, const std::string& found) const;
    [[noreturn]] void fail(const std::string& expected, const nlohmann::json& found) const;

  private:
    std::string_view file_;
    const StatePlace* around_ = nullptr;
    std::string_view name_;
};

// A name of a JSON pointer: "~" and "/" escaped.
std::string pointerToken(std::string_view name);

// The text as a JSON string, cut where it is long.
std::string inJson(std::string_view text);

}  // namespace corra
