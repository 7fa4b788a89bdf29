// Bfd::SessionDir holds what Bidirectional Forwarding Detection (RFC 5880) knows of the peers
// of a switch: a module of a user's own, outside of the library. Factories, tables, text, wire
// form, state file and mirrors follow from schema().

#pragma once

#include "Vorn/IpGenAddr.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _BfdSessionDir_zinModule;

namespace Bfd {

// The numbers are those on the wire, RFC 5880, 4.1.
enum class State : std::uint8_t { adminDown = 0, down = 1, init = 2, up = 3 };

consteval auto enumeration(State) {
    using enum State;
    return describe::enumerators<State>(
        "Bfd::State",
        {{adminDown, "adminDown"}, {down, "down"}, {init, "init"}, {up, "up"}});
}

class ZIN_EXPORT SessionDir final : public frame::EntityOf<SessionDir> {
  public:
    struct ZinState
        : Zin::HashMap2018NodeExternKey<false, 0x5880, Vorn::IpGenAddr, State, false> {};

    struct Notifiee : frame::NotifieeOf<SessionDir> {
        using NotifieeOf::NotifieeOf;
        virtual void onDetectMult() {}
        virtual void onState(const Vorn::IpGenAddr& /*peer*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_BfdSessionDir_zinModule, 1>(
            "Bfd::SessionDir",
            frame::attribute<258, &SessionDir::detectMult_, &Notifiee::onDetectMult>(
                "detectMult"),
            frame::attribute<259, &SessionDir::state_, &Notifiee::onState>("state"));
    }
    static constexpr bool isRoot = true;

    // How many packets may be lost before a session goes down.
    std::uint8_t detectMult() const { return detectMult_; }
    void detectMultIs(std::uint8_t mult) { valueIs<&SessionDir::detectMult_>(mult); }

    // The state of the session with each peer; adminDown where there is none.
    const auto& state() const { return state_; }
    State state(const Vorn::IpGenAddr& peer) const {
        return memberOf<&SessionDir::state_>(peer);
    }
    void stateIs(const Vorn::IpGenAddr& peer, State state) {
        memberIs<&SessionDir::state_>(peer, state);
    }
    void stateDel(const Vorn::IpGenAddr& peer) { memberDel<&SessionDir::state_>(peer); }

    SessionDir(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    std::uint8_t detectMult_ = 3;
    Zin::HashMap2018<ZinState, Vorn::IpGenAddr, State> state_;
};

ZIN_EXPORT Zin::Ptr<SessionDir> sessionDirFactory(const Zin::String& name);

}  // namespace Bfd
