// Datasets and items: what is there by which name, and whether the rows agree with the lists above them.
#include <algorithm>
#include <cstring>
#include <optional>

#include "dravik/store/Database.h"
#include "dravik/store/Scopes.h"
#include "dravik/store/StoreError.h"
#include "dravik/store/UnitTexts.h"

namespace dravik::store {
namespace {

std::string Quoted(const char* what, const std::string& name) {
    return std::string(what) + " \"" + name + "\"";
}

std::uint32_t CatalogueSum(std::span<const unsigned char> content) {
    return RowSum('C', 1).Add(content).Value();
}

std::uint32_t DatasetSum(std::int64_t number, const std::string& name, std::int64_t stamp,
                         std::span<const unsigned char> items) {
    return RowSum('S', number).Add(name).Add(stamp).Add(items).Value();
}

ItemInfo DamagedInfo() {
    ItemInfo info;
    info.kind = DK_ITEM_DAMAGED;
    info.sampleBytes = 0;
    return info;
}

/// What `load` gives; nothing when that is damaged.
template <typename Load>
auto UnlessDamaged(Load&& load) -> std::optional<decltype(load())> {
    try {
        return load();
    } catch (const StoreError& error) {
        if (!error.isDamage)
            throw;
        return std::nullopt;
    }
}

}  // namespace

// --- The catalogue ---

bool Database::DecodeCatalogue(Catalogue& catalogue) {
    Query query(connection_, sql_->catalogue);
    if (!query.Step()) {
        // None in a database that never had a dataset.
        Query names(connection_, sql_->datasetNames);
        return !names.Step();
    }
    const auto content = query.Blob(0);
    std::int64_t next = 0;
    if (query.Integer(1) != CatalogueSum(content) || content.size() < sizeof next)
        return false;
    std::memcpy(&next, content.data(), sizeof next);
    auto entries = DecodeEntries(content.subspan(sizeof next));
    if (!entries)
        return false;
    catalogue = {next, std::move(*entries), false};
    return true;
}

Database::Catalogue Database::LoadCatalogue() {
    Catalogue catalogue;
    if (format_ == 1) {
        catalogue.datasets = DatasetsOfFormat1();
        return catalogue;
    }
    if (UnlessDamaged([&] { return DecodeCatalogue(catalogue); }).value_or(false))
        return catalogue;
    catalogue = {};
    catalogue.datasets = UnlistedDatasets(catalogue);
    catalogue.isDamaged = true;
    return catalogue;
}

/// Rows of datasets that the catalogue does not know.
Entries Database::UnlistedDatasets(const Catalogue& catalogue) {
    Entries unlisted;
    if (format_ == 1)
        return unlisted;
    Query query(connection_, sql_->datasetNames);
    while (query.Step())
        if (FindByNumber(catalogue.datasets, query.Integer(0)) == nullptr)
            unlisted.push_back({query.Integer(0), 0, query.Text(1)});
    return unlisted;
}

std::int64_t Database::HighestNumber() {
    Query query(connection_, sql_->highestNumber);
    query.Step();
    return query.Integer(0);
}

void Database::StoreCatalogue(Catalogue& catalogue) {
    const auto* next = reinterpret_cast<const unsigned char*>(&catalogue.next);
    Bytes content(next, next + sizeof catalogue.next);
    const Bytes entries = EncodeEntries(catalogue.datasets);
    content.insert(content.end(), entries.begin(), entries.end());
    Query(connection_, sql_->storeCatalogue)
        .Bind(1, content)
        .Bind(2, std::int64_t{CatalogueSum(content)})
        .Run();
}

// --- Datasets ---

Database::DatasetRow Database::LoadDataset(std::int64_t number) {
    if (format_ == 1)
        return LoadDatasetOfFormat1(number);
    Query query(connection_, sql_->dataset);
    if (!query.Bind(1, number).Step()) {
        const Catalogue catalogue = LoadCatalogue();
        if (const Entry* entry = FindByNumber(catalogue.datasets, number); entry != nullptr)
            Damaged(Quoted("dataset", entry->name));
        throw StoreError{DK_NOT_AVAILABLE, "the dataset has been deleted"};
    }
    DatasetRow row{number, query.Text(0), query.Integer(1), {}};
    auto items = DecodeEntries(query.Blob(2));
    if (!items || query.Integer(3) != DatasetSum(number, row.name, row.stamp, query.Blob(2)))
        Damaged(Quoted("dataset", row.name));
    row.items = std::move(*items);
    return row;
}

/// A row newer than the catalogue has it stands: then it is the catalogue that is old.
Database::DatasetRow Database::LoadListedDataset(const Catalogue& catalogue, const Entry& entry) {
    DatasetRow row = LoadDataset(entry.number);
    if (row.name != entry.name ||
        (format_ != 1 && !catalogue.isDamaged && row.stamp < static_cast<std::int64_t>(entry.seal)))
        Damaged(Quoted("dataset", entry.name));
    return row;
}

void Database::StoreDataset(const DatasetRow& row, bool isSound) {
    const Bytes items = EncodeEntries(row.items);
    const std::uint32_t sum = DatasetSum(row.number, row.name, row.stamp, items);
    Query(connection_, sql_->storeDataset)
        .Bind(1, row.number)
        .Bind(2, row.name)
        .Bind(3, row.stamp)
        .Bind(4, items)
        .Bind(5, std::int64_t{isSound ? sum : ~sum})
        .Run();
}

Database::DatasetRow Database::FindDataset(const std::string& name) {
    Catalogue catalogue = LoadCatalogue();
    if (const Entry* entry = FindByName(catalogue.datasets, name); entry != nullptr)
        return LoadListedDataset(catalogue, *entry);
    // "Not there" has to be proved: no row that the catalogue misses bears the name, and where there is no
    // catalogue to ask, no row can have lost its name.
    Entries unlisted = UnlistedDatasets(catalogue);
    if (FindByName(unlisted, name) != nullptr || catalogue.isDamaged)
        Damaged("the list of datasets");
    if (format_ == 1)
        for (const Entry& entry : catalogue.datasets)
            LoadListedDataset(catalogue, entry);
    throw StoreError{DK_NOT_AVAILABLE, Quoted("no dataset", name)};
}

ItemInfo Database::DatasetInfo(const DatasetRow& dataset) {
    ItemInfo shown;
    for (const Entry& entry : dataset.items) {
        const ItemInfo info = ListedItem(dataset, entry).info;
        if (info.kind != DK_ITEM_CURVE)
            continue;
        shown.indexKind = info.indexKind;
        shown.step = info.step;
        shown.firstIndex = info.firstIndex;
        shown.extentFirst = info.extentFirst;
        shown.extentLast = info.extentLast;
        break;
    }
    shown.kind = DK_ITEM_DATASET;
    shown.sampleBytes = 0;
    return shown;
}

// --- Items ---

std::uint32_t Database::ItemRow::Sum(std::span<const unsigned char> block,
                                     std::span<const unsigned char> lines) const {
    return RowSum('J', number).Add(dataset).Add(name).Add(unit).Add(block).Add(lines).Value();
}

Database::ItemRow Database::LoadItem(const ItemKey& key) {
    return LoadItem(LoadDataset(key.dataset), key.number);
}

Database::ItemRow Database::LoadItem(const DatasetRow& dataset, std::int64_t number) {
    const Entry* const entry = FindByNumber(dataset.items, number);
    if (format_ == 1) {
        ItemRow row = LoadItemOfFormat1(number);
        if (entry == nullptr || row.dataset != dataset.number || row.name != entry->name)
            Damaged(Quoted("item", dataset.name + row.name));
        return row;
    }
    Query query(connection_, sql_->item);
    const bool isThere = query.Bind(1, number).Step();
    if (entry == nullptr && !isThere)
        throw StoreError{DK_NOT_AVAILABLE, "the item has been deleted"};
    if (entry == nullptr || !isThere)
        Damaged(Quoted("item", dataset.name + (entry != nullptr ? entry->name : query.Text(1))));
    ItemRow row{number, query.Integer(0), query.Text(1), query.Text(2), {}, {}};
    const auto info = ItemInfo::Decode(query.Blob(3));
    auto chunks = ChunkSums::Decode(query.Blob(4));
    if (!info || !chunks)
        Damaged(Quoted("item", dataset.name + entry->name));
    const std::uint32_t sum = row.Sum(query.Blob(3), query.Blob(4));
    if (query.Integer(5) != sum || entry->seal != sum || row.dataset != dataset.number ||
        row.name != entry->name)
        Damaged(Quoted("item", dataset.name + entry->name));
    row.info = *info;
    row.info.unit = ProcessUnitCode(row.unit);
    row.chunks = std::move(*chunks);
    return row;
}

/// Into its table and into its dataset's list.
void Database::StoreItem(DatasetRow& dataset, const ItemRow& row) {
    ItemInfo info = row.info;
    info.unit = 0;  // the text stands beside it
    const InfoBlock block = info.Encode();
    const Bytes lines = row.chunks.Encode();
    const std::uint32_t sum = row.Sum(block, lines);
    Query(connection_, sql_->storeItem)
        .Bind(1, row.number)
        .Bind(2, row.dataset)
        .Bind(3, row.name)
        .Bind(4, row.unit)
        .Bind(5, block)
        .Bind(6, lines)
        .Bind(7, std::int64_t{sum})
        .Run();
    const auto entry = std::find_if(dataset.items.begin(), dataset.items.end(),
                                    [&](const Entry& each) { return each.number == row.number; });
    if (entry != dataset.items.end())
        entry->seal = sum;
    else
        dataset.items.push_back({row.number, sum, row.name});
    StoreDataset(dataset);
}

/// In a file of version 1 the name may be missing because its row is damaged.
void Database::RefuseHiddenItem(const DatasetRow& dataset) {
    if (format_ == 1)
        for (const Entry& entry : dataset.items)
            LoadItem(dataset, entry.number);
}

NamedInfo Database::ListedItem(const DatasetRow& dataset, const Entry& entry) {
    const auto row = UnlessDamaged([&] { return LoadItem(dataset, entry.number); });
    return {entry.name, row ? row->info : DamagedInfo()};
}

// --- Calls of the interface ---

ItemKey Database::Attach(const ItemPath& path, ItemInfo& info) {
    const ReadScope scope(*this);
    DatasetRow dataset = FindDataset(path.dataset);
    if (path.item.empty()) {
        info = DatasetInfo(dataset);
        return {dataset.number, 0};
    }
    const Entry* const entry = FindByName(dataset.items, path.item);
    if (entry == nullptr) {
        RefuseHiddenItem(dataset);
        throw StoreError{DK_NOT_AVAILABLE, Quoted("no item", path.dataset + path.item)};
    }
    info = LoadItem(dataset, entry->number).info;
    return {dataset.number, entry->number};
}

ItemInfo Database::Information(const ItemKey& key) {
    const ReadScope scope(*this);
    return key.IsDataset() ? DatasetInfo(LoadDataset(key.dataset)) : LoadItem(key).info;
}

std::vector<NamedInfo> Database::List(const std::string& dataset) {
    const ReadScope scope(*this);
    std::vector<NamedInfo> list;
    if (!dataset.empty()) {
        const DatasetRow row = FindDataset(dataset);
        for (const Entry& entry : row.items)
            list.push_back(ListedItem(row, entry));
        return list;
    }
    const Catalogue catalogue = LoadCatalogue();
    for (const Entry& entry : catalogue.datasets) {
        const auto row = UnlessDamaged([&] { return LoadListedDataset(catalogue, entry); });
        list.push_back({entry.name, row ? DatasetInfo(*row) : DamagedInfo()});
    }
    for (const Entry& entry : UnlistedDatasets(catalogue))
        list.push_back({entry.name, DamagedInfo()});
    return list;
}

void Database::Create(const ItemPath& path, const ItemInfo& info, const std::string& unitText) {
    if (path.item.empty())
        throw StoreError{DK_NOT_UNDERSTOOD, "\"" + path.dataset + "\" names a dataset, not an item"};
    WriteScope scope(*this);
    Catalogue catalogue = LoadCatalogue();
    catalogue.next = std::max(catalogue.next, HighestNumber() + 1);
    if (catalogue.next >= INT64_MAX >> (chunkNumberBits + 1))
        throw StoreError{DK_MAXIMUM, "too many items"};
    DatasetRow dataset;
    Entry* entry = FindByName(catalogue.datasets, path.dataset);
    if (entry != nullptr) {
        dataset = LoadListedDataset(catalogue, *entry);
    } else {
        Entries unlisted = UnlistedDatasets(catalogue);
        if (FindByName(unlisted, path.dataset) != nullptr)
            Damaged(Quoted("dataset", path.dataset));
        dataset = {catalogue.next++, path.dataset, 0, {}};
        entry = &catalogue.datasets.emplace_back(Entry{dataset.number, 0, path.dataset});
    }
    if (FindByName(dataset.items, path.item) != nullptr)
        throw StoreError{DK_EXISTS, "\"" + path.dataset + path.item + "\" exists"};
    ItemRow row{catalogue.next++, dataset.number, path.item, unitText, info, {}};
    dataset.stamp = catalogue.next;
    entry->seal = static_cast<std::uint64_t>(dataset.stamp);
    StoreItem(dataset, row);
    StoreCatalogue(catalogue);
    scope.Commit();
}

void Database::DeleteItem(std::int64_t number) {
    Query(connection_, sql_->deleteChunks).Bind(1, PlaceOf(number, 0)).Bind(2, LastPlaceOf(number)).Run();
    Query(connection_, sql_->deleteItem).Bind(1, number).Run();
}

/// Also a damaged one, whose list cannot say what belongs to it.
void Database::DeleteDataset(Catalogue& catalogue, const Entry& entry) {
    std::vector<std::int64_t> numbers;
    if (const auto row = UnlessDamaged([&] { return LoadDataset(entry.number); }); row)
        for (const Entry& item : row->items)
            numbers.push_back(item.number);
    {
        Query query(connection_, sql_->itemsOfDataset);
        query.Bind(1, entry.number);
        while (query.Step())
            numbers.push_back(query.Integer(0));
    }
    for (const std::int64_t number : numbers)
        DeleteItem(number);
    Query(connection_, sql_->deleteDataset).Bind(1, entry.number).Run();
    std::erase_if(catalogue.datasets,
                  [number = entry.number](const Entry& each) { return each.number == number; });
}

void Database::Delete(const ItemPath& path) {
    WriteScope scope(*this);
    Catalogue catalogue = LoadCatalogue();
    Entry* const entry = FindByName(catalogue.datasets, path.dataset);
    if (entry == nullptr) {
        FindDataset(path.dataset);  // says why
        return;
    }
    catalogue.next = std::max(catalogue.next, HighestNumber() + 1) + 1;
    if (path.item.empty()) {
        DeleteDataset(catalogue, Entry(*entry));
    } else {
        DatasetRow dataset = LoadListedDataset(catalogue, *entry);
        const Entry* const item = FindByName(dataset.items, path.item);
        if (item == nullptr)
            throw StoreError{DK_NOT_AVAILABLE, Quoted("no item", path.dataset + path.item)};
        DeleteItem(item->number);
        dataset.items.erase(dataset.items.begin() + (item - dataset.items.data()));
        dataset.stamp = catalogue.next;
        entry->seal = static_cast<std::uint64_t>(dataset.stamp);
        StoreDataset(dataset);
    }
    StoreCatalogue(catalogue);
    scope.Commit();
}

void Database::Mark(const ItemKey& key, std::int32_t validFirst, std::int32_t validLast,
                    const char* madeText) {
    WriteScope scope(*this);
    DatasetRow dataset = LoadDataset(key.dataset);
    ItemRow row = key.IsDataset() ? ItemRow{} : LoadItem(dataset, key.number);
    if (key.IsDataset() || row.info.kind != DK_ITEM_CURVE)
        throw StoreError{DK_NOT_UNDERSTOOD, "only curves have a valid span"};
    row.info.validFirst = validFirst;
    row.info.validLast = validLast;
    if (madeText != nullptr)
        row.info.made = madeText;
    StoreItem(dataset, row);
    scope.Commit();
}

}  // namespace dravik::store
