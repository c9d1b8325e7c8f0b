// Extended communities.
#include <cstring>

#include "qor_pkt_bgp.h"
#include "record_text.hpp"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

using ExtcommTest = PlatformTest;

TEST_F(ExtcommTest, OctetsAndTexts) {
    const struct {
        uint8_t type, sub;
        const char *value, *net, *ketu;  // value: AS2 16+32, KETU 8+8+16+16, else 32+16 bits
        const char *text;
    } rows[] = {{0, 0, "1 2", "0000000100000002", "0000000100000002", "1:2"},
                {0, 10, "65000 100", "000afde800000064", "000afde800000064", "65000:100"},
                {1, 2, "167772161 5", "01020a0000010005", "01020a0000010005", "0x0a000001:5"},
                {2, 2, "65538 3", "0202000100020003", "0202000100020003", "1.2 : 3"},
                {2, 0, "65538 3", "0002000100020003", "0002000100020003", "1.2 : 3"},
                {3, 2, "65538 3", "0202000100020003", "0202000100020003", "65538:3"},
                {0x80, 10, "1 2 772 1286", "800a010203040506", "800a01020304", nullptr},
                {0x80, 11, "65538 3", "800b000100020003", "800b000100020003", "65538:3"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.net);
        unsigned v[4] = {};
        sscanf(row.value, "%u %u %u %u", &v[0], &v[1], &v[2], &v[3]);
        QOR_EXTCOMM_S ext{};
        ext.ucType = row.type;
        ext.ucSubType = row.sub;
        const bool ketu = row.type == 0x80 && row.sub == 10;
        if (row.type == 0)
            ext.stAs2 = {static_cast<uint16_t>(v[0]), v[1]};
        else if (ketu)
            ext.stKetu = {1, 2, static_cast<uint16_t>(v[2]), static_cast<uint16_t>(v[3])};
        else
            ext.stAs4 = {v[0], static_cast<uint16_t>(v[1])};
        uint8_t out[9];
        uint8_t *cursor = out;
        QOR_PKT_PutExtcommNet(&ext, &cursor);
        EXPECT_EQ(HexText({out, cursor}), row.net);
        const uint8_t *from = out;
        QOR_EXTCOMM_S back;
        QOR_PKT_GetExtcommNet(0, &back, &from);
        EXPECT_EQ(from, cursor);
        const bool same = row.type != 3 && row.sub != 0;  // what the wire cannot tell apart
        EXPECT_TRUE(!same || (back.ucType == row.type && back.ucSubType == row.sub &&
                              memcmp(back.aucValue, ext.aucValue, 6) == 0));
        QOR_PKT_GetExtcommNet(1, &back, &(from = out));
        EXPECT_TRUE(back.ucSubType == out[0] && back.ucType == out[1]);
        QOR_PKT_PutExtcommNetKetu(&ext, &(cursor = out));
        EXPECT_EQ(HexText({out, cursor}), row.ketu);
        QOR_PKT_PutExtcommHost(&ext, &(cursor = out));
        EXPECT_EQ(cursor - out, ketu ? 6 : 8);
        EXPECT_EQ(memcmp(out + 2, ext.aucValue, static_cast<size_t>(cursor - out - 2)), 0);
        for (const auto get : {QOR_PKT_GetExtcommHost, QOR_PKT_GetExtcommNetKetu}) {
            memset(&back, 0xEE, sizeof back);
            get(0, &back, &(from = out));
            EXPECT_EQ(from - out, ketu ? 6 : 8);
            EXPECT_TRUE(!ketu || back.stKetu.usWord2 == 0);
        }
        char text[32];
        int length = 0;
        QOR_LDP_PKT_FmtExtComm2Str(&ext, text, sizeof text, &length);
        EXPECT_TRUE(ketu ||
                    (std::string(row.text) == text && length == static_cast<int>(strlen(text))));
    }
}

TEST_F(ExtcommTest, Order) {
    const auto make = [](uint8_t sub, uint8_t type, uint32_t global, uint16_t local) {
        QOR_EXTCOMM_S ext{sub, type, {}};
        ext.stAs4 = {global, local};
        return ext;
    };
    const QOR_EXTCOMM_S rising[] = {make(1, 9, 9, 9), make(2, 1, 9, 9),     make(2, 2, 1, 9),
                                    make(2, 3, 2, 1), make(2, 2, 0x100, 0), make(2, 3, 0x100, 1)};
    for (const auto &a : rising)
        for (const auto &b : rising)
            EXPECT_EQ(QOR_LDP_PKT_CmpExtComm(&a, &b), (&a > &b) - (&a < &b));
    const QOR_EXTCOMM_S two = make(2, 2, 7, 7), three = make(2, 3, 7, 7);
    EXPECT_EQ(QOR_LDP_PKT_CmpExtComm(&two, &three), 0);

    const QOR_EXTCOMM_AS2_S values[] = {{1, 0x10000}, {2, 1}, {2, 0x100}, {0x100, 0}};
    for (const auto &a : values)
        for (const auto &b : values) {
            QOR_EXTCOMM_S x{2, QOR_EXTCOMM_TYPE_AS2, {}}, y = x;
            x.stAs2 = a;
            y.stAs2 = b;
            EXPECT_EQ(QOR_LDP_PKT_CmpExtComm(&x, &y), (&a > &b) - (&a < &b));
        }
}

}  // namespace
