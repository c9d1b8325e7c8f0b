// Extended communities.
#include <cstring>

#include "record_text.hpp"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

using ExtcommTest = PlatformTest;

TEST_F(ExtcommTest, OctetsAndTexts) {
    const struct {
        uint32_t mode;  // 1: the subtype comes first
        const char *octets, *text;
        const char *written = nullptr;  // NULL: the same octets
    } rows[] = {{1, "0000000100000002", "1:2"},
                {0, "000afde800000064", "65000:100"},
                {0, "01020a0000010005", "0x0a000001:5"},
                {0, "0202000100020003", "1.2 : 3"},
                {1, "0002000100020003", "1.2 : 3"},
                {0, "0302000100020003", "65538:3", "0202000100020003"},
                {0, "800a010203040506", nullptr},
                {0, "800b000100020003", "65538:3"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.octets);
        const auto octets = Hex(row.octets);
        const std::string net = row.written ? row.written : row.octets;
        const bool ketu = row.text == nullptr;  // whose second word two of the forms leave out
        const size_t length = ketu ? 6 : 8;
        const uint8_t *from = octets.data();
        QOR_EXTCOMM_S ext, back;
        QOR_PKT_GetExtcommNet(row.mode, &ext, &from);
        EXPECT_EQ(from, octets.data() + 8);
        EXPECT_TRUE(ext.ucType == octets[row.mode] && ext.ucSubType == octets[1 - row.mode]);
        EXPECT_TRUE(!ketu || (ext.stKetu.usWord1 == 0x304 && ext.stKetu.usWord2 == 0x506));

        uint8_t out[9], *cursor = out;
        QOR_PKT_PutExtcommNet(&ext, &cursor);
        EXPECT_EQ(HexText({out, cursor}), net);
        QOR_PKT_PutExtcommNetKetu(&ext, &(cursor = out));
        EXPECT_EQ(HexText({out, cursor}), net.substr(0, 2 * length));
        memset(&back, 0xEE, sizeof back);
        QOR_PKT_GetExtcommNetKetu(row.mode, &back, &(from = out));
        EXPECT_EQ(from, out + length);
        EXPECT_TRUE(!ketu || back.stKetu.usWord2 == 0);
        QOR_PKT_PutExtcommHost(&ext, &(cursor = out));
        EXPECT_EQ(cursor, out + length);
        EXPECT_EQ(memcmp(out + 2, ext.aucValue, length - 2), 0);
        QOR_PKT_GetExtcommHost(row.mode, &back, &(from = out));
        EXPECT_EQ(from, out + length);
        EXPECT_EQ(memcmp(back.aucValue, ext.aucValue, length - 2), 0);
        if (ketu) continue;
        char text[32];
        int stored = 0;
        QOR_LDP_PKT_FmtExtComm2Str(&ext, text, sizeof text, &stored);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(stored, static_cast<int>(strlen(row.text)));
    }
}

TEST_F(ExtcommTest, Order) {
    const auto make = [](uint8_t sub, uint8_t type, uint32_t global, uint16_t local) {
        QOR_EXTCOMM_S ext{sub, type, {}};
        ext.stAs4 = {global, local};
        return ext;
    };
    const auto as2 = [](uint16_t global, uint32_t local) {
        QOR_EXTCOMM_S ext{2, QOR_EXTCOMM_TYPE_AS2, {}};
        ext.stAs2 = {global, local};
        return ext;
    };
    const QOR_EXTCOMM_S rising[] = {make(1, 9, 9, 9),    as2(1, 0x10000),  as2(2, 1),
                                    as2(2, 0x100),       as2(0x100, 0),    make(2, 1, 9, 9),
                                    make(2, 2, 1, 9),    make(2, 3, 2, 1), make(2, 2, 0x100, 0),
                                    make(2, 3, 0x100, 1)};
    for (const auto &a : rising)
        for (const auto &b : rising)
            EXPECT_EQ(QOR_LDP_PKT_CmpExtComm(&a, &b), (&a > &b) - (&a < &b));
    const QOR_EXTCOMM_S two = make(2, 2, 7, 7), three = make(2, 3, 7, 7);
    EXPECT_EQ(QOR_LDP_PKT_CmpExtComm(&two, &three), 0);
}

}  // namespace
