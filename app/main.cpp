#include <signal.h>

#include <QApplication>
#include <QFileInfo>
#include <QTimer>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "app/DesktopColours.h"
#include "app/QtPorts.h"
#include "app/SecondStart.h"
#include "app/frmMain.h"
#include "dravik/chooser/Chooser.h"
#include "follow/StartUp.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"

namespace {

enum ExitStatus { done = 0, failed = 1, badUsage = 2 };

constexpr const char* helpText =
    "Analyses harmonic (periodic pulse) well tests, live while the recording goes on.\n"
    "Usage: Vorela [OPTIONS] [FILE...]\n\n"
    "Positionals:\n"
    "  FILE ...                    A database is offered to Select Data; recordings of other formats to the "
    "import\n\n"
    "Options:\n"
    "  -h,--help                   Print this help message and exit\n"
    "  --version                   Print the version and exit\n\n"
    "One window runs at a time: a second start hands its files to it and ends.\n";

/// What needs no display: true when that was all.
bool Answered(int argc, char* argv[]) {
    const std::string_view wanted = argc == 2 ? argv[1] : "";
    if (wanted == "--version")
        std::puts(vorela::VersionLine("Vorela").c_str());
    else if (wanted == "--help" || wanted == "-h")
        std::fputs(helpText, stdout);
    else
        return false;
    return true;
}

/// Absolute paths: the start-up changes the current folder. Nothing when an argument is an unknown option.
std::optional<QStringList> FilesOf(const QStringList& arguments) {
    QStringList files;
    for (const QString& argument : arguments.mid(1)) {
        if (argument.startsWith(QLatin1Char('-'))) {
            std::fprintf(stderr, "Vorela: %s: there is no such option (--help explains)\n",
                         qPrintable(argument));
            return std::nullopt;
        }
        files << QFileInfo(argument).absoluteFilePath();
    }
    return files;
}

/// A second start: what it was to open goes to the window that runs.
int HandOver(const std::string& place, const QStringList& files) {
    const QString problem = files.isEmpty() ? QString() : vorela::HandOverFiles(place, files);
    if (problem.isEmpty())
        return done;
    std::fprintf(stderr, "Vorela: the window that runs already does not take %s: %s\n",
                 qPrintable(files.join(QLatin1String(", "))), qPrintable(problem));
    return failed;
}

/// Until the window is closed.
int ShowWindow(vorela::QtPorts& ports, const std::string& place, const QStringList& files) {
    vorela::frmMain window(ports);
    window.Load();
    window.show();
    const auto take = [&window](const QStringList& more) { window.OpenFiles(more); };
    const vorela::FileTaker taker(place, take);
    if (!taker.Problem().isEmpty())
        std::fprintf(stderr, "Vorela: a second start cannot hand over its files: %s: %s\n", place.c_str(),
                     qPrintable(taker.Problem()));
    QTimer::singleShot(0, &window, [&] { window.OpenFiles(files); });
    return QApplication::exec();
}

}  // namespace

int main(int argc, char* argv[]) {
    signal(SIGXFSZ, SIG_IGN);  // a file at its size limit is a write that fails, not the end of the program
    if (Answered(argc, argv))
        return done;
    std::optional<vorela::SingleInstance> instance;
    vorela::RunTimeError fault;
    try {
        instance = vorela::SingleInstance::Acquire("Vorela");
    } catch (...) {
        fault = vorela::ErrorFromCurrentException("Vorela");
    }
    const bool second = !instance && fault.number == 0;
    if (second && argc == 1)
        return done;
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vorela"));
    QApplication::setDesktopFileName(QStringLiteral("vorela"));
    const std::optional<QStringList> files = FilesOf(QApplication::arguments());
    if (!files)
        return badUsage;
    const std::string place = vorela::MeetingPlace(vorela::SingleInstance::Place("Vorela"));
    if (second)
        return HandOver(place, *files);
    vorela::MakeHintsLegible();
    vorela::QtPorts ports;
    vorela::CurrentPorts() = ports.AsPorts();
    if (fault.number != 0) {
        vorela::SetCurrentError(fault);
        vorela::ReportError(vorela::step::loadingVorela);
    }
    if (fault.number != 0 || !vorela::StartUp())
        return failed;
    dravik::RegisterChooser(vorela::LoadedLibraries().database);
    return ShowWindow(ports, place, *files);
}
