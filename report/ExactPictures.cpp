#include "report/ExactPictures.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "analysis/ExactInterval.h"
#include "analysis/ExactStatistics.h"
#include "analysis/ExactTables.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

using Complex = std::complex<double>;

constexpr double percent = 100;
constexpr double degreesPerRadian = 180 / std::numbers::pi;
constexpr double secondsPerDay = 86400;
constexpr int circlePoints = 72;
constexpr int curvePoints = 60;
constexpr double shortestShare = 1.0 / 7, longestShare = 2;  // of the period of test, of the model's curve

DevicePoint NyquistPoint(Complex index) {
    const Complex impedance = 1.0 / index;
    return {impedance.real(), -impedance.imag()};
}

double LagOf(Complex index) {
    return std::arg(index) * degreesPerRadian;
}

/// Of the error of an interval's harmonic: both levels bring their own.
double DegreesOf(const ExactResults& results, const ExactInterval& interval, int number) {
    std::vector<EstimatedVariance> parts;
    for (const std::size_t dataset : {interval.dataset1, interval.dataset2}) {
        const ExactLevel& level = results.levels.at(dataset);
        for (const ExactHarmonic& harmonic : level.harmonics)
            if (harmonic.number == number && harmonic.sigma && level.degreesOfFreedom)
                parts.push_back({2.0 * *harmonic.sigma * *harmonic.sigma, *level.degreesOfFreedom});
    }
    return parts.empty() ? 0.0 : SatterthwaiteDegrees(parts);
}

void AddErrors(PictureHarmonic& picture, Complex index, double sigma, double degrees, double confidence) {
    const double radius = ConfidenceRadius(sigma, degrees, confidence);
    for (int i = 0; i <= circlePoints; ++i)
        picture.circle.push_back(
            NyquistPoint(index + std::polar(radius, 2 * std::numbers::pi * i / circlePoints)));
    const double reach = StudentQuantile(confidence, degrees) * sigma;
    const double size = std::abs(index);
    picture.amplitude.lower = 1 / (size + reach);
    if (reach >= size)
        return;
    picture.amplitude.upper = 1 / (size - reach);
    const double turn = std::asin(reach / size) * degreesPerRadian;
    picture.lag.lower = picture.lag.value - turn;
    picture.lag.upper = picture.lag.value + turn;
}

void AddModel(ImpedancePicture& picture, const ExactInterval& interval, const ExactEstimate& estimate) {
    const double period = interval.layer.period;
    for (int i = 0; i < curvePoints; ++i)
        picture.periods.push_back(period * shortestShare *
                                  std::pow(longestShare / shortestShare, i / (curvePoints - 1.0)));
    for (const Complex& index : ModelCurve(interval, estimate, picture.periods)) {
        picture.model.push_back(NyquistPoint(index));
        picture.modelAmplitude.push_back(1 / std::abs(index));
        picture.modelLag.push_back(LagOf(index));
    }
    if (picture.model.empty())
        picture.periods.clear();
}

/// Permeability, skin, grade; ranges where there are errors.
std::vector<std::string> LinesOf(const ExactEstimate& estimate, const std::optional<char>& grade) {
    const auto range = [&](const std::string& text) {
        return estimate.sigmaSkin ? "  (" + text + ")" : std::string();
    };
    return {"k " + PermeabilityText(estimate) + " mD" + range(PermeabilityRangeText(estimate)),
            "S " + SkinText(estimate) + range(SkinRangeText(estimate)) +
                (grade ? std::string("  ") + *grade : std::string())};
}

}  // namespace

double ConfidenceRadius(double sigma, double degreesOfFreedom, double confidence) {
    const double tail = 1 - confidence / percent;
    return sigma * std::sqrt(degreesOfFreedom * (std::pow(tail, -2 / degreesOfFreedom) - 1));
}

ImpedancePicture ImpedanceOf(const ExactResults& results, std::size_t interval) {
    const ExactInterval& shown = results.intervals.at(interval);
    const ExactEstimate* recommended = shown.Recommended();
    ImpedancePicture picture;
    picture.title = shown.label + " ft";
    for (const ExactHarmonic& harmonic : shown.harmonics) {
        const double period = shown.layer.period / harmonic.number;
        const double storage = recommended != nullptr ? recommended->storage : 0.0;
        const Complex index =
            harmonic.index - Complex(0, 2 * std::numbers::pi * secondsPerDay / period * storage);
        if (index == Complex())
            continue;
        PictureHarmonic one;
        one.number = harmonic.number;
        one.used = harmonic.used;
        one.period = period;
        one.point = NyquistPoint(index);
        one.amplitude.value = 1 / std::abs(index);
        one.lag.value = LagOf(index);
        const double degrees = DegreesOf(results, shown, harmonic.number);
        if (harmonic.sigma && *harmonic.sigma > 0.0 && degrees > 0.0)
            AddErrors(one, index, *harmonic.sigma, degrees, results.confidence);
        picture.harmonics.push_back(std::move(one));
    }
    if (recommended == nullptr || picture.harmonics.empty())
        return picture;
    AddModel(picture, shown, *recommended);
    picture.note = "Points with " + FormatNumber(results.confidence) + " % limits";
    if (!picture.model.empty())
        picture.note += "; line: model of " + std::string(MethodName(shown.recommended)) + ", k " +
                        PermeabilityText(*recommended) + " mD, skin " + SkinText(*recommended);
    return picture;
}

CyclesPicture CyclesOf(const ExactLevel& level, double confidence) {
    CyclesPicture picture;
    if (level.cycles.empty() || level.harmonics.empty())
        return picture;
    const ExactHarmonic& whole = level.harmonics.front();
    const auto point = [](Complex index) { return DevicePoint{index.real(), index.imag()}; };
    picture.title = level.dataset;
    picture.mean = point(whole.index);
    picture.note = "Blue: each cycle; red: all together";
    double radius = 0;
    if (whole.sigma && *whole.sigma > 0.0 && level.degreesOfFreedom) {
        const double ofOne = *whole.sigma * std::sqrt(static_cast<double>(level.periods));
        radius = ConfidenceRadius(ofOne, *level.degreesOfFreedom, confidence);
        picture.note += ", with the circle of " + FormatNumber(confidence) +
                        " % of single cycles (outside: with their number)";
        for (int i = 0; i <= circlePoints; ++i)
            picture.circle.push_back(
                point(whole.index + std::polar(radius, 2 * std::numbers::pi * i / circlePoints)));
    }
    for (const ExactCycle& cycle : level.cycles)
        picture.cycles.push_back(
            {cycle.number, point(cycle.index), radius > 0.0 && std::abs(cycle.index - whole.index) > radius});
    return picture;
}

ProfilePicture ProfileOf(const ExactResults& results) {
    ProfilePicture picture;
    picture.title = "with " + FormatNumber(results.confidence) + " % ranges";
    for (const ExactInterval& interval : results.intervals) {
        ProfileBar bar;
        bar.top = std::min(interval.depth1, interval.depth2);
        bar.bottom = std::max(interval.depth1, interval.depth2);
        bar.lines = {"no result"};
        if (const ExactEstimate* shown = interval.Recommended(); shown != nullptr) {
            bar.permeability = {shown->permeability.value_or(0.0), shown->permeabilityRange.lower,
                                shown->permeabilityRange.upper};
            bar.skin = {shown->skin.value_or(0.0), shown->skinRange.lower, shown->skinRange.upper};
            bar.solved = shown->HasSolution();
            if (bar.solved)
                bar.lines = LinesOf(*shown, interval.grade);
            else if (shown->permeabilityRange.lower)
                bar.lines = {"k " + PermeabilityRangeText(*shown) + " mD"};
        }
        picture.bars.push_back(std::move(bar));
    }
    return picture;
}

}  // namespace vorela
