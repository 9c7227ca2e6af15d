// A simulated periodic test of a layered well: the curves that each level would record, and the truth behind
// them.
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/ValveSchedule.h"
#include "dravik/tool/WellModel.h"

namespace dravik {

struct Simulation {
    std::vector<Level> levels;  ///< in the user's order; depths differ
    Wellbore well;
    std::int32_t period = 24000;  ///< hundredths of a second
    std::int16_t step = 10;       ///< hundredths of a second
    std::int32_t cycles = 10;     ///< whole cycles in the record; half a cycle stands before and after them
    double spinnerSlope = 0.05;   ///< rps/(ft/min)
    double pressureAmplitude = 50.0;  ///< of the fundamental, psi
    double noise = 0.0;               ///< standard deviation, in parts of each signal's fundamental amplitude
    double drift = 0.0;               ///< straight trend in an hour, in the same parts
    std::uint64_t seed = 1;
    double ramp = 0.0;       ///< length of each edge of the valve's wave, s; the edge's middle keeps its time
    double flowDelay = 0.0;  ///< by which the flow's clock is late, s
    /// The valve is closed until the first boundary and opens there for the first time.
    bool fromRest = false;
};

/// The tool string of a simulated recording.
inline constexpr const char* simulatedTools = "PVL-ZG-RTC";

/// "LEVEL1", "LEVEL2" ... in the user's order.
std::string LevelDataset(std::size_t level);

/// Throws ToolError naming the first thing that no real test could have (a level below the total depth, two
/// levels at one depth, a skin below what a finite well permits, a record beyond 32-bit times).
void CheckSimulation(const Simulation& simulation);

/// Angular frequency of the fundamental, rad/h.
double OmegaPerHour(const Simulation& simulation);

struct LevelTruth {
    std::string dataset;
    double depth = 0.0;
    double hpi = 0.0;                ///< flow past the level over pressure, rps/psi
    double phaseLag = 0.0;           ///< degrees, as the analysis counts it
    double downholeHpi = 0.0;        ///< the same ratio in bbl/day/psi
    double flowAmplitude = 0.0;      ///< of the fundamental, rps
    double pressureAmplitude = 0.0;  ///< of the fundamental, psi
};

/// A layer: the interval between a level and the next deeper one, or what lies below the deepest level.
struct LayerTruth {
    std::string label;    ///< "deeper to shallower", or "below <depth>"
    std::string dataset;  ///< of the level at its top
    bool isInterval = false;
    double hpi = 0.0;    ///< bbl/day/psi
    double phase = 0.0;  ///< degrees
    Layer layer;
};

struct Truth {
    std::vector<LevelTruth> levels;  ///< in the user's order
    std::vector<LayerTruth> layers;  ///< the same
};
Truth TruthOf(const Simulation& simulation);

/// What a level records: ZG (psi), RTC (rps), PVLPOS, PVLID, PVLIDT, PVLT and, last, one sample of ADPTH
/// (ft).
///
/// The valve imposes a square wave on the well's whole flow. All its odd harmonics below half the sampling
/// rate go through the model, none above: nothing is aliased, so the fundamental of the samples is the truth.
/// Harmonics also end before the first one at which the skin term of a layer would outweigh its reservoir
/// term (negative skin); an enlarged well has them all. From rest the responses to the valve's single steps
/// add up instead.
class SimulatedLevel final : public CurveSource {
  public:
    /// `simulation` has passed CheckSimulation.
    SimulatedLevel(const Simulation& simulation, std::size_t level);

    void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
              std::uint8_t* present) override;

  private:
    struct Signal {
        std::vector<double>
            wave;  ///< one repetition on the sample grid (from rest: the whole record), mean included
        double amplitude = 0.0;
    };
    void MakeWave(const Simulation& simulation, std::size_t level);
    void MakeStart(const Simulation& simulation, std::size_t level);
    void AddHarmonic(const Simulation& simulation, std::int64_t harmonic, std::complex<double> pressure,
                     std::complex<double> flow);
    double SampleOf(const Signal& signal, std::size_t curve, std::int64_t row) const;

    Signal pressure_;
    Signal flow_;
    std::vector<double>
        cosines_;  ///< of 2 pi i / period, i in hundredths of a second; empty once the waves stand
    std::vector<double> sines_;
    ValveSchedule valve_;
    double depth_;
    double noise_;
    double drift_;
    std::uint64_t randomKey_;
};

/// The truth as tables for a reader; as JSON in full precision.
std::string TruthText(const Simulation& simulation, const Truth& truth);
std::string TruthJson(const Simulation& simulation, const Truth& truth);

}  // namespace dravik
