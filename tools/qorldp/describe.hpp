// The fields of a message, in the order in which they are shown. One walk serves text and JSON, so
// that both tell the same: Writer is TextWriter or JsonWriter.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "bytes.hpp"
#include "codec.hpp"
#include "message.hpp"
#include "names.hpp"
#include "qor.hpp"
#include "scan.hpp"

namespace qorldp {

// How a value is called: its JSON key and its label in text. name_key: the JSON key of the name
// that follows a number.
struct Field {
    std::string_view key;
    std::string_view label;
    std::string_view name_key = {};
};

template <class Writer>
class Describer {
  public:
    Describer(Writer &writer, Codec &codec) : w_(writer), codec_(codec) {}

    void Describe(const Message &message) {
        if (message.fec != nullptr) {
            Fec(*message.fec);
        }
        if (message.status != nullptr) {
            Status(*message.status);
        }
        if (message.error != nullptr) {
            Error(*message.error);
        }
        if (message.record == nullptr) {
            return;
        }
        switch (message.record->ulMsgType) {
            case QOR_LDP_MSG_MAPPING:
                Mapping(*message.record);
                break;
            case QOR_LDP_MSG_WITHDRAW:
            case QOR_LDP_MSG_RELEASE:
                Withdraw(*message.record);
                break;
            case QOR_LDP_MSG_NOTIFICATION:
                Notification(message);
                break;
            case QOR_LDP_MSG_MAC_WITHDRAW:
                MacWithdraw(*message.record);
                break;
            default:
                break;
        }
    }

  private:
    void Fec(const QOR_LDP_SIGNAL_MSG_S &record) {
        const QOR_LDP_PW_FEC_KEY_S &key = record.stFecKey;
        const bool general = key.ucKeyType == QOR_LDP_KEY_GEN_PWID;
        const bool has_id = record.ucNoPwId == 0;
        w_.Open({"fec", "FEC"});
        w_.Word({"type", ""}, general ? "Generalized PWid" : "PWid");
        w_.Number({"pw_type", "PW type", "pw_type_name"}, key.ucPwType, PwTypeName(key.ucPwType));
        w_.Bool({"control_word", "control word"}, record.ucCBit != 0);
        if (!general || record.ulGroupId != 0) {
            w_.Number({"group_id", "group ID"}, record.ulGroupId);
        }
        if (!has_id) {
            w_.Bool({"whole_group", "whole group"}, true);
        } else if (general) {
            Identifiers(key.stFec129);
        } else {
            w_.Number({"pw_id", "PW ID"}, key.ulPwId);
        }
        w_.Close();
    }

    void Identifiers(const QOR_LDP_FEC129_S &fec) {
        char agi[64];
        if (QOR_LDP_PKT_FmtExtComm2Str(&fec.stAgi, agi, sizeof agi, nullptr) != nullptr) {
            w_.Word({"agi", "AGI"}, agi);
        }
        w_.Ip4({"saii", "SAII"}, fec.ulSaii);
        w_.Ip4({"taii", "TAII"}, fec.ulTaii);
    }

    void Error(const DecodeError &error) {
        w_.Open({"error", "MALFORMED"});
        w_.Hex({"code", "code", "text"}, error.code, 8, ErrorName(error.code));
        w_.Hex({"ldp_status", "LDP status", "ldp_status_name"}, error.answer.code, 8,
               error.answer.code == 0 ? "none" : StatusName(error.answer.code));
        w_.Bool({"fatal", "fatal"}, error.answer.fatal);
        w_.Close();
        w_.Text({"reason", "reason"}, error.reason.empty() ? ErrorName(error.code) : error.reason);
    }

    void Status(const StatusTlv &status) {
        w_.Open({"status", "status"});
        w_.Hex({"code", "", "name"}, status.code, 8, StatusName(status.code));
        w_.Bool({"fatal", "fatal"}, status.fatal);
        w_.Bool({"forward", "forward"}, status.forward);
        if (status.message_id != 0 || status.message_type != 0) {
            const char *const name = MessageName(status.message_type);
            w_.Hex({"message_type", "about message", "message_name"}, status.message_type, 4,
                   name != nullptr ? name : "unknown");
            w_.Number({"message_id", "ID"}, status.message_id);
        }
        w_.Close();
    }

    void Mapping(const QOR_LDP_SIGNAL_MSG_S &record) {
        w_.Number({"label", "label"}, record.ulLabel);
        if ((record.usMappingFlags & QOR_LDP_MAPPING_REQ_ID) != 0) {
            w_.Number({"label_request_id", "label request"}, record.ulLabelReqMsgId);
        }
        PwStatus(record.ulPwStatus);
        Parameters(record);
        if (record.usIntfParaLen != 0) {
            const Bytes raw{record.pucIntfPara, record.usIntfParaLen};
            w_.Open({"interface_parameters_tlv", "parameters TLV"});
            if (const QOR_LDP_INTF_PARA_S *parameters = codec_.DecodeParameters(raw)) {
                Parameters(*parameters);
            }
            w_.Octets({"octets", "octets"}, raw);
            w_.Close();
        }
        const size_t points = std::min<size_t>(record.ucSpeCount, QOR_LDP_PKT_SPE_MAX);
        if (points != 0) {
            w_.OpenList({"switching_points", "switched at"});
            for (const QOR_LDP_SPE_S &point : std::span(record.astSpe, points)) {
                w_.OpenItem();
                w_.Ip4({"peer", ""}, point.ulPeerIp);
                w_.Number({"pw_id", "PW ID"}, point.ulPwId);
                w_.CloseItem();
            }
            w_.CloseList();
        }
        if ((record.usFlags & QOR_LDP_FLAG_MARKER) != 0) {
            w_.Bool({"marker_tlv", "marker TLV"}, true);
        }
    }

    void PwStatus(uint32_t status) {
        if (status != QOR_LDP_PKT_NONE) {
            w_.Flags({"pw_status", "PW status", "pw_status_names"}, status, 8, kPwStatusFlags,
                     "forwarding, no fault");
        }
    }

    // Of a Label Mapping or of an Interface Parameters TLV; 0 is not given.
    template <class Record>
    void Parameters(const Record &record) {
        const auto number = [this](const Field &field, uint64_t value) {
            if (value != 0) {
                w_.Number(field, value);
            }
        };
        number({"mtu", "MTU"}, record.usMtu);
        number({"max_atm_cells", "ATM cells"}, record.usMaxAtmCells);
        number({"payload_bytes", "payload octets"}, record.usPayloadBytes);
        if (record.usCepOptions != 0) {
            w_.Hex({"cep_options", "CEP options"}, record.usCepOptions, 4);
        }
        number({"bit_rate", "bit rate"}, record.ulBitRate);
        number({"fragment", "fragmentation"}, record.ucFragment);
        if (record.ucRtpMode != QOR_LDP_RTP_NOT_GIVEN) {
            number({"rtp_mode", "RTP mode"}, record.ucRtpMode);
        }
        if (record.usVccv != 0) {
            w_.Flags({"vccv_cc", "VCCV channel", "vccv_cc_names"}, record.usVccv >> 8, 2,
                     kControlChannelFlags, "none");
            w_.Flags({"vccv_cv", "VCCV check", "vccv_cv_names"}, record.usVccv & 0xFFU, 2,
                     kConnectivityFlags, "none");
        }
        if (record.usFlowLabel != 0) {
            w_.Flags({"flow_label", "flow label", "flow_label_names"}, record.usFlowLabel, 4,
                     kFlowLabelFlags, "none");
        }
        if (record.szIntfDesc != nullptr) {
            w_.Text({"description", "description"}, record.szIntfDesc);
        }
    }

    void Withdraw(const QOR_LDP_SIGNAL_MSG_S &record) {
        if (record.ulLabel != QOR_LDP_PKT_NONE) {
            w_.Number({"label", "label"}, record.ulLabel);
        }
        if (record.ulAddrListWord != 0) {
            w_.Hex({"status_word", "TLV 0x0300"}, record.ulAddrListWord, 8);
        }
    }

    void Notification(const Message &message) {
        // Of another status the PW status is no news; it is not known whether there was one.
        if (message.status != nullptr && message.status->code == QOR_LDP_STATUS_PW_STATUS) {
            PwStatus(message.record->ulStatus);
        }
    }

    void MacWithdraw(const QOR_LDP_SIGNAL_MSG_S &record) {
        if (record.ulMacTlvType != 0) {
            w_.Hex({"mac_tlv", "MAC TLV", "mac_tlv_name"}, record.ulMacTlvType, 4,
                   MacTlvName(record.ulMacTlvType));
            if (record.ulMacTlvType == QOR_LDP_TLV_MAC_FLUSH ||
                record.ulMacTlvType == QOR_LDP_TLV_MAC_FLAP_FLAGS) {
                w_.Hex({"mac_flags", "MAC flags"}, record.ucMacFlags, 2);
            }
            const Bytes data = Borrowed(record.pucMacList, record.ulMacLen);
            if (record.ulMacTlvType == QOR_LDP_TLV_MAC_LIST) {
                w_.OpenList({"macs", "MACs"});
                for (size_t at = 0; at + 6 <= data.size(); at += 6) {
                    w_.Mac(data.subspan(at, 6));
                }
                w_.CloseList();
            } else if (!data.empty()) {
                w_.Octets({"mac_data", "MAC data"}, data);
            }
        }
        if (record.ulPwTagType != 0) {
            w_.Octets({"pw_tag", "PW tag"}, Borrowed(record.pucPwTag, record.ulPwTagLen));
        }
        if (record.ulPathVectorLen != 0) {
            PathVector(Borrowed(record.pucPathVector, record.ulPathVectorLen));
        }
        if (record.stUnknownTlvList.ulCount != 0) {
            UnknownTlvs(record.stUnknownTlvList);
        }
    }

    // LSR IDs (RFC 5036 section 3.4.5); octets that make no whole one are left out.
    void PathVector(Bytes data) {
        w_.OpenList({"path_vector", "path vector"});
        for (Reader in(data); in.Left() >= 4;) {
            w_.Ip4Item(in.U32());
        }
        w_.CloseList();
    }

    void UnknownTlvs(const HOST_DLL_S &list) {
        w_.OpenList({"unknown_tlvs", "unknown TLVs"});
        const HOST_DLL_NODE_S *node = list.stNode.pstNext;
        for (; node != &list.stNode; node = node->pstNext) {
            const auto *tlv = reinterpret_cast<const QOR_LDP_UNKNOWN_TLV_S *>(node);
            Reader in({tlv->pucTlv, tlv->ulTlvLen});
            const uint16_t type = in.U16();
            in.Skip(2);
            w_.OpenItem();
            w_.Hex({"type", "type"}, type & 0x3FFFU, 4);
            w_.Octets({"octets", "octets"}, in.Rest());
            w_.CloseItem();
        }
        w_.CloseList();
    }

    Bytes Borrowed(const uint8_t *octets, size_t length) const {
        return octets == nullptr || length == 0 ? Bytes{} : codec_.InMessage(octets, length);
    }

    Writer &w_;
    Codec &codec_;
};

}  // namespace qorldp
