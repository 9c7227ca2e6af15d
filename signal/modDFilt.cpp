#include "signal/modDFilt.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "platform/DravikLibraries.h"
#include "signal/RunProgress.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

/// The label says "valve curves" although it is the flow that is filtered: support knows this report by it.
constexpr const char* creatingCurve = "Creating reconstructed valve curves";
constexpr const char* creatingFailed = "Error creating filtered flow";
constexpr const char* creatingFilter = "Creating Dravik filter";
constexpr const char* creatingStatus = "Creating filtered flow";
constexpr const char* caption = "Vorela";

/// Hundredths of a second: what the filter library is told about the unit of step and lag.
constexpr std::int32_t indexUnitsPerSecond = 100;

/// Samples filtered between two commits.
constexpr std::int64_t samplesPerCommit = 262144;

const Smooth32Api& Api() {
    return LoadedLibraries().filter;
}

/// One filter of the filter library.
class SpinnerFilter {
  public:
    SpinnerFilter() = default;
    /// Not usable (Handle() is 0) when the library refuses the definition or the step.
    SpinnerFilter(const std::string& definition, std::int16_t step) {
        if (Api().CreateSOFilter == nullptr)
            return;
        handle_ = Api().CreateSOFilter("", definition.c_str(), 0, 0);
        if (handle_ != 0 && Api().InitSOFilter(handle_, indexUnitsPerSecond, step) == 0)
            Destroy();
        if (handle_ != 0)
            lag_ = Api().GetSOFilterLag(handle_);
    }
    SpinnerFilter(SpinnerFilter&& other) noexcept
        : handle_(std::exchange(other.handle_, 0)), lag_(std::exchange(other.lag_, 0)) {}
    SpinnerFilter& operator=(SpinnerFilter&& other) noexcept {
        std::swap(handle_, other.handle_);
        std::swap(lag_, other.lag_);
        return *this;
    }
    SpinnerFilter(const SpinnerFilter&) = delete;
    SpinnerFilter& operator=(const SpinnerFilter&) = delete;
    ~SpinnerFilter() { Destroy(); }

    bool IsUsable() const { return handle_ != 0; }
    std::int32_t Lag() const { return lag_; }
    void Destroy() {
        if (handle_ != 0 && Api().DestroySOFilter != nullptr)
            Api().DestroySOFilter(handle_);
        handle_ = 0;
    }
    double Apply(double value) {
        if (Api().ApplySOFilter(handle_, &value) == 0)
            throw RunTimeError{error_number::invalidProcedureCall, "Smooth32", "The filter refused a value"};
        return value;
    }

  private:
    std::int32_t handle_ = 0;
    std::int32_t lag_ = 0;
};

/// What is remembered of a dataset: its living filter, and how far the curve was filtered with which filter.
struct FilterSlot {
    SpinnerFilter filter;
    std::string definition;
    std::optional<std::int32_t> resumeMark;  ///< last time index filtered
};

PerDataset<FilterSlot>& Slots() {
    // Never destroyed: at the end of the process the filter library may have gone before. Whoever closes in
    // good order calls ReleaseAllFilters.
    static auto& slots = *new PerDataset<FilterSlot>;
    return slots;
}

/// A stretch of the flow curve; `usable` is false for gaps and for values that are no numbers.
struct FlowBlock {
    std::vector<float> values;
    std::vector<std::uint8_t> usable;

    FlowBlock(CurveReader& flow, std::int64_t first, std::int64_t last)
        : values(static_cast<std::size_t>((last - first) / flow.Info().step + 1)), usable(values.size()) {
        flow.ReadGrid(static_cast<std::int32_t>(first), values, usable);
        for (std::size_t i = 0; i < values.size(); ++i)
            if (!std::isfinite(values[i]))
                usable[i] = 0;
    }
};

/// Feeds a fresh filter the samples before `index` that its response reaches back to (2 × lag of them), so
/// that its output joins what was filtered before without a step. The filter counts samples, so gaps are not
/// counted here.
void WarmUp(SpinnerFilter& filter, CurveReader& flow, std::int64_t index) {
    const std::int64_t step = flow.Info().step;
    const std::int64_t wanted = 2 * std::int64_t{filter.Lag()} / step;
    std::vector<float> earlier;  // latest first
    std::int64_t before = index - step;
    while (std::ssize(earlier) < wanted && before >= flow.Info().extentFirst) {
        const std::int64_t from = std::max<std::int64_t>(flow.Info().extentFirst,
                                                         before - (wanted - std::ssize(earlier) - 1) * step);
        const FlowBlock block(flow, from, before);
        for (std::size_t i = block.values.size(); i-- > 0 && std::ssize(earlier) < wanted;)
            if (block.usable[i] != 0)
                earlier.push_back(block.values[i]);
        before = from - step;
    }
    for (auto value = earlier.rbegin(); value != earlier.rend(); ++value)
        filter.Apply(*value);
}

std::string MadeText(const std::string& definition) {
    return definition + " by Smooth32";
}

/// What FilterToTheEnd states of a curve that it has finished.
bool IsComplete(const ItemInfo& output, const ItemInfo& flow, std::int32_t lag) {
    if (flow.IsEmpty())
        return output.IsEmpty();
    return output.step == flow.step && output.validFirst == std::int64_t{flow.extentFirst} + lag &&
           output.validLast == std::int64_t{flow.extentLast} - lag;
}

/// Filters the samples first … last and writes them, moved back by the filter's lag. One transaction.
void FilterBlock(Database& database, CurveReader& flow, CurveWriter& writer, FilterSlot& slot,
                 std::int64_t first, std::int64_t last, RunProgress& progress) {
    const ItemInfo& info = flow.Info();
    const std::int64_t lag = slot.filter.Lag();
    Transaction transaction(database);  // before the reading, which then waits for nobody
    const FlowBlock block(flow, first, last);
    std::int64_t t = first;
    for (std::size_t i = 0; i < block.values.size(); ++i, t += info.step) {
        progress.At(static_cast<std::int32_t>(t));
        if (block.usable[i] == 0)
            continue;
        const double filtered = slot.filter.Apply(block.values[i]);
        if (t - lag >= info.extentFirst)
            writer.Put(static_cast<std::int32_t>(t - lag), static_cast<float>(filtered));
    }
    writer.Flush();
    writer.Mark(CheckedNarrow<std::int32_t>(info.extentFirst + lag, "Filtered flow"),
                CheckedNarrow<std::int32_t>(last - lag, "Filtered flow"), MadeText(slot.definition));
    transaction.Commit();
}

/// True when the curve is there and was made by another filter: then nothing of it may be left.
bool IsOfAnotherFilter(const Database& database, const std::string& path, const FilterSlot& slot) {
    const std::optional<Item> existing = Item::Find(database, path);
    return existing && existing->Info().made != MadeText(slot.definition);
}

CurveWriter OpenOutput(Database& database, const DatasetRecord& record, const ItemInfo& flow,
                       const FilterSlot& slot, bool incremental) {
    const DerivedCurve attributes{flow.step,  flow.firstIndex, GetUnitText(flow.unitCode),
                                  flow.scale, flow.offset,     MadeText(slot.definition)};
    const std::string name = DravikFilteredFlowName(CurrentSelection().choice);
    const bool startsOver =
        !incremental ||
        (!slot.resumeMark && IsOfAnotherFilter(database, ItemPath(record.dataset, name), slot));
    if (!startsOver)
        return CurveWriter::OpenOrCreate(database, record.dataset, name, attributes);
    Transaction transaction(database);
    CurveWriter writer = CurveWriter::Recreate(database, record.dataset, name, attributes);
    transaction.Commit();
    return writer;
}

/// Makes the slot's filter live, for a run that goes on behind its resume mark (from the start when there is
/// none). A filter that lives goes on whatever type and length the parameters hold by now: a curve that is
/// being followed is of one filter throughout, and the next interactive run takes up the new ones.
bool ReadyFilter(FilterSlot& slot, CurveReader& flow) {
    if (slot.filter.IsUsable())
        return true;
    return Attempt(creatingFilter, false, [&] {
        const ParameterSet& parameters = CurrentParameters();
        const std::string definition = FilterDefinition(parameters.dFilt, parameters.dLen);
        // A curve is of one filter throughout: with another one it is made from the start.
        if (slot.definition != definition)
            slot.resumeMark.reset();
        slot.definition = definition;
        slot.filter = SpinnerFilter(definition, flow.Info().step);
        if (slot.filter.IsUsable() && slot.resumeMark)
            WarmUp(slot.filter, flow, std::int64_t{*slot.resumeMark} + flow.Info().step);
        return slot.filter.IsUsable();
    });
}

void FilterToTheEnd(Database& database, CurveReader& flow, CurveWriter& writer, FilterSlot& slot,
                    bool incremental) {
    const ItemInfo& info = flow.Info();
    const std::int64_t step = info.step;
    const std::int64_t start = slot.resumeMark ? *slot.resumeMark + step : std::int64_t{info.extentFirst};
    const std::int64_t end = info.extentLast;
    RunProgress progress(!incremental, creatingStatus, static_cast<std::int32_t>(std::min(start, end)),
                         info.extentLast);
    for (std::int64_t first = start; first <= end;) {
        const std::int64_t last = std::min(end, first + (samplesPerCommit - 1) * step);
        FilterBlock(database, flow, writer, slot, first, last, progress);
        slot.resumeMark = static_cast<std::int32_t>(last);
        first = last + step;
    }
}

/// Flow and filtered curve are as the filter left them, but for growth. They are not when the dataset was
/// imported again.
bool CanGoOnFrom(const FilterSlot& slot, const CurveReader& flow, const Database& database,
                 const DatasetRecord& record) {
    const std::string name = DravikFilteredFlowName(CurrentSelection().choice);
    return slot.resumeMark && *slot.resumeMark <= flow.Info().extentLast &&
           Item::Find(database, ItemPath(record.dataset, name)).has_value();
}

bool FilterDataset(std::size_t index, bool incremental) {
    const DatasetRecord& record = SelectedDataset(index);
    DravikDatabase database(record.database);
    if (!database.IsOpen())
        return false;
    if (RecordingStands(database, record.dataset, DravikFilteredFlowName(CurrentSelection().choice)))
        return true;
    CurveReader flow(database, record.dataset, CurrentSelection().choice.flow, Between::sampleBefore);
    FilterSlot& slot = Slots().Of(record);
    if (!incremental || !CanGoOnFrom(slot, flow, database, record))
        slot = FilterSlot{};
    if (!ReadyFilter(slot, flow)) {
        Slots().Forget(record);
        database.Close();
        CurrentPorts().messages->Show(MessageIcon::information, caption, creatingFailed);
        return false;
    }
    try {
        CurveWriter writer = OpenOutput(database, record, flow.Info(), slot, incremental);
        FilterToTheEnd(database, flow, writer, slot, incremental);
    } catch (...) {
        // The filter has seen samples whose output was not kept; the next run makes a fresh one at the resume
        // mark.
        slot.filter.Destroy();
        throw;
    }
    if (!incremental)
        slot.filter.Destroy();
    return database.Close();
}

bool AgreesToOverwrite() {
    return CurrentPorts().messages->AskYesNo(
        caption,
        "The Dravik filtered flow curve already exists.\rDo you want to overwrite the existing curves?");
}

}  // namespace

bool FilteredFlowExists() {
    return CurveInCommonList(DravikFilteredFlowName(CurrentSelection().choice));
}

void ResetFilterSlots() {
    for (auto& [key, slot] : Slots())
        slot.filter.Destroy();
}

void ReleaseAllFilters() {
    Slots().ForgetAll();
}

std::string FilterDefinition(int filterType, double lengthSeconds) {
    return std::string(CheckedAt(SpinnerFilterTypes(), filterType, "FilterDefinition")) + "," +
           ShortestText(lengthSeconds);
}

std::string FilteredFlowDescription() {
    const ParameterSet& parameters = CurrentParameters();
    return MadeText(FilterDefinition(parameters.dFilt, parameters.dLen));
}

bool CreateFilteredFlow(bool askBeforeOverwriting) {
    return Attempt(creatingCurve, false, [&] {
        if (!DatabasesOpen())
            return false;
        if (FilteredFlowExists())
            RefuseToReplaceRecordings({DravikFilteredFlowName(CurrentSelection().choice)});
        if (askBeforeOverwriting && FilteredFlowExists() && !AgreesToOverwrite())
            return false;
        ResetFilterSlots();
        for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
            if (!FilterDatasetFlow(i, false))
                return false;
        return RefreshCommonCurves();
    });
}

CurveStanding FilteredFlowStanding(std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    const CurveChoice& choice = CurrentSelection().choice;
    const DravikDatabase database(record.database);
    const std::string definition = FilterDefinition(CurrentParameters().dFilt, CurrentParameters().dLen);
    return StandingOf(database, record.dataset, DravikFilteredFlowName(choice), MadeText(definition),
                      [&](const ItemInfo& output) {
                          const ItemInfo flow = Item(database, ItemPath(record.dataset, choice.flow)).Info();
                          const SpinnerFilter filter(definition, flow.step);
                          return filter.IsUsable() && IsComplete(output, flow, filter.Lag());
                      });
}

bool FilterDatasetFlow(std::size_t index, bool incremental) {
    return Attempt(creatingFailed, false, [&] { return FilterDataset(index, incremental); });
}

}  // namespace vorela
