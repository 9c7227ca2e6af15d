#include "plotview/PlotLayers.h"

#include <QPainter>

#include "plot/PlotRenderer.h"
#include "plotview/PainterSurface.h"

namespace vorela {

bool PlotLayers::Draw(const QSize& size, double ratio, const PlotRequest& request, PlotDrawing& drawn) {
    curves_ = QImage((QSizeF(size) * ratio).toSize(), QImage::Format_RGB32);
    texts_ = QImage(curves_.size(), QImage::Format_ARGB32_Premultiplied);
    texts_.fill(Qt::transparent);
    PainterSurface::Target target{curves_.isNull() ? nullptr : &curves_,
                                  {static_cast<double>(size.width()), static_cast<double>(size.height())},
                                  ratio,
                                  ratio,
                                  false,
                                  &curves_};
    bool done = false;
    {
        PainterSurface surface(target);
        target.device = texts_.isNull() ? nullptr : &texts_;
        target.pixels = nullptr;
        target.isOverlay = true;
        PainterSurface over(target);
        done = RunPlotDriver(surface, request, {}, drawn, &over);
    }
    curves_.setDevicePixelRatio(ratio);
    texts_.setDevicePixelRatio(ratio);
    return done;
}

void PlotLayers::Paint(const QImage& layer, QPainter& painter, const QRect& area) {
    if (QSizeF(layer.size()) / layer.devicePixelRatio() == QSizeF(area.size()))
        painter.drawImage(QPointF(0, 0), layer);
    else
        painter.drawImage(area, layer);  // a new size: until the redraw that is on its way
}

}  // namespace vorela
