// What Output puts into its buffer beside plain text. Of each kind of part there is a Room(), the
// octets that it takes at most, and a Write(), which returns where it ends.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "bytes.hpp"

namespace qorldp {

inline size_t Room(std::string_view text) {
    return text.size();
}
inline char *Write(char *at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
}

// Text and the spaces that fill its column.
struct Column {
    std::string_view text;
    size_t width;
};
inline size_t Room(const Column &column) {
    return std::max(column.width, column.text.size());
}
inline char *Write(char *at, const Column &column) {
    std::memset(at, ' ', column.width);
    return std::max(Write(at, column.text), at + column.width);
}

struct Decimal {
    uint64_t value;
};
inline size_t Room(Decimal) {
    return 20;
}
inline char *Write(char *at, Decimal number) {
    return std::to_chars(at, at + Room(number), number.value).ptr;
}

struct Hexadecimal {
    uint64_t value;
    size_t digits;  // at least
};
inline size_t Room(const Hexadecimal &) {
    return 16;
}
inline char *Write(char *at, Hexadecimal number) {
    while (number.digits < 16 && number.value >> (4 * number.digits) != 0) {
        ++number.digits;
    }
    for (size_t left = number.digits; left > 0; --left) {
        *at++ = "0123456789ABCDEF"[number.value >> (4 * (left - 1)) & 0xF];
    }
    return at;
}

// Octets as hexadecimal digits; separator stands between them.
struct HexOctets {
    Bytes octets;
    std::string_view separator = "";
};
inline size_t Room(const HexOctets &hex) {
    return hex.octets.size() * (2 + hex.separator.size());
}
inline char *Write(char *at, const HexOctets &hex) {
    for (const uint8_t &octet : hex.octets) {
        at = Write(at, &octet == hex.octets.data() ? "" : hex.separator);
        at = Write(at, Hexadecimal{octet, 2});
    }
    return at;
}

// An address of IPv4, or a number that is written like one.
struct Dotted {
    uint32_t ip;
};
inline size_t Room(Dotted) {
    return 15;
}
inline char *Write(char *at, Dotted dotted) {
    for (int shift = 24; shift > 0; shift -= 8) {
        at = Write(at, Decimal{dotted.ip >> shift & 0xFF});
        *at++ = '.';
    }
    return Write(at, Decimal{dotted.ip & 0xFF});
}

// Octets of a peer: printable ASCII as it is, the rest, the backslash included, as \xNN. For JSON
// what is a character of its strings has another backslash in front.
struct Escaped {
    std::string_view text;
    bool json = false;
};
inline size_t Room(const Escaped &escaped) {
    return escaped.text.size() * 5;
}
inline char *Write(char *at, const Escaped &escaped) {
    for (const char c : escaped.text) {
        if (escaped.json && c == '"') {
            at = Write(at, "\\\"");
        } else if (c >= ' ' && c <= '~' && c != '\\') {
            *at++ = c;
        } else {
            at = Write(at, escaped.json ? "\\\\x" : "\\x");
            at = Write(at, Hexadecimal{static_cast<uint8_t>(c), 2});
        }
    }
    return at;
}

}  // namespace qorldp
