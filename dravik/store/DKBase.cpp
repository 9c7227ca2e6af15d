// The C interface: handles, argument checks, and the border that no exception crosses.
#include "interfaces/DKBase.h"

#include <signal.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <new>

#include "dravik/store/Claim.h"
#include "dravik/store/Database.h"
#include "dravik/store/StoreError.h"
#include "dravik/store/UnitTexts.h"

namespace dravik::store {
namespace {

constexpr std::size_t mostDatabases = 256;
constexpr std::size_t mostItems = 4096;
constexpr std::size_t longestText = 255;

struct AttachedItem {
    std::int32_t database;
    ItemKey key;
};

/// Handles of both kinds come from one count, so one kind never passes for the other, nor an old one for a
/// new one.
struct Handles {
    std::map<std::int32_t, std::unique_ptr<Database>> databases;
    std::map<std::int32_t, AttachedItem> items;
    std::int32_t last = 0;

    std::int32_t Next() {
        do
            last = last == INT32_MAX ? 1 : last + 1;
        while (databases.count(last) != 0 || items.count(last) != 0);
        return last;
    }
};

Handles& AllHandles() {
    static Handles handles;
    return handles;
}

char lastDetail[512] = "";

void KeepDetail(const char* detail) noexcept {
    std::strncpy(lastDetail, detail, sizeof lastDetail - 1);
}

/// A write beyond the process's limit for file sizes is a full disk, not the end of the process.
void IgnoreFileSizeSignal() {
    struct sigaction current {};
    if (sigaction(SIGXFSZ, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
        signal(SIGXFSZ, SIG_IGN);
}

template <typename Body>
std::int32_t Guarded(Body&& body) noexcept {
    try {
        body();
        return DK_OK;
    } catch (const StoreError& error) {
        KeepDetail(error.detail.c_str());
        return error.status;
    } catch (const std::bad_alloc&) {
        KeepDetail("out of memory");
        return DK_NO_MEMORY;
    } catch (const std::exception& error) {
        KeepDetail(error.what());
        return DK_UNSPECIFIED;
    } catch (...) {
        KeepDetail("unexpected fault");
        return DK_UNSPECIFIED;
    }
}

void Understand(bool sound, const char* otherwise) {
    if (!sound)
        throw StoreError{DK_NOT_UNDERSTOOD, otherwise};
}

Database& DatabaseOf(std::int32_t handle) {
    const auto found = AllHandles().databases.find(handle);
    Understand(found != AllHandles().databases.end(), "not a database handle");
    return *found->second;
}

const AttachedItem& ItemOf(std::int32_t handle) {
    const auto found = AllHandles().items.find(handle);
    Understand(found != AllHandles().items.end(), "not an item handle");
    return found->second;
}

std::string BoundedText(const char* text, std::size_t longest, const char* what) {
    if (text == nullptr)
        return {};
    const std::size_t length = strnlen(text, longest + 1);
    if (length > longest)
        throw StoreError{DK_MAXIMUM, std::string(what) + " is too long"};
    return {text, length};
}

ItemInfo InfoOf(const DBNewItem& attributes) {
    Understand(attributes.kind == DK_ITEM_CURVE || attributes.kind == DK_ITEM_RECORD, "unknown kind of item");
    Understand(attributes.indexKind == DK_INDEX_DEPTH || attributes.indexKind == DK_INDEX_TIME,
               "unknown index kind");
    Understand(std::isfinite(attributes.scale) && std::isfinite(attributes.offset),
               "scale and offset must be finite");
    ItemInfo info;
    info.kind = attributes.kind;
    info.indexKind = attributes.indexKind;
    info.scale = attributes.scale == 0.0F ? 1.0F : attributes.scale;
    info.offset = attributes.offset;
    info.made = BoundedText(attributes.madeText, DK_INFO_MADE_BYTES - 1, "the text");
    if (attributes.kind == DK_ITEM_CURVE) {
        Understand(attributes.step > 0, "the step must be above 0");
        info.step = attributes.step;
        info.firstIndex = attributes.firstIndex;
    } else {
        Understand(attributes.sampleBytes >= 1 && attributes.sampleBytes <= 4096,
                   "a record has 1 to 4096 bytes");
        info.sampleBytes = attributes.sampleBytes;
    }
    return info;
}

void CopyOut(const ItemInfo& info, void* information) {
    if (information == nullptr)
        return;
    const InfoBlock block = info.Encode();
    std::memcpy(information, block.data(), block.size());
}

void Read(std::int32_t item, std::int32_t first, std::int32_t count, void* buffer, std::uint8_t* present) {
    const AttachedItem& attached = ItemOf(item);
    Understand(buffer != nullptr && count >= 0, "no buffer or a negative count");
    DatabaseOf(attached.database)
        .Read(attached.key, first, count, static_cast<unsigned char*>(buffer), present);
}

void Write(std::int32_t item, std::int32_t first, std::int32_t count, const void* buffer,
           const std::uint8_t* present) {
    const AttachedItem& attached = ItemOf(item);
    Understand(buffer != nullptr && count >= 0, "no buffer or a negative count");
    DatabaseOf(attached.database)
        .Write(attached.key, first, count, static_cast<const unsigned char*>(buffer), present);
}

}  // namespace
}  // namespace dravik::store

using namespace dravik::store;

int32_t DBopenA(const char* path, int16_t mode, int32_t* database) {
    return Guarded([&] {
        Understand(path != nullptr && database != nullptr, "no path or no place for the handle");
        IgnoreFileSizeSignal();
        Handles& handles = AllHandles();
        if (handles.databases.size() >= mostDatabases)
            throw StoreError{DK_MAXIMUM, "too many open databases"};
        auto opened = std::make_unique<Database>(path, mode);
        const std::int32_t handle = handles.Next();
        handles.databases.emplace(handle, std::move(opened));
        *database = handle;
    });
}

int32_t DBclose(int32_t database) {
    return Guarded([&] {
        DatabaseOf(database);
        Handles& handles = AllHandles();
        std::erase_if(handles.items, [&](const auto& entry) { return entry.second.database == database; });
        handles.databases.erase(database);
    });
}

int32_t DBattachA(int32_t database, const char* path, int32_t* item, int32_t /*reserved*/,
                  void* information) {
    return Guarded([&] {
        Database& opened = DatabaseOf(database);
        Understand(item != nullptr, "no place for the handle");
        Handles& handles = AllHandles();
        if (handles.items.size() >= mostItems)
            throw StoreError{DK_MAXIMUM, "too many attached items"};
        ItemInfo info;
        const ItemKey key = opened.Attach(ItemPath::Parse(path), info);
        const std::int32_t handle = handles.Next();
        handles.items.emplace(handle, AttachedItem{database, key});
        CopyOut(info, information);
        *item = handle;
    });
}

int32_t DBdetach(int32_t item) {
    return Guarded([&] {
        ItemOf(item);
        AllHandles().items.erase(item);
    });
}

int32_t DBnewA(int32_t database, const char* path, const DBNewItem* attributes) {
    return Guarded([&] {
        Database& opened = DatabaseOf(database);
        Understand(attributes != nullptr, "no attributes");
        const ItemPath parsed = ItemPath::Parse(path);
        opened.Create(parsed, InfoOf(*attributes),
                      BoundedText(attributes->unitText, longestText, "the unit text"));
    });
}

int32_t DBdeleteA(int32_t database, const char* path) {
    return Guarded([&] { DatabaseOf(database).Delete(ItemPath::Parse(path)); });
}

int32_t DBread(int32_t item, int32_t first, int32_t count, void* buffer) {
    return Guarded([&] { Read(item, first, count, buffer, nullptr); });
}

int32_t DBreadpresent(int32_t item, int32_t first, int32_t count, float* buffer, uint8_t* present) {
    return Guarded([&] {
        Understand(present != nullptr, "no place for the flags");
        Read(item, first, count, buffer, present);
    });
}

int32_t DBwrite(int32_t item, int32_t first, int32_t count, const void* buffer) {
    return Guarded([&] { Write(item, first, count, buffer, nullptr); });
}

int32_t DBwritepresent(int32_t item, int32_t first, int32_t count, const float* buffer,
                       const uint8_t* present) {
    return Guarded([&] {
        Understand(present != nullptr, "no flags");
        Write(item, first, count, buffer, present);
    });
}

int32_t DBinformation(int32_t item, void* information) {
    return Guarded([&] {
        const AttachedItem& attached = ItemOf(item);
        Understand(information != nullptr, "no place for the information");
        CopyOut(DatabaseOf(attached.database).Information(attached.key), information);
    });
}

int32_t DBmark(int32_t item, int32_t validFirst, int32_t validLast, const char* madeText) {
    return Guarded([&] {
        const AttachedItem& attached = ItemOf(item);
        BoundedText(madeText, DK_INFO_MADE_BYTES - 1, "the text");
        DatabaseOf(attached.database).Mark(attached.key, validFirst, validLast, madeText);
    });
}

int32_t DBbegin(int32_t database) {
    return Guarded([&] { DatabaseOf(database).Begin(); });
}

int32_t DBcommit(int32_t database) {
    return Guarded([&] { DatabaseOf(database).Commit(); });
}

int32_t DBrollback(int32_t database) {
    return Guarded([&] { DatabaseOf(database).Rollback(); });
}

int32_t DBenumA(int32_t database, const char* dataset, DBEnumVisit visit, void* context) {
    return Guarded([&] {
        Database& opened = DatabaseOf(database);
        Understand(visit != nullptr, "no function to call");
        const bool all = dataset == nullptr || *dataset == '\0';
        const ItemPath path = all ? ItemPath{} : ItemPath::Parse(dataset);
        Understand(path.item.empty(), "not a dataset name");
        // A list of its own: `visit` may close the database.
        const std::vector<NamedInfo> list = opened.List(path.dataset);
        for (const NamedInfo& entry : list)
            if (visit(context, entry.name.c_str(), entry.info.Encode().data()) != 0)
                break;
    });
}

int32_t DBverify(int32_t database, DBDamageVisit damaged, void* context) {
    return Guarded([&] {
        std::string fault;
        const std::vector<Damage> damages = DatabaseOf(database).Verify(fault);
        for (const Damage& damage : damages)
            if (damaged != nullptr)
                damaged(context, damage.path.c_str(), damage.first, damage.last);
        if (!damages.empty() || !fault.empty())
            throw StoreError{DK_DISK_ERROR, fault.empty() ? "damaged chunks" : fault};
    });
}

int32_t DBclaimA(const char* path, const char* what, int32_t* claim, int32_t* holder) {
    std::int32_t held = 0;
    const std::int32_t status = Guarded([&] {
        Understand(path != nullptr && what != nullptr && claim != nullptr,
                   "no path, text or place for the claim");
        *claim = TakeClaim(path, what, held);
    });
    if (status == DK_EXISTS && holder != nullptr)
        *holder = held;
    return status;
}

int32_t DBunclaim(int32_t claim) {
    return Guarded([&] { EndClaim(claim); });
}

const char* GetUnitTextA(int32_t unitCode) {
    return ProcessUnitText(unitCode);
}

const char* DBlastdetail(void) {
    return lastDetail;
}
