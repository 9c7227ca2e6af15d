// The crosshair over the plot area: it follows the pointer, a little behind it.
#pragma once

#include <QPoint>
#include <QRegion>
#include <QTimer>
#include <functional>
#include <optional>

#include "plot/Crosshair.h"

class QPainter;
class QWidget;

namespace vorela {

class RepeatedMessages;
struct ShownPlot;

class CrosshairOverlay {
  public:
    /// `isFree`: nothing is being dragged in the area.
    CrosshairOverlay(QWidget& area, const ShownPlot& shown, RepeatedMessages& told,
                     std::function<bool()> isFree);

    /// The pointer hovers there; nowhere: the crosshair goes at once.
    void MoveTo(std::optional<QPoint> pointer);
    /// At the pointer as it is now; away where there is none or something is dragged.
    void Show();
    void Paint(QPainter& painter) const;

  private:
    void PaintLabel(QPainter& painter, const Crosshair::Label& label) const;
    QRegion Region() const;

    QWidget& area_;
    const ShownPlot& shown_;
    RepeatedMessages& told_;
    std::function<bool()> isFree_;
    QTimer timer_;
    std::optional<QPoint> pointer_;
    std::optional<Crosshair> crosshair_;
};

/// A note that stands over the plot: the plate under its black text.
void PaintPlate(QPainter& painter, const QRectF& plate);

}  // namespace vorela
