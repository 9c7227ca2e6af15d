#include "dravik/tool/SimulationArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "dravik/tool/ToolError.h"
#include "general/NumberText.h"

namespace vorela {
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
        const std::optional<double> value = StrictNumber(text.substr(from, comma - from));
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
        throw UsageError(option + ": " + ShortestText(value) + " lies outside " + ShortestText(lowest) +
                         " to " + ShortestText(highest));
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
    CheckRange(arguments.periodSeconds, 0.04, longestPeriod / 100.0, "--period");
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

void AddSimulationOptions(CLI::App& command, SimulationArguments& a) {
    command.add_option("--levels", a.levels, "Number of levels (default 4, or as many as --depths)")
        ->check(CLI::Range(1, static_cast<int>(mostLevels)));
    command.add_option("--depths", a.depths,
                       "Depth of each level, ft, comma-separated (default ... 9700,9800,9900)");
    command.add_option("--period", a.periodSeconds, "Period of the valve, s")->capture_default_str();
    command
        .add_option("--cycles", a.cycles,
                    "Whole valve cycles in the record; half a cycle is added on either side")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    command.add_option("--step", a.step, "Sampling step, hundredths of a second")
        ->check(CLI::Range(1, int{std::numeric_limits<std::int16_t>::max()}))
        ->capture_default_str();
    command.add_option("--permeability", a.permeability,
                       "Of the layer between each level and the next deeper one, mD (default 100,50,200,80)");
    command.add_option("--skin", a.skin, "Of each layer (default 5,2,0,3)");
    command.add_option("--height", a.height, "Of each layer, ft")->capture_default_str();
    command.add_option("--porosity", a.porosity, "v/v")->capture_default_str();
    command.add_option("--viscosity", a.viscosity, "cP")->capture_default_str();
    command.add_option("--ct", a.totalCompressibility, "Total compressibility, 1/psi")->capture_default_str();
    command.add_option("--casing-id", a.casingId, "Inside diameter of the casing, inches")
        ->capture_default_str();
    command.add_option("--td", a.totalDepth,
                       "Total open depth, ft (default 10000, or deeper where a level is)");
    command.add_option("--well-compressibility", a.wellCompressibility, "Of the fluid in the well, 1/psi")
        ->capture_default_str();
    command.add_option("--borehole", a.borehole, "Borehole diameter, inches")->capture_default_str();
    command.add_option("--spinner-slope", a.spinnerSlope, "Spinner calibration, rps/ft/min")
        ->capture_default_str();
    command.add_option("--amplitude", a.pressureAmplitude, "Pressure amplitude at the period of test, psi")
        ->capture_default_str();
    command
        .add_option("--noise", a.noise, "Standard deviation of noise, in parts of each signal's amplitude")
        ->capture_default_str();
    command.add_option("--drift", a.drift, "Straight trend in an hour, in parts of each signal's amplitude")
        ->capture_default_str();
    command.add_option("--seed", a.seed, "Of the noise")->capture_default_str();
}

Simulation MakeSimulation(const SimulationArguments& arguments) {
    CheckNumbers(arguments);
    Simulation simulation;
    simulation.levels = Levels(arguments);
    const double period = arguments.periodSeconds * 100.0;
    simulation.period = static_cast<std::int32_t>(std::lround(period));
    if (std::abs(period - simulation.period) > 1e-6)
        throw UsageError("--period: " + ShortestText(arguments.periodSeconds) +
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
    CheckSimulation(simulation);
    return simulation;
}

}  // namespace vorela
