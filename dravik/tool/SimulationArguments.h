// The simulator's command-line options and what they mean together.
#pragma once

#include <cstdint>
#include <string>

#include "dravik/tool/Simulator.h"

namespace CLI {
class App;
}

namespace dravik {

/// As typed; lists are comma-separated texts in the order of `depths`, one value standing for all levels.
struct SimulationArguments {
    int levels = 0;  ///< 0: as many as depths, or four
    std::string depths;
    double periodSeconds = 240.0;
    int cycles = 10;
    int step = 10;
    std::string permeability;
    std::string skin;
    std::string height = "10";
    double porosity = 0.2;
    double viscosity = 1.0;
    double totalCompressibility = 1e-5;
    double casingId = 6.0;
    double totalDepth = 0.0;  ///< 0: 10000 ft, or the deepest level with its layer where that is deeper
    double wellCompressibility = 1e-5;
    double borehole = 8.5;
    double spinnerSlope = 0.05;
    double pressureAmplitude = 50.0;
    double noise = 0.0;
    double drift = 0.0;
    std::uint64_t seed = 1;
    double ramp = 0.0;
    double flowDelay = 0.0;
    bool fromRest = false;
    bool enlargedWell = false;
};

/// Under the heading `group` of the command's help.
void AddSimulationOptions(CLI::App& command, const std::string& group, SimulationArguments& arguments);

/// Throws UsageError for lists of another length than the levels, numbers that are none or out of range;
/// ToolError for what no real test could have.
Simulation MakeSimulation(const SimulationArguments& arguments);

}  // namespace dravik
