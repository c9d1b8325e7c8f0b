// Prints what the library encodes for every golden record, one "name<TAB>hex" a line, for a judge
// that does not share code with it.
#include <cstdio>

#include "record_text.hpp"

int main() {
    using namespace qor::test;
    QOR_PKT_CTX_S ctx{};
    for (const Golden &g : GoldenMessages()) {
        const TextRecord record(g.record, Hex(g.octets ? g.octets : g.encoded));
        std::vector<uint8_t> buf(QOR_LDP_PKT_ENC_BUF_LEN);
        buf.resize(QOR_LDP_PKT_EncodeMsg(buf.data(), &record.rec, &ctx));
        printf("%s\t%s\n", g.name, HexText(buf).c_str());
    }
}
