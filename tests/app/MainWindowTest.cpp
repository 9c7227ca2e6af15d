#include <unistd.h>

#include <QAbstractItemView>
#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QPrintDialog>
#include <QPrinter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QStatusBar>
#include <QTextBrowser>

#include "BuildPaths.h"
#include "analysis/ResultGridView.h"
#include "analysis/modMain.h"
#include "app/WindowPlace.h"
#include "follow/StartUp.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "plotview/TimeCursors.h"
#include "plotview/frmPlotScales.h"
#include "signal/modParameters.h"
#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

class MainWindow : public WindowFixture {
  protected:
    /// A menu entry by its caption, as the user finds it.
    void Choose(const char* caption) {
        const auto entries = window->findChildren<QAction*>();
        const auto found = std::ranges::find(entries, caption, &QAction::text);
        ASSERT_NE(found, entries.end()) << caption;
        (*found)->trigger();
    }
};

TEST_F(MainWindow, WithoutDataOnlyWhatAsksForDataSaysSo) {
    for (int tab = 1; tab <= 4; ++tab)
        SetTab(tab);
    EXPECT_TRUE(ports.boxes.empty());
    for (const char* entry : {"mnuView0", "mnuAction0", "mnuFile6", "mnuFile7"}) {
        Trigger(entry);
        const ShownBox box = ports.TakeBox();
        EXPECT_EQ(box.title + ": " + box.text, "Vorela: No data selected") << entry;
    }
}

TEST_F(MainWindow, TabsStandForGridsThenDatasetsDeepestFirst) {
    FinishedJob({"LEVEL1", "LEVEL2", "LEVEL3"});
    const auto& strip = Find<QTabBar>(*window, "tsMain");
    std::vector<std::string> names;
    for (int i = 0; i < strip.count(); ++i)
        names.push_back(strip.tabText(i).toStdString());
    EXPECT_THAT(names,
                ElementsAre("Level", "Interval", "Quicklook", "Summary", "LEVEL2", "LEVEL3", "LEVEL1"));
    for (const char* name : {"fgLevel", "fgInterval", "fgQuicklook", "fgSummary"})
        for (int row = 0; row < GridOf(name).rowCount(); ++row)
            EXPECT_LE(GridOf(name).fontMetrics().horizontalAdvance(GridOf(name).item(row, 0)->text()),
                      GridOf(name).columnWidth(0));
    EXPECT_EQ(PixelsFromTwips(2800, 192), 373);
    SetTab(4);
    EXPECT_TRUE(GridOf("fgSummary").isVisible());
    EXPECT_EQ(GridOf("fgSummary").item(0, 1)->toolTip(),
              "Harmonic productivity index for interval (rps/psi)");
    EXPECT_EQ(GridOf("fgSummary").rowCount(), 3);
    SetTab(6);
    EXPECT_TRUE(Find<QWidget>(*window, "picPlot").isVisible());
    EXPECT_THAT(Find<QLabel>(*window, "lblCursors").text().toStdString(),
                ::testing::MatchesRegex("\\[[0-9.]+\\] \\[[0-9.]+\\]"));
    EXPECT_TRUE(ports.boxes.empty());
}

TEST_F(MainWindow, PageKeysStepThroughLevelsAndIntervalsAndStopAtTheEnds) {
    FinishedJob({"LEVEL1", "LEVEL2", "LEVEL3"});
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    EXPECT_EQ(Cell("fgLevel", 3), "LEVEL2");
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    EXPECT_EQ(Cell("fgLevel", 3), "LEVEL3");
    QTest::keyClick(window.get(), Qt::Key_PageUp);
    QTest::keyClick(window.get(), Qt::Key_PageUp);
    EXPECT_EQ(Cell("fgLevel", 3), "LEVEL2");
    SetTab(2);
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    EXPECT_EQ(Cell("fgInterval", 13), "6000");
    EXPECT_EQ(Find<QComboBox>(*window, "cboInterval").currentText(), "6050 to 6000");
}

TEST_F(MainWindow, TextEditorKeepsWhatWasTypedUnlessEscapeDiscardsIt) {
    FinishedJob();
    SetTab(3);
    auto& editor = Find<QLineEdit>(*window, "txtEdit");
    const auto enter = [&](int row, const char* text) {
        EditCell("fgQuicklook", row);
        EXPECT_TRUE(editor.hasFocus());
        Type(text);
    };
    enter(quicklookPorosityRow, "0.25");
    Press(Qt::Key_Escape);
    EXPECT_EQ(Cell("fgQuicklook", quicklookPorosityRow), "1");
    // The grid rounds, the editor does not: what was not changed stays as it is to the last digit.
    CurrentParameters().intervals[1].ct = 3.456789e-6;
    for (const Qt::Key end : {Qt::Key_Return, Qt::Key_Tab, Qt::Key_Escape}) {
        enter(quicklookCompressibilityRow, "");
        EXPECT_EQ(editor.selectedText(), "0.000003456789");
        Press(end);
        EXPECT_FALSE(editor.isVisible());
        EXPECT_EQ(CurrentParameters().intervals[1].ct, 3.456789e-6);
    }
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"0.125", [] { Press(Qt::Key_Return); }},
        {"0.135", [] { Press(Qt::Key_Tab); }},
        {"0.145", [&] { GridOf("fgQuicklook").setFocus(Qt::MouseFocusReason); }},
        {"0.155",
         [&] {
             SetTab(1);
             SetTab(3);
         }},
        {"0.165", [&] { Trigger("mnuFile2"); }},
        {"0.175",
         [&] {
             window->TimerTick();
             Press(Qt::Key_Enter);
         }},
        {"0.185", [&] {
             Press(Qt::Key_PageDown);
             Press(Qt::Key_Return);
         }}};
    for (const auto& [text, leave] : ways) {
        enter(quicklookPorosityRow, text);
        leave();
        EXPECT_FALSE(editor.isVisible()) << text;
        EXPECT_EQ(Cell("fgQuicklook", quicklookPorosityRow), text);
        EXPECT_EQ(ReadIniString("Parameters", "1Porosity", "", SettingsFilePath()), text);
    }
    // A refused text stays in its editor, whatever the user went on to do.
    for (const auto& leave : std::initializer_list<std::function<void()>>{
             [] { Press(Qt::Key_Enter); }, [&] { SetTab(4); }, [&] { Trigger("mnuFile2"); },
             [&] { window->close(); }, [] { Press(Qt::Key_Tab), QTest::qWait(1); }}) {
        enter(quicklookViscosityRow, "much");
        leave();
        EXPECT_EQ(ports.TakeBox().text, "Viscosity: Out of range");
        EXPECT_TRUE(window->isVisible() && editor.hasFocus());
        EXPECT_EQ(editor.selectedText(), "much");
        Press(Qt::Key_Escape);
    }
    EXPECT_EQ(CurrentParameters().intervals[1].viscosity, 1);
    // A cell that is computed opens nothing; typing into one that is entered begins with what was typed.
    EditCell("fgQuicklook", 13);
    EXPECT_FALSE(editor.isVisible());
    GridOf("fgQuicklook").setCurrentCell(quicklookHeightRow, 1);
    Type("7");
    EXPECT_EQ(editor.text(), "7");
    window->close();
    EXPECT_EQ(CurrentParameters().intervals[1].height, 7);
    ASSERT_TRUE(LoadDatabaseLibrary() && LoadFilterLibrary());  // for the tests that follow
}

TEST_F(MainWindow, TheTabKeyLeadsToTheFirstValueThatCanBeEdited) {
    FinishedJob();
    for (const auto& [tab, grid, editor] :
         {std::tuple(3, "fgQuicklook", "txtEdit"), {1, "fgLevel", "cboCycle"}}) {
        SetTab(tab);
        GridOf(grid).setCurrentCell(0, 0);  // as the toolkit leaves it
        Find<QTabBar>(*window, "tsMain").setFocus();
        for (int i = 0; i < 3 && !GridOf(grid).hasFocus(); ++i)
            Press(Qt::Key_Tab);
        Press(Qt::Key_F2);
        EXPECT_TRUE(Find<QWidget>(*window, editor).isVisible()) << grid;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    }
}

TEST_F(MainWindow, CycleChooserOffersTheCyclesAndTheWindow) {
    FinishedJob();
    auto& box = Find<QComboBox>(*window, "cboCycle");
    EditCell("fgLevel", levelCycleNumberRow);
    QTest::qWait(50);  // the list has taken the focus by then
    ASSERT_TRUE(box.view()->isVisible());
    EXPECT_EQ(box.itemText(box.count() - 1), "Window");
    const auto press = [&](Qt::Key key) { QTest::keyClick(box.view(), key); };  // a popup takes all keys
    press(Qt::Key_End);
    press(Qt::Key_Return);
    EXPECT_FALSE(box.isVisible());
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "Window");
    const auto status = [this] {
        return Find<QStatusBar>(*window, "statBar").currentMessage().toStdString();
    };
    EditCell("fgLevel", levelCycleNumberRow);
    press(Qt::Key_End);
    press(Qt::Key_Up);  // the last cycle: the filtered curves end before it does
    press(Qt::Key_Return);
    EXPECT_THAT(status(), testing::ContainsRegex("LEVEL2: cycle .* has no results: ZG_p ends at [0-9.]+ s"));
    EditCell("fgLevel", levelCycleNumberRow);
    press(Qt::Key_Home);
    press(Qt::Key_Down);
    press(Qt::Key_Tab);
    EXPECT_THAT(status(), testing::Not(testing::HasSubstr("LEVEL2")));
    EXPECT_FALSE(box.isVisible());
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "2");
    EditCell("fgLevel", levelCycleNumberRow);
    press(Qt::Key_Home);
    press(Qt::Key_Escape);
    Press(Qt::Key_Escape);
    EXPECT_FALSE(box.isVisible());
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "2");
}

TEST_F(MainWindow, CycleInformationListsEveryCycleAndChoosesOne) {
    FinishedJob();
    ModalScript script;
    script.Then("frmCycleInfo", [](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Cycle information - LEVEL2");
        auto& grid = Find<ResultGridView>(dialog, "fgCycleInfo");
        auto& cycle = Find<QComboBox>(dialog, "cboCycle");
        EXPECT_EQ(grid.rowCount(), cycle.count());
        EXPECT_TRUE(
            grid.WholeText().startsWith("Cycle\tPeriod\tValve phase\tPres. phase\tFlow phase\tValve "
                                        "mag.\tPres. mag.\tFlow mag.\n1\t240\t"));
        emit grid.cellDoubleClicked(2, 0);
        EXPECT_EQ(cycle.currentText(), "3");
        Click(dialog, "cmdCopy");
        EXPECT_EQ(QApplication::clipboard()->text(), grid.WholeText());
        Find<QComboBox>(dialog, "cboLevel").setFocus();
        Press(Qt::Key_Down);
        EXPECT_EQ(dialog.windowTitle(), "Cycle information - LEVEL1");
        EXPECT_NE(QApplication::clipboard()->text(), grid.WholeText());
        cycle.setFocus();
        Press(Qt::Key_Down);
        Click(dialog, "cmdOK");
    });
    Trigger("mnuView0");
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "3");
    EXPECT_EQ(CurrentSelection().datasets[1].cycles.selectedCycle, 2);
}

TEST_F(MainWindow, PagesOfALevelShowItsCyclesAndChooseAmongThem) {
    FinishedJob({"LEVEL1", "LEVEL2"});
    SetTab(6);
    auto& pages = Find<QTabBar>(*window, "tsLevel");
    auto& cycles = Find<QWidget>(*window, "picCycles");
    pages.setCurrentIndex(1);
    ASSERT_TRUE(cycles.isVisible());
    const std::size_t shown = *window->ShownDataset();
    const CycleRecord& record = CurrentSelection().datasets[shown].cycles;
    ASSERT_GT(record.RealCycles(), 3);
    QTest::keyClick(&cycles, Qt::Key_Right);
    EXPECT_EQ(record.selectedCycle, 2);
    // The cycles stand side by side between the values of the left axis and the middle of the page.
    cycles.grab();
    QTest::mouseClick(&cycles, Qt::LeftButton, {}, {cycles.width() / 2 - 30, cycles.height() / 3});
    EXPECT_EQ(record.selectedCycle, record.RealCycles());
    EXPECT_EQ(CurrentSelection().datasets[1 - shown].cycles.selectedCycle, 1)
        << "the other level's is its own";
    pages.setCurrentIndex(2);
    const QImage stacked = Find<QWidget>(*window, "picStacked").grab().toImage();
    int coloured = 0;
    for (int y = 0; y < stacked.height(); ++y)
        for (int x = 0; x < stacked.width(); ++x)
            coloured += stacked.pixelColor(x, y).saturation() > 200 ? 1 : 0;
    EXPECT_GT(coloured, 400) << "a line for each level";
    pages.setCurrentIndex(0);
    EXPECT_TRUE(Find<QWidget>(*window, "picPlot").isVisible());
}

TEST_F(MainWindow, CursorDragIsKnownToTheAnalysisAndKeptOnClosing) {
    Find<TimeCursors>(*window, "cursors").setCursor1(12.5F);
    EXPECT_FLOAT_EQ(CurrentCursorPositions().cursor1, 12.5F);
    window->close();
    EXPECT_EQ(ReadIniString("Cursors", "Cursor1", "", SettingsFilePath()), "12.5");
    EXPECT_EQ(ReadIniString("Cursors", "Cursor2", "", SettingsFilePath()), "66.33");
    EXPECT_EQ(LoadedLibraries().databaseHandle, nullptr);
    ASSERT_TRUE(LoadDatabaseLibrary() && LoadFilterLibrary());  // for the tests that follow
}

TEST_F(MainWindow, TimerFollowsARecordingToItsEndButNeverDuringAnAction) {
    RunningJob();
    auto& timer = Find<QTimer>(*window, "tmrMain");
    EXPECT_TRUE(timer.isActive());
    timer.setInterval(1);
    DatasetRecord& dataset = CurrentSelection().datasets[0];
    SetTab(5);
    const auto grow = [&] {
        Append("LEVEL2", {"ZG", "psi", 0, [](std::int32_t) { return 1.0; }}, 5000);
        return dataset.extentB;
    };
    std::int32_t extent = grow();
    ModalScript script;
    script.Then("frmParameters", [](QDialog& dialog) {
        QTest::qWait(20);
        Click(dialog, "cmdCancel");
    });
    timer.stop();
    QTimer::singleShot(0, &timer, [&] { timer.start(); });
    Trigger("mnuEdit0");
    EXPECT_EQ(dataset.extentB, extent);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dataset.extentB > extent; }));
    extent = grow();
    SetPresentation("LEVEL2", Presentation{});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !timer.isActive(); }));
    EXPECT_EQ(dataset.extentB, extent + 50000);
    EXPECT_TRUE(QTest::qWaitFor([&] { return PrsOpt().rangeEnd >= dataset.extentB / 100; }))
        << "the last samples are drawn";
}

TEST_F(MainWindow, EveryMenuEntryDoesWhatItSays) {
    FinishedJob();
    const std::tuple<const char*, const char*, const char*> dialogs[] = {
        {"Save &Plot to File...", "mnuFile6", "frmSavePlot"},
        {"&Print Plot...", "mnuFile7", "dlgPrint"},
        {"&Parameters...", "mnuEdit0", "frmParameters"},
        {"&Cycle information...", "mnuView0", "frmCycleInfo"},
        {"&Plan a test...", "mnuView2", "frmPlan"},
        {"&Create filtered P and QS curves...", "mnuAction0", "frmFilteredCurves"},
        {"&Scales...", "mnuPlot0", "frmPlotScales"},
        {"&Format...", "mnuPlot1", "frmPlotFormat"},
        {"&About...", "mnuHelp2", "frmAbout"}};
    ModalScript script;
    for (const auto& [caption, name, dialog] : dialogs) {
        EXPECT_EQ(window->findChild<QAction*>(name)->text(), caption);
        script.Then(dialog, [](QDialog& shown) { shown.reject(); });
        Choose(caption);
    }
    const std::pair<QKeySequence, const char*> keys[] = {{QKeySequence("Ctrl+Shift+S"), "frmSavePlot"},
                                                         {QKeySequence("Ctrl+P"), "dlgPrint"},
                                                         {QKeySequence("Ctrl+E"), "frmParameters"},
                                                         {QKeySequence("Ctrl+I"), "frmCycleInfo"},
                                                         {QKeySequence("Ctrl+D"), "frmSelectData"}};
    ports.answers = {false};  // the data stay selected
    for (const auto& [key, dialog] : keys) {
        script.Then(dialog, [](QDialog& shown) {
            shown.findChild<QPushButton*>("cmdOK") != nullptr&& shown.objectName() == "frmSelectData"
                ? Click(shown, "cmdOK")
                : shown.reject();
        });
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
        QTest::keySequence(window.get(), key);
    }
    // The file's place is known once the program has started; here nothing has set it.
    const_cast<std::string&>(HelpFilePath()) = VORELA_SOURCE_DIR "/docs/help/Vorela.hlp";
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_F1);
    auto* help = window->findChild<QWidget*>("dlgHelp");
    ASSERT_TRUE(help != nullptr && help->isVisible());
    EXPECT_TRUE(Find<QTextBrowser>(*help, "txtHelp").toPlainText().contains("Vorela"));
    QTest::keyClick(help, Qt::Key_Escape);
    EXPECT_FALSE(help->isVisible());
    Choose("&Contents...");
    EXPECT_TRUE(help->isVisible());
    help->close();
    const_cast<std::string&>(HelpFilePath()) = folder.File("absent.hlp");
    Choose("&Contents...");
    EXPECT_THAT(ports.TakeBox().text, HasSubstr("absent.hlp"));
    Choose("&Save Interpretation Data to File...");
    ASSERT_EQ(ports.saveRequests.size(), 1U);
    EXPECT_EQ(ports.saveRequests[0].proposed, folder.File("well LEVEL2"));
    for (const auto& [caption, curve] :
         {std::pair("&Reconstruct valve signal PVLSIG...", "reconstructed valve"),
          {"Re-calculate &Dravik filtered flow...", "filtered flow"}}) {
        ports.answers = {false};
        ports.questions.clear();
        Choose(caption);
        ASSERT_EQ(ports.questions.size(), 1U) << caption;
        EXPECT_THAT(ports.questions[0].text, HasSubstr(curve));
    }
    const std::pair<const char*, CycleSource> sources[] = {
        {"Calculate cycle i&nfo...", CycleSource::filtered},
        {"Re-calculate cycle inf&o using unfiltered pressure and flow...", CycleSource::unfiltered},
        {"Re-calculate cycle info using &PVLPOS...", CycleSource::motorPosition}};
    for (const auto& [caption, source] : sources) {
        Choose(caption);
        EXPECT_EQ(CurrentSelection().datasets[1].cycleSource, source) << caption;
    }
    EXPECT_TRUE(ports.boxes.empty());
    // Closing waits for the action that runs.
    script.Then("frmPlotScales", [this](QDialog& dialog) {
        window->close();
        EXPECT_TRUE(window->isVisible());
        dialog.reject();
    });
    Trigger("mnuPlot0");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(LoadedLibraries().databaseHandle, nullptr);
    ASSERT_TRUE(LoadDatabaseLibrary() && LoadFilterLibrary());  // for the tests that follow
}

TEST_F(MainWindow, SavedAndPrintedPlotsFollowEveryControlOfTheirDialogs) {
    FinishedJob();
    PlotFormat().nPlots = 1;
    SetTab(6);
    QTest::qWait(20);  // the layout has settled
    auto& cursors = Find<TimeCursors>(*window, "cursors");
    cursors.setCursor1(15);
    cursors.setCursor2(65);
    const QSize size = Find<QWidget>(*window, "picPlot").size();
    const auto pixels = [&](const QImage& image, double percent, const QColor& colour) {
        const double scale = image.width() / static_cast<double>(size.width());
        const double x = (cursors.Margin() + percent / 100 * (size.width() - 2 * cursors.Margin())) * scale;
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            count += image.pixelColor(static_cast<int>(x), y) == colour ||
                             image.pixelColor(static_cast<int>(x) - 1, y) == colour
                         ? 1
                         : 0;
        return count;
    };
    ModalScript script;
    const std::string file = folder.File("saved.png");
    for (const auto& [resolution, mono, lines] :
         {std::tuple(192, true, true), {96, false, false}, {288, false, true}}) {
        ports.saveFileAnswer = SaveFileChoice{file, 1};
        script.Then("frmSavePlot", [=](QDialog& dialog) {
            EXPECT_EQ(Find<QSpinBox>(dialog, "spnResolution").value(), 150);
            Find<QSpinBox>(dialog, "spnResolution").setValue(resolution);
            Find<QCheckBox>(dialog, "chkMonochrome").setChecked(mono);
            Find<QCheckBox>(dialog, "chkCursors").setChecked(lines);
            Click(dialog, "cmdOK");
        });
        Trigger("mnuFile6");
        EXPECT_EQ(ports.saveRequests.back().proposed, folder.File("well LEVEL1"));
        EXPECT_TRUE(Find<QStatusBar>(*window, "statBar").currentMessage().endsWith("saved.png"));
        const QImage image(QString::fromStdString(file));
        EXPECT_EQ(image.size(), size * (resolution / 96));
        for (const auto& [percent, own] : {std::pair(15.0, QColor(Qt::red)), {65.0, QColor(Qt::blue)}})
            EXPECT_EQ(pixels(image, percent, mono ? QColor(Qt::black) : own) > image.height() / 5, lines)
                << resolution << " " << percent;
        EXPECT_EQ(mono, pixels(image, 40, Qt::red) + pixels(image, 40, Qt::blue) == 0) << "the curves";
    }
    script.Then("frmSavePlot", [](QDialog& dialog) { Click(dialog, "cmdCancel"); });
    Trigger("mnuFile6");
    EXPECT_EQ(ports.saveRequests.size(), 3U);
    script.Then("dlgPrint", [this](QDialog& dialog) {
        auto* printer = static_cast<QPrintDialog&>(dialog).printer();
        EXPECT_EQ(printer->pageLayout().orientation(), QPageLayout::Landscape);
        printer->setOutputFormat(QPrinter::PdfFormat);
        printer->setOutputFileName(QString::fromStdString(folder.File("paper.pdf")));
        dialog.done(QDialog::Accepted);
    });
    Trigger("mnuFile7");
    EXPECT_EQ(Find<QStatusBar>(*window, "statBar").currentMessage(), "Plot printed");
    EXPECT_GT(ReadAll(folder.File("paper.pdf")).size(), 1000U);
}

TEST_F(MainWindow, ChoosersTabsAndLabelsTellWhatIsSelected) {
    FinishedJob({"LEVEL1", "LEVEL2", "LEVEL3"});
    EXPECT_EQ(Find<QLabel>(*window, "lblSelection").text(), "3 levels, ZG / RTC");
    auto& strip = Find<QTabBar>(*window, "tsMain");
    EXPECT_EQ(strip.tabToolTip(4), "LEVEL2 (6100 ft)");
    const std::tuple<Qt::Key, Qt::KeyboardModifiers, int> keys[] = {
        {Qt::Key_Tab, Qt::ControlModifier, 2},
        {Qt::Key_PageDown, Qt::ControlModifier, 3},
        {Qt::Key_PageUp, Qt::ControlModifier, 2},
        {Qt::Key_Tab, Qt::ControlModifier | Qt::ShiftModifier, 1},
        {Qt::Key_Tab, Qt::ControlModifier | Qt::ShiftModifier, 7}};
    for (const auto& [key, modifiers, tab] : keys) {
        QTest::keyClick(window.get(), key, modifiers);
        EXPECT_EQ(window->SelectedTab(), tab);
    }
    EXPECT_FALSE(Find<QComboBox>(*window, "cboLevel").isVisible());
    const std::tuple<int, const char*, const char*, const char*, int, const char*> boxes[] = {
        {1, "cboLevel", "cboInterval", "fgLevel", 3, "LEVEL3"},
        {2, "cboInterval", "cboLevel", "fgInterval", 13, "6000"},
        {3, "cboInterval", "cboLevel", "fgQuicklook", 0, ""}};
    for (const auto& [tab, box, hidden, grid, row, text] : boxes) {
        SetTab(tab);
        EXPECT_FALSE(Find<QComboBox>(*window, hidden).isVisible());
        Find<QComboBox>(*window, box).setFocus();
        Press(Qt::Key_Down);
        EXPECT_EQ(Find<QComboBox>(*window, box).currentIndex(), 1);
        EXPECT_EQ(Cell(grid, row), text);
    }
    SetTab(4);
    GridOf("fgSummary").setCurrentCell(0, 2);
    EXPECT_EQ(Find<QStatusBar>(*window, "statBar").currentMessage(),
              GridOf("fgSummary").item(0, 2)->toolTip());
}

TEST_F(MainWindow, CursorTimesFollowTheScalesThatAreAppliedAndTheElapsedOrigin) {
    MakeLevel("LATE", 6000, 1, 123'450);
    ports.answers = {false, false, false};
    SelectThroughDialog({"LATE"});
    SetTab(5);
    Find<TimeCursors>(*window, "cursors").setCursor1(25);
    Find<TimeCursors>(*window, "cursors").setCursor2(70);
    const auto& label = Find<QLabel>(*window, "lblCursors");
    ModalScript script;
    script.Then("frmPlotScales", [&](QDialog& dialog) {
        Find<QCheckBox>(dialog, "chkFullRange").setChecked(true);
        Click(dialog, "cmdApply");
        EXPECT_EQ(label.text(), "[1733] [2637]") << "1230 s to 3240 s";
        Find<QCheckBox>(dialog, "chkElapsed").setChecked(true);
        Click(dialog, "cmdOK");
    });
    Trigger("mnuPlot0");
    EXPECT_EQ(label.text(), "[502.5] [1407]");
    ports.saveFileAnswer = SaveFileChoice{folder.File("late.svg"), 2};
    script.Then("frmPlotFormat", [&](QDialog& dialog) {
        Find<QComboBox>(dialog, "cboNPlots").setCurrentIndex(0);
        Find<QComboBox>(dialog, "cboVertical").setCurrentText("4");
        auto& plot = Find<QWidget>(*window, "picPlot");
        const QImage before = plot.grab().toImage();
        Click(dialog, "cmdApply");
        EXPECT_NE(plot.grab().toImage(), before) << "drawn while the dialog stays";
        dialog.reject();
    });
    Trigger("mnuPlot1");
    script.Then("frmSavePlot", [](QDialog& dialog) { Click(dialog, "cmdOK"); });
    Trigger("mnuFile6");
    for (const char* text : {">0<", ">502.5<", ">1005<", ">2010<", "Vorela plot - LATE<"})
        EXPECT_NE(ReadAll(folder.File("late.svg")).find(text), std::string::npos) << text;
}

TEST_F(MainWindow, DatabaseThatCannotBeWrittenIsAnalysedAsItStands) {
    FinishedJob();
    const std::string flowPhase = Cell("fgLevel", 13);
    std::filesystem::permissions(DatabasePath(), std::filesystem::perms(0444));
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0777));
    InitialiseDatasetVariables();
    const bool root = geteuid() == 0;  // who may write everything
    ASSERT_TRUE(!root || setresuid(65534, 65534, 0) == 0);
    SelectThroughDialog({"LEVEL1", "LEVEL2"});
    EXPECT_EQ(Cell("fgLevel", 13), "");
    Trigger("mnuAction4");
    EXPECT_TRUE(ports.boxes.empty()) << ports.boxes.front().text;
    EXPECT_EQ(Cell("fgLevel", 13), flowPhase);
    EXPECT_TRUE(Find<QStatusBar>(*window, "statBar").currentMessage().contains("read only"));
    ports.answers = {true};
    Trigger("mnuAction1");  // to be written anew: refused
    EXPECT_FALSE(ports.boxes.empty());
    ASSERT_TRUE(!root || setresuid(0, 0, 0) == 0);
}

TEST_F(MainWindow, StaleCurvesAreNamedUntilTheyAreMadeAnew) {
    FinishedJob();
    const auto& stale = Find<QLabel>(*window, "lblStale");
    EXPECT_FALSE(stale.isVisible());
    ModalScript script;
    script.Then("frmParameters", [](QDialog& dialog) {
        auto& box = Find<QLineEdit>(dialog, "txtPeriod");
        box.setFocus();
        box.selectAll();
        Type("120");
        Press(Qt::Key_Return);
    });
    Trigger("mnuEdit0");
    EXPECT_TRUE(stale.isVisible());
    EXPECT_TRUE(stale.text().contains("ZG_p"));
    EXPECT_TRUE(Find<QStatusBar>(*window, "statBar").currentMessage().contains("ZG_p"));
    script.Then("frmFilteredCurves", [](QDialog& dialog) {
        const auto& information = Find<QLabel>(dialog, "lblInformation");
        const QString one = information.text();
        Find<QComboBox>(dialog, "cboFilter").setCurrentIndex(1);
        EXPECT_NE(information.text(), one);
        EXPECT_TRUE(one.contains(" to "));
        Click(dialog, "cmdCreate");
    });
    Trigger("mnuAction0");
    EXPECT_EQ(CurrentParameters().filterN, 2) << "the second entry";
    EXPECT_FALSE(stale.isVisible());
    EXPECT_FALSE(Find<QStatusBar>(*window, "statBar").currentMessage().contains("ZG_p"));
}

TEST_F(MainWindow, GridIsCopiedAndItsCaptionsStayWhenItIsScrolled) {
    FinishedJob();
    ResultGridView& grid = GridOf("fgLevel");
    grid.setFocus();
    grid.setCurrentCell(3, 1);
    Press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "LEVEL2");
    Press(Qt::Key_Up, Qt::ShiftModifier);
    Press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), QString::fromStdString(DatabasePath()) + "\nLEVEL2");
    const auto& captions = Find<QTableView>(grid, "fixedColumn");
    EXPECT_FALSE(captions.isVisible());
    grid.horizontalHeader()->setStretchLastSection(false);
    grid.setColumnWidth(1, 5000);
    QTest::qWait(0);  // the scroll bar learns of it
    grid.horizontalScrollBar()->setValue(300);
    EXPECT_TRUE(captions.isVisible());
    EXPECT_EQ(captions.width(), grid.columnWidth(0));
}

TEST_F(MainWindow, DialogThatIsLargerThanTheScreenScrollsAboveItsButtons) {
    for (const QSize room : {QSize(2000, 2000), QSize(500, 300)}) {
        frmPlotScales dialog;
        const QSize wanted = dialog.sizeHint();
        FitDialog(dialog, room);
        dialog.show();
        EXPECT_EQ(dialog.size(), wanted.boundedTo(room));
        const auto& ok = Find<QPushButton>(dialog, "cmdOK");
        EXPECT_TRUE(dialog.rect().contains(ok.geometry()) && ok.isVisible());
        EXPECT_EQ(dialog.findChild<QScrollArea*>() != nullptr, room.width() == 500);
    }
}

TEST_F(MainWindow, DatasetOrDatabaseGoneUnderTheSelectionIsReportedOnceForEachAction) {
    FinishedJob();
    DeleteItem("LEVEL2");
    SetTab(5);
    const std::size_t told = ports.boxes.size();
    EXPECT_GE(told, 1U);
    SetTab(1);
    SetTab(5);
    EXPECT_EQ(ports.boxes.size(), told);
    ports.answers = {true};
    Trigger("mnuAction2");
    EXPECT_GT(ports.boxes.size(), told);
    std::filesystem::rename(DatabasePath(), folder.File("away"));
    ports.answers = {true, true};
    for (const char* entry : {"mnuAction1", "mnuAction2", "mnuAction4", "mnuAction5", "mnuAction6"}) {
        ports.boxes.clear();
        Trigger(entry);
        EXPECT_FALSE(ports.boxes.empty()) << entry;
        EXPECT_TRUE(window->findChild<QAction*>(entry)->isEnabled()) << entry << " has not ended";
    }
    std::filesystem::rename(folder.File("away"), DatabasePath());
    CurrentParameters().period = 0;
    SetTab(2);
    SetTab(3);
    const auto& status = Find<QStatusBar>(*window, "statBar");
    EXPECT_TRUE(status.currentMessage().contains("Division by zero"))
        << status.currentMessage().toStdString();
    CurrentParameters().period = 240;
    SetTab(2);
    EXPECT_FALSE(status.currentMessage().contains("Division by zero"));
}

TEST_F(MainWindow, GarbageInEverySettingStillOpensTheWindow) {
    std::string garbage;
    for (const char* key : {"Period", "NumInts", "0CycleNo", "FilterN", "DFilt", "TimeRange", "NPlots", "Y1",
                            "Cursor1", "Left", "Width", "PresCurveNum"})
        garbage += std::string(key) + "=1e999 \xff\xfe;=\n";
    WriteSettings("[Presentation]\n" + garbage + "[Plot]\n" + garbage + "[Parameters]\n" + garbage +
                  "[Dataset]\n" + garbage + "[Cursors]\n" + garbage + "[Window]\n" + garbage);
    frmMain second(qtPorts);
    EXPECT_TRUE(second.Load());
    second.show();
    EXPECT_TRUE(second.screen()->availableGeometry().contains(second.geometry()));
}

TEST(WindowPlace, IsReadBackAsWrittenAndStaysWhollyOnAScreen) {
    const TempFolder folder;
    SetSettingsFilePath(folder.File("Vorela.ini"));
    EXPECT_FALSE(ReadWindowPlace());
    WriteWindowPlace({{-20, 30, 640, 480}, true});
    const auto place = ReadWindowPlace();
    ASSERT_TRUE(place);
    EXPECT_EQ(place->normal, QRect(-20, 30, 640, 480));
    EXPECT_TRUE(place->maximized);
    const std::vector<QRect> screens{{0, 0, 1000, 800}, {1000, 0, 500, 600}};
    EXPECT_EQ(PlaceOnScreens({100, 100, 300, 200}, screens), QRect(100, 100, 300, 200));
    EXPECT_EQ(PlaceOnScreens({5000, -900, 300, 200}, screens), QRect(700, 0, 300, 200));
    EXPECT_EQ(PlaceOnScreens({1100, 500, 300, 200}, screens), QRect(1100, 400, 300, 200));
    EXPECT_EQ(PlaceOnScreens({-50, -50, 4000, 3000}, screens), QRect(0, 0, 1000, 800));
}

}  // namespace
}  // namespace vorela::test
