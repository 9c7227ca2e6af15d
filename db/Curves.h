// Reading and writing curves of the database in blocks: the reader that gives a curve's value at any index,
// the writer of derived curves. Functions here throw RunTimeError (57 device I/O with the curve and the
// status text for a failing library call); they are used inside a guarded body.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/DatabaseClient.h"

namespace vorela {

/// The database file and its folder, where the journal goes, let this user write.
bool IsWritable(const std::string& databasePath);

/// A database as a pass opens it: the database message box when it cannot be opened or closed, and the pass
/// ends there. Whoever throws anyway opens Database itself, whose error names the file: one report either
/// way.
class DravikDatabase final : public Database {
  public:
    explicit DravikDatabase(const std::string& path);
    ~DravikDatabase();
    /// Closes now; false after the message box.
    bool Close();
};

/// What a curve's value between two samples is.
enum class Between { linear, sampleBefore };

/// A curve read in blocks of its grid. Index = hundredths of a second. The reader sees the curve as long as
/// it was when it was attached, whatever a recorder appends meanwhile.
class CurveReader {
  public:
    CurveReader(const Database& database, const std::string& dataset, const std::string& curve,
                Between between);
    const ItemInfo& Info() const { return item_.Info(); }
    const std::string& Path() const { return item_.Path(); }

    /// The value at an index: linear between neighbours, or the sample before; nothing where a sample that it
    /// needs is a gap, or before the first or beyond the last sample. Values are single-precision samples;
    /// the interpolation is in double. Any order of indices; neighbouring ones are cheap.
    std::optional<double> At(std::int32_t index) {
        double value = 0.0;
        return Fetch(index, value) ? std::optional(value) : std::nullopt;
    }
    /// The same for walks along the grid, which cost a few instructions a sample: false, and `value` as it
    /// was, where there is nothing.
    bool Fetch(std::int32_t index, double& value) {
        const std::int64_t beyond = std::int64_t{index} - cell_.index;
        if (beyond < 0 || beyond >= Info().step)
            return MoveCell(index) && FetchInCell(std::int64_t{index} - cell_.index, value);
        return index <= Info().extentLast && FetchInCell(beyond, value);
    }

    /// `count` grid samples from index `first` (on the grid) on; present[i] says whether values[i] is a
    /// sample.
    void ReadGrid(std::int32_t first, std::span<float> values, std::span<std::uint8_t> present);

    /// True when the whole span lies inside what was written and, for a derived curve, inside its valid span.
    bool Covers(double firstIndex, double lastIndex) const;

  private:
    /// Some consecutive samples of the grid. Several are held, so that a walk that looks at a few places of
    /// the curve at once (a sample and those half a period and a period later) does not load the same blocks
    /// again and again.
    struct Block {
        std::int64_t start = 0;  ///< grid position of values[0]
        std::vector<float> values;
        std::vector<std::uint8_t> present;
        std::uint64_t lastUse = 0;
        bool Holds(std::int64_t gridPosition) const {
            return gridPosition >= start && gridPosition - start < static_cast<std::int64_t>(values.size());
        }
    };
    static constexpr std::size_t blocksHeld = 4;

    /// The sample at or before the index that was asked for last.
    struct Cell {
        std::int64_t index = noCell;
        std::int64_t position = 0;
        float value = 0.0F;
        bool present = false;
    };
    static constexpr std::int64_t noCell = std::numeric_limits<std::int64_t>::min() / 2;

    /// Puts the cell at `index`; false outside of what was written.
    bool MoveCell(std::int32_t index) {
        const ItemInfo& info = Info();
        if (index < info.extentFirst || index > info.extentLast)
            return false;
        const std::int64_t ahead = std::int64_t{index} - cell_.index;
        Cell cell{cell_.index + info.step, cell_.position + 1};
        if (ahead < info.step || ahead >= 2 * std::int64_t{info.step}) {
            cell.position = (std::int64_t{index} - info.firstIndex) / info.step;
            cell.index = info.firstIndex + cell.position * info.step;
        }
        const Block& block =
            blocks_[current_].Holds(cell.position) ? blocks_[current_] : BlockOf(cell.position);
        const auto at = static_cast<std::size_t>(cell.position - block.start);
        cell.value = block.values[at];
        cell.present = block.present[at] != 0;
        cell_ = cell;
        return true;
    }
    /// The value `beyond` index units behind the cell's sample.
    bool FetchInCell(std::int64_t beyond, double& value) {
        if (!cell_.present)
            return false;
        if (between_ == Between::sampleBefore || beyond == 0) {
            value = cell_.value;
            return true;
        }
        return Interpolate(static_cast<double>(beyond), value);
    }
    bool Interpolate(double beyond, double& value);

    const Block& BlockOf(std::int64_t gridPosition);
    void Load(Block& block, std::int64_t gridPosition);
    std::optional<float> Sample(std::int64_t gridPosition);
    void ReadPresent(std::int64_t gridPosition, std::span<float> values, std::span<std::uint8_t> present);

    Item item_;
    Between between_;
    std::int64_t lastPosition_ = -1;  ///< grid position of the last sample written
    std::array<Block, blocksHeld> blocks_;
    Cell cell_;
    std::size_t current_ = 0;
    std::uint64_t uses_ = 0;
};

/// What bears no mark of how it was made is a recording, whatever its name: it stands in the place of the
/// curve that would be derived, is used as it is, and is never replaced nor extended (a recorder or an import
/// of analysed data may have put it there). Throws when `curve` is the name of an input curve, which cannot
/// stand for a derived one.
bool RecordingStands(const Database& database, const std::string& dataset, const std::string& curve);

/// Attributes of a derived curve when it is created.
struct DerivedCurve {
    std::int16_t step = 1;
    std::int32_t firstIndex = 0;
    std::string unit;
    float scale = 1.0F;
    float offset = 0.0F;
    std::string made;  ///< "half-period difference, period 240 s, 1 pass"
};

/// A derived curve being written. Values are buffered and go out in blocks; Flush() before the transaction's
/// commit.
class CurveWriter {
  public:
    /// Starts from an empty item: an older one of that name is deleted first.
    /// Throws when the name is that of one of the selection's input curves or of a recording: nothing
    /// recorded is ever overwritten.
    static CurveWriter Recreate(const Database& database, const std::string& dataset,
                                const std::string& curve, const DerivedCurve& attributes);
    /// Opens an existing derived curve for extension, or creates it. Throws as Recreate does, and when the
    /// existing curve lies on another sample grid than `attributes` states.
    static CurveWriter OpenOrCreate(const Database& database, const std::string& dataset,
                                    const std::string& curve, const DerivedCurve& attributes);
    CurveWriter(CurveWriter&&) noexcept = default;
    const ItemInfo& Info() const { return item_.Info(); }
    const std::string& Path() const { return item_.Path(); }

    /// One sample at a grid index. An index before the curve's first is dropped. Buffered.
    void Put(std::int32_t index, float value);
    /// A run of samples from a grid index on.
    void PutRun(std::int32_t first, std::span<const float> values);
    /// Writes what is buffered.
    void Flush();
    /// States the valid span (and, when not empty, how the curve was made).
    void Mark(std::int32_t validFirst, std::int32_t validLast, const std::string& made = "");

  private:
    explicit CurveWriter(Item item) : item_(std::move(item)) {}
    /// Writes the first samples of the run; the others wait.
    void WriteFront(std::size_t count);
    Item item_;
    std::int32_t runStart_ = 0;
    std::vector<float> run_;
};

}  // namespace vorela
