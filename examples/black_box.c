/* A black box keeps the last lines of a log in memory: lines go in, the ring is read back. */
#include "check.h"
#include "qor.h"

enum { MODULE = 1, BOX = 7, RING = 128 };

static void print_syslog(void *user, const HOST_POSIX_LINE_S *line) {
    (void)user;
    printf("system log, severity %u: %s\n", (unsigned)line->ulSeverity, line->szText);
}

/* Prints what the box still holds, the oldest character first. A ring of n octets keeps n - 1
 * characters; it ends in front of pucWrite and has no NUL. */
static void print_ring(const QOR_MAM_BLACKBOX_S *box) {
    const uint8_t *at = box->pucOldest;
    while (at != box->pucWrite) {
        if (*at != '\r') {
            putchar(*at);
        }
        if (++at == box->pucEnd) {
            at = box->pucStart;
        }
    }
}

int main(void) {
    HOST_POSIX_LineSink(HOST_POSIX_SINK_SYSLOG, print_syslog, NULL);

    QOR_LOG_CFG_S cfg = {.ulSid = MODULE,
                         .ulBlackBoxId = BOX,
                         .ulCid = 0x64,
                         .szTag = "PE1",
                         .szModName = "LDP",
                         .ulDevLogOn = 0}; /* to the system log */

    /* The box before the log: lines for a box that is not there are lost, and nobody is told. The
     * second argument of the Init functions only must not be NULL. */
    QOR_MAM_S *mam = QOR_MAM_Init(MODULE, &cfg);
    QOR_MAM_BLACKBOX_S *box = QOR_MAM_BlackBoxCreate(mam, BOX, RING, QOR_MAM_MODE_SEQ);
    cfg.pstMam = mam;
    QOR_LOG_S *log = QOR_LOG_Init(&cfg, &cfg);
    if (!CHECK(mam != NULL && box != NULL && log != NULL)) {
        return 1;
    }

    QOR_LOG_DevLog(log, "session with %s is up", "10.0.0.2");
    QOR_LOG_DevLog(log, "PW %d is %s", 100, QOR_LOG_ChangeEncap2Str(5));
    QOR_LOG_DevLog(log, "PW %d uses %d%% of its rate", 100, 95);

    /* Text may also go to the box alone, and to no box at all. */
    CHECK(QOR_MAM_BlackBoxWriteString(mam, BOX, "PW %d is down", 100) == QOR_OK);
    CHECK(QOR_MAM_BlackBoxWriteString(mam, BOX + 1, "lost") == QOR_MAM_ERR_NO_BOX);

    CHECK(QOR_MAM_BlackBoxGetBuffer(mam, BOX) == box->pucStart);
    CHECK(QOR_MAM_BlackBoxGetSize(mam, BOX) == RING);
    printf("\nthe last %d characters:\n", RING - 1);
    print_ring(box);

    QOR_LOG_DeInit(log);
    QOR_MAM_DeInit(mam);
    return finish();
}
