#include "record_text.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qor::test {
namespace {

using Record = QOR_LDP_SIGNAL_MSG_S;

struct Field {
    const char *name;
    size_t offset, size;
};

struct Buffer {
    const char *name;
    size_t pointer, length, lengthSize;
};

constexpr Record kBlank{};
// clang-format off
#define AT(member) offsetof(Record, member), sizeof(kBlank.member)
#define F(name, member) {#name, AT(member)}
#define VALUE(name, index) F(name, stFecKey.aulValue[index])
#define GEN(name, member) F(name, stFecKey.stFec129.member)
#define SPE(i) F(peer##i, astSpe[i].ulPeerIp), F(segment##i, astSpe[i].ulPwId)
#define BUFFER(name, pointer, length) {#name, offsetof(Record, pointer), AT(length)}

constexpr Field kFields[] = {
    F(type, ulMsgType), F(msglen, usMsgLen), F(id, ulMsgId), F(bodyid, ulBodyMsgId),
    F(peer, ulPeerIp), F(flags, usFlags), F(nopwid, ucNoPwId), F(key, stFecKey.ucKeyType),
    F(pwtype, stFecKey.ucPwType), F(family, stFecKey.stPeerAddr.ulFamily),
    F(addr0, stFecKey.stPeerAddr.aulAddr[0]), F(addr1, stFecKey.stPeerAddr.aulAddr[1]),
    F(addr2, stFecKey.stPeerAddr.aulAddr[2]), F(addr3, stFecKey.stPeerAddr.aulAddr[3]),
    VALUE(pwid, 0), VALUE(word1, 1), VALUE(word2, 2), VALUE(word3, 3), VALUE(word4, 4),
    VALUE(word5, 5), GEN(agit, ucAgiType), GEN(agil, ucAgiLen), GEN(sait, ucSaiiType),
    GEN(sail, ucSaiiLen), GEN(sai, ulSaii), GEN(tait, ucTaiiType), GEN(tail, ucTaiiLen),
    GEN(tai, ulTaii), GEN(agi_type, stAgi.ucType), GEN(agi_sub, stAgi.ucSubType),
    GEN(agi_as2, stAgi.stAs2.usGlobalAdmin), GEN(agi_num32, stAgi.stAs2.ulLocalAdmin),
    GEN(agi_as4, stAgi.stAs4.ulGlobalAdmin), GEN(agi_num16, stAgi.stAs4.usLocalAdmin),
    GEN(agi_octet1, stAgi.stKetu.ucOctet1), GEN(agi_octet2, stAgi.stKetu.ucOctet2),
    GEN(agi_word1, stAgi.stKetu.usWord1), GEN(agi_word2, stAgi.stKetu.usWord2), F(cbit, ucCBit),
    F(group, ulGroupId), F(label, ulLabel), F(mapflags, usMappingFlags), F(reqid, ulLabelReqMsgId),
    F(pwstatus, ulPwStatus), F(mtu, usMtu), F(cells, usMaxAtmCells), F(payload, usPayloadBytes),
    F(cep, usCepOptions), F(bitrate, ulBitRate), F(frag, ucFragment), F(rtp, ucRtpMode),
    F(vccv, usVccv), F(flow, usFlowLabel), F(spes, ucSpeCount), SPE(0), SPE(1), SPE(2), SPE(3),
    SPE(4), SPE(5), SPE(6), SPE(7), SPE(8), SPE(9), F(intflen, usIntfParaLen),
    F(addrlist, ulAddrListWord), F(status, ulStatus), F(statusid, ulStatusMsgId),
    F(statustype, usStatusMsgType), F(notifylen, usNotifyDataLen), F(macflags, ucMacFlags),
    F(mactype, ulMacTlvType), F(maclen, ulMacLen), F(pathlen, ulPathVectorLen),
    F(tagtype, ulPwTagType), F(taglen, ulPwTagLen)};

constexpr Buffer kBuffers[] = {
    BUFFER(intf, pucIntfPara, usIntfParaLen), BUFFER(notify, pucNotifyData, usNotifyDataLen),
    BUFFER(mac, pucMacList, ulMacLen), BUFFER(path, pucPathVector, ulPathVectorLen),
    BUFFER(tag, pucPwTag, ulPwTagLen)};
// clang-format on

// Reads and writes a member of 1, 2 or 4 octets; packed ones stand at any address.
uint32_t Load(const Record &rec, size_t offset, size_t size) {
    const char *at = reinterpret_cast<const char *>(&rec) + offset;
    uint16_t half = 0;
    uint32_t word = 0;
    if (size == 1) return static_cast<uint8_t>(*at);
    if (size == 2) return memcpy(&half, at, 2), half;
    return memcpy(&word, at, 4), word;
}

void Store(Record &rec, size_t offset, size_t size, uint32_t value) {
    const uint8_t octet = static_cast<uint8_t>(value);
    const uint16_t half = static_cast<uint16_t>(value);
    const void *from = size == 1 ? static_cast<const void *>(&octet) : &half;
    memcpy(reinterpret_cast<char *>(&rec) + offset, size == 4 ? &value : from, size);
}

}  // namespace

std::vector<uint8_t> Hex(const std::string &text) {
    std::vector<uint8_t> out;
    std::vector<size_t> open;
    for (const char *p = text.c_str(); *p != 0; ++p) {
        unsigned octet = 0, count = 1;
        int used = 0;
        if (*p == ' ') continue;
        if (*p == '[') {
            open.push_back(out.size());
            out.insert(out.end(), 2, 0);
        } else if (*p == ']') {
            const size_t at = open.at(open.size() - 1), length = out.size() - at - 2;
            out[at] = static_cast<uint8_t>(length >> 8);
            out[at + 1] = static_cast<uint8_t>(length);
            open.pop_back();
        } else {
            if (sscanf(p, "%2x%n", &octet, &used) != 1 || used != 2)
                throw std::invalid_argument("not hex: " + text);
            if (sscanf(++p, "%*1[0-9A-Fa-f]*%u%n", &count, &used) == 1) p += used - 1;
            out.insert(out.end(), count, static_cast<uint8_t>(octet));
        }
    }
    return out;
}

std::string HexText(const std::vector<uint8_t> &octets) {
    std::string out;
    char pair[3];
    for (const uint8_t octet : octets) {
        snprintf(pair, sizeof pair, "%02x", octet);
        out += pair;
    }
    return out;
}

uint16_t Word(const std::vector<uint8_t> &octets, size_t at) {
    return static_cast<uint16_t>(octets.at(at) << 8 | octets.at(at + 1));
}

std::string Describe(const Record &rec) {
    std::ostringstream out;
    for (const Field &f : kFields)
        if (const uint32_t value = Load(rec, f.offset, f.size); value != 0)
            out << f.name << "=0x" << std::hex << value << '\n';
    for (const Buffer &b : kBuffers) {
        const uint8_t *data;
        memcpy(&data, reinterpret_cast<const char *>(&rec) + b.pointer, sizeof data);
        if (data != nullptr)
            out << b.name << '=' << HexText({data, data + Load(rec, b.length, b.lengthSize)})
                << '\n';
    }
    if (rec.szIntfDesc != nullptr) out << "desc=" << rec.szIntfDesc << '\n';
    const auto *node =
        reinterpret_cast<QOR_LDP_UNKNOWN_TLV_S *>(rec.stUnknownTlvList.stNode.pstNext);
    for (uint32_t i = 0; i < rec.stUnknownTlvList.ulCount; ++i, node = node->pstNext)
        out << "unknown=" << HexText({node->pucTlv, node->pucTlv + node->ulTlvLen}) << '\n';
    return out.str();
}

TextRecord::TextRecord(const std::string &text, const std::vector<uint8_t> &message) {
    rec.ulPeerIp = rec.stFecKey.stPeerAddr.aulAddr[0] = kPeer;
    rec.ulMsgType = Word(message, 0) & 0x7FFF;
    rec.usMsgLen = Word(message, 2);
    rec.ulMsgId = rec.ulBodyMsgId = uint32_t{Word(message, 4)} << 16 | Word(message, 6);
    std::istringstream words(text);
    for (std::string pair; words >> pair;)
        Set(pair.substr(0, pair.find('=')), pair.substr(pair.find('=') + 1));
}

void TextRecord::Set(const std::string &name, const std::string &value) {
    for (const Field &f : kFields)
        if (name == f.name)
            return Store(rec, f.offset, f.size,
                         static_cast<uint32_t>(strtoul(value.c_str(), nullptr, 0)));
    if (name == "desc") {
        const char *text = value.c_str();
        rec.szIntfDesc = reinterpret_cast<char *>(Keep({text, text + value.size() + 1}));
        return;
    }
    const std::vector<uint8_t> octets = Hex(value.c_str());
    const auto length = static_cast<uint32_t>(octets.size());
    if (name == "unknown") {
        HOST_DLL_S &list = rec.stUnknownTlvList;
        if (list.ulCount == 0) list.stNode.pstNext = list.stNode.pstPrev = &list.stNode;
        nodes_.push_back({nullptr, nullptr, length, Keep(octets)});
        HOST_DllInsertInMiddle(&list, list.stNode.pstPrev,
                               reinterpret_cast<HOST_DLL_NODE_S *>(&nodes_.back()), &list.stNode);
        return;
    }
    for (const Buffer &b : kBuffers) {
        if (name != b.name) continue;
        uint8_t *data = Keep(octets);
        memcpy(reinterpret_cast<char *>(&rec) + b.pointer, &data, sizeof data);
        return Store(rec, b.length, b.lengthSize, length);
    }
    throw std::invalid_argument("no such field: " + name);
}

// An empty buffer still gets an address, so that "notify=" is a pointer with length 0.
uint8_t *TextRecord::Keep(const std::vector<uint8_t> &octets) {
    return buffers_.emplace_back(octets.empty() ? std::vector<uint8_t>(1) : octets).data();
}

void TextRecord::Scribble() {
    for (auto &buffer : buffers_) std::fill(buffer.begin(), buffer.end(), uint8_t{0x58});
}

}  // namespace qor::test
