// The health service: one exception of each kind, the listing of what was recorded and the dumps
// of the service's state. Dates and times are cut out of the texts.
#include <poll.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "check.h"
#include "qor.h"

namespace {

constexpr uint64_t kModule = 1;  // what all memory is accounted to

enum Timer : uint32_t { kMinuteTimer = 60, kSecondTimer = 61 };
enum Index : uint32_t { kRefused = 1, kNoTunnel, kDown, kAudit };

constexpr char kPw100[] = "PW 100 to 10.0.0.2";
constexpr char kPw101[] = "PW 101 to 10.0.0.3";

// User data are texts here, because the dump of an index prints them as such.
uint64_t ToData(const char *text) {
    return reinterpret_cast<uintptr_t>(text);
}

const char *ToText(uint64_t data) {
    return data == 0 ? "the whole node" : reinterpret_cast<char *>(static_cast<uintptr_t>(data));
}

uint32_t Describe(uint32_t index, QOR_PADS_EXCP_INFO_S *info, char *text, uint64_t /*handle*/) {
    const char *user = ToText(info->pUserData);
    switch (index) {
        case kRefused:
            std::snprintf(text, QOR_PADS_TEXT_LEN, "%s was refused by the peer: unknown FEC", user);
            break;
        case kNoTunnel:
            std::snprintf(text, QOR_PADS_TEXT_LEN, "%s has no tunnel", user);
            break;
        default:
            std::snprintf(text, QOR_PADS_TEXT_LEN, "%s was down for %u s", user, info->ulStatSum);
            break;
    }
    return QOR_OK;
}

uint32_t Deleted(uint32_t index, uint32_t /*userId*/, uint64_t data, uint64_t /*handle*/) {
    std::printf("index %u: %s is no user any more\n", index, ToText(data));
    return QOR_OK;
}

uint32_t Audit(uint32_t index, uint64_t data, uint64_t /*handle*/) {
    std::printf("index %u: %s is audited\n", index, ToText(data));
    return QOR_OK;
}

void Register(QOR_PADS_S *service) {
    const QOR_PADS_ONCE_REG_S refused{"Refused by peer", Describe, 0};
    CHECK(QOR_PADS_RegOnceExcp(kRefused, &refused, service) == QOR_OK);
    // A user that stays for a second.
    const QOR_PADS_EXPIRE_REG_S noTunnel{"No tunnel", 1, QOR_PADS_UNIT_SEC, Describe, Deleted};
    CHECK(QOR_PADS_RegExpireExcp(kNoTunnel, &noTunnel, service) == QOR_OK);
    // A user that was down for 5 of the last 10 seconds.
    const QOR_PADS_STAT_REG_S down{"Often down", 10, 5, 0, QOR_PADS_UNIT_SEC, Describe, Deleted};
    CHECK(QOR_PADS_RegStatExcp(kDown, &down, service) == QOR_OK);
    // Every minute; that adds user 0, which has no data.
    const QOR_PADS_DA_REG_S audit{"Audit", 0, 0, Audit, nullptr};
    CHECK(QOR_PADS_RegDA(kAudit, &audit, service) == QOR_OK);
}

// The timer owner.
void OnExpiry(void *user, uint32_t timerType, uint64_t /*param*/) {
    CHECK(QOR_PADS_HealthSchedule(timerType, *static_cast<QOR_PADS_S **>(user)) == QOR_OK);
}

// Waits until the index has no users any more.
void WaitForExpiry(QOR_PADS_S *service, uint32_t index) {
    const uint64_t owner = service->ulTimerOwner;
    QOR_PADS_INDEX_S *found = QOR_PADS_GetIndexById(index, service);
    pollfd timer{HOST_POSIX_TimerFd(owner), POLLIN, 0};
    while (QOR_PADS_GetFirstUser(found, service->pstHealth) != nullptr &&
           CHECK(poll(&timer, 1, 10'000) == 1)) {
        HOST_POSIX_TimerRun(owner);
    }
}

// Prints what one of the text functions left, without CR and with words for the times.
void Print(const char *title, std::string text) {
    text = std::regex_replace(text, std::regex("\r"), "");
    text = std::regex_replace(text, std::regex(R"(\d\d-\d\d \d\d:\d\d:\d\d)"), "MM-DD hh:mm:ss");
    text = std::regex_replace(text, std::regex(R"((timestamp|absTime|addTime:) [1-9]\d*)"),
                              "$1 (seconds)");
    std::printf("\n---- %s\n%s", title, text.c_str());
}

void Run(QOR_PADS_S *service) {
    static char text[4096];
    CHECK(QOR_PADS_AddExcpUser(kRefused, 100, ToData(kPw100), service) == QOR_OK);
    CHECK(QOR_PADS_AddExcpUser(kNoTunnel, 100, ToData(kPw100), service) == QOR_OK);
    CHECK(QOR_PADS_AddExcpUser(kNoTunnel, 101, ToData(kPw101), service) == QOR_OK);
    CHECK(QOR_PADS_AddExcpUser(kDown, 100, ToData(kPw100), service) == QOR_OK);
    CHECK(QOR_PADS_AddDAUser(QOR_PADS_GetIndexById(kAudit, service), 100, ToData(kPw100),
                             service->pstHealth) == QOR_OK);
    CHECK(QOR_PADS_DumpHealthInfo(text, sizeof text, service) != QOR_ERR_ARG);
    Print("the service", text);
    CHECK(QOR_PADS_DumpIndexInfo(kNoTunnel, text, sizeof text, service) != QOR_ERR_ARG);
    Print("an index that waits", text);

    CHECK(QOR_PADS_DelExcpUser(kNoTunnel, 101, service) == QOR_OK);  // in time: no record
    WaitForExpiry(service, kNoTunnel);
    CHECK(HOST_POSIX_TimerCount(service->ulTimerOwner) == 1);  // that of the minute
    CHECK(QOR_PADS_AddStatNode(kDown, 100, 3, service) == QOR_OK);
    CHECK(QOR_PADS_AddStatNode(kDown, 100, 4, service) == QOR_OK);    // 7 s in all
    CHECK(QOR_PADS_HealthSchedule(kMinuteTimer, service) == QOR_OK);  // a minute has passed, say

    CHECK(QOR_PADS_AllExcp2String(text, sizeof text, service) == QOR_OK);
    Print("all records", text);
    CHECK(QOR_PADS_DumpIndexInfo(kDown, text, sizeof text, service) != QOR_ERR_ARG);
    Print("an index with a record", text);
}

}  // namespace

int main() {
    QOR_PADS_S *service = nullptr;
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(OnExpiry, &service);
    QOR_PADS_S cfg{};
    cfg.ulUserHandle = 1;  // none of the four may be 0
    cfg.ulSid = kModule;
    cfg.ulAuxHandle = 1;
    cfg.ulTimerOwner = owner;
    service = QOR_PADS_InitPads(&cfg);
    const uint32_t timerTypes[] = {kMinuteTimer, kSecondTimer};
    if (CHECK(service != nullptr && QOR_PADS_InitHealth(timerTypes, service) == QOR_OK)) {
        Register(service);
        Run(service);
        CHECK(QOR_PADS_DeInitPads(service) == QOR_OK);
    }
    CHECK(HOST_POSIX_TimerCount(owner) == 0);
    HOST_POSIX_TimerOwnerDestroy(owner);
    return finish();
}
