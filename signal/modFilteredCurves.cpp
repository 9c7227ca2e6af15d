#include "signal/modFilteredCurves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "signal/BandPassCurve.h"
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
/// Samples filtered between two commits: bounds what a transaction holds and how long it locks out the
/// recorder.
constexpr std::int64_t samplesPerCommit = 262144;

constexpr double unitsPerSecond = 100.0;
constexpr int mostPasses = 10;
constexpr double lowestGain = 0.9;

// --- Settings ---

/// All that decides what a filtered curve holds.
struct FilterSettings {
    std::string input;
    std::string output;
    bool bandPass = false;
    double period = 0;  ///< s
    std::int16_t filterN = 1;

    friend bool operator==(const FilterSettings&, const FilterSettings&) = default;
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

/// The band-pass kernel of a curve with a sampling step in hundredths of a second. The step enters as the
/// tool's sampling value does, in hundredths and not in seconds: kept, since the filter settings in use are
/// tuned to it.
struct KernelDesign {
    float fc1 = 0;
    float fc2 = 0;
    std::int16_t length = 0;
};
KernelDesign DesignFor(double period, std::int16_t filterN, std::int16_t step) {
    const double frequency = CheckedDivide(1.0, period, source);
    return {static_cast<float>(CheckedDivide(frequency, step, source) / 2.0),
            static_cast<float>(2.0 * CheckedDivide(frequency, step, source)),
            RoundTo<std::int16_t>(filterN * period * step, source)};
}

/// Kernels in use, shared by the curves of one design.
std::shared_ptr<const OverlapAddKernel> SharedKernel(const KernelDesign& design) {
    using Key = std::tuple<float, float, std::int16_t>;
    static std::map<Key, std::weak_ptr<const OverlapAddKernel>> kernels;
    std::erase_if(kernels, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<const OverlapAddKernel>& known = kernels[{design.fc1, design.fc2, design.length}];
    std::shared_ptr<const OverlapAddKernel> kernel = known.lock();
    if (!kernel) {
        kernel =
            std::make_shared<const OverlapAddKernel>(BandPassKernel(design.fc1, design.fc2, design.length));
        known = kernel;
    }
    return kernel;
}

std::unique_ptr<CurveFilter> MakeFilter(const FilterSettings& settings, const ItemInfo& input) {
    if (settings.bandPass)
        return std::make_unique<BandPassCurve>(
            SharedKernel(DesignFor(settings.period, settings.filterN, input.step)));
    return std::make_unique<DifferenceFilter>(input.extentFirst, input.step, settings.period,
                                              settings.filterN);
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

/// What is remembered of a filtered curve: the filter, fed with everything filtered so far, and how the curve
/// was left.
struct CurveState {
    FilterSettings settings;
    std::int32_t firstIndex = 0;
    std::int16_t step = 1;
    std::int32_t outputLast = 0;
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

/// A transaction that begins with the first need to write and is committed and begun again now and then on a
/// long run.
class LongTransaction {
  public:
    explicit LongTransaction(Database& database) : database_(database) {}
    void Begin() {
        if (!transaction_)
            transaction_.emplace(database_);
    }
    void Commit() {
        if (transaction_)
            transaction_->Commit();
        transaction_.reset();
    }

  private:
    Database& database_;
    std::optional<Transaction> transaction_;
};

/// Filters one curve of one dataset within a transaction of the caller's.
class CurveRun {
  public:
    CurveRun(const Database& database, const std::string& dataset, FilterSettings settings)
        : database_(database),
          dataset_(dataset),
          settings_(std::move(settings)),
          reader_(database, dataset, settings_.input, Between::linear),
          info_(reader_.Info()),
          count_(info_.IsEmpty() ? 0
                                 : (std::int64_t{info_.extentLast} - info_.extentFirst) / info_.step + 1) {}

    /// Goes on from `before` where that is possible. Nothing to remember when nothing has been recorded yet.
    std::optional<CurveState> Run(const std::optional<CurveState>& before, LongTransaction& transaction,
                                  FilterProgress* progress) {
        const bool goesOn = before && CanGoOnFrom(*before);
        if (goesOn && before->filter->Fed() == count_)
            return before;
        transaction.Begin();
        if (goesOn) {
            std::optional<CurveState> extended =
                RunFrom(before->filter->Clone(), false, transaction, progress);
            if (extended)
                return extended;
        }
        if (info_.IsEmpty()) {
            Open(true).Mark(info_.firstIndex, info_.firstIndex - 1);
            return std::nullopt;
        }
        return RunFrom(MakeFilter(settings_, info_), true, transaction, progress);
    }

    /// The curve is what Run would leave. The valid span tells it but where a recording is too short to have
    /// one: there the last value does.
    bool IsComplete(const ItemInfo& output) {
        if (info_.IsEmpty())
            return output.IsEmpty();
        if (output.step != info_.step || output.firstIndex != info_.extentFirst)
            return false;
        const std::unique_ptr<CurveFilter> filter = MakeFilter(settings_, info_);
        const CurveFilter::Span span = filter->ValidSpanOf(count_);
        if (span.first <= span.last)
            return output.validFirst == IndexOf(span.first) && output.validLast == IndexOf(span.last);
        const std::int64_t last = LastOutput(*filter);
        return output.validLast < output.validFirst &&
               (last < 0 ? output.IsEmpty() : output.extentLast == IndexOf(last));
    }

  private:
    /// The state is of these settings, input and output are as it left them (but for growth).
    bool CanGoOnFrom(const CurveState& state) const {
        if (!(state.settings == settings_) || state.firstIndex != info_.extentFirst ||
            state.step != info_.step || state.filter->Fed() > count_)
            return false;
        const std::optional<Item> output = Item::Find(database_, ItemPath(dataset_, settings_.output));
        return output && output->Info().made == MadeText(settings_) &&
               output->Info().extentLast >= state.outputLast;
    }

    CurveWriter Open(bool fresh) const {
        // A filtered curve has no constant part, so that an offset between sample and displayed value has no
        // place.
        const DerivedCurve attributes{info_.step,
                                      info_.IsEmpty() ? info_.firstIndex : info_.extentFirst,
                                      GetUnitText(info_.unitCode),
                                      info_.scale,
                                      0.0F,
                                      MadeText(settings_)};
        return fresh ? CurveWriter::Recreate(database_, dataset_, settings_.output, attributes)
                     : CurveWriter::OpenOrCreate(database_, dataset_, settings_.output, attributes);
    }

    std::int32_t IndexOf(std::int64_t position) const {
        return CheckedNarrow<std::int32_t>(info_.extentFirst + position * info_.step, source);
    }

    void MarkSpan(CurveWriter& writer, CurveFilter::Span span) const {
        if (span.last < span.first)
            writer.Mark(info_.extentFirst, info_.extentFirst - 1);
        else
            writer.Mark(IndexOf(span.first), IndexOf(span.last));
    }

    /// Nothing when a value that is in the curve has to go: then it is to be made anew.
    std::optional<CurveState> RunFrom(std::unique_ptr<CurveFilter> filter, bool fresh,
                                      LongTransaction& transaction, FilterProgress* progress) {
        CurveWriter writer = Open(fresh);
        const CurveFilter::Sink put = [&](std::int64_t position, std::span<const float> values) {
            writer.PutRun(IndexOf(position), values);
        };
        std::int64_t committed = filter->Fed();
        while (filter->Fed() < count_) {
            FeedBlock(*filter, put);
            if (filter->Fed() - committed >= samplesPerCommit && filter->Fed() < count_ &&
                !filter->NeedsFreshStart()) {
                committed = filter->Fed();
                writer.Flush();
                MarkSpan(writer, {filter->ValidSpan().first, filter->FinalEnd() - 1});
                transaction.Commit();
                transaction.Begin();
            }
            if (progress != nullptr)
                progress->Update(static_cast<double>(filter->Fed()) / static_cast<double>(count_));
        }
        filter->Finish(put);
        if (filter->NeedsFreshStart())
            return std::nullopt;
        writer.Flush();
        MarkSpan(writer, filter->ValidSpan());
        const std::optional<Item> output = Item::Find(database_, ItemPath(dataset_, settings_.output));
        return CurveState{settings_, info_.extentFirst, info_.step, output ? output->Info().extentLast : 0,
                          std::move(filter)};
    }

    std::int64_t LastOutput(CurveFilter& filter) {
        std::int64_t last = -1;
        const CurveFilter::Sink note = [&](std::int64_t position, std::span<const float> values) {
            last = std::max(last, position + std::ssize(values) - 1);
        };
        while (filter.Fed() < count_)
            FeedBlock(filter, note);
        filter.Finish(note);
        return last;
    }

    void FeedBlock(CurveFilter& filter, const CurveFilter::Sink& put) {
        const std::int64_t from = filter.Fed();
        const auto size = static_cast<std::size_t>(std::min(blockSamples, count_ - from));
        values_.resize(size);
        present_.resize(size);
        reader_.ReadGrid(IndexOf(from), values_, present_);
        for (std::size_t i = 0; i < size; ++i)
            if (!std::isfinite(values_[i]))
                present_[i] = 0;
        filter.Feed(values_, present_, put);
    }

    const Database& database_;
    std::string dataset_;
    FilterSettings settings_;
    CurveReader reader_;
    ItemInfo info_;
    std::int64_t count_;  ///< samples recorded when the run began
    std::vector<float> values_;
    std::vector<std::uint8_t> present_;
};

// --- One dataset ---

/// Both curves of a dataset. What is remembered of it changes only when all is committed.
bool FilterDataset(std::size_t index, bool incremental, FilterProgress* progress) {
    const DatasetRecord& record = SelectedDataset(index);
    const std::array<FilterSettings, slots> settings = CurrentSettings();
    DravikDatabase database(record.database);
    if (!database.IsOpen())
        return false;
    const DatasetState* const known = incremental ? States().Find(record) : nullptr;
    const DatasetState before = known != nullptr ? *known : DatasetState{};
    DatasetState after;
    {
        LongTransaction transaction(database);
        // An extension mostly has something to write. Reading under the lock that it then needs anyway, it
        // does not wait for a busy recorder at every look at a curve.
        if (known != nullptr)
            transaction.Begin();
        for (std::size_t slot = 0; slot < slots; ++slot) {
            if (progress != nullptr)
                progress->BeginCurve(record.dataset, settings[slot]);
            after[slot].recorded = RecordingStands(database, record.dataset, settings[slot].output);
            if (!after[slot].recorded)
                after[slot].curve = CurveRun(database, record.dataset, settings[slot])
                                        .Run(before[slot].curve, transaction, progress);
            if (progress != nullptr)
                progress->EndCurve();
        }
        transaction.Commit();
    }
    States().Of(record) = std::move(after);
    return database.Close();
}

/// One run of FilterDataset with report and tidy-up. The guards have closed what was opened by the time of
/// the tidy-up.
bool CreateWithProgress(std::size_t index, bool incremental, FilterProgress* progress) {
    return Attempt(creatingFailed, false, [&] { return FilterDataset(index, incremental, progress); });
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

// --- Information ---

/// Gain of a kernel at a frequency in cycles per sample.
double GainAt(std::span<const float> kernel, double frequency) {
    std::complex<double> response = 0.0;
    for (std::size_t k = 0; k < kernel.size(); ++k)
        response += static_cast<double>(kernel[k]) *
                    std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(k));
    return std::abs(response);
}

/// Sampling steps of the selected datasets' input curves.
std::set<std::int16_t> InputSteps() {
    std::set<std::int16_t> steps;
    const CurveChoice& choice = CurrentSelection().choice;
    for (const DatasetRecord& record : CurrentSelection().datasets) {
        DravikDatabase database(record.database);
        if (!database.IsOpen())
            break;
        for (const std::string& name : {choice.pressure, choice.flow})
            if (const auto item = Item::Find(database, ItemPath(record.dataset, name)))
                steps.insert(item->Info().step);
    }
    return steps;
}

std::string Seconds(double seconds) {
    return FormatNumber(seconds) + " s";
}

/// One line on the band pass of curves with this sampling step.
std::string BandPassLine(std::int16_t filterN, std::int16_t step, bool& warning) {
    const ParameterSet& p = CurrentParameters();
    const double stepSeconds = step / unitsPerSecond;
    const std::string sampling = "Band pass at a sampling of " + Seconds(stepSeconds) + ": ";
    const double length = filterN * p.period * step;
    if (!(RoundHalfEven(length) >= 1.0 &&
          RoundHalfEven(length) <= std::numeric_limits<std::int16_t>::max())) {
        warning = true;
        return sampling + "the kernel would need " + FormatNumber(RoundHalfEven(length)) +
               " samples, 1 to 32767 can be had";
    }
    const KernelDesign design = DesignFor(p.period, filterN, step);
    const double gain = GainAt(SharedKernel(design)->Values(), stepSeconds / p.period);
    std::string line = sampling + "periods from " + Seconds(stepSeconds / design.fc2) + " to " +
                       Seconds(stepSeconds / design.fc1) + ", gain " + FormatByPattern(gain, "0.000") +
                       " at " + Seconds(p.period);
    if (gain < lowestGain) {
        warning = true;
        line += " - Warning: the period of test is weakened";
    }
    return line;
}

PassBand DescribePassBand(std::int16_t filterN) {
    const ParameterSet& p = CurrentParameters();
    if (p.bandPass == 0)
        return {"Half-period difference: gain 1 at " + Seconds(p.period) +
                ", constants and straight lines are removed"};
    PassBand band;
    for (const std::int16_t step : InputSteps()) {
        const std::string line = BandPassLine(filterN, step, band.warning);
        band.text += (band.text.empty() ? "" : "\n") + line;
    }
    return band;
}

}  // namespace

bool FilteredCurvesExist() {
    return Attempt(checkingExistence, false, [] {
        const CurveChoice& choice = CurrentSelection().choice;
        return CurveInCommonList(FilteredPressureName(choice)) && CurveInCommonList(FilteredFlowName(choice));
    });
}

bool CreateFilteredCurves(std::size_t index, bool incremental) {
    if (incremental)
        return CreateWithProgress(index, true, nullptr);
    return WithProgress(
        slots, [&](FilterProgress& progress) { return CreateWithProgress(index, false, &progress); });
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
                if (!CreateWithProgress(index, false, &progress))
                    return false;
            return RefreshCommonCurves();
        });
    });
}

std::string FilterDescription() {
    return MadeText(CurrentSettings()[0]);
}

std::vector<CurveStanding> FilteredCurveStandings(std::size_t index) {
    const DatasetRecord& record = SelectedDataset(index);
    const DravikDatabase database(record.database);
    std::vector<CurveStanding> standings;
    for (const FilterSettings& settings : CurrentSettings())
        standings.push_back(StandingOf(
            database, record.dataset, settings.output, MadeText(settings), [&](const ItemInfo& output) {
                return CurveRun(database, record.dataset, settings).IsComplete(output);
            }));
    return standings;
}

IndexSpan FilteredSpanOf(const ItemInfo& input, int filterN) {
    if (input.IsEmpty())
        return {};
    const ParameterSet& p = CurrentParameters();
    const FilterSettings settings{"", "", p.bandPass != 0, p.period,
                                  CheckedNarrow<std::int16_t>(filterN, source)};
    const std::int64_t count = (std::int64_t{input.extentLast} - input.extentFirst) / input.step + 1;
    const CurveFilter::Span span = MakeFilter(settings, input)->ValidSpanOf(count);
    if (span.last < span.first)
        return {};
    return {input.extentFirst + span.first * input.step, input.extentFirst + span.last * input.step};
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
        const CurveState& curve = *slot.curve;
        const std::int64_t at = curve.firstIndex + curve.filter->FinalEnd() * curve.step;
        first = std::min(first, CheckedNarrow<std::int32_t>(at, source));
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

PassBand GetPassBand(int filterN) {
    return Attempt(gettingInformation, PassBand{},
                   [&] { return DescribePassBand(CheckedNarrow<std::int16_t>(filterN, source)); });
}

}  // namespace vorela
