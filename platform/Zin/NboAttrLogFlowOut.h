// FlowOut is what a stream remembers of one entity: which attributes the peer has yet to hear
// of. A change that the stream cannot take at once costs a flag, or a key in a set; the value
// is read when the stream can take it. So a slow peer costs its dirty keys and nothing more.

#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "Zin/AllocTrack.h"
#include "Zin/Export.h"
#include "Zin/Module.h"
#include "Zin/PtrInterface.h"

namespace Zin::NboAttrLog {

class ZIN_EXPORT FlowOut : public PtrInterface {
  public:
    ~FlowOut() override;

    Sa* sa() const noexcept { return sa_; }
    // Whether it was made to tell the peer everything, not to follow what it knows already.
    bool initial() const noexcept { return initial_; }
    const EntityTypeInfo& type() const noexcept { return type_; }

    // A single attribute whose value the peer has yet to hear.
    bool zinIsDirty(AttributeId id) const noexcept { return has(id, dirty); }
    void zinIsDirtyIs(AttributeId id, bool value) noexcept { is(id, dirty, value); }

    // A collection whose members the peer has all heard of, apart from the dirty keys.
    bool zinHasSynced(AttributeId id) const noexcept { return has(id, synced); }
    void zinHasSyncedIs(AttributeId id, bool value) noexcept { is(id, synced, value); }

    // Whether any set of dirty keys holds one.
    virtual bool hasDirtyCollKeys() const = 0;
    // Whether anything at all is left to send.
    bool hasDirtyAttributes() const;

    // The attribute that is being flowed out: the one at which to resume.
    AttributeId currentAttribute() const noexcept { return current_; }
    void currentAttributeIs(AttributeId id) noexcept { current_ = id; }

    // Where a walk over the current collection was interrupted. A bookmark keeps its key.
    class Bookmark {
      public:
        virtual ~Bookmark() = default;
    };
    void zinFlowOutBookmarkEnq(std::unique_ptr<Bookmark> bookmark) noexcept {
        bookmark_ = std::move(bookmark);
    }
    std::unique_ptr<Bookmark> zinFlowOutBookmarkDeq() noexcept { return std::move(bookmark_); }

    static AllocTrackTypeInfo zinAllocTrackTypeInfo_;

  protected:
    // `flags` has a byte for each attribute of the type and outlives this object's use of it.
    FlowOut(
        Sa* sa,
        const EntityTypeInfo& type,
        std::span<std::uint8_t> flags,
        bool initial,
        AttributeId start) noexcept;

  private:
    static constexpr std::uint8_t dirty = 1;
    static constexpr std::uint8_t synced = 2;

    bool has(AttributeId id, std::uint8_t flag) const noexcept;
    void is(AttributeId id, std::uint8_t flag, bool value) noexcept;

    Sa* sa_;
    const EntityTypeInfo& type_;
    std::span<std::uint8_t> flags_;
    bool initial_;
    AttributeId current_;
    std::unique_ptr<Bookmark> bookmark_;
};

}  // namespace Zin::NboAttrLog
