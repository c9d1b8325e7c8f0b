// Timed key queue. Most tests are scripts of commands and of what these must lead to.
#include "qor_dq.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <utility>

#include "test_platform.hpp"

using namespace qor::test;
using std::to_string;

namespace {

constexpr uint32_t kType = 7, kOther = 8;  // timer types
constexpr uint64_t kOwner = 0xAB00000001, kValue = uint64_t{1} << 40;
uint32_t compares;

uint32_t Number(const void *key) { return *static_cast<const uint8_t *>(key); }
int Compare(const void *a, const void *b) { return compares++, memcmp(a, b, 4); }

class QueueTest : public PlatformTest {
  protected:
    void SetUp() override { PlatformTest::SetUp(), host.failTimerDelete = true, Run("o r7"); }
    void TearDown() override { Run("!"), PlatformTest::TearDown(); }

    static QueueTest &Of(uint64_t handle) { return *reinterpret_cast<QueueTest *>(handle); }
    uint32_t Called(char what, const void *key, uint64_t value) {
        log += what + to_string(Number(key));
        Run(std::exchange(on[what], ""));
        EXPECT_EQ(value, Number(key) + kValue);  // key is still there
        return answer;
    }
    // Runs commands of a letter and a number; "t:d1" has the next pfnTimeOut run d1. "=" is what
    // State() must be. Logs "!" per report, "f"ailed, "e"rror in an argument, e"x"ists and "n"ull.
    void Run(const std::string &script) {
        std::istringstream in(script);
        for (std::string done, state, token; in >> token; done += token + " ") {
            if (token[1] == ':') on[token[0]] += token.substr(2) + " ";
            if (token[0] == '=' && (state = State()) != &token[1]) ADD_FAILURE() << done << state;
            if (token[0] == '=') Run("! p v o r7"), on.clear(), done.clear(), log.clear();
            if (token[0] == '=' || token[1] == ':') continue;
            const auto result = commands.at(token[0])(static_cast<uint32_t>(atoll(&token[1])));
            log.append(host.asserts.size(), '!'), host.asserts.clear();
            if (result) log += result < 3 ? "?fn"[result] : "ex"[result == QOR_DQ_ERR_EXIST];
        }
    }
    const std::map<char, std::function<uint32_t(uint32_t)>> commands{
        {'@', [&](auto n) { return host.ticks = n * 1000ull + 999 - n % 1000, 0; }},
        {'!', [&](auto) { return QOR_DQ_DeInit(ctx), ctx = nullptr, host.timers.size(); }},
        {'a', [&](auto n) { return QOR_DQ_AddNode(inst, &n, n % 256 + kValue); }},
        {'d', [&](auto n) { return n ? QOR_DQ_DelNode(inst, &n) : (QOR_DQ_DelAllNode(inst), 0); }},
        {'e', [&](auto n) { return QOR_DQ_IsNodeExist(inst, &n); }},
        {'f', [&](auto n) { return QOR_DQ_FlushNode(inst, n), 0; }},
        {'g', [&](auto n) { return QOR_DQ_UpdateTimeStamp(Get(n), inst), 0; }},
        {'h',
         [&](auto n) { return n ? keep = Get(n), 0 : (QOR_DQ_UpdateTimeStamp(keep, inst), 0); }},
        {'i', [&](auto n) { return QOR_DQ_SetTimeOutValue(inst, n); }},
        {'k', [&](auto n) { return QOR_DQ_DelNode(inst, Get(n)->aucKey); }},
        {'o', [&](auto) { return reg.pfnCmpKey = Compare, (ctx = QOR_DQ_Init(&cfg)) ? 0 : 2; }},
        {'p', [&](auto n) { return host.failTimers = n & 1, host.FailAllocation(n / 2), 0; }},
        {'Q', [&](auto n) { return Run("@ r8 a1 a2 a3 @100"), QOR_DQ_AddNode(other, &n, kValue); }},
        {'r', [&](auto n) { return ((n == kType ? inst : other) = Reg(n)) ? 0 : 2; }},
        {'s', [&](auto n) { return (n ? QOR_DQ_StartCycleTimer : QOR_DQ_StopCycleTimer)(inst); }},
        {'t', [&](auto n) { return QOR_DQ_ProcTimer(n ? n : kType, ctx); }},
        {'u', [&](auto n) { return QOR_DQ_UnRegInst(n == kType ? inst : other), 0; }},
        {'v', [&](auto n) { return answer = n ? 0x80060000 + n : n, 0; }},
        {'w', [&](auto n) { return QOR_DQ_Serialize(inst, std::string(n, ' ').data(), n); }},
        {'z', [&](auto) { return reg.pfnCmpKey = [](auto, auto) { return 1; }, Run("u7 r7"), 0; }}};
    QOR_DQ_INST_S *Reg(uint32_t n) { return reg.ulTimerType = n, QOR_DQ_RegInst(ctx, &reg); }
    QOR_DQ_NODE_S *Get(uint32_t n) { return QOR_DQ_GetNode(inst, &n); }

    // Log, keys from the oldest on ("-": no instance), "~" for a wrong timer, ulHandleCount.
    std::string State() {
        std::string state = std::exchange(log, "") + "|";
        void *found = ctx ? HOST_AvlFind(&ctx->stInstTree, &kType, &ctx->stInstInfo) : nullptr;
        if (!(inst = static_cast<QOR_DQ_INST_S *>(found))) return state + "-";
        uint32_t listed = 0;
        for (auto *end = &inst->stNodeList.stNode, *l = end->pstNext; l != end; l = l->pstNext) {
            auto *n = reinterpret_cast<QOR_DQ_NODE_S *>(reinterpret_cast<HOST_AVL_NODE_S *>(l) - 1);
            const uint32_t key = Number(n->aucKey);
            EXPECT_TRUE(l->pstNext->pstPrev == l && Get(key) == n && n->pstInst == inst);
            state += (listed++ ? "," : "") + to_string(key);
        }
        if (!inst->ulTimer != !listed || listed != inst->stNodeList.ulCount) state += "~";
        return state + (inst->ulHandleCount ? "|" + to_string(inst->ulHandleCount) : "");
    }

    QOR_DQ_CFG_S cfg{51, kOwner, reinterpret_cast<uint64_t>(this)};
    QOR_DQ_TIMEOUT_PF timeOut = [](auto k, auto v, auto h) { return Of(h).Called('t', k, v); };
    QOR_DQ_DEL_PF deleted = [](auto k, auto v, auto h) { Of(h).Called('d', k, *v); };
    QOR_DQ_REG_INFO_S reg{4, 0, 30, 2, 60, timeOut, Compare, deleted, nullptr};
    QOR_DQ_S *ctx = nullptr;
    QOR_DQ_INST_S *inst = nullptr, *other = nullptr;
    QOR_DQ_NODE_S *keep = nullptr;
    std::string log;
    std::map<char, std::string> on;  // what callbacks do
    uint32_t answer = 0;
};

TEST_F(QueueTest, Registration) {
    Run("a1");
    QOR_DQ_REG_INFO_S bad[] = {reg, reg, reg, reg, reg, reg};
    bad[0].ulKeyLen = 33, bad[1].pfnTimeOut = nullptr, bad[2].pfnCmpKey = nullptr;
    bad[3].ulCycleTime = bad[4].ulCycleMaxNum = bad[5].ulTimeInterval = 0;
    for (uint32_t i = 0; i < 12; ++i) {
        bad[i / 2].ulTimerType = i % 2 ? kType : kOther;  // known and unknown
        EXPECT_TRUE(!QOR_DQ_RegInst(ctx, &bad[i / 2]) && host.asserts.size() == i + 1) << i;
    }
    reg.pfnDelNode = nullptr, reg.ulKeyLen = 32;
    EXPECT_TRUE(Reg(kType) == inst && inst->stReg.ulKeyLen == 4 && inst->stReg.pfnDelNode);
    EXPECT_TRUE(inst->stReg.pfnFormatKey == QOR_DQ_FormatKey && !reg.pfnFormatKey);
    const Timer &t = host.timers.at(0);
    EXPECT_TRUE(t.periodic && t.owner == kOwner && t.interval == 30 && t.type == kType);
    EXPECT_TRUE(t.param == 0 && t.ten == 10 && inst->ulTimer == t.handle);
    for (const uint32_t length : {32u, 0u}) {
        const std::string key(length ? 32 : 4, static_cast<char>(length));
        reg.ulKeyLen = length, other = Reg(kOther + length);
        ASSERT_EQ(QOR_DQ_AddNode(other, key.data(), 0), 0u);
        EXPECT_EQ(memcmp(QOR_DQ_GetNode(other, key.data())->aucKey, key.data(), key.size()), 0);
    }
    std::string made;  // a context in the third partition, then instances and nodes
    for (auto &a : host.allocations) made += to_string(a.tag + a.partition + (a.sid == 51)) + " ";
    EXPECT_EQ(made, "51 57 16 57 16 57 16 ");
    const uint32_t n[] = {1, 0x80000000};
    EXPECT_TRUE(QOR_DQ_CmpInstCallback(n, n + 1) == -1 && QOR_DQ_CmpInstCallback(n + 1, n) == 1);
}

TEST_F(QueueTest, Scripts) {
    const struct {
        std::string commands, state;
    } rows[] = {// each way to delete
                {"a3 a1 a2 d4 d2 d3 k1", "d2d3d1|"},
                {"a3 a1 a2 d", "d1d2d3|"},
                {"i a1 t", "t1d1||1"},
                {"a2 a1 u7 t", "d1d2|-"},
                // the timer, stopped and started by hand
                {"a1 s s", "|1~"},
                {"s1 s1", "|~"},
                {"a1 s1 d:e1 d1", "d1|"},
                {"v3 a3 a1 a2 f0 f2", "t3d3t1d1|2"},
                // no timer, no memory
                {"p1 a1 a2 p a1", "!f!fx|1,2~"},
                {"p1 a1 p a2", "!f|1,2"},
                {"a1 p2 a2 a2", "!f|1,2"},
                {"a1 p2 a1 a2", "x|1,2"},
                // ages; the clock may wrap and may go back
                {"@ a1 @59 t", "|1"},
                {"@ a1 @60 a1 t", "xt1d1||1"},
                {"@ a1 @60 i61 t", "|1"},
                {"@1 i a1 t", "t1d1||1"},
                {"@4294967280 a1 @43 t", "|1"},
                {"@4294967280 a1 @44 t", "t1d1||1"},
                {"@100 a1 @99 t", "t1d1||1"},
                {"@1 i4294967295 a1 @ t", "t1d1||1"},
                {"@2 i4294967295 a1 @ t", "|1"},
                {"@ a3 a2 a1 @60 t8 t", "t3d3t2d2|1|2"},
                {"@ a2 @1 a1 @60 t:@61 t", "t2d2t1d1||2"},
                {"@ a2 @1 a1 @60 t", "t2d2|1|1"},
                // renewal, and the budget of a tick
                {"v3 @ a2 @1 a1 @60 t @61 t @119 t", "t2t1|2,1|2"},
                {"v3 i a1 a2 a3 t t", "t1t2t3t1|2,3,1|4"},
                {"v3 i a1 t", "t1|1|1"},
                {"i t:a2 a1 t", "t1d1|2|1"},
                {"i v2 a1 t v4 a1 t v2147090435 a1 t", "t1d1t1d1t1d1||3"},
                // keys that are never equal
                {"z a1 a1 a1 d d1", "d1d1d1|"},
                {"z a1 a1 a1 f4294967295", "t1d1t1d1t1d1|"},
                {"z i a1 a1 t", "t1d1t1d1||2"},
                {"z a1 a1 a1 !", "d1d1d1|-"}};
    for (const auto &row : rows) Run(row.commands + " =" + row.state);
}

TEST_F(QueueTest, Reentrance) {
    const struct {
        std::string commands, state;
    } rows[] = {// pfnTimeOut, in a tick and in a flush
                {"v3 t:g1 t", "t1t2|3,1,2|2"},
                {"t:u7 t:r7 t:a5 t", "t1d1d2d3|5"},
                {"t:u7 t:r7 t:a5 f2", "t1d1d2d3|5"},
                {"t:t f2", "t1t1d1t2d2t3d3||2"},
                {"t:t t", "t1t1d1t2d2t3d3||4"},
                {"t:f1 t", "t1t1d1t2d2|3|2"},
                {"t:f1 f2", "t1t1d1t2d2|3"},
                {"t:u8 t", "t1d0d1t2d2|3|2"},
                {"t:g1 f2", "t1d1t2d2|3"},
                {"t:g1 t", "t1d1t2d2|3|2"},
                {"t:d t", "t1d1d2d3||1"},
                {"t:d f2", "t1d1d2d3|"},
                {"t:d2 t", "t1d2d1t3d3||2"},
                {"t:a5 t", "t1d1t2d2|3,5|2"},
                {"v3 t:d1 t", "t1d1t2|3,2|2"},
                {"t:d1 t:a1 t", "t1d1t2d2|3,1|2"},
                {"t:d1 t:a1 f2", "t1d1t2d2|3,1"},
                {"t:d1 f2", "t1d1t2d2|3"},
                {"t:d1 t", "t1d1t2d2|3|2"},
                // pfnDelNode, in every operation that deletes
                {"h1 d:h d1", "d1!|2,3"},
                {"d:a5 f2", "t1d1t2d2|3,5"},
                {"d:a5 d1", "d1|2,3,5"},
                {"d:a5 d", "d1d2d3d5|"},
                {"d:a5 t", "t1d1t2d2|3,5|2"},
                {"d:a5 d:d2 d:d d:f1 d:s d:s1 d:w400 u7", "d1!e!e!!!e!e!ed2d3|-"},
                {"d:a5 d:d2 !", "d1!e!ed2d3d0|-"},
                {"d:u7 d:r7 d:a5 d", "d1d2d3|5"},
                {"d:u7 d:r7 d:a5 f2", "t1d1d2d3|5"},
                {"d:u7 d:r7 d:a5 t", "t1d1d2d3|5"},
                {"d:u7 d:r7 d:a5 !", "d1!d2d3d5d0|-"},
                {"d:u7 d:r7 d:a5 u7", "d1!d2d3|5"},
                {"d:d2 d1", "d1d2|3"},
                {"d:d2 f2", "t1d1d2t3d3|"},
                {"d:d2 d", "d1d2d3|"},
                {"d:d2 t", "t1d1d2t3d3||2"},
                {"d:u7 d1", "d1d2d3|-"},
                {"d:u8 !", "d1d0d2d3|-"}};
    for (const auto &row : rows) Run("Q " + row.commands + " =" + row.state);
}

TEST_F(QueueTest, AgainstAModel) {
    std::mt19937 random(20260305);
    std::vector<uint32_t> order;  // keys, oldest first
    std::map<uint32_t, uint32_t> stamps;
    uint32_t handled = 0, now = 4294960000;  // wraps on the way
    for (int step = 0; step < 120000; ++step) {
        const auto key = static_cast<uint32_t>(random() % 50 + 1);
        const char command = "aaaaaadddddfttt"[random() % 15];
        const bool ticks = command == 't', renew = ticks && key & 4;
        const bool there = std::count(order.begin(), order.end(), key) != 0;
        const uint32_t n = ticks ? kType : command == 'f' ? key % 3 : key;
        Run((renew ? "v3 @" : "v @") + to_string(now += key % 3) + " " + command + to_string(n));
        std::string expected(there && command == 'a' ? "x" : ""), keys;
        if (there && command == 'd') std::erase(order, key), expected = "d" + to_string(key);
        if (!there && command == 'a') order.push_back(key), stamps[key] = now;
        uint32_t most = ticks ? 2 : command == 'f' ? n : 0;
        for (; most != 0 && !order.empty(); --most, handled += ticks) {
            const uint32_t oldest = order[0];
            if (ticks && now - stamps[oldest] < 60) break;
            expected += "t" + to_string(oldest) + (renew ? "" : "d" + to_string(oldest));
            if (renew) order.push_back(oldest), stamps[oldest] = now;
            order.erase(order.begin());
        }
        for (const uint32_t k : order) keys += (keys.empty() ? "" : ",") + to_string(k);
        if (handled) keys += "|" + to_string(handled);
        ASSERT_EQ(State(), expected + "|" + keys) << step;
    }
}

TEST_F(QueueTest, Growth) {
    const uint32_t nodes = 200000, search = 28;  // 1.45 log2(nodes) + 3
    const auto bounded = [&](char command, uint32_t number, uint32_t most) {
        compares = 0, commands.at(command)(number);
        EXPECT_LE(compares, most) << command << number;
    };
    inst->stReg.ulCycleMaxNum = 1000, inst->stReg.ulTimeInterval = 0;
    for (uint32_t k = 0; k < nodes; ++k) bounded('a', __builtin_bswap32(k), 2 * search);
    for (uint32_t k = 0; k < nodes + 7; k += 7) bounded('e', __builtin_bswap32(k), search);
    for (int i = 0; i < 5; ++i) bounded('t', kType, 1000 * search);
    EXPECT_TRUE(inst->ulHandleCount == 5000 && inst->stNodeList.ulCount == nodes - 5000);
    for (uint32_t k = 3; k < nodes; k += 5) bounded('d', __builtin_bswap32(k), search);
}

TEST_F(QueueTest, Texts) {
    // At every size of the buffer: all of the text, or -1 and, if told so, no text.
    const auto expect = [](const std::string &text, bool emptied, auto print) {
        for (uint32_t size = 1; size <= text.size() + 2; ++size) {
            std::vector<char> buf(size, 'x');
            const bool fits = size > text.size();
            EXPECT_EQ(print(buf.data(), size), fits ? std::ssize(text) : -1) << size;
            EXPECT_EQ(std::string(fits || emptied ? buf.data() : ""), fits ? text : "");
        }
    };
    const auto whole = [&](auto... buf) { return QOR_DQ_Serialize(inst, buf...); };
    const auto some = [&](auto... buf) { return QOR_DQ_FormatInst(inst, buf...); };
    const auto node = [&](auto... buf) { return QOR_DQ_FormatNode(inst, Get(2), buf...); };
    const uint8_t octets[] = {0xAB, 0, 0x7F};
    for (const auto &[n, text] : {std::pair{0u, "\n"}, {1u, "AB \n"}, {3u, "AB 00 7F \n"}})
        expect(text, false, [&, n = n](auto... b) { return QOR_DQ_FormatKey(octets, n, b...); });
    std::string all = std::string("\tInst Info: \n\t timerType: 7\n\t keyLen: 4\n") +
                      "\t cycleTime: 30\n\t cycleMaxNum: 2\n\t timeInterval: 60\n\t nodeCount: ";
    expect(all + "0\n\t handleCount: 0\n\t timer:0\n", true, whole);
    Run("@10 a2 @100 a1 @105"), inst->ulHandleCount = 0xFFFFFFFE;
    expect(all += "2\n\t handleCount: -2\n\t timer:1\n", false, some);
    const std::string old = "\tNode Info: \n\t key: 02 00 00 00 \n\t remainTime: -35 s\n";
    expect(old, false, node);
    expect(all + old + "\tNode Info: \n\t key: 01 00 00 00 \n\t remainTime: 55 s\n", true, whole);
    std::vector<char> buf(all.size() + 100);
    char *const text = buf.data(), *const last100 = text + all.size();
    EXPECT_EQ(some(text, 0u) + node(text, 0u) + whole(text, 0u), -3);
    EXPECT_EQ(QOR_DQ_FormatKey(octets, 3, text, 0), 0);
    static int32_t claim;
    inst->stReg.pfnFormatKey = [](const void *key, uint32_t length, char *, uint32_t room) {
        return Number(key) == 2 && length == 4 && room == 80 ? claim : -99;
    };
    for (const int32_t claimed : {-7, 79, 80, 85, INT32_MAX}) {
        claim = claimed;
        const auto one = node(last100, 100u), both = whole(text, static_cast<uint32_t>(buf.size()));
        EXPECT_TRUE(claim < 80 ? one == std::min(claim, -1) && both == one : one >= 100) << claim;
        EXPECT_TRUE(claim < 80 ? buf[0] == 0 : both >= std::ssize(buf)) << claim;
    }
    inst->stReg.pfnFormatKey = nullptr;
    EXPECT_TRUE(node(text, 100u) == -1 && host.asserts.size() == 2);
}

}  // namespace
