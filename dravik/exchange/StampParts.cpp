#include "dravik/exchange/StampParts.h"

#include <date/date.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "dravik/exchange/Cells.h"

namespace dravik {
namespace {

constexpr double hourSeconds = 3600.0;

struct PartWord {
    std::string_view word;
    StampPart part;
};

std::optional<StampPart> PartOfWord(std::string_view word) {
    static constexpr std::array<PartWord, 62> words{{{"year", StampPart::year},
                                                     {"yr", StampPart::year},
                                                     {"yyyy", StampPart::year},
                                                     {"yy", StampPart::year},
                                                     {"jahr", StampPart::year},
                                                     {"annee", StampPart::year},
                                                     {"ann\xC3\xA9"
                                                      "e",
                                                      StampPart::year},
                                                     {"ano", StampPart::year},
                                                     {"a\xC3\xB1o", StampPart::year},
                                                     {"anno", StampPart::year},
                                                     {"jaar", StampPart::year},
                                                     {"month", StampPart::month},
                                                     {"mon", StampPart::month},
                                                     {"mo", StampPart::month},
                                                     {"monat", StampPart::month},
                                                     {"mois", StampPart::month},
                                                     {"mes", StampPart::month},
                                                     {"mese", StampPart::month},
                                                     {"maand", StampPart::month},
                                                     {"day", StampPart::day},
                                                     {"dy", StampPart::day},
                                                     {"dd", StampPart::day},
                                                     {"tag", StampPart::day},
                                                     {"jour", StampPart::day},
                                                     {"dia", StampPart::day},
                                                     {"d\xC3\xAD"
                                                      "a",
                                                      StampPart::day},
                                                     {"giorno", StampPart::day},
                                                     {"dag", StampPart::day},
                                                     {"doy", StampPart::dayOfYear},
                                                     {"jday", StampPart::dayOfYear},
                                                     {"yday", StampPart::dayOfYear},
                                                     {"julian", StampPart::dayOfYear},
                                                     {"hour", StampPart::hour},
                                                     {"hours", StampPart::hour},
                                                     {"hr", StampPart::hour},
                                                     {"hh", StampPart::hour},
                                                     {"stunde", StampPart::hour},
                                                     {"std", StampPart::hour},
                                                     {"heure", StampPart::hour},
                                                     {"hora", StampPart::hour},
                                                     {"ora", StampPart::hour},
                                                     {"uur", StampPart::hour},
                                                     {"minute", StampPart::minute},
                                                     {"minutes", StampPart::minute},
                                                     {"min", StampPart::minute},
                                                     {"mi", StampPart::minute},
                                                     {"mn", StampPart::minute},
                                                     {"minuto", StampPart::minute},
                                                     {"minuut", StampPart::minute},
                                                     {"second", StampPart::second},
                                                     {"seconds", StampPart::second},
                                                     {"sec", StampPart::second},
                                                     {"secs", StampPart::second},
                                                     {"ss", StampPart::second},
                                                     {"sekunde", StampPart::second},
                                                     {"sek", StampPart::second},
                                                     {"seconde", StampPart::second},
                                                     {"segundo", StampPart::second},
                                                     {"secondo", StampPart::second},
                                                     {"minuten", StampPart::minute},
                                                     {"sekunden", StampPart::second},
                                                     {"stunden", StampPart::hour}}};
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const PartWord& w) { return w.word == word; });
    return found == words.end() ? std::nullopt : std::optional(found->part);
}

/// The words of a name that say what it is: "Hour (UTC)" is hour.
std::vector<std::string> TellingWords(const std::string& name) {
    static constexpr std::array<std::string_view, 7> idle{"utc", "gmt", "local", "lst", "time", "date", "of"};
    std::vector<std::string> words = WordsOf(name);
    std::erase_if(words, [](const std::string& word) {
        return std::find(idle.begin(), idle.end(), word) != idle.end();
    });
    return words;
}

std::optional<StampPart> PartOfLetter(const std::string& letter) {
    return letter == "y"   ? std::optional(StampPart::year)
           : letter == "d" ? std::optional(StampPart::day)
           : letter == "h" ? std::optional(StampPart::hour)
           : letter == "s" ? std::optional(StampPart::second)
                           : std::nullopt;
}

/// The numbers of a row, one a part.
struct PartNumbers {
    std::array<std::optional<double>, stampParts> value{};
    const std::optional<double>& operator[](StampPart part) const {
        return value[static_cast<std::size_t>(part)];
    }
    bool IsFinest(StampPart part) const {
        for (auto i = static_cast<std::size_t>(part) + 1; i < stampParts; ++i) {
            if (value[i])
                return false;
        }
        return true;
    }
    /// Whole, unless it is the finest part of a clock.
    bool IsSound(StampPart part, double least, double most) const {
        const std::optional<double>& v = (*this)[part];
        const bool whole = part < StampPart::hour || !IsFinest(part);
        return !v || (*v >= least && *v < most && (!whole || *v == std::floor(*v)));
    }
};

bool AreSound(const PartNumbers& numbers) {
    constexpr double unbounded = 1e6;
    constexpr double withLeapSecond = 61.0;
    const bool isShort = numbers[StampPart::year] && *numbers[StampPart::year] < 100.0;
    return numbers.IsSound(StampPart::year, isShort ? 0.0 : 1000.0, 10000.0) &&
           numbers.IsSound(StampPart::month, 1.0, 13.0) && numbers.IsSound(StampPart::day, 1.0, 32.0) &&
           numbers.IsSound(StampPart::dayOfYear, 1.0, 367.0) &&
           numbers.IsSound(StampPart::hour, 0.0, numbers[StampPart::year] ? 25.0 : unbounded) &&
           numbers.IsSound(StampPart::minute, 0.0, numbers[StampPart::hour] ? 60.0 : unbounded) &&
           numbers.IsSound(StampPart::second, 0.0, withLeapSecond);
}

/// From 1 January on; a day 366 of another year than a leap year leaves no day that exists.
void CountDays(int dayOfYear, Stamp& stamp) {
    const std::int64_t first = DayOf(stamp, DateOrder::ymd).value_or(0);
    const date::year_month_day day{date::sys_days{date::days{first + dayOfYear - 1}}};
    const date::year_month_day newYear{date::sys_days{date::days{first}}};
    const bool sameYear = day.year() == newYear.year();
    stamp.parts[1] = sameYear ? static_cast<int>(static_cast<unsigned>(day.month())) : 0;
    stamp.parts[2] = static_cast<int>(static_cast<unsigned>(day.day()));
}

Stamp StampOfNumbers(const PartNumbers& numbers) {
    Stamp stamp;
    const auto whole = [&](StampPart part) { return static_cast<int>(numbers[part].value_or(1.0)); };
    if (numbers[StampPart::year]) {
        stamp.hasDate = true;
        stamp.shortYear = *numbers[StampPart::year] < 100.0;
        stamp.parts = {whole(StampPart::year), whole(StampPart::month), whole(StampPart::day)};
        if (numbers[StampPart::dayOfYear])
            CountDays(whole(StampPart::dayOfYear), stamp);
        stamp.orders = DayOf(stamp, DateOrder::ymd) ? SetOf(DateOrder::ymd) : DateOrderSet{0};
        stamp.orderIsPlain = true;
    }
    const std::optional<double>& second = numbers[StampPart::second];
    stamp.hasClock = numbers[StampPart::hour] || numbers[StampPart::minute];
    stamp.minutesOnly = stamp.hasClock && !numbers[StampPart::hour];
    stamp.hasFraction = second && *second != std::floor(*second);
    stamp.clockSeconds = numbers[StampPart::hour].value_or(0.0) * hourSeconds +
                         numbers[StampPart::minute].value_or(0.0) * 60.0 + second.value_or(0.0);
    return stamp;
}

}  // namespace

std::vector<std::optional<StampPart>> PartsNamed(const std::vector<std::string>& names) {
    std::vector<std::optional<StampPart>> parts(names.size());
    std::vector<std::vector<std::string>> words;
    words.reserve(names.size());
    for (const std::string& name : names)
        words.push_back(TellingWords(name));
    bool hasYear = false;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (words[i].size() == 1)
            parts[i] = PartOfWord(words[i].front());
        if (words[i] == std::vector<std::string>{"day", "year"} ||
            words[i] == std::vector<std::string>{"julian", "day"})
            parts[i] = StampPart::dayOfYear;
        hasYear = hasYear || parts[i] == StampPart::year || words[i] == std::vector<std::string>{"y"};
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string only = words[i].size() == 1 ? words[i].front() : std::string();
        const bool behindHour = i > 0 && parts[i - 1] == StampPart::hour;
        if (only == "mm" || (only == "m" && hasYear))
            parts[i] = behindHour ? StampPart::minute : StampPart::month;
        else if (hasYear && only.size() == 1)
            parts[i] = PartOfLetter(only);
    }
    return parts;
}

bool ReadStampParts(const Row& row, const std::vector<std::size_t>& columns,
                    const std::vector<StampPart>& parts, const NumberFormat& numbers,
                    std::array<StampCache, 2>& cells, Stamp& stamp) {
    PartNumbers values;
    Stamp written;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string_view cell = row.Cell(columns[i]);
        double value = 0.0;
        if (parts[i] == StampPart::cell) {
            if (!cells[0].Parse(cell, written))
                return false;
        } else if (ReadNumber(cell, numbers, value) && std::isfinite(value)) {
            values.value[static_cast<std::size_t>(parts[i])] = value;
        } else {
            return false;
        }
    }
    if (!AreSound(values))
        return false;
    stamp = StampOfNumbers(values);
    const bool anyWritten = written.hasDate || written.hasClock;
    return (!stamp.hasDate || stamp.orders != 0) && (!anyWritten || JoinStamps(stamp, written));
}

bool JoinStamps(Stamp& stamp, const Stamp& second) {
    if (second.hasDate == stamp.hasDate)
        return second.hasDate != second.hasClock || !second.hasDate;
    const Stamp clock = second.hasDate ? stamp : second;
    if (second.hasDate)
        stamp = second;
    stamp.hasClock = true;
    stamp.clockSeconds = clock.clockSeconds;
    stamp.minutesOnly = clock.minutesOnly;
    stamp.hasFraction = clock.hasFraction;
    stamp.hasZone = clock.hasZone;
    stamp.zoneSeconds = clock.zoneSeconds;
    return true;
}

}  // namespace dravik
