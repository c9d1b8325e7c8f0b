// Reading capture files with libpcap.
#pragma once

#include <pcap/pcap.h>
#include <cstdint>

#include <cstdio>
#include <memory>
#include <string>

#include "bytes.hpp"
#include "packet.hpp"

namespace qorldp {

class Capture {
  public:
    // Opens a pcap or pcapng file, "-" is standard input. False: Error() says why.
    bool Open(const std::string &path);

    enum class Next { kFrame, kEnd, kError };

    // Reads the next frame; its octets live until the next call.
    Next Read(Bytes &frame, Timestamp &time);

    int LinkType() const { return link_type_; }
    const std::string &Error() const { return error_; }

    // Octets of the file, 0 when it has no size, and how many of them were read.
    uint64_t Size() const { return size_; }
    uint64_t Position() const;

  private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
        void operator()(pcap_t *pcap) const { pcap_close(pcap); }
    };

    bool OpenFile(const std::string &path);

    std::unique_ptr<std::FILE, Close> file_;  // until libpcap takes it over
    std::unique_ptr<pcap_t, Close> pcap_;
    int link_type_ = 0;
    uint64_t size_ = 0;
    std::string error_;
};

}  // namespace qorldp
