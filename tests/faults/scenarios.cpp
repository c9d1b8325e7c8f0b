// The lives of the modules. Clocks begin anew in each step; fault_run.hpp explains the rules.
#include <cstring>

#include "fault_run.hpp"
#include "qor.h"
#include "record_text.hpp"

namespace qor::test {
namespace {

using std::to_string;

uint64_t Handle(const void *p) { return reinterpret_cast<uintptr_t>(p); }

// For callbacks. The handle is 0 when the copy of the configuration with it failed.
void Note(uint64_t run, const std::string &text) {
    if (run != 0) reinterpret_cast<FaultRun *>(run)->Note(text);
}

void Values(FaultRun &run) {
    run.Step([&] {
        const uint8_t octets[16] = {0x20, 1, 0x0D, 0xB8, 5, 6, 7};
        QOR_IP_ADDR_S addr{}, back{};
        QOR_SYS_IP_ADDR_S sys{};
        char text[QOR_IP_TEXT_LEN] = "";
        TELL("0 b:1", QOR_IP_ConstructAddr(0, octets, &addr));
        TELL("0 f:1", QOR_IP_ToString(&addr, text, sizeof text)), run.Note(text);
        QOR_IP_QorIpToSysIp(&addr, &sys), QOR_IP_SysIpToQorIp(&sys, &back);
        TELL("0", QOR_IP_CompareAddr(&back, &addr));
        TELL("0 f:1", QOR_IP_SidToString(addr.aulAddr, text, sizeof text)), run.Note(text);
    });
    run.Step([&] {
        uint32_t high = 0, low = 0;
        HOST_SYSTIME_S now = run.host.time, later = now;
        later.ucDay++;
        TELL("* c:0", QOR_TIME_GetSysTime());
        TELL("0 c:1", QOR_TIME_GetCpuTickTimeMs(&high, &low));
        TELL("* c:0|ffffffff", QOR_TIME_GetCpuTickTimeSec());
        TELL("0 c:1", QOR_TIME_GetTickTime(&high, &low)), run.Note(to_string(low));
        TELL("0 c:1", QOR_TIME_GetMs2TickTime(0, 5, &high, &low));
        TELL("0 c:1", QOR_TIME_GetSystimeRelSecCal(&now, &later, &low));
    });
    run.Step([&] {
        const QOR_IP_ADDR_S peer{0, {{kPeer, 0, 0, 0}}};
        QOR_LDP_PW_FEC_KEY_S key{};
        QOR_VERIFY_SIG_KEY_S signature{};
        QOR_VERIFY_HANDLE_S handle{};
        std::vector<uint8_t> out(8 + QOR_VERIFY_SIG_GEN_LEN);
        uint8_t *cursor = out.data();
        char text[64] = "";
        TELL("0 b:22", QOR_LDP_PKT_SetPwFec128(&key, &peer, 5, 100));
        run.Note(to_string(key.stPeerAddr.aulAddr[0]));
        for (key.ucKeyType = 0; key.ucKeyType < 4; ++key.ucKeyType) {
            TELL("made", QOR_LDP_PKT_FmtPwFec2Str(&key, text, sizeof text)), run.Note(text);
            QOR_PDPWE3I_SetVerifySigKey(&key, &signature);
        }
        TELL("made", QOR_PDPWE3I_ConstructSigVerifyRequestHandle(&signature, &handle));
        QOR_PDPWE3I_BuildVerifyHandleTlv(&cursor, 0x3E00, &handle);
        run.Note(to_string(cursor - out.data()) + HexText(out));
    });
}

// ---- Containers

struct Entry {
    uint32_t key;
    HOST_AVL_NODE_S node;
    HOST_DLL_NODE_S link;
};

void Tree(FaultRun &run) {
    Entry entries[3];
    QOR_AVL_TREE_S tree{{}, {QOR_DQ_CmpInstCallback, 0, offsetof(Entry, node)}, 0, 4};
    const auto insert = [&](Entry &e) { QOR_AVL_InsertNode(&tree, &e.node); };
    for (uint32_t i = 0; i < 3; ++i)
        entries[i] = {i + 1, {nullptr, nullptr, nullptr, -1, -1}, {}}, insert(entries[i]);
    auto *walker = run.Make([&] { return QOR_AVL_CreateWalk(&tree, 7); },
                            [](QOR_WALK_S *w) { QOR_WALK_Destroy(&w); });
    const auto reset = [&] { QOR_WALK_Reset(walker), insert(entries[1]); };
    const auto note = [&](void *e) { run.Note(e ? to_string(static_cast<Entry *>(e)->key) : "-"); };
    run.Step(reset, [&] {
        for (int slice = 0; slice < 2; ++slice)
            note(QOR_WALK_WalkNode(walker)), note(QOR_WALK_WalkNext(walker));
        while (void *entry = QOR_WALK_WalkNext(walker)) note(entry);
    });
    run.Step(reset, [&] {
        note(QOR_WALK_WalkNextNode(walker));
        QOR_AVL_DeleteNode(&tree, &entries[1].node);
        note(QOR_WALK_WalkNextNode(walker)), note(QOR_WALK_WalkNextNode(walker));
    });
}

void List(FaultRun &run) {
    static QOR_WDLL_S list;  // the release of the walker needs it
    list = {{}, {}, offsetof(Entry, link)};
    Entry entry{};
    QOR_WDLL_WALK_S *other = nullptr;
    HOST_DLL_NODE_S *head = &list.stList.stNode;
    *head = {head, head};
    const auto insert = [&] { HOST_DllInsertInMiddle(&list.stList, head, &entry.link, head); };
    const auto create = [] { return QOR_WDLL_CreateWalk_X(&list, 7); };
    auto *walker = run.Make(create, [](auto *w) { QOR_WDLL_DeleteWalk_X(&w); });
    insert();
    const auto undo = [&] {
        QOR_WDLL_DeleteWalk_X(&other), QOR_WDLL_ResetWalk_X(walker), insert();
    };
    run.Step(undo, [&] {
        other = TELL("made a:null", create());
        TELL("made", QOR_WDLL_WalkNext_X(walker));
        TELL("made x:null", QOR_WDLL_WalkNode_X(other));
        QOR_WDLL_DelNode_X(&list, &entry.link);
        TELL("null", QOR_WDLL_WalkNode_X(walker)), TELL("null", QOR_WDLL_WalkNode_X(other));
    });
}

// ---- Diagnostics

QOR_LOG_S *MakeLog(FaultRun &run, QOR_MAM_S *mam = nullptr) {
    const QOR_LOG_CFG_S cfg{0, 51, mam, 3, 0x1A, "T", "pw", mam ? 1u : 0, 1, 9, 77};
    return run.Make([&] { return QOR_LOG_Init(&cfg, &run); }, QOR_LOG_DeInit);
}

void Log(FaultRun &run) {
    auto *mam = run.Make([&] { return QOR_MAM_Init(41, &run); }, QOR_MAM_DeInit);
    QOR_LOG_S *log = MakeLog(run, mam);
    const auto erase = [&] { QOR_MAM_BlackBoxDelete(mam, 3), mam->ulGlobalSeq = 0; };
    for (const uint32_t devLog : {1u, 0u})
        run.Step(erase, [&] {
            log->stCfg.ulDevLogOn = devLog;
            TELL("made a:null quiet", QOR_MAM_BlackBoxCreate(mam, 3, 200, 0xF));
            TELL("0 x:80020002", QOR_MAM_BlackBoxWriteString(mam, 3, "link %d", 5));
            QOR_LOG_DevLog(log, "\r\npeer %s 100%%", "up");
            for (const Line &line : run.host.lines)  // one that lost its text is dropped
                EXPECT_NE(line.text.find("peer up 100%"), line.text.npos);
            const auto *text = TELL("made x:null", QOR_MAM_BlackBoxGetBuffer(mam, 3));
            run.Note(text ? reinterpret_cast<const char *>(text) : "");
        });
}

void Debug(FaultRun &run) {
    static const char *const formats[] = {"\r\n%s", "%s"};
    const QOR_DBG_CFG_S cfg{0, 61, "mod", formats, 2, 0x1F, 7, 8, QOR_DBG_OUT_DEBUG};
    auto *dbg = run.Make([&] { return QOR_DBG_Init(&cfg, &run); }, QOR_DBG_DeInit);
    const std::string two = std::string(300, 'x') + '\r' + std::string(300, 'y');
    const auto flush = [&] { QOR_DBG_OutputBuffer(dbg, 9); };
    for (const uint32_t mode : {1u, 0u})
        run.Step(flush, [&] {
            const auto lines = [&] { return static_cast<uint32_t>(run.host.lines.size()); };
            dbg->stCfg.ulOutMode = mode;
            TELL("1 f:0", (QOR_DBG_Output(dbg, 9, "%s", "short"), lines()));
            QOR_DBG_Output(dbg, 9, "%s", two.c_str());
            for (const std::string &text : {two, two, two, std::string(2000, 'z')})
                QOR_DBG_WriteBuffer(dbg, 9, 0, text.c_str());
            QOR_DBG_WriteAndOutputBuffer(dbg, 9, 1, "short");
            QOR_DBG_AppendStr2Buffer_H(dbg, "one"), QOR_DBG_AppendStr2Buffer_H(dbg, "two");
            flush(), run.Note(to_string(dbg->ulMsgLen));
        });
}

// ---- State machines

void Fsm(FaultRun &run) {
    const auto proc = [](uint64_t, uint64_t data, uint64_t) { return static_cast<uint32_t>(data); };
    const QOR_FSM_ENTRY_S cells[] = {{0, 1, proc}, {1, 1, proc}, {0, 0, nullptr}, {1, 0, proc}};
    const QOR_FSM_NAME_S names[] = {{0, "down"}, {1, "up"}};
    const QOR_FSM_FALLBACK_S rows[] = {{0, 20, 4}, {1, 21, 5}};
    const QOR_FSM_DESC_S desc{2, 2, cells, names, names};
    const QOR_FILE_CFG_S fileCfg{6, 0, 7, 0};
    auto *file = run.Make([&] { return QOR_FILE_Init(&fileCfg); }, QOR_FILE_DeInit);
    const QOR_FSM_LIB_S cfg{52, 53, Handle(MakeLog(run)), Handle(file)};
    auto *lib = run.Make([&] { return QOR_FSM_InitLib(&cfg, &run); },
                         [](QOR_FSM_LIB_S *made) { QOR_FSM_DeInitLib(made, made); });
    QOR_FSM_INST_S inst{};
    const auto stop = [&] { return QOR_FSM_MrDeleteFallBackTimer(&inst); };
    run.Step(stop, [&] {
        inst = {0, 0, &desc, "pw 7", lib, 0, 0, 0, rows, 0, 0, 0, 0, {}, {}};
        TELL("0", QOR_FSM_Execute(&inst, 0, 1, 0)), TELL("0", QOR_FSM_Execute(&inst, 0, 2, 0));
        TELL("4d", QOR_FSM_Execute(&inst, 1, 3, 0x4D));
        TELL("80040001", QOR_FSM_Execute(&inst, 2, 4, 0));
        TELL("0", stop()), TELL("null", reinterpret_cast<void *>(inst.ulFallBackTimer));
        TELL("0 t:80040004", QOR_FSM_MrCreateFallBackTimer(5, &inst));
        run.Note(to_string(inst.ulCurState + 10 * inst.ulErrCnt + 100 * inst.ulStateChgCnt));
        run.Note(to_string(inst.stErrTime.ucDay) + to_string(inst.stStateChgTime.ucDay));
    });
}

// ---- Timed queue

void Queue(FaultRun &run) {
    constexpr uint32_t kKeys[] = {1, 2, 3};
    const QOR_DQ_CFG_S cfg{51, 52, Handle(&run)};
    QOR_DQ_REG_INFO_S reg{4, 7, 30, 5, 60, nullptr, nullptr, nullptr, nullptr};
    reg.pfnTimeOut = [](const void *key, uint64_t, uint64_t handle) {
        Note(handle, "t" + to_string(*static_cast<const uint8_t *>(key)));
        return *static_cast<const uint8_t *>(key) == 2 ? QOR_DQ_RENEW : 0;
    };
    reg.pfnDelNode = [](const void *key, uint64_t *, uint64_t handle) {
        Note(handle, "d" + to_string(*static_cast<const uint8_t *>(key)));
    };
    reg.pfnCmpKey = [](const void *a, const void *b) { return memcmp(a, b, 4); };
    QOR_DQ_S *ctx = run.Make([&] { return QOR_DQ_Init(&cfg); }, QOR_DQ_DeInit);
    auto *inst = run.Make([&] { return QOR_DQ_RegInst(ctx, &reg); }, QOR_DQ_UnRegInst);
    const auto erase = [&] { QOR_DQ_DelAllNode(inst), QOR_DQ_StopCycleTimer(inst); };
    const auto add = [&] {
        for (const uint32_t &key : kKeys) TELL("0 a:1 t:1 b:0", QOR_DQ_AddNode(inst, &key, 9));
    };
    run.Step(erase, [&] {
        char text[600] = "?";
        add();
        QOR_DQ_UpdateTimeStamp(TELL("made x:null", QOR_DQ_GetNode(inst, kKeys)), inst);
        TELL("* f:ffffffff", QOR_DQ_Serialize(inst, text, sizeof text)), run.Note(text);
        TELL("0", QOR_DQ_StopCycleTimer(inst)), TELL("0 t:1", QOR_DQ_StartCycleTimer(inst));
        QOR_DQ_FlushNode(inst, 1);
        for (const uint32_t &key : kKeys) TELL("0", QOR_DQ_DelNode(inst, &key));
    });
    run.Step(erase, [&] {
        add();
        for (const uint32_t seconds : {30u, 30u, 60u}) {
            run.host.ticks += seconds * 1000;
            TELL("0", QOR_DQ_ProcTimer(7, ctx)), run.Note(to_string(inst->stNodeList.ulCount));
        }
    });
    run.Step([&] {  // with its last instance and node left to the end
        QOR_DQ_S *own = TELL("made a:null", QOR_DQ_Init(&cfg));
        QOR_DQ_INST_S *last = TELL("made a:null", QOR_DQ_RegInst(own, &reg));
        TELL("0 a:1 t:1 x:80000001", QOR_DQ_AddNode(last, kKeys, 9)), QOR_DQ_DeInit(own);
    });
}

// ---- Health service

uint32_t Record(uint32_t, QOR_PADS_EXCP_INFO_S *info, char *text, uint64_t handle) {
    strcpy(text, "record of a user with a text that takes two lines of the listing");
    Note(handle, "r" + to_string(info->ulUserId) + "/" + to_string(info->ulStatSum));
    return 0;
}

void Health(FaultRun &run) {
    constexpr uint32_t kTypes[] = {31, 32};
    const QOR_PADS_S cfg{Handle(&run), 5, 6, 7, nullptr};
    const QOR_PADS_DELUSER_PF deleted = [](uint32_t, uint32_t user, uint64_t, uint64_t handle) {
        return Note(handle, "d" + to_string(user)), 0u;
    };
    const auto da = [](uint32_t, uint64_t, uint64_t handle) { return Note(handle, "a"), 0u; };
    auto *ctx = run.Make([&] { return QOR_PADS_InitPads(&cfg); }, QOR_PADS_DeInitPads);
    const auto init = [&] {
        return TELL("0 a:1", QOR_PADS_InitHealth(kTypes, ctx)), ctx->pstHealth;
    };
    auto *health = run.Make(init, [](auto *made) { QOR_PADS_DeInitHealth(made->pstPads); });
    const auto texts = [&] {
        char text[2000] = "?";
        TELL("0 f:1", QOR_PADS_AllExcp2String(text, sizeof text, ctx)), run.Note(text);
        TELL("* f:80000001", QOR_PADS_DumpHealthInfo(text, sizeof text, ctx)), run.Note(text);
        TELL("* f:80000001", QOR_PADS_DumpIndexInfo(1, text, sizeof text, ctx));
    };
    const auto add = [&](uint32_t user, const char *rule = "0 a:1") {
        TELL(rule, QOR_PADS_AddExcpUser(1, user, 0, ctx));
    };
    const auto tick = [&](uint32_t type, uint32_t seconds, const char *rule = "0") {
        run.host.uptimeSeconds += seconds;
        TELL(rule, QOR_PADS_HealthSchedule(type, ctx));
    };
    const auto undo = [&] { QOR_PADS_UnRegIndex(1, ctx); };
    run.Step(undo, [&] {
        const QOR_PADS_ONCE_REG_S reg{"once", Record, 0};
        TELL("0 a:1", QOR_PADS_RegOnceExcp(1, &reg, ctx));
        add(1, "0 x:1"), run.host.uptimeSeconds += 5, add(2, "0 x:1"), texts();
    });
    for (const uint16_t unit : {uint16_t{QOR_PADS_UNIT_SEC}, uint16_t{QOR_PADS_UNIT_MIN}})
        run.Step(undo, [&] {
            const QOR_PADS_EXPIRE_REG_S reg{"expire", 1, unit, Record, deleted};
            TELL("0 a:1", QOR_PADS_RegExpireExcp(1, &reg, ctx));
            add(1), add(2), add(3), TELL("0 x:1", QOR_PADS_DelExcpUser(1, 2, ctx));
            tick(kTypes[1 - unit], 0), tick(kTypes[1 - unit], 60), add(4), texts();
        });
    run.Step(undo, [&] {
        const QOR_PADS_STAT_REG_S reg{"stat", 60, 5, 1, 0, Record, deleted};
        TELL("0 a:1", QOR_PADS_RegStatExcp(1, &reg, ctx)), add(1);
        for (const uint32_t seconds : {0u, 50u, 50u, 100u}) {
            run.host.uptimeSeconds += seconds;
            TELL("0 a:1 c:0|1 k:0|1 e:0|1", QOR_PADS_AddStatNode(1, 1, 4, ctx));
        }
        texts();
    });
    run.Step(undo, [&] {
        const QOR_PADS_DA_REG_S reg{"da", 2, 9, da, deleted};
        TELL("0 a:1", QOR_PADS_RegDA(1, &reg, ctx));
        auto *index = TELL("made x:null", QOR_PADS_GetIndexById(1, ctx));
        TELL("0 a:1 x:80000001", QOR_PADS_AddDAUser(index, 1, 0, health));
        for (int i = 0; i < 2; ++i) tick(kTypes[0], 60, "0 c:0|1 k:1 e:0|1");
        texts();
    });
    run.Step([&] {  // with its last index and user left to the end
        const QOR_PADS_DA_REG_S reg{"da", 2, 9, da, deleted};
        QOR_PADS_S *own = TELL("made a:null", QOR_PADS_InitPads(&cfg));
        TELL("0 a:1 x:80000001", QOR_PADS_InitHealth(kTypes, own));
        TELL("0 a:1 x:80000001", QOR_PADS_RegDA(1, &reg, own));
        TELL("0 x:80000001", QOR_PADS_DeInitPads(own));
    });
    const auto stop = [&] { QOR_PADS_TryStopMinTimer(health), QOR_PADS_TryStopSecTimer(health); };
    run.Step(stop, [&] {
        for (const auto start : {QOR_PADS_StartMinTimer, QOR_PADS_StartSecTimer})
            TELL("0 t:80000001", start(health));
    });
}

// ---- Codec

struct Message {
    std::vector<uint8_t> octets;
    const char *fields;          // of a record that no message decodes to
    const char *rule = nullptr;  // of its decode, when it is malformed
};

const std::vector<Message> &Messages() {
    static const auto all = [] {
        std::vector<Message> messages;
        for (const Golden &g : GoldenMessages())
            messages.push_back(g.octets ? Message{Hex(g.octets), nullptr}
                                        : Message{Hex(g.encoded), g.record});
        const char *fec = "0400 [ 00000001 0100 [ 80 0005 0b 00000000 00000064 0304 6161 ";
        const auto malformed = [&](const std::string &hex, const char *rule) {
            messages.push_back({Hex(hex.c_str()), nullptr, rule});
        };
        malformed(fec + std::string("0103 00 ] ]"), "8005000c a:1");
        malformed(fec + std::string("0303 61 ] 096b [ 01 ] 0200 [ 00 ] ]"),
                  "80050008 a:80000002|1|80050008");
        malformed("0301 [ 00000001 d123 [ 00 ] d124 [ ] 0404 [ 00 ] ]", "80050012 a:80000002");
        malformed("0404 [ 00000001 ]", "80050001");
        return messages;
    }();
    return all;
}

// Decodes each message of a type, or takes its record, copies the record and encodes the copy.
template <uint32_t kType>
void Codec(FaultRun &run) {
    QOR_PKT_CTX_S cfg{Handle(&run), 31, Handle(MakeLog(run)), 1, nullptr, {}};
    cfg.pfnErrOutput = [](const char *text, uint64_t handle) { Note(handle, text); };
    auto *ctx = run.Make([&] { return QOR_PKT_Init(&cfg); }, QOR_PKT_DeInit);
    QOR_LDP_SIGNAL_MSG_S rec{}, copy{};
    const auto release = [&] {
        QOR_LDP_PKT_FreeSignalMsg(&copy, ctx), QOR_LDP_PKT_FreeSignalMsg(&rec, ctx);
    };
    // Short of memory a Mapping may lose its description, and be decoded all the same.
    const char *sound = kType == QOR_LDP_MSG_MAPPING ? "0 a:80000002|1|0" : "0 a:80000002";
    for (const auto &[octets, fields, rule] : Messages()) {
        if ((Word(octets, 0) & 0x7FFF) != kType) continue;
        std::vector<uint8_t> received, out;
        run.Step(release, [&, &octets = octets, &fields = fields, &rule = rule] {
            received = octets, rec = copy = {}, rec.ulPeerIp = kPeer;
            const char *told = rule ? rule : sound;
            if (!fields && TELL(told, QOR_LDP_PKT_DecodeMsg(received.data(), &rec, ctx))) {
                rec = {};  // a failed decode leaves nothing to release
                return;
            }
            EXPECT_EQ(rec.usIntfParaLen == 0, rec.pucIntfPara == nullptr);
            const TextRecord own(fields ? fields : "", octets);
            const auto *from = fields ? &own.rec : &rec;
            TELL("0 a:80000002", QOR_LDP_PKT_CopySignalMsg(&copy, from, ctx));
            out.assign(QOR_LDP_PKT_ENC_BUF_LEN, 0);
            out.resize(QOR_LDP_PKT_EncodeMsg(out.data(), &copy, ctx));
            run.Note(Describe(*from) + Describe(copy) + HexText(out));
        });
    }
}

}  // namespace

const std::vector<Scenario> &Scenarios() {
    static const std::vector<Scenario> all = {
        {"values", Values},
        {"walk", Tree},
        {"wdll", List},
        {"log", Log},
        {"dbg", Debug},
        {"fsm", Fsm},
        {"dq", Queue},
        {"pads", Health},
        {"notification", Codec<QOR_LDP_MSG_NOTIFICATION>},
        {"MAC withdraw", Codec<QOR_LDP_MSG_MAC_WITHDRAW>},
        {"mapping", Codec<QOR_LDP_MSG_MAPPING>},
        {"request", Codec<QOR_LDP_MSG_REQUEST>},
        {"withdraw", Codec<QOR_LDP_MSG_WITHDRAW>},
        {"release", Codec<QOR_LDP_MSG_RELEASE>},
        {"unknown message", Codec<0x0404>},
    };
    return all;
}

}  // namespace qor::test
