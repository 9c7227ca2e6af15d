// The samples of items: chunks of up to 64 KiB, each with a checksum over its place, its validity bits and
// its samples.
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "dravik/store/Crc32c.h"
#include "dravik/store/Database.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"

namespace dravik::store {
namespace {

/// The list of an item's chunks stays within what a row may hold.
constexpr std::size_t mostChunks = std::size_t{1} << 21;

bool BitAt(std::span<const unsigned char> bits, std::size_t at) {
    return ((bits[at / 8] >> (at % 8)) & 1) != 0;
}

void SetBit(std::span<unsigned char> bits, std::size_t at) {
    bits[at / 8] = static_cast<unsigned char>(bits[at / 8] | (1 << (at % 8)));
}

void SetBits(std::span<unsigned char> bits, std::size_t begin, std::size_t end) {
    for (; begin < end && begin % 8 != 0; ++begin)
        SetBit(bits, begin);
    for (; begin + 8 <= end; begin += 8)
        bits[begin / 8] = 0xFF;
    for (; begin < end; ++begin)
        SetBit(bits, begin);
}

bool AllSet(std::span<const unsigned char> bits, std::size_t begin, std::size_t end) {
    while (begin < end) {
        if (begin % 8 == 0 && begin + 8 <= end && bits[begin / 8] == 0xFF)
            begin += 8;
        else if (BitAt(bits, begin))
            ++begin;
        else
            return false;
    }
    return true;
}

/// Memory for what a reading call gives. One for the whole process, and kept while it is not too large: fresh
/// memory comes from the operating system page by page and cleared, which costs as much as reading into it,
/// and programs open and close a database for each curve. Calls of the store do not run side by side.
class Staging {
  public:
    static unsigned char* Take(std::size_t wanted) {
        if (wanted > size) {
            Free();
            const std::size_t rounded = (wanted + hugePage - 1) / hugePage * hugePage;
            bytes.reset(static_cast<unsigned char*>(std::aligned_alloc(hugePage, rounded)));
            if (bytes == nullptr)
                throw std::bad_alloc();
            madvise(bytes.get(), rounded, MADV_HUGEPAGE);  // worth having, not needed
            size = rounded;
        }
        return bytes.get();
    }
    static void GiveBack() {
        if (size > mostKept)
            Free();
    }

  private:
    struct Release {
        void operator()(unsigned char* memory) const { std::free(memory); }
    };
    static void Free() {
        bytes.reset();
        size = 0;
    }
    static constexpr std::size_t hugePage = std::size_t{2} << 20;
    static constexpr std::size_t mostKept = std::size_t{64} << 20;
    static inline std::unique_ptr<unsigned char[], Release> bytes;
    static inline std::size_t size = 0;
};

/// A chunk row as SQLite holds it.
struct ChunkView {
    std::span<const unsigned char> present;  ///< empty: all are there
    std::span<const unsigned char> samples;
};

/// The place belongs to what is summed, so that a chunk that has strayed to another place does not pass.
std::uint32_t ChunkCrc(std::int64_t place, const ChunkView& view) {
    const std::uint64_t head[3] = {static_cast<std::uint64_t>(place), view.present.size(),
                                   view.samples.size()};
    std::uint32_t crc = Crc32c(head, sizeof head);
    crc = Crc32c(view.present.data(), view.present.size(), crc);
    return Crc32c(view.samples.data(), view.samples.size(), crc);
}

std::string NameOf(std::int64_t place) {
    return "chunk " + std::to_string(place & ((std::int64_t{1} << chunkNumberBits) - 1));
}

/// Whether a chunk can have so many bytes of validity bits (0: all samples are there) and of samples.
bool IsPossible(const ItemInfo& info, std::size_t presentBytes, std::size_t samplesBytes) {
    const auto sampleBytes = static_cast<std::size_t>(info.sampleBytes);
    const std::size_t capacity = samplesBytes / sampleBytes;
    return capacity > 0 && samplesBytes % sampleBytes == 0 && capacity <= info.SamplesPerChunk() &&
           (presentBytes == 0 || presentBytes == (capacity + 7) / 8);
}

/// The row of the query, columns present and samples. Throws unless it is what the item's list says.
ChunkView CheckedView(Query& query, std::int64_t place, std::uint32_t sum, const ItemInfo& info) {
    if (!query.Bind(1, place).Step())
        throw StoreError{DK_DISK_ERROR, NameOf(place) + " is missing", true};
    const ChunkView view{query.Blob(0), query.Blob(1)};
    if (!IsPossible(info, view.present.size(), view.samples.size()) ||
        !(query.IsNull(0) || query.IsBlob(0)) || ChunkCrc(place, view) != sum)
        Damaged(NameOf(place));
    return view;
}

/// The part of a request that falls into one chunk.
struct Span {
    std::int64_t chunk;
    std::size_t begin;  ///< in the chunk
    std::size_t end;
    std::size_t offset;  ///< of `begin` in the request
};

template <typename Visit>
void ForEachChunk(std::int64_t firstOrdinal, std::int64_t count, std::int64_t perChunk, Visit&& visit) {
    for (std::int64_t done = 0; done < count;) {
        const std::int64_t ordinal = firstOrdinal + done;
        const std::int64_t begin = ordinal % perChunk;
        const std::int64_t length = std::min(perChunk - begin, count - done);
        visit(Span{ordinal / perChunk, static_cast<std::size_t>(begin),
                   static_cast<std::size_t>(begin + length), static_cast<std::size_t>(done)});
        done += length;
    }
}

}  // namespace

/// What a reading call gives. Nothing reaches the caller before Deliver: a call that fails leaves its outputs
/// alone. Until then the samples lie on the grid of the chunks, so that a chunk is read to where it belongs.
class Database::SampleOutput {
  public:
    /// Ordinals `from` (negative: before the grid) and on.
    SampleOutput(const ItemInfo& info, std::int64_t from, std::size_t count, unsigned char* buffer,
                 std::uint8_t* present)
        : buffer_(buffer),
          present_(present),
          count_(count),
          sampleBytes_(static_cast<std::size_t>(info.sampleBytes)),
          chunkBytes_(info.SamplesPerChunk() * sampleBytes_) {
        const std::int64_t perChunk = info.SamplesPerChunk();
        const std::int64_t lead = (from % perChunk + perChunk) % perChunk;
        firstChunk_ = (from - lead) / perChunk;
        leadBytes_ = static_cast<std::size_t>(lead) * sampleBytes_;
        const std::size_t bytes = leadBytes_ + count * sampleBytes_;
        staging_ = Staging::Take((bytes + chunkBytes_ - 1) / chunkBytes_ * chunkBytes_);
        if (present_ == nullptr)
            return;
        flags_.resize(count);
        std::memset(staging_ + leadBytes_, 0, count * sampleBytes_);
    }

    ~SampleOutput() { Staging::GiveBack(); }
    SampleOutput(const SampleOutput&) = delete;
    SampleOutput& operator=(const SampleOutput&) = delete;

    void TakeGap() const {
        if (present_ == nullptr)
            throw StoreError{DK_NOT_AVAILABLE, "a gap"};
    }

    /// Where the samples of a chunk are to be read to.
    unsigned char* PlaceFor(std::int64_t chunk) const {
        return staging_ + static_cast<std::size_t>(chunk - firstChunk_) * chunkBytes_;
    }

    /// The part of a chunk, read to its place, that falls into the request, to lie from `offset` on.
    void Take(std::size_t offset, const Span& span, const ChunkView& view) {
        const std::size_t stop = std::min(span.end, view.samples.size() / sampleBytes_);
        const bool allThere =
            stop == span.end && (view.present.empty() || AllSet(view.present, span.begin, span.end));
        if (!allThere)
            TakeGap();
        if (present_ == nullptr || span.begin >= stop)
            return;
        if (allThere)
            std::memset(flags_.data() + offset, 1, stop - span.begin);
        else
            for (std::size_t i = span.begin; i < stop; ++i)
                flags_[offset + i - span.begin] = view.present.empty() || BitAt(view.present, i) ? 1 : 0;
    }

    void Deliver() const {
        std::memcpy(buffer_, staging_ + leadBytes_, count_ * sampleBytes_);
        if (present_ != nullptr)
            std::memcpy(present_, flags_.data(), count_);
    }

  private:
    unsigned char* buffer_;
    std::uint8_t* present_;
    std::size_t count_;
    std::size_t sampleBytes_;
    std::size_t chunkBytes_;
    std::int64_t firstChunk_ = 0;
    std::size_t leadBytes_ = 0;  ///< in the first chunk before the request
    unsigned char* staging_ = nullptr;
    std::vector<std::uint8_t> flags_;
};

/// What a writing call brings: checked, without samples at both ends that are not there.
class Database::SampleInput {
  public:
    SampleInput(const ItemInfo& info, std::int32_t first, std::int32_t count, const unsigned char* buffer,
                const std::uint8_t* present)
        : buffer_(buffer), present_(present), sampleBytes_(static_cast<std::size_t>(info.sampleBytes)) {
        if (present != nullptr && info.kind != DK_ITEM_CURVE)
            throw StoreError{DK_NOT_UNDERSTOOD, "only curves have gaps"};
        from_ = info.OrdinalAtOrBefore(first);
        if (from_ < 0 || info.IndexOf(from_) != first)
            throw StoreError{DK_NOT_UNDERSTOOD, "the first index is off the grid"};
        if (info.IndexOf(from_ + count - 1) > INT32_MAX)
            throw StoreError{DK_MAXIMUM, "the last index is beyond 32 bits"};
        end_ = count;
        while (present != nullptr && begin_ < end_ && present[begin_] == 0)
            ++begin_;
        while (present != nullptr && end_ > begin_ && present[end_ - 1] == 0)
            --end_;
    }
    bool IsEmpty() const { return begin_ >= end_; }
    bool HasGaps() const { return present_ != nullptr; }
    std::int64_t FirstOrdinal() const { return from_ + begin_; }
    std::int64_t LastOrdinal() const { return from_ + end_ - 1; }

    template <typename Visit>
    void ForEachChunk(std::int64_t perChunk, Visit&& visit) const {
        store::ForEachChunk(FirstOrdinal(), end_ - begin_, perChunk, visit);
    }
    std::span<const unsigned char> Samples(const Span& span) const {
        return {At(span.offset), (span.end - span.begin) * sampleBytes_};
    }
    void CopyInto(Chunk& chunk, const Span& span) const;

  private:
    const unsigned char* At(std::size_t offset) const {
        return buffer_ + (static_cast<std::size_t>(begin_) + offset) * sampleBytes_;
    }
    const unsigned char* buffer_;
    const std::uint8_t* present_;
    std::size_t sampleBytes_;
    std::int64_t from_ = 0;   ///< the ordinal of the buffer's first sample
    std::int64_t begin_ = 0;  ///< in the buffer
    std::int64_t end_ = 0;
};

/// A chunk being changed.
struct Database::Chunk {
    std::vector<unsigned char>
        present;  ///< a bit for each sample of the capacity; unlike in the file never left out
    std::vector<unsigned char> samples;
    std::size_t capacity = 0;

    void Grow(std::size_t needed, std::size_t sampleBytes) {
        if (needed <= capacity)
            return;
        capacity = std::bit_ceil(needed);
        present.resize((capacity + 7) / 8);
        samples.resize(capacity * sampleBytes);
    }
    bool IsComplete() const { return AllSet(present, 0, capacity); }
    bool IsEmpty() const {
        return std::all_of(present.begin(), present.end(), [](unsigned char bits) { return bits == 0; });
    }
};

void Database::SampleInput::CopyInto(Chunk& chunk, const Span& span) const {
    unsigned char* const into = chunk.samples.data() + span.begin * sampleBytes_;
    if (present_ == nullptr) {
        std::memcpy(into, At(span.offset), (span.end - span.begin) * sampleBytes_);
        SetBits(chunk.present, span.begin, span.end);
        return;
    }
    for (std::size_t i = 0; i < span.end - span.begin; ++i) {
        if (present_[static_cast<std::size_t>(begin_) + span.offset + i] == 0)
            continue;
        std::memcpy(into + i * sampleBytes_, At(span.offset + i), sampleBytes_);
        SetBit(chunk.present, span.begin + i);
    }
}

// --- Reading ---

/// Ordinals [begin, end). `offset` is where `begin` lies in the output.
void Database::ReadChunks(const ItemRow& row, std::int64_t begin, std::int64_t end, std::size_t offset,
                          SampleOutput& output) {
    BlobReader samples(connection_, "chunks", "samples");
    ForEachChunk(begin, end - begin, row.info.SamplesPerChunk(), [&](const Span& span) {
        const std::optional<std::uint32_t> sum = row.chunks.Find(span.chunk);
        if (!sum) {
            output.TakeGap();
            return;
        }
        const std::int64_t place = PlaceOf(row.number, span.chunk);
        Query query(connection_, sql_->chunkShape);
        if (!query.Bind(1, place).Step())
            throw StoreError{DK_DISK_ERROR, NameOf(place) + " is missing", true};
        const auto present = query.Blob(0);
        if (!(query.IsNull(0) || query.IsBlob(0)) || query.IsNull(1) ||
            !IsPossible(row.info, present.size(), static_cast<std::size_t>(query.Integer(1))))
            Damaged(NameOf(place));
        const std::span into(output.PlaceFor(span.chunk), static_cast<std::size_t>(query.Integer(1)));
        samples.Read(place, into);
        if (ChunkCrc(place, {present, into}) != *sum)
            Damaged(NameOf(place));
        output.Take(offset + span.offset, span, {present, into});
    });
}

void Database::Read(const ItemKey& key, std::int32_t first, std::int32_t count, unsigned char* buffer,
                    std::uint8_t* present) {
    const ReadScope scope(*this);
    if (key.IsDataset())
        throw StoreError{DK_NOT_UNDERSTOOD, "a dataset has no samples"};
    const ItemRow row = LoadItem(key);
    const ItemInfo& info = row.info;
    if (present != nullptr && info.kind != DK_ITEM_CURVE)
        throw StoreError{DK_NOT_UNDERSTOOD, "only curves have gaps"};
    if (count == 0)
        return;
    const std::int64_t from = info.OrdinalAtOrBefore(first);
    if (present == nullptr && !info.IsEmpty() && from < info.FirstOrdinal())
        throw StoreError{DK_NOT_AVAILABLE, "before the first sample"};
    if (present == nullptr && from + count - 1 > info.LastOrdinal())
        throw StoreError{DK_NOT_WRITTEN, "beyond the last sample"};

    const std::int64_t begin = std::max<std::int64_t>(from, 0);
    const std::int64_t end = std::min(from + count, info.LastOrdinal() + 1);
    SampleOutput output(info, from, static_cast<std::size_t>(count), buffer, present);
    ReadChunks(row, begin, end, static_cast<std::size_t>(begin - from), output);
    output.Deliver();
}

/// False for a chunk that the item does not have.
bool Database::LoadChunk(const ItemRow& row, std::int64_t number, Chunk& chunk) {
    const std::optional<std::uint32_t> sum = row.chunks.Find(number);
    if (!sum)
        return false;
    Query query(connection_, sql_->chunk);
    const ChunkView view = CheckedView(query, PlaceOf(row.number, number), *sum, row.info);
    chunk.capacity = view.samples.size() / static_cast<std::size_t>(row.info.sampleBytes);
    chunk.samples.assign(view.samples.begin(), view.samples.end());
    chunk.present.assign(view.present.begin(), view.present.end());
    if (view.present.empty()) {
        chunk.present.assign((chunk.capacity + 7) / 8, 0);
        SetBits(chunk.present, 0, chunk.capacity);
    }
    return true;
}

void Database::CheckChunk(const ItemRow& row, const ChunkSums::Line& line) {
    Query query(connection_, sql_->chunk);
    CheckedView(query, PlaceOf(row.number, line.chunk), line.sum, row.info);
}

// --- Writing ---

/// Into its table and into the item's list. A row that the list does not know is not the item's: it is
/// replaced.
void Database::StoreChunk(ItemRow& row, std::int64_t number, std::span<const unsigned char> present,
                          std::span<const unsigned char> samples) {
    const std::int64_t place = PlaceOf(row.number, number);
    const std::uint32_t crc = ChunkCrc(place, {present, samples});
    row.chunks.Set(number, crc);
    if (row.chunks.Lines().size() > mostChunks)
        throw StoreError{DK_MAXIMUM, "the item has too many chunks"};
    Query query(connection_, sql_->storeChunk);
    query.Bind(1, place);
    query.Bind(2, std::span(reinterpret_cast<const unsigned char*>(&crc), sizeof crc));
    if (present.empty())
        query.BindNull(3);
    else
        query.Bind(3, present);
    query.Bind(4, samples).Run();
}

void Database::WriteChunks(ItemRow& row, const SampleInput& input) {
    const auto sampleBytes = static_cast<std::size_t>(row.info.sampleBytes);
    const std::int64_t perChunk = row.info.SamplesPerChunk();
    Chunk chunk;
    input.ForEachChunk(perChunk, [&](const Span& span) {
        if (!input.HasGaps() && span.end - span.begin == row.info.SamplesPerChunk()) {
            StoreChunk(row, span.chunk, {}, input.Samples(span));
            return;
        }
        chunk = {};
        LoadChunk(row, span.chunk, chunk);
        chunk.Grow(span.end, sampleBytes);
        input.CopyInto(chunk, span);
        if (chunk.IsEmpty())
            return;
        StoreChunk(row, span.chunk, chunk.IsComplete() ? std::span<const unsigned char>() : chunk.present,
                   chunk.samples);
    });
}

void Database::Write(const ItemKey& key, std::int32_t first, std::int32_t count, const unsigned char* buffer,
                     const std::uint8_t* present) {
    WriteScope scope(*this);
    if (key.IsDataset())
        throw StoreError{DK_NOT_UNDERSTOOD, "a dataset has no samples"};
    DatasetRow dataset = LoadDataset(key.dataset);
    ItemRow row = LoadItem(dataset, key.number);
    const SampleInput input(row.info, first, count, buffer, present);
    if (input.IsEmpty())
        return;
    WriteChunks(row, input);
    row.info.Extend(input.FirstOrdinal(), input.LastOrdinal());
    StoreItem(dataset, row);
    scope.Commit();
}

}  // namespace dravik::store
