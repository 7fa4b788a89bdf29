// Fingerprints: of each of the 15 entries that a bucket may have a byte of its hash, which
// tells most other entries apart before keys are compared; and the few operations on 16 bytes
// or words at once that hashed collections need, with SSE2 and without.
//
// Internal to the hashed collections. ZIN_HASHMAP_PORTABLE selects, for tests, what machines
// without SSE2 use.

#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(ZIN_HASHMAP_PORTABLE)
#include <emmintrin.h>
#define ZIN_HASHMAP_SSE2 1
#endif

namespace Zin::hashed {

// One byte of the hash, never 0, tells most other entries apart before keys are compared.
constexpr std::uint8_t fingerprintOf(std::uint32_t hash) noexcept {
    const unsigned low = hash & 0xff;
    return static_cast<std::uint8_t>(low + (low == 0 ? 1 : 0));
}

// Of 16 bytes at a 16-byte boundary, bit i of the results tells of bytes[i].
#if defined(ZIN_HASHMAP_SSE2)
inline unsigned equalBytes(const std::uint8_t* bytes, __m128i wanted) noexcept {
    const __m128i all = _mm_load_si128(reinterpret_cast<const __m128i*>(bytes));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(all, wanted)));
}
inline unsigned zeroBytes(const std::uint8_t* bytes) noexcept {
    return equalBytes(bytes, _mm_setzero_si128());
}
// How many are not 0. (Not all of these machines count bits in one instruction.)
inline unsigned nonzeroBytes(const std::uint8_t* bytes) noexcept {
    const __m128i all = _mm_load_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i each = _mm_min_epu8(all, _mm_set1_epi8(1));
    const __m128i halves = _mm_sad_epu8(each, _mm_setzero_si128());
    return static_cast<unsigned>(
        _mm_cvtsi128_si32(halves) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(halves, halves)));
}
// Which are the fingerprint of the hash. That it is not 0 costs one instruction here.
inline unsigned fingerprintBytes(const std::uint8_t* bytes, std::uint32_t hash) noexcept {
    const __m128i low = _mm_set1_epi8(static_cast<char>(hash));
    return equalBytes(bytes, _mm_max_epu8(low, _mm_set1_epi8(1)));
}
// Of 16 words, bit i of the result is that bit of words[i].
inline unsigned bitOfWords(const std::uint32_t* words, unsigned bit) noexcept {
    const __m128i toSign = _mm_cvtsi32_si128(static_cast<int>(31 - bit));
    unsigned bits = 0;
    for (unsigned i = 0; i < 16; i += 4) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(words + i));
        const __m128 signs = _mm_castsi128_ps(_mm_sll_epi32(four, toSign));
        bits |= static_cast<unsigned>(_mm_movemask_ps(signs)) << i;
    }
    return bits;
}
#else
inline unsigned bitOfWords(const std::uint32_t* words, unsigned bit) noexcept {
    unsigned bits = 0;
    for (unsigned i = 0; i < 16; ++i) bits |= (words[i] >> bit & 1) << i;
    return bits;
}
// A word of the machine at a time, and loaded as one: put together from bytes, which compilers
// do not see through here, this took five times as long.
using Word = std::uintptr_t;
inline constexpr unsigned wordBytes = sizeof(Word);
inline constexpr Word onesInBytes = ~Word{0} / 255;

// A one in each byte that is 0, in the order of memory from the lowest byte.
inline Word zerosOf(Word word) noexcept {
    constexpr Word lowSeven = onesInBytes * 127;
    return ~(((word & lowSeven) + lowSeven) | word | lowSeven) >> 7;
}
inline Word wordAt(const std::uint8_t* bytes) noexcept {
    Word word;
    std::memcpy(&word, bytes, wordBytes);
    if constexpr (std::endian::native == std::endian::big) {
        word = wordBytes == 8
                   ? static_cast<Word>(__builtin_bswap64(word))
                   : static_cast<Word>(__builtin_bswap32(static_cast<std::uint32_t>(word)));
    }
    return word;
}
inline unsigned equalBytes(const std::uint8_t* bytes, std::uint8_t wanted) noexcept {
    // A multiplication by this brings the lowest bits of all bytes together in the last one.
    constexpr Word gather = [] {
        Word factor = 0;
        for (unsigned i = 0; i < wordBytes; ++i)
            factor |= Word{1} << (8 * (wordBytes - 1) - 7 * i);
        return factor;
    }();
    constexpr Word all = (Word{1} << wordBytes) - 1;
    unsigned equal = 0;
    for (unsigned i = 0; i < 16; i += wordBytes) {
        const Word zeros = zerosOf(wordAt(bytes + i) ^ wanted * onesInBytes);
        const Word gathered = zeros * gather >> (8 * (wordBytes - 1)) & all;
        equal |= static_cast<unsigned>(gathered) << i;
    }
    return equal;
}
inline unsigned zeroBytes(const std::uint8_t* bytes) noexcept {
    return equalBytes(bytes, 0);
}
// Bits are not counted: that is a call on these machines.
inline unsigned nonzeroBytes(const std::uint8_t* bytes) noexcept {
    Word zeros = 0;
    for (unsigned i = 0; i < 16; i += wordBytes) zeros += zerosOf(wordAt(bytes + i));
    return 16U - static_cast<unsigned>(zeros * onesInBytes >> (8 * (wordBytes - 1)));
}
inline unsigned fingerprintBytes(const std::uint8_t* bytes, std::uint32_t hash) noexcept {
    return equalBytes(bytes, fingerprintOf(hash));
}
#endif

// Of the entries of a bucket by their positions. 0 marks a free position; the last byte is
// always 0.
struct alignas(16) Fingerprints {
    std::uint8_t at[16];

    unsigned matches(std::uint32_t hash) const noexcept { return fingerprintBytes(at, hash); }
    unsigned members() const noexcept { return nonzeroBytes(at); }
};

}  // namespace Zin::hashed
