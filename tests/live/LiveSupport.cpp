#include "tests/live/LiveSupport.h"

#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"

namespace vorela::test {
namespace {

/// −1 … 1, the same for the same index and seed.
double Noise(std::int32_t index, int seed) {
    auto x = static_cast<std::uint32_t>(index) * 2654435761U + static_cast<std::uint32_t>(seed) * 40503U;
    x ^= x >> 15;
    x *= 2246822519U;
    x ^= x >> 13;
    return static_cast<double>(x) / 2147483648.0 - 1.0;
}

RecordedCurve Signal(const TestPlan& plan, const char* name, const char* unit, double level, double amplitude,
                     double delaySeconds, int seed) {
    const auto value = [=](std::int32_t index) -> std::optional<double> {
        // Single samples, a run, and a sample just before the end are missing.
        const std::int32_t n = (index - plan.first) / 10;
        if (plan.gaps && (n == 13 || n == 97 || (n >= 200 && n < 204) || n == plan.samples - 3))
            return std::nullopt;
        const double t = index / 100.0;
        const double angle = 2 * std::numbers::pi * (t - delaySeconds) / plan.periodSeconds;
        return level +
               amplitude * (std::sin(angle) + std::sin(3 * angle) / 4 + t / 200 + Noise(index, seed) / 10);
    };
    return {name, unit, plan.samples, value, plan.first};
}

std::string DifferenceOfCurves(const StoredCurve& a, const StoredCurve& b, bool oneUnitOff) {
    using ::testing::PrintToString;
    if (a.Attributes() != b.Attributes())
        return PrintToString(a.Attributes()) + " against " + PrintToString(b.Attributes());
    for (std::size_t i = 0; i < a.samples.size(); ++i) {
        const auto& x = a.samples[i];
        const auto& y = b.samples[i];
        if (x != y && !(oneUnitOff && x && y && std::nextafter(*x, *y) == *y))
            return "sample " + std::to_string(i) + ": " + PrintToString(std::pair(x, y));
    }
    return "";
}

std::string DifferenceOfCycles(const CycleRecord& a, const CycleRecord& b) {
    if (a.count != b.count || a.selectedCycle != b.selectedCycle)
        return "count " + std::to_string(a.count) + " against " + std::to_string(b.count) + " or selection";
    const auto same = [&](auto part) {
        const auto& x = a.*part;
        const auto& y = b.*part;
        return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof x[0]) == 0;
    };
    const bool sameTimes = same(&CycleRecord::start) && same(&CycleRecord::period);
    const bool sameHarmonics =
        same(&CycleRecord::valve) && same(&CycleRecord::pressure) && same(&CycleRecord::flow);
    const bool sameRest =
        same(&CycleRecord::ratio) && same(&CycleRecord::phaseLag) && same(&CycleRecord::analysed);
    return sameTimes && sameHarmonics && sameRest ? "" : "results of the cycles";
}

}  // namespace

std::vector<RecordedCurve> CurvesOf(const TestPlan& plan) {
    std::vector<RecordedCurve> curves{Signal(plan, "ZG", "psi", 3000, 0.5, 1.1, plan.seed),
                                      Signal(plan, "RTC", "rps", 12, 2, 0.3, plan.seed + 100)};
    // The valve is a little slower than the nominal period, so that its changes fall between the samples.
    const auto period = static_cast<std::int32_t>(plan.periodSeconds * 100) + 6;
    for (RecordedCurve& curve : ValveCurves({plan.firstBoundary, period, plan.samples, plan.first, 10}))
        curves.push_back(std::move(curve));
    const double depth = plan.depth;
    curves.push_back({"ADPTH", "ft", plan.samples, [depth](std::int32_t) { return depth; }, plan.first});
    return curves;
}

Recording::Recording(DravikFixture& fixture, std::string dataset, std::vector<RecordedCurve> curves)
    : fixture_(&fixture), dataset_(std::move(dataset)), curves_(std::move(curves)) {
    std::vector<RecordedCurve> empty = curves_;
    for (RecordedCurve& curve : empty)
        curve.count = 0;
    fixture_->AddCurves(dataset_, empty);
    WriteFlag(1);
}

void Recording::WriteFlag(std::int16_t recording) {
    Presentation presentation;
    presentation.recordingFlag = recording;
    presentation.indexKind = 1;
    fixture_->SetPresentation(dataset_, presentation);
}

void Recording::Append(std::int32_t samples) {
    const std::int32_t count = std::min(samples, Left());
    fixture_->Record(dataset_, curves_, written_, count);
    written_ += count;
    if (Left() == 0)
        WriteFlag(0);
}

void Use(const Way& way, double periodSeconds) {
    ParameterSet& parameters = CurrentParameters();
    parameters = ParameterSet{};
    parameters.period = periodSeconds;
    parameters.filterN = way.filterN;
    parameters.bandPass = way.bandPass ? 1 : 0;
    parameters.dFilt = way.spinnerFilter;
    parameters.dLen = way.spinnerLength;
}

std::string Difference(const Outcome& live, const Outcome& batch) {
    for (const auto& [name, curve] : live.curves) {
        const bool oneUnitOff = name.ends_with(suffix::dravikFilteredFlow);
        const std::string difference = DifferenceOfCurves(curve, batch.curves.at(name), oneUnitOff);
        if (!difference.empty())
            return name + ": " + difference;
    }
    return DifferenceOfCycles(live.cycles, batch.cycles);
}

Outcome LiveFixture::Observe(const std::string& dataset) {
    const CurveChoice& choice = CurrentSelection().choice;
    Outcome outcome{{},
                    std::ranges::find(CurrentSelection().datasets, dataset, &DatasetRecord::dataset)->cycles};
    for (const std::string& name : {FilteredPressureName(choice), FilteredFlowName(choice),
                                    DravikFilteredFlowName(choice), std::string(curve::valveSignal)})
        outcome.curves[name] = ReadCurve(dataset, name);
    return outcome;
}

bool LiveFixture::CreateAll(std::size_t index) {
    ResetFilterSlots();
    ResetDatasetCycles(index);
    return WithDatabase(index, CreateFilteredCurves, false) &&
           WithDatabase(index, ReconstructValveCurve, false) && WithDatabase(index, FilterDatasetFlow, false);
}

Outcome LiveFixture::OneRunOver(const std::vector<RecordedCurve>& curves) {
    const std::string dataset = NewName();
    Recording(*this, dataset, curves).AppendAll();
    Select({dataset});
    EXPECT_TRUE(CreateAll(0));
    return Observe(dataset);
}

}  // namespace vorela::test
