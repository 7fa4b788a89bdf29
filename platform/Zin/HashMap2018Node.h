// The entries of hashed collections. A collection class derives from one of the two templates,
// which tells where its key is, how it is seeded, and what is stored:
//
//     struct ZinViaInfo
//         : HashMap2018NodeInternalKey<false, 0xeb492234, IntfId, ViaInfo, KeyFunktor, false>
//         {};
//
// Keys need ==, < and a hash (Zin/Hash.h); values need ==. Moving and destroying must not
// throw.

#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/Ptr.h"
#include "Zin/String.h"

namespace Zin {

// Whether an object may be moved by copying its bytes and forgetting the source. Specialise it
// for values all of whose parts may.
template <class T>
inline constexpr bool triviallyRelocatable = std::is_trivially_copyable_v<T>;
template <>
inline constexpr bool triviallyRelocatable<void> = true;
template <>
inline constexpr bool triviallyRelocatable<String> = true;
template <class T>
inline constexpr bool triviallyRelocatable<Ptr<T>> = true;

// What a put did.
enum class Put : std::uint8_t {
    unchanged,  // an equal member was there
    changed,    // its value was overwritten
    inserted,
};

struct HashMap2018LinkNodeBase {};

// The key beside the value; of a set, the key alone.
template <bool lru, std::uint32_t seed, class K, class V, bool linked>
class HashMap2018NodeExternKey : public HashMap2018LinkNodeBase {
    static_assert(
        !lru && !linked,
        "write false: no collection keeps its entries in order of use");

  public:
    using Node = HashMap2018NodeExternKey;
    using Key = K;
    using Value = V;
    static constexpr std::uint32_t seed_ = seed;
    static constexpr bool keyInsideValue = false;
    static constexpr bool relocatesAsBytes = triviallyRelocatable<K> && triviallyRelocatable<V>;

    HashMap2018NodeExternKey() = default;
    HashMap2018NodeExternKey(const K& key, const V& value) : key_(key), value_(value) {}

    const K& key() const noexcept { return key_; }
    const V& value() const& noexcept { return value_; }

  private:
    template <class, class, class>
    friend class HashMap2018;

    V& mutableValue() noexcept { return value_; }

    K key_;
    V value_;
};

template <bool lru, std::uint32_t seed, class K, bool linked>
class HashMap2018NodeExternKey<lru, seed, K, void, linked> : public HashMap2018LinkNodeBase {
    static_assert(
        !lru && !linked,
        "write false: no collection keeps its entries in order of use");

  public:
    using Node = HashMap2018NodeExternKey;
    using Key = K;
    using Value = void;
    static constexpr std::uint32_t seed_ = seed;
    static constexpr bool keyInsideValue = false;
    static constexpr bool relocatesAsBytes = triviallyRelocatable<K>;

    HashMap2018NodeExternKey() = default;
    explicit HashMap2018NodeExternKey(const K& key) : key_(key) {}

    const K& key() const noexcept { return key_; }

  private:
    K key_;
};

// Only the value, from which the functor gets the key: a reference to a part of it, or a value.
template <bool lru, std::uint32_t seed, class K, class V, class KeyFunktor, bool linked>
class HashMap2018NodeInternalKey : public HashMap2018LinkNodeBase {
    static_assert(
        !lru && !linked,
        "write false: no collection keeps its entries in order of use");

  public:
    using Node = HashMap2018NodeInternalKey;
    using Key = K;
    using Value = V;
    static constexpr std::uint32_t seed_ = seed;
    static constexpr bool keyInsideValue = true;
    static constexpr bool relocatesAsBytes = triviallyRelocatable<V>;

    HashMap2018NodeInternalKey() = default;
    explicit HashMap2018NodeInternalKey(const V& value) : value_(value) {}

    decltype(auto) key() const noexcept { return KeyFunktor()(value_); }
    decltype(auto) fwkKey() const noexcept { return key(); }
    const V& value() const& noexcept { return value_; }
    static decltype(auto) keyOf(const V& value) noexcept { return KeyFunktor()(value); }

  private:
    template <class, class, class>
    friend class HashMap2018;

    V& mutableValue() noexcept { return value_; }
    // A value that overwrites must yield the key under which the entry is found.
    void checkKeyOf(const V& _value) const noexcept {
        // clang-format off
        ZIN_ASSERT(fwkKey() == KeyFunktor()( _value ), "HashMap2018NodeInternalKey");
        // clang-format on
    }

    V value_;
};

}  // namespace Zin
