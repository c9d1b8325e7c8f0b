/*
 * One group of operations of one's own, the rest from the default platform: memory with a budget
 * for each module. What this program defines takes the place of the same operations of qor::host.
 */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qor.h"

enum { MODULES = 4, BUDGET = 1024 };

/* Lies in front of each block, and is as large as the strictest alignment. */
union header {
    struct {
        uint64_t module;
        uint32_t size;
    } block;
    max_align_t align;
};

static uint32_t used[MODULES]; /* octets, by module */

/* The library hands octet 2 to HOST_MemAlloc: here all memory is alike. */
const uint8_t g_aucHostMemPt[] = {0, 0, 0};

void *HOST_MemAllocBySid(uint64_t module, uint32_t size, uint32_t tag) {
    (void)tag;
    if (module >= MODULES || size > BUDGET - used[module]) {
        return NULL;
    }
    union header *header = malloc(sizeof *header + size);
    if (header == NULL) {
        return NULL;
    }
    header->block.module = module;
    header->block.size = size;
    used[module] += size;
    return header + 1;
}

void *HOST_MemAlloc(uint64_t module, uint8_t partition, uint32_t size, const char *file,
                    uint32_t line) {
    (void)partition, (void)file;
    return HOST_MemAllocBySid(module, size, line);
}

void HOST_MemFree(void *p, const char *file, uint32_t line) {
    (void)file, (void)line;
    if (p != NULL) {
        union header *header = (union header *)p - 1;
        used[header->block.module] -= header->block.size;
        free(header);
    }
}

int main(void) {
    const QOR_PKT_CTX_S cfg = {.ulSid = 1};
    QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    if (ctx == NULL) {
        return 1;
    }
    printf("a codec context: %u octets of module 1\n", (unsigned)used[1]);

    /* Copies of a message with interface parameters, until the budget is spent. */
    static const uint8_t parameters[] = {0x01, 0x04, 0x05, 0xDC};
    QOR_LDP_SIGNAL_MSG_S msg = {.ulMsgType = QOR_LDP_MSG_MAPPING};
    msg.usIntfParaLen = sizeof parameters;
    msg.pucIntfPara = HOST_MemAllocBySid(1, sizeof parameters, 0);
    if (msg.pucIntfPara == NULL) {
        return 1;
    }
    memcpy(msg.pucIntfPara, parameters, sizeof parameters);

    static QOR_LDP_SIGNAL_MSG_S copies[BUDGET];
    int made = 0;
    while (QOR_LDP_PKT_CopySignalMsg(&copies[made], &msg, ctx) == QOR_OK) {
        made++;
    }
    printf("%d copies, then short of memory at %u octets\n", made, (unsigned)used[1]);

    while (made > 0) {
        QOR_LDP_PKT_FreeSignalMsg(&copies[--made], ctx);
    }
    QOR_LDP_PKT_FreeSignalMsg(&msg, ctx);
    QOR_PKT_DeInit(ctx);
    printf("at the end: %u octets\n", (unsigned)used[1]);
    return used[1] == 0 ? 0 : 1;
}
