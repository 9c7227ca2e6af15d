// The exact results as an object of the JSON document of vorela-batch.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "analysis/ExactTypes.h"

namespace vorela {

nlohmann::ordered_json ExactJson(const ExactResults& results);

}  // namespace vorela
