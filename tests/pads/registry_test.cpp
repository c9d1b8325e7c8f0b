// Health service: contexts, indexes and users.
#include "pads_test.hpp"

using namespace qor::test;

namespace {

constexpr uint32_t kTypes[] = {QOR_PADS_EXCP_ONCE, QOR_PADS_EXCP_EXPIRE, QOR_PADS_EXCP_STAT,
                               QOR_PADS_EXCP_DA};

TEST_F(PadsTest, Configuration) {
    for (int zero = 0; zero < 4; ++zero) {
        QOR_PADS_S cfg{zero != 0, zero != 1, zero != 2, zero != 3, ctx->pstHealth};
        EXPECT_EQ(QOR_PADS_InitPads(&cfg), nullptr);
        EXPECT_EQ(Asserts(), 1u);
    }
    QOR_PADS_S cfg{1, 2, 3, 4, ctx->pstHealth};
    QOR_PADS_S *other = QOR_PADS_InitPads(&cfg);
    EXPECT_TRUE(other->ulTimerOwner == 4 && other->pstHealth == nullptr);
    EXPECT_TRUE(host.allocations.back().sid == 2 && host.allocations.back().partition == 0x33);

    // Without a health record: what is silent and what is not.
    const QOR_PADS_ONCE_REG_S reg{"x", nullptr, 0};
    EXPECT_EQ(QOR_PADS_RegOnceExcp(1, &reg, other), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_AddStatNode(1, 1, 1, other), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_HealthSchedule(1, other), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_DeInitHealth(other), QOR_OK);
    EXPECT_EQ(QOR_PADS_GetIndexById(1, other), nullptr);
    EXPECT_EQ(Asserts(), 0u);
    EXPECT_EQ(QOR_PADS_UnRegIndex(1, other), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_AddExcpUser(1, 1, 1, other), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_DelExcpUser(1, 1, other), QOR_FAIL);
    EXPECT_EQ(Asserts(), 3u);

    const uint32_t types[] = {8, 9}, later[] = {6, 7};
    EXPECT_EQ(QOR_PADS_InitHealth(types, other), QOR_OK);
    EXPECT_EQ(QOR_PADS_InitHealth(later, other), QOR_OK);
    EXPECT_TRUE(other->pstHealth->ulMinTimerType == 8 && other->pstHealth->ulSecTimerType == 9);
    EXPECT_EQ(QOR_PADS_DeInitPads(other), QOR_OK);
}

TEST_F(PadsTest, Indexes) {
    const int64_t tags[] = {56, 92, 32, 77};
    for (const uint32_t type : kTypes) {
        const size_t before = host.allocations.size();
        EXPECT_EQ(Register(10 + type, type), QOR_OK);
        EXPECT_TRUE(host.allocations[before].tag == tags[type] &&
                    host.allocations[before].sid == 5);
        for (const uint32_t again : kTypes) EXPECT_EQ(Register(10 + type, again), QOR_FAIL);
        EXPECT_EQ(Index(10 + type)->ulIndexType, type);
    }
    EXPECT_EQ(host.allocations.back().tag, 66) << "the built-in user of a DA index";
    EXPECT_EQ(Users(13), "0");
    EXPECT_EQ(Timers(), "31/60 ");
    EXPECT_EQ(Index(13)->stDa.ulDaPeriod, 600u);
    uint32_t id = 10;
    for (auto *index = QOR_PADS_GetFirstIndex(health); index;
         index = QOR_PADS_GetNextIndex(index, health))
        EXPECT_EQ(index->ulIndexId, id++);
    EXPECT_EQ(id, 14u);
    EXPECT_EQ(Asserts(), 0u);

    const struct {
        uint32_t type, time;
        uint8_t unit;
        uint32_t seconds;
    } times[] = {{1, 1200, 1, 6464},   {1, 1092, 1, 65520}, {1, 1093, 1, 44}, {1, 7, 2, 420},
                 {1, 65535, 0, 65535}, {2, 100, 1, 6000},   {2, 100, 2, 100}, {2, 100, 0, 100}};
    for (const auto &row : times) {
        EXPECT_EQ(Register(50, row.type, row.time, row.unit), QOR_OK);
        const auto *index = Index(50);
        EXPECT_EQ(row.type == 1 ? index->stExpire.usExpireTime : index->stStat.ulStatWindow,
                  row.seconds);
        EXPECT_TRUE(row.type != 2 || index->stStat.ulStatThreshold == (row.unit == 1 ? 300u : 5u));
        EXPECT_EQ(QOR_PADS_UnRegIndex(50, ctx), QOR_OK);
    }
    QOR_PADS_ONCE_REG_S reg{"nineteen characters", nullptr, 0};
    EXPECT_EQ(QOR_PADS_RegOnceExcp(50, &reg, ctx), QOR_OK);
    EXPECT_STREQ(Index(50)->szIndexName, "nineteen characters");
    reg.szName[19] = '!';  // and no NUL
    EXPECT_EQ(QOR_PADS_RegOnceExcp(51, &reg, ctx), QOR_OK);
    EXPECT_STREQ(Index(51)->szIndexName, "");
    EXPECT_EQ(Asserts(), 1u);
    EXPECT_EQ(QOR_PADS_UnRegIndex(99, ctx), QOR_OK);
    Index(51)->ulIndexType = 4;  // nothing the service does
    EXPECT_EQ(QOR_PADS_UnRegIndex(51, ctx), QOR_FAIL);
    EXPECT_EQ(Add(51, 1), QOR_FAIL);
    EXPECT_EQ(Asserts(), 2u);
}

TEST_F(PadsTest, Users) {
    onDelUser = [&](uint32_t index, uint32_t user) {
        EXPECT_EQ(User(index, user), nullptr) << "told when it is gone";
        return index + user;
    };
    for (const uint32_t type : kTypes) ASSERT_EQ(Register(type, type), QOR_OK);
    EXPECT_EQ(Timers(), "31/60 ");
    const int64_t tags[] = {-1, 26, 0, -1};
    for (const uint32_t type : {1u, 2u}) {
        EXPECT_EQ(Add(type, 7), QOR_OK);
        EXPECT_EQ(host.allocations.back().tag, tags[type]);
        EXPECT_EQ(Add(type, 7), QOR_FAIL);
        EXPECT_TRUE(User(type, 7)->ulAddTime == 1000 && User(type, 7)->pstIndex == Index(type));
    }
    EXPECT_EQ(Timers(), "31/60 32/1 ");
    EXPECT_EQ(QOR_PADS_AddExpireExcpUser(Index(1), 7, 0, health), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_AddStatExcpUser(Index(2), 7, 0, health), QOR_FAIL);
    EXPECT_EQ(AddDa(3, 0), QOR_FAIL);
    EXPECT_EQ(Delete(1, 99), QOR_OK);
    EXPECT_EQ(Delete(0, 1), QOR_OK);
    EXPECT_EQ(Delete(3, 99), QOR_OK);
    EXPECT_EQ(Asserts(), 0u);
    EXPECT_EQ(Add(3, 1), QOR_FAIL);
    EXPECT_EQ(Delete(3, 0), QOR_FAIL);
    EXPECT_EQ(Add(99, 1), QOR_FAIL);
    EXPECT_EQ(Delete(99, 1), QOR_FAIL);
    EXPECT_EQ(Asserts(), 4u);

    EXPECT_EQ(Delete(1, 7), 8u);
    EXPECT_EQ(Timers(), "31/60 ") << "nobody waits for seconds";
    EXPECT_EQ(Delete(2, 7), 9u);
    EXPECT_EQ(AddDa(3, 4), QOR_OK);
    EXPECT_EQ(QOR_PADS_DelDAUser(Index(3), User(3, 4), health), 7u);
    EXPECT_EQ(Calls(), "d1:7 d2:7 d3:4 ");

    // In minutes: the timer is shared with the DA users.
    ASSERT_EQ(Register(20, QOR_PADS_EXCP_EXPIRE, 5, 1), QOR_OK);
    EXPECT_EQ(Add(20, 1), QOR_OK);
    EXPECT_EQ(health->stMinList.ulCount, 1u);
    EXPECT_EQ(QOR_PADS_UnRegIndex(3, ctx), QOR_OK);
    EXPECT_EQ(Timers(), "31/60 ");
    EXPECT_EQ(QOR_PADS_UnRegExpireExcp(Index(20), health), QOR_OK);
    EXPECT_EQ(Timers(), "");
    EXPECT_EQ(Calls(), "d3:0 d20:1 ");

    // A unit that is none: the user is there and waits for nothing.
    ASSERT_EQ(Register(21, QOR_PADS_EXCP_EXPIRE, 5, 2), QOR_OK);
    EXPECT_EQ(Add(21, 1), QOR_FAIL);
    EXPECT_EQ(Asserts(), 1u);
    EXPECT_EQ(Users(21), "1");
    EXPECT_TRUE(health->stMinList.ulCount == 0 && health->stSecList.ulCount == 0);
    EXPECT_EQ(Delete(21, 1), 22u);

    host.failTimers = true;
    EXPECT_EQ(Add(1, 8), QOR_OK) << "without a timer";
    EXPECT_EQ(Asserts(), 1u);
    EXPECT_EQ(QOR_PADS_StartMinTimer(health), QOR_ERR_ARG);
    EXPECT_EQ(Asserts(), 1u);
    host.failTimers = false;
    EXPECT_EQ(QOR_PADS_StartSecTimer(health), QOR_OK);
    EXPECT_EQ(QOR_PADS_StartSecTimer(health), QOR_OK);
    EXPECT_EQ(Timers(), "32/1 ");
}

// Operations of one type refuse indexes of the others, and users of another index.
TEST_F(PadsTest, WrongTypes) {
    for (const uint32_t type : kTypes) ASSERT_EQ(Register(type, type), QOR_OK);
    ASSERT_EQ(Register(9, QOR_PADS_EXCP_EXPIRE), QOR_OK);
    for (const uint32_t index : {1u, 2u, 9u}) ASSERT_EQ(Add(index, 5), QOR_OK);
    Asserts();
    for (const uint32_t type : kTypes) {
        QOR_PADS_INDEX_S *index = Index(type);
        QOR_PADS_USER_S *user = User(9, 5);
        const uint32_t results[] = {
            type == 0 ? QOR_FAIL : QOR_PADS_AddOnceExcpUser(index, 1, 1, health),
            type == 0 ? QOR_FAIL : QOR_PADS_UnRegOnceExcp(index, health),
            type == 1 ? QOR_FAIL : QOR_PADS_AddExpireExcpUser(index, 1, 1, health),
            type == 1 ? QOR_FAIL : QOR_PADS_UnRegExpireExcp(index, health),
            type == 1 ? QOR_FAIL : QOR_PADS_ProcOneExpireExcp(index, user, health),
            type == 1 ? QOR_FAIL : QOR_PADS_RecordExpireExcp(index, user, health),
            type == 2 ? QOR_FAIL : QOR_PADS_AddStatExcpUser(index, 1, 1, health),
            type == 2 ? QOR_FAIL : QOR_PADS_UnRegStatExcp(index, health),
            type == 2 ? QOR_FAIL : QOR_PADS_ProcOneStatExcp(index, user, health),
            type == 2 ? QOR_FAIL : QOR_PADS_RecordStatExcp(index, user, 1, health),
            type == 2 ? QOR_FAIL : QOR_PADS_AddStatNode(type, 5, 1, ctx),
            type == 3 ? QOR_FAIL : QOR_PADS_AddDAUser(index, 1, 1, health),
            type == 3 ? QOR_FAIL : QOR_PADS_UnRegDA(index, health),
            QOR_PADS_DelExpireExcpUser(index, user, health),
            QOR_PADS_DelStatExcpUser(index, user, health),
            QOR_PADS_DelDAUser(index, user, health)};
        for (const uint32_t result : results) EXPECT_EQ(result, QOR_FAIL);
        const size_t own[] = {2, 4, 5, 2};
        EXPECT_EQ(Asserts(), std::size(results) - own[type]);
    }
    EXPECT_EQ(QOR_PADS_AddStatNode(2, 99, 1, ctx), QOR_FAIL);
    EXPECT_EQ(QOR_PADS_AddStatNode(99, 5, 1, ctx), QOR_FAIL);
    EXPECT_EQ(Asserts(), 2u);
    EXPECT_EQ(Users(1) + Users(2) + Users(3) + Users(9), "5505");
    EXPECT_EQ(QOR_PADS_UnRegOnceExcp(Index(0), health), QOR_OK);
    EXPECT_EQ(QOR_PADS_UnRegStatExcp(Index(2), health), QOR_OK);
    EXPECT_EQ(QOR_PADS_UnRegDA(Index(3), health), QOR_OK);
    EXPECT_EQ(Calls(), "d2:5 d3:0 ");
}

}  // namespace
