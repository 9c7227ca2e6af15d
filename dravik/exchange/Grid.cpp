#include "dravik/exchange/Grid.h"

#include <algorithm>
#include <cmath>

#include "dravik/exchange/CurveSource.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

constexpr double longestStep = 32767.0;
constexpr double roundOff = 1e-4;
constexpr double mostIndex = 2147483647.0;

std::string LargestDivisor(double step) {
    const auto whole = static_cast<std::int64_t>(std::llround(step));
    for (auto divisor = static_cast<std::int64_t>(longestStep); divisor > 1; --divisor) {
        if (whole % divisor == 0)
            return std::to_string(divisor);
    }
    return "CS";
}

class GridDecider {
  public:
    GridDecider(const TimeBaseSummary& times, const Choices& choices, std::int16_t indexKind, double zero)
        : times_(times), choices_(choices), kind_(indexKind), zero_(zero) {}

    GridDecision Decide() {
        CheckOrder();
        CheckSteps();
        if (times_.medianStep > 0.0 && CheckSpan())
            ChooseGrid();
        return std::move(decision_);
    }

  private:
    bool HasStep() const { return choices_.step.has_value() || choices_.target.has_value(); }
    std::string Span(double indexUnits) const { return IndexSpan(indexUnits, kind_); }
    void Problem(std::string text) { decision_.problems.push_back(std::move(text)); }

    void CheckOrder() {
        if (times_.disorder == 0)
            return;
        const double step = choices_.step ? *choices_.step : choices_.target ? choices_.target->step : 0.0;
        const std::string lines = "line " + std::to_string(times_.disorderLine) + ": its " + Axis() +
                                  " is not behind that of line " + std::to_string(times_.disorderAfter);
        const std::string more =
            times_.disorder > 1 ? " (" + std::to_string(times_.disorder) + " such lines)" : "";
        if (times_.longestBack >= step && step > 0.0)
            Problem(lines + more + ", by over one step (--leave-out " + std::to_string(times_.disorderLine) +
                    ")");
        else if (!HasStep())
            Problem(lines + more + " (--leave-out " + std::to_string(times_.disorderLine) +
                    ", or --step CS for means)");
    }

    void CheckSteps() {
        const double median = times_.medianStep;
        if (times_.rows < 2 || median <= 0.0)
            return Problem("fewer than two rows of different " + Axis() + "s");
        if (HasStep())
            return;
        if (times_.stepsOff * 20 > times_.rows - 1)
            Problem("recorded at events, not evenly: " + std::to_string(times_.stepsOff) + " of " +
                    std::to_string(times_.rows - 1) + " steps differ from the median of " + Span(median) +
                    " by over half (--step CS puts them on an even grid)");
        if (median > longestStep + roundOff)
            Problem("the median step of " + Span(median) + " is longer than the longest of a grid, " +
                    Span(longestStep) + " (--step " + LargestDivisor(median) + ")");
        if (median < 0.5 - roundOff)
            Problem("the median step of " + vorela::ShortestText(std::round(median * 1e7) / 1e9) +
                    (kind_ == DK_INDEX_TIME ? " s" : " ft") +
                    " is shorter than half of the shortest of a grid (--time-unit, or --step CS for means)");
    }

    /// Whether indices fit the grid of 32 bits.
    bool CheckSpan() {
        const double least = times_.earliest - zero_;
        const double most = times_.latest - zero_;
        if (most - least <= mostIndex && std::abs(least) <= mostIndex && std::abs(most) <= mostIndex)
            return true;
        Problem("it runs from " + Span(least) + " to " + Span(most) +
                ", beyond 2147483647 hundredths (--leave-out some lines, --shift the start)");
        return false;
    }

    void ChooseGrid() {
        GridPlan& grid = decision_.grid;
        grid.indexKind = kind_;
        const bool coarser = HasStep() && times_.gridStep > times_.medianStep * 1.005 + roundOff;
        double step = times_.gridStep;
        if (times_.onGrid && !coarser)
            grid.method = GridMethod::asTheyAre;
        else
            grid.method = coarser ? GridMethod::mean : GridMethod::interpolated;
        bool most = times_.mostOnGrid;
        if (grid.method == GridMethod::interpolated && !HasStep()) {
            const double below = std::max(1.0, std::floor(times_.medianStep + roundOff));
            most = most && below == step;
            step = below;
        }
        if (step > longestStep || times_.medianStep < 0.0)
            return;
        grid.step = static_cast<std::int16_t>(std::max(1.0, step));
        grid.fill = choices_.fill * indexPerUnit;
        const bool between = grid.method == GridMethod::interpolated || HasStep();
        grid.gapLimit = std::max(grid.fill, between ? 1.5 * times_.medianStep : 0.0);
        grid.snap = grid.method == GridMethod::asTheyAre ? step
                    : most ? std::min(TimeBase::Tolerance(step), 0.05 * step + roundOff)
                           : roundOff;
        const bool anchored = grid.method == GridMethod::asTheyAre || most || choices_.target;
        grid.origin = anchored ? times_.origin : std::ceil(times_.origin - roundOff);
        PlaceRows(grid);
        Tell(grid);
    }

    void PlaceRows(GridPlan& grid) {
        const double step = grid.step;
        const double snap = grid.snap / step;
        double first = (times_.earliest - grid.origin) / step;
        double last = (times_.latest - grid.origin) / step;
        if (grid.method == GridMethod::interpolated) {
            first = std::ceil(first - snap);
            last = std::floor(last + snap);
        } else {
            first = std::floor(first + 0.5);
            last = std::floor(last + 0.5);
        }
        const double firstIndex = std::round(grid.origin - zero_) + first * step;
        const double lastIndex = firstIndex + (last - first) * step;
        if (last < first || std::abs(firstIndex) > mostIndex || std::abs(lastIndex) > mostIndex)
            return Problem("no place of the grid lies within the file's " + Axis() + "s");
        grid.origin += first * step;
        grid.firstIndex = static_cast<std::int32_t>(firstIndex);
        grid.rows = static_cast<std::int64_t>(last - first) + 1;
        if (grid.rows < 20 && times_.rows > 200)
            Problem("only " + std::to_string(grid.rows) + " samples would come of " +
                    std::to_string(times_.rows) + " rows (--time-unit or --step)");
    }

    void Tell(const GridPlan& grid) {
        if (grid.method == GridMethod::interpolated)
            Note("rows every " + Span(times_.medianStep) +
                 " do not lie on an even grid of hundredths (largest distance " +
                 Span(times_.largestDistance) + "): straight lines between them every " + Span(grid.step));
        if (grid.method == GridMethod::mean)
            Note("means of the rows every " + Span(times_.medianStep) + " over steps of " + Span(grid.step) +
                 MiddleOfMeans(grid.step));
        if (grid.method == GridMethod::asTheyAre && HasStep() && times_.medianStep > 1.5 * grid.step)
            Note("straight lines between rows every " + Span(times_.medianStep) + " to steps of " +
                 Span(grid.step));
        if (times_.descending)
            Note(Axis() + "s fall: the rows are turned round");
        if (times_.gaps > 0)
            Note(std::to_string(times_.gaps) + (times_.gaps == 1 ? " gap" : " gaps") +
                 " between rows, up to " + Span(times_.longestStep));
        if (choices_.fill > 0.0)
            Note(std::to_string(times_.gapsToFill) +
                 (times_.gapsToFill == 1 ? " gap between rows of up to " : " gaps between rows of up to ") +
                 Span(choices_.fill * indexPerUnit) + " filled by straight lines");
    }
    /// An even number of rows has one more before its place than behind it.
    std::string MiddleOfMeans(double step) const {
        const double rows = std::round(step / times_.medianStep);
        const bool isEven = std::fmod(rows, 2.0) == 0.0;
        if (!isEven || std::abs(rows * times_.medianStep - step) > 0.01 * times_.medianStep)
            return {};
        return ", whose middle lies " + Span(times_.medianStep / 2.0) + " before their place";
    }
    void Note(std::string text) { decision_.notes.push_back(std::move(text)); }
    std::string Axis() const { return kind_ == DK_INDEX_TIME ? "time" : "depth"; }

    const TimeBaseSummary& times_;
    const Choices& choices_;
    std::int16_t kind_;
    double zero_;
    GridDecision decision_;
};

}  // namespace

std::string IndexSpan(double indexUnits, std::int16_t indexKind) {
    const double rounded = std::round(indexUnits * 1000.0) / 1000.0;
    return vorela::ShortestText(std::round(rounded * 1000.0) / 100000.0) +
           (indexKind == DK_INDEX_TIME ? " s" : " ft");
}

GridDecision DecideGrid(const TimeBaseSummary& times, const Choices& choices, std::int16_t indexKind,
                        double zero) {
    return GridDecider(times, choices, indexKind, zero).Decide();
}

}  // namespace dravik
