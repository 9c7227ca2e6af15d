#include "dravik/exchange/Units.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <vector>

#include "dravik/exchange/Cells.h"
#include "general/Units.h"

namespace dravik {
namespace {

bool IsOneOf(std::string_view key, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), key) != words.end();
}

void ReplaceAll(std::string& text, std::string_view what, std::string_view by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

/// Lower case, no blanks, raised digits and the degree sign spelled out.
std::string KeyOf(std::string_view unit) {
    std::string key = LowerCase(BareUnit(unit));
    ReplaceAll(key, "\xC2\xB2", "2");
    ReplaceAll(key, "\xC2\xB3", "3");
    ReplaceAll(key, "\xC2\xB0", "deg");
    ReplaceAll(key, "\xC2\xBA", "deg");
    ReplaceAll(key, "\xC2\xB5", "u");
    ReplaceAll(key, "\xCE\xBC", "u");
    ReplaceAll(key, "^", "");
    ReplaceAll(key, " ", "");
    return key;
}

/// What stands in brackets without being a unit: how a value was made, serial numbers.
bool IsRemark(std::string_view text) {
    return text.find_first_of(":#") != std::string_view::npos ||
           text.find_first_not_of("0123456789") == std::string_view::npos ||
           IsOneOf(LowerCase(TrimmedCell(text)),
                   {"avg", "min", "max", "sum", "std", "smp", "mean", "average"});
}

/// Units that a name's last part is only behind a time or a depth: "p_min" is a least pressure.
bool IsDoubtfulSuffix(std::string_view text) {
    return text.size() == 1 || IsOneOf(LowerCase(text), {"min", "in"});
}

std::optional<NameAndUnit> SplitAtBracket(std::string_view caption) {
    if (caption.empty() || (caption.back() != ')' && caption.back() != ']'))
        return std::nullopt;
    const std::size_t open = caption.find(caption.back() == ')' ? '(' : '[');
    if (open == std::string_view::npos || open == 0)
        return std::nullopt;
    const std::string_view inside = TrimmedCell(caption.substr(open + 1, caption.size() - open - 2));
    const std::string_view name = TrimmedCell(caption.substr(0, open));
    const bool detached = caption[open - 1] == ' ';
    const bool isMinutes = LowerCase(inside) == "min" && NamesTime(name);
    if (inside.empty() || name.empty() || (IsRemark(inside) && !isMinutes) ||
        (!detached && !IsKnownUnit(inside)))
        return std::nullopt;
    return NameAndUnit{std::string(name), std::string(inside)};
}

std::optional<NameAndUnit> SplitAt(std::string_view caption, std::size_t mark) {
    const std::string_view unit = TrimmedCell(caption.substr(mark + 1));
    const std::string_view name = TrimmedCell(caption.substr(0, mark));
    if (name.empty() || unit.empty() || !IsKnownUnit(unit))
        return std::nullopt;
    if (caption[mark] == '_' && IsDoubtfulSuffix(unit) && !NamesTime(name) && !NamesDepth(name))
        return std::nullopt;
    return NameAndUnit{std::string(name), std::string(unit)};
}

std::optional<NameAndUnit> SplitAtMark(std::string_view caption) {
    if (const std::size_t comma = caption.rfind(','); comma != std::string_view::npos) {
        if (auto split = SplitAt(caption, comma))
            return split;
    }
    // From the left: "Flow_m3/h" is a flow in m3/h, not "Flow_m3" in hours.
    for (std::size_t at = caption.find_first_of("/_"); at != std::string_view::npos;
         at = caption.find_first_of("/_", at + 1)) {
        if (auto split = SplitAt(caption, at))
            return split;
    }
    return std::nullopt;
}

template <std::size_t n>
bool AnyWord(std::string_view name, const std::array<std::string_view, n>& words) {
    const std::vector<std::string> own = WordsOf(name);
    return std::any_of(own.begin(), own.end(), [&](const std::string& word) {
        return std::find(words.begin(), words.end(), word) != words.end();
    });
}

}  // namespace

std::string BareUnit(std::string_view text) {
    text = TrimmedCell(text);
    if (text.size() >= 2 &&
        ((text.front() == '(' && text.back() == ')') || (text.front() == '[' && text.back() == ']')))
        text = TrimmedCell(text.substr(1, text.size() - 2));
    return std::string(text);
}

std::optional<double> SecondsPer(std::string_view unit) {
    const std::string key = KeyOf(unit);
    if (IsOneOf(key, {"s", "sec", "secs", "second", "seconds", "sec."}))
        return 1.0;
    if (IsOneOf(key, {"ms", "msec", "msecs", "millis", "millisecond", "milliseconds"}))
        return 0.001;
    if (IsOneOf(key, {"min", "mins", "minute", "minutes"}))
        return 60.0;
    if (IsOneOf(key, {"h", "hr", "hrs", "hour", "hours", "hour(s)"}))
        return 3600.0;
    return IsOneOf(key, {"d", "day", "days", "day(s)"}) ? std::optional(86400.0) : std::nullopt;
}

std::optional<double> FeetPer(std::string_view unit) {
    const std::string key = KeyOf(unit);
    if (IsOneOf(key, {"ft", "f", "foot", "feet"}))
        return 1.0;
    if (IsOneOf(key, {"m", "metre", "metres", "meter", "meters", "metre(s)", "meter(s)"}))
        return 1.0 / vorela::metresPerFoot;
    if (IsOneOf(key, {"in", "inch", "inches"}))
        return 1.0 / 12.0;
    return key == ".1in" ? std::optional(1.0 / 120.0) : std::nullopt;
}

std::optional<double> PascalsPer(std::string_view unit) {
    return IsPsi(unit) ? std::nullopt : vorela::PascalsPer(KeyOf(unit));
}

bool IsPsi(std::string_view unit) {
    return IsOneOf(KeyOf(unit), {"psi", "psia", "psig"});
}

double PsiOfPascals(double pascals) {
    return pascals / vorela::pascalsPerPsi;
}

bool IsKnownUnit(std::string_view text) {
    if (text.empty() || text.size() > 16)
        return false;
    const std::string key = KeyOf(text);
    return SecondsPer(key) || FeetPer(key) || PascalsPer(key) || IsPsi(key) ||
           IsOneOf(key, {"degc", "degf", "c",     "f",     "k",     "v",     "mv",  "volts", "a",    "ma",
                         "%",    "hz",   "rpm",   "rps",   "m/s",   "ft/s",  "l/s", "l/min", "m3/h", "m3/s",
                         "m3/d", "gpm",  "bbl/d", "us/cm", "ms/cm", "g/cm3", "cm",  "mm",    "ts",   "rn"});
}

NameAndUnit SplitUnit(std::string_view caption) {
    caption = TrimmedCell(caption);
    if (const auto split = SplitAtBracket(caption))
        return *split;
    // "Temp, degC (S/N: 20412)": the remark goes, the unit before it counts.
    std::string_view rest = caption;
    const std::size_t open =
        caption.empty() || caption.back() != ')' ? std::string_view::npos : caption.find(" (");
    if (open != std::string_view::npos &&
        IsRemark(TrimmedCell(caption.substr(open + 2, caption.size() - open - 3))))
        rest = TrimmedCell(caption.substr(0, open));
    if (const auto split = SplitAtMark(rest))
        return *split;
    return {std::string(caption), ""};
}

bool NamesTime(std::string_view name) {
    static constexpr std::array<std::string_view, 34> words{
        "time",  "date", "datetime", "timestamp", "datum",   "zeit",  "uhrzeit", "heure",   "hora",
        "fecha", "tijd", "tid",      "ora",       "elapsed", "epoch", "t",       "seconds", "second",
        "secs",  "sec",  "s",        "minutes",   "minute",  "mins",  "hours",   "hour",    "hrs",
        "hr",    "days", "day",      "millis",    "ms",      "etim",  "etime"};
    return AnyWord(name, words);
}

bool NamesDepth(std::string_view name) {
    static constexpr std::array<std::string_view, 4> words{"depth", "dept", "md", "tvd"};
    return AnyWord(name, words);
}

bool NamesCounter(std::string_view name) {
    static constexpr std::array<std::string_view, 13> words{"record", "rec",     "no",    "nr",    "id",
                                                            "sample", "samples", "row",   "count", "num",
                                                            "index",  "rn",      "number"};
    return name.find('#') != std::string_view::npos || AnyWord(name, words);
}

}  // namespace dravik
