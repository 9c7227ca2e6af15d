// A user who does anything: random keys, clicks, drags, wheel turns, menu entries and window sizes over the
// main window and every dialog it opens, on a simulated well, with or without a recorder that writes beside.
//
//     random_user EVENTS SEED [record]
//
// Ends with 0 when the program stood it: no crash, no report of a run-time error, memory flat, settings file
// whole. The same seed does the same as long as nothing is recorded beside. The toolkit's own dialogs that
// lead out of the program (files, printers) are closed at once.
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QPrintDialog>
#include <QProcess>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>
#include <algorithm>
#include <array>
#include <csignal>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <utility>

#include "BuildPaths.h"
#include "app/QtPorts.h"
#include "app/frmMain.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "dravik/chooser/Chooser.h"
#include "follow/RecentSelections.h"
#include "follow/StartUp.h"
#include "fuzz/FuzzTarget.h"
#include "general/SettingsFile.h"
#include "platform/DravikLibraries.h"

namespace vorela::fuzz {
namespace {

constexpr int tickMs = 100;  // many passes among the events
constexpr int measurements = 8;
constexpr double mostGrowth = 32;  // MB between the second quarter and the end
constexpr const char* levels = "3";

/// What was done last, printed when the program dies of it.
std::deque<std::string>& LastActs() {
    static std::deque<std::string> acts;
    return acts;
}

void Note(const std::string& act) {
    constexpr std::size_t kept = 40;
    LastActs().push_back(act);
    if (LastActs().size() > kept)
        LastActs().pop_front();
}

void PrintActs() {
    for (const std::string& act : LastActs())
        std::fprintf(stderr, "  %s\n", act.c_str());
}

void PrintLastActs(int signal) {
    PrintActs();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

double ResidentMegabytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

/// Boxes are shown to the user and counted.
class CountedBoxes final : public MessagePort {
  public:
    explicit CountedBoxes(MessagePort& shown) : shown_(shown) {}
    void Show(MessageIcon icon, const std::string& title, const std::string& text) override {
        Note("box: " + text);
        if (++texts[text] == 1 && verbose)
            PrintActs();
        shown_.Show(icon, title, text);
    }
    bool AskYesNo(const std::string& title, const std::string& text) override {
        Note("question: " + text);
        return shown_.AskYesNo(title, text);
    }
    std::map<std::string, int> texts;
    const bool verbose = qEnvironmentVariableIsSet("RANDOM_USER_VERBOSE");  ///< how each box came about

  private:
    MessagePort& shown_;
};

class RandomUser {
  public:
    RandomUser(int events, unsigned seed, std::string database)
        : events_(events), random_(seed), database_(std::move(database)) {
        Require(pipe(ends_.data()) == 0, "a pipe");
        // Socket notifiers wait, as a user's input does, while the program repaints itself during work.
        notifier_ = std::make_unique<QSocketNotifier>(ends_[0], QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { Next(); });
        // Whenever the program would wait, in whatever dialog's loop, the user does the next thing.
        QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                         [this] { Wake(); });
    }

    void Run() {
        OpenWindow();
        running_ = true;
        QApplication::exec();
        running_ = false;
        window_.reset();
    }
    const std::map<std::string, int>& Boxes() const { return boxes_.texts; }
    const std::vector<double>& Memory() const { return memory_; }
    int Windows() const { return windows_; }

  private:
    int Below(int limit) {
        return limit <= 0 ? 0 : static_cast<int>(random_() % static_cast<unsigned>(limit));
    }
    bool OneIn(int many) { return Below(many) == 0; }
    QPoint PointIn(const QSize& size) { return {Below(size.width()), Below(size.height())}; }

    void Wake() {
        if (running_ && !std::exchange(awake_, true))
            Require(write(ends_[1], "", 1) == 1, "a byte into the pipe");
    }
    void OpenWindow();
    void Next();
    void Act(QWidget& top);
    void PressKey(QWidget& top);
    void UseMouse(QWidget& top);
    void TurnWheel(QWidget& top);
    void ChooseEntry();
    void PressButton(QWidget& top);
    void Resize();
    void CloseAll();

    std::array<int, 2> ends_{};
    std::unique_ptr<QSocketNotifier> notifier_;
    int events_;
    int done_ = 0;
    std::mt19937 random_;
    std::string database_;
    QtPorts ports_;
    CountedBoxes boxes_{ports_};
    std::unique_ptr<frmMain> window_;
    std::vector<double> memory_;
    int windows_ = 0;
    bool running_ = false;
    bool awake_ = false;  ///< a byte is on its way
};

void RandomUser::OpenWindow() {
    window_.reset();
    Require(LoadDatabaseLibrary() && LoadFilterLibrary(), "the libraries load");
    dravik::RegisterChooser(LoadedLibraries().database);
    InitialiseDatasetVariables();
    CurrentPorts() = ports_.AsPorts();
    CurrentPorts().messages = &boxes_;
    window_ = std::make_unique<frmMain>(ports_);
    Require(window_->Load(), "the window loads");
    window_->show();
    window_->findChild<QTimer*>(QStringLiteral("tmrMain"))->setInterval(tickMs);
    ++windows_;
}

void RandomUser::Next() {
    char byte = 0;
    Require(read(ends_[0], &byte, 1) == 1, "a byte from the pipe");
    awake_ = false;
    QWidget* modal = QApplication::activeModalWidget();
    if (done_ >= events_) {
        CloseAll();
        return;
    }
    if (done_ % std::max(events_ / measurements, 1) == 0)
        memory_.push_back(ResidentMegabytes());
    ++done_;
    if (qobject_cast<QFileDialog*>(modal) != nullptr || qobject_cast<QPrintDialog*>(modal) != nullptr) {
        static_cast<QDialog*>(modal)->reject();
        return;
    }
    if (modal == nullptr && !window_->isVisible())
        OpenWindow();
    QWidget* popup = QApplication::activePopupWidget();
    Act(popup != nullptr ? *popup : modal != nullptr ? *modal : *window_);
}

void RandomUser::CloseAll() {
    if (QWidget* popup = QApplication::activePopupWidget())
        popup->close();
    else if (auto* modal = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
        modal->done(QDialog::Rejected);
    else if (window_->isVisible()) {
        // A value out of its range keeps the window open: the user gives it up.
        if (QWidget* editor = QApplication::focusWidget())
            QTest::keyClick(editor, Qt::Key_Escape);
        window_->close();
    } else
        QApplication::quit();
}

void RandomUser::Act(QWidget& top) {
    if (OneIn(400))
        dravik::OfferDatabase(database_);
    const int kind = Below(100);
    if (kind < 40)
        PressKey(top);
    else if (kind < 75)
        UseMouse(top);
    else if (kind < 85)
        TurnWheel(top);
    else if (kind < 95)
        &top == window_.get() ? ChooseEntry() : PressButton(top);
    else if (kind < 97)
        Resize();
    else
        PressButton(top);
}

void RandomUser::PressKey(QWidget& top) {
    static constexpr Qt::Key keys[] = {
        Qt::Key_Tab,    Qt::Key_Backtab,  Qt::Key_Return,    Qt::Key_Enter, Qt::Key_Escape, Qt::Key_Space,
        Qt::Key_Left,   Qt::Key_Right,    Qt::Key_Up,        Qt::Key_Down,  Qt::Key_PageUp, Qt::Key_PageDown,
        Qt::Key_Home,   Qt::Key_End,      Qt::Key_F2,        Qt::Key_F10,   Qt::Key_Delete, Qt::Key_Backspace,
        Qt::Key_Plus,   Qt::Key_Minus,    Qt::Key_0,         Qt::Key_1,     Qt::Key_2,      Qt::Key_5,
        Qt::Key_9,      Qt::Key_Period,   Qt::Key_Comma,     Qt::Key_A,     Qt::Key_C,      Qt::Key_D,
        Qt::Key_E,      Qt::Key_F,        Qt::Key_I,         Qt::Key_L,     Qt::Key_O,      Qt::Key_P,
        Qt::Key_S,      Qt::Key_V,        Qt::Key_X,         Qt::Key_Z,     Qt::Key_F1,     Qt::Key_F5,
        Qt::Key_Insert, Qt::Key_Asterisk, Qt::Key_Semicolon, Qt::Key_Q};
    static constexpr Qt::KeyboardModifier modifiers[] = {
        Qt::NoModifier, Qt::NoModifier,      Qt::NoModifier,    Qt::NoModifier,
        Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier, Qt::AltModifier};
    const Qt::Key key = keys[Below(std::size(keys))];
    Qt::KeyboardModifiers held = modifiers[Below(std::size(modifiers))];
    if (held == Qt::ControlModifier && OneIn(3))
        held |= Qt::ShiftModifier;
    if (&top == QApplication::activePopupWidget())
        held = Qt::NoModifier;  // the modifier's own key would close it under the key that follows
    if (key == Qt::Key_Q && held == Qt::ControlModifier && !OneIn(10))
        return;  // not all day long
    Note("key " + QKeySequence(static_cast<int>(key) | static_cast<int>(held)).toString().toStdString() +
         " in " + top.objectName().toStdString());
    // A key that goes down may close its window; coming up it then goes nowhere.
    const QPointer<QWindow> window(top.window()->windowHandle());
    if (window)
        QTest::keyPress(window.data(), key, held);
    if (window)
        QTest::keyRelease(window.data(), key, held);
}

void RandomUser::UseMouse(QWidget& top) {
    QWindow* window = top.window()->windowHandle();
    if (window == nullptr)
        return;
    const QPoint from = PointIn(window->size());
    const QPoint to = OneIn(3) ? PointIn(window->size()) : from;
    const Qt::MouseButton button = OneIn(5) ? Qt::RightButton : OneIn(8) ? Qt::MiddleButton : Qt::LeftButton;
    const Qt::KeyboardModifiers held = OneIn(6) ? Qt::ShiftModifier : Qt::NoModifier;
    const QWidget* under = top.window()->childAt(from);
    Note("mouse " + std::to_string(from.x()) + "," + std::to_string(from.y()) + " to " +
         std::to_string(to.x()) + "," + std::to_string(to.y()) + " on " +
         (under != nullptr ? under->objectName() : QString()).toStdString() + " in " +
         top.objectName().toStdString());
    const bool stays = &top == window_.get() || top.objectName() == QLatin1String("frmCycleInfo");
    if (from == to && stays && OneIn(3)) {
        QTest::mouseDClick(window, button, held, from);
        return;
    }
    // A button that is pressed may close its window; the release then goes nowhere.
    const QPointer<QWindow> alive(window);
    QTest::mousePress(window, button, held, from);
    for (int step = 1; step <= 3 && alive && from != to; ++step)
        QTest::mouseMove(window, from + (to - from) * step / 3);
    if (alive)
        QTest::mouseRelease(window, button, held, to);
}

void RandomUser::TurnWheel(QWidget& top) {
    const QPoint at = PointIn(top.size());
    QWidget* under = top.childAt(at);
    if (under == nullptr)
        under = &top;
    const QPoint turn(OneIn(6) ? 120 : 0, OneIn(2) ? 120 : -120);
    QWheelEvent event(under->mapFrom(&top, at), top.mapToGlobal(at), {}, turn, Qt::NoButton,
                      OneIn(5)   ? Qt::ShiftModifier
                      : OneIn(5) ? Qt::ControlModifier
                                 : Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    Note("wheel on " + under->objectName().toStdString());
    QApplication::sendEvent(under, &event);
}

void RandomUser::ChooseEntry() {
    QList<QAction*> entries;
    for (const QMenu* menu : window_->menuBar()->findChildren<QMenu*>())
        for (QAction* entry : menu->actions())
            if (entry->isEnabled() && !entry->isSeparator() && entry->menu() == nullptr)
                entries << entry;
    const bool empty = CurrentSelection().datasets.empty();
    QAction* chosen = empty && !OneIn(4)  ? window_->findChild<QAction*>(QStringLiteral("mnuRecent1"))
                      : entries.isEmpty() ? nullptr
                                          : entries[Below(static_cast<int>(entries.size()))];
    if (chosen == nullptr || (chosen->objectName() == QLatin1String("mnuFile4") && !OneIn(20)))
        return;
    Note("menu " + chosen->text().toStdString());
    if (chosen->isEnabled())
        chosen->trigger();
}

void RandomUser::PressButton(QWidget& top) {
    QList<QAbstractButton*> buttons;
    for (QAbstractButton* one : top.findChildren<QAbstractButton*>())
        if (one->isVisible() && one->isEnabled())
            buttons << one;
    if (buttons.isEmpty())
        return;
    QAbstractButton* chosen = buttons[Below(static_cast<int>(buttons.size()))];
    Note("button " + chosen->text().toStdString() + " in " + top.objectName().toStdString());
    chosen->click();
}

void RandomUser::Resize() {
    Note("resize");
    window_->resize(300 + Below(1300), 200 + Below(900));
}

// --- The well and the verdict ---

void RunDravik(const QStringList& arguments) {
    QProcess dravik;
    dravik.start(QStringLiteral(VORELA_BIN_DIR "/dravik"), arguments);
    Require(dravik.waitForFinished(-1) && dravik.exitCode() == 0, "dravik makes the well");
}

/// Short cycles, so that a recording beside makes some.
QStringList Well(const QString& database) {
    return {database,
            QStringLiteral("--levels"),
            QString::fromUtf8(levels),
            QStringLiteral("--period"),
            QStringLiteral("20"),
            QStringLiteral("--cycles"),
            QStringLiteral("12")};
}

void StartRecorder(QProcess& recorder, const QString& database) {
    QStringList arguments{QStringLiteral("record"),    database,
                          QStringLiteral("LEVEL3"),    QStringLiteral("--simulate"),
                          QStringLiteral("--level"),   QString::fromUtf8(levels),
                          QStringLiteral("--replace"), QStringLiteral("--speed"),
                          QStringLiteral("5")};
    arguments << Well(database).mid(1, 4) << QStringLiteral("--cycles") << QStringLiteral("600");
    recorder.setStandardErrorFile(QProcess::nullDevice());
    recorder.setStandardOutputFile(QProcess::nullDevice());
    recorder.start(QStringLiteral(VORELA_BIN_DIR "/dravik"), arguments);
    Require(recorder.waitForStarted(), "the recorder starts");
    QTest::qWait(1500);
}

/// Every section once, every line a key with a value, sections known.
void CheckSettings(const std::string& path) {
    static const std::set<std::string> known{"[Version]",      "[Dataset]", "[Cursors]", "[Parameters]",
                                             "[Presentation]", "[Plot]",    "[Window]",  "[Recent]",
                                             "[Exact]",        "[Chooser]", "[Import]",  "[Plan]"};
    std::ifstream file(path);
    std::set<std::string> sections;
    std::set<std::string> keys;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            continue;
        if (line.front() == '[') {
            if (!sections.insert(line).second || known.count(line) == 0)
                std::fprintf(stderr, "section %s\n", line.c_str());
            Require(known.count(line) == 1, "every section of the settings file is known and there once");
            keys.clear();
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || !keys.insert(line.substr(0, equals)).second)
            std::fprintf(stderr, "line %s\n", line.c_str());
        Require(equals != std::string::npos && equals > 0, "every line of the settings file has a key");
    }
    Require(sections.count("[Parameters]") + sections.count("[Window]") > 0, "the settings file was written");
}

/// A report of a run-time error is true where the user's own numbers have no result: storage that exceeds the
/// flow, a logarithm of what is not positive, a period of 0. Any other is a fault of the program.
bool IsFault(const std::string& text) {
    if (!text.starts_with("Error #") || text.starts_with("Error #0 "))
        return false;
    static const std::set<std::string> arithmetic{"Error #5 ", "Error #6 ", "Error #11 "};
    const bool ofNumbers = arithmetic.count(text.substr(0, text.find(' ', 6) + 1)) > 0;
    return !ofNumbers || (text.find("Getting quicklook information") == std::string::npos &&
                          text.find("Getting interval information") == std::string::npos);
}

int Judge(const RandomUser& user) {
    int faults = 0;
    for (const auto& [text, count] : user.Boxes()) {
        faults += IsFault(text) ? 1 : 0;
        std::string line = text;
        std::replace(line.begin(), line.end(), '\r', '|');
        std::printf("%6d %s %s\n", count, IsFault(text) ? "FAULT" : "box  ", line.c_str());
    }
    const std::vector<double>& memory = user.Memory();
    std::printf("%d windows; memory in MB:", user.Windows());
    for (const double one : memory)
        std::printf(" %.0f", one);
    std::printf("\n");
    const bool flat = memory.size() < measurements || memory.back() - memory[measurements / 4] < mostGrowth;
    if (!flat)
        std::printf("memory grows\n");
    std::fflush(stdout);  // whatever comes of the checks that follow
    return faults == 0 && flat ? 0 : 1;
}

int RunRandomUser(int events, unsigned seed, bool record) {
    const Scratch scratch;
    QDir::setCurrent(QString::fromStdString(scratch.File("")));
    setenv("VORELA_REGISTRY", VORELA_BIN_DIR "/vorela.reg", 1);
    setenv("XDG_CONFIG_HOME", scratch.File("config").c_str(), 1);
    setenv("HOME", scratch.File("").c_str(), 1);
    SetSettingsFilePath(scratch.File("Vorela.ini"));
    for (const auto& [key, value] : {std::pair("Period", "20"), {"Compressibility", "0.00001"}})
        WriteIniString("Parameters", key, value, SettingsFilePath());
    const std::string database = scratch.File("well.dkb");
    RunDravik(QStringList{QStringLiteral("simulate")} + Well(QString::fromStdString(database)));
    QProcess recorder;
    if (record)
        StartRecorder(recorder, QString::fromStdString(database));
    Require(LoadDatabaseLibrary() && LoadFilterLibrary(), "the libraries load");
    ComposeRooms();
    InitialiseDatasetVariables();
    Require(AddNamedDatasets(database, {"LEVEL1", "LEVEL2", "LEVEL3"}), "the well can be selected");
    SortDatasets();
    RememberSelection();
    int faults = 0;
    {
        RandomUser user(events, seed, database);
        user.Run();
        faults = Judge(user);
    }
    CheckSettings(SettingsFilePath());
    recorder.kill();
    recorder.waitForFinished();
    QDir::setCurrent(QStringLiteral("/"));
    return faults;
}

}  // namespace
}  // namespace vorela::fuzz

int main(int count, char** arguments) {
    if (count < 3) {
        std::fprintf(stderr, "random_user EVENTS SEED [record]\n");
        return 2;
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGTERM})
        std::signal(signal, vorela::fuzz::PrintLastActs);
    const bool record = count > 3 && std::string_view(arguments[3]) == "record";
    return vorela::fuzz::RunRandomUser(std::atoi(arguments[1]),
                                       static_cast<unsigned>(std::atoi(arguments[2])), record);
}
