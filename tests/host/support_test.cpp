// What other tests rely on in their platform: failing allocations, and leaks that are told.
#include <gtest/gtest-spi.h>

#include <cstring>

#include "test_platform.hpp"

namespace qor::test {
namespace {

TEST_F(PlatformTest, FailsTheChosenAllocationOnly) {
    host.FailAllocation(2);
    void *first = HOST_MemAllocBySid(7, 3, 42);
    EXPECT_EQ(HOST_MemAlloc(7, g_aucHostMemPt[2], 8, "qor_x", 5), nullptr);
    void *third = HOST_MemAlloc(7, g_aucHostMemPt[2], 8, "qor_x", 6);
    ASSERT_TRUE(first && third);
    EXPECT_EQ(memcmp(first, "\xA5\xA5\xA5", 3), 0);
    EXPECT_EQ(host.allocationCalls, 3u);
    EXPECT_EQ(host.allocations.size(), 2u);
    HOST_MemFree(first, "", 0);
    HOST_MemFree(third, "", 0);
    EXPECT_NONFATAL_FAILURE(HOST_MemFree(&host, "", 0), "no live block");
}

TEST_F(PlatformTest, TellsLeaksWhoeverResets) {
    struct Leaky : PlatformTest {
        using PlatformTest::SetUp;
        using PlatformTest::TearDown;
        void TestBody() override {}
    };
    static Leaky leaky;
    leaky.SetUp();
    void *p = HOST_MemAllocBySid(7, 3, 42);
    host.Reset();
    EXPECT_NONFATAL_FAILURE(leaky.TearDown(), "3 octets, module 7, tag 42");
    HOST_MemFree(p, "", 0);
}

}  // namespace
}  // namespace qor::test
