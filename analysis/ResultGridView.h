// A result grid on the screen: fixed first column, shaded rows, widths in twips, copied as tab-separated
// text.
#pragma once

#include <QTableWidget>
#include <map>
#include <string>
#include <vector>

#include "analysis/NumberCells.h"
#include "analysis/modMain.h"

namespace vorela {

class ResultGridView : public QTableWidget {
    Q_OBJECT
  public:
    explicit ResultGridView(QWidget* parent = nullptr);

    /// Shows the grid as it stands. Cells that did not change are left alone, so that a live refresh keeps
    /// selection, scroll position and an open editor.
    void ShowGrid(const ResultGrid& grid);
    /// A plain table: the first row becomes the header.
    void ShowTable(const std::vector<std::vector<std::string>>& rows);
    /// The first row is a header: shown as fixed as the first column is.
    void SetHeaderRow(bool on) { headerRow_ = on; }
    /// Value cells that the user edits: tinted, with the mark of how. From the next ShowGrid on.
    void SetEditable(const std::map<int, CellMark>& rows) { editable_ = rows; }
    /// The row in use of a plain table: tinted, bold, with a mark in its first cell. Negative: none.
    void MarkRow(int row);
    /// Long meanings of the columns' codes, shown as tool tips of the header row.
    void SetColumnMeanings(const std::vector<QString>& meanings);

    /// What all rows take.
    int ContentsHeight() const;

    /// The selected block (the whole grid when nothing is selected): cells by tabs, rows by line feeds. The
    /// header of a plain table goes along with more than one cell.
    QString SelectedText() const;
    QString WholeText() const;
    void CopySelection() const;

  protected:
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void SetCell(int row, int column, const QString& text);
    void ApplyShades();
    void ApplyMarkedRow();
    void Colour(QTableWidgetItem& cell, const QColor& background, const QColor& text, bool bold);
    void Mark(int row, int column, CellMark mark);
    void ApplyWidths();
    void CapLastColumn();
    /// The first column stays in place while the others are scrolled sideways.
    void PlaceFixedColumn();
    QString BlockText(const QItemSelectionRange& block, bool withHeader) const;

    QTableView* fixedColumn_ = nullptr;
    NumberCells* numbers_ = nullptr;
    std::map<int, CellMark> editable_;
    int markedRow_ = -1;
    std::vector<RowShade> shades_;
    std::vector<int> widths_;
    std::vector<QString> meanings_;
    bool headerRow_ = false;
};

/// Device-independent pixels of a length in twips (1/1440 inch) at a resolution in dots per inch.
int PixelsFromTwips(int twips, int dotsPerInch);

}  // namespace vorela
