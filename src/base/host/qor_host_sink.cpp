// Sinks: each goes to the user's callback or else to stderr or syslog(3). The developer log is
// limited per component id, since a peer that sends nonsense makes it write.
#include <pthread.h>
#include <syslog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "base/host/qor_host_api.hpp"  // IWYU pragma: keep
#include "base/host/qor_host_clock.hpp"
#include "base/host/qor_host_rate.hpp"
#include "base/host/qor_host_slot.hpp"
#include "qor_host_posix.h"

namespace {

using qor::host::kNsPerSecond;

constinit qor::host::Slot<HOST_POSIX_LINE_PF> lineSlots[HOST_POSIX_SINK_COUNT];
constinit qor::host::Slot<HOST_POSIX_EVENT_PF> eventSlot;

// ---- Limit of the developer log

struct Component {
    uint32_t cid = 0;
    bool known = false;
    qor::host::Bucket bucket;
    uint64_t dropped = 0;
};

// Component ids in the order in which they came; the last place is for all that came too late.
constinit Component components[65]{};
qor::host::Rate devLogRate{kNsPerSecond / 100, 200};
pthread_mutex_t devLogLock = PTHREAD_MUTEX_INITIALIZER;

Component &ComponentOf(uint32_t cid) {
    Component *last = std::end(components) - 1;
    Component *place = std::find_if(std::begin(components), last, [&](const Component &component) {
        return !component.known || component.cid == cid;
    });
    if (place != last) {
        place->cid = cid;
        place->known = true;
    }
    return *place;
}

// Tells whether a line of cid may pass; *dropped := the lines dropped since one last did.
bool AdmitDevLog(uint32_t cid, uint64_t *dropped) {
    const uint64_t now = qor::host::MonotonicNs();
    pthread_mutex_lock(&devLogLock);
    Component &component = ComponentOf(cid);
    const bool admitted = component.bucket.Take(devLogRate, now);
    if (admitted) {
        *dropped = component.dropped;
        component.dropped = 0;
    } else {
        component.dropped++;
    }
    pthread_mutex_unlock(&devLogLock);
    return admitted;
}

// ---- Output

// One call per line, so that lines of several threads do not mix.
void WriteStderr(const HOST_POSIX_LINE_S &line) {
    const size_t length = strlen(line.szText);
    const bool ended =
        line.enSink == HOST_POSIX_SINK_CONSOLE || (length != 0 && line.szText[length - 1] == '\n');
    fprintf(stderr, "%s%s", line.szText, ended ? "" : "\n");
}

void Write(const HOST_POSIX_LINE_S &line) {
    const auto target = lineSlots[line.enSink].Get();
    if (target.call) {
        target.call(target.user, &line);
    } else if (line.enSink == HOST_POSIX_SINK_SYSLOG) {
        syslog(static_cast<int>(std::min<uint32_t>(line.ulSeverity, LOG_DEBUG)), "%s", line.szText);
    } else {
        WriteStderr(line);
    }
}

void FormatAndWrite(HOST_POSIX_LINE_S line, const char *fmt, va_list ap) {
    char text[HOST_POSIX_LINE_MAX];
    if (HOST_VsnprintfTruncated(text, sizeof text, fmt, ap) < 0) {
        return;
    }
    line.szText = text;
    Write(line);
}

}  // namespace

void HOST_EventLog(uint32_t cid, uint32_t eventPara, uint64_t eventId, const char *msgName,
                   const HOST_EVENT_REC_S *rec, const char *reason) {
    const HOST_POSIX_EVENT_S event{cid,     eventPara, eventId, rec ? rec->ulPeerIp : 0,
                                   msgName, reason};
    const auto target = eventSlot.Get();
    if (target.call) {
        target.call(target.user, &event);
        return;
    }
    char peer[16];
    HOST_IpAddrToStr(event.ulPeerIp, peer);
    syslog(LOG_WARNING, "event %llu (component 0x%x, parameter %u) peer %s: %s: %s",
           static_cast<unsigned long long>(eventId), cid, eventPara, peer,
           msgName ? msgName : "(null)", reason ? reason : "(null)");
}

void HOST_DevLogLimit(uint32_t cid, const char *fmt, ...) {
    uint64_t dropped = 0;
    if (!AdmitDevLog(cid, &dropped)) {
        return;
    }
    HOST_POSIX_LINE_S line{};
    line.enSink = HOST_POSIX_SINK_DEVLOG;
    line.ulCid = cid;
    if (dropped != 0) {
        char text[64];
        HOST_SnprintfTruncated(text, sizeof text, "%llu lines of component 0x%x dropped",
                               static_cast<unsigned long long>(dropped), cid);
        HOST_POSIX_LINE_S note = line;
        note.szText = text;
        Write(note);
    }
    va_list ap;
    va_start(ap, fmt);
    FormatAndWrite(line, fmt, ap);
    va_end(ap);
}

void HOST_Syslog(uint32_t severity, const char *fmt, ...) {
    HOST_POSIX_LINE_S line{};
    line.enSink = HOST_POSIX_SINK_SYSLOG;
    line.ulSeverity = severity;
    va_list ap;
    va_start(ap, fmt);
    FormatAndWrite(line, fmt, ap);
    va_end(ap);
}

void HOST_Debug(uint32_t cid, uint32_t dbgType, uint64_t arg64, uint32_t arg, const char *fmt,
                ...) {
    HOST_POSIX_LINE_S line{};
    line.enSink = HOST_POSIX_SINK_DEBUG;
    line.ulCid = cid;
    line.ulDbgType = dbgType;
    line.ullArg = arg64;
    line.ulArg = arg;
    va_list ap;
    va_start(ap, fmt);
    FormatAndWrite(line, fmt, ap);
    va_end(ap);
}

void HOST_Printf(const char *fmt, ...) {
    HOST_POSIX_LINE_S line{};
    line.enSink = HOST_POSIX_SINK_CONSOLE;
    va_list ap;
    va_start(ap, fmt);
    FormatAndWrite(line, fmt, ap);
    va_end(ap);
}

uint32_t HOST_POSIX_LineSink(HOST_POSIX_SINK_E sink, HOST_POSIX_LINE_PF write, void *user) {
    if (static_cast<uint32_t>(sink) >= HOST_POSIX_SINK_COUNT) {
        return 1;
    }
    lineSlots[sink].Set({write, user});
    return 0;
}

void HOST_POSIX_EventSink(HOST_POSIX_EVENT_PF write, void *user) {
    eventSlot.Set({write, user});
}

void HOST_POSIX_DevLogRate(uint32_t linesPerSecond, uint32_t burst) {
    const qor::host::Rate rate{linesPerSecond == 0 ? 0 : kNsPerSecond / linesPerSecond,
                               std::max<uint64_t>(burst, 1)};
    pthread_mutex_lock(&devLogLock);
    devLogRate = rate;
    for (Component &component : components) {
        component.bucket = {};  // what was taken at the former rate does not count
    }
    pthread_mutex_unlock(&devLogLock);
}
