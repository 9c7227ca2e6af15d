// Tables as text for spreadsheets.
#pragma once

#include <string>
#include <vector>

namespace vorela {

/// Rows of cells.
using TextRows = std::vector<std::vector<std::string>>;

/// A cell of comma- or tab-separated text: in quotes where it holds the separator, a quote or a line end.
std::string DelimitedCell(const std::string& text, char separator);
/// Lines end in carriage return and line feed.
std::string DelimitedText(const TextRows& rows, char separator);

}  // namespace vorela
