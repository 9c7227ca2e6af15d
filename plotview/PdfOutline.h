// Bookmarks of a PDF document, which the toolkit's writer has none of.
#pragma once

#include <string>
#include <vector>

namespace vorela {

struct PdfBookmark {
    std::string title;  ///< UTF-8
    int level = 1;      ///< 2: stands under the level 1 before it
    std::size_t page = 0;
    double top = 0;  ///< points from the page's top
};

/// The document with these bookmarks, which viewers open with the pages. Throws RunTimeError for bytes that
/// are no PDF document and for a page that is not there.
std::string WithBookmarks(const std::string& pdf, const std::vector<PdfBookmark>& bookmarks);

}  // namespace vorela
