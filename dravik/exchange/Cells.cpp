#include "dravik/exchange/Cells.h"

#include <algorithm>
#include <array>

#include "dravik/exchange/Stamp.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}

bool IsCapital(char c) {
    return c >= 'A' && c <= 'Z';
}

char Lower(char c) {
    return IsCapital(c) ? static_cast<char>(c + 32) : c;
}

bool IsExponent(std::string_view text) {
    if (text.empty() || (text.front() != 'e' && text.front() != 'E'))
        return false;
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '+' || text.front() == '-'))
        text.remove_prefix(1);
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

/// Several marks are thousands of one kind, at most closed by one mark of the other kind.
bool MarksMakeSense(const NumberShape& shape) {
    const std::size_t marks = shape.points + shape.commas;
    if (marks < 2)
        return true;
    if (!shape.groupsOfThree)
        return false;
    return shape.points == 0 || shape.commas == 0 ||
           (shape.lastMark == '.' ? shape.points : shape.commas) == 1;
}

}  // namespace

std::string QuotedCell(std::string_view cell) {
    constexpr std::size_t shown = 40;
    std::string text(cell.substr(0, shown));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return "\"" + text + (cell.size() > shown ? "...\"" : "\"");
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

std::vector<std::string> WordsOf(std::string_view name) {
    std::vector<std::string> words;
    char before = ' ';
    for (const char c : name) {
        const bool inWord = IsLetter(c) || IsDigit(c);
        const bool begins = !IsLetter(before) && !IsDigit(before);
        if (inWord && (begins || (IsCapital(c) && IsLetter(before) && !IsCapital(before))))
            words.emplace_back();
        if (inWord)
            words.back() += Lower(c);
        before = c;
    }
    return words;
}

bool IsNullText(std::string_view cell) {
    if (cell.empty() || cell.front() == '#')
        return true;
    if (cell.find_first_not_of('*') == std::string_view::npos || cell == "--" || cell == "---" || cell == "-")
        return true;
    if (cell.front() == '+' || cell.front() == '-')
        cell.remove_prefix(1);
    static constexpr std::array<std::string_view, 13> words{"nan",  "na",       "n/a",     "null",  "(null)",
                                                            "none", "nil",      "err",     "error", "missing",
                                                            "inf",  "infinity", "nan(ind)"};
    if (cell.size() >= 4 && cell[1] == '.' && cell[2] == '#' && IsDigit(cell[0]))
        return true;  // 1.#QNAN, 1.#INF, 1.#IND of an old run-time library
    return cell.size() <= 8 && std::any_of(words.begin(), words.end(), [&](std::string_view word) {
               return vorela::EqualIgnoringCase(cell, word);
           });
}

bool ShapeOfNumber(std::string_view cell, NumberShape& shape) {
    shape = {};
    std::size_t at = !cell.empty() && (cell.front() == '+' || cell.front() == '-') ? 1 : 0;
    const std::size_t begin = at;
    std::size_t digits = 0;
    std::size_t run = 0;
    std::size_t marks = 0;
    for (; at < cell.size(); ++at) {
        if (IsDigit(cell[at])) {
            ++run;
            ++digits;
        } else if (cell[at] == '.' || cell[at] == ',') {
            (cell[at] == '.' ? shape.points : shape.commas) += 1;
            if (marks++ == 0)
                shape.firstDigits = run;
            const bool fits = marks == 1 ? run >= 1 && run <= 3 : run == 3;
            shape.groupsOfThree = shape.groupsOfThree && fits;
            shape.lastMark = cell[at];
            run = 0;
        } else {
            break;
        }
    }
    shape.zeroFirst = shape.firstDigits == 1 && cell[begin] == '0';
    shape.lastDigits = run;
    if (marks >= 2 && (shape.points == 0 || shape.commas == 0))
        shape.groupsOfThree = shape.groupsOfThree && run == 3;
    if (digits == 0 || !MarksMakeSense(shape))
        return false;
    return at == cell.size() || IsExponent(cell.substr(at));
}

CellKind KindOfCell(std::string_view cell) {
    NumberShape shape;
    if (cell.empty())
        return CellKind::null;
    if (ShapeOfNumber(cell, shape))
        return CellKind::number;
    if (IsNullText(cell))
        return CellKind::null;
    Stamp stamp;
    if (!ParseStamp(cell, stamp))
        return CellKind::text;
    if (stamp.hasDate)
        return stamp.hasClock ? CellKind::dateTime : CellKind::date;
    return CellKind::clock;
}

}  // namespace dravik
