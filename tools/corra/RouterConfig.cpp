#include "corra/RouterConfig.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <optional>
#include <unordered_map>
#include <utility>

#include "Zin/Exceptions.h"
#include "corra/ConfigLine.h"

namespace corra {

namespace {

using Word = ConfigLine::Word;

// What the daemon takes; the interface parameter has two octets (RFC 8077).
constexpr std::uint32_t mtuMin = 512;
constexpr std::uint32_t mtuMax = 65535;
constexpr std::uint32_t pwIdMax = 4294967295;

std::string ofLine(std::size_t line) {
    return " of line " + std::to_string(line);
}

// Of one host elsewhere: not of this network, loopback, multicast or reserved (RFC 6890). Nor,
// with IPv6, of a link: the text has no place for the link's name.
bool isUnicast(const Vorn::IpGenAddr& address) {
    const auto& octets = address.address().bytes();
    switch (address.family()) {
        case Vorn::AddressFamily::none:
            return false;
        case Vorn::AddressFamily::ip4:
            return octets[0] != 0 && octets[0] != 127 && octets[0] < 224;
        case Vorn::AddressFamily::ip6:
            break;
    }
    const bool isUnspecifiedOrLoopback =
        octets.back() <= 1 &&
        std::all_of(octets.begin(), octets.end() - 1, [](auto octet) { return octet == 0; });
    const bool isLinkLocal = octets[0] == 0xfe && (octets[1] & 0xc0U) == 0x80;
    return octets[0] != 0xff && !isLinkLocal && !isUnspecifiedOrLoopback;
}

// None when the text is no address of that kind.
Vorn::IpGenAddr parsedUnicast(std::string_view text) {
    try {
        const auto address = Vorn::IpGenAddr::fromStringValue(text);
        return isUnicast(address) ? address : Vorn::IpGenAddr();
    } catch (const Zin::TextException&) {
        return {};
    }
}

// No two pseudowires of a router have the same.
std::uint64_t pseudowireKey(const RouterConfig::Pseudowire& pseudowire) {
    const auto& octets = pseudowire.neighborLsrId.address().bytes();
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 4; ++i) key = key << 8U | octets[i];
    return key << 32U | pseudowire.pwId;
}

class Parser {
  public:
    Parser(std::string_view text, std::string_view file) : text_(text), file_(file) {}

    RouterConfig parse();

  private:
    enum class Block { outside, instance, pseudowire };

    struct Statement {
        std::string_view first;
        std::string_view second;  // empty: the first word says it all
        Block block;
        bool elsewhere;  // a block that is skipped may have a statement of that name
        bool repeats;    // a block may have many
        void (Parser::*take)(ConfigLine&, bool no);
        std::size_t seenAtLine = 0;  // in the open block
    };

    // Bridges, interfaces and pseudowires of a router share the name space of its interfaces.
    enum class Role { bridge, interface, pseudowire };
    struct NameUse {
        std::size_t line;
        std::size_t instance;
        Role role;
        std::size_t member;
    };

    struct Unknown {
        std::size_t indentation;
        std::size_t linesBelow = 0;
    };

    void read(ConfigLine& line);
    void readOutside(ConfigLine& line);
    void readInside(ConfigLine& line);
    bool belongsToUnknown(ConfigLine line);
    Statement* find(ConfigLine& line, const Word& first);
    std::string secondWordsOf(std::string_view first) const;

    void openInstance(ConfigLine& line);
    void removeInstance(ConfigLine& line);
    void close(ConfigLine& line, const Word& exit);
    void requireWhole(const ConfigLine& line, const Word& exit);
    std::string exitOfBlock() const;

    void takeVcType(ConfigLine& line, bool no);
    void takeMtu(ConfigLine& line, bool no);
    void takeBridge(ConfigLine& line, bool no);
    void takeMemberInterface(ConfigLine& line, bool no);
    void takeMemberPseudowire(ConfigLine& line, bool no);
    void takeNeighborLsrId(ConfigLine& line, bool no);
    void takeNeighborAddress(ConfigLine& line, bool no);
    void takePwId(ConfigLine& line, bool no);
    void takeControlWord(ConfigLine& line, bool no);
    void takePwStatus(ConfigLine& line, bool no);

    // Arguments. A `no` may leave out the value that it takes back: the result is 0 then.
    bool isLeftOut(const ConfigLine& line, bool no) const {
        return no && line.peek().text.empty();
    }
    Word requiredName(ConfigLine& line, std::string_view what);
    std::size_t
    choice(ConfigLine& line, bool no, std::initializer_list<std::string_view> words);
    std::uint32_t number(ConfigLine& line, bool no, std::uint32_t min, std::uint32_t max);
    Vorn::IpGenAddr unicastIpv4(ConfigLine& line);
    void requireEnd(ConfigLine& line);
    void requirePrintable(const ConfigLine& line);

    void occupy(const ConfigLine& line, const Word& name, Role role, std::size_t member);
    std::optional<std::size_t> release(std::string_view name, Role role);
    void drop(RouterConfig::Pseudowire& pseudowire);

    RouterConfig::Instance& instance() { return config_.instances.back(); }
    RouterConfig::Pseudowire& pseudowire() { return instance().pseudowires.back(); }
    void open(Block block);

    void warn(const ConfigLine& line, const Word& at, std::string text);
    [[noreturn]] void fail(const ConfigLine& line, const Word& at, std::string expected) const;
    [[noreturn]] void
    fail(std::size_t line, std::size_t column, std::string expected, std::string found) const;

    std::string_view text_;
    std::string_view file_;
    Statement statements_[10] = {
        {"vc", "type", Block::instance, false, false, &Parser::takeVcType},
        {"mtu", "", Block::instance, true, false, &Parser::takeMtu},
        {"bridge", "", Block::instance, true, false, &Parser::takeBridge},
        {"member", "interface", Block::instance, false, true, &Parser::takeMemberInterface},
        {"member", "pseudowire", Block::instance, false, true, &Parser::takeMemberPseudowire},
        {"neighbor", "lsr-id", Block::pseudowire, false, false, &Parser::takeNeighborLsrId},
        {"neighbor", "address", Block::pseudowire, true, false, &Parser::takeNeighborAddress},
        {"pw-id", "", Block::pseudowire, false, false, &Parser::takePwId},
        {"control-word", "", Block::pseudowire, true, false, &Parser::takeControlWord},
        {"pw-status", "", Block::pseudowire, false, false, &Parser::takePwStatus},
    };

    // What was taken back keeps its place, with an empty name, until all is read.
    RouterConfig config_;
    Block block_ = Block::outside;
    bool isAfterInstance_ = false;
    bool isInLdp_ = false;
    std::optional<Unknown> unknown_;
    std::size_t pwIdLine_ = 0;
    std::size_t pwIdColumn_ = 0;

    std::unordered_map<std::string_view, std::size_t> instances_;
    std::unordered_map<std::string_view, NameUse> names_;
    std::unordered_map<std::uint64_t, std::size_t> pseudowireLines_;
};

RouterConfig Parser::parse() {
    constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
    std::string_view rest = text_;
    if (rest.substr(0, byteOrderMark.size()) == byteOrderMark) {
        rest.remove_prefix(byteOrderMark.size());
    }
    for (std::size_t number = 1;; ++number) {
        const std::size_t end = rest.find('\n');
        ConfigLine line(rest.substr(0, end), number);
        if (!line.isComment()) read(line);
        if (end == std::string_view::npos) {
            if (block_ == Block::outside) break;
            fail(number, rest.size() + 1, exitOfBlock(), "end of file");
        }
        rest.remove_prefix(end + 1);
    }

    const auto wasTakenBack = [](const auto& item) {
        return item.name.empty();
    };
    std::erase_if(config_.instances, wasTakenBack);
    for (RouterConfig::Instance& each : config_.instances) {
        std::erase_if(each.interfaces, wasTakenBack);
        std::erase_if(each.pseudowires, wasTakenBack);
    }
    return std::move(config_);
}

void Parser::read(ConfigLine& line) {
    if (block_ == Block::outside) {
        readOutside(line);
    } else if (!belongsToUnknown(line)) {
        requirePrintable(line);
        readInside(line);
    }
}

void Parser::readOutside(ConfigLine& line) {
    const bool isFirstAfterInstance = std::exchange(isAfterInstance_, false);
    Word first = line.next();
    const bool no = first.text == "no";
    if (no) first = line.next();
    if (first.text == "l2vpn") {
        isInLdp_ = false;
        requirePrintable(line);
        return no ? removeInstance(line) : openInstance(line);
    }
    if (const Statement* const lost = find(line, first); lost != nullptr && !lost->elsewhere) {
        fail(line, first, "\"l2vpn NAME type vpls\" before this line");
    }
    if (no) return;
    const bool isTopLevel = line.indentation() == 0;
    if (first.text == "exit" && isFirstAfterInstance) {
        warn(line, first, "no block is open for this \"exit\"");
    } else if (isTopLevel && first.text == "hostname") {
        requirePrintable(line);
        config_.hostname = requiredName(line, "a host name").text;
        requireEnd(line);
    } else if (isTopLevel && first.text == "mpls" && line.peek().text == "ldp") {
        isInLdp_ = true;
    } else if (isTopLevel && first.text == "exit") {
        isInLdp_ = false;
    } else if (isInLdp_ && first.text == "router-id") {
        requirePrintable(line);
        config_.routerId = unicastIpv4(line);
        requireEnd(line);
    }
}

void Parser::readInside(ConfigLine& line) {
    Word first = line.next();
    if (first.text == "exit") return close(line, first);
    const bool no = first.text == "no";
    if (no) first = line.next();
    if (first.text == "l2vpn" || first.text == "end") fail(line, first, exitOfBlock());

    Statement* const statement = find(line, first);
    if (statement == nullptr) {
        const std::string secondWords = secondWordsOf(first.text);
        if (!secondWords.empty() && line.peek().text.empty()) {
            fail(line, line.peek(), secondWords);
        }
        warn(line, first, "unknown statement " + inQuotes(line.statement()) + " left out");
        unknown_ = Unknown{line.indentation()};
        return;
    }
    if (statement->block != block_) {
        fail(
            line,
            first,
            block_ == Block::pseudowire ? exitOfBlock()
                                        : "\"member pseudowire NAME\" before this line");
    }
    if (!no && !statement->repeats && statement->seenAtLine != 0) {
        warn(line, first, "replaces the value" + ofLine(statement->seenAtLine));
    }
    statement->seenAtLine = no ? 0 : line.number();
    (this->*statement->take)(line, no);
    requireEnd(line);
}

// A statement that is not known may open a block. Its lines are indented below it, and their
// `exit` is not that of the block around it.
bool Parser::belongsToUnknown(ConfigLine line) {
    if (!unknown_) return false;
    if (line.indentation() > unknown_->indentation) {
        ++unknown_->linesBelow;
        return true;
    }
    const Unknown unknown = *std::exchange(unknown_, std::nullopt);
    if (unknown.linesBelow == 0) return false;
    config_.diagnostics.back().text +=
        "; lines indented below it, left out too: " + std::to_string(unknown.linesBelow);
    return line.indentation() == unknown.indentation && line.statement() == "exit";
}

// Moves behind the statement's words when it is known.
Parser::Statement* Parser::find(ConfigLine& line, const Word& first) {
    for (Statement& statement : statements_) {
        if (statement.first != first.text) continue;
        if (statement.second.empty()) return &statement;
        if (statement.second == line.peek().text) {
            line.next();
            return &statement;
        }
    }
    return nullptr;
}

std::string Parser::secondWordsOf(std::string_view first) const {
    std::string words;
    for (const Statement& statement : statements_) {
        if (statement.first != first) continue;
        words += (words.empty() ? "" : " or ") + inQuotes(statement.second);
    }
    return words;
}

void Parser::openInstance(ConfigLine& line) {
    const Word name = requiredName(line, "an instance name");
    choice(line, false, {"type"});
    choice(line, false, {"vpls"});
    requireEnd(line);
    const auto [known, isNew] = instances_.emplace(name.text, config_.instances.size());
    if (!isNew) {
        const RouterConfig::Instance& other = config_.instances[known->second];
        fail(
            line.number(),
            name.column,
            "an instance name that is not in use",
            name.found() + ofLine(other.line));
    }
    config_.instances.push_back({.name = std::string(name.text), .line = line.number()});
    open(Block::instance);
}

void Parser::removeInstance(ConfigLine& line) {
    const Word name = requiredName(line, "an instance name");
    choice(line, false, {"type"});
    choice(line, false, {"vpls"});
    requireEnd(line);
    const auto known = instances_.find(name.text);
    if (known == instances_.end()) return;
    RouterConfig::Instance& removed = config_.instances[known->second];
    names_.erase(removed.bridge);
    for (const RouterConfig::Interface& each : removed.interfaces) names_.erase(each.name);
    for (RouterConfig::Pseudowire& each : removed.pseudowires) drop(each);
    removed.name.clear();
    instances_.erase(known);
}

void Parser::close(ConfigLine& line, const Word& exit) {
    requireEnd(line);
    if (block_ == Block::pseudowire) {
        requireWhole(line, exit);
        block_ = Block::instance;
    } else {
        block_ = Block::outside;
        isAfterInstance_ = true;
    }
}

void Parser::requireWhole(const ConfigLine& line, const Word& exit) {
    const std::string of =
        " of pseudowire " + inQuotes(pseudowire().name) + " before this line";
    if (pseudowire().neighborLsrId == Vorn::IpGenAddr()) {
        fail(line, exit, "\"neighbor lsr-id A.B.C.D\"" + of);
    }
    if (pseudowire().pwId == 0) fail(line, exit, "\"pw-id NUMBER\"" + of);
    const auto [other, isNew] =
        pseudowireLines_.emplace(pseudowireKey(pseudowire()), pseudowire().line);
    if (!isNew) {
        fail(
            pwIdLine_,
            pwIdColumn_,
            "a pw-id that is not in use with this neighbor",
            std::to_string(pseudowire().pwId) + " of the pseudowire" + ofLine(other->second));
    }
}

std::string Parser::exitOfBlock() const {
    const RouterConfig::Instance& outer = config_.instances.back();
    const auto exitOf = [](std::string_view what, const auto& opened) {
        return "\"exit\" of " + std::string(what) + inQuotes(opened.name) + ofLine(opened.line);
    };
    return block_ == Block::pseudowire ? exitOf("pseudowire ", outer.pseudowires.back())
                                       : exitOf("instance ", outer);
}

void Parser::takeVcType(ConfigLine& line, bool no) {
    const bool isTagged = choice(line, no, {"ethernet", "ethernet-tagged"}) == 1;
    instance().pseudowireType = isTagged && !no ? ::Pseudowire::PseudowireType::ethernetTagged
                                                : ::Pseudowire::PseudowireType::ethernet;
}

void Parser::takeMtu(ConfigLine& line, bool no) {
    const std::uint32_t mtu = number(line, no, mtuMin, mtuMax);
    instance().mtu = no ? defaultMtu : static_cast<std::uint16_t>(mtu);
}

void Parser::takeBridge(ConfigLine& line, bool no) {
    const Word name = isLeftOut(line, no) ? Word{} : requiredName(line, "a bridge name");
    names_.erase(instance().bridge);
    instance().bridge.clear();
    if (no) return;
    occupy(line, name, Role::bridge, 0);
    instance().bridge = name.text;
}

void Parser::takeMemberInterface(ConfigLine& line, bool no) {
    auto& interfaces = instance().interfaces;
    const Word name = requiredName(line, "an interface name");
    if (no) {
        const auto index = release(name.text, Role::interface);
        if (index) interfaces[*index].name.clear();
        return;
    }
    occupy(line, name, Role::interface, interfaces.size());
    interfaces.push_back({std::string(name.text), line.number(), name.column});
}

void Parser::takeMemberPseudowire(ConfigLine& line, bool no) {
    auto& pseudowires = instance().pseudowires;
    const Word name = requiredName(line, "a pseudowire name");
    if (no) {
        const auto index = release(name.text, Role::pseudowire);
        if (index) drop(pseudowires[*index]);
        return;
    }
    occupy(line, name, Role::pseudowire, pseudowires.size());
    pseudowires.push_back({.name = std::string(name.text), .line = line.number()});
    open(Block::pseudowire);
}

void Parser::takeNeighborLsrId(ConfigLine& line, bool no) {
    const Vorn::IpGenAddr lsrId = isLeftOut(line, no) ? Vorn::IpGenAddr() : unicastIpv4(line);
    pseudowire().neighborLsrId = no ? Vorn::IpGenAddr() : lsrId;
}

void Parser::takeNeighborAddress(ConfigLine& line, bool no) {
    pseudowire().neighborAddress = {};
    if (isLeftOut(line, no)) return;
    const Word word = line.next();
    const Vorn::IpGenAddr address = parsedUnicast(word.text);
    if (address == Vorn::IpGenAddr()) fail(line, word, "a unicast IPv4 or IPv6 address");
    if (!no) pseudowire().neighborAddress = address;
}

void Parser::takePwId(ConfigLine& line, bool no) {
    pwIdLine_ = line.number();
    pwIdColumn_ = line.peek().column;
    const std::uint32_t id = number(line, no, 1, pwIdMax);
    pseudowire().pwId = no ? 0 : id;
}

void Parser::takeControlWord(ConfigLine& line, bool no) {
    const bool isExcluded = choice(line, no, {"include", "exclude"}) == 1;
    pseudowire().controlWord = no || !isExcluded;
}

void Parser::takePwStatus(ConfigLine& line, bool no) {
    choice(line, no, {"disable"});
    pseudowire().pwStatus = no;
}

Word Parser::requiredName(ConfigLine& line, std::string_view what) {
    const Word word = line.next();
    if (word.text.empty()) fail(line, word, std::string(what));
    return word;
}

std::size_t
Parser::choice(ConfigLine& line, bool no, std::initializer_list<std::string_view> words) {
    if (isLeftOut(line, no)) return 0;
    const Word word = line.next();
    const auto* const found = std::find(words.begin(), words.end(), word.text);
    if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
    std::string expected;
    for (const std::string_view each : words) {
        expected += (expected.empty() ? "" : " or ") + inQuotes(each);
    }
    fail(line, word, std::move(expected));
}

std::uint32_t Parser::number(ConfigLine& line, bool no, std::uint32_t min, std::uint32_t max) {
    if (isLeftOut(line, no)) return 0;
    const Word word = line.next();
    std::uint32_t value = 0;
    const char* const end = word.text.data() + word.text.size();
    const auto [stop, error] = std::from_chars(word.text.data(), end, value);
    if (error != std::errc() || stop != end || value < min || value > max) {
        fail(line, word, "a number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return value;
}

Vorn::IpGenAddr Parser::unicastIpv4(ConfigLine& line) {
    const Word word = line.next();
    const Vorn::IpGenAddr address = parsedUnicast(word.text);
    if (address.family() != Vorn::AddressFamily::ip4) {
        fail(line, word, "a unicast IPv4 address");
    }
    return address;
}

void Parser::requireEnd(ConfigLine& line) {
    const Word word = line.next();
    if (!word.text.empty()) fail(line, word, "end of line");
}

void Parser::requirePrintable(const ConfigLine& line) {
    const Word junk = line.junk();
    if (!junk.text.empty()) fail(line, junk, "printable ASCII");
}

void Parser::occupy(const ConfigLine& line, const Word& name, Role role, std::size_t member) {
    const NameUse use = {line.number(), config_.instances.size() - 1, role, member};
    const auto [other, isNew] = names_.emplace(name.text, use);
    if (isNew) return;
    fail(
        line.number(),
        name.column,
        "a name that is not in use",
        name.found() + ofLine(other->second.line));
}

// The place of the open instance's member, if there is one of that name.
std::optional<std::size_t> Parser::release(std::string_view name, Role role) {
    const auto found = names_.find(name);
    if (found == names_.end()) return std::nullopt;
    const NameUse use = found->second;
    if (use.role != role || use.instance != config_.instances.size() - 1) return std::nullopt;
    names_.erase(found);
    return use.member;
}

void Parser::drop(RouterConfig::Pseudowire& pseudowire) {
    if (pseudowire.name.empty()) return;
    names_.erase(pseudowire.name);
    pseudowireLines_.erase(pseudowireKey(pseudowire));
    pseudowire.name.clear();
}

void Parser::open(Block block) {
    block_ = block;
    for (Statement& statement : statements_) {
        if (statement.block == block) statement.seenAtLine = 0;
    }
}

void Parser::warn(const ConfigLine& line, const Word& at, std::string text) {
    config_.diagnostics.push_back({line.number(), at.column, std::move(text)});
}

void Parser::fail(const ConfigLine& line, const Word& at, std::string expected) const {
    fail(line.number(), at.column, std::move(expected), at.found());
}

void Parser::fail(std::size_t line, std::size_t column, std::string expected, std::string found)
    const {
    throw RouterConfigError(
        std::string(file_),
        line,
        column,
        std::move(expected),
        std::move(found));
}

std::string at(std::string_view file, std::size_t line, std::size_t column) {
    return std::string(file) + ':' + std::to_string(line) + ':' + std::to_string(column) + ": ";
}

}  // namespace

RouterConfigError::RouterConfigError(
    std::string file,
    std::size_t line,
    std::size_t column,
    std::string expected,
    std::string found)
    : std::runtime_error(at(file, line, column) + "expected " + expected + ", found " + found),
      file_(std::move(file)),
      line_(line),
      column_(column),
      expected_(std::move(expected)),
      found_(std::move(found)) {}

RouterConfig parseRouterConfig(std::string_view text, std::string_view file) {
    return Parser(text, file).parse();
}

std::string located(std::string_view file, const RouterConfig::Diagnostic& diagnostic) {
    return at(file, diagnostic.line, diagnostic.column) + "warning: " + diagnostic.text;
}

}  // namespace corra
