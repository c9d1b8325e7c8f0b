// Log lines are made of few conversions: integers, texts, characters, with width, precision and the
// flags 0 and -. For these the general vsnprintf, which sets up a stream for each text, takes three
// times as long. A format with anything else goes to vsnprintf as a whole.
#include "base/host/qor_host_format.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// Takes what fits and counts what does not.
class Output {
  public:
    Output(char *out, size_t room) : begin_(out), at_(out), end_(out + room - 1) {}

    // Takes the text in front of the next conversion, or the rest, and returns where that ends.
    const char *PutLiteral(const char *fmt) {
        char *at = at_;  // a local, so that it need not be stored for each character
        for (; *fmt != '\0' && *fmt != '%' && at != end_; ++fmt) {
            *at++ = *fmt;
        }
        at_ = at;
        for (; *fmt != '\0' && *fmt != '%'; ++fmt) {
            ++lost_;
        }
        return fmt;
    }
    void Put(const char *text, size_t n) {
        const size_t fitting = Fitting(n);
        memcpy(at_, text, fitting);
        at_ += fitting;
    }
    void Fill(char c, size_t n) {
        const size_t fitting = Fitting(n);
        memset(at_, c, fitting);
        at_ += fitting;
    }
    // Ends the text and returns the length that it has with what was lost.
    size_t Finish() {
        *at_ = '\0';
        return static_cast<size_t>(at_ - begin_) + lost_;
    }

  private:
    size_t Fitting(size_t n) {
        const size_t fitting = std::min(n, static_cast<size_t>(end_ - at_));
        lost_ += n - fitting;
        return fitting;
    }

    char *begin_;
    char *at_;
    char *end_;
    size_t lost_ = 0;
};

constexpr int kNone = -1;  // no precision
constexpr int kMost = 99;  // the greatest simple width and precision

struct Conversion {
    bool left = false;
    bool zeros = false;
    int width = 0;
    int precision = kNone;
    bool wide = false;  // an argument of 64 bits
};

void PutPadded(Output *out, const Conversion &how, const char *text, size_t n) {
    const auto width = static_cast<size_t>(how.width);
    if (width <= n) {
        out->Put(text, n);
        return;
    }
    if (!how.left) {
        out->Fill(' ', width - n);
    }
    out->Put(text, n);
    if (how.left) {
        out->Fill(' ', width - n);
    }
}

void PutText(Output *out, const Conversion &how, const char *text) {
    constexpr char kNull[] = "(null)";
    if (text == nullptr) {  // as the C library prints it: whole or not at all
        text = how.precision == kNone || how.precision >= int{sizeof kNull} - 1 ? kNull : "";
    }
    const size_t n =
        how.precision == kNone ? strlen(text) : strnlen(text, static_cast<size_t>(how.precision));
    PutPadded(out, how, text, n);
}

template <unsigned Base>
void PutNumber(Output *out, const Conversion &how, char sign, uint64_t value, const char *digits) {
    char text[kMost + 1];  // zeros and a sign, or the 20 decimal digits of 2^64 and one
    char *const end = text + sizeof text;
    char *at = end;
    for (; value != 0; value /= Base) {
        *--at = digits[value % Base];
    }
    int zeros = 1;
    if (how.precision != kNone) {
        zeros = how.precision;
    } else if (how.zeros && !how.left) {
        zeros = std::max(1, how.width - (sign != '\0' ? 1 : 0));
    }
    while (end - at < zeros) {
        *--at = '0';
    }
    if (sign != '\0') {
        *--at = sign;
    }
    PutPadded(out, how, at, static_cast<size_t>(end - at));
}

// The number at *fmt, which is moved behind it; 0 without one, more than kMost when it is not
// simple.
int ReadNumber(const char **fmt) {
    int number = 0;
    for (; **fmt >= '0' && **fmt <= '9' && number <= kMost; ++*fmt) {
        number = 10 * number + (**fmt - '0');
    }
    return number;
}

// Reads what stands between '%' and the letter that *fmt is left at; false when it is not simple.
bool ReadConversion(const char **fmt, Conversion *how) {
    for (; **fmt == '-' || **fmt == '0'; ++*fmt) {
        (**fmt == '-' ? how->left : how->zeros) = true;
    }
    how->width = ReadNumber(fmt);
    if (**fmt == '.') {
        ++*fmt;
        how->precision = ReadNumber(fmt);
    }
    if (**fmt == 'l') {
        static_assert(sizeof(long) == sizeof(uint64_t) && sizeof(long long) == sizeof(uint64_t));
        how->wide = true;
        *fmt += (*fmt)[1] == 'l' ? 2 : 1;
    }
    return how->width <= kMost && how->precision <= kMost;
}

bool IsInteger(char letter) {
    return letter == 'd' || letter == 'i' || letter == 'u' || letter == 'x' || letter == 'X';
}

void PutInteger(Output *out, const Conversion &how, char letter, uint64_t value) {
    constexpr char kLower[] = "0123456789abcdef";
    constexpr char kUpper[] = "0123456789ABCDEF";
    if (letter == 'x' || letter == 'X') {
        PutNumber<16>(out, how, '\0', value, letter == 'x' ? kLower : kUpper);
        return;
    }
    const bool isNegative = letter != 'u' && static_cast<int64_t>(value) < 0;
    PutNumber<10>(out, how, isNegative ? '-' : '\0', isNegative ? 0 - value : value, kLower);
}

// Formats what is simple into room octets and returns the length of the whole text; kNotSimple when
// something is not, and then out is worth nothing.
constexpr size_t kNotSimple = SIZE_MAX;

size_t FormatSimple(char *out, size_t room, const char *fmt, va_list ap) {
    Output output(out, room);
    for (;; ++fmt) {
        fmt = output.PutLiteral(fmt);
        if (*fmt == '\0') {
            return output.Finish();
        }
        ++fmt;
        Conversion how;
        if (!ReadConversion(&fmt, &how)) {
            return kNotSimple;
        }
        const bool isPlain = !how.wide && !how.zeros;
        if (IsInteger(*fmt)) {
            // A 32-bit argument goes through its own type, so that %d is extended by its sign.
            const bool isSigned = *fmt == 'd' || *fmt == 'i';
            const uint64_t value = how.wide   ? va_arg(ap, uint64_t)
                                   : isSigned ? static_cast<uint64_t>(int64_t{va_arg(ap, int)})
                                              : va_arg(ap, unsigned);
            PutInteger(&output, how, *fmt, value);
        } else if (*fmt == 's' && isPlain) {
            PutText(&output, how, va_arg(ap, const char *));
        } else if (*fmt == 'c' && isPlain) {
            const char c = static_cast<char>(va_arg(ap, int));
            PutPadded(&output, how, &c, 1);
        } else if (*fmt == '%') {
            output.Put(fmt, 1);
        } else {
            return kNotSimple;
        }
    }
}

}  // namespace

int qor::host::Format(char *out, size_t room, const char *fmt, va_list ap) {
    if (fmt == nullptr) {
        out[0] = '\0';
        return -1;
    }
    va_list again;
    va_copy(again, ap);
    const size_t whole = FormatSimple(out, room, fmt, again);
    va_end(again);
    if (whole <= INT_MAX) {
        return static_cast<int>(whole);
    }
    // More than INT_MAX is refused by some C libraries, and no text gets that long.
    const int length = vsnprintf(out, std::min<size_t>(room, INT_MAX), fmt, ap);
    if (length < 0) {
        out[0] = '\0';
    }
    return length;
}
