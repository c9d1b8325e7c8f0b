/* The shared libraries seen from a C program that includes every public header. */
#include <string.h>

#include "all_headers.inc" /* IWYU pragma: keep */
#include "qor.h"

QOR_STATIC_ASSERT(QOR_VERSION_MAJOR == PROJECT_MAJOR && QOR_VERSION_MINOR == PROJECT_MINOR &&
                      QOR_VERSION_PATCH == PROJECT_PATCH,
                  "the headers have another version than CMakeLists.txt");

int main(void) {
    /* A Label Withdraw of PW 100: FEC TLV with one PWid element, no label. */
    uint8_t withdraw[] = {0x04, 0x02, 0x00, 0x14, 0x00, 0x00, 0x00, 0x07, 0x01, 0x00, 0x00, 0x0C,
                          0x80, 0x00, 0x05, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x64};
    const QOR_PKT_CTX_S cfg = {.ulSid = 1};
    QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    QOR_LDP_SIGNAL_MSG_S rec = {.ulPeerIp = 0x01020304};
    const int decoded = QOR_LDP_PKT_DecodeMsg(withdraw, &rec, ctx) == QOR_OK &&
                        rec.ulMsgType == QOR_LDP_MSG_WITHDRAW && rec.ulMsgId == 7 &&
                        rec.stFecKey.ulPwId == 100 && rec.ulLabel == QOR_LDP_PKT_NONE;
    QOR_LDP_PKT_FreeSignalMsg(&rec, ctx);
    QOR_PKT_DeInit(ctx);
    /* The one exported table (RFC 4446 section 3.2: type 5 is Ethernet). */
    return decoded && strcmp(g_apcQorEncap[5], "Ethernet") == 0 ? 0 : 1;
}
