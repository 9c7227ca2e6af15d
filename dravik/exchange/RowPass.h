// The one pass of a plan over all rows of a file.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "dravik/exchange/ColumnStatistics.h"
#include "dravik/exchange/Plan.h"
#include "dravik/exchange/TimeBase.h"

namespace dravik {

/// What the rows tell.
struct RowPassResult {
    std::size_t rows = 0;
    std::vector<ColumnStatistics> columns;
    DateOrderSet orders = 0;  ///< still possible
    bool ordersAgree = true;  ///< all of them give the same differences
    std::array<TimeBaseSummary, dateOrders> times{};
    std::array<double, dateOrders> zero{};  ///< s (ft): the file time that becomes index 0
    std::array<std::optional<double>, dateOrders> start{};
    TimeReader::State last;
    bool hasDate = false;
    bool hasZone = false;
    bool minutesOnly = false;  ///< clocks mm:ss.f
    std::vector<Checkpoint> checkpoints;
    std::vector<std::string> problems;
    std::vector<std::string> notes;
    std::vector<LeftOut> leftOut;
    std::size_t droppedRows = 0;
};

RowPassResult PassOverRows(const TextFile& file, const ReadingRules& rules, std::size_t columns,
                           const Choices& choices, const Progress& progress);

}  // namespace dravik
