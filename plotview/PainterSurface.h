// The drawing surface of everything that a painter paints on: screen picture, PNG, SVG, PDF, printer.
#pragma once

#include <QFont>
#include <QLineF>
#include <QPainter>
#include <QPen>
#include <map>
#include <optional>
#include <vector>

#include "plot/DrawingSurface.h"

class QImage;
class QPaintDevice;

namespace vorela {

class PainterSurface final : public DrawingSurface {
  public:
    struct Target {
        QPaintDevice* device = nullptr;
        PictureSize size;          ///< device units
        double painterScale = 1;   ///< painter units of the device for each device unit
        double pixelsPerUnit = 1;  ///< how fine curves are drawn
        bool isVector = false;     ///< lines are kept as paths, not as pixels
        /// The device itself where it is a picture in memory of 32-bit opaque pixels.
        QImage* pixels = nullptr;
        bool isOverlay = false;  ///< what is there stays; nothing is cleared at the beginning
        /// A painter at work in place of the device: the picture becomes part of its page, at the origin.
        QPainter* painter = nullptr;
    };
    /// The device must live until End().
    explicit PainterSurface(const Target& target)
        : target_(target), painter_(target.painter != nullptr ? *target.painter : own_) {}

    bool Begin() override;
    void End() override;
    PictureSize Size() const override { return target_.size; }
    double PixelsPerUnit() const override { return target_.pixelsPerUnit; }
    DrawingObject CreatePen(const PenDescription& pen) override;
    DrawingObject CreateBrush(Colour colour) override;
    DrawingObject CreateFont(const FontDescription& font) override;
    DrawingObject GetStockObject(StockObject object) override;
    void SelectObject(DrawingObject object) override;
    void DeleteObject(DrawingObject object) override;
    void MoveTo(DevicePoint point) override;
    void LineTo(DevicePoint point) override;
    void Polyline(std::span<const DevicePoint> points) override;
    void SetSmooth(bool smooth) override;
    void Fill(const DeviceBox& box, Colour colour) override;
    void Tint(std::span<const DevicePoint> shape, Colour colour) override;
    void SetTextColour(Colour colour) override;
    void SetTextAlign(TextAlignment alignment) override { alignment_ = alignment; }
    void TextOut(DevicePoint point, const std::string& text) override;
    double TextWidth(const std::string& text) override;

  private:
    /// Lines wait until something else is drawn, and are painted in one go.
    void Flush();
    void PaintAsPath();
    /// Upright and level lines of a dense curve are filled straight into the picture (the painter takes ten
    /// times as long for them); what remains is left in lines_.
    void FillStraightLines();

    Target target_;
    QPainter own_;
    QPainter& painter_;
    std::map<DrawingObject, QPen> pens_;
    std::map<DrawingObject, QBrush> brushes_;
    std::map<DrawingObject, QFont> fonts_;
    DrawingObject last_ = 0;
    DrawingObject selectedPen_ = 0;
    QPointF position_;
    std::vector<QLineF> lines_;
    QColor textColour_ = Qt::black;
    TextAlignment alignment_ = TextAlignment::topLeft;
};

/// The pen as the toolkit's.
QPen ToQPen(const PenDescription& pen);
/// The font whose line (ascent and descent) is as high as described, the same on every device.
QFont ToQFont(const FontDescription& description);

}  // namespace vorela
