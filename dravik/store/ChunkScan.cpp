#include "dravik/store/ChunkScan.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vorela::store {
namespace {

constexpr std::size_t pageBytes = 16384;
constexpr std::size_t fewestArenaPages = 40;
constexpr std::size_t mostArenaPages = (std::size_t{64} << 20) / pageBytes;
constexpr std::size_t hugePageBytes = std::size_t{2} << 20;
constexpr std::size_t pagesOfOneChunk = 6;
constexpr std::size_t mostTreePages = 16;
constexpr std::uint32_t longestRun = 24;
constexpr int deepestTree = 8;
constexpr unsigned char interiorPage = 5;
constexpr unsigned char leafPage = 13;

std::uint32_t Big16(const unsigned char* at) {
    return static_cast<std::uint32_t>(at[0] << 8 | at[1]);
}
std::uint32_t Big32(const unsigned char* at) {
    return Big16(at) << 16 | Big16(at + 2);
}

/// SQLite's variable-length integer. Moves `bytes` behind it; false when it runs over the end.
bool TakeVarint(std::span<const unsigned char>& bytes, std::uint64_t& value) {
    value = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(9, bytes.size()); ++i) {
        const bool ninth = i == 8;
        value = ninth ? value << 8 | bytes[i] : value << 7 | (bytes[i] & 0x7FU);
        if (ninth || (bytes[i] & 0x80U) == 0) {
            bytes = bytes.subspan(i + 1);
            return true;
        }
    }
    return false;
}

/// What a table cell keeps on its own page of a payload; the rest lies in overflow pages.
std::size_t LocalBytes(std::uint64_t payload) {
    constexpr std::uint64_t most = pageBytes - 35;
    constexpr std::uint64_t least = (pageBytes - 12) * 32 / 255 - 23;
    if (payload <= most)
        return static_cast<std::size_t>(payload);
    const std::uint64_t fitting = least + (payload - least) % (pageBytes - 4);
    return static_cast<std::size_t>(fitting <= most ? fitting : least);
}

/// Cell `index` of a tree page, up to the page's end; empty when it lies outside.
std::span<const unsigned char> CellAt(const unsigned char* page, std::uint32_t index,
                                      std::size_t pointersAt) {
    const std::size_t pointer = pointersAt + 2 * std::size_t{index};
    if (pointer + 2 > pageBytes)
        return {};
    const std::size_t at = Big16(page + pointer);
    return at < pageBytes ? std::span(page + at, pageBytes - at) : std::span<const unsigned char>();
}

/// The index of the first cell whose key is not below `place`; the number of cells when there is none, and
/// one more when the page cannot be read.
std::uint32_t LowerBound(const unsigned char* page, std::int64_t place, bool leaf) {
    const std::uint32_t cells = Big16(page + 3);
    std::uint32_t low = 0;
    std::uint32_t high = cells;
    while (low < high) {
        const std::uint32_t middle = (low + high) / 2;
        auto cell = CellAt(page, middle, leaf ? 8 : 12);
        std::uint64_t skipped = 0;
        std::uint64_t key = 0;
        if (leaf ? !TakeVarint(cell, skipped) : cell.size() < 4)
            return cells + 1;
        if (!leaf)
            cell = cell.subspan(4);
        if (!TakeVarint(cell, key))
            return cells + 1;
        if (static_cast<std::int64_t>(key) < place)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

/// The size of a blob by its serial type; npos for anything else.
constexpr std::size_t notABlob = static_cast<std::size_t>(-1);
std::size_t BlobBytes(std::uint64_t type) {
    return type >= 12 && type % 2 == 0 ? static_cast<std::size_t>((type - 12) / 2) : notABlob;
}

/// Memory for the pages of one run. One for the whole process, and kept: fresh memory comes from the
/// operating system page by page and cleared, which costs as much as reading into it, and programs open and
/// close a database for each curve. Calls of the store do not run side by side, and no run outlives its call.
class Arena {
  public:
    unsigned char* Of(std::size_t pages) {
        if (pages <= pages_)
            return bytes_.get();
        const std::size_t bytes = std::max(std::bit_ceil(pages) * pageBytes, hugePageBytes);
        auto* const fresh = static_cast<unsigned char*>(std::aligned_alloc(hugePageBytes, bytes));
        if (fresh == nullptr)
            throw std::bad_alloc();
        madvise(fresh, bytes, MADV_HUGEPAGE);  // worth having, not needed
        bytes_.reset(fresh);
        pages_ = bytes / pageBytes;
        return fresh;
    }

  private:
    struct Free {
        void operator()(unsigned char* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<unsigned char[], Free> bytes_;
    std::size_t pages_ = 0;
};

unsigned char* ArenaOf(std::size_t pages) {
    static Arena arena;
    return arena.Of(pages);
}

}  // namespace

void ChunkScan::Begin(std::uint32_t rootPage, std::size_t expectedBytes) {
    rootPage_ = rootPage;
    // A chunk begins in its tree page, so what it keeps in further pages is a little less than its bytes.
    expectedPages_ = expectedBytes / pageBytes;
    // Runs also catch pages of the tree, which lie between those of the chunks.
    arenaPages_ = std::clamp(expectedPages_ + expectedPages_ / 8, fewestArenaPages, mostArenaPages);
    arena_ = ArenaOf(arenaPages_);
    arenaUsed_ = 0;
    runs_.clear();
    std::uint32_t version = 0;
    const bool known =
        sqlite3_file_control(connection_.Handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version) == SQLITE_OK;
    const bool changed = !known || !versionKnown_ || version != dataVersion_;
    if (changed || treePages_.size() > mostTreePages)
        treePages_.clear();
    if (changed)
        pageCount_ = static_cast<std::uint32_t>(
            std::min<std::int64_t>(connection_.FileBytes() / pageBytes, UINT32_MAX - 1));
    dataVersion_ = version;
    versionKnown_ = known;
}

bool ChunkScan::HasRoom() const {
    return arenaUsed_ + pagesOfOneChunk <= arenaPages_;
}

bool ChunkScan::ReadPages(std::uint32_t first, std::uint32_t count, unsigned char* into) {
    return first >= 1 && first <= pageCount_ && count <= pageCount_ - first + 1 &&
           connection_.ReadAt({into, count * pageBytes},
                              static_cast<std::int64_t>(first - 1) * std::int64_t{pageBytes});
}

ChunkScan::Page ChunkScan::TreePage(std::uint32_t number) {
    for (const auto& [known, bytes] : treePages_)
        if (known == number)
            return bytes.get();
    auto bytes = std::make_unique_for_overwrite<unsigned char[]>(pageBytes);
    if (!ReadPages(number, 1, bytes.get()))
        return nullptr;
    treePages_.emplace_back(number, std::move(bytes));
    return treePages_.back().second.get();
}

/// Pages of one chunk mostly follow each other, and so do chunks that were written together: reads ahead,
/// further as long as that holds.
ChunkScan::Page ChunkScan::DataPage(std::uint32_t number) {
    for (auto run = runs_.rbegin(); run != runs_.rend(); ++run)
        if (number >= run->first && number - run->first < run->count)
            return arena_ + (run->slot + number - run->first) * pageBytes;
    if (arenaUsed_ >= arenaPages_ || number < 1 || number > pageCount_)
        return nullptr;
    if (!runs_.empty()) {
        const bool follows = number == runs_.back().first + runs_.back().count;
        runLength_ = follows ? std::min(runLength_ * 2, longestRun) : std::max(runLength_ / 2, 2U);
    }
    const auto room = static_cast<std::uint32_t>(arenaPages_ - arenaUsed_);
    const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(expectedPages_, runLength_));
    const Run run{number, std::max(1U, std::min({wanted, room, pageCount_ - number + 1})), arenaUsed_};
    if (!ReadPages(run.first, run.count, arena_ + run.slot * pageBytes))
        return nullptr;
    arenaUsed_ += run.count;
    expectedPages_ -= std::min<std::size_t>(expectedPages_, run.count);
    runs_.push_back(run);
    return arena_ + run.slot * pageBytes;
}

ChunkScan::Page ChunkScan::LeafOf(std::int64_t place) {
    std::uint32_t number = rootPage_;
    for (int depth = 0; depth < deepestTree; ++depth) {
        const Page page = TreePage(number);
        if (page == nullptr || page[0] == leafPage)
            return page;
        const std::uint32_t index = page[0] == interiorPage ? LowerBound(page, place, false) : UINT32_MAX;
        const std::uint32_t cells = Big16(page + 3);
        if (index > cells)
            return nullptr;
        number = index == cells ? Big32(page + 8) : Big32(CellAt(page, index, 12).data());
    }
    return nullptr;
}

bool ChunkScan::Find(std::int64_t place, ChunkView& view) {
    const Page leaf = LeafOf(place);
    if (leaf == nullptr)
        return false;
    const std::uint32_t index = LowerBound(leaf, place, true);
    if (index >= Big16(leaf + 3))
        return false;
    auto cell = CellAt(leaf, index, 8);
    std::uint64_t payload = 0;
    std::uint64_t key = 0;
    if (!TakeVarint(cell, payload) || !TakeVarint(cell, key) || static_cast<std::int64_t>(key) != place)
        return false;
    const std::size_t local = LocalBytes(payload);
    const bool overflows = local < payload;
    if (cell.size() < local + (overflows ? 4 : 0))
        return false;
    return Unpack(cell.first(local), payload, overflows ? Big32(cell.data() + local) : 0, view);
}

/// The record: a header of serial types (place: null, crc, present, samples), then the values.
bool ChunkScan::Unpack(std::span<const unsigned char> local, std::uint64_t payload, std::uint32_t overflow,
                       ChunkView& view) {
    auto header = local;
    std::uint64_t headerBytes = 0;
    std::uint64_t types[4] = {};
    if (!TakeVarint(header, headerBytes) || headerBytes > local.size())
        return false;
    for (std::uint64_t& type : types)
        if (!TakeVarint(header, type))
            return false;
    const std::size_t crcBytes = BlobBytes(types[1]);
    const std::size_t presentBytes = types[2] == 0 ? 0 : BlobBytes(types[2]);
    const std::size_t sampleBytes = BlobBytes(types[3]);
    if (local.size() - header.size() != headerBytes || types[0] != 0 || crcBytes != 4 ||
        presentBytes > local.size() || headerBytes + crcBytes + presentBytes > local.size() ||
        sampleBytes > pagesOfOneChunk * pageBytes ||
        headerBytes + crcBytes + presentBytes + sampleBytes != payload)
        return false;
    view.crc = header.first(crcBytes);
    view.present = header.subspan(crcBytes, presentBytes);
    view.sampleBytes = sampleBytes;
    view.samples.clear();
    view.samples.push_back(header.subspan(crcBytes + presentBytes));
    for (std::size_t left = sampleBytes - view.samples.front().size(); left > 0;) {
        const Page page = DataPage(overflow);
        if (page == nullptr)
            return false;
        const std::size_t here = std::min(left, pageBytes - 4);
        view.samples.emplace_back(page + 4, here);
        left -= here;
        overflow = Big32(page);
    }
    return true;
}

}  // namespace vorela::store
