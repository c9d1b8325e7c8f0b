#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/host/qor_host_calendar.hpp"
#include "qor_host_posix.h"

namespace {

using Reader = uint32_t (*)(uint32_t *, uint32_t *);

uint64_t Read(Reader reader) {
    uint32_t high = 0xAAAAAAAA, low = 0xAAAAAAAA;
    EXPECT_EQ(reader(&high, &low), 0u);
    return uint64_t{high} << 32 | low;
}

uint32_t CpuMs(uint32_t *high, uint32_t *low) {
    HOST_GetCpuTick(high, low);
    return HOST_CpuTick2Ms(*high, *low, high, low);
}

TEST(Clock, AgesAdvanceWithTime) {
    uint32_t high = 1, ticks = 0, sec = 0, micro = 1'000'000;
    EXPECT_EQ(HOST_TickMs2Tick(0, 30, &high, &ticks), 0u);
    EXPECT_EQ(high, 0u);
    EXPECT_TRUE(HOST_SecondNow(&sec, &micro) == 0 && micro < 1'000'000);
    const uint64_t tick = Read(HOST_TickGet), ms = Read(CpuMs);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_GE(Read(HOST_TickGet) - tick + 1, ticks);
    EXPECT_GE(Read(CpuMs) - ms + 1, 30u);
    EXPECT_LT(Read(CpuMs) - ms, 3000u);
}

TEST(Clock, SecondsAreThoseOfTheSystem) {
    EXPECT_LE(Read(HOST_GetSystemTime) - static_cast<uint64_t>(time(nullptr)) + 1, 2u);
    double uptime = 0;
    std::ifstream("/proc/uptime") >> uptime;
    EXPECT_NEAR(static_cast<double>(Read(HOST_GetUptimeSec)), uptime, 2);
}

TEST(Clock, DatesFollowTheZone) {
    setenv("TZ", "XST-2XDT,M3.5.0/3,M10.5.0/4", 1);
    tzset();
    const std::pair<uint32_t, HOST_SYSTIME_S> rows[] = {
        {0, {1970, 1, 1, 2, 0, 0, 4, 0}},
        {1772719629, {2026, 3, 5, 16, 7, 9, 4, 0}},
        {1782910800, {2026, 7, 1, 16, 0, 0, 3, 0}},  // summer time
        {UINT32_MAX, {2106, 2, 7, 8, 28, 15, 0, 0}},
    };
    uint32_t high = 1, low = 1;
    for (const auto &[seconds, date] : rows) {
        HOST_SYSTIME_S t{};
        EXPECT_EQ(HOST_SystimeSec2Time(seconds, &t), 0u);
        EXPECT_EQ(HOST_SystimeCompare(&t, &date, &low), 0u) << seconds;
        EXPECT_EQ(t.ucWeekDay, date.ucWeekDay) << seconds;
        EXPECT_EQ(HOST_SystimeSecSince1970(&t, &high, &low), 0u);
        EXPECT_EQ(uint64_t{high} << 32 | low, seconds);
    }
    for (const HOST_SYSTIME_S &refused :
         {HOST_SYSTIME_S{2026, 2, 29, 0, 0, 0, 0, 0}, HOST_SYSTIME_S{1969, 12, 31, 0, 0, 0, 0, 0}})
        EXPECT_NE(HOST_SystimeSecSince1970(&refused, &high, &low), 0u);

    HOST_SYSTIME_S gmt{}, local{};
    EXPECT_TRUE(HOST_GmtSystimeGet(&gmt) == 0 && HOST_SystimeGet(&local) == 0);
    EXPECT_EQ(HOST_SystimeRelSecCal(&gmt, &local, &low), 0u);
    EXPECT_TRUE(low % 3600 <= 1 && (low / 3600 == 2 || low / 3600 == 3)) << low;
    unsetenv("TZ");
    tzset();
}

// The platform's own calendar against the C library's.
TEST(Clock, CalendarIsThatOfTheCLibrary) {
    constexpr int64_t kYear1 = -62135596800, kYear10000 = 253402300800;
    std::vector<int64_t> rows{kYear1, -1, 0, 68169599, 68169600, 951782400, kYear10000 - 1};
    std::mt19937_64 random(7);
    for (int i = 0; i < 20'000; i++)
        rows.push_back(std::uniform_int_distribution(kYear1, kYear10000 - 1)(random));
    for (const int64_t row : rows) {
        HOST_SYSTIME_S own{}, libc{};
        tm broken{};
        int64_t ms = 0;
        const time_t seconds = row;
        gmtime_r(&seconds, &broken);
        qor::host::FromTm(broken, 7, &libc);
        ASSERT_TRUE(qor::host::FromSeconds(row, 7, &own)) << row;
        ASSERT_EQ(memcmp(&own, &libc, sizeof own), 0) << row;
        ASSERT_TRUE(qor::host::ToMilliseconds(own, &ms) && ms == row * 1000 + 7) << row;
    }
    HOST_SYSTIME_S unused{};
    for (const int64_t refused : {INT64_MIN, kYear1 - 1, kYear10000, INT64_MAX})
        EXPECT_FALSE(qor::host::FromSeconds(refused, 0, &unused)) << refused;
}

}  // namespace
