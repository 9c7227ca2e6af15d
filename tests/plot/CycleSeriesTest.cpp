#include <algorithm>

#include "plot/CyclePicture.h"
#include "plot/CycleSeries.h"
#include "plot/PictureAxes.h"
#include "tests/plot/RecordingSurface.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {
namespace {

/// `count` cycles of 240 s from 100 s on; every quantity another number, the phases across 360 degrees.
CycleRecord Cycles(int count) {
    CycleRecord cycles;
    for (int i = 0; i <= count; ++i) {
        AppendCycle(cycles);
        const auto at = static_cast<std::size_t>(i);
        cycles.start[at] = 10'000 + 24'000 * i;
        cycles.valve[at] = {358.0 + i, 1.0 + i};
        cycles.pressure[at] = {std::fmod(359.5 + i, 360), 10.0 + 2 * i};
        cycles.flow[at] = {30.0 - i, 100.0};
        cycles.ratio[at] = 5 + (i % 2);
        cycles.phaseLag[at] = 12.25;
        cycles.analysed[at] = i == 2 ? 0 : 1;
    }
    return cycles;
}

TEST(CycleSeries, FollowsPhasesThroughTheTurnAndLeavesCyclesWithoutResultsOut) {
    const auto series = SeriesOf(Cycles(5), "psi", "rps");
    const CycleSeries& phase = series[5];
    EXPECT_EQ(phase.name, "Pressure phase");
    ASSERT_EQ(phase.values.size(), 5U);
    EXPECT_FALSE(phase.values[2]);
    EXPECT_EQ(phase.count, 4U);
    EXPECT_DOUBLE_EQ(*phase.values[4], 363.5);
    EXPECT_NEAR(phase.drift, 1, 1e-12);
    EXPECT_NEAR(phase.scatter, 0, 1e-9);
    EXPECT_EQ(series[1].unit, "psi");
    EXPECT_NEAR(series[1].drift, 2, 1e-12);
    EXPECT_EQ(series[3].unit, "rps/psi");
    EXPECT_NEAR(series[6].drift, -1, 1e-12);
    EXPECT_EQ(series[7].mean, 12.25);
}

TEST(CycleSeries, ScatterIsThatAboutTheTrend) {
    CycleSeries series;
    series.values = {1.0, 3.0, 2.0, std::nullopt, 5.0};
    Summarise(series);
    // Least squares through (1, 1), (2, 3), (3, 2), (5, 5): slope 7.75 / 8.75, residues by hand.
    EXPECT_NEAR(series.middle, 2.75, 1e-12);
    EXPECT_NEAR(series.drift, 7.75 / 8.75, 1e-12);
    EXPECT_NEAR(series.scatter, std::sqrt((8.75 - 7.75 * 7.75 / 8.75) / 2), 1e-12);
    EXPECT_NEAR(series.driftError, series.scatter / std::sqrt(8.75), 1e-12);
}

TEST(CyclePicture, TextsStandApartAtAnySizeAndTheChosenCycleIsFoundByItsPlace) {
    const auto series = SeriesOf(Cycles(12), "psi", "rps");
    std::vector<StackedLevel> levels(4);
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = {"LEVEL" + std::to_string(i), 12, 12, {1.0, -1.0}, {0.5, 0.25}, "psi", "rps"};
    const CyclePictureStyle foot{{"a long name of a database.dkb", "LEVEL1", "9600 ft", "recorded 2026-01-01",
                                  "period 240 s", "difference filter, 1 pass", "Vorela 1.0"},
                                 true};
    for (const PictureSize size : {PictureSize{334, 306}, {80, 60}, {800, 480}, {1000, 600}, {3800, 1900}}) {
        RecordingSurface surface(size);
        for (const CycleDrawing& drawing :
             {DrawCycleSeries(surface, "LEVEL1", series, 5), DrawStackedCycles(surface, levels),
              DrawCycleSeries(surface, "LEVEL1", series, 5, foot),
              DrawStackedCycles(surface, levels, foot)}) {
            for (std::size_t i = 0; i < drawing.texts.size(); ++i) {
                const DeviceBox& box = drawing.texts[i].box;
                EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.right <= size.width &&
                            box.bottom <= size.height);
                for (std::size_t j = 0; j < i; ++j)
                    EXPECT_FALSE(box.Meets(drawing.texts[j].box)) << drawing.texts[i].text;
            }
        }
    }
    RecordingSurface low({640, 240});
    const CycleDrawing fewer = DrawCycleSeries(low, "LEVEL1", series, 5);
    EXPECT_EQ(fewer.panels.size(), 4U) << "ratio and lag, and the flow that is in them";
    EXPECT_THAT(low.Texts(), testing::Contains(testing::StartsWith("Phase lag")));
    EXPECT_THAT(low.Texts(), testing::Contains(testing::EndsWith("in a higher window)")));
    RecordingSurface narrow({334, 306});
    std::string footer;
    for (const PlacedText& text : DrawStackedCycles(narrow, levels, foot).texts)
        footer += text.role == TextRole::footer ? text.text + "|" : "";
    EXPECT_EQ(std::ranges::count(footer, '|'), 4) << footer;
    for (const std::string& item : foot.footer)
        EXPECT_THAT(footer, HasSubstr(item)) << "whole in a narrow picture";
    RecordingSurface surface({1000, 600});
    const CycleDrawing drawing = DrawCycleSeries(surface, "LEVEL1", series, 5);
    ASSERT_EQ(drawing.panels.size(), 8U);
    std::vector<std::string> values;
    for (const PlacedText& text : DrawStackedCycles(surface, levels).texts)
        if (text.role == TextRole::axisValue && text.box.top < 300)
            values.push_back(text.text);
    EXPECT_THAT(values, testing::ElementsAre("-1.0", "-0.5", "0.0", "0.5", "1.0")) << "round ones";
    EXPECT_THAT(surface.Texts(), testing::Contains("Cycles of LEVEL1, 1 to 12, selected: 5"));
    EXPECT_THAT(surface.Texts(), testing::IsSupersetOf({"Phase lag (degrees)  12.2500 in every cycle",
                                                        "Flow magnitude (rps)  100.0000 in every cycle",
                                                        "Valve magnitude  mean 6.81818, drift +1.000000 a "
                                                        "cycle"}));
    const CyclePanel& last = drawing.panels[7];
    EXPECT_EQ(CycleAt(drawing, series[0], {last.X(7.3), last.area.top + 5}), 7);
    EXPECT_EQ(CycleAt(drawing, series[0], {5, 5}), std::nullopt);
    EXPECT_GT(last.highest - last.lowest, 0.003) << "equal lags: no picture of the last bits";
    for (const PlacedText& text : drawing.texts)  // nothing of the right half reaches into the left one
        EXPECT_FALSE(text.role == TextRole::axisValue && text.box.left < 500 &&
                     text.box.right > drawing.panels[0].area.right)
            << text.text;
    for (const auto& [cycle, value] : {std::pair(5.0, *series[1].values[4]), {12.0, *series[1].values[11]}}) {
        EXPECT_GT(drawing.panels[1].Y(value), drawing.panels[1].area.top);
        EXPECT_LT(drawing.panels[1].X(cycle), drawing.panels[1].area.right);
    }
    EXPECT_THAT(DrawCycleSeries(surface, "LEVEL1", SeriesOf({}, "", ""), 0).texts[0].text,
                HasSubstr("no cycles were measured"));
}

TEST(CyclePicture, AGridlineIsLabelledWithItsValueHoweverFewAreLeft) {
    const AxisSpan span{0.000944, 0.000946};
    EXPECT_THAT(span.TickTexts({0.000945}), testing::ElementsAre("0.000945"));
    EXPECT_THAT(span.TickTexts({180}), testing::ElementsAre("180"));
    EXPECT_THAT(span.TickTexts({1.5, 3.0}), testing::ElementsAre("1.5", "3.0")) << "each third of 0.5";
    EXPECT_THAT(span.TickTexts({-0.2, 0.0, 0.2}), testing::ElementsAre("-0.2", "0.0", "0.2"));
    EXPECT_THAT((AxisSpan{0.15, 0.4, true}.TickTexts({0.15, 0.2, 0.4})),
                testing::ElementsAre("0.15", "0.2", "0.4"));
}

class StackTest : public DravikFixture {};

TEST_F(StackTest, CyclesLieOverEachOtherOnThePhaseLessTheirMeans) {
    // A saw tooth of 240 s from 100 s on over a falling baseline; the third cycle has a gap.
    const auto saw = [](std::int32_t t) -> std::optional<double> {
        if (t >= 60'000 && t < 61'000)
            return std::nullopt;
        const int cycle = (t - 10'000) / 24'000;
        return 1000 - 10.0 * cycle + ((t - 10'000) % 24'000) / 100.0;
    };
    AddCurve("LEVEL1", {"ZG", "psi", 11'000, saw});
    AddCurve("LEVEL1", {"RTC", "rps", 11'000, [](std::int32_t) { return 7.0; }});
    AddCurve("LEVEL1", {"PVLPOS", "", 11'000, [](std::int32_t) { return 1; }});
    Select({"LEVEL1"});
    CurrentSelection().datasets[0].cycles = Cycles(4);
    const auto levels = StackSelectedLevels();
    ASSERT_EQ(levels.size(), 1U);
    EXPECT_EQ(levels[0].of, 4U);
    EXPECT_EQ(levels[0].cycles, 4U) << "of the flow; the pressure lacks one";
    ASSERT_EQ(levels[0].pressure.size(), stackedSteps + 1);
    // 0 … 239 s less 119.5 s.
    EXPECT_NEAR(*levels[0].pressure[60], 60 - 119.5, 0.01);
    EXPECT_NEAR(*levels[0].pressure[180], 180 - 119.5, 0.01);
    EXPECT_NEAR(*levels[0].flow[10], 0, 1e-9);
    EXPECT_EQ(levels[0].pressureUnit, "psi");
}

}  // namespace
}  // namespace vorela::test
