// Walkers, which entries may leave while they are at work, beside plain iteration.
#include <list>
#include <map>

#include "bench.hpp"

namespace {

using namespace qor::bench;

int Compare(const void *a, const void *b) {
    return QOR_PADS_CompareUint32Key(a, b);
}

struct Entry {
    uint32_t key;
    HOST_AVL_NODE_S node{nullptr, nullptr, nullptr, -1, -1};
    HOST_DLL_NODE_S link{};
};

// n entries that stand in memory in another order than in the tree and the list.
struct Entries {
    explicit Entries(size_t n) : all(n) {
        const auto order = Shuffled(n);
        for (uint32_t key = 0; key < n; ++key) {
            Entry &entry = all[order[key]];
            entry.key = key;
            QOR_AVL_InsertNode(&tree, &entry.node);
            HOST_DLL_NODE_S *const head = &list.stList.stNode;
            HOST_DllInsertInMiddle(&list.stList, head->pstPrev, &entry.link, head);
        }
    }
    std::vector<Entry> all;
    QOR_AVL_TREE_S tree{
        {}, {Compare, offsetof(Entry, key), offsetof(Entry, node)}, 0, sizeof(uint32_t)};
    QOR_WDLL_S list{
        {{&list.stList.stNode, &list.stList.stNode}, nullptr, 0}, {}, offsetof(Entry, link)};
};

template <class Walk>
void Rounds(benchmark::State &state, Walk walk) {
    const auto n = static_cast<size_t>(state.range(0));
    Entries entries(n);
    for (auto _ : state)
        if (walk(entries) != n)
            state.SkipWithError("entries are missing");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

size_t TreeWalker(Entries &entries) {
    QOR_WALK_S *walker = QOR_AVL_CreateWalk(&entries.tree, kSid);
    size_t n = 0;
    for (void *at = QOR_WALK_WalkNode(walker); at; at = QOR_WALK_WalkNext(walker))
        benchmark::DoNotOptimize(at), ++n;
    QOR_WALK_Destroy(&walker);
    return n;
}

size_t TreePlain(Entries &entries) {
    const HOST_AVL_INFO_S *info = &entries.tree.stTreeInfo;
    size_t n = 0;
    for (void *at = HOST_AvlFirst(&entries.tree.stTree, info); at;
         at = HOST_AvlNext(&static_cast<Entry *>(at)->node, info))
        benchmark::DoNotOptimize(at), ++n;
    return n;
}

size_t ListWalker(Entries &entries) {
    QOR_WDLL_WALK_S *walker = QOR_WDLL_CreateWalk_X(&entries.list, kSid);
    size_t n = 0;
    for (void *at = QOR_WDLL_WalkNode_X(walker); at; at = QOR_WDLL_WalkNext_X(walker))
        benchmark::DoNotOptimize(at), ++n;
    QOR_WDLL_DeleteWalk_X(&walker);
    return n;
}

size_t ListPlain(Entries &entries) {
    size_t n = 0;
    for (void *at = QOR_WDLL_FirstNode_X(&entries.list); at;
         at = QOR_WDLL_NextNode_X(&entries.list, &static_cast<Entry *>(at)->link))
        benchmark::DoNotOptimize(at), ++n;
    return n;
}

template <class Container>
size_t Count(const Container &container) {
    size_t n = 0;
    for (const auto &entry : container)
        benchmark::DoNotOptimize(&entry), ++n;
    return n;
}

void StdMap(benchmark::State &state) {
    std::map<uint32_t, uint32_t> map;
    for (const uint32_t key : Shuffled(static_cast<size_t>(state.range(0))))
        map[key] = key;
    for (auto _ : state)
        benchmark::DoNotOptimize(Count(map));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void StdList(benchmark::State &state) {
    std::list<uint32_t> list;
    for (const uint32_t key : Shuffled(static_cast<size_t>(state.range(0))))
        list.push_back(key);
    list.sort();
    for (auto _ : state)
        benchmark::DoNotOptimize(Count(list));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK_CAPTURE(Rounds, tree, TreeWalker)->Name("walk tree/qor")->Apply(Sizes);
BENCHMARK_CAPTURE(Rounds, tree, TreePlain)->Name("walk tree/plain")->Apply(Sizes);
BENCHMARK(StdMap)->Name("walk tree/std")->Apply(Sizes);
BENCHMARK_CAPTURE(Rounds, list, ListWalker)->Name("walk list/qor")->Apply(Sizes);
BENCHMARK_CAPTURE(Rounds, list, ListPlain)->Name("walk list/plain")->Apply(Sizes);
BENCHMARK(StdList)->Name("walk list/std")->Apply(Sizes);

}  // namespace
