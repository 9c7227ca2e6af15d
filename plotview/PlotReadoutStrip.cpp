#include "plotview/PlotReadoutStrip.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "plot/PlotReadout.h"
#include "plotview/PlotWidget.h"

namespace vorela {
namespace {

constexpr int lowestPage = 380;  // pixels; below it the plot needs the strip's place
constexpr int columnGap = 12;
constexpr int rowGap = 2;
constexpr std::size_t rowCount = 4;

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

/// A column whose width does not change with what the cursors read.
struct Column {
    QString head;
    std::array<QString, 3> rows;
    std::string widest;
};

Column TimeColumn(const PlotReadout& readout) {
    constexpr int decimals = 2;
    const auto text = [](double seconds) { return Text(FixedText(seconds, decimals)); };
    return {readout.elapsed ? QStringLiteral("Elapsed time (s)") : QStringLiteral("Time (s)"),
            {text(readout.time1), text(readout.time2), text(readout.difference)},
            "-" + FixedText(readout.largestTime, decimals)};
}

Column PeriodsColumn(const PlotReadout& readout) {
    const QString periods =
        readout.periods ? Text(FixedText(*readout.periods, 3)) : QString(QLatin1Char('-'));
    return {QStringLiteral("Periods"), {QString(), QString(), periods}, "-00000.000"};
}

Column ValueColumn(const CursorValue& value) {
    const std::string unit = value.unit.empty() ? "" : " (" + value.unit + ")";
    const auto text = [&](const std::optional<double>& number) {
        return Text(ReadoutText(number, value.decimals));
    };
    return {Text(value.curve + unit),
            {text(value.atCursor1), text(value.atCursor2), text(value.difference)},
            "-" + FixedText(2 * value.largest, value.decimals)};
}

QString Nulled(std::string widest) {
    std::ranges::replace_if(
        widest, [](char letter) { return letter >= '0' && letter <= '9'; }, '0');
    return Text(widest);
}

}  // namespace

/// A row for each cursor and one for the difference, a column for the time and one for each curve. Painted:
/// a table of rich text would be laid out anew with every step of a drag, which takes longer than the plot.
class ReadoutTable final : public QWidget {
  public:
    ReadoutTable() {
        setObjectName(QStringLiteral("lblReadout"));
        setAccessibleName(PlotReadoutStrip::tr("Values at the cursors"));
    }
    void Show(const PlotReadout& readout) {
        columns_.clear();
        if (readout.valid) {
            columns_ = {
                {QString(),
                 {QStringLiteral("Cursor 1"), QStringLiteral("Cursor 2"), QStringLiteral("Difference")},
                 "Difference"},
                TimeColumn(readout),
                PeriodsColumn(readout)};
            for (const CursorValue& value : readout.values)
                columns_.push_back(ValueColumn(value));
        }
        Measure();
        setAccessibleDescription(Text());
        update();
    }
    QString Text() const {
        QStringList lines;
        for (std::size_t row = 0; row < rowCount && !columns_.empty(); ++row) {
            QStringList cells;
            for (const Column& column : columns_)
                cells << CellOf(column, row);
            lines << cells.join(QLatin1Char('\t'));
        }
        return lines.join(QLatin1Char('\n'));
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const int height = fontMetrics().lineSpacing() + rowGap;
        QFont face = font();
        for (std::size_t row = 0; row < rowCount; ++row) {
            face.setBold(row == 0);
            painter.setFont(face);
            int right = 0;
            for (std::size_t i = 0; i < columns_.size(); ++i) {
                right += widths_[i];
                painter.drawText(
                    QRect(right - widths_[i], static_cast<int>(row) * height, widths_[i], height),
                    Qt::AlignRight | Qt::AlignVCenter, CellOf(columns_[i], row));
            }
        }
    }
    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::FontChange)
            Measure();
    }

  private:
    static const QString& CellOf(const Column& column, std::size_t row) {
        return row == 0 ? column.head : column.rows[row - 1];
    }
    void Measure() {
        QFont bold = font();
        bold.setBold(true);
        const QFontMetrics heads(bold);
        widths_.clear();
        for (const Column& column : columns_)
            widths_.push_back(columnGap + std::max(fontMetrics().horizontalAdvance(Nulled(column.widest)),
                                                   heads.horizontalAdvance(column.head)));
        setMinimumWidth(std::accumulate(widths_.begin(), widths_.end(), 0));
    }

    std::vector<Column> columns_;
    std::vector<int> widths_;
};

PlotReadoutStrip::PlotReadoutStrip(PlotWidget* plot, QWidget* parent) : QWidget(parent), plot_(plot) {
    setObjectName(QStringLiteral("plotReadout"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    table_ = new ReadoutTable;
    // In a narrow window the strip is scrolled sideways; its height never changes under the plot.
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(table_);
    layout->addWidget(scroll);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setFixedHeight(static_cast<int>(rowCount) * (fontMetrics().lineSpacing() + rowGap) +
                   scroll->horizontalScrollBar()->sizeHint().height());
    if (parent != nullptr)
        parent->installEventFilter(this);
    connect(plot_, &PlotWidget::ReadoutChanged, this, &PlotReadoutStrip::Refresh);
    Refresh();
}

/// In a low window the strip folds away: the crosshair and the control tell times and values there.
bool PlotReadoutStrip::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && watched == parent())
        setVisible(parentWidget()->height() >= lowestPage);
    return QWidget::eventFilter(watched, event);
}

void PlotReadoutStrip::Refresh() {
    table_->Show(plot_->Readout());
    setToolTip(plot_->IsZoomed() ? tr("The plot is zoomed: Home returns to the chosen scales.") : QString());
}

QString PlotReadoutStrip::Text() const {
    return table_->Text();
}

void PlotReadoutStrip::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    menu.addAction(tr("&Copy Values"), this, [this] { QApplication::clipboard()->setText(Text()); });
    menu.exec(event->globalPos());
}

}  // namespace vorela
