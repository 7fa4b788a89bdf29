// The erased core of ordered collections: an intrusive red-black tree. It knows links and
// colours; the typed skin (Zin/RbTreeMap.h) does the searching, so that a search is inlined and
// no comparison crosses the border between them.
//
// Nodes are reference-counted objects; the tree holds one reference to each. Linking and
// unlinking allocate nothing. Cost: logarithmic to find, constant on average to link and
// unlink.

#pragma once

#include <cstdint>

#include "Zin/Export.h"
#include "Zin/PtrInterface.h"

namespace Zin {

// The links of a node. A class whose objects are nodes derives from it beside PtrInterface. An
// object is in one tree at most.
class ZIN_EXPORT RbTreeNode {
  public:
    RbTreeNode(const RbTreeNode&) = delete;
    RbTreeNode& operator=(const RbTreeNode&) = delete;

    // Whether some tree holds this node.
    bool linked() const noexcept { return (parentAndFlags_ & linkedFlag) != 0; }

  protected:
    RbTreeNode() noexcept = default;
    ~RbTreeNode() = default;

  private:
    friend class RbTreeMapGeneric;

    static constexpr std::uintptr_t redFlag = 1;
    static constexpr std::uintptr_t linkedFlag = 2;

    RbTreeNode* above() const noexcept {
        return reinterpret_cast<RbTreeNode*>(parentAndFlags_ & ~(redFlag | linkedFlag));
    }
    void aboveIs(RbTreeNode* parent) noexcept {
        parentAndFlags_ = reinterpret_cast<std::uintptr_t>(parent) |
                          (parentAndFlags_ & (redFlag | linkedFlag));
    }
    bool red() const noexcept { return (parentAndFlags_ & redFlag) != 0; }
    void redIs(bool red) noexcept {
        parentAndFlags_ = (parentAndFlags_ & ~redFlag) | (red ? redFlag : 0);
    }
    void clearLinks() noexcept {
        left_ = right_ = nullptr;
        parentAndFlags_ = 0;
    }

    RbTreeNode* left_ = nullptr;
    RbTreeNode* right_ = nullptr;
    std::uintptr_t parentAndFlags_ = 0;
};

// What the core must know of the nodes of one collection class.
struct RbTreeMapVTable {
    PtrInterface& (*object)(RbTreeNode& node) noexcept;
};

class ZIN_EXPORT RbTreeMapGeneric {
  public:
    // An empty place below a node, or at the root.
    struct Place {
        RbTreeNode* parent = nullptr;
        bool left = false;
    };

    RbTreeMapGeneric() noexcept = default;
    RbTreeMapGeneric(RbTreeMapGeneric&& other) noexcept { swap(other); }
    RbTreeMapGeneric& operator=(RbTreeMapGeneric&&) = delete;
    // REQUIRES: empty.
    ~RbTreeMapGeneric() = default;

    std::uint32_t members() const noexcept { return members_; }
    // Counts modifications modulo 2^23.
    std::uint32_t version() const noexcept { return changes_ & 0x7fffff; }
    std::uint32_t changes() const noexcept { return changes_; }
    void valueChanged() noexcept { ++changes_; }
    void swap(RbTreeMapGeneric& other) noexcept;

    RbTreeNode* root() const noexcept { return root_; }
    static RbTreeNode* leftOf(const RbTreeNode& node) noexcept { return node.left_; }
    static RbTreeNode* rightOf(const RbTreeNode& node) noexcept { return node.right_; }
    RbTreeNode* first() const noexcept;
    // REQUIRES of both: the node is in this tree.
    static RbTreeNode* next(const RbTreeNode& node) noexcept;
    // Unlinks the node. The reference that the tree had is the caller's now.
    void _memberDelG(const RbTreeNode& node) noexcept;

    // Links a new node. The tree takes over a reference of the caller.
    // REQUIRES: the place is empty and in key order; no tree holds the node.
    void memberNewChild(Place place, RbTreeNode& node) noexcept;
    // A second node with the same key is a fatal error.
    static void assertDupKey(const RbTreeNode* memberWithSameKey) noexcept;
    // The tree is empty before the first reference is dropped.
    void memberClearAll(const RbTreeMapVTable& vt) noexcept;
    void zinMarkAllForDeletionG(const RbTreeMapVTable& vt) const noexcept;

    // For tests: asserts the red-black rules, the links and the count. Linear.
    void validate() const;

  private:
    void replaceChild(RbTreeNode* parent, RbTreeNode* child, RbTreeNode* by) noexcept;
    void rotateLeft(RbTreeNode& node) noexcept;
    void rotateRight(RbTreeNode& node) noexcept;
    void balanceLinked(RbTreeNode* node) noexcept;
    void balanceUnlinked(RbTreeNode* node, RbTreeNode* parent) noexcept;

    RbTreeNode* root_ = nullptr;
    std::uint32_t members_ = 0;
    std::uint32_t changes_ = 0;
};

}  // namespace Zin
