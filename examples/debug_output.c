/* Debug messages, gathered in a buffer and put out in pieces of 512 characters at most. This
 * program shows of each piece its length, its beginning and its end. */
#include <string.h>

#include "check.h"
#include "qor.h"

enum { MODULE = 1, CID = 0x64, DBG_EVENT = 3, SHOWN = 20 };

enum { MSG_STATE, MSG_LABEL, MSG_TEXT };

static const char *const formats[] = {
    "\r\nPW %u is %s", /* the line break is not printed */
    "label %u, peer %s\r",
    "%s",
};

static void print_range(const char *from, const char *to) {
    for (; from != to; from++) {
        if (*from == '\r') {
            printf("\\r");
        } else {
            putchar(*from);
        }
    }
}

static void print_piece(const char *piece) {
    const char *end = piece + strlen(piece);
    printf("%3d: ", (int)(end - piece));
    if (end - piece <= 4 * SHOWN) {
        print_range(piece, end);
    } else {
        print_range(piece, piece + SHOWN);
        printf(" ... ");
        print_range(end - SHOWN, end);
    }
    printf("\n");
}

static void on_console(void *user, const HOST_POSIX_LINE_S *line) {
    (void)user;
    static const char front[] = "\r\nPW-CID=0x64: ";
    if (CHECK(strncmp(line->szText, front, sizeof front - 1) == 0)) {
        printf("console ");
        print_piece(line->szText + sizeof front - 1);
    }
}

static void on_debug(void *user, const HOST_POSIX_LINE_S *line) {
    (void)user;
    printf("component 0x%x, type %u, arguments %u and %u: ", (unsigned)line->ulCid,
           (unsigned)line->ulDbgType, (unsigned)line->ulArg, (unsigned)line->ullArg);
    print_piece(line->szText);
}

int main(void) {
    HOST_POSIX_LineSink(HOST_POSIX_SINK_CONSOLE, on_console, NULL);
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEBUG, on_debug, NULL);

    QOR_DBG_CFG_S cfg = {.ulSid = MODULE,
                         .szModName = "PW",
                         .ppcFmtTbl = formats,
                         .ulFmtNum = sizeof formats / sizeof formats[0],
                         .ulCid = CID};
    QOR_DBG_S *console = QOR_DBG_Init(&cfg, &cfg);
    cfg.ulOutMode = QOR_DBG_OUT_DEBUG;
    cfg.ulHostDbgArg = 1;
    cfg.ulHostDbgArg64 = 2;
    QOR_DBG_S *channel = QOR_DBG_Init(&cfg, &cfg);
    if (!CHECK(console != NULL && channel != NULL)) {
        return 1;
    }

    printf("A text, and a message of the table:\n");
    QOR_DBG_Output(console, DBG_EVENT, "%d pseudowires", 2);
    QOR_DBG_WriteAndOutputBuffer(console, DBG_EVENT, MSG_STATE, 100U, "up");

    printf("\nMessages that wait for each other:\n");
    QOR_DBG_WriteBuffer(console, DBG_EVENT, MSG_STATE, 101U, "mapped");
    QOR_DBG_AppendStr2Buffer_H(console, ", ");
    QOR_DBG_WriteBuffer(console, DBG_EVENT, MSG_STATE, 102U, "idle");
    QOR_DBG_OutputBuffer(console, DBG_EVENT);

    printf("\n50 lines of 24 characters, cut in front of the CR that ends one:\n");
    for (unsigned label = 16; label < 66; label++) {
        QOR_DBG_WriteBuffer(console, DBG_EVENT, MSG_LABEL, label, "10.0.0.2");
    }
    QOR_DBG_OutputBuffer(console, DBG_EVENT);

    printf("\n2000 characters: more than the buffer holds\n");
    char text[2001];
    for (size_t i = 0; i < sizeof text - 1; i++) {
        text[i] = (char)('0' + i % 10);
    }
    text[sizeof text - 1] = '\0';
    QOR_DBG_WriteBuffer(console, DBG_EVENT, MSG_TEXT, text);

    printf("\nThe debug channel instead of the console:\n");
    QOR_DBG_Output(channel, DBG_EVENT, "%d pseudowires", 2);
    QOR_DBG_Output(channel, 0, "type 0 is off");

    QOR_DBG_DeInit(channel);
    QOR_DBG_DeInit(console);
    return finish();
}
