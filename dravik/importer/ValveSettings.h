// Where the valve curves of an imported dataset come from.
#pragma once

#include <optional>
#include <string>

#include "dravik/exchange/ValveCurves.h"
#include "dravik/importer/modImport.h"

namespace dravik {

/// Adds what forbids the import with these controls, and what a dataset without a valve lacks.
void CheckValve(const ValveControls& valve, JobPlan& job);

/// Of a dataset of a job that CheckValve let pass; nothing where the valve is as recorded.
std::optional<ValveRequest> ValveOf(const ValveControls& valve, const JobPlan& job,
                                    const std::string& dataset);

/// Where a dataset's valve may come from with what its files hold: a position that no tool recorded makes its
/// curves by a threshold.
ValveWay SuggestedWay(const JobPlan& job, const std::string& dataset);

/// The curve that crosses the threshold, and the middle of its range: what stands behind "automatic: ".
struct ThresholdFound {
    std::string curve;
    double middle = 0.0;
};
ThresholdFound FindThreshold(const ValveControls& valve, const JobPlan& job, const std::string& dataset);

}  // namespace dravik
