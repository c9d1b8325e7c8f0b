// FEC 129 values and extended communities: any octets, in and out, compared and printed.
#include <cstring>
#include <vector>

#include "fuzz.hpp"

using namespace qor::fuzz;

namespace {

// Whatever fits into size octets is a text that ends there, and the same as in a large buffer.
void CheckTexts(const QOR_LDP_PW_FEC_KEY_S &key, int size) {
    char whole[256];
    FUZZ_CHECK(QOR_LDP_PKT_FmtPwFec2Str(&key, whole, sizeof whole) == whole);
    const auto part = std::make_unique<char[]>(static_cast<size_t>(size));
    QOR_LDP_PKT_FmtPwFec2Str(&key, part.get(), size);
    FUZZ_CHECK(strnlen(part.get(), static_cast<size_t>(size)) < static_cast<size_t>(size));
    FUZZ_CHECK(strncmp(part.get(), whole, strlen(part.get())) == 0);
    int length = -1;
    QOR_LDP_PKT_FmtExtComm2Str(&key.stFec129.stAgi, part.get(), size, &length);
    FUZZ_CHECK(strnlen(part.get(), static_cast<size_t>(size)) < static_cast<size_t>(size));
}

void CheckExtcomm(Bytes octets, uint32_t mode) {
    const struct {
        decltype(&QOR_PKT_GetExtcommNet) get;
        decltype(&QOR_PKT_PutExtcommNet) put;
    } forms[] = {{QOR_PKT_GetExtcommNet, QOR_PKT_PutExtcommNet},
                 {QOR_PKT_GetExtcommHost, QOR_PKT_PutExtcommHost},
                 {QOR_PKT_GetExtcommNetKetu, QOR_PKT_PutExtcommNetKetu}};
    for (const auto &form : forms) {
        QOR_EXTCOMM_S first{}, second{};
        ExactCopy in(octets);
        const uint8_t *from = in.Get();
        form.get(mode, &first, &from);
        const auto used = static_cast<size_t>(from - in.Get());
        FUZZ_CHECK(used <= octets.size());
        uint8_t out[8] = {};
        uint8_t *to = out;
        form.put(&first, &to);
        FUZZ_CHECK(to <= out + sizeof out);
        // What was written is read as the same community when the order of a subtype 0 is known.
        const uint8_t *again = out;
        form.get(first.ucSubType == 0 ? 1 : 0, &second, &again);
        FUZZ_CHECK(QOR_LDP_PKT_CmpExtComm(&first, &second) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int textSize = in.ConsumeIntegralInRange<int>(1, 80);
    const auto mode = in.ConsumeIntegral<uint8_t>();
    const auto octets = in.ConsumeRemainingBytes<uint8_t>();
    ExactCopy value(octets);
    QOR_LDP_PW_FEC_KEY_S key{};
    key.ucKeyType = QOR_LDP_KEY_GEN_PWID;
    if (QOR_LDP_PKT_ParseFec129(&key.stFec129, value.Get(), static_cast<uint16_t>(octets.size())) ==
        QOR_OK) {
        uint8_t out[22];
        const uint32_t length = QOR_LDP_PKT_FormatFec129(&key.stFec129, out);
        FUZZ_CHECK(length <= sizeof out);
        QOR_LDP_PW_FEC_KEY_S again = key;
        FUZZ_CHECK(QOR_LDP_PKT_ParseFec129(&again.stFec129, out, static_cast<uint16_t>(length)) ==
                   QOR_OK);
        // An AGI of type 3 goes out as 2, and one of subtype 0 with its octets turned.
        const QOR_EXTCOMM_S &agi = key.stFec129.stAgi;
        FUZZ_CHECK(agi.ucType == 3 || agi.ucSubType == 0 ||
                   QOR_LDP_PKT_CmpPwFecKey(&key, &again) == 0);
    }
    if (octets.size() >= sizeof key) {  // a key of any kind, not only what a peer can send
        memcpy(&key, octets.data(), sizeof key);
        FUZZ_CHECK(QOR_LDP_PKT_CmpPwFecKey(&key, &key) == 0);
    }
    CheckTexts(key, textSize);
    if (octets.size() >= 8) {
        CheckExtcomm(Bytes(octets).first(8), mode);
    }
    return 0;
}
