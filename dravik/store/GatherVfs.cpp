#include "dravik/store/GatherVfs.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

namespace vorela::store {
namespace {

/// SQLite's own file layer takes less than 128 KiB in one call.
constexpr std::size_t mostGathered = std::size_t{112} << 10;
/// Gathered bytes go out when they reach a multiple of this: the operating system keeps a file in blocks of
/// memory of a power of two, and large ones cost less, in writing as in reading later.
constexpr sqlite3_int64 boundary = 64 << 10;

/// SQLite allocates this with the file of the layer below behind it.
struct GatherFile {
    sqlite3_file base;
    bool gathers;
    sqlite3_int64 at;                      ///< where the gathered bytes belong
    std::vector<unsigned char>* gathered;  ///< not null once something was gathered
    sqlite3_file* Under() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};
static_assert(sizeof(GatherFile) % 8 == 0, "the file below must be aligned");

GatherFile* Own(sqlite3_file* file) {
    return reinterpret_cast<GatherFile*>(file);
}

int Flush(sqlite3_file* file) {
    GatherFile* const own = Own(file);
    if (own->gathered == nullptr || own->gathered->empty())
        return SQLITE_OK;
    sqlite3_file* const under = own->Under();
    const int code = under->pMethods->xWrite(under, own->gathered->data(),
                                             static_cast<int>(own->gathered->size()), own->at);
    own->gathered->clear();
    return code;
}

/// Calls a method of the file below after everything gathered has gone out.
template <typename Method, typename... Arguments>
int After(sqlite3_file* file, Method method, Arguments... arguments) {
    const int code = Flush(file);
    sqlite3_file* const under = Own(file)->Under();
    return code != SQLITE_OK ? code : (under->pMethods->*method)(under, arguments...);
}

int Close(sqlite3_file* file) {
    const int flushed = Flush(file);
    GatherFile* const own = Own(file);
    delete own->gathered;
    own->gathered = nullptr;
    const int closed = own->Under()->pMethods->xClose(own->Under());
    return flushed != SQLITE_OK ? flushed : closed;
}

int Read(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
    return After(file, &sqlite3_io_methods::xRead, into, count, at);
}

int Write(sqlite3_file* file, const void* from, int count, sqlite3_int64 at) {
    GatherFile* const own = Own(file);
    const auto bytes = static_cast<std::size_t>(count);
    if (own->gathered == nullptr && own->gathers)
        own->gathered = new (std::nothrow) std::vector<unsigned char>();
    if (own->gathered == nullptr)
        return own->Under()->pMethods->xWrite(own->Under(), from, count, at);
    auto& gathered = *own->gathered;
    const bool follows = at == own->at + static_cast<sqlite3_int64>(gathered.size());
    if (!follows || gathered.size() + bytes > mostGathered) {
        const int code = Flush(file);
        if (code != SQLITE_OK)
            return code;
        own->at = at;
    }
    try {
        const auto* begin = static_cast<const unsigned char*>(from);
        gathered.insert(gathered.end(), begin, begin + bytes);
    } catch (const std::bad_alloc&) {
        return SQLITE_IOERR_NOMEM;
    }
    const bool full = (own->at + static_cast<sqlite3_int64>(gathered.size())) % boundary == 0;
    return full ? Flush(file) : SQLITE_OK;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    return After(file, &sqlite3_io_methods::xTruncate, size);
}
int Sync(sqlite3_file* file, int flags) {
    return After(file, &sqlite3_io_methods::xSync, flags);
}
int FileSize(sqlite3_file* file, sqlite3_int64* size) {
    return After(file, &sqlite3_io_methods::xFileSize, size);
}
int Lock(sqlite3_file* file, int level) {
    return After(file, &sqlite3_io_methods::xLock, level);
}
int CheckReserved(sqlite3_file* file, int* held) {
    return After(file, &sqlite3_io_methods::xCheckReservedLock, held);
}
int Control(sqlite3_file* file, int what, void* about) {
    return After(file, &sqlite3_io_methods::xFileControl, what, about);
}

int Unlock(sqlite3_file* file, int level) {
    const int flushed = Flush(file);
    sqlite3_file* const under = Own(file)->Under();
    const int unlocked = under->pMethods->xUnlock(under, level);
    return flushed != SQLITE_OK ? flushed : unlocked;
}

int SectorSize(sqlite3_file* file) {
    return Own(file)->Under()->pMethods->xSectorSize(Own(file)->Under());
}
int Device(sqlite3_file* file) {
    return Own(file)->Under()->pMethods->xDeviceCharacteristics(Own(file)->Under());
}

// Version 1: without shared memory, which a write-ahead log needs, and without mapped pages, which a file
// that another process cuts short would turn into a crash.
const sqlite3_io_methods methods = {1,       Close,   Read,          Write,   Truncate,   Sync,   FileSize,
                                    Lock,    Unlock,  CheckReserved, Control, SectorSize, Device, nullptr,
                                    nullptr, nullptr, nullptr,       nullptr, nullptr};

sqlite3_vfs* below = nullptr;

int Open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* given) {
    GatherFile* const own = Own(file);
    std::memset(own, 0, sizeof *own);
    own->gathers = (flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL)) != 0;
    const int code = below->xOpen(below, name, own->Under(), flags, given);
    if (own->Under()->pMethods != nullptr)
        own->base.pMethods = &methods;
    return code;
}

/// SQLite looks for a write-ahead log whenever it takes the read lock. These files have none (a header that
/// asks for one is refused), and the look costs a tenth of reading a block.
int Access(sqlite3_vfs* /*vfs*/, const char* name, int what, int* answer) {
    if (what == SQLITE_ACCESS_EXISTS && std::string_view(name).ends_with("-wal")) {
        *answer = 0;
        return SQLITE_OK;
    }
    return below->xAccess(below, name, what, answer);
}

/// The registered layer: a copy of the one below with its own ways to open and to look for files.
class Registration {
  public:
    Registration() { std::snprintf(name_, sizeof name_, "dravik-gather-%p", static_cast<void*>(this)); }
    ~Registration() { sqlite3_vfs_unregister(&vfs_); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    const char* OverTheDefault() {
        sqlite3_initialize();
        sqlite3_vfs* const current = sqlite3_vfs_find(nullptr);
        if (current == below)
            return name_;
        sqlite3_vfs_unregister(&vfs_);
        below = current;
        vfs_ = *current;
        vfs_.zName = name_;
        vfs_.pNext = nullptr;
        vfs_.szOsFile = current->szOsFile + static_cast<int>(sizeof(GatherFile));
        vfs_.xOpen = Open;
        vfs_.xAccess = Access;
        sqlite3_vfs_register(&vfs_, 0);
        return name_;
    }

  private:
    sqlite3_vfs vfs_{};
    char name_[48];
};

}  // namespace

const char* GatherVfsName() {
    static Registration registration;
    return registration.OverTheDefault();
}

}  // namespace vorela::store
