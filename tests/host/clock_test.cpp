#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <thread>

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

}  // namespace
