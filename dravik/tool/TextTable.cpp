#include "dravik/tool/TextTable.h"

#include <algorithm>

#include "general/TerminalText.h"

namespace dravik {

TextTable::TextTable(const Row& captions) {
    if (!captions.empty())
        Add(captions);
}

void TextTable::Add(const Row& row) {
    Row& shown = rows_.emplace_back();
    for (const std::string& cell : row)
        shown.push_back(vorela::TerminalText(cell));
}

std::string TextTable::Text() const {
    std::vector<std::size_t> widths;
    for (const Row& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - row[i].size(), ' ');
            const bool last = i + 1 == row.size();
            text += i == 0 ? row[i] + (last ? "" : padding) : "  " + padding + row[i];
        }
        text += '\n';
    }
    return text;
}

}  // namespace dravik
