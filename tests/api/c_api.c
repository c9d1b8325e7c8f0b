/* The shared libraries seen from a C program that includes every public header. */
#include <stdio.h>
#include <string.h>

#include "all_headers.inc"

static int failures;

static void expect(int ok, const char *what) {
    if (!ok) {
        printf("not so: %s\n", what);
        failures++;
    }
}
#define EXPECT(cond) expect((cond), #cond)

int main(void) {
    /* A Label Withdraw of PW 100: FEC TLV with one PWid element, no label. */
    const uint8_t withdraw[] = {0x04, 0x02, 0x00, 0x14, 0x00, 0x00, 0x00, 0x07,
                                0x01, 0x00, 0x00, 0x0C, 0x80, 0x00, 0x05, 0x04,
                                0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x64};
    const QOR_PKT_CTX_S cfg = {.ulSid = 1};
    QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    EXPECT(ctx != NULL);

    QOR_LDP_SIGNAL_MSG_S rec = {.ulPeerIp = 0x01020304};
    EXPECT(QOR_LDP_PKT_DecodeMsg(withdraw, &rec, ctx) == QOR_OK);
    EXPECT(rec.ulMsgType == QOR_LDP_MSG_WITHDRAW);
    EXPECT(rec.ulMsgId == 7);
    EXPECT(rec.stFecKey.ulPwId == 100);
    EXPECT(rec.ulLabel == QOR_LDP_PKT_NONE);
    QOR_LDP_PKT_FreeSignalMsg(&rec, ctx);

    /* The same message whose FEC TLV claims an octet more than there is. */
    uint8_t bent[sizeof withdraw];
    memcpy(bent, withdraw, sizeof bent);
    bent[11]++;
    uint32_t fatal = 0;
    memset(&rec, 0, sizeof rec);
    EXPECT(QOR_LDP_PKT_DecodeMsg(bent, &rec, ctx) == QOR_LDP_ERR_TLV_LEN);
    EXPECT(QOR_LDP_PKT_ErrCode2StatusCode(QOR_LDP_ERR_TLV_LEN, &fatal) ==
           QOR_LDP_STATUS_BAD_TLV_LEN);
    EXPECT(fatal == 1);
    QOR_PKT_DeInit(ctx);

    /* The one exported table (RFC 4446 section 3.2: type 5 is Ethernet). */
    EXPECT(strcmp(QOR_LOG_ChangeEncap2Str(5), g_apcQorEncap[5]) == 0);
    EXPECT(strcmp(g_apcQorEncap[5], g_apcQorEncap[4]) != 0);
    return failures != 0;
}
