// What tests of the window need: modal dialogs driven by name and a window over real databases.
#pragma once

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include "analysis/ResultGridView.h"
#include "app/QtPorts.h"
#include "app/frmMain.h"
#include "tests/support/DravikFixture.h"

namespace vorela::test {

/// Drives the modal dialogs to come, one after the other, while it lives. A dialog of another name, one too
/// many, or one that does not come is a failure; a dialog that stays for ten seconds is closed.
class ModalScript {
  public:
    using Step = std::function<void(QDialog&)>;
    ModalScript();
    ~ModalScript();
    ModalScript(const ModalScript&) = delete;
    ModalScript& operator=(const ModalScript&) = delete;
    ModalScript& Then(const std::string& dialogName, Step step);

  private:
    void Look();
    struct Expected {
        std::string name;
        Step step;
    };
    std::deque<Expected> steps_;
    QTimer timer_;
    int ticksInLast_ = 0;
};

/// A control by its name. When it is not there a failure is added and a new control of that kind given: an
/// exception must not pass through Qt's event loop.
template <typename Control>
Control& Find(QWidget& window, const char* name) {
    auto* control = window.findChild<Control*>(QString::fromUtf8(name));
    if (control == nullptr) {
        ADD_FAILURE() << "no control named " << name;
        control = new Control(&window);
    }
    return *control;
}

void Click(QWidget& window, const char* button);

/// Keys go where the user's keys go: to the widget that has the focus.
void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
void Type(const std::string& text);

/// The main window over real databases with scripted boxes. Three levels LEVEL1 … LEVEL3 are made on demand.
class WindowFixture : public DravikFixture {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Pressure and flow of known amplitude and phase at the period of test, with the valve curves.
    void MakeLevel(const std::string& dataset, double depth, double flowAmplitude, std::int32_t first = 0);
    void MakeLevels();
    std::string PathOf(const std::string& dataset) const { return DatabasePath() + "/" + dataset; }
    /// Through File, Select Data..., Add, OK; then `filter` in the dialog of the filtered curves, if it is to
    /// come. Questions are answered by `ports.answers`.
    void SelectThroughDialog(const std::vector<std::string>& datasets, const ModalScript::Step& filter = {});
    /// Levels with all derived curves and cycles, selected: what the window shows of a finished job.
    void FinishedJob(const std::vector<std::string>& datasets = {"LEVEL1", "LEVEL2"});
    /// The same of LEVEL1 and of LEVEL2, which is still being recorded.
    void RunningJob();
    ResultGridView& GridOf(const char* name) { return Find<ResultGridView>(*window, name); }
    std::string Cell(const char* grid, int row) { return GridOf(grid).item(row, 1)->text().toStdString(); }
    void EditCell(const char* grid, int row);
    std::string Status() { return Find<QStatusBar>(*window, "statBar").currentMessage().toStdString(); }
    void Trigger(const char* menuEntry);
    void SetTab(int tab);  // from 1

    static constexpr std::int32_t period = 24000;  ///< hundredths of a second
    QtPorts qtPorts;
    std::unique_ptr<frmMain> window;
};

}  // namespace vorela::test
