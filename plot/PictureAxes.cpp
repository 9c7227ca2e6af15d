#include "plot/PictureAxes.h"

#include <algorithm>
#include <cmath>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr Colour black{0, 0, 0};
constexpr Colour gridGrey{224, 224, 224};
constexpr double tickLength = 4;
constexpr double textGap = 3;
constexpr double textHeight = 14;
constexpr int mostTicks = 8;
constexpr double aHair = 1e-9;

/// The largest of 1, 2, 5 times a power of ten that makes at least half of `wanted` steps of a span.
double NiceStep(double span, int wanted) {
    const double raw = span / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= raw)
            return factor * power;
    return 10.0 * power;
}

std::vector<double> DecadeTicks(double low, double high) {
    const double decades = std::log10(high / low);
    std::vector<double> ticks;
    const std::vector<double> factors = decades > 3.0   ? std::vector{1.0}
                                        : decades > 0.7 ? std::vector{1.0, 2.0, 5.0}
                                                        : std::vector<double>{};
    for (double power = std::floor(std::log10(low)); power <= std::ceil(std::log10(high)); power += 1.0)
        for (const double factor : factors)
            if (const double tick = factor * std::pow(10.0, power);
                tick >= low * (1.0 - aHair) && tick <= high * (1.0 + aHair))
                ticks.push_back(tick);
    return ticks;
}

/// Part of a line that lies in a frame; false when none does (Liang and Barsky).
bool ClipTo(const FrameRectangle& frame, DevicePoint& from, DevicePoint& to) {
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double p[] = {-dx, dx, -dy, dy};
    const double q[] = {from.x - frame.left, frame.right - from.x, from.y - frame.top, frame.bottom - from.y};
    double enter = 0, leave = 1;
    for (int side = 0; side < 4; ++side) {
        if (p[side] == 0.0 && q[side] < 0.0)
            return false;
        if (p[side] < 0.0)
            enter = std::max(enter, q[side] / p[side]);
        if (p[side] > 0.0)
            leave = std::min(leave, q[side] / p[side]);
    }
    if (enter > leave)
        return false;
    to = {from.x + leave * dx, from.y + leave * dy};
    from = {from.x + enter * dx, from.y + enter * dy};
    return true;
}

bool IsFinite(DevicePoint point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

}  // namespace

void AxisSpan::Include(double value) {
    if (!std::isfinite(value) || (logarithmic && !(value > 0.0)))
        return;
    low = std::min(low, value);
    high = std::max(high, value);
}

void AxisSpan::Widen(double share) {
    if (!(low <= high)) {
        low = logarithmic ? 1.0 : 0.0;
        high = logarithmic ? 10.0 : 1.0;
    }
    if (logarithmic) {
        const double factor = std::pow(std::max(high / low, 1.5), share);
        low /= factor;
        high *= factor;
    } else {
        const double room = std::max({high - low, aHair, std::abs(high) * 0.02}) * share;
        low -= room;
        high += room;
    }
}

double AxisSpan::Share(double value) const {
    if (logarithmic)
        return value > 0.0 ? std::log(value / low) / std::log(high / low)
                           : -std::numeric_limits<double>::infinity();
    return (value - low) / (high - low);
}

std::vector<double> AxisSpan::Ticks() const {
    if (logarithmic)
        if (std::vector<double> ticks = DecadeTicks(low, high); ticks.size() >= 2)
            return ticks;
    std::vector<double> ticks;
    const double step = NiceStep(high - low, mostTicks);
    for (double number = std::ceil(low / step - aHair); number * step <= high + step * aHair; number += 1.0)
        ticks.push_back(number * step);
    return ticks;
}

PictureAxes::PictureAxes(DrawingSurface& surface, const FrameRectangle& frame, const AxisSpan& x,
                         const AxisSpan& y, bool downward)
    : surface_(surface),
      frame_(frame),
      x_(x),
      y_(y),
      downward_(downward),
      font_(surface.CreateFont({.typeface = "Arial", .height = 13})) {
    surface_.SelectObject(font_);
}

PictureAxes::~PictureAxes() {
    for (const auto& pen : pens_)
        surface_.DeleteObject(pen.second);
    surface_.DeleteObject(font_);
}

DrawingObject PictureAxes::Pen(Colour colour, int width) {
    const PenDescription wanted{LineStyle::solid, width, colour};
    for (const auto& [description, pen] : pens_)
        if (description == wanted)
            return pen;
    pens_.emplace_back(wanted, surface_.CreatePen(wanted));
    return pens_.back().second;
}

DevicePoint PictureAxes::At(double x, double y) const {
    const double up = y_.Share(y);
    return {frame_.left + x_.Share(x) * (frame_.right - frame_.left),
            downward_ ? frame_.top + up * (frame_.bottom - frame_.top)
                      : frame_.bottom - up * (frame_.bottom - frame_.top)};
}

void PictureAxes::DeviceLine(DevicePoint from, DevicePoint to, Colour colour, int width) {
    surface_.SelectObject(Pen(colour, width));
    surface_.MoveTo(from);
    surface_.LineTo(to);
}

void PictureAxes::Draw(const std::string& title, const std::string& xCaption, const std::string& yCaption) {
    surface_.SetSmooth(false);
    for (const double tick : x_.Ticks()) {
        const double x = At(tick, y_.low).x;
        DeviceLine({x, frame_.top}, {x, frame_.bottom}, gridGrey, 1);
        DeviceLine({x, frame_.bottom}, {x, frame_.bottom + tickLength}, black, 1);
        Text({x, frame_.bottom + tickLength + textGap + textHeight}, FormatNumber(tick),
             TextAlignment::bottomCentre);
    }
    for (const double tick : y_.Ticks()) {
        const double y = At(x_.low, tick).y;
        DeviceLine({frame_.left, y}, {frame_.right, y}, gridGrey, 1);
        DeviceLine({frame_.left - tickLength, y}, {frame_.left, y}, black, 1);
        Text({frame_.left - tickLength - textGap, y + textHeight / 2}, FormatNumber(tick),
             TextAlignment::bottomRight);
    }
    DeviceLine({frame_.left, frame_.top}, {frame_.right, frame_.top}, black, 1);
    DeviceLine({frame_.right, frame_.top}, {frame_.right, frame_.bottom}, black, 1);
    DeviceLine({frame_.right, frame_.bottom}, {frame_.left, frame_.bottom}, black, 1);
    DeviceLine({frame_.left, frame_.bottom}, {frame_.left, frame_.top}, black, 1);
    Text({(frame_.left + frame_.right) / 2, frame_.bottom + tickLength + 2 * (textGap + textHeight)},
         xCaption, TextAlignment::bottomCentre);
    // Beside the title rather than upright: level text is read faster and looks the same in every format.
    Text({frame_.left, frame_.top - textGap}, title.empty() ? yCaption : yCaption + "   " + title,
         TextAlignment::bottomLeft);
    surface_.SetSmooth(true);
}

void PictureAxes::Curve(std::span<const DevicePoint> points, Colour colour, int width) {
    for (std::size_t i = 1; i < points.size(); ++i)
        Line(points[i - 1], points[i], colour, width);
}

void PictureAxes::Line(DevicePoint from, DevicePoint to, Colour colour, int width) {
    DevicePoint a = At(from.x, from.y), b = At(to.x, to.y);
    if (IsFinite(a) && IsFinite(b) && ClipTo(frame_, a, b))
        DeviceLine(a, b, colour, width);
}

void PictureAxes::Mark(DevicePoint at, Colour colour) {
    constexpr double half = 3.5;
    const DevicePoint centre = At(at.x, at.y);
    if (IsFinite(centre))
        Fill({centre.x - half, centre.y - half, centre.x + half, centre.y + half}, colour);
}

// Lines as wide as the area's shorter side: their square ends fill the rest.
void PictureAxes::Fill(const FrameRectangle& area, Colour colour) {
    const double width = area.right - area.left, height = area.bottom - area.top;
    const double side = std::floor(std::min(width, height));
    if (side < 1.0)
        return;
    const double half = side / 2, middleX = (area.left + area.right) / 2,
                 middleY = (area.top + area.bottom) / 2;
    if (width >= height)
        DeviceLine({area.left + half, middleY}, {area.right - half, middleY}, colour, static_cast<int>(side));
    else
        DeviceLine({middleX, area.top + half}, {middleX, area.bottom - half}, colour, static_cast<int>(side));
}

void PictureAxes::Text(DevicePoint device, const std::string& text, TextAlignment alignment) {
    surface_.SetTextAlign(alignment);
    surface_.TextOut(device, text);
}

void PictureAxes::Arrow(DevicePoint device, int direction, Colour colour) {
    constexpr double length = 8, half = 5;
    const bool level = direction == 1 || direction == -1;
    const double back = direction > 0 ? -length : length;
    for (const double side : {-half, half})
        DeviceLine(level ? DevicePoint{device.x + back, device.y + side}
                         : DevicePoint{device.x + side, device.y - back},
                   device, colour, 2);
}

}  // namespace vorela
