/* The code of the pages in docs/modules, compiled and run: each of their samples stands here, line
 * by line. scripts/samples-check.py compares. */
#include <poll.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include "../examples/check.h"
#include "qor.h"

typedef struct Pw {
    HOST_AVL_NODE_S node;
    uint32_t id;
} Pw;

static int CompareIds(const void *a, const void *b) {
    return memcmp(a, b, sizeof(uint32_t));
}

static void Avl(void) {
    Pw one, other;
    one.id = other.id = 7;
    other.node = (HOST_AVL_NODE_S){.sLeftHeight = -1, .sRightHeight = -1};
    Pw *pw = &one;
    bool taken = false;

    QOR_AVL_TREE_S tree = {
        .stTreeInfo = {CompareIds, offsetof(Pw, id), offsetof(Pw, node)},
        .ucKeyLen = sizeof(uint32_t),
    };
    pw->node = (HOST_AVL_NODE_S){.sLeftHeight = -1, .sRightHeight = -1};
    if (QOR_AVL_InsertNode(&tree, &pw->node) != NULL) {
        taken = true; /* by another entry with that id, which stays */
    }

    CHECK(!taken && tree.ulNodeNum == 1);
    CHECK(QOR_AVL_InsertNode(&tree, &other.node) == pw);
    const uint32_t id = 7;
    CHECK(HOST_AvlFind(&tree.stTree, &id, &tree.stTreeInfo) == pw);
}

static void Base(void) {
    QOR_IP_ADDR_S addr = {0};
    char text[QOR_IP_TEXT_LEN];
    if (QOR_IP_ConstructAddr(0x0A000001, NULL, &addr) == QOR_OK) {
        QOR_IP_ToString(&addr, text, sizeof text); /* "10.0.0.1" */
    }

    CHECK(strcmp(text, "10.0.0.1") == 0);
}

static uint32_t expiries;
static bool running = true;

static void OnExpiry(void *user, uint32_t timerType, uint64_t param) {
    expiries += user == &expiries && timerType == 3 && param == 5;
    running = false;
}

static void Host(void) {
    void *queue = &expiries;

    uint64_t owner = HOST_POSIX_TimerOwnerCreate(OnExpiry, queue);
    HOST_TimerCreateOnce(owner, 0, 3, 5, 10); /* at once, type 3, parameter 5 */
    struct pollfd fds = {.fd = HOST_POSIX_TimerFd(owner), .events = POLLIN};
    while (running && poll(&fds, 1, -1) >= 0) {
        HOST_POSIX_TimerRun(owner); /* calls OnExpiry(queue, timerType, param) */
    }

    CHECK(expiries == 1);
    HOST_POSIX_TimerOwnerDestroy(owner);
}

static void Pdpwe3i(void) {
    uint8_t buf[40];
    QOR_LDP_SIGNAL_MSG_S msg = {.stFecKey = {.ucPwType = 5, .ulPwId = 100}};
    msg.stFecKey.stPeerAddr.aulAddr[0] = 0x0A000001; /* without a peer the key is all keys */

    QOR_VERIFY_SIG_KEY_S key = {0};
    QOR_VERIFY_HANDLE_S handle = {0};
    uint8_t *end = buf; /* room for 40 octets */
    QOR_PDPWE3I_SetVerifySigKey(&msg.stFecKey, &key);
    QOR_PDPWE3I_ConstructSigVerifyRequestHandle(&key, &handle);
    QOR_PDPWE3I_BuildVerifyHandleTlv(&end, 0x3F00, &handle);

    CHECK(end == buf + 20 && buf[0] == 0x3F && buf[1] == 0x00 && buf[3] == 16);
}

static void PktBgp(void) {
    uint8_t octets[8], *out = octets;
    QOR_EXTCOMM_S ext = {.ucSubType = 0x0A, .ucType = 0, .stAs2 = {65001, 7}};
    QOR_PKT_PutExtcommNet(&ext, &out); /* 00 0A FD E9 00 00 00 07 */

    CHECK(out == octets + 8 && memcmp(octets, "\x00\x0A\xFD\xE9\x00\x00\x00\x07", 8) == 0);
}

typedef struct Entry {
    HOST_DLL_NODE_S node;
} Entry;

static int used;

static void use(const Entry *e) {
    used += e != NULL;
}

static void Wdll(void) {
    QOR_WDLL_S entries = {0}, *list = &entries;
    HOST_DLL_NODE_S *head = &list->stList.stNode;
    head->pstNext = head->pstPrev = head;
    for (int i = 0; i < 3; i++) {
        Entry *entry = malloc(sizeof *entry);
        if (CHECK(entry != NULL)) {
            HOST_DllInsertInMiddle(&list->stList, head, &entry->node, head->pstNext);
        }
    }
    QOR_WDLL_WALK_S *w = QOR_WDLL_CreateWalk_X(list, 1);
    Entry *e;

    for (e = QOR_WDLL_WalkNode_X(w); e != NULL; e = QOR_WDLL_WalkNext_X(w)) {
        use(e);
    }

    CHECK(used == 3);
    QOR_WDLL_ResetWalk_X(w);
    while ((e = QOR_WDLL_WalkNode_X(w)) != NULL) {
        QOR_WDLL_DelNode_X(list, &e->node);
        free(e);
    }
    CHECK(list->stList.ulCount == 0);
    QOR_WDLL_DeleteWalk_X(&w);
}

int main(void) {
    Avl();
    Base();
    Host();
    Pdpwe3i();
    PktBgp();
    Wdll();
    return finish();
}
