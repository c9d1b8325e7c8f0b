// Every decoder of messages, copies and releases, with an allocation that fails. The last octet of
// an input chooses the decoder, the one before it the allocation.
#include <algorithm>

#include "decoded.hpp"
#include "fuzz.hpp"

using namespace qor::fuzz;

namespace {

// Answers a refused message by a Notification that returns it, cut where a TLV has no more room.
void Return(Bytes message, uint32_t code) {
    QOR_LDP_SIGNAL_MSG_S answer{}, copy{};
    uint16_t type = 0, length = 0;
    if (message.size() >= 8) {
        QOR_LDP_PKT_DecodeMsgHeader(message.data(), &type, &length);
    }
    uint32_t fatal = 0;
    answer.ulMsgType = QOR_LDP_MSG_NOTIFICATION;
    answer.usFlags = QOR_LDP_FLAG_ERR_NOTIFY;
    answer.ulStatus = QOR_LDP_PKT_ErrCode2StatusCode(code, &fatal);
    answer.usStatusMsgType = type;
    answer.usNotifyDataLen = static_cast<uint16_t>(std::min<size_t>(message.size(), 4000));
    answer.pucNotifyData = const_cast<uint8_t *>(message.data());
    if (QOR_LDP_PKT_CopySignalMsg(&copy, &answer, &CodecContext()) == QOR_OK) {
        const auto buffer = std::make_unique<uint8_t[]>(QOR_LDP_PKT_ENC_BUF_LEN);
        const uint32_t octets = QOR_LDP_PKT_EncodeMsg(buffer.get(), &copy, &CodecContext());
        FUZZ_CHECK(octets >= 18U + answer.usNotifyDataLen);
        QOR_LDP_PKT_FreeSignalMsg(&copy, &CodecContext());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // A direct decoder takes no type; its caller names it for the release.
    constexpr struct {
        qor::test::Decoded::Decode decode;
        uint32_t type;
    } kDecoders[] = {{QOR_LDP_PKT_DecodeMsg, 0},
                     {QOR_LDP_PKT_DecodeMappingMsg, QOR_LDP_MSG_MAPPING},
                     {QOR_LDP_PKT_DecodeRequestMsg, QOR_LDP_MSG_REQUEST},
                     {QOR_LDP_PKT_DecodeWithdrawMsg, QOR_LDP_MSG_WITHDRAW},
                     {QOR_LDP_PKT_DecodeReleaseMsg, QOR_LDP_MSG_RELEASE},
                     {QOR_LDP_PKT_DecodeNotificationMsg, QOR_LDP_MSG_NOTIFICATION},
                     {QOR_LDP_PKT_DecodeMacwithdrawMsg, QOR_LDP_MSG_MAC_WITHDRAW}};
    if (size < 2) {
        return 0;
    }
    const auto &[decode, type] = kDecoders[data[size - 1] % std::size(kDecoders)];
    FailAllocation(data[size - 2]);
    const size_t live = LiveBlocks();
    const uint64_t reports = Reports();
    {
        qor::test::Decoded decoded(Bytes(data, size - 2), CodecContext(), decode);
        decoded.rec.ulMsgType = type != 0 ? type : decoded.rec.ulMsgType;
        FUZZ_CHECK(qor::test::IsTold(decoded.code) || (AllocationFailed() && decoded.code != 0));
        if (decoded.code == QOR_OK) {
            QOR_LDP_SIGNAL_MSG_S copy{};
            const bool before = AllocationFailed();
            const uint32_t code = QOR_LDP_PKT_CopySignalMsg(&copy, &decoded.rec, &CodecContext());
            FUZZ_CHECK(code == (AllocationFailed() && !before ? QOR_ERR_NO_MEM : QOR_OK));
            QOR_LDP_PKT_FreeSignalMsg(&copy, &CodecContext());
            QOR_LDP_PKT_FreeSignalMsg(&copy, &CodecContext());
        } else {
            FUZZ_CHECK(LiveBlocks() == live);  // a refused message leaves nothing to release
            Return(Bytes(data, size - 2), decoded.code);
        }
        QOR_LDP_PKT_FreeSignalMsg(&decoded.rec, &CodecContext());
    }
    FUZZ_CHECK(LiveBlocks() == live);
    FUZZ_CHECK(AllocationFailed() || Reports() == reports);
    FailAllocation(0);
    return 0;
}
