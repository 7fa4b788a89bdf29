#include "Zin/Hash.h"

#include <chrono>
#include <random>

namespace Zin {

namespace {

std::uint32_t drawnSeed() {
    std::uint32_t seed = 0;
    try {
        seed = std::random_device()();
    } catch (...) {
        // No source of randomness: the clock and the address of a local still differ between
        // runs.
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        seed = hashSingleAttr(
            static_cast<std::uint32_t>(now),
            reinterpret_cast<std::uintptr_t>(&seed));
    }
    return seed == 0 ? 1 : seed;
}

std::uint64_t load(const char* bytes, std::size_t size) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, size);
    return word;
}

}  // namespace

std::uint32_t HashHelper::seed_ = drawnSeed();

std::uint32_t hashBytes(std::uint32_t seed, std::string_view bytes) noexcept {
    std::uint64_t state =
        (std::uint64_t{seed} << 32 | seed) ^ (bytes.size() * hashing::multiplierB);
    const char* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left > 8; at += 8, left -= 8) {
        state = (state ^ load(at, 8)) * hashing::multiplierA;
        state ^= state >> 29;
    }
    // The last word overlaps the one before it where there is one: no byte loop.
    const std::uint64_t last = bytes.size() >= 8 ? load(bytes.data() + bytes.size() - 8, 8)
                               : left == 0       ? 0
                                                 : load(at, left);
    return static_cast<std::uint32_t>(hashing::mixed(state ^ last));
}

}  // namespace Zin
