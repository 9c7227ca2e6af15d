#include "plot/PlotRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "general/modGeneral.h"
#include "plot/PlotView.h"
#include "plot/modPlotScales.h"

namespace vorela {
namespace {

constexpr int frameOverhang = 2;  // device units beyond the plot area at right and bottom
constexpr int cellOverhang = 1;
constexpr double plateInset = 1;  // a plate leaves the lines above and below its text alone
constexpr Colour black{0, 0, 0};
constexpr Colour white{255, 255, 255};
constexpr Colour faintText{128, 128, 128};
constexpr Colour cycleText{96, 96, 96};

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

void Rectangle(DrawingSurface& surface, double left, double top, double right, double bottom) {
    const std::array<DevicePoint, 5> corners{
        {{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}}};
    surface.Polyline(corners);
}

void Line(DrawingSurface& surface, DevicePoint from, DevicePoint to) {
    surface.MoveTo(from);
    surface.LineTo(to);
}

/// One plot while it is drawn.
struct Cell {
    DrawingSurface& surface;
    const PlotInformation& information;
    const PlotCell& area;
    const PlotContents& contents;
};

void TintSelectedCycle(const Cell& cell, const PlotStyle& style) {
    if (style.monochrome)
        return;
    const PlotScale scale(cell.area, cell.information.span, {});
    for (const CycleMark& cycle : cell.information.cycles) {
        const double from = std::max<double>(scale.X(cycle.span.start), cell.area.left);
        const double to = std::min<double>(scale.X(cycle.span.end), cell.area.right);
        if (cycle.number == cell.information.selectedCycle && from < to)
            cell.surface.Fill(
                {from, static_cast<double>(cell.area.top), to, static_cast<double>(cell.area.bottom)},
                cycleTint);
    }
}

void DrawCurves(const Cell& cell, DrawingTools& tools) {
    for (const DatasetPlot& dataset : cell.information.datasets) {
        for (const Quantity quantity : cell.contents.curves) {
            const PlottedCurve* curve = dataset.Find(quantity);
            if (curve == nullptr || cell.information.hidden[IndexOf(quantity)])
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

/// The black frame of every plot, drawn once more over curves and gridlines; between two plots nothing stays.
void DrawFrames(DrawingSurface& surface, DrawingTools& tools, const PlotLayout& layout) {
    const auto around = [](const PlotCell& cell, double inner, double outer) {
        return DeviceBox{cell.left - inner, cell.top - inner, cell.right + outer, cell.bottom + outer};
    };
    for (std::size_t i = 1; i < layout.cells.size(); ++i) {
        const DeviceBox above = around(layout.cells[i - 1], 1, frameOverhang);
        const DeviceBox below = around(layout.cells[i], 1, frameOverhang);
        if (below.top > above.bottom + 1)
            surface.Fill({0, above.bottom + 1, surface.Size().width, below.top}, white);
    }
    tools.Select(PlotPen::frame);
    for (const PlotCell& cell : layout.cells)
        for (const DeviceBox& box : {around(cell, 0, cellOverhang), around(cell, 1, frameOverhang)})
            Rectangle(surface, box.left, box.top, box.right, box.bottom);
}

const char* StepOf(TextRole role) {
    switch (role) {
        case TextRole::axisLabel:
        case TextRole::timeLabel:
            return "Writing Axis Labels";
        case TextRole::axisValue:
        case TextRole::timeValue:
            return "Writing axes values";
        case TextRole::title:
            return "Writing title information";
        case TextRole::legend:
        case TextRole::cycleNumber:
        case TextRole::footer:
            break;
    }
    return "Writing text to plot";
}

Colour ColourOf(const PlacedText& text, bool monochrome) {
    if (monochrome)
        return black;
    if (text.role == TextRole::cycleNumber || text.role == TextRole::footer)
        return cycleText;
    return text.faint ? faintText : black;
}

bool StandsInPlot(TextRole role) {
    return role != TextRole::timeValue && role != TextRole::timeLabel && role != TextRole::footer;
}

bool StandsInHeader(TextRole role) {
    return role == TextRole::axisLabel || role == TextRole::title || role == TextRole::legend;
}

/// Each text in a plot on a plate of the ground's colour, so that no line goes through it. Those of a header
/// meet, so that no scrap of a curve between two entries is taken for the key of a legend.
void LayPlate(DrawingSurface& surface, const PlacedText& text, double headerReach) {
    const double beside = StandsInHeader(text.role) ? headerReach : plateInset;
    if (StandsInPlot(text.role))
        surface.Fill({text.box.left - beside, text.box.top + plateInset, text.box.right + beside,
                      text.box.bottom - plateInset},
                     white);
}

void WriteText(DrawingSurface& surface, DrawingTools& tools, const PlacedText& text, bool monochrome) {
    if (text.role == TextRole::legend && text.quantity) {
        tools.Select(text.faint ? PlotPen::grid : PenOf(*text.quantity));
        const double y = std::floor((text.box.top + text.box.bottom) / 2);
        Line(surface, {text.box.left, y}, {text.box.left + legendLine, y});
    }
    surface.SetTextColour(ColourOf(text, monochrome));
    surface.SetTextAlign(text.alignment);
    surface.TextOut(text.at, text.text);
}

bool WriteTexts(DrawingSurface& surface, DrawingTools& tools, const std::vector<PlacedText>& texts,
                double gap, bool monochrome) {
    for (const PlacedText& text : texts)
        LayPlate(surface, text, 2 * gap);
    return std::ranges::all_of(texts, [&](const PlacedText& text) {
        return Attempt(StepOf(text.role), [&] { WriteText(surface, tools, text, monochrome); });
    });
}

/// The footer's lines under the plots, whose left edge is theirs.
void PlaceFooter(const std::vector<std::string>& lines, const PlotLayout& layout, double top,
                 const TextMeasure& measure, std::vector<PlacedText>& texts) {
    const double height = layout.fontHeight;
    const double left = layout.cells.empty() ? layout.gap : layout.cells.front().left;
    for (const std::string& line : lines) {
        texts.push_back({TextRole::footer,
                         line,
                         TextAlignment::topLeft,
                         {left, top},
                         {left, top, left + measure(line), top + height}});
        top += height;
    }
}

/// How high the picture is above its footer, and the footer's lines. A picture too low for both has none.
struct FooterPlan {
    std::vector<std::string> lines;
    PictureSize plots;
};

FooterPlan PlanFooter(DrawingSurface& surface, PictureSize size, const PlotFormatOptions& format,
                      const std::vector<std::string>& items) {
    if (items.empty())
        return {{}, size};
    const PlotLayout whole = LayoutOf(size, format);
    const SelectedFont font(surface, whole.fontHeight);
    const double left = whole.cells.empty() ? whole.gap : whole.cells.front().left;
    const std::vector<std::string> lines = FooterLines(
        items, size.width - 2 * left, [&](const std::string& text) { return surface.TextWidth(text); });
    const double height = static_cast<double>(lines.size()) * whole.fontHeight + whole.gap;
    const PictureSize plots{size.width, size.height - height};
    return plots.height > height ? FooterPlan{lines, plots} : FooterPlan{{}, size};
}

/// Instead of the automatic scales, in whose round steps a small curve lies flat.
void FitAutomaticAxes(DrawingSurface& surface, PlotDrawing& drawing) {
    const SelectedFont font(surface, drawing.layout.fontHeight);
    const std::vector<PlacedText> texts =
        PlanTexts(drawing.information, drawing.format, drawing.layout,
                  [&](const std::string& text) { return surface.TextWidth(text); });
    const auto fitted = FittedAxes(drawing.information, drawing.format, BandsOf(texts, drawing.layout));
    for (std::size_t i = 0; i < quantityCount; ++i)
        if (fitted[i] && PrsOpt().axes[i].automatic)
            drawing.information.axes[i] = *fitted[i];
}

}  // namespace

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

bool DrawPlot(DrawingSurface& surface, DrawingSurface& over, const PlotInformation& information,
              const PlotFormatOptions& format, const PlotLayout& layout, const PlotStyle& style,
              std::vector<PlacedText>& texts) {
    return Attempt("Create Pens", false, [&] {
        const std::vector<PlotContents> contents = ContentsOfPlots(format, information.title);
        const std::size_t plots = std::min(contents.size(), layout.cells.size());
        DrawingTools tools(surface, style.monochrome);
        for (std::size_t i = 0; i < plots; ++i)
            TintSelectedCycle({surface, information, layout.cells[i], contents[i]}, style);
        const int drawn = Attempt("Draw Plot Axes", -1, [&] {
            return DrawPlotAxes(surface, tools, layout, DrawnGridlines(format.horizontal),
                                DrawnGridlines(format.vertical));
        });
        if (drawn < 0)
            return layout.cells.empty();
        for (std::size_t i = 0; i < plots; ++i) {
            const Cell cell{surface, information, layout.cells[i], contents[i]};
            if (!Attempt("Drawing Curves", [&] {
                    DrawCurves(cell, tools);
                    DrawCursors(cell, tools, style);
                }))
                return false;
        }
        std::optional<DrawingTools> own;
        if (&over != &surface)
            own.emplace(over, style.monochrome);
        DrawingTools& overTools = own ? *own : tools;
        const SelectedFont font(over, layout.fontHeight);
        const TextMeasure measure = [&](const std::string& text) { return over.TextWidth(text); };
        texts = PlanTexts(information, format, layout, measure, style.footer.empty() ? 0 : layout.gap);
        if (!style.footer.empty())
            PlaceFooter(style.footer, layout, layout.yScale * logicalExtent + layout.gap, measure, texts);
        DrawFrames(over, overTools, layout);
        return WriteTexts(over, overTools, texts, layout.gap, style.monochrome);
    });
}

bool RunPlotDriver(DrawingSurface& surface, PlotRequest request, const PlotStyle& style, PlotDrawing& drawing,
                   DrawingSurface* over) {
    MessagePort& messages = *CurrentPorts().messages;
    const bool ready = Attempt("Initialise plot", false,
                               [&] { return surface.Begin() && (over == nullptr || over->Begin()); });
    if (!ready) {
        messages.Show(MessageIcon::critical, applicationTitle, "Cannot get device context");
        return false;
    }
    PlotDrawing next;
    next.format = PlotFormat();
    const PictureSize size =
        Attempt("Converting Device Units", PictureSize{}, [&] { return surface.Size(); });
    PlotStyle shown = style;
    next.layout = Attempt("Define plot layout", PlotLayout{}, [&] {
        const FooterPlan footer = PlanFooter(surface, size, next.format, style.footer);
        shown.footer = footer.lines;
        return LayoutOf(footer.plots, next.format);
    });
    if (!next.layout.cells.empty()) {
        const PlotCell& cell = next.layout.cells.front();
        request.pointsWanted =
            std::max(1, static_cast<std::int32_t>((cell.right - cell.left) * surface.PixelsPerUnit()));
    }
    std::string message;
    bool drawn = GetPlotInformation(request, next.information, message);
    if (!drawn && !message.empty())
        messages.Show(MessageIcon::critical, applicationTitle, message);
    if (drawn && style.fit)
        FitAutomaticAxes(over != nullptr ? *over : surface, next);
    drawn = drawn && DrawPlot(surface, over != nullptr ? *over : surface, next.information, next.format,
                              next.layout, shown, next.texts);
    surface.End();
    if (over != nullptr)
        over->End();
    if (drawn)
        drawing = std::move(next);
    return drawn;
}

}  // namespace vorela
