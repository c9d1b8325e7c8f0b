// Debug output.
#include "qor_dbg.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include "test_platform.hpp"

using namespace qor::test;

namespace {

constexpr const char *kFormats[] = {"%s%s", "\r\n%s", "\n\r\n%s", "\n\n%s", "\r%s", nullptr, "%lc"};
enum : uint32_t { kNull = 5, kBad, kEnd };

class DbgTest : public PlatformTest {
  protected:
    void SetUp() override { PlatformTest::SetUp(), ctx = QOR_DBG_Init(&cfg, this); }
    void TearDown() override { QOR_DBG_DeInit(ctx), PlatformTest::TearDown(); }

    // Does what each word says: o Output, i WriteAndOutputBuffer, w WriteBuffer, a Append, f flush,
    // with type 0 when in upper case; then the text, x100^x for 100 x, CR and one x. Tells of each
    // the pieces in the same way, behind ( on the console; what waits; ! for each report.
    std::string Do(const std::string &script) {
        std::istringstream words(script);
        std::string told;
        for (std::string word; words >> word;) {
            std::string s;
            for (char *at = &word[1]; *at;) {
                const char c = *at == '^' ? '\r' : *at;
                s.append(std::max(strtoul(at + 1, &at, 10), 1ul), c);
            }
            const uint32_t type = islower(word[0]) ? 9 : 0;
            const int what = tolower(word[0]);
            if (what == 'o') QOR_DBG_Output(ctx, type, "%s", s.c_str());
            if (what == 'i') QOR_DBG_WriteAndOutputBuffer(ctx, type, index, s.c_str(), "");
            if (what == 'w') QOR_DBG_WriteBuffer(ctx, type, index, s.c_str(), "");
            if (what == 'a') QOR_DBG_AppendStr2Buffer_H(ctx, s.c_str());
            if (what == 'f') QOR_DBG_OutputBuffer(ctx, type);
            told += Told(type);
        }
        return told;
    }

    std::string Told(uint32_t type) {
        std::string told = " ";
        for (const auto &[sink, key, s, dbgType, arg, arg64] : std::exchange(host.lines, {})) {
            const bool debug = sink == Sink::kDebug && key == 0x1F && dbgType == type && arg == 7 &&
                               arg64 == 1ull << 40;
            told += debug ? "[" : sink == Sink::kConsole ? "(" : "?";
            for (size_t i = 0, n = 0; i < s.size(); i += n) {
                n = std::min(s.find_first_not_of(s[i], i), s.size()) - i;
                told += (s[i] == '\r' ? '^' : s[i]) + (n > 1 ? std::to_string(n) : "");
            }
            told += ']';
        }
        return told + std::to_string(ctx->ulMsgLen) +
               std::string(std::exchange(host.asserts, {}).size(), '!');
    }

    const QOR_DBG_CFG_S cfg{0, 61, "mod", kFormats, kEnd, 0x1F, 7, 1ull << 40, 1};
    QOR_DBG_S *ctx = nullptr;
    uint32_t index = 0;
};

TEST_F(DbgTest, Pieces) {
    EXPECT_EQ(Do("o o%2 ox100^x411 ox513 ox512^"), " 0 [%2]0 [x100^x411]0 [x512][x]0 [x512][^]0");
    EXPECT_EQ(Do("ox100^x411^x9 ox100^x199^x299"), " [x100^x411][^x9]0 [x100^x199][^x299]0");
    EXPECT_EQ(*ctx->pcMsgBuf, 0);
    EXPECT_EQ(Do("o^x599 ox^x598 ox511^x88"), " [^x511][x88]0 [x][^x511][x87]0 [x511][^x88]0");
    EXPECT_EQ(Do("ox512^x511^ ox1024"), " [x512][^x511][^]0 [x512][x512]0");
    const char *rest = nullptr;
    const std::string s = std::string(510, 'x') + "\rxx";
    EXPECT_TRUE(QOR_DBG_GetSmpDbgString(&s[0], ctx->pcPieceBuf, &rest) == 0 && rest == &s[510]);
    EXPECT_TRUE(QOR_DBG_GetSmpDbgString(&s[1], ctx->pcPieceBuf, &rest) == 1 && !rest);
    EXPECT_TRUE(s.substr(1) == ctx->pcPieceBuf);
}

TEST_F(DbgTest, Buffer) {
    EXPECT_EQ(Do("wx1498 Wx wx1498"), " 1498 [x512][x512][x474]1 [x]1498");
    EXPECT_EQ(Do("wx1000 wx499"), " [x512][x512][x474]1000 [x512][x488]499");
    EXPECT_EQ(Do("wx1499 wx2000"), " [x499][x512][x512][x469.6]0 [x512][x512][x469.6]0");
    // Elsewhere text is cut without mark, and type 0 is silent.
    EXPECT_EQ(Do("ox2000 ix2000"), " [x512][x512][x475]0 [x512][x512][x475]0");
    EXPECT_EQ(Do("wx Ox Ix ox wx ix wx F"), " 1 1 1 [x][x]0 1 [x][x]0 1 [x]0");
    // What cannot be appended is cut, and the length falls by one.
    EXPECT_EQ(Do("ax ax1498 a wy f"), " 1 1499 1499 [x512][x512][x475]1 [y]0");
    EXPECT_EQ(Do("ax513 ax1000 f ax1499 ax f"),
              " 513 512! [x1499]0 1499 1498! [x512][x512][x475]0");
    EXPECT_EQ(Do("ax1500 ax f"), " 4294967295! 4294967295! [x512][x512][x475]0");
    EXPECT_EQ(Do("ax5000 wy f"), " 4294967295! [x512][x512][x475]1! [y]0");
    EXPECT_EQ(Do("ax1500 oy"), " 4294967295! [x512][x512][x475][y]0");
}

TEST_F(DbgTest, Table) {
    EXPECT_STREQ(QOR_DBG_StrTrimRN("\r\n\nx"), "\nx");
    for (index = 1; index < kNull; ++index)
        EXPECT_EQ(Do("ix wx f"), index == 2 ? " [\nx]0 2 [\nx]0" : " [x]0 1 [x]0");
    EXPECT_EQ((QOR_DBG_Output(ctx, 9, "\r\n"), Told(9)), " [^\n]0");
    index = kEnd;
    EXPECT_EQ(Do("ix wx Ix"), " 0! 0! 0!");
    index = kNull;
    EXPECT_EQ(Do("ix wx"), " 0! 0!");
    Do("ax");
    QOR_DBG_WriteBuffer(ctx, 9, kBad, 0x7FFFFFFF);  // no such character
    EXPECT_EQ(Told(9), " 1!");
    QOR_DBG_WriteAndOutputBuffer(ctx, 9, kBad, 0x7FFFFFFF);
    EXPECT_EQ(Told(9), " [x]0!");
    ctx->stCfg.ppcFmtTbl = nullptr;
    EXPECT_EQ(Do("ix wx"), " 0! 0!");
}

TEST_F(DbgTest, WithoutPieceBuffer) {
    char *piece = ctx->pcPieceBuf;
    ctx->pcPieceBuf = nullptr;
    EXPECT_EQ(Do("ax5000 wy ox512 ax1000 f"), " 4294967295! 1!! [y][x512]0 1000 1000!");
    for (const char *script : {"wx600", "ax5000 ax", "ax5000 ox", "ax5000 ix"}) {
        ctx->pcPieceBuf = nullptr;
        const std::string told = Do(script);
        EXPECT_TRUE(told.ends_with('!') && told.find('[') == std::string::npos);
        ctx->pcPieceBuf = piece;
        EXPECT_TRUE(Do("f oy").ends_with(" [y]0"));
    }
}

TEST_F(DbgTest, Console) {
    for (const uint32_t mode : {0u, 2u}) {
        ctx->stCfg.ulOutMode = mode;
        EXPECT_EQ(Do("oy512^%2"), " (^\nmod-CID=0x1f: y512](^\nmod-CID=0x1f: ^%2]0");
    }
}

TEST_F(DbgTest, Init) {
    std::string sizes;
    for (const Allocation &a : host.allocations)
        sizes += std::to_string(a.size) + (a.sid == 61 && a.partition == -1 ? " " : "?");
    EXPECT_EQ(sizes, "84 513 1500 1024 ");
    EXPECT_TRUE(memcmp(&ctx->stCfg, &cfg, sizeof cfg) == 0 && ctx->pcScratchBuf[1023] == 0);
    EXPECT_EQ(Do("wx"), " 1");  // text that waits is lost
}

}  // namespace
