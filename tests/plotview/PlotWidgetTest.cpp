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
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

constexpr QSize size{1000, 600};
// The plot area at this size: 27 to 973.
constexpr int left = 27;
constexpr int middle = 500;

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
    static test::CurveSpec Ramp(const char* name, std::int32_t count) {
        return {name, "psi", count, [](std::int32_t t) { return t / 100.0; }};
    }
    /// One notch nearer, around the left end of the time axis.
    void ZoomIn() {
        QWheelEvent event(QPointF(left, 100), QPointF(left, 100), {}, {0, 120}, {}, {}, {}, false);
        QSignalSpy redrawn(&plot_, &PlotWidget::VisibleSpanChanged);
        QApplication::sendEvent(&plot_, &event);
        EXPECT_TRUE(redrawn.wait());
    }
    void ExpectSeen(double from, double to) {
        const TimeSpan span = *plot_.FileOptions(0).span;
        EXPECT_EQ(std::pair(span.start / 100.0, span.end / 100.0), std::pair(from, to));
    }
    void DragTo(int from, int to, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&plot_, Qt::LeftButton, modifiers, {from, 100});
        QTest::mouseMove(&plot_, {to, 100});
        QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {to, 100});
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

TEST_F(PlotWidgetTest, putsTheGuideUnderTheTimeAxisAndReadsTheCursors) {
    ASSERT_TRUE(plot_.ShowDataset(0));
    ExpectSeen(0, 1000);  // the last sample is at 999.9 s
    EXPECT_EQ(cursors_.Margin(), left);
    cursors_.setCursor1(25);
    EXPECT_EQ(plot_.Cursor1(), 25);
    EXPECT_EQ(plot_.FileOptions(0).cursors->first, 250);  // seconds
    EXPECT_TRUE(QSignalSpy(&plot_, &PlotWidget::ReadoutChanged).wait());
    EXPECT_EQ(plot_.Readout().time1, 250);
    EXPECT_NEAR(*plot_.Readout().values[0].atCursor1, 250, 1e-3);
    EXPECT_EQ(plot_.Readout().values[0].curve, "ZG");
}

TEST_F(PlotWidgetTest, aCursorIsDraggedInThePlotAndNotBeyondItsAxis) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(50);
    QTest::mousePress(&plot_, Qt::LeftButton, {}, {middle, 100});
    for (const int x : {left + 94, left - 1}) {
        QTest::mouseMove(&plot_, {x, 100});
        EXPECT_NEAR(cursors_.cursor1(), 9.94, 0.02) << x;
    }
}

TEST_F(PlotWidgetTest, zoomLeavesSettingsAndCursorTimesAndHomeReturns) {
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

TEST_F(PlotWidgetTest, aBandZoomsAndAShiftDragPans) {
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
                                        {Qt::Key_Plus, 300.0, 800.0}}) {
        QTest::keyClick(&plot_, key);
        EXPECT_TRUE(redrawn.wait());
        ExpectSeen(from, to);
    }
}

TEST_F(PlotWidgetTest, theZoneBetweenTheCursorsIsShownAndTheCursorsStayAtTheirTimes) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(70);
    cursors_.setCursor2(20);
    QTimer::singleShot(0, [] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        menu->actions()[0]->trigger();
        menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, {100, 100}, plot_.mapToGlobal(QPoint(100, 100)));
    QApplication::sendEvent(&plot_, &event);
    ExpectSeen(200, 700);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->first, 700, 1e-3);
    EXPECT_NEAR(plot_.FileOptions(0).cursors->second, 200, 1e-3);
}

TEST_F(PlotWidgetTest, followingStaysWhereItIsWhileZoomed) {
    plot_.ShowDataset(0);
    Append("LEVEL1", Ramp("ZG", 0), 5'000);
    CurrentSelection().datasets[0].extentB = 149'990;
    plot_.Follow(0);
    ExpectSeen(0, 1500);
    ZoomIn();
    CurrentSelection().datasets[0].extentB = 200'000;
    plot_.Follow(0);
    ExpectSeen(0, 1200);
    plot_.ResetZoom();
    ExpectSeen(0, 2010);
}

TEST_F(PlotWidgetTest, aTypedPositionIsExactAndCheckedAgainstTheRecord) {
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

TEST_F(PlotWidgetTest, elapsedTimeCountsFromTheFirstSampleEverywhere) {
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

TEST_F(PlotWidgetTest, anErrorOfARedrawByTheTimerIsShownOnce) {
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

TEST_F(PlotWidgetTest, savesTheSameDrawingInEveryFormatWithoutTouchingTheOptions) {
    const PresentationOptions before = PrsOpt();
    PlotFileOptions options;
    options.width = size.width();
    options.height = size.height();
    options.resolution = 192;
    options.cursors = {125, 875};
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
    EXPECT_NE(test::ReadAll(folder.File("plot.SVG")).find("Pressure sensor - P"), std::string::npos);
    EXPECT_EQ(test::ReadAll(folder.File("plot.pdf")).substr(0, 5), "%PDF-");
    options.monochrome = true;
    ASSERT_TRUE(SavePlot(folder.File("plot.png"), options));
    EXPECT_FALSE(hasRed(250, 0, size.height()));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(folder.File("paper.pdf")));
    EXPECT_TRUE(PrintPlot(printer, options));
    EXPECT_GT(test::ReadAll(folder.File("paper.pdf")).size(), 1000U);
    EXPECT_FALSE(IsPlotFileName("plot.gif"));
    EXPECT_FALSE(SavePlot(folder.File("missing/plot.png"), options));
    EXPECT_NE(ports.TakeBox().text.find("missing/plot.png"), std::string::npos);
}

}  // namespace
}  // namespace vorela
