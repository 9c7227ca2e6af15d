// The report as pages of a PDF document.
#pragma once

#include <string>
#include <vector>

#include "plotview/ReportPictures.h"
#include "report/ReportHtml.h"

namespace vorela {

/// A4 pages with text that can be searched, page numbers, and bookmarks of all headings. `drawn` (in the
/// order of PicturesOf) says which pictures can be drawn and what is to be said of them. Throws where the
/// pages cannot be written. A QGuiApplication must exist.
std::string ReportPdf(const Report& report, const std::vector<DrawnPicture>& drawn,
                      const ExactResults& exact);

}  // namespace vorela
