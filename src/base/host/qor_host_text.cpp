// Formatters, address texts and the bounded routines.
#include <arpa/inet.h>
#include <cstdarg>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/host/qor_host_api.hpp"
#include "base/host/qor_host_format.hpp"

namespace {

// Writes the dotted form without a NUL and returns its end.
char *PutDotted(char *out, uint32_t ip) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        const uint32_t octet = ip >> shift & 0xFF;
        if (octet >= 100) {
            *out++ = static_cast<char>('0' + octet / 100);
        }
        if (octet >= 10) {
            *out++ = static_cast<char>('0' + octet / 10 % 10);
        }
        *out++ = static_cast<char>('0' + octet % 10);
        if (shift != 0) {
            *out++ = '.';
        }
    }
    return out;
}

}  // namespace

int32_t HOST_VsnprintfTruncated(char *out, uint32_t room, const char *fmt, va_list ap) {
    if (room == 0) {
        return -1;
    }
    const int length = qor::host::Format(out, room, fmt, ap);
    return length < 0 || static_cast<uint32_t>(length) < room ? length
                                                              : static_cast<int32_t>(room - 1);
}

int32_t HOST_SnprintfTruncated(char *out, uint32_t room, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const int32_t length = HOST_VsnprintfTruncated(out, room, fmt, ap);
    va_end(ap);
    return length;
}

void HOST_IpAddrToStr(uint32_t ip, char *out) {
    *PutDotted(out, ip) = '\0';
}

void HOST_IpAddrToStrEx(uint32_t ip, char *out, uint32_t size) {
    if (size == 0) {
        return;
    }
    char text[INET_ADDRSTRLEN];
    const size_t length =
        std::min<size_t>(static_cast<size_t>(PutDotted(text, ip) - text), size - 1);
    memcpy(out, text, length);
    out[length] = '\0';
}

uint32_t HOST_Inet6Ntoa(uint64_t groups0to3, uint64_t groups4to7, char *out, uint32_t size) {
    unsigned char octets[16];
    for (unsigned i = 0; i < 8; i++) {
        const uint64_t group = (i < 4 ? groups0to3 : groups4to7) >> 16 * (i % 4);
        octets[2 * i] = static_cast<unsigned char>(group >> 8);
        octets[2 * i + 1] = static_cast<unsigned char>(group);
    }
    return inet_ntop(AF_INET6, octets, out, size) ? 0 : 1;
}

uint32_t HOST_StrLen(const char *s) {
    return static_cast<uint32_t>(strlen(s));
}

char *HOST_StrRChr(const char *s, int c) {
    return const_cast<char *>(strrchr(s, c));
}

int32_t HOST_MemCmp(const void *a, const void *b, uint32_t n) {
    const int order = memcmp(a, b, n);
    return (order > 0) - (order < 0);
}

int memcpy_s(void *dst, size_t dstMax, const void *src, size_t n) {
    if (dst && src && n <= dstMax) {
        memmove(dst, src, n);
        return 0;
    }
    if (dst) {
        memset(dst, 0, dstMax);
    }
    return dst && src ? ERANGE : EINVAL;
}

int memset_s(void *dst, size_t dstMax, int c, size_t n) {
    if (dst && n <= dstMax) {
        memset(dst, c, n);
        return 0;
    }
    if (dst) {
        memset(dst, 0, dstMax);
    }
    return dst ? ERANGE : EINVAL;
}

int strcpy_s(char *dst, size_t dstMax, const char *src) {
    if (!dst || dstMax == 0) {
        return EINVAL;
    }
    const size_t length = src ? strnlen(src, dstMax) : dstMax;
    if (length == dstMax) {
        dst[0] = '\0';
        return src ? ERANGE : EINVAL;
    }
    memmove(dst, src, length);
    dst[length] = '\0';
    return 0;
}

int snprintf_s(char *dst, size_t dstMax, size_t count, const char *fmt, ...) {
    if (!dst || dstMax == 0) {
        return -1;
    }
    const size_t room = std::min(count, dstMax - 1) + 1;
    va_list ap;
    va_start(ap, fmt);
    const int length = qor::host::Format(dst, room, fmt, ap);
    va_end(ap);
    return length >= 0 && static_cast<size_t>(length) < room ? length : -1;
}
