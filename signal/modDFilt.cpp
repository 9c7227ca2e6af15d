#include "signal/modDFilt.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/IndexUnits.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"
#include "signal/DerivedRun.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

/// The label says "valve curves" although it is the flow that is filtered: support knows this report by it.
constexpr const char* creatingCurve = "Creating reconstructed valve curves";
constexpr const char* creatingFailed = "Error creating filtered flow";
constexpr const char* creatingFilter = "Creating Dravik filter";
constexpr const char* creatingStatus = "Creating filtered flow";
constexpr const char* overwriteQuestion =
    "The Dravik filtered flow curve already exists.\rDo you want to overwrite the existing curves?";
constexpr const char* caption = "Vorela";

const Smooth32Api& Api() {
    return LoadedLibraries().filter;
}

/// One filter of the filter library.
class SpinnerFilter {
  public:
    /// None when the library refuses the definition or the step.
    static std::unique_ptr<SpinnerFilter> Make(const std::string& definition, std::int16_t step) {
        if (Api().CreateSOFilter == nullptr)
            return nullptr;
        const std::int32_t handle = Api().CreateSOFilter("", definition.c_str(), 0, 0);
        if (handle == 0)
            return nullptr;
        std::unique_ptr<SpinnerFilter> filter(new SpinnerFilter(handle));
        const bool ready = Api().InitSOFilter(handle, static_cast<std::int32_t>(IndexUnitsIn(1)), step) != 0;
        return ready ? std::move(filter) : nullptr;
    }
    SpinnerFilter(const SpinnerFilter&) = delete;
    SpinnerFilter& operator=(const SpinnerFilter&) = delete;
    ~SpinnerFilter() {
        if (Api().DestroySOFilter != nullptr)
            Api().DestroySOFilter(handle_);
    }

    std::int32_t Lag() const { return Api().GetSOFilterLag(handle_); }
    double Apply(double value) {
        if (Api().ApplySOFilter(handle_, &value) == 0)
            throw RunTimeError{error_number::invalidProcedureCall, "Smooth32", "The filter refused a value"};
        return value;
    }

  private:
    explicit SpinnerFilter(std::int32_t handle) : handle_(handle) {}

    std::int32_t handle_;
};

/// What is remembered of a dataset: its living filter, and with which filter and how far the curve was
/// filtered.
struct FilterSlot {
    std::unique_ptr<SpinnerFilter> filter;
    std::string definition;
    std::optional<DerivedMark> mark;
};

PerDataset<FilterSlot>& Slots() {
    // Never destroyed: at the end of the process the filter library may have gone before. Whoever closes in
    // good order calls ReleaseAllFilters.
    static auto& slots = *new PerDataset<FilterSlot>;
    return slots;
}

/// Feeds a fresh filter the samples up to `index` that its response reaches back to (2 × lag of them), so
/// that its output joins what was filtered before without a step. The filter counts samples, so gaps are not
/// counted here.
void WarmUp(SpinnerFilter& filter, CurveReader& flow, std::int32_t index) {
    GridSpan before = GridSpan::Of(flow.Info());
    before.last = index;
    const std::int64_t wanted = 2 * std::int64_t{filter.Lag()} / before.step;
    std::vector<float> earlier;  // latest first
    SampleBlock block;
    for (std::int64_t count = before.Count(); count > 0 && std::ssize(earlier) < wanted;) {
        const std::int64_t from = std::max<std::int64_t>(0, count - (wanted - std::ssize(earlier)));
        block.Read(flow, {before.IndexOf(from), before.IndexOf(count - 1), before.step});
        for (std::size_t i = block.values.size(); i-- > 0;)
            if (block.present[i] != 0)
                earlier.push_back(block.values[i]);
        count = from;
    }
    for (auto value = earlier.rbegin(); value != earlier.rend(); ++value)
        filter.Apply(*value);
}

/// "Gaussian,2.5"
std::string CurrentDefinition() {
    const ParameterSet& parameters = CurrentParameters();
    return std::string(CheckedAt(SpinnerFilterTypes(), parameters.dFilt, "FilterDefinition")) + "," +
           ShortestText(parameters.dLen);
}

std::string MadeText(const std::string& definition) {
    return definition + " by Smooth32";
}

/// What FilterFlow states of a curve that it has finished.
bool IsComplete(const ItemInfo& output, const ItemInfo& flow, std::int32_t lag) {
    if (flow.IsEmpty())
        return output.IsEmpty();
    return output.step == flow.step && output.validFirst == std::int64_t{flow.extentFirst} + lag &&
           output.validLast == std::int64_t{flow.extentLast} - lag;
}

/// Filters the samples that `slot` has not seen and writes them, moved back by the filter's lag.
void FilterFlow(DerivedRun& run, CurveReader& flow, FilterSlot& slot, RunProgress& progress) {
    const GridSpan& recorded = run.Recorded();
    const std::int64_t lag = slot.filter->Lag();
    SampleBlock block;
    std::vector<float> filtered;  // up to a gap or the end of the piece
    const auto putBefore = [&](std::int64_t t) {
        const std::int64_t first = t - lag - std::ssize(filtered) * recorded.step;
        if (!filtered.empty())
            run.Output().PutRun(static_cast<std::int32_t>(first), filtered);
        filtered.clear();
    };
    const auto filterPiece = [&](const GridSpan& piece) {
        run.Begin();  // before the reading, which then waits for nobody
        block.Read(flow, piece);
        std::int64_t t = piece.first;
        for (std::size_t i = 0; i < block.values.size(); ++i, t += piece.step) {
            progress.At(static_cast<std::int32_t>(t));
            if (block.present[i] == 0) {
                putBefore(t);
                continue;
            }
            const auto value = static_cast<float>(slot.filter->Apply(block.values[i]));
            if (t - lag >= recorded.first)
                filtered.push_back(value);
        }
        putBefore(t);
        run.State(recorded.first + lag, piece.last - lag);
        run.Commit();
        slot.mark = run.MarkAt(piece.last);
        return true;
    };
    InPieces(recorded, slot.mark ? slot.mark->taken.Count() : 0, samplesPerCommit, filterPiece);
}

/// A curve of another filter must not be left in part.
void OpenOutput(DerivedRun& run, const ItemInfo& flow, const FilterSlot& slot, bool incremental) {
    const DerivedCurve attributes{flow.step,  flow.firstIndex, GetUnitText(flow.unitCode),
                                  flow.scale, flow.offset,     MadeText(slot.definition)};
    const std::optional<ItemInfo> existing = run.OutputInfo();
    if (incremental && (slot.mark || !existing || existing->made == attributes.made))
        run.Extend(attributes);
    else
        run.StartAnew(attributes);
}

/// Makes the slot's filter live, for a run that goes on behind its resume mark (from the start when there is
/// none). A filter that lives goes on whatever type and length the parameters hold by now: a curve that is
/// being followed is of one filter throughout, and the next interactive run takes up the new ones.
bool ReadyFilter(FilterSlot& slot, CurveReader& flow) {
    if (slot.filter)
        return true;
    return Attempt(creatingFilter, false, [&] {
        const std::string definition = CurrentDefinition();
        // A curve is of one filter throughout: with another one it is made from the start.
        if (slot.definition != definition)
            slot.mark.reset();
        slot.definition = definition;
        slot.filter = SpinnerFilter::Make(definition, flow.Info().step);
        if (slot.filter && slot.mark)
            WarmUp(*slot.filter, flow, slot.mark->taken.last);
        return slot.filter != nullptr;
    });
}

bool FilterDataset(const Database& database, std::size_t index, bool incremental) {
    const DatasetRecord& record = SelectedDataset(index);
    const CurveChoice& choice = CurrentSelection().choice;
    const std::string output = DravikFilteredFlowName(choice);
    if (RecordingStands(database, record.dataset, output))
        return true;
    CurveReader flow(database, record.dataset, choice.flow, Between::sampleBefore);
    WriteTransaction transaction(database);
    DerivedRun run(transaction, record.dataset, choice.flow, GridSpan::Of(flow.Info()), output);
    FilterSlot& slot = Slots().Of(record);
    if (!incremental || !slot.mark || !run.CanGoOnFrom(*slot.mark))
        slot = FilterSlot{};
    if (!ReadyFilter(slot, flow)) {
        Slots().Forget(record);
        CurrentPorts().messages->Show(MessageIcon::information, caption, creatingFailed);
        return false;
    }
    try {
        OpenOutput(run, flow.Info(), slot, incremental);
        RunProgress progress(!incremental, creatingStatus, run.Recorded());
        FilterFlow(run, flow, slot, progress);
        transaction.Commit();
    } catch (...) {
        // The filter has seen samples whose output was not kept; the next run makes a fresh one at the resume
        // mark.
        slot.filter.reset();
        throw;
    }
    if (!incremental)
        slot.filter.reset();
    return true;
}

}  // namespace

bool FilteredFlowExists() {
    return CurveInCommonList(DravikFilteredFlowName(CurrentSelection().choice));
}

void ResetFilterSlots() {
    for (auto& [key, slot] : Slots())
        slot.filter.reset();
}

void ReleaseAllFilters() {
    Slots().ForgetAll();
}

std::string FilteredFlowDescription() {
    return MadeText(CurrentDefinition());
}

bool CreateFilteredFlow(bool askBeforeOverwriting) {
    return Attempt(creatingCurve, false, [&] {
        if (!DatabasesOpen() || !ChoiceIsUsable())
            return false;
        if (FilteredFlowExists())
            RefuseToReplaceRecordings({DravikFilteredFlowName(CurrentSelection().choice)});
        if (askBeforeOverwriting && FilteredFlowExists() &&
            !CurrentPorts().messages->AskYesNo(caption, overwriteQuestion))
            return false;
        ResetFilterSlots();
        for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
            if (!WithDatabase(i, FilterDatasetFlow, false))
                return false;
        return RefreshCommonCurves();
    });
}

CurveStanding FilteredFlowStanding(const Database& database, std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    const CurveChoice& choice = CurrentSelection().choice;
    const std::string definition = CurrentDefinition();
    return StandingOf(database, record.dataset, DravikFilteredFlowName(choice), MadeText(definition),
                      [&](const ItemInfo& output) {
                          const ItemInfo flow = Item(database, ItemPath(record.dataset, choice.flow)).Info();
                          const auto filter = SpinnerFilter::Make(definition, flow.step);
                          return filter && IsComplete(output, flow, filter->Lag());
                      });
}

bool FilterDatasetFlow(const Database& database, std::size_t index, bool incremental) {
    return Attempt(creatingFailed, false, [&] { return FilterDataset(database, index, incremental); });
}

}  // namespace vorela
