// Reading one sample of an item into memory of a known size. A file may hold an item of any kind and size
// under any name: what the item is, is asked before its bytes are taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "interfaces/DKBase.h"

namespace vorela {

/// A function of the library, linked or loaded.
using DBreadFunction = decltype(&::DBread);

/// What one sample of an item is, from its information block (DK_INFO_BYTES bytes).
struct ItemShape {
    std::int16_t kind = DK_ITEM_DATASET;
    std::int32_t sampleBytes = 0;

    static ItemShape Of(const void* information) {
        const auto* const bytes = static_cast<const std::byte*>(information);
        ItemShape shape;
        std::memcpy(&shape.kind, bytes + DK_INFO_KIND, sizeof shape.kind);
        std::memcpy(&shape.sampleBytes, bytes + DK_INFO_SAMPLE_BYTES, sizeof shape.sampleBytes);
        return shape;
    }
    bool IsCurve() const { return kind == DK_ITEM_CURVE && sampleBytes == sizeof(float); }
    /// A record whose samples have at least `bytes` bytes.
    bool IsRecordOf(std::size_t bytes) const {
        constexpr std::int32_t longest = 4096;
        return kind == DK_ITEM_RECORD && sampleBytes <= longest && sampleBytes > 0 &&
               static_cast<std::size_t>(sampleBytes) >= bytes;
    }
};

/// One sample of a curve. DK_NOT_AVAILABLE for an item that is none, otherwise the status of DBread.
inline std::int32_t ReadCurveSample(DBreadFunction read, std::int32_t item, ItemShape shape,
                                    std::int32_t index, float& sample) {
    return shape.IsCurve() ? read(item, index, 1, &sample) : DK_NOT_AVAILABLE;
}

/// Sample 0 of a record that has at least `wanted` bytes, whole. DK_NOT_AVAILABLE for an item that is no such
/// record, otherwise the status of DBread; then `sample` is of the record's length or as it was.
inline std::int32_t ReadRecord(DBreadFunction read, std::int32_t item, ItemShape shape, std::size_t wanted,
                               std::vector<std::byte>& sample) {
    if (!shape.IsRecordOf(wanted))
        return DK_NOT_AVAILABLE;
    std::vector<std::byte> bytes(static_cast<std::size_t>(shape.sampleBytes));
    const std::int32_t status = read(item, 0, 1, bytes.data());
    if (status == DK_OK)
        sample = std::move(bytes);
    return status;
}

}  // namespace vorela
