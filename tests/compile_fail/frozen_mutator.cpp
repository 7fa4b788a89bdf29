// EXPECT: The member to be changed is not in schema() of its entity type as a writable
// attribute.
#include "frame/Reactor.h"
#include "frame/TypeModule.h"

extern const Zin::ZinModule labModule;

class Frozen final : public frame::EntityOf<Frozen> {
  public:
    struct Notifiee : frame::NotifieeOf<Frozen> {};
    static consteval auto schema() {
        return frame::entity<labModule, 0>(
            "Frozen",
            frame::frozen<258, &Frozen::mode_>("mode"));
    }

    void modeIs(bool mode) { valueIs<&Frozen::mode_>(mode); }

  private:
    bool mode_ = false;
};
