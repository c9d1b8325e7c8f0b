// Verification request handles and their TLVs.
#include "qor_pdpwe3i.h"

#include <cstring>

#include "test_platform.hpp"

namespace {

using VerifyTest = qor::test::PlatformTest;

TEST_F(VerifyTest, Construction) {
    const uint16_t rows[][4] = {{0, 0, 0, 0}, {0, 1, 0, 0},   {7, 0, 4, 12}, {7, 1, 4, 32},
                                {7, 2, 4, 9}, {7, 255, 4, 9}, {0, 2, 0, 0}};
    for (const auto &[first, form, ssnLen, sigLen] : rows) {
        QOR_VERIFY_SSN_S session{first * 0x10000u};
        QOR_VERIFY_SIG_KEY_S signature{
            first * 0x10000u, 1, 1, static_cast<uint8_t>(form), 0, 0, {}, 0, 0};
        QOR_VERIFY_HANDLE_S ssn{5, 9, this}, sig{5, 9, this};
        EXPECT_EQ(QOR_PDPWE3I_ConstructSsnVerifyRequestHandle(&session, &ssn), &session);
        EXPECT_EQ(QOR_PDPWE3I_ConstructSigVerifyRequestHandle(&signature, &sig), &signature);
        EXPECT_TRUE(ssn.usDataLen == ssnLen && ssn.pData == (first == 0 ? nullptr : &session));
        EXPECT_TRUE(sig.usDataLen == sigLen && sig.pData == (first == 0 ? nullptr : &signature));
        EXPECT_TRUE(ssn.ulKind == sig.ulKind && sig.ulKind == (first == 0 ? 1u : 0u));
    }
    QOR_VERIFY_HANDLE_S ack{5, 9, this};
    QOR_PDPWE3I_ConstructVerifyRequestAckHandle(&ack);
    EXPECT_TRUE(ack.ulKind == 2 && ack.usDataLen == 0 && !ack.pData);
}

TEST_F(VerifyTest, Checks) {
    // Kind, length, data or not; valid as session, signature, acknowledgement.
    const uint16_t rows[][6] = {{1, 0, 0, 1, 1, 0},     {2, 0, 0, 0, 0, 1},  {0, 0, 0, 0, 0, 0},
                                {1, 4, 0, 0, 0, 0},     {2, 4, 0, 0, 0, 0},  {0, 3, 1, 0, 0, 0},
                                {0, 4, 1, 1, 0, 0},     {0, 11, 1, 1, 0, 0}, {2, 12, 1, 1, 1, 0},
                                {9, 65535, 1, 1, 1, 0}, {1, 0, 1, 0, 0, 0},  {2, 0, 1, 0, 0, 0}};
    for (const auto &[kind, length, data, ssn, sig, ack] : rows) {
        const QOR_VERIFY_HANDLE_S handle{kind, length, data ? this : nullptr};
        EXPECT_TRUE(QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(&handle) == ssn &&
                    QOR_PDPWE3I_CheckSigVerifyRequestHandleValid(&handle) == sig &&
                    QOR_PDPWE3I_CheckVerifyRequestAckHandleValid(&handle) == ack)
            << kind << ' ' << length << ' ' << data;
    }
}

// At odd addresses; lengths that are no known form are copied as they are.
TEST_F(VerifyTest, Tlvs) {
    QOR_VERIFY_SIG_KEY_S key{0x01020304, 0x05060708, 0x090A0B0C, 13,        14,
                             0x0F10,     {},         0x191A1B1C, 0x1D1E1F20};
    const QOR_EXTCOMM_S agi{0x12, 0, {.stAs2 = {0x1314, 0x15161718}}};
    memcpy(key.aucAgi, &agi, sizeof agi);
    std::string source(41, '?'), wire;
    memcpy(&source[1], &key, sizeof key);
    for (char octet = 1; octet <= 32; octet++) wire += octet == 17 ? '\0' : octet;
    for (uint16_t length = 0; length < 40; length++)
        for (char *data : {&source[1], static_cast<char *>(nullptr)}) {
            const QOR_VERIFY_HANDLE_S handle{0xF1F2F3F4, length, data};
            std::string told("\xAB\xCD\0_\xF1\xF2\xF3\xF4", 8);
            told[3] = static_cast<char>(length + 4);
            const bool known = length == 4 || length == 12 || length == 32;
            if (data) told += known ? wire.substr(0, length) : source.substr(1, length);
            alignas(2) uint8_t out[60] = {};
            uint8_t *cursor = out + 1;
            QOR_PDPWE3I_BuildVerifyHandleTlv(&cursor, 0xABCD, &handle);
            EXPECT_EQ(std::string(out + 1, cursor), told) << length;
            EXPECT_EQ(*cursor, 0);
        }
    EXPECT_TRUE(host.asserts.empty());
}

TEST_F(VerifyTest, SignatureKeys) {
    for (uint8_t type = 0; type < 7; type++) {
        QOR_LDP_PW_FEC_KEY_S fec{type, 0xFB, {0, {{0x0A000001, 2, 3, 4}}}, {0x88000008}};
        if (type != 0)
            fec.stFec129 = {1, 8, 1, 4, {2, 3, {.aucValue = {4, 5, 6, 7, 8, 9}}}, 10, 1, 4, 11};
        QOR_VERIFY_SIG_KEY_S got{1, 2, 3, 4, 5, 6, {7}, 8, 9}, told = got;
        if (type == 0) told = {0x0A000001, 0x88000008, 0xFB, 0, 5, 6, {7}, 8, 9};
        if (type == 1) told = {0x0A000001, 2, 0xFB, 1, 5, 6, {2, 3, 4, 5, 6, 7, 8, 9}, 10, 11};
        QOR_PDPWE3I_SetVerifySigKey(&fec, &got);
        EXPECT_EQ(memcmp(&got, &told, sizeof told), 0) << +type;
    }
}

}  // namespace
