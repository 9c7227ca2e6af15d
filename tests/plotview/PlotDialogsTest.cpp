#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>

#include "db/DatasetRecord.h"
#include "plotview/frmPlotFormat.h"
#include "plotview/frmPlotScales.h"
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
    static void Type(const QDialog& dialog, const char* name, const char* text) {
        Get<QLineEdit>(dialog, name)->setText(text);
        Get<QLineEdit>(dialog, name)->setModified(true);
    }
    static bool Enabled(const QDialog& dialog, const char* name) {
        return Get<QWidget>(dialog, name)->isEnabled();
    }
};

TEST_F(PlotDialogs, EveryBoxOfTheScalesKeepsItsOwnValue) {
    const std::pair<const char*, const char*> boxes[] = {
        {"txtStart", "-0.125"},  {"txtEnd", "9.5"},        {"txtPresMin", "1"},
        {"txtPresMax", "2"},     {"txtFlowMin", "3"},      {"txtFlowMax", "4"},
        {"txtModMin", "5"},      {"txtModMax", "6"},       {"txtFiltPresMin", "-7"},
        {"txtFiltPresMax", "8"}, {"txtFiltFlowMin", "-9"}, {"txtFiltFlowMax", "10"}};
    const auto autoscale = [](const QDialog& dialog, const char* frame) {
        return Get<QGroupBox>(dialog, frame)->findChild<QCheckBox*>("chkAutoscale");
    };
    const char* frames[] = {"fraPres", "fraFlow", "fraMod", "fraFiltPres", "fraFiltFlow"};
    EXPECT_EQ(Get<QLabel>(frmPlotScales(), "lblModUnits")->text(), "units");
    CurrentSelection().commonCurves = {{"ZG", "psi"}, {"RTC", "rps"}, {"PVLPOS", "cps"}};
    CurrentSelection().choice.flowIndex = 1;
    frmPlotScales first;
    for (const auto& [label, unit] : {std::pair("lblPresUnits", "psi"),
                                      {"lblFlowUnits", "rps"},
                                      {"lblModUnits", "cps"},
                                      {"lblFiltPresUnits", "psi"},
                                      {"lblFiltFlowUnits", "rps"}})
        EXPECT_EQ(Get<QLabel>(first, label)->text(), unit) << label;
    EXPECT_TRUE(Enabled(first, "cboRange") && !Enabled(first, "txtStart"));
    Click(first, "optSpecific");
    EXPECT_TRUE(!Enabled(first, "cboRange") && Enabled(first, "txtEnd"));
    Click(first, "chkElapsed");
    Get<QComboBox>(first, "cboRange")->setCurrentText("123");
    for (const char* frame : frames)
        autoscale(first, frame)->setChecked(false);
    for (const auto& [name, text] : boxes) {
        Type(first, name, text);
    }
    Click(first, "cmdOK");
    frmPlotScales second;
    for (const auto& [name, text] : boxes)
        EXPECT_EQ(Get<QLineEdit>(second, name)->text(), text);
    EXPECT_TRUE(Get<QAbstractButton>(second, "optSpecific")->isChecked());
    EXPECT_TRUE(Get<QAbstractButton>(second, "chkElapsed")->isChecked());
    for (const char* frame : {"fraFlow", "fraFiltPres"})
        autoscale(second, frame)->setChecked(true);
    Click(second, "chkFullRange");
    EXPECT_TRUE(!Enabled(second, "txtEnd") && !Enabled(second, "optFixed"));
    Click(second, "cmdOK");
    const std::string written = Settings();
    EXPECT_EQ(written,
              "[Presentation]\r\nTimeRange=123\r\nTimeAuto=-1\r\nElapsed=-1\r\n"
              "PresMin=1\r\nPresMax=2\r\nPresAuto=0\r\nFlowMin=3\r\nFlowMax=4\r\nFlowAuto=-1\r\n"
              "ModMin=5\r\nModMax=6\r\nModAuto=0\r\nFiltPresMin=-7\r\nFiltPresMax=8\r\nFPresAuto=-1\r\n"
              "FiltFlowMin=-9\r\nFiltFlowMax=10\r\nFFlowAuto=0\r\nFixed=0\r\nStart=-0.125\r\nEnd=9.5\r\n");
    PrsOpt() = {};
    EXPECT_EQ(RoundTrip(written, ReadPresentationOptions, WritePresentationOptions), written);
    EXPECT_EQ(PrsOpt().Axis(Quantity::filteredPressure).minimum, -7);
}

TEST_F(PlotDialogs, ARefusedBoxTakesTheFocusAlsoWhenItsModeHadDisabledIt) {
    frmPlotScales dialog;
    QSignalSpy applied(&dialog, &frmPlotScales::Applied);
    dialog.show();
    Get<QGroupBox>(dialog, "fraFlow")->findChild<QCheckBox*>("chkAutoscale")->setChecked(false);
    Type(dialog, "txtFlowMin", "11");
    Click(dialog, "cmdOK");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(ports.TakeBox().text, "Flow Axis: Maximum must be greater than Minimum");
    EXPECT_EQ(dialog.focusWidget()->objectName(), "txtFlowMax");
    EXPECT_EQ(Get<QLineEdit>(dialog, "txtFlowMax")->selectedText(), "10");
    Type(dialog, "txtFlowMin", "3");
    Click(dialog, "optSpecific");
    Type(dialog, "txtEnd", "-1");
    Click(dialog, "chkFullRange");
    Click(dialog, "cmdApply");
    EXPECT_EQ(ports.TakeBox().text, "Start and end times are not in the correct order");
    EXPECT_EQ(dialog.focusWidget()->objectName(), "txtEnd");
    Type(dialog, "txtEnd", "77");
    Click(dialog, "cmdApply");
    EXPECT_EQ(applied.count(), 1);
    Click(dialog, "cmdCancel");
    EXPECT_EQ(PrsOpt().end, 77) << "what was applied outlives a cancel";
    EXPECT_EQ(Settings(), "");
}

TEST_F(PlotDialogs, FormatRoundTripsThroughTheDialogAndRefusesAMissingValveSignal) {
    PlotFormat() = {4, 3, 0, 20, 1, true, false, true, false, true, 1, 1};
    frmPlotFormat dialog;
    QSignalSpy applied(&dialog, &frmPlotFormat::Applied);
    dialog.show();
    EXPECT_TRUE(Get<QAbstractButton>(dialog, "optY14")->isChecked());
    EXPECT_EQ(Get<QComboBox>(dialog, "cboHorizontal")->count(), 20);
    EXPECT_EQ(Get<QComboBox>(dialog, "cboNPlots")->currentText(), "1 - Single plot containing all curves");
    const char* curves[] = {"chkPres", "chkFlow", "chkValve", "chkFPres", "chkFFlow"};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Get<QCheckBox>(dialog, curves[i])->isChecked(), i % 2 == 0) << curves[i];
    EXPECT_TRUE(Get<QAbstractButton>(dialog, "optFlow1")->isChecked());
    EXPECT_TRUE(Enabled(dialog, "optY10") && Enabled(dialog, "optY20"));
    Click(dialog, "optY20");
    Click(dialog, "optMod1");
    Get<QComboBox>(dialog, "cboVertical")->setCurrentText("6");
    Get<QComboBox>(dialog, "cboNPlots")->setCurrentIndex(1);
    EXPECT_FALSE(Enabled(dialog, "optY10") || Enabled(dialog, "optY20")) << "the dual plot has its own axes";
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
    const std::string written = Settings();
    PlotFormat() = {};
    EXPECT_EQ(RoundTrip(written, ReadPlotFormat, WritePlotFormat), written);
    for (int only = 0; only < 5; ++only) {
        frmPlotFormat one;
        for (int i = 0; i < 5; ++i)
            Get<QCheckBox>(one, curves[i])->setChecked(i == only);
        Click(one, "cmdApply");
        frmPlotFormat again;
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(PlotFormat().Shows(static_cast<Quantity>(i)), i == only) << curves[i];
            EXPECT_EQ(Get<QCheckBox>(again, curves[i])->isChecked(), i == only) << curves[i];
        }
    }
}

}  // namespace
}  // namespace vorela
