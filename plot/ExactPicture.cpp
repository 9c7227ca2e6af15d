#include "plot/ExactPicture.h"

#include <algorithm>

#include "plot/PictureAxes.h"

namespace vorela {
namespace {

constexpr Colour black{0, 0, 0};
constexpr PenDescription modelLine{LineStyle::solid, 2, {64, 64, 64}};
constexpr Colour unusedGrey{160, 160, 160};
constexpr Colour ofTheLevel{220, 20, 20};
constexpr Colour ofACycle{30, 90, 190};
constexpr Colour barOrange{241, 193, 145};
constexpr double leftMargin = 76, rightMargin = 24, topMargin = 44, bottomMargin = 44;
constexpr double room = 0.08;  // about what is shown, share of it

Colour ColourOf(const PictureHarmonic& harmonic) {
    if (!harmonic.used)
        return unusedGrey;
    return harmonic.number == 1   ? Colour{220, 20, 20}
           : harmonic.number == 3 ? Colour{200, 130, 0}
                                  : Colour{30, 90, 190};
}

std::string NameOf(const PictureHarmonic& harmonic) {
    return "n = " + std::to_string(harmonic.number) + (harmonic.used ? "" : " (not used)");
}

FrameRectangle WholeFrame(PictureSize size) {
    return {leftMargin, topMargin, std::max(size.width - rightMargin, leftMargin + 1),
            std::max(size.height - bottomMargin, topMargin + 1)};
}

/// Widens the span of which a unit takes more room, until a unit is as long on both.
void MakeEqual(AxisSpan& x, AxisSpan& y, const FrameRectangle& frame) {
    const double perX = (x.high - x.low) / (frame.right - frame.left);
    const double perY = (y.high - y.low) / (frame.bottom - frame.top);
    AxisSpan& narrow = perX < perY ? x : y;
    const double missing = (std::max(perX, perY) / std::min(perX, perY) - 1) * (narrow.high - narrow.low) / 2;
    narrow.low -= missing;
    narrow.high += missing;
}

void Label(PictureAxes& axes, DevicePoint point, const std::string& text, Colour colour) {
    constexpr double aside = 7;
    const DevicePoint at = axes.At(point.x, point.y);
    axes.Text({at.x + aside, at.y - aside}, text, TextAlignment::bottomLeft, colour);
}

/// Where the name of a harmonic stands clear of its circle: at its upper right; at the point where the circle
/// may be larger than the picture.
DevicePoint NamePoint(const PictureAxes& axes, const PictureHarmonic& harmonic) {
    const auto reach = [&](const DevicePoint& point) {
        const DevicePoint at = axes.At(point.x, point.y);
        return at.x - at.y;
    };
    DevicePoint name = harmonic.point;
    if (harmonic.used)
        for (const DevicePoint& point : harmonic.circle)
            if (reach(point) > reach(name))
                name = point;
    return name;
}

/// A point with its range upright; an arrow where the range has no end.
void UprightRange(PictureAxes& axes, double x, const ValueWithRange& value, const PictureHarmonic& harmonic) {
    constexpr double cap = 4;
    const Colour colour = ColourOf(harmonic);
    const double middle = axes.At(x, value.value).x;
    const auto end = [&](const std::optional<double>& limit, bool up) {
        const double edge = up ? axes.Frame().top : axes.Frame().bottom;
        const double at =
            limit ? std::clamp(axes.At(x, *limit).y, axes.Frame().top, axes.Frame().bottom) : edge;
        const double from = axes.At(x, value.value).y;
        axes.Fill({middle - 1, std::min(at, from), middle + 1, std::max(at, from)}, colour);
        if (limit)
            axes.Fill({middle - cap, at - 1, middle + cap, at + 1}, colour);
        else
            axes.Arrow({middle, at}, up ? 2 : -2, colour);
    };
    if (!harmonic.circle.empty()) {
        end(value.lower, false);
        end(value.upper, true);
    }
    axes.Mark({x, value.value}, colour);
}

void IncludeRange(AxisSpan& span, const ValueWithRange& value, bool withRange) {
    span.Include(value.value);
    if (withRange && value.lower)
        span.Include(*value.lower);
    if (withRange && value.upper)
        span.Include(*value.upper);
}

/// Amplitude or lag over the period.
struct OverPeriod {
    const char* caption;
    ValueWithRange PictureHarmonic::*value;
    const std::vector<double>& model;
};

void DrawOverPeriod(DrawingSurface& surface, const FrameRectangle& frame, const ImpedancePicture& picture,
                    const OverPeriod& what, const std::string& title) {
    AxisSpan x, y;
    x.logarithmic = true;
    for (const double period : picture.periods)
        x.Include(period);
    for (const double value : what.model)
        y.Include(value);
    for (const PictureHarmonic& harmonic : picture.harmonics) {
        x.Include(harmonic.period);
        IncludeRange(y, harmonic.*what.value, harmonic.used);
    }
    x.Widen(room / 2);
    y.Widen(room);
    PictureAxes axes(surface, frame, x, y);
    axes.Draw(title, "Period (s)", what.caption);
    for (std::size_t i = 1; i < what.model.size(); ++i)
        axes.Line({picture.periods[i - 1], what.model[i - 1]}, {picture.periods[i], what.model[i]},
                  modelLine);
    for (const PictureHarmonic& harmonic : picture.harmonics) {
        UprightRange(axes, harmonic.period, harmonic.*what.value, harmonic);
        Label(axes, {harmonic.period, (harmonic.*what.value).value}, NameOf(harmonic), ColourOf(harmonic));
    }
}

// --- Profile ---

struct ProfileColumn {
    const char* caption;
    ValueWithRange ProfileBar::*value;
    bool logarithmic;
    std::string title;
};

AxisSpan DepthSpan(const ProfilePicture& picture) {
    AxisSpan depth;
    for (const ProfileBar& bar : picture.bars) {
        depth.Include(bar.top);
        depth.Include(bar.bottom);
    }
    depth.Widen(0.02);
    return depth;
}

AxisSpan ValueSpan(const ProfilePicture& picture, const ProfileColumn& column) {
    AxisSpan span;
    span.logarithmic = column.logarithmic;
    for (const ProfileBar& bar : picture.bars) {
        if (bar.solved)
            span.Include((bar.*column.value).value);
        if ((bar.*column.value).lower)
            span.Include(*(bar.*column.value).lower);
        if ((bar.*column.value).upper)
            span.Include(*(bar.*column.value).upper);
    }
    if (!column.logarithmic)
        span.Include(0.0);
    if (column.logarithmic)
        span.WidenToTicks(true);
    else
        span.Widen(room);
    return span;
}

/// The range as a line with caps, arrows for ends at infinity.
void DrawBarRange(PictureAxes& axes, double middle, const ValueWithRange& value) {
    constexpr double cap = 6;
    const FrameRectangle& frame = axes.Frame();
    if (!value.lower && !value.upper)
        return;
    const auto place = [&](const std::optional<double>& limit, double open) {
        return limit ? std::clamp(axes.At(*limit, 0).x, frame.left, frame.right) : open;
    };
    const double from = place(value.lower, frame.left), to = place(value.upper, frame.right);
    axes.Fill({from, middle - 1, std::max(to, from + 2), middle + 1}, black);
    if (value.lower)
        axes.Fill({from - 1, middle - cap, from + 1, middle + cap}, black);
    else
        axes.Arrow({from, middle}, -1, black);
    if (value.upper)
        axes.Fill({to - 1, middle - cap, to + 1, middle + cap}, black);
    else
        axes.Arrow({to, middle}, 1, black);
}

/// Beside the middle of each bar: inside where the text fits, else behind its end and range. A bar that is
/// lower than its lines has the first of them, or none.
void LabelBars(DrawingSurface& surface, PictureAxes& axes, const ProfilePicture& picture) {
    constexpr double lineHeight = 15, aside = 8;
    const FrameRectangle& frame = axes.Frame();
    for (const ProfileBar& bar : picture.bars) {
        const double top = axes.At(0, bar.top).y, bottom = axes.At(0, bar.bottom).y;
        const auto count = std::min(bar.lines.size(), static_cast<std::size_t>((bottom - top) / lineHeight));
        double width = 0;
        for (std::size_t i = 0; i < count; ++i)
            width = std::max(width, surface.TextWidth(bar.lines[i]));
        const ValueWithRange& k = bar.permeability;
        const double start = bar.solved ? axes.At(k.lower.value_or(k.value), 0).x : frame.left;
        double left = frame.left + aside;
        if (left + width + aside > start) {
            const double end = k.upper.value_or(k.lower.value_or(k.value));
            left = std::min(std::max(left, axes.At(end, 0).x + aside), frame.right - width - aside);
        }
        double baseline = (top + bottom) / 2 - lineHeight * (static_cast<double>(count) / 2 - 1) - 2;
        for (std::size_t i = 0; i < count; ++i, baseline += lineHeight)
            axes.Text({left, baseline}, bar.lines[i], TextAlignment::bottomLeft);
    }
}

void DrawColumn(DrawingSurface& surface, const FrameRectangle& frame, const ProfilePicture& picture,
                const ProfileColumn& column, bool labelled) {
    const AxisSpan values = ValueSpan(picture, column);
    PictureAxes axes(surface, frame, values, DepthSpan(picture), true);
    axes.Draw(column.title, column.caption, "Depth (ft)");
    surface.SetSmooth(false);
    const double zero = column.logarithmic ? frame.left : axes.At(0, 0).x;
    for (const ProfileBar& bar : picture.bars) {
        const double top = axes.At(0, bar.top).y + 1, bottom = axes.At(0, bar.bottom).y - 1;
        const ValueWithRange& value = bar.*column.value;
        if (bar.solved) {
            const double end = std::clamp(axes.At(value.value, 0).x, frame.left, frame.right);
            axes.Fill({std::min(zero, end), top, std::max(zero, end), bottom}, barOrange);
            axes.Fill({end - 1, top, end + 1, bottom}, black);
        }
        DrawBarRange(axes, (top + bottom) / 2, value);
    }
    if (labelled)
        LabelBars(surface, axes, picture);
}

}  // namespace

void DrawImpedance(DrawingSurface& surface, const ImpedancePicture& picture) {
    const FrameRectangle frame = WholeFrame(surface.Size());
    AxisSpan x, y;
    const auto include = [&](const DevicePoint& point) {
        x.Include(point.x);
        y.Include(point.y);
    };
    std::for_each(picture.model.begin(), picture.model.end(), include);
    for (const PictureHarmonic& harmonic : picture.harmonics) {
        include(harmonic.point);
        // Of a harmonic that does not stand out, the circle may be larger than all the rest.
        if (harmonic.used)
            std::for_each(harmonic.circle.begin(), harmonic.circle.end(), include);
    }
    x.Widen(room);
    y.Widen(room);
    MakeEqual(x, y, frame);
    PictureAxes axes(surface, frame, x, y);
    axes.Draw("Impedance, " + picture.title, "Re Z (psi per bbl/day)", "-Im Z (psi per bbl/day)");
    for (const PictureHarmonic& harmonic : picture.harmonics)
        if (harmonic.used)
            axes.Tint(harmonic.circle, ColourOf(harmonic));
    axes.Curve(picture.model, modelLine);
    for (const PictureHarmonic& harmonic : picture.harmonics) {
        axes.Curve(harmonic.circle, {LineStyle::solid, 1, ColourOf(harmonic)});
        axes.Mark(harmonic.point, ColourOf(harmonic));
        Label(axes, NamePoint(axes, harmonic), NameOf(harmonic), ColourOf(harmonic));
    }
    axes.Text({frame.left + 6, frame.top + 20}, picture.note, TextAlignment::bottomLeft);
}

void DrawCyclePoints(DrawingSurface& surface, const CyclesPicture& picture) {
    const FrameRectangle frame = WholeFrame(surface.Size());
    AxisSpan x, y;
    const auto include = [&](const DevicePoint& point) {
        x.Include(point.x);
        y.Include(point.y);
    };
    include(picture.mean);
    std::for_each(picture.circle.begin(), picture.circle.end(), include);
    for (const PictureCycle& cycle : picture.cycles)
        include(cycle.point);
    x.Widen(room);
    y.Widen(room);
    MakeEqual(x, y, frame);
    PictureAxes axes(surface, frame, x, y);
    axes.Draw("Cycles of " + picture.title, "Re Y (bbl/day per psi)", "Im Y (bbl/day per psi)");
    axes.Tint(picture.circle, ofTheLevel);
    axes.Curve(picture.circle, {LineStyle::solid, 1, ofTheLevel});
    for (const PictureCycle& cycle : picture.cycles) {
        axes.Mark(cycle.point, ofACycle);
        if (cycle.strays)
            Label(axes, cycle.point, std::to_string(cycle.number), ofACycle);
    }
    axes.Mark(picture.mean, ofTheLevel);
    axes.Text({frame.left + 6, frame.top + 20}, picture.note, TextAlignment::bottomLeft);
}

void DrawAmplitudeAndLag(DrawingSurface& surface, const ImpedancePicture& picture) {
    const FrameRectangle whole = WholeFrame(surface.Size());
    const double half = (surface.Size().height) / 2;
    FrameRectangle upper = whole, lower = whole;
    upper.bottom = std::max(half - bottomMargin, upper.top + 1);
    lower.top = std::min(half + topMargin, lower.bottom - 1);
    DrawOverPeriod(surface, upper, picture,
                   {"|Z| (psi per bbl/day)", &PictureHarmonic::amplitude, picture.modelAmplitude},
                   "Amplitude and lag over the period, " + picture.title + "   " + picture.note);
    DrawOverPeriod(surface, lower, picture, {"Lag (degrees)", &PictureHarmonic::lag, picture.modelLag}, "");
}

void DrawProfile(DrawingSurface& surface, const ProfilePicture& picture) {
    const FrameRectangle whole = WholeFrame(surface.Size());
    const double parting = whole.left + (whole.right - whole.left) * 0.55;
    FrameRectangle left = whole, right = whole;
    left.right = std::max(parting - rightMargin, left.left + 1);
    right.left = std::min(parting + leftMargin, right.right - 1);
    DrawColumn(surface, left, picture,
               {"Permeability (mD)", &ProfileBar::permeability, true, "Profile " + picture.title}, true);
    DrawColumn(surface, right, picture, {"Skin", &ProfileBar::skin, false, ""}, false);
}

}  // namespace vorela
