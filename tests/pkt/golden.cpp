#include "record_text.hpp"

namespace qor::test {
namespace {

// Pieces that many messages share: a PWid element with PW ID 100 of an Ethernet pseudowire in a FEC
// TLV, with group 0 or 9, a Generalized PWid element of the same kind, a label, an address list
// with an address of kFill octets, and what the records say of these. A record has the words of a
// PW tag in host order; those here read the same in both.
#define PWID "0100 000c 80 0005 04 00000000 00000064 "
#define PWID_GROUP "0100 000c 80 8005 04 00000009 00000064 "
#define PWID_RTP "0100 0010 80 0005 08 00000000 00000064 0b04 0000 "
#define GEN_PWID "0100 001a 81 8005 16 0108 000afde800000064 0104 0a000001 0104 0a000002 "
#define LABEL "0200 0004 00000010 "
#define ADDRESS "0101 0006 0001 eeeeeeee "
#define PWID_TEXT "pwtype=5 pwid=100 "
#define MAPPING_TEXT PWID_TEXT "label=16 pwstatus=0xffffffff "
#define GEN_LENGTHS "key=1 pwtype=5 agit=1 agil=8 sait=1 sail=4 tait=1 tail=4 "
#define GEN_TEXT GEN_LENGTHS "agi_sub=10 agi_as2=65000 agi_num32=100 sai=0x0a000001 tai=0x0a000002 "
#define NO_LABEL "label=0xffffffff "
#define NO_STATUS "pwstatus=0xffffffff "

constexpr Golden kGolden[] = {
    // ---- Label Mapping: RFC 5036 3.5.7, PWid FEC element RFC 8077 6.1
    {"mapping of a bare PWid element", "0400 001c 00000001 " PWID LABEL, MAPPING_TEXT,
     // The encoder always says how RTP is used when it is not "not given".
     "0400 0020 00000001 " PWID_RTP LABEL},
    {"mapping without RTP", "0400 0020 00000002 " PWID_RTP LABEL, MAPPING_TEXT},
    {"mapping with everything",
     "0400 0079 80000003 0100 0035 80 8011 2d 00000009 fffffffe "
     // RFC 4446 3.3: MTU, cells, bit rate, payload, CEP, VCCV, fragmentation, flow label, text
     "0104 05dc 0204 001c 0706 00000020 0404 0100 0504 2000 0c04 0102 0904 0005 1704 c000 "
     "0307 746f2d6200 "
     "0200 0004 000fffff 0600 0004 0000abcd 896a 0004 00000018 "
     // RFC 6073 7.4: two switching points, PW ID and peer of each
     "896d 0018 0104 00000064 0404 0a000002 0104 000000c8 0404 0a000003 "
     "896b 0004 0104 05dc",
     "pwtype=0x11 pwid=0xfffffffe cbit=1 group=9 label=0xfffff mtu=1500 cells=28 bitrate=32 "
     "payload=256 cep=0x2000 rtp=1 vccv=0x102 frag=5 flow=0xc000 desc=to-b mapflags=1 reqid=0xabcd "
     "pwstatus=0x18 spes=2 peer0=0x0a000002 segment0=100 peer1=0x0a000003 segment1=200 "
     "intf=010405dc"},
    {"mapping with TDM options and a text without NUL",
     "0400 002b 00000004 0100 001b 80 0011 13 00000000 00000001 0b08 8000 00000000 0307 "
     "6162636465 " LABEL,
     "pwtype=17 pwid=1 label=16 pwstatus=0xffffffff rtp=1 desc=abcde",
     "0400 002c 00000004 0100 001c 80 0011 14 00000000 00000001 0b08 8000 00000000 0308 "
     "616263646500 " LABEL},
    {"mapping that repeats and reorders parameters",
     // MTU twice, CEP options with bit 5, an unknown parameter, TDM options with a length of 12
     "0400 0040 00000006 0100 0030 80 0105 28 00000000 00000001 0104 0001 0504 0020 0606 00000000 "
     "0104 05dc 0b0c 0000 0000000000000000 0302 0304 6100 " LABEL,
     "pwtype=5 pwid=1 label=16 pwstatus=0xffffffff mtu=1500 cep=0x20 rtp=0 desc=a",
     "0400 0028 00000006 0100 0018 80 0005 10 00000000 00000001 0104 05dc 0504 0020 0304 "
     "6100 " LABEL},
    {"mapping with the U bit and only an unknown parameter",
     "8400 0020 00000006 0100 0010 80 0005 08 00000000 00000001 1804 0000 " LABEL,
     "pwtype=5 pwid=1 label=16 pwstatus=0xffffffff rtp=0xff",
     "0400 001c 00000006 0100 000c 80 0005 04 00000000 00000001 " LABEL},
    {"mapping with a wildcard, prefixes and two PW elements",
     "0400 0048 00000007 0100 0038 01 02 0001 18 0a0101 03 0002 09 2001 "
     "81 8005 16 0108 000afde800000064 0104 0a000001 0104 0a000002 "
     "80 0004 08 00000000 00000064 0104 05dc " LABEL,
     "pwtype=4 pwid=100 label=16 pwstatus=0xffffffff mtu=1500 rtp=0xff",
     "0400 0020 00000007 0100 0010 80 0004 08 00000000 00000064 0104 05dc " LABEL},
    {"mapping with a second FEC TLV and an unknown TLV",
     "0400 003c 00000008 " LABEL PWID_RTP "0100 0001 07 9234 0003 010203 8600 0004 00000001 "
     "096c 0004 00000007",
     MAPPING_TEXT "mapflags=1 reqid=1 group=7",
     "0400 0028 00000008 0100 0010 80 0005 08 00000007 00000064 0b04 0000 " LABEL
     "0600 0004 00000001"},
    {"mapping with a broken switching point",
     "0400 002a 00000008 " PWID_RTP LABEL "896d 0006 0103 000064 00", MAPPING_TEXT,
     "0400 0020 00000008 " PWID_RTP LABEL},
    {"mapping with the vendor marker", "0400 0028 00000009 " PWID_RTP LABEL "bfed 0004 00000001",
     MAPPING_TEXT "flags=0x1000", "0400 0028 00000009 " PWID_RTP LABEL "3fed 0004 eeeeeeee"},
    {"mapping without a FEC TLV", "0400 000c 0000000a " LABEL, "label=16 pwstatus=0xffffffff",
     "0400 0020 0000000a 0100 0010 80 0000 08 00000000 00000000 0b04 0000 " LABEL},

    // ---- Label Mapping, Generalized PWid FEC element: RFC 8077 6.2, parameters 6.2.2.1
    {"mapping of a generalized PWid",
     "0400 0046 0000000b " GEN_PWID LABEL "896a 0004 00000000 096b 0008 0104 05dc 0b04 0000 "
     "096c 0004 00000007",
     GEN_TEXT "cbit=1 label=16 mtu=1500 group=7"},
    {"mapping of a generalized PWid with all parameters",
     "0400 0054 0000000c " GEN_PWID LABEL
     "096b 0026 0104 2328 0204 001c 0706 00000020 0404 0100 0b08 0001 00000000 0c04 0302 0904 00ff "
     "1704 8000",
     GEN_TEXT "cbit=1 label=16 pwstatus=0xffffffff mtu=9000 cells=28 bitrate=32 payload=256 rtp=2 "
              "vccv=0x302 frag=255 flow=0x8000"},
    {"mapping of a generalized PWid, AGI of an address, CEP options and a text",
     "0400 003f 0000000d 0100 001a 81 0005 16 0108 010a0a0000010005 0104 00000001 0104 "
     "ffffffff " LABEL "896b 0011 0c04 0302 0504 2000 0104 05dc 0305 616200",
     GEN_LENGTHS "agi_type=1 agi_sub=10 agi_as4=0x0a000001 agi_num16=5 sai=1 tai=0xffffffff "
                 "label=16 pwstatus=0xffffffff rtp=1 vccv=0x302 mtu=1500",
     "0400 003e 0000000d 0100 001a 81 0005 16 0108 010a0a0000010005 0104 00000001 0104 "
     "ffffffff " LABEL "096b 0010 0104 05dc 0b08 8000 00000000 0c04 0302"},
    {"mapping of a generalized PWid without parameters",
     "0400 002e 0000000e " GEN_PWID LABEL "096b 0000",
     GEN_TEXT "cbit=1 label=16 pwstatus=0xffffffff rtp=0xff"},

    // ---- Label Request, Withdraw, Release: RFC 5036 3.5.8 to 3.5.11
    {"request", "0401 0014 00000010 " PWID, PWID_TEXT NO_STATUS},
    {"request with a group and parameters",
     "0401 001e 00000011 0100 0010 80 8005 08 00000009 00000064 0104 05dc 9234 0002 0000",
     PWID_TEXT NO_STATUS, "0401 0014 00000011 " PWID},
    {"request of a group", nullptr, "key=1 pwtype=5 nopwid=1",
     "0401 0014 00000012 0100 0004 81 0005 00 096c 0004 00000000"},
    {"withdraw of a generalized PWid, vendor AGI",
     "0402 002a 00000013 0100 001a 81 8005 16 0108 800a010203040506 0104 0a000001 0104 "
     "0a000002 " LABEL,
     GEN_LENGTHS
     "agi_type=0x80 agi_sub=10 agi_octet1=1 agi_octet2=2 agi_word1=0x304 agi_word2=0x506 "
     "sai=0x0a000001 tai=0x0a000002 cbit=1 label=16"},
    {"withdraw of a generalized PWid group",
     "0402 0014 00000014 0100 0004 81 0005 00 096c 0004 00000009",
     GEN_LENGTHS "nopwid=1 group=9 " NO_LABEL},
    {"withdraw of a PWid group", "0402 0010 00000015 0100 0008 80 0005 00 00000009",
     "pwtype=5 nopwid=1 group=9 " NO_LABEL},
    {"withdraw with an address list",
     "0402 002a 00000016 " PWID_GROUP LABEL "8300 000a 0a000001000000000000",
     PWID_TEXT "cbit=1 group=9 label=16 addrlist=0x0a000001"},
    {"withdraw with high address bits", "0402 0022 00000017 " PWID "0300 000a ff000001ffffffffffff",
     PWID_TEXT NO_LABEL "addrlist=0x3f000001",
     "0402 0022 00000017 " PWID "8300 000a 3f000001000000000000"},
    {"release", "0403 001c 00000018 " PWID_GROUP LABEL, PWID_TEXT "cbit=1 group=9 label=16"},
    {"release with unknown TLVs",
     "0403 002e 00000019 1234 0002 abcd " PWID_GROUP
     "896a 0002 0000 0300 000a 0a000001000000000000",
     PWID_TEXT "cbit=1 group=9 addrlist=0x0a000001 " NO_LABEL,
     "0403 0022 00000019 " PWID_GROUP "8300 000a 0a000001000000000000"},

    // ---- Notification: RFC 5036 3.5.1, PW status RFC 8077 6.3.2
    {"PW status",
     "0001 002a 00000020 0300 000a 00000028 00000020 0000 896a 0004 00000018 " PWID_GROUP,
     PWID_TEXT "cbit=1 group=9 status=0x18 statusid=0x20"},
    {"PW status of a group",
     "0001 002a 00000022 0300 000a 00000028 00000022 0000 896a 0004 00000006 0100 0004 81 0005 00 "
     "096c 0004 00000009",
     GEN_LENGTHS "nopwid=1 group=9 status=6 statusid=0x22"},
    {"PW status with E and F bits, second FEC and unknown TLVs",
     "0001 0041 00000023 c300 000a c0000028 00000007 0400 " PWID "0100 0001 07 8301 0001 00 "
     "0303 0000 0600 0000 096a 0004 00000000 1234 0001 01",
     PWID_TEXT "statusid=7 statustype=0x400",
     "0001 002a 00000023 0300 000a 00000028 00000023 0000 896a 0004 00000000 " PWID},
    {"error",
     "0001 0021 00000024 0300 000a 80000007 00000011 0400 0303 000b 0400 0007 00000011 020304",
     "flags=1 statusid=0x11 statustype=0x400",
     "0001 0012 00000024 0300 000a 00000000 00000011 0400"},
    {"error with a FEC",
     "0001 002a 00000025 0300 000a 0000001f 00000011 0400 " PWID_GROUP "896a 0004 00000002",
     "flags=1 statusid=0x11 statustype=0x400 cbit=1 group=9 status=2",
     "0001 0012 00000025 0300 000a 00000002 00000011 0400"},
    {"error bad TLV length", nullptr,
     "flags=1 status=7 statusid=0x11 statustype=0x400 notify=04000004",
     "0001 001a 00000026 0300 000a 80000007 00000011 0400 0303 0004 04000004"},
    {"error malformed TLV value", nullptr,
     "flags=1 status=8 notify=", "0001 0016 00000026 0300 000a 80000008 00000000 0000 0303 0000"},
    {"PW status under status 6", nullptr, PWID_TEXT "flags=0x4000 status=1",
     "0001 002a 00000027 0300 000a 00000006 00000027 0000 896a 0004 00000001 " PWID},
    {"error with a PW status",
     "0001 002a 0000002a 0300 000a 0000001f 00000011 0400 896a 0004 00000028 " PWID,
     "flags=1 statusid=0x11 statustype=0x400 status=0x28",
     "0001 0012 0000002a 0300 000a 00000028 00000011 0400"},
    // All ones is a status on the way in and none on the way out.
    {"notification without status",
     "0001 002a 00000028 0300 000a 00000028 00000028 0000 896a 0004 ffffffff " PWID,
     PWID_TEXT "status=0xffffffff statusid=0x28", "0001 0014 00000028 " PWID},
    {"notification of a group without status",
     "0001 0026 00000029 0300 000a 00000028 00000029 0000 896a 0004 ffffffff "
     "0100 0008 80 0005 00 00000009",
     "pwtype=5 nopwid=1 group=9 status=0xffffffff statusid=0x29",
     "0001 0010 00000029 0100 0008 80 0005 00 00000009"},

    // ---- MAC withdrawal: RFC 4762 6.2, RFC 7361 3.1.1
    {"MAC list", "0301 002e 00000030 " ADDRESS PWID "8404 000c 00112233445566778899aabb",
     PWID_TEXT "mactype=0x404 mac=00112233445566778899aabb",
     "0301 0022 00000030 " ADDRESS PWID "8404 0000"},
    {"MAC flush with tag, path and unknown TLVs",
     "0301 0053 00000032 " ADDRESS PWID
     "8404 0000 c406 0003 801234 be0a 000c 00001e100102020105060605 "
     "c104 0004 0a000009 c123 0002 abcd ffff 0008 0001020304050607",
     PWID_TEXT "mactype=0x406 macflags=0x80 mac=1234 tagtype=0x3e0a tag=0102020105060605 "
               "path=0a000009 unknown=c1230002abcd unknown=ffff00080001020304050607"},
    {"vendor flush of a generalized PWid",
     "0301 0036 00000034 " ADDRESS "0100 001a 81 0005 16 0108 000afde800000064 0104 0a000001 0104 "
     "0a000002 be00 0006 0003fa00beef",
     GEN_TEXT "mactype=0x3e00 mac=beef"},
    {"MAC flap", "0301 002d 00000035 " ADDRESS PWID "8404 0000 be08 0007 00001e10cafe01",
     PWID_TEXT "mactype=0x3e08 mac=cafe01"},
    {"MAC flap with flags and an empty tag",
     "0301 0035 00000036 " ADDRESS PWID "8404 0000 be09 0007 00001e1005cafe be0a 0004 00001e10",
     PWID_TEXT "mactype=0x3e09 macflags=5 mac=cafe tagtype=0x3e0a"},
    {"MAC PE-ID", "0301 002a 00000037 " ADDRESS PWID "8404 0000 8405 0004 0a000001",
     PWID_TEXT "mactype=0x405 mac=0a000001"},

    // ---- What comes otherwise than it is written
    {"withdraw of a generalized PWid and a group",
     "0402 0032 00000038 " GEN_PWID "096c 0004 00000009 0200 0004 00000010",
     GEN_TEXT "cbit=1 group=9 label=16", "0402 002a 00000038 " GEN_PWID LABEL},
    {"parameters in front of a generalized PWid",
     "0400 003a 00000039 096b 0004 0104 05dc " GEN_PWID LABEL "896a 0004 00000000",
     GEN_TEXT "cbit=1 label=16 intf=010405dc",
     "0400 0042 00000039 " GEN_PWID LABEL
     "896a 0004 00000000 096b 0004 0b04 0000 896b 0004 0104 05dc"},

    // ---- What only a caller asks for
    {"doubled mapping element", nullptr, MAPPING_TEXT "flags=0x2000 mtu=1500 rtp=0xff",
     "0400 0030 00000040 0100 0020 80 0005 08 00000000 00000064 0104 05dc "
     "80 0005 08 00000000 00000064 0104 05dc " LABEL},
    {"doubled request element", nullptr, PWID_TEXT "flags=0x2000",
     "0401 0020 00000041 0100 0018 80 0005 04 00000000 00000064 80 0005 04 00000000 00000064"},
    {"doubled withdraw", nullptr, PWID_TEXT "flags=0x2000 addrlist=0xffffffff group=9 " NO_LABEL,
     "0402 003c 00000042 0100 0018 80 0005 04 00000009 00000064 80 0005 04 00000009 00000064 "
     "8300 000a 3fffffff000000000000 0300 000a 3fffffff000000000000"},
    {"release with the address list word that means none", nullptr,
     PWID_TEXT "addrlist=0xffffffff group=9 label=0",
     "0403 001c 00000043 0100 000c 80 0005 04 00000009 00000064 0200 0004 00000000"},
    {"element without a PW ID is not doubled", nullptr,
     "nopwid=1 pwtype=5 flags=0x2000 group=9 " NO_LABEL,
     "0402 001e 00000044 0100 0008 80 0005 00 00000009 0300 000a 00000000000000000000"},
    {"doubled MAC withdraw", nullptr, PWID_TEXT "flags=0x2000 mactype=0x3e00 group=9 cbit=1",
     "0301 0030 00000045 " ADDRESS PWID_GROUP "8404 0006 eeeeeeeeeeee be00 0004 0003fa00"},
    {"mapping of an unknown key type", nullptr, "key=6 pwid=1 word1=2 label=1 pwstatus=0xffffffff",
     "0400 0010 00000046 0100 0000 0200 0004 00000001"},
    {"switching points beyond the array", nullptr, "key=2 label=1 pwstatus=1 spes=12 peer9=9",
     "0400 0094 00000047 0100 0000 0200 0004 00000001 896a 0004 00000001 896d 0078 "
     "0104 00000000 0404 00000000 0104 00000000 0404 00000000 0104 00000000 0404 00000000 "
     "0104 00000000 0404 00000000 0104 00000000 0404 00000000 0104 00000000 0404 00000000 "
     "0104 00000000 0404 00000000 0104 00000000 0404 00000000 0104 00000000 0404 00000000 "
     "0104 00000000 0404 00000009"},
};

}  // namespace

std::span<const Golden> GoldenMessages() { return kGolden; }

}  // namespace qor::test
