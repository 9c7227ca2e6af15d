#include "tests/store/FaultyVfs.h"

#include <sqlite3.h>

namespace vorela::test {
namespace {

struct State {
    Fault fault = Fault::none;
    int left = 0;
    bool lasting = false;
    bool fired = false;
};
State state;

bool Fails(Fault fault) {
    if (fault != state.fault || (state.fired && !state.lasting))
        return false;
    if (!state.fired && --state.left > 0)
        return false;
    state.fired = true;
    return true;
}

sqlite3_vfs* Real() {
    static sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
    return real;
}

struct File {
    sqlite3_file base;
    sqlite3_file* Under() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};
sqlite3_file* Under(sqlite3_file* file) {
    return reinterpret_cast<File*>(file)->Under();
}

int Close(sqlite3_file* file) {
    return Under(file)->pMethods->xClose(Under(file));
}
int Read(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
    return Fails(Fault::readError) ? SQLITE_IOERR_READ
                                   : Under(file)->pMethods->xRead(Under(file), into, count, at);
}
int Write(sqlite3_file* file, const void* from, int count, sqlite3_int64 at) {
    if (Fails(Fault::writeError) || Fails(Fault::diskFull)) {
        // A full disk takes a part.
        Under(file)->pMethods->xWrite(Under(file), from, count / 2, at);
        return state.fault == Fault::diskFull ? SQLITE_FULL : SQLITE_IOERR_WRITE;
    }
    return Under(file)->pMethods->xWrite(Under(file), from, count, at);
}
int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    return Under(file)->pMethods->xTruncate(Under(file), size);
}
int Sync(sqlite3_file*, int) {
    return Fails(Fault::syncError) ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}
int FileSize(sqlite3_file* file, sqlite3_int64* size) {
    return Under(file)->pMethods->xFileSize(Under(file), size);
}
int Lock(sqlite3_file* file, int level) {
    return Fails(Fault::lockBusy) ? SQLITE_BUSY : Under(file)->pMethods->xLock(Under(file), level);
}
int Unlock(sqlite3_file* file, int level) {
    return Under(file)->pMethods->xUnlock(Under(file), level);
}
int Reserved(sqlite3_file* file, int* out) {
    return Under(file)->pMethods->xCheckReservedLock(Under(file), out);
}
int Control(sqlite3_file* file, int what, void* about) {
    return Under(file)->pMethods->xFileControl(Under(file), what, about);
}
int SectorSize(sqlite3_file* file) {
    return Under(file)->pMethods->xSectorSize(Under(file));
}
int Device(sqlite3_file* file) {
    return Under(file)->pMethods->xDeviceCharacteristics(Under(file));
}

const sqlite3_io_methods methods = {1,       Close,   Read,     Write,   Truncate,   Sync,   FileSize,
                                    Lock,    Unlock,  Reserved, Control, SectorSize, Device, nullptr,
                                    nullptr, nullptr, nullptr,  nullptr, nullptr};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given) {
    file->pMethods = nullptr;
    if (Fails(Fault::openError))
        return SQLITE_CANTOPEN;
    const int code = Real()->xOpen(Real(), name, Under(file), flags, given);
    if (code == SQLITE_OK)
        file->pMethods = &methods;
    return code;
}
int Delete(sqlite3_vfs*, const char* name, int) {
    return Fails(Fault::deleteError) ? SQLITE_IOERR_DELETE : Real()->xDelete(Real(), name, 0);
}

sqlite3_vfs faulty;

}  // namespace

FaultyVfs::FaultyVfs() {
    sqlite3_initialize();
    faulty = *Real();
    faulty.zName = "faulty";
    faulty.szOsFile = Real()->szOsFile + static_cast<int>(sizeof(File));
    faulty.xOpen = Open;
    faulty.xDelete = Delete;
    sqlite3_vfs_register(&faulty, 1);
    Disarm();
}

FaultyVfs::~FaultyVfs() {
    sqlite3_vfs_unregister(&faulty);
    sqlite3_vfs_register(Real(), 1);
}

void FaultyVfs::Arm(Fault fault, int nth, bool lasting) {
    state = {fault, nth, lasting, false};
}
bool FaultyVfs::Fired() {
    return state.fired;
}

}  // namespace vorela::test
