#include "dravik/tool/SimulationArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

#include "dravik/tool/ToolError.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr std::size_t defaultLevels = 4;
constexpr std::size_t mostLevels = 64;
constexpr double deepestDefault = 9900.0;  // ft
constexpr double defaultSpacing = 100.0;
constexpr double defaultTotalDepth = 10000.0;
constexpr std::int32_t longestPeriod = 3'600'000;  // hundredths of a second: ten hours

std::vector<double> ParseList(const std::string& text, const std::string& option) {
    std::vector<double> values;
    std::size_t from = 0;
    while (from <= text.size()) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        const std::optional<double> value = vorela::StrictNumber(text.substr(from, comma - from));
        if (!value)
            throw UsageError(option + ": \"" + text.substr(from, comma - from) + "\" is not a number");
        values.push_back(*value);
        from = comma + 1;
    }
    return values;
}

/// One value for each level.
std::vector<double> LevelValues(const std::string& text, const std::string& option, std::size_t levels) {
    std::vector<double> values = ParseList(text, option);
    if (values.size() == 1)
        values.resize(levels, values.front());
    if (values.size() != levels)
        throw UsageError(option + " has " + std::to_string(values.size()) + " values for " +
                         std::to_string(levels) + " levels; one value stands for all");
    return values;
}

/// The built-in values, in turn, where the user gives none.
std::vector<double> LevelValues(const std::string& text, const std::string& option, std::size_t levels,
                                const std::vector<double>& builtIn) {
    if (!text.empty())
        return LevelValues(text, option, levels);
    std::vector<double> values(levels);
    for (std::size_t i = 0; i < levels; ++i)
        values[i] = builtIn[i % builtIn.size()];
    return values;
}

void CheckRange(double value, double lowest, double highest, const std::string& option) {
    if (!std::isfinite(value))
        throw UsageError(option + " is not a finite number");
    if (!(value >= lowest && value <= highest))
        throw UsageError(option + ": " + vorela::ShortestText(value) + " lies outside " +
                         vorela::ShortestText(lowest) + " to " + vorela::ShortestText(highest));
}

std::vector<double> Depths(const SimulationArguments& arguments) {
    if (!arguments.depths.empty()) {
        std::vector<double> depths = ParseList(arguments.depths, "--depths");
        if (arguments.levels != 0 && static_cast<std::size_t>(arguments.levels) != depths.size())
            throw UsageError("--depths has " + std::to_string(depths.size()) + " values, --levels says " +
                             std::to_string(arguments.levels));
        if (depths.size() > mostLevels)
            throw UsageError("--depths: at most " + std::to_string(mostLevels) + " levels");
        return depths;
    }
    std::vector<double> depths(arguments.levels == 0 ? defaultLevels
                                                     : static_cast<std::size_t>(arguments.levels));
    for (std::size_t i = 0; i < depths.size(); ++i)
        depths[i] = deepestDefault - defaultSpacing * static_cast<double>(depths.size() - 1 - i);
    return depths;
}

std::vector<Level> Levels(const SimulationArguments& arguments) {
    const std::vector<double> depths = Depths(arguments);
    const std::size_t count = depths.size();
    const std::vector<double> permeability =
        LevelValues(arguments.permeability, "--permeability", count, {100.0, 50.0, 200.0, 80.0});
    const std::vector<double> skin = LevelValues(arguments.skin, "--skin", count, {5.0, 2.0, 0.0, 3.0});
    const std::vector<double> height = LevelValues(arguments.height, "--height", count);
    std::vector<Level> levels;
    for (std::size_t i = 0; i < count; ++i) {
        CheckRange(depths[i], 0.0, 100000.0, "--depths");
        CheckRange(permeability[i], 1e-3, 1e6, "--permeability");
        CheckRange(skin[i], -10.0, 1e4, "--skin");
        CheckRange(height[i], 1e-3, 1e5, "--height");
        levels.push_back({depths[i],
                          {permeability[i], skin[i], height[i], arguments.porosity, arguments.viscosity,
                           arguments.totalCompressibility, arguments.borehole}});
    }
    return levels;
}

void CheckNumbers(const SimulationArguments& arguments) {
    CheckRange(arguments.periodSeconds, 0.04, longestPeriod / indexPerUnit, "--period");
    CheckRange(arguments.porosity, 1e-4, 1.0, "--porosity");
    CheckRange(arguments.viscosity, 1e-4, 1e5, "--viscosity");
    CheckRange(arguments.totalCompressibility, 1e-9, 1.0, "--ct");
    CheckRange(arguments.casingId, 1.7, 10000.0, "--casing-id");  // the tool itself is 1.6875 inches thick
    CheckRange(arguments.totalDepth, 0.0, 1e6, "--td");
    CheckRange(arguments.wellCompressibility, 0.0, 1.0, "--well-compressibility");
    CheckRange(arguments.borehole, 1.0, 10000.0, "--borehole");
    CheckRange(arguments.spinnerSlope, 1e-4, 100.0, "--spinner-slope");
    CheckRange(arguments.pressureAmplitude, 1e-3, 1e4, "--amplitude");
    CheckRange(arguments.noise, 0.0, 1000.0, "--noise");
    CheckRange(arguments.drift, -1000.0, 1000.0, "--drift");
}

}  // namespace

void AddSimulationOptions(CLI::App& command, const std::string& group, SimulationArguments& a) {
    const auto add = [&](const std::string& name, auto& value, const std::string& type,
                         const std::string& help) {
        CLI::Option* option = command.add_option(name, value, help)->group(group)->type_name(type);
        // Texts and the two zeros that stand for "as fits" have their defaults in the help.
        if constexpr (!std::is_same_v<decltype(value), std::string&>)
            return value == 0 ? option : option->capture_default_str();
        else
            return option;
    };
    const auto within = [](int lowest, int highest) { return CLI::Range(lowest, highest).description(""); };
    constexpr int longestStep = std::numeric_limits<std::int16_t>::max();
    add("--levels", a.levels, "N", "Number of levels (default: 4, or as many as --depths)")
        ->check(within(1, static_cast<int>(mostLevels)));
    add("--depths", a.depths, "FT,...", "Depth of each level (default: ... 9700,9800,9900)");
    add("--period", a.periodSeconds, "S", "Period of the valve, seconds");
    add("--cycles", a.cycles, "N", "Whole valve cycles; half a cycle is recorded before and after them")
        ->check(within(1, 1000000));
    add("--step", a.step, "CS", "Sampling step, hundredths of a second")->check(within(1, longestStep));
    add("--permeability", a.permeability, "MD,...",
        "Of the layer between each level and the next deeper one, mD (default: 100,50,200,80)");
    add("--skin", a.skin, "X,...", "Of each layer (default: 5,2,0,3)");
    add("--height", a.height, "FT,...", "Of each layer (default: 10)");
    add("--porosity", a.porosity, "X", "Of all layers, v/v");
    add("--viscosity", a.viscosity, "CP", "Of the reservoir's fluid");
    add("--ct", a.totalCompressibility, "X", "Total compressibility of the layers, 1/psi");
    add("--casing-id", a.casingId, "IN", "Inside diameter of the casing, inches");
    add("--td", a.totalDepth, "FT", "Total open depth (default: 10000, or deeper where a level is)");
    add("--well-compressibility", a.wellCompressibility, "X", "Of the fluid in the well, 1/psi");
    add("--borehole", a.borehole, "IN", "Borehole diameter, inches");
    add("--spinner-slope", a.spinnerSlope, "X", "Spinner calibration, rps/ft/min");
    add("--amplitude", a.pressureAmplitude, "PSI", "Pressure amplitude at the period of test");
    add("--noise", a.noise, "X",
        "Standard deviation of noise, in parts of each signal's amplitude (default: 0)");
    add("--drift", a.drift, "X",
        "Straight trend in an hour, in parts of each signal's amplitude (default: 0)");
    add("--seed", a.seed, "N", "Of the noise");
    add("--ramp", a.ramp, "S", "Length of the valve's edges, seconds (default: 0, sharp)");
    add("--flow-delay", a.flowDelay, "S", "By which the flow's clock is late, seconds (default: 0)");
    command.add_flag("--from-rest", a.fromRest, "The valve stays closed until the first boundary")
        ->group(group);
    command
        .add_flag("--enlarged-well", a.enlargedWell,
                  "Negative skin is a larger radius of the well, with all harmonics, not a thin zone")
        ->group(group);
}

Simulation MakeSimulation(const SimulationArguments& arguments) {
    CheckNumbers(arguments);
    Simulation simulation;
    simulation.levels = Levels(arguments);
    const double period = arguments.periodSeconds * indexPerUnit;
    simulation.period = static_cast<std::int32_t>(std::lround(period));
    if (std::abs(period - simulation.period) > 1e-6)
        throw UsageError("--period: " + vorela::ShortestText(arguments.periodSeconds) +
                         " s is not a whole number of hundredths of a second");
    simulation.step = static_cast<std::int16_t>(arguments.step);
    simulation.cycles = arguments.cycles;
    simulation.well = {arguments.casingId, arguments.totalDepth, arguments.wellCompressibility};
    if (arguments.totalDepth == 0.0) {
        simulation.well.totalDepth = defaultTotalDepth;
        for (const Level& level : simulation.levels)
            simulation.well.totalDepth =
                std::max(simulation.well.totalDepth, level.depth + level.layer.height);
    }
    simulation.spinnerSlope = arguments.spinnerSlope;
    simulation.pressureAmplitude = arguments.pressureAmplitude;
    simulation.noise = arguments.noise;
    simulation.drift = arguments.drift;
    simulation.seed = arguments.seed;
    CheckRange(arguments.ramp, 0.0, arguments.periodSeconds / 2.0, "--ramp");
    CheckRange(arguments.flowDelay, -arguments.periodSeconds, arguments.periodSeconds, "--flow-delay");
    simulation.ramp = arguments.ramp;
    simulation.flowDelay = arguments.flowDelay;
    simulation.fromRest = arguments.fromRest;
    for (Level& level : simulation.levels)
        level.layer.enlargedWell = arguments.enlargedWell;
    CheckSimulation(simulation);
    return simulation;
}

}  // namespace dravik
