// CSV log files: names, perhaps units, numbers.
#include <string>
#include <vector>

#include "dravik/include/DKBase.h"
#include "dravik/tool/LogTable.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

std::vector<std::string> SplitHeader(std::string_view line) {
    std::vector<std::string> cells;
    for (;;) {
        const std::size_t comma = line.find(',');
        cells.push_back(Trimmed(line.substr(0, comma)));
        if (comma == std::string_view::npos)
            return cells;
        line.remove_prefix(comma + 1);
    }
}

class CsvParser {
  public:
    CsvParser(std::string_view bytes, const ParseOptions& options) : reader_(bytes), options_(options) {}

    LogTable Parse() {
        std::string_view line;
        if (reader_.OnlyBlanksLeft())
            throw ParseError{0, "the file is empty"};
        reader_.Next(line);
        TakeNames(SplitHeader(line));
        bool haveLine = reader_.Next(line);
        if (haveLine && TakeUnits(line))
            haveLine = reader_.Next(line);
        for (; haveLine; haveLine = reader_.Next(line)) {
            if (Trimmed(line).empty() && reader_.OnlyBlanksLeft())
                break;
            TakeRow(line);
        }
        return {std::move(columns_), indexKind_, options_};
    }

  private:
    void TakeNames(const std::vector<std::string>& names) {
        indexColumn_ = names.front();
        const bool isTime = EqualIgnoringCase(indexColumn_, "TIME");
        const bool isDepth =
            EqualIgnoringCase(indexColumn_, "DEPTH") || EqualIgnoringCase(indexColumn_, "DEPT");
        if (!isTime && !isDepth && !options_.indexKind)
            throw ParseError{reader_.Number(), "the first column is \"" + indexColumn_.substr(0, 40) +
                                                   "\", not TIME or DEPTH; --index tells what it is"};
        if (isTime || isDepth)
            indexKind_ = isTime ? DK_INDEX_TIME : DK_INDEX_DEPTH;
        else
            indexKind_ = *options_.indexKind;
        if (options_.indexKind && *options_.indexKind != indexKind_)
            throw ParseError{reader_.Number(),
                             "the first column is " + indexColumn_ + ", which is not the index asked for"};
        columns_.indexName = indexKind_ == DK_INDEX_TIME ? "time" : "depth";
        for (std::size_t i = 1; i < names.size(); ++i) {
            CheckCurveName(names[i], columns_.curves, reader_.Number());
            columns_.curves.push_back(DescribeCurve(names[i], ""));
        }
        if (columns_.curves.empty())
            throw ParseError{reader_.Number(), "there is no curve beside " + indexColumn_};
        columns_.values.resize(columns_.curves.size());
    }

    /// True when the line was one of units.
    bool TakeUnits(std::string_view line) {
        const std::vector<std::string> units = SplitHeader(line);
        const std::optional<double> perOne = IndexUnitsPer(units.front(), indexKind_);
        if (!perOne)
            return false;
        if (units.size() != columns_.curves.size() + 1)
            ThrowCount(units.size());
        indexUnitsPerOne_ = *perOne;
        for (std::size_t i = 0; i < columns_.curves.size(); ++i)
            columns_.curves[i] = DescribeCurve(columns_.curves[i].name, units[i + 1]);
        return true;
    }

    void TakeRow(std::string_view line) {
        const std::size_t lineNumber = reader_.Number();
        std::size_t comma = line.find(',');
        columns_.indices.push_back(
            ParseIndex(line.substr(0, comma), indexUnitsPerOne_, lineNumber, indexColumn_));
        columns_.lines.push_back(lineNumber);
        std::size_t cells = 1;
        while (comma != std::string_view::npos) {
            line.remove_prefix(comma + 1);
            comma = line.find(',');
            if (cells <= columns_.curves.size())
                columns_.values[cells - 1].push_back(
                    ParseSample(line.substr(0, comma), lineNumber, columns_.curves[cells - 1].name));
            ++cells;
        }
        if (cells != columns_.curves.size() + 1)
            ThrowCount(cells);
    }

    [[noreturn]] void ThrowCount(std::size_t cells) const {
        throw ParseError{reader_.Number(), std::to_string(cells) + (cells == 1 ? " cell" : " cells") +
                                               " where there should be " +
                                               std::to_string(columns_.curves.size() + 1)};
    }

    LineReader reader_;
    ParseOptions options_;
    LogTable::Columns columns_;
    std::string indexColumn_;
    std::int16_t indexKind_ = DK_INDEX_TIME;
    double indexUnitsPerOne_ = 100.0;
};

}  // namespace

ParseResult ParseCsv(std::string_view bytes, const ParseOptions& options) {
    try {
        return CsvParser(bytes, options).Parse();
    } catch (const ParseError& error) {
        return error;
    }
}

}  // namespace vorela
