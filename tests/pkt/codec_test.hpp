// Fixture of the codec tests: a codec context whose log lines and error texts can be looked at.
#pragma once

#include "decoded.hpp"        // IWYU pragma: export
#include "qor_log.h"          // IWYU pragma: export
#include "test_platform.hpp"  // IWYU pragma: export

namespace qor::test {

class CodecTest : public PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        const QOR_LOG_CFG_S cfg{0, 21, nullptr, 0, 0x51, "T", "pw", 0, 1, 9, 77};
        log = QOR_LOG_Init(&cfg, this);
        ctx.ulSid = 31;
        ctx.ulLogHandle = reinterpret_cast<uintptr_t>(log);
        ctx.ulErrOutputArg = reinterpret_cast<uintptr_t>(&errorTexts);
        ctx.pfnErrOutput = [](const char *text, uint64_t arg) {
            reinterpret_cast<std::vector<std::string> *>(arg)->push_back(text);
        };
        baseline_ = host.LiveBlocks();
        host.Reset();
    }
    void TearDown() override {
        QOR_LOG_DeInit(log);
        PlatformTest::TearDown();
    }

    // Log lines since the last call, without their common prefix, joined by line breaks.
    std::string TakeLog() {
        const std::string prefix = "[T]pw-CID=0x51: ";
        std::string all;
        for (const Line &line : host.lines) {
            EXPECT_TRUE(line.sink == Sink::kDevLog && line.text.find(prefix) == 0) << line.text;
            all += (all.empty() ? "" : "\n") + line.text.substr(prefix.size());
        }
        host.lines.clear();
        return all;
    }

    // Forgets what was recorded and checks that no block is left of what a sweep did.
    void NextCase() {
        EXPECT_EQ(host.LiveBlocks(), baseline_);
        host.Reset();
        errorTexts.clear();
    }

    // Encodes rec into a buffer full of kFill and returns the octets written; fails the test when
    // an octet behind them was touched.
    static constexpr uint8_t kFill = 0xEE;
    std::vector<uint8_t> Encode(const QOR_LDP_SIGNAL_MSG_S &rec) {
        std::vector<uint8_t> buf(QOR_LDP_PKT_ENC_BUF_LEN + 1, kFill);
        const uint32_t length = QOR_LDP_PKT_EncodeMsg(&buf[1], &rec, &ctx);  // at an odd address
        buf.erase(buf.begin());
        const std::vector<uint8_t> behind(buf.begin() + length, buf.end());
        EXPECT_TRUE(length == 0 || behind == std::vector<uint8_t>(behind.size(), kFill));
        buf.resize(length);
        return buf;
    }

    QOR_PKT_CTX_S ctx{};
    QOR_LOG_S *log = nullptr;
    std::vector<std::string> errorTexts;

  private:
    size_t baseline_ = 0;
};

}  // namespace qor::test
