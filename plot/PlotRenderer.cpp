#include "plot/PlotRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr int frameOverhang = 2;  // device units beyond the plot area at right and bottom
constexpr int cellOverhang = 1;
constexpr double legendLine = 20;  // length of a legend key, device units

PlotPen PenOf(Quantity quantity) {
    switch (quantity) {
        case Quantity::pressure:
            return PlotPen::pressure;
        case Quantity::flow:
            return PlotPen::flow;
        case Quantity::valve:
            return PlotPen::valve;
        case Quantity::filteredPressure:
            return PlotPen::filteredPressure;
        case Quantity::filteredFlow:
            break;
    }
    return PlotPen::filteredFlow;
}

std::optional<Quantity> QuantityOfCode(std::int16_t code) {
    if (code < 0 || code >= static_cast<std::int16_t>(quantityCount))
        return std::nullopt;
    return static_cast<Quantity>(code);
}

const PlottedCurve* FindCurve(const PlotInformation& information, Quantity quantity) {
    for (const DatasetPlot& dataset : information.datasets)
        if (const PlottedCurve* curve = dataset.Find(quantity))
            return curve;
    return nullptr;
}

void Rectangle(DrawingSurface& surface, double left, double top, double right, double bottom) {
    const std::array<DevicePoint, 5> corners{
        {{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}}};
    surface.Polyline(corners);
}

void Line(DrawingSurface& surface, DevicePoint from, DevicePoint to) {
    surface.MoveTo(from);
    surface.LineTo(to);
}

void Text(DrawingSurface& surface, TextAlignment alignment, DevicePoint point, const std::string& text) {
    surface.SetTextAlign(alignment);
    surface.TextOut(point, text);
}

/// One plot while it is drawn.
struct Cell {
    DrawingSurface& surface;
    const PlotInformation& information;
    const PlotFormatOptions& format;
    const PlotLayout& layout;
    const PlotCell& area;
    const PlotContents& contents;

    int Horizontal() const { return DrawnGridlines(format.horizontal); }
    int Vertical() const { return DrawnGridlines(format.vertical); }
    double GridlineY(int i) const { return i == Horizontal() ? area.bottom : area.top + i * area.rowSpacing; }
    double GridlineX(int i) const {
        return i == Vertical() ? area.right : area.left + i * area.columnSpacing;
    }
    /// The value that a gridline stands for: exact parts of the range, which the rounded place of the line is
    /// nearest to.
    std::string ValueText(Quantity quantity, int i) const {
        const AxisRange& axis = information.axes[IndexOf(quantity)];
        return FormatNumber(axis.maximum - (axis.maximum - axis.minimum) * i / Horizontal());
    }
    std::string TimeText(int i) const {
        const TimeSpan& span = information.span;
        const double time = span.start + (static_cast<double>(span.end) - span.start) * i / Vertical();
        return FormatNumber(SecondsOf(time - information.elapsedOrigin));
    }
    double TopTextWidth(const std::optional<Quantity>& quantity) const {
        return quantity ? surface.TextWidth(ValueText(*quantity, 0)) + 2 * layout.gap : 0;
    }
};

/// Values of a vertical axis stand inside the plot area on their gridlines; the topmost hangs below its line.
/// Those that would overlap are left out, the ends last.
void WriteValueAxis(const Cell& cell, Quantity quantity, TextAlignment alignment, double x) {
    const int last = cell.Horizontal();
    const int height = cell.layout.fontHeight;
    const int gap = cell.layout.gap;
    const double firstBottom = cell.area.top + gap + height;
    const double lastTop = cell.area.bottom - gap - height;
    Text(cell.surface, alignment, {x, firstBottom}, cell.ValueText(quantity, 0));
    double occupied = firstBottom;
    for (int i = 1; i < last; ++i) {
        const double bottom = cell.GridlineY(i) - gap;
        if (bottom - height < occupied || bottom > lastTop)
            continue;
        Text(cell.surface, alignment, {x, bottom}, cell.ValueText(quantity, i));
        occupied = bottom;
    }
    if (lastTop >= firstBottom)
        Text(cell.surface, alignment, {x, static_cast<double>(cell.area.bottom - gap)},
             cell.ValueText(quantity, last));
}

/// Free stretch of the time axis between two of its values.
struct Stretch {
    double from = 0;
    double to = 0;
};

/// Values of the time axis stand under their gridlines, at its ends inside the plot's width; those that would
/// overlap are left out. Returns the stretches between the texts.
std::vector<Stretch> WriteTimeAxis(const Cell& cell) {
    DrawingSurface& surface = cell.surface;
    const double y = cell.area.bottom + cell.layout.fontHeight;
    const int last = cell.Vertical();
    const double gap = 2.0 * cell.layout.gap;
    const std::string firstText = cell.TimeText(0);
    const std::string lastText = cell.TimeText(last);
    double occupied = cell.area.left + surface.TextWidth(firstText);
    const double lastLeft = cell.area.right - surface.TextWidth(lastText);
    Text(surface, TextAlignment::bottomLeft, {static_cast<double>(cell.area.left), y}, firstText);
    std::vector<Stretch> free;
    for (int i = 1; i < last; ++i) {
        const std::string text = cell.TimeText(i);
        const double half = surface.TextWidth(text) / 2;
        const double x = cell.GridlineX(i);
        if (x - half < occupied + gap || x + half > lastLeft - gap)
            continue;
        free.push_back({occupied + gap, x - half - gap});
        Text(surface, TextAlignment::bottomCentre, {x, y}, text);
        occupied = x + half;
    }
    free.push_back({occupied + gap, lastLeft - gap});
    if (lastLeft >= occupied + gap)
        Text(surface, TextAlignment::bottomRight, {static_cast<double>(cell.area.right), y}, lastText);
    return free;
}

void WriteTimeLabel(const Cell& cell, const std::vector<Stretch>& free) {
    const std::string label = "Time (seconds)";
    const double width = cell.surface.TextWidth(label);
    for (auto stretch = free.rbegin(); stretch != free.rend(); ++stretch) {
        if (stretch->to - stretch->from < width)
            continue;
        Text(cell.surface, TextAlignment::bottomCentre,
             {(stretch->from + stretch->to) / 2,
              static_cast<double>(cell.area.bottom + cell.layout.fontHeight)},
             label);
        return;
    }
    Text(cell.surface, TextAlignment::bottomCentre,
         {(cell.area.left + cell.area.right) / 2.0, static_cast<double>(cell.area.bottom - cell.layout.gap)},
         label);
}

void WriteAxesValues(const Cell& cell) {
    const int gap = cell.layout.gap;
    if (cell.contents.leftAxis)
        WriteValueAxis(cell, *cell.contents.leftAxis, TextAlignment::bottomLeft, cell.area.left + gap);
    if (cell.contents.rightAxis)
        WriteValueAxis(cell, *cell.contents.rightAxis, TextAlignment::bottomRight, cell.area.right - gap);
    WriteTimeLabel(cell, WriteTimeAxis(cell));
}

/// The labels of the value axes stand beside their topmost values.
void WriteAxisLabels(const Cell& cell) {
    const double bottom = cell.area.top + cell.layout.gap + cell.layout.fontHeight;
    if (const auto quantity = cell.contents.leftAxis)
        Text(cell.surface, TextAlignment::bottomLeft,
             {cell.area.left + 2 * cell.layout.gap + cell.TopTextWidth(quantity), bottom},
             AxisLabel(cell.information, *quantity));
    if (const auto quantity = cell.contents.rightAxis)
        Text(cell.surface, TextAlignment::bottomRight,
             {cell.area.right - 2 * cell.layout.gap - cell.TopTextWidth(quantity), bottom},
             AxisLabel(cell.information, *quantity));
}

double LabelEnd(const Cell& cell) {
    double x = cell.area.left + 2.0 * cell.layout.gap;
    if (const auto quantity = cell.contents.leftAxis)
        x += cell.TopTextWidth(quantity) + cell.surface.TextWidth(AxisLabel(cell.information, *quantity));
    return x;
}

double LabelStart(const Cell& cell) {
    double x = cell.area.right - 2.0 * cell.layout.gap;
    if (const auto quantity = cell.contents.rightAxis)
        x -= cell.TopTextWidth(quantity) + cell.surface.TextWidth(AxisLabel(cell.information, *quantity));
    return x;
}

double TitleStart(const Cell& cell) {
    return (cell.area.left + cell.area.right - cell.surface.TextWidth(cell.contents.title)) / 2.0;
}

/// Whether the title has room between the labels in the top row.
bool TitleFits(const Cell& cell) {
    const double gap = 4.0 * cell.layout.gap;
    const double end = TitleStart(cell) + cell.surface.TextWidth(cell.contents.title);
    return TitleStart(cell) >= LabelEnd(cell) + gap && end <= LabelStart(cell) - gap;
}

/// The title stands in the middle of the top row, or where that is too narrow in the row below it.
void WriteTitle(const Cell& cell) {
    const double row = TitleFits(cell) ? 0 : cell.layout.fontHeight + cell.layout.gap;
    Text(cell.surface, TextAlignment::topLeft,
         {std::max<double>(TitleStart(cell), cell.area.left + cell.layout.gap),
          cell.area.top + cell.layout.gap + row},
         cell.contents.title);
}

void DrawCurves(const Cell& cell, DrawingTools& tools) {
    for (const DatasetPlot& dataset : cell.information.datasets) {
        for (const Quantity quantity : cell.contents.curves) {
            const PlottedCurve* curve = dataset.Find(quantity);
            if (curve == nullptr)
                continue;
            const PlotScale scale(cell.area, cell.information.span, cell.information.axes[IndexOf(quantity)]);
            tools.Select(PenOf(quantity));
            cell.surface.SetSmooth(!curve->values.dense);
            Attempt("Clipping Y Values", [&] {
                if (quantity == Quantity::valve)
                    DrawValveCurve(cell.surface, curve->values, scale, cell.area);
                else
                    DrawCurve(cell.surface, curve->values, scale, cell.area);
            });
        }
    }
    cell.surface.SetSmooth(false);
}

/// A key for each curve drawn, from the right in the first row below the title's, beside the axis values.
void DrawLegend(const Cell& cell, DrawingTools& tools) {
    const double gap = cell.layout.gap;
    const int row = TitleFits(cell) ? 2 : 3;
    const double bottom = cell.area.top + row * (gap + cell.layout.fontHeight);
    double x = cell.area.right - 2 * gap - cell.TopTextWidth(cell.contents.rightAxis);
    for (auto quantity = cell.contents.curves.rbegin(); quantity != cell.contents.curves.rend(); ++quantity) {
        const PlottedCurve* curve = FindCurve(cell.information, *quantity);
        if (curve == nullptr)
            continue;
        const double width = cell.surface.TextWidth(curve->name);
        if (x - width - legendLine - 4 * gap < cell.area.left)
            return;
        Text(cell.surface, TextAlignment::bottomRight, {x, bottom}, curve->name);
        x -= width + gap;
        tools.Select(PenOf(*quantity));
        const double y = std::floor(bottom - cell.layout.fontHeight / 2.0);
        Line(cell.surface, {x - legendLine, y}, {x, y});
        x -= legendLine + 2 * gap;
    }
}

void DrawCursors(const Cell& cell, DrawingTools& tools, const PlotStyle& style) {
    if (!style.cursors)
        return;
    const PlotScale scale(cell.area, cell.information.span, {});
    const std::array<std::pair<double, PlotPen>, 2> cursors{
        {{style.cursors->first, PlotPen::cursor1}, {style.cursors->second, PlotPen::cursor2}}};
    for (const auto& [time, pen] : cursors) {
        const double x = scale.X(time);
        if (!(x >= cell.area.left && x <= cell.area.right))
            continue;
        tools.Select(pen);
        Line(cell.surface, {x, static_cast<double>(cell.area.top)},
             {x, static_cast<double>(cell.area.bottom)});
    }
}

/// The font of a drawing; the stock font is put back afterwards.
class SelectedFont {
  public:
    SelectedFont(DrawingSurface& surface, int height) : surface_(surface) {
        FontDescription description;
        description.height = height;
        font_ = surface_.CreateFont(description);
        surface_.SelectObject(font_);
    }
    ~SelectedFont() {
        surface_.SelectObject(surface_.GetStockObject(StockObject::systemFont));
        surface_.DeleteObject(font_);
    }
    SelectedFont(const SelectedFont&) = delete;
    SelectedFont& operator=(const SelectedFont&) = delete;

  private:
    DrawingSurface& surface_;
    DrawingObject font_ = 0;
};

/// All of one plot; false after the report of the step that failed.
bool DrawCell(const Cell& cell, DrawingTools& tools, const PlotStyle& style) {
    tools.Select(PlotPen::black);
    return Attempt("Writing Axis Labels", [&] { WriteAxisLabels(cell); }) &&
           Attempt("Writing axes values", [&] { WriteAxesValues(cell); }) &&
           Attempt("Writing title information", [&] { WriteTitle(cell); }) &&
           Attempt("Drawing Curves", [&] { DrawCurves(cell, tools); }) &&
           Attempt("Writing text to plot", [&] {
               DrawLegend(cell, tools);
               DrawCursors(cell, tools, style);
           });
}

}  // namespace

std::vector<PlotContents> ContentsOfPlots(const PlotFormatOptions& format, const std::string& singleTitle) {
    const auto shown = [&](std::vector<Quantity> quantities) {
        std::erase_if(quantities, [&](Quantity quantity) { return !format.Shows(quantity); });
        return quantities;
    };
    if (DrawnPlots(format.nPlots) == 1)
        return {{singleTitle,
                 shown({Quantity::valve, Quantity::pressure, Quantity::flow, Quantity::filteredPressure,
                        Quantity::filteredFlow}),
                 QuantityOfCode(format.y1), QuantityOfCode(format.y2)}};
    return {{"Pressure sensor - P", shown({Quantity::valve, Quantity::pressure, Quantity::filteredPressure}),
             Quantity::pressure, Quantity::valve},
            {"Flow meter - Q", shown({Quantity::valve, Quantity::flow, Quantity::filteredFlow}),
             Quantity::flow, Quantity::valve}};
}

std::string AxisLabel(const PlotInformation& information, Quantity quantity) {
    const PlottedCurve* curve = FindCurve(information, quantity);
    if (quantity == Quantity::valve)
        return curve != nullptr && curve->name == curve::valveSignal ? "Valve - Ref. Signal"
                                                                     : "Valve - PVLPOS (cps)";
    const bool filtered = quantity == Quantity::filteredPressure || quantity == Quantity::filteredFlow;
    const bool pressure = quantity == Quantity::pressure || quantity == Quantity::filteredPressure;
    const auto known = [](const std::string& text) { return text.empty() ? std::string("Unknown") : text; };
    return std::string(filtered ? "Filtered " : "") + (pressure ? "Pressure" : "Flow") + " - " +
           known(curve != nullptr ? curve->name : "") + " (" + known(curve != nullptr ? curve->unit : "") +
           ")";
}

PlotLayout LayoutOf(PictureSize picture, const PlotFormatOptions& format) {
    return DefinePlotLayout(picture, 1, DrawnPlots(format.nPlots), DrawnGridlines(format.horizontal),
                            DrawnGridlines(format.vertical));
}

int DrawPlotAxes(DrawingSurface& surface, DrawingTools& tools, const PlotLayout& layout, int horizontal,
                 int vertical) {
    if (layout.cells.empty())
        return -1;
    const PlotCell& first = layout.cells.front();
    const PlotCell& last = layout.cells.back();
    tools.Select(PlotPen::frame);
    Rectangle(surface, first.left, first.top, last.right + frameOverhang, last.bottom + frameOverhang);
    tools.Select(PlotPen::grid);
    for (const PlotCell& cell : layout.cells) {
        Rectangle(surface, cell.left, cell.top, cell.right + cellOverhang, cell.bottom + cellOverhang);
        for (int i = 1; i < vertical; ++i) {
            const double x = cell.left + i * cell.columnSpacing;
            Line(surface, {x, static_cast<double>(cell.top)}, {x, static_cast<double>(cell.bottom)});
        }
        for (int i = 1; i < horizontal; ++i) {
            const double y = cell.top + i * cell.rowSpacing;
            Line(surface, {static_cast<double>(cell.left), y}, {static_cast<double>(cell.right), y});
        }
    }
    return 0;
}

bool DrawPlot(DrawingSurface& surface, const PlotInformation& information, const PlotFormatOptions& format,
              const PlotLayout& layout, const PlotStyle& style) {
    return Attempt("Create Pens", false, [&] {
        DrawingTools tools(surface, style.monochrome);
        const SelectedFont font(surface, layout.fontHeight);
        const int drawn = Attempt("Draw Plot Axes", -1, [&] {
            return DrawPlotAxes(surface, tools, layout, DrawnGridlines(format.horizontal),
                                DrawnGridlines(format.vertical));
        });
        if (drawn < 0)
            return layout.cells.empty();
        const std::vector<PlotContents> contents = ContentsOfPlots(format, information.title);
        for (std::size_t i = 0; i < std::min(contents.size(), layout.cells.size()); ++i)
            if (!DrawCell({surface, information, format, layout, layout.cells[i], contents[i]}, tools, style))
                return false;
        return true;
    });
}

bool RunPlotDriver(DrawingSurface& surface, PlotRequest request, const PlotStyle& style,
                   PlotDrawing& drawing) {
    MessagePort& messages = *CurrentPorts().messages;
    if (!Attempt("Initialise plot", false, [&] { return surface.Begin(); })) {
        messages.Show(MessageIcon::critical, applicationTitle, "Cannot get device context");
        return false;
    }
    PlotDrawing next;
    next.format = PlotFormat();
    const PictureSize size =
        Attempt("Converting Device Units", PictureSize{}, [&] { return surface.Size(); });
    next.layout = Attempt("Define plot layout", PlotLayout{}, [&] { return LayoutOf(size, next.format); });
    if (!next.layout.cells.empty()) {
        const PlotCell& cell = next.layout.cells.front();
        request.pointsWanted =
            std::max(1, static_cast<std::int32_t>((cell.right - cell.left) * surface.PixelsPerUnit()));
    }
    std::string message;
    bool drawn = GetPlotInformation(request, next.information, message);
    if (!drawn && !message.empty())
        messages.Show(MessageIcon::critical, applicationTitle, message);
    drawn = drawn && DrawPlot(surface, next.information, next.format, next.layout, style);
    surface.End();
    if (drawn)
        drawing = std::move(next);
    return drawn;
}

}  // namespace vorela
