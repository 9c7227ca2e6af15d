#include <QAction>
#include <QClipboard>
#include <QDoubleSpinBox>
#include <QImage>
#include <QLocale>
#include <QSpinBox>
#include <QTabWidget>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "BuildPaths.h"
#include "analysis/ExactTables.h"
#include "analysis/ResultGridView.h"
#include "analysis/modExact.h"
#include "app/frmExact.h"
#include "batch/BatchExact.h"
#include "plot/LogChart.h"
#include "report/ExactPictures.h"
#include "signal/SelectedDatasets.h"
#include "signal/modParameters.h"
#include "tests/app/GuiSupport.h"
#include "tests/plot/RecordingSurface.h"

namespace vorela::test {
namespace {

class ExactDialog : public WindowFixture {
  protected:
    void SetUp() override {
        CurrentExactSettings() = ExactSettings{};
        WindowFixture::SetUp();
    }
    /// Levels that a small disturbance of another period keeps from being perfect.
    void MakeNoisyLevel(const std::string& dataset, double depth, double amplitude, double lag,
                        std::int32_t flowCount = 20000) {
        constexpr std::int32_t count = 20000;
        constexpr double omega = 2 * 3.14159265358979 / period;
        std::vector<RecordedCurve> curves{
            {"ZG", "psi", count,
             [](std::int32_t t) {
                 return 3000 + 20 * std::sin(omega * t) + 0.05 * std::sin(0.37 * omega * t);
             }},
            {"RTC", "rps", flowCount,
             [=](std::int32_t t) {
                 return 5 - amplitude * std::sin(omega * t + lag) + 0.004 * std::sin(1.41 * omega * t);
             }},
            {"ADPTH", "ft", 1, [depth](std::int32_t) { return depth; }}};
        for (RecordedCurve& curve : ValveCurves({6000, period, count}))
            curves.push_back(std::move(curve));
        AddCurves(dataset, curves);
        SetPresentation(dataset, Presentation{});
    }
    frmExact& Open(const std::vector<std::string>& datasets) {
        MakeNoisyLevel("LEVEL1", 6000, 2.0, 0.2);
        MakeNoisyLevel("LEVEL2", 6030, 1.0, 0.15);
        ports.answers = {true, true, true};
        SelectThroughDialog(datasets, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });
        Trigger("mnuView1");
        auto* dialog = window->findChild<frmExact*>();
        EXPECT_TRUE(dialog != nullptr && dialog->isVisible() && !dialog->isModal());
        return *dialog;
    }
};

TEST_F(ExactDialog, EntryStandsBehindTheOldOneAndWaitsForASelection) {
    const auto& entry = *window->findChild<QAction*>("mnuView1");
    EXPECT_EQ(entry.text(), "E&xact results...");
    EXPECT_FALSE(entry.isEnabled());
    const frmExact& dialog = Open({"LEVEL1"});
    EXPECT_TRUE(entry.isEnabled());
    auto& why = *dialog.findChild<QLabel*>("lblEmpty");
    EXPECT_TRUE(why.isVisible() && why.text().contains("select two levels or more"));
}

TEST_F(ExactDialog, TablesPicturesAndFilesShowWhatIsComputed) {
    frmExact& dialog = Open({"LEVEL1", "LEVEL2"});
    auto& table = Find<ResultGridView>(dialog, "fgExact");
    const auto cell = [&](int column) { return table.item(0, column)->text().toStdString(); };
    const auto expect = [&] {
        const TextRows rows = ExactComparisonRows(ComputeExact(CurrentExactSettings()));
        ASSERT_EQ(table.rowCount(), 1);
        for (int column = 0; column < table.columnCount(); ++column)
            EXPECT_EQ(cell(column), rows[1][static_cast<std::size_t>(column)]) << column;
        EXPECT_NE(cell(3), "-");
    };
    expect();
    const std::string range = cell(5);
    Find<QDoubleSpinBox>(dialog, "spnConfidence").setValue(68);
    EXPECT_NE(cell(5), range);
    Find<QSpinBox>(dialog, "spnFirstCycle").setValue(3);
    expect();
    EXPECT_EQ(ReadIniString("Exact", "Confidence", "", SettingsFilePath()), "68");
    Find<QSpinBox>(dialog, "spnLastCycle").setValue(2);
    EXPECT_TRUE(Find<QLabel>(dialog, "lblState").text().contains("first cycle is behind"));
    EXPECT_EQ(CurrentExactSettings().lastCycle, 0);
    Find<QSpinBox>(dialog, "spnLastCycle").setValue(0);
    // The parameters that the main window takes are followed.
    const std::string before = cell(3);
    CurrentParameters().intervals[1].height = 25;
    window->UpdateMainWindow();
    EXPECT_NE(cell(3), before);
    expect();

    auto& tabs = Find<QTabWidget>(dialog, "tabs");
    for (int tab = 0; tab < tabs.count(); ++tab) {
        tabs.setCurrentIndex(tab);
        const bool picture = (tab >= 1 && tab <= 3) || tab == 5;
        for (const char* ending : picture ? std::vector{".png", ".svg", ".pdf"} : std::vector{".csv"}) {
            const std::string file = folder.File("exact" + std::to_string(tab) + ending);
            ports.saveFileAnswer = SaveFileChoice{file, 1};
            Click(dialog, "cmdSave");
            EXPECT_GT(ReadAll(file).size(), picture ? 1000U : 60U) << file;
        }
    }
    EXPECT_EQ(ReadAll(folder.File("exact0.csv")),
              DelimitedText(ExactComparisonRows(ComputeExact(CurrentExactSettings())), ','));
    tabs.setCurrentIndex(4);
    Click(dialog, "cmdCopy");
    EXPECT_TRUE(QApplication::clipboard()->text().startsWith("Cycle\tGrade"));
    EXPECT_TRUE(ports.boxes.empty());
    // Another selection while it is open, of one level.
    CurrentSelection().datasets.pop_back();
    window->UpdateMainWindow();
    EXPECT_TRUE(Find<QLabel>(dialog, "lblEmpty").isVisible());
    EXPECT_EQ(Find<QComboBox>(dialog, "cboInterval").count(), 0) << "nothing of the selection before stays";
    EXPECT_EQ(Find<QComboBox>(dialog, "cboLevel").count(), 0);
}

TEST_F(ExactDialog, NumbersAreTypedWithAPointInAnyLanguage) {
    const QLocale before;
    QLocale::setDefault(QLocale::German);
    frmExact dialog;
    QLocale::setDefault(before);
    for (const char* name : {"spnConfidence", "spnCompressibilityError"}) {
        auto& box = Find<QDoubleSpinBox>(dialog, name);
        box.selectAll();
        QTest::keyClicks(&box, "68.5");
        QTest::keyClick(&box, Qt::Key_Return);
    }
    EXPECT_EQ(CurrentExactSettings().confidence, 68.5);
    EXPECT_EQ(CurrentExactSettings().compressibilityError, 68.5);
}

TEST_F(ExactDialog, NewWholeCycleIsFollowedWhileOpenOnly) {
    frmExact& dialog = Open({"LEVEL1", "LEVEL2"});
    dialog.resize(900, 700);
    QTest::qWait(20);
    const auto& methods = Find<QLabel>(dialog, "lblMethods");
    EXPECT_LE(methods.height(), methods.heightForWidth(methods.width()) + 2)
        << "beside the table that it heads";
    auto& cycles = Find<ResultGridView>(dialog, "fgCycles");
    const int before = cycles.rowCount();
    auto cut = [](int by) {
        for (DatasetRecord& record : CurrentSelection().datasets)
            record.cycles.count += by;
    };
    cut(-1);
    dialog.Follow();
    EXPECT_EQ(cycles.rowCount(), before - 1);
    dialog.close();
    cut(1);
    window->TimerTick();
    EXPECT_EQ(cycles.rowCount(), before - 1) << "nothing is computed behind a closed dialog";
    Trigger("mnuView1");
    EXPECT_EQ(cycles.rowCount(), before);
    cut(-1);
    window->TimerTick();
    EXPECT_EQ(cycles.rowCount(), before - 1);
}

TEST_F(ExactDialog, AFilterOfTheAcquisitionSystemIsToldInTheTable) {
    MakeNoisyLevel("LEVEL1", 6000, 2.0, 0.2, 19990);
    MakeNoisyLevel("LEVEL2", 6030, 1.0, 0.15);
    ports.answers = {true, true, true};
    SelectThroughDialog({"LEVEL1", "LEVEL2"}, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });
    Trigger("mnuView1");
    frmExact& dialog = *window->findChild<frmExact*>();
    const auto& table = Find<ResultGridView>(dialog, "fgExact");
    EXPECT_TRUE(
        table.item(0, table.columnCount() - 1)->text().contains("lag of the filter is not corrected"));
    EXPECT_TRUE(Find<QLabel>(dialog, "lblMessages").text().contains("(LEVEL1)"));
}

TEST_F(ExactDialog, FollowsARecordingBesideItAndEndsAtTheProgramsNumbersBitForBit) {
    const std::string bin = VORELA_BIN_DIR "/";
    const std::string record =
        bin + "dravik record " + DatabasePath() +
        " LEVEL$l --simulate --level $l --levels 2 --cycles 8 --step 50 --noise 0.003 ";
    ASSERT_EQ(test::Run("for l in 1 2; do (" + record + "--speed 120 &) ; done").status, 0);
    for (int tries = 0; tries < 100 && !std::filesystem::exists(DatabasePath()); ++tries)
        QTest::qWait(50);
    QTest::qWait(1000);
    ports.answers = {true, true, true};
    SelectThroughDialog({"LEVEL1", "LEVEL2"}, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });
    Trigger("mnuView1");
    frmExact& dialog = *window->findChild<frmExact*>();
    // The recorder is slow enough to be watched: the results grow by whole cycles. A pass serves the first
    // level that is being recorded; the next one follows when it has ended.
    std::set<std::size_t> seen;
    const auto complete = [&] {
        const auto& levels = dialog.Results().levels;
        if (levels.size() == 2 && !levels[0].cycles.empty()) {
            EXPECT_TRUE(seen.empty() || levels[0].cycles.size() >= *seen.rbegin());
            seen.insert(levels[0].cycles.size());
        }
        return levels.size() == 2 && levels[0].cycles.size() == 7 && levels[1].cycles.size() == 7 &&
               !SelectedDataset(0).pendingFlag && !SelectedDataset(1).pendingFlag;
    };
    for (int tick = 0; tick < 600 && !complete(); ++tick) {
        window->TimerTick();
        QTest::qWait(50);
    }
    ASSERT_TRUE(complete());
    EXPECT_GE(seen.size(), 2U) << "the dialog was there while the recording grew";
    const CommandResult batch =
        test::Run(bin + "vorela-batch " + DatabasePath() + " --settings " + SettingsFilePath() + " --json -");
    const auto exact = nlohmann::json::parse(batch.out)["exact"];
    ASSERT_TRUE(exact["intervals"][0]["storage"]["permeability"].is_number()) << batch.err;
    // Every number of every level, interval and method, bit for bit: text of a double and back is the double.
    EXPECT_EQ(nlohmann::json::parse(ExactJson(dialog.Results()).dump()), exact);
}

TEST(ExactPictures, CyclesStandAboutTheirLevelAndThoseOutsideAreNumbered) {
    ExactLevel level;
    level.periods = 4;
    level.degreesOfFreedom = 8;
    level.harmonics = {{1, {3, 2}, 0.01, true}};
    level.cycles.resize(4);
    const double radius = ConfidenceRadius(0.02, 8, 95);  // of one cycle, twice that of four together
    const double far[] = {0, 0.99 * radius, 1.01 * radius, 0.5 * radius};
    for (std::size_t i = 0; i < 4; ++i) {
        level.cycles[i].number = static_cast<std::int32_t>(i) + 2;
        level.cycles[i].index = {3, 2 - far[i]};
    }
    const CyclesPicture picture = CyclesOf(level, 95);
    EXPECT_EQ(picture.mean.y, 2);
    EXPECT_NEAR(picture.circle.front().x, 3 + radius, 1e-12);
    ASSERT_EQ(picture.cycles.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(picture.cycles[i].strays, i == 2) << i;
    EXPECT_EQ(picture.cycles[2].number, 4);
    EXPECT_EQ(picture.cycles[2].point.y, level.cycles[2].index.imag());
    level.harmonics.front().sigma.reset();
    EXPECT_TRUE(CyclesOf(level, 95).circle.empty());
    EXPECT_TRUE(CyclesOf({}, 95).cycles.empty());
}

TEST(ExactPictures, ProfileSaysAResultInsideItsBarOrBehindTheBarsEnd) {
    const ProfilePicture picture{"with ranges",
                                 {{100, 150, {"k 900 mD", "S 1"}, true, {900, 800, 1000}, {1, 0, 2}},
                                  {150, 200, {"k 12 mD", "S 3"}, true, {12, 11, 13}, {3, 2, 4}},
                                  {200, 250, {"no result"}, false, {}, {}}}};
    RecordingSurface surface({900, 500});
    DrawProfile(surface, picture);
    const auto left = [&](const char* text) { return surface.FindText(text)->points.front().x; };
    EXPECT_EQ(left("S 1"), left("no result"));
    EXPECT_GT(left("S 3"), left("S 1") + 7.0) << "the bar is narrower than its text";
    EXPECT_EQ(left("S 3"), left("k 12 mD"));
    EXPECT_NEAR(surface.FindText("S 3")->points.front().y - surface.FindText("k 12 mD")->points.front().y, 15,
                1);
    EXPECT_LT(surface.FindText("Profile with ranges")->points.front().y,
              surface.FindText("Depth (ft)")->points.front().y - 13);
}

TEST(ExactPictures, HarmonicIsNamedOutsideItsCircle) {
    ImpedancePicture picture{"9900 to 9800 ft", "", {{5, true, 48, {1.1, 0.1}, {}, {}, {}}}, {}, {}, {}, {}};
    for (int i = 0; i <= 144; ++i)
        picture.harmonics[0].circle.push_back({1.1 + 0.02 * std::cos(i * std::numbers::pi / 72),
                                               0.1 + 0.02 * std::sin(i * std::numbers::pi / 72)});
    RecordingSurface surface({600, 400});
    DrawImpedance(surface, picture);
    const DevicePoint name = surface.FindText("n = 5")->points.front();
    int drawn = 0;
    for (const auto& operation : surface.operations) {
        const DevicePoint& from = operation.points.front();
        const DevicePoint& to = operation.points.back();
        const bool ofTheCircle = operation.points.size() == 2 && from.x != to.x && from.y != to.y &&
                                 operation.kind != RecordingSurface::Operation::Kind::fill;
        drawn += ofTheCircle ? 1 : 0;
        EXPECT_FALSE(ofTheCircle && to.x > name.x && to.y < name.y && to.y > name.y - 12);
    }
    EXPECT_GE(drawn, 100);
}

TEST(ExactPictures, NarrowChartKeepsItsWholeLegend) {
    LogChart chart;
    chart.across = {20, 14400};
    chart.panels.assign(2, {{{"Radius of it", {}, {1.0, 2.0}}, {"Lag of the layer", {}, {3.0, 4.0}}}});
    RecordingSurface surface({560, 300});
    DrawLogChart(surface, chart);
    for (const auto& operation : surface.operations)
        if (operation.text == "Lag of the layer") {
            EXPECT_LE(operation.points.front().x + surface.TextWidth(operation.text), 560);
        }
}

TEST(ExactPictures, CircleHoldsTheConfidenceInTwoDimensions) {
    EXPECT_NEAR(ConfidenceRadius(2, 1e9, 95), 2 * std::sqrt(2 * std::log(20.0)), 1e-5);
    EXPECT_NEAR(ConfidenceRadius(1, 4, 95), std::sqrt(2 * 6.944272), 1e-4);  // F with 2 and 4 degrees
}

}  // namespace
}  // namespace vorela::test
