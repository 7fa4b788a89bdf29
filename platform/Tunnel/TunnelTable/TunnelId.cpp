#include "Tunnel/TunnelTable/TunnelId.h"

#include <string>

#include "Zin/TypeModule.h"
#include "Zin/ValueInfo.h"

constinit const Zin::ZinModule _TunnelTable_zinModule =
    Zin::moduleOf<Tunnel::TunnelTable::TunnelType, Tunnel::TunnelTable::TunnelId>(
        "TunnelTable");

namespace Tunnel::TunnelTable {

namespace {

const Zin::ModuleRegistration registration(&_TunnelTable_zinModule);

bool hasMaker(TunnelId id) {
    return id.type() != TunnelType::none && id.type() <= TunnelType::segmentRouting;
}

}  // namespace

Zin::String TunnelId::stringValue() const {
    if (value_ == 0) return "none";
    std::string text;
    if (hasMaker(*this)) {
        text = std::string(Zin::stringValue(type()).view()) + '.' + std::to_string(index());
    } else {
        Zin::appendHex64(text, value_);
    }
    return text;
}

TunnelId TunnelId::textNext(Zin::TextReader& reader) {
    const Zin::TextReader start = reader;
    if (reader.skip("none")) return TunnelId();
    if (reader.rest().starts_with("0x")) {
        reader.need("0x");
        const TunnelId id(reader.hex64());
        if (id.value() == 0 || hasMaker(id)) start.fail(id.stringValue().view());
        return id;
    }
    for (const describe::Enumerator& type : describe::enumerationOf<TunnelType>.enumerators) {
        if (type.number == 0 || !reader.skip(std::string(type.name) + '.')) continue;
        return TunnelId(static_cast<TunnelType>(type.number), reader.number(mostIndex));
    }
    start.fail("none, or the maker and the number of a tunnel");
}

}  // namespace Tunnel::TunnelTable
