#include "plot/AxisTexts.h"
#include "plot/PlotRenderer.h"
#include "plot/PlotTexts.h"
#include "tests/plot/RecordingSurface.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

using std::string;
using Strings = std::vector<string>;

/// Wide letters: what stands apart with them does so in any font.
double Measure(const string& text) {
    return 7.0 * static_cast<double>(text.size());
}

/// Five curves over a span with cycles of 240 s from 120 s on; the flow ends before the span.
PlotInformation Level(TimeSpan span) {
    PlotInformation information;
    information.span = span;
    information.title = "Vorela plot - LEVEL1 TOOLSTRING 14";
    information.axes = {{{4110, 4220}, {0.5, 1.3}, {0, 20000}, {-43, 44}, {-0.04, 0.04}}};
    CurvePoints seen;
    seen.points = {{1, 2, 3}};
    information.datasets = {{0,
                             {{Quantity::pressure, "ZG", "psi", seen},
                              {Quantity::flow, "RTC", "rps", {}, TimeSpan{0, span.start - 1}},
                              {Quantity::valve, "PVLPOS", "", seen},
                              {Quantity::filteredPressure, "ZG_p", "psi", seen},
                              {Quantity::filteredFlow, "RTC_qs", "rps", seen}}}};
    for (std::int32_t i = 0; i < 40; ++i)
        information.cycles.push_back({i + 1, {12000 + i * 24000, 12000 + (i + 1) * 24000}});
    information.selectedCycle = 4;
    return information;
}

Strings TextsOf(const std::vector<PlacedText>& texts, TextRole role) {
    Strings found;
    for (const PlacedText& text : texts)
        if (text.role == role)
            found.push_back(text.text);
    return found;
}

string Described(const PlacedText& text) {
    return text.text + " [" + std::to_string(text.box.left) + " " + std::to_string(text.box.top) + " " +
           std::to_string(text.box.right) + " " + std::to_string(text.box.bottom) + "]";
}

void ExpectApart(const std::vector<PlacedText>& texts, PictureSize size, const string& what) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const DeviceBox& box = texts[i].box;
        EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.right <= size.width && box.bottom <= size.height)
            << what << ": cut " << Described(texts[i]);
        for (std::size_t j = i + 1; j < texts.size(); ++j)
            EXPECT_FALSE(box.Meets(texts[j].box))
                << what << ": " << Described(texts[i]) << " meets " << Described(texts[j]);
    }
}

TEST(PlotTexts, NoTwoMeetAndNoneIsCutAtAnySizeZoomAndFormat) {
    const PictureSize sizes[] = {{334, 306}, {80, 60},    {120, 400},  {500, 90},   {640, 300},
                                 {800, 480}, {1000, 600}, {1900, 900}, {3800, 1900}};
    const TimeSpan spans[] = {{0, 978000}, {96000, 120000}, {100000, 100020}, {123456789, 123556789}};
    PlotFormatOptions formats[] = {{}, {.nPlots = 1}, {.y1 = 3, .y2 = 4, .nPlots = 1}, {}};
    formats[3].horizontal = formats[3].vertical = 20;
    for (const PictureSize& size : sizes)
        for (const TimeSpan& span : spans)
            for (std::size_t f = 0; f < std::size(formats); ++f) {
                const auto texts = PlanTexts(Level(span), formats[f], LayoutOf(size, formats[f]), Measure);
                ExpectApart(texts, size,
                            std::to_string(size.width) + " x " + std::to_string(size.height) + " from " +
                                std::to_string(span.start) + " format " + std::to_string(f));
                if (size.width < 600 || size.height < 400)
                    continue;
                EXPECT_THAT(TextsOf(texts, TextRole::timeLabel), testing::SizeIs(f == 0 || f == 3 ? 2U : 1U));
                EXPECT_THAT(TextsOf(texts, TextRole::legend), testing::SizeIs(f == 0 || f == 3 ? 6U : 5U));
                EXPECT_THAT(TextsOf(texts, TextRole::title), Not(testing::IsEmpty()));
            }
}

TEST(PlotTexts, ASmallPlotGivesUpRangesAndTitleBeforeLabelsAndCurves) {
    const auto texts = PlanTexts(Level({0, 978000}), {}, LayoutOf({334, 306}, {}), Measure);
    EXPECT_THAT(TextsOf(texts, TextRole::axisLabel),
                IsSupersetOf({"Pressure - ZG (psi)", "Flow - RTC (rps)"}));
    EXPECT_THAT(TextsOf(texts, TextRole::legend), IsSupersetOf({"ZG_p", "RTC ends -0.01 s"}));
    EXPECT_THAT(TextsOf(texts, TextRole::title), ElementsAre());
}

TEST(PlotTexts, TimesStandClearOfTheFrameWhereThereIsRoomAndBandsHoldHeaderAndCycleNumbers) {
    const PlotLayout layout = LayoutOf({1000, 600}, {});
    const auto texts = PlanTexts(Level({0, 978000}), {}, layout, Measure, 4);
    for (const PlacedText& text : texts)
        EXPECT_TRUE(text.role != TextRole::timeValue || text.box.top == layout.cells[text.cell].bottom + 3)
            << text.text;
    const TextBands bands = BandsOf(texts, layout);
    EXPECT_DOUBLE_EQ(bands.top, 20.0 / (layout.cells[1].bottom - layout.cells[1].top));
    EXPECT_DOUBLE_EQ(bands.bottom, 20.0 / (layout.cells[1].bottom - layout.cells[1].top));
}

TEST(PlotTexts, TheLegendTellsRangesOfCurvesWithoutAxisAndWhereCurvesEnd) {
    const PlotFormatOptions dual;
    PlotInformation level = Level({481000, 600000});
    level.elapsedOrigin = 1000;
    auto texts = PlanTexts(level, dual, LayoutOf({1900, 900}, dual), Measure);
    EXPECT_THAT(TextsOf(texts, TextRole::legend),
                ElementsAre("PVLPOS", "ZG", "ZG_p -43 ... 44 psi", "PVLPOS", "RTC ends 4800 s",
                            "RTC_qs -0.04 ... 0.04 rps"));
    std::vector<double> tops;
    for (const PlacedText& text : texts)
        if (text.cell == 0 && (text.role == TextRole::legend || text.role == TextRole::title ||
                               text.role == TextRole::axisLabel))
            tops.push_back(text.box.top);
    EXPECT_EQ(tops, std::vector<double>(6, tops[0])) << "all in the title's line";
    PlottedCurve& flow = level.datasets[0].curves[1];
    const auto flowEntry = [&] {
        return LegendText(level, ContentsOfPlots(dual, "")[1], Quantity::flow, false);
    };
    flow.recorded = TimeSpan{700000, 800000};
    EXPECT_EQ(flowEntry(), "RTC begins 6990 s");
    flow.recorded = TimeSpan{0, 800000};
    EXPECT_EQ(flowEntry(), "RTC has no data here");
    flow.recorded.reset();
    EXPECT_EQ(flowEntry(), "RTC has no data");
    level.hidden[IndexOf(Quantity::flow)] = true;
    EXPECT_EQ(flowEntry(), "RTC (hidden)");
}

TEST(PlotTexts, CycleNumbersStandInTheirCyclesThinnedWithTheSelectedOneKept) {
    const PlotFormatOptions single{.nPlots = 1};
    const PictureSize size{1000, 600};
    const auto numbers = [&](TimeSpan span) {
        return TextsOf(PlanTexts(Level(span), single, LayoutOf(size, single), Measure),
                       TextRole::cycleNumber);
    };
    EXPECT_THAT(numbers({60000, 132000}), ElementsAre("4", "3", "5"));
    EXPECT_THAT(numbers({0, 972000}), IsSupersetOf({"4", "6", "8", "38"}));
    EXPECT_THAT(numbers({0, 972000}), Not(Contains("7")));
    const auto texts = PlanTexts(Level({60000, 132000}), single, LayoutOf(size, single), Measure);
    const PlacedText& fourth =
        *std::ranges::find(texts, TextRole::cycleNumber, [](const PlacedText& t) { return t.role; });
    EXPECT_EQ(fourth.cycle, 4);
    // Cycle 4: 840 to 1080 s of 600 to 1320 s.
    EXPECT_NEAR(fourth.at.x, 27 + 946 * (960 - 600) / 720.0, 0.01);
}

TEST(PlotTexts, NeighbouringGridlinesDiffer) {
    EXPECT_THAT(AxisTexts({4111, 4110.75, 4110.5, 4110.25, 4110}),
                ElementsAre("4111", "4110.75", "4110.5", "4110.25", "4110"));
    EXPECT_THAT(AxisTexts({30, 25, 20}), ElementsAre("30", "25", "20"));
    EXPECT_THAT(AxisTexts({1234.56, 1234.555, 1234.55}), ElementsAre("1234.56", "1234.555", "1234.55"));
    EXPECT_THAT(AxisTexts({5, 5, 5}), ElementsAre("5", "5", "5")) << "no extent, nothing to tell apart";
    EXPECT_THAT(AxisTexts({-0.00002, -0.00001, 0}), ElementsAre("-0.00002", "-0.00001", "0"));
    EXPECT_THAT(AxisTexts({100000.25, 100000.125}), ElementsAre("100000.25", "100000.13"));
}

TEST(PlotTexts, AFooterBreaksBetweenItsItemsAndCutsALongOneInTheMiddle) {
    const Strings items{"demo.dkb", "", "LEVEL1", "9600 ft"};
    EXPECT_THAT(FooterLines(items, 500, Measure), ElementsAre("demo.dkb \u00B7 LEVEL1 \u00B7 9600 ft"));
    EXPECT_THAT(FooterLines(items, 140, Measure), ElementsAre("demo.dkb \u00B7 LEVEL1", "9600 ft"));
    EXPECT_THAT(FooterLines({"a-very-long-name-of-a-database.vdb"}, 100, Measure),
                ElementsAre("a-ver...se.vdb"));
}

TEST(PlotRenderer, FramesAndPlatesComeLastAndNothingStaysBetweenThePlots) {
    const PlotFormatOptions dual;
    const PictureSize size{1000, 600};
    RecordingSurface surface(size), over(size);
    std::vector<PlacedText> texts;
    const PlotLayout layout = LayoutOf(size, dual);
    ASSERT_TRUE(DrawPlot(surface, over, Level({0, 978000}), dual, layout, {.cursors = {{1, 2}}}, texts));
    EXPECT_THAT(surface.Texts(), ElementsAre());
    EXPECT_EQ(over.Texts().size(), texts.size());
    using Kind = RecordingSurface::Operation::Kind;
    EXPECT_EQ(surface.operations[0].kind, Kind::fill) << "the selected cycle's ground, under all";
    EXPECT_NEAR(surface.operations[0].points[0].x, 27 + 946 * 840 / 9780.0, 0.01);
    // The cells end at 284 + 2 and begin at 308 - 1: what crosses the strip between them is covered.
    const auto& between = over.operations[0];
    EXPECT_TRUE(between.kind == Kind::fill && between.points[0].x == 0 && between.points[1].x == 1000);
    EXPECT_EQ(std::pair(between.points[0].y, between.points[1].y), std::pair(287.0, 307.0));
    for (std::size_t i = 1; i <= 4; ++i)
        EXPECT_TRUE(over.operations[i].kind == Kind::polyline && over.operations[i].pen == 1) << i;
    std::vector<DeviceBox> plates;
    std::size_t at = 5;
    for (; over.operations[at].kind == Kind::fill; ++at)
        plates.push_back({over.operations[at].points[0].x, over.operations[at].points[0].y,
                          over.operations[at].points[1].x, over.operations[at].points[1].y});
    EXPECT_EQ(over.operations[at].kind, Kind::text) << "behind all plates";
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const DeviceBox& box = texts[i].box;
        const DevicePoint middle{(box.left + box.right) / 2, (box.top + box.bottom) / 2};
        EXPECT_EQ(std::ranges::any_of(plates, [&](const DeviceBox& plate) { return plate.Contains(middle); }),
                  texts[i].role != TextRole::timeValue && texts[i].role != TextRole::timeLabel)
            << texts[i].text;
        const bool next = i > 0 && texts[i].role == TextRole::legend &&
                          texts[i - 1].role == TextRole::legend && texts[i].cell == texts[i - 1].cell;
        const DevicePoint before{(next ? texts[i - 1].box.right + box.left : box.left * 2) / 2, middle.y};
        EXPECT_TRUE(
            texts[i].role != TextRole::legend ||
            std::ranges::any_of(plates, [&](const DeviceBox& plate) { return plate.Contains(before); }))
            << "a curve shows before " << texts[i].text;
    }
    PlotInformation hidden = Level({0, 978000});
    hidden.hidden[IndexOf(Quantity::valve)] = true;
    RecordingSurface without(size);
    ASSERT_TRUE(DrawPlot(without, over, hidden, dual, layout, {}, texts));
    EXPECT_THAT(without.DrawnWith(13), ElementsAre());
    EXPECT_NE(surface.DrawnWith(13).size(), 0U);
}

}  // namespace
}  // namespace vorela::test
