#include "plotview/PainterSurface.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace vorela {
namespace {

QColor ToQColor(Colour colour) {
    return {colour.red, colour.green, colour.blue};
}
QPointF ToQPoint(DevicePoint point) {
    return {point.x, point.y};
}

/// Fills level and upright lines of one pen into a picture.
class PixelFiller {
  public:
    PixelFiller(QImage& picture, const QPen& pen, double scale)
        : bits_(reinterpret_cast<QRgb*>(picture.bits())),
          stride_(picture.bytesPerLine() / static_cast<qsizetype>(sizeof(QRgb))),
          width_(picture.width()),
          height_(picture.height()),
          colour_(pen.color().rgb()),
          scale_(scale),
          thickness_(std::max(1, static_cast<int>(std::lround(pen.widthF() * scale)))) {}

    void Fill(const QLineF& line) {
        const bool upright = line.x1() == line.x2();
        const auto [left, right] = Pixels(line.x1(), line.x2(), upright ? thickness_ : 1, width_);
        const auto [top, bottom] = Pixels(line.y1(), line.y2(), upright ? 1 : thickness_, height_);
        for (qsizetype y = top; y < bottom; ++y)
            for (qsizetype x = left; x < right; ++x)
                bits_[y * stride_ + x] = colour_;
    }

  private:
    /// First pixel and the one behind the last, inside the picture.
    std::pair<int, int> Pixels(double a, double b, int thickness, int extent) const {
        const double half = (thickness - 1) / 2.0;
        const double first = std::min(a, b) * scale_ - half;
        const double last = std::max(a, b) * scale_ - half;
        const auto inside = [&](double pixel) {
            return static_cast<int>(std::lround(std::clamp(pixel, -1.0, static_cast<double>(extent))));
        };
        return {std::max(inside(first), 0), std::min(inside(last) + thickness, extent)};
    }

    QRgb* bits_;
    qsizetype stride_;
    int width_;
    int height_;
    QRgb colour_;
    double scale_;
    int thickness_;
};

}  // namespace

QPen ToQPen(const PenDescription& pen) {
    QPen result(ToQColor(pen.colour), pen.width);
    if (pen.style == LineStyle::none)
        result.setStyle(Qt::NoPen);
    if (pen.style == LineStyle::dotted) {
        result.setStyle(Qt::DotLine);
        result.setCapStyle(Qt::FlatCap);
    }
    return result;
}

QFont ToQFont(const FontDescription& description) {
    QFont font(QString::fromStdString(description.typeface));
    font.setStyleHint(QFont::SansSerif);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setWeight(static_cast<QFont::Weight>(description.weight));
    constexpr int trial = 100;
    font.setPixelSize(trial);
    const double share = QFontMetricsF(font).height() / trial;
    font.setPixelSize(std::max(1, static_cast<int>(description.height / share)));
    return font;
}

bool PainterSurface::Begin() {
    if (!(target_.size.width >= 1) || !(target_.size.height >= 1))
        return false;
    if (target_.painter != nullptr)
        painter_.save();
    else if (target_.device == nullptr || !painter_.begin(target_.device))
        return false;
    painter_.scale(target_.painterScale, target_.painterScale);
    if (!target_.isOverlay)
        painter_.fillRect(QRectF(0, 0, target_.size.width, target_.size.height), Qt::white);
    return true;
}

void PainterSurface::End() {
    Flush();
    if (target_.painter != nullptr)
        painter_.restore();
    else
        painter_.end();
}

DrawingObject PainterSurface::CreatePen(const PenDescription& pen) {
    pens_[++last_] = ToQPen(pen);
    return last_;
}

DrawingObject PainterSurface::CreateBrush(Colour colour) {
    brushes_[++last_] = QBrush(ToQColor(colour));
    return last_;
}

DrawingObject PainterSurface::CreateFont(const FontDescription& font) {
    fonts_[++last_] = ToQFont(font);
    return last_;
}

DrawingObject PainterSurface::GetStockObject(StockObject) {
    fonts_[++last_] = QFont();
    return last_;
}

void PainterSurface::SelectObject(DrawingObject object) {
    if (const auto pen = pens_.find(object); pen != pens_.end()) {
        if (object == selectedPen_)
            return;
        Flush();
        selectedPen_ = object;
        painter_.setPen(pen->second);
    } else if (const auto font = fonts_.find(object); font != fonts_.end()) {
        Flush();
        painter_.setFont(font->second);
    } else if (const auto brush = brushes_.find(object); brush != brushes_.end()) {
        painter_.setBackground(brush->second);
    }
}

void PainterSurface::DeleteObject(DrawingObject object) {
    Flush();
    pens_.erase(object);
    brushes_.erase(object);
    fonts_.erase(object);
}

void PainterSurface::MoveTo(DevicePoint point) {
    position_ = ToQPoint(point);
}

void PainterSurface::LineTo(DevicePoint point) {
    lines_.emplace_back(position_, ToQPoint(point));
    position_ = ToQPoint(point);
}

void PainterSurface::Polyline(std::span<const DevicePoint> points) {
    for (std::size_t i = 1; i < points.size(); ++i)
        lines_.emplace_back(ToQPoint(points[i - 1]), ToQPoint(points[i]));
}

void PainterSurface::SetSmooth(bool smooth) {
    Flush();
    painter_.setRenderHint(QPainter::Antialiasing, smooth);
}

void PainterSurface::Flush() {
    if (lines_.empty())
        return;
    const bool solid = painter_.pen().style() == Qt::SolidLine;
    // The ends of short smooth lines would show as beads along a curve; of many lines a path takes too long.
    constexpr std::size_t mostInSmoothPath = 1000;
    const bool smooth = painter_.testRenderHint(QPainter::Antialiasing);
    if (target_.isVector || (smooth && lines_.size() <= mostInSmoothPath)) {
        PaintAsPath();
    } else {
        if (target_.pixels != nullptr && solid && !smooth)
            FillStraightLines();
        painter_.drawLines(lines_.data(), static_cast<int>(lines_.size()));
    }
    lines_.clear();
}

void PainterSurface::PaintAsPath() {
    QPainterPath path;
    for (const QLineF& line : lines_) {
        if (path.elementCount() == 0 || path.currentPosition() != line.p1())
            path.moveTo(line.p1());
        path.lineTo(line.p2());
    }
    painter_.setBrush(Qt::NoBrush);
    painter_.drawPath(path);
}

void PainterSurface::FillStraightLines() {
    PixelFiller filler(*target_.pixels, painter_.pen(), target_.painterScale);
    std::erase_if(lines_, [&](const QLineF& line) {
        if (line.x1() != line.x2() && line.y1() != line.y2())
            return false;
        filler.Fill(line);
        return true;
    });
}

void PainterSurface::Fill(const DeviceBox& box, Colour colour) {
    Flush();
    const bool smooth = painter_.testRenderHint(QPainter::Antialiasing);
    painter_.setRenderHint(QPainter::Antialiasing, false);
    painter_.fillRect(QRectF(QPointF(box.left, box.top), QPointF(box.right, box.bottom)), ToQColor(colour));
    painter_.setRenderHint(QPainter::Antialiasing, smooth);
}

void PainterSurface::Tint(std::span<const DevicePoint> shape, Colour colour) {
    constexpr double cover = 0.25;
    Flush();
    QPolygonF outline;
    for (const DevicePoint& point : shape)
        outline << ToQPoint(point);
    QColor thin = ToQColor(colour);
    thin.setAlphaF(cover);
    QPainterPath path;
    path.addPolygon(outline);
    painter_.fillPath(path, thin);
}

void PainterSurface::SetTextColour(Colour colour) {
    textColour_ = ToQColor(colour);
}

void PainterSurface::TextOut(DevicePoint point, const std::string& text) {
    Flush();
    const QString string = QString::fromStdString(text);
    const QFontMetricsF metrics(painter_.font());
    const double width = metrics.horizontalAdvance(string);
    double left = point.x;
    if (alignment_ == TextAlignment::bottomCentre)
        left -= width / 2;
    else if (alignment_ == TextAlignment::bottomRight)
        left -= width;
    const double top = alignment_ == TextAlignment::topLeft ? point.y : point.y - metrics.height();
    const QPen pen = painter_.pen();
    painter_.setPen(textColour_);
    painter_.drawText(QPointF(left, top + metrics.ascent()), string);
    painter_.setPen(pen);
}

double PainterSurface::TextWidth(const std::string& text) {
    return QFontMetricsF(painter_.font()).horizontalAdvance(QString::fromStdString(text));
}

}  // namespace vorela
