// Walkable list and its walkers: against a model while all of them come and go, and without magic.
#include <gtest/gtest-spi.h>

#include <algorithm>
#include <list>
#include <random>

#include "qor_wdll.h"
#include "test_platform.hpp"

namespace {

struct Entry {
    uint32_t before;
    HOST_DLL_NODE_S node;
};

struct Model {
    QOR_WDLL_WALK_S *walker;
    bool restart = true;
    Entry *at = nullptr;
};

class ListTest : public qor::test::PlatformTest {
  protected:
    Entry *Behind(Entry *e) { return *std::next(std::find(order.begin(), order.end(), e)); }
    void Insert(Entry *entry, size_t place) {
        const auto at = std::next(order.begin(), static_cast<ptrdiff_t>(place + 1));
        HOST_DLL_NODE_S *head = &list.stList.stNode, *next = *at ? &(*at)->node : head;
        if (order.size() == 2) *head = {head, head};
        HOST_DllInsertInMiddle(&list.stList, next->pstPrev, &entry->node, next);
        order.insert(at, entry);
    }
    void Remove(Entry *entry) {
        for (Model &m : models)
            if (m.at == entry) m.at = Behind(entry);
        order.remove(entry);
        QOR_WDLL_DelNode_X(&list, &entry->node);
    }
    void Create() { models.push_back({QOR_WDLL_CreateWalk_X(&list, 6)}); }
    void DeleteWalk(size_t which) {
        for (int n = 0; n < 2; n++) QOR_WDLL_DeleteWalk_X(&models[which].walker);
        EXPECT_EQ(models[which].walker, nullptr);
        models.erase(models.begin() + static_cast<ptrdiff_t>(which));
    }
    void Check() {
        const HOST_DLL_NODE_S *last = &list.stWalkList.stNode;
        for (const auto &[walker, restart, at] : models) {
            ASSERT_TRUE(last->pstNext == &walker->stNode && walker->stNode.pstPrev == last);
            ASSERT_TRUE(walker->pCurNode == (at ? &at->node : nullptr));
            ASSERT_TRUE(walker->ulRestart == restart);
            last = last->pstNext;
        }
        const HOST_DLL_S &all = list.stList, &walks = list.stWalkList;
        ASSERT_TRUE(all.ulCount == order.size() - 2 && walks.ulCount == models.size());
        const auto is = [](const void *node, const void *key) { return node == key ? 0 : -1; };
        for (auto b = order.begin(), a = b++; b != order.end(); a = b++) {
            HOST_DLL_NODE_S *left = *a ? &(*a)->node : nullptr, *right = *b ? &(*b)->node : nullptr;
            ASSERT_EQ(left ? QOR_WDLL_NextNode_X(&list, left) : QOR_WDLL_FirstNode_X(&list), *b);
            ASSERT_EQ(right ? QOR_WDLL_PrevNode_X(&list, right) : QOR_WDLL_LastNode_X(&list), *a);
            ASSERT_EQ(QOR_WDLL_FindNode_X(&list, right, is), *b);
        }
    }

    QOR_WDLL_S list{{}, {}, offsetof(Entry, node)};
    Entry entries[8]{};
    std::list<Entry *> order{nullptr, nullptr};  // what is in the list, between ends
    std::vector<Model> models;
};

TEST_F(ListTest, KeepsWithModel) {
    std::minstd_rand random(1);
    const auto below = [&](size_t n) { return static_cast<size_t>(random() / 64 % n); };
    for (int i = 0; i < 200000 && !HasFailure(); i++) {
        if (models.empty() || (models.size() < 6 && below(12) == 0)) Create();
        const size_t which = below(models.size());
        auto &[walker, restart, at] = models[which];
        Entry *entry = &entries[below(8)];
        const char how = (i % 200 < 100 ? "+++-RwwnnnnD" : "+---RwwnnnnD")[below(12)];
        if (how == '+' && !entry->node.pstNext) Insert(entry, below(order.size() - 1));
        if (how == '-') Remove(entry);
        if (how == 'R') QOR_WDLL_ResetWalk_X(walker), restart = true, at = nullptr;
        if (how == 'D') DeleteWalk(which);
        if (how == 'w' || how == 'n') {
            if (restart || how == 'n') at = Behind(how == 'n' ? at : nullptr);
            restart &= how == 'n';
            ASSERT_EQ((how == 'n' ? QOR_WDLL_WalkNext_X : QOR_WDLL_WalkNode_X)(walker), at) << i;
        }
        if (i % 8 == 0) Check();
    }
    while (!models.empty()) DeleteWalk(0);
    EXPECT_TRUE(host.asserts.empty());
}

TEST_F(ListTest, DeadWalkers) {
    for (const size_t i : {0u, 1u}) Insert(&entries[i], i);
    for (int i = 0; i < 3; i++) Create();
    for (auto &[walker, restart, at] : models)
        at = static_cast<Entry *>(QOR_WDLL_WalkNext_X(walker));
    QOR_WDLL_WALK_S *dead = models[1].walker;
    dead->ulMagic = QOR_WDLL_WALK_DEAD;
    QOR_WDLL_ResetWalk_X(dead);
    EXPECT_TRUE(!QOR_WDLL_WalkNode_X(dead) && !QOR_WDLL_WalkNext_X(dead));
    Remove(&entries[0]);
    models[1].at = &entries[0];  // not moved
    Check();
    while (!models.empty()) DeleteWalk(0);
    EXPECT_EQ(QOR_WDLL_CreateWalk_X(&list, 0), nullptr);
    EXPECT_EQ(host.asserts.size(), 6u);
    Check();
    // Memory that the platform does not take back, to see what is left in it.
    QOR_WDLL_WALK_S own{{}, &list, 1, nullptr, QOR_WDLL_WALK_MAGIC}, *walker = &own;
    EXPECT_NONFATAL_FAILURE(QOR_WDLL_DeleteWalk_X(&walker), "no live block");
    EXPECT_EQ(own.ulMagic, QOR_WDLL_WALK_DEAD);
}

}  // namespace
