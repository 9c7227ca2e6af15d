#include <QSignalSpy>
#include <QTest>

#include "plotview/TimeCursors.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

class TimeCursorsTest : public ::testing::Test {
  protected:
    TimeCursorsTest() {
        control_.resize(1000, 24);
        control_.show();
    }
    QWidget* Child(const char* name) { return control_.findChild<QWidget*>(name); }
    int Centre(const char* name) { return Child(name)->x() + Child(name)->width() / 2; }
    /// One drag of marker 1 by `pixels` in a single mouse move.
    void Drag(int pixels, Qt::MouseButton held = Qt::LeftButton) {
        QWidget* marker = Child("imgCursor1");
        QTest::mousePress(marker, Qt::LeftButton, {}, {5, 5});
        QMouseEvent move(QEvent::MouseMove, QPointF(5 + pixels, 5), QPointF(), Qt::NoButton, held, {});
        QApplication::sendEvent(marker, &move);
        QTest::mouseRelease(marker, Qt::LeftButton, {}, {5, 5});
    }

    TimeCursors control_;
};

TEST_F(TimeCursorsTest, APositionOutsideTheGuideIsStoredUnchanged) {
    QSignalSpy moved(&control_, &TimeCursors::CursorMoved);
    control_.setCursor1(150);
    EXPECT_EQ(control_.cursor1(), 150);
    EXPECT_EQ(Centre("imgCursor1"), 1500);
    control_.setCursor2(-std::numeric_limits<float>::infinity());
    control_.setCursor2(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(control_.cursor2()));
    ASSERT_EQ(moved.count(), 3);
    EXPECT_EQ(moved[0][0].toFloat(), 150);
    // Only a move that brings the centre back onto the guide is accepted.
    Drag(-400);
    EXPECT_EQ(control_.cursor1(), 150);
    Drag(-500);
    EXPECT_FLOAT_EQ(control_.cursor1(), 100);
}

TEST_F(TimeCursorsTest, AMovePastAnEndIsIgnoredAndBothEndsAreInside) {
    QSignalSpy moved(&control_, &TimeCursors::CursorMoved);
    Drag(50, Qt::NoButton);  // nothing is held: no drag
    Drag(668);
    EXPECT_EQ(Centre("imgCursor1"), 333);
    EXPECT_EQ(moved.count(), 0);
    Drag(667);
    EXPECT_FLOAT_EQ(control_.cursor1(), 100);  // past cursor 2: there is no order
    Drag(-1000);
    EXPECT_FLOAT_EQ(control_.cursor1(), 0);
    Drag(-1);
    EXPECT_FLOAT_EQ(control_.cursor1(), 0);
    EXPECT_EQ(moved.count(), 2);
}

TEST_F(TimeCursorsTest, ArrowKeysMoveTheMarkerThatHasTheFocus) {
    const std::tuple<const char*, Qt::Key, Qt::KeyboardModifiers, float, float> keys[] = {
        {"imgCursor1", Qt::Key_Right, {}, 33.4F, 66.66F},
        {"imgCursor2", Qt::Key_Left, {}, 33.4F, 66.6F},
        {"imgCursor2", Qt::Key_Left, Qt::ControlModifier, 33.4F, 65.6F},
        {"imgCursor1", Qt::Key_Right, Qt::ControlModifier, 34.4F, 65.6F},
        {"imgCursor1", Qt::Key_Up, {}, 34.4F, 65.6F}};
    for (const auto& [marker, key, modifiers, first, second] : keys) {
        QTest::mouseClick(Child(marker), Qt::LeftButton);
        QTest::keyClick(control_.focusWidget(), key, modifiers);
        EXPECT_FLOAT_EQ(control_.cursor1(), first);
        EXPECT_FLOAT_EQ(control_.cursor2(), second);
    }
}

TEST_F(TimeCursorsTest, TheMarginMovesTheGuideWithoutAnEventAndOverflowsIn16Bits) {
    QSignalSpy moved(&control_, &TimeCursors::CursorMoved);
    control_.setMargin(100);
    EXPECT_EQ(Child("imgGuide")->x(), 100);
    EXPECT_EQ(Child("imgGuide")->width(), 800);
    EXPECT_EQ(Centre("imgCursor1"), 367);
    EXPECT_EQ(moved.count(), 0);
    Drag(160);
    EXPECT_NEAR(control_.cursor1(), 53.4F, 0.1F) << "in percent of the guide";
    control_.setMargin(16383);
    for (const int margin : {16384, 40000, -16385})
        EXPECT_EQ(test::ThrownBy([&] { control_.setMargin(margin); }).number, error_number::overflow);
    control_.resize(500, 24);  // a control that cannot be laid out stays as it is
    EXPECT_EQ(Child("imgGuide")->x(), 16383);
}

TEST_F(TimeCursorsTest, PropertiesPersistUnderTheirNamesWithTheirDefaults) {
    QSignalSpy marked(&control_, &TimeCursors::PropertyMarked);
    control_.setCursor1(12.5F);
    control_.setMargin(7);
    EXPECT_EQ(marked[0][0].toString(), "Cursor1");
    EXPECT_EQ(marked[1][0].toString(), "Margin");
    TimeCursors other;
    other.RestoreProperties(control_.SavedProperties());
    EXPECT_FLOAT_EQ(other.cursor1(), 12.5F);
    EXPECT_EQ(other.Margin(), 7);
    other.RestoreProperties({});
    EXPECT_FLOAT_EQ(other.cursor1(), 33.33F);
    EXPECT_FLOAT_EQ(other.cursor2(), 66.66F);
    EXPECT_EQ(other.Margin(), 0);
}

TEST_F(TimeCursorsTest, OnAZoomedPlotMarkersKeepTheirTimes) {
    control_.SetVisibleSpan(20, 40);
    EXPECT_FLOAT_EQ(control_.cursor1(), 33.33F);
    EXPECT_NEAR(Centre("imgCursor1"), 667, 1);
    Drag(-67);
    EXPECT_NEAR(control_.cursor1(), 32.0F, 0.03F);
    EXPECT_GT(Centre("imgCursor2"), control_.width());
}

}  // namespace
}  // namespace vorela
