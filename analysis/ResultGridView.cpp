#include "analysis/ResultGridView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QStringList>
#include <algorithm>

#include "analysis/CellColours.h"

namespace vorela {
namespace {

constexpr int twipsPerInch = 1440;
constexpr int lineMargin = 7;
constexpr int valueColumn = 1;
constexpr int valueCap = 24;           // character widths that the numbers of a value column take at the most
constexpr double editableTint = 0.14;  // of the highlight colour
constexpr double markedTint = 0.28;

}  // namespace

int PixelsFromTwips(int twips, int dotsPerInch) {
    return (twips * dotsPerInch + twipsPerInch / 2) / twipsPerInch;
}

ResultGridView::ResultGridView(QWidget* parent) : QTableWidget(parent), numbers_(new NumberCells(this)) {
    setItemDelegate(numbers_);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + lineMargin);
    horizontalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true);

    fixedColumn_ = new QTableView(this);
    fixedColumn_->setObjectName(QStringLiteral("fixedColumn"));
    fixedColumn_->setModel(model());
    fixedColumn_->setSelectionModel(selectionModel());
    fixedColumn_->setFocusPolicy(Qt::NoFocus);
    fixedColumn_->setFrameShape(NoFrame);
    fixedColumn_->setEditTriggers(NoEditTriggers);
    fixedColumn_->setWordWrap(false);
    fixedColumn_->verticalHeader()->hide();
    fixedColumn_->verticalHeader()->setMinimumSectionSize(1);
    fixedColumn_->verticalHeader()->setDefaultSectionSize(verticalHeader()->defaultSectionSize());
    fixedColumn_->horizontalHeader()->hide();
    fixedColumn_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    fixedColumn_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    fixedColumn_->setVerticalScrollMode(verticalScrollMode());
    fixedColumn_->hide();
    connect(verticalScrollBar(), &QScrollBar::valueChanged, fixedColumn_->verticalScrollBar(),
            &QScrollBar::setValue);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &ResultGridView::PlaceFixedColumn);
}

void ResultGridView::PlaceFixedColumn() {
    const bool scrolled = horizontalScrollBar()->value() > 0 && columnCount() > 1;
    fixedColumn_->setVisible(scrolled);
    if (!scrolled)
        return;
    for (int column = 1; column < columnCount(); ++column)
        fixedColumn_->setColumnHidden(column, true);
    fixedColumn_->setColumnWidth(0, columnWidth(0));
    fixedColumn_->setGeometry(viewport()->x(), viewport()->y(), columnWidth(0), viewport()->height());
    fixedColumn_->verticalScrollBar()->setValue(verticalScrollBar()->value());
    fixedColumn_->raise();
}

void ResultGridView::resizeEvent(QResizeEvent* event) {
    QTableWidget::resizeEvent(event);
    if (event->oldSize().width() != event->size().width() && !widths_.empty())
        ApplyWidths();
    PlaceFixedColumn();
}

void ResultGridView::ShowGrid(const ResultGrid& grid) {
    setRowCount(static_cast<int>(grid.Rows()));
    setColumnCount(static_cast<int>(grid.Columns()));
    for (int row = 0; row < rowCount(); ++row) {
        const auto& cells = grid.cells[static_cast<std::size_t>(row)];
        for (int column = 0; column < columnCount(); ++column) {
            const auto position = static_cast<std::size_t>(column);
            SetCell(row, column,
                    position < cells.size() ? QString::fromStdString(cells[position]) : QString());
        }
    }
    shades_ = grid.shades;
    widths_ = grid.widths;
    if (!widths_.empty() && widths_.back() == 0)
        numbers_->CapColumn(columnCount() - 1, valueCap);
    ApplyShades();
    numbers_->Measure();
    ApplyWidths();
}

void ResultGridView::ShowTable(const std::vector<std::vector<std::string>>& rows) {
    MarkRow(-1);
    setRowCount(rows.empty() ? 0 : static_cast<int>(rows.size()) - 1);
    setColumnCount(rows.empty() ? 0 : static_cast<int>(rows.front().size()));
    if (rows.empty())
        return;
    horizontalHeader()->show();
    horizontalHeader()->setStretchLastSection(false);
    for (int column = 0; column < columnCount(); ++column) {
        setHorizontalHeaderItem(
            column,
            new QTableWidgetItem(QString::fromStdString(rows.front()[static_cast<std::size_t>(column)])));
        for (int row = 0; row < rowCount(); ++row)
            SetCell(row, column,
                    QString::fromStdString(
                        rows[static_cast<std::size_t>(row) + 1][static_cast<std::size_t>(column)]));
    }
    numbers_->Measure();
    resizeColumnsToContents();
}

void ResultGridView::SetColumnMeanings(const std::vector<QString>& meanings) {
    meanings_ = meanings;
}

void ResultGridView::SetCell(int row, int column, const QString& text) {
    QTableWidgetItem* cell = item(row, column);
    if (cell == nullptr) {
        cell = new QTableWidgetItem;
        cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        setItem(row, column, cell);
    }
    const auto position = static_cast<std::size_t>(column);
    const bool meaning = row == 0 && position < meanings_.size() && !meanings_[position].isEmpty();
    if (cell->text() != text || meaning) {
        cell->setText(text);
        cell->setToolTip(meaning ? meanings_[position] : text);
    }
}

void ResultGridView::Colour(QTableWidgetItem& cell, const QColor& background, const QColor& text, bool bold) {
    if (cell.background().color() != background || cell.background().style() == Qt::NoBrush)
        cell.setBackground(background);
    if (cell.foreground().color() != text || cell.foreground().style() == Qt::NoBrush)
        cell.setForeground(text);
    QFont wanted;
    wanted.setBold(bold);
    if (cell.font().bold() != bold)
        cell.setFont(wanted);
}

void ResultGridView::Mark(int row, int column, CellMark mark) {
    if (item(row, column)->data(cellMarkRole).toInt() != static_cast<int>(mark))
        item(row, column)->setData(cellMarkRole, static_cast<int>(mark));
}

void ResultGridView::ApplyShades() {
    const QColor orange(paleOrange.red, paleOrange.green, paleOrange.blue);
    const QPalette colours = palette();
    for (int row = 0; row < rowCount(); ++row) {
        const auto position = static_cast<std::size_t>(row);
        const RowShade shade = position < shades_.size() ? shades_[position] : RowShade::none;
        const auto editable = editable_.find(row);
        for (int column = 0; column < columnCount(); ++column) {
            const bool fixed = column == 0 || (row == 0 && headerRow_);
            const bool edited = column == valueColumn && editable != editable_.end();
            QColor background = colours.color(fixed ? QPalette::Button : QPalette::Base);
            if (edited)
                background = Tinted(background, colours.color(QPalette::Highlight), editableTint);
            if (shade != RowShade::none)
                background = shade == RowShade::paleOrange ? orange : colours.color(QPalette::Mid);
            const QColor text =
                LegibleText(colours.color(fixed ? QPalette::ButtonText : QPalette::Text), background);
            Colour(*item(row, column), background, text,
                   shade == RowShade::paleOrange || (row == 0 && headerRow_));
            Mark(row, column, edited ? editable->second : CellMark::none);
            if (row == 0 && headerRow_ && column > 0)  // over the numbers
                item(row, column)->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        }
    }
}

void ResultGridView::MarkRow(int row) {
    markedRow_ = row;
    ApplyMarkedRow();
}

void ResultGridView::ApplyMarkedRow() {
    const QPalette colours = palette();
    const QColor base = colours.color(QPalette::Base);
    const QColor tint = Tinted(base, colours.color(QPalette::Highlight), markedTint);
    for (int row = 0; row < rowCount(); ++row) {
        const bool marked = row == markedRow_;
        for (int column = 0; column < columnCount(); ++column) {
            if (item(row, column) == nullptr)
                continue;
            const QColor background = marked ? tint : base;
            Colour(*item(row, column), background, LegibleText(colours.color(QPalette::Text), background),
                   marked);
            Mark(row, column, marked && column == 0 ? CellMark::pointer : CellMark::none);
        }
    }
    numbers_->Measure();
    for (int column = 0; column < columnCount(); ++column)  // bold is wider
        setColumnWidth(column, std::max(columnWidth(column), sizeHintForColumn(column)));
    if (markedRow_ >= 0 && markedRow_ < rowCount())
        scrollToItem(item(markedRow_, 0));
}

// The widths are those of the form's design; a column becomes wider only where a caption in the screen's font
// would be cut.
void ResultGridView::ApplyWidths() {
    for (int column = 0; column < columnCount(); ++column) {
        const int twips = widths_[static_cast<std::size_t>(column)];
        if (twips > 0)
            setColumnWidth(column,
                           std::max(PixelsFromTwips(twips, logicalDpiX()), sizeHintForColumn(column) + 4));
    }
    horizontalHeader()->setStretchLastSection(false);
    if (!widths_.empty() && widths_.back() == 0)
        CapLastColumn();
}

// Values stay beside their captions however wide the window is: the last column is as wide as its numbers may
// become or its texts are, and ends with the window at the latest.
void ResultGridView::CapLastColumn() {
    const int last = columnCount() - 1;
    int left = 0;
    for (int column = 0; column < last; ++column)
        left += columnWidth(column);
    const int wanted = std::max(valueCap * fontMetrics().averageCharWidth(), sizeHintForColumn(last) + 4);
    const int narrowest = valueCap / 3 * fontMetrics().averageCharWidth();
    setColumnWidth(last, std::max(std::min(wanted, viewport()->width() - left), narrowest));
}

int ResultGridView::ContentsHeight() const {
    const int bar = horizontalScrollBar()->isVisible() ? horizontalScrollBar()->height() : 0;
    return verticalHeader()->length() + bar + 2 * frameWidth();
}

QString ResultGridView::BlockText(const QItemSelectionRange& block, bool withHeader) const {
    QStringList lines;
    QStringList cells;
    if (withHeader) {
        for (int column = block.left(); column <= block.right(); ++column)
            cells << horizontalHeaderItem(column)->text();
        lines << cells.join(QLatin1Char('\t'));
    }
    for (int row = block.top(); row <= block.bottom(); ++row) {
        cells.clear();
        for (int column = block.left(); column <= block.right(); ++column) {
            const QTableWidgetItem* cell = item(row, column);
            cells << (cell != nullptr ? cell->text() : QString());
        }
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n'));
}

QString ResultGridView::WholeText() const {
    if (rowCount() == 0 || columnCount() == 0)
        return {};
    const QItemSelectionRange all(model()->index(0, 0), model()->index(rowCount() - 1, columnCount() - 1));
    return BlockText(all, !horizontalHeader()->isHidden());
}

QString ResultGridView::SelectedText() const {
    const QItemSelection selection = selectionModel()->selection();
    if (selection.isEmpty())
        return WholeText();
    QItemSelectionRange block = selection.first();
    for (const QItemSelectionRange& range : selection)
        block = QItemSelectionRange(
            model()->index(std::min(block.top(), range.top()), std::min(block.left(), range.left())),
            model()->index(std::max(block.bottom(), range.bottom()), std::max(block.right(), range.right())));
    const bool single = block.width() == 1 && block.height() == 1;
    return BlockText(block, !single && !horizontalHeader()->isHidden());
}

void ResultGridView::CopySelection() const {
    QApplication::clipboard()->setText(SelectedText());
}

// Whoever comes by the keyboard stands on the first value to edit, not on a blank head.
void ResultGridView::focusInEvent(QFocusEvent* event) {
    const bool nowhere = currentRow() <= 0 && currentColumn() <= 0;
    if (nowhere && !editable_.empty() && item(editable_.begin()->first, valueColumn) != nullptr)
        setCurrentCell(editable_.begin()->first, valueColumn);
    QTableWidget::focusInEvent(event);
}

void ResultGridView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        CopySelection();
        event->accept();
        return;
    }
    QTableWidget::keyPressEvent(event);
}

void ResultGridView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    menu.addAction(tr("&Copy"), QKeySequence::Copy, this, &ResultGridView::CopySelection);
    menu.addAction(tr("Select &All"), QKeySequence::SelectAll, this, &QTableWidget::selectAll);
    menu.exec(event->globalPos());
}

void ResultGridView::changeEvent(QEvent* event) {
    QTableWidget::changeEvent(event);
    const bool grid = !shades_.empty() && rowCount() > 0;
    if (event->type() == QEvent::PaletteChange && rowCount() > 0)
        grid ? ApplyShades() : ApplyMarkedRow();
    if (event->type() == QEvent::FontChange && numbers_ != nullptr)
        numbers_->Measure();
    if (event->type() == QEvent::FontChange && !widths_.empty())
        ApplyWidths();
}

}  // namespace vorela
