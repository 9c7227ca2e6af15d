#include "tests/store/FaultyVfs.h"

#include <sqlite3.h>

#include <map>

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

sqlite3_vfs* RealVfs() {
    static sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
    return real;
}

/// The methods of one kind of file, with those that can fail in place of the real ones.
struct Methods : sqlite3_io_methods {
    const sqlite3_io_methods* real;
};
const sqlite3_io_methods* Real(sqlite3_file* file) {
    return static_cast<const Methods*>(file->pMethods)->real;
}

int Read(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
    return Fails(Fault::readError) ? SQLITE_IOERR_READ : Real(file)->xRead(file, into, count, at);
}
int Write(sqlite3_file* file, const void* from, int count, sqlite3_int64 at) {
    if (Fails(Fault::writeError) || Fails(Fault::diskFull)) {
        Real(file)->xWrite(file, from, count / 2, at);  // a full disk takes a part
        return state.fault == Fault::diskFull ? SQLITE_FULL : SQLITE_IOERR_WRITE;
    }
    return Real(file)->xWrite(file, from, count, at);
}
int Sync(sqlite3_file* /*file*/, int /*flags*/) {
    return Fails(Fault::syncError) ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}
int Lock(sqlite3_file* file, int level) {
    return Fails(Fault::lockBusy) ? SQLITE_BUSY : Real(file)->xLock(file, level);
}

const Methods* Failing(const sqlite3_io_methods* real) {
    static std::map<const sqlite3_io_methods*, Methods> kinds;
    Methods& methods = kinds.try_emplace(real, Methods{*real, real}).first->second;
    methods.iVersion = 1;
    methods.xRead = Read;
    methods.xWrite = Write;
    methods.xSync = Sync;
    methods.xLock = Lock;
    return &methods;
}

int Open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* given) {
    file->pMethods = nullptr;
    if (Fails(Fault::openError))
        return SQLITE_CANTOPEN;
    const int code = RealVfs()->xOpen(RealVfs(), name, file, flags, given);
    if (code == SQLITE_OK)
        file->pMethods = Failing(file->pMethods);
    return code;
}
int Delete(sqlite3_vfs* /*vfs*/, const char* name, int /*sync*/) {
    return Fails(Fault::deleteError) ? SQLITE_IOERR_DELETE : RealVfs()->xDelete(RealVfs(), name, 0);
}

sqlite3_vfs faulty;

}  // namespace

FaultyVfs::FaultyVfs() {
    sqlite3_initialize();
    faulty = *RealVfs();
    faulty.zName = "faulty";
    faulty.xOpen = Open;
    faulty.xDelete = Delete;
    sqlite3_vfs_register(&faulty, 1);
    Disarm();
}

FaultyVfs::~FaultyVfs() {
    sqlite3_vfs_unregister(&faulty);
    sqlite3_vfs_register(RealVfs(), 1);
}

void FaultyVfs::Arm(Fault fault, int nth, bool lasting) {
    state = {fault, nth, lasting, false};
}
bool FaultyVfs::Fired() {
    return state.fired;
}

}  // namespace vorela::test
