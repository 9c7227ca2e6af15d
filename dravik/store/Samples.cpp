// The samples of items: chunks of up to 32 KiB, each with a checksum over its place, its validity bits and
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

/// A chunk row as it lies in the file, not copied.
struct ChunkView {
    std::span<const unsigned char> present;  ///< empty: all are there
    std::span<const unsigned char> samples;
};

/// The place belongs to what is summed, so that a chunk that has strayed to another place does not pass.
std::uint32_t ChunkCrc(std::int64_t place, const ChunkView& chunk) {
    const std::uint64_t head[3] = {static_cast<std::uint64_t>(place), chunk.present.size(),
                                   chunk.samples.size()};
    std::uint32_t crc = Crc32c(head, sizeof head);
    crc = Crc32c(chunk.present.data(), chunk.present.size(), crc);
    return Crc32c(chunk.samples.data(), chunk.samples.size(), crc);
}

[[noreturn]] void DamagedChunk(std::int64_t place) {
    throw StoreError{
        DK_DISK_ERROR,
        "chunk " + std::to_string(place & ((std::int64_t{1} << chunkNumberBits) - 1)) + " is damaged"};
}

/// Columns `column`, +1, +2 of the row: crc, present, samples. Throws DK_DISK_ERROR unless they are as
/// written.
ChunkView CheckedView(const Query& query, int column, std::int64_t place, const ItemInfo& info) {
    const auto crc = query.Blob(column);
    const ChunkView view{query.Blob(column + 1), query.Blob(column + 2)};
    const auto sampleBytes = static_cast<std::size_t>(info.sampleBytes);
    const std::size_t capacity = view.samples.size() / sampleBytes;
    const bool shapeSound = crc.size() == sizeof(std::uint32_t) && capacity > 0 &&
                            view.samples.size() % sampleBytes == 0 && capacity <= info.SamplesPerChunk() &&
                            (query.IsNull(column + 1) || view.present.size() == (capacity + 7) / 8);
    std::uint32_t stored = 0;
    if (shapeSound)
        std::memcpy(&stored, crc.data(), sizeof stored);
    if (!shapeSound || stored != ChunkCrc(place, view))
        DamagedChunk(place);
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

    // The caller's buffer is touched when everything has been read and found sound.
    const auto sampleBytes = static_cast<std::size_t>(info.sampleBytes);
    const std::size_t bytes = static_cast<std::size_t>(count) * sampleBytes;
    const std::size_t total = bytes + (present != nullptr ? static_cast<std::size_t>(count) : 0);
    if (staging_.size() < total)
        staging_.resize(total);
    unsigned char* const samples = staging_.data();
    unsigned char* const flags = samples + bytes;
    if (present != nullptr)
        std::memset(samples, 0, total);

    const std::int64_t begin = present == nullptr ? from : std::max<std::int64_t>(from, 0);
    const std::int64_t end = std::min(from + count, info.LastOrdinal() + 1);
    const std::int64_t perChunk = info.SamplesPerChunk();
    Query rows(connection_, sql_->chunkRange);
    rows.Bind(1, PlaceOf(key.number, begin / perChunk))
        .Bind(2, PlaceOf(key.number, std::max(begin, end - 1) / perChunk));
    bool haveRow = begin < end && rows.Step();
    bool lossChecked = false;
    ForEachChunk(begin, end - begin, perChunk, [&](const Span& span) {
        const std::int64_t place = PlaceOf(key.number, span.chunk);
        if (!haveRow || rows.Integer(0) != place) {
            if (!lossChecked)
                ExpectNoChunkLost(key.number, info);
            lossChecked = true;
            if (present == nullptr)
                throw StoreError{DK_NOT_AVAILABLE, "a gap"};
            return;
        }
        const ChunkView view = CheckedView(rows, 1, place, info);
        const std::size_t capacity = view.samples.size() / sampleBytes;
        const std::size_t stop = std::min(span.end, capacity);
        const std::size_t offset = span.offset + static_cast<std::size_t>(begin - from);
        if (present == nullptr &&
            (stop < span.end || (!view.present.empty() && !AllSet(view.present, span.begin, stop))))
            throw StoreError{DK_NOT_AVAILABLE, "a gap"};
        if (span.begin < stop)
            std::memcpy(samples + offset * sampleBytes, view.samples.data() + span.begin * sampleBytes,
                        (stop - span.begin) * sampleBytes);
        if (present != nullptr)
            for (std::size_t i = span.begin; i < stop; ++i)
                flags[offset + i - span.begin] = view.present.empty() || BitAt(view.present, i) ? 1 : 0;
        haveRow = rows.Step();
    });
    std::memcpy(buffer, samples, bytes);
    if (present != nullptr)
        std::memcpy(present, flags, static_cast<std::size_t>(count));
    if (staging_.size() > keptStaging)
        std::vector<unsigned char>().swap(staging_);
}

bool Database::LoadChunk(std::int64_t item, std::int64_t number, const ItemInfo& info, Chunk& chunk) {
    const std::int64_t place = PlaceOf(item, number);
    Query query(connection_, sql_->chunk);
    if (!query.Bind(1, place).Step())
        return false;
    const ChunkView view = CheckedView(query, 0, place, info);
    chunk.capacity = view.samples.size() / static_cast<std::size_t>(info.sampleBytes);
    chunk.samples.assign(view.samples.begin(), view.samples.end());
    chunk.present.assign(view.present.begin(), view.present.end());
    if (view.present.empty()) {
        chunk.present.assign((chunk.capacity + 7) / 8, 0);
        SetBits(chunk.present, 0, chunk.capacity);
    }
    return true;
}

// --- Writing ---

void Database::StoreChunk(std::int64_t item, std::int64_t number, const Chunk& chunk, bool exists) {
    const std::int64_t place = PlaceOf(item, number);
    const bool complete = chunk.IsComplete();
    const ChunkView view{complete ? std::span<const unsigned char>() : chunk.present, chunk.samples};
    const std::uint32_t crc = ChunkCrc(place, view);
    Query query(connection_, exists ? sql_->updateChunk : sql_->insertChunk);
    query.Bind(1, place);
    query.Bind(2, std::span(reinterpret_cast<const unsigned char*>(&crc), sizeof crc));
    if (complete)
        query.BindNull(3);
    else
        query.Bind(3, view.present);
    query.Bind(4, view.samples).Run();
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
        StoreChunk(key.number, span.chunk, chunk, exists);
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
