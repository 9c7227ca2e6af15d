// The valve curves PVLPOS, PVLID, PVLIDT and PVLT of a dataset that was recorded without them.
#pragma once

#include <optional>
#include <string>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/ValveTimes.h"

namespace dravik {

/// Where the valve's changes come from: one of period, times, from and codes is given.
struct ValveRequest {
    std::string database;
    std::string dataset;
    std::optional<double> periodSeconds;
    std::string times;  ///< file of times
    std::string from;   ///< curve that crosses the threshold
    Threshold threshold;
    std::string codes;  ///< curve of codes
    CodeMap map;
    std::optional<double> firstSeconds;  ///< time of the first boundary; nothing: the record's first sample
    bool replace = false;
};

/// Adds the four curves to an open database, within the caller's transaction. Throws DatasetError for a
/// dataset recorded against depth, without samples, or with valve curves that are not to be replaced.
void AddValveCurves(Database& database, const ValveRequest& request);

}  // namespace dravik
