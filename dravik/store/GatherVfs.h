// The file layer under SQLite. SQLite hands over one page at a time; pages that follow each other are
// gathered into one larger write, which the operating system keeps in larger pieces and gives back faster.
//
// Nothing is held back across a point that matters: gathered bytes go out before a sync, a read, a
// truncation, a lock change and the close, and SQLite syncs a file before it relies on it. A write that fails
// is reported by whichever of these calls finds it, always before the commit.
//
// Its files offer no shared memory, so that SQLite cannot put a database into write-ahead mode through it.
#pragma once

namespace vorela::store {

/// The name for sqlite3_open_v2. Works over what is SQLite's default file layer at the time of the call.
const char* GatherVfsName();

}  // namespace vorela::store
