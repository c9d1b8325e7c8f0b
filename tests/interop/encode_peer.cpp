// Prints what the library encodes for each record on standard input, one a line, as hex. A record
// is written as for the codec's tests: "type=0x400 bodyid=1 pwtype=5 pwid=100 label=16".
#include <cstdio>
#include <iostream>

#include "../pkt/record_text.hpp"

int main() {
    using namespace qor::test;
    QOR_PKT_CTX_S ctx{};
    for (std::string line; std::getline(std::cin, line);) {
        const TextRecord record(line.c_str(), std::vector<uint8_t>(8));
        std::vector<uint8_t> buf(QOR_LDP_PKT_ENC_BUF_LEN);
        buf.resize(QOR_LDP_PKT_EncodeMsg(buf.data(), &record.rec, &ctx));
        puts(HexText(buf).c_str());
    }
}
