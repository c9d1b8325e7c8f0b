// Counted tree and walker: random changes and walks, with keys that own memory, against a model.
#include <optional>
#include <random>
#include <set>

#include "qor_avl.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

using Number = std::optional<uint32_t>;

// A key is a number, the upper part of it behind a pointer. The zero key is 0.
struct Key {
    uint32_t *high, low;
};

struct Entry {
    uint32_t high = 0;
    HOST_AVL_NODE_S node{nullptr, nullptr, nullptr, -1, -1};
    Key key{};
};

uint32_t NumberOf(const void *key) {
    const auto *k = static_cast<const Key *>(key);
    return (k->high ? *k->high * 8 : 0) + k->low;
}

int Compare(const void *a, const void *b) { return static_cast<int>(NumberOf(a) - NumberOf(b)); }

void CopyKey(QOR_WALK_S *walker, const void *key) {
    auto *high = static_cast<uint32_t *>(HOST_MemAllocBySid(9, sizeof(uint32_t), 0));
    *high = NumberOf(key) / 8;
    *reinterpret_cast<Key *>(walker->aucKey) = {high, NumberOf(key) % 8};
}

void FreeKey(void *key) { HOST_MemFree(static_cast<Key *>(key)->high, "", 0); }

// What a walker is to do.
struct Model {
    QOR_WALK_S *walker;
    bool restart = true, deep = false;
    uint32_t saved = 0;
    Number current{}, last{};
};

class WalkTest : public PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        for (uint32_t n = 0; n < std::size(entries); n++)
            entries[n] = {.high = n / 8, .key = {&entries[n].high, n % 8}};
        tree = {{}, {Compare, offsetof(Entry, key), offsetof(Entry, node)}, 0, sizeof(Key)};
        plain = {QOR_AVL_CreateWalk(&tree, 7)};
        para = plain.walker->stPara;
        para.ucFlag = 0xA5;  // a copy, but there is none yet: NULL is freed
        para.pfnCopyKey = CopyKey;
        para.pfnFreeKey = FreeKey;
        deep = {QOR_WALK_Create(&para), true, true};
        EXPECT_EQ(HOST_MemCmp(deep.walker, &para, sizeof para), 0);
        EXPECT_EQ(host.allocations[0].sid, 7u);
    }
    void TearDown() override {
        for (QOR_WALK_S **walker : {&plain.walker, &deep.walker, &deep.walker})
            QOR_WALK_Destroy(walker);
        EXPECT_TRUE(!plain.walker && !deep.walker && host.asserts.size() == reports);
        PlatformTest::TearDown();
    }
    void *At(Number n) { return n ? &entries[*n] : nullptr; }
    Number From(std::set<uint32_t>::iterator at) { return at == present.end() ? Number() : *at; }

    // Puts n in (+), takes it out (-), walks by QOR_WALK_WalkNode, WalkNext or WalkNextNode (W, n,
    // s), copies the key of the last entry (c) or resets (R).
    void Do(Model &m, char how, uint32_t n) {
        if (how == '+') {
            Entry twin{.key = entries[n].key};
            const bool fresh = present.insert(n).second;
            void *found = QOR_AVL_InsertNode(&tree, fresh ? &entries[n].node : &twin.node);
            ASSERT_EQ(found, fresh ? nullptr : At(n));
        } else if (how == '-') {
            present.erase(n);
            QOR_AVL_DeleteNode(&tree, &entries[n].node);
        } else if (how == 'R') {
            QOR_WALK_Reset(m.walker);
            m = {m.walker};
        } else if (how == 'c' && m.last) {
            QOR_WALK_CopyKey(m.walker, At(m.last));
            m.deep = &m == &deep;
            if (m.deep) m.saved = *m.last;
        } else if (how != 'c' && (how != 'n' || !m.current || present.contains(*m.current))) {
            const bool again = how != 'n', restart = again && m.restart;
            if (again) m.current = From(restart ? present.begin() : present.lower_bound(m.saved));
            m.restart &= !again;
            const Number found = m.current;
            const bool frees = m.deep && (again || found);
            if (frees) m.saved = 0;  // the zero key
            m.deep &= !frees;
            if (found) m.current = From(present.upper_bound(*(m.last = found)));
            if (found && (how != 's' || m.current || frees))
                m.saved = how == 's' && m.current ? *m.current : *found;
            const auto walk = how == 'W'   ? QOR_WALK_WalkNode
                              : how == 'n' ? QOR_WALK_WalkNext
                                           : QOR_WALK_WalkNextNode;
            ASSERT_EQ(walk(m.walker), At(found));
        }
        const QOR_WALK_S &w = *m.walker;
        ASSERT_TRUE(w.pCurNode == At(m.current) && w.ulRestart == m.restart);
        ASSERT_EQ(NumberOf(w.aucKey), m.saved);
        ASSERT_EQ(w.stPara.ucFlag, (&m == &deep ? 0xA4 : 0) + m.deep);
        ASSERT_TRUE(host.LiveBlocks() == 2u + (deep.deep && deep.last) &&
                    tree.ulNodeNum == present.size());
    }

    Entry entries[700];
    QOR_AVL_TREE_S tree{};
    QOR_WALK_PARA_S para{};
    std::set<uint32_t> present;
    Model plain{}, deep{};
    size_t reports = 0;
};

TEST_F(WalkTest, OddParameters) {
    EXPECT_EQ(QOR_AVL_CreateWalk(&tree, 0), nullptr);
    for (const size_t member : {8u, 16u, 24u, 32u}) {  // the callbacks and the container
        QOR_WALK_PARA_S poor = para;
        memset_s(reinterpret_cast<char *>(&poor) + member, 8, 0, 8);
        EXPECT_EQ(QOR_WALK_Create(&poor), nullptr);
    }
    tree.ucKeyLen = 6;
    EXPECT_EQ(QOR_AVL_CreateWalk(&tree, 7), nullptr);
    QOR_WALK_S lost{};
    for (const auto walk : {QOR_AVL_GetFirst, QOR_AVL_GetNext, QOR_AVL_FindOrFindNext})
        EXPECT_EQ(walk(&lost), nullptr);
    EXPECT_EQ(QOR_AVL_GetNext(plain.walker), nullptr);
    Do(plain, '+', 0);
    tree.ulNodeNum = 0;
    Do(plain, '-', 0);
    EXPECT_TRUE(!tree.stTree.pstRoot);
    // No sid, a key of no octets, and copies that nobody frees.
    Do(plain, '+', 0);
    para.ulSid = para.ucKeyLen = 0;
    para.ucFlag = 0xFF;
    para.pfnFreeKey = nullptr;
    QOR_WALK_S *walker = QOR_WALK_Create(&para);
    EXPECT_EQ(QOR_WALK_WalkNode(walker), At(0));
    QOR_WALK_Reset(walker);
    EXPECT_EQ(walker->stPara.ucFlag, 0xFF);
    QOR_WALK_Destroy(&walker);
    reports = 11;
}

TEST_F(WalkTest, KeepsWithModel) {
    std::minstd_rand random(1);
    const auto below = [&](size_t n) { return static_cast<uint32_t>(random() / 64 % n); };
    for (uint32_t i = 0; i < 300000 && !HasFailure(); i++) {
        SCOPED_TRACE(i);
        const uint32_t phase = i / 10000, range = std::vector{4u, 60u, 700u}[phase / 2 % 3];
        const std::string hows = phase % 2 == 0 ? "++++++---RcccWnnnsss" : "+---------RcccWnnnsss";
        Model &m = below(2) == 0 ? plain : deep;
        const Number any = below(range), near[] = {any, any, m.last, m.current, m.saved};
        Do(m, hows[below(hows.size())], near[below(5)].value_or(*any));
    }
    for (const char how : {'+', 'R', 'W', 'c'}) Do(deep, how, 0);  // a copy for QOR_WALK_Destroy
}

}  // namespace
