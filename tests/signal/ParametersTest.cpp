// The input parameters: settings section, dialog checks, interval values.
#include <gmock/gmock.h>

#include "db/DatasetRecord.h"
#include "general/SettingsFile.h"
#include "signal/modParameters.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

using testing::Each;
using testing::ElementsAre;

class Parameters : public testing::Test {
  protected:
    void SetUp() override {
        SetSettingsFilePath(folder.File("Vorela.ini"));
        CurrentParameters() = ParameterSet{};
        SelectDatasets(0);
    }
    void TearDown() override {
        CurrentParameters() = ParameterSet{};
        SelectDatasets(0);
    }
    static void SelectDatasets(std::size_t count) { CurrentSelection().datasets.resize(count); }
    static void Write(const std::string& key, const std::string& value) {
        WriteIniString("Parameters", key, value, SettingsFilePath());
    }
    static std::string Stored(const std::string& key) {
        return ReadIniString("Parameters", key, "(none)", SettingsFilePath());
    }
    /// A form as if the user had typed every box anew.
    static ParametersForm Typed() {
        ParametersForm form = ShowParameters();
        for (BoxText* box : {&form.period, &form.casingID, &form.td, &form.compressibility, &form.slope,
                             &form.b0, &form.dw, &form.dLen})
            box->changed = true;
        return form;
    }
    static std::string MessageOf(const ParametersForm& form) {
        const auto refusal = ValidateParameters(form);
        return refusal ? refusal->message : "";
    }
    test::TempFolder folder;
    test::ScriptedPorts ports;
};

TEST_F(Parameters, AnEmptyFileGivesTheDefaultsForEveryLevel) {
    SelectDatasets(3);
    CurrentParameters().td = 5;
    ReadParameters();
    const ParameterSet& set = CurrentParameters();
    EXPECT_EQ(set.period, 240);
    EXPECT_EQ(set.filterN, 1);
    EXPECT_EQ(set.casingID, 6);
    EXPECT_EQ(set.td, 10000);
    EXPECT_EQ(set.compressibility, 0.01);
    EXPECT_EQ(set.slope, 0.05);
    EXPECT_EQ(set.b0, 1);
    EXPECT_EQ(set.dw, 7.5);
    EXPECT_EQ(set.dLen, 0);
    EXPECT_EQ(set.numInts, 3);
    EXPECT_THAT(set.cycleNo, ElementsAre(1, 1, 1));
    EXPECT_THAT(set.porosity, ElementsAre(1, 1, 1));
    EXPECT_THAT(set.viscosity, ElementsAre(1, 1, 1));
    EXPECT_THAT(set.ct, ElementsAre(1, 1, 1));
    EXPECT_THAT(set.height, ElementsAre(10, 10, 10));
}

TEST_F(Parameters, EveryFieldComesBackFromTheFile) {
    ParameterSet set;
    set.period = 243.125;
    set.usePeriodInMatch = 1;
    set.bandPass = 1;
    set.filterN = 3;
    set.casingID = 9.625;
    set.td = 12345.5;
    set.compressibility = 3e-6;
    set.spinner = 2;
    set.slope = 0.0321;
    set.b0 = 1.2;
    set.dw = 8.5;
    set.cycleNo = {4, 5};
    set.porosity = {0.21, 0.22};
    set.viscosity = {1.5, 0.1};
    set.ct = {1e-5, 2e-5};
    set.height = {12.5, 30};
    set.numInts = 2;
    set.dFilt = 3;
    set.dLen = 2.5;
    CurrentParameters() = set;
    WriteParameters();
    EXPECT_EQ(Stored("Compressibility"), "0.000003");
    EXPECT_EQ(Stored("1CT"), "0.00002");
    CurrentParameters() = ParameterSet{};
    ReadParameters();
    const ParameterSet& read = CurrentParameters();
    EXPECT_EQ(
        std::tie(read.period, read.usePeriodInMatch, read.bandPass, read.filterN, read.casingID, read.td),
        std::tie(set.period, set.usePeriodInMatch, set.bandPass, set.filterN, set.casingID, set.td));
    EXPECT_EQ(std::tie(read.compressibility, read.spinner, read.slope, read.b0, read.dw, read.numInts),
              std::tie(set.compressibility, set.spinner, set.slope, set.b0, set.dw, set.numInts));
    EXPECT_EQ(
        std::tie(read.cycleNo, read.porosity, read.viscosity, read.ct, read.height, read.dFilt, read.dLen),
        std::tie(set.cycleNo, set.porosity, set.viscosity, set.ct, set.height, set.dFilt, set.dLen));
}

TEST_F(Parameters, KeysStandInTheSectionsOrder) {
    SelectDatasets(1);
    ReadParameters();
    WriteParameters();
    const std::string file = test::ReadAll(SettingsFilePath());
    std::size_t at = 0;
    for (const char* key : {"Period", "UsePeriodInMatch", "BandPass", "FilterN", "CasingID", "TD",
                            "Compressibility", "Spinner", "Slope", "B0", "DW", "0CycleNo", "0Porosity",
                            "0Viscosity", "0CT", "0Height", "NumInts", "DFilt", "DLen"}) {
        const std::size_t found = file.find("\n" + std::string(key) + "=");
        ASSERT_NE(found, std::string::npos) << key;
        EXPECT_GE(found, at) << key;
        at = found;
    }
}

TEST_F(Parameters, AStoredNumberOfIntervalsIsRaisedNeverLowered) {
    Write("NumInts", "5");
    SelectDatasets(2);
    ReadParameters();
    EXPECT_EQ(CurrentParameters().numInts, 5);
    EXPECT_EQ(CurrentParameters().height.size(), 5U);
    ResizeIntervalArrays();
    EXPECT_EQ(CurrentParameters().numInts, 2);
    EXPECT_EQ(CurrentParameters().height.size(), 2U);
}

TEST_F(Parameters, WithoutIntervalsTheReadingEndsBeforeTheFilter) {
    Write("NumInts", "0");
    Write("DLen", "7");
    Write("DFilt", "2");
    Write("Period", "100");
    CurrentParameters().porosity = {0.5};
    ReadParameters();
    EXPECT_EQ(CurrentParameters().period, 100);
    EXPECT_EQ(CurrentParameters().dLen, 0);
    EXPECT_EQ(CurrentParameters().dFilt, 0);
    EXPECT_THAT(CurrentParameters().porosity, ElementsAre(0.5));
}

TEST_F(Parameters, ResizingReadsEveryEntryAgain) {
    Write("0Porosity", "0.25");
    CurrentParameters().porosity = {0.9};
    SelectDatasets(2);
    ResizeIntervalArrays();
    EXPECT_THAT(CurrentParameters().porosity, ElementsAre(0.25, 1));
    SelectDatasets(0);
    ResizeIntervalArrays();
    EXPECT_EQ(CurrentParameters().numInts, 0);
    EXPECT_THAT(CurrentParameters().porosity, ElementsAre(0.25, 1));
}

TEST_F(Parameters, ValuesAreReadByTheirLeadingNumberAndIntegersRounded) {
    Write("Period", "250s");
    Write("TD", "deep");
    Write("FilterN", "2.5");
    Write("Spinner", "-1");
    ReadParameters();
    EXPECT_EQ(CurrentParameters().period, 250);
    EXPECT_EQ(CurrentParameters().td, 0);
    EXPECT_EQ(CurrentParameters().filterN, 2);
    EXPECT_EQ(CurrentParameters().spinner, -1);
}

TEST_F(Parameters, AnIntegerBeyondItsTypeIsReportedByFileAndKeyAndChangesNothing) {
    for (const char* key : {"FilterN", "NumInts"}) {
        Write("Period", "100");
        Write(key, "99999");
        ReadParameters();
        ASSERT_EQ(ports.boxes.size(), 1U) << key;
        EXPECT_THAT(ports.boxes[0].text, testing::HasSubstr(SettingsFilePath() + ", [Parameters] " + key));
        EXPECT_EQ(CurrentParameters().period, 240);
        ports.boxes.clear();
        Write(key, "1");
    }
}

TEST_F(Parameters, DialogShowsRoundedTextsAndKeepsWhatTheUserDidNotTouch) {
    CurrentParameters().period = 243.4;
    CurrentParameters().compressibility = 3.14159e-6;
    CurrentParameters().spinner = 9;
    ParametersForm form = ShowParameters();
    EXPECT_EQ(form.period.text, "243");
    EXPECT_EQ(form.casingID.text, "6.000");
    EXPECT_EQ(form.td.text, "10000.0");
    EXPECT_EQ(form.compressibility.text, "0.0000031");
    EXPECT_EQ(form.b0.text, "1.0000");
    EXPECT_EQ(form.dLen.text, "0.00");
    EXPECT_FALSE(form.spinner);
    EXPECT_EQ(form.filter, 0);
    form.dw = {"8.5", true};
    EXPECT_FALSE(ValidateParameters(form));
    EXPECT_EQ(CurrentParameters().period, 243.4);
    EXPECT_EQ(CurrentParameters().compressibility, 3.14159e-6);
    EXPECT_EQ(CurrentParameters().dw, 8.5);
    EXPECT_EQ(CurrentParameters().spinner, 1) << "no spinner type selected";
}

TEST_F(Parameters, EachBoxIsRefusedOutsideItsRangeWithItsMessage) {
    struct Case {
        BoxText ParametersForm::*box;
        const char* good;
        const char* bad;
        const char* message;
        const char* control;
    };
    const std::vector<Case> cases{
        {&ParametersForm::period, "20", "19.9", "Period of test: Out of range", "txtPeriod"},
        {&ParametersForm::casingID, "10000", "0.99", "Casing ID: Out of range", "txtCasingID"},
        {&ParametersForm::td, "2147483647", "2147483648", "Total depth: Out of range", "txtTD"},
        {&ParametersForm::compressibility, "-1", "x", "Compressibility: Out of range", "txtCompressibility"},
        {&ParametersForm::slope, "0.0001", "0.00009", "Spinner slope: Out of range", "txtSlope"},
        {&ParametersForm::b0, "0", "", "Formation volume factor: Out of range", "txtB0"},
        {&ParametersForm::dw, "1", "10000.1", "Borehole diameter: Out of range", "txtDW"},
        {&ParametersForm::dLen, "1000", "1000.01", "Dravik filter length: Out of range", "txtDLen"},
    };
    for (const Case& each : cases) {
        CurrentParameters() = ParameterSet{};
        ParametersForm form = Typed();
        form.spinner = userDefinedSpinner;
        (form.*each.box).text = each.good;
        EXPECT_EQ(MessageOf(form), "") << each.message;
        (form.*each.box).text = each.bad;
        const auto refusal = ValidateParameters(form);
        ASSERT_TRUE(refusal) << each.message;
        EXPECT_EQ(refusal->message, each.message);
        EXPECT_EQ(refusal->control, each.control);
    }
}

TEST_F(Parameters, ValuesCheckedBeforeARefusalAreStoredLaterOnesNot) {
    ParametersForm form = Typed();
    form.period.text = "300";
    form.bandPass = true;
    form.td.text = "0";
    form.dw.text = "9";
    EXPECT_EQ(MessageOf(form), "Total depth: Out of range");
    EXPECT_EQ(CurrentParameters().period, 300);
    EXPECT_EQ(CurrentParameters().bandPass, 1);
    EXPECT_EQ(CurrentParameters().td, 10000);
    EXPECT_EQ(CurrentParameters().dw, 7.5);
}

TEST_F(Parameters, SlopeCountsForTheUserDefinedSpinnerOnlyAndNoFilterMeansNone) {
    ParametersForm form = Typed();
    form.spinner = 1;
    form.slope.text = "";
    form.filter = std::nullopt;
    form.dLen.text = "5000";
    CurrentParameters().dFilt = 2;
    CurrentParameters().dLen = 4;
    EXPECT_EQ(MessageOf(form), "");
    EXPECT_EQ(CurrentParameters().slope, 0.05);
    EXPECT_EQ(CurrentParameters().dFilt, 0);
    EXPECT_EQ(CurrentParameters().dLen, 0);
}

TEST_F(Parameters, IntervalValuesAreStoredWhenTheyAreNumbers) {
    SelectDatasets(2);
    ReadParameters();
    EXPECT_FALSE(SetIntervalValue(IntervalField::viscosity, 1, " 0.5 "));
    EXPECT_EQ(Stored("1Viscosity"), "0.5");
    EXPECT_FALSE(SetIntervalValue(IntervalField::compressibility, 0, "-1e-5"));
    EXPECT_EQ(CurrentParameters().ct[0], -1e-5);
    EXPECT_EQ(SetIntervalValue(IntervalField::porosity, 0, "")->message, "Porosity: Out of range");
    EXPECT_EQ(SetIntervalValue(IntervalField::height, 1, "1m")->message, "Height: Out of range");
    EXPECT_EQ(CurrentParameters().height[1], 10);
    SetCycleNumber(1, 7);
    EXPECT_EQ(Stored("1CycleNo"), "7");
    EXPECT_EQ(CycleNumberOf(1), 7);
    EXPECT_EQ(CycleNumberOf(9), 1);
}

TEST_F(Parameters, EveryKeyHasItsRangeAndOthersHaveNone) {
    SelectDatasets(1);
    ReadParameters();
    WriteParameters();
    std::istringstream lines(test::ReadAll(SettingsFilePath()));
    int keys = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t cut = line.find('=');
        if (cut == std::string::npos)
            continue;
        ++keys;
        EXPECT_TRUE(ParameterSettingRange(line.substr(0, cut))) << line;
    }
    EXPECT_EQ(keys, 19);
    EXPECT_EQ(ParameterSettingRange("period")->lower, 20);
    EXPECT_EQ(ParameterSettingRange("12CycleNo")->integer, true);
    EXPECT_EQ(ParameterSettingRange("1Porosity")->message, "Porosity: Out of range");
    for (const char* key : {"", "Perio", "Porosity", "01CT", "-1CT", "1", "1Periods", "99999CT"})
        EXPECT_FALSE(ParameterSettingRange(key)) << key;
}

}  // namespace
}  // namespace vorela
