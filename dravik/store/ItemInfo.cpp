#include "dravik/store/ItemInfo.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace dravik::store {
namespace {

static_assert(std::endian::native == std::endian::little,
              "blocks and samples are stored as this machine holds them");

constexpr std::uint32_t curveSamplesPerChunk = 16384;
constexpr std::uint32_t recordChunkBytes = 32768;
constexpr int chunkCountAt = 136;  // both free in the published layout
constexpr int chunkSumAt = 144;

/// The fields of a block with their places, the text of how it was made aside.
template <typename Info, typename Visit>
void ForEachField(Info& info, Visit&& visit) {
    visit(DK_INFO_INDEX_KIND, info.indexKind);
    visit(DK_INFO_STEP, info.step);
    visit(DK_INFO_UNIT, info.unit);
    visit(DK_INFO_SCALE, info.scale);
    visit(DK_INFO_OFFSET, info.offset);
    visit(DK_INFO_KIND, info.kind);
    visit(DK_INFO_SAMPLE_BYTES, info.sampleBytes);
    visit(DK_INFO_FIRST_INDEX, info.firstIndex);
    visit(DK_INFO_VALID_FIRST, info.validFirst);
    visit(DK_INFO_VALID_LAST, info.validLast);
    visit(chunkCountAt, info.chunkCount);
    visit(chunkSumAt, info.chunkSum);
    visit(DK_INFO_EXTENT_FIRST, info.extentFirst);
    visit(DK_INFO_EXTENT_LAST, info.extentLast);
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
    ForEachField(*this,
                 [&](int at, const auto& field) { std::memcpy(block.data() + at, &field, sizeof field); });
    std::memcpy(block.data() + DK_INFO_MADE, made.data(),
                std::min<std::size_t>(made.size(), DK_INFO_MADE_BYTES - 1));
    return block;
}

std::optional<ItemInfo> ItemInfo::Decode(std::span<const unsigned char> block) {
    if (block.size() != DK_INFO_BYTES)
        return std::nullopt;
    ItemInfo info;
    ForEachField(info, [&](int at, auto& field) { std::memcpy(&field, block.data() + at, sizeof field); });
    const auto* text = reinterpret_cast<const char*>(block.data()) + DK_INFO_MADE;
    info.made.assign(text, strnlen(text, DK_INFO_MADE_BYTES - 1));
    const bool curve = info.kind == DK_ITEM_CURVE && info.sampleBytes == 4;
    const bool record = info.kind == DK_ITEM_RECORD && info.sampleBytes >= 1 && info.sampleBytes <= 4096;
    const bool sound = (curve || record) && info.step > 0 &&
                       (info.indexKind == DK_INDEX_DEPTH || info.indexKind == DK_INDEX_TIME) &&
                       (info.IsEmpty() || info.extentFirst >= info.firstIndex);
    return sound ? std::optional(info) : std::nullopt;
}

}  // namespace dravik::store
