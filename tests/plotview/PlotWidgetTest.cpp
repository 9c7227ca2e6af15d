#include <QClipboard>
#include <QContextMenuEvent>
#include <QImage>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPrinter>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "plot/PlotReadout.h"
#include "plot/PlotRenderer.h"
#include "plot/PlotView.h"
#include "plotview/PlotReadoutStrip.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"
#include "signal/modParameters.h"
#include "tests/plot/RecordingSurface.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

constexpr QSize size{1000, 600};
// The plot area at this size: 27 to 973.
constexpr int left = 27;
constexpr int middle = 500;
constexpr int timeAxis = 594;  // below both plots, whose value axes have the wheel to themselves

class PlotWidgetTest : public test::DravikFixture {
  protected:
    void SetUp() override {
        DravikFixture::SetUp();
        PrsOpt() = {.timeAuto = true};
        PlotFormat() = PlotFormatOptions{};
        for (const char* name : {"ZG", "RTC", "PVLPOS"})
            AddCurve("LEVEL1", Ramp(name, 10'000));
        Select({"LEVEL1"});
        plot_.resize(size);
        cursors_.resize(size.width(), 24);
        plot_.ConnectCursors(&cursors_);
        plot_.show();
        cursors_.show();
    }
    /// The seconds as values.
    static test::RecordedCurve Ramp(const char* name, std::int32_t count) {
        return {name, "psi", count, [](std::int32_t t) { return t / 100.0; }};
    }
    void Wheel(double x, QPoint turned, Qt::KeyboardModifiers modifiers = {}) {
        WheelAt({x, timeAxis}, turned, modifiers);
    }
    void WheelAt(QPointF at, QPoint turned, Qt::KeyboardModifiers modifiers = {}) {
        QWheelEvent event(at, at, {}, turned, {}, modifiers, {}, false);
        QSignalSpy redrawn(&plot_, &PlotWidget::VisibleSpanChanged);
        QApplication::sendEvent(&plot_, &event);
        EXPECT_TRUE(redrawn.wait());
    }
    /// One notch nearer, around the left end of the time axis.
    void ZoomIn() { Wheel(left, {0, 120}); }
    /// An entry of the context menu; what it asks for is answered by `text`.
    void Choose(int entry, const QString& text = {}) {
        QTimer::singleShot(0, [entry, text] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_NE(menu, nullptr);
            EXPECT_TRUE(menu->actions()[entry]->isEnabled());
            if (!text.isEmpty())
                Type(text);
            menu->actions()[entry]->trigger();
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, {100, 100}, plot_.mapToGlobal(QPoint(100, 100)));
        QApplication::sendEvent(&plot_, &event);
    }
    void ExpectCursors(double first, double second) {
        const auto [time1, time2] = *plot_.FileOptions(0).cursors;
        EXPECT_NEAR(time1, first, 0.01);
        EXPECT_NEAR(time2, second, 0.01);
        EXPECT_NEAR(cursors_.cursor1(), first / 10, 0.001) << "the control under the plot";
        EXPECT_NEAR(cursors_.cursor2(), second / 10, 0.001);
    }
    void ExpectSeen(double from, double to) {
        const TimeSpan span = *plot_.FileOptions(0).span;
        EXPECT_EQ(std::pair(span.start / 100.0, span.end / 100.0), std::pair(from, to));
    }
    void DragTo(int from, int to, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&plot_, Qt::LeftButton, modifiers, {from, timeAxis});
        QTest::mouseMove(&plot_, {to, timeAxis});
        QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {to, timeAxis});
        QTest::qWait(5);
    }
    /// Types into the position dialog that is about to open.
    static void Type(const QString& text) {
        QTimer::singleShot(0, [text] {
            auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            dialog->setTextValue(text);
            dialog->accept();
        });
    }

    PlotWidget plot_;
    TimeCursors cursors_;
};

TEST_F(PlotWidgetTest, PutsTheGuideUnderTheTimeAxisAndReadsTheCursors) {
    ASSERT_TRUE(plot_.ShowDataset(0));
    ExpectSeen(0, 1000);  // the last sample is at 999.9 s
    EXPECT_EQ(cursors_.Margin(), left);
    cursors_.setCursor1(25);
    EXPECT_EQ(plot_.FileOptions(0).cursors->first, 250);  // seconds
    EXPECT_TRUE(QSignalSpy(&plot_, &PlotWidget::ReadoutChanged).wait());
    EXPECT_EQ(plot_.Readout().time1, 250);
    EXPECT_NEAR(*plot_.Readout().values[0].atCursor1, 250, 1e-3);
    EXPECT_EQ(plot_.Readout().values[0].curve, "ZG");
}

TEST_F(PlotWidgetTest, ACursorIsDraggedInThePlotAndNotBeyondItsAxis) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(50);
    cursors_.setCursor2(75);
    for (const auto& [from, x, first, second] : {std::tuple(middle + 5, left + 94, 9.94F, 75.0F),
                                                 {left + 98, left - 1, 9.94F, 75.0F},
                                                 {left + 709, left + 850, 9.94F, 89.85F},
                                                 {left + 846, 974, 9.94F, 89.85F}}) {
        QTest::mousePress(&plot_, Qt::LeftButton, {}, {from, 100});
        QTest::mouseMove(&plot_, {x, 100});
        QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {x, 100});
        EXPECT_NEAR(cursors_.cursor1(), first, 0.02) << x;
        EXPECT_NEAR(cursors_.cursor2(), second, 0.02) << x;
    }
    ExpectSeen(0, 1000);
}

TEST_F(PlotWidgetTest, ZoomLeavesSettingsAndCursorTimesAndHomeReturns) {
    plot_.ShowDataset(0);
    const float before = cursors_.cursor2();
    const PresentationOptions options = PrsOpt();
    ZoomIn();
    ExpectSeen(0, 800);
    EXPECT_TRUE(plot_.IsZoomed());
    EXPECT_EQ(cursors_.cursor2(), before);
    EXPECT_EQ(PrsOpt().rangeEnd, options.rangeEnd);
    EXPECT_EQ(PrsOpt().Axis(Quantity::pressure).plottedMaximum,
              options.Axis(Quantity::pressure).plottedMaximum);
    const QWidget* marker = cursors_.findChild<QWidget*>("imgCursor2");
    EXPECT_NEAR(marker->x() + marker->width() / 2.0, left + 946 * 0.6666 / 0.8, 2);
    plot_.ShowDataset(0);  // another redraw of the same scales
    ExpectSeen(0, 800);
    QTest::keyClick(&plot_, Qt::Key_Home);
    ExpectSeen(0, 1000);
    ZoomIn();
    PrsOpt().timeAuto = false;
    PrsOpt().timeRange = 240;
    plot_.ShowDataset(0);  // other scales end the zoom
    ExpectSeen(760, 1000);
}

TEST_F(PlotWidgetTest, ABandZoomsAndAShiftDragPans) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(-50);  // out of the way
    cursors_.setCursor2(-50);
    DragTo(left, middle);
    ExpectSeen(0, 500);
    DragTo(middle, left, Qt::ShiftModifier);
    ExpectSeen(250, 750);
    QSignalSpy redrawn(&plot_, &PlotWidget::VisibleSpanChanged);
    for (const auto& [key, from, to] : {std::tuple(Qt::Key_Right, 300.0, 800.0),
                                        {Qt::Key_Minus, 237.5, 862.5},
                                        {Qt::Key_Plus, 300.0, 800.0},
                                        {Qt::Key_Left, 250.0, 750.0}}) {
        QTest::keyClick(&plot_, key);
        EXPECT_TRUE(redrawn.wait());
        ExpectSeen(from, to);
    }
}

TEST_F(PlotWidgetTest, TheZoneBetweenTheCursorsIsShownAndTheCursorsStayAtTheirTimes) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(70);
    cursors_.setCursor2(20);
    const QSignalSpy told(&plot_, &PlotWidget::ScalesChanged);
    Choose(0);
    EXPECT_EQ(told.count(), 1);
    ExpectSeen(200, 700);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->first, 700, 1e-3);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->second, 200, 1e-3);
}

TEST_F(PlotWidgetTest, TheWheelZoomsAroundThePointerAndPansWithTheHand) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(-50);
    cursors_.setCursor2(-50);
    DragTo(left, middle);
    Wheel(middle, {0, 120});
    ExpectSeen(50, 450);
    Wheel(left + 946 / 4.0, {0, -120});
    ExpectSeen(25, 525);
    Wheel(middle, {0, -120}, Qt::ShiftModifier);
    ExpectSeen(75, 575);
    Wheel(middle, {240, 10});
    ExpectSeen(0, 500);
    QTest::mousePress(&plot_, Qt::MiddleButton, {}, {middle, 100});
    QTest::mouseMove(&plot_, {middle - 473, 100});
    QTest::mouseRelease(&plot_, Qt::MiddleButton, {}, {middle - 473, 100});
    QTest::qWait(5);
    ExpectSeen(250, 750);
    DragTo(middle, middle + 3);  // a click
    ExpectSeen(250, 750);
}

TEST_F(PlotWidgetTest, TheMenuActsOnTheCursorItNames) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(60);
    cursors_.setCursor2(90);
    DragTo(left, middle);
    Choose(5);
    ExpectCursors(500 / 3.0, 1000 / 3.0);
    Choose(4, "222.5");
    ExpectCursors(500 / 3.0, 222.5);
    Choose(3, "111.5");
    ExpectCursors(111.5, 222.5);
    Choose(1);
    ExpectSeen(0, 1000);
    cursors_.setCursor1(50);
    Type("333.5");
    QTest::mouseDClick(&plot_, Qt::LeftButton, {}, {middle, 100});
    ExpectCursors(333.5, 222.5);
    Type("444.5");
    QTest::mouseDClick(cursors_.findChild<QWidget*>("imgCursor2"), Qt::LeftButton);
    ExpectCursors(333.5, 444.5);
}

TEST_F(PlotWidgetTest, LinesAndStripShowEachCursorWhereItIs) {
    PlotReadoutStrip strip(&plot_);
    PlotFormat().nPlots = 1;
    plot_.ShowDataset(0);
    cursors_.setCursor1(25);
    cursors_.setCursor2(75);
    CurrentParameters().period = 100;
    EXPECT_TRUE(QSignalSpy(&plot_, &PlotWidget::ReadoutChanged).wait());
    const auto pixels = [&](double x, const QColor& colour) {
        const QImage image = plot_.grab().toImage();
        int count = 0;
        for (int y = 8; y < 584; ++y)  // beside the grid and the curve
            count += image.pixelColor(static_cast<int>(x), y) == colour ? 1 : 0;
        return count;
    };
    const double x1 = left + 946 * 0.25, x2 = left + 946 * 0.75;
    EXPECT_GT(pixels(x1, Qt::red), 150);
    EXPECT_GT(pixels(x2, Qt::blue), 150);
    EXPECT_TRUE(pixels(x1, Qt::blue) < 20 && pixels(x2, Qt::red) < 20);
    const auto text = [&] { return strip.Text().simplified().toStdString(); };
    EXPECT_THAT(text(), testing::StartsWith("Time (s) Periods ZG (psi) RTC (psi)"));
    for (const char* row : {"Cursor 1 250.00 250.0 250.0 ", "Cursor 2 750.00 750.0 750.0 ",
                            "Difference 500.00 5.000 500.0 500.0"})
        EXPECT_THAT(text(), HasSubstr(row));
    ZoomIn();
    EXPECT_GT(pixels(left + 946 * 0.25 / 0.8, Qt::red), 150);
    EXPECT_TRUE(strip.toolTip().contains("zoomed"));
    QTest::mouseMove(&plot_, {static_cast<int>(left + 946 * 0.25 / 0.8) + 4, 100});
    EXPECT_EQ(plot_.cursor().shape(), Qt::SizeHorCursor);
    QTest::mouseMove(&plot_, {middle, 100});
    EXPECT_EQ(plot_.cursor().shape(), Qt::ArrowCursor);
}

TEST_F(PlotWidgetTest, FollowingStaysWhereItIsWhileZoomed) {
    plot_.ShowDataset(0);
    Append("LEVEL1", Ramp("ZG", 0), 5'000);
    CurrentSelection().datasets[0].extentB = 149'990;
    plot_.Follow(0);
    ExpectSeen(0, 1500);
    ZoomIn();
    CurrentSelection().datasets[0].extentB = 200'000;
    plot_.Follow(0);
    ExpectSeen(0, 1200);
    EXPECT_TRUE(plot_.StaysInTime());
    plot_.ResetZoom();
    ExpectSeen(0, 2010);
}

TEST_F(PlotWidgetTest, AllDataGrowsWithTheRecordUntilAnotherViewIsChosen) {
    PrsOpt().timeAuto = false;
    PrsOpt().timeRange = 240;
    plot_.ShowDataset(0);
    ExpectSeen(760, 1000);
    const auto grow = [&](std::int32_t end) {
        CurrentSelection().datasets[0].extentB = end;
        plot_.Follow(0);
    };
    QTest::keyClick(&plot_, Qt::Key_A);
    QTest::qWait(5);
    EXPECT_FALSE(plot_.StaysInTime());
    grow(150'000);
    ExpectSeen(0, 1500);
    ZoomIn();
    grow(160'000);
    ExpectSeen(0, 1200);
    QTest::keyClick(&plot_, Qt::Key_Left, Qt::AltModifier);  // back to all data, as they are now
    ExpectSeen(0, 1600);
    grow(170'000);
    ExpectSeen(0, 1700);
    plot_.ShowDataset(0);
    ExpectSeen(0, 1700);
}

TEST_F(PlotWidgetTest, ATypedPositionIsExactAndCheckedAgainstTheRecord) {
    plot_.ShowDataset(0);
    Type("123.45");
    plot_.TypeCursorPosition(1);
    EXPECT_NEAR(cursors_.cursor1(), 12.345, 1e-5);
    Type("5000");
    QTimer::singleShot(50, [] { QApplication::activeModalWidget()->close(); });
    plot_.TypeCursorPosition(1);
    EXPECT_EQ(ports.TakeBox().text, "Cursor position out of range");
    EXPECT_NEAR(cursors_.cursor1(), 12.345, 1e-5);
}

TEST_F(PlotWidgetTest, ElapsedTimeCountsFromTheFirstSampleEverywhere) {
    for (const char* name : {"ZG", "RTC", "PVLPOS"})
        AddCurve("LATE", {name, "psi", 10'000, [](std::int32_t t) { return t / 100.0; }, 123'450});
    Select({"LATE"});
    PrsOpt().elapsed = true;
    plot_.ShowDataset(0);
    EXPECT_EQ(plot_.TimeOrigin(), 1230);
    Type("33.5");
    plot_.TypeCursorPosition(2);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->second, 1263.5, 1e-3);
    EXPECT_TRUE(QSignalSpy(&plot_, &PlotWidget::ReadoutChanged).wait());
    EXPECT_TRUE(plot_.Readout().elapsed);
    EXPECT_NEAR(plot_.Readout().time2, 33.5, 1e-3);
    EXPECT_NEAR(*plot_.Readout().values[0].atCursor2, 1263.5, 0.01);
}

TEST_F(PlotWidgetTest, AnErrorOfARedrawByTheTimerIsShownOnce) {
    plot_.ShowDataset(0);
    DeleteItem("LEVEL1");
    for (int tick = 0; tick < 3; ++tick)
        plot_.Follow(0);
    EXPECT_EQ(ports.TakeBox().text, "Error attaching to dataset: LEVEL1");
    EXPECT_FALSE(plot_.ShowDataset(0));
    EXPECT_EQ(ports.TakeBox().text, "Error attaching to dataset: LEVEL1") << "asked again by the user";
    EXPECT_FALSE(plot_.Readout().valid);
    plot_.resize(0, 0);  // a window without a size is no error
    QTest::qWait(5);
}

TEST_F(PlotWidgetTest, RedrawThatIsDueWhenItsLevelHasGoneDrawsNothing) {
    ASSERT_TRUE(plot_.ShowDataset(0));
    plot_.resize(size - QSize(120, 90));
    CurrentSelection().datasets.clear();
    QTest::qWait(50);
    EXPECT_TRUE(ports.boxes.empty()) << ports.boxes.front().text;
}

TEST_F(PlotWidgetTest, SavesTheSameDrawingInEveryFormatWithoutTouchingTheOptions) {
    const PresentationOptions before = PrsOpt();
    PlotFileOptions options;
    options.width = size.width();
    options.height = size.height();
    options.resolution = 192;
    options.cursors = {125, 875};
    CurrentParameters().period = 160;
    for (const char* name : {"plot.png", "plot.SVG", "plot.pdf"})
        ASSERT_TRUE(SavePlot(folder.File(name), options)) << name;
    EXPECT_EQ(PrsOpt().rangeEnd, before.rangeEnd);
    // The pressure rises from the lower left to the upper right corner of the upper plot in red.
    const auto has = [&](int x, int fromY, int toY, const QColor& colour) {
        const QImage image(QString::fromStdString(folder.File("plot.png")));
        EXPECT_EQ(image.size(), 2 * size);
        bool found = false;
        for (int y = 2 * fromY; y < 2 * toY; ++y)
            for (int column = 2 * x - 1; column <= 2 * x + 1; ++column)
                found = found || image.pixelColor(column, y) == colour;
        return found;
    };
    const auto hasRed = [&](int x, int fromY, int toY) { return has(x, fromY, toY, {255, 0, 0}); };
    EXPECT_TRUE(hasRed(145, 20, 120)) << "cursor 1, above the curve";
    EXPECT_TRUE(has(855, 450, 570, {0, 0, 255})) << "cursor 2, below the curve";
    EXPECT_FALSE(has(145, 350, 530, {0, 0, 255}) || has(855, 120, 270, {255, 0, 0}));
    EXPECT_TRUE(hasRed(250, 180, 240) && !hasRed(250, 20, 180) && hasRed(750, 60, 120));
    const std::string svg = test::ReadAll(folder.File("plot.SVG"));
    for (const char* text : {"Pressure sensor - P", "well.vdb \u00B7 LEVEL1 \u00B7", "period 160 s",
                             "no filtered curves", "Vorela 1.0.5"})
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    EXPECT_EQ(test::ReadAll(folder.File("plot.pdf")).substr(0, 5), "%PDF-");
    options.monochrome = true;
    ASSERT_TRUE(SavePlot(folder.File("plot.png"), options));
    EXPECT_FALSE(hasRed(250, 0, size.height()));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(folder.File("paper.pdf")));
    EXPECT_TRUE(PrintPlot(printer, options));
    EXPECT_GT(test::ReadAll(folder.File("paper.pdf")).size(), 1000U);
    EXPECT_FALSE(SavePlot(folder.File("plot.gif"), options));
    EXPECT_NE(ports.TakeBox().text.find(".png, .svg or .pdf"), std::string::npos);
    EXPECT_FALSE(SavePlot(folder.File("missing/plot.png"), options));
    EXPECT_NE(ports.TakeBox().text.find("missing/plot.png"), std::string::npos);
}

TEST_F(PlotWidgetTest, AFittedPictureFillsItsHeightButKeepsAScaleThatTheUserChose) {
    const auto texts = [](bool fit) {
        test::RecordingSurface surface({1000, 600});
        PlotFileOptions options;
        options.fit = fit;
        EXPECT_TRUE(DrawPlotPicture(surface, options));
        return surface.Texts();
    };
    EXPECT_THAT(texts(false), testing::Contains("750"));  // 0 to 1000 by the automatic scale's steps
    EXPECT_THAT(texts(true),
                testing::AllOf(testing::Not(testing::Contains("750")), testing::Contains("-40")));
    AxisOptions& pressure = PrsOpt().Axis(Quantity::pressure);
    pressure = {10, 25, false, 0, 0};
    EXPECT_THAT(texts(true), testing::IsSupersetOf({"10", "25", "-40"}));
}

// --- Gestures of reading and finding one's way ---

class PlotGestureTest : public PlotWidgetTest {
  protected:
    void SetUp() override {
        PlotWidgetTest::SetUp();
        CycleRecord& cycles = CurrentSelection().datasets[0].cycles;
        ResetCycles(cycles, 2);
        for (std::size_t i = 0; i < 4; ++i) {  // three of 240 s from 100 s on
            AppendCycle(cycles);
            cycles.start[i] = 10'000 + 24'000 * static_cast<std::int32_t>(i);
        }
        CurrentParameters().period = 200;
        plot_.ShowDataset(0);
        cursors_.setCursor1(-50);
        cursors_.setCursor2(75);
    }
    std::optional<AxisRange> Axis(Quantity quantity) {
        return plot_.FileOptions(0).view.axes[IndexOf(quantity)];
    }
    void ExpectAxis(Quantity quantity, double minimum, double maximum) {
        const std::optional<AxisRange> axis = Axis(quantity);
        ASSERT_TRUE(axis);
        EXPECT_NEAR(axis->minimum, minimum, 0.01);
        EXPECT_NEAR(axis->maximum, maximum, 0.01);
    }
    /// Where a hand shows along a row of pixels, from x on.
    int HandFrom(int x, int y, int by) {
        for (; x > 0 && x < size.width(); x += by) {
            QTest::mouseMove(&plot_, {x, y});
            if (plot_.cursor().shape() == Qt::PointingHandCursor)
                return x;
        }
        ADD_FAILURE() << "nothing to click on";
        return middle;
    }
    int Pixels(const QColor& colour) {
        QTest::qWait(30);
        const QImage image = plot_.grab().toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += image.pixelColor(x, y) == colour ? 1 : 0;
        return count;
    }
    /// The pointer goes, and the crosshair with it.
    void Leave() {
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&plot_, &leave);
    }
    void ClickCycle(int x, int entry) {
        QTimer::singleShot(0, [entry] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_NE(menu, nullptr);
            menu->actions()[entry]->trigger();
            menu->close();
        });
        QTest::mouseClick(&plot_, Qt::LeftButton, {}, {x, 272});
    }
    void DragCursor(int from, int to, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&plot_, Qt::LeftButton, {}, {from, 150});
        QMouseEvent move(QEvent::MouseMove, QPointF(to, 150), QPointF(to, 150), Qt::NoButton, Qt::LeftButton,
                         modifiers);
        QApplication::sendEvent(&plot_, &move);
        QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {to, 150});
    }
    static constexpr int leftAxis = left + 6;
};

TEST_F(PlotGestureTest, AValueAxisZoomsMovesAndReturnsForThisViewOnly) {
    const PresentationOptions options = PrsOpt();
    // The upper plot reaches from 8 to 284 and from 0 to 1000 psi.
    WheelAt({leftAxis, 8 + 276 * 0.25}, {0, 120});
    ExpectAxis(Quantity::pressure, 150, 950);
    QTest::mousePress(&plot_, Qt::LeftButton, {}, {leftAxis, 40});
    QTest::mouseMove(&plot_, {leftAxis + 50, 40 + 69});
    QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {leftAxis + 50, 40 + 69});
    QTest::qWait(5);
    ExpectAxis(Quantity::pressure, 350, 1150);
    EXPECT_FALSE(Axis(Quantity::flow));
    ExpectSeen(0, 1000);
    EXPECT_TRUE(plot_.IsZoomed());
    QTest::mouseDClick(&plot_, Qt::LeftButton, {}, {leftAxis, 60});
    QTest::qWait(5);
    EXPECT_FALSE(Axis(Quantity::pressure));
    QTest::keyClick(&plot_, Qt::Key_Left, Qt::AltModifier);
    ExpectAxis(Quantity::pressure, 350, 1150);
    QTest::keyClick(&plot_, Qt::Key_Left, Qt::AltModifier);
    ExpectAxis(Quantity::pressure, 150, 950);
    QTest::keyClick(&plot_, Qt::Key_Left, Qt::AltModifier);
    EXPECT_FALSE(plot_.IsZoomed());
    QTest::mouseClick(&plot_, Qt::ForwardButton, {}, {middle, 100});
    ExpectAxis(Quantity::pressure, 150, 950);
    QTest::keyClick(&plot_, Qt::Key_Home);
    EXPECT_FALSE(plot_.IsZoomed());
    QTest::keyClick(&plot_, Qt::Key_F);
    QTest::qWait(5);
    // 0 to 999.9 on 236 pixels between the header's line and that of the cycle numbers, 20 each: -131 to
    // 1131.
    ExpectAxis(Quantity::pressure, -140, 1140);
    for (std::size_t i = 0; i < quantityCount; ++i)
        EXPECT_EQ(PrsOpt().axes[i].plottedMaximum, options.axes[i].plottedMaximum) << i;
}

TEST_F(PlotGestureTest, ShiftF10OpensTheContextMenuWithTheCycleAtCursor1) {
    cursors_.setCursor1(30);  // 300 s, in the cycle from 100 to 340 s
    QStringList entries;
    QTimer::singleShot(0, [&entries] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (const QAction* entry : menu->actions())
            entries << entry->text();
        menu->close();
    });
    QTest::keyClick(&plot_, Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_TRUE(entries.contains("&Use Cycle 1"));
}

TEST_F(PlotGestureTest, ALegendEntryHidesAndShowsItsCurve) {
    const int shown = Pixels(Qt::red);
    const QPoint pressure{HandFrom(left + 940, 20, -3), 20};
    QTest::mouseClick(&plot_, Qt::LeftButton, {}, pressure);
    Leave();
    EXPECT_LT(Pixels(Qt::red), shown / 10);
    EXPECT_TRUE(plot_.FileOptions(0).view.hidden[IndexOf(Quantity::pressure)]);
    EXPECT_EQ(plot_.Readout().values.size(), 2U) << "flow and valve are left";
    QTest::mouseClick(&plot_, Qt::LeftButton, {}, {HandFrom(left + 940, 20, -3), 20});
    Leave();
    EXPECT_EQ(Pixels(Qt::red), shown);
}

TEST_F(PlotGestureTest, ACycleNumberOffersItsCycle) {
    const QSignalSpy chosen(&plot_, &PlotWidget::CycleChosen);
    // Cycle 1 lies from 100 to 340 s, its number at 220 s; the third's at 700 s.
    const int first = HandFrom(left + 60, 272, 3);
    EXPECT_NEAR(first, left + 946 * 0.22, 9);
    ClickCycle(first, 0);
    EXPECT_EQ(chosen.last()[0].toInt(), 1);
    const int third = HandFrom(left + 880, 272, -3);
    EXPECT_NEAR(third, left + 946 * 0.70, 9);
    ClickCycle(third, 1);
    ExpectCursors(580, 820);
    EXPECT_GT(Pixels(QColor(cycleTint.red, cycleTint.green, cycleTint.blue)), 50'000) << "cycle 2";
}

TEST_F(PlotGestureTest, ADraggedCursorSnapsUnlessAltOrTheMenuSaysOtherwise) {
    cursors_.setCursor1(50);
    const auto x = [](double seconds) { return static_cast<int>(left + 946 * seconds / 1000); };
    DragCursor(x(500), x(343));
    ExpectCursors(340, 750);  // a valve boundary
    DragCursor(x(340), x(554));
    ExpectCursors(550, 750);  // a whole period before the other
    DragCursor(x(550), x(343), Qt::AltModifier);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->first, 343, 1);
    EXPECT_GT(plot_.FileOptions(0).cursors->first, 341);
    Choose(6);  // the menu's entry
    DragCursor(x(343), x(584));
    EXPECT_GT(plot_.FileOptions(0).cursors->first, 582);
    EXPECT_FALSE(ReadSnapSetting());
}

TEST_F(PlotGestureTest, EscapeEndsABandAndPutsBackWhatADragMoved) {
    const auto dragWithEscape = [&](QPoint from, QPoint to) {
        QTest::mousePress(&plot_, Qt::LeftButton, {}, from);
        QTest::mouseMove(&plot_, to);
        QTest::keyClick(&plot_, Qt::Key_Escape);
        QTest::mouseRelease(&plot_, Qt::LeftButton, {}, to);
        QTest::qWait(5);
    };
    dragWithEscape({300, 150}, {600, 150});
    EXPECT_FALSE(plot_.IsZoomed());
    dragWithEscape({leftAxis, 50}, {leftAxis, 120});
    EXPECT_FALSE(plot_.IsZoomed());
    dragWithEscape({static_cast<int>(left + 946 * 0.75), 150}, {300, 150});
    EXPECT_EQ(cursors_.cursor2(), 75);
}

TEST_F(PlotGestureTest, ThePlotsKeysActFromTheWidgetsBesideIt) {
    QWidget page;
    TimeCursors beside(&page);
    beside.resize(1000, 24);
    page.show();
    plot_.ServeKeysOf(&page);
    auto* marker = beside.findChild<QWidget*>("imgCursor1");
    QTest::keyClick(marker, Qt::Key_Plus);
    ExpectSeen(100, 900);
    QTest::keyClick(marker, Qt::Key_Left);
    ExpectSeen(100, 900);
    EXPECT_LT(beside.cursor1(), 33.3F) << "the arrows move the marker";
    QTest::keyClick(marker, Qt::Key_A);
    ExpectSeen(0, 1000);
}

TEST_F(PlotGestureTest, TheCrosshairFollowsThePointerAndTheClipboardGetsThePicture) {
    const QColor plate(255, 255, 225);
    EXPECT_EQ(Pixels(plate), 0);
    QTest::mouseMove(&plot_, {middle, 150});
    EXPECT_GT(Pixels(plate), 1000);
    Leave();
    EXPECT_EQ(Pixels(plate), 0);
    QTest::keyClick(&plot_, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->image().size(), size);
}

}  // namespace
}  // namespace vorela
