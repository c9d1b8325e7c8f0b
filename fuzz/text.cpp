// Hostile text through everything that formats: debug output, developer log, black boxes, the file
// recorder, keys and addresses. An input is a run of operations with their texts.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz.hpp"
#include "qor_base.h"
#include "qor_dbg.h"
#include "qor_file.h"
#include "qor_mam.h"

using namespace qor::fuzz;

namespace {

constexpr uint32_t kBox = 7;

// What an input works on.
class Recorders {
  public:
    explicit Recorders(FuzzedDataProvider &in) {
        static constexpr const char *kFormats[] = {"%s",    "\r\n%s",   "%s%n",
                                                   nullptr, "%.9s|%5s", "%lc"};
        FailAllocation(in.ConsumeIntegral<uint8_t>());
        size_ = in.ConsumeIntegralInRange<uint32_t>(0, 2 * QOR_DBG_MSG_LEN);
        mam_ = QOR_MAM_Init(1, this);
        if (mam_ != nullptr) {
            QOR_MAM_BlackBoxCreate(mam_, kBox, size_, in.ConsumeIntegralInRange<uint32_t>(0, 15));
        }
        formats_ = std::size(kFormats);
        const QOR_DBG_CFG_S dbg{0, 1, "fuzz", kFormats, formats_, 1, 2, 3, in.ConsumeBool()};
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
                return QOR_DBG_WriteBuffer(dbg_, index, SafeIndex(index), text, text);
            case 2:
                return QOR_DBG_WriteAndOutputBuffer(dbg_, index, SafeIndex(index), text, text);
            case 3:
                return QOR_DBG_AppendStr2Buffer_H(dbg_, text);
            case 4:
                return QOR_DBG_OutputBuffer(dbg_, index);
            case 5:
                return QOR_LOG_DevLog(log_, "%s", text);
            case 6:
                QOR_MAM_BlackBoxWriteString(mam_, kBox, "%s", text);
                return CheckBox();
            case 7:
                return QOR_FILE_Output(file_, "%s", text);
            default:
                return Pieces(text);
        }
    }

  private:
    // "%n" would write through the text, "%lc" takes a number.
    uint32_t SafeIndex(uint32_t index) const {
        index %= formats_ + 1;
        return index == 2 || index == 5 ? 0 : index;
    }

    void CheckBox() {
        const uint8_t *ring = QOR_MAM_BlackBoxGetBuffer(mam_, kBox);
        const uint32_t size = QOR_MAM_BlackBoxGetSize(mam_, kBox);
        FUZZ_CHECK(size <= QOR_MAM_BOX_MAX);
        uint32_t sum = 0;
        for (uint32_t i = 0; ring != nullptr && i < size; ++i) {
            sum += ring[i];  // each octet of it may be read
        }
        FUZZ_CHECK(sum <= size * 255);
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
    QOR_DBG_S *dbg_ = nullptr;
    QOR_LOG_S *log_ = nullptr;
    QOR_FILE_S *file_ = nullptr;
    uint32_t formats_ = 0;
    uint32_t size_ = 0;
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
