// EXPECT: Two attributes of this entity type have the same id.
#include "frame/Reactor.h"
#include "frame/TypeModule.h"

extern const Zin::ZinModule labModule;

class Twice final : public frame::EntityOf<Twice> {
  public:
    struct Notifiee : frame::NotifieeOf<Twice> {
        virtual void onA() {}
        virtual void onB() {}
    };
    static consteval auto schema() {
        return frame::entity<labModule, 0>(
            "Twice",
            frame::attribute<258, &Twice::a_, &Notifiee::onA>("a"),
            frame::attribute<258, &Twice::b_, &Notifiee::onB>("b"));
    }

  private:
    bool a_ = false;
    bool b_ = false;
};

constinit const Zin::ZinModule labModule = frame::moduleOf<Twice>("Lab");
