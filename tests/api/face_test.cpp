// The C++ face: the checks in front of decode and encode, messages that move, owners that release.
#include <cstring>
#include <type_traits>
#include <utility>

#include "codec_test.hpp"
#include "qor.hpp"

using namespace qor::test;

namespace {

template <typename T>
constexpr bool kMovesOnly =
    std::is_nothrow_move_constructible_v<T> &&std::is_nothrow_move_assignable_v<T> &&
    !std::is_copy_constructible_v<T> && !std::is_copy_assignable_v<T>;
static_assert(kMovesOnly<qor::Message> && kMovesOnly<qor::FecInfo>);
static_assert(kMovesOnly<qor::Owner<QOR_PKT_CTX_S>> && kMovesOnly<qor::Owner<QOR_WALK_S>>);
static_assert(std::is_trivially_copyable_v<qor::Result> && sizeof(qor::Result) == 8);

const std::string kMapping =
    "0400 0020 0000002a 0100 [ 80 8005 08 00000000 00000064 0104 05dc ] 0200 [ 000003e8 ]";
// Two TLVs are kept, and there is a PW tag.
const std::string kMacWithdraw =
    "0301 003f 00000007 0101 [ 0001 ] 0100 [ 80 0005 04 00000000 00000064 ] 8404 [ 00112233aabb ] "
    "fead [ 0102 ] febe [ 03 ] be0a [ 00001e10 01020304 05060708 ]";

class FaceTest : public CodecTest {
  protected:
    static std::string Text(const qor::Message &message) { return Describe(*message); }
};

TEST_F(FaceTest, DecodeNeedsTheWholeMessageAndNoMore) {
    const std::vector<uint8_t> whole = Hex(kMapping);
    const size_t size = whole.size();
    qor::Message message(ctx, kPeer);
    for (size_t held = 0; held <= size + 1; ++held) {
        std::vector<uint8_t> octets(whole);  // of that size exactly, for the sanitizer
        octets.resize(held);
        octets.shrink_to_fit();
        const qor::Result result = message.decode(octets);
        EXPECT_EQ(result.code, held < size ? QOR_ERR_ARG : QOR_OK) << held;
        EXPECT_EQ(result.octets, held < size ? 0 : size) << held;
        EXPECT_EQ(static_cast<bool>(result), held >= size);
        EXPECT_EQ(message->ulLabel, held < size ? 0 : 1000U);
        EXPECT_EQ(message->ulPeerIp, kPeer);
    }
    const std::tuple<const char *, uint32_t, uint32_t, bool> rows[] = {
        // Refused without waiting for more: too long, or without room for the message ID.
        {"0400 1001", QOR_LDP_ERR_TLV_LEN, 7, true},
        {"0400 0003 00000001", QOR_LDP_ERR_TLV_LEN, 7, true},
        {"0001 0000", QOR_LDP_ERR_TLV_LEN, 7, true},
        {"0400 1000 00000001", QOR_ERR_ARG, 0, false},
        {"0400 0010 00000001 0200 [ 00000010 ] 0300 0000", QOR_LDP_ERR_UNKNOWN_TLV, 6, false},
    };
    for (const auto &[text, code, status, fatal] : rows) {
        std::vector<uint8_t> octets = Hex(text);
        const qor::Result result = message.decode(octets);
        EXPECT_EQ(result.code, code) << text;
        EXPECT_EQ(result.octets, 0U);
        EXPECT_EQ(result.status().code, status) << text;
        EXPECT_EQ(result.status().fatal, fatal) << text;
    }
    EXPECT_EQ(qor::Result{}.status().code, 0U);
}

TEST_F(FaceTest, EncodeNeedsTheMinimum) {
    std::vector<uint8_t> octets = Hex(kMapping);
    qor::Message message(ctx, kPeer);
    ASSERT_TRUE(message.decode(octets));

    std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
    const qor::Result small = message.encode(std::span(out).first(out.size() - 1));
    EXPECT_EQ(small.code, QOR_ERR_ARG);
    EXPECT_EQ(small.octets, 0U);
    EXPECT_EQ(out, std::vector<uint8_t>(out.size()));
    const qor::Result result = message.encode(out);
    EXPECT_EQ(result.code, QOR_OK);
    out.resize(result.octets);
    EXPECT_EQ(out, octets);

    message->ulMsgType = 0x0404;
    out.assign(QOR_LDP_PKT_ENC_BUF_LEN, 0);
    EXPECT_EQ(message.encode(out).code, QOR_FAIL);
}

TEST_F(FaceTest, MessagesMove) {
    const std::string empty = Text(qor::Message(ctx));
    for (const Golden &golden : GoldenMessages()) {
        if (golden.octets == nullptr) continue;
        std::vector<uint8_t> octets = Hex(golden.octets), other = Hex(kMacWithdraw);
        qor::Message first(ctx, kPeer);
        ASSERT_TRUE(first.decode(octets)) << golden.name;
        const std::string before = Text(first);

        qor::Message second(std::move(first));
        EXPECT_EQ(Text(second), before) << golden.name;
        if (const HOST_DLL_S &list = second->stUnknownTlvList; list.ulCount != 0) {
            EXPECT_EQ(list.stNode.pstNext->pstPrev, &list.stNode);
            EXPECT_EQ(list.stNode.pstPrev->pstNext, &list.stNode);
        }
        EXPECT_EQ(Text(first), empty);
        ASSERT_TRUE(first.decode(other));  // it holds something that must be released
        first = std::move(second);
        EXPECT_EQ(Text(first), before);
        EXPECT_EQ(Text(second), empty);
        qor::Message &same = first;
        first = std::move(same);
        EXPECT_EQ(Text(first), before);
        first.clear();
        EXPECT_EQ(first->ulPeerIp, kPeer);
        EXPECT_EQ(first->stUnknownTlvList.ulCount, 0U);
    }
}

// The encoder turns the words of a tag over in the record, which the face hides.
TEST_F(FaceTest, EncodesTheSameAgain) {
    std::vector<const char *> texts{kMacWithdraw.c_str()};
    for (const Golden &golden : GoldenMessages())
        if (golden.octets != nullptr) texts.push_back(golden.octets);
    for (const char *text : texts) {
        std::vector<uint8_t> octets = Hex(text);
        qor::Message message(ctx, kPeer);
        ASSERT_TRUE(message.decode(octets)) << text;
        const std::string before = Text(message);
        std::vector<uint8_t> first(QOR_LDP_PKT_ENC_BUF_LEN), second(first);
        EXPECT_TRUE(message.encode(first)) << text;
        EXPECT_EQ(Text(message), before) << text;
        EXPECT_TRUE(message.encode(second));
        EXPECT_EQ(first, second) << text;
    }
}

// A message that was decoded is often made the answer.
TEST_F(FaceTest, OtherTypeSameOwner) {
    for (const Golden &golden : GoldenMessages()) {
        if (golden.octets == nullptr) continue;
        for (const uint32_t type : {QOR_LDP_MSG_RELEASE, QOR_LDP_MSG_MAPPING,
                                    QOR_LDP_MSG_NOTIFICATION, QOR_LDP_MSG_MAC_WITHDRAW}) {
            std::vector<uint8_t> octets = Hex(golden.octets);
            qor::Message message(ctx, kPeer), copy(ctx), second(ctx);
            ASSERT_TRUE(message.decode(octets)) << golden.name;
            message->ulMsgType = type;
            ASSERT_EQ(copy.copy(message), QOR_OK) << golden.name;
            ASSERT_EQ(second.copy(copy), QOR_OK);
            EXPECT_EQ(Text(second), Text(copy)) << golden.name;
            message.clear();
            octets.assign(octets.size(), 0xEE);
            EXPECT_EQ(Text(second), Text(copy)) << golden.name;
        }
    }
    EXPECT_TRUE(host.asserts.empty());
}

TEST_F(FaceTest, CopiesNeedNoOctets) {
    std::vector<uint8_t> octets = Hex(kMacWithdraw);
    qor::Message message(ctx, kPeer), copy(ctx);
    ASSERT_TRUE(message.decode(octets));
    EXPECT_EQ(message.copy(message), QOR_ERR_ARG);
    ASSERT_EQ(copy.copy(message), QOR_OK);
    ASSERT_EQ(copy.copy(message), QOR_OK);  // what it held is released
    const std::string before = Text(copy);
    EXPECT_NE(before.find("unknown=fead"), std::string::npos) << before;
    message.clear();
    octets.assign(octets.size(), 0xEE);
    EXPECT_EQ(Text(copy), before);

    qor::Message again(ctx);
    host.FailAllocation(2);
    EXPECT_EQ(again.copy(copy), QOR_ERR_NO_MEM);
    again->ulPeerIp = 0;
    EXPECT_EQ(Text(again), Text(qor::Message(ctx)));
}

TEST_F(FaceTest, ElementsKeepTheirDescription) {
    const std::vector<uint8_t> element = Hex("80 0005 0a 00000000 00000064 0306 61626364");
    QOR_LDP_PKT_LOG_S report{&ctx, "", kPeer, 0, 0};
    uint32_t read = 0;
    const auto size = static_cast<uint32_t>(element.size());
    qor::FecInfo first, third;
    for (qor::FecInfo *info : {&first, &third}) {
        ASSERT_EQ(QOR_LDP_PKT_DecodeVcFec128(element.data(), size, &report, info->get(), &read),
                  QOR_OK);
    }
    qor::FecInfo second(std::move(first));
    EXPECT_EQ(first->stIntfPara.szIntfDesc, nullptr);
    third = std::move(second);
    qor::FecInfo &same = third;
    third = std::move(same);
    EXPECT_STREQ(third->stIntfPara.szIntfDesc, "abcd");
    third.clear();
    EXPECT_EQ(third->stIntfPara.szIntfDesc, nullptr);
    EXPECT_EQ(third->stIntfPara.ucRtpMode, QOR_LDP_RTP_NOT_GIVEN);
}

// Creates one of each, moves it and lets it go; the fixture looks for what is left.
TEST_F(FaceTest, OwnersRelease) {
    size_t owned = 0;
    const auto own = [&]<typename T>(T *made) {
        const size_t blocks = host.LiveBlocks();
        ASSERT_NE(made, nullptr);
        {
            qor::Owner<T> owner(made);
            const qor::Owner<T> moved(std::move(owner));
            EXPECT_EQ(owner, nullptr);
            EXPECT_EQ(host.LiveBlocks(), blocks);
        }
        EXPECT_LT(host.LiveBlocks(), blocks);
        ++owned;
    };
    QOR_LOG_CFG_S log_config{};
    log_config.ulSid = 1;
    QOR_DBG_CFG_S debug_config{};
    debug_config.ulSid = 1;
    QOR_FILE_CFG_S file_config{};
    file_config.ulSid = 1;
    QOR_FSM_LIB_S machines{};
    machines.ulSid = machines.ulLogHandle = machines.ulTimerOwner = 1;
    QOR_PADS_S health{};
    health.ulUserHandle = health.ulSid = health.ulAuxHandle = health.ulTimerOwner = 1;
    own(QOR_LOG_Init(&log_config, this));
    own(QOR_DBG_Init(&debug_config, this));
    own(QOR_FILE_Init(&file_config));
    own(QOR_MAM_Init(1, this));
    own(QOR_FSM_InitLib(&machines, this));
    own(QOR_PADS_InitPads(&health));
    own(QOR_PKT_Init(&ctx));

    QOR_DQ_CFG_S queue_config{};
    queue_config.ulSid = queue_config.ulTimerOwner = 1;
    qor::Owner<QOR_DQ_S> queues(QOR_DQ_Init(&queue_config));
    QOR_DQ_REG_INFO_S reg{4, 1, 1, 1, 1, nullptr, nullptr, nullptr, nullptr};
    reg.pfnTimeOut = [](const void *, uint64_t, uint64_t) { return QOR_OK; };
    reg.pfnCmpKey = [](const void *a, const void *b) { return std::memcmp(a, b, 4); };
    own(QOR_DQ_RegInst(queues.get(), &reg));

    QOR_AVL_TREE_S tree{};
    own(QOR_AVL_CreateWalk(&tree, 1));
    QOR_WDLL_S list{};
    own(QOR_WDLL_CreateWalk_X(&list, 1));
    EXPECT_EQ(list.stWalkList.ulCount, 0U);
    EXPECT_EQ(owned, 10U);
}

}  // namespace
