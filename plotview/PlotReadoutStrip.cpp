#include "plotview/PlotReadoutStrip.h"

#include <QEvent>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <vector>

#include "plot/PlotReadout.h"
#include "plotview/PlotWidget.h"

namespace vorela {
namespace {

constexpr int boldTenths = 12;   // a bold head is wider than the font's metrics say
constexpr int lowestPage = 380;  // pixels; below it the plot needs the strip's place

QString Cell(const QString& text, int width, const char* tag = "td") {
    return QStringLiteral("<%1 align=right width=%3 style='padding-left:12px'>%2</%1>")
        .arg(QLatin1String(tag), text.toHtmlEscaped())
        .arg(width);
}

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

/// A row for each cursor and one for the difference, a column for the time and one for each curve.
QString TableOf(const PlotReadout& readout, const QFontMetrics& metrics) {
    std::vector<Column> columns{TimeColumn(readout), PeriodsColumn(readout)};
    for (const CursorValue& value : readout.values)
        columns.push_back(ValueColumn(value));
    const QStringList names{QString(), QStringLiteral("Cursor 1"), QStringLiteral("Cursor 2"),
                            QStringLiteral("Difference")};
    QString table = QStringLiteral("<table cellspacing=0>");
    for (int row = 0; row < names.size(); ++row) {
        const char* tag = row == 0 ? "th" : "td";
        table += QStringLiteral("<tr>") + Cell(names[row], metrics.horizontalAdvance(names[3]), tag);
        for (const Column& column : columns) {
            QString widest = Text(column.widest);
            for (QChar& letter : widest)
                if (letter.isDigit())
                    letter = QLatin1Char('0');
            const int width = std::max(metrics.horizontalAdvance(widest),
                                       metrics.horizontalAdvance(column.head) * boldTenths / 10);
            table +=
                Cell(row == 0 ? column.head : column.rows[static_cast<std::size_t>(row) - 1], width, tag);
        }
        table += QStringLiteral("</tr>");
    }
    return table + QStringLiteral("</table>");
}

}  // namespace

PlotReadoutStrip::PlotReadoutStrip(PlotWidget* plot, QWidget* parent) : QWidget(parent), plot_(plot) {
    setObjectName(QStringLiteral("plotReadout"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    text_ = new QLabel;
    text_->setObjectName(QStringLiteral("lblReadout"));
    text_->setTextFormat(Qt::RichText);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    // In a narrow window the strip is scrolled sideways; its height never changes under the plot.
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(text_);
    layout->addWidget(scroll);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setFixedHeight(4 * (fontMetrics().lineSpacing() + 2) +
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
    const PlotReadout& readout = plot_->Readout();
    text_->setText(readout.valid ? TableOf(readout, text_->fontMetrics()) : QString());
    setToolTip(plot_->IsZoomed() ? tr("The plot is zoomed: Home returns to the chosen scales.") : QString());
}

}  // namespace vorela
