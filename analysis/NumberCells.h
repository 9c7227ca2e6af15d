// How the cells of a grid are painted: the numbers of a column stand with their decimal points one below the
// other, and a cell may carry a mark.
#pragma once

#include <QStyledItemDelegate>
#include <QTableWidget>
#include <vector>

namespace vorela {

enum class CellMark {
    none,
    pencil,  ///< a value that is edited in place
    arrow,   ///< a value that is chosen from a list
    pointer  ///< the row in use
};
/// Item data: the cell's mark as an int.
inline constexpr int cellMarkRole = Qt::UserRole + 1;

class NumberCells : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit NumberCells(QTableWidget* grid);

    /// Measures the numbers of every column; to be called after texts, fonts or marks changed.
    void Measure();
    /// The numbers of a column stand within its first `ems` character widths, however wide it is.
    void CapColumn(int column, int ems);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Where the decimal point of a column's numbers stands in a cell at this place.
    int PointX(int column, const QRect& cell) const;

  private:
    struct Column {
        int integer = 0;   ///< width of the widest part before the point, pixels
        int fraction = 0;  ///< the same from the point on
        bool marks = false;
        int cap = 0;  ///< pixels; 0: none
        bool operator==(const Column&) const = default;
    };
    Column ColumnAt(int column) const;
    int MarkRoom(const Column& column) const;
    void PaintMark(QPainter& painter, const QRect& cell, int column, CellMark mark) const;

    QTableWidget* grid_;
    std::vector<Column> columns_;
    std::vector<int> caps_;  ///< character widths
};

}  // namespace vorela
