#include <gtest/gtest.h>

#include <QImage>
#include <QInputDialog>
#include <QLineEdit>
#include <QPrinter>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "general/SettingsFile.h"
#include "plot/PlotFile.h"
#include "plot/PlotReadout.h"
#include "plot/PlotWidget.h"
#include "plot/TimeCursors.h"
#include "tests/support/DravikFixture.h"

namespace vorela {
namespace {

constexpr int width = 1000;
constexpr int height = 600;
// The plot area at this size: 27 to 973.
constexpr int left = 27;
constexpr int right = 973;

class PlotWidgetTest : public test::DravikFixture {
  protected:
    void SetUp() override {
        DravikFixture::SetUp();
        PrsOpt() = PresentationOptions{};
        PlotFormat() = PlotFormatOptions{};
        PrsOpt().timeAuto = true;
        const auto ramp = [](std::int32_t t) { return t / 100.0; };
        AddCurves("LEVEL1",
                  {{"ZG", "psi", 10'000, ramp}, {"RTC", "rps", 10'000, ramp}, {"PVLPOS", "", 10'000, ramp}});
        Select({"LEVEL1"});
        plot_.resize(width, height);
        cursors_.resize(width, 24);
        plot_.ConnectCursors(&cursors_);
        plot_.show();
        cursors_.show();
    }
    void Wheel(int x, int notches) {
        QWheelEvent event(QPointF(x, 100), QPointF(x, 100), {}, {0, notches * 120}, {}, {}, {}, false);
        QSignalSpy redrawn(&plot_, &PlotWidget::VisibleSpanChanged);
        QApplication::sendEvent(&plot_, &event);
        EXPECT_TRUE(redrawn.wait());
    }
    std::pair<double, double> Seen() {
        const auto span = *plot_.FileOptions(0).span;
        return {span.start / 100.0, span.end / 100.0};
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
    EXPECT_EQ(Seen(), std::make_pair(0.0, 1000.0));  // the last sample is at 999.9 s
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
    QTest::mousePress(&plot_, Qt::LeftButton, {}, {(left + right) / 2, 100});
    QTest::mouseMove(&plot_, {left + 94, 100});
    EXPECT_NEAR(cursors_.cursor1(), 9.94, 0.02);
    QTest::mouseMove(&plot_, {left - 1, 100});
    EXPECT_NEAR(cursors_.cursor1(), 9.94, 0.02);
    QTest::mouseRelease(&plot_, Qt::LeftButton, {}, {left - 1, 100});
}

TEST_F(PlotWidgetTest, zoomLeavesSettingsAndCursorTimesAndHomeReturns) {
    plot_.ShowDataset(0);
    const float before = cursors_.cursor2();
    const PresentationOptions options = PrsOpt();
    Wheel(left, 1);  // around the left end
    EXPECT_EQ(Seen(), std::make_pair(0.0, 800.0));
    EXPECT_TRUE(plot_.IsZoomed());
    EXPECT_EQ(cursors_.cursor2(), before);
    EXPECT_EQ(PrsOpt().rangeEnd, options.rangeEnd);
    EXPECT_EQ(PrsOpt().Axis(Quantity::pressure).plottedMaximum,
              options.Axis(Quantity::pressure).plottedMaximum);
    const QWidget* marker = cursors_.findChild<QWidget*>("imgCursor2");
    EXPECT_NEAR(marker->x() + marker->width() / 2.0, left + 946 * 0.6666 / 0.8, 2);
    plot_.ShowDataset(0);  // another redraw of the same scales
    EXPECT_EQ(Seen().second, 800.0);
    QTest::keyClick(&plot_, Qt::Key_Home);
    EXPECT_EQ(Seen(), std::make_pair(0.0, 1000.0));
    Wheel(left, 1);
    PrsOpt().timeAuto = false;
    PrsOpt().timeRange = 240;
    plot_.ShowDataset(0);  // other scales end the zoom
    EXPECT_EQ(Seen(), std::make_pair(760.0, 1000.0));
}

TEST_F(PlotWidgetTest, aBandZoomsAndAShiftDragPans) {
    plot_.ShowDataset(0);
    cursors_.setCursor1(-50);  // out of the way
    cursors_.setCursor2(-50);
    DragTo(left, (left + right) / 2);
    EXPECT_EQ(Seen(), std::make_pair(0.0, 500.0));
    DragTo((left + right) / 2, left, Qt::ShiftModifier);
    EXPECT_EQ(Seen(), std::make_pair(250.0, 750.0));
}

TEST_F(PlotWidgetTest, followingStaysWhereItIsWhileZoomed) {
    plot_.ShowDataset(0);
    Append("LEVEL1", {"ZG", "psi", 0, [](std::int32_t t) { return t / 100.0; }}, 5'000);
    CurrentSelection().datasets[0].extentB = 149'990;
    plot_.Follow(0);
    EXPECT_EQ(Seen(), std::make_pair(0.0, 1500.0));
    Wheel(left, 1);
    CurrentSelection().datasets[0].extentB = 200'000;
    plot_.Follow(0);
    EXPECT_EQ(Seen(), std::make_pair(0.0, 1200.0));
    plot_.ResetZoom();
    EXPECT_EQ(Seen(), std::make_pair(0.0, 2010.0));
}

TEST_F(PlotWidgetTest, aTypedPositionIsExactAndCheckedAgainstTheRecord) {
    plot_.ShowDataset(0);
    Type("123.45");
    plot_.TypeCursorPosition(1);
    EXPECT_NEAR(cursors_.cursor1(), 12.345, 1e-5);
    Type("5000");
    QTimer::singleShot(50, [] { QApplication::activeModalWidget()->close(); });
    plot_.TypeCursorPosition(1);
    EXPECT_EQ(ports.boxes.back().text, "Cursor position out of range");
    EXPECT_NEAR(cursors_.cursor1(), 12.345, 1e-5);
}

TEST_F(PlotWidgetTest, anErrorOfARedrawByTheTimerIsShownOnce) {
    plot_.ShowDataset(0);
    DeleteItem("LEVEL1");
    for (int tick = 0; tick < 3; ++tick)
        plot_.Follow(0);
    ASSERT_EQ(ports.boxes.size(), 1U);
    EXPECT_EQ(ports.boxes[0].text, "Error attaching to dataset: LEVEL1");
    EXPECT_FALSE(plot_.ShowDataset(0));  // asked again by the user: said again
    EXPECT_EQ(ports.boxes.size(), 2U);
    EXPECT_FALSE(plot_.Readout().valid);
    plot_.resize(0, 0);  // a window without a size is no error
    QTest::qWait(5);
}

TEST_F(PlotWidgetTest, savesTheSameDrawingInEveryFormatWithoutTouchingTheOptions) {
    const PresentationOptions before = PrsOpt();
    PlotFileOptions options;
    options.width = width;
    options.height = height;
    options.resolution = 192;
    for (const char* name : {"plot.png", "plot.SVG", "plot.pdf"})
        ASSERT_TRUE(SavePlot(folder.File(name), options)) << name;
    EXPECT_EQ(PrsOpt().rangeEnd, before.rangeEnd);
    const QString png = QString::fromStdString(folder.File("plot.png"));
    ASSERT_EQ(QImage(png).size(), QSize(2 * width, 2 * height));
    // The pressure rises from the lower left to the upper right corner of the upper plot in red.
    const auto hasRed = [&](int x, int fromY, int toY) {
        const QImage image(png);
        bool red = false;
        for (int y = 2 * fromY; y < 2 * toY; ++y)
            red = red || image.pixelColor(2 * x, y) == QColor(255, 0, 0);
        return red;
    };
    EXPECT_TRUE(hasRed(250, 180, 240) && !hasRed(250, 20, 180) && hasRed(750, 60, 120));
    EXPECT_NE(test::ReadAll(folder.File("plot.SVG")).find("Pressure sensor - P"), std::string::npos);
    EXPECT_EQ(test::ReadAll(folder.File("plot.pdf")).substr(0, 5), "%PDF-");
    options.monochrome = true;
    ASSERT_TRUE(SavePlot(folder.File("plot.png"), options));
    EXPECT_FALSE(hasRed(250, 0, height));
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(folder.File("paper.pdf")));
    EXPECT_TRUE(PrintPlot(printer, options));
    EXPECT_GT(test::ReadAll(folder.File("paper.pdf")).size(), 1000U);
    EXPECT_FALSE(IsPlotFileName("plot.gif"));
    EXPECT_FALSE(SavePlot(folder.File("missing/plot.png"), options));
    EXPECT_NE(ports.boxes.back().text.find("missing/plot.png"), std::string::npos);
}

}  // namespace
}  // namespace vorela
