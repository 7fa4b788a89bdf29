// Hashing of keys: a well-mixed 32-bit hash of a value under a 32-bit seed. Every bit of the
// result depends on every bit of the key, so that tables may take any of its bits.
//
// Hashes differ from process to process (HashHelper::hashSeed32) and from build to build.
// Nothing that people or peers compare may depend on them.

#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "Zin/Export.h"
#include "Zin/String.h"

namespace Zin {

namespace hashing {

// Odd, with bits all over.
inline constexpr std::uint64_t multiplierA = 0xd6e8feb86659fd93;
// Another such number.
inline constexpr std::uint64_t multiplierB = 0x9fb21c651e98df25;

// Two multiplications with a fold between them: the upper half of a product depends on all bits
// below it, the fold brings it down before the second one spreads it up again.
constexpr std::uint64_t mixed(std::uint64_t x) noexcept {
    x *= multiplierA;
    x ^= x >> 32;
    x *= multiplierB;
    return x ^ (x >> 32);
}

}  // namespace hashing

struct HashHelper {
    // The seed of this process: drawn before the first use; never 0.
    // The environment cannot choose it: agents need not trust who starts them.
    static std::uint32_t hashSeed32() noexcept { return seed_; }
    // For a program that must repeat a run to the last order of iteration, as tests do.
    // REQUIRES: not 0, and no hashed collection holds anything.
    static void hashSeed32Is(std::uint32_t seed) noexcept { seed_ = seed; }

  private:
    ZIN_EXPORT static std::uint32_t seed_;
};

// The running hash of a value that has several fields.
class Hash {
  public:
    // Begins under a seed.
    constexpr explicit Hash(std::uint32_t seed) noexcept : state_(seed) {}

    // Takes in the hash of the next field. The order counts.
    constexpr void hashMix(std::uint32_t fieldHash) noexcept {
        state_ = (state_ ^ fieldHash) * hashing::multiplierA;
        state_ ^= state_ >> 29;
    }
    // The hash of what was taken in so far.
    constexpr std::uint32_t result() const noexcept {
        return static_cast<std::uint32_t>(hashing::mixed(state_));
    }

  private:
    std::uint64_t state_;
};

template <class T>
concept HashesItself = requires(const T& value, std::uint32_t seed) {
    { value.hash(seed) } -> std::same_as<std::uint32_t>;
};

// The hash of bytes. Linear in their number, about a nanosecond for a name.
ZIN_EXPORT std::uint32_t hashBytes(std::uint32_t seed, std::string_view bytes) noexcept;

// The hash of one value of a framework or basic type under a seed.
template <class T>
requires(std::integral<T> || std::is_enum_v<T>) constexpr std::uint32_t
    hashSingleAttr(std::uint32_t seed, T value) noexcept {
    std::uint64_t word = 0;
    if constexpr (std::is_enum_v<T>) {
        word = static_cast<std::uint64_t>(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::same_as<T, bool>) {
        word = value ? 1 : 0;
    } else {
        word = static_cast<std::make_unsigned_t<T>>(value);
    }
    // A sum, which compilers take out of loops over keys; of exclusive ors they would not.
    return static_cast<std::uint32_t>(
        hashing::mixed(word ^ ((std::uint64_t{seed} << 32 | seed) + hashing::multiplierB)));
}
template <std::floating_point T>
std::uint32_t hashSingleAttr(std::uint32_t seed, T value) noexcept {
    // Zero has two representations that compare equal.
    const double number = value == 0 ? 0.0 : static_cast<double>(value);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return hashSingleAttr(seed, bits);
}
inline std::uint32_t hashSingleAttr(std::uint32_t seed, const String& text) noexcept {
    return hashBytes(seed, text.view());
}
template <HashesItself T>
std::uint32_t hashSingleAttr(std::uint32_t seed, const T& value) noexcept {
    return value.hash(seed);
}

}  // namespace Zin
