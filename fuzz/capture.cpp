// Capture files of any content through the whole tool: link layers, streams, messages, both
// printers.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "bytes.hpp"
#include "capture.hpp"
#include "codec.hpp"
#include "output.hpp"
#include "packet.hpp"
#include "printer.hpp"
#include "session.hpp"
#include "stats.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace qorldp;
    static const int file = memfd_create("capture", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        abort();
    }
    static Codec codec;
    for (const bool json : {false, true}) {
        Output out(-1);
        const auto printer = json ? MakeJsonPrinter(out, codec) : MakeTextPrinter(out, codec);
        Stats stats;
        Session session(codec, *printer, stats, true);
        Capture capture;
        if (!capture.Open(path)) {
            return 0;
        }
        Bytes frame;
        Timestamp time;
        while (capture.Read(frame, time) == Capture::Next::kFrame) {
            session.Frame(capture.LinkType(), frame, time);
            out.Clear();
        }
        session.Finish();
        printer->Print(stats);
    }
    return 0;
}
