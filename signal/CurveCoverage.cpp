#include "signal/CurveCoverage.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/DelimitedText.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/BandPassCurve.h"
#include "signal/DerivedRun.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* checkingCurves = "Checking derived curves";
constexpr const char* gettingInformation = "Getting filter information";
constexpr double lowestGain = 0.9;

std::optional<LevelCoverage> CoverageOfLevel(const DatasetRecord& record, int filterN) {
    const DravikDatabase database(record.database);
    if (!database.IsOpen())
        return std::nullopt;
    const CurveChoice& choice = CurrentSelection().choice;
    const auto pressure = Item::Find(database, ItemPath(record.dataset, choice.pressure));
    const auto flow = Item::Find(database, ItemPath(record.dataset, choice.flow));
    if (!pressure || !flow)
        return std::nullopt;
    const GridSpan p = FilteredSpanOf(pressure->Info(), filterN);
    const GridSpan q = FilteredSpanOf(flow->Info(), filterN);
    const auto length = [](const ItemInfo& info) {
        return info.IsEmpty() ? 0.0 : static_cast<double>(std::int64_t{info.extentLast} - info.extentFirst);
    };
    LevelCoverage coverage{record.dataset};
    coverage.recorded = SecondsOf(std::min(length(pressure->Info()), length(flow->Info())));
    coverage.from = SecondsOf(std::max(p.first, q.first));
    coverage.to = SecondsOf(std::min(p.last, q.last));
    const double left = coverage.to - coverage.from;
    coverage.wholeCycles =
        left > 0 ? static_cast<std::int64_t>(std::floor(left / CurrentParameters().period)) : 0;
    return coverage;
}

std::string Seconds(double seconds) {
    return FormatNumber(seconds) + " s";
}

std::string WordsFor(const LevelCoverage& level) {
    if (level.to < level.from)
        return "Warning: nothing of the recorded " + Seconds(level.recorded) + " can be filtered";
    const std::string span = "valid from " + Seconds(level.from) + " to " + Seconds(level.to);
    if (level.wholeCycles == 0)
        return "Warning: " + span + ", no whole cycle of " + Seconds(CurrentParameters().period);
    return span + ", " + std::to_string(level.wholeCycles) +
           (level.wholeCycles == 1 ? " whole cycle" : " whole cycles");
}

/// Gain of a kernel at a frequency in cycles per sample.
double GainAt(std::span<const float> kernel, double frequency) {
    std::complex<double> response = 0.0;
    for (std::size_t k = 0; k < kernel.size(); ++k)
        response += static_cast<double>(kernel[k]) *
                    std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(k));
    return std::abs(response);
}

/// Sampling steps of the selected datasets' input curves.
std::set<std::int16_t> InputSteps() {
    std::set<std::int16_t> steps;
    const CurveChoice& choice = CurrentSelection().choice;
    for (const DatasetRecord& record : CurrentSelection().datasets) {
        DravikDatabase database(record.database);
        if (!database.IsOpen())
            break;
        for (const std::string& name : {choice.pressure, choice.flow})
            if (const auto item = Item::Find(database, ItemPath(record.dataset, name)))
                steps.insert(item->Info().step);
    }
    return steps;
}

/// One line on the band pass of curves with this sampling step.
std::string BandPassLine(std::int16_t filterN, std::int16_t step, bool& warning) {
    const ParameterSet& p = CurrentParameters();
    const double stepSeconds = SecondsOf(step);
    const std::string sampling = "Band pass at a sampling of " + Seconds(stepSeconds) + ": ";
    const double length = filterN * p.period * step;
    if (!(RoundHalfEven(length) >= 1.0 &&
          RoundHalfEven(length) <= std::numeric_limits<std::int16_t>::max())) {
        warning = true;
        return sampling + "the kernel would need " + FormatNumber(RoundHalfEven(length)) +
               " samples, 1 to 32767 can be had";
    }
    const KernelDesign design = DesignFor(p.period, filterN, step);
    const double gain = GainAt(SharedKernel(design)->Values(), stepSeconds / p.period);
    std::string line = sampling + "periods from " + Seconds(stepSeconds / design.fc2) + " to " +
                       Seconds(stepSeconds / design.fc1) + ", gain " + FormatByPattern(gain, "0.000") +
                       " at " + Seconds(p.period);
    if (gain < lowestGain) {
        warning = true;
        line += " - Warning: the period of test is weakened";
    }
    return line;
}

FilterAdvice DescribePassBand(std::int16_t filterN) {
    const ParameterSet& p = CurrentParameters();
    if (p.bandPass == 0)
        return {"Half-period difference: gain 1 at " + Seconds(p.period) +
                ", constants and straight lines are removed"};
    FilterAdvice advice;
    std::vector<std::string> lines;
    for (const std::int16_t step : InputSteps())
        lines.push_back(BandPassLine(filterN, step, advice.warning));
    advice.text = Joined(lines, "\n");
    return advice;
}

void AddOnce(std::vector<std::string>& names, const std::string& name) {
    if (std::ranges::find(names, name) == names.end())
        names.push_back(name);
}

/// Curves that were made in another way than the settings in force say.
struct StaleCurves {
    std::vector<std::string> curves;
    std::vector<std::string> datasets;
};
/// By how they were made and how they would be made now.
using WaysOfMaking = std::map<std::pair<std::string, std::string>, StaleCurves>;

void AddIfStale(const Database& database, const std::string& dataset, const std::string& curve,
                const std::string& wanted, WaysOfMaking& ways) {
    const auto item = Item::Find(database, ItemPath(dataset, curve));
    if (!item || item->Info().made.empty() || item->Info().made == wanted)
        return;
    StaleCurves& stale = ways[{item->Info().made, wanted}];
    AddOnce(stale.curves, curve);
    AddOnce(stale.datasets, dataset);
}

WaysOfMaking WaysOfStaleCurves() {
    WaysOfMaking ways;
    const Selection& selection = CurrentSelection();
    for (const DatasetRecord& record : selection.datasets) {
        const DravikDatabase database(record.database);
        if (!database.IsOpen())
            break;
        for (const std::string& curve :
             {FilteredPressureName(selection.choice), FilteredFlowName(selection.choice)})
            AddIfStale(database, record.dataset, curve, FilterDescription(), ways);
        AddIfStale(database, record.dataset, DravikFilteredFlowName(selection.choice),
                   FilteredFlowDescription(), ways);
    }
    return ways;
}

}  // namespace

std::vector<LevelCoverage> FilteredCoverage(int filterN) {
    std::vector<LevelCoverage> levels;
    for (const DatasetRecord& record : CurrentSelection().datasets)
        if (auto level = CoverageOfLevel(record, filterN))
            levels.push_back(*std::move(level));
    return levels;
}

FilterAdvice DescribeCoverage(int filterN) {
    FilterAdvice advice;
    std::vector<LevelCoverage> levels;
    try {
        levels = FilteredCoverage(filterN);
    } catch (...) {
        return {"Warning: " + ErrorFromCurrentException("CurveCoverage").description, true};
    }
    std::vector<std::pair<std::string, std::string>> lines;  // words, datasets
    for (const LevelCoverage& level : levels) {
        advice.warning = advice.warning || level.wholeCycles == 0;
        const std::string words = WordsFor(level);
        const auto known = std::ranges::find(lines, words, [](const auto& line) { return line.first; });
        if (known == lines.end())
            lines.emplace_back(words, level.dataset);
        else
            known->second += ", " + level.dataset;
    }
    std::vector<std::string> texts;
    for (const auto& [words, datasets] : lines)
        texts.push_back(datasets + ": " + words);
    advice.text = Joined(texts, "\n");
    return advice;
}

FilterAdvice GetPassBand(int filterN) {
    return Attempt(gettingInformation, FilterAdvice{},
                   [&] { return DescribePassBand(CheckedNarrow<std::int16_t>(filterN, "CurveCoverage")); });
}

std::vector<std::string> StaleCurveLines() {
    std::vector<std::string> lines;
    for (const auto& [way, stale] : Attempt(checkingCurves, WaysOfMaking{}, WaysOfStaleCurves))
        lines.push_back(Joined(stale.curves, ", ") + " of " + Joined(stale.datasets, ", ") +
                        (stale.curves.size() == 1 ? " was" : " were") + " made by \"" + way.first +
                        "\", the settings say \"" + way.second + "\"");
    return lines;
}

}  // namespace vorela
