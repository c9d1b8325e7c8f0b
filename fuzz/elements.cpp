// Each decoder of a TLV, FEC element or sub-TLV alone. The first octet chooses it, the second the
// allocation that fails, the third the message type of the record.
#include <cstring>

#include "decoded.hpp"
#include "fuzz.hpp"

using namespace qor::fuzz;

namespace {

// What a decoder works on; released after each input.
struct Place {
    QOR_LDP_SIGNAL_MSG_S record{};
    QOR_LDP_PWID_FEC_INFO_S info{};
    QOR_LDP_PKT_LOG_S log{&CodecContext(), "Fuzz Message", qor::test::kPeer, 0, 0};
    QOR_LDP_TLV_HDR_S header{};
    const uint8_t *value = nullptr;  // four octets of a header stand in front of it
    uint32_t length = 0;
    uint32_t used = 0;
};

using Decode = uint32_t (*)(Place &);

template <auto kDecoder>
uint32_t MacTlv(Place &p) {
    return kDecoder(p.value, &p.header, &p.record, &CodecContext());
}

template <auto kDecoder>
uint32_t AddressElement(Place &p) {
    return p.length == 0 ? QOR_OK : kDecoder(p.value, p.length, &p.log, &p.used);
}

template <auto kDecoder>
uint32_t PwElement(Place &p) {
    return p.length == 0 ? QOR_OK : kDecoder(p.value, p.length, &p.log, &p.info, &p.used);
}

constexpr Decode kDecoders[] = {
    MacTlv<QOR_LDP_PKT_DecodeMacTlv>,
    MacTlv<QOR_LDP_PKT_DecodeMacFlapTlv>,
    MacTlv<QOR_LDP_PKT_DecodeMacFlushTlv>,
    MacTlv<QOR_LDP_PKT_DecodeMacVendorFlushTlv>,
    MacTlv<QOR_LDP_PKT_DecodePwTagTlv>,
    MacTlv<QOR_LDP_PKT_DecodePathVectorTlv>,
    AddressElement<QOR_LDP_PKT_DecodeWcFec>,
    AddressElement<QOR_LDP_PKT_DecodeAddrFec>,
    AddressElement<QOR_LDP_PKT_DecodeHostFec>,
    PwElement<QOR_LDP_PKT_DecodeVcFec128>,
    PwElement<QOR_LDP_PKT_DecodeVcFec129>,
    [](Place &p) { return QOR_LDP_PKT_DecodeAddrListTlv(p.value, &p.header, &CodecContext()); },
    [](Place &p) {
        p.record.ulMsgType = QOR_LDP_MSG_MAC_WITHDRAW;  // the only one with such a list
        return QOR_LDP_PKT_DecodeUnknownTlv(p.value, &p.header, &p.record.stUnknownTlvList,
                                            &CodecContext());
    },
    [](Place &p) {
        uint8_t count = 0;
        QOR_LDP_SPE_S points[QOR_LDP_PKT_SPE_MAX];
        return QOR_LDP_PKT_DecodeSPE(p.value, p.length, &p.log, &count, points);
    },
    [](Place &p) { return QOR_LDP_PKT_DecodeFecTlv(p.value, p.length, &p.log, &p.record); },
    [](Place &p) {
        return QOR_LDP_PKT_DecodeIntfParaSubTlv(p.value, p.length, &p.info.stIntfPara, &p.log);
    },
    [](Place &p) {
        const bool whole = p.length >= 2 && p.value[1] >= 2 && p.value[1] <= p.length;
        return whole ? QOR_LDP_PKT_DecodeIntfDescSubTlv(p.value, &p.info.stIntfPara, &p.log)
                     : QOR_OK;
    },
    [](Place &p) {
        p.record.ulMsgType = QOR_LDP_MSG_MAPPING;  // the only one that keeps parameters
        return QOR_LDP_PKT_DecodeIntfParaTlv(p.value, p.length, &p.record, &p.log, p.log.pstCtx);
    },
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr uint32_t kTypes[] = {QOR_LDP_MSG_MAPPING,      QOR_LDP_MSG_REQUEST,
                                   QOR_LDP_MSG_WITHDRAW,     QOR_LDP_MSG_RELEASE,
                                   QOR_LDP_MSG_NOTIFICATION, QOR_LDP_MSG_MAC_WITHDRAW};
    constexpr size_t kChoices = 3;
    constexpr size_t kHeader = 4;
    if (size < kChoices + kHeader || size > kChoices + kHeader + UINT16_MAX) {
        return 0;
    }
    const size_t live = LiveBlocks();
    ExactCopy tlv(Bytes(data, size).subspan(kChoices));
    Place place;
    place.length = static_cast<uint32_t>(size - kChoices - kHeader);
    place.value = tlv.Get() + kHeader;
    place.header = {static_cast<uint16_t>(tlv.Get()[0] << 8 | tlv.Get()[1]),
                    static_cast<uint16_t>(place.length)};
    place.record.ulMsgType = kTypes[data[2] % std::size(kTypes)];
    place.record.ucBorrowed = 1;
    FailAllocation(data[1]);
    const uint32_t code = kDecoders[data[0] % std::size(kDecoders)](place);
    FUZZ_CHECK(place.used <= place.length || code != QOR_OK);
    FUZZ_CHECK(place.info.stIntfPara.szIntfDesc == nullptr ||
               strlen(place.info.stIntfPara.szIntfDesc) <= QOR_LDP_PKT_DESC_MAX);
    QOR_LDP_PKT_FreeSignalMsg(&place.record, &CodecContext());
    QOR_LDP_PKT_ClearPwIdFecInfo(&place.info);
    FUZZ_CHECK(LiveBlocks() == live);
    FailAllocation(0);
    return 0;
}
