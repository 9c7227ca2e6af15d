// Bringing files of other formats in: plan, grid, one transaction for each file.
#pragma once

#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/GriddedSource.h"
#include "dravik/exchange/Plan.h"

namespace dravik {

struct ImportRequest {
    std::string database;
    std::vector<std::string> files;
    std::string dataset;  ///< empty: the file's base name
    bool replace = false;
    bool merge = false;   ///< into a dataset that exists, on its grid
    bool dryRun = false;  ///< the plan is told, nothing is written
    std::string json;     ///< file for the plans, "-" for standard output; empty: none
    Choices choices;
};

/// Of a refused or stopped file nothing is left, the files before it stay. False when a dry run found a file
/// that cannot be imported. Throws ToolError and UsageError.
bool Import(const ImportRequest& request);

/// A file ready to be played in. Throws ToolError with what forbids it.
GriddedSource OpenSource(const std::string& file, const Choices& choices);

}  // namespace dravik
