#include <algorithm>
#include <array>
#include <initializer_list>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/Stamp.h"

namespace dravik {
namespace {

constexpr double hourSeconds = 3600.0;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads a stamp from its front.
class StampParser {
  public:
    StampParser(std::string_view rest, Stamp& stamp) : rest_(rest), stamp_(stamp) {}

    bool Parse() {
        SkipWeekday();
        const std::string_view before = rest_;
        if (TakePackedStamp())
            return rest_.empty();
        rest_ = before;
        stamp_ = {};
        if (TakeClock()) {
            SkipBetween();
            if (!rest_.empty())
                TakeDate();
        } else if (TakeDate()) {
            SkipBetween();
            if (!rest_.empty() && !TakeClock())
                return false;
        }
        return rest_.empty() && (stamp_.hasClock || stamp_.hasDate);
    }

  private:
    static constexpr int tooMany = 10;

    /// Digits from the front; how many, 0 for none and for more than nine.
    int TakeDigits(int& value) {
        int count = 0;
        value = 0;
        while (static_cast<std::size_t>(count) < rest_.size() &&
               IsDigit(rest_[static_cast<std::size_t>(count)])) {
            if (count + 1 == tooMany)
                return 0;
            value = value * 10 + (rest_[static_cast<std::size_t>(count)] - '0');
            ++count;
        }
        rest_.remove_prefix(static_cast<std::size_t>(count));
        return count;
    }

    bool TakeChar(std::string_view anyOf) {
        if (rest_.empty() || anyOf.find(rest_.front()) == std::string_view::npos)
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    void SkipBlanks() {
        while (TakeChar(" \t"))
            continue;
    }

    /// Between date and clock: T, a comma, blanks; some loggers write a minus or underscore.
    void SkipBetween() {
        if (!TakeChar("Tt,-_"))
            SkipBlanks();
        SkipBlanks();
    }

    std::string_view Letters() const {
        std::size_t count = 0;
        while (count < rest_.size() && ((rest_[count] | 0x20) >= 'a' && (rest_[count] | 0x20) <= 'z'))
            ++count;
        return rest_.substr(0, count);
    }

    /// Index from 0 of the English name that `word` is or begins with three letters or more; -1: none.
    static int NameIndex(std::string_view word, std::initializer_list<std::string_view> names) {
        if (word.size() < 3)
            return -1;
        const std::string lower = LowerCase(word);
        int index = 0;
        for (const std::string_view name : names) {
            if (name.starts_with(lower) || (lower == "sept" && name == "september"))
                return index;
            ++index;
        }
        return -1;
    }

    void SkipWeekday() {
        const std::string_view word = Letters();
        if (NameIndex(word, {"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"}) <
            0)
            return;
        rest_.remove_prefix(word.size());
        TakeChar(".");
        TakeChar(",");
        SkipBlanks();
    }

    int TakeMonthName() {
        const std::string_view word = Letters();
        const int index = NameIndex(word, {"january", "february", "march", "april", "may", "june", "july",
                                           "august", "september", "october", "november", "december"});
        if (index >= 0)
            rest_.remove_prefix(word.size());
        return index + 1;
    }

    bool TakeDate() {
        const std::string_view before = rest_;
        if (TakeNumericDate() || (rest_ = before, TakeNamedDate()))
            return FinishDate();
        rest_ = before;
        return false;
    }

    /// 20240301T095800, with or without seconds, fraction and zone; the T tells it from a number.
    bool TakePackedStamp() {
        int date = 0;
        int clock = 0;
        const bool dated = TakeDigits(date) == 8 && TakeChar("Tt");
        const int digits = dated ? TakeDigits(clock) : 0;
        if (digits != 4 && digits != 6)
            return false;
        const int seconds = digits == 6 ? clock % 100 : 0;
        const int minutes = digits == 6 ? clock / 100 % 100 : clock % 100;
        const int hours = digits == 6 ? clock / 10000 : clock / 100;
        stamp_.parts = {date / 10000, date / 100 % 100, date % 100};
        stamp_.orders = SetOf(DateOrder::ymd);
        stamp_.orderIsPlain = true;
        stamp_.clockSeconds = hours * hourSeconds + minutes * 60.0 + seconds;
        stamp_.clockSeconds += digits == 6 ? TakeFraction() : 0.0;
        stamp_.hasClock = hours <= 24 && minutes < 60 && seconds < 60 && TakeZone();
        return stamp_.hasClock && FinishDate();
    }

    /// 2024-03-01, 1.3.2024, 3/1/24 ...
    bool TakeNumericDate() {
        std::array<int, 3> digits{};
        char mark = '\0';
        for (std::size_t i = 0; i < 3; ++i) {
            digits[i] = TakeDigits(stamp_.parts[i]);
            if (digits[i] == 0 || digits[i] == 3 || digits[i] > 4)
                return false;
            if (i == 2)
                break;
            if (rest_.empty() || (i == 1 && rest_.front() != mark))
                return false;
            mark = rest_.front();
            if (!TakeChar("-/."))
                return false;
        }
        if (digits[1] > 2)
            return false;
        stamp_.orders = OrdersOfShape(digits, mark);
        stamp_.shortYear = digits[0] <= 2 && digits[2] == 2;
        stamp_.orderIsPlain = digits[0] == 4;
        return stamp_.orders != 0;
    }

    static DateOrderSet OrdersOfShape(const std::array<int, 3>& digits, char mark) {
        if (digits[0] == 4)
            return digits[2] <= 2 ? SetOf(DateOrder::ymd) : DateOrderSet{0};
        if (digits[2] == 1)
            return 0;
        DateOrderSet orders = SetOf(DateOrder::dmy);
        if (mark != '.')
            orders |= SetOf(DateOrder::mdy);
        if (mark == '-' && digits[0] == 2 && digits[2] == 2)
            orders |= SetOf(DateOrder::ymd);
        return orders;
    }

    /// 1-Mar-2024, 1 March 24, March 1, 2024, 2024-Mar-01: the name tells the order, kept as year, month,
    /// day.
    bool TakeNamedDate() {
        int first = 0;
        int last = 0;
        int month = TakeMonthName();
        const bool nameFirst = month > 0;
        if (nameFirst)
            SkipDateMarks();
        const int firstDigits = TakeDigits(first);
        SkipDateMarks();
        if (!nameFirst) {
            month = TakeMonthName();
            SkipDateMarks();
        }
        const int lastDigits = TakeDigits(last);
        const bool yearFirst = firstDigits == 4;
        if (month == 0 || firstDigits == 0 ||
            (lastDigits != 2 && lastDigits != 4 && !(yearFirst && lastDigits == 1)))
            return false;
        stamp_.parts = {yearFirst ? first : last, month, yearFirst ? last : first};
        stamp_.orders = SetOf(DateOrder::ymd);
        stamp_.shortYear = !yearFirst && lastDigits == 2;
        stamp_.orderIsPlain = true;
        return true;
    }

    void SkipDateMarks() {
        while (TakeChar("-/., "))
            continue;
    }

    bool FinishDate() {
        for (std::size_t i = 0; i < dateOrders; ++i) {
            const auto order = static_cast<DateOrder>(i);
            if ((stamp_.orders & SetOf(order)) != 0 && !DayOf(stamp_, order))
                stamp_.orders = static_cast<DateOrderSet>(stamp_.orders & ~SetOf(order));
        }
        stamp_.hasDate = stamp_.orders != 0;
        return stamp_.hasDate;
    }

    /// hh:mm, hh:mm:ss, mm:ss.f, a fraction behind point or comma, am/pm, a zone.
    bool TakeClock() {
        const std::string_view before = rest_;
        std::array<int, 3> parts{};
        const int firstDigits = TakeDigits(parts[0]);
        if (firstDigits == 0 || !TakeChar(":") || TakeDigits(parts[1]) != 2) {
            rest_ = before;
            return false;
        }
        const bool three = TakeChar(":");
        if (three && TakeDigits(parts[2]) != 2)
            return false;
        const double fraction = three && TakeMillisecondsMark() ? TakeMilliseconds() : TakeFraction();
        stamp_.minutesOnly = !three && stamp_.hasFraction;
        const int small = three ? std::max(parts[1], parts[2]) : parts[1];
        if (small > 59 || (stamp_.minutesOnly && parts[0] > 59))
            return false;
        stamp_.clockSeconds = stamp_.minutesOnly
                                  ? parts[0] * 60.0 + parts[1] + fraction
                                  : parts[0] * hourSeconds + parts[1] * 60.0 + parts[2] + fraction;
        stamp_.hasClock = TakeHalfOfDay(parts[0]) && TakeZone();
        return stamp_.hasClock;
    }

    /// A third colon, three digits behind it: hh:mm:ss:mmm. Fewer might be frames, or milliseconds unpadded.
    bool TakeMillisecondsMark() {
        const auto isDigitAt = [&](std::size_t at) { return at < rest_.size() && IsDigit(rest_[at]); };
        return !rest_.empty() && rest_.front() == ':' && isDigitAt(1) && isDigitAt(2) && isDigitAt(3) &&
               !isDigitAt(4);
    }

    double TakeMilliseconds() {
        int milliseconds = 0;
        rest_.remove_prefix(1);
        TakeDigits(milliseconds);
        stamp_.hasFraction = true;
        return milliseconds / 1000.0;
    }

    double TakeFraction() {
        if (rest_.size() < 2 || (rest_[0] != '.' && rest_[0] != ',') || !IsDigit(rest_[1]))
            return 0.0;
        rest_.remove_prefix(1);
        double digits = 0.0;
        double scale = 1.0;
        for (; !rest_.empty() && IsDigit(rest_.front()); rest_.remove_prefix(1)) {
            if (scale < 1e15) {
                digits = digits * 10.0 + (rest_.front() - '0');
                scale *= 10.0;
            }
        }
        stamp_.hasFraction = true;
        return digits / scale;
    }

    bool TakeHalfOfDay(int hour) {
        const std::string_view before = rest_;
        SkipBlanks();
        const bool morning = TakeChar("aA");
        const bool afternoon = !morning && TakeChar("pP");
        if (!morning && !afternoon) {
            rest_ = before;
            return true;
        }
        TakeChar(".");
        if (!TakeChar("mM") || hour < 1 || hour > 12)
            return false;
        TakeChar(".");
        if (afternoon != (hour == 12))
            stamp_.clockSeconds += afternoon ? 12 * hourSeconds : -12 * hourSeconds;
        return true;
    }

    bool TakeZone() {
        const std::string_view before = rest_;
        SkipBlanks();
        const std::string_view word = Letters();
        const std::string lower = LowerCase(word);
        if (lower == "z" || lower == "utc" || lower == "gmt") {
            rest_.remove_prefix(word.size());
            stamp_.hasZone = true;
            return rest_.empty() || rest_.front() != '+' || TakeOffset();
        }
        if (!rest_.empty() && (rest_.front() == '+' || rest_.front() == '-')) {
            if (TakeOffset())
                return true;
        }
        rest_ = before;
        return true;
    }

    /// +01:00, -0330, +2; a minus before a date ("10:00:00-01/02/2024") is none.
    bool TakeOffset() {
        const std::string_view before = rest_;
        const double sign = rest_.front() == '-' ? -1.0 : 1.0;
        rest_.remove_prefix(1);
        int hours = 0;
        int minutes = 0;
        const int digits = TakeDigits(hours);
        if (digits == 4) {
            minutes = hours % 100;
            hours /= 100;
        } else if (TakeChar(":") && TakeDigits(minutes) != 2) {
            hours = 99;
        }
        if (digits == 0 || digits == 3 || hours > 14 || minutes > 59 ||
            (!rest_.empty() && rest_.front() != ' ')) {
            rest_ = before;
            return false;
        }
        stamp_.hasZone = true;
        stamp_.zoneSeconds = sign * (hours * hourSeconds + minutes * 60.0);
        return true;
    }

    std::string_view rest_;
    Stamp& stamp_;
};

}  // namespace

bool ParseStamp(std::string_view cell, Stamp& stamp) {
    stamp = {};
    return StampParser(cell, stamp).Parse();
}

}  // namespace dravik
