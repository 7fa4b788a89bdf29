#include "Pseudowire/ConnectorKey.h"

#include <string>

#include "Zin/ValueInfo.h"

namespace Pseudowire {

bool ConnectorKey::isOfItsKind() const {
    switch (connectorType_) {
        case ConnectorType::local_:
            return name_.empty() && vpwsName_.empty();
        case ConnectorType::ldp:
            return vpwsName_.empty() && !localIntfId_;
        case ConnectorType::bgp:
            return !localIntfId_;
    }
    return false;
}

Zin::String ConnectorKey::stringValue() const {
    const bool full = !isOfItsKind();
    std::string text;
    if (full) {
        text = "other:" + std::to_string(static_cast<unsigned>(connectorType_)) + ',';
    } else {
        text = std::string(Zin::stringValue(connectorType_).view()) + ':';
    }
    if (full || !isLocal()) Zin::appendQuoted(text, name_.view());
    if (full || connectorType_ == ConnectorType::bgp) {
        text += ',';
        Zin::appendQuoted(text, vpwsName_.view());
    }
    if (full) text += ',';
    if (full || isLocal()) text += localIntfId_.stringValue().view();
    return text;
}

ConnectorKey ConnectorKey::textNext(Zin::TextReader& reader) {
    const Zin::TextReader start = reader;
    ConnectorKey read;
    if (reader.skip("local:")) {
        read.localConnectorKeyIs(Vorn::IntfId::textNext(reader));
    } else if (reader.skip("ldp:")) {
        read.ldpConnectorKeyIs(reader.quoted());
    } else if (reader.skip("bgp:")) {
        read.connectorType_ = ConnectorType::bgp;
        read.name_ = reader.quoted();
        reader.need(",");
        read.vpwsName_ = reader.quoted();
    } else if (reader.skip("other:")) {
        read.connectorType_ = static_cast<ConnectorType>(reader.number(0, 255));
        reader.need(",");
        read.name_ = reader.quoted();
        reader.need(",");
        read.vpwsName_ = reader.quoted();
        reader.need(",");
        read.localIntfId_ = Vorn::IntfId::textNext(reader);
        if (read.isOfItsKind()) start.fail(read.stringValue());
    } else {
        reader.fail("local:, ldp:, bgp: or other:");
    }
    return read;
}

}  // namespace Pseudowire
