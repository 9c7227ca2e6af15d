// The format of a database file: its marks, its tables, and how a new one is made.
//
// A file is a SQLite database with pages of 16 KiB in rollback-journal mode. Version 2 is sealed like a tree:
//
//   catalogue   one row: the next free number and the list of datasets (number, stamp, name)
//   datasets2   a dataset: its name, its stamp and the list of its items (number, checksum of the row, name)
//   items2      an item: its name, unit text, information block and the list of its chunks' checksums
//   chunks      up to 64 KiB of samples with their validity bits; place = item number * 2^28 + chunk number
//
// Each row carries a checksum (CRC-32C) of itself, and each list says what the rows below it must be. A bit
// that flips makes its row fail its own checksum. A page that never reached the disk, so that the older one
// is still there, makes its rows disagree with the lists above them or below them: an append changes a chunk,
// its item and its dataset; whatever makes or deletes an item gives its dataset a new stamp, and the
// catalogue the same. Three tables, three pages: one that is lost is always noticed. What does not agree is
// DK_DISK_ERROR for what it concerns, and only for that. Where only the catalogue fails, the datasets' own
// rows stand in for it.
//
// One thing is not sealed: SQLite's own list of free pages. Where a page of that list was lost, a later write
// may take pages that are in use, and what they held is DK_DISK_ERROR from then on (DBverify tells before). A
// lost first page of the file, which would do the same, is noticed by the file's length: nothing is written
// then.
//
// Numbers are never used twice, so a handle of a deleted item stays void; datasets and items share one count.
// There is no index besides the tables' own keys: an index would be one more page to be older than the rest.
//
// Version 1 had checksums of rows but no lists, a table of units, and counted an item's chunks in its block.
// Such a file is read with what it has. The first writing transaction makes the tables of version 2 out of
// it (Database::Raise); rows that are damaged are carried over as they are, chunks are not touched.
//
// Locks. Writers begin with the write lock (BEGIN IMMEDIATE), so no reader ever wants to become a writer
// while another waits for it: no deadlock. A reading call is one read transaction: it sees one state of the
// file, and keeps a commit out for no longer than itself. With the rollback journal a commit is the deletion
// of the journal; who finds one left by a killed process puts the old pages back first. Write-ahead mode is
// refused before SQLite looks at the file: it needs shared memory, and SQLite before 3.51.3 can lose a commit
// when two connections write or checkpoint at once.
//
// After a fault. A call that fails inside SQLite has its transaction rolled back; when even that fails (the
// disk is gone), the journal stays and the next call on the same handle plays it back. Nothing is kept in
// memory from one call to the next but the version found, which a rollback forgets.
#pragma once

#include <cstdint>
#include <string>

#include "dravik/store/Sqlite.h"

namespace dravik::store {

inline constexpr std::int32_t applicationId = 0x44524B42;  // "DRKB"
inline constexpr int newestFormat = 2;

/// The path as SQLite gets it: never an address ("file:...") nor a file in memory (":memory:"). Throws for
/// what cannot be one, and for a path (or its journal) that leads to something else than a file: a pipe or
/// device would block or swallow what is written.
std::string CheckedPath(const std::string& path);

/// Makes an empty database under a name of its own beside `path`, complete and on the disk, and links it to
/// `path` unless there is something already. Removes what killed makers have left. Nobody sees half a
/// database, and nobody's database is ever replaced or removed.
void MakeDatabaseFile(const std::string& path);

/// The tables of the newest version into an empty file, inside a transaction. PrepareEmptyFile before it.
void PrepareEmptyFile(Connection& connection);
void CreateTables(Connection& connection);
/// Those of a version 1 away and the new ones in, `chunks` apart.
void CreateSealingTables(Connection& connection);
void DropTablesOfFormat1(Connection& connection);

/// Throws DK_NOT_DATABASE unless the first bytes are those of a database that SQLite may look at. False for
/// an empty file.
bool HasSoundHeader(Connection& connection);
/// The version of the file; 0 for an empty one. Throws DK_NOT_DATABASE for a foreign file, for an unknown
/// version, and unless the schema is to the letter that of its version.
int FormatOf(Connection& connection);

}  // namespace dravik::store
