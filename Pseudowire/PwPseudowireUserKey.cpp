#include "Pseudowire/PwPseudowireUserKey.h"

#include "Zin/Assert.h"
#include "Zin/Hash.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _PwPseudowireUserKey_1d4dfff0_zinModule =
    Zin::moduleOf<Pseudowire::PseudowireUserKey, Pseudowire::PseudowireUserKey::UserType>(
        "PwPseudowireUserKey");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PwPseudowireUserKey_1d4dfff0_zinModule);

// Reported in the same words whatever compiler built this and wherever it stands.
[[noreturn]] void failed(const char* condition, int line, const char* function) {
    Zin::assertionFailed(condition, "/src/Pseudowire/PwPseudowireUserKey", line, function);
}

constexpr const char* fromConnectorKeyText =
    "static Pseudowire::PseudowireUserKey Pseudowire::PseudowireUserKey::fromConnectorKey("
    "const Pseudowire::ConnectorKey&)";

}  // namespace

PseudowireUserKey PseudowireUserKey::fromConnectorKey(const ConnectorKey& connectorKey) {
    if (connectorKey.connectorType() == ConnectorType::local_) {
        failed(
            "connectorKey.connectorType() != ConnectorType::local_",
            11,
            fromConnectorKeyText);
    }
    switch (connectorKey.connectorType()) {
        case ConnectorType::ldp:
            return {UserType::patchLdpConnector, connectorKey.name(), {}, {}};
        case ConnectorType::bgp:
            return {
                UserType::patchBgpVpwsConnector,
                connectorKey.name(),
                connectorKey.vpwsName(),
                {}};
        default:
            // A kind that only a newer build knows.
            failed("false", 24, fromConnectorKeyText);
    }
}

// The key of a connector has no peer, and that of an LDP connector no name of a VPWS: what this
// key holds there is left out.
ConnectorKey PseudowireUserKey::connectorKey() const {
    ConnectorKey key;
    switch (userType_) {
        case UserType::patchLdpConnector:
            key.ldpConnectorKeyIs(name_);
            return key;
        case UserType::patchBgpVpwsConnector:
            key.bgpConnectorKeyIs(name_, vpwsName_);
            return key;
        case UserType::vplsLdpPseudowire:
        case UserType::vplsLdpProfileAndPeer:
            break;
    }
    failed(
        "false",
        43,
        "Pseudowire::ConnectorKey Pseudowire::PseudowireUserKey::connectorKey() const");
}

// Of a type that only a newer build knows it cannot be told: a peer may send one, since what it
// sends is narrowed, not checked.
bool PseudowireUserKey::isPatch() const {
    switch (userType_) {
        // What fromConnectorKey() makes.
        case UserType::patchLdpConnector:
        case UserType::patchBgpVpwsConnector:
            return true;
        // Users that have no connector.
        case UserType::vplsLdpPseudowire:
        case UserType::vplsLdpProfileAndPeer:
            return false;
    }
    failed("false", 59, "bool Pseudowire::PseudowireUserKey::isPatch() const");
}

std::uint32_t PseudowireUserKey::hash(std::uint32_t seed) const {
    Zin::Hash state(seed);
    state.hashMix(Zin::hashSingleAttr(0, static_cast<std::uint32_t>(userType_)));
    state.hashMix(Zin::hashSingleAttr(0, name_));
    state.hashMix(Zin::hashSingleAttr(0, vpwsName_));
    state.hashMix(peerAddr_.address().hash(0));
    return state.result();
}

Zin::String PseudowireUserKey::toStrep() const {
    std::string text = "userType=";
    const auto append = [&](const Zin::String& part) {
        text += part.view();
    };
    append(Zin::stringValue(userType_));
    text += "; name=";
    append(name_);
    text += "; vpwsName=";
    append(vpwsName_);
    text += "; peerAddr=";
    append(peerAddr_.stringValue());
    return text;
}

Zin::EnumType UserTypeInstance(std::uint32_t number) {
    return Zin::EnumType::instance<PseudowireUserKey::UserType>(number);
}

Zin::EnumType UserTypeInstance(const Zin::String& name) {
    return Zin::EnumType::instance<PseudowireUserKey::UserType>(name);
}

}  // namespace Pseudowire
