#include "qor_pkt_bgp.h"

#include <cstring>

#include "base/qor_check.hpp"
#include "pkt/qor_pkt_wire.hpp"

namespace {

using qor::Compare;
using qor::RefuseNull;

constexpr char kSource[] = "qor_pkt_bgp";

// How the forms differ: the order of the values, and whether the second word of a Ketu community
// (type 0x80, subtype 0x0A) is there.
struct Form {
    bool network;
    bool ketuWord2;
};

constexpr Form kNet{true, true};
constexpr Form kHost{false, false};
constexpr Form kNetKetu{true, false};

constexpr uint8_t kTypeAs4Alias = 3;

uint8_t CanonicalType(uint8_t type) {
    return type == kTypeAs4Alias ? QOR_EXTCOMM_TYPE_AS4 : type;
}

bool IsKetu(const QOR_EXTCOMM_S *ext) {
    return ext->ucType == QOR_EXTCOMM_TYPE_KETU && ext->ucSubType == QOR_EXTCOMM_SUBTYPE_KETU;
}

template <class Value>
void Put(Form form, Value value, uint8_t **cursor) {
    if (!form.network) {
        std::memcpy(*cursor, &value, sizeof value);
    } else if constexpr (sizeof value == 2) {
        qor::wire::Put16(*cursor, value);
    } else {
        qor::wire::Put32(*cursor, value);
    }
    *cursor += sizeof value;
}

template <class Value>
Value Get(Form form, const uint8_t **cursor) {
    Value value;
    if (!form.network) {
        std::memcpy(&value, *cursor, sizeof value);
    } else if constexpr (sizeof value == 2) {
        value = qor::wire::Get16(*cursor);
    } else {
        value = qor::wire::Get32(*cursor);
    }
    *cursor += sizeof value;
    return value;
}

void PutExtcomm(qor::Where where, Form form, const QOR_EXTCOMM_S *ext, uint8_t **cursor) {
    if (RefuseNull(where, ext, cursor)) {
        return;
    }
    // With subtype 0 the type word is the type as a number, so the type comes second.
    const uint8_t type = CanonicalType(ext->ucType);
    *(*cursor)++ = ext->ucSubType != 0 ? type : uint8_t{0};
    *(*cursor)++ = ext->ucSubType != 0 ? ext->ucSubType : type;
    if (type == QOR_EXTCOMM_TYPE_AS2) {
        Put<uint16_t>(form, ext->stAs2.usGlobalAdmin, cursor);
        Put<uint32_t>(form, ext->stAs2.ulLocalAdmin, cursor);
    } else if (IsKetu(ext)) {
        *(*cursor)++ = ext->stKetu.ucOctet1;
        *(*cursor)++ = ext->stKetu.ucOctet2;
        Put<uint16_t>(form, ext->stKetu.usWord1, cursor);
        if (form.ketuWord2) {
            Put<uint16_t>(form, ext->stKetu.usWord2, cursor);
        }
    } else {
        Put<uint32_t>(form, ext->stAs4.ulGlobalAdmin, cursor);
        Put<uint16_t>(form, ext->stAs4.usLocalAdmin, cursor);
    }
}

void GetExtcomm(qor::Where where, Form form, uint32_t mode, QOR_EXTCOMM_S *ext,
                const uint8_t **cursor) {
    if (RefuseNull(where, ext, cursor)) {
        return;
    }
    // The form without the second Ketu word leaves it zero: keys are compared by all octets.
    std::memset(ext, 0, sizeof *ext);
    const uint8_t first = *(*cursor)++;
    const uint8_t second = *(*cursor)++;
    ext->ucType = mode == 1 ? second : first;
    ext->ucSubType = mode == 1 ? first : second;
    if (ext->ucType == QOR_EXTCOMM_TYPE_AS2) {
        ext->stAs2.usGlobalAdmin = Get<uint16_t>(form, cursor);
        ext->stAs2.ulLocalAdmin = Get<uint32_t>(form, cursor);
    } else if (IsKetu(ext)) {
        ext->stKetu.ucOctet1 = *(*cursor)++;
        ext->stKetu.ucOctet2 = *(*cursor)++;
        ext->stKetu.usWord1 = Get<uint16_t>(form, cursor);
        if (form.ketuWord2) {
            ext->stKetu.usWord2 = Get<uint16_t>(form, cursor);
        }
    } else {
        ext->stAs4.ulGlobalAdmin = Get<uint32_t>(form, cursor);
        ext->stAs4.usLocalAdmin = Get<uint16_t>(form, cursor);
    }
}

}  // namespace

void QOR_PKT_PutExtcommNet(const QOR_EXTCOMM_S *ext, uint8_t **cursor) {
    PutExtcomm(kSource, kNet, ext, cursor);
}

void QOR_PKT_PutExtcommHost(const QOR_EXTCOMM_S *ext, uint8_t **cursor) {
    PutExtcomm(kSource, kHost, ext, cursor);
}

void QOR_PKT_PutExtcommNetKetu(const QOR_EXTCOMM_S *ext, uint8_t **cursor) {
    PutExtcomm(kSource, kNetKetu, ext, cursor);
}

void QOR_PKT_GetExtcommNet(uint32_t mode, QOR_EXTCOMM_S *ext, const uint8_t **cursor) {
    GetExtcomm(kSource, kNet, mode, ext, cursor);
}

void QOR_PKT_GetExtcommHost(uint32_t mode, QOR_EXTCOMM_S *ext, const uint8_t **cursor) {
    GetExtcomm(kSource, kHost, mode, ext, cursor);
}

void QOR_PKT_GetExtcommNetKetu(uint32_t mode, QOR_EXTCOMM_S *ext, const uint8_t **cursor) {
    GetExtcomm(kSource, kNetKetu, mode, ext, cursor);
}

int32_t QOR_LDP_PKT_CmpExtComm(const QOR_EXTCOMM_S *a, const QOR_EXTCOMM_S *b) {
    if (RefuseNull(kSource, a, b)) {
        return -1;
    }
    if (const int32_t order = Compare(a->ucSubType, b->ucSubType); order != 0) {
        return order;
    }
    const uint8_t type = CanonicalType(a->ucType);
    if (const int32_t order = Compare(type, CanonicalType(b->ucType)); order != 0) {
        return order;
    }
    if (type == QOR_EXTCOMM_TYPE_AS2) {
        const int32_t order = Compare(a->stAs2.usGlobalAdmin, b->stAs2.usGlobalAdmin);
        return order != 0 ? order : Compare(a->stAs2.ulLocalAdmin, b->stAs2.ulLocalAdmin);
    }
    const int32_t order = Compare(a->stAs4.ulGlobalAdmin, b->stAs4.ulGlobalAdmin);
    return order != 0 ? order : Compare(a->stAs4.usLocalAdmin, b->stAs4.usLocalAdmin);
}

char *QOR_LDP_PKT_FmtExtComm2Str(const QOR_EXTCOMM_S *ext, char *buf, int size, int *outLen) {
    if (RefuseNull(kSource, ext, buf)) {
        return nullptr;
    }
    if (size <= 0) {
        qor::Report(kSource);
        return nullptr;
    }
    buf[0] = '\0';
    const size_t room = static_cast<size_t>(size);
    const uint32_t global = ext->stAs4.ulGlobalAdmin;
    const uint32_t local = ext->stAs4.usLocalAdmin;
    int stored = 0;
    if (ext->ucType == QOR_EXTCOMM_TYPE_AS4) {
        stored =
            snprintf_s(buf, room, room - 1, "%u.%u : %u", global >> 16, global & 0xFFFF, local);
    } else if (ext->ucType == QOR_EXTCOMM_TYPE_IPV4) {
        stored = snprintf_s(buf, room, room - 1, "0x%8.8x:%u", global, local);
    } else if (ext->ucType == QOR_EXTCOMM_TYPE_AS2) {
        stored = snprintf_s(buf, room, room - 1, "%u:%u", unsigned{ext->stAs2.usGlobalAdmin},
                            ext->stAs2.ulLocalAdmin);
    } else {
        stored = snprintf_s(buf, room, room - 1, "%u:%u", global, local);
    }
    qor::FormatChecked(kSource, stored);
    if (outLen != nullptr) {
        *outLen = stored;
    }
    buf[room - 1] = '\0';
    return buf;
}
