// EXPECT: give the key a member `std::uint32_t hash(std::uint32_t seed) const`
#include "Zin/HSet.h"

struct Key {
    int number = 0;
    bool operator==(const Key&) const = default;
    bool operator<(const Key& other) const { return number < other.number; }
};

bool has(const Zin::HSet<Key, 1>& keys, const Key& key) {
    return keys.has(key);
}
