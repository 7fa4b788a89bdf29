// EXPECT: The member to be changed is not in schema() of its entity type as a writable
// attribute.
#include "frame/Reactor.h"
#include "frame/TypeModule.h"

extern const Zin::ZinModule labModule;

class Lonely final : public frame::EntityOf<Lonely> {
  public:
    struct Notifiee : frame::NotifieeOf<Lonely> {};
    static consteval auto schema() { return frame::entity<labModule, 0>("Lonely"); }

    void upIs(bool up) { valueIs<&Lonely::up_>(up); }

  private:
    bool up_ = false;
};
