#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>

#include "db/DatasetRecord.h"
#include "plot/frmPlotFormat.h"
#include "plot/frmPlotScales.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

class PlotDialogs : public test::SettingsFixture {
  protected:
    PlotDialogs() {
        PrsOpt() = PresentationOptions{};
        PlotFormat() = PlotFormatOptions{};
        CurrentSelection() = Selection{};
    }
    template <typename Control>
    static Control* Get(const QDialog& dialog, const char* name) {
        auto* control = dialog.findChild<Control*>(name);
        EXPECT_NE(control, nullptr) << name;
        return control;
    }
    static void Click(const QDialog& dialog, const char* name) {
        Get<QAbstractButton>(dialog, name)->click();
    }
    static bool Enabled(const QDialog& dialog, const char* name) {
        return Get<QWidget>(dialog, name)->isEnabled();
    }
};

TEST_F(PlotDialogs, scalesOpenFilledWithElevenRangesAndTheModesControls) {
    PrsOpt().timeRange = 100;  // need not be an entry
    CurrentSelection().commonCurves = {{"ZG", "psi"}, {"RTC", "rps"}};
    CurrentSelection().choice.flowIndex = 1;
    const frmPlotScales dialog;
    EXPECT_EQ(dialog.windowTitle(), "Vorela Plot Scales");
    const auto* range = Get<QComboBox>(dialog, "cboRange");
    EXPECT_EQ(range->count(), 11);
    EXPECT_EQ(range->itemText(10), "61440");
    EXPECT_EQ(range->currentText(), "100");
    EXPECT_EQ(Get<QLabel>(dialog, "lblFlowUnits")->text(), "rps");
    EXPECT_EQ(Get<QLabel>(dialog, "lblModUnits")->text(), "units");
    EXPECT_EQ(dialog.findChildren<QCheckBox*>("chkAutoscale").size(), 5);
    EXPECT_TRUE(Enabled(dialog, "cboRange") && !Enabled(dialog, "txtStart"));
    Click(dialog, "optSpecific");
    EXPECT_TRUE(!Enabled(dialog, "cboRange") && Enabled(dialog, "txtEnd"));
    Click(dialog, "chkFullRange");
    EXPECT_TRUE(!Enabled(dialog, "txtEnd") && !Enabled(dialog, "optFixed"));
}

TEST_F(PlotDialogs, scalesAreWrittenByOkOnlyAndAppliedValuesOutliveACancel) {
    frmPlotScales dialog;
    QSignalSpy applied(&dialog, &frmPlotScales::Applied);
    dialog.show();
    dialog.findChild<QGroupBox*>("fraFlow")->findChild<QCheckBox*>("chkAutoscale")->setChecked(false);
    auto* minimum = Get<QLineEdit>(dialog, "txtFlowMin");
    minimum->setText("11");
    minimum->setModified(true);
    Click(dialog, "cmdOK");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(ports.TakeBox().text, "Flow Axis: Maximum must be greater than Minimum");
    EXPECT_EQ(dialog.focusWidget()->objectName(), "txtFlowMax");
    EXPECT_EQ(Get<QLineEdit>(dialog, "txtFlowMax")->selectedText(), "10");
    minimum->setText("3");
    minimum->setModified(true);
    Click(dialog, "cmdApply");
    EXPECT_EQ(applied.count(), 1);
    EXPECT_EQ(PrsOpt().Axis(Quantity::flow).minimum, 3);
    EXPECT_EQ(Settings(), "");
    Click(dialog, "cmdCancel");
    EXPECT_EQ(PrsOpt().Axis(Quantity::flow).minimum, 3);
    frmPlotScales second;
    second.show();
    Click(second, "cmdOK");
    EXPECT_FALSE(second.isVisible());
    EXPECT_NE(Settings().find("FlowMin=3\r\n"), std::string::npos);
}

TEST_F(PlotDialogs, formatRoundTripsThroughTheDialogAndRefusesAMissingValveSignal) {
    PlotFormat() = {4, 3, 0, 20, 1, true, false, true, false, true, 1, 1};
    frmPlotFormat dialog;
    QSignalSpy applied(&dialog, &frmPlotFormat::Applied);
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Vorela Plot Format");
    EXPECT_TRUE(Get<QAbstractButton>(dialog, "optY14")->isChecked());
    EXPECT_EQ(Get<QComboBox>(dialog, "cboHorizontal")->count(), 20);
    EXPECT_EQ(Get<QComboBox>(dialog, "cboNPlots")->currentText(), "1 - Single plot containing all curves");
    EXPECT_FALSE(Get<QCheckBox>(dialog, "chkFlow")->isChecked());
    Click(dialog, "optY20");
    Click(dialog, "optMod1");
    Get<QComboBox>(dialog, "cboVertical")->setCurrentText("6");
    Get<QComboBox>(dialog, "cboNPlots")->setCurrentIndex(1);
    CurrentSelection().datasets.resize(1);
    CurrentSelection().commonCurves = {{"ZG", "psi"}};
    Click(dialog, "cmdOK");
    Click(dialog, "cmdApply");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(ports.boxes.size(), 2U);
    EXPECT_EQ(applied.count(), 0);
    EXPECT_EQ(Settings(), "");
    Click(dialog, "optMod0");
    Click(dialog, "cmdOK");
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(Settings(),
              "[Plot]\r\nY1=4\r\nY2=0\r\nHorizontal=20\r\nVertical=6\r\nValve=0\r\nFlow=1\r\nNPlots=2\r\n"
              "PPres=-1\r\nPFlow=0\r\nPValve=-1\r\nPFPres=0\r\nPFFlow=-1\r\n");
}

}  // namespace
}  // namespace vorela
