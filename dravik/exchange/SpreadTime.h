// The columns of a head that make one time together: Day Month Year Hour Min Sec and kin.
#pragma once

#include <optional>
#include <vector>

#include "dravik/exchange/StampParts.h"
#include "dravik/exchange/TimeColumns.h"

namespace dravik {

struct SpreadTime {
    std::vector<std::size_t> columns;  ///< coarsest first; empty where none make a time
    std::vector<StampPart> parts;      ///< one a column
    bool descending = false;           ///< the times fall from row to row
    bool changes = false;
    /// Where the parts make no whole time: those beside a coarser one, which alone may not be the time.
    std::vector<std::size_t> doubtful;
    bool yearAlone = false;  ///< a year without month and day
};

/// Names and numbers decide: whole numbers in the range of their part, times that go one way.
SpreadTime FindSpreadTime(const HeadColumns& head);

/// The columns as parts, where the name of each that holds numbers tells one; nothing otherwise.
std::optional<SpreadTime> AsSpreadTime(const HeadColumns& head, const std::vector<std::size_t>& columns);

}  // namespace dravik
