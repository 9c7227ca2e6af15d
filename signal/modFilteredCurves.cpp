#include "signal/modFilteredCurves.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/modGeneral.h"
#include "signal/DerivedRun.h"
#include "signal/FilterProgress.h"
#include "signal/FilteredCurve.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

// "existance" is how the field's log files know it.
constexpr const char* checkingExistence = "Checking filter existance";
constexpr const char* gettingInformation = "Getting filter information";
constexpr const char* creatingCurves = "Creating Vorela filtered curves";
constexpr const char* creatingFailed = "Error creating Vorela filtered curves";

constexpr const char* source = "modFilteredCurves";

constexpr int mostPasses = 10;
constexpr std::size_t slots = 2;

/// Slot 0 pressure, slot 1 flow.
std::array<FilterSettings, slots> CurrentSettings() {
    const CurveChoice& choice = CurrentSelection().choice;
    const ParameterSet& p = CurrentParameters();
    std::array<FilterSettings, slots> settings{
        FilterSettings{choice.pressure, FilteredPressureName(choice), p.bandPass != 0, p.period, p.filterN},
        FilterSettings{choice.flow, FilteredFlowName(choice), p.bandPass != 0, p.period, p.filterN}};
    if (settings[0].output == settings[1].output)
        throw RunTimeError{error_number::invalidProcedureCall, source,
                           "The filtered curves of " + choice.pressure + " and " + choice.flow +
                               " would both be named " + settings[0].output};
    return settings;
}

struct SlotState {
    bool recorded = false;  ///< a recording stands in the place of the curve
    std::optional<FilteredCurveState> curve;
};
using DatasetState = std::array<SlotState, slots>;

PerDataset<DatasetState>& States() {
    static PerDataset<DatasetState> states;
    return states;
}

/// One curve of a dataset, from where the run before left it.
SlotState FilterSlot(WriteTransaction& transaction, const std::string& dataset,
                     const FilterSettings& settings, const SlotState& before, FilterProgress* progress) {
    if (RecordingStands(transaction.On(), dataset, settings.output))
        return {true, std::nullopt};
    FilteredCurve curve(transaction.On(), dataset, settings, progress);
    return {false, curve.Run(before.curve, transaction)};
}

/// Both curves of a dataset. What is remembered of it changes only when all is committed.
bool FilterDataset(const Database& database, std::size_t index, bool incremental, FilterProgress* progress) {
    const DatasetRecord& record = SelectedDataset(index);
    const std::array<FilterSettings, slots> settings = CurrentSettings();
    const DatasetState* const known = incremental ? States().Find(record) : nullptr;
    const DatasetState before = known != nullptr ? *known : DatasetState{};
    DatasetState after;
    WriteTransaction transaction(database);
    // An extension mostly has something to write. Reading under the lock that it then needs anyway, it
    // does not wait for a busy recorder at every look at a curve.
    if (known != nullptr)
        transaction.Begin();
    for (std::size_t slot = 0; slot < slots; ++slot) {
        if (progress != nullptr)
            progress->BeginCurve(record.dataset + ", " + settings[slot].input + " to " +
                                 settings[slot].output + " (" + PassesText(settings[slot]) + ")");
        after[slot] = FilterSlot(transaction, record.dataset, settings[slot], before[slot], progress);
        if (progress != nullptr)
            progress->EndCurve();
    }
    transaction.Commit();
    States().Of(record) = std::move(after);
    return true;
}

/// One run of FilterDataset with report.
bool CreateWithProgress(const Database& database, std::size_t index, bool incremental,
                        FilterProgress* progress) {
    return Attempt(creatingFailed, false,
                   [&] { return FilterDataset(database, index, incremental, progress); });
}

}  // namespace

bool FilteredCurvesExist() {
    return Attempt(checkingExistence, false, [] {
        const CurveChoice& choice = CurrentSelection().choice;
        return CurveInCommonList(FilteredPressureName(choice)) && CurveInCommonList(FilteredFlowName(choice));
    });
}

bool CreateFilteredCurves(const Database& database, std::size_t index, bool incremental) {
    if (incremental)
        return CreateWithProgress(database, index, true, nullptr);
    return WithFilterProgress(slots, [&](FilterProgress& progress) {
        return CreateWithProgress(database, index, false, &progress);
    });
}

bool CreateFilteredCurvesInAll(int filterN) {
    const bool stored = Attempt(creatingCurves, [&] {
        CurrentParameters().filterN = CheckedNarrow<std::int16_t>(filterN, source);
        WriteParameters();
    });
    return stored && CreateFilteredCurvesInAll();
}

bool CreateFilteredCurvesInAll() {
    return Attempt(creatingCurves, false, [&] {
        if (!DatabasesOpen() || !ChoiceIsUsable())
            return false;
        if (FilteredCurvesExist())
            RefuseToReplaceRecordings({FilteredPressureName(CurrentSelection().choice),
                                       FilteredFlowName(CurrentSelection().choice)});
        const std::size_t datasets = CurrentSelection().datasets.size();
        return WithFilterProgress(slots * datasets, [&](FilterProgress& progress) {
            for (std::size_t index = 0; index < datasets; ++index)
                if (!WithDatabase(index, CreateWithProgress, false, &progress))
                    return false;
            return RefreshCommonCurves();
        });
    });
}

std::string FilterDescription() {
    return MadeText(CurrentSettings()[0]);
}

std::vector<CurveStanding> FilteredCurveStandings(const Database& database, std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    std::vector<CurveStanding> standings;
    for (const FilterSettings& settings : CurrentSettings())
        standings.push_back(StandingOf(
            database, record.dataset, settings.output, MadeText(settings), [&](const ItemInfo& output) {
                return FilteredCurve(database, record.dataset, settings).IsComplete(output);
            }));
    return standings;
}

GridSpan FilteredSpanOf(const ItemInfo& input, int filterN) {
    const GridSpan recorded = GridSpan::Of(input);
    if (recorded.IsEmpty())
        return {};
    const ParameterSet& p = CurrentParameters();
    const FilterSettings settings{"", "", p.bandPass != 0, p.period,
                                  CheckedNarrow<std::int16_t>(filterN, source)};
    const CurveFilter::Span span = MakeFilter(settings, recorded)->ValidSpanOf(recorded.Count());
    if (span.last < span.first)
        return {};
    return {recorded.IndexOf(span.first), recorded.IndexOf(span.last), recorded.step};
}

std::int32_t FirstProvisionalIndex(std::size_t index) {
    constexpr std::int32_t unknown = std::numeric_limits<std::int32_t>::min();
    const DatasetState* const state = States().Find(SelectedDataset(index));
    if (state == nullptr)
        return unknown;
    std::int32_t first = std::numeric_limits<std::int32_t>::max();
    for (const SlotState& slot : *state) {
        if (slot.recorded)  // what is recorded does not change
            continue;
        if (!slot.curve)
            return unknown;
        first = std::min(first, slot.curve->mark.taken.IndexOf(slot.curve->filter->FinalEnd()));
    }
    return first;
}

FilterInformation GetFilterInformation() {
    FilterInformation information;
    Attempt(gettingInformation, [&] {
        const CurveChoice& choice = CurrentSelection().choice;
        information.inputPressure = choice.pressure;
        information.inputFlow = choice.flow;
        information.outputPressure = FilteredPressureName(choice);
        information.outputFlow = FilteredFlowName(choice);
        const int stored = CurrentParameters().filterN;
        for (int passes = 1; passes <= mostPasses; ++passes)
            information.passChoices.push_back(passes);
        if (stored < 1 || stored > mostPasses)
            information.passChoices.push_back(stored);
        const auto entry = std::ranges::find(information.passChoices, stored);
        information.storedChoice = static_cast<std::size_t>(entry - information.passChoices.begin());
    });
    return information;
}

}  // namespace vorela
