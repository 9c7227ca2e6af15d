// A database by the names that users type, and how a whole dataset is written into it. Everything works
// through the one client of the database library and throws vorela::DatabaseError where a call of it fails.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "interfaces/DKBase.h"
#include "platform/DatabaseClient.h"

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

/// The dataset's presentation record, 32 packed bytes: 16-bit at 0 recording flag, at 2 index kind, at 4
/// number of tracks; 32-bit at 6 start of the recording (Unix seconds), at 10 and 14 default x-range
/// (seconds, or feet); 14 characters at 18 tool string, blank-padded.
struct PresentationRecord {
    bool recording = false;
    std::int16_t indexKind = DK_INDEX_TIME;
    std::int16_t trackCount = 2;
    std::int32_t recordingStart = 0;
    std::int32_t rangeStart = 0;
    std::int32_t rangeEnd = 0;
    std::string toolString;
};
std::array<unsigned char, 32> PackPresentation(const PresentationRecord& record);
/// With a range over the whole grid.
PresentationRecord PresentationOf(const CurveGrid& grid, std::int32_t recordingStart, std::string toolString);
void WritePresentation(Database& database, const std::string& dataset, const PresentationRecord& record);
/// The recording flag of a dataset that has a presentation record; false without one.
bool IsRecording(const Database& database, const std::string& dataset);

/// When the recording of a dataset began, Unix seconds.
std::int32_t RecordingStart(const Database& database, const std::string& dataset);

/// What recorded a dataset, without blanks at the end.
std::string ToolString(const Database& database, const std::string& dataset);

/// Sets or clears the flag and leaves the rest of the record as it is.
void SetRecording(Database& database, const std::string& dataset, bool recording);

/// Throws DatasetError for a name that is empty, over 66 characters, or holds a slash or control characters.
void CheckDatasetName(const std::string& dataset);

/// Creates the curves of `source` (empty) and the presentation record, the depth curve last: the first curve
/// of a dataset stands for its extent. An existing dataset is refused, or deleted first when `replace` is
/// set.
void CreateDataset(Database& database, const std::string& dataset, const CurveSource& source,
                   const PresentationRecord& presentation, bool replace);
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
