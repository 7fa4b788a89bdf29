// The layer-2 VPN part of a `running-config.txt`, as FRR's LDP daemon prints it: text in, plain
// structs out. The text is read once, by lines, in expected linear time; the result owns all
// that it holds.
//
// Of the text outside of `l2vpn NAME type vpls` blocks only the host name and the LDP router id
// are read; the rest is skipped. Inside such a block every line is understood, or reported.
//
// An unknown statement, left out with the lines indented below it, becomes a Diagnostic; so
// does a value that replaces an earlier one of its block, and an `exit` too many.
//
// RouterConfigError ends the parse and nothing is returned: for a known statement with a wrong
// argument or outside of its block, a block that is not closed, a name or a neighbor with a
// pw-id that is in use, a pseudowire without neighbor or pw-id, and for bytes in a block that
// are not printable ASCII.
//
// `no` takes back what stands before it, or does nothing, as on the router.
// Lines and columns count from 1, columns in bytes.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/PseudowireId.h"
#include "Pseudowire/PseudowireType.h"
#include "Vorn/IpGenAddr.h"

namespace corra {

inline constexpr std::uint16_t defaultMtu = 1500;

struct RouterConfig {
    struct Interface {
        std::string name;
        std::size_t line;
        // Of the name.
        std::size_t column;

        bool operator==(const Interface&) const = default;
    };

    struct Pseudowire {
        std::string name;
        std::size_t line;
        // IPv4.
        Vorn::IpGenAddr neighborLsrId = {};
        // Where the neighbor is reached when that is not its LSR id; none otherwise.
        Vorn::IpGenAddr neighborAddress = {};
        ::Pseudowire::PseudowireId pwId = 0;
        bool controlWord = true;
        // Whether the status TLV is used (RFC 8077).
        bool pwStatus = true;

        bool operator==(const Pseudowire&) const = default;
    };

    struct Instance {
        std::string name;
        std::size_t line;
        std::uint16_t mtu = defaultMtu;
        // Ethernet or tagged Ethernet.
        ::Pseudowire::PseudowireType pseudowireType = ::Pseudowire::PseudowireType::ethernet;
        // Empty when the instance has no bridge.
        std::string bridge = {};
        std::vector<Interface> interfaces = {};
        std::vector<Pseudowire> pseudowires = {};

        bool operator==(const Instance&) const = default;
    };

    struct Diagnostic {
        std::size_t line;
        std::size_t column;
        std::string text;

        bool operator==(const Diagnostic&) const = default;
    };

    // Empty and none when the text has none. The router id is an IPv4 address.
    std::string hostname = {};
    Vorn::IpGenAddr routerId = {};
    // In the order of the text. No interface, bridge or pseudowire name is there twice, nor is
    // a pair of neighborLsrId and pwId.
    std::vector<Instance> instances = {};
    std::vector<Diagnostic> diagnostics = {};

    bool operator==(const RouterConfig&) const = default;
};

// "FILE:LINE:COLUMN: expected ..., found ..."
class RouterConfigError : public std::runtime_error {
  public:
    RouterConfigError(
        std::string file,
        std::size_t line,
        std::size_t column,
        std::string expected,
        std::string found);

    const std::string& file() const noexcept { return file_; }
    std::size_t line() const noexcept { return line_; }
    std::size_t column() const noexcept { return column_; }
    const std::string& expected() const noexcept { return expected_; }
    const std::string& found() const noexcept { return found_; }

  private:
    std::string file_;
    std::size_t line_;
    std::size_t column_;
    std::string expected_;
    std::string found_;
};

// `file` is the name that messages carry; nothing is opened.
RouterConfig parseRouterConfig(std::string_view text, std::string_view file);

// "FILE:LINE:COLUMN: warning: ..."
std::string located(std::string_view file, const RouterConfig::Diagnostic& diagnostic);

}  // namespace corra
