// Memory accounts and assertion reports of the default platform.
#include <gtest/gtest.h>

#include <barrier>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "qor_host_posix.h"

namespace {

// Live blocks, live octets, peak, allocations and failures; empty without an account.
std::vector<uint64_t> Counts(uint64_t module) {
    HOST_POSIX_MEM_STAT_S s{};
    if (HOST_POSIX_MemStat(module, &s) != 0) return {};
    EXPECT_EQ(s.ullModuleId, module);
    return {s.ullLiveBlocks, s.ullLiveOctets, s.ullPeakOctets, s.ullAllocations, s.ullFailures};
}

using List = std::vector<uint64_t>;
using LiveBlocks = std::map<uint64_t, uint64_t>;  // by module

// One test, in this order: accounts stay, and the last step uses all of them up.
TEST(Memory, IsCountedPerModule) {
    for (const uint64_t module : {uint64_t{0}, uint64_t{9}, uint64_t{0xFFFFFFFF00000001}}) {
        EXPECT_EQ(Counts(module), List{});
        void *a = HOST_MemAlloc(module, g_aucHostMemPt[2], 100, "qor_x", 1);
        void *b = HOST_MemAllocBySid(module, 28, 42);
        ASSERT_TRUE(a && b);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % alignof(std::max_align_t), 0u);
        HOST_MemFree(a, "qor_x", 2);
        void *c = HOST_MemAllocBySid(module, 0, 43);
        EXPECT_NE(c, nullptr);
        EXPECT_EQ(Counts(module), (List{2, 28, 128, 3, 0}));
        HOST_MemFree(b, "qor_x", 3);
        HOST_MemFree(c, "qor_x", 4);
        HOST_MemFree(nullptr, "qor_x", 5);
        EXPECT_EQ(Counts(module), (List{0, 0, 128, 3, 0}));
    }

    // Threads open the same accounts at once, more of them than there is room for; each leaves one
    // block of each module behind.
    constexpr uint64_t kModules = 300;
    std::vector<std::vector<void *>> left(4);
    std::barrier together(static_cast<ptrdiff_t>(left.size()));
    std::vector<std::thread> threads;
    for (auto &blocks : left) {
        threads.emplace_back([&] {
            for (uint64_t i = 0; i < kModules * 20; i++) {
                if (i < kModules) together.arrive_and_wait();
                void *p = HOST_MemAllocBySid(1000 + i % kModules, 8, 1);
                if (i < kModules)
                    blocks.push_back(p);
                else
                    HOST_MemFree(p, "", 0);
            }
        });
    }
    for (auto &thread : threads) thread.join();
    LiveBlocks live;
    const auto note = [](void *user, const HOST_POSIX_MEM_STAT_S *s) {
        EXPECT_TRUE(
            static_cast<LiveBlocks *>(user)->emplace(s->ullModuleId, s->ullLiveBlocks).second);
        EXPECT_EQ(s->ullLiveOctets, s->ullLiveBlocks * 8);
    };
    HOST_POSIX_MemWalk(note, &live);
    EXPECT_EQ(live.size(), 257u) << "255 places, id 0 and the others";
    for (const auto &[module, blocks] : live) {
        const bool own = module >= 1000 && module < 1000 + kModules;
        const bool others = module == HOST_POSIX_MEM_OTHERS;  // 253 found a place beside the two
        EXPECT_EQ(blocks, own ? 4 : others ? 4 * (kModules - 253) : 0) << module;
    }
    for (const auto &blocks : left)
        for (void *p : blocks) HOST_MemFree(p, "", 0);
    EXPECT_EQ(Counts(HOST_POSIX_MEM_OTHERS)[0], 0u);
}

TEST(Assert, IsReportedAndCounted) {
    const uint64_t before = HOST_POSIX_AssertCount();
    testing::internal::CaptureStderr();
    HOST_Assert("qor_base", 12, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "assertion failed: qor_base:12\n");

    std::string report;
    const auto note = [](void *user, const char *file, uint32_t line) {
        *static_cast<std::string *>(user) += file + std::to_string(line);
    };
    HOST_POSIX_AssertSink(note, &report);
    alignas(16) char foreign[64] = {};
    HOST_MemFree(foreign + 32, "qor_x", 77);  // not freed, and reported with the caller's place
    HOST_POSIX_AssertSink(nullptr, nullptr);
    EXPECT_EQ(report, "qor_x77");
    EXPECT_EQ(HOST_POSIX_AssertCount(), before + 2);
}

}  // namespace
