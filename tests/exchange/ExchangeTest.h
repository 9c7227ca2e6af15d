// Files of a test's own, their plan in one line, and their curves.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "dravik/exchange/GriddedSource.h"
#include "dravik/exchange/PlanReport.h"

namespace dravik {

inline ImportPlan PlanOf(const std::string& bytes, const Choices& choices = {}) {
    const auto path =
        std::filesystem::temp_directory_path() / ("exchange_" + std::to_string(::getpid()) + ".txt");
    std::ofstream(path, std::ios::binary) << bytes;
    return PlanImport(path.string(), choices);
}

/// "0,0.5\n1,1.5\n" ... under the given separator.
inline std::string RowsOf(int count, const std::string& separator = ",") {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += std::to_string(i) + separator + std::to_string(i) + ".5\n";
    return text;
}

/// The first problem, or "separator decimal|curves with units|time columns, format|grid", with the start.
inline std::string Summary(const ImportPlan& plan) {
    if (!plan.problems.empty())
        return plan.problems.front();
    std::string text = (plan.separator == "\t" ? "tab" : plan.separator) + plan.decimal + "|";
    for (const PlannedColumn& column : plan.columns) {
        if (column.role == ColumnRole::curve)
            text += column.name + (column.unit.empty() ? "" : "(" + column.unit + ")") + " ";
    }
    text += "|";
    for (const std::string& column : plan.timeColumns)
        text += column + " ";
    text += plan.dateOrder + plan.timeUnit + "|" + std::to_string(plan.grid.firstIndex) + "+" +
            std::to_string(plan.grid.step) + "x" + std::to_string(plan.grid.rows);
    return text + (plan.start ? "|" + DateText(*plan.start) : "");
}

inline bool Tells(const ImportPlan& plan, const std::string& words) {
    if (words.empty())
        return true;
    for (const auto* texts : {&plan.notes, &plan.problems}) {
        for (const std::string& text : *texts) {
            if (text.find(words) != std::string::npos)
                return true;
        }
    }
    return false;
}

constexpr float noSample = -7777.0F;

/// A curve read in blocks of `block` rows; gaps are noSample.
inline std::vector<float> CurveOf(const ImportPlan& plan, std::size_t curve, std::int64_t block = 65536) {
    EXPECT_TRUE(plan.CanImport()) << PlanText(plan);
    if (!plan.CanImport())
        return {};
    GriddedSource source(plan);
    std::vector<float> values(static_cast<std::size_t>(source.Grid().rowCount));
    std::vector<std::uint8_t> present(values.size());
    for (std::int64_t row = 0; row < source.Grid().rowCount; row += block)
        source.Read(curve, row, std::min(block, source.Grid().rowCount - row), values.data() + row,
                    present.data() + row);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = present[i] != 0 ? values[i] : noSample;
    return values;
}

}  // namespace dravik
