#include "plotview/PlotReadoutStrip.h"

#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <array>

#include "general/NumberText.h"
#include "plot/PlotReadout.h"
#include "plotview/PlotWidget.h"

namespace vorela {
namespace {

QString Cell(const QString& text, const char* tag = "td") {
    return QStringLiteral("<%1 align=right style='padding-left:12px'>%2</%1>")
        .arg(QLatin1String(tag), text.toHtmlEscaped());
}

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

/// A row for each cursor and one for the difference, a column for the time and one for each curve.
QString TableOf(const PlotReadout& readout) {
    QString head =
        QStringLiteral("<tr><th></th>") +
        Cell(readout.elapsed ? QStringLiteral("Elapsed time (s)") : QStringLiteral("Time (s)"), "th");
    std::array<QString, 3> rows{Cell(QStringLiteral("Cursor 1")), Cell(QStringLiteral("Cursor 2")),
                                Cell(QStringLiteral("Difference"))};
    QString periods;
    if (readout.periods)
        periods = QStringLiteral(" = %1 periods").arg(Text(ReadoutTimeText(*readout.periods)));
    rows[0] += Cell(Text(ReadoutTimeText(readout.time1)));
    rows[1] += Cell(Text(ReadoutTimeText(readout.time2)));
    rows[2] += Cell(Text(ReadoutTimeText(readout.difference)) + periods);
    for (const CursorValue& value : readout.values) {
        const std::string unit = value.unit.empty() ? "" : " (" + value.unit + ")";
        head += Cell(Text(value.curve + unit), "th");
        rows[0] += Cell(Text(ReadoutText(value.atCursor1)));
        rows[1] += Cell(Text(ReadoutText(value.atCursor2)));
        rows[2] += Cell(Text(ReadoutText(value.difference)));
    }
    QString table = QStringLiteral("<table cellspacing=0>") + head + QStringLiteral("</tr>");
    for (const QString& row : rows)
        table += QStringLiteral("<tr>") + row + QStringLiteral("</tr>");
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
    connect(plot_, &PlotWidget::ReadoutChanged, this, &PlotReadoutStrip::Refresh);
    Refresh();
}

void PlotReadoutStrip::Refresh() {
    const PlotReadout& readout = plot_->Readout();
    text_->setText(readout.valid ? TableOf(readout) : QString());
    setToolTip(plot_->IsZoomed() ? tr("The plot is zoomed: Home returns to the chosen scales.") : QString());
}

}  // namespace vorela
