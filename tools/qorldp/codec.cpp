#include "codec.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <new>

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

bool IsNote(std::string_view line) {
    return std::ranges::any_of(
        kNotes, [&](std::string_view note) { return line.find(note) != std::string_view::npos; });
}

template <class Context>
qor::Owner<Context> Own(Context *context) {
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    return qor::Owner<Context>(context);
}

QOR_LOG_S *OpenLog() {
    QOR_LOG_CFG_S config{};
    config.ulSid = kModule;
    config.szTag = kTag;
    config.szModName = kName;
    return QOR_LOG_Init(&config, &config);
}

QOR_PKT_CTX_S *OpenContext(QOR_LOG_S *log, QOR_PKT_ERR_OUTPUT_PF report, Codec *codec) {
    QOR_PKT_CTX_S config{};
    config.ulSid = kModule;
    config.ulLogHandle = std::bit_cast<uintptr_t>(log);
    config.ulErrOutputArg = std::bit_cast<uintptr_t>(codec);
    config.pfnErrOutput = report;
    return QOR_PKT_Init(&config);
}

}  // namespace

Codec::Codec()
    : log_(Own(OpenLog())),
      ctx_(Own(OpenContext(log_.get(), Report, this))),
      message_(*ctx_),
      fec_(*ctx_) {
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
    HOST_POSIX_LineSink(HOST_POSIX_SINK_SYSLOG, nullptr, nullptr);
}

// A report tells more than the log line that may follow it; it comes first.
void Codec::Report(const char *text, uint64_t codec) {
    Codec &self = *std::bit_cast<Codec *>(static_cast<uintptr_t>(codec));
    if (self.listening_) {
        self.reason_ = Behind(text, "ErrorReason=");
        self.listening_ = false;
    }
}

qor::Result Codec::Decode(Bytes octets, uint32_t peer) {
    octets_ = octets;
    writable_.assign(octets.begin(), octets.end());
    message_->ulPeerIp = peer;
    reason_.clear();
    listening_ = true;
    const qor::Result result = message_.decode(writable_);
    listening_ = false;
    if (result.code != QOR_LDP_ERR_UNKNOWN_TLV && reason_.find(kUnknownTlv) != std::string::npos) {
        reason_.clear();
    }
    return result;
}

const QOR_LDP_SIGNAL_MSG_S *Codec::DecodeFec(Bytes value, uint32_t peer) {
    fec_.clear();
    // For this message type the decoder keeps C bit and group ID of either element.
    fec_->ulMsgType = QOR_LDP_MSG_WITHDRAW;
    fec_->ulPeerIp = peer;
    QOR_LDP_PKT_LOG_S log{ctx_.get(), "", peer, 0, 0};
    const uint32_t code = QOR_LDP_PKT_DecodeFecTlv(
        value.data(), static_cast<uint32_t>(value.size()), &log, fec_.get());
    return code == QOR_OK ? fec_.get() : nullptr;
}

const QOR_LDP_INTF_PARA_S *Codec::DecodeParameters(Bytes sub_tlvs) {
    parameters_.clear();
    QOR_LDP_PKT_LOG_S log{ctx_.get(), "", 0, 0, 0};
    const uint32_t code = QOR_LDP_PKT_DecodeIntfParaSubTlv(
        sub_tlvs.data(), static_cast<uint32_t>(sub_tlvs.size()), &parameters_->stIntfPara, &log);
    return code == QOR_OK ? &parameters_->stIntfPara : nullptr;
}

Bytes Codec::InMessage(const uint8_t *octets, size_t length) const {
    return octets_.subspan(static_cast<size_t>(octets - writable_.data()), length);
}

}  // namespace qorldp
