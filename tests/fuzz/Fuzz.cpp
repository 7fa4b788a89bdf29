#include "fuzz/Fuzz.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace fuzz {

void require(bool holds, std::string_view law, std::string_view found) {
    if (holds) return;
    std::cerr << "A law does not hold: " << law << '\n' << found << '\n';
    std::abort();
}

std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::size_t put(std::string_view text, std::uint8_t* data, std::size_t size, std::size_t most) {
    if (text.size() > most) return LLVMFuzzerMutate(data, size, most);
    std::copy(text.begin(), text.end(), data);
    return text.size();
}

std::string mutated(std::string text) {
    constexpr std::size_t growth = 24;
    const std::size_t size = text.size();
    text.resize(size + growth);
    text.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(text.data()), size, text.size()));
    return text;
}

}  // namespace fuzz
