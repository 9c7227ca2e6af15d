// What the report of the selection says: one page with the result, then all that it rests on. Numbers are as
// in the grids, which are those of the export and (rounded for display) of the JSON document.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/ExactTypes.h"
#include "report/ReportDocument.h"

namespace vorela {

/// What a report is made from besides the selection, its cycles, intervals and quicklook as they stand.
struct ReportSource {
    ExactResults exact;
    std::string program;               ///< "Vorela 1.0.5"
    std::int64_t created = 0;          ///< Unix seconds
    std::vector<std::string> notes{};  ///< what the run has said, or the window shows
};

/// Reads the databases for the curves and for the causes of missing results; what cannot be read is said in
/// the report.
Report MakeReport(const ReportSource& source);

/// "2026-11-22 07:13:30 UTC"
std::string UtcText(std::int64_t unixSeconds);

}  // namespace vorela
