#include "Zin/NboAttrLogSa.h"

#include <algorithm>
#include <new>

#include "Zin/Assert.h"
#include "Zin/NboAttrLogConnection.h"
#include "Zin/NboAttrLogConnectionImpl.h"

namespace Zin::NboAttrLog {

namespace {

// Above every attribute: nothing is dirty.
constexpr AttributeId behindTheLast = 0x7fffffff;

}  // namespace

Sa::Sa(
    Connection& connection,
    Ptr<Entity> entity,
    std::uint32_t entityId,
    Role role,
    bool writable,
    Sa* parent)
    : connection_(connection),
      entity_(std::move(entity)),
      type_(*entity_->fwkType().info()),
      entityId_(entityId),
      role_(role),
      writable_(writable),
      sameBuild_(connection.sameBuild(entity_->fwkType().module)),
      parent_(parent) {
    flowOutIs(behindTheLast);
    registerWith(*entity_->notifieeList().list);
    if (!parent_) return;
    nextSibling_ = parent_->firstChild_;
    if (nextSibling_) nextSibling_->previousSibling_ = this;
    parent_->firstChild_ = this;
}

Sa::~Sa() {
    detach();
}

void Sa::detach() noexcept {
    _isActive = false;
    unregister();
    for (Sa* child = firstChild_; child; child = child->nextSibling_) child->parent_ = nullptr;
    firstChild_ = nullptr;
    if (parent_) {
        (previousSibling_ ? previousSibling_->nextSibling_ : parent_->firstChild_) =
            nextSibling_;
        if (nextSibling_) nextSibling_->previousSibling_ = previousSibling_;
    }
    parent_ = nullptr;
    nextSibling_ = nullptr;
    previousSibling_ = nullptr;
}

void Sa::flowOutIs(AttributeId start) {
    flowOut_ = type_.newFlowOut(this, start == 0, start);
    resumeAt_ = 0;
}

// --- Sending ---

std::optional<Out> Sa::singletonSerializeCheck(AttributeId id, std::size_t size) {
    std::optional<Out> out = connection_.attributeMessage(*this, id, size);
    if (out) {
        flowOut_->zinIsDirtyIs(id, false);
    } else {
        flowOut_->zinIsDirtyIs(id, true);
        schedule();
    }
    return out;
}

void Sa::skipId(std::uint32_t entityId) noexcept {
    std::uint32_t& last = connection_.lastEntityId_[indexOf(role_)];
    last = std::max(last, entityId);
}

std::uint64_t Sa::childWasTold() noexcept {
    return connection_.childTold_ = connection_.counters_.messagesOut;
}

bool Sa::wasHeard(std::uint64_t message) const noexcept {
    return message <= connection_.heardByPeer_;
}

bool Sa::continueFlowOut() const {
    return connection_.state_ == Connection::State::open &&
           connection_.out_.size() < connection_.limit_;
}

bool Sa::mayWrite() const noexcept {
    return connection_.mayWrite();
}

void Sa::schedule() {
    if (connection_.closed()) return;
    connection_.schedule(*this);
    connection_.wake();
}

void Sa::sendTransaction(AttributeId id, TransactionType transaction) {
    connection_.select(*this);
    Out out = connection_.message(static_cast<std::uint32_t>(MessageId::transaction), 4 + 1);
    out << id << static_cast<std::uint8_t>(transaction);
    outSmCommitMessage();
}

void Sa::onUnsendable(
    AttributeId id,
    const void* key,
    const ValueCollectionDefaultKeyException& why) {
    if (!connection_.producing_) throw unsendable(*entity_, id, key, why.what());
    if (connection_.unsendable_) return;
    connection_.unsendable_ =
        std::make_exception_ptr(unsendable(*entity_, id, key, why.what()));
}

// --- Receiving ---

Sa::Applying::Applying(Sa& sa, AttributeId id, const void* key)
    : sa_(sa), id_(id), key_(key), outer_(sa.applying_) {
    sa.applying_ = this;
}

Sa::Applying::~Applying() {
    sa_.applying_ = outer_;
}

void Sa::onAttribute(AttributeId id, const void* key) {
    if (connection_.closed()) return;
    const Connection::Depth depth(connection_);
    if (id == parentId) {
        // A child that left its parent is the peer's no longer. A root has no adapter above it.
        if (parent_ && !entity_->parent()) connection_.release(*this);
        return;
    }
    const AttributeInfo* const attribute = type_.attribute(id);
    if (!attribute || !attribute->streamed) return;
    if (Applying* const applying = applying_;
        role_ == Role::proxy && applying && !applying->told_ && applying->id_ == id &&
        (!key || attribute->sameKey(key, applying->key_))) {
        applying->told_ = true;
        return;
    }
    const bool refused = role_ == Role::proxy && !writable_;
    try {
        if (refused) {
            askForRefresh(*attribute, key);
        } else {
            type_.streamAdapterOnAttribute(this, id, key);
        }
    } catch (const std::bad_alloc&) {
        // A peer that cannot be told must not go on as if nothing had changed.
        connection_.fail(
            StreamErrorKind::resources,
            connection_.position_,
            "no memory to remember a change");
    }
    if (refused) throwWriteUpdateFromReadOnlyProxyException(*entity_, id, key);
}

// The owner's order decides: it is asked to say again what it holds. Where the stream is full,
// the attribute is remembered, and asked for as a whole.
void Sa::askForRefresh(const AttributeInfo& attribute, const void* key) {
    if (!mayWrite()) {
        flowOut_->zinIsDirtyIs(attribute.id, true);
        return schedule();
    }
    connection_.select(*this);
    const std::size_t keySize = key ? attribute.keySize(key) : 0;
    Out out = connection_.message(static_cast<std::uint32_t>(MessageId::refresh), 4 + keySize);
    out << attribute.id;
    if (key) attribute.putKey(out, key);
    outSmCommitMessage();
}

bool Sa::askForRefreshes() {
    for (const AttributeInfo& attribute : type_.attributes) {
        if (!flowOut_->zinIsDirty(attribute.id)) continue;
        if (!continueFlowOut()) return false;
        askForRefresh(attribute, nullptr);
        flowOut_->zinIsDirtyIs(attribute.id, false);
    }
    return true;
}

bool allowWriteFromReadOnlyRemote(const Sa& sa, AttributeId) {
    return sa.writable();
}

void doBaseZinNboAttrLogSaMsg(Sa& sa, AttributeId id, In&) {
    Demuxer::faultAttribute(sa, id);
}

// --- Awaiting ---

void Awaiting::begin(Sa& sa, AttributeId id, const Entity& entity) {
    end();
    at_ = sa.connection().awaited_.emplace(&entity, this);
    sa_ = &sa;
    id_ = id;
}

void Awaiting::end() noexcept {
    if (sa_) sa_->connection().awaited_.erase(at_);
    sa_ = nullptr;
}

// --- Demuxer ---

std::size_t Demuxer::referenceSize(Sa& sa, const Entity& child) {
    if (sa.connection_.adapterOf(sa.role(), child)) return 4 + 1;
    const EntityTypeInfo& type = *child.fwkType().info();
    sa.connection_.typeNumber(type);
    return 4 + 1 + 4 + type.attrLogSizeCtorParams(child);
}

void Demuxer::putReference(Out& out, Sa& sa, const Entity& child) {
    Connection& connection = sa.connection_;
    if (const Sa* const known = connection.adapterOf(sa.role(), child)) {
        out << known->entityId() << false;
        return;
    }
    // A proxy's side gives no numbers: the owner names what it makes.
    const std::uint32_t id =
        sa.role() == Role::owner ? connection.lastEntityId_[indexOf(Role::owner)] + 1 : 0;
    const EntityTypeInfo& type = *child.fwkType().info();
    out << id << true << connection.typeNumber(type);
    type.serializeConstructorParams(out, child);
}

void Demuxer::streamDemuxer(Sa& sa, const Ptr<Entity>& child) {
    if (sa.role() != Role::owner || sa.connection_.adapterOf(Role::owner, *child)) return;
    const std::size_t owner = indexOf(Role::owner);
    Sa& made = sa.connection_.attach(
        child,
        sa.connection_.lastEntityId_[owner] + 1,
        Role::owner,
        sa.writable(),
        &sa);
    made.flowOutIs(0);
    if (made.flowOut().hasDirtyAttributes()) made.schedule();
}

Demuxer::Reference Demuxer::nextReference(In& in, Sa& sa) {
    Reference reference;
    reference.entityId = in.nextU32();
    reference.described = in.nextbool();
    if (!reference.described) return reference;
    const std::uint32_t number = in.nextU32();
    const auto type = sa.connection_.peerTypes_.find(number);
    if (type == sa.connection_.peerTypes_.end()) {
        in.fail("the number of a type that was named", std::to_string(number));
    }
    reference.typeName = type->second;
    return reference;
}

void Demuxer::requireNewId(const Sa& sa, const Reference& reference) {
    const std::size_t proxy = indexOf(Role::proxy);
    if (sa.role() == Role::proxy && reference.described &&
        reference.entityId <= sa.connection_.lastEntityId_[proxy]) {
        fault(
            sa,
            StreamErrorKind::outOfOrder,
            "entity " + std::to_string(reference.entityId) + " is described twice");
    }
}

bool Demuxer::checkEphemeralEntityDeletion(
    Sa& sa,
    const Entity& existing,
    std::uint32_t incomingId,
    bool isNew) {
    const Sa* const bound = sa.connection_.adapterOf(sa.role(), existing);
    return isNew && bound && bound->entityId() != incomingId;
}

void Demuxer::deactivate(Sa& sa, const Entity& existing) {
    Sa* const bound = sa.connection_.adapterOf(sa.role(), existing);
    if (!bound) return;
    sa.connection_.release(*bound);
    ZIN_ASSERT(!bound->_isActive, "NboAttrLogSa");
}

Sa& Demuxer::bind(Sa& sa, const Ptr<Entity>& child, std::uint32_t entityId) {
    return sa.connection_.attach(child, entityId, Role::proxy, sa.writable(), &sa);
}

void Demuxer::keepHeld(Sa& child, const Entity& justMade) {
    for (const AttributeInfo& attribute : child.type().attributes) {
        if (attribute.streamed) attribute.keepHeld(child, justMade);
    }
    if (child.flowOut().hasDirtyAttributes()) child.schedule();
}

bool Demuxer::isBound(const Sa& sa, const Entity& child, std::uint32_t entityId) {
    const Sa* const bound = sa.connection_.adapterOf(sa.role(), child);
    return bound && bound->entityId() == entityId;
}

void Demuxer::confirm(Sa& sa) {
    sa.connection_.confirm();
}

bool Demuxer::hasGone(const Sa& sa, std::uint32_t entityId) {
    return entityId <= sa.connection_.lastEntityId_[indexOf(sa.role())] &&
           !sa.connection_.adapterOf(sa.role(), entityId);
}

std::uint32_t Demuxer::numberOf(const Sa& sa, const Entity& entity) {
    const Sa* const known = sa.connection_.adapterOf(sa.role(), entity);
    return known ? known->entityId() : 0;
}

Ptr<Entity> Demuxer::entityNumbered(const Sa& sa, std::uint32_t entityId) {
    if (const Sa* const known = sa.connection_.adapterOf(sa.role(), entityId)) {
        return Ptr<Entity>(&known->entity());
    }
    if (entityId != 0 && !hasGone(sa, entityId)) {
        fault(
            sa,
            StreamErrorKind::outOfOrder,
            "entity " + std::to_string(entityId) + " was never described");
    }
    return {};
}

void Demuxer::faultType(const Sa& sa, const String& found, std::string_view wanted) {
    fault(
        sa,
        StreamErrorKind::unknownName,
        "an entity of type " + std::string(found.view()) + " where a " + std::string(wanted) +
            " belongs");
}

void Demuxer::faultAttribute(Sa& sa, AttributeId id) {
    const bool deletion = static_cast<std::int32_t>(id) < 0;
    sa.connection_.skipOrFault(
        sa.sameBuild(),
        std::string(sa.type().name) + " has no " + (deletion ? "collection " : "attribute ") +
            std::to_string(deletion ? ~id + 1 : id));
}

void Demuxer::fault(const Sa& sa, StreamErrorKind kind, const std::string& text) {
    sa.connection_.fault(kind, text);
}

}  // namespace Zin::NboAttrLog
