#include "plot/PictureAxes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr PenDescription blackLine{LineStyle::solid, 1, {0, 0, 0}};
constexpr PenDescription gridLine{LineStyle::solid, 1, {224, 224, 224}};
constexpr double tickLength = 4;
constexpr double textGap = 3;
constexpr double textHeight = 14;
constexpr int mostTicks = 8;
constexpr std::size_t mostLogarithmicTicks = 10;
constexpr int mostDecimals = 12;
constexpr double aHair = 1e-9;

/// The least of 1, 2, 5 times a power of ten of which a span has no more than `wanted`.
double NiceStep(double span, int wanted) {
    const double raw = span / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= raw)
            return factor * power;
    return 10.0 * power;
}

constexpr int stepsPerDecade = 3;

/// 1, 2 or 5 times a power of ten. Divided, not multiplied, below 1: that is the nearest number to the text.
double MarkAt(int step) {
    constexpr std::array<double, stepsPerDecade> parts{1, 2, 5};
    const int decade = step >= 0 ? step / stepsPerDecade : -((-step + stepsPerDecade - 1) / stepsPerDecade);
    const double part = parts.at(static_cast<std::size_t>(step - stepsPerDecade * decade));
    return decade >= 0 ? part * std::pow(10.0, decade) : part / std::pow(10.0, -decade);
}

/// The greatest step whose mark is not above the value.
int StepBelow(double value) {
    int step = stepsPerDecade * static_cast<int>(std::floor(std::log10(value))) - 1;
    while (MarkAt(step + 1) <= value * (1.0 + aHair))
        ++step;
    return step;
}

std::vector<double> LogarithmicTicks(double low, double high) {
    std::vector<double> all, decades;
    for (int step = StepBelow(low); MarkAt(step) <= high * (1.0 + aHair); ++step) {
        if (MarkAt(step) < low * (1.0 - aHair))
            continue;
        all.push_back(MarkAt(step));
        if (step % stepsPerDecade == 0)
            decades.push_back(MarkAt(step));
    }
    return all.size() > mostLogarithmicTicks ? decades : all;
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

/// Where the texts of a logarithmic axis would touch, whole powers of ten alone keep theirs. The ticks stand.
void LeaveDecades(const std::vector<double>& ticks, std::vector<std::string>& texts) {
    for (std::size_t i = 0; i < ticks.size(); ++i)
        if (const double power = std::log10(ticks[i]); std::abs(power - std::round(power)) > aHair)
            texts[i].clear();
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
        const double size = std::max(high - low, std::abs(high) * 0.02);
        const double room = (size > 0.0 ? size : 1.0) * share;
        low -= room;
        high += room;
    }
}

void AxisSpan::WidenToTicks(bool decades) {
    if (!(low <= high))
        Widen(0.0);
    const auto isEnd = [decades](int step) { return !decades || step % stepsPerDecade == 0; };
    int from = StepBelow(low), to = StepBelow(high);
    while (!isEnd(from))
        --from;
    while (MarkAt(to) < high * (1.0 - aHair) || to <= from || !isEnd(to))
        ++to;
    low = MarkAt(from);
    high = MarkAt(to);
}

double AxisSpan::Share(double value) const {
    if (logarithmic)
        return value > 0.0 ? std::log(value / low) / std::log(high / low)
                           : -std::numeric_limits<double>::infinity();
    return (value - low) / (high - low);
}

std::vector<double> AxisSpan::Ticks() const {
    if (logarithmic)
        if (std::vector<double> ticks = LogarithmicTicks(low, high); ticks.size() >= 3)
            return ticks;
    std::vector<double> ticks;
    const double step = NiceStep(high - low, mostTicks);
    for (double number = std::ceil(low / step - aHair); number * step <= high + step * aHair; number += 1.0)
        ticks.push_back(number * step);
    return ticks;
}

std::vector<std::string> AxisSpan::TickTexts(const std::vector<double>& ticks) const {
    // What stands at a gridline is its value, also where gridlines between were left out.
    int decimals = 0;
    const auto isShown = [&](double tick) {
        const double scaled = tick * std::pow(10.0, decimals);
        return std::abs(scaled - std::round(scaled)) <= aHair * std::abs(scaled);
    };
    while (decimals < mostDecimals && !std::all_of(ticks.begin(), ticks.end(), isShown))
        ++decimals;
    std::string pattern = "0";
    if (decimals > 0)
        pattern += "." + std::string(static_cast<std::size_t>(decimals), logarithmic ? '#' : '0');
    std::vector<std::string> texts;
    texts.reserve(ticks.size());
    for (const double tick : ticks)
        texts.push_back(FormatByPattern(tick, pattern));
    return texts;
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

DrawingObject PictureAxes::Pen(const PenDescription& wanted) {
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

void PictureAxes::DeviceLine(DevicePoint from, DevicePoint to, const PenDescription& pen) {
    surface_.SelectObject(Pen(pen));
    surface_.MoveTo(from);
    surface_.LineTo(to);
}

// A text that would touch the one before is left out.
void PictureAxes::GridAcross() {
    const std::vector<double> ticks = x_.Ticks();
    std::vector<std::string> texts = x_.TickTexts(ticks);
    double needed = 0;
    for (const std::string& text : texts)
        needed += surface_.TextWidth(text) + 2 * textGap;
    if (x_.logarithmic && needed > frame_.right - frame_.left)
        LeaveDecades(ticks, texts);
    double free = -std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < ticks.size(); ++i) {
        const double x = At(ticks[i], y_.low).x;
        DeviceLine({x, frame_.top}, {x, frame_.bottom}, gridLine);
        DeviceLine({x, frame_.bottom}, {x, frame_.bottom + tickLength}, blackLine);
        const double half = surface_.TextWidth(texts[i]) / 2;
        if (texts[i].empty() || x - half < free)
            continue;
        Text({x, frame_.bottom + tickLength + textGap + textHeight}, texts[i], TextAlignment::bottomCentre);
        free = x + half + 2 * textGap;
    }
}

void PictureAxes::GridUpward() {
    const std::vector<double> ticks = y_.Ticks();
    std::vector<std::string> texts = y_.TickTexts(ticks);
    const double needed = static_cast<double>(ticks.size()) * (textHeight + textGap);
    if (y_.logarithmic && needed > frame_.bottom - frame_.top)
        LeaveDecades(ticks, texts);
    double last = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < ticks.size(); ++i) {
        const double y = At(x_.low, ticks[i]).y;
        DeviceLine({frame_.left, y}, {frame_.right, y}, gridLine);
        DeviceLine({frame_.left - tickLength, y}, {frame_.left, y}, blackLine);
        if (texts[i].empty() || std::abs(y - last) < textHeight)
            continue;
        Text({frame_.left - tickLength - textGap, y + textHeight / 2}, texts[i], TextAlignment::bottomRight);
        last = y;
    }
}

void PictureAxes::Draw(const std::string& title, const std::string& xCaption, const std::string& yCaption) {
    surface_.SetSmooth(false);
    GridAcross();
    GridUpward();
    DeviceLine({frame_.left, frame_.top}, {frame_.right, frame_.top}, blackLine);
    DeviceLine({frame_.right, frame_.top}, {frame_.right, frame_.bottom}, blackLine);
    DeviceLine({frame_.right, frame_.bottom}, {frame_.left, frame_.bottom}, blackLine);
    DeviceLine({frame_.left, frame_.bottom}, {frame_.left, frame_.top}, blackLine);
    Text({(frame_.left + frame_.right) / 2, frame_.bottom + tickLength + 2 * (textGap + textHeight)},
         xCaption, TextAlignment::bottomCentre);
    // Level rather than upright: it is read faster and looks the same in every format.
    Text({frame_.left, frame_.top - textGap}, yCaption, TextAlignment::bottomLeft);
    Text({frame_.left, frame_.top - 2 * textGap - textHeight}, title, TextAlignment::bottomLeft);
    surface_.SetSmooth(true);
}

void PictureAxes::Legend(const std::vector<std::pair<PenDescription, std::string>>& entries) {
    constexpr double sampleLength = 18, apart = 4 * textGap;
    const double base = frame_.top - textGap;
    double needed = -apart;
    for (const auto& [pen, name] : entries)
        needed += sampleLength + textGap + surface_.TextWidth(name) + apart;
    // Of a narrow frame it begins further left, so that all of it is seen.
    double x = std::max(0.0, std::min(frame_.left, frame_.right - needed));
    for (const auto& [pen, name] : entries) {
        DeviceLine({x, base - textHeight / 2}, {x + sampleLength, base - textHeight / 2}, pen);
        x += sampleLength + textGap;
        Text({x, base}, name, TextAlignment::bottomLeft);
        x += surface_.TextWidth(name) + apart;
    }
}

void PictureAxes::Curve(std::span<const DevicePoint> points, const PenDescription& pen) {
    for (std::size_t i = 1; i < points.size(); ++i)
        Line(points[i - 1], points[i], pen);
}

void PictureAxes::Tint(std::span<const DevicePoint> points, Colour colour) {
    std::vector<DevicePoint> shape;
    shape.reserve(points.size());
    for (const DevicePoint& point : points)
        shape.push_back(At(point.x, point.y));
    if (std::all_of(shape.begin(), shape.end(), IsFinite))
        surface_.Tint(shape, colour);
}

void PictureAxes::Line(DevicePoint from, DevicePoint to, const PenDescription& pen) {
    DevicePoint a = At(from.x, from.y), b = At(to.x, to.y);
    if (IsFinite(a) && IsFinite(b) && ClipTo(frame_, a, b))
        DeviceLine(a, b, pen);
}

void PictureAxes::Mark(DevicePoint at, Colour colour) {
    constexpr double half = 3.5;
    const DevicePoint centre = At(at.x, at.y);
    if (IsFinite(centre))
        Fill({centre.x - half, centre.y - half, centre.x + half, centre.y + half}, colour);
}

void PictureAxes::Fill(const FrameRectangle& area, Colour colour) {
    if (area.right > area.left && area.bottom > area.top)
        surface_.Fill({area.left, area.top, area.right, area.bottom}, colour);
}

void PictureAxes::Text(DevicePoint device, const std::string& text, TextAlignment alignment, Colour colour) {
    if (text.empty())
        return;
    surface_.SetTextAlign(alignment);
    surface_.SetTextColour(colour);
    surface_.TextOut(device, text);
    surface_.SetTextColour({});
}

void PictureAxes::Arrow(DevicePoint device, int direction, Colour colour) {
    constexpr double length = 8, half = 5;
    const bool level = direction == 1 || direction == -1;
    const double back = direction > 0 ? -length : length;
    for (const double side : {-half, half})
        DeviceLine(level ? DevicePoint{device.x + back, device.y + side}
                         : DevicePoint{device.x + side, device.y - back},
                   device, {LineStyle::solid, 2, colour});
}

}  // namespace vorela
