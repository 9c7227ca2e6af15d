// A thin line round a picture that has the keys: one who works without the mouse sees where he is.
#pragma once

#include <QPainter>
#include <QWidget>

namespace vorela {

inline void PaintFocusFrame(QPainter& painter, const QWidget& picture) {
    if (!picture.hasFocus())
        return;
    painter.setPen(picture.palette().color(QPalette::Highlight));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(picture.rect().adjusted(0, 0, -1, -1));
}

}  // namespace vorela
