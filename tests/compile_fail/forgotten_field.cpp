// EXPECT: schema() of this value type does not list every member exactly once
#include "Zin/Value.h"

class Span : public Zin::Value<Span> {
  public:
    static consteval auto schema() {
        return describe::value("Span", describe::field<&Span::from_>("from"));
    }

  private:
    std::uint32_t from_ = 0;
    std::uint32_t to_ = 0;
};

bool same(const Span& a, const Span& b) {
    return a == b;
}
