/*
 * A platform of one's own: this program is not linked with the default platform but defines what
 * the library takes from its surroundings, every operation of tests/api/symbols-undefined.txt. A
 * router would hand memory and logs to its own services here.
 */
#define _DEFAULT_SOURCE /* timegm() */
#include <arpa/inet.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "qor.h"

/* ---- Memory, counted, and assertion reports ------------------------------- */

static int live_blocks;
static int assert_reports;
static int log_lines;

const uint8_t g_aucHostMemPt[] = {0, 0, 0};

void *HOST_MemAllocBySid(uint64_t module, uint32_t size, uint32_t tag) {
    (void)module, (void)tag;
    void *p = malloc(size);
    live_blocks += p != NULL;
    return p;
}

void *HOST_MemAlloc(uint64_t module, uint8_t partition, uint32_t size, const char *file,
                    uint32_t line) {
    (void)partition, (void)file;
    return HOST_MemAllocBySid(module, size, line);
}

void HOST_MemFree(void *p, const char *file, uint32_t line) {
    (void)file, (void)line;
    live_blocks -= p != NULL;
    free(p);
}

void HOST_Assert(const char *file, uint32_t line, uint32_t zero) {
    (void)zero;
    assert_reports++;
    fprintf(stderr, "precondition broken: %s %u\n", file, (unsigned)line);
}

/* ---- Containers -------------------------------------------------------------
 * A sorted chain in the links of the tree nodes is enough for the few entries of this program;
 * pstLeft is the previous node, pstRight the next one. */

static char *entry_of(HOST_AVL_NODE_S *node, const HOST_AVL_INFO_S *info) {
    return (char *)node - info->usNodeOffset;
}

/* The first node whose key is not below *key; *prev := the one in front of it. */
static HOST_AVL_NODE_S *not_below(HOST_AVL_TREE_S *root, const void *key,
                                  const HOST_AVL_INFO_S *info, HOST_AVL_NODE_S **prev) {
    HOST_AVL_NODE_S *node = root->pstRoot;
    for (*prev = NULL; node != NULL; *prev = node, node = node->pstRight) {
        if (info->pfnCompare(entry_of(node, info) + info->usKeyOffset, key) >= 0) {
            break;
        }
    }
    return node;
}

void *HOST_AvlFind(HOST_AVL_TREE_S *root, const void *key, const HOST_AVL_INFO_S *info) {
    HOST_AVL_NODE_S *prev;
    HOST_AVL_NODE_S *node = not_below(root, key, info, &prev);
    if (node == NULL || info->pfnCompare(entry_of(node, info) + info->usKeyOffset, key) != 0) {
        return NULL;
    }
    return entry_of(node, info);
}

void *HOST_AvlFirst(HOST_AVL_TREE_S *root, const HOST_AVL_INFO_S *info) {
    return entry_of(root->pstRoot, info);
}

void *HOST_AvlInsertOrFind(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node,
                           const HOST_AVL_INFO_S *info) {
    const void *key = entry_of(node, info) + info->usKeyOffset;
    void *equal = HOST_AvlFind(root, key, info);
    if (equal == NULL) {
        HOST_AVL_NODE_S *prev;
        HOST_AVL_NODE_S *next = not_below(root, key, info, &prev);
        *node = (HOST_AVL_NODE_S){.pstLeft = prev, .pstRight = next};
        *(prev != NULL ? &prev->pstRight : &root->pstRoot) = node;
        if (next != NULL) {
            next->pstLeft = node;
        }
    }
    return equal;
}

void HOST_AvlDelete(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node) {
    if (node->pstLeft == NULL && root->pstRoot != node) {
        return; /* not in this chain */
    }
    *(node->pstLeft != NULL ? &node->pstLeft->pstRight : &root->pstRoot) = node->pstRight;
    if (node->pstRight != NULL) {
        node->pstRight->pstLeft = node->pstLeft;
    }
    *node = (HOST_AVL_NODE_S){.sLeftHeight = -1, .sRightHeight = -1};
}

void *HOST_AvlNext(HOST_AVL_NODE_S *node, const HOST_AVL_INFO_S *info) {
    return node->pstRight == NULL ? NULL : entry_of(node->pstRight, info);
}

void *HOST_AvlFindOrFindNext(HOST_AVL_TREE_S *root, const void *key, uint32_t zero,
                             const HOST_AVL_INFO_S *info) {
    (void)zero;
    HOST_AVL_NODE_S *prev;
    HOST_AVL_NODE_S *node = not_below(root, key, info, &prev);
    return node == NULL ? NULL : entry_of(node, info);
}

void HOST_DllInsertInMiddle(HOST_DLL_S *head, HOST_DLL_NODE_S *prev, HOST_DLL_NODE_S *node,
                            HOST_DLL_NODE_S *next) {
    *node = (HOST_DLL_NODE_S){.pstNext = next, .pstPrev = prev};
    prev->pstNext = node;
    next->pstPrev = node;
    head->ulCount++;
}

void HOST_DllDelete(HOST_DLL_S *head, HOST_DLL_NODE_S *node) {
    if (node->pstNext != NULL && node->pstPrev != NULL) {
        node->pstPrev->pstNext = node->pstNext;
        node->pstNext->pstPrev = node->pstPrev;
        *node = (HOST_DLL_NODE_S){0};
        head->ulCount--;
    }
}

void *HOST_DllFind(HOST_DLL_S *head, const void *key, HOST_DLL_CMP_PF compare) {
    HOST_DLL_NODE_S *node = head->stNode.pstNext;
    while (node != NULL && node != &head->stNode && compare(node, key) != 0) {
        node = node->pstNext;
    }
    return node == &head->stNode ? NULL : node;
}

/* ---- Timers -------------------------------------------------------------------
 * A handle is the place in a small table, counted from 1. The time of this platform stands still
 * until the program moves it, which is also when the timers that are due are fired: see
 * pass_seconds(). */

static uint32_t uptime = 1;

enum { MAX_TIMERS = 8 };

static struct timer {
    int armed;
    uint32_t type, due, period; /* period 0: expires once */
} timers[MAX_TIMERS];

static uint64_t arm(uint32_t type, uint32_t interval, uint32_t period) {
    for (uint32_t i = 0; i < MAX_TIMERS; i++) {
        if (!timers[i].armed) {
            timers[i] = (struct timer){1, type, uptime + interval, period};
            return i + 1;
        }
    }
    return 0;
}

uint64_t HOST_TimerCreateOnce(uint64_t owner, uint32_t interval, uint32_t type, uint64_t param,
                              uint32_t ten) {
    (void)owner, (void)param, (void)ten;
    return arm(type, interval, 0);
}

uint64_t HOST_TimerCreatePeriod(uint64_t owner, uint32_t interval, uint32_t type, uint64_t param,
                                uint32_t ten) {
    (void)owner, (void)param, (void)ten;
    return arm(type, interval, interval);
}

uint32_t HOST_TimerDelete(uint64_t owner, uint64_t handle) {
    (void)owner;
    if (handle == 0 || handle > MAX_TIMERS || !timers[handle - 1].armed) {
        return 1;
    }
    timers[handle - 1].armed = 0;
    return 0;
}

/* ---- Clocks -------------------------------------------------------------------
 * All follow the uptime. Ticks of both kinds are milliseconds, and local time is GMT. */

enum { START_DATE = 1767225600 }; /* 2026-01-01, in seconds since 1970 */

static uint32_t put(uint64_t value, uint32_t *high, uint32_t *low) {
    *high = (uint32_t)(value >> 32);
    *low = (uint32_t)value;
    return 0;
}

static uint64_t pair(uint32_t high, uint32_t low) {
    return (uint64_t)high << 32 | low;
}

uint32_t HOST_GetUptimeSec(uint32_t *high, uint32_t *low) {
    return put(uptime, high, low);
}

uint32_t HOST_SecondNow(uint32_t *sec, uint32_t *subSec) {
    *subSec = 0;
    *sec = uptime;
    return 0;
}

uint32_t HOST_GetSystemTime(uint32_t *high, uint32_t *low) {
    return put(START_DATE + uptime, high, low);
}

uint32_t HOST_TickGet(uint32_t *high, uint32_t *low) {
    return put(uptime * UINT64_C(1000), high, low);
}

uint32_t HOST_TickMs2Tick(uint32_t msHigh, uint32_t msLow, uint32_t *high, uint32_t *low) {
    return put(pair(msHigh, msLow), high, low);
}

void HOST_GetCpuTick(uint32_t *high, uint32_t *low) {
    (void)HOST_TickGet(high, low);
}

uint32_t HOST_CpuTick2Ms(uint32_t tickHigh, uint32_t tickLow, uint32_t *high, uint32_t *low) {
    return put(pair(tickHigh, tickLow), high, low);
}

uint32_t HOST_Div64By32RoundUp(uint32_t high, uint32_t low, uint32_t divisor, uint32_t *quotHigh,
                               uint32_t *quotLow) {
    if (divisor == 0) {
        return 1;
    }
    const uint64_t value = pair(high, low);
    return put(value / divisor + (value % divisor != 0), quotHigh, quotLow);
}

uint32_t HOST_SystimeSec2Time(uint32_t sec, HOST_SYSTIME_S *t) {
    const time_t now = sec;
    struct tm tm;
    if (gmtime_r(&now, &tm) == NULL) {
        return 1;
    }
    *t = (HOST_SYSTIME_S){(uint16_t)(tm.tm_year + 1900),
                          (uint8_t)(tm.tm_mon + 1),
                          (uint8_t)tm.tm_mday,
                          (uint8_t)tm.tm_hour,
                          (uint8_t)tm.tm_min,
                          (uint8_t)tm.tm_sec,
                          (uint8_t)tm.tm_wday,
                          0};
    return 0;
}

uint32_t HOST_SystimeGet(HOST_SYSTIME_S *t) {
    return HOST_SystimeSec2Time(START_DATE + uptime, t);
}

uint32_t HOST_GmtSystimeGet(HOST_SYSTIME_S *t) {
    return HOST_SystimeGet(t);
}

static int64_t seconds_of(const HOST_SYSTIME_S *t) {
    struct tm tm = {.tm_year = t->usYear - 1900,
                    .tm_mon = t->ucMonth - 1,
                    .tm_mday = t->ucDay,
                    .tm_hour = t->ucHour,
                    .tm_min = t->ucMinute,
                    .tm_sec = t->ucSecond};
    const int valid = t->ucMonth >= 1 && t->ucMonth <= 12 && t->ucDay >= 1 && t->ucDay <= 31;
    return valid ? timegm(&tm) : -1;
}

uint32_t HOST_SystimeSecSince1970(const HOST_SYSTIME_S *t, uint32_t *high, uint32_t *low) {
    const int64_t seconds = seconds_of(t);
    return seconds < 0 ? 1 : put((uint64_t)seconds, high, low);
}

uint32_t HOST_SystimeCompare(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                             uint32_t *seconds) {
    *seconds = 0;
    const int64_t a = seconds_of(t1);
    const int64_t b = seconds_of(t2);
    if (a < 0 || b < 0) {
        return 1;
    }
    return a == b ? 0 : a > b ? 2 : 3;
}

uint32_t HOST_SystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                               uint32_t *seconds) {
    *seconds = (uint32_t)(seconds_of(t2) - seconds_of(t1));
    return seconds_of(t2) < seconds_of(t1);
}

/* ---- Sinks -------------------------------------------------------------------- */

static void print(const char *sink, const char *fmt, va_list ap) {
    printf("%s: ", sink);
    vprintf(fmt, ap);
    printf("\n");
}

void HOST_DevLogLimit(uint32_t cid, const char *fmt, ...) {
    (void)cid;
    va_list ap;
    va_start(ap, fmt);
    print("developer log", fmt, ap);
    va_end(ap);
    log_lines++;
}

void HOST_Syslog(uint32_t severity, const char *fmt, ...) {
    (void)severity;
    va_list ap;
    va_start(ap, fmt);
    print("system log", fmt, ap);
    va_end(ap);
}

void HOST_Printf(const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    print("console", fmt, ap);
    va_end(ap);
}

void HOST_Debug(uint32_t cid, uint32_t type, uint64_t arg64, uint32_t arg, const char *fmt, ...) {
    (void)cid, (void)type, (void)arg64, (void)arg;
    va_list ap;
    va_start(ap, fmt);
    print("debug", fmt, ap);
    va_end(ap);
}

void HOST_EventLog(uint32_t cid, uint32_t para, uint64_t id, const char *message,
                   const HOST_EVENT_REC_S *rec, const char *reason) {
    (void)cid, (void)para, (void)id, (void)rec;
    printf("event log: %s: %s\n", message, reason);
}

/* ---- Text and octets ---------------------------------------------------------- */

int32_t HOST_VsnprintfTruncated(char *out, uint32_t room, const char *fmt, va_list ap) {
    const int n = room == 0 ? -1 : vsnprintf(out, room, fmt, ap);
    return n >= (int64_t)room ? (int32_t)room - 1 : n;
}

int32_t HOST_SnprintfTruncated(char *out, uint32_t room, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const int32_t n = HOST_VsnprintfTruncated(out, room, fmt, ap);
    va_end(ap);
    return n;
}

int snprintf_s(char *dst, size_t dstMax, size_t count, const char *fmt, ...) {
    if (dst == NULL || dstMax == 0) {
        return -1;
    }
    const size_t room = count < dstMax ? count + 1 : dstMax;
    va_list ap;
    va_start(ap, fmt);
    const int n = vsnprintf(dst, room, fmt, ap);
    va_end(ap);
    return n < 0 || (size_t)n >= room ? -1 : n;
}

int memset_s(void *dst, size_t dstMax, int c, size_t n) {
    if (dst == NULL) {
        return 1;
    }
    memset(dst, c, n < dstMax ? n : dstMax);
    return n > dstMax;
}

int memcpy_s(void *dst, size_t dstMax, const void *src, size_t n) {
    if (dst == NULL || src == NULL || n > dstMax) {
        (void)memset_s(dst, dstMax, 0, dstMax);
        return 1;
    }
    memcpy(dst, src, n);
    return 0;
}

int strcpy_s(char *dst, size_t dstMax, const char *src) {
    const size_t n = src == NULL ? dstMax : strnlen(src, dstMax);
    if (dst == NULL || n >= dstMax) {
        (void)memset_s(dst, dstMax, 0, dstMax != 0);
        return 1;
    }
    memcpy(dst, src, n + 1);
    return 0;
}

uint32_t HOST_StrLen(const char *s) {
    return (uint32_t)strlen(s);
}

char *HOST_StrRChr(const char *s, int c) {
    return strrchr(s, c);
}

int32_t HOST_MemCmp(const void *a, const void *b, uint32_t n) {
    const int order = memcmp(a, b, n);
    return (order > 0) - (order < 0);
}

void HOST_IpAddrToStrEx(uint32_t ip, char *out, uint32_t size) {
    (void)snprintf(out, size, "%u.%u.%u.%u", (unsigned)(ip >> 24), (unsigned)(ip >> 16) & 255,
                   (unsigned)(ip >> 8) & 255, (unsigned)ip & 255);
}

void HOST_IpAddrToStr(uint32_t ip, char *out) {
    HOST_IpAddrToStrEx(ip, out, 16);
}

uint32_t HOST_Inet6Ntoa(uint64_t groups0to3, uint64_t groups4to7, char *out, uint32_t size) {
    uint8_t octets[16];
    for (int i = 0; i < 8; i++) {
        const uint64_t group = (i < 4 ? groups0to3 : groups4to7) >> (16 * (i % 4));
        octets[2 * i] = (uint8_t)(group >> 8);
        octets[2 * i + 1] = (uint8_t)group;
    }
    return inet_ntop(AF_INET6, octets, out, size) == NULL;
}

/* ---- The program: a malformed message and an aging queue on this platform ------- */

static void print_error(const char *text, uint64_t arg) {
    (void)arg;
    printf("decode error: %s\n", text);
}

/* Lets the time pass. All timers of this program are the queue's. */
static void pass_seconds(uint32_t seconds, QOR_DQ_S *queue) {
    while (seconds-- != 0) {
        uptime++;
        for (int i = 0; i < MAX_TIMERS; i++) {
            struct timer *timer = &timers[i];
            if (timer->armed && timer->due <= uptime) {
                timer->due += timer->period;
                timer->armed = timer->period != 0;
                (void)QOR_DQ_ProcTimer(timer->type, queue);
            }
        }
    }
}

static uint32_t aged_out(const void *key, uint64_t value, uint64_t handle) {
    (void)key;
    printf("entry %u aged out at second %u\n", (unsigned)value, (unsigned)uptime);
    *(uint32_t *)(uintptr_t)handle += 1;
    return 0;
}

static int compare_octets(const void *a, const void *b) {
    return memcmp(a, b, 2);
}

/* Returns how many of two entries have aged out after 10 seconds. */
static uint32_t age_entries(void) {
    uint32_t gone = 0;
    const QOR_DQ_CFG_S cfg = {
        .ulSid = 4, .ulTimerOwner = 1, .ulCbHandle = (uint64_t)(uintptr_t)&gone};
    const QOR_DQ_REG_INFO_S reg = {.ulKeyLen = 2,
                                   .ulTimerType = 5,
                                   .ulCycleTime = 2,
                                   .ulCycleMaxNum = 100,
                                   .ulTimeInterval = 3,
                                   .pfnTimeOut = aged_out,
                                   .pfnCmpKey = compare_octets};
    QOR_DQ_S *queue = QOR_DQ_Init(&cfg);
    QOR_DQ_INST_S *inst = queue == NULL ? NULL : QOR_DQ_RegInst(queue, &reg);
    if (inst != NULL && QOR_DQ_AddNode(inst, "AA", 1) == QOR_OK) {
        pass_seconds(2, queue);
        (void)QOR_DQ_AddNode(inst, "BB", 2);
        pass_seconds(8, queue);
    }
    if (queue != NULL) {
        QOR_DQ_DeInit(queue);
    }
    return gone;
}

int main(void) {
    /* A Label Withdraw whose FEC element is of a type that nobody has defined. */
    const uint8_t withdraw[] = {0x04, 0x02, 0x00, 0x09, 0x00, 0x00, 0x00,
                                0x01, 0x01, 0x00, 0x00, 0x01, 0x7F};
    QOR_MAM_S *mam = QOR_MAM_Init(1, &live_blocks);
    QOR_MAM_BLACKBOX_S *box =
        QOR_MAM_BlackBoxCreate(mam, 7, 4096, QOR_MAM_MODE_SEQ | QOR_MAM_MODE_TIME);
    const QOR_LOG_CFG_S log_cfg = {.ulSid = 2,
                                   .pstMam = mam,
                                   .ulBlackBoxId = 7,
                                   .ulCid = 0x64,
                                   .szTag = "EXAMPLE",
                                   .szModName = "PKT",
                                   .ulDevLogOn = 1,
                                   .ulEventId = 99};
    QOR_LOG_S *log = QOR_LOG_Init(&log_cfg, mam);
    const QOR_PKT_CTX_S cfg = {
        .ulSid = 3, .ulLogHandle = (uint64_t)(uintptr_t)log, .pfnErrOutput = print_error};
    QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    if (box == NULL || log == NULL || ctx == NULL) {
        return 1;
    }

    QOR_LDP_SIGNAL_MSG_S msg = {.ulPeerIp = 0x0A000001};
    const uint32_t result = QOR_LDP_PKT_DecodeMsg(withdraw, &msg, ctx);
    const int line_length = (int)(box->pucWrite - box->pucStart) - 2; /* without CR LF */
    printf("black box: %.*s\n", line_length, (const char *)box->pucStart);

    /* Stop in the reverse order of the start. */
    QOR_PKT_DeInit(ctx);
    QOR_LOG_DeInit(log);
    QOR_MAM_DeInit(mam);
    return age_entries() != 2 || result != QOR_LDP_ERR_UNKNOWN_FEC || log_lines == 0 ||
           live_blocks != 0 || assert_reports != 0;
}
