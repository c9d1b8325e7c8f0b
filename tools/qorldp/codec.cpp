#include "codec.hpp"

#include <algorithm>
#include <bit>
#include <new>

#include "qor_host.h"
#include "qor_host_posix.h"

namespace qorldp {
namespace {

// Module id of the library's allocations.
constexpr uint64_t kModule = 1;
constexpr char kTag[] = "qorldp";
constexpr char kName[] = "codec";

// Reports name message and peer in front of the reason; log lines carry the prefix of
// QOR_LOG_DevLog.
std::string_view Behind(std::string_view text, std::string_view mark) {
    const size_t at = text.find(mark);
    return at == std::string_view::npos ? text : text.substr(at + mark.size());
}

// Lines about what the library met and passed over, which explain no refusal.
constexpr std::string_view kNotes[] = {"Unknown Interface Parameter", "Unknown TLV, TLV Type",
                                       "exceeds the maximum", "Invalid spe tlv"};
constexpr std::string_view kUnknownTlv = "unknwon tlv";  // refused without U bit

// Clears by a call: what g++ puts in place of an assignment takes longer to start than to clear.
void Clear(QOR_LDP_SIGNAL_MSG_S &record) {
    memset_s(&record, sizeof record, 0, sizeof record);
}

bool IsNote(std::string_view line) {
    return std::ranges::any_of(
        kNotes, [&](std::string_view note) { return line.find(note) != std::string_view::npos; });
}

}  // namespace

Codec::Codec() {
    QOR_LOG_CFG_S log{};
    log.ulSid = kModule;
    log.szTag = kTag;
    log.szModName = kName;
    log_ = QOR_LOG_Init(&log, this);
    QOR_PKT_CTX_S config{};
    config.ulSid = kModule;
    config.ulLogHandle = std::bit_cast<uintptr_t>(log_);
    config.ulErrOutputArg = std::bit_cast<uintptr_t>(this);
    // A report tells more than the log line that may follow it; it comes first.
    config.pfnErrOutput = [](const char *text, uint64_t arg) {
        Codec &self = *std::bit_cast<Codec *>(static_cast<uintptr_t>(arg));
        if (self.listening_) {
            self.reason_ = Behind(text, "ErrorReason=");
            self.listening_ = false;
        }
    };
    ctx_ = log_ == nullptr ? nullptr : QOR_PKT_Init(&config);
    if (ctx_ == nullptr) {
        throw std::bad_alloc();
    }
    // Without ulDevLogOn lines go to the system log, which has no rate limit that could hide them.
    HOST_POSIX_LineSink(
        HOST_POSIX_SINK_SYSLOG,
        [](void *user, const HOST_POSIX_LINE_S *line) {
            Codec &self = *static_cast<Codec *>(user);
            if (self.listening_ && !IsNote(line->szText)) {
                self.reason_ = Behind(line->szText, ": ");
            }
        },
        this);
}

Codec::~Codec() {
    ReleaseRecord();
    QOR_LDP_PKT_FreeSignalMsg(&fec_record_, ctx_);
    QOR_LDP_PKT_ClearPwIdFecInfo(&parameters_);
    HOST_POSIX_LineSink(HOST_POSIX_SINK_SYSLOG, nullptr, nullptr);
    QOR_PKT_DeInit(ctx_);
    QOR_LOG_DeInit(log_);
}

uint32_t Codec::Decode(Bytes message, uint32_t peer) {
    ReleaseRecord();
    record_.ulPeerIp = peer;
    message_ = message;
    const uint8_t *octets = message.data();
    if ((octets[0] & 0x7F) == QOR_LDP_MSG_MAC_WITHDRAW >> 8 &&
        octets[1] == (QOR_LDP_MSG_MAC_WITHDRAW & 0xFF)) {
        // The decoder may write to such a message.
        writable_.assign(message.begin(), message.end());
        octets = writable_.data();
    }
    reason_.clear();
    listening_ = true;
    const uint32_t code = QOR_LDP_PKT_DecodeMsg(octets, &record_, ctx_);
    listening_ = false;
    if (code != QOR_LDP_ERR_UNKNOWN_TLV && reason_.find(kUnknownTlv) != std::string::npos) {
        reason_.clear();
    }
    return code;
}

const QOR_LDP_SIGNAL_MSG_S *Codec::DecodeFec(Bytes value, uint32_t peer) {
    QOR_LDP_PKT_FreeSignalMsg(&fec_record_, ctx_);
    Clear(fec_record_);
    // For this message type the decoder keeps C bit and group ID of either element.
    fec_record_.ulMsgType = QOR_LDP_MSG_WITHDRAW;
    fec_record_.ulPeerIp = peer;
    QOR_LDP_PKT_LOG_S log{ctx_, "", peer, 0, 0};
    const uint32_t code = QOR_LDP_PKT_DecodeFecTlv(
        value.data(), static_cast<uint32_t>(value.size()), &log, &fec_record_);
    return code == QOR_OK ? &fec_record_ : nullptr;
}

const QOR_LDP_INTF_PARA_S *Codec::DecodeParameters(Bytes sub_tlvs) {
    QOR_LDP_PKT_ClearPwIdFecInfo(&parameters_);
    QOR_LDP_PKT_LOG_S log{ctx_, "", 0, 0, 0};
    const uint32_t code = QOR_LDP_PKT_DecodeIntfParaSubTlv(
        sub_tlvs.data(), static_cast<uint32_t>(sub_tlvs.size()), &parameters_.stIntfPara, &log);
    return code == QOR_OK ? &parameters_.stIntfPara : nullptr;
}

Bytes Codec::InMessage(const uint8_t *octets, size_t length) const {
    const auto at = static_cast<size_t>(octets - writable_.data());
    return message_.subspan(at, length);
}

void Codec::ReleaseRecord() {
    QOR_LDP_PKT_FreeSignalMsg(&record_, ctx_);
    Clear(record_);
}

}  // namespace qorldp
