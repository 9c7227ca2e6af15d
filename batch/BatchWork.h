// The work of vorela-batch: the routines of the window, one after the other, with messages on standard error.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "batch/BatchOptions.h"
#include "report/ReportContent.h"

namespace vorela {

/// A plot to write: the dataset's position in the selection and the cursors' times in seconds.
struct PlotOrder {
    PlotWish wish;
    std::size_t dataset = 0;
    std::pair<double, double> cursors;
};
/// What draws, handed in, since drawing needs the window toolkit and the work does not. False after a
/// message.
struct BatchDrawing {
    std::function<bool(const PlotOrder&)> writePlot;
    std::function<bool(const std::string& path, const ReportSource&)> writeReport;
};

/// Does everything that the options ask for and returns the exit status (exit_status::…).
int RunBatch(const BatchOptions& options, const BatchDrawing& drawing);

}  // namespace vorela
