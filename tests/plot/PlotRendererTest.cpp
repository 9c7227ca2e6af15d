#include "general/NumberText.h"
#include "plot/PlotRenderer.h"
#include "tests/plot/RecordingSurface.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

using Operation = RecordingSurface::Operation;

constexpr float gap = std::numeric_limits<float>::quiet_NaN();

CurvePoints Samples(const std::vector<float>& values) {
    CurvePoints curve;
    curve.step = 100;
    for (std::size_t i = 0; i < values.size(); ++i)
        curve.points.push_back({static_cast<double>(i) * 100, values[i], values[i]});
    return curve;
}

/// A dataset with all five quantities over 0 to 60 s, each axis 0 to 10.
PlotInformation FiveCurves() {
    PlotInformation information;
    information.span = {0, 6000};
    information.title = "Vorela plot - LEVEL1 TOOL";
    information.axes.fill({0, 10});
    const CurvePoints samples = Samples({1, 2, 3, 2, 1});
    information.datasets = {{0,
                             {{Quantity::pressure, "ZG", "psi", samples},
                              {Quantity::flow, "RTC", "rps", samples},
                              {Quantity::valve, "PVLPOS", "", samples},
                              {Quantity::filteredPressure, "ZG_p", "psi", samples},
                              {Quantity::filteredFlow, "RTC_qs", "", samples}}}};
    return information;
}

PlotFormatOptions SinglePlot() {
    return {.nPlots = 1};
}

RecordingSurface Drawn(const PlotInformation& information, const PlotFormatOptions& format,
                       PictureSize size = {1000, 600}, const PlotStyle& style = {}) {
    RecordingSurface surface(size);
    std::vector<PlacedText> texts;
    EXPECT_TRUE(DrawPlot(surface, surface, information, format, LayoutOf(size, format), style, texts));
    return surface;
}

PlotLayout LayoutAt(double height, int plots = 1) {
    return DefinePlotLayout({1000, height}, 1, plots, 4, 2);
}

TEST(PlotLayout, TextIsFourteenToSixteenUnitsHigh) {
    const PlotLayout layout = LayoutAt(600);
    EXPECT_EQ(layout.textHeight, 267) << "333 would be 20 units, so 16 / 0.06";
    EXPECT_EQ(layout.fontHeight, 16);
    EXPECT_EQ(layout.gap, 4);
    EXPECT_EQ(layout.CursorMargin(1000), 27);
    EXPECT_EQ(LayoutAt(450).textHeight, 333) << "14.985 units: as it comes";
    EXPECT_EQ(LayoutAt(300).fontHeight, 14);
    EXPECT_EQ(LayoutAt(300).textHeight, 467);
}

TEST(PlotLayout, CellsLeaveATextHeightOnThreeSidesAndHalfOneAbove) {
    // left 267, top 133.5, right and bottom 9733 logical; spacing 9466/2 and 9599.5/4.
    EXPECT_EQ(LayoutAt(600).cells, (std::vector<PlotCell>{{27, 8, 973, 584, 473, 144}}));
    EXPECT_EQ(LayoutAt(600, 2).cells,
              (std::vector<PlotCell>{{27, 8, 973, 284, 473, 69}, {27, 308, 973, 584, 473, 69}}));
}

TEST(PlotLayout, APictureTooLowForItsTextHasNoCellsAndNoSizeIsAnError) {
    ScriptedPorts ports;
    EXPECT_TRUE(LayoutOf({1000, 20}, {}).cells.empty());
    EXPECT_TRUE(Drawn(FiveCurves(), {}, {1000, 20}).operations.empty());
    for (const PictureSize size : {PictureSize{0, 0}, PictureSize{1, 600}})
        Drawn(FiveCurves(), {}, size);
    EXPECT_TRUE(ports.boxes.empty());
    RecordingSurface surface({10, 10});
    DrawingTools tools(surface, false);
    EXPECT_EQ(DrawPlotAxes(surface, tools, PlotLayout{}, 4, 2), -1);
}

TEST(DrawingTools, PensAndBrushesAreCreatedInOrderAndDeleted) {
    const RecordingSurface colour = Drawn(FiveCurves(), {});
    ASSERT_EQ(colour.pens.size(), 13U);
    const std::pair<std::size_t, PenDescription> pens[] = {
        {0, {LineStyle::solid, 1, {0, 0, 0}}},       {3, {LineStyle::solid, 2, {255, 0, 0}}},
        {5, {LineStyle::solid, 1, {192, 192, 192}}}, {7, {LineStyle::dotted, 2, {0, 0, 255}}},
        {11, {LineStyle::solid, 1, {255, 0, 255}}},  {12, {LineStyle::solid, 1, {128, 128, 255}}}};
    for (const auto& [number, pen] : pens)
        EXPECT_EQ(colour.pens[number], pen) << number;
    EXPECT_EQ(colour.pens[2].style, LineStyle::none);
    ASSERT_EQ(colour.brushes.size(), 8U);
    EXPECT_EQ(colour.brushes[1], (Colour{255, 255, 0}));
    EXPECT_EQ(colour.brushes[7], (Colour{0, 0, 255}));
    EXPECT_EQ(colour.deleted, 13 + 8 + 1);
    EXPECT_EQ(colour.lastSelected, RecordingSurface::stock);
    ASSERT_EQ(colour.fonts.size(), 1U);
    EXPECT_TRUE(colour.fonts[0].typeface == "Arial" && colour.fonts[0].weight == 400);
    EXPECT_EQ(colour.fonts[0].height, 16);
    const RecordingSurface mono = Drawn(FiveCurves(), {}, {1000, 600}, {.monochrome = true});
    for (std::size_t i = 0; i < 13; ++i)
        EXPECT_EQ(mono.pens[i], (PenDescription{colour.pens[i].style, colour.pens[i].width, {}})) << i;
    EXPECT_EQ(mono.brushes, std::vector<Colour>(8, {255, 255, 255}));
}

TEST(PlotRenderer, FrameAndGridlinesStandAtTheRoundedSpacings) {
    // 236.65 units: drawn 237 apart, the last interval is what is left
    const RecordingSurface surface = Drawn(FiveCurves(), {.vertical = 4, .nPlots = 1});
    const Operation& frame = surface.operations[0];
    EXPECT_EQ(frame.pen, 1);
    EXPECT_EQ(frame.points[0], (DevicePoint{27, 8}));
    EXPECT_EQ(frame.points[2], (DevicePoint{975, 586}));
    const RecordingSurface::Operations grid = surface.DrawnWith(6);
    ASSERT_EQ(grid.size(), 1U + 3 + 3);
    EXPECT_EQ(grid[0].points[2], (DevicePoint{974, 585}));
    EXPECT_EQ(grid[3].points, (std::vector<DevicePoint>{{738, 8}, {738, 584}}));
    EXPECT_EQ(grid[4].points, (std::vector<DevicePoint>{{27, 152}, {973, 152}}));
    EXPECT_EQ(grid[6].points[0].y, 440);
    const PlotFormatOptions handEdited{.horizontal = 99, .vertical = 0};  // drawn as 20 and as 1
    EXPECT_EQ(Drawn(FiveCurves(), handEdited).DrawnWith(6).size(), 2U * (1 + 0 + 19));
}

TEST(PlotRenderer, CurvesAreDrawnInOrderLaterOnesOverEarlierOnes) {
    const auto order = [](const PlotFormatOptions& format) {
        RecordingSurface surface({1000, 600}), over({1000, 600});
        std::vector<PlacedText> texts;
        EXPECT_TRUE(DrawPlot(surface, over, FiveCurves(), format, LayoutOf({1000, 600}, format), {}, texts));
        std::vector<int> pens;
        for (const Operation& operation : surface.operations)
            if (operation.pen != 6 && (pens.empty() || pens.back() != operation.pen))
                pens.push_back(operation.pen);
        return pens;
    };
    EXPECT_EQ(order(SinglePlot()), (std::vector<int>{1, 13, 4, 7, 12, 1}));
    EXPECT_EQ(order({.valveShown = false, .filteredPressure = false, .nPlots = 1}),
              (std::vector<int>{1, 4, 7, 1}));
    EXPECT_EQ(order({}), (std::vector<int>{1, 13, 4, 12, 13, 7, 1}));
}

TEST(PlotRenderer, TitlesAndLabelsNameWhatIsPlotted) {
    PlotInformation information = FiveCurves();
    const auto single = Drawn(information, {.y1 = 3, .y2 = 4, .nPlots = 1}).Texts();
    EXPECT_THAT(single, IsSupersetOf({"Vorela plot - LEVEL1 TOOL", "Time (seconds)",
                                      "Filtered Pressure - ZG_p (psi)", "Filtered Flow - RTC_qs (Unknown)"}));
    EXPECT_THAT(single, Not(Contains("Valve - PVLPOS (cps)")));
    information.datasets[0].curves[2].name = "PVLSIG";
    information.datasets[0].curves.erase(information.datasets[0].curves.begin() + 1);
    const RecordingSurface dual = Drawn(information, {.y1 = 3, .y2 = 4});
    EXPECT_THAT(dual.Texts(),
                IsSupersetOf({"Pressure sensor - P", "Flow meter - Q", "Flow - Unknown (Unknown)"}));
    EXPECT_THAT(dual.Texts(), Contains("Valve - Ref. Signal").Times(2));
    EXPECT_EQ(dual.FindText("Flow meter - Q")->alignment, TextAlignment::topLeft);
    EXPECT_GT(dual.FindText("Flow meter - Q")->points[0].y, 308);
    EXPECT_NEAR(dual.FindText("Flow meter - Q")->points[0].x + 49, 500, 1) << "in the middle";
    EXPECT_EQ(AxisLabel(FiveCurves(), Quantity::valve), "Valve - PVLPOS (cps)");
    const RecordingSurface keys = Drawn(FiveCurves(), SinglePlot());
    const Operation* before = keys.FindText("RTC 0 ... 10 rps");
    const Operation* behind = keys.FindText("ZG_p 0 ... 10 psi");
    ASSERT_TRUE(before != nullptr && behind != nullptr);
    EXPECT_LT(before->points[0].x + 20, behind->points[0].x - 7 * 17) << "a key stands between the names";
    EXPECT_THAT(Drawn(information, {.y1 = 9, .nPlots = 1}).Texts(), Not(Contains("Pressure - ZG (psi)")))
        << "no quantity: no axis";
}

TEST(PlotRenderer, AxisValuesStandAtTheirGridlinesAndFollowTheElapsedOrigin) {
    PlotInformation information = FiveCurves();
    information.axes[0] = {4110, 4111};
    information.axes[2] = {-1, 0.25};
    information.span = {1000, 7000};
    RecordingSurface surface = Drawn(information, SinglePlot());
    const std::pair<const char*, TextAlignment> alignments[] = {{"4111", TextAlignment::bottomLeft},
                                                                {"-0.375", TextAlignment::bottomRight},
                                                                {"40", TextAlignment::bottomCentre},
                                                                {"70", TextAlignment::bottomRight}};
    for (const auto& [text, alignment] : alignments)
        EXPECT_EQ(surface.FindText(text)->alignment, alignment) << text;
    EXPECT_EQ(surface.FindText("-0.375")->points[0], (DevicePoint{969, 296 + 8}));
    EXPECT_EQ(surface.FindText("40")->points[0], (DevicePoint{500, 600}));
    information.elapsedOrigin = 1000;
    surface = Drawn(information, SinglePlot());
    EXPECT_TRUE(surface.FindText("30") != nullptr && surface.FindText("40") == nullptr);
}

TEST(PlotRenderer, EachCurveAndItsAxisUseTheRangeOfItsOwnQuantity) {
    PlotInformation information = FiveCurves();
    information.span = {0, 100};
    const int pens[] = {4, 7, 13, 12, 1};
    std::vector<std::pair<float, float>> ranges;
    for (std::size_t i = 0; i < quantityCount; ++i) {
        ranges.emplace_back(10.0F * static_cast<float>(i) + 3, 11.0F * static_cast<float>(i) + 7);
        information.axes[i] = {ranges[i].first, ranges[i].second};
        information.datasets[0].curves[i].values = Samples({ranges[i].first, ranges[i].second});
    }
    for (std::size_t i = 0; i < quantityCount; ++i) {
        const std::size_t other = (i + 1) % quantityCount;
        const RecordingSurface surface =
            Drawn(information,
                  {.y1 = static_cast<std::int16_t>(i), .y2 = static_cast<std::int16_t>(other), .nPlots = 1});
        for (const auto& [axis, x, alignment] : {std::tuple(i, 31.0, TextAlignment::bottomLeft),
                                                 std::tuple(other, 969.0, TextAlignment::bottomRight)}) {
            const Operation* top = surface.FindText(FormatNumber(ranges[axis].second));
            const Operation* bottom = surface.FindText(FormatNumber(ranges[axis].first));
            ASSERT_TRUE(top != nullptr && bottom != nullptr) << axis;
            EXPECT_EQ(top->points[0], (DevicePoint{x, 28}));
            EXPECT_EQ(bottom->points[0], (DevicePoint{x, 580}));
            EXPECT_TRUE(top->alignment == alignment && bottom->alignment == alignment);
        }
        bool drawn = false;
        for (const Operation& line : surface.DrawnWith(pens[i]))
            drawn = drawn || line.points == std::vector<DevicePoint>{{27, 584}, {973, 8}};
        EXPECT_TRUE(drawn) << i;
    }
}

TEST(PlotRenderer, TheCursorsStandAtTheirTimesInBothPlots) {
    const RecordingSurface dual = Drawn(FiveCurves(), {}, {1000, 600}, {.cursors = {{1500, 4500}}});
    for (const auto& [pen, x] : {std::pair(5, 263.5), std::pair(8, 736.5)}) {
        const auto lines = dual.DrawnWith(pen);
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_EQ(lines[0].points, (std::vector<DevicePoint>{{x, 8}, {x, 284}}));
        EXPECT_EQ(lines[1].points, (std::vector<DevicePoint>{{x, 308}, {x, 584}}));
    }
}

TEST(Clipping, RunsFlattenedAlongTheEdge) {
    // lower limit 100, upper limit 0: device y grows downwards
    EXPECT_EQ(ClipSegment({{0, 120}, {10, 101}}, 100, 0), std::nullopt);
    EXPECT_EQ(ClipSegment({{0, -1}, {10, -50}}, 100, 0), std::nullopt);
    EXPECT_EQ(ClipSegment({{0, 20}, {10, 80}}, 100, 0), (Segment{{0, 20}, {10, 80}}));
    EXPECT_EQ(ClipSegment({{0, -300}, {10, 300}}, 100, 0), (Segment{{0, 0}, {10, 100}}));
    EXPECT_EQ(ClipSegment({{0, 100}, {10, 101}}, 100, 0), (Segment{{0, 100}, {10, 100}}));
}

TEST(CurveDrawing, AGapBreaksTheLineAndALoneSampleIsADot) {
    const PlotCell cell{0, 0, 600, 100, 0, 0};
    const PlotScale scale(cell, {0, 600}, {0, 10});
    RecordingSurface surface({600, 100});
    DrawCurve(surface, Samples({0, 10, gap, 5, gap, 20, 20}), scale, cell);
    ASSERT_EQ(surface.operations.size(), 2U);  // the last two lie above the plot area
    EXPECT_EQ(surface.operations[0].points, (std::vector<DevicePoint>{{0, 100}, {100, 0}}));
    EXPECT_EQ(surface.operations[1].points, (std::vector<DevicePoint>{{300, 50}, {300, 50}}));
    for (const double x : {0.0, 123.25, 600.0})
        EXPECT_NEAR(scale.X(scale.Time(x)), x, 1e-9);
    EXPECT_EQ(PlotScale(cell, {0, 600}, {5, 5}).Y(7), 50);
}

TEST(CurveDrawing, ADenseColumnIsOneUprightLineThatTouchesTheColumnBefore) {
    CurvePoints curve;
    curve.dense = true;
    curve.points = {{0, 0, 2}, {1, 5, 9}, {2, 4, 4}, {3, gap, gap}, {4, 1, 3}};
    const PlotCell cell{0, 0, 10, 100, 0, 0};
    std::vector<Segment> segments;
    ForEachSegment(curve, PlotScale(cell, {0, 10}, {0, 10}), 1,
                   [&](const Segment& s) { segments.push_back(s); });
    EXPECT_EQ(segments,
              (std::vector<Segment>{{{0, 100}, {0, 80}},
                                    {{1, 80}, {1, 10}},  // its own 50 to 10, and down to the one before
                                    {{2, 60}, {2, 50}},  // up to the minimum of the one before
                                    {{4, 90}, {4, 70}}}));
}

TEST(CurveDrawing, TheValveBufferFlushesEvery500PointsWithoutALoss) {
    std::vector<float> values(1234);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i % 7);
    const PlotCell cell{0, 0, 10000, 100, 0, 0};
    RecordingSurface surface({10000, 100});
    DrawValveCurve(surface, Samples(values), PlotScale(cell, {0, 123400}, {0, 10}), cell);
    std::vector<std::size_t> sizes;
    for (const Operation& operation : surface.operations)
        sizes.push_back(operation.points.size());
    EXPECT_EQ(sizes, (std::vector<std::size_t>{500, 500, 1234 - 2 * 499}));
    EXPECT_EQ(surface.operations[1].points[0], surface.operations[0].points[499]);
}

TEST(PlotDriver, WithoutADeviceContextNothingIsDrawn) {
    ScriptedPorts ports;
    RecordingSurface surface({1000, 600});
    surface.ready = false;
    PlotDrawing drawing;
    EXPECT_FALSE(RunPlotDriver(surface, {}, {}, drawing));
    EXPECT_EQ(ports.TakeBox().text, "Cannot get device context");
    EXPECT_TRUE(surface.operations.empty());
}

}  // namespace
}  // namespace vorela::test
