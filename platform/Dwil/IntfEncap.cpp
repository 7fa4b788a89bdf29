#include "Dwil/IntfEncap.h"

#include <string>

#include "Quib/DumpContext.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _Dwil_zinModule = Zin::moduleOf<Dwil::IntfEncap>("Dwil");

namespace Dwil {

namespace {

const Zin::ModuleRegistration registration(&_Dwil_zinModule);

IntfEncap::Tag tagNext(Zin::TextReader& reader) {
    if (reader.skip("none")) return IntfEncap::Tag();
    if (reader.skip("any")) return IntfEncap::Tag(IntfEncap::Tag::most);
    return IntfEncap::Tag(
        static_cast<std::uint16_t>(reader.number(1, IntfEncap::Tag::most - 1)));
}

}  // namespace

Zin::String IntfEncap::stringValue() const {
    return std::string(intfId_.stringValue().view()) + '<' +
           std::string(Quib::vidString(outerTag_.value()).view()) + ',' +
           std::string(Quib::vidString(innerTag_.value()).view()) + '>';
}

IntfEncap IntfEncap::textNext(Zin::TextReader& reader) {
    IntfEncap read;
    read.intfId_ = Vorn::IntfId::textNext(reader);
    reader.need("<");
    read.outerTag_ = tagNext(reader);
    reader.need(",");
    read.innerTag_ = tagNext(reader);
    reader.need(">");
    return read;
}

}  // namespace Dwil
