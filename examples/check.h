/* What the example programs share: checks that tell what went wrong, and the end of main(). */
#ifndef EXAMPLES_CHECK_H
#define EXAMPLES_CHECK_H

#include <stdint.h>
#include <stdio.h> /* IWYU pragma: export */

#include "qor_host_posix.h" /* IWYU pragma: export */

static int failed_checks;

/* Says what is wrong, unless it is right; the program goes on. Returns whether it is right. */
#define CHECK(condition) check((condition) ? 1 : 0, #condition, __FILE__, __LINE__)

static inline int check(int right, const char *what, const char *file, int line) {
    if (!right) {
        fprintf(stderr, "%s:%d: not true: %s\n", file, line, what);
        failed_checks++;
    }
    return right;
}

static inline void check_account(void *user, const HOST_POSIX_MEM_STAT_S *account) {
    (void)user;
    CHECK(account->ullLiveBlocks == 0);
}

/* Returns the exit status of the program: 0 when all checks held, no call of the library broke a
 * precondition, and all memory of all modules was released. */
static inline int finish(void) {
    HOST_POSIX_MemWalk(check_account, NULL);
    CHECK(HOST_POSIX_AssertCount() == 0);
    return failed_checks == 0 ? 0 : 1;
}

#endif
