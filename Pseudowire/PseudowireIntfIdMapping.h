// PseudowireIntfIdMapping says which interface stands for each pseudowire that LDP signals.

#pragma once

#include "Pseudowire/PseudowireLdpKey.h"
#include "Quib/DumpContext.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _PseudowireIntfIdMapping_9c9fcf88_zinModule;

namespace Pseudowire {

class ZIN_EXPORT PseudowireIntfIdMapping final
    : public frame::EntityOf<PseudowireIntfIdMapping> {
  public:
    struct ZinPsudowireIntfId : Zin::HashMap2018NodeExternKey<
                                    false,
                                    0x4cf0f0fb,
                                    PseudowireLdpKey,
                                    Vorn::IntfId,
                                    false> {};
    using PsudowireIntfIdMap =
        Zin::HashMap2018<ZinPsudowireIntfId, PseudowireLdpKey, Vorn::IntfId>;

    struct Notifiee : frame::NotifieeOf<PseudowireIntfIdMapping> {
        using NotifieeOf::NotifieeOf;
        virtual void onPsudowireIntfId(const PseudowireLdpKey& /*key*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_PseudowireIntfIdMapping_9c9fcf88_zinModule, 0>(
            "Pseudowire::PseudowireIntfIdMapping",
            frame::attribute<
                258,
                &PseudowireIntfIdMapping::psudowireIntfId_,
                &Notifiee::onPsudowireIntfId>("psudowireIntfId"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<PseudowireIntfIdMapping> PseudowireIntfIdMappingIs(const Zin::String& name);

    // The interfaces by pseudowire. Peers and agents know the attribute by this spelling.
    const PsudowireIntfIdMap& psudowireIntfId() const { return psudowireIntfId_; }
    // No interface when the pseudowire is unknown.
    Vorn::IntfId psudowireIntfId(const PseudowireLdpKey& key) const {
        return memberOf<&PseudowireIntfIdMapping::psudowireIntfId_>(key);
    }
    void psudowireIntfIdIs(const PseudowireLdpKey& key, Vorn::IntfId intfId) {
        memberIs<&PseudowireIntfIdMapping::psudowireIntfId_>(key, intfId);
    }
    // The removed interface, or none.
    Vorn::IntfId psudowireIntfIdDel(const PseudowireLdpKey& key) {
        return memberDel<&PseudowireIntfIdMapping::psudowireIntfId_>(key);
    }
    void psudowireIntfIdDelAll() {
        membersDelAll<&PseudowireIntfIdMapping::psudowireIntfId_>();
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    PseudowireIntfIdMapping(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    PsudowireIntfIdMap psudowireIntfId_;
};

ZIN_EXPORT Zin::Ptr<PseudowireIntfIdMapping> pseudowireIntfIdMappingFactory(
    const Zin::String& name);

}  // namespace Pseudowire
