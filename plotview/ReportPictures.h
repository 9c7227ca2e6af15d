// The pictures of a report on any surface.
#pragma once

#include <string>
#include <vector>

#include "analysis/ExactTypes.h"
#include "plot/DrawingSurface.h"
#include "report/ReportDocument.h"

namespace vorela {

/// Draws between its own Begin and End. What it has to say (a curve that another one stands in for, why
/// nothing can be drawn) goes to `remarks` in place of message boxes. False when nothing was drawn.
bool DrawReportPicture(DrawingSurface& surface, const ReportPicture& picture, const ExactResults& exact,
                       std::vector<std::string>& remarks);

}  // namespace vorela
