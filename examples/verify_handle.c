/* What a pseudowire verification request is about, as octets: a session, a pseudowire by its FEC
 * key, all of them, an acknowledgement. */
#include "check.h"
#include "qor.h"

enum { TLV_SESSION = 0x3E01, TLV_SIGNATURE = 0x3E02, TLV_ACK = 0x3E03 };

static void print_tlv(const char *what, uint16_t type, const QOR_VERIFY_HANDLE_S *handle) {
    uint8_t tlv[8 + QOR_VERIFY_SIG_GEN_LEN];
    uint8_t *end = tlv;
    QOR_PDPWE3I_BuildVerifyHandleTlv(&end, type, handle);
    CHECK(end == tlv + 8 + handle->usDataLen);

    printf("%s, %d octets", what, (int)(end - tlv));
    for (const uint8_t *at = tlv; at != end; at++) {
        printf("%s%02X", (at - tlv) % 16 == 0 ? "\n   " : " ", *at);
    }
    printf("\n");
}

/* Both signatures are made from the keys that name the pseudowires in LDP messages. */
static void print_signature(const char *what, const QOR_LDP_PW_FEC_KEY_S *key, uint16_t octets) {
    QOR_VERIFY_SIG_KEY_S signature = {0};
    QOR_VERIFY_HANDLE_S handle = {0};
    QOR_PDPWE3I_SetVerifySigKey(key, &signature);
    CHECK(QOR_PDPWE3I_ConstructSigVerifyRequestHandle(&signature, &handle) == &signature);
    CHECK(QOR_PDPWE3I_CheckSigVerifyRequestHandleValid(&handle));
    CHECK(handle.usDataLen == octets);
    print_tlv(what, TLV_SIGNATURE, &handle);
}

int main(void) {
    QOR_VERIFY_SSN_S session = {.ulSession = 0x00010203};
    QOR_VERIFY_HANDLE_S handle = {0};
    CHECK(QOR_PDPWE3I_ConstructSsnVerifyRequestHandle(&session, &handle) == &session);
    CHECK(QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(&handle));
    print_tlv("session 0x10203", TLV_SESSION, &handle);

    session.ulSession = 0;
    (void)QOR_PDPWE3I_ConstructSsnVerifyRequestHandle(&session, &handle);
    CHECK(QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(&handle));
    print_tlv("all sessions", TLV_SESSION, &handle);

    /* Form 0: a PWid key, here of PW 100 (Ethernet) to 10.0.0.2. */
    QOR_IP_ADDR_S peer = {0};
    char text[QOR_IP_TEXT_LEN];
    CHECK(QOR_IP_ConstructAddr(0x0A000002, NULL, &peer) == QOR_OK);
    CHECK(QOR_IP_ToString(&peer, text, sizeof text) == QOR_OK);
    QOR_LDP_PW_FEC_KEY_S key = {0};
    CHECK(QOR_LDP_PKT_SetPwFec128(&key, &peer, 5, 100) == QOR_OK);
    printf("\npeer %s, PW ID 100\n", text);
    print_signature("signature, form 0", &key, QOR_VERIFY_SIG_PWID_LEN);

    /* Form 1: a Generalized PWid key. Its AGI is an extended community of a two-octet AS. */
    key = (QOR_LDP_PW_FEC_KEY_S){
        .ucKeyType = QOR_LDP_KEY_GEN_PWID, .ucPwType = 5, .stPeerAddr = peer};
    QOR_LDP_FEC129_S *ids = &key.stFec129;
    ids->stAgi = (QOR_EXTCOMM_S){.ucSubType = 0x0A,
                                 .ucType = QOR_EXTCOMM_TYPE_AS2,
                                 .stAs2 = {.usGlobalAdmin = 65000, .ulLocalAdmin = 100}};
    ids->ulSaii = 0x0A000001;
    ids->ulTaii = 0x0A000002;
    char agi[32];
    CHECK(QOR_LDP_PKT_FmtExtComm2Str(&ids->stAgi, agi, sizeof agi, NULL) == agi);
    printf("\npeer %s, AGI %s\n", text, agi);
    print_signature("signature, form 1", &key, QOR_VERIFY_SIG_GEN_LEN);

    printf("\n");
    QOR_PDPWE3I_ConstructVerifyRequestAckHandle(&handle);
    CHECK(QOR_PDPWE3I_CheckVerifyRequestAckHandleValid(&handle));
    CHECK(!QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(&handle));
    print_tlv("acknowledgement", TLV_ACK, &handle);
    return finish();
}
