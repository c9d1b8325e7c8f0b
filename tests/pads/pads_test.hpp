// What the tests of the health service share: scripts of commands, and what these must lead to.
#pragma once

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>  // IWYU pragma: export
#include <sstream>
#include <utility>

#include "qor_pads.h"         // IWYU pragma: export
#include "test_platform.hpp"  // IWYU pragma: export

namespace qor::test {

constexpr uint32_t kMinType = 31, kSecType = 32;
constexpr uint32_t kOnce = QOR_PADS_EXCP_ONCE, kExpire = QOR_PADS_EXCP_EXPIRE;
constexpr uint32_t kStat = QOR_PADS_EXCP_STAT, kDa = QOR_PADS_EXCP_DA;

class PadsTest : public PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        host.uptimeSeconds = 1000;
        host.systemSeconds = 1772719629;  // 2026-03-05 14:07:09
        const QOR_PADS_S cfg{reinterpret_cast<uintptr_t>(this), 5, 6, 0x700000007, nullptr};
        ctx = QOR_PADS_InitPads(&cfg);
        const uint32_t types[] = {kMinType, kSecType};
        ASSERT_EQ(QOR_PADS_InitHealth(types, ctx), QOR_OK);
        health = ctx->pstHealth;
    }
    void TearDown() override {
        EXPECT_EQ(QOR_PADS_DeInitPads(ctx), QOR_OK);
        EXPECT_TRUE(host.timers.empty());
        PlatformTest::TearDown();
    }
    // Registers an index; time is the expire time, the window or the period.
    uint32_t Register(uint32_t id, uint32_t type, uint32_t time = 0, uint8_t unit = 0) {
        const auto t16 = static_cast<uint16_t>(time);
        const QOR_PADS_ONCE_REG_S once{"once", Record, 0};
        const QOR_PADS_EXPIRE_REG_S expire{"expire", t16, unit, Record, DelUser};
        const QOR_PADS_STAT_REG_S stat{"stat", time, threshold, 1, unit, Record, DelUser};
        const QOR_PADS_DA_REG_S da{"da", time, 9, Da, DelUser};
        return type == kOnce     ? QOR_PADS_RegOnceExcp(id, &once, ctx)
               : type == kExpire ? QOR_PADS_RegExpireExcp(id, &expire, ctx)
               : type == kStat   ? QOR_PADS_RegStatExcp(id, &stat, ctx)
                                 : QOR_PADS_RegDA(id, &da, ctx);
    }
    QOR_PADS_INDEX_S *Index(uint32_t id) { return QOR_PADS_GetIndexById(id, ctx); }
    QOR_PADS_USER_S *User(uint32_t index, uint32_t id) {
        return Index(index) ? QOR_PADS_GetUserById(Index(index), id, health) : nullptr;
    }
    bool IsDa(uint32_t index) { return Index(index) && Index(index)->ulIndexType == kDa; }
    uint32_t Add(uint32_t index, uint32_t user) {
        return IsDa(index) ? QOR_PADS_AddDAUser(Index(index), user, user + kData, health)
                           : QOR_PADS_AddExcpUser(index, user, user + kData, ctx);
    }
    uint32_t Delete(uint32_t index, uint32_t user) {
        return IsDa(index) && User(index, user)
                   ? QOR_PADS_DelDAUser(Index(index), User(index, user), health)
                   : QOR_PADS_DelExcpUser(index, user, ctx);
    }
    uint32_t Process(uint32_t index, uint32_t user) {
        return QOR_PADS_ProcOneStatExcp(Index(index), User(index, user), health);
    }
    size_t Asserts() {
        for (const auto &report : host.asserts) EXPECT_EQ(report.file, "qor_pads");
        return std::exchange(host.asserts, {}).size();
    }

    // Runs commands, each a letter and numbers. "r:a1,2" has the next record callback run a1,2; so
    // do "a:" for the DA and "d:" for the delete callback. "vr5,7" has the record callback answer 5
    // for user 7, "vr5" for others, "v" takes all answers back. Logs results other than 0
    // ("f" for QOR_FAIL), "!" per report, and each callback with index and user.
    void Run(const std::string &script) {
        std::istringstream in(script);
        for (std::string token; in >> token;) {
            uint32_t n[3]{}, user = kOthers;
            if (token[1] == ':') {
                on[token[0]] += token.substr(2) + ' ';
            } else if (token == "v") {
                answers.clear();
            } else if (token[0] == 'v') {
                sscanf(&token[2], "%u,%u", n, &user);
                answers[{token[1], user}] = n[0];
            } else {
                sscanf(&token[1], "%u,%u,%u", n, n + 1, n + 2);
                const uint32_t result = commands.at(token[0])(n[0], n[1], n[2]);
                log.append(Asserts(), '!');
                if (result) log += result == QOR_FAIL ? "f" : std::to_string(result);
            }
        }
    }
    void Does(const std::string &script, const std::string &state) {
        Run(script);
        EXPECT_EQ(State(), state) << script;
    }
    // Rows of a script and a state, each behind what comes first and without what others left.
    void Rows(const std::string &first,
              const std::vector<std::pair<std::string, std::string>> &rows) {
        for (const auto &[script, state] : rows) {
            threshold = 5;
            Run("@1000 " + first);
            Does(script, state);
            Run("v u1 u2");
            log.clear();
            EXPECT_EQ(State(), "|") << script;
        }
    }
    // The log; each index with its users, their samples, "*" where a scan goes on, and its records;
    // the timers.
    std::string State() {
        std::string state = std::exchange(log, "") + "|";
        for (auto *i = QOR_PADS_GetFirstIndex(health); i; i = QOR_PADS_GetNextIndex(i, health)) {
            state += ' ' + std::to_string(i->ulIndexId) + ':';
            for (auto *u = QOR_PADS_GetFirstUser(i, health); u;
                 u = QOR_PADS_GetNextUser(i, u, health)) {
                state += (state.back() == ':' ? "" : ",") + std::to_string(u->ulUserId);
                if (const uint32_t samples = u->stStatList.ulCount)
                    state += '(' + std::to_string(samples) + ')';
                for (const auto *link : {health->pstMinCurNode, health->pstSecCurNode})
                    if (link == &u->stLink) state += '*';
            }
            if (i->ulRecCount) state += '#' + std::to_string(i->ulRecCount);
        }
        for (const Timer &t : host.timers) {
            const bool minute = t.handle == health->ulMinTimer;
            EXPECT_TRUE(t.owner == 0x700000007 && t.param == 0 && t.ten == 10 && t.periodic);
            EXPECT_EQ(t.type, minute ? kMinType : kSecType);
            EXPECT_EQ(t.interval, minute ? 60u : 1u);
        }
        EXPECT_EQ(host.timers.size(), (health->ulMinTimer != 0) + (health->ulSecTimer != 0));
        return state + (health->ulMinTimer ? " M" : "") + (health->ulSecTimer ? " S" : "");
    }

    static constexpr decltype(&QOR_PADS_UnRegDA) kUnReg[] = {
        QOR_PADS_UnRegOnceExcp, QOR_PADS_UnRegExpireExcp, QOR_PADS_UnRegStatExcp, QOR_PADS_UnRegDA};
    using U = uint32_t;
    const std::map<char, std::function<U(U, U, U)>> commands{
        {'@', [&](U n, U, U) { return host.uptimeSeconds = n, 0; }},
        {'c', [&](U n, U, U) { return threshold = n, 0; }},
        {'o', [&](U id, U, U) { return Register(id, kOnce); }},
        {'x',
         [&](U id, U n, U unit) { return Register(id, kExpire, n, static_cast<uint8_t>(unit)); }},
        {'s',
         [&](U id, U n, U unit) { return Register(id, kStat, n, static_cast<uint8_t>(unit)); }},
        {'D', [&](U id, U n, U) { return Register(id, kDa, n); }},
        {'u', [&](U id, U, U) { return QOR_PADS_UnRegIndex(id, ctx); }},
        {'U', [&](U id, U, U) { return kUnReg[Index(id)->ulIndexType](Index(id), health); }},
        {'a', [&](U id, U user, U) { return Add(id, user); }},
        {'d', [&](U id, U user, U) { return Delete(id, user); }},
        {'n', [&](U id, U user, U value) { return QOR_PADS_AddStatNode(id, user, value, ctx); }},
        {'p', [&](U id, U user, U) { return Process(id, user); }},
        {'t', [&](U type, U, U) { return QOR_PADS_HealthSchedule(type ? type : kSecType, ctx); }},
        {'m', [&](U, U, U) { return QOR_PADS_HealthSchedule(kMinType, ctx); }}};

    QOR_PADS_S *ctx = nullptr;
    QOR_PADS_HEALTH_S *health = nullptr;
    std::string log;
    std::map<char, std::string> on;  // what callbacks run
    std::map<std::pair<char, uint32_t>, uint32_t> answers;
    std::string recorded;                     // that the record callback writes
    std::function<void(uint32_t)> onDelUser;  // what else the delete callback does
    uint32_t threshold = 5;                   // of what is registered
    uint32_t frequent = 0;                    // what the last record callback was told

  private:
    static constexpr uint32_t kOthers = ~0u;
    static constexpr uint64_t kData = 0x100000000;

    static PadsTest &Of(uint64_t handle) { return *reinterpret_cast<PadsTest *>(handle); }
    uint32_t Called(char what, uint32_t index, uint32_t user, uint32_t sum = 0) {
        log += what + std::to_string(index) + '.' + std::to_string(user) +
               (sum ? '/' + std::to_string(sum) : "") + ' ';
        Run(std::exchange(on[what], ""));
        const auto own = answers.find({what, user});
        return own != answers.end() ? own->second : answers[{what, kOthers}];
    }
    static uint32_t Record(uint32_t index, QOR_PADS_EXCP_INFO_S *info, char *out, uint64_t handle) {
        EXPECT_EQ(std::string(out, QOR_PADS_TEXT_LEN), std::string(QOR_PADS_TEXT_LEN, '\0'));
        EXPECT_EQ(uint64_t{info->pUserData}, info->ulUserId + kData);
        PadsTest &self = Of(handle);
        self.frequent = info->ulFreqFlag;
        memcpy(out, self.recorded.data(), self.recorded.size());
        return self.Called('r', index, info->ulUserId, info->ulStatSum);
    }
    static uint32_t Da(uint32_t index, uint64_t data, uint64_t handle) {
        return Of(handle).Called('a', index, static_cast<uint32_t>(data));
    }
    static uint32_t DelUser(uint32_t index, uint32_t user, uint64_t data, uint64_t handle) {
        PadsTest &self = Of(handle);
        EXPECT_EQ(static_cast<uint32_t>(data), user);
        EXPECT_EQ(self.User(index, user), nullptr) << "told when it is gone";
        if (self.onDelUser) self.onDelUser(index);
        return self.Called('d', index, user);
    }
};

}  // namespace qor::test
