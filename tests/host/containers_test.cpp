// AVL tree and list against std:: models, with every invariant looked at after every operation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "qor_host.h"

namespace {

#pragma pack(push, 4)
struct Record {
    uint32_t before;
    uint32_t key;
    HOST_AVL_NODE_S node;  // in an array of these, pointers stand at 4-octet offsets
};
#pragma pack(pop)

// Members of these records are compared with == where ASSERT_EQ would bind a misaligned reference.
constexpr HOST_AVL_NODE_S kUnlinked{nullptr, nullptr, nullptr, -1, -1};

int CompareKeys(const void *a, const void *b) {
    const auto x = *static_cast<const uint32_t *>(a);
    const auto y = *static_cast<const uint32_t *>(b);
    return (x > y) - (x < y);
}

constexpr HOST_AVL_INFO_S kInfo{CompareKeys, offsetof(Record, key), offsetof(Record, node)};

bool IsUnlinked(const HOST_AVL_NODE_S &n) {
    return !n.pstParent && !n.pstLeft && !n.pstRight && n.sLeftHeight == -1 && n.sRightHeight == -1;
}

// Returns the height of the subtree under node, having checked what it says about itself.
int CheckSubtree(const HOST_AVL_NODE_S *node, const HOST_AVL_NODE_S *parent, size_t *count) {
    if (!node) return 0;
    ++*count;
    EXPECT_TRUE(node->pstParent == parent);  // macros that compare bind references
    const int left = CheckSubtree(node->pstLeft, node, count);
    const int right = CheckSubtree(node->pstRight, node, count);
    EXPECT_EQ(node->sLeftHeight, left);
    EXPECT_EQ(node->sRightHeight, right);
    EXPECT_LE(std::abs(left - right), 1);
    return std::max(left, right) + 1;
}

void CheckTree(HOST_AVL_TREE_S *tree, const std::set<uint32_t> &model) {
    size_t count = 0;
    CheckSubtree(tree->pstRoot, nullptr, &count);
    ASSERT_EQ(count, model.size());
    HOST_AVL_NODE_S *last = nullptr;
    void *entry = HOST_AvlFirst(tree, &kInfo);
    ASSERT_TRUE(tree->pstFirst == (entry ? &static_cast<Record *>(entry)->node : nullptr));
    for (const uint32_t key : model) {
        ASSERT_NE(entry, nullptr);
        ASSERT_EQ(static_cast<Record *>(entry)->key, key);
        last = &static_cast<Record *>(entry)->node;
        entry = HOST_AvlNext(last, &kInfo);
    }
    ASSERT_EQ(entry, nullptr);
    ASSERT_TRUE(tree->pstLast == last);
}

class AvlRange : public ::testing::TestWithParam<uint32_t> {};

TEST_P(AvlRange, KeepsWithModel) {
    const uint32_t range = GetParam();
    std::mt19937 random(range);
    std::vector<Record> records(range);
    for (uint32_t i = 0; i < range; i++) records[i] = {0xDEAD, i * 2, kUnlinked};
    HOST_AVL_TREE_S tree{};
    std::set<uint32_t> model;
    for (int i = 0; i < 3000; i++) {
        Record &record = records[random() % range];
        if (random() % 100 < (i % 900 < 600 ? 65u : 20u)) {  // fills up, then nearly empties
            Record twin{0, record.key, kUnlinked};
            const bool fresh = model.insert(record.key).second;
            ASSERT_EQ(HOST_AvlInsertOrFind(&tree, fresh ? &record.node : &twin.node, &kInfo),
                      fresh ? nullptr : &record);
            ASSERT_TRUE(IsUnlinked(twin.node));
        } else {
            HOST_AvlDelete(&tree, &record.node);
            ASSERT_TRUE(IsUnlinked(record.node));
            model.erase(record.key);
        }
        CheckTree(&tree, model);

        const uint32_t key = static_cast<uint32_t>(random() % (2 * range + 1));
        const auto next = model.lower_bound(key);
        ASSERT_EQ(HOST_AvlFindOrFindNext(&tree, &key, 0, &kInfo),
                  next == model.end() ? nullptr : &records[*next / 2]);
        ASSERT_EQ(HOST_AvlFind(&tree, &key, &kInfo),
                  model.contains(key) ? &records[key / 2] : nullptr);
        ASSERT_FALSE(HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Containers, AvlRange, ::testing::Values(1, 3, 12, 60, 400));

TEST(Avl, DoesNotTakeAnUnknownNodeForTheRoot) {
    Record root{0, 5, kUnlinked}, zeroed{};
    HOST_AVL_TREE_S tree{};
    HOST_AvlInsertOrFind(&tree, &root.node, &kInfo);
    HOST_AvlDelete(&tree, &zeroed.node);
    CheckTree(&tree, {5});
}

struct Item {
    HOST_DLL_NODE_S node;
    uint32_t third;  // where a head has its own third word
    uint32_t key;
};

int CompareItem(const void *node, const void *key) {
    return static_cast<const Item *>(node)->key == *static_cast<const uint32_t *>(key) ? 0 : 1;
}

void CheckList(const HOST_DLL_S &head, const std::list<Item *> &model) {
    ASSERT_TRUE(head.ulCount == model.size() && head.pThird == &model);
    const HOST_DLL_NODE_S *prev = &head.stNode;
    for (const Item *item : model) {
        ASSERT_TRUE(prev->pstNext == &item->node && item->node.pstPrev == prev);
        ASSERT_EQ(item->third, 0xAAAAAAAA);
        prev = &item->node;
    }
    ASSERT_TRUE(prev->pstNext == &head.stNode && head.stNode.pstPrev == prev);
}

TEST(Dll, KeepsWithModel) {
    HOST_DLL_S zeros{};
    const uint32_t none = 0;
    ASSERT_EQ(HOST_DllFind(&zeros, &none, CompareItem), nullptr) << "the empty record";
    std::mt19937 random(7);
    std::vector<Item> items(40);
    for (uint32_t key = 0; key < items.size(); key++) items[key] = {{}, 0xAAAAAAAA, key};
    std::list<Item *> model;
    HOST_DLL_S head{{&head.stNode, &head.stNode}, &model, 0};
    for (int i = 0; i < 5000; i++) {
        Item &item = items[random() % items.size()];
        const auto at = std::find(model.begin(), model.end(), &item);
        const bool linked = at != model.end();
        ASSERT_EQ(HOST_DllFind(&head, &item.key, CompareItem), linked ? &item : nullptr);
        HOST_DllDelete(&head, &item.node);  // nothing happens when it is in no list
        ASSERT_TRUE(!item.node.pstNext && !item.node.pstPrev);
        if (linked) {
            model.erase(at);
        } else {
            const auto place = static_cast<ptrdiff_t>(random() % (model.size() + 1));
            const auto next = std::next(model.begin(), place);
            HOST_DLL_NODE_S *right = next == model.end() ? &head.stNode : &(*next)->node;
            HOST_DllInsertInMiddle(&head, right->pstPrev, &item.node, right);
            model.insert(next, &item);
        }
        CheckList(head, model);
        ASSERT_FALSE(HasFatalFailure());
    }
}

}  // namespace
