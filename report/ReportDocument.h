// A report as a plain structure: what it says, in which order, and which pictures are to be drawn; nothing of
// how a format shows it.
#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "general/DelimitedText.h"

namespace vorela {

/// Of an input that still has the value with which the program begins; in a cell with a number as "10
/// (default)".
inline constexpr const char* defaultMark = "default";

struct ReportText {
    std::string text;
};

struct ReportList {
    std::vector<std::string> lines;
};

struct ReportTable {
    std::string caption;
    TextRows rows;       ///< the first is the header, but of facts
    bool facts = false;  ///< rows of a caption and its value
};

enum class ReportPictureKind { profile, plot, impedance, amplitudeAndLag };

struct ReportPicture {
    ReportPictureKind kind = ReportPictureKind::profile;
    std::size_t index = 0;  ///< of the dataset (plot) or of the exact interval, from 0
    std::string caption;
    int width = 800;  ///< in units of 1/96 inch, before it is made to fit
    int height = 450;
    /// Less than this height is taken where a page leaves no more; 0: the picture keeps its shape.
    int leastHeight = 0;
};

using ReportBlock = std::variant<ReportText, ReportList, ReportTable, ReportPicture>;

struct ReportSection {
    std::string heading;
    int level = 1;  ///< 1: a section, 2: a part of the one before
    bool newPage = false;
    std::vector<ReportBlock> blocks{};
};

struct Report {
    std::string title;
    std::string program;  ///< "Vorela 1.0.5"
    std::string created;  ///< date and time
    std::vector<ReportSection> sections;
};

/// The pictures in the order in which they come.
std::vector<ReportPicture> PicturesOf(const Report& report);

/// A cell that carries the mark.
bool IsMarkedDefault(const std::string& cell);

/// A column of a table (not of facts) that holds numbers, ranges of them or nothing: set to the right.
bool IsNumberColumn(const ReportTable& table, std::size_t column);

}  // namespace vorela
