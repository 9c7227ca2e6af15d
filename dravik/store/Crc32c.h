// CRC-32C (Castagnoli polynomial, reflected), the checksum of every chunk and every row of the store.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorela::store {

/// The checksum of `bytes` continued from `crc` (0 to begin), so that Crc32c(a + b) = Crc32c(b, Crc32c(a)).
/// Uses the processor's CRC instruction where there is one, chosen on the first call.
std::uint32_t Crc32c(const void* bytes, std::size_t count, std::uint32_t crc = 0);

/// The same by table, on any processor.
std::uint32_t Crc32cPortable(const void* bytes, std::size_t count, std::uint32_t crc = 0);

/// Whether this processor has the CRC instruction.
bool HasHardwareCrc32c();

}  // namespace vorela::store
