// The counted tree and the host's tree below it, beside Boost's intrusive tree, which is told how
// to compare by function pointer as well, and std::map.
#include <malloc.h>

#include <bit>
#include <boost/intrusive/avl_set.hpp>
#include <map>

#include "bench.hpp"

namespace {

using namespace qor::bench;
namespace bi = boost::intrusive;

int CompareNumber(const void *a, const void *b) {
    const uint32_t x = *static_cast<const uint32_t *>(a), y = *static_cast<const uint32_t *>(b);
    return x < y ? -1 : x > y;
}

int CompareFec(const void *a, const void *b) {
    return QOR_LDP_PKT_CmpPwFecKey(static_cast<const QOR_LDP_PW_FEC_KEY_S *>(a),
                                   static_cast<const QOR_LDP_PW_FEC_KEY_S *>(b));
}

struct Number {
    using Key = uint32_t;
    static constexpr HOST_AVL_CMP_PF kCompare = CompareNumber;
    static Key Make(uint32_t i) { return i * 2 + 1; }
};

struct Fec {
    using Key = QOR_LDP_PW_FEC_KEY_S;
    static constexpr HOST_AVL_CMP_PF kCompare = CompareFec;
    static Key Make(uint32_t i) {
        Key key{};
        key.ucPwType = 5;
        key.stPeerAddr.aulAddr[0] = 0x0A000000 + i % 1000;
        key.ulPwId = i;
        return key;
    }
};

template <class K>
class QorTree {
  public:
    struct Entry {
        typename K::Key key;
        HOST_AVL_NODE_S node{nullptr, nullptr, nullptr, -1, -1};
    };
    void Insert(Entry &e) { HOST_AvlInsertOrFind(&tree_, &e.node, &info_); }
    void Delete(Entry &e) { HOST_AvlDelete(&tree_, &e.node); }
    const void *Find(const typename K::Key &key) { return HOST_AvlFind(&tree_, &key, &info_); }
    const void *FindNext(const typename K::Key &key) {
        return HOST_AvlFindOrFindNext(&tree_, &key, 0, &info_);
    }
    size_t Walk() {
        size_t n = 0;
        for (void *at = HOST_AvlFirst(&tree_, &info_); at;
             at = HOST_AvlNext(&static_cast<Entry *>(at)->node, &info_))
            ++n;
        return n;
    }

  private:
    HOST_AVL_TREE_S tree_{};
    HOST_AVL_INFO_S info_{K::kCompare, offsetof(Entry, key), offsetof(Entry, node)};
};

template <class K>
class BoostTree {
  public:
    struct Entry : bi::avl_set_base_hook<bi::link_mode<bi::normal_link>, bi::optimize_size<true>> {
        Entry() = default;
        explicit Entry(const typename K::Key &k) : key(k) {}
        typename K::Key key;
    };
    // Else the compiler would know the function and inline it.
    BoostTree() { benchmark::DoNotOptimize(&less_); }
    void Insert(Entry &e) { set_.insert(e); }
    void Delete(Entry &e) { set_.erase(set_.iterator_to(e)); }
    const void *Find(const typename K::Key &key) {
        const auto at = set_.find(key, less_);
        return at == set_.end() ? nullptr : &*at;
    }
    const void *FindNext(const typename K::Key &key) {
        const auto at = set_.lower_bound(key, less_);
        return at == set_.end() ? nullptr : &*at;
    }
    size_t Walk() {
        size_t n = 0;
        for (auto &e : set_)
            benchmark::DoNotOptimize(&e), ++n;
        return n;
    }
    ~BoostTree() { set_.clear(); }

  private:
    struct Less {
        HOST_AVL_CMP_PF compare = K::kCompare;
        bool operator()(const Entry &a, const Entry &b) const {
            return compare(&a.key, &b.key) < 0;
        }
        bool operator()(const typename K::Key &a, const Entry &b) const {
            return compare(&a, &b.key) < 0;
        }
        bool operator()(const Entry &a, const typename K::Key &b) const {
            return compare(&a.key, &b) < 0;
        }
    };
    Less less_;
    bi::avl_set<Entry, bi::compare<Less>> set_{less_};
};

template <class K>
class StdTree {
  public:
    struct Entry {
        typename K::Key key;
    };
    void Insert(Entry &e) { map_.emplace(e.key, &e); }
    void Delete(Entry &e) { map_.erase(e.key); }
    const void *Find(const typename K::Key &key) {
        const auto at = map_.find(key);
        return at == map_.end() ? nullptr : at->second;
    }
    const void *FindNext(const typename K::Key &key) {
        const auto at = map_.lower_bound(key);
        return at == map_.end() ? nullptr : at->second;
    }
    size_t Walk() {
        size_t n = 0;
        for (auto &e : map_)
            benchmark::DoNotOptimize(&e), ++n;
        return n;
    }

  private:
    struct Less {
        HOST_AVL_CMP_PF compare = K::kCompare;
        bool operator()(const typename K::Key &a, const typename K::Key &b) const {
            return compare(&a, &b) < 0;
        }
    };
    std::map<typename K::Key, Entry *, Less> map_;
};

// A tree of n entries that stand in memory in another order than that of their keys. They are made
// once: a million of them take longer to make than to measure.
template <template <class> class Tree, class K>
struct Filled {
    // Else the place of the array would decide how many entries are split between two lines of the
    // cache.
    struct alignas(std::bit_ceil(sizeof(typename Tree<K>::Entry))) Place : Tree<K>::Entry {};

    explicit Filled(size_t n) : order(Shuffled(n)), entries(n) {
        const auto places = Shuffled(n, 2);
        for (size_t i = 0; i < n; ++i)
            entries[places[i]].key = K::Make(order[i]);
        const size_t before = mallinfo2().uordblks;
        for (auto &e : entries)
            tree.Insert(e);
        // What an entry takes beside its key.
        octets = static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(n) +
                 static_cast<double>(sizeof(typename Tree<K>::Entry) - sizeof(typename K::Key));
    }
    static Filled &Get(const benchmark::State &state) {
        static std::map<size_t, Filled> all;
        const auto n = static_cast<size_t>(state.range(0));
        return all.try_emplace(n, n).first->second;
    }

    std::vector<uint32_t> order;
    std::vector<Place> entries;
    Tree<K> tree;
    double octets;
};

template <template <class> class Tree, class K>
void Find(benchmark::State &state) {
    auto &filled = Filled<Tree, K>::Get(state);
    state.counters["octets"] = filled.octets;
    Ring ring(filled.order.size());
    for (auto _ : state) {
        const auto key = K::Make(filled.order[ring.Next()]);
        benchmark::DoNotOptimize(filled.tree.Find(key));
    }
}

template <template <class> class Tree, class K>
void FindNext(benchmark::State &state) {
    auto &filled = Filled<Tree, K>::Get(state);
    Ring ring(filled.order.size());
    for (auto _ : state) {
        const auto key = K::Make(filled.order[ring.Next()]);
        benchmark::DoNotOptimize(filled.tree.FindNext(key));
    }
}

// Timed are whole rounds that empty or fill the tree: to stop the clock costs more than one call.
template <template <class> class Tree, class K>
void Insert(benchmark::State &state) {
    auto &[order, entries, tree, octets] = Filled<Tree, K>::Get(state);
    for (auto _ : state) {
        state.PauseTiming();
        for (auto &e : entries)
            tree.Delete(e);
        state.ResumeTiming();
        for (auto &e : entries)
            tree.Insert(e);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <template <class> class Tree, class K>
void Delete(benchmark::State &state) {
    auto &[order, entries, tree, octets] = Filled<Tree, K>::Get(state);
    for (auto _ : state) {
        for (auto &e : entries)
            tree.Delete(e);
        state.PauseTiming();
        for (auto &e : entries)
            tree.Insert(e);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <template <class> class Tree, class K>
void Walk(benchmark::State &state) {
    Filled<Tree, K> filled(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(filled.tree.Walk());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <template <class> class Tree, class K>
void Register(const std::string &key, const std::string &who) {
    const auto add = [&](const char *operation, void (*run)(benchmark::State &)) {
        Sizes(benchmark::RegisterBenchmark(
            ("tree " + std::string(operation) + ", " + key + "/" + who).c_str(), run));
    };
    add("find", Find<Tree, K>);
    add("find or next", FindNext<Tree, K>);
    add("insert", Insert<Tree, K>);
    add("delete", Delete<Tree, K>);
    add("walk", Walk<Tree, K>);
}

const bool registered = [] {
    Register<QorTree, Number>("number", "qor");
    Register<BoostTree, Number>("number", "boost");
    Register<StdTree, Number>("number", "std");
    Register<QorTree, Fec>("PW FEC", "qor");
    Register<BoostTree, Fec>("PW FEC", "boost");
    Register<StdTree, Fec>("PW FEC", "std");
    return true;
}();

}  // namespace
