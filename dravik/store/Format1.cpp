// Files of version 1: read with the checks they have, and made files of version 2.
#include <algorithm>
#include <cstring>
#include <set>

#include "dravik/store/Crc32c.h"
#include "dravik/store/Database.h"
#include "dravik/store/Format.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"
#include "dravik/store/UnitTexts.h"

namespace dravik::store {
namespace {

/// The checksum of a row of that version.
std::int64_t OldRowCrc(char kind, std::int64_t number, std::int64_t parent, std::string_view text,
                       std::span<const unsigned char> block = {}) {
    std::uint32_t crc = Crc32c(&kind, 1);
    crc = Crc32c(&number, sizeof number, crc);
    crc = Crc32c(&parent, sizeof parent, crc);
    const std::uint64_t length = text.size();
    crc = Crc32c(&length, sizeof length, crc);
    crc = Crc32c(text.data(), text.size(), crc);
    return Crc32c(block.data(), block.size(), crc);
}

void SortByNumber(Entries& entries) {
    std::sort(entries.begin(), entries.end(),
              [](const Entry& one, const Entry& other) { return one.number < other.number; });
}

}  // namespace

Entries Database::DatasetsOfFormat1() {
    Entries entries;
    Query query(connection_, sql_->oldDatasets);
    while (query.Step())
        entries.push_back({query.Integer(0), 0, query.Text(1)});
    SortByNumber(entries);
    return entries;
}

Entries Database::ItemsOfFormat1(std::int64_t dataset) {
    Entries entries;
    Query query(connection_, sql_->oldItems);
    query.Bind(1, dataset);
    while (query.Step())
        entries.push_back({query.Integer(0), 0, query.Text(1)});
    SortByNumber(entries);
    return entries;
}

Database::DatasetRow Database::LoadDatasetOfFormat1(std::int64_t number) {
    Query query(connection_, sql_->oldDataset);
    if (!query.Bind(1, number).Step())
        throw StoreError{DK_NOT_AVAILABLE, "the dataset has been deleted"};
    std::string name = query.Text(0);
    if (query.Integer(1) != OldRowCrc('D', number, 0, name))
        Damaged("dataset \"" + name + "\"");
    return {number, std::move(name), 0, ItemsOfFormat1(number)};
}

std::string Database::UnitTextOfFormat1(std::int32_t code) {
    if (code == 0)
        return {};
    Query query(connection_, sql_->oldUnit);
    if (!query.Bind(1, std::int64_t{code}).Step())
        Damaged("the unit table");
    std::string text = query.Text(0);
    if (query.Integer(1) != OldRowCrc('U', code, 0, text))
        Damaged("the unit table");
    return text;
}

Database::ItemRow Database::LoadItemOfFormat1(std::int64_t number) {
    Query query(connection_, sql_->oldItem);
    if (!query.Bind(1, number).Step())
        throw StoreError{DK_NOT_AVAILABLE, "the item has been deleted"};
    ItemRow row{number, query.Integer(0), query.Text(1), {}, {}, {}};
    const auto block = query.Blob(2);
    const auto info = ItemInfo::Decode(block);
    if (!info || query.Integer(3) != OldRowCrc('I', number, row.dataset, row.name, block))
        Damaged("item \"" + row.name + "\"");
    row.info = *info;
    row.unit = UnitTextOfFormat1(info->unit);
    row.info.unit = ProcessUnitCode(row.unit);
    row.chunks = ChunksOfFormat1(number, *info);
    row.info.chunkCount = 0;
    row.info.chunkSum = 0;
    return row;
}

/// What the rows of chunks say of themselves. When they are not as many as the item has been given (with the
/// same sum of numbers: the walk over a damaged tree may count a row that is not this item's), every chunk
/// that is not found counts as one that was lost.
ChunkSums Database::ChunksOfFormat1(std::int64_t item, const ItemInfo& info) {
    ChunkSums sums;
    std::uint32_t count = 0;
    std::int64_t sumOfNumbers = 0;
    const std::int64_t last = info.IsEmpty() ? -1 : info.LastOrdinal() / info.SamplesPerChunk();
    try {
        Query query(connection_, sql_->oldChunks);
        query.Bind(1, PlaceOf(item, 0)).Bind(2, LastPlaceOf(item));
        for (std::int64_t before = -1; query.Step(); ++count) {
            const std::int64_t chunk = query.Integer(0) - PlaceOf(item, 0);
            const auto crc = query.Blob(1);
            std::uint32_t sum = 0;
            if (chunk <= before || chunk > last)
                break;  // a damaged tree
            if (crc.size() == sizeof sum)
                std::memcpy(&sum, crc.data(), sizeof sum);
            sums.Set(chunk, sum);
            sumOfNumbers += chunk;
            before = chunk;
        }
    } catch (const StoreError& error) {
        if (!error.isDamage)
            throw;
        count = info.chunkCount + 1;
    }
    if (count == info.chunkCount && sumOfNumbers == info.chunkSum)
        return sums;
    constexpr std::int64_t mostMissing = 1 << 20;
    if (last >= mostMissing)
        Damaged("the list of chunks");
    ChunkSums all;
    for (std::int64_t chunk = 0; chunk <= last; ++chunk)
        all.Set(chunk, sums.Find(chunk).value_or(0));
    return all;
}

// --- Raising ---

/// As it lies there, with a checksum that fails: it stays damaged, and what it held stays in the file.
void Database::CarryDamagedItem(std::int64_t number) {
    Query query(connection_, sql_->oldItem);
    const bool isThere = query.Bind(1, number).Step();
    const std::string name = isThere ? query.Text(1) : "";
    const Bytes block = isThere ? Bytes(query.Blob(2).begin(), query.Blob(2).end()) : Bytes();
    Query(connection_, sql_->storeItem)
        .Bind(1, number)
        .Bind(2, isThere ? query.Integer(0) : 0)
        .Bind(3, name)
        .Bind(4, "")
        .Bind(5, block)
        .Bind(6, Bytes())
        .Bind(7, std::int64_t{-1})  // no checksum
        .Run();
}

void Database::RaiseItem(DatasetRow& dataset, const Entry& entry) {
    try {
        const ItemRow row = LoadItemOfFormat1(entry.number);
        if (row.dataset == dataset.number && row.name == entry.name) {
            StoreItem(dataset, row);
            return;
        }
    } catch (const StoreError& error) {
        if (!error.isDamage && error.status != DK_NOT_AVAILABLE)
            throw;
    }
    CarryDamagedItem(entry.number);
    dataset.items.push_back(entry);
}

void Database::RaiseDataset(Entry& entry) {
    bool isSound = true;
    try {
        isSound = LoadDatasetOfFormat1(entry.number).name == entry.name;
    } catch (const StoreError& error) {
        if (!error.isDamage && error.status != DK_NOT_AVAILABLE)
            throw;
        isSound = false;
    }
    DatasetRow row{entry.number, entry.name, 1, {}};
    entry.seal = 1;
    for (const Entry& item : ItemsOfFormat1(entry.number))
        RaiseItem(row, item);
    StoreDataset(row, isSound);
}

void Database::Raise() {
    Catalogue catalogue;
    catalogue.datasets = DatasetsOfFormat1();
    CreateSealingTables(connection_);
    for (Entry& entry : catalogue.datasets)
        RaiseDataset(entry);
    // Rows that no dataset claims are damaged, too.
    std::set<std::int64_t> left;
    {
        Query query(connection_, sql_->oldItemNumbers);
        while (query.Step())
            left.insert(query.Integer(0));
    }
    {
        Query query(connection_, sql_->itemNumbers);
        while (query.Step())
            left.erase(query.Integer(0));
    }
    for (const std::int64_t number : left)
        CarryDamagedItem(number);
    {
        Query sequence(connection_, sql_->oldSequence);
        sequence.Step();
        catalogue.next = std::max(sequence.Integer(0), HighestNumber()) + 1;
    }
    StoreCatalogue(catalogue);
    DropTablesOfFormat1(connection_);
    format_ = newestFormat;
}

}  // namespace dravik::store
