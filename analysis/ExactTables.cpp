#include "analysis/ExactTables.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "analysis/modQuicklook.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr const char* none = "-";
constexpr double percent = 100;

std::string Cell(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? FormatNumber(*value) : none;
}

std::string GradeCell(const std::optional<char>& grade) {
    return grade ? std::string(1, *grade) : std::string(none);
}

/// Two digits of the error, at most nine decimals; nothing without an error.
std::optional<int> DecimalsOf(const std::optional<double>& sigma) {
    constexpr int mostDecimals = 9;
    if (!sigma || !std::isfinite(*sigma) || !(*sigma > 0.0))
        return std::nullopt;
    return std::clamp(1 - static_cast<int>(std::floor(std::log10(*sigma))), 0, mostDecimals);
}

std::string Cell(const std::optional<double>& value, const std::optional<int>& decimals) {
    if (!value || !std::isfinite(*value) || !decimals)
        return Cell(value);
    const std::string pattern =
        *decimals > 0 ? "0." + std::string(static_cast<std::size_t>(*decimals), '0') : "0";
    return FormatByPattern(*value, pattern);
}

std::string RangeCell(const ExactRange& range, const std::optional<int>& decimals) {
    if (!range.lower && !range.upper)
        return none;
    if (!range.upper)
        return "from " + Cell(range.lower, decimals);
    return (range.lower ? Cell(range.lower, decimals) + " " : "") + "to " + Cell(range.upper, decimals);
}

/// In pressure amplitudes, whose error is one part in the ratio of signal to noise.
std::string DriftText(const ExactCycle& cycle) {
    const double signalToNoise = cycle.snrPressure.value_or(0.0);
    return Cell(cycle.drift, signalToNoise > 0.0 ? DecimalsOf(1.0 / signalToNoise) : std::nullopt);
}

/// Of the permeability, mD.
std::optional<double> SigmaOf(const ExactEstimate& estimate) {
    if (!estimate.permeability || !estimate.sigmaLnPermeability)
        return std::nullopt;
    return *estimate.permeability * *estimate.sigmaLnPermeability;
}

/// k, its error and range; S, its error and range.
std::vector<std::string> EstimateCells(const ExactEstimate& estimate) {
    const std::optional<double> sigma = SigmaOf(estimate);
    const auto skinDecimals = DecimalsOf(estimate.sigmaSkin);
    return {
        PermeabilityText(estimate), Cell(sigma, DecimalsOf(sigma)),         PermeabilityRangeText(estimate),
        SkinText(estimate),         Cell(estimate.sigmaSkin, skinDecimals), SkinRangeText(estimate)};
}

std::string RangeCaption(double confidence) {
    return FormatNumber(confidence) + " % range";
}

std::vector<std::string> ResultCells(const ExactInterval& interval) {
    const ExactEstimate* recommended = interval.Recommended();
    const ExactEstimate shown = recommended != nullptr ? *recommended : ExactEstimate{};
    std::vector<std::string> cells = EstimateCells(shown);
    cells.insert(cells.end(), {GradeCell(interval.grade), Cell(shown.pValue),
                               recommended != nullptr ? MethodName(interval.recommended) : none});
    return cells;
}

std::vector<std::string> ResultHeader(double confidence) {
    const std::string range = RangeCaption(confidence);
    return {"k (mD)", "+-", range, "Skin", "+-", range, "Grade", "p", "Method"};
}

void Append(std::vector<std::string>& row, const std::vector<std::string>& cells) {
    row.insert(row.end(), cells.begin(), cells.end());
}

void AddMethod(TextRows& rows, const ExactInterval& interval, ExactMethod method,
               const ExactEstimate& estimate) {
    std::vector<std::string> row{MethodName(method)};
    Append(row, EstimateCells(estimate));
    Append(row, {Cell(estimate.pValue), interval.recommended == method ? "recommended" : ""});
    rows.push_back(std::move(row));
}

}  // namespace

std::string PermeabilityText(const ExactEstimate& estimate) {
    return Cell(estimate.permeability, DecimalsOf(SigmaOf(estimate)));
}

std::string SkinText(const ExactEstimate& estimate) {
    return Cell(estimate.skin, DecimalsOf(estimate.sigmaSkin));
}

// A lower end that the error's decimals would make 0 keeps digits of its own: permeability is above 0 anyhow.
std::string PermeabilityRangeText(const ExactEstimate& estimate) {
    const auto decimals = DecimalsOf(SigmaOf(estimate));
    const std::optional<double>& lower = estimate.permeabilityRange.lower;
    const bool lost = lower && decimals && *lower > 0.0 && *lower < std::pow(10.0, -*decimals);
    return RangeCell(estimate.permeabilityRange, lost ? std::nullopt : decimals);
}

std::string SkinRangeText(const ExactEstimate& estimate) {
    return RangeCell(estimate.skinRange, DecimalsOf(estimate.sigmaSkin));
}

TextRows ExactRows(const ExactResults& results) {
    TextRows rows;
    if (results.intervals.empty())
        return rows;
    rows.push_back({"Exact: interval (ft)"});
    Append(rows.back(), ResultHeader(results.confidence));
    for (const ExactInterval& interval : results.intervals) {
        rows.push_back({interval.label});
        Append(rows.back(), ResultCells(interval));
    }
    return rows;
}

TextRows ExactComparisonRows(const ExactResults& results) {
    TextRows rows;
    if (results.intervals.empty())
        return rows;
    rows.push_back({"Interval (ft)", "Quicklook k (mD)", "Quicklook skin"});
    Append(rows.back(), ResultHeader(results.confidence));
    rows.back().push_back("Messages");
    for (std::size_t i = 0; i < results.intervals.size(); ++i) {
        const ExactInterval& interval = results.intervals[i];
        const QuicklookRecord quicklook =
            i + 1 < CurrentQuicklook().size() ? CurrentQuicklook()[i + 1] : QuicklookRecord{};
        rows.push_back({interval.label, Cell(quicklook.permeability), Cell(quicklook.skin)});
        Append(rows.back(), ResultCells(interval));
        rows.back().push_back(Joined(interval.messages, "; "));
    }
    return rows;
}

TextRows ExactMethodRows(const ExactInterval& interval, double confidence) {
    const std::string range = RangeCaption(confidence);
    TextRows rows{{"Method", "k (mD)", "+-", range, "Skin", "+-", range, "p", ""}};
    AddMethod(rows, interval, ExactMethod::single, interval.single);
    AddMethod(rows, interval, ExactMethod::joint, interval.joint);
    AddMethod(rows, interval, ExactMethod::storage, interval.storage);
    if (interval.constrained)
        AddMethod(rows, interval, ExactMethod::constrained, *interval.constrained);
    // A second opinion on a skin that is clearly negative; nearer to zero the two say the same.
    constexpr double clearlyNegative = -0.5;
    if (interval.enlargedWell && interval.single.skin.value_or(0.0) < clearlyNegative) {
        rows.push_back({"enlarged well"});
        Append(rows.back(), EstimateCells(*interval.enlargedWell));
        Append(rows.back(), {none, ""});
    }
    return rows;
}

TextRows ExactCycleRows(const ExactLevel& level) {
    TextRows rows;
    if (level.cycles.empty())
        return rows;
    rows.push_back({"Cycle", "Grade", "Pressure S/N", "Flow S/N", "Phase error (deg)", "Deviation (sigma)",
                    "Drift (amplitudes)", "Period off (%)", "Periods", "Filled (%)"});
    for (const ExactCycle& cycle : level.cycles)
        rows.push_back({FormatNumber(cycle.number), GradeCell(cycle.grade), Cell(cycle.snrPressure),
                        Cell(cycle.snrFlow), Cell(cycle.phaseSigma), Cell(cycle.deviation), DriftText(cycle),
                        Cell(cycle.periodError * percent), FormatNumber(cycle.periods),
                        Cell(cycle.filled * percent)});
    return rows;
}

TextRows ExactBudgetRows(const ExactInterval& interval) {
    TextRows rows;
    if (interval.budget.empty())
        return rows;
    rows.push_back({"Error of", "by", "changes k (%)", "changes skin"});
    for (const ExactBudgetLine& line : interval.budget) {
        std::optional<double> share;
        if (line.lnPermeability)
            share = std::expm1(*line.lnPermeability) * percent;
        rows.push_back({line.input, line.step, Cell(share), Cell(line.skin)});
    }
    return rows;
}

std::vector<std::string> ExactMessages(const ExactResults& results) {
    std::vector<std::string> lines;
    for (const ExactInterval& interval : results.intervals)
        for (const std::string& message : interval.messages)
            lines.push_back(interval.label + ": " + message);
    return lines;
}

}  // namespace vorela
