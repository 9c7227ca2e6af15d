#include "dravik/tool/Simulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "dravik/tool/RestResponse.h"
#include "dravik/tool/ToolError.h"
#include "general/NumberText.h"
#include "general/WellFunction.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

using Complex = std::complex<double>;
constexpr double pi = std::numbers::pi;
constexpr double degrees = 180.0 / pi;
constexpr double hundredthsPerHour = 360000.0;
constexpr double psiPerFoot = 0.433;                // fresh water, for the mean pressure of a level
constexpr double meanOfAmplitude = 2.5;             // keeps the spinner turning one way
constexpr std::int64_t harmonicWork = 200'000'000;  // sine terms for one curve of one level
/// Least part of the fundamental's impedance that a harmonic's real part may have.
constexpr double leastImpedance = 0.1;

constexpr std::size_t pressureCurve = 0;
constexpr std::size_t flowCurve = 1;
constexpr std::size_t firstValveCurve = 2;

CurveGrid GridOf(const Simulation& simulation) {
    CurveGrid grid;
    grid.indexKind = DK_INDEX_TIME;
    grid.step = simulation.step;
    grid.rowCount = (std::int64_t{simulation.cycles} + 1) * simulation.period / simulation.step + 1;
    return grid;
}

std::size_t ShallowestLevel(const std::vector<Level>& levels) {
    const auto shallowest = std::min_element(
        levels.begin(), levels.end(), [](const Level& a, const Level& b) { return a.depth < b.depth; });
    return static_cast<std::size_t>(shallowest - levels.begin());
}

/// The last odd harmonic that takes part.
std::int64_t LastHarmonic(const Simulation& simulation, std::int64_t samplesInWave) {
    const std::int64_t belowHalfRate = (simulation.period - 1) / (2 * std::int64_t{simulation.step});
    const std::int64_t affordable = 2 * std::max<std::int64_t>(harmonicWork / samplesInWave, 50);
    const std::int64_t limit = std::min({belowHalfRate, affordable, std::int64_t{4000}});
    const double omega = OmegaPerHour(simulation);
    std::int64_t last = 1;
    for (std::int64_t n = 3; n <= limit; n += 2) {
        for (const Level& level : simulation.levels) {
            const double least = leastImpedance * DimensionlessImpedance(level.layer, omega).real();
            if (level.layer.skin < 0.0 && !IsEnlarged(level.layer) &&
                DimensionlessImpedance(level.layer, omega * static_cast<double>(n)).real() < least)
                return last;
        }
        last = n;
    }
    return last;
}

/// What a linear edge of this length (in periods of the harmonic) leaves of the harmonic of a sharp one.
double RampGain(double length) {
    return length == 0.0 ? 1.0 : std::sin(pi * length) / (pi * length);
}

std::uint64_t Mixed(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

/// A standard normal number that depends on the key alone.
double NormalOf(std::uint64_t key) {
    constexpr double unit = 0x1p-53;
    const double u = (static_cast<double>(Mixed(key) >> 11U) + 0.5) * unit;
    const double v = static_cast<double>(Mixed(~key) >> 11U) * unit;
    return std::sqrt(-2.0 * std::log(u)) * std::cos(2.0 * pi * v);
}

void CheckLevels(const Simulation& simulation) {
    const double omega = OmegaPerHour(simulation);
    std::vector<double> depths;
    for (const Level& level : simulation.levels) {
        const std::string name = "level at " + vorela::ShortestText(level.depth) + " ft: ";
        if (level.depth > simulation.well.totalDepth)
            throw ToolError(name + "it lies below the total depth of " +
                            vorela::ShortestText(simulation.well.totalDepth) + " ft");
        if (std::find(depths.begin(), depths.end(), level.depth) != depths.end())
            throw ToolError(name + "two levels at one depth");
        depths.push_back(level.depth);
        if (!IsEnlarged(level.layer) && !(DimensionlessImpedance(level.layer, omega).real() > leastImpedance))
            throw ToolError(name + "a skin of " + vorela::ShortestText(level.layer.skin) +
                            " is impossible at this period; it must stay above " +
                            vorela::FormatNumber(
                                leastImpedance -
                                vorela::WellFunction(DimensionlessFrequency(level.layer, omega)).real()));
    }
}

}  // namespace

std::string LevelDataset(std::size_t level) {
    return "LEVEL" + std::to_string(level + 1);
}

double OmegaPerHour(const Simulation& simulation) {
    return 2.0 * pi * hundredthsPerHour / simulation.period;
}

void CheckSimulation(const Simulation& simulation) {
    CheckLevels(simulation);
    const CurveGrid grid = GridOf(simulation);
    if ((grid.rowCount - 1) * grid.step > std::numeric_limits<std::int32_t>::max())
        throw ToolError(std::to_string(simulation.cycles) + " cycles of " +
                        vorela::ShortestText(simulation.period / indexPerUnit) +
                        " s last longer than 32-bit times reach (248 days)");
    const ValveSchedule valve(simulation.period / 2.0, simulation.period, grid);
    static_cast<void>(valve);
}

Truth TruthOf(const Simulation& simulation) {
    Truth truth;
    const double omega = OmegaPerHour(simulation);
    const double response = SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId);
    for (std::size_t i = 0; i < simulation.levels.size(); ++i) {
        const Level& level = simulation.levels[i];
        const Complex index = LevelIndex(simulation.levels, i, simulation.well, omega);
        const double hpi = std::abs(index) * response;
        truth.levels.push_back({LevelDataset(i), level.depth, hpi, std::arg(index) * degrees, std::abs(index),
                                hpi * simulation.pressureAmplitude, simulation.pressureAmplitude});
        const Complex layerIndex = LayerIndex(level.layer, omega);
        LayerTruth layer{"below " + vorela::FormatNumber(level.depth),
                         LevelDataset(i),
                         false,
                         std::abs(layerIndex),
                         std::arg(layerIndex) * degrees,
                         level.layer};
        double deeper = std::numeric_limits<double>::infinity();
        for (const Level& other : simulation.levels) {
            if (other.depth > level.depth)
                deeper = std::min(deeper, other.depth);
        }
        if (std::isfinite(deeper)) {
            layer.isInterval = true;
            layer.label = vorela::FormatNumber(deeper) + " to " + vorela::FormatNumber(level.depth);
        }
        truth.layers.push_back(layer);
    }
    return truth;
}

SimulatedLevel::SimulatedLevel(const Simulation& simulation, std::size_t level)
    : valve_(simulation.period / 2.0, simulation.period, GridOf(simulation)),
      depth_(simulation.levels[level].depth),
      noise_(simulation.noise),
      drift_(simulation.drift),
      randomKey_(Mixed(simulation.seed * 1000 + level)) {
    grid_ = GridOf(simulation);
    curves_ = {{"ZG", "psi"}, {"RTC", "rps"}};
    curves_.insert(curves_.end(), ValveCurves().begin(), ValveCurves().end());
    curves_.push_back({depthCurveName, "ft"});

    if (simulation.fromRest)
        MakeStart(simulation, level);
    else
        MakeWave(simulation, level);
}

void SimulatedLevel::MakeWave(const Simulation& simulation, std::size_t level) {
    const auto period = static_cast<std::size_t>(simulation.period);
    const std::int64_t samplesInWave =
        simulation.period / std::gcd(simulation.period, std::int32_t{simulation.step});
    cosines_.resize(period);
    sines_.resize(period);
    for (std::size_t i = 0; i < period; ++i) {
        const double angle = 2.0 * pi * static_cast<double>(i) / static_cast<double>(period);
        cosines_[i] = std::cos(angle);
        sines_[i] = std::sin(angle);
    }
    pressure_.wave.assign(static_cast<std::size_t>(samplesInWave), psiPerFoot * depth_);
    flow_.wave.assign(static_cast<std::size_t>(samplesInWave), 0.0);

    const double omega = OmegaPerHour(simulation);
    const double response = SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId);
    const std::size_t top = ShallowestLevel(simulation.levels);
    pressure_.amplitude = simulation.pressureAmplitude;
    const double swing =
        pressure_.amplitude * std::abs(LevelIndex(simulation.levels, top, simulation.well, omega));
    const std::int64_t last = LastHarmonic(simulation, samplesInWave);
    for (std::int64_t n = 1; n <= last; n += 2) {
        const double order = static_cast<double>(n);
        // The square wave sin(wt) + sin(3wt)/3 + ..., open in the first half of each cycle.
        const Complex wholeFlow = Complex{0.0, -swing / order} *
                                  RampGain(order * simulation.ramp * indexPerUnit / simulation.period);
        const Complex pressure =
            -wholeFlow / LevelIndex(simulation.levels, top, simulation.well, omega * order);
        Complex flow =
            -pressure * LevelIndex(simulation.levels, level, simulation.well, omega * order) * response;
        if (n == 1)
            flow_.amplitude = std::abs(flow);
        if (simulation.flowDelay != 0.0)
            flow *= std::polar(1.0, -omega * order * simulation.flowDelay * indexPerUnit / hundredthsPerHour);
        AddHarmonic(simulation, n, pressure, flow);
    }
    for (double& value : flow_.wave)
        value += meanOfAmplitude * flow_.amplitude;
    cosines_ = {};
    sines_ = {};
}

void SimulatedLevel::MakeStart(const Simulation& simulation, std::size_t level) {
    const std::size_t top = ShallowestLevel(simulation.levels);
    const double omega = OmegaPerHour(simulation);
    const double response = SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId);
    const auto rows = static_cast<std::size_t>(grid_.rowCount);
    const double longest = static_cast<double>(grid_.rowCount) * grid_.step / indexPerUnit;
    pressure_.amplitude = simulation.pressureAmplitude;
    const Complex whole = LevelIndex(simulation.levels, top, simulation.well, omega);
    const Complex own = LevelIndex(simulation.levels, level, simulation.well, omega);
    flow_.amplitude = pressure_.amplitude * std::abs(own) * response;
    // Half the height of the square wave whose fundamental has the pressure's amplitude.
    const double halfHeight = pi / 4.0 * pressure_.amplitude * std::abs(whole);
    pressure_.wave.assign(rows, psiPerFoot * depth_);
    flow_.wave.assign(rows, (meanOfAmplitude - pi / 4.0) * flow_.amplitude);
    const StepResponse drawdown(StepResponse::Kind::pressure, simulation.levels, top, level, simulation.well,
                                longest);
    const StepResponse share(StepResponse::Kind::flow, simulation.levels, top, level, simulation.well,
                             longest);
    const double half = simulation.period / 2.0 / indexPerUnit;
    for (std::size_t row = 0; row < rows; ++row) {
        const double time = static_cast<double>(row) * grid_.step / indexPerUnit;
        const double flowTime = time - simulation.flowDelay;
        const double reach = std::max(time, flowTime) + simulation.ramp / 2.0;
        double step = 2.0 * halfHeight;
        for (double edge = half; edge <= reach; edge += half, step = -step) {
            pressure_.wave[row] -= step * drawdown.AtRamp(time - edge, simulation.ramp);
            flow_.wave[row] += step * response * share.AtRamp(flowTime - edge, simulation.ramp);
        }
    }
}

void SimulatedLevel::AddHarmonic(const Simulation& simulation, std::int64_t harmonic, Complex pressure,
                                 Complex flow) {
    const auto period = static_cast<std::size_t>(simulation.period);
    const std::size_t stride = static_cast<std::size_t>(harmonic * simulation.step % simulation.period);
    std::size_t angle = 0;
    for (std::size_t row = 0; row < pressure_.wave.size(); ++row) {
        const double cosine = cosines_[angle];
        const double sine = sines_[angle];
        pressure_.wave[row] += pressure.real() * cosine - pressure.imag() * sine;
        flow_.wave[row] += flow.real() * cosine - flow.imag() * sine;
        angle += stride;
        if (angle >= period)
            angle -= period;
    }
}

double SimulatedLevel::SampleOf(const Signal& signal, std::size_t curve, std::int64_t row) const {
    double value = signal.wave[static_cast<std::size_t>(row) % signal.wave.size()];
    if (drift_ != 0.0)
        value += drift_ * signal.amplitude * (grid_.IndexOf(row) / hundredthsPerHour);
    if (noise_ != 0.0)
        value +=
            noise_ * signal.amplitude * NormalOf(randomKey_ + 2 * static_cast<std::uint64_t>(row) + curve);
    return value;
}

void SimulatedLevel::Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
                          std::uint8_t* present) {
    std::fill_n(present, count, std::uint8_t{1});
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t row = firstRow + i;
        if (curve == pressureCurve) {
            values[i] = static_cast<float>(SampleOf(pressure_, curve, row));
        } else if (curve == flowCurve) {
            values[i] = static_cast<float>(SampleOf(flow_, curve, row));
        } else if (curve < firstValveCurve + ValveCurves().size()) {
            values[i] = ValveValue(valve_.At(grid_.IndexOf(row)), curve - firstValveCurve);
        } else {
            values[i] = row == 0 ? static_cast<float>(depth_) : 0.0F;
            present[i] = row == 0 ? 1 : 0;
        }
    }
}

}  // namespace dravik
