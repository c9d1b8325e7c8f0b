// Developer log.
#include "qor_log.h"

#include "qor_mam.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

constexpr uint32_t kBox = 3;
constexpr char kPrefix[] = "[ldp]pw-CID=0x1ab: ";

class LogTest : public PlatformTest {
  protected:
    void SetUp() override { PlatformTest::SetUp(), mam = cfg.pstMam = QOR_MAM_Init(1, this); }
    void TearDown() override { QOR_MAM_DeInit(mam), PlatformTest::TearDown(); }

    // One context, one line; boxed is what the box got of it.
    template <class... A>
    void Log(const char *format, A... args) {
        QOR_MAM_BlackBoxDelete(mam, kBox);
        const auto *box = QOR_MAM_BlackBoxCreate(mam, kBox, 4096, 0);
        host.lines.clear();
        QOR_LOG_S *log = QOR_LOG_Init(&cfg, this);
        ASSERT_NE(log, nullptr);
        QOR_LOG_DevLog(log, format, args...);
        QOR_LOG_DeInit(log);
        boxed = reinterpret_cast<const char *>(box->pucStart);
    }

    QOR_MAM_S *mam = nullptr;
    QOR_LOG_CFG_S cfg{0, 51, nullptr, kBox, 0x1AB, "ldp", "pw", 1, 1, 0, 0};
    std::string boxed;
};

TEST_F(LogTest, Sinks) {
    const struct {
        uint32_t console, devLog;
        std::vector<std::pair<Sink, uint32_t>> sinks;
    } rows[] = {{1, 1, {{Sink::kConsole, 0}, {Sink::kDevLog, 0x1AB}}},
                {0, 1, {{Sink::kDevLog, 0x1AB}}},
                {2, 2, {{Sink::kSyslog, 6}}},
                {1, 0, {{Sink::kConsole, 0}, {Sink::kSyslog, 6}}}};
    for (const auto &row : rows) {
        cfg.ulConsoleOn = row.console;
        cfg.ulDevLogOn = row.devLog;
        Log("peer %u", 7);
        const std::string line = std::string(kPrefix) + "peer 7";
        EXPECT_EQ(boxed, line + "\r\n");
        ASSERT_EQ(host.lines.size(), row.sinks.size());
        for (size_t i = 0; i < row.sinks.size(); ++i) {
            const auto &[sink, key] = row.sinks[i];
            EXPECT_TRUE(host.lines[i].sink == sink && host.lines[i].key == key) << i;
            EXPECT_EQ(host.lines[i].text, (sink == Sink::kConsole ? "\r\n" : "") + line);
        }
    }
    cfg.pstMam = nullptr;
    cfg.ulConsoleOn = cfg.ulDevLogOn = 0;
    Log("%s", "x");
    EXPECT_EQ(host.Texts(Sink::kSyslog), std::vector<std::string>{std::string(kPrefix) + "x"});
    EXPECT_EQ(boxed, "");
    for (const Allocation &a : host.allocations)
        EXPECT_TRUE(a.sid == 1 || (a.sid == 51 && a.partition == -1));
}

// Line breaks in front, and percent signs: the box reads the finished line as a format once more,
// but only "%%" means anything in it.
TEST_F(LogTest, Texts) {
    const struct {
        const char *format, *argument;
        const char *line, *boxed;
    } rows[] = {{"\r\n%s", "a", "a", "a"},          {"\n%s", "a", "a", "a"},
                {"\n\r\n%s", "a", "\na", "\na"},    {"%s", "100%% up", "100%% up", "100% up"},
                {"%%%%%s", "", "%%", "%"},          {"%s", "%s%n%d%%%", "%s%n%d%%%", "%s%n%d%%"},
                {"%s", nullptr, "(null)", "(null)"}};
    for (const auto &row : rows) {
        Log(row.format, row.argument);
        ASSERT_EQ(host.lines.size(), 2u);
        EXPECT_EQ(host.lines[1].text, std::string(kPrefix) + row.line);
        EXPECT_EQ(boxed, std::string(kPrefix) + row.boxed + "\r\n");
    }
    EXPECT_TRUE(host.asserts.empty());
    EXPECT_STREQ(QOR_LOG_StrTrimRN("\n\r\nx"), "\nx");
    EXPECT_STREQ(QOR_LOG_ChangeEncap2Str(25), "Frame Relay DLCI");
    EXPECT_STREQ(QOR_LOG_ChangeEncap2Str(26), "unsupport");
}

TEST_F(LogTest, LongLines) {
    const std::string body(2000, 'z');
    Log("%s", body.c_str());
    const std::string line = (kPrefix + body).substr(0, QOR_LOG_LINE_LEN - 1);
    EXPECT_EQ(host.lines.at(1).text, line);
    EXPECT_EQ(boxed, line.substr(0, 999) + "\r\n");
    EXPECT_TRUE(host.asserts.empty());
    const std::string tag(1100, 't');  // the prefix alone fills the buffer
    cfg.szTag = tag.c_str();
    Log("%s", "x");
    EXPECT_EQ(host.lines.at(1).text, ("[" + tag).substr(0, QOR_LOG_LINE_LEN - 1));
    EXPECT_FALSE(host.asserts.empty());
    cfg.szTag = cfg.szModName = nullptr;
    Log("%s", "x");
    EXPECT_EQ(host.lines.at(1).text, "[(null)](null)-CID=0x1ab: x");
}

}  // namespace
