// Reads chunks straight from the pages of the file, many pages in one call. SQLite fetches a large blob page
// by page into its cache and copies it twice; for long curves that costs more than the disk. The file format
// is documented and frozen; whatever does not look exactly as expected is left to SQLite, and the checksum of
// the chunk decides in the end whether what was found is the chunk.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "dravik/store/Sqlite.h"

namespace vorela::store {

/// A chunk row as it lies in the file. The samples may lie in several pieces, in order.
struct ChunkView {
    std::span<const unsigned char> crc;
    std::span<const unsigned char> present;  ///< empty: all are there
    std::vector<std::span<const unsigned char>> samples;
    std::size_t sampleBytes = 0;  ///< of all pieces together
};

/// To be used inside a read transaction of the connection that has seen a statement (the lock is held then)
/// and in which the connection itself has changed nothing.
class ChunkScan {
  public:
    explicit ChunkScan(Connection& connection) : connection_(connection) {}

    /// Begins a run of Find calls whose views live until the next Begin. `expectedBytes` bounds reading
    /// ahead.
    void Begin(std::uint32_t rootPage, std::size_t expectedBytes);
    /// Fills `view`; false when the row is not found or is not as expected: ask SQLite then.
    bool Find(std::int64_t place, ChunkView& view);
    /// Whether a further chunk may be found without dropping views.
    bool HasRoom() const;

  private:
    using Page = const unsigned char*;
    struct Run {
        std::uint32_t first;
        std::uint32_t count;
        std::size_t slot;
    };

    bool ReadPages(std::uint32_t first, std::uint32_t count, unsigned char* into);
    Page TreePage(std::uint32_t number);
    Page DataPage(std::uint32_t number);
    Page LeafOf(std::int64_t place);
    bool Unpack(std::span<const unsigned char> local, std::uint64_t payload, std::uint32_t overflow,
                ChunkView& view);

    Connection& connection_;
    std::uint32_t rootPage_ = 0;
    std::uint32_t pageCount_ = 0;
    std::uint32_t dataVersion_ = 0;
    bool versionKnown_ = false;
    std::size_t expectedPages_ = 0;
    std::uint32_t runLength_ = 8;
    std::vector<std::pair<std::uint32_t, std::unique_ptr<unsigned char[]>>> treePages_;
    unsigned char* arena_ = nullptr;  ///< the process's, for one run
    std::size_t arenaPages_ = 0;
    std::size_t arenaUsed_ = 0;  ///< in pages
    std::vector<Run> runs_;
};

}  // namespace vorela::store
