#include "dravik/exchange/ChoiceText.h"

#include <cmath>
#include <optional>

#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/Units.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr double greatestDepth = 100000.0;  // ft

std::size_t LineOf(const std::string& text) {
    const std::optional<double> number = vorela::StrictNumber(text);
    if (!number || *number < 1.0 || *number != std::floor(*number) || *number > 1e15)
        throw ChoiceError("lines are numbers from 1 on, or two with - between");
    return static_cast<std::size_t>(*number);
}

}  // namespace

double DepthOfText(const std::string& text) {
    const std::size_t end = text.find_last_of("0123456789.") + 1;
    const std::optional<double> value = vorela::StrictNumber(text.substr(0, end));
    const std::string unit = BareUnit(text.substr(end));
    const std::optional<double> feet = unit.empty() ? std::optional(1.0) : FeetPer(unit);
    if (!value || !feet || !(std::abs(*value * *feet) <= greatestDepth))
        throw ChoiceError("a depth is a number, of feet or with m behind (8120, 2475m)");
    return *value * *feet;
}

char SeparatorOfText(const std::string& text) {
    if (text == "tab" || text == "\\t")
        return '\t';
    if (text == "blanks")
        return ' ';
    if (text.size() != 1 || text == "\"" || text == "\n")
        throw ChoiceError("one character, tab or blanks");
    return text.front();
}

char DecimalOfText(const std::string& text) {
    if (text != "," && text != ".")
        throw ChoiceError("a comma or a point");
    return text.front();
}

LineRange LinesOfText(const std::string& text) {
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos)
        return {LineOf(text), LineOf(text)};
    return {LineOf(text.substr(0, dash)), LineOf(text.substr(dash + 1))};
}

}  // namespace dravik
