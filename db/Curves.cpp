#include "db/Curves.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/RunTimeError.h"

namespace vorela {
namespace {

/// Samples in a block: a whole number of the store's chunks, and small against a curve.
constexpr std::int64_t blockSamples = 16384;

bool IsInputName(const std::string& name) {
    const CurveChoice& choice = CurrentSelection().choice;
    return name == choice.pressure || name == choice.flow || name == curve::valvePosition ||
           name == curve::valveCode || name == curve::valveChangeTimer || name == curve::valveTimer ||
           name == curve::depth;
}

[[noreturn]] void Refuse(const Database& database, const std::string& path, const std::string& why) {
    throw RunTimeError{error_number::permissionDenied, "Vorela",
                       path + " in " + database.Path() + ": " + why};
}

bool IsRecording(const Database& database, const std::string& path, const std::string& curve,
                 const std::optional<Item>& existing) {
    if (IsInputName(curve))
        Refuse(database, path, "The derived curve would take the name of an input curve");
    return existing && existing->Info().made.empty();
}

/// Nothing recorded is ever overwritten. Throws unless `curve` may be written as a derived curve.
void RefuseRecordedCurve(const Database& database, const std::string& path, const std::string& curve,
                         const std::optional<Item>& existing) {
    if (IsRecording(database, path, curve, existing))
        Refuse(database, path, "The curve was recorded and is not overwritten");
}

void CreateItem(const Database& database, const std::string& path, const DerivedCurve& attributes) {
    DBNewItem item{};
    const std::string made = attributes.made.substr(0, DK_INFO_MADE_BYTES - 1);
    item.kind = DK_ITEM_CURVE;
    item.indexKind = DK_INDEX_TIME;
    item.step = attributes.step;
    item.firstIndex = attributes.firstIndex;
    item.scale = attributes.scale;
    item.offset = attributes.offset;
    item.unitText = attributes.unit.c_str();
    item.madeText = made.c_str();
    database.Create(path, item);
}

}  // namespace

bool IsWritable(const std::string& databasePath) {
    const std::string folder = std::filesystem::absolute(databasePath).parent_path().string();
    return access(databasePath.c_str(), W_OK) == 0 && access(folder.c_str(), W_OK) == 0;
}

namespace {

/// 0 after the message box.
std::int32_t OpenExisting(const std::string& path) {
    std::int32_t handle = 0;
    OpenDravikDatabase(path, DK_OPEN_EXISTING, handle);
    return handle;
}

}  // namespace

DravikDatabase::DravikDatabase(const std::string& path) : Database(path, OpenExisting(path)) {}

DravikDatabase::~DravikDatabase() {
    const std::int32_t handle = Release();
    if (handle != 0)
        DetachAndClose(handle, 0);
}

bool DravikDatabase::Close() {
    const std::int32_t handle = Release();
    return handle == 0 || CloseDravikDatabase(handle);
}

// --- Reading ---

CurveReader::CurveReader(const Database& database, const std::string& dataset, const std::string& curve,
                         Between between)
    : item_(database, ItemPath(dataset, curve)), between_(between) {
    if (!Info().IsCurve())
        throw RunTimeError{error_number::typeMismatch, "CurveReader",
                           item_.Name() + ": The item is not a curve of single-precision samples"};
    if (Info().step <= 0)
        throw RunTimeError{error_number::internalError, "CurveReader",
                           item_.Name() + ": The curve has no sampling step"};
    const ItemInfo& info = Info();
    if (!info.IsEmpty())
        lastPosition_ = (std::int64_t{info.extentLast} - info.firstIndex) / info.step;
}

void CurveReader::ReadPresent(std::int64_t gridPosition, std::span<float> values,
                              std::span<std::uint8_t> present) {
    if (values.empty())
        return;
    // Within the extents every index fits into 32 bits.
    const auto index = static_cast<std::int32_t>(Info().firstIndex + gridPosition * Info().step);
    item_.ReadPresent(index, std::ssize(values), values.data(), present.data());
}

void CurveReader::Load(Block& block, std::int64_t gridPosition) {
    const std::int64_t start = gridPosition / blockSamples * blockSamples;
    const auto count = static_cast<std::size_t>(std::min(blockSamples, lastPosition_ - start + 1));
    block.start = start;
    block.values.clear();  // holds nothing should the read fail
    std::vector<float> values(count);
    block.present.resize(count);
    ReadPresent(start, values, block.present);
    block.values = std::move(values);
}

const CurveReader::Block& CurveReader::BlockOf(std::int64_t gridPosition) {
    if (blocks_[current_].Holds(gridPosition))
        return blocks_[current_];
    std::size_t oldest = 0;
    for (std::size_t i = 0; i < blocksHeld; ++i) {
        if (blocks_[i].Holds(gridPosition)) {
            blocks_[i].lastUse = ++uses_;
            current_ = i;
            return blocks_[i];
        }
        if (blocks_[i].lastUse < blocks_[oldest].lastUse)
            oldest = i;
    }
    Load(blocks_[oldest], gridPosition);
    blocks_[oldest].lastUse = ++uses_;
    current_ = oldest;
    return blocks_[oldest];
}

std::optional<float> CurveReader::Sample(std::int64_t gridPosition) {
    if (gridPosition < 0 || gridPosition > lastPosition_)
        return std::nullopt;
    const Block& block = BlockOf(gridPosition);
    const auto at = static_cast<std::size_t>(gridPosition - block.start);
    if (block.present[at] == 0)
        return std::nullopt;
    return block.values[at];
}

bool CurveReader::Interpolate(double beyond, double& value) {
    const std::optional<float> after = Sample(cell_.position + 1);
    if (!after)
        return false;
    value = cell_.value + (static_cast<double>(*after) - cell_.value) * (beyond / Info().step);
    return true;
}

void CurveReader::ReadGrid(std::int32_t first, std::span<float> values, std::span<std::uint8_t> present) {
    const std::int64_t offset = std::int64_t{first} - Info().firstIndex;
    if (present.size() != values.size() || offset % Info().step != 0)
        throw RunTimeError{error_number::invalidProcedureCall, "ReadGrid",
                           item_.Name() + ": Index " + std::to_string(first) + " is not on the curve's grid"};
    std::fill(values.begin(), values.end(), 0.0F);
    std::fill(present.begin(), present.end(), std::uint8_t{0});
    const std::int64_t position = offset / Info().step;
    const std::int64_t from = std::clamp<std::int64_t>(-position, 0, std::ssize(values));
    const std::int64_t to = std::clamp<std::int64_t>(lastPosition_ + 1 - position, from, std::ssize(values));
    const auto skip = static_cast<std::size_t>(from);
    const auto count = static_cast<std::size_t>(to - from);
    ReadPresent(position + from, values.subspan(skip, count), present.subspan(skip, count));
}

bool CurveReader::Covers(double firstIndex, double lastIndex) const {
    const ItemInfo& info = Info();
    if (info.IsEmpty() || !(firstIndex >= info.extentFirst && lastIndex <= info.extentLast))
        return false;
    return info.made.empty() || (firstIndex >= info.validFirst && lastIndex <= info.validLast);
}

// --- Writing ---

bool RecordingStands(const Database& database, const std::string& dataset, const std::string& curve) {
    const std::string path = ItemPath(dataset, curve);
    return IsRecording(database, path, curve, Item::Find(database, path));
}

CurveWriter CurveWriter::Recreate(const Database& database, const std::string& dataset,
                                  const std::string& curve, const DerivedCurve& attributes) {
    const std::string path = ItemPath(dataset, curve);
    bool exists = false;
    {
        const std::optional<Item> existing = Item::Find(database, path);
        RefuseRecordedCurve(database, path, curve, existing);
        exists = existing.has_value();
    }
    if (exists)
        database.Delete(path);
    CreateItem(database, path, attributes);
    return CurveWriter(Item(database, path));
}

CurveWriter CurveWriter::OpenOrCreate(const Database& database, const std::string& dataset,
                                      const std::string& curve, const DerivedCurve& attributes) {
    const std::string path = ItemPath(dataset, curve);
    std::optional<Item> existing = Item::Find(database, path);
    RefuseRecordedCurve(database, path, curve, existing);
    if (!existing) {
        CreateItem(database, path, attributes);
        return CurveWriter(Item(database, path));
    }
    const ItemInfo& info = existing->Info();
    if (info.step != attributes.step ||
        (std::int64_t{info.firstIndex} - attributes.firstIndex) % attributes.step != 0)
        Refuse(database, path, "The curve was made on another sample grid; it has to be created anew");
    return CurveWriter(std::move(*existing));
}

void CurveWriter::Put(std::int32_t index, float value) {
    PutRun(index, std::span<const float>(&value, 1));
}

void CurveWriter::PutRun(std::int32_t first, std::span<const float> values) {
    const std::int64_t step = Info().step;
    // What lies before the curve's first sample has no place on its grid.
    if (first < Info().firstIndex) {
        const std::int64_t before = (Info().firstIndex - std::int64_t{first} + step - 1) / step;
        if (before >= std::ssize(values))
            return;
        values = values.subspan(static_cast<std::size_t>(before));
        first = static_cast<std::int32_t>(first + before * step);
    }
    const std::int64_t offset = std::int64_t{first} - runStart_;
    const std::int64_t at = offset / step;
    if (run_.empty() || offset < 0 || offset % step != 0 || at > std::ssize(run_)) {
        Flush();
        runStart_ = first;
        run_.assign(values.begin(), values.end());
    } else {
        // Continues the run, or replaces its last samples.
        const auto start = static_cast<std::size_t>(at);
        run_.resize(std::max(run_.size(), start + values.size()));
        std::copy(values.begin(), values.end(), run_.begin() + at);
    }
    // A chunk of the store that is written twice costs twice, so the run goes out in whole ones.
    const std::int64_t position = (std::int64_t{runStart_} - Info().firstIndex) / step;
    const std::int64_t boundary = (position + std::ssize(run_)) / blockSamples * blockSamples;
    if (boundary > position)
        WriteFront(static_cast<std::size_t>(boundary - position));
}

void CurveWriter::WriteFront(std::size_t count) {
    item_.Write(runStart_, static_cast<std::int64_t>(count), run_.data());
    run_.erase(run_.begin(), run_.begin() + static_cast<std::ptrdiff_t>(count));
    runStart_ = static_cast<std::int32_t>(runStart_ + static_cast<std::int64_t>(count) * Info().step);
}

void CurveWriter::Flush() {
    if (!run_.empty())
        WriteFront(run_.size());
}

void CurveWriter::Mark(std::int32_t validFirst, std::int32_t validLast, const std::string& made) {
    const std::string text = made.substr(0, DK_INFO_MADE_BYTES - 1);
    item_.Mark(validFirst, validLast, text.empty() ? nullptr : text.c_str());
}

}  // namespace vorela
