#include "plot/PlotTexts.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "db/IndexUnits.h"
#include "plot/AxisTexts.h"
#include "plot/CurveDrawing.h"

namespace vorela {
namespace {

constexpr double headerShare = 0.45;  // of a plot's height, at most
constexpr double columnShare = 0.6;   // of a plot's width, both columns of values at most
constexpr int mostHeaderRows = 6;
constexpr double clearOfFrame = 3;  // device units that the frame reaches into the margin below a plot
const char* const timeLabelText = "Time (seconds)";

/// A piece of the header while it is arranged.
struct Piece {
    TextRole role = TextRole::title;
    std::string text;
    double width = 0;  ///< with the legend's key
    std::optional<Quantity> quantity{};
    bool faint = false;
};
using Row = std::vector<Piece>;

/// How much of the header is left out, step by step; the left label stays.
enum class Brevity { none, ranges, title, legendOfAxes, legend, rightLabel };

/// Plans the texts of one plot.
class CellPlan {
  public:
    CellPlan(const PlotInformation& information, const PlotFormatOptions& format, const PlotLayout& layout,
             std::size_t cell, const PlotContents& contents, const TextMeasure& measure, double roomBelow)
        : information_(information),
          cell_(cell),
          area_(layout.cells[cell]),
          contents_(contents),
          measure_(measure),
          rows_(DrawnGridlines(format.horizontal)),
          columns_(DrawnGridlines(format.vertical)),
          height_(layout.fontHeight),
          gap_(layout.gap),
          below_(RoomUnder(layout, cell, roomBelow)) {}

    std::vector<PlacedText> Plan() {
        if (area_.bottom - area_.top >= height_ + 2 * gap_) {
            PlaceValueAxes();
            PlaceHeader();
            PlaceCycleNumbers();
        }
        PlaceTimeAxis();
        return std::move(texts_);
    }

  private:
    /// What is free between a plot's margin and what stands under it.
    static double RoomUnder(const PlotLayout& layout, std::size_t cell, double roomBelow) {
        if (cell + 1 >= layout.cells.size())
            return roomBelow;
        return layout.cells[cell + 1].top - layout.cells[cell].bottom - layout.fontHeight - clearOfFrame;
    }
    PlacedText& Add(TextRole role, TextAlignment alignment, DevicePoint at, const std::string& text) {
        const double width = measure_(text);
        double left = at.x;
        if (alignment == TextAlignment::bottomCentre)
            left -= width / 2;
        else if (alignment == TextAlignment::bottomRight)
            left -= width;
        const double top = alignment == TextAlignment::topLeft ? at.y : at.y - height_;
        texts_.push_back({role, text, alignment, at, {left, top, left + width, top + height_}, cell_});
        return texts_.back();
    }
    bool IsFree(const DeviceBox& box) const {
        const DeviceBox wide{box.left - gap_, box.top, box.right + gap_, box.bottom};
        return std::ranges::none_of(texts_, [&](const PlacedText& text) { return text.box.Meets(wide); });
    }

    // --- Value axes ---

    std::vector<std::string> ValueTexts(Quantity quantity) const {
        const AxisRange& axis = information_.axes[IndexOf(quantity)];
        std::vector<double> values;
        // Exact parts of the range, which the rounded places of the gridlines are nearest to.
        for (int i = 0; i <= rows_; ++i)
            values.push_back(axis.maximum - (axis.maximum - axis.minimum) * i / rows_);
        return AxisTexts(values);
    }
    double Widest(const std::vector<std::string>& texts) const {
        double widest = 0;
        for (const std::string& text : texts)
            widest = std::max(widest, measure_(text));
        return widest;
    }
    void PlaceValueAxes() {
        const double room = columnShare * (area_.right - area_.left);
        double taken = 0;
        const auto place = [&](const std::optional<Quantity>& quantity, bool left) {
            if (!quantity)
                return 0.0;
            const std::vector<std::string> texts = ValueTexts(*quantity);
            const double width = Widest(texts) + 2 * gap_;
            if (taken + width > room)
                return 0.0;
            taken += width;
            PlaceValues(*quantity, texts, left);
            return width;
        };
        headerLeft_ = area_.left + place(contents_.leftAxis, true) + gap_;
        headerRight_ = area_.right - place(contents_.rightAxis, false) - gap_;
    }
    /// Values lie on their gridlines, the topmost below and the lowest above the edge; those that would
    /// overlap are left out, the ends last.
    void PlaceValues(Quantity quantity, const std::vector<std::string>& texts, bool left) {
        const double x = left ? area_.left + gap_ : area_.right - gap_;
        const auto add = [&](double bottom, int i) {
            Add(TextRole::axisValue, left ? TextAlignment::bottomLeft : TextAlignment::bottomRight,
                {x, bottom}, texts[static_cast<std::size_t>(i)])
                .quantity = quantity;
        };
        const double firstBottom = area_.top + gap_ + height_;
        const double lastTop = area_.bottom - gap_ - height_;
        add(firstBottom, 0);
        double occupied = firstBottom;
        for (int i = 1; i < rows_; ++i) {
            const double bottom = std::floor(area_.top + i * area_.rowSpacing + height_ / 2);
            if (bottom - height_ < occupied || bottom > lastTop)
                continue;
            add(bottom, i);
            occupied = bottom;
        }
        if (lastTop >= firstBottom)
            add(area_.bottom - gap_, rows_);
    }

    // --- Header: labels, title, legend ---

    double Pitch() const { return 4 * gap_; }  ///< between two pieces
    double RoomInRow() const { return headerRight_ - headerLeft_; }
    static double WidthOf(const Row& row, double pitch) {
        double width = row.empty() ? 0 : pitch * static_cast<double>(row.size() - 1);
        for (const Piece& piece : row)
            width += piece.width;
        return width;
    }
    Piece TextPiece(TextRole role, const std::string& text, std::optional<Quantity> quantity = {}) const {
        return {role, text, measure_(text), quantity};
    }
    Row Legend(Brevity brevity) const {
        Row entries;
        for (const Quantity quantity : contents_.curves) {
            const std::string text =
                LegendText(information_, contents_, quantity, brevity >= Brevity::ranges);
            const PlottedCurve* curve = FindCurve(information_, quantity);
            const bool extra = !contents_.HasAxis(quantity) || (curve != nullptr && text != curve->name);
            if (text.empty() || brevity >= Brevity::legend || (brevity >= Brevity::legendOfAxes && !extra))
                continue;
            entries.push_back({TextRole::legend, text, measure_(text) + legendLine + gap_, quantity,
                               information_.hidden[IndexOf(quantity)]});
        }
        return entries;
    }
    /// All pieces in one row with the title in the middle, where they have room.
    bool PlaceInOneRow(const std::optional<Piece>& left, const std::optional<Piece>& title, const Row& right,
                       double bottom) {
        const double leftEnd = headerLeft_ + (left ? left->width + Pitch() : 0);
        const bool apart = title && !right.empty();
        const double rightStart = headerRight_ - WidthOf(right, Pitch()) - (apart ? Pitch() : 0);
        if (leftEnd + (title ? title->width : 0) > rightStart)
            return false;
        if (left)
            PlacePiece(*left, headerLeft_, bottom);
        if (title) {
            const double middle = (area_.left + area_.right - title->width) / 2.0;
            PlacePiece(*title, std::clamp(middle, leftEnd, rightStart - title->width), bottom);
        }
        PlaceRow(right, bottom);
        return true;
    }
    void PlaceRow(const Row& row, double bottom) {
        double x = headerRight_ - WidthOf(row, Pitch());
        for (const Piece& piece : row) {
            PlacePiece(piece, x, bottom);
            x += piece.width + Pitch();
        }
    }
    void PlacePiece(const Piece& piece, double left, double bottom) {
        const bool legend = piece.role == TextRole::legend;
        const double right = left + piece.width;
        if (piece.role == TextRole::title)
            Add(piece.role, TextAlignment::topLeft, {left, bottom - height_}, piece.text);
        else if (legend || piece.quantity == contents_.rightAxis)
            Add(piece.role, TextAlignment::bottomRight, {right, bottom}, piece.text);
        else
            Add(piece.role, TextAlignment::bottomLeft, {left, bottom}, piece.text);
        PlacedText& placed = texts_.back();
        placed.box.left = left;
        placed.quantity = piece.quantity;
        placed.faint = piece.faint;
        headerBottom_ = std::max(headerBottom_, bottom);
    }
    double RowBottom(int row) const { return area_.top + (row + 1.0) * (height_ + gap_); }
    int MostRows() const {
        const double share = headerShare * (area_.bottom - area_.top) / (height_ + gap_);
        return std::clamp(static_cast<int>(share), 1, mostHeaderRows);
    }
    /// Pieces in as few rows as hold them; nothing when one is wider than a row.
    std::optional<std::vector<Row>> InRows(const Row& pieces) const {
        std::vector<Row> rows;
        for (const Piece& piece : pieces) {
            if (piece.width > RoomInRow())
                return std::nullopt;
            if (rows.empty() || WidthOf(rows.back(), Pitch()) + Pitch() + piece.width > RoomInRow())
                rows.emplace_back();
            rows.back().push_back(piece);
        }
        return rows;
    }
    void PlaceHeader() {
        headerBottom_ = area_.top;
        for (int brevity = 0; brevity <= static_cast<int>(Brevity::rightLabel); ++brevity)
            if (PlaceHeader(static_cast<Brevity>(brevity)))
                return;
    }
    bool PlaceHeader(Brevity brevity) {
        std::optional<Piece> left, title, right;
        if (contents_.leftAxis)
            left = TextPiece(TextRole::axisLabel, AxisLabel(information_, *contents_.leftAxis),
                             contents_.leftAxis);
        if (contents_.rightAxis && contents_.rightAxis != contents_.leftAxis && brevity < Brevity::rightLabel)
            right = TextPiece(TextRole::axisLabel, AxisLabel(information_, *contents_.rightAxis),
                              contents_.rightAxis);
        if (brevity < Brevity::title)
            title = TextPiece(TextRole::title, contents_.title);
        const Row legend = Legend(brevity);
        Row rightEnd = legend;
        if (right)
            rightEnd.insert(rightEnd.begin(), *right);
        if (PlaceInOneRow(left, title, rightEnd, RowBottom(0)))
            return true;
        return PlaceInRows(left, title, right, legend);
    }
    /// Labels at the ends of the first row, the title between them; what has no room there with the legend
    /// below.
    bool PlaceInRows(const std::optional<Piece>& left, std::optional<Piece> title, std::optional<Piece> right,
                     const Row& legend) {
        Row rest = legend;
        if (left && right && left->width + Pitch() + right->width > RoomInRow())
            rest.insert(rest.begin(), *std::exchange(right, std::nullopt));
        const Row rightEnd = right ? Row{*right} : Row{};
        const double ends = (left ? left->width + Pitch() : 0) + WidthOf(rightEnd, Pitch());
        if (ends > RoomInRow() || MostRows() < 2)
            return false;
        std::optional<Piece> below;
        if (title && ends + title->width + (right ? Pitch() : 0) > RoomInRow())
            below = std::exchange(title, std::nullopt);
        if (below)
            rest.insert(rest.begin(), *below);
        const auto rows = InRows(rest);
        if (!rows || static_cast<int>(rows->size()) + 1 > MostRows())
            return false;
        PlaceInOneRow(left, title, rightEnd, RowBottom(0));
        for (std::size_t i = 0; i < rows->size(); ++i)
            PlaceRow((*rows)[i], RowBottom(static_cast<int>(i) + 1));
        return true;
    }

    // --- Time axis and cycles ---

    std::vector<std::string> TimeTexts() const {
        const TimeSpan& span = information_.span;
        std::vector<double> values;
        for (int i = 0; i <= columns_; ++i) {
            const double time = span.start + (static_cast<double>(span.end) - span.start) * i / columns_;
            values.push_back(SecondsOf(time - information_.elapsedOrigin));
        }
        return AxisTexts(values);
    }
    /// Values stand under their gridlines, at the ends inside the plot's width; only every second, fourth …
    /// where they or the axis's label would not have room.
    void PlaceTimeAxis() {
        const std::vector<std::string> texts = TimeTexts();
        const double y = area_.bottom + height_ + std::clamp(below_, 0.0, clearOfFrame);
        if (texts.empty() ||
            measure_(texts.front()) + measure_(texts.back()) + 2 * gap_ > area_.right - area_.left)
            return;
        const std::size_t before = texts_.size();
        for (int every = 1; every <= 2 * columns_; every *= 2) {
            texts_.resize(before);
            if (PlaceTimeValues(texts, every, y) && PlaceTimeLabel(before, y))
                return;
        }
        texts_.resize(before);
        PlaceTimeValues(texts, 2 * columns_, y);
    }
    bool PlaceTimeValues(const std::vector<std::string>& texts, int every, double y) {
        const double left = area_.left, right = area_.right;
        Add(TextRole::timeValue, TextAlignment::bottomLeft, {left, y}, texts.front());
        Add(TextRole::timeValue, TextAlignment::bottomRight, {right, y}, texts.back());
        for (int i = every; i < columns_; i += every) {
            const std::string& text = texts[static_cast<std::size_t>(i)];
            const double x = left + i * area_.columnSpacing;
            const double half = measure_(text) / 2;
            if (!IsFree({x - half - gap_, y - height_, x + half + gap_, y}))
                return false;
            Add(TextRole::timeValue, TextAlignment::bottomCentre, {x, y}, text);
        }
        return true;
    }
    /// In the last stretch between two values that has room, so that it is found at the axis's end.
    bool PlaceTimeLabel(std::size_t firstValue, double y) {
        std::vector<DeviceBox> values;
        for (std::size_t i = firstValue; i < texts_.size(); ++i)
            values.push_back(texts_[i].box);
        std::ranges::sort(values, {}, &DeviceBox::left);
        const double width = measure_(timeLabelText) + 4 * gap_;
        for (std::size_t i = values.size() - 1; i > 0; --i) {
            if (values[i].left - values[i - 1].right < width)
                continue;
            Add(TextRole::timeLabel, TextAlignment::bottomCentre,
                {(values[i - 1].right + values[i].left) / 2, y}, timeLabelText);
            return true;
        }
        return false;
    }

    /// Numbers stand above the time axis in the middle of what is seen of their cycle beside the values.
    void PlaceCycleNumbers() {
        const double bottom = area_.bottom - gap_;
        if (bottom - height_ < headerBottom_ || information_.cycles.empty())
            return;
        const PlotScale scale(area_, information_.span, {});
        for (const CycleMark& cycle : information_.cycles)
            if (cycle.number == information_.selectedCycle)
                PlaceCycleNumber(cycle, scale, bottom);
        const std::int32_t every = CycleNumberStep(scale);
        for (const CycleMark& cycle : information_.cycles)
            if (cycle.number % every == 0 && cycle.number != information_.selectedCycle)
                PlaceCycleNumber(cycle, scale, bottom);
    }
    void PlaceCycleNumber(const CycleMark& cycle, const PlotScale& scale, double bottom) {
        const double from = std::max<double>(scale.X(cycle.span.start), headerLeft_);
        const double to = std::min<double>(scale.X(cycle.span.end), headerRight_);
        const std::string text = std::to_string(cycle.number);
        const double middle = (from + to) / 2;
        const double half = measure_(text) / 2;
        const DeviceBox box{middle - half, bottom - height_, middle + half, bottom};
        if (to - from < 2 * half || !IsFree(box))
            return;
        Add(TextRole::cycleNumber, TextAlignment::bottomCentre, {middle, bottom}, text).cycle = cycle.number;
    }
    /// Every how many cycles a number has room: 1, 2, 5, 10, …
    std::int32_t CycleNumberStep(const PlotScale& scale) const {
        const CycleMark& first = information_.cycles.front();
        const CycleMark& last = information_.cycles.back();
        const double pitch = (scale.X(last.span.end) - scale.X(first.span.start)) /
                             static_cast<double>(information_.cycles.size());
        const double needed = measure_(std::to_string(last.number)) + 4 * gap_;
        std::int32_t step = 1;
        for (const double factor : {2.0, 2.5, 2.0, 2.0, 2.5, 2.0, 2.0, 2.5, 2.0})
            if (step * pitch < needed)
                step = static_cast<std::int32_t>(step * factor);
        return step;
    }

    const PlotInformation& information_;
    std::size_t cell_;
    const PlotCell& area_;
    const PlotContents& contents_;
    const TextMeasure& measure_;
    int rows_, columns_;
    double height_, gap_, below_;
    double headerLeft_ = 0, headerRight_ = 0;
    double headerBottom_ = 0;
    std::vector<PlacedText> texts_;
};

std::string CutInTheMiddle(const std::string& text, double width, const TextMeasure& measure) {
    std::string cut = text;
    for (std::size_t kept = text.size(); kept > 2 && measure(cut) > width; --kept) {
        const std::size_t head = kept / 2;
        cut = text.substr(0, head) + "..." + text.substr(text.size() - (kept - head));
    }
    return cut;
}

}  // namespace

std::vector<PlacedText> PlanTexts(const PlotInformation& information, const PlotFormatOptions& format,
                                  const PlotLayout& layout, const TextMeasure& measure, double roomBelow) {
    std::vector<PlacedText> all;
    const std::vector<PlotContents> contents = ContentsOfPlots(format, information.title);
    for (std::size_t i = 0; i < std::min(contents.size(), layout.cells.size()); ++i) {
        std::vector<PlacedText> own =
            CellPlan(information, format, layout, i, contents[i], measure, roomBelow).Plan();
        all.insert(all.end(), own.begin(), own.end());
    }
    return all;
}

std::vector<std::string> FooterLines(const std::vector<std::string>& items, double width,
                                     const TextMeasure& measure) {
    static const std::string separator = " \u00B7 ";
    std::vector<std::string> lines;
    for (const std::string& item : items) {
        if (item.empty())
            continue;
        std::string joined = lines.empty() ? "" : lines.back();
        joined.append(separator).append(item);
        if (!lines.empty() && measure(joined) <= width)
            lines.back() = std::move(joined);
        else
            lines.push_back(CutInTheMiddle(item, width, measure));
    }
    return lines;
}

double AxisColumnWidth(const std::vector<PlacedText>& texts, std::size_t cell, Quantity axis) {
    double width = 0;
    for (const PlacedText& text : texts)
        if (text.role == TextRole::axisValue && text.cell == cell && text.quantity == axis)
            width = std::max(width, text.box.right - text.box.left);
    return width;
}

TextBands BandsOf(const std::vector<PlacedText>& texts, const PlotLayout& layout) {
    TextBands bands;
    for (const PlacedText& text : texts) {
        if (text.role == TextRole::footer)
            continue;
        const PlotCell& area = layout.cells.at(text.cell);
        const double height = std::max(area.bottom - area.top, 1);
        if (text.role == TextRole::axisLabel || text.role == TextRole::title || text.role == TextRole::legend)
            bands.top = std::max(bands.top, (text.box.bottom - area.top) / height);
        else if (text.role == TextRole::cycleNumber)
            bands.bottom = std::max(bands.bottom, (area.bottom - text.box.top) / height);
    }
    return bands;
}

}  // namespace vorela
