// A provider edge with n pseudowires: every Label Mapping is decoded and copied, its key put into a
// tree, a state machine started with its fall-back timer, and the pseudowire queued. Then all peers
// restart: a Withdraw and a Release for each of them takes all that down again.
#include "bench.hpp"

namespace {

using namespace qor::bench;

constexpr uint32_t kPeers = 1000;
constexpr uint32_t kMessage = 48;  // octets of a Label Mapping as below

enum : uint32_t { kDown, kUp, kStates };
enum : uint32_t { kMapped, kWithdrawn, kReleased, kEvents };

uint32_t Nothing(uint64_t, uint64_t, uint64_t) {
    return 0;
}

constexpr QOR_FSM_ENTRY_S kTable[] = {{kDown, kUp, Nothing},   {kUp, kUp, Nothing},     // mapped
                                      {kDown, kDown, Nothing}, {kUp, kDown, Nothing},   // withdrawn
                                      {kDown, kDown, Nothing}, {kUp, kDown, Nothing}};  // released
constexpr QOR_FSM_DESC_S kMachine = {kEvents, kStates, kTable, nullptr, nullptr};
constexpr QOR_FSM_FALLBACK_S kFallBack[] = {{kDown, 1, 600}, {kUp, 2, 3600}};

struct Pseudowire {
    QOR_LDP_PW_FEC_KEY_S key;
    HOST_AVL_NODE_S node;
    QOR_FSM_INST_S machine;
    QOR_LDP_SIGNAL_MSG_S mapping;
};

int CompareKey(const void *a, const void *b) {
    return QOR_LDP_PKT_CmpPwFecKey(static_cast<const QOR_LDP_PW_FEC_KEY_S *>(a),
                                   static_cast<const QOR_LDP_PW_FEC_KEY_S *>(b));
}

uint32_t PeerOf(uint32_t pwId) {
    return 0x0A000000 + pwId % kPeers;
}

class Edge {
  public:
    Edge() {
        owner_ = HOST_POSIX_TimerOwnerCreate([](void *, uint32_t, uint64_t) {}, nullptr);
        static const QOR_LOG_CFG_S log{0, kSid, nullptr, 0, 1, "B", "edge", 0, 1, 0, 0};
        log_ = QOR_LOG_Init(&log, &log);
        const QOR_PKT_CTX_S codec{0, kSid, reinterpret_cast<uintptr_t>(log_), 0, nullptr, {}};
        codec_ = QOR_PKT_Init(&codec);
        const QOR_FSM_LIB_S fsm{kSid, owner_, reinterpret_cast<uintptr_t>(log_), 0};
        machines_ = QOR_FSM_InitLib(&fsm, &fsm);
        const QOR_DQ_CFG_S queue{kSid, owner_, 0};
        queues_ = QOR_DQ_Init(&queue);
        const QOR_DQ_REG_INFO_S reg{4,
                                    3,
                                    60,
                                    1000,
                                    600,
                                    [](const void *, uint64_t, uint64_t) { return QOR_OK; },
                                    QOR_DQ_CmpInstCallback,
                                    nullptr,
                                    nullptr};
        queue_ = QOR_DQ_RegInst(queues_, &reg);
    }
    ~Edge() {
        QOR_DQ_DeInit(queues_);
        QOR_FSM_DeInitLib(machines_, &kMachine);
        QOR_PKT_DeInit(codec_);
        QOR_LOG_DeInit(log_);
        HOST_POSIX_TimerOwnerDestroy(owner_);
    }

    // A message of any label type about one pseudowire.
    uint8_t *Message(uint32_t type, uint32_t pwId) {
        QOR_LDP_SIGNAL_MSG_S rec{};
        rec.ulMsgType = type;
        rec.stFecKey.ucPwType = 5;
        rec.stFecKey.ulPwId = pwId;
        rec.ulLabel = 16 + pwId;
        rec.ulPwStatus = 0;
        rec.usMtu = 1500;
        rec.ucRtpMode = QOR_LDP_RTP_NOT_GIVEN;
        rec.usVccv = 0x0102;
        if (QOR_LDP_PKT_EncodeMsg(buffer_, &rec, codec_) > kMessage)
            abort();
        return buffer_;
    }

    void Mapped(const uint8_t *message, uint32_t peer) {
        QOR_LDP_SIGNAL_MSG_S rec{};
        rec.ulPeerIp = peer;
        if (QOR_LDP_PKT_DecodeMsg(message, &rec, codec_) != QOR_OK)
            abort();
        auto *pw = static_cast<Pseudowire *>(HOST_MemAllocBySid(kSid, sizeof(Pseudowire), 1));
        memset(static_cast<void *>(pw), 0, sizeof *pw);
        pw->key = rec.stFecKey;
        pw->node = {nullptr, nullptr, nullptr, -1, -1};
        pw->machine.pstFsmDesc = &kMachine;
        pw->machine.pstLib = machines_;
        pw->machine.pstFallBackTbl = kFallBack;
        QOR_LDP_PKT_CopySignalMsg(&pw->mapping, &rec, codec_);
        if (QOR_AVL_InsertNode(&tree_, &pw->node) != nullptr)
            abort();
        QOR_FSM_Execute(&pw->machine, kMapped, rec.ulPeerIp, 0);
        QOR_DQ_AddNode(queue_, &rec.stFecKey.ulPwId, 0);
        QOR_LDP_PKT_FreeSignalMsg(&rec, codec_);
    }

    void Gone(const uint8_t *message, uint32_t peer, uint32_t event) {
        QOR_LDP_SIGNAL_MSG_S rec{};
        rec.ulPeerIp = peer;
        if (QOR_LDP_PKT_DecodeMsg(message, &rec, codec_) != QOR_OK)
            abort();
        auto *pw = static_cast<Pseudowire *>(
            HOST_AvlFind(&tree_.stTree, &rec.stFecKey, &tree_.stTreeInfo));
        QOR_FSM_Execute(&pw->machine, event, rec.ulPeerIp, 0);
        QOR_LDP_PKT_FreeSignalMsg(&rec, codec_);
        if (event != kReleased)
            return;
        QOR_FSM_MrDeleteFallBackTimer(&pw->machine);
        QOR_DQ_DelNode(queue_, &pw->key.ulPwId);
        QOR_AVL_DeleteNode(&tree_, &pw->node);
        QOR_LDP_PKT_FreeSignalMsg(&pw->mapping, codec_);
        HOST_MemFree(pw, "edge", 0);
    }

    uint32_t Count() const { return tree_.ulNodeNum; }

  private:
    uint64_t owner_;
    QOR_LOG_S *log_;
    QOR_PKT_CTX_S *codec_;
    QOR_FSM_LIB_S *machines_;
    QOR_DQ_S *queues_;
    QOR_DQ_INST_S *queue_;
    QOR_AVL_TREE_S tree_{{},
                         {CompareKey, offsetof(Pseudowire, key), offsetof(Pseudowire, node)},
                         0,
                         sizeof(QOR_LDP_PW_FEC_KEY_S)};
    uint8_t buffer_[QOR_LDP_PKT_ENC_BUF_LEN] = {};
};

// The messages of all pseudowires, in the order of ids.
std::vector<uint8_t> Messages(Edge &edge, uint32_t type, const std::vector<uint32_t> &ids) {
    std::vector<uint8_t> octets(ids.size() * kMessage);
    for (size_t i = 0; i < ids.size(); ++i)
        memcpy(&octets[i * kMessage], edge.Message(type, ids[i]), kMessage);
    return octets;
}

// up: bringing all pseudowires up is timed, else the restart of their peers.
void Lifetime(benchmark::State &state, bool up) {
    const auto n = static_cast<size_t>(state.range(0));
    const auto ids = Shuffled(n);
    Edge edge;
    const auto mappings = Messages(edge, QOR_LDP_MSG_MAPPING, ids);
    const auto withdraws = Messages(edge, QOR_LDP_MSG_WITHDRAW, ids);
    const auto releases = Messages(edge, QOR_LDP_MSG_RELEASE, ids);
    for (auto _ : state) {
        if (!up)
            state.PauseTiming();
        for (size_t i = 0; i < n; ++i)
            edge.Mapped(&mappings[i * kMessage], PeerOf(ids[i]));
        if (edge.Count() != n)
            state.SkipWithError("pseudowires are missing");
        HOST_POSIX_MEM_STAT_S memory{};
        up ? state.PauseTiming() : state.ResumeTiming();
        HOST_POSIX_MemStat(kSid, &memory);
        state.counters["octets"] =
            static_cast<double>(memory.ullLiveOctets) / static_cast<double>(n);
        for (size_t i = 0; i < n; ++i)
            edge.Gone(&withdraws[i * kMessage], PeerOf(ids[i]), kWithdrawn);
        for (size_t i = 0; i < n; ++i)
            edge.Gone(&releases[i * kMessage], PeerOf(ids[i]), kReleased);
        if (up)
            state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK_CAPTURE(Lifetime, up, true)->Name("edge pseudowire up/qor")->Apply(Sizes);
BENCHMARK_CAPTURE(Lifetime, restart, false)->Name("edge pseudowire restarted/qor")->Apply(Sizes);

}  // namespace
