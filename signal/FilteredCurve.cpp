#include "signal/FilteredCurve.h"

#include <algorithm>
#include <span>
#include <utility>

#include "general/NumberText.h"
#include "platform/DatabaseClient.h"
#include "signal/BandPassCurve.h"
#include "signal/DifferenceFilter.h"

namespace vorela {
namespace {

/// Samples read at a time.
constexpr std::int64_t blockSamples = 16384;

}  // namespace

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

FilteredCurve::FilteredCurve(const Database& database, const std::string& dataset,
                             const FilterSettings& settings, FilterProgress* progress)
    : dataset_(dataset),
      settings_(settings),
      progress_(progress),
      reader_(database, dataset, settings.input, Between::linear),
      recorded_(GridSpan::Of(reader_.Info())) {}

std::optional<FilteredCurveState> FilteredCurve::Run(const std::optional<FilteredCurveState>& before,
                                                     WriteTransaction& transaction) {
    DerivedRun run(transaction, dataset_, settings_.input, recorded_, settings_.output);
    const bool goesOn = before && before->mark.made == MadeText(settings_) && run.CanGoOnFrom(before->mark);
    if (goesOn && before->mark.taken.last == recorded_.last)
        return before;
    run.Begin();
    if (goesOn) {
        run.Extend(Attributes());
        if (std::optional<FilteredCurveState> extended = FilterToTheEnd(run, before->filter->Clone()))
            return extended;
    }
    run.StartAnew(Attributes());
    if (!recorded_.IsEmpty())
        return FilterToTheEnd(run, MakeFilter(settings_, recorded_));
    State(run, {});
    return std::nullopt;
}

bool FilteredCurve::IsComplete(const ItemInfo& output) {
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

/// A filtered curve has no constant part, so that an offset between sample and displayed value has no place.
DerivedCurve FilteredCurve::Attributes() const {
    const ItemInfo& info = reader_.Info();
    return {info.step, recorded_.first, GetUnitText(info.unitCode), info.scale, 0.0F, MadeText(settings_)};
}

void FilteredCurve::State(DerivedRun& run, CurveFilter::Span valid) const {
    const bool none = valid.last < valid.first;
    run.State(recorded_.IndexOf(none ? 0 : valid.first), recorded_.IndexOf(none ? -1 : valid.last));
}

/// Nothing when a value that is in the curve has to go: then it is to be made anew.
std::optional<FilteredCurveState> FilteredCurve::FilterToTheEnd(DerivedRun& run,
                                                                std::unique_ptr<CurveFilter> filter) {
    const CurveFilter::Sink put = [&](std::int64_t position, std::span<const float> values) {
        run.Output().PutRun(recorded_.IndexOf(position), values);
    };
    InPieces(recorded_, filter->Fed(), samplesPerCommit, [&](const GridSpan& piece) {
        run.Begin();
        Feed(*filter, piece, put);
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
    return FilteredCurveState{run.MarkAt(recorded_.last), std::move(filter)};
}

std::int64_t FilteredCurve::LastOutput(CurveFilter& filter) {
    std::int64_t last = -1;
    const CurveFilter::Sink note = [&](std::int64_t position, std::span<const float> values) {
        last = std::max(last, position + std::ssize(values) - 1);
    };
    Feed(filter, recorded_, note);
    filter.Finish(note);
    return last;
}

void FilteredCurve::Feed(CurveFilter& filter, const GridSpan& piece, const CurveFilter::Sink& put) {
    InPieces(piece, 0, blockSamples, [&](const GridSpan& block) {
        block_.Read(reader_, block);
        filter.Feed(block_.values, block_.present, put);
        if (progress_ != nullptr)
            progress_->Update(static_cast<double>(filter.Fed()) / static_cast<double>(recorded_.Count()));
        return true;
    });
}

}  // namespace vorela
