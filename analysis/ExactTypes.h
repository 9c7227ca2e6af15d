// What the exact analysis takes and gives: plain values, for windows, tables and files alike. An empty value
// could not be computed; a message says why.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorela {

/// Choices of the user.
struct ExactSettings {
    std::int32_t firstCycle = 0;  ///< 1-based; 0: the second where there are more than two, else the first
    std::int32_t lastCycle = 0;   ///< 1-based; 0: the last whole one
    std::int32_t harmonics = 5;   ///< highest odd harmonic of the valve's wave that may take part: 1, 3, 5
    double confidence = 95;       ///< of the ranges, %
    /// Standard error of the well fluid's compressibility, % of it; −1: not known.
    double compressibilityError = -1;
};

/// A layer and the period of the test of it.
struct ExactLayer {
    double height = 10;             ///< ft
    double porosity = 0.2;          ///< v/v
    double viscosity = 1;           ///< cP
    double compressibility = 1e-5;  ///< total, 1/psi
    double boreholeDiameter = 8.5;  ///< in
    double period = 240;            ///< s
};

/// An end that is missing is at infinity (or not known, where the value itself is missing).
struct ExactRange {
    std::optional<double> lower, upper;
};

/// Permeability and skin by one method.
struct ExactEstimate {
    std::optional<double> permeability;  ///< mD
    std::optional<double> skin;
    std::optional<double> sigmaLnPermeability;  ///< standard error of ln k
    std::optional<double> sigmaSkin;
    std::optional<double> correlation;  ///< of the two errors
    ExactRange permeabilityRange;       ///< mD, at the confidence asked for
    ExactRange skinRange;
    std::optional<double> degreesOfFreedom;  ///< of the error of ln k
    std::optional<double> x;                 ///< dimensionless frequency r_w √(ω/η) of the fundamental
    std::optional<double> pValue;  ///< chance of harmonics that agree as badly as these in a true model
    double storage = 0;            ///< between the levels, beyond the assumed, that the fit found, bbl/psi
    bool HasSolution() const { return permeability.has_value(); }
};

/// Index of a harmonic of the valve's wave, bbl/day/psi: flow past a level (or out of an interval) for each
/// psi that the pressure falls.
struct ExactHarmonic {
    int number = 1;
    std::complex<double> index;
    std::optional<double> sigma;  ///< standard error of its real and of its imaginary part
    bool used = false;            ///< of an interval: stands out of the noise and takes part in the fits
    /// |index| over the standard error of the complex value.
    std::optional<double> SignalToNoise() const;
};

/// One valve cycle of a level.
struct ExactCycle {
    std::int32_t number = 1;     ///< as in the cycle record
    std::complex<double> index;  ///< of the fundamental, this cycle alone, bbl/day/psi
    std::optional<char> grade;   ///< 'A' … 'D'
    std::optional<double> snrPressure, snrFlow;
    std::optional<double> phaseSigma;  ///< degrees
    std::optional<double> deviation;   ///< from the mean of the other cycles, in standard errors
    double drift = 0;                  ///< change of the period mean of the pressure, in pressure amplitudes
    double periodError = 0;            ///< length over the mean period, less 1
    std::int32_t periods = 1;          ///< 2 and more where marks of the valve were lost
    double filled = 0;                 ///< share of its samples that were missing and filled in
};

/// A level: its harmonics over one run of cycles.
struct ExactLevel {
    std::string dataset;
    std::int32_t firstCycle = 0, lastCycle = 0;  ///< used, 1-based; 0: none
    std::int32_t periods = 0;
    double period = 0;                       ///< mean, s
    double step = 0;                         ///< of the samples, the coarser of the two curves, s
    std::optional<double> degreesOfFreedom;  ///< of the variance of each harmonic
    std::vector<ExactHarmonic> harmonics;    ///< 1, 3, 5 as far as they were asked for and are sampled
    std::vector<ExactCycle> cycles;          ///< those used
    std::string fault;                       ///< why there are no harmonics; "" when there are
    std::vector<std::string> notes;          ///< what is doubtful about the level
};

/// What a small error of one input would do to the single-harmonic result.
struct ExactBudgetLine {
    std::string input;
    std::string step;  ///< "10 ms", "1 %"
    std::optional<double> lnPermeability, skin;
};

enum class ExactMethod { none, single, joint, storage, constrained };
const char* MethodName(ExactMethod method);

/// An interval between two levels.
struct ExactInterval {
    std::string label;                       ///< as in the interval record
    std::size_t dataset1 = 0, dataset2 = 0;  ///< of the shallower and of the deeper level
    double depth1 = 0, depth2 = 0;           ///< ft
    ExactLayer layer;
    double wellCompressibility = 0;  ///< assumed, 1/psi
    double wellVolume = 0;           ///< between the levels, bbl
    ExactMethod recommended = ExactMethod::none;
    std::optional<char> grade;  ///< of the recommended result
    std::vector<std::string> messages;
    std::vector<ExactHarmonic> harmonics;  ///< storage by the assumed compressibility taken off
    ExactEstimate single, joint, storage;
    std::optional<ExactEstimate> constrained;   ///< where an error of the compressibility is stated
    std::optional<ExactEstimate> enlargedWell;  ///< negative skin as a well of larger radius
    std::optional<double> apparentCompressibility,
        apparentCompressibilitySigma;  ///< of the well fluid, 1/psi
    std::vector<ExactBudgetLine> budget;
    const ExactEstimate* Recommended() const;  ///< nullptr when none is
};

struct ExactResults {
    std::vector<ExactLevel> levels;        ///< as the selected datasets
    double confidence = 95;                ///< of the ranges, %
    std::vector<ExactInterval> intervals;  ///< interval i pairs levels i + 1 and i
};

}  // namespace vorela
