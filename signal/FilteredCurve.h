// One filtered curve of one dataset: what decides its values, and the run that makes or extends it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "db/Curves.h"
#include "signal/CurveFilter.h"
#include "signal/DerivedRun.h"
#include "signal/FilterProgress.h"

namespace vorela {

/// All that decides what a filtered curve holds.
struct FilterSettings {
    std::string input;
    std::string output;
    bool bandPass = false;
    double period = 0;  ///< s
    std::int16_t filterN = 1;
};

std::unique_ptr<CurveFilter> MakeFilter(const FilterSettings& settings, const GridSpan& input);
/// "half-period difference, 2 passes"
std::string PassesText(const FilterSettings& settings);
/// How the curve is made, as its item says it.
std::string MadeText(const FilterSettings& settings);

/// Where a filtered curve stands, and the filter, fed with everything up to there.
struct FilteredCurveState {
    DerivedMark mark;
    std::shared_ptr<const CurveFilter> filter;
};

/// Filters one curve of one dataset.
class FilteredCurve {
  public:
    /// `progress`, where there is one, is told the share of the input that is filtered.
    FilteredCurve(const Database& database, const std::string& dataset, const FilterSettings& settings,
                  FilterProgress* progress = nullptr);

    /// Goes on from `before` where that is possible. Nothing to remember when nothing has been recorded yet.
    std::optional<FilteredCurveState> Run(const std::optional<FilteredCurveState>& before,
                                          WriteTransaction& transaction);

    /// The curve is what Run would leave. The valid span tells it but where a recording is too short to have
    /// one: there the last value does.
    bool IsComplete(const ItemInfo& output);

  private:
    DerivedCurve Attributes() const;
    void State(DerivedRun& run, CurveFilter::Span valid) const;
    std::optional<FilteredCurveState> FilterToTheEnd(DerivedRun& run, std::unique_ptr<CurveFilter> filter);
    std::int64_t LastOutput(CurveFilter& filter);
    void Feed(CurveFilter& filter, const GridSpan& piece, const CurveFilter::Sink& put);

    std::string dataset_;
    FilterSettings settings_;
    FilterProgress* progress_;
    CurveReader reader_;
    GridSpan recorded_;  ///< when the run began
    SampleBlock block_;
};

}  // namespace vorela
