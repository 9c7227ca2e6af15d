// The report of the selection as a file: the same routine for window and vorela-batch.
#pragma once

#include <string>

#include "report/ReportContent.h"

namespace vorela {

/// Writes the report; the format follows from the ending, .pdf or .html in any case. The file appears
/// complete or not at all. False after a report (step "Saving report") that names the file or what is wrong.
/// A QGuiApplication must exist (offscreen serves).
bool SaveReport(const std::string& path, const ReportSource& source);

}  // namespace vorela
