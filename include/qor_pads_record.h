/** @file
 * The records of the health service: indexes, users, and what an index is
 * registered with. qor_pads.h has the operations.
 */
#ifndef QOR_PADS_RECORD_H
#define QOR_PADS_RECORD_H

#include "qor_avl.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Types of an index. */
enum {
    QOR_PADS_EXCP_ONCE = 0,
    QOR_PADS_EXCP_EXPIRE = 1,
    QOR_PADS_EXCP_STAT = 2,
    QOR_PADS_EXCP_DA = 3
};

/** Units of the times that are registered. @{ */
#define QOR_PADS_UNIT_SEC 0
#define QOR_PADS_UNIT_MIN 1
/** @} */

/** Octets of an index's name and of a record's text, the NUL included. @{ */
#define QOR_PADS_NAME_LEN 20
#define QOR_PADS_TEXT_LEN 1024
/** @} */

/** Answer of a record callback: no record, and of a DA callback: no further runs
 * in this tick. Neither is a failure. */
#define QOR_PADS_SKIP UINT32_C(2)

/** Internal result of QOR_PADS_ProcOneExpireExcp: the user's time has not come. */
#define QOR_PADS_NOT_DUE UINT32_C(2)

struct QOR_PADS_HEALTH_S;

#pragma pack(push, 4)

/** What a record callback is told. */
typedef struct QOR_PADS_EXCP_INFO_S {
    uint32_t ulUserId;
    uint64_t pUserData;
    uint32_t ulFreqFlag; /**< 1: less than 2 seconds after the index's last record */
    uint32_t ulStatSum;  /**< stat: the sum of the window, in seconds */
} QOR_PADS_EXCP_INFO_S;

#pragma pack(pop)

/** Called for a user that was deleted. The result is that of the deletion. */
typedef uint32_t (*QOR_PADS_DELUSER_PF)(uint32_t indexId, uint32_t userId, uint64_t userData,
                                        uint64_t ulUserHandle);
/** Writes the text of a record into text (QOR_PADS_TEXT_LEN octets, zeroed).
 * Returns 0 to keep the record, QOR_PADS_SKIP, or an error. A text without a NUL
 * is reported, and the record kept with an empty one. */
typedef uint32_t (*QOR_PADS_RECORD_PF)(uint32_t indexId, QOR_PADS_EXCP_INFO_S *info, char *text,
                                       uint64_t ulUserHandle);
/** Runs for a DA user. Returns 0, QOR_PADS_SKIP, or an error. */
typedef uint32_t (*QOR_PADS_DA_PF)(uint32_t indexId, uint64_t userData, uint64_t ulUserHandle);

/** The context; the first four members are the caller's configuration, none of
 * them 0. */
typedef struct QOR_PADS_S {
    uint64_t ulUserHandle;               /**< handed to every callback */
    uint64_t ulSid;                      /**< module id of all memory of the service */
    uint64_t ulAuxHandle;                /**< not used */
    uint64_t ulTimerOwner;               /**< host's owner of the two timers */
    struct QOR_PADS_HEALTH_S *pstHealth; /**< NULL until QOR_PADS_InitHealth */
} QOR_PADS_S;

#pragma pack(push, 4)

/** The health record: the library's own, as the records that follow up to the
 * registration records. */
typedef struct QOR_PADS_HEALTH_S {
    QOR_PADS_S *pstPads;
    QOR_AVL_TREE_S stIndexTree; /**< indexes by id */
    uint32_t ulMinTimerType;
    uint64_t ulMinTimer;            /**< handle, or 0 */
    HOST_DLL_S stMinList;           /**< expire users in minutes */
    HOST_DLL_NODE_S *pstMinCurNode; /**< where the next scan begins; NULL: at the first */
    HOST_DLL_S stDaList;            /**< DA users */
    uint32_t ulSecTimerType;
    uint64_t ulSecTimer;
    HOST_DLL_S stSecList; /**< expire users in seconds */
    HOST_DLL_NODE_S *pstSecCurNode;
} QOR_PADS_HEALTH_S;

#pragma pack(pop)

/** One record of an index. */
typedef struct QOR_PADS_RECORD_S {
    uint32_t ulTimeStamp; /**< seconds since 1970; 0: no record */
    uint32_t ulAbsTime;   /**< seconds since system start */
    char szText[QOR_PADS_TEXT_LEN];
} QOR_PADS_RECORD_S;

/** What only once indexes have. */
typedef struct QOR_PADS_ONCE_S {
    QOR_PADS_RECORD_PF pfnRecord;
    uint64_t ulSecond;
} QOR_PADS_ONCE_S;

/** What only expire indexes have. */
typedef struct QOR_PADS_EXPIRE_S {
    uint16_t usExpireTime; /**< seconds */
    uint16_t usExpireUnit; /**< as registered */
    QOR_PADS_RECORD_PF pfnRecord;
    QOR_PADS_DELUSER_PF pfnDelUser;
} QOR_PADS_EXPIRE_S;

/** What only stat indexes have. */
typedef struct QOR_PADS_STAT_S {
    uint32_t ulStatWindow;    /**< seconds */
    uint32_t ulStatThreshold; /**< seconds */
    uint8_t ucStatFlag;
    uint8_t ucStatUnit; /**< as registered */
    QOR_PADS_RECORD_PF pfnRecord;
    QOR_PADS_DELUSER_PF pfnDelUser;
} QOR_PADS_STAT_S;

/** What only DA indexes have. */
typedef struct QOR_PADS_DA_S {
    uint32_t ulDaPeriod; /**< seconds */
    uint32_t ulDaPara;
    QOR_PADS_DA_PF pfnDa;
    QOR_PADS_DELUSER_PF pfnDelUser;
} QOR_PADS_DA_S;

/** One registered exception. */
typedef struct QOR_PADS_INDEX_S {
    uint32_t ulIndexId;
    uint32_t ulIndexType; /**< QOR_PADS_EXCP_* */
    char szIndexName[QOR_PADS_NAME_LEN];
    HOST_AVL_NODE_S stNode;
    QOR_AVL_TREE_S stUserTree;       /**< users by id */
    QOR_PADS_RECORD_S astRecords[2]; /**< the last two */
    uint32_t ulRecCur;               /**< which of them is the newest */
    uint32_t ulRecCount;             /**< records made; DA: runs */
    uint32_t ulFreqCount;            /**< records with ulFreqFlag */
    union {
        QOR_PADS_ONCE_S stOnce;
        QOR_PADS_EXPIRE_S stExpire;
        QOR_PADS_STAT_S stStat;
        QOR_PADS_DA_S stDa;
    };
} QOR_PADS_INDEX_S;

/** One user of an index. */
typedef struct QOR_PADS_USER_S {
    HOST_AVL_NODE_S stNode;
    uint32_t ulUserId;
    uint64_t pUserData; /**< printed as a text by QOR_PADS_DumpIndexInfo */
    QOR_PADS_INDEX_S *pstIndex;
    uint32_t ulAddTime;     /**< seconds since system start; DA: of the last run */
    HOST_DLL_NODE_S stLink; /**< in one of the lists of the health record */
    HOST_DLL_S stStatList;  /**< stat: samples, oldest first */
} QOR_PADS_USER_S;

/** One duration that was reported for a stat user. */
typedef struct QOR_PADS_STAT_NODE_S {
    HOST_DLL_NODE_S stLink;
    uint32_t ulTime;  /**< of the report, in seconds since system start */
    uint32_t ulValue; /**< seconds */
} QOR_PADS_STAT_NODE_S;

#pragma pack(push, 4)

/** What a once index is registered with. szName, here and in the next three, is a
 * text of up to 19 characters; a longer one is reported and leaves the name
 * empty. */
typedef struct QOR_PADS_ONCE_REG_S {
    char szName[QOR_PADS_NAME_LEN];
    QOR_PADS_RECORD_PF pfnRecord; /**< or NULL: nothing is recorded */
    uint64_t ulSecond;            /**< kept, not used */
} QOR_PADS_ONCE_REG_S;

/** What an expire index is registered with. */
typedef struct QOR_PADS_EXPIRE_REG_S {
    char szName[QOR_PADS_NAME_LEN];
    uint16_t usTime;                /**< in usUnit; 16 bits of the seconds are kept */
    uint16_t usUnit;                /**< QOR_PADS_UNIT_*; others are minutes, and refuse users */
    QOR_PADS_RECORD_PF pfnRecord;   /**< or NULL: users are removed without a record */
    QOR_PADS_DELUSER_PF pfnDelUser; /**< or NULL; not called on expiry */
} QOR_PADS_EXPIRE_REG_S;

/** What a stat index is registered with. */
typedef struct QOR_PADS_STAT_REG_S {
    char szName[QOR_PADS_NAME_LEN];
    uint32_t ulWindow;              /**< in ucUnit */
    uint32_t ulThreshold;           /**< in ucUnit */
    uint8_t ucFlag;                 /**< kept, not used */
    uint8_t ucUnit;                 /**< QOR_PADS_UNIT_*; others are seconds */
    QOR_PADS_RECORD_PF pfnRecord;   /**< or NULL */
    QOR_PADS_DELUSER_PF pfnDelUser; /**< or NULL */
} QOR_PADS_STAT_REG_S;

/** What a DA index is registered with. */
typedef struct QOR_PADS_DA_REG_S {
    char szName[QOR_PADS_NAME_LEN];
    uint32_t ulPeriodMin;           /**< minutes */
    uint32_t ulPara;                /**< kept, not used */
    QOR_PADS_DA_PF pfnDa;           /**< or NULL: runs are counted only */
    QOR_PADS_DELUSER_PF pfnDelUser; /**< or NULL */
} QOR_PADS_DA_REG_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_PADS_EXCP_INFO_S, 20);
QOR_ASSERT_SIZE(QOR_PADS_S, 40);
QOR_ASSERT_SIZE(QOR_PADS_HEALTH_S, 176);
QOR_ASSERT_OFFSET(QOR_PADS_HEALTH_S, pstMinCurNode, 92);
QOR_ASSERT_OFFSET(QOR_PADS_HEALTH_S, ulSecTimer, 132);
QOR_ASSERT_SIZE(QOR_PADS_RECORD_S, 1032);
QOR_ASSERT_SIZE(QOR_PADS_INDEX_S, 2208);
QOR_ASSERT_OFFSET(QOR_PADS_INDEX_S, astRecords, 100);
QOR_ASSERT_OFFSET(QOR_PADS_INDEX_S, stOnce, 2176);
QOR_ASSERT_SIZE(QOR_PADS_USER_S, 96);
QOR_ASSERT_OFFSET(QOR_PADS_USER_S, stLink, 52);
QOR_ASSERT_SIZE(QOR_PADS_STAT_NODE_S, 24);
QOR_ASSERT_SIZE(QOR_PADS_ONCE_REG_S, 36);
QOR_ASSERT_SIZE(QOR_PADS_EXPIRE_REG_S, 40);
QOR_ASSERT_SIZE(QOR_PADS_STAT_REG_S, 48);
QOR_ASSERT_SIZE(QOR_PADS_DA_REG_S, 44);
QOR_ASSERT_OFFSET(QOR_PADS_DA_REG_S, pfnDa, 28);

QOR_END_DECLS

#endif
