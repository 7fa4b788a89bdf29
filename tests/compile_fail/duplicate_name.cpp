// EXPECT: TWO_MEMBERS_OF_A_SCHEMA_SHARE_ONE_NAME
#include "Zin/Value.h"

class Span : public Zin::Value<Span> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Span",
            describe::field<&Span::from_>("end"),
            describe::field<&Span::to_>("end"));
    }

  private:
    std::uint32_t from_ = 0;
    std::uint32_t to_ = 0;
};

bool same(const Span& a, const Span& b) {
    return a == b;
}
