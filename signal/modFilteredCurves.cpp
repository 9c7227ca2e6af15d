#include "signal/modFilteredCurves.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "db/Curves.h"
#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/BandPassCurve.h"
#include "signal/DerivedRun.h"
#include "signal/DifferenceFilter.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

// "existance" is how the field's log files know it.
constexpr const char* checkingExistence = "Checking filter existance";
constexpr const char* gettingInformation = "Getting filter information";
constexpr const char* creatingCurves = "Creating Vorela filtered curves";
constexpr const char* creatingFailed = "Error creating Vorela filtered curves";
constexpr const char* tidyingUp = "Tidying up Create Filter";
constexpr const char* initialisingStatus = "Initialising information";
constexpr const char* updatingStatus = "Updating Information";

constexpr const char* source = "modFilteredCurves";

/// Samples read at a time.
constexpr std::int64_t blockSamples = 16384;
constexpr int mostPasses = 10;

// --- Settings ---

/// All that decides what a filtered curve holds.
struct FilterSettings {
    std::string input;
    std::string output;
    bool bandPass = false;
    double period = 0;  ///< s
    std::int16_t filterN = 1;
};

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

std::unique_ptr<CurveFilter> MakeFilter(const FilterSettings& settings, const GridSpan& input) {
    if (settings.bandPass)
        return std::make_unique<BandPassCurve>(
            SharedKernel(DesignFor(settings.period, settings.filterN, input.step)));
    return std::make_unique<DifferenceFilter>(input.first, input.step, settings.period, settings.filterN);
}

std::string PassesText(const FilterSettings& settings) {
    const std::string count = std::to_string(settings.filterN);
    if (settings.bandPass)
        return "band pass, filter N " + count;
    return "half-period difference, " + count + (settings.filterN == 1 ? " pass" : " passes");
}

std::string MadeText(const FilterSettings& settings) {
    return PassesText(settings) + ", period " + ShortestText(settings.period) + " s";
}

// --- Progress ---

std::function<void(const std::string&)>& PercentageDisplay() {
    static std::function<void(const std::string&)> show;
    return show;
}

/// Progress of an interactive run over all its curves. Bar, status and percentage are put to rest at the end
/// of its life.
class FilterProgress {
  public:
    explicit FilterProgress(std::size_t curves) : curves_(static_cast<double>(curves)), scope_(0, whole) {
        CurrentPorts().status->SetText(initialisingStatus);
        ShowPercentage(0);
    }
    void BeginCurve(const std::string& dataset, const FilterSettings& settings) {
        CurrentPorts().status->SetText("Filtering " + dataset + ", " + settings.input + " to " +
                                       settings.output + " (" + PassesText(settings) + ")");
    }
    /// Share of the current curve that is done, 0 … 1.
    void Update(double share) {
        const auto done = static_cast<std::int32_t>((finished_ + share) / curves_ * whole);
        // The bar takes one tick at a call, a block may be worth several.
        for (; told_ <= done; told_ += whole / 20)
            scope_.Update(told_);
        ShowPercentage(done / (whole / 100));
    }
    void EndCurve() {
        finished_ += 1.0;
        Update(0.0);
    }
    void Finish() {
        ShowPercentage(100);
        CurrentPorts().status->SetText(updatingStatus);
    }

  private:
    static constexpr std::int32_t whole = 1000;

    void ShowPercentage(int percent) {
        if (percent != shown_ && PercentageDisplay())
            PercentageDisplay()(std::to_string(percent) + "%");
        shown_ = percent;
    }

    double curves_;
    double finished_ = 0;
    std::int32_t told_ = 0;
    int shown_ = -1;
    ProgressScope scope_;
};

// --- One curve ---

/// What is remembered of a filtered curve: where it stands, and the filter, fed with everything up to there.
struct CurveState {
    DerivedMark mark;
    std::shared_ptr<const CurveFilter> filter;
};
struct SlotState {
    bool recorded = false;  ///< a recording stands in the place of the curve
    std::optional<CurveState> curve;
};
using DatasetState = std::array<SlotState, slots>;

PerDataset<DatasetState>& States() {
    static PerDataset<DatasetState> states;
    return states;
}

/// Filters one curve of one dataset.
class FilteredCurve {
  public:
    FilteredCurve(const Database& database, const std::string& dataset, const FilterSettings& settings)
        : dataset_(dataset),
          settings_(settings),
          reader_(database, dataset, settings.input, Between::linear),
          recorded_(GridSpan::Of(reader_.Info())) {}

    /// Goes on from `before` where that is possible. Nothing to remember when nothing has been recorded yet.
    std::optional<CurveState> Run(const std::optional<CurveState>& before, WriteTransaction& transaction,
                                  FilterProgress* progress) {
        DerivedRun run(transaction, dataset_, settings_.input, recorded_, settings_.output);
        const bool goesOn =
            before && before->mark.made == MadeText(settings_) && run.CanGoOnFrom(before->mark);
        if (goesOn && before->mark.taken.last == recorded_.last)
            return before;
        run.Begin();
        if (goesOn) {
            run.Extend(Attributes());
            if (std::optional<CurveState> extended = FilterToTheEnd(run, before->filter->Clone(), progress))
                return extended;
        }
        run.StartAnew(Attributes());
        if (!recorded_.IsEmpty())
            return FilterToTheEnd(run, MakeFilter(settings_, recorded_), progress);
        State(run, {});
        return std::nullopt;
    }

    /// The curve is what Run would leave. The valid span tells it but where a recording is too short to have
    /// one: there the last value does.
    bool IsComplete(const ItemInfo& output) {
        if (recorded_.IsEmpty())
            return output.IsEmpty();
        if (output.step != recorded_.step || output.firstIndex != recorded_.first)
            return false;
        const std::unique_ptr<CurveFilter> filter = MakeFilter(settings_, recorded_);
        const CurveFilter::Span span = filter->ValidSpanOf(recorded_.Count());
        if (span.first <= span.last)
            return output.validFirst == recorded_.IndexOf(span.first) &&
                   output.validLast == recorded_.IndexOf(span.last);
        const std::int64_t last = LastOutput(*filter);
        return output.validLast < output.validFirst &&
               (last < 0 ? output.IsEmpty() : output.extentLast == recorded_.IndexOf(last));
    }

  private:
    /// A filtered curve has no constant part, so that an offset between sample and displayed value has no
    /// place.
    DerivedCurve Attributes() const {
        const ItemInfo& info = reader_.Info();
        return {info.step, recorded_.first,    GetUnitText(info.unitCode), info.scale,
                0.0F,      MadeText(settings_)};
    }

    void State(DerivedRun& run, CurveFilter::Span valid) const {
        const bool none = valid.last < valid.first;
        run.State(recorded_.IndexOf(none ? 0 : valid.first), recorded_.IndexOf(none ? -1 : valid.last));
    }

    /// Nothing when a value that is in the curve has to go: then it is to be made anew.
    std::optional<CurveState> FilterToTheEnd(DerivedRun& run, std::unique_ptr<CurveFilter> filter,
                                             FilterProgress* progress) {
        const CurveFilter::Sink put = [&](std::int64_t position, std::span<const float> values) {
            run.Output().PutRun(recorded_.IndexOf(position), values);
        };
        InPieces(recorded_, filter->Fed(), samplesPerCommit, [&](const GridSpan& piece) {
            run.Begin();
            Feed(*filter, piece, put, progress);
            if (piece.last < recorded_.last && !filter->NeedsFreshStart()) {
                State(run, {filter->ValidSpan().first, filter->FinalEnd() - 1});
                run.Commit();
            }
            return true;
        });
        filter->Finish(put);
        if (filter->NeedsFreshStart())
            return std::nullopt;
        State(run, filter->ValidSpan());
        return CurveState{run.MarkAt(recorded_.last), std::move(filter)};
    }

    std::int64_t LastOutput(CurveFilter& filter) {
        std::int64_t last = -1;
        const CurveFilter::Sink note = [&](std::int64_t position, std::span<const float> values) {
            last = std::max(last, position + std::ssize(values) - 1);
        };
        Feed(filter, recorded_, note, nullptr);
        filter.Finish(note);
        return last;
    }

    void Feed(CurveFilter& filter, const GridSpan& piece, const CurveFilter::Sink& put,
              FilterProgress* progress) {
        InPieces(piece, 0, blockSamples, [&](const GridSpan& block) {
            block_.Read(reader_, block);
            filter.Feed(block_.values, block_.present, put);
            if (progress != nullptr)
                progress->Update(static_cast<double>(filter.Fed()) / static_cast<double>(recorded_.Count()));
            return true;
        });
    }

    std::string dataset_;
    FilterSettings settings_;
    CurveReader reader_;
    GridSpan recorded_;  ///< when the run began
    SampleBlock block_;
};

// --- One dataset ---

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
            progress->BeginCurve(record.dataset, settings[slot]);
        after[slot].recorded = RecordingStands(database, record.dataset, settings[slot].output);
        if (!after[slot].recorded)
            after[slot].curve = FilteredCurve(database, record.dataset, settings[slot])
                                    .Run(before[slot].curve, transaction, progress);
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

/// Runs `body` with a progress that is reset afterwards, whatever happened.
template <typename Body>
bool WithProgress(std::size_t curves, Body&& body) {
    auto progress = std::make_unique<FilterProgress>(curves);
    const bool done = body(*progress);
    if (done)
        progress->Finish();
    return Attempt(tidyingUp, [&] { progress.reset(); }) && done;
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
    return WithProgress(slots, [&](FilterProgress& progress) {
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
        if (!DatabasesOpen())
            return false;
        if (FilteredCurvesExist())
            RefuseToReplaceRecordings({FilteredPressureName(CurrentSelection().choice),
                                       FilteredFlowName(CurrentSelection().choice)});
        const std::size_t datasets = CurrentSelection().datasets.size();
        return WithProgress(slots * datasets, [&](FilterProgress& progress) {
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

void SetPercentageDisplay(std::function<void(const std::string& text)> show) {
    PercentageDisplay() = std::move(show);
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
