// Plan and import of files of any format: the first byte makes choices, the rest is the file.
#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "dravik/exchange/GriddedSource.h"
#include "dravik/exchange/PlanReport.h"
#include "fuzz/FuzzTarget.h"

namespace {

using namespace dravik;
using vorela::fuzz::Require;

Choices ChoicesOf(std::uint8_t byte) {
    Choices choices;
    if ((byte & 1) != 0)
        choices.step = static_cast<std::int16_t>(1 + (byte >> 4) * 50);
    if ((byte & 2) != 0)
        choices.fill = 10.0;
    if ((byte & 4) != 0)
        choices.convert = true;
    if ((byte & 8) != 0)
        choices.timeUnit = "s";
    return choices;
}

void CheckPlan(const ImportPlan& plan) {
    PlanJson(plan).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    Require(!PlanText(plan).empty(), "a plan can be told");
    std::set<std::string> names;
    for (const PlannedColumn& column : plan.columns) {
        if (column.role != ColumnRole::curve)
            continue;
        Require(!column.name.empty() && column.name.find('/') == std::string::npos &&
                    names.insert(column.name).second,
                "names can be curves of a dataset");
    }
    Require(!plan.CanImport() || (plan.grid.step > 0 && plan.grid.rows > 0), "a plan has a grid");
}

/// `other`: the same plan, made and read the long way.
void CheckSource(const ImportPlan& plan, const ImportPlan& other) {
    GriddedSource source(plan);
    GriddedSource otherSource(other);
    constexpr std::int64_t block = 64;
    constexpr int mostBlocks = 50;  // a few far apart rows make a grid of any length
    std::vector<float> values(block);
    std::vector<std::uint8_t> present(block);
    std::vector<float> otherValues(block);
    std::vector<std::uint8_t> otherPresent(block);
    int blocks = 0;
    for (std::int64_t row = 0; row < source.Grid().rowCount && ++blocks < mostBlocks;
         row = source.NextRow(row + block)) {
        const std::int64_t count = std::min(block, source.Grid().rowCount - row);
        for (std::size_t curve = 0; curve < source.Curves().size(); ++curve) {
            source.Read(curve, row, count, values.data(), present.data());
            otherSource.Read(curve, row, count, otherValues.data(), otherPresent.data());
            Require(values == otherValues && present == otherPresent, "plain rows are read like any other");
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
                Require(present[i] != 0 ? std::isfinite(values[i]) : values[i] == 0.0F,
                        "a sample is a number, a gap is 0");
        }
        Require(source.NextRow(row + block) >= row + block || row + block >= source.Grid().rowCount,
                "rows go forward");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    static const vorela::fuzz::Scratch scratch;
    const std::string path = scratch.Put("file", {reinterpret_cast<const char*>(data) + 1, size - 1});
    Choices choices = ChoicesOf(data[0]);
    const ImportPlan plan = PlanImport(path, choices);
    CheckPlan(plan);
    choices.nulls = {"a text that no file holds"};  // every cell must be looked at for it
    const ImportPlan other = PlanImport(path, choices);
    Require(PlanText(plan) == PlanText(other), "plain rows are planned like any other");
    if (plan.CanImport())
        CheckSource(plan, other);
    return 0;
}
