#include "Pseudowire/PseudowireIntfIdMapping.h"

#include "frame/Dump.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PseudowireIntfIdMapping_9c9fcf88_zinModule =
    frame::moduleOf<Pseudowire::PseudowireIntfIdMapping>("PseudowireIntfIdMapping");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PseudowireIntfIdMapping_9c9fcf88_zinModule);

}  // namespace

void PseudowireIntfIdMapping::dumpState(const Quib::DumpContextPtr& context, unsigned indent)
    const {
    const frame::Dump body = frame::Dump(context, indent).header("PseudowireIntfIdMapping");
    const frame::Dump members = body.collection("psudowireIntfId", psudowireIntfId_.members());
    for (auto it = psudowireIntfId_.iteratorConst(); it; ++it) {
        members.member(it.key(), it.value());
    }
}

Zin::Ptr<PseudowireIntfIdMapping> PseudowireIntfIdMapping::PseudowireIntfIdMappingIs(
    const Zin::String& name) {
    return frame::make<PseudowireIntfIdMapping>(name);
}

Zin::Ptr<PseudowireIntfIdMapping> pseudowireIntfIdMappingFactory(const Zin::String& name) {
    return PseudowireIntfIdMapping::PseudowireIntfIdMappingIs(name);
}

}  // namespace Pseudowire
