// Tables as text for spreadsheets, and lists in a line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorela {

/// Rows of cells.
using TextRows = std::vector<std::vector<std::string>>;

/// A cell of comma- or tab-separated text: in quotes where it holds the separator, a quote or a line end.
std::string DelimitedCell(const std::string& text, char separator);
/// Lines end in carriage return and line feed.
std::string DelimitedText(const TextRows& rows, char separator);

/// Texts one behind the other, those that are empty too.
template <typename Texts>
std::string Joined(const Texts& texts, std::string_view separator) {
    std::string joined;
    for (bool first = true; const std::string& text : texts) {
        if (!first)
            joined += separator;
        joined += text;
        first = false;
    }
    return joined;
}

}  // namespace vorela
