// What the tests of the health service share: a context whose callbacks are functions of the test.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qor_pads.h"
#include "test_platform.hpp"

namespace qor::test {

constexpr uint32_t kMinType = 31, kSecType = 32;

class PadsTest : public PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        host.uptimeSeconds = 1000;
        host.systemSeconds = 1772719629;  // 2026-03-05 14:07:09
        const QOR_PADS_S cfg{reinterpret_cast<uintptr_t>(this), 5, 6, 0x700000007, nullptr};
        ctx = QOR_PADS_InitPads(&cfg);
        ASSERT_NE(ctx, nullptr);
        const uint32_t types[] = {kMinType, kSecType};
        ASSERT_EQ(QOR_PADS_InitHealth(types, ctx), QOR_OK);
        health = ctx->pstHealth;
    }
    void TearDown() override {
        EXPECT_EQ(QOR_PADS_DeInitPads(ctx), QOR_OK);
        EXPECT_TRUE(host.timers.empty());
        PlatformTest::TearDown();
    }
    // Registers an index; time is the expire time, the window or the period, 5 the threshold.
    uint32_t Register(uint32_t id, uint32_t type, uint32_t time = 10, uint8_t unit = 0) {
        const auto t16 = static_cast<uint16_t>(time);
        const QOR_PADS_ONCE_REG_S once{"once", Record, 0};
        const QOR_PADS_EXPIRE_REG_S expire{"expire", t16, unit, Record, DelUser};
        const QOR_PADS_STAT_REG_S stat{"stat", time, 5, 1, unit, Record, DelUser};
        const QOR_PADS_DA_REG_S da{"da", time, 9, Da, DelUser};
        return type == QOR_PADS_EXCP_ONCE     ? QOR_PADS_RegOnceExcp(id, &once, ctx)
               : type == QOR_PADS_EXCP_EXPIRE ? QOR_PADS_RegExpireExcp(id, &expire, ctx)
               : type == QOR_PADS_EXCP_STAT   ? QOR_PADS_RegStatExcp(id, &stat, ctx)
                                              : QOR_PADS_RegDA(id, &da, ctx);
    }
    uint32_t Add(uint32_t index, uint32_t user) {
        return QOR_PADS_AddExcpUser(index, user, user + 0x100000000, ctx);
    }
    uint32_t AddDa(uint32_t index, uint32_t user) {
        return QOR_PADS_AddDAUser(Index(index), user, user + 0x100000000, health);
    }
    uint32_t Delete(uint32_t index, uint32_t user) {
        return QOR_PADS_DelExcpUser(index, user, ctx);
    }
    uint32_t Tick(uint32_t type, uint64_t at) {
        host.uptimeSeconds = at;
        return QOR_PADS_HealthSchedule(type, ctx);
    }
    QOR_PADS_INDEX_S *Index(uint32_t id) { return QOR_PADS_GetIndexById(id, ctx); }
    QOR_PADS_USER_S *User(uint32_t index, uint32_t id) {
        return Index(index) ? QOR_PADS_GetUserById(Index(index), id, health) : nullptr;
    }
    // The users of an index that is there, e.g. "1,4".
    std::string Users(uint32_t index) {
        std::string ids;
        if (!Index(index)) return "-";
        for (auto *user = QOR_PADS_GetFirstUser(Index(index), health); user;
             user = QOR_PADS_GetNextUser(Index(index), user, health))
            ids += (ids.empty() ? "" : ",") + std::to_string(user->ulUserId);
        return ids;
    }
    // What was called since the last time.
    std::string Calls() { return std::exchange(calls, ""); }
    size_t Asserts() {
        for (const auto &report : host.asserts) EXPECT_EQ(report.file, "qor_pads");
        return std::exchange(host.asserts, {}).size();
    }
    // Type and period of the armed timers.
    std::string Timers() {
        std::string text;
        for (const Timer &t : host.timers) {
            EXPECT_TRUE(t.owner == 0x700000007 && t.param == 0 && t.ten == 10 && t.periodic);
            text += std::to_string(t.type) + "/" + std::to_string(t.interval) + " ";
        }
        return text;
    }

    QOR_PADS_S *ctx = nullptr;
    QOR_PADS_HEALTH_S *health = nullptr;
    std::string calls;
    std::function<uint32_t(QOR_PADS_EXCP_INFO_S *, char *)> onRecord = [](auto, char *) {
        return 0;
    };
    std::function<uint32_t(uint32_t)> onDa = [](uint32_t) { return 0; };
    std::function<uint32_t(uint32_t, uint32_t)> onDelUser = [](uint32_t, uint32_t) { return 0; };

  private:
    static PadsTest &Of(uint64_t handle) { return *reinterpret_cast<PadsTest *>(handle); }
    void Called(char what, uint32_t index, uint64_t data) {
        calls +=
            what + std::to_string(index) + ":" + std::to_string(static_cast<uint32_t>(data)) + " ";
    }
    static uint32_t Record(uint32_t index, QOR_PADS_EXCP_INFO_S *info, char *text,
                           uint64_t handle) {
        EXPECT_EQ(std::string(text, QOR_PADS_TEXT_LEN), std::string(QOR_PADS_TEXT_LEN, '\0'));
        EXPECT_EQ(uint64_t{info->pUserData}, info->ulUserId + 0x100000000);
        Of(handle).Called('r', index, info->pUserData);
        return Of(handle).onRecord(info, text);
    }
    static uint32_t Da(uint32_t index, uint64_t data, uint64_t handle) {
        Of(handle).Called('a', index, data);
        return Of(handle).onDa(static_cast<uint32_t>(data));
    }
    static uint32_t DelUser(uint32_t index, uint32_t user, uint64_t data, uint64_t handle) {
        EXPECT_TRUE(static_cast<uint32_t>(data) == user);
        Of(handle).Called('d', index, data);
        return Of(handle).onDelUser(index, user);
    }
};

}  // namespace qor::test
