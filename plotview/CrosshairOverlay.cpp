#include "plotview/CrosshairOverlay.h"

#include <QPainter>
#include <QWidget>
#include <utility>

#include "general/RepeatedMessages.h"
#include "plot/PlotReadout.h"
#include "plot/PlotSpot.h"
#include "plotview/PainterSurface.h"
#include "plotview/ShownPlot.h"

namespace vorela {
namespace {

constexpr int labelPadding = 3;  // pixels
constexpr int rim = 2;           // pixels round what is repainted
constexpr int delayMs = 15;      // behind the pointer at most
const QColor line(112, 112, 112);
const QColor plateColour(255, 255, 225);

QFont PlotFont(const PlotLayout& layout) {
    FontDescription font;
    font.height = layout.fontHeight;
    return ToQFont(font);
}

QPointF ToQPoint(const DevicePoint& point) {
    return {point.x, point.y};
}

QRectF ToQRect(const DeviceBox& box) {
    return {QPointF(box.left, box.top), QPointF(box.right, box.bottom)};
}

}  // namespace

void PaintPlate(QPainter& painter, const QRectF& plate) {
    painter.setPen(line);
    painter.setBrush(plateColour);
    painter.drawRect(plate);
    painter.setPen(Qt::black);
}

CrosshairOverlay::CrosshairOverlay(QWidget& area, const ShownPlot& shown, RepeatedMessages& told,
                                   std::function<bool()> isFree)
    : area_(area), shown_(shown), told_(told), isFree_(std::move(isFree)) {
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Show(); });
}

void CrosshairOverlay::MoveTo(std::optional<QPoint> pointer) {
    pointer_ = pointer;
    if (!pointer)
        Show();
    else if (!timer_.isActive())
        timer_.start(delayMs);
}

void CrosshairOverlay::Show() {
    timer_.stop();
    QRegion changed = Region();
    crosshair_.reset();
    if (shown_.shown && pointer_ && isFree_()) {
        const DevicePoint at{static_cast<double>(pointer_->x()), static_cast<double>(pointer_->y())};
        const double time = TimeAt(shown_.plot, at);
        const OnceOnly once(told_);
        const QFontMetricsF metrics(PlotFont(shown_.plot.layout));
        if (SpotAt(shown_.plot, at).kind != SpotKind::outside)
            crosshair_ =
                PlanCrosshair(shown_.plot, at, ReadCursors(shown_.plot, time, time).values,
                              {static_cast<double>(area_.width()), static_cast<double>(area_.height())},
                              [&](const std::string& text) {
                                  return metrics.horizontalAdvance(QString::fromStdString(text));
                              });
    }
    changed += Region();
    area_.update(changed);
}

void CrosshairOverlay::Paint(QPainter& painter) const {
    if (!crosshair_)
        return;
    painter.setPen(QPen(line, 1, Qt::DashLine));
    for (std::size_t i = 0; i < 2; ++i)
        painter.drawLine(ToQPoint(crosshair_->from[i]), ToQPoint(crosshair_->to[i]));
    painter.setFont(PlotFont(shown_.plot.layout));
    for (const Crosshair::Label& label : crosshair_->labels)
        PaintLabel(painter, label);
}

void CrosshairOverlay::PaintLabel(QPainter& painter, const Crosshair::Label& label) const {
    const QRectF box = ToQRect(label.box);
    painter.fillRect(box, plateColour);
    painter.setPen(line);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(box);
    painter.setPen(Qt::black);
    QRectF row = box;
    row.setHeight(box.height() / static_cast<double>(label.lines.size()));
    for (const std::string& text : label.lines) {
        painter.drawText(row.adjusted(labelPadding, 0, labelPadding, 0),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, QString::fromStdString(text));
        row.translate(0, row.height());
    }
}

QRegion CrosshairOverlay::Region() const {
    QRegion region;
    if (!crosshair_)
        return region;
    const auto add = [&region](const QRectF& box) {
        region += box.toAlignedRect().adjusted(-rim, -rim, rim, rim);
    };
    for (std::size_t i = 0; i < 2; ++i)
        add({ToQPoint(crosshair_->from[i]), ToQPoint(crosshair_->to[i])});
    for (const Crosshair::Label& label : crosshair_->labels)
        add(ToQRect(label.box));
    return region;
}

}  // namespace vorela
