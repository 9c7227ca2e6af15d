#include "analysis/NumberCells.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr int margin = 4;  // pixels between a cell's edge and what stands in it

bool IsNumber(const QString& text) {
    return !text.isEmpty() && StrictNumber(text.toStdString()).has_value();
}

QString IntegerPart(const QString& number) {
    return number.section(QLatin1Char('.'), 0, 0);
}

CellMark MarkOf(const QModelIndex& index) {
    return static_cast<CellMark>(index.data(cellMarkRole).toInt());
}

QFont FontOf(const QTableWidget& grid, const QModelIndex& index) {
    const QVariant own = index.data(Qt::FontRole);
    return own.isValid() ? own.value<QFont>().resolve(grid.font()) : grid.font();
}

/// A unit square's shape, scaled to `place`.
QPainterPath ShapeOf(CellMark mark, const QRectF& place) {
    QPolygonF shape;
    if (mark == CellMark::pencil)
        shape << QPointF(0.0, 1.0) << QPointF(0.08, 0.68) << QPointF(0.72, 0.04) << QPointF(0.96, 0.28)
              << QPointF(0.32, 0.92);
    else if (mark == CellMark::arrow)
        shape << QPointF(0.0, 0.3) << QPointF(1.0, 0.3) << QPointF(0.5, 0.85);
    else
        shape << QPointF(0.2, 0.05) << QPointF(0.85, 0.5) << QPointF(0.2, 0.95);
    QPainterPath path;
    path.addPolygon(
        QTransform::fromTranslate(place.left(), place.top()).scale(place.width(), place.height()).map(shape));
    path.closeSubpath();
    return path;
}

}  // namespace

NumberCells::NumberCells(QTableWidget* grid) : QStyledItemDelegate(grid), grid_(grid) {}

void NumberCells::CapColumn(int column, int ems) {
    caps_.resize(std::max(caps_.size(), static_cast<std::size_t>(column) + 1));
    caps_[static_cast<std::size_t>(column)] = ems;
}

void NumberCells::Measure() {
    const std::vector<Column> before =
        std::exchange(columns_, std::vector<Column>(static_cast<std::size_t>(grid_->columnCount())));
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        Column& column = columns_[i];
        if (i < caps_.size())
            column.cap = caps_[i] * grid_->fontMetrics().averageCharWidth();
        for (int row = 0; row < grid_->rowCount(); ++row) {
            const QModelIndex index = grid_->model()->index(row, static_cast<int>(i));
            column.marks = column.marks || MarkOf(index) != CellMark::none;
            const QString text = index.data().toString();
            if (!IsNumber(text))
                continue;
            const QFontMetrics metrics(FontOf(*grid_, index));
            const int integer = metrics.horizontalAdvance(IntegerPart(text));
            column.integer = std::max(column.integer, integer);
            column.fraction = std::max(column.fraction, metrics.horizontalAdvance(text) - integer);
        }
    }
    // The points moved: also the cells whose own text is as it was stand elsewhere now.
    if (columns_ != before)
        grid_->viewport()->update();
}

NumberCells::Column NumberCells::ColumnAt(int column) const {
    const auto position = static_cast<std::size_t>(column);
    return position < columns_.size() ? columns_[position] : Column{};
}

int NumberCells::MarkRoom(const Column& column) const {
    return column.marks ? grid_->fontMetrics().ascent() + margin : 0;
}

int NumberCells::PointX(int column, const QRect& cell) const {
    const Column numbers = ColumnAt(column);
    const int needed = numbers.integer + numbers.fraction + MarkRoom(numbers) + 2 * margin;
    const int zone = numbers.cap > 0 ? std::min(cell.width(), std::max(numbers.cap, needed)) : cell.width();
    return cell.left() + zone - margin - MarkRoom(numbers) - numbers.fraction;
}

QSize NumberCells::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    const Column column = ColumnAt(index.column());
    if (IsNumber(index.data().toString()))
        size.setWidth(column.integer + column.fraction + 2 * margin);
    size.rwidth() += MarkRoom(column);
    return size;
}

void NumberCells::PaintMark(QPainter& painter, const QRect& cell, int column, CellMark mark) const {
    const Column numbers = ColumnAt(column);
    const double size = grid_->fontMetrics().ascent() * 0.75;
    const double left = PointX(column, cell) + numbers.fraction + margin;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(ShapeOf(mark, {left, cell.center().y() - size / 2, size, size}), painter.pen().color());
}

void NumberCells::paint(QPainter* painter, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const {
    const QString text = index.data().toString();
    const CellMark mark = MarkOf(index);
    const bool number = IsNumber(text);
    if (!number && mark == CellMark::none) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    if (number)
        cell.text.clear();
    const QStyle* style = cell.widget != nullptr ? cell.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    const bool selected = cell.state.testFlag(QStyle::State_Selected);
    const auto group = cell.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
    painter->save();
    painter->setClipRect(cell.rect);
    painter->setPen(cell.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
    if (number) {
        painter->setFont(cell.font);
        // Where the column is too narrow for the points to meet, the number's beginning has to be seen.
        const int left =
            PointX(index.column(), cell.rect) - cell.fontMetrics.horizontalAdvance(IntegerPart(text));
        painter->drawText(cell.rect.adjusted(std::max(left - cell.rect.left(), margin), 0, 0, 0),
                          static_cast<int>(Qt::AlignLeft) | static_cast<int>(Qt::AlignVCenter), text);
    }
    if (mark != CellMark::none)
        PaintMark(*painter, cell.rect, index.column(), mark);
    painter->restore();
}

}  // namespace vorela
