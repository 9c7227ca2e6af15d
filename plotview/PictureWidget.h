// A picture on the screen, drawn anew whenever its size or what it shows changes.
#pragma once

#include <QWidget>

#include "plotview/PictureFile.h"

namespace vorela {

class PictureWidget : public QWidget {
    Q_OBJECT
  public:
    explicit PictureWidget(QWidget* parent = nullptr);

    /// Draws between Begin and End, which are called here. Without a drawing the text stands in its place.
    void Show(std::function<void(DrawingSurface&)> draw, const QString& otherwise);
    bool HasPicture() const { return draw_ != nullptr; }
    /// The same drawing at the widget's size, for files.
    PictureDrawing Drawing() const;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::function<void(DrawingSurface&)> draw_;
    QString otherwise_;
};

}  // namespace vorela
