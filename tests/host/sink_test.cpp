#include <gtest/gtest.h>
#include <syslog.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "base/host/qor_host_rate.hpp"
#include "qor_host_posix.h"

namespace {

using Texts = std::vector<std::string>;

std::string Join(std::initializer_list<uint64_t> numbers) {
    std::string text;
    for (const uint64_t number : numbers) text += std::to_string(number) + " ";
    return text;
}

// Callbacks that note every argument.
void NoteLine(void *user, const HOST_POSIX_LINE_S *l) {
    static_cast<Texts *>(user)->push_back(
        Join({l->enSink, l->ulCid, l->ulSeverity, l->ulDbgType, l->ulArg, l->ullArg}) + l->szText);
}

void NoteEvent(void *user, const HOST_POSIX_EVENT_S *e) {
    static_cast<Texts *>(user)->push_back(
        Join({e->ulCid, e->ulEventPara, e->ullEventId, e->ulPeerIp}) + e->szMsgName + e->szReason);
}

void SetCallbacks(HOST_POSIX_LINE_PF line, HOST_POSIX_EVENT_PF event, Texts *texts) {
    for (uint32_t i = 0; i < HOST_POSIX_SINK_COUNT; i++)
        EXPECT_EQ(HOST_POSIX_LineSink(static_cast<HOST_POSIX_SINK_E>(i), line, texts), 0u);
    HOST_POSIX_EventSink(event, texts);
}

// What the library may call, one of each.
void WriteAll() {
    static const char *volatile null = nullptr;  // the compiler is not to know
    HOST_DevLogLimit(5, "a%d %s", 1, null);
    HOST_Syslog(6, "%s", "b%s");
    HOST_Debug(7, 8, 9, 10, "c\n");
    HOST_Printf("d");
    HOST_Printf("e\n");
    const HOST_EVENT_REC_S rec{0x0A000001};
    HOST_EventLog(11, 12, 13, "f", &rec, "g");
}

TEST(Sink, CallbacksGetEverything) {
    Texts texts;
    SetCallbacks(NoteLine, NoteEvent, &texts);
    WriteAll();
    SetCallbacks(nullptr, nullptr, nullptr);
    EXPECT_EQ(texts, (Texts{"0 5 0 0 0 0 a1 (null)", "1 0 6 0 0 0 b%s", "2 7 0 8 10 9 c\n",
                            "3 0 0 0 0 0 d", "3 0 0 0 0 0 e\n", "11 12 13 167772161 fg"}));
    EXPECT_NE(HOST_POSIX_LineSink(HOST_POSIX_SINK_COUNT, NoteLine, &texts), 0u);
}

TEST(Sink, DefaultsAreStderrAndSyslog) {
    openlog("qor", LOG_PERROR, LOG_USER);  // makes syslog(3) visible here
    testing::internal::CaptureStderr();
    WriteAll();
    HOST_Printf("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "a1 (null)\nqor: b%s\nc\nde\n"
              "qor: event 13 (component 0xb, parameter 12) peer 10.0.0.1: f: g\n" +
                  std::string(HOST_POSIX_LINE_MAX - 1, 'x'));
    closelog();
}

TEST(Rate, LetsBurstThenRatePass) {
    const qor::host::Rate rate{100, 3};
    qor::host::Bucket bucket;
    std::string passed;
    for (const uint32_t at : {1000u, 1000u, 1000u, 1000u, 1099u, 1100u, 1100u, 1250u, 1299u, 1300u,
                              9000u, 9000u, 9000u, 9000u})
        passed += bucket.Take(rate, at) ? '+' : '-';
    EXPECT_EQ(passed, "+++--+-+-++++-");
}

TEST(Rate, DevLogTellsWhatItDropped) {
    const auto note = [](void *user, const HOST_POSIX_LINE_S *line) {
        static_cast<Texts *>(user)->push_back(line->szText);
    };
    Texts texts;
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEVLOG, note, &texts);
    HOST_POSIX_DevLogRate(5, 3);
    for (int i = 0; i < 8; i++) HOST_DevLogLimit(0x71, "%d", i);
    HOST_DevLogLimit(0x72, "other");
    EXPECT_EQ(texts, (Texts{"0", "1", "2", "other"}));
    texts.clear();
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    HOST_DevLogLimit(0x71, "again");
    HOST_DevLogLimit(0x72, "other");
    EXPECT_EQ(texts, (Texts{"5 lines of component 0x71 dropped", "again", "other"}));

    texts.clear();
    HOST_POSIX_DevLogRate(0, 0);  // no limit, whatever was written at the former rate
    for (int i = 0; i < 500; i++) HOST_DevLogLimit(0x71, "many");
    EXPECT_EQ(texts.size(), 500u);
    HOST_POSIX_DevLogRate(100, 200);
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEVLOG, nullptr, nullptr);
}

}  // namespace
