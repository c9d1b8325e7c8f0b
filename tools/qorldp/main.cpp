// qorldp: shows the pseudowire signalling in captures of LDP.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>     // IWYU pragma: keep
#include <CLI/Formatter.hpp>  // IWYU pragma: keep
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "capture.hpp"
#include "codec.hpp"
#include "output.hpp"
#include "packet.hpp"
#include "printer.hpp"
#include "progress.hpp"
#include "session.hpp"
#include "stats.hpp"

namespace {

using namespace qorldp;

// Exit statuses; the greatest that applies counts.
constexpr int kAllRead = 0;
constexpr int kMalformed = 1;
constexpr int kFailed = 2;  // a file could not be read to its end, wrong arguments, output failed

// What streams can hold back is bounded; what libpcap keeps of a file's interfaces is not.
void LimitMemory() {
    constexpr rlim_t kMaxMemory = QORLDP_MAX_MEMORY;  // octets; 0 is no limit
    rlimit limit{};
    if (kMaxMemory != 0 && getrlimit(RLIMIT_DATA, &limit) == 0) {
        limit.rlim_cur = std::min(limit.rlim_cur, kMaxMemory);
        setrlimit(RLIMIT_DATA, &limit);
    }
}

struct Options {
    bool json = false;
    bool all = false;
    bool stats = false;
    std::vector<std::string> files;
};

void Complain(const std::string &file, const std::string &why) {
    std::fprintf(stderr, "qorldp: %s: %s\n", file == "-" ? "standard input" : file.c_str(),
                 why.c_str());
}

// Output that somebody reads as it comes: a terminal shows it, or a capture is still being made.
bool IsLive(const Capture &capture) {
    struct stat status {};
    const bool growing = capture.Size() == 0;
    return isatty(STDOUT_FILENO) != 0 ||
           (growing && fstat(STDOUT_FILENO, &status) == 0 && !S_ISREG(status.st_mode));
}

// Shows one capture. Returns false when it could not be read to its end.
bool DecodeFile(const std::string &file, Session &session, const Stats &stats, Output &out) {
    Capture capture;
    if (!capture.Open(file)) {
        Complain(file, capture.Error());
        return false;
    }
    const uint64_t fragments = stats.fragments;
    Progress progress(file, capture.Size());
    const bool live = IsLive(capture);
    Bytes frame;
    Timestamp time;
    Capture::Next next = Capture::Next::kEnd;
    while (out.Error() == 0 && (next = capture.Read(frame, time)) == Capture::Next::kFrame) {
        session.Frame(capture.LinkType(), frame, time);
        if (live) {
            out.Flush();
        }
        progress.Tick([&] { return capture.Position(); });
    }
    session.Finish();
    if (stats.fragments != fragments) {
        Complain(file, "IP fragments left out, as they are not put together: " +
                           std::to_string(stats.fragments - fragments));
    }
    if (next == Capture::Next::kError) {
        out.Flush();
        Complain(file, "what comes behind is lost, the file is damaged: " + capture.Error());
        return false;
    }
    return true;
}

int Decode(const Options &options) {
    LimitMemory();
    // Failed writes are told by their results.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Output out(STDOUT_FILENO);
    Codec codec;
    const auto printer = options.json ? MakeJsonPrinter(out, codec) : MakeTextPrinter(out, codec);
    Stats stats;
    Session session(codec, *printer, stats, options.all);
    int status = kAllRead;
    for (const std::string &file : options.files) {
        if (out.Error() == 0 && !DecodeFile(file, session, stats, out)) {
            status = kFailed;
        }
    }
    if (options.stats) {
        printer->Print(stats);
    }
    out.Flush();
    // A reader that has seen enough (head, a pager) is no failure.
    if (out.Error() != 0 && out.Error() != EPIPE) {
        std::fprintf(stderr, "qorldp: standard output: %s\n", std::strerror(out.Error()));
        return kFailed;
    }
    return std::max(status, stats.Malformed() ? kMalformed : kAllRead);
}

int Run(int argc, char **argv) {
    CLI::App app("Shows the pseudowire signalling in captures of LDP.", "qorldp");
    app.set_version_flag("--version", "qorldp " QORLDP_VERSION);
    app.require_subcommand(1);
    Options options;
    CLI::App *const decode = app.add_subcommand("decode", "Show the messages of capture files");
    decode->add_flag("--json", options.json, "One JSON object per line instead of text");
    decode->add_flag("--all", options.all, "Also name what is no pseudowire signalling");
    decode->add_flag("--stats", options.stats, "End with counts of messages, errors and streams");
    decode->add_option("FILE", options.files, "pcap or pcapng files, - is standard input")
        ->required();
    decode->footer(
        "Exit status: 0 all was read, 1 a message was malformed, 2 a file could not be\n"
        "read, the arguments are wrong, or the output could not be written.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 && std::cout.flush() ? kAllRead : kFailed;
    }
    return Decode(options);
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::fputs("qorldp: out of memory\n", stderr);
        return kFailed;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qorldp: %s\n", error.what());
        return kFailed;
    }
}
