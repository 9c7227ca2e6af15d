#include <signal.h>

#include <QGuiApplication>
#include <cstdio>

#include "batch/BatchOptions.h"
#include "batch/BatchWork.h"
#include "plotview/PlotFile.h"

namespace {

/// Standard error is for what went wrong with the work; the toolkit's remarks on its surroundings are not
/// that.
void KeepToolkitQuiet(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "vorela-batch: %s\n", qPrintable(text));
}

/// Fonts and pictures need the toolkit's application object, but no display.
bool WritePlot(const vorela::PlotOrder& order) {
    int argc = 1;
    char name[] = "vorela-batch";
    char* argv[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(KeepToolkitQuiet);
    const QGuiApplication application(argc, argv);
    vorela::PlotFileOptions options;
    options.dataset = order.dataset;
    options.width = order.wish.width;
    options.height = order.wish.height;
    options.cursors = order.cursors;
    return vorela::SavePlot(order.wish.path, options);
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGXFSZ, SIG_IGN);  // a file at its size limit is a write that fails, not the end of the program
    const vorela::ParsedCommandLine parsed = vorela::ParseCommandLine(argc, argv);
    return parsed.options ? vorela::RunBatch(*parsed.options, WritePlot) : parsed.exitStatus;
}
