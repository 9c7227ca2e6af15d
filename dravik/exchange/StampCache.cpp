#include "dravik/exchange/StampCache.h"

#include <algorithm>
#include <cstring>

namespace dravik {
namespace {

constexpr std::size_t clockBytes = 8;  // hh:mm:ss

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

int TwoDigits(const char* at) {
    return (at[0] - '0') * 10 + (at[1] - '0');
}

bool IsClock(const char* at) {
    return IsDigit(at[0]) && IsDigit(at[1]) && at[2] == ':' && IsDigit(at[3]) && IsDigit(at[4]) &&
           at[5] == ':' && IsDigit(at[6]) && IsDigit(at[7]);
}

}  // namespace

bool StampCache::Parse(std::string_view cell, Stamp& stamp) {
    const bool alike = clockEnd_ > 0 && cell.size() == size_ &&
                       std::memcmp(cell.data(), text_.data(), clock_) == 0 &&
                       std::memcmp(cell.data() + clockEnd_, text_.data() + clockEnd_, size_ - clockEnd_) == 0;
    if (alike && ReadClock(cell)) {
        stamp = stamp_;
        return true;
    }
    if (!ParseStamp(cell, stamp))
        return false;
    Remember(cell, stamp);
    return true;
}

void StampCache::Remember(std::string_view cell, const Stamp& stamp) {
    clockEnd_ = 0;
    if (cell.size() > longest)
        return;
    size_ = cell.size();
    std::copy(cell.begin(), cell.end(), text_.begin());
    stamp_ = stamp;
    if (stamp.hasClock && !stamp.minutesOnly)
        FindClock();
}

/// The one place of hh:mm:ss; halves of the day change what the hours mean.
void StampCache::FindClock() {
    const std::string_view text(text_.data(), size_);
    const std::size_t colon = text.find(':');
    if (colon < 2 || colon == std::string_view::npos || colon + 6 > size_ ||
        !IsClock(text.data() + colon - 2))
        return;
    const std::size_t begin = colon - 2;
    std::size_t end = begin + clockBytes;
    if (end + 1 < size_ && (text[end] == '.' || text[end] == ',') && IsDigit(text[end + 1])) {
        ++end;
        while (end < size_ && IsDigit(text[end]))
            ++end;
    }
    const bool longDigits = end - begin > clockBytes + 16 || (begin > 0 && IsDigit(text[begin - 1]));
    const bool halves = text.find_first_of("aApP", end) != std::string_view::npos;
    const bool thirdColon = end < size_ && text[end] == ':';
    if (longDigits || halves || thirdColon)
        return;
    clock_ = begin;
    clockEnd_ = end;
}

bool StampCache::ReadClock(std::string_view cell) {
    const char* const at = cell.data() + clock_;
    if (!IsClock(at) || at[3] > '5' || at[6] > '5')
        return false;
    double fraction = 0.0;
    if (clockEnd_ - clock_ > clockBytes) {
        if (at[clockBytes] != text_[clock_ + clockBytes])
            return false;
        double digits = 0.0;
        double scale = 1.0;
        for (const char* digit = at + clockBytes + 1; digit != cell.data() + clockEnd_; ++digit) {
            if (!IsDigit(*digit))
                return false;
            if (scale < 1e15) {
                digits = digits * 10.0 + (*digit - '0');
                scale *= 10.0;
            }
        }
        fraction = digits / scale;
    }
    stamp_.clockSeconds = TwoDigits(at) * 3600.0 + TwoDigits(at + 3) * 60.0 + TwoDigits(at + 6) + fraction;
    return true;
}

}  // namespace dravik
