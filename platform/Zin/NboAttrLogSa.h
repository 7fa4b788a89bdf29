// Sa, a stream adapter, joins one entity to one stream. On the owner's side it listens to the
// entity and sends its changes; on the mirror's side it holds the proxy of the peer's entity,
// applies what comes, and notices local changes, which it sends to the owner or refuses.
//
// A stream adapter holds a reference to its entity. It goes with the stream, or when the entity
// leaves its parent.

#pragma once

#include <cstdint>
#include <optional>

#include "Zin/Export.h"
#include "Zin/Module.h"
#include "Zin/NboAttrLogFlowOut.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogOut.h"
#include "Zin/NboAttrLogProtocol.h"
#include "Zin/NotifieeList.h"

namespace Zin::NboAttrLog {

class Connection;
class Demuxer;

enum class Role : std::uint8_t {
    owner,  // this side's entity, mirrored by the peer
    proxy,  // this side's mirror of the peer's entity
};

class ZIN_EXPORT Sa final : private Notifiee {
  public:
    Sa(Connection& connection,
       Ptr<Entity> entity,
       std::uint32_t entityId,
       Role role,
       bool writable,
       Sa* parent);
    ~Sa() override;

    Connection& connection() const noexcept { return connection_; }
    Entity& entity() const noexcept { return *entity_; }
    const EntityTypeInfo& type() const noexcept { return type_; }
    std::uint32_t entityId() const noexcept { return entityId_; }
    Role role() const noexcept { return role_; }
    // Whether the proxy's side may change the entity.
    bool writable() const noexcept { return writable_; }
    FlowOut& flowOut() const noexcept { return *flowOut_; }
    // Set while the peers speak of this entity; clear when a reactor has ended that meanwhile.
    bool isActive() const noexcept { return _isActive; }
    // Replaces what is remembered as dirty: 0 makes everything dirty, a number above the last
    // attribute nothing.
    void flowOutIs(AttributeId start);

    // --- Sending ---
    // A message for an attribute whose payload takes `size` bytes, or nothing when the stream
    // cannot take it now; then it is remembered as dirty. outSmCommitMessage() ends a message.
    std::optional<Out> singletonSerializeCheck(AttributeId id, std::size_t size);
    // The same for a collection's member; remembering the key is the caller's.
    inline std::optional<Out>
    collSerializeCheck(AttributeId id, bool deleted, std::size_t size);
    inline void outSmCommitMessage();
    // The last message told the owner of a child that was made here. Its number.
    std::uint64_t childWasTold() noexcept;
    // Whether the peer is known to have taken the message of this number: what it says from
    // then on it says knowing that message.
    bool wasHeard(std::uint64_t message) const noexcept;
    // Whether a flow-out that is under way may send more.
    bool continueFlowOut() const;
    // Whether a message would be taken now.
    bool mayWrite() const noexcept;
    // Sends the attribute as it is now.
    void onAttributeForConnection(AttributeId id) {
        type_.streamAdapterOnAttribute(this, id, nullptr);
    }
    // Something is dirty: the stream comes back to it when it can.
    void schedule();
    void sendTransaction(AttributeId id, TransactionType transaction);
    // A value of the attribute has no wire form, and nothing of it was written. Throws to
    // whoever changed it; a flow-out goes on, and its caller is told at the end.
    void onUnsendable(
        AttributeId id,
        const void* key,
        const ValueCollectionDefaultKeyException& why);

    // --- Receiving ---
    // While one lives, this side makes a change because the peer said so. The first time that
    // the adapter is told of that very change it sends nothing back; a second time is a
    // reactor's doing.
    class Applying {
      public:
        Applying(Sa& sa, AttributeId id, const void* key);
        ~Applying();
        Applying(const Applying&) = delete;
        Applying& operator=(const Applying&) = delete;

      private:
        friend class Sa;
        Sa& sa_;
        AttributeId id_;
        const void* key_;
        bool told_ = false;
        Applying* outer_;
    };

    // The peer named an entity that this side does not take up: what is said of it is skipped.
    void skipId(std::uint32_t entityId) noexcept;

    // Whether the peer's build describes the entity's type as this one does.
    bool sameBuild() const noexcept { return sameBuild_; }
    // The payload must end here, unless the peer's build may know more fields than this one.
    void finish(const In& in) const {
        if (sameBuild_) in.requireEnd();
    }

    // --- Tree of adapters ---
    Sa* parent() const noexcept { return parent_; }
    Sa* firstChild() const noexcept { return firstChild_; }

  private:
    friend class Connection;
    friend class Demuxer;

    void onAttribute(AttributeId id, const void* key) override;
    void askForRefresh(const AttributeInfo& attribute, const void* key);
    // Asks for what it could not ask for before. Whether all was asked.
    bool askForRefreshes();
    // Ends the registration and the links to other adapters.
    void detach() noexcept;

    Connection& connection_;
    Ptr<Entity> entity_;
    const EntityTypeInfo& type_;
    std::uint32_t entityId_;
    Role role_;
    bool writable_;
    bool sameBuild_;
    bool pending_ = false;
    bool _isActive = true;
    Applying* applying_ = nullptr;
    Ptr<FlowOut> flowOut_;
    AttributeId resumeAt_ = 0;
    Sa* nextPending_ = nullptr;
    Sa* previousPending_ = nullptr;
    Sa* parent_ = nullptr;
    Sa* firstChild_ = nullptr;
    Sa* nextSibling_ = nullptr;
    Sa* previousSibling_ = nullptr;
};

}  // namespace Zin::NboAttrLog
