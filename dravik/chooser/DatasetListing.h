// What the chooser shows of a database: its datasets. No window here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dravik {

struct DatasetListing {
    std::string name;
    std::int16_t indexKind = 0;           ///< DK_INDEX_DEPTH or DK_INDEX_TIME
    std::optional<double> depth;          ///< of the tool, ft: first sample of the depth curve
    std::optional<std::int64_t> started;  ///< start of recording, Unix seconds
    std::optional<double> length;         ///< seconds, or feet of a depth-driven dataset
    bool recording = false;
    bool damaged = false;  ///< only the name is known
};

/// The datasets of a database file in order of creation. Nothing, with `problem` set, when it cannot be read;
/// the file is opened for reading only.
std::optional<std::vector<DatasetListing>> ListDatasets(const std::string& path, std::string& problem);

/// Database files chosen from before, the latest first; those that have gone are left out. $DRAVIK_DATABASE,
/// when set, comes first.
std::vector<std::string> RecentDatabases();
void RememberDatabase(const std::string& path);

}  // namespace dravik
