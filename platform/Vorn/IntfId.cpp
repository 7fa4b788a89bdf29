#include "Vorn/IntfId.h"

#include <array>
#include <limits>
#include <string>

#include "Vorn/IntfIdKinds.h"
#include "Zin/Exceptions.h"
#include "Zin/ValueInfo.h"

namespace Vorn {

namespace {

// The layout: kind 4 bits, naming 4, number 32, outer tag 12, inner tag 12.
constexpr unsigned namingShift = 56;
constexpr unsigned numberShift = 24;
constexpr unsigned outerShift = 12;
constexpr std::uint64_t tagMask = 0xfff;
constexpr std::uint64_t tagsMask = 0xffffff;
constexpr std::uint64_t mostTag = 4094;

enum class Kind : std::uint8_t { ethernet = 1, portChannel, pseudowire, vpls };

struct Naming {
    Kind kind;
    std::uint8_t number;
    std::string_view prefix;
    std::uint32_t first;

    constexpr std::uint64_t bits() const {
        return std::uint64_t{static_cast<std::uint8_t>(kind)} << 60 | std::uint64_t{number}
                                                                          << namingShift;
    }
    // Of one to three parts, where all others have a single number.
    constexpr bool inParts() const { return kind == Kind::ethernet && number == 0; }
    constexpr bool hasSubinterfaces() const {
        return kind == Kind::ethernet || kind == Kind::portChannel;
    }
};

// No prefix is the beginning of another. Numbers are on the wire: rows are added, never
// changed.
constexpr std::array<Naming, 11> namings{{
    {Kind::ethernet, 0, "Ethernet", 1},
    {Kind::ethernet, 1, "eth", 0},
    {Kind::ethernet, 2, "swp", 0},
    {Kind::ethernet, 3, "lan", 0},
    {Kind::ethernet, 4, "eno", 0},
    {Kind::ethernet, 5, "ens", 0},
    {Kind::ethernet, 6, "p", 0},
    {Kind::portChannel, 0, "Port-Channel", 1},
    {Kind::portChannel, 1, "bond", 0},
    {Kind::pseudowire, 0, "Pseudowire", 1},
    {Kind::vpls, 0, "Vpls", 1},
}};

constexpr const Naming& ethernetNaming = namings[0];
constexpr const Naming& portChannelNaming = namings[7];
constexpr const Naming& pseudowireNaming = namings[9];
constexpr const Naming& vplsNaming = namings[10];

// The parts of EthernetN/N/N within the 32 bits of the number.
struct Part {
    unsigned shift;
    std::uint32_t most;

    constexpr std::uint32_t of(std::uint32_t number) const { return number >> shift & most; }
};
constexpr std::array<Part, 3> parts{{{20, 0xfff}, {8, 0xfff}, {0, 0xff}}};

constexpr std::uint32_t numberOf(std::uint64_t id) {
    return static_cast<std::uint32_t>(id >> numberShift);
}
constexpr std::uint64_t outerOf(std::uint64_t id) {
    return id >> outerShift & tagMask;
}
constexpr std::uint64_t innerOf(std::uint64_t id) {
    return id & tagMask;
}

bool numberIsValid(const Naming& naming, std::uint32_t number) {
    if (!naming.inParts()) return number >= naming.first;
    if (parts[0].of(number) == 0) return false;
    return parts[1].of(number) != 0 || parts[2].of(number) == 0;
}

bool tagsAreValid(const Naming& naming, std::uint64_t outer, std::uint64_t inner) {
    if (outer == 0) return inner == 0;
    return naming.hasSubinterfaces() && outer <= mostTag && inner <= mostTag;
}

// The naming that this id follows in all its parts, or null.
const Naming* namingOf(IntfId id) {
    const std::uint64_t value = id.value();
    for (const Naming& naming : namings) {
        if (naming.bits() >> namingShift != value >> namingShift) continue;
        const bool valid = numberIsValid(naming, numberOf(value)) &&
                           tagsAreValid(naming, outerOf(value), innerOf(value));
        return valid ? &naming : nullptr;
    }
    return nullptr;
}

bool isPort(IntfId id, Kind kind) {
    const Naming* const naming = namingOf(id);
    return naming && naming->kind == kind && (id.value() & tagsMask) == 0;
}

IntfId numbered(const Naming& naming, std::uint32_t number) {
    return IntfId(naming.bits() | std::uint64_t{number} << numberShift);
}

IntfId checkedNumbered(const Naming& naming, std::uint32_t number) {
    if (number < naming.first) {
        Zin::throwRangeException(
            "Vorn::IntfId: " + std::string(naming.prefix) + std::to_string(number) +
            " not allowed, numbers start at " + std::to_string(naming.first));
    }
    return numbered(naming, number);
}

void requireSubIntfId(IntfId id, const char* function) {
    if (SubIntfId::isSubIntfId(id)) return;
    Zin::throwRangeException(
        "Vorn::SubIntfId::" + std::string(function) + " of " +
        std::string(id.stringValue().view()) + ", which is no subinterface, not allowed");
}

std::uint32_t partsNext(Zin::TextReader& reader) {
    std::uint32_t number = 0;
    for (const Part& part : parts) {
        if (&part != &parts[0] && !reader.skip("/")) break;
        number |= static_cast<std::uint32_t>(reader.number(1, part.most)) << part.shift;
    }
    return number;
}

std::uint64_t tagsNext(Zin::TextReader& reader) {
    if (!reader.skip(".")) return 0;
    std::uint64_t tags = reader.number(1, mostTag) << outerShift;
    if (reader.skip(".")) tags |= reader.number(1, mostTag);
    return tags;
}

IntfId rawNext(Zin::TextReader& reader) {
    const Zin::TextReader start = reader;
    reader.need("0x");
    const IntfId id(reader.hex64());
    if (id.value() == 0 || namingOf(id)) {
        start.fail(std::string(id.stringValue().view()) + ", the name of this interface id");
    }
    return id;
}

}  // namespace

Zin::String IntfId::stringValue() const {
    if (value_ == 0) return "none";
    const Naming* const naming = namingOf(*this);
    std::string text;
    if (!naming) {
        Zin::appendHex64(text, value_);
        return text;
    }

    text = naming->prefix;
    const std::uint32_t number = numberOf(value_);
    if (naming->inParts()) {
        text += std::to_string(parts[0].of(number));
        for (const Part& part : {parts[1], parts[2]}) {
            if (part.of(number) != 0) text += '/' + std::to_string(part.of(number));
        }
    } else {
        text += std::to_string(number);
    }
    for (const std::uint64_t tag : {outerOf(value_), innerOf(value_)}) {
        if (tag != 0) text += '.' + std::to_string(tag);
    }
    return text;
}

IntfId IntfId::textNext(Zin::TextReader& reader) {
    if (reader.skip("none")) return IntfId();
    if (reader.rest().starts_with("0x")) return rawNext(reader);
    for (const Naming& naming : namings) {
        if (!reader.skip(naming.prefix)) continue;
        const std::uint32_t number =
            naming.inParts()
                ? partsNext(reader)
                : static_cast<std::uint32_t>(
                      reader.number(naming.first, std::numeric_limits<std::uint32_t>::max()));
        const std::uint64_t tags = naming.hasSubinterfaces() ? tagsNext(reader) : 0;
        return IntfId(numbered(naming, number).value() | tags);
    }
    reader.fail("the name of an interface");
}

bool EthIntfId::isEthIntfId(IntfId id) {
    return isPort(id, Kind::ethernet);
}

IntfId EthIntfId::intfId(std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    const bool fits =
        first <= parts[0].most && second <= parts[1].most && third <= parts[2].most;
    const std::uint32_t number =
        first << parts[0].shift | second << parts[1].shift | third << parts[2].shift;
    if (!fits || !numberIsValid(ethernetNaming, number)) {
        Zin::throwRangeException(
            "Vorn::EthIntfId: Ethernet" + std::to_string(first) + '/' + std::to_string(second) +
            '/' + std::to_string(third) + " not allowed");
    }
    return numbered(ethernetNaming, number);
}

bool PortChannelIntfId::isPortChannelIntfId(IntfId id) {
    return isPort(id, Kind::portChannel);
}

IntfId PortChannelIntfId::intfId(std::uint32_t number) {
    return checkedNumbered(portChannelNaming, number);
}

bool SubIntfId::isSubIntfId(IntfId id) {
    return outerOf(id.value()) != 0 && namingOf(id);
}

IntfId SubIntfId::parentIntfId(IntfId id) {
    requireSubIntfId(id, "parentIntfId");
    return IntfId(id.value() & ~tagsMask);
}

std::uint16_t SubIntfId::outerTag(IntfId id) {
    requireSubIntfId(id, "outerTag");
    return static_cast<std::uint16_t>(outerOf(id.value()));
}

std::uint16_t SubIntfId::innerTag(IntfId id) {
    requireSubIntfId(id, "innerTag");
    return static_cast<std::uint16_t>(innerOf(id.value()));
}

IntfId SubIntfId::intfId(IntfId parent, std::uint16_t outerTag, std::uint16_t innerTag) {
    const bool hasParent =
        EthIntfId::isEthIntfId(parent) || PortChannelIntfId::isPortChannelIntfId(parent);
    if (!hasParent || outerTag == 0 || outerTag > mostTag || innerTag > mostTag) {
        Zin::throwRangeException(
            "Vorn::SubIntfId: subinterface " + std::to_string(outerTag) + '.' +
            std::to_string(innerTag) + " of " + std::string(parent.stringValue().view()) +
            " not allowed");
    }
    return IntfId(parent.value() | std::uint64_t{outerTag} << outerShift | innerTag);
}

bool PseudowireIntfId::isPseudowireIntfId(IntfId id) {
    return isPort(id, Kind::pseudowire);
}

IntfId PseudowireIntfId::intfId(std::uint32_t number) {
    return checkedNumbered(pseudowireNaming, number);
}

bool VplsIntfId::isVplsIntfId(IntfId id) {
    return isPort(id, Kind::vpls);
}

IntfId VplsIntfId::intfId(std::uint32_t number) {
    return checkedNumbered(vplsNaming, number);
}

}  // namespace Vorn
