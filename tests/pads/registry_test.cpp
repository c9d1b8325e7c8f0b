// Health service: contexts, indexes and users.
#include "pads_test.hpp"

using namespace qor::test;

namespace {

TEST_F(PadsTest, Configuration) {
    for (int zero = 0; zero < 4; ++zero) {
        QOR_PADS_S cfg{zero != 0, zero != 1, zero != 2, zero != 3, health};
        EXPECT_EQ(QOR_PADS_InitPads(&cfg), nullptr);
        EXPECT_EQ(Asserts(), 1u);
    }
    QOR_PADS_S cfg{1, 2, 3, 4, health};
    QOR_PADS_S *own = ctx, *other = ctx = QOR_PADS_InitPads(&cfg);
    EXPECT_TRUE(other->ulTimerOwner == 4 && other->pstHealth == nullptr);
    EXPECT_TRUE(host.allocations.back().sid == 2 && host.allocations.back().partition == 0x33);

    // Without a health record: what is silent and what is not.
    Run("o1 n1,1,1 t u1 a1,1 d1,1");
    EXPECT_EQ(log, "fff!f!f!f");
    EXPECT_EQ(QOR_PADS_DeInitHealth(other), QOR_OK);
    EXPECT_EQ(Index(1), nullptr);
    EXPECT_EQ(Asserts(), 0u);

    const uint32_t types[] = {8, 9}, later[] = {6, 7};
    EXPECT_EQ(QOR_PADS_InitHealth(types, other), QOR_OK);
    EXPECT_EQ(QOR_PADS_InitHealth(later, other), QOR_OK);
    EXPECT_TRUE(other->pstHealth->ulMinTimerType == 8 && other->pstHealth->ulSecTimerType == 9);
    EXPECT_EQ(QOR_PADS_DeInitPads(other), QOR_OK);
    ctx = own;
}

TEST_F(PadsTest, Indexes) {
    Does("s3,10 D4,10 x2,10 o1", "| 1: 2: 3: 4:0 M");
    std::string made;  // the last two are the record of the DA index and its own user
    for (const Allocation &a : host.allocations)
        if (a.sid == 5 && a.tag >= 0) made += std::to_string(a.tag) + " ";
    EXPECT_EQ(made, "32 77 66 92 56 ");
    Does("o1 o2 x1 x3 s3 s4 D4 D1", "ffffffff| 1: 2: 3: 4:0 M");
    EXPECT_EQ(Index(4)->stDa.ulDaPeriod, 600u);

    const struct {
        const char *command;
        uint32_t seconds, threshold;
    } times[] = {{"x9,1200,1", 6464, 0}, {"x9,1092,1", 65520, 0}, {"x9,1093,1", 44, 0},
                 {"x9,7,2", 420, 0},     {"x9,65535", 65535, 0},  {"s9,100,1", 6000, 300},
                 {"s9,100,2", 100, 5},   {"s9,100", 100, 5}};
    for (const auto &row : times) {
        Run(row.command);
        const auto *index = Index(9);
        EXPECT_EQ(row.threshold ? index->stStat.ulStatWindow : index->stExpire.usExpireTime,
                  row.seconds);
        EXPECT_TRUE(!row.threshold || index->stStat.ulStatThreshold == row.threshold);
        Run("u9");
    }
    QOR_PADS_ONCE_REG_S reg{"nineteen characters", nullptr, 0};
    EXPECT_EQ(QOR_PADS_RegOnceExcp(50, &reg, ctx), QOR_OK);
    EXPECT_STREQ(Index(50)->szIndexName, "nineteen characters");
    reg.szName[19] = '!';  // and no NUL
    EXPECT_EQ(QOR_PADS_RegOnceExcp(51, &reg, ctx), QOR_OK);
    EXPECT_STREQ(Index(51)->szIndexName, "");
    EXPECT_EQ(Asserts(), 1u);
    Index(51)->ulIndexType = 4;  // nothing the service does
    Does("u99 u51 a51,1 u4", "!f!fd4.0 | 1: 2: 3: 50: 51:");
}

TEST_F(PadsTest, Users) {
    Does("o10 x1,10 s2,10 D3", "| 1: 2: 3:0 10: M");
    Does("a1,7 a1,7 a2,7 a2,7", "ff| 1:7 2:7 3:0 10: M S");
    EXPECT_EQ(host.allocations.back().tag, 0);
    EXPECT_TRUE(User(1, 7)->ulAddTime == 1000 && User(1, 7)->pstIndex == Index(1));
    EXPECT_EQ(QOR_PADS_AddExpireExcpUser(Index(1), 7, 0, health), QOR_FAIL);
    EXPECT_EQ(host.allocations.back().tag, 26);
    EXPECT_EQ(QOR_PADS_AddStatExcpUser(Index(2), 7, 0, health), QOR_FAIL);
    Does("a3,0 d1,99 d10,1 d3,99", "f| 1:7 2:7 3:0 10: M S");
    Does("a99,1 d99,1", "!f!f| 1:7 2:7 3:0 10: M S");
    EXPECT_TRUE(QOR_PADS_AddExcpUser(3, 1, 0, ctx) == QOR_FAIL && Asserts() == 1);
    EXPECT_TRUE(QOR_PADS_DelExcpUser(3, 0, ctx) == QOR_FAIL && Asserts() == 1);
    // What pfnDelUser answers; the seconds run as long as somebody waits for them.
    Does("vd8 d1,7 d2,7 a3,4 d3,4", "d1.7 8d2.7 8d3.4 8| 1: 2: 3:0 10: M");
    // The minutes are shared by expire and DA users.
    Does("x20,5,1 a20,1 u3", "d3.0 | 1: 2: 10: 20:1 M");
    Does("U20", "d20.1 | 1: 2: 10: 20:");
    // A unit that is none: the user is there and waits for nothing.
    Does("x21,5,2 a21,1", "!f| 1: 2: 10: 20: 21:1");
    EXPECT_TRUE(health->stMinList.ulCount == 0 && health->stSecList.ulCount == 0);
    Does("d21,1", "d21.1 8| 1: 2: 10: 20: 21:");

    host.failTimers = true;
    Does("a1,8", "!| 1:8 2: 10: 20: 21:");
    host.failTimers = false;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(QOR_PADS_StartSecTimer(health), QOR_OK);
    Does("", "| 1:8 2: 10: 20: 21: S");
}

// Operations of one type refuse indexes of the others, and users of another index.
TEST_F(PadsTest, WrongTypes) {
    Does("o0 x1,10 s2,10 D3 x9,10 a1,5 a2,5 a9,5", "| 0: 1:5 2:5 3:0 9:5 M S");
    const decltype(&QOR_PADS_AddDAUser) add[] = {QOR_PADS_AddOnceExcpUser,
                                                 QOR_PADS_AddExpireExcpUser,
                                                 QOR_PADS_AddStatExcpUser, QOR_PADS_AddDAUser};
    const std::pair<uint32_t, decltype(&QOR_PADS_DelDAUser)> withUser[] = {
        {kExpire, QOR_PADS_ProcOneExpireExcp}, {kExpire, QOR_PADS_RecordExpireExcp},
        {kStat, QOR_PADS_ProcOneStatExcp},     {99, QOR_PADS_DelExpireExcpUser},
        {99, QOR_PADS_DelStatExcpUser},        {99, QOR_PADS_DelDAUser}};
    for (uint32_t type = 0; type < 4; ++type) {
        QOR_PADS_INDEX_S *index = Index(type);
        QOR_PADS_USER_S *user = User(9, 5);
        const auto refuses = [&](uint32_t result) {
            EXPECT_TRUE(result == QOR_FAIL && Asserts() == 1) << type;
        };
        for (uint32_t other = 0; other < 4; ++other) {
            if (other == type) continue;
            refuses(kUnReg[other](index, health));
            refuses(add[other](index, 1, 1, health));
        }
        for (const auto &[own, call] : withUser)
            if (own != type) refuses(call(index, user, health));
        if (type == kStat) continue;
        refuses(QOR_PADS_RecordStatExcp(index, user, 1, health));
        refuses(QOR_PADS_AddStatNode(type, 5, 1, ctx));
    }
    Does("n2,99,1 n99,5,1", "!f!f| 0: 1:5 2:5 3:0 9:5 M S");
    Does("U0 U2 U3", "d2.5 d3.0 | 0: 1:5 2: 3: 9:5 S");
}

}  // namespace
