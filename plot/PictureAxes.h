// Axes with ticks, grid lines and captions round one frame of a picture, and what is drawn inside them.
#pragma once

#include <limits>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "plot/DrawingSurface.h"

namespace vorela {

/// What an axis covers. A logarithmic one takes positive values only.
struct AxisSpan {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    bool logarithmic = false;

    /// Values that are not finite, or not positive on a logarithmic axis, are left out.
    void Include(double value);
    /// Room at both ends, and something to see where there was one value or none.
    void Widen(double share);
    /// Logarithmic: from the 1, 2 or 5 times a power of ten below to the one above; `decades`: whole powers.
    void WidenToTicks(bool decades);
    double Share(double value) const;  ///< 0 at low, 1 at high
    /// 1, 2 or 5 times powers of ten inside the span, four to ten of them where it can be; of a logarithmic
    /// span of many decades whole powers alone.
    std::vector<double> Ticks() const;
    /// Texts of ticks, with as many decimals as tell them apart.
    std::vector<std::string> TickTexts(const std::vector<double>& ticks) const;
};

struct FrameRectangle {
    double left = 0, top = 0, right = 0, bottom = 0;  ///< device units
};

/// One frame: x to the right, y upward unless `downward`. Pens and fonts live as long as it does.
class PictureAxes {
  public:
    PictureAxes(DrawingSurface& surface, const FrameRectangle& frame, const AxisSpan& x, const AxisSpan& y,
                bool downward = false);
    ~PictureAxes();
    PictureAxes(const PictureAxes&) = delete;
    PictureAxes& operator=(const PictureAxes&) = delete;

    /// The title above the y axis's caption, both above the frame.
    void Draw(const std::string& title, const std::string& xCaption, const std::string& yCaption);
    DevicePoint At(double x, double y) const;
    /// A closed curve that lies inside the frame, filled so thinly that grid and curves show through.
    void Tint(std::span<const DevicePoint> points, Colour colour);
    /// Clipped to the frame; points that are not finite part the curve.
    void Curve(std::span<const DevicePoint> points, const PenDescription& pen);
    void Line(DevicePoint from, DevicePoint to, const PenDescription& pen);
    /// A sample of each pen with its name, above the frame.
    void Legend(const std::vector<std::pair<PenDescription, std::string>>& entries);
    /// A filled square about a point.
    void Mark(DevicePoint at, Colour colour);
    /// Device units, sides level and upright.
    void Fill(const FrameRectangle& area, Colour colour);
    void Text(DevicePoint device, const std::string& text, TextAlignment alignment, Colour colour = {});
    /// An arrow head at a device point, pointing right (1), left (-1), up (2) or down (-2).
    void Arrow(DevicePoint device, int direction, Colour colour);
    const FrameRectangle& Frame() const { return frame_; }

  private:
    DrawingObject Pen(const PenDescription& wanted);
    void DeviceLine(DevicePoint from, DevicePoint to, const PenDescription& pen);
    void GridAcross();
    void GridUpward();

    DrawingSurface& surface_;
    FrameRectangle frame_;
    AxisSpan x_, y_;
    bool downward_;
    std::vector<std::pair<PenDescription, DrawingObject>> pens_;
    DrawingObject font_ = 0;
};

}  // namespace vorela
