// The timed key queue beside boost::multi_index: nodes by key, ordered by the same compare function
// or hashed, and in the order of their time stamps.
#include <malloc.h>

#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>
#include <string_view>

#include "bench.hpp"

namespace {

using namespace qor::bench;
namespace mi = boost::multi_index;

// A MAC address in a bridge domain.
struct Key {
    uint8_t octets[8];
};

Key MakeKey(uint32_t i) {
    Key key{};
    for (int at = 0; at < 4; ++at)
        key.octets[4 + at] = static_cast<uint8_t>(i >> (24 - 8 * at));
    return key;
}

int Compare(const void *a, const void *b) {
    return memcmp(a, b, sizeof(Key));
}

class QorQueue {
  public:
    QorQueue() {
        const QOR_DQ_CFG_S cfg{
            kSid, HOST_POSIX_TimerOwnerCreate([](void *, uint32_t, uint64_t) {}, nullptr), 0};
        owner_ = cfg.ulTimerOwner;
        ctx_ = QOR_DQ_Init(&cfg);
        const QOR_DQ_REG_INFO_S reg{
            sizeof(Key), 1,       3600,
            UINT32_MAX,  1000,    [](const void *, uint64_t, uint64_t) { return QOR_OK; },
            Compare,     nullptr, nullptr};
        inst_ = QOR_DQ_RegInst(ctx_, &reg);
    }
    ~QorQueue() {
        QOR_DQ_DeInit(ctx_);
        HOST_POSIX_TimerOwnerDestroy(owner_);
    }
    void Add(const Key &key) { QOR_DQ_AddNode(inst_, &key, 7); }
    void Renew(const Key &key) { QOR_DQ_UpdateTimeStamp(QOR_DQ_GetNode(inst_, &key), inst_); }
    void Delete(const Key &key) { QOR_DQ_DelNode(inst_, &key); }
    void ExpireOldest() { QOR_DQ_FlushNode(inst_, 1); }

  private:
    uint64_t owner_;
    QOR_DQ_S *ctx_;
    QOR_DQ_INST_S *inst_;
};

struct Node {
    Key key;
    uint64_t value;
    uint32_t stamp;
};

struct Less {
    int (*compare)(const void *, const void *) = Compare;
    bool operator()(const Key &a, const Key &b) const { return compare(&a, &b) < 0; }
};
struct Hash {
    size_t operator()(const Key &key) const {
        return std::hash<std::string_view>()(
            {reinterpret_cast<const char *>(key.octets), sizeof key.octets});
    }
};
struct Equal {
    bool operator()(const Key &a, const Key &b) const { return Compare(&a, &b) == 0; }
};

using ByKey = mi::member<Node, Key, &Node::key>;
using Ordered = mi::ordered_unique<ByKey, Less>;
using Hashed = mi::hashed_unique<ByKey, Hash, Equal>;

template <class KeyIndex>
class BoostQueue {
  public:
    void Add(const Key &key) { nodes_.push_back({key, 7, QOR_DQ_GetTimeStamp()}); }
    void Renew(const Key &key) {
        const auto at = nodes_.template project<0>(nodes_.template get<1>().find(key));
        nodes_.modify(at, [](Node &node) { node.stamp = QOR_DQ_GetTimeStamp(); });
        nodes_.relocate(nodes_.end(), at);
    }
    void Delete(const Key &key) { nodes_.template get<1>().erase(key); }
    void ExpireOldest() { nodes_.pop_front(); }

  private:
    mi::multi_index_container<Node, mi::indexed_by<mi::sequenced<>, KeyIndex>> nodes_;
};

// Fills a queue with n keys in random order, and runs operation(queue, key) for one after another.
// Timed are whole rounds over all keys, as the clock of the benchmarks costs more than one call.
template <class Queue, class Operation, class Undo>
void Rounds(benchmark::State &state, bool filled, Operation operation, Undo undo) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<Key> keys;
    for (const uint32_t i : Shuffled(n))
        keys.push_back(MakeKey(i));
    auto later = keys;
    std::shuffle(later.begin(), later.end(), std::mt19937(3));
    Queue queue;
    if (filled) {
        const size_t before = mallinfo2().uordblks;
        for (const Key &key : keys)
            queue.Add(key);
        state.counters["octets"] =
            static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(n);
    }
    for (auto _ : state) {
        for (const Key &key : later)
            operation(queue, key);
        state.PauseTiming();
        for (const Key &key : keys)
            undo(queue, key);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr auto kNothing = [](auto &, const Key &) {};
constexpr auto kAdd = [](auto &queue, const Key &key) { queue.Add(key); };
constexpr auto kDelete = [](auto &queue, const Key &key) { queue.Delete(key); };
constexpr auto kRenew = [](auto &queue, const Key &key) { queue.Renew(key); };
constexpr auto kExpire = [](auto &queue, const Key &) { queue.ExpireOldest(); };

template <class Queue>
void Register(const std::string &who) {
    const auto add = [&](const char *what, auto run) {
        Sizes(
            benchmark::RegisterBenchmark(("queue " + std::string(what) + "/" + who).c_str(), run));
    };
    add("add", [](benchmark::State &s) { Rounds<Queue>(s, false, kAdd, kDelete); });
    add("renew", [](benchmark::State &s) { Rounds<Queue>(s, true, kRenew, kNothing); });
    add("delete", [](benchmark::State &s) { Rounds<Queue>(s, true, kDelete, kAdd); });
    add("expire oldest", [](benchmark::State &s) { Rounds<Queue>(s, true, kExpire, kAdd); });
}

const bool registered = [] {
    Register<QorQueue>("qor");
    Register<BoostQueue<Ordered>>("boost ordered");
    Register<BoostQueue<Hashed>>("boost hashed");
    return true;
}();

}  // namespace
