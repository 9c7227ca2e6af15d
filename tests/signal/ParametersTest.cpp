// The input parameters: settings section, dialog checks, interval values.

#include "db/DatasetRecord.h"
#include "signal/modParameters.h"
#include "tests/support/TestSupport.h"

namespace vorela {
namespace {

class Parameters : public test::SettingsFixture {
  protected:
    Parameters() {
        CurrentParameters() = ParameterSet{};
        SelectDatasets(0);
    }
    static void SelectDatasets(std::size_t count) { CurrentSelection().datasets.resize(count); }
    /// A whole settings file of the keys and values in `entries`, which stand between blanks.
    static std::string Section(std::string entries) {
        for (std::size_t at = 0; (at = entries.find(' ', at)) != std::string::npos;)
            entries.replace(at, 1, "\r\n");
        return "[Parameters]\r\n" + entries + "\r\n";
    }
    /// A form as if the user had typed every box anew.
    static ParametersForm Typed() {
        ParametersForm form = ShowParameters();
        for (auto& [key, box] : form.boxes)
            box.changed = true;
        return form;
    }
    static Refusal RefusalOf(const ParametersForm& form) {
        return ValidateParameters(form).value_or(Refusal{});
    }
};

TEST_F(Parameters, AnEmptyFileGivesTheDefaultsForEveryLevel) {
    SelectDatasets(2);
    CurrentParameters().td = 5;
    EXPECT_EQ(
        RoundTrip("", ReadParameters, WriteParameters),
        Section("Period=240 UsePeriodInMatch=0 BandPass=0 FilterN=1 CasingID=6 TD=10000 Compressibility=0.01 "
                "Spinner=0 Slope=0.05 B0=1 DW=7.5 0CycleNo=1 0Porosity=1 0Viscosity=1 0CT=1 0Height=10 "
                "1CycleNo=1 1Porosity=1 1Viscosity=1 1CT=1 1Height=10 NumInts=2 DFilt=0 DLen=0"));
}

TEST_F(Parameters, EveryKeyIsReadAndWrittenBackInTheSectionsOrder) {
    const std::string section = Section(
        "Period=243.125 UsePeriodInMatch=1 BandPass=-1 FilterN=3 CasingID=9.625 TD=12345.5 "
        "Compressibility=0.000003 Spinner=2 Slope=0.0321 B0=1.2 DW=8.5 0CycleNo=4 0Porosity=0.21 "
        "0Viscosity=1.5 0CT=0.00001 0Height=12.5 NumInts=1 DFilt=3 DLen=2.5");
    EXPECT_EQ(RoundTrip(section, ReadParameters, WriteParameters), section);
}

TEST_F(Parameters, AStoredNumberOfIntervalsIsRaisedNeverLowered) {
    WriteSettings(Section("NumInts=5"));
    SelectDatasets(2);
    ReadParameters();
    EXPECT_EQ(CurrentParameters().numInts, 5);
    EXPECT_EQ(CurrentParameters().intervals.size(), 5U);
    ResizeIntervalArrays();
    EXPECT_EQ(CurrentParameters().numInts, 2);
    EXPECT_EQ(CurrentParameters().intervals.size(), 2U);
}

TEST_F(Parameters, WithoutIntervalsTheReadingEndsBeforeTheFilter) {
    WriteSettings(Section("NumInts=0 DLen=7 DFilt=2 Period=100"));
    CurrentParameters().intervals.assign(1, {.porosity = 0.5});
    ReadParameters();
    const ParameterSet& set = CurrentParameters();
    EXPECT_EQ(std::tie(set.period, set.dLen, set.dFilt), std::make_tuple(100.0, 0.0, 0));
    EXPECT_THAT(set.intervals, ElementsAre(FieldsAre(1, 0.5, 1, 1, 10)));
}

TEST_F(Parameters, ResizingReadsEveryEntryAgain) {
    WriteSettings(Section("0Porosity=0.25"));
    CurrentParameters().intervals.assign(1, {.porosity = 0.9});
    for (const std::size_t datasets : {2U, 0U}) {
        SelectDatasets(datasets);
        ResizeIntervalArrays();
        EXPECT_EQ(CurrentParameters().numInts, static_cast<int>(datasets));
        EXPECT_THAT(CurrentParameters().intervals,
                    ElementsAre(FieldsAre(1, 0.25, 1, 1, 10), FieldsAre(1, 1, 1, 1, 10)));
    }
}

TEST_F(Parameters, AnIntegerBeyondItsTypeIsReportedByFileAndKeyAndChangesNothing) {
    for (const std::string key : {"FilterN", "NumInts"}) {
        WriteSettings(Section("Period=100 " + key + "=99999"));
        ReadParameters();
        EXPECT_THAT(ports.TakeBox().text, HasSubstr(SettingsFilePath() + ", [Parameters] " + key));
        EXPECT_EQ(CurrentParameters().period, 240);
    }
}

TEST_F(Parameters, DialogShowsRoundedTextsAndKeepsWhatTheUserDidNotTouch) {
    CurrentParameters().period = 243.4;
    CurrentParameters().compressibility = 3.14159e-6;
    CurrentParameters().spinner = 9;
    ParametersForm form = ShowParameters();
    std::string shown;
    for (const auto& [key, box] : form.boxes)
        shown += key + "=" + box.text + " ";
    EXPECT_EQ(shown,
              "B0=1.0000 CasingID=6.000 Compressibility=0.0000031 DLen=0.00 DW=7.500 Period=243 Slope=0.050 "
              "TD=10000.0 ");
    EXPECT_FALSE(form.spinner);
    EXPECT_EQ(form.filter, 0);
    form.boxes["DW"] = {"8.5", true};
    EXPECT_FALSE(ValidateParameters(form));
    EXPECT_EQ(CurrentParameters().period, 243.4);
    EXPECT_EQ(CurrentParameters().compressibility, 3.14159e-6);
    EXPECT_EQ(CurrentParameters().dw, 8.5);
    EXPECT_EQ(CurrentParameters().spinner, 1) << "no spinner type selected";
}

TEST_F(Parameters, EachBoxIsRefusedOutsideItsRangeWithItsMessage) {
    const std::vector<std::array<std::string, 4>> cases{
        {"Period", "20", "19.9", "Period of test"},
        {"CasingID", "10000", "0.99", "Casing ID"},
        {"TD", "2147483647", "2147483648", "Total depth"},
        {"Compressibility", "-1", "x", "Compressibility"},
        {"Slope", "0.0001", "0.00009", "Spinner slope"},
        {"B0", "0", "", "Formation volume factor"},
        {"DW", "1", "10000.1", "Borehole diameter"},
        {"DLen", "1000", "1000.01", "Dravik filter length"},
    };
    for (const auto& [key, good, bad, name] : cases) {
        CurrentParameters() = ParameterSet{};
        ParametersForm form = Typed();
        form.spinner = userDefinedSpinner;
        form.boxes[key].text = good;
        EXPECT_EQ(RefusalOf(form).message, "") << name;
        form.boxes[key].text = bad;
        EXPECT_EQ(RefusalOf(form).message, name + ": Out of range");
        EXPECT_EQ(RefusalOf(form).control, "txt" + key);
    }
}

TEST_F(Parameters, ValuesCheckedBeforeARefusalAreStoredLaterOnesNot) {
    ParametersForm form = Typed();
    form.boxes["Period"].text = "300";
    form.bandPass = true;
    form.boxes["TD"].text = "0";
    form.boxes["DW"].text = "9";
    EXPECT_EQ(RefusalOf(form).message, "Total depth: Out of range");
    const ParameterSet& set = CurrentParameters();
    EXPECT_EQ(std::tie(set.period, set.bandPass, set.td, set.dw), std::make_tuple(300.0, 1, 10000.0, 7.5));
}

TEST_F(Parameters, SlopeCountsForTheUserDefinedSpinnerOnlyAndNoFilterMeansNone) {
    ParametersForm form = Typed();
    form.spinner = 1;
    form.boxes["Slope"].text = "";
    form.filter = std::nullopt;
    form.boxes["DLen"].text = "5000";
    ParameterSet& set = CurrentParameters();
    set.dFilt = 2;
    set.dLen = 4;
    EXPECT_EQ(RefusalOf(form).message, "");
    EXPECT_EQ(std::tie(set.slope, set.dFilt, set.dLen), std::make_tuple(0.05, 0, 0.0));
}

TEST_F(Parameters, IntervalValuesAreStoredWhenTheyAreNumbers) {
    SelectDatasets(2);
    ReadParameters();
    EXPECT_FALSE(SetIntervalValue(&IntervalParameters::viscosity, 1, " 0.5 "));
    EXPECT_THAT(Settings(), HasSubstr("1Viscosity=0.5\r\n"));
    EXPECT_FALSE(SetIntervalValue(&IntervalParameters::ct, 0, "-1e-5"));
    EXPECT_EQ(CurrentParameters().intervals[0].ct, -1e-5);
    EXPECT_EQ(SetIntervalValue(&IntervalParameters::porosity, 0, "")->message, "Porosity: Out of range");
    EXPECT_EQ(SetIntervalValue(&IntervalParameters::height, 1, "1m")->message, "Height: Out of range");
    EXPECT_EQ(CurrentParameters().intervals[1].height, 10);
    SetCycleNumber(1, 7);
    EXPECT_THAT(Settings(), HasSubstr("1CycleNo=7\r\n"));
    EXPECT_EQ(CycleNumberOf(1), 7);
    EXPECT_EQ(CycleNumberOf(9), 1);
}

}  // namespace
}  // namespace vorela
