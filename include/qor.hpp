/** @file
 * The C++ face of libqor: owners that release what the C functions create, and
 * messages that are decoded from and encoded into spans.
 *
 * Everything is inline and calls the C interface, which stays at hand: get()
 * and * give what its functions take. Nothing throws; what can fail says so by
 * a null owner or a qor::Result. A context with its messages, and whatever shares
 * a log with it, is used by one thread at a time.
 */
#ifndef QOR_HPP
#define QOR_HPP

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <span>

#include "qor.h"  // IWYU pragma: export

/** The C++ face, see qor.hpp. */
namespace qor {

/** Releases what the Init, Create and RegInst functions return, each by its own
 * counterpart. */
struct Release {
    void operator()(QOR_PKT_CTX_S *ctx) const noexcept { QOR_PKT_DeInit(ctx); }
    void operator()(QOR_LOG_S *ctx) const noexcept { QOR_LOG_DeInit(ctx); }
    void operator()(QOR_DBG_S *ctx) const noexcept { QOR_DBG_DeInit(ctx); }
    void operator()(QOR_FILE_S *ctx) const noexcept { QOR_FILE_DeInit(ctx); }
    void operator()(QOR_MAM_S *mam) const noexcept { QOR_MAM_DeInit(mam); }
    void operator()(QOR_FSM_LIB_S *lib) const noexcept { QOR_FSM_DeInitLib(lib, lib); }
    void operator()(QOR_PADS_S *ctx) const noexcept { QOR_PADS_DeInitPads(ctx); }
    void operator()(QOR_DQ_S *ctx) const noexcept { QOR_DQ_DeInit(ctx); }
    void operator()(QOR_DQ_INST_S *queue) const noexcept { QOR_DQ_UnRegInst(queue); }
    void operator()(QOR_WALK_S *walker) const noexcept { QOR_WALK_Destroy(&walker); }
    void operator()(QOR_WDLL_WALK_S *walker) const noexcept { QOR_WDLL_DeleteWalk_X(&walker); }
};

/** Owns a context, a queue or a walker, and releases it:
 *
 *     qor::Owner<QOR_DQ_S> queues(QOR_DQ_Init(&cfg));
 *     qor::Owner<QOR_WALK_S> walker(QOR_AVL_CreateWalk(&tree, sid));
 *
 * It moves and does not copy; null when the creation failed. Declare a context
 * in front of what lives in it: a log in front of the codec that writes to it, a
 * QOR_DQ_S in front of its queues. Two registrations of one timer type give the
 * same QOR_DQ_INST_S, which only one owner may hold. */
template <typename T>
using Owner = std::unique_ptr<T, Release>;

/** What an error means for the peer: the LDP status code to send (RFC 5036
 * section 3.9), 0 for none, and whether with the E bit. */
struct Status {
    std::uint32_t code;
    bool fatal;
};

/** How a decode or an encode went. */
struct Result {
    std::uint32_t code;   /**< #QOR_OK or what was wrong */
    std::uint32_t octets; /**< of the message that was read or written; 0 unless #QOR_OK */

    /** True for #QOR_OK. */
    explicit operator bool() const noexcept { return code == QOR_OK; }

    /** What to answer the peer with, by #QOR_LDP_PKT_ErrCode2StatusCode; with
     * code 0 nothing. */
    Status status() const noexcept {
        std::uint32_t fatal = 0;
        const std::uint32_t status = QOR_LDP_PKT_ErrCode2StatusCode(code, &fatal);
        return {status, fatal != 0};
    }
};

/** One signalling message: a #QOR_LDP_SIGNAL_MSG_S with what it owns. Begins
 * zeroed, to be decoded into or filled by hand. By hand, what is not there has
 * QOR_LDP_RTP_NOT_GIVEN in ucRtpMode, and #QOR_LDP_PKT_NONE in ulPwStatus, ulStatus
 * and ulLabel. Buffers that it is given must come from #HOST_MemAllocBySid; it
 * releases them, whatever ulMsgType is by then. Moves and does not copy, see
 * copy(). */
class Message {
  public:
    /** ctx must outlive the message; peer is its ulPeerIp. */
    explicit Message(QOR_PKT_CTX_S &ctx, std::uint32_t peer = 0) noexcept : ctx_(&ctx) {
        record_.ulPeerIp = peer;
    }
    /** Leaves other empty. @{ */
    Message(Message &&other) noexcept : ctx_(other.ctx_) { take(other); }
    Message &operator=(Message &&other) noexcept {
        if (this != &other) {
            release();
            ctx_ = other.ctx_;
            take(other);
        }
        return *this;
    }
    /** @} */
    ~Message() { release(); }

    /** Decodes the message that octets begin with into an emptied record; ulPeerIp
     * stays. octets may hold more, for instance the rest of the PDU. They must stay
     * while the record of a MAC Withdraw is used, which points into them, and the
     * words of a PW tag TLV are brought to host order in them: a second decode
     * would turn those back.
     *
     * Returns #QOR_OK with the octets of the message; #QOR_ERR_ARG when octets do
     * not hold the whole message yet; #QOR_LDP_ERR_TLV_LEN for a length field that
     * leaves out the message ID, or above #QOR_LDP_PKT_MAX_MSG_LEN; else the code of
     * #QOR_LDP_PKT_DecodeMsg. */
    [[nodiscard]] Result decode(std::span<std::uint8_t> octets) noexcept {
        clear();
        if (octets.size() < kBeforeLength) {
            return {QOR_ERR_ARG, 0};
        }
        const std::uint32_t length = std::uint32_t{octets[2]} << 8 | octets[3];
        if (length < kMessageId || length > QOR_LDP_PKT_MAX_MSG_LEN) {
            return {QOR_LDP_ERR_TLV_LEN, 0};
        }
        if (octets.size() < kBeforeLength + length) {
            return {QOR_ERR_ARG, 0};
        }
        const std::uint32_t code = QOR_LDP_PKT_DecodeMsg(octets.data(), &record_, ctx_);
        return {code, code == QOR_OK ? kBeforeLength + length : 0};
    }

    /** Encodes the record by its ulMsgType into out, zeroed by the caller.
     *
     * Returns #QOR_OK with the octets written; #QOR_ERR_ARG, nothing written, when
     * out has less than #QOR_LDP_PKT_ENC_BUF_LEN octets; #QOR_FAIL when
     * #QOR_LDP_PKT_EncodeMsg refuses the record. */
    [[nodiscard]] Result encode(std::span<std::uint8_t> out) const noexcept {
        if (out.size() < QOR_LDP_PKT_ENC_BUF_LEN) {
            return {QOR_ERR_ARG, 0};
        }
        const std::uint32_t octets = QOR_LDP_PKT_EncodeMsg(out.data(), &record_, ctx_);
        if (octets != 0) {
            turn_tag_back();
        }
        return {octets != 0 ? QOR_OK : QOR_FAIL, octets};
    }

    /** Makes this a copy of other that owns all its buffers and points into no
     * octets; of the buffers, those that its ulMsgType has. Returns #QOR_OK;
     * #QOR_ERR_ARG for other being this message; #QOR_ERR_NO_MEM, and then this
     * message is empty. */
    [[nodiscard]] std::uint32_t copy(const Message &other) noexcept {
        if (this == &other) {
            return QOR_ERR_ARG;
        }
        release();
        const std::uint32_t code = QOR_LDP_PKT_CopySignalMsg(&record_, &other.record_, ctx_);
        drop_foreign();
        if (code != QOR_OK) {
            clear();
        }
        return code;
    }

    /** Releases what the record owns and zeroes it but for ulPeerIp. */
    void clear() noexcept {
        release();
        const std::uint32_t peer = record_.ulPeerIp;
        zero();
        record_.ulPeerIp = peer;
    }

    /** The record, for the functions of the C interface. @{ */
    QOR_LDP_SIGNAL_MSG_S *get() noexcept { return &record_; }
    const QOR_LDP_SIGNAL_MSG_S *get() const noexcept { return &record_; }
    QOR_LDP_SIGNAL_MSG_S *operator->() noexcept { return &record_; }
    const QOR_LDP_SIGNAL_MSG_S *operator->() const noexcept { return &record_; }
    QOR_LDP_SIGNAL_MSG_S &operator*() noexcept { return record_; }
    const QOR_LDP_SIGNAL_MSG_S &operator*() const noexcept { return record_; }
    /** @} */

  private:
    static constexpr std::uint32_t kBeforeLength = 4;  // octets that the length does not count
    static constexpr std::uint32_t kMessageId = 4;     // and those that it counts at least
    static constexpr std::uint32_t kTagWords = 8;      // octets

    // By a call: what g++ puts in place of an assignment takes longer to start than to clear.
    void zero() noexcept { memset_s(&record_, sizeof record_, 0, sizeof record_); }

    // The library releases what the type has; the type may have been changed since it was decoded.
    void release() noexcept {
        for (const std::uint32_t type :
             {QOR_LDP_MSG_MAPPING, QOR_LDP_MSG_NOTIFICATION, QOR_LDP_MSG_MAC_WITHDRAW}) {
            record_.ulMsgType = type;
            QOR_LDP_PKT_FreeSignalMsg(&record_, ctx_);
        }
    }

    // A copy made by the library has the pointers of other types as they were, and they are not
    // its own.
    void drop_foreign() noexcept {
        if (record_.ulMsgType != QOR_LDP_MSG_MAPPING) {
            record_.usIntfParaLen = 0;
            record_.pucIntfPara = nullptr;
            record_.szIntfDesc = nullptr;
        }
        if (record_.ulMsgType != QOR_LDP_MSG_NOTIFICATION) {
            record_.usNotifyDataLen = 0;
            record_.pucNotifyData = nullptr;
        }
        if (record_.ulMsgType != QOR_LDP_MSG_MAC_WITHDRAW) {
            record_.ulMacLen = record_.ulPathVectorLen = record_.ulPwTagLen = 0;
            record_.pucMacList = record_.pucPathVector = record_.pucPwTag = nullptr;
            record_.stUnknownTlvList = {};
        }
    }

    // Encoding brings the words of a PW tag to network order where they stand; the next encoding
    // wants them in host order again.
    void turn_tag_back() const noexcept {
        if (std::endian::native == std::endian::little &&
            record_.ulMsgType == QOR_LDP_MSG_MAC_WITHDRAW &&
            record_.ulPwTagType == QOR_LDP_TLV_PW_TAG && record_.pucPwTag != nullptr &&
            record_.ulPwTagLen >= kTagWords && record_.ulPwTagLen <= QOR_LDP_PKT_TLV_DATA_MAX) {
            std::reverse(record_.pucPwTag, record_.pucPwTag + 4);
            std::reverse(record_.pucPwTag + 4, record_.pucPwTag + kTagWords);
        }
    }

    // The list of unknown TLVs is a ring through its head, which has another address now.
    void take(Message &other) noexcept {
        record_ = other.record_;
        HOST_DLL_NODE_S &head = record_.stUnknownTlvList.stNode;
        if (record_.stUnknownTlvList.ulCount != 0) {
            head.pstNext->pstPrev = &head;
            head.pstPrev->pstNext = &head;
        } else {
            head = {};
        }
        other.zero();
    }

    QOR_PKT_CTX_S *ctx_;
    QOR_LDP_SIGNAL_MSG_S record_{};
};

/** One pseudowire FEC element: a #QOR_LDP_PWID_FEC_INFO_S with its description,
 * for the element codecs of qor_pkt_fec.h. Those decode into an empty one: clear()
 * comes before the next. Moves and does not copy. */
class FecInfo {
  public:
    FecInfo() noexcept { QOR_LDP_PKT_InitPwIdFecInfo(&record_); }
    /** Leaves other empty. @{ */
    FecInfo(FecInfo &&other) noexcept : record_(other.record_) { other.init(); }
    FecInfo &operator=(FecInfo &&other) noexcept {
        if (this != &other) {
            QOR_LDP_PKT_FreeIntfDesc(&record_);
            record_ = other.record_;
            other.init();
        }
        return *this;
    }
    /** @} */
    ~FecInfo() { QOR_LDP_PKT_FreeIntfDesc(&record_); }

    /** Releases the description and makes the element empty. */
    void clear() noexcept {
        QOR_LDP_PKT_FreeIntfDesc(&record_);
        init();
    }

    /** The record, for the functions of the C interface. @{ */
    QOR_LDP_PWID_FEC_INFO_S *get() noexcept { return &record_; }
    const QOR_LDP_PWID_FEC_INFO_S *get() const noexcept { return &record_; }
    QOR_LDP_PWID_FEC_INFO_S *operator->() noexcept { return &record_; }
    const QOR_LDP_PWID_FEC_INFO_S *operator->() const noexcept { return &record_; }
    /** @} */

  private:
    void init() noexcept { QOR_LDP_PKT_InitPwIdFecInfo(&record_); }

    QOR_LDP_PWID_FEC_INFO_S record_;
};

}  // namespace qor

#endif
