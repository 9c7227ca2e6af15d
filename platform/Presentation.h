// The presentation record of a dataset, item "_defaults_": 32 packed bytes that a recorder keeps up to date.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vorela {

struct Presentation {
    std::int16_t recordingFlag = 0;   ///< byte 0: non-zero while the dataset is being recorded
    std::int16_t indexKind = 0;       ///< byte 2
    std::int16_t trackCount = 0;      ///< byte 4
    std::int32_t recordingStart = 0;  ///< byte 6: Unix seconds
    std::int32_t rangeStart = 0;      ///< byte 10: default x-range, seconds or feet
    std::int32_t rangeEnd = 0;        ///< byte 14
    std::string toolString;           ///< bytes 18 to 31, trimmed; stored blank-padded, cut at 14 characters
    bool operator==(const Presentation&) const = default;
};
inline constexpr std::size_t presentationBytes = 32;
/// A longer stored record begins with these bytes.
Presentation UnpackPresentation(std::span<const std::byte, presentationBytes> stored);
std::array<std::byte, presentationBytes> PackPresentation(const Presentation& presentation);

}  // namespace vorela
