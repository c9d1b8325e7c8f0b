// Hostile text through everything that formats: debug output, developer log, black boxes, the file
// recorder, keys and addresses. An input is a run of operations with their texts.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz.hpp"
#include "qor_dbg.h"
#include "qor_file.h"
#include "qor_log.h"
#include "qor_mam.h"

using namespace qor::fuzz;

namespace {

constexpr uint32_t kBox = 7;

// Each takes up to two texts.
constexpr const char *kFormats[] = {"%s", "\r\n%s", "%.9s|%5s", nullptr};
constexpr uint32_t kFormatCount = std::size(kFormats);

// What an input works on.
class Recorders {
  public:
    explicit Recorders(FuzzedDataProvider &in) {
        FailAllocation(in.ConsumeIntegral<uint8_t>());
        const auto size = in.ConsumeIntegralInRange<uint32_t>(0, 2 * QOR_DBG_MSG_LEN);
        mam_ = QOR_MAM_Init(1, this);
        if (mam_ != nullptr) {
            const auto mode = in.ConsumeIntegralInRange<uint32_t>(0, 15);
            box_ = QOR_MAM_BlackBoxCreate(mam_, kBox, size, mode);
        }
        const QOR_DBG_CFG_S dbg{0, 1, "fuzz", kFormats, kFormatCount, 1, 2, 3, in.ConsumeBool()};
        dbg_ = QOR_DBG_Init(&dbg, this);
        QOR_LOG_CFG_S log{};
        log.ulSid = 1;
        log.pstMam = mam_;
        log.ulBlackBoxId = kBox;
        log.szTag = "F";
        log.szModName = "fuzz";
        log.ulConsoleOn = log.ulDevLogOn = in.ConsumeBool();
        log_ = QOR_LOG_Init(&log, this);
        const QOR_FILE_CFG_S file{};
        file_ = QOR_FILE_Init(&file);
    }
    Recorders(const Recorders &) = delete;
    Recorders &operator=(const Recorders &) = delete;
    ~Recorders() {
        QOR_FILE_DeInit(file_);
        QOR_LOG_DeInit(log_);
        QOR_DBG_DeInit(dbg_);
        QOR_MAM_DeInit(mam_);
    }

    void Do(uint8_t operation, const char *text, uint32_t index) {
        switch (operation % 9) {
            case 0:
                return QOR_DBG_Output(dbg_, index, "%s", text);
            case 1:
                return QOR_DBG_WriteBuffer(dbg_, index, index % (kFormatCount + 1), text, text);
            case 2:
                return QOR_DBG_WriteAndOutputBuffer(dbg_, index, index % (kFormatCount + 1), text,
                                                    text);
            case 3:
                return QOR_DBG_AppendStr2Buffer_H(dbg_, text);
            case 4:
                return QOR_DBG_OutputBuffer(dbg_, index);
            case 5:
                return QOR_LOG_DevLog(log_, "%s", text);
            case 6:
                return Record(text);
            case 7:
                return QOR_FILE_Output(file_, "%s", text);
            default:
                return Pieces(text);
        }
    }

  private:
    // The ring ends with the record, as far as it has room.
    void Record(const char *text) {
        constexpr size_t kLongest = 999;
        const uint32_t code = QOR_MAM_BlackBoxWriteString(mam_, kBox, "%s", text);
        FUZZ_CHECK((code == QOR_OK) == (box_ != nullptr));
        if (box_ == nullptr) {
            return;
        }
        const std::string record = std::string(text).substr(0, kLongest) + "\r\n";
        const auto size = static_cast<size_t>(box_->pucEnd - box_->pucStart);
        const uint8_t *at = box_->pucWrite;
        for (size_t n = 1; n <= record.size() && n < size; ++n) {
            at = at == box_->pucStart ? box_->pucEnd - 1 : at - 1;
            FUZZ_CHECK(*at == static_cast<uint8_t>(record[record.size() - n]));
        }
    }

    // The pieces of a text are the text.
    static void Pieces(const char *text) {
        std::string whole;
        const std::unique_ptr<char[]> piece(new char[QOR_DBG_PIECE_MAX + 1]);
        for (const char *rest = text; rest != nullptr;) {
            const uint32_t last = QOR_DBG_GetSmpDbgString(rest, piece.get(), &rest);
            FUZZ_CHECK(*piece.get() != 0 || last == 1);
            FUZZ_CHECK((rest == nullptr) == (last == 1));
            whole += piece.get();
        }
        FUZZ_CHECK(whole == text);
        FUZZ_CHECK(strstr(text, QOR_DBG_StrTrimRN(text)) != nullptr);
        FUZZ_CHECK(strstr(text, QOR_LOG_StrTrimRN(text)) != nullptr);
    }

    QOR_MAM_S *mam_ = nullptr;
    QOR_MAM_BLACKBOX_S *box_ = nullptr;
    QOR_DBG_S *dbg_ = nullptr;
    QOR_LOG_S *log_ = nullptr;
    QOR_FILE_S *file_ = nullptr;
};

void Addresses(FuzzedDataProvider &in) {
    QOR_IP_ADDR_S address{};
    const auto octets = in.ConsumeBytes<uint8_t>(sizeof address);
    std::copy(octets.begin(), octets.end(), reinterpret_cast<uint8_t *>(&address));
    const auto size = in.ConsumeIntegralInRange<uint32_t>(1, 64);
    const auto text = std::make_unique<char[]>(size);
    if (QOR_IP_ToString(&address, text.get(), size) == QOR_OK) {
        FUZZ_CHECK(strnlen(text.get(), size) < size);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    const size_t live = LiveBlocks();
    {
        Recorders recorders(in);
        while (in.remaining_bytes() != 0) {
            const auto operation = in.ConsumeIntegral<uint8_t>();
            const auto index = in.ConsumeIntegral<uint8_t>();
            // Long texts from short inputs.
            const auto times = in.ConsumeIntegralInRange<size_t>(0, 2000);
            const std::string part = in.ConsumeRandomLengthString(600);
            std::string text = std::string(times, 'x') + part;
            const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
            memcpy(exact.get(), text.c_str(), text.size() + 1);
            recorders.Do(operation, exact.get(), index);
            Addresses(in);
        }
    }
    FUZZ_CHECK(LiveBlocks() == live);
    FailAllocation(0);
    return 0;
}
