// What the store knows of an item beside its samples, and its 256-byte form: the information block of
// DKBase.h.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "interfaces/DKBase.h"

namespace dravik::store {

using InfoBlock = std::array<unsigned char, DK_INFO_BYTES>;

/// Samples are counted by ordinals: 0 lies at firstIndex, 1 at firstIndex + step.
struct ItemInfo {
    std::int16_t indexKind = DK_INDEX_DEPTH;
    std::int16_t step = 1;
    std::int32_t unit = 0;  ///< the process's code; in a file of version 1 the file's own
    float scale = 1.0F;
    float offset = 0.0F;
    std::int16_t kind = DK_ITEM_CURVE;
    std::int32_t sampleBytes = 4;
    std::int32_t firstIndex = 0;
    std::int32_t validFirst = 0;
    std::int32_t validLast = -1;
    std::string made;
    std::int32_t extentFirst = 0;
    std::int32_t extentLast = -1;
    /// In a file of version 1 only: how many chunks the item has, and the sum of their numbers.
    std::uint32_t chunkCount = 0;
    std::int64_t chunkSum = 0;

    bool IsEmpty() const { return extentLast < extentFirst; }
    /// The ordinal of the sample at or before `index`; negative before the grid.
    std::int64_t OrdinalAtOrBefore(std::int64_t index) const;
    std::int64_t FirstOrdinal() const { return OrdinalAtOrBefore(extentFirst); }
    /// -1 for an empty item.
    std::int64_t LastOrdinal() const { return IsEmpty() ? -1 : OrdinalAtOrBefore(extentLast); }
    /// May exceed 32 bits: for the caller to check.
    std::int64_t IndexOf(std::int64_t ordinal) const { return firstIndex + ordinal * step; }
    /// A power of two; 16384 for a curve, up to 32 KiB of a record.
    std::uint32_t SamplesPerChunk() const;

    /// The extents after samples were written from one ordinal to another.
    void Extend(std::int64_t firstOrdinal, std::int64_t lastOrdinal);

    InfoBlock Encode() const;
    /// Nothing when the block cannot be one of ours.
    static std::optional<ItemInfo> Decode(std::span<const unsigned char> block);
};

}  // namespace dravik::store
