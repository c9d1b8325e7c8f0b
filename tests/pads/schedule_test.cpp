// Health service: recording, the two schedules, and what callbacks may do meanwhile.
#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

#include "pads_test.hpp"

using namespace qor::test;

namespace {

TEST_F(PadsTest, Records) {
    Run("o1");
    const struct {
        uint32_t up, freq, freqCount;
    } rows[] = {{1, 1, 1}, {2, 1, 2}, {4, 0, 2}, {5, 1, 3}, {8, 0, 3}};
    uint32_t n = 0;
    for (const auto &row : rows) {
        host.uptimeSeconds = row.up;
        recorded = "text " + std::to_string(++n);
        Does("a1,1", "r1.1 | 1:#" + std::to_string(n));
        EXPECT_TRUE(frequent == row.freq && Index(1)->ulFreqCount == row.freqCount);
        EXPECT_EQ(Index(1)->ulRecCur, n % 2);
        const QOR_PADS_RECORD_S &slot = Index(1)->astRecords[n % 2];
        EXPECT_TRUE(slot.ulAbsTime == row.up && slot.ulTimeStamp == host.systemSeconds);
        EXPECT_EQ(slot.szText, recorded);
    }
    EXPECT_STREQ(Index(1)->astRecords[0].szText, "text 4") << "the one before stays";
    Does("vr2 a1,1 vr77 a1,1", "r1.1 r1.1 77| 1:#5");
    EXPECT_EQ(Index(1)->ulRecCur, 1u);
    recorded = std::string(QOR_PADS_TEXT_LEN, 'x');  // without end
    host.systemSeconds = 0x80000000;
    Does("v a1,1", "r1.1 !| 1:#6");
    EXPECT_STREQ(Index(1)->astRecords[0].szText, "");
    EXPECT_EQ(Index(1)->astRecords[0].ulTimeStamp, 0u);
    Index(1)->stOnce.pfnRecord = nullptr;
    Does("a1,1", "| 1:#6");
    host.systemSeconds = 0x7FFFFFFF;
    EXPECT_EQ(QOR_PADS_GetSecFrom1970(), 0x7FFFFFFFu);
}

TEST_F(PadsTest, ExpiryInSeconds) {
    const std::string fifteen = "| 1:1*,2,3,4,5,6,7,8,9,10,11,12,13,14,15 S";
    Run("x1,10");
    for (uint32_t user = 1; user <= 15; ++user) Add(1, user);
    Does("@1009 t", fifteen);  // once round
    Does("@1010 m t99", fifteen);
    Does("t",  // ten per tick
         "r1.1 r1.2 r1.3 r1.4 r1.5 r1.6 r1.7 r1.8 r1.9 r1.10 | 1:11*,12,13,14,15#10 S");
    // An error keeps the user and begins the next tick with it; a skip removes without a record.
    Does("vr5,12 vr2 @1011 t", "r1.11 r1.12 | 1:12*,13,14,15#10 S");
    Does("d1,12", "d1.12 | 1:13*,14,15#10 S");
    Does("t", "r1.13 r1.14 r1.15 | 1:#10");
    // Behind one that waits; then the clock goes back.
    Does("v x2,1000 a2,1 a1,1 a1,2 @1021 t", "r1.1 r1.2 | 1:#12 2:1* S");
    Does("a1,1 u2 @1010 t", "d2.1 !| 1:1*#12 S");
}

TEST_F(PadsTest, MinuteTick) {
    Run("x1,1,1 D2,1");
    for (uint32_t user = 1; user <= 8; ++user) Add(1, user);
    for (uint32_t user = 1; user <= 5; ++user) Add(2, user);
    Does("@1059 m", "| 1:1*,2,3,4,5,6,7,8 2:0,1,2,3,4,5 M");
    Does("@1060 m",  // six runs leave four records
         "a2.0 a2.1 a2.2 a2.3 a2.4 a2.5 r1.1 r1.2 r1.3 r1.4 | 1:5*,6,7,8#4 2:0,1,2,3,4,5#6 M");
    for (uint32_t user = 6; user < 50; ++user) Add(2, user);
    Run("@1120 m");
    log.clear();
    EXPECT_EQ(Index(2)->ulRecCount, 56u) << "all of them";
    EXPECT_EQ(Index(1)->ulRecCount, 4u) << "and no expiry";
    // A skip ends the runs, and expiry follows; an error does not let it.
    Run("va2,1 @1180 m va9 @1240 m");
    EXPECT_EQ(std::exchange(log, ""), "a2.0 a2.1 r1.5 r1.6 r1.7 r1.8 a2.0 9");
    EXPECT_TRUE(User(2, 0)->ulAddTime == 1180 && User(2, 1)->ulAddTime == 1120);
    Index(2)->stDa.pfnDa = nullptr;
    uint32_t count = 99;
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_OK);
    EXPECT_EQ(count, 50u);
    host.uptimeSeconds = 1;
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_FAIL);
    EXPECT_EQ(Asserts(), 1u);
    Run("U2");
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_OK);
    EXPECT_EQ(count, 0u);
}

// Samples of one user, the sums that are recorded, and how many samples stay.
TEST_F(PadsTest, StatWindow) {
    Rows("s1,100 a1,1 ", {{"n1,1,4", "| 1:1(1)"},
                          {"n1,1,5", "r1.1/5 | 1:1(1)#1"},
                          {"n1,1,500", "r1.1/100 | 1:1(1)#1"},
                          {"vr9 n1,1,6", "r1.1/6 | 1:1(1)"},  // OK, whatever the record
                          {"n1,1,50 @1040 n1,1,0", "r1.1/50 r1.1/50 | 1:1(2)#2"},
                          {"n1,1,50 @1060 n1,1,0", "r1.1/50 r1.1/40 | 1:1(2)#2"},
                          {"n1,1,50 @1060 n1,1,7", "r1.1/50 r1.1/47 | 1:1(2)#2"},
                          {"n1,1,50 @1096 n1,1,0", "r1.1/50 | 1:1(2)#1"},
                          {"p1,1", "| 1:1"},
                          {"n1,1,1 @999 n1,1,1 @998 n1,1,1 @1000 n1,1,1", "!f!f| 1:1(4)"}});
    Rows("c0 ",  // also without samples; as old as the window, and older
         {{"s1,100 a1,1 p1,1", "r1.1 | 1:1#1"},
          {"s1,100 a1,1 n1,1,5 @1100 n1,1,0", "r1.1/5 r1.1 | 1:1(2)#2"},
          {"s1,100 a1,1 n1,1,5 @1101 n1,1,0", "r1.1/5 r1.1 | 1:1(1)#2"},
          // A window as long as the system is up, and longer; the largest sum.
          {"s1,1000 a1,1 n1,1,5", "r1.1/5 | 1:1(1)#1"},
          {"s1,1001 a1,1 n1,1,5", "| 1:1(1)"},
          {"s1,4294967280 a1,1 @4294967280 n1,1,9 @4294967295 n1,1,4294967295",
           "r1.1/9 r1.1/4294967289 | 1:1(2)#2"}});
    Run("@1000 c5 s1,10 a1,1 n1,1,1 n1,1,1");
    reinterpret_cast<QOR_PADS_STAT_NODE_S *>(User(1, 1)->stStatList.stNode.pstPrev)->ulTime = 2000;
    Does("p1,1", "!f| 1:1(2)");
}

// What callbacks do, and what is there afterwards. Released memory is handed out again at once in
// the second round, so that a successor stands where the released user or index was.
TEST_F(PadsTest, CallbacksChangeEverything) {
    for (const bool reuse : {false, true}) {
        host.reuse = reuse;
        Rows("x1,10 D2 a1,1 a1,2 a1,3 a2,1 a2,2 @1010 ",
             {// the record callback, of users 1 to 3
              {"r:d1,1 r:d1,2 r:d1,3 t", "r1.1 d1.1 d1.2 d1.3 | 1:#1 2:0,1,2 M"},
              {"r:d1,2 t", "r1.1 d1.2 r1.3 | 1:#2 2:0,1,2 M"},
              {"r:d1,1 t", "r1.1 d1.1 r1.2 r1.3 | 1:#3 2:0,1,2 M"},
              {"r:d1,1 r:a1,1 t", "r1.1 d1.1 r1.2 r1.3 | 1:1*#3 2:0,1,2 M S"},
              {"r:u1 t", "r1.1 d1.1 d1.2 d1.3 | 2:0,1,2 M"},
              {"r:u1 r:D1 t", "r1.1 d1.1 d1.2 d1.3 | 1:0 2:0,1,2 M"},
              {"r:a1,11 t", "r1.1 r1.2 r1.3 | 1:11*#3 2:0,1,2 M S"},
              {"r:m t", "r1.1 a2.0 a2.1 a2.2 r1.2 r1.3 | 1:#3 2:0,1,2#3 M"},
              // the DA callback, of users 0 to 2
              {"a:d2,0 m", "a2.0 d2.0 a2.1 a2.2 | 1:1,2,3 2:1,2#3 M S"},
              {"a:d2,1 m", "a2.0 d2.1 a2.2 | 1:1,2,3 2:0,2#2 M S"},
              {"a:U2 m", "a2.0 d2.0 d2.1 d2.2 | 1:1,2,3 2:#1 S"},
              {"a:u2 a:D2 m", "a2.0 d2.0 d2.1 d2.2 a2.0 | 1:1,2,3 2:0#1 M S"},
              {"a:a2,10 m", "a2.0 a2.1 a2.2 | 1:1,2,3 2:0,1,2,10#3 M S"},
              {"a:@1011 a:a2,10 m", "a2.0 a2.1 a2.2 | 1:1,2,3 2:0,1,2,10#3 M S"},
              {"a:u1 m", "a2.0 d1.1 d1.2 d1.3 a2.1 a2.2 | 2:0,1,2#3 M"},
              // the delete callback, in every operation that deletes
              {"d:d1,2 d:d1,3 d1,1", "d1.1 d1.2 d1.3 | 1: 2:0,1,2 M"},
              {"d:u1 d1,1", "d1.1 d1.2 d1.3 | 2:0,1,2 M"},
              {"d:a1,1 d1,1", "d1.1 | 1:1,2,3 2:0,1,2 M S"},
              {"d:a1,11 u1", "d1.1 !fd1.2 d1.3 | 2:0,1,2 M"},
              {"d:u1 d:s1,10 d:a1,7 d:n1,7,1 u1", "d1.1 d1.2 d1.3 | 1:7(1) 2:0,1,2 M"},
              {"d:U2 u1", "d1.1 d2.0 d2.1 d2.2 d1.2 d1.3 | 2:"},
              {"d:u1 U1", "d1.1 d1.2 d1.3 | 2:0,1,2 M"},
              {"d:u1 d:s1,10 d:a1,7 d:n1,7,1 U1", "d1.1 d1.2 d1.3 | 1:7(1) 2:0,1,2 M"},
              {"d:d1,2 d:d1,3 U1", "d1.1 d1.2 d1.3 | 1: 2:0,1,2 M"},
              // Users of an index that is being released are no longer served.
              {"@2000 d:m d:t u2", "d2.0 r1.1 r1.2 r1.3 d2.1 d2.2 | 1:#3"},
              {"@2000 d:t u1", "d1.1 d1.2 d1.3 | 2:0,1,2 M"}});
    }
    Does("D1 a:@1001 a:a1,1 m", "a1.0 | 1:0,1#1 M");  // no time that lies ahead, and an end
}

// While the service is de-initialised nothing is registered any more, but users may come.
TEST_F(PadsTest, DeInitialisation) {
    const uint32_t types[] = {kMinType, kSecType};
    Run("x1,10 x3,10 a1,1");
    onDelUser = [&](uint32_t index) {
        EXPECT_EQ(QOR_PADS_InitHealth(types, ctx) + QOR_PADS_DeInitHealth(ctx), QOR_OK);
        if (index == 1) Run("a3,1");
        Run("o100");
    };
    EXPECT_EQ(QOR_PADS_DeInitHealth(ctx), QOR_OK);
    EXPECT_EQ(log, "fd1.1 fd3.1 ");
    EXPECT_TRUE(ctx->pstHealth == nullptr && host.timers.empty());

    // An index that is not registered is recorded as well.
    ASSERT_EQ(QOR_PADS_InitHealth(types, ctx), QOR_OK);
    QOR_PADS_INDEX_S own{};
    QOR_PADS_EXCP_INFO_S info{0, 0x100000000, 0, 0};
    const QOR_PADS_ONCE_REG_S reg{"own", nullptr, 0};
    EXPECT_EQ(QOR_PADS_InitIndex(&own, 1, &reg, kOnce), QOR_OK);
    own.stOnce.pfnRecord = [](auto, auto, char *out, auto) { return strcpy(out, "x"), 0u; };
    EXPECT_EQ(QOR_PADS_RecordExcp(&own, &info, own.stOnce.pfnRecord, ctx->pstHealth), QOR_OK);
    EXPECT_TRUE(own.ulRecCount == 1 && own.astRecords[1].szText[0] == 'x');
}

TEST_F(PadsTest, KeepsWithAModel) {
    struct Model {
        uint32_t type, unit, records;
        std::map<uint32_t, uint64_t> users;  // when they were added, or ran
    };
    std::map<uint32_t, Model> model;
    std::mt19937 random(311);
    const auto below = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
    uint64_t &now = host.uptimeSeconds;
    for (int step = 0; step < 120000; ++step) {
        const uint32_t id = below(6), user = below(40), what = below(100);
        const bool there = model.contains(id);
        Model none{99, 0, 0, {}}, &index = there ? model[id] : none;
        uint32_t result = QOR_OK, expected = QOR_OK;
        if (what < 2) {
            const uint32_t type = below(4);
            const uint8_t unit = type == kExpire && below(2);
            result = Register(id, type, unit ? 1 : 20 + id, unit);
            expected = there ? QOR_FAIL : QOR_OK;
            if (!there) model[id] = {type, unit, 0, {}};
            if (!there && type == kDa) model[id].users[0] = now;
        } else if (what < 3) {
            Run("u" + std::to_string(id));
            model.erase(id);
        } else if (what < 50) {
            result = Add(id, user);
            expected = there && !index.users.contains(user) ? QOR_OK : QOR_FAIL;
            if (index.type == kOnce) index.records++;
            if (index.type != kOnce && expected == QOR_OK) index.users[user] = now;
        } else if (what < 70) {
            result = Delete(id, user);
            expected = there ? QOR_OK : QOR_FAIL;
            index.users.erase(user);
        } else if (what < 85) {
            now += below(8);
        } else {
            const bool minute = what < 88;
            Run(minute ? "m" : "t");
            uint32_t runs = 0, due = 0, gone = 0;
            for (auto &[i, m] : model)
                for (const auto &[u, added] : std::map(m.users)) {
                    const uint32_t time = m.type == kDa ? 60 * (20 + i) : m.unit ? 60 : 20 + i;
                    if (now - added < time) continue;
                    if (m.type == kDa && minute) m.users[u] = now, ++m.records, ++runs;
                    if (m.type != kExpire || m.unit != minute) continue;
                    due++;
                    if (!User(i, u)) m.users.erase(u), ++m.records, ++gone;
                }
            EXPECT_EQ(gone, runs > 9 ? 0 : std::min(10 - runs, due)) << "ten in all";
        }
        EXPECT_EQ(result, expected);

        std::string state = "|";
        bool waits[2] = {};  // by unit
        for (const auto &[i, m] : model) {
            state += ' ' + std::to_string(i) + ':';
            for (const auto &[u, added] : m.users)
                state += (state.back() == ':' ? "" : ",") + std::to_string(u);
            if (m.records) state += '#' + std::to_string(m.records);
            if (m.type == kExpire || m.type == kDa)
                waits[m.unit || m.type == kDa] |= !m.users.empty();
        }
        Asserts(), log.clear();
        std::string told = State();
        std::erase(told, '*');
        ASSERT_EQ(told, state + (waits[1] ? " M" : "") + (waits[0] ? " S" : "")) << step;
        ASSERT_FALSE(HasFailure()) << step;
    }
}

}  // namespace
