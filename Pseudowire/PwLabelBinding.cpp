#include "Pseudowire/PwLabelBinding.h"

#include "frame/Dump.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PwLabelBinding_52003859_zinModule =
    frame::moduleOf<Pseudowire::LabelBindingColl>("PwLabelBinding");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PwLabelBinding_52003859_zinModule);

}  // namespace

void LabelBindingColl::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
    const frame::Dump body = frame::Dump(context, indent).header("LabelBindingColl");
    const frame::Dump labels = body.collection("localLabel", localLabel_.members());
    for (auto it = localLabel_.iteratorConst(); it; ++it) {
        labels.member(it.key().toStrep(), it.value());
    }
    // Without the plural that other collections have.
    body.line("pseudowire #%u", pseudowire_.members());
    const frame::Dump users = body.nested();
    for (auto it = pseudowire_.iteratorConst(); it; ++it) {
        users.member(it.key(), it.value().toStrep());
    }
}

Zin::Ptr<LabelBindingColl> LabelBindingColl::LabelBindingCollIs(const Zin::String& name) {
    return frame::make<LabelBindingColl>(name);
}

Zin::Ptr<LabelBindingColl> labelBindingCollFactory(const Zin::String& name) {
    return LabelBindingColl::LabelBindingCollIs(name);
}

}  // namespace Pseudowire
