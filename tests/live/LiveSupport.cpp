#include "tests/live/LiveSupport.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

#include "app/StartUp.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "platform/DravikLibraries.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"

namespace vorela::test {
namespace {

const DkBaseApi& Api() {
    return LoadedLibraries().database;
}

void Check(std::int32_t status, const std::string& what) {
    if (status != DK_OK)
        ThrowDravikStatus(status, what);
}

/// −1 … 1, the same for the same index and seed.
double Noise(std::int32_t index, int seed) {
    auto x = static_cast<std::uint32_t>(index) * 2654435761U + static_cast<std::uint32_t>(seed) * 40503U;
    x ^= x >> 15;
    x *= 2246822519U;
    x ^= x >> 13;
    return static_cast<double>(x) / 2147483648.0 - 1.0;
}

CurveSpec Signal(const TestPlan& plan, const char* name, const char* unit, double level, double amplitude,
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

std::uint32_t UnitsInTheLastPlace(float a, float b) {
    const auto ordered = [](float x) {
        const auto bits = std::bit_cast<std::int32_t>(x);
        return bits < 0 ? std::numeric_limits<std::int32_t>::min() - bits : bits;
    };
    return static_cast<std::uint32_t>(std::abs(std::int64_t{ordered(a)} - ordered(b)));
}

std::string DifferenceOfCurves(const StoredCurve& a, const StoredCurve& b, std::uint32_t allowed) {
    const auto spans = [](const ItemInfo& i) {
        return "extent " + std::to_string(i.extentFirst) + " " + std::to_string(i.extentLast) + " valid " +
               std::to_string(i.validFirst) + " " + std::to_string(i.validLast) + " step " +
               std::to_string(i.step) + " made " + i.made;
    };
    if (spans(a.info) != spans(b.info))
        return spans(a.info) + " against " + spans(b.info);
    for (std::size_t i = 0; i < a.samples.size(); ++i) {
        const auto& x = a.samples[i];
        const auto& y = b.samples[i];
        if (x.has_value() != y.has_value() || (x && UnitsInTheLastPlace(*x, *y) > allowed))
            return "sample " + std::to_string(i) + " of " + std::to_string(a.samples.size()) + ": " +
                   (x ? std::to_string(*x) : "none") + " against " + (y ? std::to_string(*y) : "none");
    }
    return "";
}

template <typename Value>
bool SameBits(const std::vector<Value>& a, const std::vector<Value>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Value)) == 0;
}

std::string DifferenceOfCycles(const CycleRecord& a, const CycleRecord& b) {
    if (a.count != b.count)
        return "count " + std::to_string(a.count) + " against " + std::to_string(b.count);
    const std::pair<const char*, bool> parts[] = {{"start", SameBits(a.start, b.start)},
                                                  {"period", SameBits(a.period, b.period)},
                                                  {"valve", SameBits(a.valve, b.valve)},
                                                  {"pressure", SameBits(a.pressure, b.pressure)},
                                                  {"flow", SameBits(a.flow, b.flow)},
                                                  {"ratio", SameBits(a.ratio, b.ratio)},
                                                  {"lag", SameBits(a.phaseLag, b.phaseLag)},
                                                  {"analysed", SameBits(a.analysed, b.analysed)},
                                                  {"selection", a.selectedCycle == b.selectedCycle}};
    for (const auto& [name, same] : parts)
        if (!same)
            return std::string(name) + " of the cycles";
    return "";
}

}  // namespace

std::vector<CurveSpec> CurvesOf(const TestPlan& plan) {
    std::vector<CurveSpec> curves{Signal(plan, "ZG", "psi", 3000, 0.5, 1.1, plan.seed),
                                  Signal(plan, "RTC", "rps", 12, 2, 0.3, plan.seed + 100)};
    // The valve is a little slower than the nominal period, so that its changes fall between the samples.
    const auto period = static_cast<std::int32_t>(plan.periodSeconds * 100) + 6;
    for (CurveSpec& curve : ValveCurves({plan.firstBoundary, period, plan.samples, plan.first, 10}))
        curves.push_back(std::move(curve));
    const double depth = plan.depth;
    curves.push_back({"ADPTH", "ft", plan.samples, [depth](std::int32_t) { return depth; }, plan.first});
    return curves;
}

Recording::Recording(std::string database, std::string dataset, std::vector<CurveSpec> curves)
    : database_(std::move(database)), dataset_(std::move(dataset)), curves_(std::move(curves)) {
    std::int32_t handle = 0;
    Check(Api().DBopenA(database_.c_str(), DK_OPEN_CREATE, &handle), database_);
    Check(Api().DBbegin(handle), database_);
    DBNewItem record{};
    record.kind = DK_ITEM_RECORD;
    record.indexKind = DK_INDEX_TIME;
    record.step = 1;
    record.sampleBytes = presentationBytes;
    Check(Api().DBnewA(handle, PresentationPath(dataset_).c_str(), &record), dataset_);
    WriteFlag(handle, true);
    for (const CurveSpec& curve : curves_) {
        DBNewItem item{};
        item.kind = DK_ITEM_CURVE;
        item.indexKind = DK_INDEX_TIME;
        item.step = curve.step;
        item.firstIndex = curve.first;
        item.unitText = curve.unit.c_str();
        Check(Api().DBnewA(handle, ItemPath(dataset_, curve.name).c_str(), &item), curve.name);
    }
    Check(Api().DBcommit(handle), database_);
    Check(Api().DBclose(handle), database_);
}

void Recording::WriteFlag(std::int32_t database, bool recording) const {
    Presentation presentation;
    presentation.recordingFlag = recording ? 1 : 0;
    presentation.indexKind = 1;
    const auto bytes = PackPresentation(presentation);
    std::int32_t item = 0;
    Check(Api().DBattachA(database, PresentationPath(dataset_).c_str(), &item, 0, nullptr), dataset_);
    Check(Api().DBwrite(item, 0, 1, bytes.data()), dataset_);
    Api().DBdetach(item);
}

void Recording::Append(std::int32_t samples) {
    const std::int32_t count = std::min(samples, Left());
    Database database(database_);
    Transaction transaction(database);
    for (const CurveSpec& curve : curves_) {
        const Item item(database, ItemPath(dataset_, curve.name));
        const std::int32_t from = curve.first + written_ * curve.step;
        std::vector<float> values;
        std::vector<std::uint8_t> present;
        for (std::int32_t i = 0; i < count; ++i) {
            const std::optional<double> value = curve.value(from + i * curve.step);
            values.push_back(static_cast<float>(value.value_or(0.0)));
            present.push_back(value ? 1 : 0);
        }
        Check(Api().DBwritepresent(item.Handle(), from, count, values.data(), present.data()), curve.name);
    }
    written_ += count;
    if (Left() == 0)
        WriteFlag(database.Handle(), false);
    transaction.Commit();
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
        const std::uint32_t allowed = name.ends_with(suffix::dravikFilteredFlow) ? 1 : 0;
        const std::string difference = DifferenceOfCurves(curve, batch.curves.at(name), allowed);
        if (!difference.empty())
            return name + ": " + difference;
    }
    return DifferenceOfCycles(live.cycles, batch.cycles);
}

void LiveFixture::SetUp() {
    DravikFixture::SetUp();
    ComposeRooms();
}

void LiveFixture::TearDown() {
    ReleaseAllFilters();
    DravikFixture::TearDown();
}

std::size_t LiveFixture::IndexOf(const std::string& dataset) {
    const auto& datasets = CurrentSelection().datasets;
    const auto found = std::find_if(datasets.begin(), datasets.end(),
                                    [&](const DatasetRecord& record) { return record.dataset == dataset; });
    return static_cast<std::size_t>(found - datasets.begin());
}

Outcome LiveFixture::Observe(const std::string& dataset) {
    const CurveChoice& choice = CurrentSelection().choice;
    Outcome outcome{{}, CurrentSelection().datasets.at(IndexOf(dataset)).cycles};
    for (const std::string& name : {FilteredPressureName(choice), FilteredFlowName(choice),
                                    DravikFilteredFlowName(choice), std::string(curve::valveSignal)})
        outcome.curves[name] = ReadCurve(dataset, name);
    return outcome;
}

bool LiveFixture::CreateAll(std::size_t index) {
    ResetFilterSlots();
    ResetDatasetCycles(index);
    return CreateFilteredCurves(index, false) && ReconstructValveCurve(index, false) &&
           FilterDatasetFlow(index, false);
}

Outcome LiveFixture::OneRunOver(const std::vector<CurveSpec>& curves) {
    const std::string dataset = "WHOLE" + std::to_string(++wholes_);
    Recording(DatabasePath(), dataset, curves).AppendAll();
    Select({dataset});
    EXPECT_TRUE(CreateAll(0));
    return Observe(dataset);
}

}  // namespace vorela::test
