// EXPECT: The attributes of this entity type are not listed in the order of their ids.
#include "frame/Reactor.h"
#include "frame/TypeModule.h"

extern const Zin::ZinModule labModule;

class Mixed final : public frame::EntityOf<Mixed> {
  public:
    struct Notifiee : frame::NotifieeOf<Mixed> {};
    static consteval auto schema() {
        return frame::entity<labModule, 0>(
            "Mixed",
            frame::frozen<259, &Mixed::a_>("a"),
            frame::frozen<258, &Mixed::b_>("b"));
    }

  private:
    bool a_ = false;
    bool b_ = false;
};

constinit const Zin::ZinModule labModule = frame::moduleOf<Mixed>("Lab");
