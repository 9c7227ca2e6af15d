// Planning a test: from an assumed layer, well, valve and noise of gauge and spinner, the amplitudes that a
// test would record and the errors that its permeability and skin would have.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "analysis/ExactTypes.h"

namespace vorela {

/// What is assumed. `permeability` and `skin` have no default: NaN until they are set.
struct PlanInputs {
    double permeability = std::numeric_limits<double>::quiet_NaN();  ///< of the interval, mD
    double skin = std::numeric_limits<double>::quiet_NaN();
    double height = 30;     ///< ft
    double porosity = 0.2;  ///< v/v
    double viscosity = 1;   ///< cP
    double ct = 1e-5;       ///< total compressibility, 1/psi
    double dw = 8.5;        ///< borehole diameter, in
    double kBelow = 100;    ///< of one layer for all below the lower level, mD; 0: none
    double skinBelow = 3;
    double heightBelow = 60;
    double depth1 = 9700, depth2 = 9750;  ///< of the two levels, ft
    double td = 10000;                    ///< ft
    double casing = 6;                    ///< in
    double compressibility = 1e-5;        ///< of the fluid in the well, 1/psi
    double spinner = 3, slope = 0.05;
    double period = 240;     ///< s
    double cycles = 9;       ///< used
    double step = 0.1;       ///< s
    double amplitude = 300;  ///< half the swing of the valve's square wave, bbl/day
    double ramp = 0;         ///< length of the wave's edges, s
    double ownValve = 1;     ///< 1: the valve travels with the tool; 0: it stays at the upper level
    double gauge = 0.05;     ///< standard deviation of the pressure's white noise, psi
    double flow = 0.005;     ///< of the spinner's, rps
    double gaugeCorner = 0, flowCorner = 0;  ///< below these frequencies (1/s) 1/f noise exceeds the white
    double compressibilityError = -1;        ///< %; −1: not known
    std::optional<double> wanted;            ///< standard error of ln k
};

/// An input by name, for command line and dialog.
struct PlanField {
    const char* name;
    double PlanInputs::*field;
    double lower, upper;
    const char* meaning;              ///< with its unit
    const char* parameter = nullptr;  ///< key of `[Parameters]` that holds the same
    bool whole = false;
};
std::span<const PlanField> PlanFields();
/// What may be wanted for the standard error of ln k.
inline constexpr double leastWantedError = 1e-6;
inline constexpr double mostWantedError = 10;
/// Sets one input ("wanted" among them); what is wrong with name or value, "" when nothing.
std::string SetPlanInput(PlanInputs& inputs, const std::string& name, const std::string& value);
/// What is wrong with the inputs together, and the name of the input to mend.
struct PlanFault {
    const char* input;
    std::string text;
};
std::optional<PlanFault> FaultOfPlan(const PlanInputs& inputs);

struct PlanLevel {
    double pressure = 0;    ///< amplitude, psi
    double flow = 0;        ///< amplitude past the level, rps
    double variance = 0;    ///< of the level's index
    double shareGauge = 0;  ///< of that, by the pressure
};
struct PlanHarmonic {
    int number = 1;
    PlanLevel upper, lower;
    bool used = false;
};
/// Predicted errors of one method; ranges are those a result of just the assumed values would show.
struct PlanErrors {
    ExactEstimate estimate;
    std::vector<int> harmonics;
};
struct PlanResult {
    double lag = 0;          ///< of the interval, degrees
    double penetration = 0;  ///< distance within which a plane wave of the period falls to 1/e, ft
    double radius = 0;       ///< of investigation, ft: what lies further out changes k by less than 8 %
    std::vector<PlanHarmonic> harmonics;
    PlanErrors single;
    std::optional<PlanErrors> joint, storage, constrained;
    std::optional<double> compressibilitySigma;  ///< of the well fluid, by the storage fit, 1/psi
    ExactMethod recommended = ExactMethod::single;
    char grade = 'D';
    std::optional<std::int64_t> cyclesWanted;
    /// For the cycles wanted, else for those at hand; start-up and margins included.
    double hoursOnLevel = 0;
    std::vector<ExactBudgetLine> budget;
    std::vector<std::string> messages;
    const PlanErrors& Recommended() const;
};
/// `inputs` have passed FaultOfPlan.
PlanResult PlanTest(const PlanInputs& inputs);

/// The same test at another period and the same time on the level.
struct PlanPoint {
    double period = 0;  ///< s
    double cycles = 0;  ///< that fit, not rounded; below 2 there is no result
    std::optional<PlanResult> result;
    std::string fault;  ///< why there is no result
};
/// Periods from 20 s to 4 h in even steps of their logarithm.
std::vector<PlanPoint> PlanOverPeriods(const PlanInputs& inputs);

}  // namespace vorela
