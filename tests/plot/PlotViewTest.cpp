#include "plot/Crosshair.h"
#include "plot/PlotView.h"
#include "tests/support/TestSupport.h"

namespace vorela::test {
namespace {

TEST(PlotView, AnAxisZoomsAroundAValueAndNeverBelowSinglePrecision) {
    EXPECT_EQ(ZoomedAxis({100, 200}, 0.5, 120), (AxisRange{110, 160}));
    EXPECT_EQ(MovedAxis({100, 200}, -0.25), (AxisRange{75, 175}));
    AxisRange axis{4000, 4200};
    for (int i = 0; i < 1000; ++i)
        axis = ZoomedAxis(axis, 0.5, 4100);
    EXPECT_GT(axis.maximum - axis.minimum, 0.003);
    for (int i = 0; i < 10'000; ++i)
        axis = ZoomedAxis(axis, 2, 4100);
    EXPECT_TRUE(std::isfinite(axis.maximum - axis.minimum));
    EXPECT_EQ(ZoomedAxis({5, 5}, 0.5, 5), (AxisRange{5, 5}));
}

TEST(PlotView, FitHoldsEachShownCurveTightly) {
    PlotInformation information;
    CurvePoints points;
    points.extent = {100, 200};
    CurvePoints flat;
    flat.extent = {50, 50};
    information.datasets = {{0,
                             {{Quantity::pressure, "ZG", "psi", points},
                              {Quantity::flow, "RTC", "rps", flat},
                              {Quantity::valve, "PVLPOS", "", {}},
                              {Quantity::filteredPressure, "ZG_p", "psi", points}}}};
    information.hidden[IndexOf(Quantity::filteredPressure)] = true;
    const auto axes = FittedAxes(information, {});
    EXPECT_EQ(axes[IndexOf(Quantity::pressure)], (AxisRange{96, 204}));
    EXPECT_EQ(axes[IndexOf(Quantity::flow)], (AxisRange{49, 51}));
    EXPECT_FALSE(axes[IndexOf(Quantity::valve)] || axes[IndexOf(Quantity::filteredPressure)]);
    // 96 ... 204 on half the height, a fifth of which lies under it.
    const auto clear = FittedAxes(information, {}, {0.3, 0.2})[IndexOf(Quantity::pressure)];
    EXPECT_EQ(*clear, (AxisRange{52, 269})) << "96 - 43.2 and 204 + 64.8, rounded out";
}

TEST(PlotView, TheHistoryGoesBackAndForwardAndForgetsWhatLayAhead) {
    const auto at = [](std::int32_t start) { return PlotView{true, {start, start + 100}, {}}; };
    ViewHistory history;
    history.Leave(at(1));
    history.Leave(at(2));
    EXPECT_EQ(history.Back(at(3)), at(2));
    EXPECT_EQ(history.Back(at(2)), at(1));
    EXPECT_EQ(history.Back(at(1)), std::nullopt);
    EXPECT_EQ(history.Forward(at(1)), at(2));
    history.Leave(at(2));
    EXPECT_FALSE(history.HasAfter());
    EXPECT_EQ(history.Back(at(9)), at(2));
    for (std::int32_t i = 0; i < 300; ++i)
        history.Leave(at(i));
    int steps = 0;
    while (history.Back(at(0)))
        ++steps;
    EXPECT_EQ(steps, 100);
}

TEST(PlotView, ACursorSnapsToTheNearestBoundaryOrWholePeriodInReach) {
    const std::vector<CycleMark> cycles{{1, {1000, 3500}}, {2, {3500, 6100}}};
    const auto snapped = [&](double time, double other) {
        return SnappedTime(time, cycles, other, 2000, 60);
    };
    EXPECT_EQ(snapped(1050, 500), 1000);
    EXPECT_EQ(snapped(3450, 0), 3500);
    EXPECT_EQ(snapped(6130, 0), 6100) << "the end of the last cycle";
    EXPECT_EQ(snapped(6170, 0), 6170);
    EXPECT_EQ(snapped(4540, 500), 4500) << "two periods after the other cursor";
    EXPECT_EQ(snapped(530, 500), 530) << "not onto the other cursor";
    EXPECT_EQ(snapped(3530, 1545), 3545) << "the nearer of both";
    EXPECT_EQ(SnappedTime(4540, {}, 500, 0, 60), 4540);
}

TEST(Crosshair, TellsTimeAxisValuesAndCurvesInsideThePicture) {
    PlotDrawing drawing;
    drawing.information.span = {10000, 20000};
    drawing.information.elapsedOrigin = 5000;
    drawing.information.axes[IndexOf(Quantity::pressure)] = {4000, 4200};
    drawing.information.axes[IndexOf(Quantity::valve)] = {0, 10};
    const PictureSize size{1000, 600};
    drawing.layout = LayoutOf(size, {});  // the upper plot: 27 to 973, 8 to 284
    const std::vector<CursorValue> values{{"ZG", "psi", 4123.4, {}, {}, 2, 4200},
                                          {"RTC", "rps", {}, {}, {}, 3, 1}};
    const auto measure = [](const std::string& text) { return 7.0 * static_cast<double>(text.size()); };
    const auto cross = PlanCrosshair(drawing, {500, 77}, values, size, measure);
    ASSERT_TRUE(cross);
    std::vector<std::string> lines;
    for (const auto& label : cross->labels)
        lines.insert(lines.end(), label.lines.begin(), label.lines.end());
    EXPECT_THAT(lines, ElementsAre("100.00 s", "4150.0", "7.50", "ZG  4123.40 psi", "RTC  -"));
    EXPECT_EQ(cross->to[0], (DevicePoint{500, 584})) << "through both plots";
    EXPECT_EQ(cross->from[1], (DevicePoint{27, 77}));
    for (const DevicePoint point : {DevicePoint{972, 283}, DevicePoint{28, 9}, DevicePoint{972, 583}}) {
        const auto edge = PlanCrosshair(drawing, point, values, size, measure);
        for (const auto& label : edge->labels)
            EXPECT_TRUE(label.box.left >= 0 && label.box.top >= 0 && label.box.right <= 1000 &&
                        label.box.bottom <= 600);
    }
    EXPECT_FALSE(PlanCrosshair(drawing, {500, 296}, values, size, measure)) << "between the plots";
}

}  // namespace
}  // namespace vorela::test
