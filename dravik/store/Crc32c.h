// CRC-32C (Castagnoli polynomial, reflected), the checksum of every chunk and every row of the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dravik::store {

/// The checksum of `bytes` continued from `crc` (0 to begin), so that Crc32c(a + b) = Crc32c(b, Crc32c(a)).
/// Takes the fastest way of this processor, chosen on the first call.
std::uint32_t Crc32c(const void* bytes, std::size_t count, std::uint32_t crc = 0);

/// One way to compute it; all give the same. `advance` works on the inverted checksum.
struct Crc32cWay {
    const char* name;
    std::uint32_t (*advance)(const unsigned char* at, std::size_t count, std::uint32_t state);
};

/// The ways that this processor has, the slowest (a table, always there) first.
std::vector<Crc32cWay> Crc32cWays();

}  // namespace dravik::store
