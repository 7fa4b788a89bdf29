#include "Zin/RbTreeMapCore.h"

#include <utility>

#include "Zin/Assert.h"

namespace Zin {

void RbTreeMapGeneric::swap(RbTreeMapGeneric& other) noexcept {
    std::swap(root_, other.root_);
    std::swap(members_, other.members_);
    ++changes_;
    ++other.changes_;
}

RbTreeNode* RbTreeMapGeneric::first() const noexcept {
    RbTreeNode* node = root_;
    while (node && node->left_) node = node->left_;
    return node;
}

RbTreeNode* RbTreeMapGeneric::next(const RbTreeNode& node) noexcept {
    if (node.right_) {
        RbTreeNode* below = node.right_;
        while (below->left_) below = below->left_;
        return below;
    }
    const RbTreeNode* child = &node;
    RbTreeNode* parent = child->above();
    while (parent && child == parent->right_) {
        child = parent;
        parent = parent->above();
    }
    return parent;
}

void RbTreeMapGeneric::assertDupKey(const RbTreeNode* memberWithSameKey) noexcept {
    ZIN_ASSERT(memberWithSameKey == nullptr, "RbTreeMapGeneric");
}

void RbTreeMapGeneric::memberNewChild(Place place, RbTreeNode& node) noexcept {
    ZIN_ASSERT(!node.linked(), "RbTreeMapGeneric");
    node.parentAndFlags_ = RbTreeNode::linkedFlag | RbTreeNode::redFlag;
    node.aboveIs(place.parent);
    if (!place.parent) {
        root_ = &node;
    } else {
        (place.left ? place.parent->left_ : place.parent->right_) = &node;
    }
    balanceLinked(&node);
    ++members_;
    ++changes_;
}

void RbTreeMapGeneric::_memberDelG(const RbTreeNode& member) noexcept {
    RbTreeNode& node = const_cast<RbTreeNode&>(member);
    RbTreeNode* child;   // takes the place that is vacated; may be none
    RbTreeNode* parent;  // of that place
    bool removedRed;
    if (node.left_ && node.right_) {
        // The successor, which has no left child, takes the node's place and colour.
        RbTreeNode* successor = node.right_;
        while (successor->left_) successor = successor->left_;
        child = successor->right_;
        removedRed = successor->red();
        if (successor->above() == &node) {
            parent = successor;
        } else {
            parent = successor->above();
            parent->left_ = child;
            if (child) child->aboveIs(parent);
            successor->right_ = node.right_;
            node.right_->aboveIs(successor);
        }
        successor->left_ = node.left_;
        node.left_->aboveIs(successor);
        replaceChild(node.above(), &node, successor);
        successor->aboveIs(node.above());
        successor->redIs(node.red());
    } else {
        child = node.left_ ? node.left_ : node.right_;
        parent = node.above();
        removedRed = node.red();
        replaceChild(parent, &node, child);
        if (child) child->aboveIs(parent);
    }
    if (!removedRed) balanceUnlinked(child, parent);
    node.clearLinks();
    --members_;
    ++changes_;
}

void RbTreeMapGeneric::replaceChild(
    RbTreeNode* parent,
    RbTreeNode* child,
    RbTreeNode* by) noexcept {
    if (!parent) {
        root_ = by;
    } else {
        (parent->left_ == child ? parent->left_ : parent->right_) = by;
    }
}

void RbTreeMapGeneric::rotateLeft(RbTreeNode& node) noexcept {
    RbTreeNode& up = *node.right_;
    node.right_ = up.left_;
    if (up.left_) up.left_->aboveIs(&node);
    replaceChild(node.above(), &node, &up);
    up.aboveIs(node.above());
    up.left_ = &node;
    node.aboveIs(&up);
}

void RbTreeMapGeneric::rotateRight(RbTreeNode& node) noexcept {
    RbTreeNode& up = *node.left_;
    node.left_ = up.right_;
    if (up.right_) up.right_->aboveIs(&node);
    replaceChild(node.above(), &node, &up);
    up.aboveIs(node.above());
    up.right_ = &node;
    node.aboveIs(&up);
}

// A red node may have come below a red one.
void RbTreeMapGeneric::balanceLinked(RbTreeNode* node) noexcept {
    RbTreeNode* parent = node->above();
    while (parent && parent->red()) {
        RbTreeNode* const above = parent->above();  // a red node is never the root
        const bool onLeft = parent == above->left_;
        RbTreeNode* const uncle = onLeft ? above->right_ : above->left_;
        if (uncle && uncle->red()) {
            parent->redIs(false);
            uncle->redIs(false);
            above->redIs(true);
            node = above;
            parent = node->above();
            continue;
        }
        if (onLeft && node == parent->right_) {
            rotateLeft(*parent);
            parent = node;
        } else if (!onLeft && node == parent->left_) {
            rotateRight(*parent);
            parent = node;
        }
        parent->redIs(false);
        above->redIs(true);
        onLeft ? rotateRight(*above) : rotateLeft(*above);
        break;
    }
    root_->redIs(false);
}

// The paths through the node, which may be none, lack a black node.
void RbTreeMapGeneric::balanceUnlinked(RbTreeNode* node, RbTreeNode* parent) noexcept {
    const auto isRed = [](const RbTreeNode* child) {
        return child && child->red();
    };
    while (parent && !isRed(node)) {
        const bool onLeft = node == parent->left_;
        // Never null: the paths through it hold more black nodes than those through the node.
        RbTreeNode* sibling = onLeft ? parent->right_ : parent->left_;
        if (sibling->red()) {  // NOLINT(clang-analyzer-core.CallAndMessage)
            sibling->redIs(false);
            parent->redIs(true);
            onLeft ? rotateLeft(*parent) : rotateRight(*parent);
            sibling = onLeft ? parent->right_ : parent->left_;
        }
        if (!isRed(sibling->left_) && !isRed(sibling->right_)) {
            sibling->redIs(true);
            node = parent;
            parent = node->above();
            continue;
        }
        RbTreeNode* const outer = onLeft ? sibling->right_ : sibling->left_;
        if (!isRed(outer)) {
            (onLeft ? sibling->left_ : sibling->right_)->redIs(false);
            sibling->redIs(true);
            onLeft ? rotateRight(*sibling) : rotateLeft(*sibling);
            sibling = onLeft ? parent->right_ : parent->left_;
        }
        sibling->redIs(parent->red());
        parent->redIs(false);
        (onLeft ? sibling->right_ : sibling->left_)->redIs(false);
        onLeft ? rotateLeft(*parent) : rotateRight(*parent);
        return;
    }
    if (node) node->redIs(false);
}

void RbTreeMapGeneric::memberClearAll(const RbTreeMapVTable& vt) noexcept {
    if (!root_) return;
    RbTreeNode* node = std::exchange(root_, nullptr);
    members_ = 0;
    ++changes_;
    // Right rotations lay the tree out as a list in key order while it is taken apart.
    while (node) {
        if (RbTreeNode* const left = node->left_) {
            node->left_ = left->right_;
            left->right_ = node;
            node = left;
            continue;
        }
        RbTreeNode* const next = node->right_;
        node->clearLinks();
        vt.object(*node).ptrDec();
        node = next;
    }
}

void RbTreeMapGeneric::zinMarkAllForDeletionG(const RbTreeMapVTable& vt) const noexcept {
    for (RbTreeNode* node = first(); node; node = next(*node)) {
        vt.object(*node).markedForDeletionIs(true);
    }
}

void RbTreeMapGeneric::validate() const {
    constexpr const char* source = "RbTreeMapGeneric";
    struct Below {
        std::uint32_t members;
        std::uint32_t blackDepth;
    };
    const auto check = [](const auto& self, const RbTreeNode* node, const RbTreeNode* parent) {
        if (!node) return Below{0, 0};
        ZIN_ASSERT(node->linked(), source);
        ZIN_ASSERT(node->above() == parent, source);
        ZIN_ASSERT(!node->red() || (parent && !parent->red()), source);
        const Below left = self(self, node->left_, node);
        const Below right = self(self, node->right_, node);
        ZIN_ASSERT(left.blackDepth == right.blackDepth, source);
        return Below{
            left.members + right.members + 1,
            left.blackDepth + (node->red() ? 0U : 1U)};
    };
    ZIN_ASSERT(check(check, root_, nullptr).members == members_, source);
}

}  // namespace Zin
