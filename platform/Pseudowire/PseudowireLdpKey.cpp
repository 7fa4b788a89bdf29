#include "Pseudowire/PseudowireLdpKey.h"

#include <limits>
#include <string>

namespace Pseudowire {

Zin::String PseudowireLdpKey::stringValue() const {
    std::string text(peerAddr_.stringValue().view());
    if (peerAddr_.family() == Vorn::AddressFamily::ip6) text = '[' + text + ']';
    return text + ':' + std::to_string(pwId_);
}

PseudowireLdpKey PseudowireLdpKey::textNext(Zin::TextReader& reader) {
    PseudowireLdpKey read;
    if (reader.skip("[")) {
        read.peerAddr_ = Vorn::IpGenAddr(Vorn::Ip6Addr::textNext(reader));
        reader.need("]");
    } else if (!reader.skip("none")) {
        read.peerAddr_ = Vorn::IpGenAddr::ip4TextNext(reader);
    }
    reader.need(":");
    constexpr PseudowireId most = std::numeric_limits<PseudowireId>::max();
    read.pwId_ = static_cast<PseudowireId>(reader.number(0, most));
    return read;
}

}  // namespace Pseudowire
