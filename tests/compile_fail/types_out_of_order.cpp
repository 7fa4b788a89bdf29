// EXPECT: The types of a module must be listed in the order of the indices in their schemas.
#include "frame/Reactor.h"
#include "frame/TypeModule.h"

extern const Zin::ZinModule labModule;

enum class Light : unsigned char { red = 0 };
consteval auto enumeration(Light) {
    return describe::enumerators<Light>("Light", {{Light::red, "red"}});
}

class Lamp final : public frame::EntityOf<Lamp> {
  public:
    struct Notifiee : frame::NotifieeOf<Lamp> {
        virtual void onLight() {}
    };
    static consteval auto schema() {
        return frame::entity<labModule, 0>(
            "Lamp",
            frame::attribute<258, &Lamp::light_, &Notifiee::onLight>("light"));
    }
    Lamp(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    Light light_ = Light::red;
};

constinit const Zin::ZinModule labModule = frame::moduleOf<Light, Lamp>("Lab");
