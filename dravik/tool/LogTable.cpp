#include "dravik/tool/LogTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "dravik/include/DKBase.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr float gap = std::numeric_limits<float>::quiet_NaN();
constexpr double feetPerMetre = 1.0 / 0.3048;
constexpr double indexUnitsPerOne = 100.0;  // hundredths of a second, hundredths of a foot
constexpr std::int64_t largestIndex = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t smallestIndex = std::numeric_limits<std::int32_t>::min();

std::string_view TrimmedView(std::string_view text) {
    const std::size_t from = text.find_first_not_of(" \t");
    if (from == std::string_view::npos)
        return {};
    return text.substr(from, text.find_last_not_of(" \t") - from + 1);
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t shown = 40;
    return "\"" + std::string(text.substr(0, shown)) + (text.size() > shown ? "...\"" : "\"");
}

/// An index as the user writes it: seconds or feet.
std::string IndexText(double indexUnits) {
    return ShortestText(std::round(indexUnits) / indexUnitsPerOne);
}

double MedianDifference(const std::vector<double>& indices) {
    std::vector<double> differences(indices.size() - 1);
    for (std::size_t i = 0; i < differences.size(); ++i)
        differences[i] = indices[i + 1] - indices[i];
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    return *middle;
}

/// Whether every difference lies within half a step of the step.
bool OnlyJitters(const std::vector<double>& indices, double step) {
    for (std::size_t i = 1; i < indices.size(); ++i) {
        if (std::abs(indices[i] - indices[i - 1] - step) > 0.5 * step)
            return false;
    }
    return true;
}

/// Whether a row lies within half a step of its place on the even grid that the first row begins.
bool LiesNear(const LogTable::Columns& columns, std::size_t row, double step) {
    const double offset = columns.indices[row] - columns.indices.front();
    return std::abs(offset - static_cast<double>(row) * step) <= 0.5 * step;
}

enum class Parsed { number, notNumber, outOfRange };

template <typename Real>
Parsed ParseReal(std::string_view text, Real& value) {
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ptr != text.data() + text.size() || result.ec == std::errc::invalid_argument)
        return Parsed::notNumber;
    if (result.ec == std::errc::result_out_of_range) {
        // Too small is as good as its nearest single; only too large is lost.
        const double exact = std::strtod(std::string(text).c_str(), nullptr);
        if (!(std::abs(exact) < 1.0))
            return Parsed::outOfRange;
        value = static_cast<Real>(exact);
        return Parsed::number;
    }
    return std::isfinite(value) ? Parsed::number : Parsed::notNumber;
}

}  // namespace

LineReader::LineReader(std::string_view bytes) : rest_(bytes) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    if (rest_.starts_with(mark))
        rest_.remove_prefix(mark.size());
}

bool LineReader::Next(std::string_view& line) {
    if (rest_.empty())
        return false;
    const std::size_t end = rest_.find('\n');
    line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    ++number_;
    if (line.size() > longestLine)
        throw ParseError{number_, "the line is longer than " + std::to_string(longestLine) + " characters"};
    return true;
}

bool LineReader::OnlyBlanksLeft() const {
    return rest_.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

void CheckCurveName(const std::string& name, const std::vector<CurveDescription>& curves, std::size_t line) {
    const auto refuse = [&](const std::string& why) {
        throw ParseError{line, "curve name " + Quoted(name) + why};
    };
    if (curves.size() == mostCurves)
        throw ParseError{line, "there are more than " + std::to_string(mostCurves) + " curves"};
    if (name.empty())
        throw ParseError{line, "column " + std::to_string(curves.size() + 2) + " has no name"};
    if (name.size() > longestCurveName)
        refuse(" is longer than 10 characters");
    if (name.find('/') != std::string::npos)
        refuse(" holds a slash");
    if (std::any_of(name.begin(), name.end(), [](char c) {
            const auto code = static_cast<unsigned char>(c);
            return code < 0x20 || code == 0x7F || c == '"' || c == ',';
        }))
        refuse(" holds a quote, a comma or a control character");
    if (name == "_defaults_")
        refuse(" is reserved for the presentation record");
    if (std::any_of(curves.begin(), curves.end(), [&](const CurveDescription& c) { return c.name == name; }))
        refuse(" occurs twice");
}

float ParseSample(std::string_view cell, std::size_t line, const std::string& curve) {
    cell = TrimmedView(cell);
    if (cell.empty() || EqualIgnoringCase(cell, "nan"))
        return gap;
    float value = 0.0F;
    switch (ParseReal(cell, value)) {
        case Parsed::number:
            return value;
        case Parsed::outOfRange:
            throw ParseError{line, "curve " + curve + ": " + Quoted(cell) +
                                       " is beyond the range of a single-precision number"};
        case Parsed::notNumber:
            break;
    }
    throw ParseError{line, "curve " + curve + ": " + Quoted(cell) + " is not a number"};
}

double ParseIndex(std::string_view cell, double unitsPerOne, std::size_t line, const std::string& column) {
    cell = TrimmedView(cell);
    if (cell.empty())
        throw ParseError{line, "the " + column + " cell is empty"};
    double value = 0.0;
    const Parsed parsed = ParseReal(cell, value);
    if (parsed == Parsed::notNumber)
        throw ParseError{line, column + ": " + Quoted(cell) + " is not a number"};
    const double index = value * unitsPerOne;
    if (parsed == Parsed::outOfRange || std::round(index) > static_cast<double>(largestIndex) ||
        std::round(index) < static_cast<double>(smallestIndex))
        throw ParseError{line, column + ": " + Quoted(cell) + " is beyond 32 bits of hundredths"};
    return index;
}

CurveDescription DescribeCurve(std::string name, std::string unit) {
    CurveDescription description{std::move(name), std::move(unit)};
    if (description.name == depthCurveName && EqualIgnoringCase(description.unit, "m"))
        description.scale = static_cast<float>(feetPerMetre);
    return description;
}

std::optional<double> IndexUnitsPer(std::string_view unit, std::int16_t indexKind) {
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::any_of(names.begin(), names.end(),
                           [&](std::string_view name) { return EqualIgnoringCase(unit, name); });
    };
    if (indexKind == DK_INDEX_TIME)
        return isOneOf({"s", "sec"}) ? std::optional(indexUnitsPerOne) : std::nullopt;
    if (isOneOf({"ft", "f", "feet"}))
        return indexUnitsPerOne;
    return isOneOf({"m"}) ? std::optional(indexUnitsPerOne * feetPerMetre) : std::nullopt;
}

LogTable::LogTable(Columns columns, std::int16_t indexKind, const ParseOptions& options)
    : values_(std::move(columns.values)) {
    if (columns.indices.empty())
        throw ParseError{0, "no data rows"};
    curves_ = std::move(columns.curves);
    grid_.indexKind = indexKind;
    grid_.step = StepOfRows(columns, options);
    grid_.firstIndex = static_cast<std::int32_t>(std::llround(columns.indices.front()));
    rows_.reserve(columns.indices.size());
    for (std::size_t row = 0; row < columns.indices.size(); ++row)
        PlaceRow(columns, row, options.step.has_value());
    for (std::vector<float>& column : values_)
        column.resize(rows_.size());
    grid_.rowCount = rows_.back() + 1;
}

std::int16_t LogTable::StepOfRows(const Columns& columns, const ParseOptions& options) {
    if (options.step)
        return *options.step;
    const std::vector<double>& indices = columns.indices;
    if (indices.size() < 2)
        throw ParseError{columns.lines.front(), "a single row tells no sampling step; --step states it"};
    // The median of the differences is right even where rows are missing or doubled: those are then found
    // out. Where the rows only jitter, it is a little off and the mean is right.
    const double mean =
        std::round((indices.back() - indices.front()) / static_cast<double>(indices.size() - 1));
    double step = std::round(MedianDifference(indices));
    for (std::size_t row = 0; row < indices.size() && step != mean; ++row) {
        if (LiesNear(columns, row, step))
            continue;
        if (!OnlyJitters(indices, mean))
            break;
        step = mean;
    }
    if (step < 1.0)
        throw ParseError{columns.lines[1],
                         columns.indexName + " does not rise by at least 0.01 from row to row"};
    if (step > std::numeric_limits<std::int16_t>::max())
        throw ParseError{columns.lines[1],
                         "a step of " + IndexText(step) + " is longer than the longest, 327.67"};
    return static_cast<std::int16_t>(step);
}

void LogTable::PlaceRow(const Columns& columns, std::size_t row, bool nearest) {
    const double offset = columns.indices[row] - columns.indices.front();
    const std::size_t line = columns.lines[row];
    if (!nearest) {
        if (!LiesNear(columns, row, grid_.step))
            throw ParseError{line, columns.indexName + " " + IndexText(columns.indices[row]) +
                                       " lies more than half a step off the even grid (step " +
                                       IndexText(grid_.step) +
                                       "); --step puts every sample on the nearest grid point"};
    } else if (row > 0 && columns.indices[row] < columns.indices[row - 1]) {
        throw ParseError{line, columns.indexName + " " + IndexText(columns.indices[row]) + " goes back"};
    }
    const std::int64_t place = nearest ? std::llround(offset / grid_.step) : static_cast<std::int64_t>(row);
    if (grid_.firstIndex + place * grid_.step > largestIndex)
        throw ParseError{line, columns.indexName + " " + IndexText(columns.indices[row]) +
                                   " is beyond 32 bits of hundredths"};
    const bool samePlace = !rows_.empty() && rows_.back() == place;
    if (samePlace) {
        // Of several samples for one grid point the nearest stays.
        const auto distance = [&](double index) {
            return std::abs(index - columns.indices.front() - static_cast<double>(place) * grid_.step);
        };
        if (distance(columns.indices[row]) >= distance(columns.indices[keptRow_]))
            return;
    } else {
        rows_.push_back(place);
    }
    keptRow_ = row;
    for (std::vector<float>& column : values_)
        column[rows_.size() - 1] = column[row];
}

void LogTable::Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
                    std::uint8_t* present) {
    std::fill_n(values, count, 0.0F);
    std::fill_n(present, count, std::uint8_t{0});
    const std::vector<float>& column = values_[curve];
    auto stored =
        static_cast<std::size_t>(std::lower_bound(rows_.begin(), rows_.end(), firstRow) - rows_.begin());
    for (; stored < rows_.size() && rows_[stored] < firstRow + count; ++stored) {
        if (std::isnan(column[stored]))
            continue;
        values[rows_[stored] - firstRow] = column[stored];
        present[rows_[stored] - firstRow] = 1;
    }
}

std::int64_t LogTable::NextRow(std::int64_t row) const {
    const auto found = std::lower_bound(rows_.begin(), rows_.end(), row);
    return found == rows_.end() ? grid_.rowCount : *found;
}

void LogTable::AddSingleValue(const CurveDescription& description, float value) {
    curves_.push_back(description);
    values_.emplace_back(rows_.size(), gap).front() = value;
}

}  // namespace vorela
