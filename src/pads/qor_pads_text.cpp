// The listing of the records and the dumps of the state.
#include <initializer_list>

#include "base/qor_text.hpp"
#include "pads/qor_pads.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::pads::kSource;

constexpr uint32_t kColumn = 45;  // characters of a record's text on one line

// Prints at *bufPos and moves it on; false when that failed. One octet more than the NUL needs is
// left free.
template <class... Args>
bool PrintLine(char **bufPos, uint32_t *remain, const char *fmt, Args... args) {
    const int32_t stored = HOST_SnprintfTruncated(*bufPos, *remain - 1, fmt, args...);
    if (stored < 0) {
        return false;
    }
    *bufPos += stored;
    *remain -= static_cast<uint32_t>(stored);
    return true;
}

// A dump, of which every part must fit.
class Dump {
  public:
    Dump(char *buf, uint32_t len) : out_(buf, len) {}

    template <class... Args>
    void Print(const char *fmt, Args... args) {
        if (failed_ || out_.Room() <= 1 || out_.Print(fmt, args...) < 0) {
            if (!failed_) {
                Report(kSource);
            }
            failed_ = true;
        }
    }
    bool HasFailed() const { return failed_; }
    uint32_t Result() const { return failed_ ? QOR_ERR_ARG : out_.Used(); }

  private:
    qor::TextWriter out_;
    bool failed_ = false;
};

// The health record of a dump's context; NULL, which is reported, when something is missing.
QOR_PADS_HEALTH_S *HealthOf(qor::Where where, const char *buf, uint32_t len, QOR_PADS_S *ctx) {
    if (buf == nullptr || ctx == nullptr || ctx->pstHealth == nullptr || len < 2) {
        Report(where);
        return nullptr;
    }
    return ctx->pstHealth;
}

uint32_t Flag(bool value) {
    return value ? 1 : 0;
}

}  // namespace

uint32_t QOR_PADS_AllExcp2String(char *buf, uint32_t len, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, buf, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    if (health == nullptr) {
        return QOR_FAIL;
    }
    if (len != 0) {
        buf[0] = '\0';
    }
    uint32_t result = QOR_OK;
    for (QOR_PADS_INDEX_S *index = QOR_PADS_GetFirstIndex(health);
         index != nullptr && result == QOR_OK; index = QOR_PADS_GetNextIndex(index, health)) {
        result = QOR_PADS_OneExcp2String(index, &buf, &len, health);
    }
    return result;
}

uint32_t QOR_PADS_OneExcp2String(QOR_PADS_INDEX_S *index, char **bufPos, uint32_t *remain,
                                 QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, index, bufPos, remain, health)) {
        return QOR_ERR_ARG;
    }
    const uint32_t newest = index->ulRecCur & 1;
    for (const uint32_t slot : {newest ^ 1, newest}) {
        QOR_PADS_RECORD_S *record = &index->astRecords[slot];
        if (record->ulTimeStamp == 0) {
            continue;
        }
        const uint32_t result = QOR_PADS_FormatOutOneExcp(index, bufPos, remain, record);
        if (result != QOR_OK) {
            return result;
        }
    }
    return QOR_OK;
}

uint32_t QOR_PADS_FormatOutOneExcp(QOR_PADS_INDEX_S *index, char **bufPos, uint32_t *remain,
                                   QOR_PADS_RECORD_S *record) {
    if (RefuseNull(kSource, index, bufPos, remain, record)) {
        return QOR_ERR_ARG;
    }
    HOST_SYSTIME_S time{};
    HOST_SystimeSec2Time(record->ulTimeStamp, &time);
    const char *text = record->szText;
    const uint32_t length = HOST_StrLen(text);
    if (length == 0 || *remain == 0) {
        return QOR_OK;
    }
    if (!PrintLine(bufPos, remain, "%-19s %02d-%02d %02d:%02d:%02d    %-.45s\r\n",
                   static_cast<const char *>(index->szIndexName), time.ucMonth, time.ucDay,
                   time.ucHour, time.ucMinute, time.ucSecond, text)) {
        return QOR_FAIL;
    }
    for (uint32_t at = kColumn; at < length; at += kColumn) {
        if (*remain == 0 || length - at + kColumn >= *remain) {
            return QOR_OK;
        }
        if (!PrintLine(bufPos, remain, "                                      %-.45s\r\n",
                       text + at)) {
            return QOR_FAIL;
        }
    }
    return QOR_OK;
}

uint32_t QOR_PADS_DumpHealthInfo(char *buf, uint32_t len, QOR_PADS_S *ctx) {
    QOR_PADS_HEALTH_S *health = HealthOf(kSource, buf, len, ctx);
    if (health == nullptr) {
        return QOR_ERR_ARG;
    }
    Dump dump(buf, len);
    dump.Print(
        "Pads HealthInfo:\n\tQorPads: %u\n\tminTimerType: %u\n\tminTimer: %u\n"
        "\tminSchedListCount: %u\n\tminCurNode: %u\n\tdaListCount: %u\n\tsecTimerType: %u\n"
        "\tsecTimer: %u\n\tsecSchedList: %u\n\tsecCurNode: %u\nindex number is : %u \n",
        Flag(health->pstPads != nullptr), health->ulMinTimerType, Flag(health->ulMinTimer != 0),
        health->stMinList.ulCount, Flag(health->pstMinCurNode != nullptr), health->stDaList.ulCount,
        health->ulSecTimerType, Flag(health->ulSecTimer != 0), health->stSecList.ulCount,
        Flag(health->pstSecCurNode != nullptr), health->stIndexTree.ulNodeNum);
    for (QOR_PADS_INDEX_S *index = QOR_PADS_GetFirstIndex(health);
         index != nullptr && !dump.HasFailed(); index = QOR_PADS_GetNextIndex(index, health)) {
        dump.Print(
            "\n\tindexId: %u\tindexType: %u\tindexName: %s\n\tuserInfo user number is : %u \n",
            index->ulIndexId, index->ulIndexType, static_cast<const char *>(index->szIndexName),
            index->stUserTree.ulNodeNum);
    }
    return dump.Result();
}

uint32_t QOR_PADS_DumpIndexInfo(uint32_t id, char *buf, uint32_t len, QOR_PADS_S *ctx) {
    QOR_PADS_HEALTH_S *health = HealthOf(kSource, buf, len, ctx);
    if (health == nullptr) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_INDEX_S *index = qor::pads::FindIndex(health, id);
    if (RefuseNull(kSource, index)) {
        return QOR_ERR_ARG;
    }
    Dump dump(buf, len);
    dump.Print("indexId: %u\nindexType: %u\nindexName: %s\n", index->ulIndexId, index->ulIndexType,
               static_cast<const char *>(index->szIndexName));
    for (const uint32_t slot : {0U, 1U}) {
        dump.Print("records[%u]: timestamp %u, absTime %u\n", slot,
                   index->astRecords[slot].ulTimeStamp, index->astRecords[slot].ulAbsTime);
    }
    dump.Print("recCur: %u\nuserInfo user number is : %u \n", index->ulRecCur,
               index->stUserTree.ulNodeNum);
    for (QOR_PADS_USER_S *user = QOR_PADS_GetFirstUser(index, health);
         user != nullptr && !dump.HasFailed(); user = QOR_PADS_GetNextUser(index, user, health)) {
        dump.Print("\n\tuserId: %u\n\tuserData: %s\n\taddTime: %u\n\tindex: %u\n", user->ulUserId,
                   reinterpret_cast<const char *>(static_cast<uintptr_t>(user->pUserData)),
                   user->ulAddTime, Flag(user->pstIndex != nullptr));
    }
    return dump.Result();
}
