// A file system for SQLite that fails on demand, over the real one. Syncing does nothing, so that thousands
// of commits take seconds.
#pragma once

#include <sqlite3.h>
#include <unistd.h>

#include <map>

namespace dravik::test {

enum class Fault { none, readError, writeError, diskFull, syncError, lockBusy, openError, deleteError, kill };

/// In place of the default file system while it lives.
class FaultyVfs {
  public:
    FaultyVfs() {
        sqlite3_initialize();
        vfs_ = *RealVfs();
        vfs_.zName = "faulty";
        vfs_.xOpen = Open;
        vfs_.xDelete = Delete;
        sqlite3_vfs_register(&vfs_, 1);
        Disarm();
    }
    ~FaultyVfs() {
        sqlite3_vfs_unregister(&vfs_);
        sqlite3_vfs_register(RealVfs(), 1);
    }
    FaultyVfs(const FaultyVfs&) = delete;
    FaultyVfs& operator=(const FaultyVfs&) = delete;

    /// Call number `nth` (from 1) of the kind that `fault` concerns fails; with `lasting` every later one
    /// too.
    static void Arm(Fault fault, int nth, bool lasting) { state_ = {fault, nth, lasting, false}; }
    static void Disarm() { Arm(Fault::none, 0, false); }
    /// Whether a call has failed since Arm.
    static bool Fired() { return state_.fired; }
    /// Files in the folder for temporary ones so far.
    static int TemporaryFiles() { return temporaryFiles_; }

  private:
    struct State {
        Fault fault;
        int left;
        bool lasting;
        bool fired;
    };
    /// The methods of one kind of file, with those that can fail in place of the real ones.
    struct Methods : sqlite3_io_methods {
        const sqlite3_io_methods* real;
    };

    static bool Fails(Fault fault) {
        if (state_.fault == Fault::kill && fault != Fault::diskFull && --state_.left <= 0)
            _exit(9);
        if (fault != state_.fault || (state_.fired && !state_.lasting))
            return false;
        if (!state_.fired && --state_.left > 0)
            return false;
        state_.fired = true;
        return true;
    }
    static sqlite3_vfs* RealVfs() {
        static sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
        return real;
    }
    static const sqlite3_io_methods* Real(sqlite3_file* file) {
        return static_cast<const Methods*>(file->pMethods)->real;
    }

    static int Read(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
        return Fails(Fault::readError) ? SQLITE_IOERR_READ : Real(file)->xRead(file, into, count, at);
    }
    static int Write(sqlite3_file* file, const void* from, int count, sqlite3_int64 at) {
        if (Fails(Fault::writeError) || Fails(Fault::diskFull)) {
            Real(file)->xWrite(file, from, count / 2, at);  // a full disk takes a part
            return state_.fault == Fault::diskFull ? SQLITE_FULL : SQLITE_IOERR_WRITE;
        }
        return Real(file)->xWrite(file, from, count, at);
    }
    static int Sync(sqlite3_file* /*file*/, int /*flags*/) {
        return Fails(Fault::syncError) ? SQLITE_IOERR_FSYNC : SQLITE_OK;
    }
    static int Lock(sqlite3_file* file, int level) {
        return Fails(Fault::lockBusy) ? SQLITE_BUSY : Real(file)->xLock(file, level);
    }
    static int Open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* given) {
        file->pMethods = nullptr;
        temporaryFiles_ += name == nullptr ? 1 : 0;
        if (Fails(Fault::openError))
            return SQLITE_CANTOPEN;
        const int code = RealVfs()->xOpen(RealVfs(), name, file, flags, given);
        if (code == SQLITE_OK) {
            static std::map<const sqlite3_io_methods*, Methods> kinds;
            Methods& methods =
                kinds.try_emplace(file->pMethods, Methods{*file->pMethods, file->pMethods}).first->second;
            methods.iVersion = 1;
            methods.xRead = Read;
            methods.xWrite = Write;
            methods.xSync = Sync;
            methods.xLock = Lock;
            file->pMethods = &methods;
        }
        return code;
    }
    static int Delete(sqlite3_vfs* /*vfs*/, const char* name, int /*sync*/) {
        return Fails(Fault::deleteError) ? SQLITE_IOERR_DELETE : RealVfs()->xDelete(RealVfs(), name, 0);
    }

    static inline State state_{};
    static inline int temporaryFiles_ = 0;
    static inline sqlite3_vfs vfs_;
};

}  // namespace dravik::test
