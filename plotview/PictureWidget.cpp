#include "plotview/PictureWidget.h"

#include <QImage>
#include <QPainter>
#include <utility>

namespace vorela {
namespace {

constexpr int margin = 24;
constexpr int unitsPerInch = 96;

}  // namespace

PictureWidget::PictureWidget(QWidget* parent) : QWidget(parent) {
    setMinimumSize(320, 240);
}

void PictureWidget::Show(std::function<void(DrawingSurface&)> draw, const QString& otherwise) {
    draw_ = std::move(draw);
    otherwise_ = otherwise;
    update();
}

PictureDrawing PictureWidget::Drawing() const {
    return [draw = draw_](DrawingSurface& surface) {
        if (!draw || !surface.Begin())
            return false;
        draw(surface);
        surface.End();
        return true;
    };
}

void PictureWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    if (!draw_) {
        painter.setPen(Qt::black);
        painter.drawText(rect().adjusted(margin, margin, -margin, -margin),
                         Qt::AlignCenter | Qt::TextWordWrap, otherwise_);
        return;
    }
    const PictureFileOptions options{
        width(), height(), static_cast<int>(unitsPerInch * devicePixelRatioF()), {}};
    QImage image = PictureImage(options, Drawing());
    image.setDevicePixelRatio(devicePixelRatioF());
    painter.drawImage(0, 0, image);
}

}  // namespace vorela
