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

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
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

PassBand DescribePassBand(std::int16_t filterN) {
    const ParameterSet& p = CurrentParameters();
    if (p.bandPass == 0)
        return {"Half-period difference: gain 1 at " + Seconds(p.period) +
                ", constants and straight lines are removed"};
    PassBand band;
    for (const std::int16_t step : InputSteps()) {
        const std::string line = BandPassLine(filterN, step, band.warning);
        band.text += (band.text.empty() ? "" : "\n") + line;
    }
    return band;
}

void AddIfStale(const Database& database, const StaleCurve& wanted, std::vector<StaleCurve>& stale) {
    const auto item = Item::Find(database, ItemPath(wanted.dataset, wanted.curve));
    if (!item || item->Info().made.empty() || item->Info().made == wanted.wanted)
        return;
    stale.push_back(wanted);
    stale.back().made = item->Info().made;
}

}  // namespace

std::vector<LevelCoverage> FilteredCoverage(int filterN) {
    std::vector<LevelCoverage> levels;
    for (const DatasetRecord& record : CurrentSelection().datasets)
        if (auto level = CoverageOfLevel(record, filterN))
            levels.push_back(*std::move(level));
    return levels;
}

CoverageText DescribeCoverage(int filterN) {
    CoverageText description;
    std::vector<LevelCoverage> levels;
    try {
        levels = FilteredCoverage(filterN);
    } catch (...) {
        return {"Warning: " + ErrorFromCurrentException("CurveCoverage").description, true};
    }
    std::vector<std::pair<std::string, std::vector<std::string>>> lines;  // words, datasets
    for (const LevelCoverage& level : levels) {
        description.warning = description.warning || level.wholeCycles == 0;
        const std::string words = WordsFor(level);
        const auto known = std::ranges::find(lines, words, [](const auto& line) { return line.first; });
        if (known == lines.end())
            lines.push_back({words, {level.dataset}});
        else
            known->second.push_back(level.dataset);
    }
    for (const auto& [words, datasets] : lines)
        description.text += (description.text.empty() ? "" : "\n") + Listed(datasets) + ": " + words;
    return description;
}

PassBand GetPassBand(int filterN) {
    return Attempt(gettingInformation, PassBand{},
                   [&] { return DescribePassBand(CheckedNarrow<std::int16_t>(filterN, "CurveCoverage")); });
}

std::vector<StaleCurve> StaleCurves() {
    return Attempt(checkingCurves, std::vector<StaleCurve>{}, [] {
        std::vector<StaleCurve> stale;
        const Selection& selection = CurrentSelection();
        for (const DatasetRecord& record : selection.datasets) {
            const DravikDatabase database(record.database);
            if (!database.IsOpen())
                break;
            for (const std::string& name :
                 {FilteredPressureName(selection.choice), FilteredFlowName(selection.choice)})
                AddIfStale(database, {record.dataset, name, "", FilterDescription()}, stale);
            AddIfStale(
                database,
                {record.dataset, DravikFilteredFlowName(selection.choice), "", FilteredFlowDescription()},
                stale);
        }
        return stale;
    });
}

std::vector<std::string> StaleCurveLines() {
    std::map<std::pair<std::string, std::string>, std::vector<std::string>> curves;
    std::map<std::pair<std::string, std::string>, std::vector<std::string>> datasets;
    const auto addOnce = [](std::vector<std::string>& names, const std::string& name) {
        if (std::ranges::find(names, name) == names.end())
            names.push_back(name);
    };
    for (const StaleCurve& stale : StaleCurves()) {
        addOnce(curves[{stale.made, stale.wanted}], stale.curve);
        addOnce(datasets[{stale.made, stale.wanted}], stale.dataset);
    }
    std::vector<std::string> lines;
    lines.reserve(curves.size());
    for (const auto& [way, names] : curves)
        lines.push_back(Listed(names) + " of " + Listed(datasets[way]) +
                        (names.size() == 1 ? " was" : " were") + " made by \"" + way.first +
                        "\", the settings say \"" + way.second + "\"");
    return lines;
}

}  // namespace vorela
