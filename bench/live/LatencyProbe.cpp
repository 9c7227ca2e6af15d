// How long the window keeps a user waiting while four levels are being recorded a hundred times as fast as in
// the field: a time-stamped event every 10 ms (cursor drags and wheel zooms in turn), and how long after its
// stamp it had been handled and painted.
//
//     probe_latency [SECONDS] [SPEED] [LEVELS]
//
// Wants a machine of its own: what other programs take of the processors is in the figures.
#include <unistd.h>

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "BuildPaths.h"
#include "app/QtPorts.h"
#include "app/frmMain.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "follow/ActionQueue.h"
#include "follow/RecentSelections.h"
#include "follow/StartUp.h"
#include "general/SettingsFile.h"
#include "platform/DravikLibraries.h"
#include "plot/modPlotScales.h"
#include "plotview/PlotWidget.h"
#include "plotview/TimeCursors.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"

namespace {

using namespace vorela;
using Clock = std::chrono::steady_clock;

constexpr auto distance = std::chrono::milliseconds(10);
constexpr double recordedBefore = 3000;  // milliseconds until the follower begins

struct Options {
    int seconds = 30;
    int speed = 100;
    int levels = 4;
};

QString Number(int value) {
    return QString::number(value);
}

std::unique_ptr<QProcess> Record(const QString& database, const Options& options, int level) {
    auto recorder = std::make_unique<QProcess>();
    recorder->setStandardOutputFile(QProcess::nullDevice());
    recorder->start(QStringLiteral(VORELA_BIN_DIR "/dravik"),
                    {QStringLiteral("record"), database, QStringLiteral("LEVEL%1").arg(level),
                     QStringLiteral("--simulate"), QStringLiteral("--levels"), Number(options.levels),
                     QStringLiteral("--level"), Number(level), QStringLiteral("--cycles"),
                     QStringLiteral("1000"), QStringLiteral("--speed"), Number(options.speed)});
    if (!recorder->waitForStarted())
        std::abort();
    return recorder;
}

/// The user: stamps come from a thread of their own, so that a busy window cannot hold them back.
class User {
  public:
    User(PlotWidget& plot, TimeCursors& cursors) : plot_(plot), cursors_(cursors) {
        if (pipe(ends_.data()) != 0)
            std::abort();
        notifier_ = std::make_unique<QSocketNotifier>(ends_[0], QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { Handle(); });
        thread_ = std::thread([this] {
            auto due = Clock::now();
            while (!stop_) {
                const Clock::time_point stamp = Clock::now();
                if (write(ends_[1], &stamp, sizeof stamp) != sizeof stamp)
                    std::abort();
                std::this_thread::sleep_until(due += distance);
            }
        });
    }
    ~User() {
        stop_ = true;
        thread_.join();
    }
    std::vector<double> milliseconds;

  private:
    void Handle() {
        Clock::time_point stamp;
        if (read(ends_[0], &stamp, sizeof stamp) != sizeof stamp)
            std::abort();
        ++count_;
        if (count_ % 20 == 0)
            Turn(count_ % 400 < 200 ? 120 : -120);
        else
            cursors_.setCursor1(20.0F + static_cast<float>(count_ % 600) / 10.0F);
        plot_.repaint();
        milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - stamp).count());
    }
    void Turn(int eighths) {
        const QPointF middle = plot_.rect().center();
        QWheelEvent wheel(middle, plot_.mapToGlobal(middle), {}, {0, eighths}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&plot_, &wheel);
    }

    PlotWidget& plot_;
    TimeCursors& cursors_;
    std::array<int, 2> ends_{};
    std::unique_ptr<QSocketNotifier> notifier_;
    std::thread thread_;
    std::atomic<bool> stop_ = false;
    int count_ = 0;
};

/// Tells which events hold the others up.
class TimedApplication final : public QApplication {
  public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override {
        const std::string what = std::string(receiver->metaObject()->className()) + " " +
                                 receiver->objectName().toStdString() + " event " +
                                 std::to_string(static_cast<int>(event->type()));
        const Clock::time_point before = Clock::now();
        const bool done = QApplication::notify(receiver, event);
        const double took = std::chrono::duration<double, std::milli>(Clock::now() - before).count();
        Tally& tally = events_[what];
        tally.longest = std::max(tally.longest, took);
        tally.total += took;
        ++tally.count;
        tally.late += took > longEvent ? 1 : 0;
        return done;
    }
    void PrintLongest() const {
        for (const auto& [what, tally] : events_)
            if (tally.longest > longEvent)
                std::printf("%s: %d times, %.2f ms on average, longest %.2f ms, %d above %.0f ms\n",
                            what.c_str(), tally.count, tally.total / tally.count, tally.longest, tally.late,
                            longEvent);
    }

  private:
    static constexpr double longEvent = 5;
    struct Tally {
        double longest = 0, total = 0;
        int count = 0, late = 0;
    };
    std::map<std::string, Tally> events_;
};

void Report(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const auto share = [&](double part) {
        return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
    };
    const auto late = std::count_if(times.begin(), times.end(), [](double time) { return time > 16; });
    std::printf(
        "%zu events: median %.2f ms, 99 %% %.2f ms, 99.9 %% %.2f ms, longest %.2f ms; %.2f %% above 16 ms\n",
        times.size(), share(0.5), share(0.99), share(0.999), times.back(),
        100.0 * static_cast<double>(late) / static_cast<double>(times.size()));
}

int Probe(const Options& options) {
    QTemporaryDir folder(QStringLiteral("/dev/shm/vorela-latency-XXXXXX"));
    const QString database = folder.filePath(QStringLiteral("well.dkb"));
    setenv("VORELA_REGISTRY", VORELA_BIN_DIR "/vorela.reg", 1);
    SetSettingsFilePath(folder.filePath(QStringLiteral("Vorela.ini")).toStdString());
    std::vector<std::unique_ptr<QProcess>> recorders;
    std::vector<std::string> names;
    for (int level = 1; level <= options.levels; ++level) {
        recorders.push_back(Record(database, options, level));
        names.push_back("LEVEL" + std::to_string(level));
    }
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(recordedBefore));
    if (!LoadDatabaseLibrary() || !LoadFilterLibrary())
        return 1;
    ComposeRooms();
    InitialiseDatasetVariables();
    QtPorts ports;
    frmMain window(ports);
    CurrentPorts() = ports.AsPorts();
    if (!window.Load() || !AddNamedDatasets(database.toStdString(), names))
        return 1;
    SortDatasets();
    PrsOpt().timeAuto = true;
    window.resize(1280, 720);
    window.show();
    for (std::size_t i = 0; i < names.size(); ++i)
        ExtendDataset(i);
    window.UpdateMainWindow();
    window.findChild<QTabBar*>(QStringLiteral("tsMain"))->setCurrentIndex(firstDatasetTab - 1);
    window.findChild<QTimer*>(QStringLiteral("tmrMain"))->start();
    {
        User user(*window.findChild<PlotWidget*>(QStringLiteral("picPlot")),
                  *window.findChild<TimeCursors*>(QStringLiteral("cursors")));
        QTimer::singleShot(options.seconds * 1000, qApp, &QApplication::quit);
        QApplication::exec();
        Report(user.milliseconds);
    }
    const DatasetRecord& shown = CurrentSelection().datasets.front();
    std::printf("%s: %d s recorded, %d cycles\n", shown.dataset.c_str(), shown.extentB / 100,
                shown.cycles.RealCycles());
    for (const auto& recorder : recorders) {
        recorder->kill();
        recorder->waitForFinished();
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const TimedApplication application(count, arguments);
    Options options;
    int* const places[] = {&options.seconds, &options.speed, &options.levels};
    for (int i = 1; i < count && i <= 3; ++i)
        *places[i - 1] = std::atoi(arguments[i]);
    const int status = Probe(options);
    application.PrintLongest();
    return status;
}
