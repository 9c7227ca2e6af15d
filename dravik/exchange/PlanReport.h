// A plan as users and programs read it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "dravik/exchange/Plan.h"

namespace dravik {

/// Everything found, a line each; notes and problems last.
std::string PlanText(const ImportPlan& plan);

/// The same as one object.
nlohmann::ordered_json PlanJson(const ImportPlan& plan);

/// What an import did, in one line.
std::string ImportLine(const ImportPlan& plan);

/// Up to five lines: file, then each problem with the option that settles it.
std::string RefusalText(const ImportPlan& plan);

}  // namespace dravik
