// Makes the guide's pictures of the window: drives the program itself as a user would and saves what it
// shows.
//
//   guide_pictures OUT_DIR WELLS_DIR
//
// WELLS_DIR holds demo.dkb (four levels) and level1.csv; live.dkb is recorded there meanwhile. The settings
// file beside this program is the one that the window keeps.
#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QTreeWidget>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <utility>

#include "app/QtPorts.h"
#include "app/frmMain.h"
#include "dravik/chooser/Chooser.h"
#include "dravik/chooser/frmChooser.h"
#include "dravik/importer/frmImport.h"
#include "follow/StartUp.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlotScales.h"

namespace {

constexpr int settleMs = 300;
constexpr int lookEveryMs = 20;
constexpr int patienceMs = 900000;
constexpr const char* metMark = "met";
constexpr QSize windowSize(920, 650), importSize(1000, 680);
constexpr int level = 1, interval = 2, quicklook = 3, summary = 4, firstPlot = 5, shallowest = 8;  // tabs

[[noreturn]] void Fail(const QString& what) {
    std::fprintf(stderr, "guide_pictures: %s\n", qPrintable(what));
    std::_Exit(1);
}

void Wait(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

class Photographer {
  public:
    Photographer(vorela::frmMain& window, const QDir& out, const QDir& wells)
        : window_(window), out_(out), wells_(wells) {
        QObject::connect(&timer_, &QTimer::timeout, [this] { MeetDialog(); });
        timer_.start(lookEveryMs);
        QTimer::singleShot(patienceMs, &timer_, [] { Fail(QStringLiteral("it takes too long")); });
    }

    void TakeAll();

  private:
    using Step = std::function<void(QDialog&)>;

    void Save(QWidget& widget, const char* file) const {
        Wait(settleMs);
        if (!widget.grab().save(out_.filePath(QString::fromUtf8(file))))
            Fail(QStringLiteral("%1 cannot be written").arg(QString::fromUtf8(file)));
    }

    template <typename Control>
    static Control& Find(QWidget& parent, const char* name) {
        auto* control = parent.findChild<Control*>(QString::fromUtf8(name));
        if (control == nullptr)
            Fail(QStringLiteral("there is no control %1").arg(QString::fromUtf8(name)));
        return *control;
    }
    static void Click(QWidget& parent, const char* button) { Find<QAbstractButton>(parent, button).click(); }

    /// What a dialog does beside the window (reading a file, say) takes its time; the button comes back
    /// behind it.
    static void WaitUntilEnabled(QWidget& parent, const char* button) {
        do
            Wait(settleMs);
        while (!Find<QAbstractButton>(parent, button).isEnabled());
    }

    /// As the user does it: the dialogs tell an edited box from one that was filled in.
    static void Type(QWidget& parent, const char* box, const char* text) {
        auto& line = Find<QLineEdit>(parent, box);
        line.selectAll();
        line.insert(QString::fromUtf8(text));
        QApplication::processEvents();
        Q_EMIT line.editingFinished();
    }
    static void Choose(QWidget& parent, const char* box, int entry) {
        auto& list = Find<QComboBox>(parent, box);
        list.setCurrentIndex(entry);
        Q_EMIT list.activated(entry);
    }

    /// Questions are answered with their default; a dialog is met by the step that its name was given.
    void MeetDialog() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog->property(metMark).toBool())
            return;
        dialog->setProperty(metMark, true);
        if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
            if (QAbstractButton* yes = box->button(QMessageBox::Yes))
                yes->click();
            else
                Fail(QStringLiteral("a message came: ") + box->text());
            return;
        }
        const auto step = steps_.find(dialog->objectName());
        if (step == steps_.end())
            Fail(QStringLiteral("a dialog came: ") + dialog->objectName());
        // Not from within this timer: dialogs that the step opens are to be met, too.
        QTimer::singleShot(0, dialog, [dialog, meet = step->second] { meet(*dialog); });
    }

    /// Chooses a menu entry; the dialog that it opens is saved and dismissed.
    void PhotographDialog(const char* entry, const char* dialog, const char* file) {
        steps_[QString::fromUtf8(dialog)] = [this, file](QDialog& shown) {
            Save(shown, file);
            shown.reject();
        };
        Trigger(entry);
    }
    void Trigger(const char* entry) {
        Find<QAction>(window_, entry).trigger();
        Wait(settleMs);
    }
    void PhotographTab(int tab, const char* file) {
        Find<QTabBar>(window_, "tsMain").setCurrentIndex(tab - 1);
        Save(window_, file);
    }

    void SelectAll(const QString& database, bool photographed);
    void PhotographExact();
    void PhotographPlan();
    void PhotographImport();
    void PhotographRecording();

    vorela::frmMain& window_;
    QDir out_, wells_;
    QTimer timer_;
    std::map<QString, Step> steps_;
};

/// File, Select Data, Add, all datasets of the database, OK; the derived curves are made.
void Photographer::SelectAll(const QString& database, bool photographed) {
    const auto save = [this, photographed](QDialog& dialog, const char* file) {
        if (photographed)
            Save(dialog, file);
    };
    steps_[QStringLiteral("frmChooser")] = [this, database, save](QDialog& dialog) {
        qobject_cast<dravik::frmChooser*>(&dialog)->OpenFile(wells_.filePath(database));
        Wait(settleMs);
        Find<QTreeWidget>(dialog, "lstDatasets").selectAll();
        save(dialog, "chooser.png");
        Click(dialog, "cmdOK");
    };
    steps_[QStringLiteral("frmSelectData")] = [save](QDialog& dialog) {
        Click(dialog, "cmdClear");
        Click(dialog, "cmdAdd");
        save(dialog, "select-data.png");
        Click(dialog, "cmdOK");
    };
    steps_[QStringLiteral("frmFilteredCurves")] = [save](QDialog& dialog) {
        save(dialog, "filtered-curves.png");
        Click(dialog, "cmdCreate");
    };
    Trigger("mnuFile0");
}

void Photographer::PhotographExact() {
    Trigger("mnuView1");
    QWidget* exact = nullptr;
    for (QWidget* shown : QApplication::topLevelWidgets())
        if (shown->objectName() == QStringLiteral("frmExact"))
            exact = shown;
    if (exact == nullptr)
        Fail(QStringLiteral("the exact results do not show"));
    Choose(*exact, "cboInterval", 2);
    auto& tabs = Find<QTabWidget>(*exact, "tabs");
    for (const auto& [tab, file] : {std::pair(0, "exact-results.png"), std::pair(1, "exact-impedance.png"),
                                    std::pair(3, "exact-profile.png")}) {
        tabs.setCurrentIndex(tab);
        Save(*exact, file);
    }
    exact->close();
}

void Photographer::PhotographPlan() {
    steps_[QStringLiteral("frmPlan")] = [this](QDialog& dialog) {
        Type(dialog, "txtK", "100");
        Type(dialog, "txtSkin", "5");
        Wait(settleMs);
        Save(dialog, "plan.png");
        dialog.reject();
    };
    Trigger("mnuView2");
}

void Photographer::PhotographImport() {
    dravik::frmImport dialog({{}, QStringLiteral("240").toStdString()}, &window_);
    dialog.AddFiles({wells_.filePath(QStringLiteral("level1.csv"))});
    dialog.resize(importSize);
    dialog.show();
    WaitUntilEnabled(dialog, "cmdImport");
    Type(dialog, "txtDepth", "9600");
    Choose(dialog, "cboValve", 1);
    Type(dialog, "txtFirst", "120");
    WaitUntilEnabled(dialog, "cmdImport");
    Save(dialog, "import.png");
}

/// A level that is being recorded. The recorder is killed behind its first commit, fifteen minutes long, so
/// that the picture is the same every time: the database is that of a recording in progress.
void Photographer::PhotographRecording() {
    QProcess recorder;
    recorder.setWorkingDirectory(wells_.path());
    recorder.start(QStringLiteral("dravik"),
                   {"record", "live.dkb", "DEEP", "--simulate", "--levels", "2", "--level", "2", "--noise",
                    "0.005", "--speed", "300", "--commit", "900", "--ack"});
    if (!recorder.waitForStarted() || !recorder.waitForReadyRead(patienceMs))
        Fail(QStringLiteral("dravik records nothing"));
    recorder.kill();
    recorder.waitForFinished();
    vorela::PrsOpt().fixed = true;
    vorela::PrsOpt().timeRange = 720;  // NOLINT(readability-magic-numbers): three periods of test
    SelectAll(QStringLiteral("live.dkb"), false);
    PhotographTab(firstPlot, "live.png");
}

void Photographer::TakeAll() {
    PhotographDialog("mnuEdit0", "frmParameters", "parameters.png");
    SelectAll(QStringLiteral("demo.dkb"), true);
    PhotographTab(level, "level.png");
    PhotographTab(interval, "interval.png");
    PhotographTab(quicklook, "quicklook.png");
    PhotographTab(summary, "summary.png");
    PhotographTab(shallowest, "level-plot.png");
    auto& pages = Find<QTabBar>(window_, "tsLevel");
    pages.setCurrentIndex(1);
    Save(window_, "cycles.png");
    pages.setCurrentIndex(0);
    PhotographDialog("mnuView0", "frmCycleInfo", "cycle-information.png");
    PhotographExact();
    PhotographPlan();
    PhotographDialog("mnuPlot0", "frmPlotScales", "plot-scales.png");
    PhotographDialog("mnuPlot1", "frmPlotFormat", "plot-format.png");
    PhotographImport();
    PhotographRecording();
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3)
        Fail(QStringLiteral("guide_pictures OUT_DIR WELLS_DIR"));
    const QDir out(QDir(QString::fromLocal8Bit(argv[1])).absolutePath());
    const QDir wells(QDir(QString::fromLocal8Bit(argv[2])).absolutePath());
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setCursorFlashTime(0);  // a blinking mark would be in one picture and not in the next
    QApplication::setFont(QFont(QStringLiteral("Liberation Sans"), 10));  // NOLINT: a usual size
    vorela::QtPorts ports;
    vorela::CurrentPorts() = ports.AsPorts();
    if (!vorela::StartUp())
        Fail(QStringLiteral("the program does not start"));
    dravik::RegisterChooser(vorela::LoadedLibraries().database);
    vorela::frmMain window(ports);
    window.Load();
    window.resize(windowSize);
    window.show();
    Photographer(window, out, wells).TakeAll();
    return 0;
}
