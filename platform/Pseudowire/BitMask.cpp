#include "Pseudowire/BitMask.h"

#include <array>
#include <charconv>
#include <string>

namespace Pseudowire::detail {

namespace {

constexpr std::string_view wordCharacters =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

std::string hexText(std::uint32_t number) {
    std::array<char, 8> digits;
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return "0x" + std::string(digits.data(), end);
}

// The bits that one word of the text stands for, or 0.
std::uint32_t
bitsOf(std::span<const describe::Enumerator> all, std::uint32_t most, std::string_view word) {
    if (!word.starts_with("0x")) return Zin::enumNumber(all, word).value_or(0);
    const char* const end = word.data() + word.size();
    std::uint32_t number = 0;
    const auto read = std::from_chars(word.data() + 2, end, number, 16);
    return read.ec == std::errc() && read.ptr == end && number <= most ? number : 0;
}

}  // namespace

Zin::String bitsText(std::span<const describe::Enumerator> all, std::uint32_t bits) {
    if (bits == 0) return "none";
    std::string text;
    const auto append = [&](std::string_view word) {
        if (!text.empty()) text += '|';
        text += word;
    };
    for (const describe::Enumerator& bit : all) {
        if ((bits & bit.number) == 0) continue;
        append(bit.name);
        bits &= ~bit.number;
    }
    if (bits != 0) append(hexText(bits));
    return text;
}

std::uint32_t bitsTextNext(
    std::span<const describe::Enumerator> all,
    std::uint32_t most,
    Zin::TextReader& reader) {
    if (reader.skip("none")) return 0;
    const Zin::TextReader start = reader;
    std::uint32_t bits = 0;
    do {
        const Zin::TextReader word = reader;
        const std::uint32_t read = bitsOf(all, most, reader.run(wordCharacters));
        if (read == 0) word.fail("the name of a bit");
        bits |= read;
    } while (reader.skip("|"));

    // One text for one set: whatever was read must be what is written.
    const Zin::String written = bitsText(all, bits);
    const std::size_t size = reader.position() - start.position();
    if (start.rest().substr(0, size) != written.view()) {
        start.fail("each bit once and in order: " + std::string(written.view()));
    }
    return bits;
}

}  // namespace Pseudowire::detail
