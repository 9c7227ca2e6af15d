// Simulated tests of two levels put straight into the exact analysis, without a database between.
#pragma once

#include "analysis/ExactInterval.h"
#include "analysis/ExactLayer.h"
#include "analysis/ExactLevel.h"
#include "dravik/tool/Simulator.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {

using Simulation = dravik::Simulation;

/// The layer of the interval over one of 100 mD, skin 3 and 60 ft below the lower level.
struct SimulatedWell {
    double k = 100, skin = 5, height = 30;
    int period = 240, cycles = 10, step = 50;  ///< s, –, hundredths of a second
    double noise = 0, drift = 0, wellCompressibility = 1e-5, borehole = 8.5;
    std::uint64_t seed = 1;
};

inline Simulation SimulationOf(const SimulatedWell& well) {
    Simulation simulation;
    const auto layer = [&](double k, double skin, double height) {
        return dravik::Layer{k, skin, height, 0.2, 1.0, 1e-5, well.borehole};
    };
    simulation.levels = {{9700.0, layer(well.k, well.skin, well.height)},
                         {9720.0 + well.height, layer(100.0, 3.0, 60.0)}};
    simulation.well = {6.0, 10000.0, well.wellCompressibility};
    simulation.period = well.period * 100;
    simulation.cycles = well.cycles;
    simulation.step = static_cast<std::int16_t>(well.step);
    simulation.noise = well.noise;
    simulation.drift = well.drift;
    simulation.seed = well.seed;
    return simulation;
}

inline SampledCurve CurveOf(dravik::SimulatedLevel& level, std::size_t curve, double factor) {
    const auto rows = static_cast<std::size_t>(level.Grid().rowCount);
    std::vector<float> values(rows);
    SampledCurve result;
    result.step = level.Grid().step;
    result.states.resize(rows);
    level.Read(curve, 0, level.Grid().rowCount, values.data(), result.states.data());
    for (const float value : values)
        result.values.push_back((static_cast<double>(value) - values.front()) * factor);
    return result;
}

/// Level 0 is the upper one; the spinner is the simulator's own.
inline LevelRecord RecordOf(const Simulation& simulation, std::size_t level) {
    dravik::SimulatedLevel simulated(simulation, level);
    LevelRecord record;
    record.dataset = dravik::LevelDataset(level);
    record.pressure = CurveOf(simulated, 0, 1.0);
    record.flow = CurveOf(simulated, 1,
                          1.0 / dravik::SpinnerResponse(simulation.spinnerSlope, simulation.well.casingId));
    for (int n = 0; n <= simulation.cycles; ++n)
        record.boundaries.push_back(simulation.period / 2 + n * simulation.period);
    return record;
}

inline IntervalInputs InputsOf(const Simulation& simulation) {
    const dravik::Layer& layer = simulation.levels[0].layer;
    IntervalInputs inputs;
    inputs.depth1 = simulation.levels[0].depth;
    inputs.depth2 = simulation.levels[1].depth;
    inputs.layer = {layer.height,          layer.porosity,         layer.viscosity,
                    layer.compressibility, layer.boreholeDiameter, 0.0};
    inputs.casingID = simulation.well.casingId;
    inputs.wellCompressibility = simulation.well.compressibility;
    return inputs;
}

using Change = std::function<void(LevelRecord&)>;

/// `change` acts on both levels' records, `assume` on what the analysis is told.
inline ExactInterval Analysed(const Simulation& simulation, const ExactSettings& settings = {},
                              const Change& change = {},
                              const std::function<void(IntervalInputs&)>& assume = {}) {
    std::vector<ExactLevel> levels;
    for (const std::size_t i : {0U, 1U}) {
        LevelRecord record = RecordOf(simulation, i);
        if (change)
            change(record);
        levels.push_back(AnalyseLevel(std::move(record), settings));
    }
    IntervalInputs inputs = InputsOf(simulation);
    if (assume)
        assume(inputs);
    return AnalyseInterval(levels[0], levels[1], inputs, settings);
}

inline bool Says(const ExactInterval& interval, const std::string& words) {
    return std::any_of(interval.messages.begin(), interval.messages.end(),
                       [&](const std::string& message) { return message.find(words) != std::string::npos; });
}

inline bool Holds(const ExactRange& range, double value) {
    return (!range.lower || *range.lower <= value) && (!range.upper || value <= *range.upper);
}

}  // namespace vorela::test
