// Instances, nodes and keys as text.
#include <algorithm>

#include "base/qor_text.hpp"
#include "dq/qor_dq.hpp"

namespace {

using qor::RefuseNull;
using qor::dq::kSource;

constexpr int32_t kFailed = -1;

// The characters in a buffer of which some may come from a user's formatter that claims more than
// there was room for.
class Count {
  public:
    explicit Count(uint32_t size) : size_(size) {}

    void Add(int32_t stored) { used_ = std::min<int64_t>(used_ + stored, INT32_MAX); }
    bool IsFull() const { return used_ >= size_; }
    int32_t Used() const { return static_cast<int32_t>(used_); }
    char *At(char *buf) const { return buf + used_; }
    uint32_t Room() const { return static_cast<uint32_t>(size_ - used_); }

  private:
    int64_t size_;
    int64_t used_ = 0;
};

}  // namespace

int32_t QOR_DQ_FormatKey(const void *key, uint32_t keyLen, char *buf, uint32_t bufLen) {
    if (RefuseNull(kSource, key, buf)) {
        return kFailed;
    }
    if (bufLen == 0) {
        return 0;
    }
    qor::TextWriter out(buf, bufLen);
    for (uint32_t i = 0; i < keyLen; ++i) {
        const int stored = out.Print("%02X ", static_cast<const uint8_t *>(key)[i]);
        if (stored < 0) {
            return stored;
        }
    }
    const int stored = out.Print("%c", '\n');
    return stored < 0 ? stored : static_cast<int32_t>(out.Used());
}

int32_t QOR_DQ_FormatInst(QOR_DQ_INST_S *inst, char *buf, uint32_t len) {
    if (RefuseNull(kSource, inst, buf)) {
        return kFailed;
    }
    const auto number = [](uint32_t value) { return static_cast<int>(value); };
    const QOR_DQ_REG_INFO_S &reg = inst->stReg;
    return snprintf_s(buf, len, len - 1,
                      "\tInst Info: \n\t timerType: %d\n\t keyLen: %d\n\t cycleTime: %d\n"
                      "\t cycleMaxNum: %d\n\t timeInterval: %d\n\t nodeCount: %d\n"
                      "\t handleCount: %d\n\t timer:%u\n",
                      number(reg.ulTimerType), number(reg.ulKeyLen), number(reg.ulCycleTime),
                      number(reg.ulCycleMaxNum), number(reg.ulTimeInterval),
                      number(inst->stNodeList.ulCount), number(inst->ulHandleCount),
                      inst->ulTimer != 0 ? 1U : 0U);
}

int32_t QOR_DQ_FormatNode(QOR_DQ_INST_S *inst, QOR_DQ_NODE_S *node, char *buf, uint32_t len) {
    if (RefuseNull(kSource, inst, node, buf)) {
        return kFailed;
    }
    const QOR_DQ_REG_INFO_S &reg = inst->stReg;
    const QOR_DQ_FMT_PF formatKey = reg.pfnFormatKey;
    if (RefuseNull(kSource, formatKey)) {
        return kFailed;
    }
    Count count(len);
    int32_t stored = snprintf_s(buf, len, len - 1, "\tNode Info: \n\t key: ");
    if (stored < 0) {
        return stored;
    }
    count.Add(stored);
    stored = formatKey(node->aucKey, reg.ulKeyLen, count.At(buf), count.Room());
    if (stored < 0) {
        return stored;
    }
    count.Add(stored);
    if (!count.IsFull()) {
        const uint32_t remaining = reg.ulTimeInterval - QOR_DQ_GetTimeStamp() + node->ulTimeStamp;
        stored = snprintf_s(count.At(buf), count.Room(), count.Room() - 1, "\t remainTime: %d s\n",
                            static_cast<int>(remaining));
        if (stored < 0) {
            return stored;
        }
        count.Add(stored);
    }
    return count.Used();
}

int32_t QOR_DQ_Serialize(QOR_DQ_INST_S *inst, char *buf, uint32_t len) {
    if (qor::dq::RefuseInstance(kSource, inst) || RefuseNull(kSource, buf)) {
        return kFailed;
    }
    if (len == 0) {
        qor::Report(kSource);
        return kFailed;
    }
    Count count(len);
    int32_t stored = QOR_DQ_FormatInst(inst, buf, len);
    HOST_DLL_NODE_S *link = qor::First(inst->stNodeList);
    while (stored >= 0) {
        count.Add(stored);
        if (link == nullptr || count.IsFull()) {
            return count.Used();
        }
        stored = QOR_DQ_FormatNode(inst, qor::dq::NodeAt(link), count.At(buf), count.Room());
        link = qor::Next(inst->stNodeList, link);
    }
    buf[0] = '\0';
    return stored;
}
