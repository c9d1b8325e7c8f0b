/* Two walkers on one list, and entries that are deleted under them. */

#include "check.h"
#include "qor.h"

enum { MODULE = 1 };

/* An entry: a record of one's own with a list node inside. */
struct segment {
    const char *name;
    HOST_DLL_NODE_S node;
};

static int has_name(const void *node, const void *key) {
    const char *entry = (const char *)node - offsetof(struct segment, node);
    return ((const struct segment *)(const void *)entry)->name != key;
}

static void append(QOR_WDLL_S *list, struct segment *entry) {
    HOST_DLL_NODE_S *head = &list->stList.stNode;
    HOST_DllInsertInMiddle(&list->stList, head->pstPrev, &entry->node, head);
}

static const char *name_of(const struct segment *entry) {
    return entry == NULL ? "nowhere" : entry->name;
}

static void tell(const char *event, QOR_WDLL_WALK_S *first, QOR_WDLL_WALK_S *second) {
    printf("%-28s first on %-8s second on %s\n", event, name_of(QOR_WDLL_WalkNode_X(first)),
           name_of(QOR_WDLL_WalkNode_X(second)));
}

int main(void) {
    static const char *const names[] = {"A", "B", "C", "D", "E"};
    enum { COUNT = sizeof names / sizeof names[0] };
    struct segment segments[COUNT];

    QOR_WDLL_S list = {.usNodeOffset = offsetof(struct segment, node)};
    list.stList.stNode.pstNext = list.stList.stNode.pstPrev = &list.stList.stNode;
    for (int i = 0; i < COUNT; i++) {
        segments[i] = (struct segment){.name = names[i]};
        append(&list, &segments[i]);
    }
    CHECK(QOR_WDLL_FirstNode_X(&list) == &segments[0]);
    CHECK(QOR_WDLL_LastNode_X(&list) == &segments[4]);
    CHECK(QOR_WDLL_PrevNode_X(&list, &segments[0].node) == NULL);

    QOR_WDLL_WALK_S *first = QOR_WDLL_CreateWalk_X(&list, MODULE);
    QOR_WDLL_WALK_S *second = QOR_WDLL_CreateWalk_X(&list, MODULE);
    if (!CHECK(first != NULL && second != NULL)) {
        return 1;
    }
    tell("begin", first, second);

    (void)QOR_WDLL_WalkNext_X(first);
    (void)QOR_WDLL_WalkNext_X(second);
    tell("both step", first, second);

    /* Both stand on B and are moved to C. Only the link is gone: B is still the caller's. */
    struct segment *b = QOR_WDLL_FindNode_X(&list, names[1], has_name);
    CHECK(b == &segments[1]);
    QOR_WDLL_DelNode_X(&list, &b->node);
    tell("B is deleted", first, second);

    (void)QOR_WDLL_WalkNext_X(second);
    tell("the second steps", first, second);
    QOR_WDLL_DelNode_X(&list, &segments[2].node);
    tell("C is deleted", first, second);

    /* The last entry is deleted under the second walker: that one is at the end. */
    (void)QOR_WDLL_WalkNext_X(second);
    QOR_WDLL_DelNode_X(&list, &segments[4].node);
    tell("second steps, E is deleted", first, second);

    /* A walk that has ended begins again with the next step. */
    (void)QOR_WDLL_WalkNext_X(second);
    tell("the second steps", first, second);
    QOR_WDLL_ResetWalk_X(first);
    append(&list, b);
    tell("first is reset, B appended", first, second);

    printf("what is left:");
    for (struct segment *at = QOR_WDLL_FirstNode_X(&list); at != NULL;
         at = QOR_WDLL_NextNode_X(&list, &at->node)) {
        printf(" %s", at->name);
    }
    printf("\n");

    QOR_WDLL_DeleteWalk_X(&first);
    QOR_WDLL_DeleteWalk_X(&second);
    CHECK(first == NULL && second == NULL);
    return finish();
}
