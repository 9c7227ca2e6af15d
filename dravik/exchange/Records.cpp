#include "dravik/exchange/Records.h"

#include <algorithm>

#include "dravik/exchange/Cells.h"

namespace dravik {
namespace {

constexpr std::size_t mostQuotedLines = 20;

}  // namespace

void CellSplitter::Add(std::string_view cell, bool quoted) {
    cells_.push_back(cell);
    if (quoted && !anyQuoted_) {
        anyQuoted_ = true;
        quoted_.assign(cells_.size() - 1, 0);
    }
    if (anyQuoted_)
        quoted_.push_back(quoted ? 1 : 0);
}

bool CellSplitter::Split(std::string_view text, bool quotesCount) {
    cells_.clear();
    quoted_.clear();
    unescaped_.clear();
    anyQuoted_ = false;
    if (TrimmedCell(text).empty())
        return true;
    if (quotesCount && quote_ != '\0' && text.find(quote_) != std::string_view::npos)
        return SplitQuoted(text);
    if (separator_ == ' ')
        SplitBlanks(text);
    else
        SplitPlain(text);
    return true;
}

void CellSplitter::SplitPlain(std::string_view text) {
    std::size_t begin = 0;
    std::size_t end = text.find(separator_);
    while (end != std::string_view::npos && cells_.size() < mostCells) {
        cells_.push_back(TrimmedCell(text.substr(begin, end - begin)));
        begin = end + 1;
        end = text.find(separator_, begin);
    }
    cells_.push_back(TrimmedCell(text.substr(begin)));
}

void CellSplitter::SplitBlanks(std::string_view text) {
    std::size_t at = 0;
    for (;;) {
        while (at < text.size() && IsBlank(text[at]))
            ++at;
        if (at == text.size())
            return;
        const std::size_t end = cells_.size() == mostCells ? text.size() : CellEnd(text, at);
        cells_.push_back(text.substr(at, end - at));
        at = end;
    }
}

std::size_t CellSplitter::CellEnd(std::string_view text, std::size_t from) const {
    if (separator_ != ' ')
        return std::min(text.find(separator_, from), text.size());
    while (from < text.size() && !IsBlank(text[from]))
        ++from;
    return from;
}

/// A quoted cell from its opening quote on; `at` moves behind the closing one.
bool CellSplitter::TakeQuoted(std::string_view text, std::size_t& at) {
    std::string& cell = unescaped_.emplace_back();
    for (++at; at < text.size(); ++at) {
        if (text[at] != quote_) {
            cell += text[at];
        } else if (at + 1 < text.size() && text[at + 1] == quote_) {
            cell += text[at++];
        } else {
            ++at;
            return true;
        }
    }
    return false;
}

bool CellSplitter::SplitQuoted(std::string_view text) {
    std::size_t at = 0;
    for (;;) {
        while (at < text.size() && IsBlank(text[at]))
            ++at;
        if (separator_ == ' ' && at == text.size())
            return true;
        if (at < text.size() && text[at] == quote_) {
            if (!TakeQuoted(text, at))
                return false;
            const std::size_t end = CellEnd(text, at);
            unescaped_.back() += TrimmedCell(text.substr(at, end - at));
            Add(TrimmedCell(unescaped_.back()), true);
            at = end;
        } else {
            const std::size_t end = cells_.size() >= mostCells ? text.size() : CellEnd(text, at);
            Add(TrimmedCell(text.substr(at, end - at)), false);
            at = end;
        }
        if (at >= text.size())
            return true;
        at += separator_ == ' ' ? 0 : 1;
    }
}

bool RecordReader::Next(Record& record) {
    record.place = reader_.Here();
    record.lines = 1;
    if (!reader_.Next(record.text))
        return false;
    record.ended = reader_.LineWasEnded();
    if (!splitter_.Split(record.text, true))
        JoinLines(record);
    return true;
}

/// A quote that stays open takes further lines; where none closes it, it is a character of its line.
void RecordReader::JoinLines(Record& record) {
    joined_ = record.text;
    std::string_view line;
    while (record.lines < mostQuotedLines && reader_.Next(line)) {
        joined_ += '\n';
        joined_ += line;
        ++record.lines;
        if (splitter_.Split(joined_, true)) {
            record.text = joined_;
            record.ended = reader_.LineWasEnded();
            return;
        }
    }
    reader_.Seek(record.place);
    reader_.Next(record.text);
    record.ended = reader_.LineWasEnded();
    record.lines = 1;
    splitter_.Split(record.text, false);
}

}  // namespace dravik
