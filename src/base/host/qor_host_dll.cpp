// Circular doubly linked list. Only links and count are touched: list nodes overlay records whose
// third word belongs to somebody else.
#include "base/host/qor_host_api.hpp"

void HOST_DllInsertInMiddle(HOST_DLL_S *head, HOST_DLL_NODE_S *prev, HOST_DLL_NODE_S *node,
                            HOST_DLL_NODE_S *next) {
    node->pstPrev = prev;
    node->pstNext = next;
    prev->pstNext = node;
    next->pstPrev = node;
    head->ulCount++;
}

void HOST_DllDelete(HOST_DLL_S *head, HOST_DLL_NODE_S *node) {
    if (!node->pstNext || !node->pstPrev) {
        return;
    }
    node->pstPrev->pstNext = node->pstNext;
    node->pstNext->pstPrev = node->pstPrev;
    node->pstNext = nullptr;
    node->pstPrev = nullptr;
    head->ulCount--;
}

void *HOST_DllFind(HOST_DLL_S *head, const void *key, HOST_DLL_CMP_PF compare) {
    // A head filled with zeros is an empty list too.
    for (HOST_DLL_NODE_S *at = head->stNode.pstNext; at && at != &head->stNode; at = at->pstNext) {
        if (compare(at, key) == 0) {
            return at;
        }
    }
    return nullptr;
}
