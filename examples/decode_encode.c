/* Decodes one Label Mapping, prints what it says, and writes it back. */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "qor.h"

/* As received, from the message header on (RFC 5036 section 3.5.7). */
static const uint8_t mapping[] = {
    0x04, 0x00, 0x00, 0x20,                         /* Label Mapping, 32 octets follow */
    0x00, 0x00, 0x00, 0x2A,                         /* message ID 42 */
    0x01, 0x00, 0x00, 0x10,                         /* FEC TLV, 16 octets */
    0x80, 0x80, 0x05, 0x08,                         /* PWid, control word, Ethernet, 8 octets */
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x64, /* group 0, PW ID 100 */
    0x01, 0x04, 0x05, 0xDC,                         /* MTU 1500 */
    0x02, 0x00, 0x00, 0x04, 0x00, 0x00, 0x03, 0xE8, /* label 1000 */
};

/* Too large for some stacks; encoders want it zeroed. */
static uint8_t out[QOR_LDP_PKT_ENC_BUF_LEN];

int main(void) {
    const QOR_PKT_CTX_S cfg = {.ulSid = 1}; /* memory is accounted to module 1 */
    QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    if (ctx == NULL) {
        return 1;
    }

    int status = 1;
    QOR_LDP_SIGNAL_MSG_S msg = {.ulPeerIp = 0x0A000001}; /* from 10.0.0.1 */
    const uint32_t result = QOR_LDP_PKT_DecodeMsg(mapping, &msg, ctx);
    if (result == QOR_OK) {
        printf("PW ID %" PRIu32 ", label %" PRIu32 ", MTU %u\n", msg.stFecKey.ulPwId, msg.ulLabel,
               (unsigned)msg.usMtu);
        const uint32_t length = QOR_LDP_PKT_EncodeMsg(out, &msg, ctx);
        status = length != sizeof mapping || memcmp(out, mapping, length) != 0;
        printf("encoded to %" PRIu32 " octets, %s\n", length, status ? "different" : "the same");
    } else {
        printf("refused: 0x%08" PRIX32 "\n", result);
    }

    QOR_LDP_PKT_FreeSignalMsg(&msg, ctx);
    QOR_PKT_DeInit(ctx);
    return status;
}
