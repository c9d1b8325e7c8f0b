/* A table of learned MAC addresses that age out, driven by a timer of the default platform. */
#include <poll.h>
#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "qor.h"

enum { MODULE = 1, MAC_LEN = 6, TIMER_AGING = 5, MAC_AGE = 300 };

static const uint8_t macs[][MAC_LEN] = {
    {0x02, 0, 0, 0, 0, 0x0A}, {0x02, 0, 0, 0, 0, 0x0B}, {0x02, 0, 0, 0, 0, 0x0C},
    {0x02, 0, 0, 0, 0, 0x0D}, {0x02, 0, 0, 0, 0, 0x0E},
};
enum { A, B, C, D, E };

static int traffic_of_d = 1; /* frames from D have been seen since it was learned or renewed */

static int compare_macs(const void *a, const void *b) {
    return memcmp(a, b, MAC_LEN);
}

static int32_t format_mac(const void *key, uint32_t length, char *text, uint32_t size) {
    const uint8_t *mac = key;
    CHECK(length == MAC_LEN);
    return snprintf_s(text, size, size - 1, "%02x-%02x-%02x-%02x-%02x-%02x\n", mac[0], mac[1],
                      mac[2], mac[3], mac[4], mac[5]);
}

static void tell(const char *what, const void *key, uint64_t port) {
    char mac[20];
    (void)format_mac(key, MAC_LEN, mac, sizeof mac);
    printf("%-8s port %u, %s", what, (unsigned)port, mac);
}

/* Decides what becomes of an entry whose time has come. In a flush nobody asks for the answer. */
static uint32_t time_out(const void *key, uint64_t port, uint64_t handle) {
    (void)handle;
    if (traffic_of_d && memcmp(key, macs[D], MAC_LEN) == 0) {
        traffic_of_d = 0;
        tell("in use:", key, port);
        return QOR_DQ_RENEW;
    }
    tell("expired:", key, port);
    return QOR_OK;
}

static void deleted(const void *key, uint64_t *port, uint64_t handle) {
    (void)handle;
    tell("deleted:", key, *port);
}

static void on_timer(void *user, uint32_t type, uint64_t param) {
    (void)param;
    CHECK(QOR_DQ_ProcTimer(type, *(QOR_DQ_S **)user) == QOR_OK);
}

/* Prints the queue. The seconds that are left depend on the moment and are cut out. */
static void print_queue(QOR_DQ_INST_S *inst) {
    static const char time_left[] = "\t remainTime: ";
    char text[1024];
    CHECK(QOR_DQ_Serialize(inst, text, sizeof text) == (int32_t)strlen(text));
    for (const char *line = strtok(text, "\n"); line != NULL; line = strtok(NULL, "\n")) {
        if (strncmp(line, time_left, sizeof time_left - 1) == 0) {
            const long seconds = strtol(line + sizeof time_left - 1, NULL, 10);
            CHECK(seconds > 0 && seconds <= MAC_AGE);
            line = "\t remainTime: up to 300 s";
        }
        printf("%s\n", line);
    }
}

/* Lets the entries age until none is left, which stops the timer. */
static void wait_for_aging(uint64_t owner) {
    struct pollfd timer = {.fd = HOST_POSIX_TimerFd(owner), .events = POLLIN};
    while (HOST_POSIX_TimerCount(owner) != 0 && CHECK(poll(&timer, 1, 10000) == 1)) {
        (void)HOST_POSIX_TimerRun(owner);
    }
}

static void run(QOR_DQ_INST_S *inst, uint64_t owner) {
    uint32_t begin_high, begin_low, end_high, end_low; /* milliseconds */
    CHECK(QOR_TIME_GetCpuTickTimeMs(&begin_high, &begin_low) == QOR_OK);
    for (unsigned i = A; i <= E; i++) {
        CHECK(QOR_DQ_AddNode(inst, macs[i], i + 1) == QOR_OK); /* the port is the user's value */
    }
    CHECK(QOR_DQ_AddNode(inst, macs[A], 9) == QOR_DQ_ERR_EXIST);
    CHECK(HOST_POSIX_TimerCount(owner) == 1); /* the first entry started it */

    printf("C moves away, B is learned again:\n");
    CHECK(QOR_DQ_DelNode(inst, macs[C]) == QOR_OK);
    CHECK(!QOR_DQ_IsNodeExist(inst, macs[C]));
    QOR_DQ_UpdateTimeStamp(QOR_DQ_GetNode(inst, macs[B]), inst); /* is now the newest */
    print_queue(inst);

    /* This program does not wait for minutes. */
    printf("\nAn age of one second, at which D is still in use:\n");
    CHECK(QOR_DQ_SetTimeOutValue(inst, 1) == QOR_OK);
    wait_for_aging(owner);
    CHECK(QOR_TIME_GetCpuTickTimeMs(&end_high, &end_low) == QOR_OK);
    CHECK(QOR_TIME_CalcTimeInterval(begin_high, begin_low, end_high, end_low) >= 2000);

    printf("\nA flush of the two oldest of four, then the end:\n");
    for (unsigned i = A; i <= D; i++) {
        CHECK(QOR_DQ_AddNode(inst, macs[i], i + 1) == QOR_OK);
    }
    QOR_DQ_FlushNode(inst, 2);
    printf("nodes left: %u\n", (unsigned)inst->stNodeList.ulCount);
}

int main(void) {
    QOR_DQ_S *queue = NULL;
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(on_timer, &queue);
    const QOR_DQ_CFG_S cfg = {.ulSid = MODULE, .ulTimerOwner = owner};
    const QOR_DQ_REG_INFO_S reg = {.ulKeyLen = MAC_LEN,
                                   .ulTimerType = TIMER_AGING,
                                   .ulCycleTime = 1, /* look every second, */
                                   .ulCycleMaxNum = 100,
                                   .ulTimeInterval = MAC_AGE, /* for entries of this age */
                                   .pfnTimeOut = time_out,
                                   .pfnCmpKey = compare_macs,
                                   .pfnDelNode = deleted,
                                   .pfnFormatKey = format_mac};
    queue = QOR_DQ_Init(&cfg);
    QOR_DQ_INST_S *inst = queue == NULL ? NULL : QOR_DQ_RegInst(queue, &reg);
    if (!CHECK(inst != NULL)) {
        return 1;
    }
    run(inst, owner);
    QOR_DQ_DeInit(queue); /* deletes what is left */
    CHECK(HOST_POSIX_TimerCount(owner) == 0);
    HOST_POSIX_TimerOwnerDestroy(owner);
    return finish();
}
