// Time helpers. The platform has one tick per millisecond.
#include "qor_systime.h"

#include <algorithm>

#include "test_platform.hpp"

namespace {

using TimeTest = qor::test::PlatformTest;

// An end in front of its start is reported; what takes more than 32 bits is not told.
TEST_F(TimeTest, Intervals) {
    const uint32_t words[] = {0, 1, 2, 5, 6, UINT32_MAX - 1, UINT32_MAX};
    for (size_t i = 0; i < 7 * 7 * 7 * 7; i++) {
        const uint32_t w[] = {words[i % 7], words[i / 7 % 7], words[i / 49 % 7], words[i / 343]};
        const uint64_t start = uint64_t{w[0]} << 32 | w[1], end = uint64_t{w[2]} << 32 | w[3];
        host.asserts.clear();
        EXPECT_EQ(QOR_TIME_CalcTimeInterval(w[0], w[1], w[2], w[3]),
                  end < start ? UINT32_MAX : std::min<uint64_t>(end - start, UINT32_MAX))
            << i;
        EXPECT_EQ(host.asserts.size(), end < start ? 1u : 0u) << i;
    }
}

TEST_F(TimeTest, Clocks) {
    uint32_t high = 0, low = 0;
    EXPECT_EQ(QOR_TIME_GetSysTime(), 1772719629u);
    host.time = {2106, 2, 7, 6, 28, 17, 0, 0};  // 2^32 + 1 seconds
    EXPECT_EQ(QOR_TIME_GetSysTime(), 1u);
    for (const uint64_t ms : {0x0ul, 0x1ul, 0x3E8ul, 0x3E9ul, 0x3E700000001ul}) {
        host.ticks = ms;
        EXPECT_EQ(QOR_TIME_GetCpuTickTimeSec(), ms / 1000 + (ms % 1000 != 0));
    }
    for (const uint32_t failure : {0u, 7u}) {
        host.clockResult = failure;
        for (const auto get : {QOR_TIME_GetCpuTickTimeMs, QOR_TIME_GetTickTime})
            EXPECT_TRUE(get(&high, &low) == failure && high == 0x3E7 && low == 1);
        EXPECT_EQ(host.asserts.size(), failure == 0 ? 0u : 2u);
    }
    EXPECT_EQ(QOR_TIME_GetMs2TickTime(3, 4, &high, &low), 7u);  // not reported
    EXPECT_EQ(QOR_TIME_GetSysTime(), 0u);
    EXPECT_EQ(QOR_TIME_GetCpuTickTimeSec(), 0u);
    EXPECT_EQ(host.asserts.size(), 4u);
    host.clockResult = 0;
    EXPECT_EQ(QOR_TIME_GetMs2TickTime(3, 4, &high, &low), QOR_OK);
    EXPECT_TRUE(high == 3 && low == 4);
    host.time.ucMonth = 13;
    EXPECT_EQ(QOR_TIME_GetSysTime(), 0u);
    EXPECT_EQ(host.asserts.size(), 5u);
}

TEST_F(TimeTest, RelativeSeconds) {
    HOST_SYSTIME_S times[] = {host.time, host.time, host.time};
    times[1].ucDay++;
    times[2].ucMonth = 0;
    const uint32_t rows[][5] = {{0, 0, 0, 0, 0}, {0, 2, 0, 1, 0},     {2, 1, 0, 1, 0},
                                {1, 0, 0, 2, 0}, {0, 1, 0, 0, 86400}, {0, 1, 5, 5, 9}};
    for (const auto &[t1, t2, failure, told, seconds] : rows) {
        uint32_t got = 9;
        host.clockResult = failure;
        EXPECT_EQ(QOR_TIME_GetSystimeRelSecCal(&times[t1], &times[t2], &got), told);
        EXPECT_EQ(got, seconds);
    }
    EXPECT_TRUE(host.asserts.empty());
}

}  // namespace
