#include "Bridging/Dot1qEncap.h"

#include <string>

namespace Bridging {

Zin::String Dot1qEncap::stringValue() const {
    return '<' + std::to_string(outer_.value()) + ',' + std::to_string(inner_.value()) + '>';
}

Dot1qEncap Dot1qEncap::textNext(Zin::TextReader& reader) {
    Dot1qEncap read;
    reader.need("<");
    read.outer_ = VlanIdOrNone::textNext(reader);
    reader.need(",");
    read.inner_ = VlanIdOrNone::textNext(reader);
    reader.need(">");
    return read;
}

}  // namespace Bridging
