#include "dravik/exchange/Header.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

namespace dravik {
namespace {

constexpr std::size_t mostHeaderLines = 12;

bool IsMostlyText(const HeadLine& line) {
    const auto texts =
        static_cast<std::size_t>(std::count(line.kinds.begin(), line.kinds.end(), CellKind::text));
    return texts * 5 >= line.kinds.size() * 4;
}

bool CouldBeHeader(const HeadLine& line, std::size_t width, char separator) {
    if (line.cells.size() < 2)
        return false;
    const std::size_t count = line.cells.size();
    return FitsWidth(line, width, separator) ||
           ((count == width + 1 || count + 1 == width) && IsMostlyText(line));
}

std::size_t FilledCells(const HeadLine& line) {
    return static_cast<std::size_t>(std::count_if(line.cells.begin(), line.cells.end(),
                                                  [](const std::string& cell) { return !cell.empty(); }));
}

bool IsUnitsLine(const HeadLine& line) {
    const auto units = std::count_if(line.cells.begin(), line.cells.end(),
                                     [](const std::string& cell) { return IsKnownUnit(cell); });
    return units > 0 && static_cast<std::size_t>(units) * 2 >= FilledCells(line);
}

/// Names stand above values: at least half of the cells filled, text above a column of numbers or times.
bool CouldBeNames(const HeadLine& line, const TableShape& table) {
    if (FilledCells(line) * 2 < table.width)
        return false;
    for (std::size_t i = 0; i < std::min(table.width, line.kinds.size()); ++i) {
        if (line.kinds[i] == CellKind::text && table.kinds[i] != CellKind::text)
            return true;
    }
    return false;
}

/// Cells beyond the table's columns name nothing.
std::size_t NamesScore(const HeadLine& line, std::size_t width) {
    std::set<std::string_view> texts;
    for (std::size_t i = 0; i < line.cells.size(); ++i) {
        if (line.kinds[i] == CellKind::text)
            texts.insert(line.cells[i]);
    }
    return std::min(FilledCells(line), width) + std::min(texts.size(), width);
}

/// "Time" "[s]" as one cell: between blanks a unit in brackets stands apart from its name.
std::vector<std::string> WithBracketsJoined(const std::vector<std::string>& words) {
    std::vector<std::string> cells;
    bool open = false;
    for (const std::string& word : words) {
        const bool opens = word.front() == '(' || word.front() == '[';
        if (!cells.empty() && (open || opens))
            cells.back() += " " + word;
        else
            cells.push_back(word);
        open = (open || opens) && word.back() != ')' && word.back() != ']';
    }
    return cells;
}

/// Cells parted by two blanks or more, or tabs.
std::vector<std::string> PartedByWideBlanks(std::string_view text) {
    std::vector<std::string> cells;
    while (!TrimmedCell(text).empty()) {
        text.remove_prefix(text.find_first_not_of(" \t"));
        const std::size_t end = std::min({text.find("  "), text.find('\t'), text.size()});
        cells.emplace_back(TrimmedCell(text.substr(0, end)));
        text.remove_prefix(end);
    }
    return cells;
}

/// A header line between blanks, cut so that it has a cell for each column where that can be.
HeadLine FittedToColumns(const HeadLine& line, std::size_t width) {
    HeadLine fitted = line;
    for (const auto& cells : {WithBracketsJoined(line.cells), PartedByWideBlanks(line.text)}) {
        if (line.cells.size() == width || cells.size() != width)
            continue;
        fitted.cells = cells;
        fitted.quoted.clear();
        fitted.kinds.clear();
        for (const std::string& cell : cells)
            fitted.kinds.push_back(KindOfCell(cell));
        break;
    }
    return fitted;
}

bool HasNoWord(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c | 0x20);
        return (code >= 'a' && code <= 'z') || (c >= '0' && c <= '9') ||
               static_cast<unsigned char>(c) >= 0x80;
    });
}

/// A rule drawn under names.
bool IsRuler(const HeadLine& line) {
    return HasNoWord(line.text);
}

/// "% t p" over two columns: a mark of comments that is none of ours stands before the names.
void DropMark(HeadLine& line, std::size_t width) {
    const bool isLonger = line.cells.size() == width + 1;
    if (!isLonger || line.cells.front().empty() || !HasNoWord(line.cells.front()))
        return;
    line.cells.erase(line.cells.begin());
    if (!line.quoted.empty())
        line.quoted.erase(line.quoted.begin());
    line.kinds.erase(line.kinds.begin());
}

/// The lines that may belong to the header, the lowest first. Between blanks any prose has cells: there the
/// header ends at the first line that does not fit.
std::vector<HeadLine> HeaderLines(const SeparatedHead& head, const TableShape& table) {
    std::vector<HeadLine> lines;
    const bool blanks = head.separator == ' ';
    for (std::size_t i = std::min(table.firstRow, head.lines.size());
         i-- > 0 && lines.size() < mostHeaderLines;) {
        HeadLine line = blanks ? FittedToColumns(head.lines[i], table.width) : head.lines[i];
        DropMark(line, table.width);
        if (CouldBeHeader(line, table.width, head.separator) && !IsRuler(line))
            lines.push_back(std::move(line));
        else if (blanks && !line.isComment && !IsRuler(line))
            break;
    }
    return lines;
}

/// A caption in one line.
std::string OneLine(std::string caption) {
    std::replace_if(
        caption.begin(), caption.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return std::string(TrimmedCell(caption));
}

/// Place among the candidates of the names, from the bottom; nothing when none can be names.
std::optional<std::size_t> FindNames(const std::vector<HeadLine>& lines, const TableShape& table) {
    std::optional<std::size_t> best;
    const auto rank = [&](std::size_t i) {
        return std::pair(lines[i].isComment ? 0 : 1, NamesScore(lines[i], table.width));
    };
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!CouldBeNames(lines[i], table))
            continue;
        const bool namesAbove = std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(i) + 1, lines.end(),
                                            [&](const HeadLine& line) { return CouldBeNames(line, table); });
        if (namesAbove && IsUnitsLine(lines[i]))
            continue;
        if (!best || rank(i) > rank(*best))
            best = i;
    }
    return best;
}

std::string CellAt(const HeadLine& line, std::size_t column) {
    return column < line.cells.size() ? line.cells[column] : std::string();
}

/// "UNIT: psi" in a preamble belongs to the column named alone on a line above it, else to the only column
/// of numbers.
void TakePreambleUnits(const SeparatedHead& head, const TableShape& table, Header& header) {
    std::optional<std::size_t> named;
    const auto isNumber = [&](std::size_t i) { return table.kinds[i] == CellKind::number; };
    for (std::size_t i = 0; i < table.firstRow && i < head.lines.size(); ++i) {
        const std::string text = LowerCase(TrimmedCell(head.lines[i].text));
        for (std::size_t column = 0; column < table.width; ++column) {
            if (!text.empty() && text == LowerCase(header.names[column].name))
                named = column;
        }
        if (!text.starts_with("unit:") && !text.starts_with("units:"))
            continue;
        std::string_view unit =
            TrimmedCell(std::string_view(head.lines[i].text).substr(head.lines[i].text.find(':') + 1));
        while (!unit.empty() && std::string_view(",;\t ").find(unit.back()) != std::string_view::npos)
            unit.remove_suffix(1);
        std::optional<std::size_t> column = named;
        if (!column && std::count(table.kinds.begin(), table.kinds.end(), CellKind::number) == 1) {
            for (std::size_t c = 0; c < table.width; ++c)
                column = isNumber(c) ? std::optional(c) : column;
        }
        if (column && header.names[*column].unit.empty())
            header.names[*column].unit = BareUnit(unit);
        else if (!column)
            header.looseUnits.push_back("line " + std::to_string(head.lines[i].place.line) + ": " +
                                        QuotedCell(TrimmedCell(head.lines[i].text)));
    }
}

}  // namespace

Header FindHeader(const SeparatedHead& head, const TableShape& table, std::size_t namesLine) {
    Header header;
    header.captions.resize(table.width);
    const std::vector<HeadLine> lines = HeaderLines(head, table);
    std::optional<std::size_t> names = FindNames(lines, table);
    const HeadLine* line = names ? &lines[*names] : nullptr;
    const HeadLine* units = nullptr;
    if (namesLine > 0) {
        for (const HeadLine& stated : head.lines)
            line = stated.place.line == namesLine ? &stated : line;
    }
    if (line != nullptr) {
        header.namesLine = line->place.line;
        header.lines.push_back(line->cells);
        for (std::size_t i = 0; i < table.width; ++i)
            header.captions[i] = OneLine(CellAt(*line, i));
        header.beyond = OneLine(CellAt(*line, table.width));
        for (const HeadLine& below : lines) {
            if (below.place.line > line->place.line && IsUnitsLine(below))
                units = &below;
        }
    }
    for (std::size_t i = 0; i < table.width; ++i) {
        header.names.push_back(SplitUnit(header.captions[i]));
        if (units != nullptr && !CellAt(*units, i).empty() && units->kinds[i] == CellKind::text)
            header.names[i] = {header.captions[i], BareUnit(CellAt(*units, i))};
        if (header.names[i].name.empty())
            header.names[i].name = "COL" + std::to_string(i + 1);
    }
    if (units != nullptr)
        header.lines.push_back(units->cells);
    TakePreambleUnits(head, table, header);
    return header;
}

}  // namespace dravik
