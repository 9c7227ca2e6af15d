// A file system for SQLite that fails on demand, over the real one. Syncing does nothing, so that thousands
// of commits take seconds.
#pragma once

#include <cstdint>
#include <string>

namespace vorela::test {

enum class Fault { none, readError, writeError, diskFull, syncError, lockBusy, openError, deleteError };

/// In place of the default file system while it lives.
class FaultyVfs {
  public:
    FaultyVfs();
    ~FaultyVfs();
    FaultyVfs(const FaultyVfs&) = delete;
    FaultyVfs& operator=(const FaultyVfs&) = delete;

    /// Call number `nth` (from 1) of the kind that `fault` concerns fails; with `lasting` every later one
    /// too.
    static void Arm(Fault fault, int nth, bool lasting);
    static void Disarm() { Arm(Fault::none, 0, false); }
    /// Whether a call has failed since Arm.
    static bool Fired();
};

}  // namespace vorela::test
