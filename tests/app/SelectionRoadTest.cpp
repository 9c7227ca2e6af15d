#include <QImage>
#include <QListWidget>

#include "BuildPaths.h"
#include "analysis/modMain.h"
#include "signal/modParameters.h"
#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

class SelectionRoad : public WindowFixture {
  protected:
    static std::vector<std::string> Lines(QDialog& dialog) {
        const auto& list = Find<QListWidget>(dialog, "lstPasses");
        std::vector<std::string> lines;
        for (int i = 0; i < list.count(); ++i)
            lines.push_back(list.item(i)->text().toStdString());
        return lines;
    }
};

TEST_F(SelectionRoad, DialogAddsRefusesRemovesAndCancelDiscardsTheWholeSelection) {
    MakeLevels();
    const std::string second = folder.File("second.vdb");
    std::filesystem::copy_file(DatabasePath(), second);
    chooserAnswers = {
        {PathOf("LEVEL1")}, {PathOf("LEVEL1")}, {PathOf("LEVEL2"), PathOf("LEVEL3")}, {second + "/LEVEL1"}};
    ports.answers = {false};
    ModalScript script;
    script.Then("frmSelectData", [&](QDialog& dialog) {
        for (int i = 0; i < 3; ++i)
            Click(dialog, "cmdAdd");
        EXPECT_THAT(Lines(dialog), ElementsAre("LEVEL1", "LEVEL2", "LEVEL3"));
        EXPECT_EQ(Find<QLabel>(dialog, "lblDatabase").toolTip().toStdString(), DatabasePath());
        EXPECT_EQ(Find<QComboBox>(dialog, "cboPressureCurve").currentText(), "ZG");
        EXPECT_EQ(Find<QLabel>(dialog, "lblPresUnits").text(), "psi");
        EXPECT_EQ(Find<QLabel>(dialog, "lblDatabase").text(), Find<QLabel>(dialog, "lblDatabase").toolTip());
        EXPECT_EQ(Find<QLabel>(dialog, "lblFlowUnits").text(), "rps");
        Find<QComboBox>(dialog, "cboFlowCurve").setFocus();
        Press(Qt::Key_P);  // the first of the valve's curves
        Click(dialog, "cmdAdd");
        auto& list = Find<QListWidget>(dialog, "lstPasses");
        list.item(0)->setSelected(true);
        list.item(2)->setSelected(true);
        Click(dialog, "cmdRemove");
        EXPECT_THAT(Lines(dialog), ElementsAre("LEVEL2", "LEVEL1"));
        EXPECT_EQ(Find<QComboBox>(dialog, "cboFlowCurve").currentText(), "PVLPOS");
        EXPECT_EQ(Find<QComboBox>(dialog, "cboPressureCurve").currentText(), "ZG");
        EXPECT_EQ(Find<QLabel>(dialog, "lblDatabase").text().toStdString(), DatabasePath() + "\n" + second);
        Press(Qt::Key_Escape);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(CurrentSelection().datasets.size(), 2U);
        Click(dialog, "cmdCancel");
    });
    Trigger("mnuFile0");
    EXPECT_TRUE(CurrentSelection().datasets.empty());
    EXPECT_EQ(Find<QTabBar>(*window, "tsMain").count(), 4);
    ASSERT_EQ(ports.boxes.size(), 2U);
    EXPECT_THAT(ports.boxes[0].text, HasSubstr("already been selected"));
    EXPECT_EQ(ports.boxes[1].text, "No data selected");
    EXPECT_EQ(ports.questions.size(), 1U);
}

TEST_F(SelectionRoad, CurvesChosenInTheDialogAreTakenAndStoredAndClearEmptiesIt) {
    MakeLevels();
    chooserAnswers = {{PathOf("LEVEL1")}, {PathOf("LEVEL2")}, {PathOf("LEVEL3")}};
    ports.answers = {false, false, false};
    ModalScript script;
    script.Then("frmSelectData", [&](QDialog& dialog) {
        Click(dialog, "cmdAdd");
        Click(dialog, "cmdClear");
        EXPECT_TRUE(Lines(dialog).empty() && CurrentSelection().datasets.empty());
        Click(dialog, "cmdAdd");
        Click(dialog, "cmdAdd");
        for (const auto& [box, unit, text] : {std::tuple("cboPressureCurve", "lblPresUnits", "RTC"),
                                              {"cboFlowCurve", "lblFlowUnits", "ZG"}}) {
            auto& chooser = Find<QComboBox>(dialog, box);
            chooser.setFocus();
            Type(text);
            EXPECT_EQ(Find<QLabel>(dialog, unit).text(), *text == 'R' ? "rps" : "psi");
        }
        Click(dialog, "cmdOK");
    });
    Trigger("mnuFile0");
    EXPECT_EQ(CurrentSelection().choice.pressure, "RTC");
    EXPECT_EQ(CurrentSelection().choice.flow, "ZG");
    EXPECT_EQ(CurrentSelection().datasets[0].dataset, "LEVEL2") << "deepest first";
    EXPECT_EQ(ReadIniString("Dataset", "PresCurve", "", SettingsFilePath()), "RTC");
}

TEST_F(SelectionRoad, QuestionsComeInTheirOrderForEveryCombinationOfMissingCurves) {
    const std::pair<std::vector<const char*>, const char*> kinds[] = {
        {{"ZG_p", "RTC_qs"},
         "Vorela filtered spinner and pressure curves don't exist in all of the selected "
         "datasets.\r\rDo you want to create the filtered curves in the datasets?"},
        {{"PVLSIG"},
         "The Vorela reconstructed valve curve (PVLSIG) doesn't exist in all of the selected "
         "datasets.\r\rDo you want to create the PVLSIG curve in the datasets?"},
        {{"RTC_f"},
         "The Dravik filtered flow curve (_f) doesn't exist in all of the selected datasets."
         "\r\rDo you want to create the curve in the datasets?"}};
    for (int mask = 0; mask < 8; ++mask) {
        const std::string name = "SET" + std::to_string(mask);
        MakeLevel(name, 6000 + mask, 1);
        std::vector<std::string> expected;
        for (int kind = 0; kind < 3; ++kind) {
            if ((mask >> kind & 1) != 0)
                expected.emplace_back(kinds[kind].second);
            else
                for (const char* curve : kinds[kind].first)
                    AddCurve(name, {curve, "", 20000, [](std::int32_t t) { return t; }});
        }
        InitialiseDatasetVariables();
        ports.questions.clear();
        ports.answers = {false, false, false};
        SelectThroughDialog({name});
        std::vector<std::string> asked;
        for (const ShownBox& question : ports.questions) {
            EXPECT_EQ(question.title, "Corvane Vorela");
            asked.push_back(question.text);
        }
        EXPECT_EQ(asked, expected) << name;
        EXPECT_TRUE(ports.boxes.empty());
    }
}

TEST_F(SelectionRoad, ADerivedCurveChosenBesideItsSourceIsToldOnceAndNothingIsDerived) {
    FinishedJob();
    const auto choose = [&](const char* pressure, const char* flow) {
        ModalScript script;
        script.Then("frmSelectData", [&](QDialog& dialog) {
            for (const auto& [box, name] :
                 {std::pair("cboPressureCurve", pressure), {"cboFlowCurve", flow}}) {
                Find<QComboBox>(dialog, box).setCurrentText(name);
                EXPECT_EQ(Find<QComboBox>(dialog, box).currentText(), name);
            }
            Click(dialog, "cmdOK");
        });
        ports.questions.clear();
        Trigger("mnuFile0");
    };
    const std::pair<const char*, const char*> conflicts[] = {
        {"ZG", "ZG_p"}, {"RTC_qs", "RTC"}, {"RTC_f", "RTC"}, {"PVLSIG", "RTC"}};
    for (const auto& [pressure, flow] : conflicts) {
        choose(pressure, flow);
        const std::string derived = *flow == 'Z' ? flow : pressure;
        const std::string cause = derived + " is chosen for the " +
                                  (*flow == 'Z' ? "flow meter" : "pressure") +
                                  " curve, and it is also what Vorela derives from";
        EXPECT_THAT(ports.TakeBox().text,
                    AllOf(testing::StartsWith(cause), HasSubstr("File, Select Data...")));
        EXPECT_TRUE(ports.questions.empty()) << "no offer could be kept";
        EXPECT_THAT(Status(), AllOf(HasSubstr(cause), Not(HasSubstr("No cycles yet"))));
        for (const char* entry : {"mnuAction1", "mnuAction2", "mnuAction4"}) {
            Trigger(entry);
            EXPECT_THAT(ports.TakeBox().text, testing::StartsWith(cause)) << entry;
        }
    }
    ports.answers = {false, false};
    choose("ZG_p", "RTC");
    EXPECT_THAT(ports.TakeBox().text, HasSubstr("filtered by Dravik"));
    EXPECT_THAT(Status(), HasSubstr("ZG_p was itself derived"));
    ports.answers = {};
    choose("ZG", "RTC");
    EXPECT_TRUE(ports.boxes.empty() && ports.questions.empty());
    Trigger("mnuAction4");
    EXPECT_THAT(Status(), Not(HasSubstr("derive")));
    EXPECT_GT(CurrentSelection().datasets[0].cycles.count, 0);
}

TEST_F(SelectionRoad, CurvesFilteredByTheAcquisitionSystemAreWarnedOf) {
    MakeLevel("LONGVALVE", 6000, 1);
    Append("LONGVALVE", ValveCurves({6000, period, 20000})[0], 10);
    ports.answers = {false, false, false};
    SelectThroughDialog({"LONGVALVE"});
    const ShownBox box = ports.TakeBox();
    EXPECT_EQ(box.icon, MessageIcon::information);
    EXPECT_EQ(
        box.text,
        "The selected datasets contain pressure and flow curves that have been filtered by Dravik.\r"
        "This can adversely effect the phase angle calculation and distort Vorela's calculated outputs.\r\r"
        "Corvane recommends all Dravik filters are disabled for subsequent Vorela logs.");
}

TEST_F(SelectionRoad, FromTwoOfThreeLevelsToTheExportFile) {
    MakeLevels();
    ports.answers = {true, true, true};
    CurrentParameters().filterN = 12;
    SelectThroughDialog({"LEVEL1", "LEVEL2"}, [](QDialog& dialog) {
        EXPECT_EQ(Find<QComboBox>(dialog, "cboFilter").currentText(), "12") << "as it is stored";
        for (const auto& [label, text] : {std::pair("lblPeriod", "240"),
                                          {"lblInputPressure", "ZG"},
                                          {"lblInputFlow", "RTC"},
                                          {"lblOutputPressure", "ZG_p"},
                                          {"lblOutputFlow", "RTC_qs"},
                                          {"lblPercentage", "0%"}})
            EXPECT_EQ(Find<QLabel>(dialog, label).text(), text) << label;
        Find<QComboBox>(dialog, "cboFilter").setCurrentIndex(-1);  // nothing chosen: one pass
        Click(dialog, "cmdCreate");
        EXPECT_EQ(CurrentParameters().filterN, 1);
    });
    SetTab(3);
    auto& grid = Find<QTableWidget>(*window, "fgQuicklook");
    grid.setCurrentCell(quicklookPorosityRow, 1);
    grid.setFocus();
    Press(Qt::Key_Return);
    Type("0.2");
    Press(Qt::Key_Return);
    SetTab(1);
    auto& level = Find<QTableWidget>(*window, "fgLevel");
    level.setCurrentCell(levelCycleNumberRow, 1);
    QTest::keyClick(&level, Qt::Key_Return);
    emit Find<QComboBox>(*window, "cboCycle").activated(1);
    ports.saveFileAnswer = SaveFileChoice{folder.File("window.csv"), 1};
    Trigger("mnuFile2");
    EXPECT_EQ(ports.TakeBox().text, "Created " + folder.File("window.csv"));
    const std::string written = ReadAll(folder.File("window.csv"));
    EXPECT_THAT(written, HasSubstr("Porosity (v/v),0.2\r\r\n"));
    EXPECT_THAT(written, HasSubstr("Cycle number,2\r\r\n"));

    WriteAll(folder.File("batch.ini"), "[Parameters]\nCompressibility=0.000003\n");
    const CommandResult batch = test::Run(
        "cd '" + folder.Path().string() + "'; '" VORELA_BIN_DIR "/vorela-batch' '" + DatabasePath() +
        "' LEVEL1 LEVEL2 --settings batch.ini --set Parameters.1Porosity=0.2"
        " --set Parameters.0CycleNo=2 --export batch.csv");
    ASSERT_EQ(batch.status, 0) << batch.err;
    EXPECT_EQ(ReadAll(folder.File("batch.csv")), written);
    for (const char* kind : {"png", "svg", "pdf"})
        EXPECT_EQ(test::Run("cd '" + folder.Path().string() + "'; '" VORELA_BIN_DIR "/vorela-batch' '" +
                            DatabasePath() +
                            "' LEVEL1 LEVEL2 --settings batch.ini --plot-dataset LEVEL1 --cursors 20,75"
                            " --set Plot.NPlots=1 --size 500x300 --plot batch." +
                            kind)
                      .status,
                  0)
            << kind;
    // Above the two lines of the footer the time axis goes from 26 to 474.
    const QImage picture(QString::fromStdString(folder.File("batch.png")));
    EXPECT_EQ(picture.size(), QSize(500, 300));
    const auto count = [&](int from, int to, const QColor& colour) {
        int found = 0;
        for (int x = from; x <= to; ++x)
            for (int y = 0; y < picture.height(); ++y)
                found += picture.pixelColor(x, y) == colour ? 1 : 0;
        return found;
    };
    EXPECT_GT(count(0, 499, Qt::red), 300) << "the pressure curve";
    EXPECT_GT(count(115, 116, Qt::red), 80) << "cursor 1";
    EXPECT_GT(count(361, 363, Qt::blue), 80) << "cursor 2";
    const std::string svg = ReadAll(folder.File("batch.svg"));
    for (const char* text : {">RTC_qs ", "Vorela plot - LEVEL1<",
                             ">well.vdb \u00B7 LEVEL1 \u00B7 6000 ft \u00B7 ", "d=\"M115.6,", "d=\"M362,"})
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    const std::string pdf = ReadAll(folder.File("batch.pdf"));
    const std::size_t stream = pdf.find("stream\n") + 7;
    const QByteArray drawing = qUncompress(
        QByteArray(4, '\1') + QByteArray(pdf.data() + stream, static_cast<int>(pdf.size() - stream)));
    EXPECT_THAT(drawing.toStdString(), AllOf(HasSubstr("1 0 0 SCN\n2 w 0 J 2 j [2 4 ]0  d\n115.6"),
                                             HasSubstr("0 0 1 SCN\n2 w 0 J 2 j [2 4 ]0  d\n362 ")));
    EXPECT_GT(drawing.count(" Tj"), 100) << "title, labels and numbers";
    EXPECT_THAT(pdf, HasSubstr(std::string("V\0o\0r\0e\0l\0a\0 \0p\0l\0o\0t", 21)));
}

}  // namespace
}  // namespace vorela::test
