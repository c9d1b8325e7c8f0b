// Intrusive AVL tree with parent links. Each node keeps the heights of both its subtrees, so that
// neither an insertion nor a deletion looks at a node off the path from its place to the root.
#include <algorithm>
#include <cstdlib>

#include "base/host/qor_host_api.hpp"

namespace {

using Node = HOST_AVL_NODE_S;
using Tree = HOST_AVL_TREE_S;
using Info = HOST_AVL_INFO_S;

void *EntryOf(Node *node, const Info *info) {
    return node ? reinterpret_cast<char *>(node) - info->usNodeOffset : nullptr;
}

const void *KeyOf(Node *node, const Info *info) {
    return static_cast<const char *>(EntryOf(node, info)) + info->usKeyOffset;
}

int16_t HeightOf(const Node *node) {
    return static_cast<int16_t>(std::max(node->sLeftHeight, node->sRightHeight) + 1);
}

Node *Leftmost(Node *node) {
    while (node->pstLeft) {
        node = node->pstLeft;
    }
    return node;
}

Node *Successor(Node *node) {
    if (node->pstRight) {
        return Leftmost(node->pstRight);
    }
    Node *up = node->pstParent;
    while (up && up->pstRight == node) {
        node = up;
        up = up->pstParent;
    }
    return up;
}

void LinkLeft(Node *parent, Node *child, int16_t height) {
    parent->pstLeft = child;
    parent->sLeftHeight = height;
    if (child) {
        child->pstParent = parent;
    }
}

void LinkRight(Node *parent, Node *child, int16_t height) {
    parent->pstRight = child;
    parent->sRightHeight = height;
    if (child) {
        child->pstParent = parent;
    }
}

// Hangs other, which may be NULL, where node hangs. The heights above keep their old values.
void Replace(Tree *tree, Node *node, Node *other) {
    Node *parent = node->pstParent;
    if (other) {
        other->pstParent = parent;
    }
    if (!parent) {
        tree->pstRoot = other;
    } else if (parent->pstLeft == node) {
        parent->pstLeft = other;
    } else {
        parent->pstRight = other;
    }
}

Node *RotateLeft(Tree *tree, Node *node) {
    Node *top = node->pstRight;
    Replace(tree, node, top);
    LinkRight(node, top->pstLeft, top->sLeftHeight);
    LinkLeft(top, node, HeightOf(node));
    return top;
}

Node *RotateRight(Tree *tree, Node *node) {
    Node *top = node->pstLeft;
    Replace(tree, node, top);
    LinkLeft(node, top->pstRight, top->sRightHeight);
    LinkRight(top, node, HeightOf(node));
    return top;
}

// Brings the two sides of node, two levels apart, within one of each other; returns the top of the
// subtree.
Node *Balance(Tree *tree, Node *node) {
    if (node->sLeftHeight > node->sRightHeight) {
        if (node->pstLeft->sRightHeight > node->pstLeft->sLeftHeight) {
            RotateLeft(tree, node->pstLeft);
        }
        return RotateRight(tree, node);
    }
    if (node->pstRight->sLeftHeight > node->pstRight->sRightHeight) {
        RotateRight(tree, node->pstRight);
    }
    return RotateLeft(tree, node);
}

// Restores balance and heights from node, whose own heights are right, up to where nothing changes.
// Node was of height was: what its parent holds it for.
void Retrace(Tree *tree, Node *node, int was) {
    int16_t left = node->sLeftHeight;
    int16_t right = node->sRightHeight;
    for (;;) {
        int height = std::max(left, right) + 1;
        if (std::abs(left - right) > 1) {
            node = Balance(tree, node);
            height = HeightOf(node);
        }
        Node *parent = node->pstParent;
        if (height == was || !parent) {
            return;
        }
        // The heights go on in registers: read back from the node they would wait for the store.
        left = parent->sLeftHeight;
        right = parent->sRightHeight;
        was = std::max(left, right) + 1;
        if (parent->pstLeft == node) {
            parent->sLeftHeight = left = static_cast<int16_t>(height);
        } else {
            parent->sRightHeight = right = static_cast<int16_t>(height);
        }
        node = parent;
    }
}

}  // namespace

void *HOST_AvlInsertOrFind(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node,
                           const HOST_AVL_INFO_S *info) {
    const void *key = KeyOf(node, info);
    Node *parent = nullptr;
    int order = 0;
    for (Node *at = root->pstRoot; at;) {
        order = info->pfnCompare(key, KeyOf(at, info));
        if (order == 0) {
            return EntryOf(at, info);
        }
        parent = at;
        at = order < 0 ? at->pstLeft : at->pstRight;
    }

    *node = Node{parent, nullptr, nullptr, 0, 0};
    if (!parent) {
        *root = Tree{node, node, node};
        return nullptr;
    }
    const int was = HeightOf(parent);
    if (order < 0) {
        LinkLeft(parent, node, 1);
        if (root->pstFirst == parent) {
            root->pstFirst = node;
        }
    } else {
        LinkRight(parent, node, 1);
        if (root->pstLast == parent) {
            root->pstLast = node;
        }
    }
    Retrace(root, parent, was);
    return nullptr;
}

void HOST_AvlDelete(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node) {
    if (!node->pstParent && root->pstRoot != node) {
        return;
    }
    // The first and the last node have at most a leaf on their inner side.
    if (root->pstFirst == node) {
        root->pstFirst = node->pstRight ? node->pstRight : node->pstParent;
    }
    if (root->pstLast == node) {
        root->pstLast = node->pstLeft ? node->pstLeft : node->pstParent;
    }

    Node *changed = node->pstParent;  // the lowest node that lost a level on one side
    int was = 0;                      // its height
    if (node->pstLeft && node->pstRight) {
        Node *heir = Leftmost(node->pstRight);
        changed = heir;
        was = HeightOf(node);
        if (heir != node->pstRight) {
            changed = heir->pstParent;
            was = HeightOf(changed);
            LinkLeft(changed, heir->pstRight, heir->sRightHeight);
            LinkRight(heir, node->pstRight, node->sRightHeight);
        }
        LinkLeft(heir, node->pstLeft, node->sLeftHeight);
        Replace(root, node, heir);
    } else {
        const int16_t height = std::max(node->sLeftHeight, node->sRightHeight);
        if (changed) {
            was = HeightOf(changed);
            (changed->pstLeft == node ? changed->sLeftHeight : changed->sRightHeight) = height;
        }
        Replace(root, node, node->pstLeft ? node->pstLeft : node->pstRight);
    }
    if (changed) {
        Retrace(root, changed, was);
    }
    *node = Node{nullptr, nullptr, nullptr, -1, -1};
}

void *HOST_AvlFind(HOST_AVL_TREE_S *root, const void *key, const HOST_AVL_INFO_S *info) {
    for (Node *at = root->pstRoot; at;) {
        const int order = info->pfnCompare(key, KeyOf(at, info));
        if (order == 0) {
            return EntryOf(at, info);
        }
        at = order < 0 ? at->pstLeft : at->pstRight;
    }
    return nullptr;
}

void *HOST_AvlFirst(HOST_AVL_TREE_S *root, const HOST_AVL_INFO_S *info) {
    return EntryOf(root->pstFirst, info);
}

void *HOST_AvlNext(HOST_AVL_NODE_S *node, const HOST_AVL_INFO_S *info) {
    return EntryOf(Successor(node), info);
}

void *HOST_AvlFindOrFindNext(HOST_AVL_TREE_S *root, const void *key, uint32_t /*zero*/,
                             const HOST_AVL_INFO_S *info) {
    Node *candidate = nullptr;
    for (Node *at = root->pstRoot; at;) {
        const int order = info->pfnCompare(key, KeyOf(at, info));
        if (order == 0) {
            return EntryOf(at, info);
        }
        if (order < 0) {
            candidate = at;
        }
        at = order < 0 ? at->pstLeft : at->pstRight;
    }
    return EntryOf(candidate, info);
}
