// Log files: the first byte says which format and whether samples go on a given grid; the rest is the file.
#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "dravik/include/DKBase.h"
#include "dravik/tool/LogTable.h"
#include "fuzz/FuzzTarget.h"

namespace {

using namespace vorela;
using fuzz::Require;

void CheckError(const ParseError& error, std::string_view bytes) {
    Require(!error.message.empty(), "a refusal says why");
    Require(error.line <= static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n')) + 1,
            "the line named is in the file");
}

void CheckTable(LogTable& table) {
    const CurveGrid& grid = table.Grid();
    Require(grid.step > 0 && grid.rowCount > 0, "a table has a step and rows");
    Require(grid.firstIndex + (grid.rowCount - 1) * grid.step <= INT32_MAX,
            "every row has an index of 32 bits");
    std::set<std::string> names;
    for (const CurveDescription& curve : table.Curves()) {
        Require(!curve.name.empty() && curve.name.size() <= longestCurveName &&
                    curve.name.find('/') == std::string::npos && names.insert(curve.name).second,
                "names can be curves of a dataset");
        Require(std::isfinite(curve.scale) && std::isfinite(curve.offset), "scale and offset are numbers");
    }
    constexpr std::int64_t block = 64;
    constexpr int mostBlocks = 200;  // a few far apart rows make a table of any length
    std::vector<float> values(block);
    std::vector<std::uint8_t> present(block);
    int blocks = 0;
    for (std::int64_t row = 0; row < grid.rowCount && ++blocks < mostBlocks;
         row = table.NextRow(row + block)) {
        const std::int64_t count = std::min(block, grid.rowCount - row);
        for (std::size_t curve = 0; curve < table.Curves().size(); ++curve) {
            table.Read(curve, row, count, values.data(), present.data());
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
                Require(present[i] != 0 ? std::isfinite(values[i]) : values[i] == 0.0F,
                        "a sample is a number, a gap is 0");
        }
        Require(table.NextRow(row + block) >= row + block || row + block >= grid.rowCount, "rows go forward");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    ParseOptions options;
    if ((data[0] & 2) != 0)
        options.step = static_cast<std::int16_t>(1 + (data[0] >> 3) * 50);
    if ((data[0] & 4) != 0)
        options.indexKind = DK_INDEX_TIME;
    ParseResult result = (data[0] & 1) != 0 ? ParseLas(bytes, options) : ParseCsv(bytes, options);
    if (const auto* error = std::get_if<ParseError>(&result))
        CheckError(*error, bytes);
    else
        CheckTable(std::get<LogTable>(result));
    return 0;
}
