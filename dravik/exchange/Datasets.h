// A database by the names that users type, and how a whole dataset is written into it. Everything works
// through the one client of the database library and throws vorela::DatabaseError where a call of it fails.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "interfaces/DKBase.h"
#include "platform/DatabaseClient.h"
#include "platform/Presentation.h"

namespace dravik {

/// The database refuses, or what is asked for is not in it: one line that names the file, dataset or curve.
struct DatasetError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Samples moved by one call of the library.
inline constexpr std::int64_t blockRows = 65536;

using vorela::Database;
using vorela::Item;
using vorela::ItemInfo;
using vorela::OpenMode;
using vorela::Transaction;

/// A curve (or record) of a dataset with the name that users type: "ZG" for the item "/ZG/1".
struct NamedItem {
    std::string name;
    ItemInfo information;
};

/// "<file>: <item> <what failed>: <status>".
std::string FailureText(const vorela::DatabaseError& error);

/// Throws DatasetError for a file that is not there. A database that this call has made stays, whatever
/// becomes of the command: from its first moment it may be somebody else's too.
Database OpenDatabase(const std::string& path, OpenMode mode);

std::vector<NamedItem> DatasetsOf(const Database& database);
/// Curves and records of a dataset in order of creation; throws when there is no such dataset.
std::vector<NamedItem> ItemsOf(const Database& database, const std::string& dataset);
std::vector<NamedItem> CurvesOf(const Database& database, const std::string& dataset);
bool HasDataset(const Database& database, const std::string& dataset);

/// The right to record a dataset: one process at a time, until it ends.
class RecordingClaim {
  public:
    /// Throws DatasetError naming dataset and process when another recorder has it.
    RecordingClaim(const Database& database, const std::string& dataset);
    ~RecordingClaim();
    RecordingClaim(const RecordingClaim&) = delete;
    RecordingClaim& operator=(const RecordingClaim&) = delete;

  private:
    std::int32_t claim_ = 0;
};

/// "LEVEL1/ZG/1".
std::string CurvePath(const std::string& dataset, const std::string& curve);

using vorela::Presentation;

/// With a range over the whole grid.
Presentation PresentationOf(const CurveGrid& grid, std::int32_t recordingStart, std::string toolString);
Presentation ReadPresentation(const Database& database, const std::string& dataset);
void WritePresentation(Database& database, const std::string& dataset, const Presentation& presentation);
/// The recording flag of a dataset that has a presentation record; false without one.
bool IsRecording(const Database& database, const std::string& dataset);

/// Sets or clears the flag and leaves the rest of the record as it is.
void SetRecording(Database& database, const std::string& dataset, bool recording);

/// Throws DatasetError for a name that is empty, over 66 characters, or holds a slash or control characters.
void CheckDatasetName(const std::string& dataset);

/// Creates the curves of `source` (empty) and the presentation record, the depth curve last: the first curve
/// of a dataset stands for its extent. An existing dataset is refused, or deleted first when `replace` is
/// set.
void CreateDataset(Database& database, const std::string& dataset, const CurveSource& source,
                   const Presentation& presentation, bool replace);
/// Creates empty curves in a dataset that may exist.
void CreateCurves(Database& database, const std::string& dataset, const CurveGrid& grid,
                  const std::vector<CurveDescription>& curves);

/// Writes rows of a source into a dataset's curves, block by block.
class DatasetWriter {
  public:
    DatasetWriter(Database& database, const std::string& dataset, CurveSource& source);
    /// Rows [first, end).
    void WriteRows(std::int64_t first, std::int64_t end);

  private:
    CurveSource& source_;
    std::vector<Item> items_;
    std::vector<float> values_;
    std::vector<std::uint8_t> present_;
};

}  // namespace dravik
