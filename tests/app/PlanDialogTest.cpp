// The planning dialog as its user meets it, against what vorela-batch prints.
#include <QCheckBox>
#include <QClipboard>

#include "BuildPaths.h"
#include "analysis/ResultGridView.h"
#include "app/WindowPlace.h"
#include "app/frmPlan.h"
#include "plotview/PictureWidget.h"
#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

struct Entry {
    const char* box;
    const char* input;
    const char* value;
};
/// A different value in every box.
const Entry entries[] = {{"txtK", "k", "120"},
                         {"txtSkin", "skin", "4"},
                         {"txtHeight", "height", "33"},
                         {"txtPorosity", "porosity", "0.21"},
                         {"txtViscosity", "viscosity", "1.3"},
                         {"txtCt", "ct", "0.000012"},
                         {"txtKBelow", "kBelow", "90"},
                         {"txtSkinBelow", "skinBelow", "2"},
                         {"txtHeightBelow", "heightBelow", "61"},
                         {"txtDepth1", "depth1", "9701"},
                         {"txtDepth2", "depth2", "9752"},
                         {"txtTd", "td", "10003"},
                         {"txtCasing", "casing", "6.1"},
                         {"txtDw", "dw", "8.25"},
                         {"txtCompressibility", "compressibility", "0.000011"},
                         {"txtCompressibilityError", "compressibilityError", "30"},
                         {"txtSlope", "slope", "0.06"},
                         {"txtGauge", "gauge", "0.04"},
                         {"txtFlow", "flow", "0.007"},
                         {"txtGaugeCorner", "gaugeCorner", "0.003"},
                         {"txtFlowCorner", "flowCorner", "0.0025"},
                         {"txtPeriod", "period", "250"},
                         {"txtCycles", "cycles", "8"},
                         {"txtStep", "step", "0.15"},
                         {"txtAmplitude", "amplitude", "310"},
                         {"txtRamp", "ramp", "0.5"},
                         {"txtWanted", "wanted", "0.005"}};

class PlanDialog : public WindowFixture {
  protected:
    static void Retype(QDialog& dialog, const char* name, const char* text) {
        auto& box = Find<QLineEdit>(dialog, name);
        box.selectAll();
        QTest::keyClick(&box, Qt::Key_Delete);
        QTest::keyClicks(&box, text);
    }
    static void FillIn(frmPlan& dialog) {
        dialog.show();
        Find<QComboBox>(dialog, "cboSpinner").setCurrentIndex(3);
        Find<QCheckBox>(dialog, "chkOwnValve").click();
        for (const Entry& entry : entries)
            Retype(dialog, entry.box, entry.value);
    }
};

TEST_F(PlanDialog, ShowsWhatTheCommandLinePrintsAndKeepsEveryBox) {
    frmPlan first;
    FillIn(first);
    std::string inputs = "spinner=3,ownValve=0";
    for (const Entry& entry : entries)
        inputs += std::string(",") + entry.input + "=" + entry.value;
    const CommandResult printed =
        test::Run(VORELA_BIN_DIR "/vorela-batch --settings none.ini --plan " + inputs);
    ASSERT_EQ(printed.status, 0) << printed.err;
    const auto words = [](const std::string& text) { return QString::fromStdString(text).simplified(); };
    const QString expected = words(printed.out);
    for (const char* name : {"fgPeriods", "fgLevels", "fgMethods", "fgSummary"}) {
        const auto& grid = Find<ResultGridView>(first, name);
        ASSERT_GT(grid.rowCount(), 2) << name;
        for (int row = 0; row < grid.rowCount(); ++row) {
            QString line;
            for (int column = 0; column < grid.columnCount(); ++column)
                line += grid.item(row, column)->text() + " ";
            EXPECT_TRUE(expected.contains(line.simplified())) << name << ": " << line.toStdString();
        }
    }
    EXPECT_TRUE(Find<PictureWidget>(first, "picPeriods").HasPicture());
    Click(first, "cmdCopy");
    const QString copied = QApplication::clipboard()->text();
    EXPECT_TRUE(copied.contains("Noise of spinner\t0.007\trps\r\n")) << copied.toStdString();
    EXPECT_TRUE(copied.contains("Period (s)\tCycles\t"));
    ports.saveFileAnswer = SaveFileChoice{folder.File("plan.csv"), 1};
    Click(first, "cmdSave");
    EXPECT_THAT(ReadAll(folder.File("plan.csv")), HasSubstr("Harmonic,Level,"));
    for (const auto& [name, filter, content] : {std::tuple("plan.svg", 4, "Radius (ft)"),
                                                {"plan.png", 3, "PNG"},
                                                {"typed.PNG", 1, "PNG"},
                                                {"typed.csv", 5, "Harmonic,Level,"}}) {
        ports.saveFileAnswer = SaveFileChoice{folder.File(name), filter};
        Click(first, "cmdSave");
        EXPECT_THAT(ReadAll(folder.File(name)), HasSubstr(content));
    }
    Click(first, "cmdOK");
    EXPECT_EQ(first.result(), QDialog::Accepted);
    frmPlan second;
    for (const Entry& entry : entries)
        EXPECT_EQ(Find<QLineEdit>(second, entry.box).text(), entry.value) << entry.box;
    EXPECT_EQ(Find<QComboBox>(second, "cboSpinner").currentIndex(), 3);
    EXPECT_FALSE(Find<QCheckBox>(second, "chkOwnValve").isChecked());
}

TEST_F(PlanDialog, RefusesEachBoxByItselfAndShowsNothingStale) {
    frmPlan dialog;
    EXPECT_EQ(Find<QLabel>(dialog, "lblMessages").text(), "Permeability: a value is needed");
    FillIn(dialog);
    const auto& periods = Find<ResultGridView>(dialog, "fgPeriods");
    for (const Entry& entry : entries) {
        auto& box = Find<QLineEdit>(dialog, entry.box);
        Retype(dialog, entry.box, "-7e9");
        EXPECT_EQ(periods.rowCount(), 0) << entry.box;
        for (const char* button : {"cmdOK", "cmdCopy", "cmdSave"}) {
            Click(dialog, button);
            EXPECT_THAT(ports.TakeBox().text, ::testing::EndsWith(": Out of range")) << entry.box;
            EXPECT_TRUE(dialog.isVisible() && dialog.focusWidget() == &box && box.selectedText() == "-7e9");
        }
        Retype(dialog, entry.box, entry.value);
        EXPECT_EQ(periods.rowCount(), 20) << entry.box;
    }
    const std::tuple<const char*, const char*, const char*> together[] = {
        {"txtDepth1", "9800", "Upper level: the upper level must lie above the lower one"},
        {"txtDepth2", "10100", "Lower level: both levels must lie above the total depth"},
        {"txtCycles", "4.5", "Cycles used: a whole number is needed"}};
    for (const auto& [name, text, message] : together) {
        auto& box = Find<QLineEdit>(dialog, name);
        const std::string before = box.text().toStdString();
        Retype(dialog, name, text);
        Click(dialog, "cmdOK");
        EXPECT_EQ(ports.TakeBox().text, message);
        EXPECT_EQ(dialog.focusWidget(), &box);
        Retype(dialog, name, before.c_str());
    }
}

TEST_F(PlanDialog, NarrowWindowStacksTheBoxesSoThatPictureAndTableStayInSight) {
    frmPlan dialog;
    FillIn(dialog);
    const auto place = [&](const char* name) {
        const auto& widget = Find<QWidget>(dialog, name);
        return QRect(widget.mapTo(&dialog, QPoint()), widget.size());
    };
    const std::tuple<int, bool, const char*> windows[] = {
        {1260, true, "cboSpinner"}, {780, false, "txtDepth1"}, {1200, true, "cboSpinner"}};
    for (const auto& [width, twoColumns, behindTheLayersBelow] : windows) {
        for (const int dragged : {1050, width}) {  // a border that is dragged comes by
            dialog.resize(dragged, 560);
            QApplication::processEvents();
        }
        EXPECT_EQ(dialog.width(), width);
        EXPECT_EQ(place("txtPeriod").left() > place("txtK").right(), twoColumns) << width;
        for (const char* name : {"picPeriods", "fgPeriods"}) {
            EXPECT_TRUE(dialog.rect().contains(place(name))) << name << width;
            EXPECT_GE(place(name).width(), 320) << name << width;
        }
        EXPECT_FALSE(place("picPeriods").intersects(place("fgPeriods")));
        Find<QLineEdit>(dialog, "txtHeightBelow").setFocus();
        Press(Qt::Key_Tab);
        ASSERT_TRUE(dialog.focusWidget());
        EXPECT_EQ(dialog.focusWidget()->objectName(), behindTheLayersBelow) << width;
    }
    for (const int width : {780, 1260}) {
        frmPlan fresh;
        FitDialog(fresh, {width, 560});
        fresh.show();
        QApplication::setActiveWindow(&fresh);
        QTest::qWait(20);
        ASSERT_TRUE(fresh.focusWidget());
        EXPECT_EQ(fresh.focusWidget()->objectName(), "txtK") << width;
        QTest::keyClick(fresh.focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(fresh.focusWidget()->objectName(), "txtSkin") << width;
    }
}

}  // namespace
}  // namespace vorela::test
