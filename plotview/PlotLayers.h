// The plot area's picture, in two layers with the cursor lines between them.
#pragma once

#include <QImage>
#include <QSizeF>

class QPainter;
class QRect;

namespace vorela {

struct PlotDrawing;
struct PlotRequest;

class PlotLayers {
  public:
    /// Runs the plot driver for an area of this size with `ratio` pixels a unit. False, after its message,
    /// when nothing was drawn.
    bool Draw(const QSize& size, double ratio, const PlotRequest& request, PlotDrawing& drawn);
    bool IsEmpty() const { return curves_.isNull(); }
    void PaintCurves(QPainter& painter, const QRect& area) const { Paint(curves_, painter, area); }
    void PaintTexts(QPainter& painter, const QRect& area) const { Paint(texts_, painter, area); }

  private:
    static void Paint(const QImage& layer, QPainter& painter, const QRect& area);

    QImage curves_;  ///< and axes
    QImage texts_;   ///< and frames
};

}  // namespace vorela
