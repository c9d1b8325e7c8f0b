#include "output.hpp"

#include <unistd.h>
#include <cstring>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace qorldp {

void Output::Time(const Timestamp &time, char separator) {
    if (time.sec != date_sec_) {
        using namespace std::chrono;
        const auto point = sys_seconds(seconds(time.sec));
        const auto day = floor<days>(point);
        const year_month_day date(day);
        const hh_mm_ss clock(point - day);
        const auto digits = [this](size_t at, unsigned value, int count) {
            for (int i = count - 1; i >= 0; --i, value /= 10) {
                date_[at + static_cast<size_t>(i)] = static_cast<char>('0' + value % 10);
            }
        };
        std::memcpy(date_, "0000-00-00 00:00:00", sizeof date_);
        digits(0, static_cast<unsigned>(static_cast<int>(date.year())), 4);
        digits(5, static_cast<unsigned>(date.month()), 2);
        digits(8, static_cast<unsigned>(date.day()), 2);
        digits(11, static_cast<unsigned>(clock.hours().count()), 2);
        digits(14, static_cast<unsigned>(clock.minutes().count()), 2);
        digits(17, static_cast<unsigned>(clock.seconds().count()), 2);
        date_sec_ = time.sec;
    }
    constexpr size_t kDate = sizeof date_;
    constexpr size_t kMicro = 7;  // with the point
    char *const at = Reserve(kDate + kMicro);
    std::memcpy(at, date_, kDate);
    at[10] = separator;
    at[kDate] = '.';
    auto value = static_cast<unsigned>(time.usec);
    for (size_t i = kDate + kMicro - 1; i > kDate; --i, value /= 10) {
        at[i] = static_cast<char>('0' + value % 10);
    }
    end_ += kDate + kMicro;
}

void Output::Flush() {
    if (fd_ < 0) {
        return;
    }
    const char *at = buffer_.data();
    while (at < end_ && error_ == 0) {
        const ssize_t n = write(fd_, at, static_cast<size_t>(end_ - at));
        if (n >= 0) {
            at += n;
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    Clear();
}

void Output::MakeRoom(size_t octets) {
    Flush();
    const size_t used = Used();
    if (buffer_.size() - used < octets) {
        buffer_.resize(std::max(buffer_.size() * 2, used + octets));
    }
    end_ = buffer_.data() + used;
    limit_ = buffer_.data() + buffer_.size();
}

}  // namespace qorldp
