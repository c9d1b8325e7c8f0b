// Formatters, address texts, bounded routines and calendar: each row of a table is one case.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

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
    // Room, argument, length of the stored text, whether it is cut, and what is stored.
    const std::tuple<uint32_t, const char *, int32_t, bool, const char *> rows[] = {
        {16, "abc", 4, false, "[abc.#"},     {5, "abc", 4, false, "[abc.#"},
        {4, "abc", 3, true, "[ab.#"},        {1, "abc", 0, true, ".#"},
        {0, "abc", -1, true, "#"},           {5, nullptr, 4, true, "[(nu.#"},
        {8, nullptr, 7, false, "[(null).#"},
    };
    for (const auto &[room, arg, length, cut, stored] : rows) {
        Buffer a, b;
        EXPECT_EQ(HOST_SnprintfTruncated(a.octets, room, "[%s", arg), length);
        EXPECT_EQ(a.First(strlen(stored)), stored);
        // A count beyond the room changes nothing.
        EXPECT_EQ(snprintf_s(b.octets, room, 100, "[%s", arg), cut ? -1 : length);
        EXPECT_EQ(b.First(strlen(stored)), stored);
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

// Expects what the C library makes of the same format, for rooms that cut it anywhere and not at
// all.
[[gnu::format(printf, 1, 2)]] void ExpectAsLibc(const char *fmt, ...) {
    va_list args, again;
    va_start(args, fmt);
    char libc[2500];
    va_copy(again, args);
    const int length = vsnprintf(libc, sizeof libc, fmt, again);
    va_end(again);
    ASSERT_GE(length, 0) << fmt;
    for (int room : {1, 2, length / 2, length, length + 1, length + 9}) {
        if (room < 1) continue;
        const int stored = std::min(length, room - 1);
        std::vector<char> own(static_cast<size_t>(room), '#');
        va_copy(again, args);
        EXPECT_EQ(HOST_VsnprintfTruncated(own.data(), static_cast<uint32_t>(room), fmt, again),
                  stored)
            << fmt << " room " << room;
        va_end(again);
        ASSERT_EQ(own.data(), std::string(libc, static_cast<size_t>(stored)))
            << fmt << " room " << room;
    }
    va_end(args);
}

TEST(Text, FormatsAsTheCLibraryDoes) {
    std::mt19937 random(1);
    const auto pick = [&](const auto &from) { return from[random() % std::size(from)]; };
    const uint32_t widths[] = {12, 12, 12, 120, 1200};  // less than this
    const std::string flags[] = {"", "", "-", "0", "-0", "+"};
    const std::string lengths[] = {"", "", "l", "ll", "h", "z"};
    const char *const texts[] = {"", "a", "label mapping", nullptr};
    const uint64_t numbers[] = {
        0, 1, 9, 10, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, UINT64_C(1) << 63, UINT64_MAX, random()};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    for (int i = 0; i < 20'000; ++i) {
        const char letter = "diuxXsc%"[random() % 8];
        const bool isNumber = strchr("diuxX", letter) != nullptr;
        std::string how = isNumber ? pick(flags) : random() % 2 ? "-" : "";
        if (random() % 2) how += std::to_string(random() % pick(widths));
        if (random() % 3 == 0 && letter != 'c')
            how += "." + std::to_string(random() % pick(widths));
        const std::string length = isNumber ? pick(lengths) : "";
        const std::string fmt =
            letter == '%' ? "a%%b%%" : "PW %" + how + length + letter + ", %u%%";
        const uint64_t number = pick(numbers);
        if (letter == 's')
            ExpectAsLibc(fmt.c_str(), pick(texts), 7U);
        else if (length == "" || length == "h")
            ExpectAsLibc(fmt.c_str(), static_cast<int>(letter == 'c' ? 'x' : number), 7U);
        else
            ExpectAsLibc(fmt.c_str(), number, 7U);
    }
#pragma GCC diagnostic pop
}

TEST(Text, BoundedRoutines) {
    static const char unended[] = {'a', 'b', 'c', 'd', 'e'};  // no further than the room
    const std::tuple<int (*)(char *), bool, const char *> rows[] = {
        {[](char *out) { return memcpy_s(out, 4, "abcd", 4); }, true, "abcd#"},
        {[](char *out) { return memcpy_s(out, 4, "abcd", 0); }, true, "#####"},
        {[](char *out) { return memcpy_s(out, 4, "abcdef", 5); }, false, "....#"},
        {[](char *out) { return memcpy_s(out, 4, nullptr, 0); }, false, "....#"},
        {[](char *out) { return memset_s(out, 4, 'x', 3); }, true, "xxx##"},
        {[](char *out) { return memset_s(out, 4, 'x', 5); }, false, "....#"},
        {[](char *out) { return strcpy_s(out, 4, "abc"); }, true, "abc.#"},
        {[](char *out) { return strcpy_s(out, 4, unended); }, false, ".####"},
        {[](char *out) { return strcpy_s(out, 4, nullptr); }, false, ".####"},
        {[](char *out) { return strcpy_s(out, 0, ""); }, false, "#####"}};
    for (const auto &[call, done, stored] : rows) {
        Buffer out;
        EXPECT_EQ(call(out.octets) == 0, done) << stored;
        EXPECT_EQ(out.First(5), stored);
    }
    EXPECT_NE(memcpy_s(nullptr, 4, "abcd", 4), 0);
    EXPECT_NE(memset_s(nullptr, 4, 'x', 4), 0);
    EXPECT_NE(strcpy_s(nullptr, 4, "a"), 0);
}

TEST(Text, Addresses) {
    const std::pair<uint32_t, std::string> v4[] = {
        {0, "0.0.0.0"}, {0xFFFFFFFF, "255.255.255.255"}, {0x0A096463, "10.9.100.99"}};
    for (const auto &[ip, text] : v4) {
        char out[16];
        HOST_IpAddrToStr(ip, out);
        EXPECT_EQ(out, text);
        for (uint32_t size = 0; size <= 17; size++) {
            Buffer cut;
            HOST_IpAddrToStrEx(ip, cut.octets, size);
            const auto expected = size ? text.substr(0, size - 1) + ".#" : "#";
            EXPECT_EQ(cut.First(expected.size()), expected);
        }
    }
    const std::tuple<uint64_t, uint64_t, std::string> v6[] = {
        {0, 0, "::"},
        {0, 0x0001000000000000, "::1"},
        {0x000000000000FE80, 0, "fe80::"},
        {0x000100000DB82001, 0x0001000100010001, "2001:db8:0:1:1:1:1:1"},  // one group: no "::"
        {0x000000000DB82001, 0x0001000000000001, "2001:db8::1:0:0:1"},     // the first of two runs
        {0, 0x0201C000FFFF0000, "::ffff:192.0.2.1"},
        {0xABCDABCDABCDABCD, 0xABCDABCDABCDABCD, "abcd:abcd:abcd:abcd:abcd:abcd:abcd:abcd"},
    };
    for (const auto &[high, low, text] : v6) {
        char out[40];
        const auto length = static_cast<uint32_t>(text.size());
        EXPECT_EQ(HOST_Inet6Ntoa(high, low, out, length + 1), 0u);
        EXPECT_EQ(out, text);
        EXPECT_NE(HOST_Inet6Ntoa(high, low, out, length), 0u);
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
    const std::tuple<HOST_SYSTIME_S, uint32_t, uint32_t> rows[] = {
        {kT, kEqual, 0},
        {{2024, 2, 29, 23, 59, 59, 0, 599}, kEarlier, 0},
        {{2000, 2, 29, 0, 0, 0, 0, 0}, kEarlier, 0},
        {{2024, 2, 29, 23, 59, 60, 0, 0}, kLater, 0},  // a leap second
        {{2024, 3, 2, 0, 0, 0, 0, 599}, kLater, 86400},
        {{2024, 2, 29, 23, 59, 59, 0, 999}, kLater, 0},
        {{2025, 3, 1, 0, 0, 0, 0, 600}, kLater, 31'536'001},
    };
    const HOST_SYSTIME_S invalid[] = {{1900, 2, 29, 0, 0, 0, 0, 0}, {2024, 4, 31, 0, 0, 0, 0, 0},
                                      {2024, 13, 1, 0, 0, 0, 0, 0}, {2024, 1, 1, 24, 0, 0, 0, 0},
                                      {2024, 1, 1, 0, 60, 0, 0, 0}, {2024, 1, 1, 0, 0, 0, 0, 1000}};
    uint32_t seconds = 0;
    for (const auto &[t2, is, whole] : rows) {
        SCOPED_TRACE(t2.usYear * 100 + t2.ucSecond);
        EXPECT_EQ(HOST_SystimeCompare(&kT, &t2, &seconds), is);
        seconds = 0;
        EXPECT_EQ(HOST_SystimeRelSecCal(&kT, &t2, &seconds) == 0, is != kEarlier);
        EXPECT_EQ(seconds, whole);
    }
    for (const HOST_SYSTIME_S &t : invalid) {
        EXPECT_EQ(HOST_SystimeCompare(&kT, &t, &seconds), kInvalid) << &t - invalid;
        EXPECT_NE(HOST_SystimeRelSecCal(&t, &kT, &seconds), 0u) << &t - invalid;
    }
    const HOST_SYSTIME_S farOff{2200, 1, 1, 0, 0, 0, 0, 0};
    EXPECT_NE(HOST_SystimeRelSecCal(&kT, &farOff, &seconds), 0u) << "more than 32 bits";

    uint32_t high = 0, low = 0;
    EXPECT_EQ(HOST_Div64By32RoundUp(0xFFFFFFFF, 0xFFFFFFFF, 2, &high, &low), 0u);
    EXPECT_EQ(uint64_t{high} << 32 | low, 0x8000000000000000u);
    EXPECT_NE(HOST_Div64By32RoundUp(0, 1, 0, &high, &low), 0u);
}

}  // namespace
