// The samples of items: chunks of up to 64 KiB, each with a checksum over its place, its validity bits and
// its samples.
#include <algorithm>
#include <bit>
#include <cstring>

#include "dravik/store/Crc32c.h"
#include "dravik/store/Database.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"

namespace vorela::store {
namespace {

constexpr int chunkNumberBits = 28;
constexpr std::size_t keptStaging = std::size_t{4} << 20;

constexpr std::int64_t PlaceOf(std::int64_t item, std::int64_t chunk) {
    return (item << chunkNumberBits) | chunk;
}
constexpr std::int64_t LastPlaceOf(std::int64_t item) {
    return PlaceOf(item + 1, 0) - 1;
}

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

/// The place belongs to what is summed, so that a chunk that has strayed to another place does not pass.
std::uint32_t ChunkCrc(std::int64_t place, std::span<const unsigned char> present,
                       std::span<const std::span<const unsigned char>> samples, std::size_t sampleBytes) {
    const std::uint64_t head[3] = {static_cast<std::uint64_t>(place), present.size(), sampleBytes};
    std::uint32_t crc = Crc32c(head, sizeof head);
    crc = Crc32c(present.data(), present.size(), crc);
    for (const auto piece : samples)
        crc = Crc32c(piece.data(), piece.size(), crc);
    return crc;
}

/// Whether the row is as it was written.
bool IsSound(const ChunkView& view, std::int64_t place, const ItemInfo& info) {
    const auto sampleBytes = static_cast<std::size_t>(info.sampleBytes);
    const std::size_t capacity = view.sampleBytes / sampleBytes;
    std::uint32_t stored = 0;
    if (view.crc.size() != sizeof stored || capacity == 0 || view.sampleBytes % sampleBytes != 0 ||
        capacity > info.SamplesPerChunk() ||
        (!view.present.empty() && view.present.size() != (capacity + 7) / 8))
        return false;
    std::memcpy(&stored, view.crc.data(), sizeof stored);
    return stored == ChunkCrc(place, view.present, view.samples, view.sampleBytes);
}

/// Columns 0, 1, 2 of the query: crc, present, samples. Throws DK_DISK_ERROR unless they are as written.
void TakeView(const Query& query, std::int64_t place, const ItemInfo& info, ChunkView& view) {
    view.crc = query.Blob(0);
    view.present = query.Blob(1);
    view.samples.assign(1, query.Blob(2));
    view.sampleBytes = view.samples.front().size();
    if (!(query.IsNull(1) || query.IsBlob(1)) || !IsSound(view, place, info))
        throw StoreError{
            DK_DISK_ERROR,
            "chunk " + std::to_string(place & ((std::int64_t{1} << chunkNumberBits) - 1)) + " is damaged"};
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
/// alone.
class Database::SampleOutput {
  public:
    SampleOutput(unsigned char* buffer, std::uint8_t* present, std::size_t count, std::size_t sampleBytes,
                 StagingBuffer& staging)
        : buffer_(buffer), present_(present), count_(count), sampleBytes_(sampleBytes), staging_(staging) {
        if (present_ != nullptr)
            flags_.resize(count);
    }

    /// Samples [begin, end) of a chunk, to lie from `offset` on. The view must live until Stage or Deliver.
    /// Null: the chunk is a gap.
    void Take(std::size_t offset, std::size_t begin, std::size_t end, const ChunkView* view) {
        const std::size_t capacity = view != nullptr ? view->sampleBytes / sampleBytes_ : 0;
        const std::size_t stop = std::min(end, capacity);
        const bool allThere = stop == end && (view->present.empty() || AllSet(view->present, begin, end));
        if (present_ == nullptr && !allThere)
            throw StoreError{DK_NOT_AVAILABLE, "a gap"};
        if (begin >= stop)
            return;
        std::size_t pieceBegin = 0;
        for (const auto piece : view->samples) {
            const std::size_t from = std::clamp(begin * sampleBytes_, pieceBegin, pieceBegin + piece.size());
            const std::size_t to = std::clamp(stop * sampleBytes_, pieceBegin, pieceBegin + piece.size());
            if (from < to)
                pieces_.push_back({offset * sampleBytes_ + from - begin * sampleBytes_,
                                   piece.subspan(from - pieceBegin, to - from)});
            pieceBegin += piece.size();
        }
        samplesTaken_ += stop - begin;
        if (present_ == nullptr)
            return;
        if (allThere)
            std::memset(flags_.data() + offset, 1, stop - begin);
        else
            for (std::size_t i = begin; i < stop; ++i)
                flags_[offset + i - begin] = view->present.empty() || BitAt(view->present, i) ? 1 : 0;
    }

    /// Copies what was taken, because the views are about to go.
    void Stage() {
        if (!staged_)
            staging_.Reserve(count_ * sampleBytes_);
        if (!staged_ && present_ != nullptr)
            std::memset(staging_.bytes.get(), 0, count_ * sampleBytes_);
        staged_ = true;
        CopyPieces(staging_.bytes.get());
    }

    void Deliver() {
        if (staged_)
            Stage();
        else if (samplesTaken_ < count_)
            std::memset(buffer_, 0, count_ * sampleBytes_);
        if (staged_)
            std::memcpy(buffer_, staging_.bytes.get(), count_ * sampleBytes_);
        else
            CopyPieces(buffer_);
        if (present_ != nullptr)
            std::memcpy(present_, flags_.data(), count_);
    }

  private:
    struct Piece {
        std::size_t offset;
        std::span<const unsigned char> bytes;
    };
    void CopyPieces(unsigned char* into) {
        for (const Piece& piece : pieces_)
            std::memcpy(into + piece.offset, piece.bytes.data(), piece.bytes.size());
        pieces_.clear();
    }

    unsigned char* buffer_;
    std::uint8_t* present_;
    std::size_t count_;
    std::size_t sampleBytes_;
    StagingBuffer& staging_;
    std::vector<std::uint8_t> flags_;
    std::vector<Piece> pieces_;
    std::size_t samplesTaken_ = 0;
    bool staged_ = false;
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
};

// --- Reading ---

/// A chunk that is not there is a gap as long as the item has the chunks that it has been given: as many,
/// with the same sum of numbers (the walk over a damaged tree may count a row that is not this item's).
void Database::ExpectNoChunkLost(std::int64_t item, const ItemInfo& info) {
    Query query(connection_, sql_->countChunks);
    query.Bind(1, PlaceOf(item, 0)).Bind(2, LastPlaceOf(item)).Step();
    if (query.Integer(0) != info.chunkCount || query.Integer(1) != info.chunkSum)
        throw StoreError{DK_DISK_ERROR, "chunks are missing"};
}

std::uint32_t Database::ChunkRootPage() {
    if (chunkRootPage_ == 0) {
        Query query(connection_, sql_->chunkRoot);
        if (query.Step())
            chunkRootPage_ = static_cast<std::uint32_t>(query.Integer(0));
    }
    return chunkRootPage_;
}

/// Ordinals [begin, end). `offset` is where `begin` lies in the output.
void Database::ReadChunks(std::int64_t item, const ItemInfo& info, std::int64_t begin, std::int64_t end,
                          std::size_t offset, SampleOutput& output) {
    // Inside DBbegin the newest pages may be in SQLite's cache only.
    const bool direct = plainPages_ && !explicitTransaction_;
    const auto bytesFrom = [&](std::size_t done) {
        return (static_cast<std::size_t>(end - begin) - done) * static_cast<std::size_t>(info.sampleBytes);
    };
    if (direct && begin < end)
        scan_.Begin(ChunkRootPage(), bytesFrom(0));
    bool lossChecked = false;
    ChunkView view;
    ForEachChunk(begin, end - begin, info.SamplesPerChunk(), [&](const Span& span) {
        const std::int64_t place = PlaceOf(item, span.chunk);
        const std::size_t at = offset + span.offset;
        if (direct && !scan_.HasRoom()) {
            output.Stage();
            scan_.Begin(ChunkRootPage(), bytesFrom(span.offset));
        }
        if (direct && scan_.Find(place, view) && IsSound(view, place, info)) {
            output.Take(at, span.begin, span.end, &view);
            return;
        }
        Query query(connection_, sql_->chunk);
        if (query.Bind(1, place).Step()) {
            TakeView(query, place, info, view);
            output.Take(at, span.begin, span.end, &view);
            output.Stage();
            return;
        }
        if (!lossChecked)
            ExpectNoChunkLost(item, info);
        lossChecked = true;
        output.Take(at, span.begin, span.end, nullptr);
    });
}

void Database::Read(const ItemKey& key, std::int32_t first, std::int32_t count, unsigned char* buffer,
                    std::uint8_t* present) {
    const ReadScope scope(*this);
    if (key.isDataset)
        throw StoreError{DK_NOT_UNDERSTOOD, "a dataset has no samples"};
    const ItemInfo info = LoadItem(key.number).info;
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
    SampleOutput output(buffer, present, static_cast<std::size_t>(count),
                        static_cast<std::size_t>(info.sampleBytes), staging_);
    ReadChunks(key.number, info, begin, end, static_cast<std::size_t>(begin - from), output);
    output.Deliver();
    if (staging_.size > keptStaging)
        staging_ = {};
}

bool Database::LoadChunk(std::int64_t item, std::int64_t number, const ItemInfo& info, Chunk& chunk) {
    const std::int64_t place = PlaceOf(item, number);
    Query query(connection_, sql_->chunk);
    if (!query.Bind(1, place).Step())
        return false;
    ChunkView view;
    TakeView(query, place, info, view);
    chunk.capacity = view.sampleBytes / static_cast<std::size_t>(info.sampleBytes);
    chunk.samples.assign(view.samples.front().begin(), view.samples.front().end());
    chunk.present.assign(view.present.begin(), view.present.end());
    if (view.present.empty()) {
        chunk.present.assign((chunk.capacity + 7) / 8, 0);
        SetBits(chunk.present, 0, chunk.capacity);
    }
    return true;
}

// --- Writing ---

void Database::StoreChunk(std::int64_t place, std::span<const unsigned char> present,
                          std::span<const unsigned char> samples, bool exists) {
    const std::uint32_t crc = ChunkCrc(place, present, {&samples, 1}, samples.size());
    Query query(connection_, exists ? sql_->updateChunk : sql_->insertChunk);
    query.Bind(1, place);
    query.Bind(2, std::span(reinterpret_cast<const unsigned char*>(&crc), sizeof crc));
    if (present.empty())
        query.BindNull(3);
    else
        query.Bind(3, present);
    query.Bind(4, samples).Run();
}

void Database::Write(const ItemKey& key, std::int32_t first, std::int32_t count, const unsigned char* buffer,
                     const std::uint8_t* present) {
    WriteScope scope(*this);
    if (key.isDataset)
        throw StoreError{DK_NOT_UNDERSTOOD, "a dataset has no samples"};
    ItemRow row = LoadItem(key.number);
    ItemInfo& info = row.info;
    if (present != nullptr && info.kind != DK_ITEM_CURVE)
        throw StoreError{DK_NOT_UNDERSTOOD, "only curves have gaps"};
    const std::int64_t from = info.OrdinalAtOrBefore(first);
    if (from < 0 || info.IndexOf(from) != first)
        throw StoreError{DK_NOT_UNDERSTOOD, "the first index is off the grid"};
    if (info.IndexOf(from + count - 1) > INT32_MAX)
        throw StoreError{DK_MAXIMUM, "the last index is beyond 32 bits"};

    // Samples at both ends that are not there do not count.
    std::int64_t leading = 0;
    std::int64_t end = count;
    while (present != nullptr && leading < end && present[leading] == 0)
        ++leading;
    while (present != nullptr && end > leading && present[end - 1] == 0)
        --end;
    if (leading == end)
        return;

    const auto sampleBytes = static_cast<std::size_t>(info.sampleBytes);
    const std::int64_t perChunk = info.SamplesPerChunk();
    const std::int64_t lastChunk = info.IsEmpty() ? -1 : info.LastOrdinal() / perChunk;
    Chunk chunk;
    ForEachChunk(from + leading, end - leading, perChunk, [&](const Span& span) {
        const std::size_t offset = span.offset + static_cast<std::size_t>(leading);
        const std::int64_t place = PlaceOf(key.number, span.chunk);
        if (present == nullptr && span.chunk > lastChunk && span.end - span.begin == info.SamplesPerChunk()) {
            StoreChunk(place, {}, {buffer + offset * sampleBytes, (span.end - span.begin) * sampleBytes},
                       false);
            ++info.chunkCount;
            info.chunkSum += span.chunk;
            return;
        }
        chunk.present.clear();
        chunk.samples.clear();
        chunk.capacity = 0;
        const bool exists = span.chunk <= lastChunk && LoadChunk(key.number, span.chunk, info, chunk);
        chunk.Grow(span.end, sampleBytes);
        if (present == nullptr) {
            std::memcpy(chunk.samples.data() + span.begin * sampleBytes, buffer + offset * sampleBytes,
                        (span.end - span.begin) * sampleBytes);
            SetBits(chunk.present, span.begin, span.end);
        } else {
            for (std::size_t i = span.begin; i < span.end; ++i) {
                const std::size_t source = offset + i - span.begin;
                if (present[source] == 0)
                    continue;
                std::memcpy(chunk.samples.data() + i * sampleBytes, buffer + source * sampleBytes,
                            sampleBytes);
                SetBit(chunk.present, i);
            }
        }
        if (std::none_of(chunk.present.begin(), chunk.present.end(),
                         [](unsigned char bits) { return bits != 0; }))
            return;
        StoreChunk(place, chunk.IsComplete() ? std::span<const unsigned char>() : chunk.present,
                   chunk.samples, exists);
        info.chunkCount += exists ? 0 : 1;
        info.chunkSum += exists ? 0 : span.chunk;
    });
    const auto firstWritten = static_cast<std::int32_t>(info.IndexOf(from + leading));
    const auto lastWritten = static_cast<std::int32_t>(info.IndexOf(from + end - 1));
    const bool empty = info.IsEmpty();
    info.extentFirst = empty ? firstWritten : std::min(info.extentFirst, firstWritten);
    info.extentLast = empty ? lastWritten : std::max(info.extentLast, lastWritten);
    StoreItem(key.number, row);
    scope.Commit();
}

void Database::DeleteItem(std::int64_t number) {
    Query(connection_, sql_->deleteChunks).Bind(1, PlaceOf(number, 0)).Bind(2, LastPlaceOf(number)).Run();
    Query(connection_, sql_->deleteItem).Bind(1, number).Run();
}

// --- Verifying ---

std::int64_t Database::NextChunk(std::int64_t item, std::int64_t from) {
    Query query(connection_, sql_->nextPlace);
    if (!query.Bind(1, PlaceOf(item, from)).Bind(2, LastPlaceOf(item)).Step())
        return -1;
    return query.Integer(0) - PlaceOf(item, 0);
}

void Database::VerifyItem(std::int64_t number, std::vector<Damage>& damages, std::string& fault) {
    const ItemRow row = LoadItem(number);
    const ItemInfo& info = row.info;
    const std::string path = DatasetName(row.dataset) + row.name;
    UnitText(info.unit);
    const std::int64_t perChunk = info.SamplesPerChunk();
    const std::int64_t chunks = info.IsEmpty() ? 0 : info.LastOrdinal() / perChunk + 1;
    const auto report = [&](std::int64_t chunk) {
        const std::int64_t last = std::min((chunk + 1) * perChunk - 1, info.LastOrdinal());
        damages.push_back({path, static_cast<std::int32_t>(info.IndexOf(chunk * perChunk)),
                           static_cast<std::int32_t>(info.IndexOf(last))});
    };
    std::uint32_t found = 0;
    Chunk chunk;
    for (std::int64_t at = 0; at < chunks; ++at) {
        try {
            const std::int64_t next = NextChunk(number, at);
            if (next < at)  // none, or a damaged tree leads back
                break;
            at = next;
            ++found;
            LoadChunk(number, at, info, chunk);
        } catch (const StoreError& error) {
            if (error.status != DK_DISK_ERROR)
                throw;
            report(at);
        }
    }
    if (found != info.chunkCount)
        fault = path + ": chunks are missing";
}

std::vector<Damage> Database::Verify(std::string& fault) {
    const ReadScope scope(*this);
    std::vector<Damage> damages;
    std::vector<std::int64_t> numbers;
    unitTexts_.clear();  // read afresh what the file holds
    {
        Query items(connection_, sql_->items);
        while (items.Step())
            numbers.push_back(items.Integer(0));
    }
    for (const std::int64_t number : numbers) {
        try {
            VerifyItem(number, damages, fault);
        } catch (const StoreError& error) {
            if (error.status == DK_NO_MEMORY)
                throw;
            fault = error.detail;
        }
    }
    Statement check("PRAGMA integrity_check(1)");
    Query integrity(connection_, check);
    if (!integrity.Step() || integrity.Text(0) != "ok")
        fault = "the file's structure is damaged: " + integrity.Text(0);
    return damages;
}

}  // namespace vorela::store
