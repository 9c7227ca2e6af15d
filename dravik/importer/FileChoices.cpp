// The texts of a file's controls as choices.
#include <algorithm>
#include <cmath>
#include <string_view>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/ChoiceText.h"
#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/importer/modImport.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

std::vector<std::string> PartsOf(const std::string& list) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        const std::string_view part = TrimmedCell(std::string_view(list).substr(begin, end - begin));
        if (!part.empty())
            parts.emplace_back(part);
        begin = end + 1;
    }
    return parts;
}

/// Reads one control after the other; a fault names the control.
class ControlReader {
  public:
    explicit ControlReader(std::vector<std::string>& faults) : faults_(faults) {}

    template <typename Read, typename Take>
    void Settle(const char* control, const std::string& text, Read read, Take take) {
        if (text.empty())
            return;
        try {
            take(read(text));
        } catch (const ChoiceError& error) {
            faults_.push_back(std::string(control) + " \"" + text + "\": " + error.what());
        }
    }

    /// A number of seconds (feet) in [least, most].
    static double Number(const std::string& text, double least, double most) {
        const std::optional<double> value = vorela::StrictNumber(TrimmedCell(text));
        if (!value || !(*value >= least && *value <= most))
            throw ChoiceError("a number from " + vorela::ShortestText(least) + " to " +
                              vorela::ShortestText(most));
        return *value;
    }

  private:
    std::vector<std::string>& faults_;
};

std::int16_t StepOfText(const std::string& text) {
    const double hundredths = ControlReader::Number(text, 0.01, 327.67) * indexPerUnit;
    if (std::abs(hundredths - std::round(hundredths)) > 1e-6)
        throw ChoiceError("whole hundredths");
    return static_cast<std::int16_t>(std::lround(hundredths));
}

DateOrder OrderOfText(const std::string& text) {
    for (const DateOrder order : {DateOrder::ymd, DateOrder::dmy, DateOrder::mdy}) {
        if (DateOrderName(order) == text)
            return order;
    }
    throw ChoiceError("ymd, dmy or mdy");
}

}  // namespace

Choices ChoicesOf(const FileControls& controls, std::vector<std::string>& faults) {
    Choices choices;
    ControlReader read(faults);
    read.Settle("Separator", controls.separator, SeparatorOfText, [&](char c) { choices.separator = c; });
    read.Settle("Decimal sign", controls.decimal, DecimalOfText, [&](char c) { choices.decimal = c; });
    choices.encoding = controls.encoding;
    read.Settle(
        "Line of names", controls.headerLine,
        [](const std::string& text) { return LinesOfText(std::string(TrimmedCell(text))).first; },
        [&](std::size_t line) { choices.headerLine = line; });
    for (const std::string& range : PartsOf(controls.leaveOut))
        read.Settle("Leave out lines", range, LinesOfText,
                    [&](LineRange lines) { choices.leaveOut.push_back(lines); });
    choices.nulls = PartsOf(controls.nulls);
    choices.time = PartsOf(controls.time);
    choices.timeUnit = controls.timeUnit;
    choices.timeFormat = TrimmedCell(controls.timeFormat);
    read.Settle("Date order", controls.dateOrder, OrderOfText,
                [&](DateOrder order) { choices.dateOrder = order; });
    read.Settle("Step", controls.step, StepOfText, [&](std::int16_t step) { choices.step = step; });
    const auto seconds = [](double least, double most) {
        return [=](const std::string& text) { return ControlReader::Number(text, least, most); };
    };
    read.Settle("Fill gaps", controls.fill, seconds(0.0, longestTime),
                [&](double value) { choices.fill = value; });
    read.Settle("Shift", controls.shift, seconds(-longestShift, longestShift),
                [&](double value) { choices.shift = value; });
    read.Settle("Depth", controls.depth, DepthOfText, [&](double value) { choices.depth = value; });
    return choices;
}

}  // namespace dravik
