// EXPECT: A_MODULE_HAS_TOO_MANY_TYPES_ATTRIBUTES_OR_NAMES
#include <array>

#include "Zin/TypeModule.h"
#include "Zin/Value.h"

// Offsets of names have 16 bits.
constexpr std::array<char, 0x10000> longName{'x'};

class Span : public Zin::Value<Span> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Span",
            describe::field<&Span::from_>({longName.data(), longName.size()}));
    }

  private:
    std::uint32_t from_ = 0;
};

constinit const Zin::ZinModule labModule = Zin::moduleOf<Span>("Lab");
