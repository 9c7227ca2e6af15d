// LAS 2.0 log files.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "dravik/include/DKBase.h"
#include "dravik/tool/LogTable.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

/// "MNEM.UNIT DATA : DESCRIPTION"
struct HeaderLine {
    std::string mnemonic;
    std::string unit;
    std::string data;
};

HeaderLine SplitHeaderLine(std::string_view line, std::size_t number) {
    const std::size_t point = line.find('.');
    const std::size_t colon = line.rfind(':');
    if (point == std::string_view::npos || colon == std::string_view::npos || colon < point)
        throw ParseError{number, "a header line needs a point and a colon (\"MNEM.UNIT DATA : TEXT\")"};
    const std::size_t unitEnd = std::min(line.find_first_of(" \t:", point + 1), colon);
    return {Trimmed(line.substr(0, point)), Trimmed(line.substr(point + 1, unitEnd - point - 1)),
            Trimmed(line.substr(unitEnd, colon - unitEnd))};
}

class LasParser {
  public:
    LasParser(std::string_view bytes, const ParseOptions& options) : reader_(bytes), options_(options) {}

    LogTable Parse() {
        if (reader_.OnlyBlanksLeft())
            throw ParseError{0, "the file is empty"};
        std::string_view line;
        while (!inData_ && reader_.Next(line))
            TakeHeaderLine(line);
        if (!inData_)
            throw ParseError{0, "there is no ~A section"};
        while (reader_.Next(line))
            TakeDataLine(line);
        if (cell_ != 0)
            throw ParseError{reader_.Number(), "the last step ends after " + std::to_string(cell_) + " of " +
                                                   std::to_string(columns_.curves.size() + 1) + " values"};
        CheckStop();
        PutInRisingOrder();
        TakeStepOfSingleRow();
        return {std::move(columns_), indexKind_, options_};
    }

  private:
    void TakeHeaderLine(std::string_view line) {
        const std::string trimmed = Trimmed(line);
        if (trimmed.empty() || trimmed.front() == '#')
            return;
        if (trimmed.front() == '~') {
            section_ = trimmed.size() > 1 ? static_cast<char>(trimmed[1] & ~0x20) : ' ';
            if (section_ == 'A')
                StartData();
            return;
        }
        switch (section_) {
            case 'V':
                return TakeVersionLine(SplitHeaderLine(line, reader_.Number()));
            case 'W':
                return TakeWellLine(SplitHeaderLine(line, reader_.Number()));
            case 'C':
                return TakeCurveLine(SplitHeaderLine(line, reader_.Number()));
            case ' ':
                throw ParseError{reader_.Number(), "not a LAS file: it does not begin with a section (~V)"};
            default:
                return;  // parameters and remarks say nothing about the samples
        }
    }

    void TakeVersionLine(const HeaderLine& line) {
        if (EqualIgnoringCase(line.mnemonic, "VERS")) {
            const std::optional<double> version = StrictNumber(line.data);
            if (!version || *version != 2.0)
                throw ParseError{reader_.Number(), "LAS version \"" + line.data + "\" is not 2.0"};
            haveVersion_ = true;
        } else if (EqualIgnoringCase(line.mnemonic, "WRAP")) {
            wrapped_ = EqualIgnoringCase(line.data, "YES");
            if (!wrapped_ && !EqualIgnoringCase(line.data, "NO"))
                throw ParseError{reader_.Number(), "WRAP is \"" + line.data + "\", neither YES nor NO"};
        }
    }

    void TakeWellLine(const HeaderLine& line) {
        const auto number = [&] {
            const std::optional<double> value = StrictNumber(line.data);
            if (!value)
                throw ParseError{reader_.Number(), line.mnemonic + ": \"" + line.data + "\" is not a number"};
            return *value;
        };
        if (EqualIgnoringCase(line.mnemonic, "NULL")) {
            null_ = number();
        } else if (EqualIgnoringCase(line.mnemonic, "STOP")) {
            stop_ = number();
            stopLine_ = reader_.Number();
        } else if (EqualIgnoringCase(line.mnemonic, "STEP")) {
            step_ = number();
        } else if (EqualIgnoringCase(line.mnemonic, "STRT")) {
            static_cast<void>(number());  // the rows tell it; it must be a number all the same
        }
    }

    void TakeCurveLine(const HeaderLine& line) {
        if (indexColumn_.empty()) {
            if (line.mnemonic.empty())
                throw ParseError{reader_.Number(), "the index curve has no name"};
            return TakeIndexCurve(line);
        }
        CheckCurveName(line.mnemonic, columns_.curves, reader_.Number());
        columns_.curves.push_back(DescribeCurve(line.mnemonic, line.unit));
    }

    void TakeIndexCurve(const HeaderLine& line) {
        indexColumn_ = line.mnemonic;
        const bool namedDepth =
            EqualIgnoringCase(indexColumn_, "DEPT") || EqualIgnoringCase(indexColumn_, "DEPTH");
        const bool namedTime =
            EqualIgnoringCase(indexColumn_, "TIME") || EqualIgnoringCase(indexColumn_, "ETIM");
        const bool timeUnit = IndexUnitsPer(line.unit, DK_INDEX_TIME).has_value();
        const bool depthUnit = IndexUnitsPer(line.unit, DK_INDEX_DEPTH).has_value();
        if (namedTime || (!namedDepth && timeUnit))
            indexKind_ = DK_INDEX_TIME;
        else if (namedDepth || depthUnit)
            indexKind_ = DK_INDEX_DEPTH;
        else if (options_.indexKind)
            indexKind_ = *options_.indexKind;
        else
            throw ParseError{reader_.Number(),
                             "index curve " + indexColumn_ + " is neither time nor depth; --index tells"};
        if (options_.indexKind && *options_.indexKind != indexKind_)
            throw ParseError{reader_.Number(), "index curve " + indexColumn_ + " is not the index asked for"};
        columns_.indexName = indexKind_ == DK_INDEX_TIME ? "time" : "depth";
        const std::optional<double> perOne = line.unit.empty() ? 100.0 : IndexUnitsPer(line.unit, indexKind_);
        if (!perOne)
            throw ParseError{reader_.Number(),
                             "index curve " + indexColumn_ + ": unit \"" + line.unit + "\" is unknown"};
        indexUnitsPerOne_ = *perOne;
    }

    void StartData() {
        if (!haveVersion_)
            throw ParseError{reader_.Number(), "there is no VERS line before the data"};
        if (columns_.curves.empty())
            throw ParseError{reader_.Number(), "there is no curve beside the index"};
        columns_.values.resize(columns_.curves.size());
        inData_ = true;
    }

    void TakeDataLine(std::string_view line) {
        constexpr std::string_view blanks = " \t";
        const std::size_t begin = line.find_first_not_of(blanks);
        if (begin == std::string_view::npos || line[begin] == '#')
            return;
        if (line[begin] == '~')
            throw ParseError{reader_.Number(), "a section after the data"};
        const bool freshStep = cell_ == 0;
        std::size_t at = begin;
        std::size_t cells = 0;
        while (at != std::string_view::npos) {
            const std::size_t end = line.find_first_of(blanks, at);
            TakeCell(line.substr(at, end == std::string_view::npos ? end : end - at));
            ++cells;
            at = line.find_first_not_of(blanks, end);
            if (cell_ == 0 && at != std::string_view::npos)
                throw ParseError{reader_.Number(), "more than " + std::to_string(columns_.curves.size() + 1) +
                                                       " values in a step"};
        }
        if (!wrapped_ && (cell_ != 0 || !freshStep))
            throw ParseError{reader_.Number(), std::to_string(cells) + " values where there should be " +
                                                   std::to_string(columns_.curves.size() + 1)};
    }

    void TakeCell(std::string_view cell) {
        if (cell_ == 0) {
            columns_.indices.push_back(ParseIndex(cell, indexUnitsPerOne_, reader_.Number(), indexColumn_));
            columns_.lines.push_back(reader_.Number());
        } else {
            float value = ParseSample(cell, reader_.Number(), columns_.curves[cell_ - 1].name);
            if (null_ && value == static_cast<float>(*null_))
                value = std::nanf("");
            columns_.values[cell_ - 1].push_back(value);
        }
        cell_ = cell_ == columns_.curves.size() ? 0 : cell_ + 1;
    }

    /// The header says where the data end: a file cut short is not taken for a whole one.
    void CheckStop() const {
        if (!stop_ || columns_.indices.empty())
            return;
        const double stop = *stop_ * indexUnitsPerOne_;
        const double last = columns_.indices.back();
        const double tolerance = columns_.indices.size() > 1
                                     ? std::abs(last - columns_.indices[columns_.indices.size() - 2])
                                     : 100.0;
        if (std::abs(stop - last) > std::max(tolerance, 1.0))
            throw ParseError{columns_.lines.back(), "the data end at " +
                                                        ShortestText(last / indexUnitsPerOne_) +
                                                        ", but STOP (line " + std::to_string(stopLine_) +
                                                        ") is " + ShortestText(*stop_)};
    }

    /// Depth logs are often recorded on the way up.
    void PutInRisingOrder() {
        const bool falls = columns_.indices.size() > 1 && columns_.indices.front() > columns_.indices.back();
        if (!falls || indexKind_ != DK_INDEX_DEPTH)
            return;
        std::reverse(columns_.indices.begin(), columns_.indices.end());
        std::reverse(columns_.lines.begin(), columns_.lines.end());
        for (std::vector<float>& column : columns_.values)
            std::reverse(column.begin(), column.end());
    }

    /// Rows tell their step themselves; a single one cannot.
    void TakeStepOfSingleRow() {
        const double step = std::round(step_ * indexUnitsPerOne_);
        if (columns_.indices.size() == 1 && !options_.step && step >= 1.0 && step <= 32767.0)
            options_.step = static_cast<std::int16_t>(step);
    }

    LineReader reader_;
    ParseOptions options_;
    LogTable::Columns columns_;
    char section_ = ' ';
    bool haveVersion_ = false;
    bool wrapped_ = false;
    bool inData_ = false;
    std::optional<double> null_;
    std::optional<double> stop_;
    std::size_t stopLine_ = 0;
    double step_ = 0.0;
    std::string indexColumn_;
    std::int16_t indexKind_ = DK_INDEX_TIME;
    double indexUnitsPerOne_ = 100.0;
    std::size_t cell_ = 0;  ///< of the current step; 0: its index comes next
};

}  // namespace

ParseResult ParseLas(std::string_view bytes, const ParseOptions& options) {
    try {
        return LasParser(bytes, options).Parse();
    } catch (const ParseError& error) {
        return error;
    }
}

}  // namespace vorela
