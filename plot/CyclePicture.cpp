#include "plot/CyclePicture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "general/NumberText.h"
#include "plot/DrawingTools.h"
#include "plot/PictureAxes.h"
#include "plot/PlotReadout.h"

namespace vorela {
namespace {

constexpr int textHeight = 15;  // device units
constexpr double gap = 4;
constexpr double dot = 2.5;   // half a sample's mark
constexpr double ring = 6.5;  // half the mark of the selected cycle
constexpr double axisRoom = 0.04;
constexpr Colour white{255, 255, 255};
constexpr Colour black{0, 0, 0};
constexpr Colour band{228, 236, 248};
constexpr Colour mark{200, 110, 0};
constexpr Colour greyBand{230, 230, 230};
constexpr Colour footerText{96, 96, 96};
constexpr std::array<PlotPen, 7> levelPens{
    PlotPen::pressure, PlotPen::flow, PlotPen::black, PlotPen::filteredPressure,
    PlotPen::green,    PlotPen::cyan, PlotPen::valve};

/// Widens a range so that marks at its ends are seen whole, and to `leastHalf` at least on either side of its
/// middle: what differs by less is rounding, not scatter.
void Settle(CyclePanel& panel, double lowest, double highest, double leastHalf) {
    const double middle = (lowest + highest) / 2;
    lowest = std::min(lowest, middle - leastHalf);
    highest = std::max(highest, middle + leastHalf);
    const double margin = axisRoom * 2 * (highest - lowest);
    panel.lowest = lowest - margin;
    panel.highest = highest + margin;
}

/// A picture of panels while it is drawn.
class Panels {
  public:
    Panels(DrawingSurface& surface, const CyclePictureStyle& style)
        : surface_(surface),
          tools_(surface, style.monochrome),
          monochrome_(style.monochrome),
          size_(surface.Size()) {
        FontDescription description;
        description.height = textHeight;
        font_ = surface.CreateFont(description);
        surface.SelectObject(font_);
        Foot(style.footer);
    }
    ~Panels() {
        surface_.SelectObject(surface_.GetStockObject(StockObject::systemFont));
        surface_.DeleteObject(font_);
    }
    Panels(const Panels&) = delete;
    Panels& operator=(const Panels&) = delete;

    /// Above the footer.
    PictureSize Size() const { return size_; }
    Colour Tint(Colour colour) const { return !monochrome_ ? colour : colour == band ? greyBand : black; }
    /// Width kept free for the values at the left of a panel.
    double LabelRoom() { return Width("-00000.00000"); }
    double Width(const std::string& text) { return surface_.TextWidth(text); }
    /// Left out where it is cut or meets another.
    bool Write(TextRole role, TextAlignment alignment, DevicePoint at, const std::string& text) {
        const double width = Width(text);
        double left = at.x;
        if (alignment == TextAlignment::bottomCentre)
            left -= width / 2;
        else if (alignment == TextAlignment::bottomRight)
            left -= width;
        const double top = alignment == TextAlignment::topLeft ? at.y : at.y - textHeight;
        const DeviceBox box{left, top, left + width, top + textHeight};
        const PictureSize size = surface_.Size();
        if (text.empty() || box.left < 0 || box.top < 0 || box.right > size.width ||
            box.bottom > size.height || std::ranges::any_of(drawing_.texts, [&](const PlacedText& other) {
                return other.box.Meets(box);
            }))
            return false;
        surface_.SetTextColour(role == TextRole::footer ? Tint(footerText) : black);
        surface_.SetTextAlign(alignment);
        surface_.TextOut(at, text);
        drawing_.texts.push_back({role, text, alignment, at, box});
        return true;
    }
    /// The longest of the texts that has room.
    void WriteFirst(TextRole role, DevicePoint at, double room, const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            if (Width(text) <= room && Write(role, TextAlignment::topLeft, at, text))
                return;
    }
    void Line(PlotPen pen, DevicePoint from, DevicePoint to) {
        tools_.Select(pen);
        surface_.MoveTo(from);
        surface_.LineTo(to);
    }
    void Frame(const CyclePanel& panel) {
        const DeviceBox& box = panel.area;
        tools_.Select(PlotPen::frame);
        const std::array<DevicePoint, 5> corners{{{box.left, box.top},
                                                  {box.right, box.top},
                                                  {box.right, box.bottom},
                                                  {box.left, box.bottom},
                                                  {box.left, box.top}}};
        surface_.Polyline(corners);
    }
    void Square(DevicePoint at, double half, Colour colour) {
        surface_.Fill({at.x - half, at.y - half, at.x + half, at.y + half}, colour);
    }
    /// Round values at the left of a panel, as many as stand apart.
    void ValueAxis(const CyclePanel& panel) {
        const AxisSpan span{panel.lowest, panel.highest};
        std::vector<double> values = span.Ticks();
        if (values.size() > 1) {
            const double step = values[1] - values[0];
            const double pitch = panel.Y(values[0]) - panel.Y(values[1]);
            const double every = std::max(std::ceil(1.5 * textHeight / pitch), 1.0);
            std::erase_if(values, [&](double value) {
                return std::abs(std::remainder(std::round(value / step), every)) > 0.5;
            });
        }
        const std::vector<std::string> texts = span.TickTexts(values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double y = std::floor(panel.Y(values[i]));
            Line(PlotPen::grid, {panel.area.left, y}, {panel.area.right, y});
            if (Width(texts[i]) <= LabelRoom())
                Write(TextRole::axisValue, TextAlignment::bottomRight,
                      {panel.area.left - gap, std::floor(y + textHeight / 2.0)}, texts[i]);
        }
    }
    DrawingSurface& Surface() { return surface_; }
    CycleDrawing Take() { return std::move(drawing_); }
    std::vector<CyclePanel>& List() { return drawing_.panels; }

  private:
    void Foot(const std::vector<std::string>& items) {
        const double left = 2 * gap;
        const std::vector<std::string> lines = FooterLines(
            items, size_.width - 2 * left, [this](const std::string& text) { return Width(text); });
        const double height = static_cast<double>(lines.size()) * textHeight + gap;
        if (lines.empty() || size_.height < 2 * height)
            return;
        size_.height -= height;
        for (std::size_t i = 0; i < lines.size(); ++i)
            Write(TextRole::footer, TextAlignment::topLeft,
                  {left, size_.height + static_cast<double>(i) * textHeight}, lines[i]);
    }

    DrawingSurface& surface_;
    DrawingTools tools_;
    bool monochrome_;
    PictureSize size_;
    DrawingObject font_ = 0;
    CycleDrawing drawing_;
};

/// Half the narrowest range that a series is shown in.
double LeastHalf(const CycleSeries& series) {
    constexpr double degrees = 0.002, share = 5e-5;
    return series.unit == "degrees" ? degrees : std::max(share * std::abs(series.mean), 1e-9);
}

std::string WithUnit(const std::string& name, const std::string& unit) {
    return unit.empty() ? name : name + " (" + unit + ")";
}

/// "mean 5.8975 ± 0.0012, drift +0.00003 a cycle (within scatter)", with the digits that the scatter leaves
/// meaning to, the longest first; a spread below those digits is no figure.
std::vector<std::string> Captions(const CycleSeries& series) {
    const std::string name = WithUnit(series.name, series.unit);
    if (series.count == 0)
        return {name};
    const double fine = std::max(series.scatter, LeastHalf(series));
    const int decimals = std::clamp(1 - static_cast<int>(std::floor(std::log10(fine))), 0, 12);
    const auto isNought = [](double value, int places) {
        return 2 * std::abs(value) < std::pow(10.0, -places);
    };
    const std::string mean = FixedText(series.mean, decimals);
    const bool scattered = series.count > 2 && !isNought(series.scatter, decimals);
    const bool drifts = series.count > 1 && !isNought(series.drift, decimals + 1);
    if (series.count > 1 && !scattered && !drifts)
        return {name + "  " + mean + " in every cycle", name};
    const std::string middle =
        name + "  mean " + mean + (scattered ? " \u00B1 " + FixedText(series.scatter, decimals) : "");
    if (!drifts)
        return {middle + (series.count > 1 ? ", no drift" : ""), middle, name};
    const std::string drift = middle + ", drift " + (series.drift > 0 ? "+" : "") +
                              FixedText(series.drift, decimals + 1) + " a cycle";
    const bool beyond = std::abs(series.drift) > 2 * series.driftError;
    return {drift + (beyond ? " (more than scatter)" : " (within scatter)"), drift, middle, name};
}

CyclePanel PanelFor(const CycleSeries& series, const DeviceBox& area) {
    CyclePanel panel;
    panel.area = area;
    panel.firstX = 0.5;
    panel.lastX = static_cast<double>(std::max<std::size_t>(series.values.size(), 1)) + 0.5;
    double lowest = series.mean - series.scatter, highest = series.mean + series.scatter;
    for (const std::optional<double>& value : series.values) {
        lowest = std::min(lowest, value.value_or(lowest));
        highest = std::max(highest, value.value_or(highest));
    }
    Settle(panel, lowest, highest, LeastHalf(series));
    return panel;
}

/// A scatter's width about the trend, in steps no higher than a pixel.
void DrawBand(Panels& panels, const CyclePanel& panel, const CycleSeries& series) {
    const double rise = panel.Y(series.Trend(panel.firstX)) - panel.Y(series.Trend(panel.lastX));
    const double steps = std::clamp(std::ceil(std::abs(rise)), 1.0, std::max(panel.Width(), 1.0));
    const double width = (panel.lastX - panel.firstX) / steps;
    const auto inside = [&](double y) { return std::clamp(y, panel.area.top, panel.area.bottom); };
    for (double step = 0; step < steps; ++step) {
        const double from = panel.firstX + step * width;
        const double middle = series.Trend(from + width / 2);
        panels.Surface().Fill({panel.X(from), inside(panel.Y(middle + series.scatter)), panel.X(from + width),
                               inside(panel.Y(middle - series.scatter))},
                              panels.Tint(band));
    }
}

void DrawSeries(Panels& panels, const CyclePanel& panel, const CycleSeries& series, int selected) {
    const auto last = static_cast<double>(series.values.size());
    if (series.count > 2)
        DrawBand(panels, panel, series);
    panels.ValueAxis(panel);
    panels.Surface().SetSmooth(true);
    if (series.count > 1)
        panels.Line(PlotPen::valve, {panel.X(1), panel.Y(series.Trend(1))},
                    {panel.X(last), panel.Y(series.Trend(last))});
    std::optional<DevicePoint> before;
    for (std::size_t i = 0; i < series.values.size(); ++i) {
        if (!series.values[i]) {
            before.reset();
            continue;
        }
        const DevicePoint at{panel.X(static_cast<double>(i + 1)), panel.Y(*series.values[i])};
        if (before)
            panels.Line(PlotPen::black, *before, at);
        before = at;
    }
    panels.Surface().SetSmooth(false);
    const bool dense = panel.Width() < 4 * dot * last;
    for (std::size_t i = 0; i < series.values.size(); ++i) {
        if (!series.values[i])
            continue;
        const DevicePoint at{panel.X(static_cast<double>(i + 1)), panel.Y(*series.values[i])};
        const bool chosen = static_cast<int>(i) + 1 == selected;
        if (chosen) {
            panels.Square(at, ring, panels.Tint(mark));
            panels.Square(at, ring - 2, white);
        }
        if (chosen || !dense)
            panels.Square(at, dot, black);
    }
    panels.Frame(panel);
}

/// Numbers of cycles under a panel, thinned as they need.
void CycleAxis(Panels& panels, const CyclePanel& panel, std::size_t cycles) {
    const double needed = panels.Width(std::to_string(cycles)) + 4 * gap;
    std::size_t every = 1;
    for (const std::size_t step : {2U, 5U, 10U, 20U, 50U, 100U, 200U, 500U, 1000U, 2000U, 5000U, 10000U})
        if (static_cast<double>(every) * panel.Width() / static_cast<double>(cycles) < needed)
            every = step;
    for (std::size_t cycle = every; cycle <= cycles; cycle += every)
        panels.Write(TextRole::cycleNumber, TextAlignment::bottomCentre,
                     {panel.X(static_cast<double>(cycle)), panel.area.bottom + gap + textHeight},
                     std::to_string(cycle));
}

/// Rows of panels that a height has room for, each with its caption above it.
std::size_t RowsIn(double height) {
    constexpr double least = 2 * textHeight + 4 * gap + 1.5 * textHeight;
    return static_cast<std::size_t>(std::max(height / least, 0.0));
}

}  // namespace

CycleDrawing DrawCycleSeries(DrawingSurface& surface, const std::string& level,
                             const std::array<CycleSeries, cycleSeriesCount>& series, int selectedCycle,
                             const CyclePictureStyle& style) {
    Panels panels(surface, style);
    const PictureSize size = panels.Size();
    const std::size_t cycles = series[0].values.size();
    if (cycles == 0) {
        panels.Write(TextRole::title, TextAlignment::topLeft, {gap * 2, gap * 2},
                     level + ": no cycles were measured yet");
        return panels.Take();
    }
    std::string title = "Cycles of " + level + ", 1 to " + std::to_string(cycles);
    title += selectedCycle > 0 ? ", selected: " + std::to_string(selectedCycle) : ", selected: the window";
    const double top = 2 * gap + textHeight, bottom = size.height - 3 * gap - 2 * textHeight;
    constexpr std::size_t rows = cycleSeriesCount / 2;
    // Where not all have room, what the results are made of goes before what it is made of.
    const std::size_t skipped = rows - std::clamp<std::size_t>(RowsIn(bottom - top), 1, rows);
    const double pitch = (bottom - top) / static_cast<double>(rows - skipped);
    if (skipped > 0)
        title += " (more panels in a higher window)";
    panels.Write(TextRole::title, TextAlignment::topLeft, {gap * 2, gap}, title);
    for (std::size_t i = 0; i < cycleSeriesCount; ++i) {
        if (i % rows < skipped)
            continue;
        const double half = i < rows ? 0 : size.width / 2;
        const double labels = panels.LabelRoom();
        const double panelTop = top + pitch * static_cast<double>(i % rows - skipped) + textHeight + gap;
        const DeviceBox area{half + labels + 3 * gap, panelTop, half + size.width / 2 - 3 * gap,
                             panelTop + pitch - textHeight - 3 * gap};
        if (area.bottom - area.top < textHeight || area.right - area.left < 4 * textHeight)
            continue;
        const CyclePanel panel = PanelFor(series[i], area);
        panels.WriteFirst(TextRole::axisLabel, {area.left, panelTop - textHeight - gap / 2},
                          area.right - area.left, Captions(series[i]));
        DrawSeries(panels, panel, series[i], selectedCycle);
        panels.List().push_back(panel);
        if (i % rows + 1 != rows)
            continue;
        CycleAxis(panels, panel, cycles);
        panels.Write(TextRole::timeLabel, TextAlignment::bottomCentre,
                     {(area.left + area.right) / 2, size.height - gap}, "Cycle (click: use it)");
    }
    return panels.Take();
}

CycleDrawing DrawStackedCycles(DrawingSurface& surface, const std::vector<StackedLevel>& levels,
                               const CyclePictureStyle& style) {
    Panels panels(surface, style);
    const PictureSize size = panels.Size();
    if (levels.empty()) {
        panels.Write(TextRole::title, TextAlignment::topLeft, {gap * 2, gap * 2},
                     "No cycles were measured yet");
        return panels.Take();
    }
    double x = gap * 2;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        std::string name = levels[i].name + ", " + std::to_string(levels[i].cycles) + " of " +
                           std::to_string(levels[i].of) + " cycles";
        if (!panels.Write(TextRole::legend, TextAlignment::topLeft, {x + legendLine + gap, gap}, name))
            break;
        panels.Line(levelPens[i % levelPens.size()], {x, gap + textHeight / 2.0},
                    {x + legendLine, gap + textHeight / 2.0});
        x += legendLine + panels.Width(name) + 5 * gap;
    }
    const double top = 2 * gap + textHeight, bottom = size.height - 3 * gap - 2 * textHeight;
    for (const bool pressure : {true, false}) {
        const double panelTop = top + (pressure ? 0 : (bottom - top) / 2) + textHeight + gap;
        CyclePanel panel;
        panel.area = {panels.LabelRoom() + 3 * gap, panelTop, size.width - 3 * gap,
                      panelTop + (bottom - top) / 2 - textHeight - 3 * gap};
        if (panel.area.bottom - panel.area.top < textHeight || panel.Width() < 4 * textHeight)
            continue;
        panel.firstX = 0;
        panel.lastX = 360;
        double lowest = 0, highest = 0;
        for (const StackedLevel& level : levels)
            for (const std::optional<double>& value : pressure ? level.pressure : level.flow) {
                lowest = std::min(lowest, value.value_or(0));
                highest = std::max(highest, value.value_or(0));
            }
        Settle(panel, lowest, highest, 1e-6);
        panels.Write(TextRole::axisLabel, TextAlignment::topLeft,
                     {panel.area.left, panelTop - textHeight - gap / 2},
                     WithUnit(pressure ? "Pressure less its mean" : "Flow less its mean",
                              pressure ? levels[0].pressureUnit : levels[0].flowUnit));
        panels.ValueAxis(panel);
        for (const double phase : {90.0, 180.0, 270.0})
            panels.Line(PlotPen::grid, {std::floor(panel.X(phase)), panel.area.top},
                        {std::floor(panel.X(phase)), panel.area.bottom});
        surface.SetSmooth(true);
        for (std::size_t i = 0; i < levels.size(); ++i) {
            const auto& values = pressure ? levels[i].pressure : levels[i].flow;
            std::optional<DevicePoint> before;
            for (std::size_t k = 0; k < values.size(); ++k) {
                if (!values[k]) {
                    before.reset();
                    continue;
                }
                const DevicePoint at{panel.X(360.0 * static_cast<double>(k) / stackedSteps),
                                     panel.Y(*values[k])};
                if (before)
                    panels.Line(levelPens[i % levelPens.size()], *before, at);
                before = at;
            }
        }
        surface.SetSmooth(false);
        panels.Frame(panel);
        panels.List().push_back(panel);
        if (pressure)
            continue;
        for (const double phase : {0.0, 90.0, 180.0, 270.0, 360.0})
            panels.Write(TextRole::timeValue, TextAlignment::bottomCentre,
                         {panel.X(phase), panel.area.bottom + gap + textHeight}, FormatNumber(phase));
        panels.Write(TextRole::timeLabel, TextAlignment::bottomCentre,
                     {(panel.area.left + panel.area.right) / 2, size.height - gap},
                     "Phase of the valve (degrees; 0: the boundary that begins a cycle)");
    }
    return panels.Take();
}

std::optional<int> CycleAt(const CycleDrawing& drawing, const CycleSeries& series, DevicePoint point) {
    for (const CyclePanel& panel : drawing.panels) {
        if (!panel.area.Contains(point))
            continue;
        const double share = (point.x - panel.area.left) / panel.Width();
        const int cycle = static_cast<int>(std::lround(panel.firstX + share * (panel.lastX - panel.firstX)));
        if (cycle >= 1 && cycle <= static_cast<int>(series.values.size()))
            return cycle;
    }
    return std::nullopt;
}

}  // namespace vorela
