// Health service: recording, the two schedules, and what callbacks may do meanwhile.
#include <algorithm>
#include <cstring>
#include <map>
#include <random>

#include "pads_test.hpp"

using namespace qor::test;

namespace {

constexpr uint32_t kOnce = QOR_PADS_EXCP_ONCE, kExpire = QOR_PADS_EXCP_EXPIRE;
constexpr uint32_t kStat = QOR_PADS_EXCP_STAT, kDa = QOR_PADS_EXCP_DA;

TEST_F(PadsTest, Records) {
    ASSERT_EQ(Register(1, kOnce), QOR_OK);
    uint32_t frequent = 0;
    onRecord = [&](QOR_PADS_EXCP_INFO_S *info, char *text) {
        frequent = info->ulFreqFlag;
        return strcpy(text, ("text " + std::to_string(info->ulUserId)).c_str()), 0u;
    };
    const struct {
        uint32_t up, freq, freqCount;
    } rows[] = {{1, 1, 1}, {2, 1, 2}, {4, 0, 2}, {5, 1, 3}, {8, 0, 3}};
    uint32_t n = 0;
    for (const auto &row : rows) {
        host.uptimeSeconds = row.up;
        EXPECT_EQ(Add(1, ++n), QOR_OK);
        const auto *index = Index(1);
        EXPECT_EQ(frequent, row.freq);
        EXPECT_TRUE(index->ulRecCount == n && index->ulFreqCount == row.freqCount);
        EXPECT_EQ(index->ulRecCur, n % 2);
        const QOR_PADS_RECORD_S &slot = index->astRecords[n % 2];
        EXPECT_TRUE(slot.ulAbsTime == row.up && slot.ulTimeStamp == host.systemSeconds);
        EXPECT_EQ(slot.szText, "text " + std::to_string(n));
    }
    EXPECT_STREQ(Index(1)->astRecords[0].szText, "text 4") << "the one before stays";
    EXPECT_EQ(Users(1), "");
    for (const uint32_t answer : {2u, 77u}) {
        onRecord = [&](auto, char *text) { return text[0] = 'x', answer; };
        EXPECT_EQ(Add(1, 1), answer == 2 ? QOR_OK : answer);
    }
    EXPECT_TRUE(Index(1)->ulRecCount == n && Index(1)->ulRecCur == n % 2);
    onRecord = [](auto, char *text) { return memset(text, 'x', QOR_PADS_TEXT_LEN), 0u; };
    host.systemSeconds = 0x80000000;
    EXPECT_EQ(Add(1, 1), QOR_OK);
    EXPECT_EQ(Asserts(), 1u) << "a text without end";
    EXPECT_STREQ(Index(1)->astRecords[0].szText, "");
    EXPECT_EQ(Index(1)->astRecords[0].ulTimeStamp, 0u);
    Index(1)->stOnce.pfnRecord = nullptr;
    EXPECT_EQ(Add(1, 1), QOR_OK);
    EXPECT_EQ(Index(1)->ulRecCount, n + 1);
    host.systemSeconds = 0x7FFFFFFF;
    EXPECT_EQ(QOR_PADS_GetSecFrom1970(), 0x7FFFFFFFu);
}

TEST_F(PadsTest, ExpiryInSeconds) {
    ASSERT_EQ(Register(1, kExpire, 10), QOR_OK);
    for (uint32_t user = 1; user <= 15; ++user) ASSERT_EQ(Add(1, user), QOR_OK);
    EXPECT_EQ(Tick(kSecType, 1009), QOR_OK);
    EXPECT_EQ(Calls(), "");
    EXPECT_TRUE(health->pstSecCurNode == &User(1, 1)->stLink) << "once round";
    EXPECT_EQ(Tick(kMinType, 1010) + Tick(99, 1010), QOR_OK);
    EXPECT_EQ(Calls(), "") << "other timers";
    EXPECT_EQ(Tick(kSecType, 1010), QOR_OK);
    EXPECT_EQ(Users(1), "11,12,13,14,15") << "ten per tick, and no pfnDelUser";
    EXPECT_EQ(Index(1)->ulRecCount, 10u);
    Calls();

    // An error keeps the user and begins the next tick with it; a skip removes without a record.
    onRecord = [](QOR_PADS_EXCP_INFO_S *info, char *) { return info->ulUserId == 12 ? 5u : 2u; };
    EXPECT_EQ(Tick(kSecType, 1011), QOR_OK);
    EXPECT_EQ(Calls(), "r1:11 r1:12 ");
    EXPECT_TRUE(health->pstSecCurNode == &User(1, 12)->stLink);
    EXPECT_EQ(Delete(1, 12), QOR_OK);
    EXPECT_TRUE(health->pstSecCurNode == &User(1, 13)->stLink) << "moved on";
    Calls();
    EXPECT_EQ(Tick(kSecType, 1011), QOR_OK);
    EXPECT_EQ(Calls(), "r1:13 r1:14 r1:15 ");
    EXPECT_EQ(Index(1)->ulRecCount, 10u);
    EXPECT_TRUE(Timers().empty() && health->pstSecCurNode == nullptr);

    ASSERT_EQ(Register(2, kExpire, 1000), QOR_OK);
    ASSERT_EQ(Add(2, 1), QOR_OK);
    for (const uint32_t user : {1u, 2u}) ASSERT_EQ(Add(1, user), QOR_OK);
    Calls();
    EXPECT_EQ(Tick(kSecType, 1021), QOR_OK);
    EXPECT_EQ(Calls(), "r1:1 r1:2 ") << "behind one that waits";
    EXPECT_TRUE(health->pstSecCurNode == &User(2, 1)->stLink);

    ASSERT_EQ(Add(1, 1), QOR_OK);
    ASSERT_EQ(QOR_PADS_UnRegIndex(2, ctx), QOR_OK);
    EXPECT_EQ(Tick(kSecType, 1010), QOR_OK) << "the clock went back";
    EXPECT_EQ(Asserts(), 1u);
    EXPECT_EQ(Users(1), "1");
}

TEST_F(PadsTest, MinuteTick) {
    ASSERT_EQ(Register(1, kExpire, 1, 1), QOR_OK);
    ASSERT_EQ(Register(2, kDa, 1), QOR_OK);
    for (uint32_t user = 1; user <= 8; ++user) ASSERT_EQ(Add(1, user), QOR_OK);
    for (uint32_t user = 1; user <= 5; ++user) ASSERT_EQ(AddDa(2, user), QOR_OK);
    EXPECT_EQ(Tick(kMinType, 1059), QOR_OK);
    EXPECT_EQ(Calls(), "");
    EXPECT_EQ(Tick(kMinType, 1060), QOR_OK);
    EXPECT_EQ(Users(1), "5,6,7,8") << "six runs leave four";
    EXPECT_EQ(Index(2)->ulRecCount, 6u);
    for (uint32_t user = 6; user < 50; ++user) ASSERT_EQ(AddDa(2, user), QOR_OK);
    EXPECT_EQ(Tick(kMinType, 1120), QOR_OK);
    EXPECT_EQ(Index(2)->ulRecCount, 56u) << "all of them";
    EXPECT_EQ(Users(1), "5,6,7,8");

    Calls();
    onDa = [](uint32_t user) { return user == 1 ? 2u : 0u; };
    EXPECT_EQ(Tick(kMinType, 1180), QOR_OK);
    EXPECT_EQ(Calls(), "a2:0 a2:1 r1:5 r1:6 r1:7 r1:8 ") << "a skip, and then the expiry";
    onDa = [](uint32_t) { return 9u; };
    EXPECT_EQ(Tick(kMinType, 1240), 9u);
    EXPECT_EQ(Calls(), "a2:0 ");
    EXPECT_TRUE(User(2, 0)->ulAddTime == 1180 && User(2, 1)->ulAddTime == 1120);
    onDa = [](uint32_t) { return 0u; };
    Index(2)->stDa.pfnDa = nullptr;
    uint32_t count = 99;
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_OK);
    EXPECT_TRUE(count == 50 && Calls().empty());
    host.uptimeSeconds = 1;
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_FAIL);
    EXPECT_EQ(Asserts(), 1u);
    EXPECT_EQ(QOR_PADS_UnRegDA(Index(2), health), QOR_OK);
    EXPECT_EQ(QOR_PADS_ScheduleDA(&count, health), QOR_OK);
    EXPECT_EQ(count, 0u);
}

// Samples (time, value) of one user, and the sum that the last one leads to; ~0: no record.
TEST_F(PadsTest, StatWindow) {
    constexpr uint32_t kNone = ~0u;
    const struct {
        uint32_t window, threshold;
        std::vector<std::pair<uint32_t, uint32_t>> samples;
        uint32_t sum, kept;
    } rows[] = {{100, 5, {{1000, 4}}, kNone, 1},
                {100, 5, {{1000, 5}}, 5, 1},
                {100, 5, {{1000, 500}}, 100, 1},
                {100, 5, {{1000, 50}, {1040, 0}}, 50, 2},
                {100, 5, {{1000, 50}, {1060, 0}}, 40, 2},
                {100, 5, {{1000, 50}, {1060, 7}}, 47, 2},
                {100, 5, {{1000, 50}, {1096, 0}}, kNone, 2},
                {100, 0, {{1000, 50}, {1100, 0}}, 0, 2},  // as old as the window
                {100, 0, {{1000, 50}, {1101, 0}}, 0, 1},
                {1000, 5, {{1000, 5}}, 5, 1},
                {1001, 0, {{1000, 5}}, kNone, 1},  // longer than the system is up
                {0xFFFFFFF0, 5, {{0xFFFFFFF0, 9}, {0xFFFFFFFF, 0xFFFFFFFF}}, 0xFFFFFFF9, 2}};
    for (const auto &row : rows) {
        uint32_t sum = kNone;
        onRecord = [&](QOR_PADS_EXCP_INFO_S *info, char *) { return sum = info->ulStatSum, 1u; };
        ASSERT_EQ(Register(1, kStat, row.window), QOR_OK);
        Index(1)->stStat.ulStatThreshold = row.threshold;
        ASSERT_EQ(Add(1, 1), QOR_OK);
        for (const auto &[time, value] : row.samples) {
            host.uptimeSeconds = time;
            sum = kNone;
            EXPECT_EQ(QOR_PADS_AddStatNode(1, 1, value, ctx), QOR_OK) << "whatever the record";
        }
        EXPECT_EQ(sum, row.sum);
        EXPECT_EQ(User(1, 1)->stStatList.ulCount, row.kept);
        EXPECT_EQ(QOR_PADS_UnRegIndex(1, ctx), QOR_OK);
        host.uptimeSeconds = 1000;
    }
    onRecord = [](auto, auto) { return 0u; };
    ASSERT_EQ(Register(1, kStat, 10), QOR_OK);
    ASSERT_EQ(Add(1, 1), QOR_OK);
    Calls();
    EXPECT_EQ(QOR_PADS_ProcOneStatExcp(Index(1), User(1, 1), health), QOR_OK);
    EXPECT_EQ(Calls(), "") << "no samples";
    Index(1)->stStat.ulStatThreshold = 0;
    EXPECT_EQ(QOR_PADS_ProcOneStatExcp(Index(1), User(1, 1), health), QOR_OK);
    EXPECT_EQ(Calls(), "r1:1 ");
    for (const uint32_t time : {1000u, 999u, 998u, 1000u}) {
        host.uptimeSeconds = time;
        EXPECT_EQ(QOR_PADS_AddStatNode(1, 1, 1, ctx), time == 1000 ? QOR_OK : QOR_FAIL) << time;
    }
    EXPECT_EQ(Asserts(), 2u);
    User(1, 1)->stStatList.ulCount = 4;
    reinterpret_cast<QOR_PADS_STAT_NODE_S *>(User(1, 1)->stStatList.stNode.pstPrev)->ulTime = 2000;
    EXPECT_EQ(QOR_PADS_ProcOneStatExcp(Index(1), User(1, 1), health), QOR_FAIL) << "a later one";
    EXPECT_EQ(Asserts(), 1u);
}

// What a callback does, and what is there afterwards. Released memory is handed out again at once
// in the second round, so that a successor stands where the released user or index was.
TEST_F(PadsTest, CallbacksChangeEverything) {
    const auto delAll = [&](uint32_t) {
        for (uint32_t user = 0; user <= 3; ++user) Delete(1, user);
    };
    const auto anew = [&](uint32_t user) { Delete(1, user), Add(1, user); };
    const auto unReg = [&](uint32_t) { QOR_PADS_UnRegIndex(1, ctx); };
    const auto reReg = [&](uint32_t) { QOR_PADS_UnRegIndex(1, ctx), Register(1, kDa, 0); };
    const auto asStat = [&](uint32_t) {
        QOR_PADS_UnRegIndex(1, ctx), Register(1, kStat), Add(1, 7);
        QOR_PADS_AddStatNode(1, 7, 1, ctx);
    };
    const auto tick = [&](uint32_t) { QOR_PADS_HealthSchedule(kMinType, ctx); };
    const auto add = [&](uint32_t user) { Add(1, user + 10); };
    const auto daSelf = [&](uint32_t user) { QOR_PADS_DelDAUser(Index(2), User(2, user), health); };
    const auto daNext = [&](uint32_t user) {
        if (User(2, user + 1)) QOR_PADS_DelDAUser(Index(2), User(2, user + 1), health);
    };
    const auto daAll = [&](uint32_t) { QOR_PADS_UnRegDA(Index(2), health); };
    const auto daUnReg = [&](uint32_t) { QOR_PADS_UnRegIndex(2, ctx), Register(2, kDa, 0); };
    const auto daAdd = [&](uint32_t user) { AddDa(2, user + 10); };
    const struct {
        char when;  // 'r'ecord, d'a' or 'd'elete callback, the first time that it is called
        std::function<void(uint32_t)> what;
        char call;  // a second or 'm'inute tick, 'D'elete user 1, 'U'nregister 1, 'u'nreg by type
        const char *expire, *da;
    } rows[] = {{'r', delAll, 's', "", "0,1,2"},
                {'r', [&](uint32_t user) { Delete(1, user + 1); }, 's', "", "0,1,2"},
                {'r', [&](uint32_t user) { Delete(1, user); }, 's', "", "0,1,2"},
                {'r', anew, 's', "1", "0,1,2"},
                {'r', unReg, 's', "-", "0,1,2"},
                {'r', reReg, 's', "0", "0,1,2"},
                {'r', add, 's', "11", "0,1,2"},
                {'r', tick, 's', "", "0,1,2"},
                {'a', daSelf, 'm', "1,2,3", "1,2"},
                {'a', daNext, 'm', "1,2,3", "0,2"},
                {'a', daAll, 'm', "1,2,3", ""},
                {'a', daUnReg, 'm', "1,2,3", "0"},
                {'a', daAdd, 'm', "1,2,3", "0,1,2,10"},
                {'a', unReg, 'm', "-", "0,1,2"},
                {'d', delAll, 'D', "", "0,1,2"},
                {'d', unReg, 'D', "-", "0,1,2"},
                {'d', anew, 'D', "1,2,3", "0,1,2"},
                {'d', add, 'U', "-", "0,1,2"},
                {'d', asStat, 'U', "7", "0,1,2"},
                {'d', daAll, 'U', "-", ""},
                {'d', unReg, 'u', "-", "0,1,2"},
                {'d', asStat, 'u', "7", "0,1,2"},
                {'d', delAll, 'u', "", "0,1,2"}};
    for (const bool reuse : {false, true})
        for (const auto &row : rows) {
            SCOPED_TRACE("row " + std::to_string(&row - rows) + (reuse ? ", reuse" : ""));
            host.reuse = reuse;
            host.uptimeSeconds = 1000;
            ASSERT_EQ(Register(1, kExpire, 10), QOR_OK);
            ASSERT_EQ(Register(2, kDa, 0), QOR_OK);
            for (const uint32_t user : {1u, 2u, 3u}) ASSERT_EQ(Add(1, user), QOR_OK);
            for (const uint32_t user : {1u, 2u}) ASSERT_EQ(AddDa(2, user), QOR_OK);
            bool done = false;
            const auto once = [&](char when, uint32_t user) {
                if (when == row.when && !std::exchange(done, true)) row.what(user);
                return 0u;
            };
            onRecord = [&](auto info, auto) { return once('r', info->ulUserId); };
            onDa = [&](uint32_t user) { return once('a', user); };
            onDelUser = [&](auto, uint32_t user) { return once('d', user); };
            const uint32_t result = row.call == 's'   ? Tick(kSecType, 1010)
                                    : row.call == 'm' ? Tick(kMinType, 1000)
                                    : row.call == 'D' ? Delete(1, 1)
                                    : row.call == 'U' ? QOR_PADS_UnRegIndex(1, ctx)
                                                      : QOR_PADS_UnRegExpireExcp(Index(1), health);
            EXPECT_EQ(result, QOR_OK);
            EXPECT_TRUE(done);
            EXPECT_EQ(Users(1), row.expire);
            EXPECT_EQ(Users(2), row.da);
            QOR_PADS_UnRegIndex(1, ctx), QOR_PADS_UnRegIndex(2, ctx);
            EXPECT_EQ(
                health->stMinList.ulCount + health->stSecList.ulCount + health->stDaList.ulCount,
                0u);
            EXPECT_EQ(Timers(), "");
            Asserts();
        }

    // Users of an index that is being released are no longer served.
    onRecord = [](auto, auto) { return 0u; };
    onDa = [](auto) { return 0u; };
    ASSERT_EQ(Register(1, kExpire, 0), QOR_OK);
    ASSERT_EQ(Register(2, kDa, 0), QOR_OK);
    for (const uint32_t user : {1u, 2u}) {
        ASSERT_EQ(Add(1, user), QOR_OK);
        ASSERT_EQ(AddDa(2, user), QOR_OK);
    }
    Calls();
    onDelUser = [&](auto, auto) { return Tick(kMinType, 2000) + Tick(kSecType, 2000); };
    EXPECT_EQ(QOR_PADS_UnRegIndex(2, ctx), QOR_OK);
    EXPECT_EQ(Calls(), "d2:0 r1:1 r1:2 d2:1 d2:2 ");
    ASSERT_EQ(Add(1, 1), QOR_OK);
    EXPECT_EQ(QOR_PADS_UnRegIndex(1, ctx), QOR_OK);
    EXPECT_EQ(Calls(), "d1:1 ");
    ASSERT_EQ(Register(1, kExpire, 0), QOR_OK);
    for (const uint32_t user : {1u, 2u}) ASSERT_EQ(Add(1, user), QOR_OK);
    EXPECT_EQ(QOR_PADS_UnRegIndex(1, ctx), QOR_OK);
    EXPECT_EQ(Calls(), "d1:1 d1:2 ");

    // While the service is de-initialised: nothing is registered any more, and users may come.
    ASSERT_EQ(Register(1, kExpire), QOR_OK);
    ASSERT_EQ(Register(3, kExpire), QOR_OK);
    ASSERT_EQ(Add(1, 1), QOR_OK);
    onDelUser = [&](uint32_t index, uint32_t user) {
        const uint32_t types[] = {1, 2};
        EXPECT_EQ(QOR_PADS_InitHealth(types, ctx) + QOR_PADS_DeInitHealth(ctx), QOR_OK);
        EXPECT_EQ(Register(index + 100, kOnce), QOR_FAIL);
        EXPECT_TRUE(index != 1 || Add(3, user) == QOR_OK);
        return 0u;
    };
    EXPECT_EQ(QOR_PADS_DeInitHealth(ctx), QOR_OK);
    EXPECT_TRUE(ctx->pstHealth == nullptr);
    EXPECT_EQ(Timers(), "");
    // An index that is not registered is recorded as well.
    const uint32_t types[] = {kMinType, kSecType};
    ASSERT_EQ(QOR_PADS_InitHealth(types, ctx), QOR_OK);
    QOR_PADS_INDEX_S own{};
    QOR_PADS_EXCP_INFO_S info{0, 0x100000000, 0, 0};
    const QOR_PADS_ONCE_REG_S reg{"own", nullptr, 0};
    EXPECT_EQ(QOR_PADS_InitIndex(&own, 1, &reg, kOnce), QOR_OK);
    own.stOnce.pfnRecord = [](auto, auto, char *text, auto) { return strcpy(text, "x"), 0u; };
    EXPECT_EQ(QOR_PADS_RecordExcp(&own, &info, own.stOnce.pfnRecord, ctx->pstHealth), QOR_OK);
    EXPECT_TRUE(own.ulRecCount == 1 && own.astRecords[1].szText[0] == 'x');
}

TEST_F(PadsTest, DaUsersAddedMeanwhile) {
    ASSERT_EQ(Register(1, kDa, 0), QOR_OK);
    uint32_t user = 0;
    onDa = [&](uint32_t) { return host.uptimeSeconds++, AddDa(1, ++user), 0u; };
    EXPECT_EQ(Tick(kMinType, 1000), QOR_OK) << "ends, and finds no time that lies ahead";
    EXPECT_EQ(user, 1u);
    EXPECT_EQ(Asserts(), 0u);
}

// Height of the subtree under node, whose links and balance are checked.
int Height(HOST_AVL_NODE_S *node, HOST_AVL_NODE_S *parent) {
    if (!node) return 0;
    const int left = Height(node->pstLeft, node), right = Height(node->pstRight, node);
    EXPECT_TRUE(node->pstParent == parent && std::abs(left - right) <= 1);
    EXPECT_TRUE(node->sLeftHeight == left && node->sRightHeight == right);
    return 1 + std::max(left, right);
}

TEST_F(PadsTest, KeepsWithAModel) {
    struct ModelUser {
        uint64_t added;
        std::vector<std::pair<uint64_t, uint32_t>> samples;
    };
    struct ModelIndex {
        uint32_t type, unit, records;
        std::map<uint32_t, ModelUser> users;
    };
    std::map<uint32_t, ModelIndex> model;
    std::vector<std::pair<uint32_t, uint32_t>> lists[2];  // users by unit, oldest first
    uint64_t now = 1000;
    std::mt19937 random(311);
    const auto drop = [&](uint32_t id, uint32_t user) {
        for (auto &list : lists) std::erase(list, std::pair(id, user));
        model[id].users.erase(user);
    };
    for (int step = 0; step < 120000; ++step) {
        const uint32_t id = static_cast<uint32_t>(random() % 6),
                       user = static_cast<uint32_t>(random() % 40);
        const auto index = model.find(id);
        const bool there = index != model.end();
        const uint32_t type = there ? index->second.type : 99;
        const bool has = there && index->second.users.contains(user);
        const uint32_t what = static_cast<uint32_t>(random() % 100);
        uint32_t expected = QOR_OK;
        if (what < 2) {
            const uint32_t fresh = static_cast<uint32_t>(random() % 4),
                           unit = fresh == kExpire && random() % 2;
            const uint32_t time = unit ? 1 : 20 + (fresh == kStat ? 0 : id);
            EXPECT_EQ(Register(id, fresh, time, static_cast<uint8_t>(unit)),
                      there ? QOR_FAIL : QOR_OK);
            if (!there) model[id] = {fresh, unit, 0, {}};
            if (!there && fresh == kDa) model[id].users[0] = {now, {}};
        } else if (what < 3) {
            EXPECT_EQ(QOR_PADS_UnRegIndex(id, ctx), QOR_OK);
            for (auto &list : lists) std::erase_if(list, [&](auto &u) { return u.first == id; });
            model.erase(id);
        } else if (what < 45) {
            expected = !there || has || type == kDa ? QOR_FAIL : QOR_OK;
            EXPECT_EQ(type == kDa ? AddDa(id, user) : Add(id, user),
                      type == kDa ? (has ? QOR_FAIL : QOR_OK) : expected);
            if (type == kOnce) index->second.records++;
            if (there && !has && type != kOnce) index->second.users[user] = {now, {}};
            if (there && !has && type == kExpire) lists[index->second.unit].emplace_back(id, user);
        } else if (what < 65) {
            if (type == kDa && has)
                EXPECT_EQ(QOR_PADS_DelDAUser(Index(id), User(id, user), health), QOR_OK);
            else
                EXPECT_EQ(Delete(id, user), there ? QOR_OK : QOR_FAIL);
            if (has) drop(id, user);
        } else if (what < 80) {
            EXPECT_EQ(QOR_PADS_AddStatNode(id, user, what % 9, ctx),
                      has && type == kStat ? QOR_OK : QOR_FAIL);
            if (has && type == kStat) {
                auto &samples = index->second.users[user].samples;
                samples.emplace_back(now, what % 9);
                std::erase_if(samples, [&](auto &s) { return now - s.first > 20; });
                uint64_t sum = 0;
                for (auto &[at, value] : samples) sum += std::min<uint64_t>(at + 20 - now, value);
                index->second.records += sum >= 5;
                EXPECT_EQ(User(id, user)->stStatList.ulCount, samples.size());
            }
        } else if (what < 90) {
            host.uptimeSeconds = now += random() % 8;
        } else {
            const bool minute = what < 92;
            uint32_t done = 0;
            for (auto &[daId, da] : model)
                for (auto &[daUser, u] : da.users)
                    if (minute && da.type == kDa && now - u.added >= 60 * (20 + daId))
                        u.added = now, ++done, ++da.records;
            // All that are due, but at most ten in all.
            auto &list = lists[minute];
            std::vector<std::pair<uint32_t, uint32_t>> due;
            for (auto &[i, u] : list)
                if (now - model[i].users[u].added >= (minute ? 60 : 20 + i)) due.emplace_back(i, u);
            EXPECT_EQ(QOR_PADS_HealthSchedule(minute ? kMinType : kSecType, ctx), QOR_OK);
            uint32_t gone = 0;
            for (auto &[i, u] : due)
                if (!User(i, u)) drop(i, u), ++gone, ++model[i].records;
            EXPECT_EQ(gone, done > 9 ? 0 : std::min<size_t>(10 - done, due.size()));
        }
        Calls(), Asserts();
        EXPECT_EQ(health->stIndexTree.ulNodeNum, model.size());
        uint32_t daUsers = 0;
        for (auto &[i, m] : model) {
            ASSERT_TRUE(Index(i)) << step;
            EXPECT_EQ(Index(i)->stUserTree.ulNodeNum, m.users.size());
            EXPECT_EQ(Index(i)->ulRecCount, m.records);
            daUsers += m.type == kDa ? static_cast<uint32_t>(m.users.size()) : 0;
        }
        EXPECT_EQ(User(id, user) != nullptr, model.contains(id) && model[id].users.contains(user));
        EXPECT_EQ(health->stDaList.ulCount, daUsers);
        EXPECT_EQ(health->ulMinTimer != 0, daUsers != 0 || !lists[1].empty());
        EXPECT_EQ(health->ulSecTimer != 0, !lists[0].empty());
        EXPECT_EQ(health->stSecList.ulCount, lists[0].size());
        EXPECT_EQ(health->stMinList.ulCount, lists[1].size());
        if (step % 500 == 0) {
            Height(health->stIndexTree.stTree.pstRoot, nullptr);
            for (auto &[i, m] : model) Height(Index(i)->stUserTree.stTree.pstRoot, nullptr);
            const HOST_DLL_NODE_S *at = health->stSecList.stNode.pstNext;
            for (auto &[i, u] : lists[0]) {
                EXPECT_TRUE(at == &User(i, u)->stLink && at->pstPrev->pstNext == at);
                at = at->pstNext;
            }
        }
        ASSERT_FALSE(HasFailure()) << step;
    }
}

TEST_F(PadsTest, ManyUsers) {
#if defined(__SANITIZE_ADDRESS__)
    constexpr uint32_t kUsers = 200000;
#else
    constexpr uint32_t kUsers = 1000000;
#endif
    ASSERT_EQ(Register(1, kExpire, 1), QOR_OK);
    for (uint32_t n = 0; n < kUsers; ++n) ASSERT_EQ(Add(1, n * 2654435761u), QOR_OK);
    EXPECT_EQ(Tick(kSecType, 1001), QOR_OK);
    EXPECT_EQ(Index(1)->ulRecCount, 10u);
    EXPECT_EQ(Index(1)->stUserTree.ulNodeNum, kUsers - 10);
    for (uint32_t n = 10; n < kUsers; ++n) ASSERT_TRUE(User(1, n * 2654435761u));
    calls.clear();
}

}  // namespace
