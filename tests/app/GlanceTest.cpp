// What the window tells at a glance and keeps at hand.
#include <QAccessible>
#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QPaintEvent>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QProgressBar>
#include <QToolBar>

#include "analysis/CellColours.h"
#include "analysis/NumberCells.h"
#include "analysis/frmCycleInfo.h"
#include "app/DesktopColours.h"
#include "app/dlgHelp.h"
#include "app/frmAbout.h"
#include "app/frmExact.h"
#include "app/frmPlan.h"
#include "db/frmSelectData.h"
#include "dravik/chooser/frmChooser.h"
#include "dravik/importer/frmImport.h"
#include "follow/RecentSelections.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlotScales.h"
#include "plotview/CycleView.h"
#include "plotview/TimeCursors.h"
#include "plotview/frmPlotFormat.h"
#include "plotview/frmPlotScales.h"
#include "plotview/frmSavePlot.h"
#include "signal/frmFilteredCurves.h"
#include "signal/frmParameters.h"
#include "signal/modParameters.h"
#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

class Glance : public WindowFixture {
  protected:
    std::string Stored(const char* key) { return ReadIniString("Parameters", key, "", SettingsFilePath()); }
    QPushButton* OfferOn(const char* grid) {
        return Find<QTableWidget>(*window, grid).findChild<QPushButton*>("cmdCalculateCycles");
    }
    QAction& Entry(const char* name) { return *window->findChild<QAction*>(name); }
    void Activate() {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
};

TEST_F(Glance, TitleNamesDatabaseAndWhatIsShown) {
    EXPECT_EQ(window->windowTitle(), "Corvane Vorela");
    FinishedJob({"LEVEL1", "LEVEL2", "LEVEL3"});
    const std::pair<int, const char*> titles[] = {
        {1, "LEVEL2"}, {2, "6100 to 6050 ft"}, {3, "6100 to 6050 ft"}, {4, "3 levels"}, {6, "LEVEL3"}};
    for (const auto& [tab, shown] : titles) {
        SetTab(tab);
        EXPECT_EQ(window->windowTitle(), QString("well.vdb - %1 - Corvane Vorela").arg(shown));
    }
    SetTab(1);
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    EXPECT_EQ(window->windowTitle(), "well.vdb - LEVEL3 - Corvane Vorela");
    EXPECT_FALSE(Find<QProgressBar>(*window, "progBar").isVisible()) << "nothing is being done";
    qtPorts.SetRange(0, 20);
    qtPorts.SetValue(1);
    EXPECT_FALSE(Find<QProgressBar>(*window, "progBar").isVisible()) << "short work";
    QTest::qWait(300);
    qtPorts.SetValue(2);
    EXPECT_TRUE(Find<QProgressBar>(*window, "progBar").isVisible());
    QTimer::singleShot(0, [] { QApplication::activeModalWidget()->close(); });
    qtPorts.AskYesNo("Title", "Question?");
    EXPECT_FALSE(Find<QProgressBar>(*window, "progBar").isVisible()) << "behind a question";
    qtPorts.SetValue(3);
    QTest::qWait(300);
    qtPorts.SetValue(4);
    EXPECT_TRUE(Find<QProgressBar>(*window, "progBar").isVisible());
    window->TimerTick();
    EXPECT_FALSE(Find<QProgressBar>(*window, "progBar").isVisible());
}

TEST_F(Glance, UndoAndRedoGoThroughValuesAndCyclesOfTheseLevels) {
    FinishedJob();
    Activate();
    EXPECT_FALSE(Entry("mnuEditUndo").isEnabled() || Entry("mnuEditRedo").isEnabled());
    SetTab(3);
    const auto enter = [&](std::size_t row, const char* text) {
        EditCell("fgQuicklook", static_cast<int>(row));
        Type(text);
        Press(Qt::Key_Return);
    };
    enter(quicklookPorosityRow, "0.25");
    enter(quicklookHeightRow, "33");
    enter(quicklookPorosityRow, "0.25");  // nothing that could be taken back
    ASSERT_TRUE(ChooseCycle(0, 1));
    SetTab(1);
    EXPECT_EQ(Entry("mnuEditUndo").text(), "&Undo cycle of LEVEL2");
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "2");
    const auto undo = [&] { QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier); };
    const auto redo = [&] {
        QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    };
    undo();
    EXPECT_EQ(Cell("fgLevel", levelCycleNumberRow), "1");
    EXPECT_EQ(Status(), "Undone: cycle of LEVEL2 is 1");
    undo();
    EXPECT_EQ(Cell("fgQuicklook", quicklookHeightRow), "10");
    EXPECT_EQ(Stored("1Height"), "10");
    undo();
    EXPECT_EQ(Cell("fgQuicklook", quicklookPorosityRow), "1");
    undo();
    EXPECT_FALSE(Entry("mnuEditUndo").isEnabled());
    redo();
    EXPECT_EQ(Status(), "Done again: porosity of 6100 to 6000 is 0.25");
    EXPECT_EQ(Stored("1Porosity"), "0.25");
    SetTab(3);
    enter(quicklookViscosityRow, "0.7");
    EXPECT_FALSE(Entry("mnuEditRedo").isEnabled()) << "what was undone is gone with a new change";
    undo();
    undo();
    EXPECT_EQ(Cell("fgQuicklook", quicklookPorosityRow), "1");
    redo();
    // Another selection: these positions are other levels.
    CurrentSelection().datasets.pop_back();
    SetTab(1);
    EXPECT_FALSE(Entry("mnuEditUndo").isEnabled());
}

TEST_F(Glance, NumbersOfAColumnMeetAtTheirDecimalPoints) {
    ResultGridView grid;
    grid.ShowGrid({{{"a", "1.5"}, {"b", "1111.5"}, {"c", "text"}, {"d", "0.000125"}},
                   {RowShade::none, RowShade::none, RowShade::none, RowShade::none},
                   {1000, 0}});
    for (const int width : {900, 300}) {
        grid.resize(width, 200);
        grid.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
        const auto& cells = dynamic_cast<const NumberCells&>(*grid.itemDelegate());
        const auto place = [&](int row) { return grid.visualItemRect(grid.item(row, 1)); };
        const QImage picture = grid.viewport()->grab().toImage();
        const auto from = [&](int row, int left, int columns) {
            return picture.copy(left, place(row).top(), columns, place(row).height() - 1);
        };
        const int point = cells.PointX(1, place(0));
        const int fraction = grid.fontMetrics().horizontalAdvance(".5");
        EXPECT_EQ(from(0, point, fraction), from(1, point, fraction)) << width;
        EXPECT_NE(from(0, point, fraction), from(2, point, fraction)) << "nothing is drawn there";
        EXPECT_LT(point, 300) << "beside the captions, not at the far edge";
    }
}

TEST_F(Glance, TextOfEveryCellCanBeReadOnLightAndOnDark) {
    FinishedJob();
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(45, 45, 48));
    dark.setColor(QPalette::Base, QColor(25, 25, 28));
    dark.setColor(QPalette::Highlight, QColor(40, 90, 160));
    for (const QPalette& colours : {before, dark}) {
        QApplication::setPalette(colours);
        frmCycleInfo dialog(0);
        dialog.show();
        QTest::qWait(20);
        std::vector<QTableWidget*> grids{&Find<QTableWidget>(dialog, "fgCycleInfo")};
        for (const char* name : {"fgLevel", "fgInterval", "fgQuicklook", "fgSummary"})
            grids.push_back(&GridOf(name));
        for (const QTableWidget* grid : grids)
            for (int row = 0; row < grid->rowCount(); ++row)
                for (int column = 0; column < grid->columnCount(); ++column) {
                    const QTableWidgetItem& cell = *grid->item(row, column);
                    EXPECT_GE(ContrastOf(cell.foreground().color(), cell.background().color()), leastContrast)
                        << grid->objectName().toStdString() << " " << row << " " << column;
                }
        EXPECT_EQ(GridOf("fgLevel").item(3, 1)->background().color(), colours.color(QPalette::Base));
        MakeHintsLegible();
        const QPalette shown = QLineEdit().palette();
        EXPECT_GE(ContrastOf(shown.color(QPalette::PlaceholderText), shown.color(QPalette::Base)),
                  leastContrast);
        EXPECT_NE(shown.color(QPalette::PlaceholderText), shown.color(QPalette::Text));
    }
    QApplication::setPalette(before);
    EXPECT_NEAR(ContrastOf(Qt::black, Qt::white), 21, 1e-9);
    EXPECT_NEAR(ContrastOf(QColor(119, 119, 119), Qt::white), 4.478, 1e-3) << "known: just not enough";
}

TEST_F(Glance, WhatCanBeEditedAndWhatIsInUseIsMarked) {
    FinishedJob();
    const auto mark = [&](const char* grid, int row) {
        return static_cast<CellMark>(GridOf(grid).item(row, 1)->data(cellMarkRole).toInt());
    };
    EXPECT_EQ(mark("fgLevel", levelCycleNumberRow), CellMark::arrow);
    EXPECT_EQ(mark("fgLevel", levelCycleNumberRow + 1), CellMark::none);
    for (const int row : {5, 6, 7, 9})
        EXPECT_EQ(mark("fgQuicklook", row), CellMark::pencil);
    EXPECT_EQ(mark("fgQuicklook", 8), CellMark::none);
    EXPECT_TRUE(GridOf("fgLevel").item(1, 0)->font().bold());
    EXPECT_FALSE(GridOf("fgLevel").item(2, 0)->font().bold());
    SetTab(4);
    const QString legend = Find<QLabel>(*window, "lblLegend").text();
    EXPECT_TRUE(legend.contains("HPIS") && legend.contains("Permeability for reservoir (mD)"));
    frmCycleInfo dialog(0);
    auto& table = Find<ResultGridView>(dialog, "fgCycleInfo");
    const auto bold = [&] {
        std::vector<int> rows;
        for (int row = 0; row < table.rowCount(); ++row)
            if (table.item(row, 7)->font().bold())
                rows.push_back(row);
        return rows;
    };
    EXPECT_THAT(bold(), ElementsAre(0));
    emit table.cellDoubleClicked(2, 4);
    EXPECT_THAT(bold(), ElementsAre(2));
}

TEST_F(Glance, CalculationIsOfferedWhereTheNumbersWillBe) {
    EXPECT_TRUE(Find<QLabel>(*window, "lblBegin").isVisible());
    FinishedJob();
    for (const char* grid : {"fgLevel", "fgInterval", "fgQuicklook", "fgSummary"})
        EXPECT_TRUE(OfferOn(grid)->isHidden()) << grid;
    InitialiseDatasetVariables();
    SelectThroughDialog({"LEVEL1", "LEVEL2"});
    const std::tuple<int, const char*, int> places[] = {
        {1, "fgLevel", 8}, {2, "fgInterval", 2}, {3, "fgQuicklook", 2}, {4, "fgSummary", 1}};
    for (const auto& [tab, grid, row] : places) {
        SetTab(tab);
        ASSERT_TRUE(OfferOn(grid)->isVisible()) << grid;
        EXPECT_EQ(OfferOn(grid)->y(), row * GridOf(grid).rowHeight(0));
        EXPECT_EQ(OfferOn(grid)->x(), GridOf(grid).columnViewportPosition(1));
    }
    const auto missing = [](std::size_t level) {
        frmCycleInfo dialog(level);
        dialog.show();
        EXPECT_NE(Find<QLabel>(dialog, "lblMissing").isVisible(),
                  Find<ResultGridView>(dialog, "fgCycleInfo").isVisible());
        return Find<QLabel>(dialog, "lblMissing").text().toStdString();
    };
    EXPECT_THAT(missing(1),
                AllOf(HasSubstr("No cycles of LEVEL1"), HasSubstr("Action, Calculate cycle info...")));
    SetTab(2);
    QTest::mouseClick(OfferOn("fgInterval"), Qt::LeftButton);
    EXPECT_EQ(missing(1), "");
    EXPECT_NE(Cell("fgInterval", 2), "");
    for (const auto& [tab, grid, row] : places)
        EXPECT_TRUE(OfferOn(grid)->isHidden()) << grid << row << tab;
    InitialiseDatasetVariables();
    SelectThroughDialog({"LEVEL1"});
    SetTab(2);
    EXPECT_TRUE(Find<QLabel>(*window, "lblBegin").text().contains("second"));
    SetTab(1);
    EXPECT_FALSE(Find<QLabel>(*window, "lblBegin").isVisible());
}

TEST_F(Glance, RecordingIsMarkedFollowedPausedAndItsCursorTimesHeld) {
    RunningJob();
    Find<QTimer>(*window, "tmrMain").stop();
    PrsOpt().timeAuto = true;
    auto& strip = Find<QTabBar>(*window, "tsMain");
    EXPECT_FALSE(strip.tabIcon(4).isNull());
    EXPECT_TRUE(strip.tabIcon(5).isNull());
    EXPECT_EQ(strip.accessibleTabName(4), "LEVEL2, being recorded");
    EXPECT_EQ(strip.tabToolTip(4), "LEVEL2 (6100 ft), being recorded");
    SetTab(5);
    window->TimerTick();
    const auto& live = Find<QLabel>(*window, "lblLive");
    // 200,000 samples' time is 2000 s: boundaries at 60 + 240 n s, the last of them at 1980 s.
    EXPECT_TRUE(live.isVisible());
    EXPECT_EQ(live.text(), "LEVEL2: 0 s behind, 8 cycles (7 measured), next in 220 s");
    const auto grow = [&](std::int32_t samples) {
        for (const char* name : {"ZG", "RTC"})
            Append("LEVEL2", {name, "", 0, [](std::int32_t) { return 1.0; }}, samples);
        window->TimerTick();
        QTest::qWait(5);  // the picture follows as an event of its own
    };
    const auto& state = Find<QLabel>(*window, "lblFollow");
    EXPECT_EQ(state.text(), "Following the recording");
    QTest::keyClick(&Find<QWidget>(*window, "picPlot"), Qt::Key_Plus);
    QTest::qWait(20);
    EXPECT_TRUE(state.text().startsWith("Zoomed, the view stays")) << state.text().toStdString();
    QTest::keyClick(&Find<QWidget>(*window, "picPlot"), Qt::Key_Home);
    EXPECT_EQ(state.text(), "Following the recording");
    auto& hold = Find<QCheckBox>(*window, "chkHoldCursors");
    auto& cursors = Find<TimeCursors>(*window, "cursors");
    const auto& times = Find<QLabel>(*window, "lblCursors");
    cursors.setCursor1(25);
    cursors.setCursor2(70);
    const QString before = times.text();
    grow(5000);
    EXPECT_NE(times.text(), before) << "places in the picture";
    QTest::mouseClick(&hold, Qt::LeftButton, {}, QPoint(8, hold.height() / 2));
    ASSERT_TRUE(hold.isChecked());
    const QString held = times.text();
    const float place = cursors.cursor1();
    grow(5000);
    EXPECT_EQ(times.text(), held);
    EXPECT_LT(cursors.cursor1(), place);
    cursors.setCursor1(10);
    const QString moved = times.text();
    grow(5000);
    EXPECT_EQ(times.text(), moved);
    auto& follow = Find<QPushButton>(*window, "cmdFollow");
    QTest::mouseClick(&follow, Qt::LeftButton);
    const std::int32_t end = PrsOpt().rangeEnd;
    grow(5000);
    EXPECT_EQ(PrsOpt().rangeEnd, end) << "paused";
    EXPECT_GT(CurrentSelection().datasets[0].extentB / 100, end) << "the analysis goes on";
    Activate();
    QTest::keyClick(window.get(), Qt::Key_L, Qt::ControlModifier);
    QTest::qWait(5);
    EXPECT_GT(PrsOpt().rangeEnd, end);
    SetPresentation("LEVEL2", Presentation{});
    window->TimerTick();
    EXPECT_TRUE(strip.tabIcon(4).isNull());
    EXPECT_FALSE(live.isVisible() || follow.isVisible());
    EXPECT_EQ(strip.accessibleTabName(4), "LEVEL2");
}

TEST_F(Glance, RecentSelectionsComeBackWithOneEntry) {
    FinishedJob({"LEVEL1", "LEVEL2", "LEVEL3"});
    InitialiseDatasetVariables();
    SelectThroughDialog({"LEVEL1", "LEVEL2"});
    const auto captions = [&] {
        std::vector<std::string> texts;
        for (const QAction* entry : window->findChild<QMenu*>("mnuRecent")->actions())
            if (entry->isVisible())
                texts.push_back(entry->text().toStdString());
        return texts;
    };
    EXPECT_THAT(captions(),
                ElementsAre("&1 well.vdb: LEVEL2, LEVEL1", "&2 well.vdb: LEVEL2, LEVEL3, LEVEL1"));
    Trigger("mnuRecent2");
    EXPECT_EQ(Find<QLabel>(*window, "lblSelection").text(), "3 levels, ZG / RTC");
    EXPECT_EQ(Find<QTabBar>(*window, "tsMain").count(), 7);
    EXPECT_THAT(captions(),
                ElementsAre("&1 well.vdb: LEVEL2, LEVEL3, LEVEL1", "&2 well.vdb: LEVEL2, LEVEL1"));
    EXPECT_TRUE(ports.boxes.empty());
    // What cannot be opened leaves the selection as it is.
    const std::uint64_t generation = CurrentSelection().generation;
    std::filesystem::rename(DatabasePath(), folder.File("away"));
    Trigger("mnuRecent2");
    EXPECT_THAT(ports.TakeBox().text, HasSubstr(DatabasePath()));
    std::filesystem::rename(folder.File("away"), DatabasePath());
    DeleteItem("LEVEL1/PVLPOS/1");
    Trigger("mnuRecent2");
    EXPECT_EQ(ports.TakeBox().text, "Vorela valve curve is not in all datasets");
    EXPECT_EQ(CurrentSelection().datasets.size(), 3U);
    EXPECT_EQ(CurrentSelection().generation, generation);
    // More than fit: the oldest goes. Names keep blanks and quotes.
    for (int i = 0; i < 8; ++i) {
        CurrentSelection().datasets.resize(1);
        CurrentSelection().datasets[0].dataset = "\"PASS " + std::to_string(i) + "\"";
        RememberSelection();
    }
    const auto all = RecentSelections();
    ASSERT_EQ(all.size(), mostRecentSelections);
    EXPECT_EQ(all.front().levels, (std::vector<RecentLevel>{{DatabasePath(), "\"PASS 7\""}}));
    EXPECT_EQ(all.back().levels[0].dataset, "\"PASS 2\"");
    EXPECT_EQ(
        RecentCaption({{{"/a/x.dkb", "1"}, {"/a/x.dkb", "2"}, {"/b/y.dkb", "3"}, {"/b/y.dkb", "4"}}, "", ""}),
        "x.dkb: 1, 2; y.dkb: 3 and 1 more");
}

TEST_F(Glance, ToolbarStaysHiddenAndThePreviewShowsThePlot) {
    FinishedJob();
    auto& bar = Find<QToolBar>(*window, "toolBar");
    EXPECT_TRUE(bar.isVisible());
    EXPECT_EQ(Entry("mnuFile0").toolTip(), "Select Data (Ctrl+D)");
    Trigger("mnuViewToolbar");
    EXPECT_FALSE(bar.isVisible());
    frmMain second(qtPorts);
    second.show();
    EXPECT_FALSE(Find<QToolBar>(second, "toolBar").isVisible());
    ModalScript script;
    script.Then("dlgPrintPreview", [](QDialog& dialog) {
        QTest::qWait(50);
        EXPECT_TRUE(dialog.isVisible());
        dialog.reject();
    });
    Trigger("mnuFilePreview");
}

TEST_F(Glance, RedrawThatIsDueWhenTheWindowClosesReadsNothing) {
    FinishedJob();
    SetTab(5);
    window->resize(window->size() - QSize(60, 40));
    window->close();
    QTest::qWait(20);
    EXPECT_TRUE(ports.boxes.empty()) << ports.boxes.front().text;
    ASSERT_TRUE(LoadDatabaseLibrary() && LoadFilterLibrary());  // for the tests that follow
}

TEST_F(Glance, CyclePagesAreSavedAndPrintedAsShown) {
    FinishedJob();
    SetTab(5);
    auto& pages = Find<QTabBar>(*window, "tsLevel");
    const auto onPaper = [&](const char* name) {
        ModalScript script;
        script.Then("frmSavePlot", [](QDialog& dialog) {
            EXPECT_EQ(Find<QCheckBox>(dialog, "chkCursors").isVisible(), false);
            Click(dialog, "cmdOK");
        });
        script.Then("dlgPrint", [this](QDialog& dialog) {
            auto& printer = *static_cast<QPrintDialog&>(dialog).printer();
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(QString::fromStdString(folder.File("paper.pdf")));
            dialog.done(QDialog::Accepted);
        });
        ports.saveFileAnswer = SaveFileChoice{folder.File(name), 2};
        Trigger("mnuFile6");
        Trigger("mnuFile7");
        EXPECT_EQ(Status(), "Plot printed");
        EXPECT_GT(std::filesystem::file_size(folder.File("paper.pdf")), 5000U);
        return ReadAll(folder.File(name));
    };
    pages.setCurrentIndex(1);
    EXPECT_THAT(onPaper("cycles.svg"), AllOf(HasSubstr("Cycles of LEVEL2, 1 to"),
                                             HasSubstr("well.vdb \u00B7 LEVEL2 \u00B7 6100 ft")));
    pages.setCurrentIndex(2);
    EXPECT_THAT(onPaper("stacked.svg"), AllOf(HasSubstr("Pressure less its mean"),
                                              HasSubstr("LEVEL2 6100 ft \u00B7 LEVEL1 6000 ft")));
    Activate();
    QTest::mouseClick(&pages, Qt::LeftButton, {}, pages.tabRect(1).center());
    QTest::qWait(10);
    Press(Qt::Key_Right);
    EXPECT_EQ(CurrentSelection().datasets[0].cycles.selectedCycle, 2) << "the picture has the keys";
    SetTab(1);
    EXPECT_FALSE(window->findChild<CycleView*>("picCycles")->isVisible());
}

// Cells keep their texts while the column's points move with others.
TEST_F(Glance, NumbersThatStayAreDrawnAgainWhereThePointWent) {
    ResultGridView grid;
    const auto show = [&](const char* second) {
        grid.ShowGrid({{{"a", "1"}, {"b", second}}, {RowShade::none, RowShade::none}, {1000, 0}});
    };
    show("2");
    grid.resize(600, 200);
    grid.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&grid));
    const auto first = [&] { return grid.visualItemRect(grid.item(0, 1)); };
    QRegion drawn;
    struct Watch final : QObject {
        explicit Watch(QRegion& region) : region_(region) {}
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint)
                region_ += static_cast<QPaintEvent*>(event)->region();
            return false;
        }
        QRegion& region_;
    } watch(drawn);
    grid.viewport()->installEventFilter(&watch);
    show("0.000125");
    QTest::qWait(30);
    EXPECT_TRUE(drawn.contains(first().center()));
}

// --- Without a mouse, without eyes ---

bool TakesKeys(const QWidget& widget) {
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus) != 0 &&
           widget.focusProxy() == nullptr;
}

/// The widgets that Tab visits, from the first on.
std::vector<QWidget*> TabChain(QWidget& window) {
    std::vector<QWidget*> chain;
    for (QWidget* next = window.nextInFocusChain(); next != &window; next = next->nextInFocusChain())
        if (next->window() == &window && TakesKeys(*next))
            chain.push_back(next);
    return chain;
}

void ExpectNamedAndInOrder(QWidget& window) {
    const std::string where = window.objectName().toStdString();
    const std::vector<QWidget*> chain = TabChain(window);
    EXPECT_FALSE(chain.empty()) << where;
    for (QWidget* widget : chain) {
        QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(seen, nullptr);
        EXPECT_FALSE(seen->text(QAccessible::Name).isEmpty())
            << where << ": " << widget->objectName().toStdString() << " "
            << widget->metaObject()->className();
    }
    const auto place = [&](const QWidget* widget) {
        return QRect(widget->mapTo(&window, QPoint(0, 0)), widget->size());
    };
    for (std::size_t i = 1; i < chain.size(); ++i) {
        const QRect before = place(chain[i - 1]);
        const QRect now = place(chain[i]);
        // Back up is right only for what begins the next column.
        EXPECT_TRUE(now.bottom() > before.top() || now.left() >= before.left())
            << where << ": " << chain[i - 1]->objectName().toStdString() << " then "
            << chain[i]->objectName().toStdString();
    }
}

TEST_F(Glance, EveryControlHasANameAndTabGoesFromTopToBottom) {
    FinishedJob();
    Activate();
    for (int tab = 1; tab <= 5; ++tab) {
        SetTab(tab);
        ExpectNamedAndInOrder(*window);
    }
    for (const int page : {1, 2, 0}) {
        Find<QTabBar>(*window, "tsLevel").setCurrentIndex(page);
        ExpectNamedAndInOrder(*window);
    }
    frmExact exact;
    frmPlan plan;
    frmSelectData select;
    frmFilteredCurves filtered;
    frmParameters parameters;
    frmPlotScales scales;
    frmPlotFormat format;
    frmSavePlot save;
    frmCycleInfo cycles(0);
    frmAbout about;
    dravik::frmImport import({DatabasePath(), "240"});
    dlgHelp help;
    dravik::frmChooser chooser(LoadedLibraries().database);
    for (QWidget* dialog :
         std::initializer_list<QWidget*>{&select, &filtered, &parameters, &scales, &format, &save, &cycles,
                                         &about, &import, &help, &exact, &plan, &chooser}) {
        dialog->show();
        ExpectNamedAndInOrder(*dialog);
        dialog->hide();
    }
    for (const QMenu* menu : window->menuBar()->findChildren<QMenu*>())
        for (const QAction* entry : menu->actions())
            EXPECT_TRUE(entry->isSeparator() || entry->text().contains('&') || !entry->isEnabled())
                << entry->text().toStdString() << " has no access key";
}

}  // namespace
}  // namespace vorela::test
