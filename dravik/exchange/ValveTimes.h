// Where a valve changes: a list of times, the crossings of a recorded curve, its codes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/ValveSchedule.h"

namespace dravik {

/// A file of one time a line, in seconds or as dates (`start`: the dataset's, Unix seconds), with a code 1 or
/// 3 behind if wanted; else they alternate, 3 first. Throws DatasetError with the line.
std::vector<ValveChange> ReadValveTimes(const std::string& file, std::int32_t start);

struct Threshold {
    double value = 0.0;
    double hysteresis = 0.0;  ///< width of the band round it that a change has to leave
    bool invert = false;
};
/// Code 3 where the curve rises through the threshold, 1 where it falls, interpolated to 0.01 s.
std::vector<ValveChange> FindCrossings(const Item& curve, const Threshold& threshold);

/// Which values of a curve of codes stand for 3 and for 1.
struct CodeMap {
    float three = 3.0F;
    float one = 1.0F;
};
std::vector<ValveChange> FindCodeChanges(const Item& curve, const CodeMap& map);

}  // namespace dravik
