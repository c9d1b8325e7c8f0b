// Health service: the listing of the records and the dumps of the state.
#include <cstring>
#include <memory>

#include "pads_test.hpp"

using namespace qor::test;

namespace {

struct Written {
    uint32_t result;
    std::string text;
};

class PadsTextTest : public PadsTest {
  protected:
    // Has something written into a buffer of that size. A dump leaves one without room alone.
    template <class Write>
    Written In(uint32_t size, Write write) {
        const auto buffer = std::make_unique<char[]>(size);
        std::fill_n(buffer.get(), size, size < 2 ? '\0' : '~');
        const uint32_t result = write(buffer.get(), size);
        EXPECT_TRUE(size == 0 || memchr(buffer.get(), '\0', size)) << size;
        return {result, size == 0 ? "" : buffer.get()};
    }
    Written List(uint32_t size) {
        return In(
            size, [&](auto... buf) { return QOR_PADS_AllExcp2String(buf..., ctx); });
    }
    std::string Listing() { return List(4000).text; }
    void Record(uint32_t index, const std::string &text) {
        recorded = text;
        Add(index, 1);
    }
};

const std::string kHead = "once                03-05 14:07:09    ", kIndent(38, ' ');

TEST_F(PadsTextTest, Lines) {
    Run("o0 o1");
    EXPECT_EQ(Listing(), "");
    std::string digits;
    for (int i = 0; i < 1023; ++i) digits += static_cast<char>('0' + i % 10);
    for (const size_t length : {0u, 1u, 44u, 45u, 46u, 90u, 91u, 1023u}) {
        const std::string text = digits.substr(0, length);
        std::string expected = length == 0 ? "" : kHead + text.substr(0, 45) + "\r\n";
        for (size_t at = 45; at < length; at += 45)
            expected += kIndent + text.substr(at, 45) + "\r\n";
        Record(1, "");
        Record(1, text);
        EXPECT_EQ(Listing(), expected);
    }
    // The older one first, whichever slot it is in, and the indexes by id.
    for (const char *text : {"a", "b", "c", "d"})
        for (const uint32_t index : {0u, 1u}) Record(index, text);
    const std::string c = kHead + "c\r\n", d = kHead + "d\r\n", e = kHead + "e\r\n";
    EXPECT_EQ(Listing(), c + d + c + d);
    Record(0, "e");
    host.systemSeconds = 0;  // an empty slot for the listing
    Record(1, "e");
    EXPECT_EQ(Listing(), d + e + d);
}

TEST_F(PadsTextTest, ListingInAnySize) {
    Run("o1 o2");
    Record(1, std::string(100, 'x'));
    const std::string lines[] = {kHead + std::string(45, 'x') + "\r\n",
                                 kIndent + std::string(45, 'x') + "\r\n",
                                 kIndent + std::string(10, 'x') + "\r\n"};
    for (uint32_t size = 0; size <= 300; ++size) {
        // A line is printed into one octet less than there is; a further one only where what is
        // left of the text and 45 more are less than that.
        std::string expected;
        uint32_t room = size, left = 145;
        for (const std::string &line : lines) {
            if (room < 2 || (&line != lines && left >= room)) break;
            expected += line.substr(0, room - 2);
            room = size - static_cast<uint32_t>(expected.size());
            left -= 45;
        }
        const Written written = List(size);
        EXPECT_EQ(written.result, size == 1 ? QOR_FAIL : QOR_OK);
        EXPECT_EQ(written.text, expected);
    }
    char *nowhere = nullptr;
    uint32_t room = 10;
    EXPECT_EQ(QOR_PADS_OneExcp2String(Index(1), &nowhere, &room, health), QOR_ERR_ARG);
}

TEST_F(PadsTextTest, Dumps) {
    Run("x4,10 D7,10");
    char peer[] = "peer 1";
    ASSERT_EQ(QOR_PADS_AddExcpUser(4, 2, 0, ctx), QOR_OK);
    ASSERT_EQ(QOR_PADS_AddExcpUser(4, 9, reinterpret_cast<uintptr_t>(peer), ctx), QOR_OK);
    Run("@1001 t");
    Index(4)->astRecords[0] = {11, 12, "x"};
    Index(4)->astRecords[1] = {13, 14, "y"};
    Index(4)->ulRecCur = 1;
    const auto service = [&](auto... buf) { return QOR_PADS_DumpHealthInfo(buf..., ctx); };
    const auto index = [&](auto... buf) { return QOR_PADS_DumpIndexInfo(4, buf..., ctx); };
    const auto in = [&](const std::string &all, auto dump) {
        for (uint32_t size = 0; size <= all.size() + 3; ++size) {
            const Written written = In(size, dump);
            const bool fits = size > all.size();
            EXPECT_EQ(written.result, fits ? all.size() : QOR_ERR_ARG);
            EXPECT_EQ(Asserts(), fits ? 0u : 1u);
            EXPECT_TRUE(fits ? written.text == all : all.starts_with(written.text)) << size;
        }
    };
    in("Pads HealthInfo:\n\tQorPads: 1\n\tminTimerType: 31\n\tminTimer: 1\n"
       "\tminSchedListCount: 0\n\tminCurNode: 0\n\tdaListCount: 1\n\tsecTimerType: 32\n"
       "\tsecTimer: 1\n\tsecSchedList: 2\n\tsecCurNode: 1\nindex number is : 2 \n"
       "\n\tindexId: 4\tindexType: 1\tindexName: expire\n\tuserInfo user number is : 2 \n"
       "\n\tindexId: 7\tindexType: 3\tindexName: da\n\tuserInfo user number is : 1 \n",
       service);
    in("indexId: 4\nindexType: 1\nindexName: expire\nrecords[0]: timestamp 11, absTime 12\n"
       "records[1]: timestamp 13, absTime 14\nrecCur: 1\nuserInfo user number is : 2 \n"
       "\n\tuserId: 2\n\tuserData: (null)\n\taddTime: 1000\n\tindex: 1\n"
       "\n\tuserId: 9\n\tuserData: peer 1\n\taddTime: 1000\n\tindex: 1\n",
       index);
    Index(4)->stExpire.pfnDelUser = nullptr;
    Run("u4");
    char text[400];
    EXPECT_EQ(index(text, 400u), QOR_ERR_ARG);
    QOR_PADS_DeInitHealth(ctx);
    EXPECT_EQ(index(text, 400u), QOR_ERR_ARG);
    EXPECT_EQ(service(text, 400u), QOR_ERR_ARG);
    EXPECT_EQ(Asserts(), 3u);
    EXPECT_EQ(QOR_PADS_AllExcp2String(text, 400, ctx), QOR_FAIL);
}

}  // namespace
