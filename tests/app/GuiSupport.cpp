#include "tests/app/GuiSupport.h"

#include <QAction>

#include "follow/StartUp.h"
#include "plot/modPlotFormat.h"
#include "plot/modPlotScales.h"
#include "signal/modParameters.h"

namespace vorela::test {
namespace {

constexpr int lookEveryMs = 5;
constexpr int patienceTicks = 2000;
constexpr const char* drivenMark = "driven";

}  // namespace

ModalScript::ModalScript() {
    QObject::connect(&timer_, &QTimer::timeout, [this] { Look(); });
    timer_.start(lookEveryMs);
}

ModalScript::~ModalScript() {
    for (const Expected& step : steps_)
        ADD_FAILURE() << "dialog did not come: " << step.name;
}

ModalScript& ModalScript::Then(const std::string& dialogName, Step step) {
    steps_.push_back({dialogName, std::move(step)});
    return *this;
}

// A dialog that has been driven carries a mark: the next one may lie at the same address.
void ModalScript::Look() {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr)
        return;
    const bool driven = dialog->property(drivenMark).toBool();
    ticksInLast_ = driven ? ticksInLast_ + 1 : 0;
    if (driven && ticksInLast_ < patienceTicks)
        return;
    const std::string name = dialog->objectName().toStdString();
    if (driven || steps_.empty() || steps_.front().name != name) {
        ADD_FAILURE() << (driven ? "dialog stayed: " : "dialog was not expected: ") << name;
        dialog->done(QDialog::Rejected);
        return;
    }
    dialog->setProperty(drivenMark, true);
    const Step step = std::move(steps_.front().step);
    steps_.pop_front();
    dialog->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([dialog] {
        const QWidget* focus = QApplication::focusWidget();
        return QApplication::activeWindow() == dialog && (focus == nullptr || focus->window() == dialog);
    }));
    step(*dialog);
}

void Click(QWidget& window, const char* button) {
    Find<QPushButton>(window, button).click();
}

void Press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QWidget* focus = QApplication::focusWidget();
    ASSERT_NE(focus, nullptr) << "nothing has the focus";
    QTest::keyClick(focus, key, modifiers);
}

void Type(const std::string& text) {
    for (const char c : text)
        if (QWidget* focus = QApplication::focusWidget())
            QTest::keyClick(focus, c);
        else
            ADD_FAILURE() << "nothing has the focus";
}

void WindowFixture::SetUp() {
    DravikFixture::SetUp();
    // Water in the well: with the default compressibility its storage would hide the reservoir.
    WriteIniString("Parameters", "Compressibility", "0.000003", SettingsFilePath());
    CurrentParameters() = ParameterSet{};
    PrsOpt() = PresentationOptions{};
    PlotFormat() = PlotFormatOptions{};
    ComposeRooms();
    InitialiseDatasetVariables();
    window = std::make_unique<frmMain>(qtPorts);
    CurrentPorts().progress = &qtPorts;  // boxes, questions and the save dialog stay scripted
    CurrentPorts().status = &qtPorts;
    ASSERT_TRUE(window->Load());
    window->show();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

void WindowFixture::TearDown() {
    window.reset();
    DravikFixture::TearDown();
}

void WindowFixture::MakeLevel(const std::string& dataset, double depth, double flowAmplitude,
                              std::int32_t first) {
    constexpr std::int32_t count = 20000;
    constexpr double radiansPerIndex = 2 * 3.14159265358979 / period;
    std::vector<RecordedCurve> curves{
        {"ZG", "psi", count, [](std::int32_t t) { return 3000 + 20 * std::sin(radiansPerIndex * t); }, first},
        {"RTC", "rps", count,
         [flowAmplitude](std::int32_t t) { return 5 - flowAmplitude * std::cos(radiansPerIndex * t); },
         first},
        {"ADPTH", "ft", 1, [depth](std::int32_t) { return depth; }, first}};
    for (RecordedCurve& curve : ValveCurves({first + 6000, period, count, first}))
        curves.push_back(std::move(curve));
    AddCurves(dataset, curves);
    SetPresentation(dataset, Presentation{});
}

void WindowFixture::MakeLevels() {
    MakeLevel("LEVEL1", 6000, 2.0);
    MakeLevel("LEVEL2", 6100, 1.0);
    MakeLevel("LEVEL3", 6050, 1.5);
}

void WindowFixture::RunningJob() {
    MakeLevels();
    Presentation recording;
    recording.recordingFlag = 1;
    SetPresentation("LEVEL2", recording);
    ports.answers = {true, true, true};
    SelectThroughDialog({"LEVEL1", "LEVEL2"}, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });
}

void WindowFixture::FinishedJob(const std::vector<std::string>& datasets) {
    MakeLevels();
    ports.answers = {true, true, true};
    SelectThroughDialog(datasets, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });
    EXPECT_TRUE(ports.boxes.empty()) << ports.boxes.front().text;
}

void WindowFixture::EditCell(const char* grid, int row) {
    GridOf(grid).setFocus();
    GridOf(grid).setCurrentCell(row, 1);
    Press(Qt::Key_F2);
}

void WindowFixture::Trigger(const char* menuEntry) {
    auto* action = window->findChild<QAction*>(QString::fromUtf8(menuEntry));
    ASSERT_NE(action, nullptr) << menuEntry;
    action->trigger();
}

void WindowFixture::SetTab(int tab) {
    Find<QTabBar>(*window, "tsMain").setCurrentIndex(tab - 1);
}

void WindowFixture::SelectThroughDialog(const std::vector<std::string>& datasets,
                                        const ModalScript::Step& filter) {
    chooserAnswers.emplace_back();
    for (const std::string& dataset : datasets)
        chooserAnswers.back().push_back(PathOf(dataset));
    ModalScript script;
    script.Then("frmSelectData", [](QDialog& dialog) {
        Click(dialog, "cmdAdd");
        Click(dialog, "cmdOK");
    });
    if (filter)
        script.Then("frmFilteredCurves", filter);
    Trigger("mnuFile0");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

}  // namespace vorela::test
