#include <signal.h>

#include <QApplication>
#include <cstdio>
#include <optional>

#include "app/QtPorts.h"
#include "app/frmMain.h"
#include "dravik/chooser/Chooser.h"
#include "follow/StartUp.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "platform/DravikLibraries.h"

int main(int argc, char* argv[]) {
    signal(SIGXFSZ, SIG_IGN);  // a file at its size limit is a write that fails, not the end of the program
    std::optional<vorela::SingleInstance> instance;
    vorela::RunTimeError fault;
    try {
        instance = vorela::SingleInstance::Acquire("Vorela");
    } catch (...) {
        fault = vorela::ErrorFromCurrentException("Vorela");
    }
    if (!instance && fault.number == 0)
        return 0;
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vorela"));
    QApplication::setDesktopFileName(QStringLiteral("vorela"));
    if (QApplication::arguments().size() > 1) {
        std::fputs("Vorela takes no arguments.\n", stderr);
        return 2;
    }
    vorela::QtPorts ports;
    vorela::CurrentPorts() = ports.AsPorts();
    if (fault.number != 0) {
        vorela::SetCurrentError(fault);
        vorela::ReportError(vorela::step::loadingVorela);
    }
    if (fault.number != 0 || !vorela::StartUp())
        return 1;
    dravik::RegisterChooser(vorela::LoadedLibraries().database);
    vorela::frmMain window(ports);
    window.Load();
    window.show();
    return QApplication::exec();
}
