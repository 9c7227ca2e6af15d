#include "general/DelimitedText.h"

#include <cstddef>

namespace vorela {

std::string DelimitedCell(const std::string& text, char separator) {
    const std::string special{separator, '"', '\r', '\n'};
    if (text.find_first_of(special) == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

std::string DelimitedText(const TextRows& rows, char separator) {
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column)
            text += (column > 0 ? std::string(1, separator) : "") + DelimitedCell(row[column], separator);
        text += "\r\n";
    }
    return text;
}

}  // namespace vorela
