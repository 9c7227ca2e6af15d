#include "dravik/exchange/TableWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/Stamp.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

constexpr std::int64_t exportRows = 4096;

/// Reads all curves of a source block by block and hands over row by row.
class RowWalker {
  public:
    explicit RowWalker(CurveSource& source)
        : source_(source),
          values_(source.Curves().size(), std::vector<float>(exportRows)),
          present_(source.Curves().size(), std::vector<std::uint8_t>(exportRows)) {}

    /// `block(count, firstRow)` after each block has been read.
    template <typename Block>
    void Walk(Block&& block) {
        for (std::int64_t row = 0; row < source_.Grid().rowCount; row += exportRows) {
            const std::int64_t count = std::min(exportRows, source_.Grid().rowCount - row);
            for (std::size_t curve = 0; curve < values_.size(); ++curve)
                source_.Read(curve, row, count, values_[curve].data(), present_[curve].data());
            block(row, count);
        }
    }
    /// A line a row: `appendIndex(text, index)`, then `appendCell(text, curve, value)` for every curve, the
    /// value null where there is none.
    template <typename AppendIndex, typename AppendCell>
    void WriteRows(const TextSink& sink, AppendIndex&& appendIndex, AppendCell&& appendCell) {
        std::string text;
        Walk([&](std::int64_t firstRow, std::int64_t count) {
            text.clear();
            for (std::int64_t i = 0; i < count; ++i) {
                appendIndex(text, source_.Grid().IndexOf(firstRow + i));
                for (std::size_t curve = 0; curve < values_.size(); ++curve)
                    appendCell(text, curve,
                               Has(curve, i) ? &values_[curve][static_cast<std::size_t>(i)] : nullptr);
                text += '\n';
            }
            sink(text);
        });
    }
    bool Has(std::size_t curve, std::int64_t i) const {
        return present_[curve][static_cast<std::size_t>(i)] != 0;
    }
    float Value(std::size_t curve, std::int64_t i) const {
        return values_[curve][static_cast<std::size_t>(i)];
    }

  private:
    CurveSource& source_;
    std::vector<std::vector<float>> values_;
    std::vector<std::vector<std::uint8_t>> present_;
};

std::string HeaderLine(const std::string& first, const CurveSource& source,
                       std::string CurveDescription::*field) {
    std::string line = first;
    for (const CurveDescription& curve : source.Curves()) {
        const std::string& cell = curve.*field;
        if (cell.find_first_of(",\r\n") != std::string::npos)
            throw ExchangeError("curve " + curve.name + ": a CSV file cannot hold its name or unit \"" +
                                cell + "\"");
        line += "," + cell;
    }
    return line + "\n";
}

/// A NULL value that is no sample of the source.
float FreeNullValue(CurveSource& source) {
    constexpr std::array<float, 4> candidates{-999.25F, -9999.25F, -999999.25F, -1e30F};
    std::array<bool, candidates.size()> taken{};
    RowWalker rows(source);
    rows.Walk([&](std::int64_t, std::int64_t count) {
        for (std::size_t curve = 0; curve < source.Curves().size(); ++curve) {
            for (std::int64_t i = 0; i < count; ++i) {
                for (std::size_t c = 0; c < candidates.size(); ++c)
                    taken[c] = taken[c] || (rows.Has(curve, i) && rows.Value(curve, i) == candidates[c]);
            }
        }
    });
    const auto free = std::find(taken.begin(), taken.end(), false);
    if (free == taken.end())
        throw ExchangeError("every NULL value of a LAS file occurs among the samples; export as CSV");
    return candidates[static_cast<std::size_t>(free - taken.begin())];
}

std::string LasLine(const std::string& mnemonic, const std::string& unit, const std::string& data,
                    const std::string& description) {
    return mnemonic + "." + unit + " " + data + " : " + description + "\n";
}

std::string LasHeader(const CurveSource& source, const std::string& dataset, bool wrapped, float nullValue) {
    const CurveGrid& grid = source.Grid();
    const bool isTime = grid.indexKind == DK_INDEX_TIME;
    const std::string unit = isTime ? "S" : "FT";
    const auto index = [](std::int64_t hundredths) {
        std::string text;
        AppendHundredths(text, hundredths);
        return text;
    };
    std::string nullText;
    AppendSample(nullText, nullValue);
    std::string text = "~Version\n" + LasLine("VERS", "", "2.0", "CWLS LOG ASCII STANDARD - VERSION 2.0") +
                       LasLine("WRAP", "", wrapped ? "YES" : "NO",
                               wrapped ? "several lines for each step" : "one line for each step") +
                       "~Well\n" + LasLine("STRT", unit, index(grid.firstIndex), "first index") +
                       LasLine("STOP", unit, index(grid.IndexOf(grid.rowCount - 1)), "last index") +
                       LasLine("STEP", unit, index(grid.step), "step") +
                       LasLine("NULL", "", nullText, "no sample") + LasLine("WELL", "", dataset, "dataset") +
                       "~Curve\n" + LasLine(isTime ? "TIME" : "DEPT", unit, "", "index");
    for (const CurveDescription& curve : source.Curves()) {
        // A line that begins with # or ~ is a remark or a section.
        if (curve.name.find_first_of(".: \t") != std::string::npos || curve.name.find_first_of("#~") == 0 ||
            curve.unit.find_first_of(": \t\r\n") != std::string::npos)
            throw ExchangeError("curve " + curve.name + ": a LAS file cannot hold its name or unit \"" +
                                curve.unit + "\"");
        text += LasLine(curve.name, curve.unit, "", "");
    }
    return text + "~A\n";
}

}  // namespace

void AppendSample(std::string& text, float value) {
    if (std::isnan(value)) {
        text += "NaN";
        return;
    }
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    text.append(buffer.data(), result.ptr);
}

void AppendHundredths(std::string& text, std::int64_t hundredths) {
    if (hundredths < 0)
        text += '-';
    const std::int64_t size = std::abs(hundredths);
    text += std::to_string(size / 100);
    text += '.';
    text += static_cast<char>('0' + size % 100 / 10);
    text += static_cast<char>('0' + size % 10);
}

void WriteCsv(CurveSource& source, const TextSink& sink, std::optional<std::int32_t> start) {
    const bool isTime = source.Grid().indexKind == DK_INDEX_TIME;
    const bool asDates = isTime && start;
    sink(HeaderLine(isTime ? "TIME" : "DEPTH", source, &CurveDescription::name));
    sink(HeaderLine(asDates ? "" : isTime ? "s" : "ft", source, &CurveDescription::unit));
    const auto appendIndex = [&](std::string& text, std::int32_t index) {
        if (asDates)
            text += DateText(*start + index / indexPerUnit);
        else
            AppendHundredths(text, index);
    };
    RowWalker(source).WriteRows(sink, appendIndex, [](std::string& text, std::size_t, const float* value) {
        text += ',';
        if (value != nullptr)
            AppendSample(text, *value);
    });
}

void WriteLas(CurveSource& source, const std::string& dataset, bool wrapped, const TextSink& sink) {
    constexpr std::size_t lineValues = 5;  // keeps wrapped lines below the format's 80 characters
    const float nullValue = FreeNullValue(source);
    sink(LasHeader(source, dataset, wrapped, nullValue));
    RowWalker(source).WriteRows(
        sink, AppendHundredths, [&](std::string& text, std::size_t curve, const float* value) {
            text += wrapped && curve % lineValues == 0 ? '\n' : ' ';
            AppendSample(text, value != nullptr && !std::isnan(*value) ? *value : nullValue);
        });
}

}  // namespace dravik
