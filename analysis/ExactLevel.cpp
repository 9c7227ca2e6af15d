#include "analysis/ExactLevel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "db/IndexUnits.h"

namespace vorela {
namespace {

using Complex = std::complex<double>;
constexpr double degrees = 180.0 / std::numbers::pi;

// --- Cycles ---

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

/// Periods in a cycle of this length; 0 for one that is neither one period long nor several whole ones.
std::int32_t PeriodsIn(double length, double usual) {
    constexpr double tolerance = 0.10;
    constexpr double toleranceOfSeveral = 0.02;
    const double ratio = length / usual;
    if (std::abs(ratio - 1.0) <= tolerance)
        return 1;
    const double count = std::round(ratio);
    return count >= 2.0 && std::abs(ratio / count - 1.0) <= toleranceOfSeveral
               ? static_cast<std::int32_t>(count)
               : 0;
}

/// At most a quarter of the samples is missing, and all of those could be filled.
bool IsUsable(const SampledCurve& curve, double from, double to) {
    const SampledCurve::Span span = curve.SpanOf(from, to);
    return span.inside && curve.Count(span, SampledCurve::missing) == 0 &&
           4 * curve.Count(span, SampledCurve::filled) <= span.Size();
}

std::vector<double> LengthsOf(const std::vector<std::int32_t>& boundaries) {
    std::vector<double> lengths;
    for (std::size_t i = 0; i + 1 < boundaries.size(); ++i)
        lengths.push_back(static_cast<double>(boundaries[i + 1]) - boundaries[i]);
    return lengths;
}

/// The longest run of usable cycles among `first` … `last`, the earliest of equals.
CycleRun LongestRun(const LevelRecord& record, double usual, std::int32_t first, std::int32_t last) {
    CycleRun longest;
    CycleRun run;
    for (std::int32_t n = first; n <= last; ++n) {
        const double from = record.boundaries[static_cast<std::size_t>(n) - 1];
        const double to = record.boundaries[static_cast<std::size_t>(n)];
        const std::int32_t periods = PeriodsIn(to - from, usual);
        if (periods == 0 || !IsUsable(record.pressure, from, to) || !IsUsable(record.flow, from, to)) {
            run = {};
            continue;
        }
        if (run.first == 0) {
            run.first = n;
            run.from = from;
        }
        run.last = n;
        run.to = to;
        run.periods.push_back(periods);
        run.total += periods;
        if (run.total > longest.total)
            longest = run;
    }
    return longest;
}

struct ChosenCycles {
    std::int32_t first = 0, last = 0;
};
ChosenCycles Choose(const ExactSettings& settings, std::int32_t real) {
    ChosenCycles chosen{settings.firstCycle, settings.lastCycle};
    // The first cycle's period mean reaches back before the valve was first opened.
    if (chosen.first < 1)
        chosen.first = real > 2 ? 2 : 1;
    if (chosen.last < 1 || chosen.last > real)
        chosen.last = real;
    return chosen;
}

// --- A curve over the run ---

/// Bins beside a harmonic, at the run's own length: what they hold the valve has not put there.
int BinsBeside(std::int32_t periods) {
    constexpr int most = 12;
    return std::min(periods / 2, most);
}

/// Gain of what taking off the period mean leaves of a signal of this frequency, in 1/period.
double GainWithoutMean(double frequency) {
    const double angle = std::numbers::pi * frequency;
    return 1.0 - std::sin(angle) / angle;
}

struct CurveHarmonics {
    SampledCurve::Span stretch, window;
    PeriodMean mean;             ///< over the stretch
    std::vector<double> rest{};  ///< over the stretch, the period mean taken off
    PhaseGrid grid{};            ///< of the window
    std::array<Complex, 7> amplitudes{};
    int highest = 0;
    /// Noise beside harmonics 1, 3, 5: amplitudes at nM + d, d = ±1 … ±D.
    std::array<std::vector<Complex>, 3> noise{};

    std::span<const double> In(const SampledCurve::Span& span) const {
        return std::span(rest).subspan(span.begin - stretch.begin, span.Size());
    }
};

SampledCurve::Span StretchRound(const SampledCurve& curve, SampledCurve::Span window) {
    while (window.begin > 0 && curve.states[window.begin - 1] != SampledCurve::missing)
        --window.begin;
    while (window.end < curve.states.size() && curve.states[window.end] != SampledCurve::missing)
        ++window.end;
    return window;
}

PhaseGrid GridOf(const SampledCurve& curve, const SampledCurve::Span& span, double from, double period) {
    return {(curve.TimeOf(span.begin) - from) / period, curve.step / period, span.Size()};
}

void ReadNoise(CurveHarmonics& result, const SampledCurve& curve, const HarmonicFit& fit,
               const CycleRun& run) {
    const int bins = BinsBeside(run.total);
    if (bins == 0)
        return;
    std::vector<double> frequencies;
    for (int n = 1; n <= std::min(5, result.highest); n += 2)
        for (int d = -bins; d <= bins; ++d)
            if (d != 0)
                frequencies.push_back(n + static_cast<double>(d) / run.total);
    const std::vector<Complex> sums = fit.ResidualAt(result.In(result.window), frequencies);
    const auto count = static_cast<double>(result.window.Size());
    // Filled samples have no noise of their own.
    const double share = count / static_cast<double>(curve.Count(result.window, SampledCurve::present));
    const std::size_t each = 2 * static_cast<std::size_t>(bins);
    for (std::size_t j = 0; j < sums.size(); ++j)
        result.noise.at(j / each).push_back(2.0 / count * sums[j] * share / GainWithoutMean(frequencies[j]));
}

/// The curve must outlive the result.
CurveHarmonics HarmonicsOf(const SampledCurve& curve, const CycleRun& run) {
    const SampledCurve::Span window = curve.SpanOf(run.from, run.to);
    const SampledCurve::Span stretch = StretchRound(curve, window);
    const auto samples = std::span(curve.values).subspan(stretch.begin, stretch.Size());
    CurveHarmonics result{stretch, window, PeriodMean(samples, run.Period() / curve.step)};
    result.rest = WithoutPeriodMean(curve, stretch, result.mean);
    result.grid = GridOf(curve, result.window, run.from, run.Period());
    const HarmonicFit fit(result.In(result.window), result.grid);
    result.highest = fit.Highest();
    for (int n = 0; n <= HarmonicFit::most; ++n)
        result.amplitudes[static_cast<std::size_t>(n)] = fit.Amplitude(n);
    ReadNoise(result, curve, fit, run);
    return result;
}

double MeanNorm(const std::vector<Complex>& values) {
    double sum = 0.0;
    for (const Complex& value : values)
        sum += std::norm(value);
    return sum / static_cast<double>(values.size());
}

// --- Harmonics of the level ---

/// Variance of the complex error of an index: the noise of flow and pressure beside the harmonic, their
/// covariance with it.
double IndexVariance(const CurveHarmonics& pressure, const CurveHarmonics& flow, std::size_t odd,
                     Complex index, Complex amplitude) {
    double sum = 0.0;
    const std::size_t bins = pressure.noise[odd].size();
    for (std::size_t j = 0; j < bins; ++j)
        sum += std::norm((flow.noise[odd][j] + index * pressure.noise[odd][j]) / amplitude);
    return sum / static_cast<double>(bins);
}

void PutHarmonics(ExactLevel& level, const CurveHarmonics& pressure, const CurveHarmonics& flow,
                  int highest) {
    for (int n = 1; n <= std::min({highest, pressure.highest, flow.highest}); n += 2) {
        const auto odd = static_cast<std::size_t>(n / 2);
        const Complex amplitude = pressure.amplitudes[static_cast<std::size_t>(n)];
        ExactHarmonic harmonic;
        harmonic.number = n;
        harmonic.index = -flow.amplitudes[static_cast<std::size_t>(n)] / amplitude;
        if (!pressure.noise[odd].empty())
            harmonic.sigma = std::sqrt(IndexVariance(pressure, flow, odd, harmonic.index, amplitude) / 2.0);
        level.harmonics.push_back(harmonic);
    }
    const int bins = BinsBeside(level.periods);
    if (bins > 0)
        level.degreesOfFreedom = 4.0 * bins;
}

// --- Single cycles ---

double FilledShare(const SampledCurve& curve, const SampledCurve::Span& span) {
    return static_cast<double>(curve.Count(span, SampledCurve::filled)) / static_cast<double>(span.Size());
}

Complex FundamentalOf(const CurveHarmonics& of, const SampledCurve& curve, double from, double to,
                      std::int32_t periods) {
    const SampledCurve::Span span = curve.SpanOf(from, to);
    const PhaseGrid grid = GridOf(curve, span, from, (to - from) / periods);
    return HarmonicFit(of.In(span), grid).Amplitude(1);
}

/// Change of the curve's period mean.
double DriftOver(const CurveHarmonics& of, const SampledCurve& curve, double from, double to) {
    const auto mean = [&](double time) {
        return of.mean.At((time - curve.TimeOf(of.stretch.begin)) / curve.step);
    };
    return mean(to) - mean(from);
}

/// What the noise beside the fundamental makes of a cycle of one period.
struct CycleNoise {
    double pressure = 0, flow = 0;  ///< of an amplitude
    double index = 0;               ///< of the level's index
};

void PutSignalToNoise(ExactCycle& cycle, const CycleNoise& noise, Complex pressure, Complex flow) {
    const double root = std::sqrt(static_cast<double>(cycle.periods));
    if (noise.pressure > 0.0)
        cycle.snrPressure = std::abs(pressure) / noise.pressure * root;
    if (noise.flow > 0.0)
        cycle.snrFlow = std::abs(flow) / noise.flow * root;
}

void PutDeviations(ExactLevel& level, double indexNoise) {
    Complex sum;
    for (const ExactCycle& cycle : level.cycles)
        sum += cycle.index * static_cast<double>(cycle.periods);
    for (ExactCycle& cycle : level.cycles) {
        const double own = cycle.periods;
        const double others = level.periods - own;
        if (others <= 0.0 || indexNoise == 0.0)
            continue;
        const Complex mean = (sum - cycle.index * own) / others;
        const double spread = indexNoise * std::sqrt(level.periods / (own * others));
        cycle.deviation = std::abs(cycle.index - mean) / spread;
    }
}

void PutGrade(ExactCycle& cycle) {
    constexpr double best = 0.1;  // degrees
    constexpr double good = 0.5;
    constexpr double fair = 2.0;
    if (!cycle.phaseSigma)
        return;
    const double sigma = *cycle.phaseSigma;
    char grade = sigma <= best ? 'A' : sigma <= good ? 'B' : sigma <= fair ? 'C' : 'D';
    constexpr double mostDeviation = 3.0;
    constexpr double mostPeriodError = 0.01;
    constexpr double mostDrift = 0.5;
    if (cycle.deviation.value_or(0.0) > mostDeviation || std::abs(cycle.periodError) > mostPeriodError ||
        std::abs(cycle.drift) > mostDrift)
        grade = std::min<char>(static_cast<char>(grade + 1), 'D');
    cycle.grade = grade;
}

void PutCycles(ExactLevel& level, const LevelRecord& record, const CycleRun& run,
               const CurveHarmonics& pressure, const CurveHarmonics& flow) {
    const double root = std::sqrt(static_cast<double>(run.total));
    const Complex whole = level.harmonics.front().index;
    CycleNoise noise;
    if (level.harmonics.front().sigma)
        noise = {root * std::sqrt(MeanNorm(pressure.noise[0])), root * std::sqrt(MeanNorm(flow.noise[0])),
                 root * *level.harmonics.front().sigma * std::numbers::sqrt2};
    for (std::size_t i = 0; i < run.periods.size(); ++i) {
        ExactCycle cycle;
        cycle.number = run.first + static_cast<std::int32_t>(i);
        cycle.periods = run.periods[i];
        const double from = record.boundaries[static_cast<std::size_t>(cycle.number) - 1];
        const double to = record.boundaries[static_cast<std::size_t>(cycle.number)];
        const Complex p = FundamentalOf(pressure, record.pressure, from, to, cycle.periods);
        const Complex q = FundamentalOf(flow, record.flow, from, to, cycle.periods);
        cycle.index = -q / p;
        cycle.drift = DriftOver(pressure, record.pressure, from, to) / std::abs(p);
        cycle.periodError = (to - from) / cycle.periods / run.Period() - 1.0;
        cycle.filled = std::max(FilledShare(record.pressure, record.pressure.SpanOf(from, to)),
                                FilledShare(record.flow, record.flow.SpanOf(from, to)));
        if (level.harmonics.front().sigma)
            cycle.phaseSigma = noise.index / std::sqrt(2.0 * cycle.periods) / std::abs(whole) * degrees;
        PutSignalToNoise(cycle, noise, p, q);
        level.cycles.push_back(cycle);
    }
    PutDeviations(level, noise.index);
    for (ExactCycle& cycle : level.cycles)
        PutGrade(cycle);
}

// --- Notes ---

std::string CycleSpan(std::int32_t first, std::int32_t last) {
    return first == last ? "cycle " + std::to_string(first)
                         : "cycles " + std::to_string(first) + " to " + std::to_string(last);
}

void PutNotes(ExactLevel& level, const ChosenCycles& chosen, const ExactSettings& settings) {
    constexpr double samplesForASharpEdge = 1000.0;
    constexpr std::int32_t fewPeriods = 6;
    if (level.firstCycle != chosen.first || level.lastCycle != chosen.last)
        level.notes.push_back("only " + CycleSpan(level.firstCycle, level.lastCycle) +
                              " without gaps or odd lengths");
    if (settings.lastCycle > chosen.last)
        level.notes.push_back("there is no cycle " + std::to_string(settings.lastCycle) + ", only " +
                              std::to_string(chosen.last));
    if (level.step > level.period / samplesForASharpEdge * (1.0 + 1e-9))
        level.notes.push_back("step is coarse for a sharp valve edge");
    if (level.periods == 1)
        level.notes.push_back("one cycle has no measure of its scatter");
    else if (level.periods < fewPeriods)
        level.notes.push_back("fewer than 6 cycles: the errors are uncertain themselves");
}

/// A curve that does not change has an amplitude of rounding only.
bool HasSignal(const CurveHarmonics& curve) {
    double largest = 0.0;
    for (const double value : curve.In(curve.window))
        largest = std::max(largest, std::abs(value));
    constexpr double rounding = 1e-9;
    return std::abs(curve.amplitudes[1]) > rounding * largest && std::abs(curve.amplitudes[1]) > 1e-12;
}

}  // namespace

ExactLevel AnalyseLevel(LevelRecord record, const ExactSettings& settings) {
    ExactLevel level;
    level.dataset = record.dataset;
    level.step = SecondsOf(std::max(record.pressure.step, record.flow.step));
    const std::vector<double> lengths = LengthsOf(record.boundaries);
    const auto real = static_cast<std::int32_t>(lengths.size());
    const ChosenCycles chosen = Choose(settings, real);
    const double usual = lengths.empty() ? 0.0 : Median(lengths);
    const bool sampled = record.pressure.step > 0.0 && record.flow.step > 0.0;
    if (!sampled || !(usual > 0.0) || chosen.first > chosen.last) {
        level.fault = sampled && real > 0 && settings.firstCycle > real
                          ? "there is no cycle " + std::to_string(settings.firstCycle) + ", only " +
                                std::to_string(real)
                          : "no whole cycle without a gap";
        return level;
    }
    FillGaps(record.pressure, usual);
    FillGaps(record.flow, usual);
    const CycleRun run = LongestRun(record, usual, chosen.first, chosen.last);
    if (run.total == 0) {
        level.fault = "no whole cycle without a gap";
        return level;
    }
    level.firstCycle = run.first;
    level.lastCycle = run.last;
    level.periods = run.total;
    level.period = SecondsOf(run.Period());
    const CurveHarmonics pressure = HarmonicsOf(record.pressure, run);
    const CurveHarmonics flow = HarmonicsOf(record.flow, run);
    PutNotes(level, chosen, settings);
    if (!HasSignal(pressure)) {
        level.fault = "no pressure signal";
        return level;
    }
    PutHarmonics(level, pressure, flow, settings.harmonics);
    PutCycles(level, record, run, pressure, flow);
    return level;
}

}  // namespace vorela
