// What fuzz targets share. A target is one source with LLVMFuzzerTestOneInput() that aborts
// where a law does not hold; it is linked with libFuzzer, or with Replay.cpp, which gives it
// inputs that are kept. A target has one thread and keeps nothing from one input to the next.

#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" {
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Changes an input of `size` bytes in place; returns how many it has then, `most` at most.
std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed);
// The plain mutation of whoever links the target.
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);
}

namespace fuzz {

using Random = std::minstd_rand;

inline std::size_t below(Random& random, std::size_t bound) {
    return random() % bound;
}

// Ends the process unless the law holds.
void require(bool holds, std::string_view law, std::string_view found = {});

std::string_view textOf(const std::uint8_t* data, std::size_t size);
// Without their ends.
std::vector<std::string> linesOf(std::string_view text);
// Puts the text where the input was when it is not longer than `most`, and returns its size;
// otherwise mutates what is there plainly.
std::size_t put(std::string_view text, std::uint8_t* data, std::size_t size, std::size_t most);
// The plain mutation of a text, which grows by a few bytes at most.
std::string mutated(std::string text);

// Changes one place of a JSON text and leaves it JSON; what is no JSON is mutated plainly.
std::string mutatedJson(const std::string& text, Random& random);

}  // namespace fuzz
