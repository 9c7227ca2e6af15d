#include "dravik/store/ItemInfo.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace dravik::store {
namespace {

static_assert(std::endian::native == std::endian::little,
              "blocks and samples are stored as this machine holds them");

constexpr std::uint32_t curveSamplesPerChunk = 16384;
constexpr std::uint32_t recordChunkBytes = 32768;
constexpr int chunkCountAt = 136;  // both free in the published layout
constexpr int chunkSumAt = 144;

template <typename Field>
void Put(InfoBlock& block, int at, Field value) {
    std::memcpy(block.data() + at, &value, sizeof value);
}

template <typename Field>
void Get(std::span<const unsigned char> block, int at, Field& value) {
    std::memcpy(&value, block.data() + at, sizeof value);
}

}  // namespace

std::int64_t ItemInfo::OrdinalAtOrBefore(std::int64_t index) const {
    const std::int64_t distance = index - firstIndex;
    const std::int64_t quotient = distance / step;
    return distance % step < 0 ? quotient - 1 : quotient;
}

std::uint32_t ItemInfo::SamplesPerChunk() const {
    if (kind == DK_ITEM_CURVE)
        return curveSamplesPerChunk;
    return std::bit_floor(recordChunkBytes / static_cast<std::uint32_t>(sampleBytes));
}

void ItemInfo::Extend(std::int64_t firstOrdinal, std::int64_t lastOrdinal) {
    const auto first = static_cast<std::int32_t>(IndexOf(firstOrdinal));
    const auto last = static_cast<std::int32_t>(IndexOf(lastOrdinal));
    const bool empty = IsEmpty();
    extentFirst = empty ? first : std::min(extentFirst, first);
    extentLast = empty ? last : std::max(extentLast, last);
}

InfoBlock ItemInfo::Encode() const {
    InfoBlock block{};
    Put(block, DK_INFO_INDEX_KIND, indexKind);
    Put(block, DK_INFO_STEP, step);
    Put(block, DK_INFO_UNIT, unit);
    Put(block, DK_INFO_SCALE, scale);
    Put(block, DK_INFO_OFFSET, offset);
    Put(block, DK_INFO_KIND, kind);
    Put(block, DK_INFO_SAMPLE_BYTES, sampleBytes);
    Put(block, DK_INFO_FIRST_INDEX, firstIndex);
    Put(block, DK_INFO_VALID_FIRST, validFirst);
    Put(block, DK_INFO_VALID_LAST, validLast);
    std::memcpy(block.data() + DK_INFO_MADE, made.data(),
                std::min<std::size_t>(made.size(), DK_INFO_MADE_BYTES - 1));
    Put(block, chunkCountAt, chunkCount);
    Put(block, chunkSumAt, chunkSum);
    Put(block, DK_INFO_EXTENT_FIRST, extentFirst);
    Put(block, DK_INFO_EXTENT_LAST, extentLast);
    return block;
}

std::optional<ItemInfo> ItemInfo::Decode(std::span<const unsigned char> block) {
    if (block.size() != DK_INFO_BYTES)
        return std::nullopt;
    ItemInfo info;
    Get(block, DK_INFO_INDEX_KIND, info.indexKind);
    Get(block, DK_INFO_STEP, info.step);
    Get(block, DK_INFO_UNIT, info.unit);
    Get(block, DK_INFO_SCALE, info.scale);
    Get(block, DK_INFO_OFFSET, info.offset);
    Get(block, DK_INFO_KIND, info.kind);
    Get(block, DK_INFO_SAMPLE_BYTES, info.sampleBytes);
    Get(block, DK_INFO_FIRST_INDEX, info.firstIndex);
    Get(block, DK_INFO_VALID_FIRST, info.validFirst);
    Get(block, DK_INFO_VALID_LAST, info.validLast);
    const auto* text = reinterpret_cast<const char*>(block.data()) + DK_INFO_MADE;
    info.made.assign(text, strnlen(text, DK_INFO_MADE_BYTES - 1));
    Get(block, chunkCountAt, info.chunkCount);
    Get(block, chunkSumAt, info.chunkSum);
    Get(block, DK_INFO_EXTENT_FIRST, info.extentFirst);
    Get(block, DK_INFO_EXTENT_LAST, info.extentLast);
    const bool curve = info.kind == DK_ITEM_CURVE && info.sampleBytes == 4;
    const bool record = info.kind == DK_ITEM_RECORD && info.sampleBytes >= 1 && info.sampleBytes <= 4096;
    const bool sound = (curve || record) && info.step > 0 &&
                       (info.indexKind == DK_INDEX_DEPTH || info.indexKind == DK_INDEX_TIME) &&
                       (info.IsEmpty() || info.extentFirst >= info.firstIndex);
    return sound ? std::optional(info) : std::nullopt;
}

}  // namespace dravik::store
