#include "capture.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "link_layer.hpp"

namespace qorldp {
namespace {

constexpr size_t kReadBuffer = 1 << 20;

// The years 1970 to 9999: a time outside of them is made up.
constexpr int64_t kMaxSeconds = 253402300799;

Timestamp ToTimestamp(const timeval &tv) {
    constexpr int64_t kMicro = 1000000;
    const int64_t sec = std::clamp<int64_t>(tv.tv_sec, 0, kMaxSeconds - 1);
    const int64_t usec = std::clamp<int64_t>(tv.tv_usec, 0, 2 * kMicro - 1);
    return {sec + usec / kMicro, static_cast<int32_t>(usec % kMicro)};
}

}  // namespace

bool Capture::Open(const std::string &path) {
    if (!OpenFile(path)) {
        return false;
    }
    const int first = std::getc(file_.get());
    if (first == EOF) {
        error_ = std::ferror(file_.get()) != 0 ? std::strerror(errno) : "the file is empty";
        return false;
    }
    std::ungetc(first, file_.get());
    char reason[PCAP_ERRBUF_SIZE] = "";
    pcap_.reset(pcap_fopen_offline(file_.get(), reason));
    if (!pcap_) {
        error_ = std::string("no capture that can be read: ") + reason;
        return false;
    }
    static_cast<void>(file_.release());
    link_type_ = pcap_datalink(pcap_.get());
    if (!LinkTypeKnown(link_type_)) {
        const char *const name = pcap_datalink_val_to_name(link_type_);
        error_ = "frames of link type " + std::to_string(link_type_) + " (" +
                 (name != nullptr ? name : "unknown") + ") are not supported";
        return false;
    }
    return true;
}

bool Capture::OpenFile(const std::string &path) {
    // A duplicate of standard input, so that it can be closed like any file.
    const int fd = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        file_.reset(fdopen(fd, "rb"));
        if (!file_) {
            close(fd);
        }
    }
    struct stat status {};
    if (!file_ || fstat(fd, &status) != 0) {
        error_ = std::strerror(errno);
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        size_ = static_cast<uint64_t>(status.st_size);
    }
    std::setvbuf(file_.get(), nullptr, _IOFBF, kReadBuffer);
    return true;
}

Capture::Next Capture::Read(Bytes &frame, Timestamp &time) {
    pcap_pkthdr *header = nullptr;
    const u_char *octets = nullptr;
    switch (pcap_next_ex(pcap_.get(), &header, &octets)) {
        case 1:
            frame = {octets, header->caplen};
            time = ToTimestamp(header->ts);
            return Next::kFrame;
        case PCAP_ERROR_BREAK:
            return Next::kEnd;
        default:
            error_ = pcap_geterr(pcap_.get());
            return Next::kError;
    }
}

uint64_t Capture::Position() const {
    const off_t at = ftello(pcap_file(pcap_.get()));
    return at < 0 ? 0 : static_cast<uint64_t>(at);
}

}  // namespace qorldp
