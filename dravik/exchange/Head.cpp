#include "dravik/exchange/Head.h"

#include <algorithm>
#include <array>
#include <map>

#include "dravik/exchange/ExchangeError.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

/// Cells that the user calls no value are none.
CellKind KindOfHeadCell(std::string_view cell, const Choices& choices) {
    const bool isChosenNull =
        std::any_of(choices.nulls.begin(), choices.nulls.end(),
                    [&](const std::string& null) { return vorela::EqualIgnoringCase(null, cell); });
    return isChosenNull ? CellKind::null : KindOfCell(cell);
}

HeadLine LineOf(const Record& record, const CellSplitter& split, const Choices& choices) {
    HeadLine line;
    line.place = record.place;
    line.text = std::string(record.text);
    line.cells.assign(split.Cells().begin(), split.Cells().end());
    if (split.AnyQuoted()) {
        for (std::size_t i = 0; i < line.cells.size(); ++i)
            line.quoted.push_back(split.IsQuoted(i));
    }
    if (line.cells.size() > 1) {
        line.kinds.reserve(line.cells.size());
        for (const std::string& cell : line.cells)
            line.kinds.push_back(KindOfHeadCell(cell, choices));
    }
    return line;
}

/// Cuts the head into records and hands each one to `take(record, cells, isComment)`, without the lines that
/// the user leaves out.
template <typename Take>
void ForHeadRecords(const TextFile& file, char separator, char quote, const Choices& choices,
                    const Take& take) {
    RecordReader reader(file, separator, quote);
    CellSplitter behindMark(separator, quote);
    Record record;
    while (reader.Here().offset < file.HeadEnd() && reader.Next(record)) {
        if (choices.LeavesOut(record.place.line))
            continue;
        const std::vector<std::string_view>& cells = reader.Cells();
        const auto filled = std::find_if(cells.begin(), cells.end(), [](auto cell) { return !cell.empty(); });
        // A cell with nothing but the mark is the name of a column of row numbers.
        const bool isName = separator != ' ' && filled != cells.end() && *filled == "#" && cells.size() > 1;
        const bool isComment = filled != cells.end() && !isName && BehindCommentMark(*filled).has_value();
        if (isComment) {
            const std::size_t mark = record.text.find_first_of("#/");
            behindMark.Split(*BehindCommentMark(record.text.substr(mark)), false);
        }
        take(record, isComment ? behindMark : reader.Split(), isComment);
    }
}

std::vector<HeadLine> ReadHead(const TextFile& file, char separator, char quote, const Choices& choices) {
    std::vector<HeadLine> lines;
    ForHeadRecords(file, separator, quote, choices,
                   [&](const Record& record, const CellSplitter& split, bool comment) {
                       lines.push_back(LineOf(record, split, choices));
                       lines.back().isComment = comment;
                   });
    return lines;
}

/// Whether any line of the head can be cut at the separator. Where bytes are no text it may always be so.
bool CanSeparate(const TextFile& file, std::string_view head, char separator) {
    const Encoding& encoding = file.TextEncoding();
    const bool bytesTell = encoding.IsUtf8() || encoding.unitBytes == 2 || encoding.name == "WINDOWS-1252";
    return !bytesTell || head.find(separator) != std::string_view::npos ||
           (separator == ' ' && head.find('\t') != std::string_view::npos);
}

std::string HeadText(const TextFile& file) {
    std::string head(static_cast<std::size_t>(file.HeadEnd()), '\0');
    head.resize(file.Read(0, head.data(), head.size()));
    return head;
}

/// How well a separator explains the head.
class SeparatorScore {
  public:
    SeparatorScore() = default;
    SeparatorScore(const TextFile& file, char separator, char quote, const Choices& choices) {
        ForHeadRecords(file, separator, quote, choices,
                       [&](const Record& record, const CellSplitter& split, bool isComment) {
                           firstLine_ = lines_++ == 0 ? record.place.line : firstLine_;
                           Add(split.Cells(), isComment, choices);
                       });
        for (const auto& [width, tally] : widths_) {
            if (tally.score > score_ * (1.0 + 1e-9)) {
                score_ = tally.score;
                width_ = width;
            }
        }
        score_ *= separator == ' ' ? 0.5 : 1.0;
    }

    double Score() const { return score_; }
    /// Of the table that the separator makes; 0 when it makes none.
    std::size_t Width() const { return width_; }
    bool IsTooWide() const { return tooWide_ > 0 && tooWide_ * 2 >= lines_; }
    std::size_t FirstLine() const { return firstLine_; }
    /// "2024-03-14 09:30:00,5" has a blank of its own.
    bool FirstCellsAreNoTimes() const { return firstNoTimes_ * 2 > lines_; }

    /// Share of the filled cells that are no text, in the mean of the table's lines that hold any value.
    double MeanShare() const {
        const auto found = widths_.find(width_);
        return found == widths_.end() || found->second.valued == 0
                   ? 0.0
                   : found->second.shares / static_cast<double>(found->second.valued);
    }

  private:
    struct Tally {
        double score = 0.0;
        double shares = 0.0;
        std::size_t valued = 0;
    };

    void Add(const std::vector<std::string_view>& cells, bool isComment, const Choices& choices) {
        const std::size_t count = cells.size();
        tooWide_ += count > mostCells ? 1 : 0;
        if (count < 2)
            return;
        const CellKind first = KindOfHeadCell(cells.front(), choices);
        firstNoTimes_ += first == CellKind::number || first == CellKind::text ? 1 : 0;
        if (isComment || count > mostCells)
            return;
        const double share = ShareOfValues(cells, choices);
        Tally& tally = widths_[count];
        tally.score += 0.1 + share;
        tally.shares += share;
        tally.valued += share > 0.0 ? 1 : 0;
        if (count > 2 && cells.back().empty())
            widths_[count - 1].score += 0.1 + share;
    }

    static double ShareOfValues(const std::vector<std::string_view>& cells, const Choices& choices) {
        std::size_t filled = 0;
        std::size_t values = 0;
        for (const std::string_view cell : cells) {
            filled += cell.empty() ? 0 : 1;
            values += cell.empty() || KindOfHeadCell(cell, choices) == CellKind::text ? 0 : 1;
        }
        return filled == 0 ? 0.0 : static_cast<double>(values) / static_cast<double>(filled);
    }

    std::map<std::size_t, Tally> widths_;
    double score_ = 0.0;
    std::size_t width_ = 0;
    std::size_t lines_ = 0;
    std::size_t firstLine_ = 0;
    std::size_t tooWide_ = 0;
    std::size_t firstNoTimes_ = 0;
};

/// The separator that a first line "sep=;" states.
std::optional<char> StatedSeparator(const TextFile& file) {
    LineReader reader(file);
    std::string_view line;
    if (!reader.Next(line))
        return std::nullopt;
    if (line.size() >= 6 && line.front() == '"' && line.back() == '"')
        line = line.substr(1, line.size() - 2);
    if (line.size() != 5 || LowerCase(line.substr(0, 4)) != "sep=")
        return std::nullopt;
    return line[4];
}

/// What spreadsheets write where a value cannot be had: #N/A, #REF!, #NAME?
bool IsSheetError(std::string_view cell) {
    return cell.size() >= 4 && cell.size() <= 8 && cell.front() == '#' &&
           (cell == "#N/A" || cell.back() == '!' || cell.back() == '?') &&
           cell.find_first_of(" \t") == std::string_view::npos;
}

struct DecimalProofs {
    std::size_t commas = 0;
    std::size_t points = 0;
    bool groupedByComma = false;
    bool groupedByPoint = false;
    bool quotedLikeGroup = false;  ///< "1,234" in quotes
    std::string doubtful;          ///< a cell like 1,234
    std::size_t doubtfulLine = 0;
};

void TakeProof(const NumberShape& shape, const std::string& cell, bool quoted, std::size_t line,
               DecimalProofs& proofs) {
    const std::size_t marks = shape.points + shape.commas;
    if (marks == 0)
        return;
    if (marks == 1) {
        const bool likeGroup = shape.groupsOfThree && shape.lastDigits == 3 && !shape.zeroFirst;
        if (!likeGroup) {
            (shape.lastMark == ',' ? proofs.commas : proofs.points) += 1;
        } else if (shape.lastMark == ',') {
            proofs.quotedLikeGroup = proofs.quotedLikeGroup || quoted;
            if (proofs.doubtful.empty()) {
                proofs.doubtful = cell;
                proofs.doubtfulLine = line;
            }
        }
        return;
    }
    const bool mixed = shape.points > 0 && shape.commas > 0;
    const bool commaGroups = mixed ? shape.lastMark == '.' : shape.commas > 0;
    (commaGroups ? proofs.groupedByComma : proofs.groupedByPoint) = true;
    if (mixed)
        (commaGroups ? proofs.points : proofs.commas) += 1;
}

DecimalProofs CollectProofs(const SeparatedHead& head) {
    DecimalProofs proofs;
    for (const HeadLine& line : head.lines) {
        if (head.width < 2 || line.isComment || !FitsWidth(line, head.width, head.separator))
            continue;
        for (std::size_t i = 0; i < line.cells.size(); ++i) {
            NumberShape shape;
            if (line.kinds[i] == CellKind::number && ShapeOfNumber(line.cells[i], shape))
                TakeProof(shape, line.cells[i], line.IsQuoted(i), line.place.line, proofs);
        }
    }
    return proofs;
}

/// Names that come again between rows tell nothing about the columns.
bool HoldsValue(const HeadLine& line) {
    return std::any_of(line.kinds.begin(), line.kinds.end(),
                       [](CellKind kind) { return kind == CellKind::number || IsTime(kind); });
}

CellKind KindOfColumn(const std::vector<const HeadLine*>& lines, std::size_t column) {
    std::array<std::size_t, 6> counts{};
    for (const HeadLine* line : lines)
        ++counts[static_cast<std::size_t>(line->KindAt(column))];
    counts[static_cast<std::size_t>(CellKind::null)] = 0;
    std::size_t filled = 0;
    for (const std::size_t count : counts)
        filled += count;
    const auto best = std::max_element(counts.begin(), counts.end());
    if (filled == 0 || *best * 10 < filled * 9)
        return CellKind::text;
    return static_cast<CellKind>(best - counts.begin());
}

/// The first row that two of the next five lines (blank ones and comments aside) follow.
std::size_t FindFirstRow(const SeparatedHead& head, const TableShape& shape) {
    std::vector<std::size_t> lines;
    for (std::size_t i = 0; i < head.lines.size(); ++i) {
        if (!head.lines[i].IsBlank() && !head.lines[i].isComment)
            lines.push_back(i);
    }
    const auto isRow = [&](std::size_t i) {
        const HeadLine& line = head.lines[lines[i]];
        return FitsWidth(line, shape.width, head.separator) && CouldBeRow(line.kinds, shape.kinds);
    };
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!isRow(i))
            continue;
        const std::size_t end = std::min(lines.size(), i + 6);
        std::size_t more = 0;
        for (std::size_t j = i + 1; j < end; ++j)
            more += isRow(j) ? 1 : 0;
        if (more >= std::min<std::size_t>(2, lines.size() - i - 1))
            return lines[i];
    }
    return head.lines.size();
}

}  // namespace

std::optional<std::string_view> BehindCommentMark(std::string_view text) {
    text = TrimmedCell(text);
    if (IsSheetError(text) || (!text.starts_with('#') && !text.starts_with("//")))
        return std::nullopt;
    const std::size_t behind = text.find_first_not_of(text.front());
    return behind == std::string_view::npos ? std::string_view() : text.substr(behind);
}

bool FitsWidth(std::size_t cells, bool lastIsEmpty, std::size_t width, char separator) {
    if (cells == width)
        return true;
    if (separator == ' ')
        return false;
    return (cells == width + 1 && lastIsEmpty) || (cells + 1 == width && width >= 3);
}

bool FitsWidth(const HeadLine& line, std::size_t width, char separator) {
    return !line.IsBlank() && FitsWidth(line.cells.size(), line.cells.back().empty(), width, separator);
}

SeparatedHead SeparateHead(const TextFile& file, const Choices& choices, char quote) {
    std::optional<char> separator = choices.separator;
    if (!separator)
        separator = StatedSeparator(file);
    const std::string head = HeadText(file);
    SeparatedHead best;
    double bestScore = -1.0;
    bool firstAreNoTimes = false;
    for (const char candidate : {'\t', ';', ',', '|', ' '}) {
        if (separator && candidate != '\t')
            break;
        const char sign = separator.value_or(candidate);
        const SeparatorScore score =
            CanSeparate(file, head, sign) ? SeparatorScore(file, sign, quote, choices) : SeparatorScore();
        if (score.IsTooWide())
            throw ExchangeError("line " + std::to_string(score.FirstLine()) + ": more than " +
                                std::to_string(mostCells) + " columns");
        // "0,5 12,25": the blanks count half, yet leave nothing but numbers.
        best.blanksExplainMore = candidate == ' ' && best.separator == ',' && !separator &&
                                 score.Score() * 2.0 > bestScore && score.MeanShare() > 0.9 &&
                                 firstAreNoTimes;
        if (score.Score() > bestScore * (1.0 + 1e-9)) {
            bestScore = score.Score();
            firstAreNoTimes = score.FirstCellsAreNoTimes();
            best = {sign, score.Width(), false, {}};
        }
    }
    best.lines = ReadHead(file, best.separator, quote, choices);
    return best;
}

DecimalFinding FindDecimalSign(const SeparatedHead& head, std::optional<char> decimal) {
    const DecimalProofs proofs = CollectProofs(head);
    DecimalFinding finding;
    NumberFormat& format = finding.format;
    const bool onlyDoubtful = proofs.commas == 0 && proofs.points == 0 && !proofs.doubtful.empty() &&
                              !proofs.groupedByComma && !proofs.groupedByPoint;
    if (decimal) {
        format.decimal = *decimal;
    } else if (onlyDoubtful) {
        format.decimal = ',';
        finding.guessed = head.separator == ';';
        if (!finding.guessed) {
            finding.undecided = proofs.doubtful;
            finding.line = proofs.doubtfulLine;
        }
    } else {
        format.decimal =
            proofs.commas > proofs.points || (proofs.groupedByPoint && proofs.points == 0) ? ',' : '.';
    }
    // Where the user says that 1,234 holds no decimals, it holds thousands.
    const bool groupedByComma = proofs.groupedByComma || (proofs.quotedLikeGroup && proofs.points > 0) ||
                                (decimal && !proofs.doubtful.empty());
    const bool grouped = format.decimal == '.' ? groupedByComma : proofs.groupedByPoint;
    if (grouped && head.separator != ' ')
        format.group = format.decimal == '.' ? ',' : '.';
    return finding;
}

bool CouldBeRow(const std::vector<CellKind>& cells, const std::vector<CellKind>& columns) {
    std::size_t typed = 0;
    std::size_t texts = 0;
    std::size_t filled = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] == CellKind::text)
            continue;
        ++typed;
        const CellKind kind = i < cells.size() ? cells[i] : CellKind::null;
        texts += kind == CellKind::text ? 1 : 0;
        filled += kind == CellKind::text || kind == CellKind::null ? 0 : 1;
    }
    return filled > 0 && (texts == 0 || (typed >= 10 && texts * 10 <= typed));
}

TableShape FindTable(const SeparatedHead& head) {
    TableShape shape;
    shape.width = head.width;
    std::vector<const HeadLine*> fitting;
    for (const HeadLine& line : head.lines) {
        if (!line.isComment && FitsWidth(line, head.width, head.separator) && HoldsValue(line))
            fitting.push_back(&line);
    }
    fitting.erase(fitting.begin(), fitting.begin() + static_cast<std::ptrdiff_t>(fitting.size() / 2));
    for (std::size_t column = 0; column < head.width; ++column)
        shape.kinds.push_back(KindOfColumn(fitting, column));
    shape.firstRow = head.width < 2 ? head.lines.size() : FindFirstRow(head, shape);
    return shape;
}

}  // namespace dravik
