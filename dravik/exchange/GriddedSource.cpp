#include "dravik/exchange/GriddedSource.h"

#include <algorithm>
#include <cmath>

#include "dravik/exchange/Units.h"

namespace dravik {
namespace {

constexpr std::int64_t mostBlockRows = 65536;
constexpr std::int64_t leastBlockRows = 256;
constexpr std::int64_t windowCells = 1 << 20;

}  // namespace

GriddedSource::GriddedSource(ImportPlan plan, const Progress& progress)
    : plan_(std::move(plan)),
      progress_(progress),
      file_(plan_.file, plan_.encodingChoice),
      samples_(file_, plan_) {
    grid_.indexKind = plan_.grid.indexKind;
    grid_.step = plan_.grid.step;
    grid_.firstIndex = plan_.grid.firstIndex;
    grid_.rowCount = plan_.grid.rows;
    DescribeCurves();
    blockRows_ = std::clamp(windowCells / static_cast<std::int64_t>(std::max<std::size_t>(1, fileCurves_)),
                            leastBlockRows, mostBlockRows);
    window_.resize(fileCurves_);
    isDirect_ =
        plan_.grid.method == GridMethod::asTheyAre && plan_.grid.gapLimit == 0.0 && samples_.IsDirect();
    perStep_ = 1.0 / plan_.grid.step;
    Restart();
}

void GriddedSource::DescribeCurves() {
    for (const PlannedColumn& column : plan_.columns) {
        if (column.role != ColumnRole::curve)
            continue;
        CurveDescription description{column.name, column.unit};
        // Depth curves in metres are displayed in feet.
        if (column.name == depthCurveName && FeetPer(column.unit))
            description.scale = static_cast<float>(*FeetPer(column.unit));
        curves_.push_back(std::move(description));
        isCode_.push_back(column.isCode);
    }
    fileCurves_ = curves_.size();
    if (plan_.depth)
        curves_.push_back({depthCurveName, "ft"});
}

void GriddedSource::Restart() {
    samples_.Rewind();
    havePrevious_ = false;
    haveCurrent_ = false;
    ended_ = false;
    nextRow_ = 0;
    windowFirst_ = 0;
    windowRows_ = 0;
    for (std::vector<Cell>& cells : window_)
        cells.assign(margin, Cell());
}

/// Place of a file index on the grid, whole for one that lies on it.
double GriddedSource::PlaceOf(double index) const {
    const double step = plan_.grid.step;
    const double place = (index - plan_.grid.origin) * perStep_;
    const auto nearest = static_cast<double>(static_cast<std::int64_t>(place + (place < 0.0 ? -0.5 : 0.5)));
    return std::abs(place - nearest) * step <= plan_.grid.snap ? nearest : place;
}

void GriddedSource::Set(std::size_t curve, std::int64_t row, double value) {
    if (!InWindow(row) || row >= grid_.rowCount || std::isnan(value))
        return;
    Cell& cell = window_[curve][static_cast<std::size_t>(row - windowFirst_)];
    cell = {value, 1};
}

void GriddedSource::PutRow(std::int64_t row, const std::vector<double>& values) {
    for (std::size_t curve = 0; curve < fileCurves_; ++curve)
        Set(curve, row, values[curve]);
}

/// Places behind the previous row up to `last` and up to the current row, as far as the window goes.
void GriddedSource::PutBetween(std::int64_t last) {
    const bool near = havePrevious_ && current_.index - previous_.index <= plan_.grid.gapLimit + 1e-6;
    const bool isMean = plan_.grid.method == GridMethod::mean;
    const double firstFree = isMean && havePrevious_ ? std::floor(previousPlace_ + 0.5) + 1.0 : 0.0;
    for (; nextRow_ <= last; ++nextRow_) {
        const auto place = static_cast<double>(nextRow_);
        if (place > currentPlace_)
            return;
        if (place == currentPlace_ && !isMean) {
            PutRow(nextRow_, current_.values);
            continue;
        }
        if (!near || place <= previousPlace_) {
            if (!near && currentPlace_ - place > 1.0)  // nothing lies in a gap
                nextRow_ = std::min(last, static_cast<std::int64_t>(std::ceil(currentPlace_)) - 1);
            continue;
        }
        const double share = (place - previousPlace_) / (currentPlace_ - previousPlace_);
        const bool isFree = place >= firstFree && place < std::floor(currentPlace_ + 0.5);
        for (std::size_t curve = 0; curve < fileCurves_; ++curve) {
            const double before = previous_.values[curve];
            const double behind = current_.values[curve];
            if (std::isnan(before) || std::isnan(behind))
                continue;
            if (isCode_[curve])
                Set(curve, nextRow_, before);
            else if (!isMean || (isFree && plan_.grid.fill > 0.0))
                Set(curve, nextRow_, before + (behind - before) * share);
        }
    }
}

/// The current row joins the mean of the place that it is nearest to; codes are the row's at or before it.
void GriddedSource::AddToMean() {
    const auto row = static_cast<std::int64_t>(std::floor(currentPlace_ + 0.5));
    if (!InWindow(row) || row >= grid_.rowCount)
        return;
    for (std::size_t curve = 0; curve < fileCurves_; ++curve) {
        const double value = current_.values[curve];
        if (std::isnan(value))
            continue;
        if (!isCode_[curve]) {
            Cell& cell = window_[curve][static_cast<std::size_t>(row - windowFirst_)];
            cell.sum += value;
            ++cell.count;
        } else if (currentPlace_ == static_cast<double>(row)) {
            Set(curve, row, value);
        }
    }
}

bool GriddedSource::TakeSample() {
    if (haveCurrent_) {
        std::swap(previous_, current_);
        previousPlace_ = currentPlace_;
        havePrevious_ = true;
    }
    haveCurrent_ = samples_.Next(current_);
    if (haveCurrent_)
        currentPlace_ = PlaceOf(current_.index);
    return haveCurrent_;
}

void GriddedSource::PutDirectly(std::size_t place) {
    for (std::size_t curve = 0; curve < fileCurves_; ++curve) {
        const double value = samples_.Value(curve);
        if (!std::isnan(value))
            window_[curve][place] = {value, 1};
    }
}

/// The row that lies behind the window waits for the next one.
void GriddedSource::FillWindowDirectly() {
    const auto end = static_cast<double>(windowFirst_ + windowRows_);
    double index = 0.0;
    while (!ended_) {
        if (haveCurrent_ && currentPlace_ >= end)
            return;
        if (haveCurrent_ && currentPlace_ >= static_cast<double>(windowFirst_))
            PutDirectly(static_cast<std::size_t>(static_cast<std::int64_t>(currentPlace_) - windowFirst_));
        haveCurrent_ = samples_.NextIndex(index);
        ended_ = !haveCurrent_;
        if (haveCurrent_)
            currentPlace_ = PlaceOf(index);
    }
}

/// Takes rows until none that follows can change a place of the window.
void GriddedSource::FillWindow() {
    const std::int64_t end = windowFirst_ + windowRows_;
    const bool isMean = plan_.grid.method == GridMethod::mean;
    while (!ended_) {
        if (haveCurrent_) {
            const std::int64_t reach = isMean ? end + margin - 1 : end - 1;
            PutBetween(reach);
            const double beyond = isMean ? static_cast<double>(end + 1) : static_cast<double>(end - 1);
            if (currentPlace_ > beyond)
                return;
            if (isMean)
                AddToMean();
        }
        ended_ = !TakeSample();
    }
}

void GriddedSource::MoveWindow(std::int64_t first, std::int64_t count) {
    if (first < windowFirst_)
        Restart();
    const std::int64_t shift = first - windowFirst_;
    const std::int64_t held = windowRows_ + margin;
    const std::int64_t kept = std::max<std::int64_t>(0, held - shift);
    for (std::vector<Cell>& cells : window_) {
        if (kept > 0)
            std::move(cells.end() - static_cast<std::ptrdiff_t>(kept), cells.end(), cells.begin());
        cells.resize(static_cast<std::size_t>(std::max(kept, count + margin)));
        std::fill(cells.begin() + static_cast<std::ptrdiff_t>(kept), cells.end(), Cell());
        cells.resize(static_cast<std::size_t>(count + margin));
    }
    windowFirst_ = first;
    windowRows_ = count;
    if (progress_ && !progress_(file_.End() + static_cast<std::uint64_t>(static_cast<double>(file_.End()) *
                                                                         static_cast<double>(first) /
                                                                         static_cast<double>(grid_.rowCount)),
                                2 * file_.End()))
        throw ImportStopped{};
    if (isDirect_)
        FillWindowDirectly();
    else
        FillWindow();
}

void GriddedSource::Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
                         std::uint8_t* present) {
    std::fill_n(values, count, 0.0F);
    std::fill_n(present, count, std::uint8_t{0});
    if (curve >= fileCurves_) {
        if (firstRow == 0 && count > 0) {
            values[0] = static_cast<float>(plan_.depth.value_or(0.0));
            present[0] = 1;
        }
        return;
    }
    if (firstRow < windowFirst_ || firstRow + count > windowFirst_ + windowRows_)
        MoveWindow(firstRow, count);
    const auto offset = static_cast<std::size_t>(firstRow - windowFirst_);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const Cell& cell = window_[curve][offset + i];
        if (cell.count == 0)
            continue;
        values[i] = static_cast<float>(cell.count == 1 ? cell.sum : cell.sum / cell.count);
        present[i] = 1;
    }
}

std::int64_t GriddedSource::NextRow(std::int64_t row) const {
    if (row < windowFirst_ + windowRows_ || row == 0)
        return row;
    if (ended_)
        return plan_.grid.method == GridMethod::mean && row < windowFirst_ + windowRows_ + margin
                   ? row
                   : grid_.rowCount;
    const bool leaps =
        plan_.grid.method == GridMethod::asTheyAre && plan_.grid.gapLimit == 0.0 && haveCurrent_;
    return leaps ? std::clamp(static_cast<std::int64_t>(currentPlace_), row, grid_.rowCount) : row;
}

}  // namespace dravik
