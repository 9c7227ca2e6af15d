#include "dravik/exchange/LasRows.h"

#include <algorithm>

#include "dravik/exchange/Cells.h"

namespace dravik {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Where a number with its minus stands close behind another; npos: nowhere.
std::size_t TouchingMinus(std::string_view word) {
    for (std::size_t i = 1; i < word.size(); ++i) {
        if (word[i] == '-' && (IsDigit(word[i - 1]) || word[i - 1] == '.'))
            return i;
    }
    return std::string_view::npos;
}

PlainLayout PlainLayoutOf(const LasLayout& layout) {
    PlainLayout plain;
    plain.separator = layout.delimiter;
    plain.columns.assign(layout.columns, PlainKind::number);
    return plain;
}

}  // namespace

LasRows::LasRows(const TextFile& file, const LasLayout& layout, CellRules rules,
                 std::vector<LineRange> leaveOut)
    : layout_(layout),
      rules_(std::move(rules)),
      leaveOut_(std::move(leaveOut)),
      reader_(file),
      doubleQuotes_(layout.delimiter, '"'),
      singleQuotes_(layout.delimiter, '\''),
      stepper_(file, reader_, PlainLayoutOf(layout), rules_) {
    reader_.Seek(layout_.data);
}

void LasRows::Seek(const Place& place) {
    reader_.Seek(place);
    stepper_.Forget();
    ended_ = false;
}

/// A line of as many numbers as there are columns.
bool LasRows::NextPlain(Row& row) {
    return !layout_.wrapped && leaveOut_.empty() && !ended_ &&
           stepper_.Next(row, [](const Row& read) { return read.states.front() == CellState::number; });
}

bool LasRows::NextLine(std::string_view& line, Place& place) {
    for (;;) {
        place = reader_.Here();
        if (ended_ || !reader_.Next(line))
            return false;
        const std::string_view trimmed = TrimmedCell(line);
        if (trimmed.starts_with('~')) {
            ended_ = true;
            return false;
        }
        if (trimmed.starts_with('#'))
            LeaveOut("comment", place.line);
        else if (std::any_of(leaveOut_.begin(), leaveOut_.end(), [&](const LineRange& r) {
                     return place.line >= r.first && place.line <= r.last;
                 }))
            LeaveOut("as asked for", place.line);
        else if (!trimmed.empty())
            return true;
    }
}

void LasRows::Split(std::string_view text) {
    const bool single = text.find('\'') != std::string_view::npos && text.find('"') == std::string_view::npos;
    CellSplitter& splitter = single ? singleQuotes_ : doubleQuotes_;
    if (!splitter.Split(text, true))
        splitter.Split(text, false);
    cells_ = splitter.Cells();
    if (layout_.delimiter == ',' && cells_.size() == layout_.columns + 1 && cells_.back().empty())
        cells_.pop_back();
}

/// The cells of one row in cells_; false at the end of the data.
bool LasRows::GatherCells(Row& row) {
    std::string_view line;
    if (!NextLine(line, row.place))
        return false;
    text_ = line;
    Split(text_);
    Place place;
    while (layout_.wrapped && cells_.size() < layout_.columns && NextLine(line, place)) {
        text_ += ' ';
        text_ += line;
        Split(text_);
    }
    return true;
}

std::vector<std::string> LasRows::RepairedWords(bool dropTwoPoints) const {
    std::vector<std::string> words;
    for (std::string_view word : cells_) {
        for (std::size_t at = TouchingMinus(word); at != std::string_view::npos; at = TouchingMinus(word)) {
            words.emplace_back(word.substr(0, at));
            word.remove_prefix(at);
        }
        if (dropTwoPoints && std::count(word.begin(), word.end(), '.') == 2)
            words.insert(words.end(), 2, std::string());
        else
            words.emplace_back(word);
    }
    return words;
}

/// Numbers that a fixed-width writer let run together, where taking them apart makes the count right.
bool LasRows::Repair() {
    for (const bool dropTwoPoints : {false, true}) {
        repaired_ = RepairedWords(dropTwoPoints);
        if (repaired_.size() != layout_.columns)
            continue;
        cells_.assign(repaired_.begin(), repaired_.end());
        return true;
    }
    return false;
}

bool LasRows::Next(Row& row) {
    if (NextPlain(row))
        return true;
    stepper_.ReleaseLines();
    while (GatherCells(row)) {
        const std::size_t count = cells_.size();
        if (count != layout_.columns && Repair()) {
            if (!toldRepair_)
                notes_.push_back("line " + std::to_string(row.Line()) +
                                 ": numbers that run together are taken apart");
            toldRepair_ = true;
        }
        if (cells_.size() == layout_.columns) {
            if (stepper_.IsRepeated(text_)) {
                LeaveOut("row equal to the one before", row.Line());
                continue;
            }
            row.cells = &cells_;
            ReadCells(rules_, layout_.columns, row);
            return true;
        }
        const Place behind = reader_.Here();
        std::string_view line;
        Place place;
        if (count < layout_.columns && !NextLine(line, place)) {
            LeaveOut("cut row at the end", row.Line());
            return false;
        }
        reader_.Seek(behind);
        AddProblem("line " + std::to_string(row.Line()) + ": " + std::to_string(count) +
                   " values where there should be " + std::to_string(layout_.columns) + " (--leave-out " +
                   std::to_string(row.Line()) + ")");
    }
    return false;
}

}  // namespace dravik
