// Black boxes.
#include <algorithm>

#include "qor_mam.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

// What a box holds, oldest character first.
std::string Content(const QOR_MAM_BLACKBOX_S &box) {
    std::string text;
    for (const uint8_t *p = box.pucOldest; p != box.pucWrite;) {
        text += static_cast<char>(*p);
        p = p + 1 == box.pucEnd ? box.pucStart : p + 1;
    }
    return text;
}

class BoxTest : public PlatformTest {
  protected:
    void SetUp() override { PlatformTest::SetUp(), mam = QOR_MAM_Init(41, this); }
    void TearDown() override { QOR_MAM_DeInit(mam), PlatformTest::TearDown(); }
    QOR_MAM_S *mam = nullptr;
};

TEST_F(BoxTest, Stamps) {
    const struct {
        uint32_t mode;
        const char *first, *second;
    } rows[] = {{QOR_MAM_MODE_GLOBAL_SEQ, "", ""},
                {QOR_MAM_MODE_SEQ | QOR_MAM_MODE_GLOBAL_SEQ, "<0000>", "<0001>"},
                {QOR_MAM_MODE_DATE, "0305-", "0305-"},
                {QOR_MAM_MODE_TIME, "140709042", "140709042"},
                {0x7, "<00>0305-140709042", "<01>0305-140709042"},
                {0xF, "<0002>0305-140709042", "<0003>0305-140709042"}};
    for (const auto &row : rows) {
        const auto id = static_cast<uint32_t>(&row - rows);
        const QOR_MAM_BLACKBOX_S *box = QOR_MAM_BlackBoxCreate(mam, id, 100, row.mode);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(QOR_MAM_BlackBoxWriteString(mam, id, "link %s", "up"), QOR_OK);
        EXPECT_EQ(QOR_MAM_BlackBoxWriteString(mam, id, "\r\n%d", 7), QOR_OK) << "not trimmed";
        EXPECT_EQ(Content(*box), row.first + std::string("link up\r\n") + row.second + "\r\n7\r\n");
    }
    host.clockResult = 1;
    QOR_MAM_BlackBoxWriteString(mam, 4, "x");
    EXPECT_NE(Content(*QOR_MAM_BlackBoxCreate(mam, 4, 1, 0)).find("<02>0000-000000000x"),
              std::string::npos);
}

TEST_F(BoxTest, Counters) {
    const QOR_MAM_BLACKBOX_S *own = QOR_MAM_BlackBoxCreate(mam, 1, 9, QOR_MAM_MODE_SEQ);
    const QOR_MAM_BLACKBOX_S *all = QOR_MAM_BlackBoxCreate(mam, 2, 10, 0x9);
    QOR_MAM_BlackBoxCreate(mam, 3, 10, 0x9);
    for (int i = 0; i <= 256; ++i) QOR_MAM_BlackBoxWriteString(mam, 1, "%s", "x");
    EXPECT_EQ(Content(*own), "<100>x\r\n");
    QOR_MAM_BlackBoxWriteString(mam, 2, "%s", "");
    QOR_MAM_BlackBoxWriteString(mam, 3, "%s", "");
    EXPECT_EQ(QOR_MAM_BlackBoxWriteString(mam, 4, "%s", ""), QOR_MAM_ERR_NO_BOX);
    QOR_MAM_BlackBoxWriteString(mam, 2, "%s", "");
    EXPECT_EQ(Content(*all), "\n<0002>\r\n") << "the second record went to another box";
    EXPECT_EQ(mam->ulGlobalSeq, 3u);
}

// Rings of every small size against a string that loses its head.
TEST_F(BoxTest, RingKeepsTheNewest) {
    for (uint32_t size = 1; size <= 24; ++size) {
        const QOR_MAM_BLACKBOX_S *box = QOR_MAM_BlackBoxCreate(mam, size, size, 0);
        std::string written;
        for (uint32_t i = 0; i < 40; ++i) {
            const std::string text(i * 7 % 11, static_cast<char>('a' + i % 26));
            QOR_MAM_BlackBoxWriteString(mam, size, "%s", text.c_str());
            written += text + "\r\n";
            const size_t kept = std::min<size_t>(written.size(), size - 1);
            ASSERT_EQ(Content(*box), written.substr(written.size() - kept)) << size;
        }
    }
    const QOR_MAM_BLACKBOX_S *box = QOR_MAM_BlackBoxCreate(mam, 100, 2000, 0);
    QOR_MAM_BlackBoxWriteString(mam, 100, "%s", std::string(1500, 'y').c_str());
    EXPECT_EQ(Content(*box), std::string(999, 'y') + "\r\n") << "a record has a limit";
    box = QOR_MAM_BlackBoxCreate(mam, 101, 50, 0);
    QOR_MAM_BlackBoxWriteString(mam, 101, "a%cb", 0);
    EXPECT_EQ(Content(*box), "a\r\n") << "a record is a text";
    QOR_MAM_BlackBoxWriteString(mam, 101, "a%lc", 0x20AC);  // not in the "C" locale
    EXPECT_EQ(Content(*box), "a\r\n\r\n") << "and an empty one when it cannot be printed";
}

TEST_F(BoxTest, Boxes) {
    QOR_MAM_BLACKBOX_S *box = QOR_MAM_BlackBoxCreate(mam, 5, QOR_MAM_BOX_MAX, 1);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(std::count(box->pucStart, box->pucEnd, 0), QOR_MAM_BOX_MAX);
    EXPECT_TRUE(QOR_MAM_BlackBoxCreate(mam, 5, 10, 2) == box && box->ulMode == 1);
    EXPECT_EQ(QOR_MAM_BlackBoxGetSize(mam, 5), QOR_MAM_BOX_MAX);
    EXPECT_EQ(QOR_MAM_BlackBoxGetBuffer(mam, 5), box->pucStart);
    EXPECT_EQ(QOR_MAM_BlackBoxGetSize(mam, 6), 0u);
    EXPECT_EQ(QOR_MAM_BlackBoxGetBuffer(mam, 6), nullptr);
    EXPECT_EQ(QOR_MAM_BlackBoxCreate(mam, 6, QOR_MAM_BOX_MAX + 1, 0), nullptr);
    EXPECT_EQ(QOR_MAM_BlackBoxDelete(mam, 6), QOR_OK);
    for (uint32_t id = 20; id > 5; --id)  // more than one, in falling order, left to DeInit
        QOR_MAM_BlackBoxCreate(mam, id, id, 0);
    EXPECT_EQ(QOR_MAM_BlackBoxDelete(mam, 5), QOR_OK);
    EXPECT_EQ(QOR_MAM_BlackBoxWriteString(mam, 5, "x"), QOR_MAM_ERR_NO_BOX);
    EXPECT_EQ(QOR_MAM_BlackBoxGetSize(mam, 20), 20u);
    const uint32_t n[] = {1, 0x80000000};
    EXPECT_TRUE(QOR_MAM_CompareUlong(n, n + 1) == -1 && QOR_MAM_CompareUlong(n + 1, n) == 1);
    EXPECT_TRUE(host.asserts.empty());
    EXPECT_EQ(QOR_MAM_BlackBoxCreate(mam, 20, 0, 0), nullptr) << "the size is looked at first";
    EXPECT_EQ(host.asserts.size(), 1u);
    for (const Allocation &a : host.allocations)
        EXPECT_TRUE(a.sid == 41 && a.partition == g_aucHostMemPt[2]);
}

}  // namespace
