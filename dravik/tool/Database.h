// The tool's use of the database library: guards over its handles, its status codes as errors, and how a
// whole dataset is written.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "interfaces/DKBase.h"
#include "interfaces/ItemSamples.h"

namespace dravik {

/// Samples moved by one call of the library.
inline constexpr std::int64_t blockRows = 65536;

/// An item's information block, unpacked.
struct ItemInformation {
    std::int16_t indexKind = 0;
    std::int16_t step = 0;
    std::string unit;
    float scale = 1.0F;
    float offset = 0.0F;
    vorela::ItemShape shape;  ///< what one sample is
    std::int32_t gridFirst = 0;
    std::int32_t validFirst = 0;
    std::int32_t validLast = -1;
    std::string made;
    std::int32_t first = 0;
    std::int32_t last = -1;  ///< before `first` for an empty curve

    bool IsEmpty() const { return last < first; }
    std::int64_t RowCount() const { return IsEmpty() ? 0 : (std::int64_t{last} - first) / step + 1; }
};
ItemInformation UnpackInformation(const void* block);

/// A curve (or record) of a dataset with the name that users type: "ZG" for the item "/ZG/1".
struct NamedItem {
    std::string name;
    ItemInformation information;
};

enum class OpenMode { readOnly = DK_OPEN_READ_ONLY, existing = DK_OPEN_EXISTING, create = DK_OPEN_CREATE };

/// An open database. Every call that fails throws ToolError with the file and what the library had to say.
class Database {
  public:
    /// A database that this call has made stays, whatever becomes of the command: from its first moment it
    /// may be somebody else's too.
    Database(std::string path, OpenMode mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& Path() const { return path_; }
    std::int32_t Handle() const { return handle_; }

    /// Throws ToolError "<path>: <what>: <status>" unless `status` is DK_OK.
    void Check(std::int32_t status, const std::string& what) const;

    std::vector<NamedItem> Datasets() const;
    /// Curves and records of a dataset in order of creation; throws when there is no such dataset.
    std::vector<NamedItem> Items(const std::string& dataset) const;
    std::vector<NamedItem> Curves(const std::string& dataset) const;
    bool HasDataset(const std::string& dataset) const;

    void Create(const std::string& itemPath, const DBNewItem& attributes);
    void Delete(const std::string& itemPath);

  private:
    std::vector<NamedItem> Enumerate(const char* dataset) const;

    std::string path_;
    std::int32_t handle_ = 0;
};

/// The right to record a dataset: one process at a time, until it ends.
class RecordingClaim {
  public:
    /// Throws ToolError naming dataset and process when another recorder has it.
    RecordingClaim(const Database& database, const std::string& dataset);
    ~RecordingClaim() { DBunclaim(claim_); }
    RecordingClaim(const RecordingClaim&) = delete;
    RecordingClaim& operator=(const RecordingClaim&) = delete;

  private:
    std::int32_t claim_ = 0;
};

/// One transaction; rolled back unless committed.
class Transaction {
  public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

  private:
    Database& database_;
    bool open_ = true;
};

/// An attached item.
class Item {
  public:
    Item(const Database& database, const std::string& path);
    ~Item();
    Item(Item&& other) noexcept;
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    Item& operator=(Item&&) = delete;

    std::int32_t Handle() const { return handle_; }
    const ItemInformation& Information() const { return information_; }
    void ReadPresent(std::int32_t first, std::int64_t count, float* values, std::uint8_t* present) const;
    void WritePresent(std::int32_t first, std::int64_t count, const float* values,
                      const std::uint8_t* present);
    /// Sample 0 of a record of at least `wanted` bytes, in its whole length.
    std::vector<std::byte> ReadWholeRecord(std::size_t wanted) const;
    void Write(std::int32_t first, std::int64_t count, const void* samples);

  private:
    const Database& database_;
    std::string path_;
    std::int32_t handle_ = 0;
    ItemInformation information_;
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

/// Sets or clears the flag and leaves the rest of the record as it is.
void SetRecording(Database& database, const std::string& dataset, bool recording);

/// Throws ToolError for a name that is empty, over 66 characters, or holds a slash or control characters.
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
