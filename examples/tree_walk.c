/* Walks over a tree that changes on the way: in slices, and step by step. */

#include "check.h"
#include "qor.h"

enum { MODULE = 1, SLICE = 3, MAX_ID = 100 };

/* An entry: a record of one's own with a key and a tree node inside. */
struct session {
    uint32_t id;
    HOST_AVL_NODE_S node;
};

static struct session sessions[MAX_ID]; /* by id */

static int compare_ids(const void *a, const void *b) {
    const uint32_t x = *(const uint32_t *)a;
    const uint32_t y = *(const uint32_t *)b;
    return (x > y) - (x < y);
}

static QOR_AVL_TREE_S tree = {
    .stTreeInfo = {compare_ids, offsetof(struct session, id), offsetof(struct session, node)},
    .ucKeyLen = sizeof(uint32_t),
};

static void add(uint32_t id) {
    sessions[id] = (struct session){id, {.sLeftHeight = -1, .sRightHeight = -1}}; /* in no tree */
    CHECK(QOR_AVL_InsertNode(&tree, &sessions[id].node) == NULL);
}

static void drop(uint32_t id) {
    QOR_AVL_DeleteNode(&tree, &sessions[id].node);
}

/* Handles up to SLICE sessions. One more is fetched and not handled: the next slice begins there.
 * Returns whether there is such a one. */
static int walk_slice(QOR_WALK_S *walker) {
    printf("slice:");
    const struct session *at = QOR_WALK_WalkNode(walker);
    for (int handled = 0; at != NULL && handled < SLICE; handled++) {
        printf(" %u", (unsigned)at->id);
        at = QOR_WALK_WalkNext(walker);
    }
    printf("\n");
    return at != NULL;
}

int main(void) {
    for (uint32_t id = 10; id <= 70; id += 10) {
        add(id);
    }
    struct session again = {30, {.sLeftHeight = -1, .sRightHeight = -1}};
    CHECK(QOR_AVL_InsertNode(&tree, &again.node) == &sessions[30]); /* what is there stays */
    QOR_WALK_S *walker = QOR_AVL_CreateWalk(&tree, MODULE);
    if (!CHECK(walker != NULL)) {
        return 1;
    }

    printf("%u sessions\n", (unsigned)tree.ulNodeNum);
    int more = walk_slice(walker);
    CHECK(more);

    /* The walker holds a key, 40, and no pointer. 35 comes too late for it. */
    drop(40);
    drop(20);
    add(35);
    add(45);
    printf("deleted 40 and 20, added 35 and 45: %u sessions\n", (unsigned)tree.ulNodeNum);
    while (more) {
        more = walk_slice(walker);
    }

    /* In steps, whatever was returned may be deleted, and its successor too. The last entry would
     * be returned again and again; pCurNode tells that it is the last. */
    printf("steps:");
    QOR_WALK_Reset(walker);
    int last = 0;
    while (!last) {
        const struct session *at = QOR_WALK_WalkNextNode(walker);
        if (!CHECK(at != NULL)) {
            break;
        }
        last = walker->pCurNode == NULL;
        printf(" %u", (unsigned)at->id);
        if (at->id % 10 == 0) {
            drop(at->id);
        }
        if (at->id == 50) {
            drop(60);
        }
    }
    printf("\nleft:");
    QOR_WALK_Reset(walker);
    for (const struct session *at = QOR_WALK_WalkNode(walker); at != NULL;
         at = QOR_WALK_WalkNext(walker)) {
        printf(" %u", (unsigned)at->id);
    }
    printf(" (%u sessions)\n", (unsigned)tree.ulNodeNum);

    QOR_WALK_Destroy(&walker);
    CHECK(walker == NULL);
    return finish();
}
