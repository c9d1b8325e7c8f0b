// Counts over all captures of a run.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>

namespace qorldp {

struct TypeCount {
    uint64_t total = 0;
    uint64_t pseudowire = 0;
    uint64_t malformed = 0;
};

struct Stats {
    uint64_t packets = 0;
    uint64_t ldp_packets = 0;
    uint64_t fragments = 0;    // pieces of IP packets, not put together
    uint64_t cut_packets = 0;  // end inside their headers
    uint64_t streams = 0;
    uint64_t dropped_streams = 0;  // given up for room
    uint64_t sessions = 0;
    uint64_t gaps = 0;
    uint64_t octets_lost = 0;     // in gaps
    uint64_t octets_skipped = 0;  // in search of a PDU
    uint64_t cut_pdus = 0;
    uint64_t framing_errors = 0;
    std::map<uint32_t, TypeCount> types;  // by message type
    std::map<uint32_t, uint64_t> errors;  // by the codec's code

    TypeCount Total() const {
        TypeCount sum;
        for (const auto &[type, count] : types) {
            sum.total += count.total;
            sum.pseudowire += count.pseudowire;
            sum.malformed += count.malformed;
        }
        return sum;
    }

    bool Malformed() const { return framing_errors != 0 || !errors.empty(); }
};

// The counts that are no table, with their JSON key and label.
struct StatsRow {
    std::string_view key;
    std::string_view label;
    uint64_t Stats::*count;
};

inline constexpr StatsRow kStatsRows[] = {
    {"packets", "packets", &Stats::packets},
    {"ldp_packets", "packets of port 646", &Stats::ldp_packets},
    {"cut_packets", "packets cut in their headers", &Stats::cut_packets},
    {"ip_fragments", "IP fragments, not put together", &Stats::fragments},
    {"streams", "TCP streams", &Stats::streams},
    {"sessions", "TCP connections, each direction", &Stats::sessions},
    {"dropped_streams", "streams dropped for room", &Stats::dropped_streams},
    {"gaps", "gaps", &Stats::gaps},
    {"octets_lost", "octets lost in gaps", &Stats::octets_lost},
    {"octets_skipped", "octets passed over", &Stats::octets_skipped},
    {"cut_pdus", "PDUs cut at an end", &Stats::cut_pdus},
    {"framing_errors", "framing errors", &Stats::framing_errors},
};

}  // namespace qorldp
