// What the plot is drawn on. Coordinates are device units of 1/96 inch from the top left corner of the
// picture, whatever the resolution; a surface with finer pixels says so.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "general/Colour.h"

namespace vorela {

enum class LineStyle { solid, dotted, none };

struct PenDescription {
    LineStyle style = LineStyle::solid;
    int width = 1;  ///< device units
    Colour colour;
    bool operator==(const PenDescription&) const = default;
};

struct FontDescription {
    std::string typeface = "Arial";
    int height = 16;   ///< device units
    int weight = 400;  ///< normal
};

/// Where the given point lies on a text; values of the classic graphics device interface.
enum class TextAlignment { topLeft = 0, bottomLeft = 8, bottomRight = 10, bottomCentre = 14 };

struct DevicePoint {
    double x = 0;
    double y = 0;
    bool operator==(const DevicePoint&) const = default;
};

/// A rectangle on the device.
struct DeviceBox {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
    bool Contains(DevicePoint point) const {
        return point.x >= left && point.x <= right && point.y >= top && point.y <= bottom;
    }
    /// They share more than an edge.
    bool Meets(const DeviceBox& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
};

struct PictureSize {
    double width = 0;
    double height = 0;
};

/// A pen, brush or font of a surface; 0 is none.
using DrawingObject = int;
enum class StockObject { systemFont };

class DrawingSurface {
  public:
    virtual ~DrawingSurface() = default;

    /// Readies the surface; false when there is nothing to draw on. End() follows a Begin() that succeeded.
    virtual bool Begin() = 0;
    virtual void End() = 0;
    virtual PictureSize Size() const = 0;  ///< device units
    /// Device pixels per device unit, at least 1 for everything finer than 96 dots per inch.
    virtual double PixelsPerUnit() const = 0;

    virtual DrawingObject CreatePen(const PenDescription& pen) = 0;
    virtual DrawingObject CreateBrush(Colour colour) = 0;
    virtual DrawingObject CreateFont(const FontDescription& font) = 0;
    virtual DrawingObject GetStockObject(StockObject object) = 0;
    virtual void SelectObject(DrawingObject object) = 0;
    virtual void DeleteObject(DrawingObject object) = 0;

    virtual void MoveTo(DevicePoint point) = 0;
    virtual void LineTo(DevicePoint point) = 0;
    virtual void Polyline(std::span<const DevicePoint> points) = 0;
    /// Smooth edges for the lines that follow. Off for dense data: smoothing a zig-zag costs a hundred times
    /// more and shows less.
    virtual void SetSmooth(bool smooth) = 0;
    /// Fills an area with one colour, whatever brush is selected.
    virtual void Fill(const DeviceBox& box, Colour colour) = 0;
    /// The same of a closed shape, so thin that what lies beneath shows through.
    virtual void Tint(std::span<const DevicePoint> shape, Colour colour) = 0;
    /// Colour of the texts that follow; black at the beginning.
    virtual void SetTextColour(Colour colour) = 0;
    virtual void SetTextAlign(TextAlignment alignment) = 0;
    virtual void TextOut(DevicePoint point, const std::string& text) = 0;
    /// Width of a text in the selected font, device units.
    virtual double TextWidth(const std::string& text) = 0;
};

}  // namespace vorela
