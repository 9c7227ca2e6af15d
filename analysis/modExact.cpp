#include "analysis/modExact.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <initializer_list>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "analysis/ExactInterval.h"
#include "analysis/ExactLevel.h"
#include "analysis/modIntervalInfo.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsTable.h"
#include "general/Units.h"
#include "general/modGeneral.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr const char* source = "modExact";

// --- Settings ---

constexpr const char* section = "Exact";

constexpr const char* filteredByTheSystem =
    "pressure or flow were filtered by the acquisition system, which shifts phase: its filters should be "
    "off; "
    "lag of the filter is not corrected";

SettingFields Fields(ExactSettings& settings) {
    return {{"FirstCycle", &settings.firstCycle, {0, highestSetting, "First cycle: Out of range"}},
            {"LastCycle", &settings.lastCycle, {0, highestSetting, "Last cycle: Out of range"}},
            {"Harmonics", &settings.harmonics, {1, 5, "Harmonics: 1, 3 or 5 is needed", true}},
            {"Confidence", &settings.confidence, {50, 99.99, "Confidence: Out of range"}},
            {"CompressibilityError",
             &settings.compressibilityError,
             {-1, 1e6, "Error of the well compressibility: Out of range"}}};
}

// --- Reading a level ---

/// Values relative to their mean: only changes count, and in double they keep all digits.
SampledCurve ReadWhole(CurveReader& reader, double factor) {
    const ItemInfo& info = reader.Info();
    SampledCurve curve;
    curve.step = info.step;
    curve.first = info.extentFirst;
    if (info.IsEmpty())
        return curve;
    const auto count =
        static_cast<std::size_t>((std::int64_t{info.extentLast} - info.extentFirst) / info.step + 1);
    std::vector<float> samples(count);
    curve.states.resize(count);
    reader.ReadGrid(info.extentFirst, samples, curve.states);
    double sum = 0.0;
    std::size_t present = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool sound = curve.states[i] != 0 && std::isfinite(samples[i]);
        curve.states[i] = sound ? SampledCurve::present : SampledCurve::missing;
        sum += sound ? static_cast<double>(samples[i]) : 0.0;
        present += sound ? 1 : 0;
    }
    const double mean = present == 0 ? 0.0 : sum / static_cast<double>(present);
    curve.values.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        curve.values[i] = curve.states[i] != SampledCurve::missing ? (samples[i] - mean) * factor : 0.0;
    return curve;
}

std::string UnitOf(const DatasetRecord& record, const std::string& curve) {
    for (std::size_t i = 0; i < record.curves.size() && i < record.curveAttributes.size(); ++i)
        if (record.curves[i] == curve)
            return record.curveAttributes[i].unit;
    return {};
}

double PressureFactor(const DatasetRecord& record, const std::string& curve) {
    const std::string unit = UnitOf(record, curve);
    const std::optional<double> factor = PsiPer(unit);
    if (!factor)
        throw RunTimeError{error_number::typeMismatch, source,
                           "unit \"" + unit + "\" of curve " + curve + " is not one of pressure"};
    return *factor;
}

/// Past a tool that is wider than the casing nothing flows: a factor of zero or below would turn the flow off
/// or round, and with it every phase.
double SpinnerFactor() {
    const ParameterSet& parameters = CurrentParameters();
    const double factor = FlowConversion(parameters.spinner, parameters.casingID, parameters.slope);
    if (factor > 0.0 && std::isfinite(factor))
        return factor;
    const bool byCasing = !(parameters.casingID > toolDiameter);
    throw RunTimeError{error_number::invalidProcedureCall, source,
                       byCasing ? "casing ID must be above the tool's diameter, " +
                                      ShortestText(toolDiameter) + " in, for this type of spinner"
                                : "spinner slope must be positive"};
}

/// A spinner's revolutions are turned into a rate by its calibration; a rate is taken as that downhole.
double FlowFactor(const DatasetRecord& record, const std::string& curve) {
    const std::string unit = UnitOf(record, curve);
    if (IsRevolutionsPerSecond(unit))
        return SpinnerFactor();
    const std::optional<double> factor = BarrelsPerDayPer(unit);
    if (!factor)
        throw RunTimeError{error_number::typeMismatch, source,
                           "unit \"" + unit + "\" of curve " + curve + " is not one of flow"};
    return *factor;
}

bool EndsBefore(const Item& curve, const Item& other) {
    return curve.Info().extentLast < other.Info().extentLast;
}

/// A level as it is in the database, and what is to be said of its curves.
struct ReadLevel {
    LevelRecord record;
    std::vector<std::string> notes;
};

ReadLevel LevelFrom(const DatasetRecord& record) {
    const CurveChoice& choice = CurrentSelection().choice;
    ReadLevel read;
    LevelRecord& level = read.record;
    level.dataset = record.dataset;
    const auto count = static_cast<std::size_t>(record.cycles.RealCycles());
    if (count > 0)
        level.boundaries.assign(record.cycles.start.begin(),
                                record.cycles.start.begin() + static_cast<std::ptrdiff_t>(count + 1));
    const double psi = PressureFactor(record, choice.pressure);
    const double barrels = FlowFactor(record, choice.flow);
    const Database database(record.database, OpenMode::existing);
    // The valve's curve first: what a recorder appends meanwhile must not make the others look short.
    const auto valve = Item::Find(database, ItemPath(record.dataset, curve::valvePosition));
    const Item pressure(database, ItemPath(record.dataset, choice.pressure));
    const Item flow(database, ItemPath(record.dataset, choice.flow));
    const auto samples = [&](const std::string& name, const Item& item, double factor) {
        // Without a sampling step there is no time between two samples, and no cycle to be found in them.
        if (item.Info().IsCurve() && item.Info().step <= 0)
            return SampledCurve{0.0, 0.0, {}, {}};
        CurveReader reader(database, record.dataset, name, Between::linear);
        return ReadWhole(reader, factor);
    };
    level.pressure = samples(choice.pressure, pressure, psi);
    level.flow = samples(choice.flow, flow, barrels);
    if (valve && (EndsBefore(pressure, *valve) || EndsBefore(flow, *valve)))
        read.notes.push_back(filteredByTheSystem);
    return read;
}

/// What a computation threw, in words.
std::string FaultInFlight() {
    return ErrorFromCurrentException(source).description;
}

ExactLevel FailedLevel(const std::string& dataset) {
    ExactLevel level;
    level.dataset = dataset;
    level.fault = FaultInFlight();
    return level;
}

ExactLevel SoundLevel(ReadLevel read, const ExactSettings& settings) {
    const std::string dataset = read.record.dataset;
    try {
        ExactLevel level = AnalyseLevel(std::move(read.record), settings);
        level.notes.insert(level.notes.end(), read.notes.begin(), read.notes.end());
        return level;
    } catch (...) {
        return FailedLevel(dataset);
    }
}

// --- Intervals ---

IntervalInputs InputsOf(std::size_t interval) {
    const auto& datasets = CurrentSelection().datasets;
    const ParameterSet& parameters = CurrentParameters();
    const IntervalParameters& own =
        CheckedAt(parameters.intervals, static_cast<std::int64_t>(interval), source);
    IntervalInputs inputs;
    inputs.depth1 = datasets[interval].sortKey;
    inputs.depth2 = datasets[interval - 1].sortKey;
    inputs.label = FormatNumber(inputs.depth2) + " to " + FormatNumber(inputs.depth1);
    inputs.layer.height = own.height;
    inputs.layer.porosity = own.porosity;
    inputs.layer.viscosity = own.viscosity;
    inputs.layer.compressibility = own.ct;
    inputs.layer.boreholeDiameter = parameters.dw;
    inputs.casingID = parameters.casingID;
    inputs.wellCompressibility = parameters.compressibility;
    return inputs;
}

ExactInterval SoundInterval(std::size_t i, const std::vector<ExactLevel>& levels,
                            const ExactSettings& settings) {
    ExactInterval result;
    try {
        const IntervalInputs inputs = InputsOf(i);
        result.label = inputs.label;
        result.depth1 = inputs.depth1;
        result.depth2 = inputs.depth2;
        result = AnalyseInterval(levels[i], levels[i - 1], inputs, settings);
    } catch (...) {
        result.messages.push_back(FaultInFlight());
    }
    result.dataset1 = i;
    result.dataset2 = i - 1;
    return result;
}

}  // namespace

ExactSettings& CurrentExactSettings() {
    static ExactSettings settings;
    return settings;
}

void ReadExactSettings() {
    ExactSettings read;
    ReadFields(section, Fields(read));
    ExactSettings one;
    // A value that cannot be costs itself.
    const SettingFields wanted = Fields(read);
    const SettingFields defaults = Fields(one);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (FaultOfFields({wanted[i]}).empty())
            continue;
        if (auto* const* whole = std::get_if<std::int32_t*>(&wanted[i].place))
            **whole = *std::get<std::int32_t*>(defaults[i].place);
        else
            *std::get<double*>(wanted[i].place) = *std::get<double*>(defaults[i].place);
    }
    CurrentExactSettings() = read;
}

void WriteExactSettings() {
    WriteFields(section, Fields(CurrentExactSettings()));
}

SettingsSection ExactSettingsSection() {
    return {section, Fields(CurrentExactSettings())};
}

std::string ExactSettingsFault(const ExactSettings& settings) {
    if (settings.firstCycle > 0 && settings.lastCycle > 0 && settings.firstCycle > settings.lastCycle)
        return "the first cycle is behind the last one";
    const double error = settings.compressibilityError;
    if (error < 0.0 && error != -1.0)
        return "the error of the well compressibility is -1 (not known), 0 or more";
    return {};
}

void ExactLevels::TakeFirst() {
    done_.push_back(working_.front().get());
    working_.pop_front();
}

void ExactLevels::Start(std::size_t dataset) {
    const DatasetRecord& record = SelectedDataset(dataset);
    if (working_.size() >= std::max(1U, std::thread::hardware_concurrency()))
        TakeFirst();
    try {
        working_.push_back(std::async(std::launch::async, SoundLevel, LevelFrom(record), settings_));
    } catch (...) {
        ExactLevel failed = FailedLevel(record.dataset);
        working_.push_back(std::async(std::launch::deferred, [failed] { return failed; }));
    }
}

std::vector<ExactLevel> ExactLevels::Take() {
    while (!working_.empty())
        TakeFirst();
    return std::move(done_);
}

ExactResults ExactResultsOf(std::vector<ExactLevel> levels, const ExactSettings& settings) {
    ExactResults results;
    results.confidence = settings.confidence;
    results.levels = std::move(levels);
    for (std::size_t i = 1; i < results.levels.size(); ++i)
        results.intervals.push_back(SoundInterval(i, results.levels, settings));
    return results;
}

ExactResults ComputeExact(const ExactSettings& settings) {
    ExactLevels levels(settings);
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
        levels.Start(i);
    return ExactResultsOf(levels.Take(), settings);
}

ExactInputState CurrentExactInputs() {
    const Selection& selection = CurrentSelection();
    ExactInputState state{{selection.choice.pressure, selection.choice.flow},
                          {static_cast<double>(selection.generation)}};
    const auto add = [&](std::initializer_list<double> numbers) {
        state.numbers.insert(state.numbers.end(), numbers);
    };
    for (const DatasetRecord& record : selection.datasets) {
        state.names.insert(state.names.end(), {record.database, record.dataset});
        add({record.sortKey, static_cast<double>(record.IsRecorded())});
        const std::int32_t cycles = record.cycles.RealCycles();
        add({static_cast<double>(cycles)});
        if (cycles > 0)
            state.numbers.insert(state.numbers.end(), record.cycles.start.begin(),
                                 record.cycles.start.begin() + cycles + 1);
    }
    const ParameterSet& p = CurrentParameters();
    add({static_cast<double>(p.spinner), p.slope, p.casingID, p.compressibility, p.dw});
    for (const IntervalParameters& own : p.intervals)
        add({own.porosity, own.viscosity, own.ct, own.height});
    const ExactSettings& s = CurrentExactSettings();
    add({static_cast<double>(s.firstCycle), static_cast<double>(s.lastCycle),
         static_cast<double>(s.harmonics), s.confidence, s.compressibilityError});
    return state;
}

}  // namespace vorela
