#include "dravik/exchange/ValveTimes.h"

#include <cmath>
#include <functional>
#include <limits>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/Stamp.h"
#include "dravik/exchange/TextFile.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

/// A time in hundredths from the start of recording.
std::optional<double> TimeOf(std::string_view text, std::int32_t start) {
    if (const std::optional<double> seconds = vorela::StrictNumber(text))
        return *seconds * indexPerUnit;
    Stamp stamp;
    if (!ParseStamp(TrimmedCell(text), stamp) || !stamp.hasDate || !stamp.hasClock)
        return std::nullopt;
    for (const DateOrder order : {DateOrder::ymd, DateOrder::dmy, DateOrder::mdy}) {
        if (stamp.orders == SetOf(order))
            return (static_cast<double>(DayOf(stamp, order).value_or(0)) * 86400.0 + stamp.clockSeconds -
                    start) *
                   100.0;
    }
    return std::nullopt;
}

/// The code behind a time, cut off the text; 0 for none.
int TakeCode(std::string_view& text) {
    const std::size_t last = text.find_last_of(" \t,;");
    if (last == std::string_view::npos)
        return 0;
    const std::string_view word = text.substr(last + 1);
    if (word != "1" && word != "3")
        return 0;
    text = TrimmedCell(text.substr(0, text.find_last_not_of(" \t,;", last) + 1));
    return word == "3" ? 3 : 1;
}

/// Calls `visit(index, value)` for every sample of a curve.
void ForEachSample(const Item& curve, const std::function<void(double, double)>& visit) {
    const ItemInfo& information = curve.Info();
    std::vector<float> values(static_cast<std::size_t>(blockRows));
    std::vector<std::uint8_t> present(values.size());
    for (std::int64_t row = 0; row < information.RowCount(); row += blockRows) {
        const std::int64_t count = std::min(blockRows, information.RowCount() - row);
        const auto first = static_cast<std::int32_t>(information.extentFirst + row * information.step);
        curve.ReadPresent(first, count, values.data(), present.data());
        for (std::int64_t i = 0; i < count; ++i) {
            if (present[static_cast<std::size_t>(i)] != 0)
                visit(static_cast<double>(first) + static_cast<double>(i) * information.step,
                      static_cast<double>(values[static_cast<std::size_t>(i)]));
        }
    }
}

}  // namespace

std::vector<ValveChange> ReadValveTimes(const std::string& file, std::int32_t start) {
    std::vector<ValveChange> changes;
    try {
        const TextFile text(file, {});
        LineReader reader(text);
        std::string_view line;
        while (reader.Next(line)) {
            line = TrimmedCell(line);
            if (line.empty() || line.front() == '#')
                continue;
            const std::string where = "line " + std::to_string(reader.Here().line - 1) + ": ";
            const std::string shown = QuotedCell(line);
            const int code = TakeCode(line);
            const std::optional<double> time = TimeOf(line, start);
            if (!time)
                throw ExchangeError(where + shown +
                                    " is no time (seconds, or date and clock), with a code 1 or 3 or none");
            if (!changes.empty() && *time <= changes.back().time)
                throw ExchangeError(where + "its time is not behind the one before");
            const int next = changes.empty() || changes.back().code == 1 ? 3 : 1;
            changes.push_back({*time, code != 0 ? code : next});
        }
    } catch (const ExchangeError& error) {
        throw DatasetError(file + ": " + error.what());
    }
    return changes;
}

std::vector<ValveChange> FindCrossings(const Item& curve, const Threshold& threshold) {
    std::vector<ValveChange> changes;
    double crossing = std::numeric_limits<double>::quiet_NaN();
    double beforeIndex = 0.0;
    double before = std::numeric_limits<double>::quiet_NaN();
    int side = 0;  // 1 above the band, -1 below it, 0 not known yet
    ForEachSample(curve, [&](double index, double value) {
        const double away = value - threshold.value;
        if ((before < 0.0) != (away < 0.0) && !std::isnan(before))
            crossing = std::round(beforeIndex + (index - beforeIndex) * before / (before - away));
        before = away;
        beforeIndex = index;
        const int now = away >= threshold.hysteresis / 2.0    ? 1
                        : away <= -threshold.hysteresis / 2.0 ? -1
                                                              : side;
        if (side != 0 && now != side)
            changes.push_back({crossing, (now > 0) != threshold.invert ? 3 : 1});
        side = now;
    });
    return changes;
}

std::vector<ValveChange> FindCodeChanges(const Item& curve, const CodeMap& map) {
    std::vector<ValveChange> changes;
    int code = 0;
    ForEachSample(curve, [&](double index, double value) {
        const auto single = static_cast<float>(value);
        const int now = single == map.three ? 3 : single == map.one ? 1 : code;
        if (code != 0 && now != code)
            changes.push_back({index, now});
        code = now;
    });
    return changes;
}

}  // namespace dravik
