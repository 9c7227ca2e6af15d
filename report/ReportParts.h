// The parts that the report is put together from.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/ReportContent.h"

namespace vorela {

/// A number as the grids show it; "-" where there is none.
std::string ReportNumber(const std::optional<double>& value);

/// What is entered for the well and the analysis; what still has the value that the program begins with is
/// marked "default".
ReportSection InputSection();

/// Sections behind the first page, in their order.
std::vector<ReportSection> LevelSections(const ExactResults& exact);
std::vector<ReportSection> PlotSections();
std::vector<ReportSection> IntervalSections(const ExactResults& exact);
ReportSection CurveSection();

/// Every note and warning once, under where it comes from.
struct NoteGroup {
    std::string heading;
    std::vector<std::string> lines;
};
std::vector<NoteGroup> ReportNotes(const ReportSource& source);
std::size_t CountOf(const std::vector<NoteGroup>& notes);

/// "LEVEL2, 9750 ft"
std::string LevelHeading(std::size_t dataset);
/// "7 A, 2 B"; "-" without a graded cycle.
std::string GradesText(const ExactLevel& level);
/// "filtered pressure and flow", ...
std::string CycleSourceText(std::size_t dataset);

}  // namespace vorela
