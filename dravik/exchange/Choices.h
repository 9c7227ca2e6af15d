// What a user may settle about a file; whatever is left open is found.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Stamp.h"

namespace dravik {

struct LineRange {
    std::size_t first = 0;
    std::size_t last = 0;
};

/// A column to take, by its name in the file or "#n" (from 1), with another name and unit if given.
struct CurveChoice {
    std::string column;
    std::string name;
    std::string unit;
    bool convert = false;  ///< a pressure to psi
};

/// The even grid of a dataset that a file's curves join.
struct TargetGrid {
    std::int16_t indexKind = 1;  ///< DK_INDEX_...
    std::int16_t step = 0;
    std::int32_t firstIndex = 0;
    double start = 0.0;  ///< start of recording, Unix seconds
    bool hasStart = false;
    bool knowsZone = false;          ///< whether the zone of its start is known, none included
    std::optional<int> zoneMinutes;  ///< east of Greenwich
};

struct Choices {
    // reading
    std::optional<char> separator;  ///< a blank: any run of blanks and tabs
    std::optional<char> decimal;
    std::string encoding;            ///< iconv's name
    std::size_t headerLine = 0;      ///< line of the names
    std::vector<std::string> names;  ///< of the columns, in place of the file's
    std::vector<LineRange> leaveOut;
    std::vector<std::string> time;  ///< columns
    std::string timeUnit;           ///< s ms min h d ft m
    std::string timeFormat;
    std::optional<DateOrder> dateOrder;
    std::vector<std::string> nulls;
    // taking
    std::vector<CurveChoice> curves;  ///< empty: every column of numbers
    bool convert = false;             ///< pressures to psi
    std::optional<double> depth;      ///< ft
    // gridding
    std::optional<std::int16_t> step;  ///< index units
    double fill = 0.0;                 ///< longest gap to bridge, s (ft)
    double shift = 0.0;                ///< added to the file's times, s (ft)
    std::optional<std::int16_t> indexKind;
    std::optional<TargetGrid> target;

    bool LeavesOut(std::size_t line) const {
        for (const LineRange& range : leaveOut) {
            if (line >= range.first && line <= range.last)
                return true;
        }
        return false;
    }
};

}  // namespace dravik
