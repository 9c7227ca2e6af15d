// The report as one self-contained HTML page: pictures as data, no reference to anything outside, readable in
// light and dark, and on paper.
#pragma once

#include <string>
#include <vector>

#include "report/ReportDocument.h"

namespace vorela {

/// A picture of the report as it came out.
struct DrawnPicture {
    std::string data;                    ///< "data:image/svg+xml;base64,..."; "" where nothing could be drawn
    std::vector<std::string> remarks{};  ///< what the drawing had to say
};

/// `pictures` in the order of PicturesOf.
std::string ReportHtml(const Report& report, const std::vector<DrawnPicture>& pictures);

}  // namespace vorela
