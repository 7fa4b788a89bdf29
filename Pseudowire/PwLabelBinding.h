// LabelBindingColl holds the labels that signalling allocated here: the label of each user of a
// pseudowire, and the user of each label. The two maps are stores of their own: whoever binds a
// label writes both, whoever reads tolerates that one is ahead of the other.

#pragma once

#include "Pseudowire/PwPseudowireUserKey.h"
#include "Vorn/MplsLabel.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PwLabelBinding_52003859_zinModule;

namespace Pseudowire {

class ZIN_EXPORT LabelBindingColl final : public frame::EntityOf<LabelBindingColl> {
  public:
    struct ZinLocalLabel : Zin::HashMap2018NodeExternKey<
                               false,
                               0xe667b8cd,
                               PseudowireUserKey,
                               Vorn::MplsLabel,
                               false> {};
    struct ZinPseudowire : Zin::HashMap2018NodeExternKey<
                               false,
                               0x9da31f8e,
                               Vorn::MplsLabel,
                               PseudowireUserKey,
                               false> {};
    using LocalLabelMap = Zin::HashMap2018<ZinLocalLabel, PseudowireUserKey, Vorn::MplsLabel>;
    using PseudowireMap = Zin::HashMap2018<ZinPseudowire, Vorn::MplsLabel, PseudowireUserKey>;

    struct Notifiee : frame::NotifieeOf<LabelBindingColl> {
        using NotifieeOf::NotifieeOf;
        virtual void onLocalLabel(const PseudowireUserKey& /*user*/) {}
        virtual void onPseudowire(const Vorn::MplsLabel& /*label*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PwLabelBinding_52003859_zinModule, 0>(
            "Pseudowire::LabelBindingColl",
            frame::attribute<258, &LabelBindingColl::localLabel_, &Notifiee::onLocalLabel>(
                "localLabel"),
            frame::attribute<259, &LabelBindingColl::pseudowire_, &Notifiee::onPseudowire>(
                "pseudowire"),
            frame::function<260, &LabelBindingColl::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<LabelBindingColl> LabelBindingCollIs(const Zin::String& name);

    // The label that the peer is asked to send a user's frames with.
    const LocalLabelMap& localLabel() const { return localLabel_; }
    // No label when the user has none.
    Vorn::MplsLabel localLabel(const PseudowireUserKey& user) const {
        return memberOf<&LabelBindingColl::localLabel_>(user);
    }
    void localLabelIs(const PseudowireUserKey& user, Vorn::MplsLabel label) {
        memberIs<&LabelBindingColl::localLabel_>(user, label);
    }
    // The removed label, or none.
    Vorn::MplsLabel localLabelDel(const PseudowireUserKey& user) {
        return memberDel<&LabelBindingColl::localLabel_>(user);
    }
    void localLabelDelAll() { membersDelAll<&LabelBindingColl::localLabel_>(); }

    // The user that a label belongs to.
    const PseudowireMap& pseudowire() const { return pseudowire_; }
    // A default key when the label is not bound.
    PseudowireUserKey pseudowire(Vorn::MplsLabel label) const {
        return memberOf<&LabelBindingColl::pseudowire_>(label);
    }
    void pseudowireIs(Vorn::MplsLabel label, const PseudowireUserKey& user) {
        memberIs<&LabelBindingColl::pseudowire_>(label, user);
    }
    // The removed user, or a default key.
    PseudowireUserKey pseudowireDel(Vorn::MplsLabel label) {
        return memberDel<&LabelBindingColl::pseudowire_>(label);
    }
    void pseudowireDelAll() { membersDelAll<&LabelBindingColl::pseudowire_>(); }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    LabelBindingColl(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    LocalLabelMap localLabel_;
    PseudowireMap pseudowire_;
};

ZIN_EXPORT Zin::Ptr<LabelBindingColl> labelBindingCollFactory(const Zin::String& name);

}  // namespace Pseudowire
