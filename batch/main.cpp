#include <malloc.h>
#include <signal.h>

#include <QGuiApplication>
#include <array>
#include <cstdio>
#include <optional>
#include <string>

#include "batch/BatchOptions.h"
#include "batch/BatchWork.h"
#include "plotview/PlotFile.h"
#include "plotview/ReportFile.h"

namespace {

/// Standard error is for what went wrong with the work; the toolkit's remarks on its surroundings are not
/// that.
void KeepToolkitQuiet(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "vorela-batch: %s\n", qPrintable(text));
}

/// Fonts and pictures need the toolkit's application object, but no display. Made when first drawn.
class Toolkit {
  public:
    void Start() {
        if (application_)
            return;
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qInstallMessageHandler(KeepToolkitQuiet);
        application_.emplace(argc_, argv_.data());
    }

  private:
    int argc_ = 1;
    std::string name_ = "vorela-batch";
    std::array<char*, 2> argv_{name_.data(), nullptr};
    std::optional<QGuiApplication> application_;
};

/// Level after level takes and frees the same tens of megabytes: given back to the system in between, each
/// page would be cleared and mapped anew, a tenth of a whole run. One pool, so that what one thread freed
/// serves all.
void KeepFreedMemory() {
#if defined(__GLIBC__)
    constexpr int largestPooled = 32 << 20;  // the most that the C library takes
    constexpr int mostKept = 1 << 30;
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, largestPooled);
    mallopt(M_TRIM_THRESHOLD, mostKept);
#endif
}

bool WritePlot(const vorela::PlotOrder& order) {
    vorela::PlotFileOptions options;
    options.dataset = order.dataset;
    options.width = order.wish.width;
    options.height = order.wish.height;
    options.cursors = order.cursors;
    return vorela::SavePlot(order.wish.path, options);
}

}  // namespace

int main(int argc, char** argv) {
    KeepFreedMemory();
    signal(SIGXFSZ, SIG_IGN);  // a file at its size limit is a write that fails, not the end of the program
    const vorela::ParsedCommandLine parsed = vorela::ParseCommandLine(argc, argv);
    if (!parsed.options)
        return parsed.exitStatus;
    Toolkit toolkit;
    return vorela::RunBatch(*parsed.options,
                            {[&](const vorela::PlotOrder& order) {
                                 toolkit.Start();
                                 return WritePlot(order);
                             },
                             [&](const std::string& path, const vorela::ReportSource& source) {
                                 toolkit.Start();
                                 return vorela::SaveReport(path, source);
                             }});
}
