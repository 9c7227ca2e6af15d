#include "plot/CycleSeries.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "plot/CurveSamples.h"

namespace vorela {
namespace {

constexpr double turn = 360;

CycleSeries Series(const CycleRecord& cycles, const char* name, const std::string& unit, bool phase,
                   const std::function<double(std::size_t)>& value) {
    CycleSeries series;
    series.name = name;
    series.unit = unit;
    std::optional<double> before;
    for (std::size_t i = 0; i < static_cast<std::size_t>(cycles.RealCycles()); ++i) {
        const double now = value(i);
        if (cycles.analysed[i] == 0 || !std::isfinite(now)) {
            series.values.emplace_back();
            continue;
        }
        before = phase && before ? *before + std::remainder(now - *before, turn) : now;
        series.values.emplace_back(*before);
    }
    Summarise(series);
    return series;
}

/// Adds up what one curve has over the cycles at each phase, each cycle less its own mean.
class Stack {
  public:
    void Add(PlotCurveReader& curve, double start, double end) {
        std::vector<std::optional<double>> samples;
        double sum = 0;
        std::size_t count = 0;
        for (std::size_t i = 0; i <= stackedSteps; ++i) {
            samples.push_back(curve.At(start + (end - start) * static_cast<double>(i) / stackedSteps));
            // Both ends are the same phase: one of them counts.
            if (samples.back() && i < stackedSteps) {
                sum += *samples.back();
                ++count;
            }
        }
        // A cycle with gaps has another mean than its neighbours and would bend the stack.
        if (count < stackedSteps)
            return;
        for (std::size_t i = 0; i <= stackedSteps; ++i) {
            if (!samples[i])
                continue;
            sums_[i] += *samples[i] - sum / static_cast<double>(count);
            ++counts_[i];
        }
        ++cycles_;
    }
    std::vector<std::optional<double>> Mean() const {
        std::vector<std::optional<double>> mean;
        for (std::size_t i = 0; i <= stackedSteps; ++i)
            mean.push_back(counts_[i] == 0 ? std::nullopt
                                           : std::optional(sums_[i] / static_cast<double>(counts_[i])));
        return mean;
    }
    std::size_t Cycles() const { return cycles_; }

  private:
    std::array<double, stackedSteps + 1> sums_{};
    std::array<std::size_t, stackedSteps + 1> counts_{};
    std::size_t cycles_ = 0;
};

std::optional<StackedLevel> StackLevel(const DatasetRecord& record) {
    const CycleRecord& cycles = record.cycles;
    const auto real = static_cast<std::size_t>(cycles.RealCycles());
    const DravikDatabase database(record.database);
    if (real == 0 || !database.IsOpen())
        return std::nullopt;
    const CurveChoice& choice = CurrentSelection().choice;
    auto pressure = PlotCurveReader::Attach(database, record.dataset, choice.pressure, false);
    auto flow = PlotCurveReader::Attach(database, record.dataset, choice.flow, false);
    Stack pressures, flows;
    const std::size_t taken = std::min(real, mostStackedCycles);
    for (std::size_t i = 0; i < taken; ++i) {
        const std::size_t cycle = i * real / taken;
        const double start = cycles.start[cycle], end = cycles.start[cycle + 1];
        if (pressure)
            pressures.Add(*pressure, start, end);
        if (flow)
            flows.Add(*flow, start, end);
    }
    StackedLevel level{record.dataset,
                       std::max(pressures.Cycles(), flows.Cycles()),
                       real,
                       pressures.Mean(),
                       flows.Mean(),
                       "",
                       ""};
    if (pressure)
        level.pressureUnit = GetUnitText(pressure->Info().unitCode);
    if (flow)
        level.flowUnit = GetUnitText(flow->Info().unitCode);
    return level;
}

}  // namespace

void Summarise(CycleSeries& series) {
    std::vector<std::pair<double, double>> points;  // cycle number, value
    for (std::size_t i = 0; i < series.values.size(); ++i)
        if (series.values[i])
            points.emplace_back(static_cast<double>(i + 1), *series.values[i]);
    series.count = points.size();
    if (points.empty())
        return;
    const auto n = static_cast<double>(points.size());
    // Distances from the first value: equal values have their own mean to the last digit.
    double cycles = 0, beyond = 0;
    for (const auto& [cycle, value] : points) {
        cycles += cycle;
        beyond += value - points.front().second;
    }
    series.middle = cycles / n;
    series.mean = points.front().second + beyond / n;
    double spread = 0, product = 0, residue = 0;
    for (const auto& [cycle, value] : points) {
        spread += (cycle - series.middle) * (cycle - series.middle);
        product += (cycle - series.middle) * (value - series.mean);
    }
    if (points.size() < 2)
        return;
    series.drift = product / spread;
    if (points.size() < 3)
        return;
    for (const auto& [cycle, value] : points)
        residue += (value - series.Trend(cycle)) * (value - series.Trend(cycle));
    series.scatter = std::sqrt(residue / (n - 2));
    series.driftError = series.scatter / std::sqrt(spread);
}

std::array<CycleSeries, cycleSeriesCount> SeriesOf(const CycleRecord& cycles, const std::string& pressureUnit,
                                                   const std::string& flowUnit) {
    const auto series = [&](const char* name, const std::string& unit, bool phase,
                            const std::function<double(std::size_t)>& value) {
        return Series(cycles, name, unit, phase, value);
    };
    const std::string ratioUnit =
        pressureUnit.empty() || flowUnit.empty() ? "" : flowUnit + "/" + pressureUnit;
    const char* degrees = "degrees";
    return {
        series("Valve magnitude", "", false, [&](std::size_t i) { return cycles.valve[i].magnitude; }),
        series("Pressure magnitude", pressureUnit, false,
               [&](std::size_t i) { return cycles.pressure[i].magnitude; }),
        series("Flow magnitude", flowUnit, false, [&](std::size_t i) { return cycles.flow[i].magnitude; }),
        series("Ratio", ratioUnit, false, [&](std::size_t i) { return cycles.ratio[i]; }),
        series("Valve phase", degrees, true, [&](std::size_t i) { return cycles.valve[i].phase; }),
        series("Pressure phase", degrees, true, [&](std::size_t i) { return cycles.pressure[i].phase; }),
        series("Flow phase", degrees, true, [&](std::size_t i) { return cycles.flow[i].phase; }),
        series("Phase lag", degrees, true, [&](std::size_t i) { return cycles.phaseLag[i]; })};
}

std::vector<StackedLevel> StackSelectedLevels() {
    return Attempt("Getting Plot Information", std::vector<StackedLevel>{}, [] {
        std::vector<StackedLevel> levels;
        for (const DatasetRecord& record : CurrentSelection().datasets)
            if (std::optional<StackedLevel> level = StackLevel(record))
                levels.push_back(std::move(*level));
        return levels;
    });
}

}  // namespace vorela
