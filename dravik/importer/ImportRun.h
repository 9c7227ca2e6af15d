// Carrying a planned import out.
#pragma once

#include <string>
#include <vector>

#include "dravik/exchange/Plan.h"
#include "dravik/importer/modImport.h"

namespace dravik {

struct Imported {
    std::string database;
    std::vector<std::string> datasets;  ///< made or joined, in the order of the files
    std::vector<std::string> lines;     ///< what was done, a line a file
};

/// All files and their valve curves in one transaction: the first file of a dataset makes it, further ones
/// join it. Throws DatasetError, DatabaseError or ExchangeError for what the database or a file refuses and
/// ImportStopped when `progress` says so; then the database is as it was, and a new one is not there.
Imported RunImport(const ImportSettings& settings, const JobPlan& job, const Progress& progress = {});

}  // namespace dravik
