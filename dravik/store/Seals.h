// The lists that seal a database from above: the catalogue lists the datasets, a dataset its items with the
// checksum of each item's row, an item its chunks with the checksum of each. A row that was lost or that is
// older than it should be does not agree with the list above it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::store {

using Bytes = std::vector<unsigned char>;

/// One line of the catalogue's or of a dataset's list.
struct Entry {
    std::int64_t number = 0;
    /// Of an item: the checksum of its row. Of a dataset: the stamp of its last change of items.
    std::uint64_t seal = 0;
    std::string name;
};
using Entries = std::vector<Entry>;

Bytes EncodeEntries(const Entries& entries);
/// Nothing when the bytes cannot be such a list.
std::optional<Entries> DecodeEntries(std::span<const unsigned char> bytes);

Entry* FindByName(Entries& entries, std::string_view name);
const Entry* FindByNumber(const Entries& entries, std::int64_t number);

/// The chunks that an item has been given, with their checksums, in order of their numbers. What is not
/// listed is a gap.
class ChunkSums {
  public:
    struct Line {
        std::uint32_t chunk;
        std::uint32_t sum;
    };
    std::optional<std::uint32_t> Find(std::int64_t chunk) const;
    void Set(std::int64_t chunk, std::uint32_t sum);
    const std::vector<Line>& Lines() const { return lines_; }

    /// Runs of consecutive chunks: the first number, how many, their checksums; 32 bits each.
    Bytes Encode() const;
    static std::optional<ChunkSums> Decode(std::span<const unsigned char> bytes);

  private:
    std::vector<Line> lines_;
};

/// The checksum of a row: its kind, its number and the lengths and bytes of its parts. The kind keeps a row
/// of one table from passing for one of another.
class RowSum {
  public:
    RowSum(char kind, std::int64_t number);
    RowSum& Add(std::span<const unsigned char> bytes);
    RowSum& Add(std::string_view text);
    RowSum& Add(std::int64_t value);
    std::uint32_t Value() const { return crc_; }

  private:
    std::uint32_t crc_;
};

}  // namespace dravik::store
