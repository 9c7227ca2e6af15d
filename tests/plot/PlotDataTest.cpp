#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"
#include "plot/modPlot.h"
#include "signal/modParameters.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

class PlotDataTest : public test::DravikFixture {
  protected:
    PlotDataTest() {
        PrsOpt() = {.timeAuto = true};
        PlotFormat() = PlotFormatOptions{};
        ForgetKeptCurves();
    }

    /// LEVEL1 with ZG(t) as given, RTC = 1 and PVLPOS = 0.
    void MakeDataset(std::int32_t count, std::function<std::optional<double>(std::int32_t)> pressure,
                     std::int32_t first = 0, std::int16_t step = 10) {
        AddCurves("LEVEL1", {{"ZG", "psi", count, std::move(pressure), first, step},
                             {"RTC", "rps", count, [](std::int32_t) { return 1.0; }, first, step},
                             {"PVLPOS", "cps", count, [](std::int32_t) { return 0.0; }, first, step}});
        Select({"LEVEL1"});
    }
    static PlotRequest Request(std::int32_t points, TimeMode mode = TimeMode::chosen, TimeSpan zoom = {}) {
        return {{0}, points, mode, zoom, true};
    }
    /// The plot of the first dataset; `refusal` is the message when there is none.
    static PlotInformation Get(const PlotRequest& request = Request(1000), const std::string& refusal = "") {
        PlotInformation information;
        std::string message;
        EXPECT_EQ(GetPlotInformation(request, information, message), refusal.empty());
        EXPECT_EQ(message, refusal);
        return information;
    }
    static CurvePoints Pressure(const PlotRequest& request) {
        return Get(request).datasets.at(0).Find(Quantity::pressure)->values;
    }
    static std::ptrdiff_t BreaksIn(const CurvePoints& curve) {
        return std::ranges::count_if(curve.points, &CurvePoint::IsBreak);
    }
};

double Wave(std::int32_t t) {
    return std::sin(t / 700.0) + static_cast<double>(std::int64_t{t} * 7919 % 1000) / 1000.0;
}

TEST_F(PlotDataTest, SaysWhenThereIsNothingToPlot) {
    Get(Request(1000), "No data selected");
    CurrentSelection().datasets.resize(1);
    Get(Request(1000), "There are no common curves in the selected datasets");
    MakeDataset(1000, Wave);
    DeleteItem("LEVEL1");
    Get(Request(1000), "Error attaching to dataset: LEVEL1");
    EXPECT_TRUE(ports.boxes.empty());
}

TEST_F(PlotDataTest, AllDataGiveARoundedRangeAndAxesAndSetTheOptions) {
    const auto slope = [](std::int32_t t) { return 12.3 + (t - 1234) * 7.7 / 8266; };
    MakeDataset(4134, slope, 1234, 2);
    EXPECT_EQ(PlottedRangeOf(0), (PlottedRange{10, 100}));
    EXPECT_EQ(PrsOpt().rangeEnd, 0);
    const PlotInformation information = Get();
    EXPECT_EQ(information.span, (TimeSpan{1000, 10000}));
    EXPECT_EQ(std::pair(PrsOpt().rangeStart, PrsOpt().rangeEnd), std::pair(10, 100));
    EXPECT_EQ(PrsOpt().timeRange, 90);
    EXPECT_EQ(std::pair(information.axes[0].minimum, information.axes[0].maximum), std::pair(10.0, 30.0));
    EXPECT_EQ(information.axes[3].maximum, 1);  // no filtered curve: 0 to one step
    EXPECT_EQ(information.datasets[0].Find(Quantity::filteredPressure), nullptr);
    EXPECT_EQ(information.datasets[0].Find(Quantity::pressure)->unit, "psi");
    EXPECT_EQ(information.title, "Vorela plot - LEVEL1");
    EXPECT_TRUE(ports.boxes.empty());
}

TEST_F(PlotDataTest, CurvesThatDoNotExistAreReplacedWithAMessage) {
    MakeDataset(1000, Wave);
    PlotFormat().flowCurve = 1;
    PlotFormat().valve = 1;
    const PlotInformation information = Get();
    const std::vector<test::ShownBox> expected{
        {MessageIcon::information, "Vorela",
         "The Dravik filtered flow curve has not been created.\r\rThe unfiltered curve will be plotted."},
        {MessageIcon::information, "Vorela",
         "The reconstructed valve signal curve (PVLSIG) has not been created.\r\r"
         "The motor position curve (PVLPOS) will be plotted."}};
    EXPECT_EQ(ports.boxes, expected);
    EXPECT_EQ(information.datasets[0].Find(Quantity::flow)->name, "RTC");
    for (const char* created : {"RTC_f", "PVLSIG"})
        CurrentSelection().commonCurves.push_back({created, ""});
    std::vector<std::string> fallbacks;
    const auto names = ChooseCurveNames(PlotFormat(), fallbacks);
    EXPECT_TRUE(fallbacks.empty());
    EXPECT_EQ(names, (std::array<std::string, 5>{"ZG", "RTC_f", "PVLSIG", "ZG_p", "RTC_qs"}));
}

TEST_F(PlotDataTest, EverySampleIsInExactlyOneColumn) {
    const auto wave = [](std::int32_t t) -> std::optional<double> {
        return t > 500'000 && t < 600'000 ? std::nullopt : std::optional(Wave(t));
    };
    constexpr std::int32_t end = 2'000'000;
    MakeDataset(end / 10, wave);
    const auto extent = [&](double from, double to) {
        MinMax samples;
        for (auto t = static_cast<std::int32_t>(from) / 10 * 10; t <= to; t += 10)
            if (t >= 0 && t < end && wave(t))
                samples.Add(static_cast<float>(*wave(t)));
        return samples;
    };
    // 200 columns of 1000 samples are answered by the overview, 2000 of 100 by the samples.
    for (const std::int32_t points : {200, 2000}) {
        const CurvePoints values = Pressure(Request(points));
        EXPECT_TRUE(values.dense);
        EXPECT_EQ(values.step, end / points);
        MinMax drawn;
        for (const CurvePoint& point : values.points) {
            drawn.Add({point.low, point.high});
            if (point.IsBreak())
                continue;
            // A column spans its step; the overview may put its edges off by a bucket.
            const double reach = values.step / 2.0 + (points == 200 ? CurveOverview::bucketSamples * 10 : 0);
            const MinMax wide = extent(point.time - reach, point.time + reach);
            EXPECT_LE(wide.minimum, point.low);
            EXPECT_GE(wide.maximum, point.high);
        }
        const MinMax all = extent(0, end);
        EXPECT_EQ(drawn, all);
        EXPECT_EQ(BreaksIn(values), 1);
        EXPECT_EQ(*values.extent.minimum, all.minimum);
    }
}

TEST_F(PlotDataTest, FewerSamplesThanPixelsAreDrawnAsTheyAreAndReachTheEdges) {
    MakeDataset(1000, [](std::int32_t t) { return t == 40 ? std::optional<double>() : t; });
    const PresentationOptions before = PrsOpt();
    const CurvePoints values = Pressure(Request(1000, TimeMode::zoomed, {15, 75}));
    EXPECT_FALSE(values.dense);
    std::vector<double> times;
    for (const CurvePoint& point : values.points)
        times.push_back(point.IsBreak() ? -1 : point.time);
    EXPECT_EQ(times, (std::vector<double>{15, 20, 30, -1, 50, 60, 70, 75}));
    EXPECT_EQ(values.points[0].low, 15);
    EXPECT_EQ(PrsOpt().rangeEnd, before.rangeEnd);  // a zoom touches no option
    EXPECT_EQ(PrsOpt().Axis(Quantity::pressure).plottedMaximum, 0);
}

TEST_F(PlotDataTest, WhatIsKeptGrowsWithTheCurveAndDiesWithIt) {
    MakeDataset(100'000, Wave);
    constexpr std::int32_t overviewPoints = 100;
    Get(Request(overviewPoints));
    Append("LEVEL1", {"ZG", "psi", 0, [](std::int32_t t) { return Wave(t) + 50; }}, 12'345);
    PlotRequest request = Request(overviewPoints, TimeMode::zoomed, {0, 1'130'000});
    request.verify = false;
    const CurvePoints grown = Pressure(request);
    ForgetKeptCurves();
    const CurvePoints fresh = Pressure(request);
    ASSERT_EQ(grown.points.size(), fresh.points.size());
    for (std::size_t i = 0; i < fresh.points.size(); ++i)
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): bit by bit, breaks too
        ASSERT_EQ(std::memcmp(&grown.points[i], &fresh.points[i], sizeof(CurvePoint)), 0) << i;
    EXPECT_GT(*grown.extent.maximum, 50);
    // Made anew with the same attributes and length: only its samples tell.
    DeleteItem("LEVEL1/ZG/1");
    AddCurve("LEVEL1", {"ZG", "psi", 112'345, [](std::int32_t t) { return -Wave(t); }});
    request.verify = true;
    EXPECT_LT(*Pressure(request).extent.maximum, 2);
}

TEST_F(PlotDataTest, AnUnreadableChunkBreaksTheLineAndIsToldOnce) {
    MakeDataset(100'000, [](std::int32_t t) { return t / 10.0 + 0.125; });
    const float marker = 50'000.125F;
    std::string bytes = test::ReadAll(DatabasePath());
    const std::size_t at = bytes.find(std::string(reinterpret_cast<const char*>(&marker), sizeof marker));
    ASSERT_NE(at, std::string::npos);
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    test::WriteAll(DatabasePath(), bytes);
    for (const std::int32_t points : {50, 2000}) {  // overview and samples
        ForgetKeptCurves();
        Get(Request(points));
        const CurvePoints values = Pressure(Request(points));
        EXPECT_THAT(ports.TakeBox().text, testing::ContainsRegex("Get curve values: .*ZG"));
        EXPECT_EQ(BreaksIn(values), 1);
        EXPECT_EQ(*values.extent.maximum, 99'999.125);
    }
}

TEST_F(PlotDataTest, FollowingTurnsPagesOfAFixedRangeOnly) {
    MakeDataset(1000, Wave);  // 99.9 s
    PrsOpt().timeAuto = false;
    EXPECT_EQ(Get().span, (TimeSpan{0, 24000}));
    const auto follow = [](std::int32_t latest) {
        CurrentSelection().datasets[0].extentB = latest;
        const PlottedRange cursorsStandIn = PlottedRangeOf(0);
        const TimeSpan span = Get(Request(1000, TimeMode::follow)).span;
        EXPECT_EQ(cursorsStandIn, (PlottedRange{span.start / 100, span.end / 100}));
        return span;
    };
    EXPECT_EQ(follow(9990), (TimeSpan{0, 24000}));
    EXPECT_EQ(follow(24000), (TimeSpan{0, 24000}));
    EXPECT_EQ(follow(24001), (TimeSpan{24000, 48000}));
    EXPECT_EQ(follow(100000), (TimeSpan{96000, 120000})) << "pages were missed";
    PrsOpt().timeAuto = true;
    EXPECT_EQ(follow(100000), (TimeSpan{0, 101000}));
}

TEST_F(PlotDataTest, TheReadoutGivesEachShownCurveAtBothCursors) {
    MakeDataset(1000, [](std::int32_t t) { return t / 100 == 50 ? std::optional<double>() : t / 100.0; });
    PlotDrawing drawing;
    drawing.information = Get();
    drawing.format.flow = false;
    drawing.information.elapsedOrigin = 1000;
    CurrentParameters().period = 40;
    const PlotReadout readout = ReadCursors(drawing, 2005, 4005);
    EXPECT_EQ(readout.time1, 10.05);
    EXPECT_EQ(readout.difference, 20);
    EXPECT_EQ(readout.periods, 0.5);
    ASSERT_EQ(readout.values.size(), 2U);  // pressure and valve
    EXPECT_EQ(readout.values[0].curve, "ZG");
    EXPECT_NEAR(*readout.values[0].atCursor1, 20.05, 1e-5);
    EXPECT_NEAR(*readout.values[0].difference, 20, 1e-5);
    const CursorValue outside = ReadCursors(drawing, 5050, 99999).values[0];
    EXPECT_FALSE(outside.atCursor1 || outside.atCursor2);
    EXPECT_EQ(readout.values[0].decimals, 1) << "tenths were recorded";
    EXPECT_EQ(ReadoutText(std::nullopt, 3), "-");
    EXPECT_EQ(ReadoutText(4194.08, 3), "4194.080");
    CurvePoints curve;
    const auto borne = [&](float low, float high) {
        curve.points = {{0, low, high}, {1, 2, std::nanf("")}};
        curve.points[1].low = std::nanf("");
        return DecimalsBorne(curve);
    };
    EXPECT_EQ(borne(1, 20000), 0);
    EXPECT_EQ(borne(4194.25F, 4000), 2);
    EXPECT_EQ(borne(4194.0806F, 4000), 3) << "what single precision holds";
    EXPECT_EQ(borne(-0.012345678F, 0), 8);
    EXPECT_EQ(ReadoutTimeText(883.2449), "883.245");
}

TEST_F(PlotDataTest, ALongRecordIsGlimpsedAtOnceAndReadOnInSteps) {
    constexpr std::int32_t samples = 4'300'000;  // beyond what is worth a wait
    const auto wave = [](std::int32_t t) { return 100 + t % 1000 / 10.0 + (t == 1'234'567 ? 500 : 0); };
    AddCurve("LONG", {"ZG", "psi", samples, wave, 0, 1});
    AddCurve("LONG", {"RTC", "rps", 1000, wave, 0, 1});
    AddCurve("LONG", {"PVLPOS", "", 1000, wave, 0, 1});
    Select({"LONG"});
    PrsOpt() = {.timeAuto = true};
    PlotRequest request = Request(1000);
    request.mayBeCoarse = true;
    const CurvePoints coarse = Pressure(request);
    EXPECT_TRUE(coarse.coarse);
    EXPECT_NEAR(static_cast<double>(coarse.points.size()), 1000, 3);
    EXPECT_TRUE(*coarse.extent.minimum >= 100 && *coarse.extent.maximum < 200)
        << "the spike is not found yet";
    double share = 0;
    int steps = 0;
    for (double now = 0; (now = ReadOnForPlot(0, 1)) < 1; ++steps) {
        EXPECT_GE(now, share);
        share = now;
    }
    EXPECT_GT(steps, 2);
    const CurvePoints whole = Pressure(request);
    EXPECT_FALSE(whole.coarse);
    EXPECT_EQ(*whole.extent.maximum, static_cast<float>(wave(1'234'567)));
    EXPECT_EQ(*whole.extent.minimum, 100);
}

}  // namespace
}  // namespace vorela
