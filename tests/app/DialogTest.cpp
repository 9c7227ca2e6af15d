#include <QCheckBox>
#include <QFileDialog>
#include <QMessageBox>
#include <QStatusBar>
#include <QTextBrowser>
#include <QTreeWidget>

#include "BuildPaths.h"
#include "app/SecondStart.h"
#include "app/dlgHelp.h"
#include "dravik/chooser/Chooser.h"
#include "dravik/chooser/DatasetListing.h"
#include "dravik/chooser/frmChooser.h"
#include "platform/DravikLibraries.h"
#include "signal/frmParameters.h"
#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

class Parameters : public WindowFixture {};

void Retype(QLineEdit& box, const char* text) {
    box.selectAll();
    QTest::keyClick(&box, Qt::Key_Delete);
    QTest::keyClicks(&box, text);
}

TEST_F(Parameters, EveryBoxIsRefusedByItselfAndKeepsItsOwnValue) {
    const std::pair<const char*, const char*> boxes[] = {
        {"txtPeriod", "120"},  {"txtCasingID", "5.125"},
        {"txtTD", "9000.5"},   {"txtCompressibility", "0.0000125"},
        {"txtSlope", "0.075"}, {"txtB0", "1.25"},
        {"txtDW", "8.5"},      {"txtDLen", "2.75"}};
    frmParameters first;
    EXPECT_FALSE(Find<QLineEdit>(first, "txtSlope").isEnabled());
    Find<QComboBox>(first, "cboSpinner").setCurrentIndex(1);
    EXPECT_EQ(Find<QLabel>(first, "lblSlope").text(), "0.05 rps/ft/min");
    Find<QComboBox>(first, "cboSpinner").setCurrentIndex(3);
    Find<QComboBox>(first, "cboFilter").setCurrentIndex(2);
    Find<QCheckBox>(first, "chkBandPass").setChecked(true);
    first.show();
    for (const auto& [name, text] : boxes) {
        auto& box = Find<QLineEdit>(first, name);
        Retype(box, "-7e9");
        Click(first, "cmdOK");
        EXPECT_THAT(ports.TakeBox().text, testing::EndsWith(": Out of range")) << name;
        EXPECT_TRUE(first.isVisible() && first.focusWidget() == &box && box.selectedText() == "-7e9");
        Retype(box, text);
    }
    Click(first, "cmdOK");
    EXPECT_EQ(first.result(), QDialog::Accepted);
    CurrentParameters() = ParameterSet{};
    ReadParameters();
    const ParameterSet& set = CurrentParameters();
    EXPECT_THAT((std::vector<double>{set.period, set.casingID, set.td, set.compressibility, set.slope, set.b0,
                                     set.dw, set.dLen}),
                ElementsAre(120, 5.125, 9000.5, 0.0000125, 0.075, 1.25, 8.5, 2.75));
    EXPECT_THAT((std::vector<int>{set.spinner, set.dFilt, set.bandPass, set.usePeriodInMatch}),
                ElementsAre(3, 2, 1, 0));
    frmParameters second;
    for (const auto& [name, text] : boxes)
        EXPECT_EQ(Find<QLineEdit>(second, name).text().toDouble(), QString(text).toDouble()) << name;
    EXPECT_TRUE(Find<QCheckBox>(second, "chkBandPass").isChecked());
    EXPECT_FALSE(Find<QCheckBox>(second, "chkPeriodInMatch").isChecked());
}

class Chooser : public WindowFixture {
  protected:
    void SetUp() override {
        WindowFixture::SetUp();
        qputenv("XDG_CONFIG_HOME", folder.File("config").c_str());
        qunsetenv("DRAVIK_DATABASE");
        MakeLevel("ALPHA", 6000.5, 1);
        MakeLevel("BETA", 6100, 1);
        Presentation recording;
        recording.recordingFlag = 1;
        recording.recordingStart = 1700000000;
        SetPresentation("BETA", recording);
        AddCurve("DEPTHRUN", {"ZG", "psi", 11, [](std::int32_t) { return 1.0; }, 0, 50, 1.0F, 0.0F, 0});
    }
    const DkBaseApi& Api() { return LoadedLibraries().database; }
};

TEST_F(Chooser, ListsKindDepthStartLengthAndState) {
    std::string problem;
    const auto listed = dravik::ListDatasets(DatabasePath(), problem);
    ASSERT_TRUE(listed) << problem;
    EXPECT_THAT(*listed,
                ElementsAre(FieldsAre("ALPHA", DK_INDEX_TIME, 6000.5, _, 1999.9, false, false),
                            FieldsAre("BETA", DK_INDEX_TIME, 6100.0, 1700000000, 1999.9, true, false),
                            FieldsAre("DEPTHRUN", DK_INDEX_DEPTH, _, _, 5.0, false, false)));
}

TEST_F(Chooser, FileThatIsNoDatabaseIsNamedAndNotMade) {
    std::string problem;
    EXPECT_FALSE(dravik::ListDatasets(folder.File("absent.dkb"), problem));
    EXPECT_THAT(problem, ::testing::HasSubstr(folder.File("absent.dkb")));
    EXPECT_FALSE(std::filesystem::exists(folder.File("absent.dkb")));
    WriteAll(folder.File("text.dkb"), "no database");
    EXPECT_FALSE(dravik::ListDatasets(folder.File("text.dkb"), problem));
    EXPECT_THAT(problem, ::testing::StartsWith("This file is not a Dravik database"));
}

TEST_F(Chooser, YieldsWhatIsSelectedAndNeverWhatTheFilterHides) {
    dravik::RegisterChooser(Api());
    ModalScript script;
    script.Then("frmChooser", [this](QDialog& dialog) {
        EXPECT_FALSE(Find<QPushButton>(dialog, "cmdOK").isEnabled());
        auto& list = Find<QTreeWidget>(dialog, "lstDatasets");
        const auto type = [&](const std::string& path) {
            Find<QComboBox>(dialog, "cboFile").setFocus();
            Press(Qt::Key_A, Qt::ControlModifier);
            Type(path);
        };
        type(DatabasePath());
        Press(Qt::Key_Return);
        ASSERT_EQ(list.topLevelItemCount(), 3);
        list.selectAll();
        // Nothing of this list can be taken any more once another name is typed.
        type(DatabasePath() + "x");
        EXPECT_FALSE(Find<QPushButton>(dialog, "cmdOK").isEnabled());
        Press(Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(list.topLevelItemCount(), 0);
        EXPECT_TRUE(Find<QLabel>(dialog, "lblProblem").text().contains("well.vdbx"));
        type(DatabasePath());
        Press(Qt::Key_Tab);
        ASSERT_EQ(list.topLevelItemCount(), 3);
        list.selectAll();
        Find<QLineEdit>(dialog, "txtFind").setText("eta");
        Click(dialog, "cmdOK");
    });
    DBMultiSelect* chosen = nullptr;
    ASSERT_EQ(Api().DBselectA(&chosen), DK_OK);
    ASSERT_EQ(chosen->count, 1);
    EXPECT_EQ(std::string(chosen->paths[0]), PathOf("BETA"));
    Api().DBreleaseMS(chosen);
    EXPECT_THAT(dravik::RecentDatabases(), ElementsAre(DatabasePath()));
}

TEST_F(Chooser, OpensWhatASecondStartHandsOverOnceTheWindowIsFree) {
    const std::string other = folder.File("other w\xC3\xA4ll.dkb");
    std::filesystem::copy_file(DatabasePath(), other);
    dravik::RegisterChooser(Api());
    const std::string place = MeetingPlace(folder.File("Vorela.lock"));
    WriteAll(place, "left by one that was killed");
    const auto take = [this](const QStringList& files) { window->OpenFiles(files); };
    auto taker = std::make_unique<FileTaker>(place, take);
    ASSERT_EQ(taker->Problem(), "");
    const auto opens = [](ModalScript& script, const std::string& database) {
        script
            .Then("frmChooser",
                  [database](QDialog& dialog) {
                      EXPECT_EQ(Find<QComboBox>(dialog, "cboFile").currentText().toStdString(), database);
                      EXPECT_EQ(Find<QTreeWidget>(dialog, "lstDatasets").topLevelItemCount(), 3);
                      Click(dialog, "cmdCancel");
                  })
            .Then("frmSelectData", [](QDialog& dialog) { Click(dialog, "cmdCancel"); });
    };
    {
        ModalScript script;
        script.Then("frmAbout", [&](QDialog& dialog) {
            for (const std::string& file : {DatabasePath(), other})
                EXPECT_EQ(HandOverFiles(place, {QString::fromStdString(file)}), "");
            auto& bar = Find<QStatusBar>(*window, "statBar");
            EXPECT_TRUE(QTest::qWaitFor([&] { return bar.currentMessage().contains("ll.dkb"); }));
            Click(dialog, "cmdOK");
        });
        opens(script, DatabasePath());
        opens(script, other);
        Trigger("mnuHelp2");
        EXPECT_TRUE(QTest::qWaitFor([&] { return ports.boxes.size() == 2; }));
    }
    taker.reset();
    EXPECT_NE(HandOverFiles(place, {QString::fromStdString(other)}), "") << "nobody listens";
    ports.boxes.clear();  // both selections were cancelled
}

class QtBoxes : public WindowFixture {};

TEST_F(QtBoxes, ShowTitleTextWithLineBreaksAndAnswerYesOrNo) {
    ModalScript script;
    const auto box = [](QDialog& dialog) -> QMessageBox& { return static_cast<QMessageBox&>(dialog); };
    script.Then("msgBox", [&](QDialog& dialog) {
        EXPECT_EQ(box(dialog).text(), "one\ntwo <b>");
        EXPECT_EQ(box(dialog).icon(), QMessageBox::Critical);
        EXPECT_EQ(box(dialog).standardButtons(), QMessageBox::Ok);
        dialog.accept();
    });
    qtPorts.Show(MessageIcon::critical, "Vorela", "one\rtwo <b>");
    for (const auto button : {QMessageBox::Yes, QMessageBox::No})
        script.Then("msgBox", [&box, button](QDialog& dialog) { box(dialog).button(button)->click(); });
    script.Then("msgBox", [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    for (const bool answer : {true, false, false})
        EXPECT_EQ(qtPorts.AskYesNo("Vorela", "?"), answer);
}

TEST_F(QtBoxes, SaveDialogGivesThePathWithTheFiltersEnding) {
    ModalScript script;
    script.Then("CDlg", [this](QDialog& dialog) {
        auto& files = static_cast<QFileDialog&>(dialog);
        EXPECT_THAT(files.nameFilters(), ElementsAre("CSV File (*.csv)", "Text File (*.txt)"));
        EXPECT_FALSE(files.testOption(QFileDialog::DontConfirmOverwrite));
        files.selectNameFilter("Text File (*.txt)");
        emit files.filterSelected("Text File (*.txt)");
        EXPECT_EQ(Find<QLineEdit>(dialog, "fileNameEdit").text(), "well LEVEL1");
        Find<QLineEdit>(dialog, "fileNameEdit").setText("database");
        QTimer::singleShot(0, &dialog, &QDialog::accept);  // its question needs the script again
    });
    WriteAll(folder.File("database.txt"), "recorded");
    script.Then("", [](QDialog& dialog) {  // write over it?
        static_cast<QMessageBox&>(dialog).button(QMessageBox::Yes)->click();
    });
    script.Then("msgBox", [](QDialog& dialog) {
        EXPECT_TRUE(static_cast<QMessageBox&>(dialog).text().contains("cannot be written over"));
        for (QWidget* shown : QApplication::topLevelWidgets())  // the save dialog comes once more
            shown->setProperty("driven", false);
        dialog.setProperty("driven", true);
        dialog.accept();
    });
    script.Then("CDlg", [](QDialog& dialog) {
        Find<QLineEdit>(dialog, "fileNameEdit").setText("well LEVEL1");
        dialog.accept();
    });
    std::filesystem::create_directory(folder.File("other"));
    script.Then("CDlg", [this](QDialog& dialog) {
        auto& files = static_cast<QFileDialog&>(dialog);
        EXPECT_EQ(files.directory().path().toStdString(), folder.Path().string())
            << "where it was saved last";
        dialog.accept();
    });
    const SaveFileRequest request{"Save",
                                  "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|",
                                  1,
                                  folder.File("well LEVEL1"),
                                  {folder.File("absent"), folder.File("database.txt")}};
    const auto choice = qtPorts.AskSaveFile(request);
    ASSERT_TRUE(choice);
    EXPECT_EQ(choice->path, folder.File("well LEVEL1.txt"));
    EXPECT_EQ(choice->filterIndex, 2);
    EXPECT_EQ(qtPorts.AskSaveFile({request.title, request.filter, 1, folder.File("other/x")})->path,
              folder.File("x.csv"));
}

TEST_F(QtBoxes, HelpShowsTheHelpFileAndEveryLinkOfItsContentsLeadsSomewhere) {
    dlgHelp help;
    QString problem;
    EXPECT_FALSE(help.Open(QString::fromStdString(folder.File("absent.hlp")), problem));
    EXPECT_TRUE(problem.contains("absent.hlp"));
    ASSERT_TRUE(help.Open(VORELA_SOURCE_DIR "/docs/help/Vorela.hlp", problem));
    const QString page = QString::fromStdString(ReadAll(VORELA_SOURCE_DIR "/docs/help/Vorela.hlp"));
    int links = 0;
    for (qsizetype at = page.indexOf("href=\"#"); at >= 0; at = page.indexOf("href=\"#", at + 1), ++links) {
        const QString name = page.mid(at + 7, page.indexOf('"', at + 7) - at - 7);
        EXPECT_TRUE(page.contains("<a name=\"" + name + "\">")) << name.toStdString();
    }
    EXPECT_GT(links, 15);
}

}  // namespace
}  // namespace vorela::test
