// EXPECT: A value type lists its fields first, then its constants, then its functions.
#include "Zin/Value.h"

class Span : public Zin::Value<Span> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Span",
            describe::function<&Span::doubled>("doubled"),
            describe::field<&Span::length_>("length"));
    }
    std::uint32_t doubled() const { return 2 * length_; }

  private:
    std::uint32_t length_ = 0;
};

bool same(const Span& a, const Span& b) {
    return a == b;
}
