// Health service: the listing of the records and the dumps of the state.
#include <cstring>
#include <memory>

#include "pads_test.hpp"

using namespace qor::test;

namespace {

class PadsTextTest : public PadsTest {
  protected:
    // Writes with each size of a buffer, which ends with it. told is what must come out of a size.
    void EachSize(
        uint32_t most, const std::function<uint32_t(char *, uint32_t)> &write,
        const std::function<void(uint32_t size, uint32_t result, const char *text)> &told) {
        for (uint32_t size = 0; size <= most; ++size) {
            SCOPED_TRACE(size);
            const auto buffer = std::make_unique<char[]>(size);
            std::fill_n(buffer.get(), size, '~');
            const uint32_t result = write(buffer.get(), size);
            EXPECT_TRUE(size == 0 || memchr(buffer.get(), '\0', size));
            told(size, result, size == 0 ? "" : buffer.get());
            Asserts();
        }
    }
    // A once record with that text.
    void Record(uint32_t index, const std::string &text) {
        onRecord = [&](auto, char *out) { return strcpy(out, text.c_str()), 0u; };
        ASSERT_EQ(Add(index, 1), QOR_OK);
    }
    std::string Listing(uint32_t size) {
        std::string text(size, '~');
        EXPECT_EQ(QOR_PADS_AllExcp2String(text.data(), size, ctx), QOR_OK);
        return text.c_str();
    }
};

constexpr char kHead[] = "once                03-05 14:07:09    ";
const std::string kIndent(38, ' ');

TEST_F(PadsTextTest, Lines) {
    ASSERT_EQ(Register(1, QOR_PADS_EXCP_ONCE), QOR_OK);
    EXPECT_EQ(Listing(10), "");
    std::string digits;
    for (int i = 0; i < 1023; ++i) digits += static_cast<char>('0' + i % 10);
    for (const size_t length : {0u, 1u, 44u, 45u, 46u, 90u, 91u, 1023u}) {
        const std::string text = digits.substr(0, length);
        std::string expected = length == 0 ? "" : kHead + text.substr(0, 45) + "\r\n";
        for (size_t at = 45; at < length; at += 45)
            expected += kIndent + text.substr(at, 45) + "\r\n";
        for (int i = 0; i < 2; ++i) Record(1, i == 0 ? "" : text);
        EXPECT_EQ(Listing(4000), expected);
    }
    // The older one first, whichever slot it is in, and the indexes by id.
    ASSERT_EQ(Register(0, QOR_PADS_EXCP_ONCE), QOR_OK);
    for (const char *text : {"a", "b", "c", "d"}) {
        Record(0, text);
        Record(1, text);
    }
    const std::string both = std::string(kHead) + "c\r\n" + kHead + "d\r\n";
    EXPECT_EQ(Listing(4000), both + both);
    Record(0, "e");
    host.systemSeconds = 0;  // an empty slot for the listing
    Record(1, "e");
    EXPECT_EQ(Listing(4000), std::string(kHead) + "d\r\n" + kHead + "e\r\n" + kHead + "d\r\n");
    char *nowhere = nullptr;
    uint32_t room = 10;
    EXPECT_EQ(QOR_PADS_OneExcp2String(Index(1), &nowhere, &room, health), QOR_ERR_ARG);
    Asserts();
}

TEST_F(PadsTextTest, ListingInAnySize) {
    ASSERT_EQ(Register(1, QOR_PADS_EXCP_ONCE), QOR_OK);
    ASSERT_EQ(Register(2, QOR_PADS_EXCP_ONCE), QOR_OK);
    Record(1, std::string(100, 'x'));
    const std::string lines[] = {kHead + std::string(45, 'x') + "\r\n",
                                 kIndent + std::string(45, 'x') + "\r\n",
                                 kIndent + std::string(10, 'x') + "\r\n"};
    EachSize(
        300, [&](char *buf, uint32_t size) { return QOR_PADS_AllExcp2String(buf, size, ctx); },
        [&](uint32_t size, uint32_t result, const char *text) {
            EXPECT_EQ(result, size == 1 ? QOR_FAIL : QOR_OK);
            // A line is printed into one octet less than there is; a further one only where
            // what is left of the text and 45 more are less than that.
            std::string expected;
            uint32_t room = size, left = 145;
            for (const std::string &line : lines) {
                if (room < 2 || (&line != lines && left >= room)) break;
                expected += line.substr(0, room - 2);
                room = size - static_cast<uint32_t>(expected.size());
                left -= 45;
            }
            EXPECT_EQ(text, expected);
        });
}

TEST_F(PadsTextTest, Dumps) {
    ASSERT_EQ(Register(4, QOR_PADS_EXCP_EXPIRE), QOR_OK);
    ASSERT_EQ(Register(7, QOR_PADS_EXCP_DA), QOR_OK);
    char peer[] = "peer 1";
    ASSERT_EQ(QOR_PADS_AddExcpUser(4, 2, 0, ctx), QOR_OK);
    ASSERT_EQ(QOR_PADS_AddExcpUser(4, 9, reinterpret_cast<uintptr_t>(peer), ctx), QOR_OK);
    EXPECT_EQ(Tick(kSecType, 1001), QOR_OK);
    Index(4)->astRecords[0] = {11, 12, "x"};
    Index(4)->astRecords[1] = {13, 14, "y"};
    Index(4)->ulRecCur = 1;
    // In parts: each further one needs an octet more than the one before filled.
    const std::vector<std::string> parts[] = {
        {"Pads HealthInfo:\n\tQorPads: 1\n\tminTimerType: 31\n\tminTimer: 1\n\tminSchedListCount: "
         "0\n"
         "\tminCurNode: 0\n\tdaListCount: 1\n\tsecTimerType: 32\n\tsecTimer: 1\n\tsecSchedList: 2\n"
         "\tsecCurNode: 1\nindex number is : 2 \n",
         "\n\tindexId: 4\tindexType: 1\tindexName: expire\n\tuserInfo user number is : 2 \n",
         "\n\tindexId: 7\tindexType: 3\tindexName: da\n\tuserInfo user number is : 1 \n"},
        {"indexId: 4\nindexType: 1\nindexName: expire\n", "records[0]: timestamp 11, absTime 12\n",
         "records[1]: timestamp 13, absTime 14\n", "recCur: 1\nuserInfo user number is : 2 \n",
         "\n\tuserId: 2\n\tuserData: (null)\n\taddTime: 1000\n\tindex: 1\n",
         "\n\tuserId: 9\n\tuserData: peer 1\n\taddTime: 1000\n\tindex: 1\n"}};
    for (int dump = 0; dump < 2; ++dump) {
        std::string all;
        for (const std::string &part : parts[dump]) all += part;
        const auto length = static_cast<uint32_t>(all.size());
        EachSize(
            length + 3,
            [&](char *buf, uint32_t size) {
                if (size < 2) std::fill_n(buf, size, '\0');
                return dump ? QOR_PADS_DumpIndexInfo(4, buf, size, ctx)
                            : QOR_PADS_DumpHealthInfo(buf, size, ctx);
            },
            [&](uint32_t size, uint32_t result, const char *text) {
                EXPECT_EQ(result, size > length ? length : QOR_ERR_ARG);
                EXPECT_EQ(host.asserts.size(), size > length ? 0u : 1u);
                EXPECT_TRUE(all.starts_with(text));
                EXPECT_TRUE(size <= length || all == text);
            });
    }
    char buffer[400];
    Index(4)->stExpire.pfnDelUser = nullptr;
    EXPECT_EQ(QOR_PADS_DumpIndexInfo(5, buffer, sizeof buffer, ctx), QOR_ERR_ARG);
    QOR_PADS_DeInitHealth(ctx);
    EXPECT_EQ(QOR_PADS_DumpIndexInfo(4, buffer, sizeof buffer, ctx), QOR_ERR_ARG);
    EXPECT_EQ(QOR_PADS_DumpHealthInfo(buffer, sizeof buffer, ctx), QOR_ERR_ARG);
    EXPECT_EQ(QOR_PADS_AllExcp2String(buffer, sizeof buffer, ctx), QOR_FAIL);
    EXPECT_EQ(Asserts(), 3u);
}

}  // namespace
