// Formatters, address texts, bounded routines and calendar: each row of a table is one case.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "qor_host.h"

namespace {

// Octets that tell what a routine wrote: '#' is untouched, '.' stands for NUL.
struct Buffer {
    char octets[64];
    Buffer() { memset(octets, '#', sizeof octets); }
    std::string First(size_t n) const {
        std::string text(octets, n);
        std::replace(text.begin(), text.end(), '\0', '.');
        return text;
    }
};

TEST(Text, FormattersCutAtTheRoom) {
    const struct {
        uint32_t room;
        const char *arg;
        int32_t length;  // of the stored text
        bool cut;
        const char *stored;
    } rows[] = {
        {16, "abc", 4, false, "[abc.#"},     {5, "abc", 4, false, "[abc.#"},
        {4, "abc", 3, true, "[ab.#"},        {1, "abc", 0, true, ".#"},
        {0, "abc", -1, true, "#"},           {5, nullptr, 4, true, "[(nu.#"},
        {8, nullptr, 7, false, "[(null).#"},
    };
    for (const auto &row : rows) {
        Buffer a;
        Buffer b;
        EXPECT_EQ(HOST_SnprintfTruncated(a.octets, row.room, "[%s", row.arg), row.length);
        EXPECT_EQ(a.First(strlen(row.stored)), row.stored);
        // A count beyond the room changes nothing.
        EXPECT_EQ(snprintf_s(b.octets, row.room, 100, "[%s", row.arg), row.cut ? -1 : row.length);
        EXPECT_EQ(b.First(strlen(row.stored)), row.stored);
    }
    Buffer out;
    EXPECT_EQ(snprintf_s(out.octets, 16, 2, "[%s", "abc"), -1) << "cut by the count";
    EXPECT_EQ(out.First(4), "[a.#");
    EXPECT_EQ(snprintf_s(out.octets, 16, 4, "[%s", "abc"), 4);
    EXPECT_EQ(snprintf_s(nullptr, 16, 15, "abc"), -1);
    const wchar_t *noText = L"\u20ac";  // not in the "C" locale
    EXPECT_EQ(snprintf_s(out.octets, 16, 15, "a%ls", noText), -1);
    EXPECT_EQ(HOST_SnprintfTruncated(out.octets, 16, "a%ls", noText), -1);
}

TEST(Text, BoundedRoutines) {
    const struct {
        const char *src;
        size_t n;
        bool done;
        const char *stored;
    } copies[] = {{"abcd", 4, true, "abcd#"},
                  {"abcd", 0, true, "#####"},
                  {"abcdef", 5, false, "....#"},
                  {nullptr, 0, false, "....#"}};
    for (const auto &row : copies) {
        Buffer out;
        EXPECT_EQ(memcpy_s(out.octets, 4, row.src, row.n) == 0, row.done);
        EXPECT_EQ(out.First(5), row.stored);
    }
    EXPECT_NE(memcpy_s(nullptr, 4, "abcd", 4), 0);

    Buffer set;
    EXPECT_EQ(memset_s(set.octets, 4, 'x', 3), 0);
    EXPECT_EQ(set.First(4), "xxx#");
    EXPECT_NE(memset_s(set.octets, 4, 'x', 5), 0);
    EXPECT_EQ(set.First(5), "....#");
    EXPECT_NE(memset_s(nullptr, 4, 'x', 4), 0);

    const char unended[] = {'a', 'b', 'c', 'd'};  // looked at no further than the room
    const struct {
        const char *src;
        size_t room;
        bool done;
        const char *stored;
    } texts[] = {{"abc", 4, true, "abc.#"},
                 {unended, 4, false, ".####"},
                 {nullptr, 4, false, ".####"},
                 {"", 0, false, "#####"}};
    for (const auto &row : texts) {
        Buffer out;
        EXPECT_EQ(strcpy_s(out.octets, row.room, row.src) == 0, row.done);
        EXPECT_EQ(out.First(5), row.stored);
    }
    EXPECT_NE(strcpy_s(nullptr, 4, "a"), 0);
}

TEST(Text, Addresses) {
    const struct {
        uint32_t ip;
        const char *text;
    } v4[] = {{0, "0.0.0.0"}, {0xFFFFFFFF, "255.255.255.255"}, {0x0A096463, "10.9.100.99"}};
    for (const auto &row : v4) {
        char out[16];
        HOST_IpAddrToStr(row.ip, out);
        EXPECT_STREQ(out, row.text);
        for (uint32_t size = 0; size <= 17; size++) {
            Buffer cut;
            HOST_IpAddrToStrEx(row.ip, cut.octets, size);
            const auto expected = size ? std::string(row.text).substr(0, size - 1) + ".#" : "#";
            EXPECT_EQ(cut.First(expected.size()), expected);
        }
    }
    const struct {
        uint64_t groups0to3, groups4to7;
        const char *text;
    } v6[] = {
        {0, 0, "::"},
        {0, 0x0001000000000000, "::1"},
        {0x000000000000FE80, 0, "fe80::"},
        {0x000100000DB82001, 0x0001000100010001, "2001:db8:0:1:1:1:1:1"},  // one group: no "::"
        {0x000000000DB82001, 0x0001000000000001, "2001:db8::1:0:0:1"},     // the first of two runs
        {0, 0x0201C000FFFF0000, "::ffff:192.0.2.1"},
        {0xABCDABCDABCDABCD, 0xABCDABCDABCDABCD, "abcd:abcd:abcd:abcd:abcd:abcd:abcd:abcd"},
    };
    for (const auto &row : v6) {
        char out[40];
        const uint32_t need = static_cast<uint32_t>(strlen(row.text)) + 1;
        EXPECT_EQ(HOST_Inet6Ntoa(row.groups0to3, row.groups4to7, out, need), 0u);
        EXPECT_STREQ(out, row.text);
        EXPECT_NE(HOST_Inet6Ntoa(row.groups0to3, row.groups4to7, out, need - 1), 0u);
    }
}

TEST(Text, ComparesAndSearches) {
    EXPECT_EQ(HOST_MemCmp("a\x7f", "a\x80", 2), -1);
    EXPECT_EQ(HOST_MemCmp("z\x01", "a\xff", 2), 1);
    EXPECT_EQ(HOST_MemCmp("ab", "ac", 1), 0);
    const char path[] = "a/b/c";
    EXPECT_EQ(HOST_StrRChr(path, '/'), path + 3);
    EXPECT_EQ(HOST_StrRChr(path, 'x'), nullptr);
    EXPECT_EQ(HOST_StrLen(path), 5u);
}

TEST(Calendar, ComparesAndDivides) {
    constexpr HOST_SYSTIME_S kT{2024, 2, 29, 23, 59, 59, 0, 600};
    enum : uint32_t { kEqual, kInvalid, kEarlier, kLater };
    const struct {
        HOST_SYSTIME_S t2;
        uint32_t is;
        uint32_t seconds;  // whole ones
    } rows[] = {
        {kT, kEqual, 0},
        {{2024, 2, 29, 23, 59, 59, 0, 599}, kEarlier, 0},
        {{2000, 2, 29, 0, 0, 0, 0, 0}, kEarlier, 0},
        {{2024, 2, 29, 23, 59, 60, 0, 0}, kLater, 0},  // a leap second
        {{2024, 3, 2, 0, 0, 0, 0, 599}, kLater, 86400},
        {{2025, 3, 1, 0, 0, 0, 0, 600}, kLater, 31'536'001},
    };
    const HOST_SYSTIME_S invalid[] = {{1900, 2, 29, 0, 0, 0, 0, 0}, {2024, 4, 31, 0, 0, 0, 0, 0},
                                      {2024, 13, 1, 0, 0, 0, 0, 0}, {2024, 1, 1, 24, 0, 0, 0, 0},
                                      {2024, 1, 1, 0, 60, 0, 0, 0}, {2024, 1, 1, 0, 0, 0, 0, 1000}};
    uint32_t seconds = 0;
    for (const auto &row : rows) {
        EXPECT_EQ(HOST_SystimeCompare(&kT, &row.t2, &seconds), row.is) << &row - rows;
        seconds = 0;
        EXPECT_EQ(HOST_SystimeRelSecCal(&kT, &row.t2, &seconds) == 0, row.is != kEarlier);
        EXPECT_EQ(seconds, row.seconds) << &row - rows;
    }
    for (const HOST_SYSTIME_S &t : invalid) {
        EXPECT_EQ(HOST_SystimeCompare(&kT, &t, &seconds), kInvalid) << &t - invalid;
        EXPECT_NE(HOST_SystimeRelSecCal(&t, &kT, &seconds), 0u) << &t - invalid;
    }
    const HOST_SYSTIME_S farOff{2200, 1, 1, 0, 0, 0, 0, 0};
    EXPECT_NE(HOST_SystimeRelSecCal(&kT, &farOff, &seconds), 0u) << "more than 32 bits";

    uint32_t high = 0;
    uint32_t low = 0;
    EXPECT_EQ(HOST_Div64By32RoundUp(0xFFFFFFFF, 0xFFFFFFFF, 2, &high, &low), 0u);
    EXPECT_EQ(uint64_t{high} << 32 | low, 0x8000000000000000u);
    EXPECT_NE(HOST_Div64By32RoundUp(0, 1, 0, &high, &low), 0u);
}

}  // namespace
