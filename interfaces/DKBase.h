/*
 * DKBase: the acquisition system's database library, loaded at run time. Plain C interface; compiles alone as
 * C and as C++.
 *
 * A database is one file. It holds datasets; a dataset holds items: curves (float32 samples on an even grid)
 * and records (samples of a fixed number of bytes, index 0, 1, 2 ...). Items are addressed by paths of text
 * segments separated by "/": "LEVEL1/ZG/1" is a curve, "LEVEL1/_defaults_/1" the presentation record of
 * dataset LEVEL1, "LEVEL1" the dataset itself. A dataset name holds no slash. Texts are NUL-terminated and
 * are copied before a call returns.
 *
 * Sample indices. A curve's samples lie at first, first + step, first + 2*step ... (time: hundredths of a
 * second; depth: hundredths of a foot). A read index between two samples means the sample at or before it. A
 * record's indices count its samples from 0, its step is 1.
 *
 * Status codes. Every function returns DK_OK or one of the codes below unless it says otherwise. A call that
 * fails leaves every output as it was and the file as it was.
 *
 * Processes. Another process may read and write the same file at any time. Each writing call is one atomic
 * commit (or part of the commit of an open DBbegin), durable to the death of the process; a reader never sees
 * half of it. A call waits for a lock held elsewhere for some seconds before it gives DK_DISK_ERROR.
 *
 * Threads. The library is for one thread at a time.
 *
 * Integrity. Samples, items and datasets are sealed by checksums (CRC-32C), each by the list above it, and
 * verified on every read: a bit that flipped or a page that never reached the disk is DK_DISK_ERROR for what
 * it concerns, never a wrong value, an older state or DK_NOT_AVAILABLE. The rest stays readable, and new
 * datasets can be recorded. A damaged item or dataset can be deleted.
 *
 * Versions. A file is opened only when its tables are exactly those that this library makes or has made. A
 * file of the version before is read as it is, and becomes one of the present version with the first
 * transaction that writes into it (DBbegin counts); libraries of that version then refuse it with
 * DK_NOT_DATABASE.
 *
 * Full disk. A write that finds no room is DK_DISK_ERROR and leaves the file as it was; inside DBbegin it may
 * have rolled the whole transaction back, and every further call then gives DK_DISK_ERROR until DBrollback or
 * DBcommit. The same handle goes on from there. So that a process's limit for file sizes is such a disk too,
 * DBopenA has the signal SIGXFSZ ignored unless the program has a handler of its own.
 */
#ifndef DRAVIK_DKBASE_H
#define DRAVIK_DKBASE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define DK_EXPORT __attribute__((visibility("default")))
#else
#define DK_EXPORT
#endif

enum {
    DK_OK = 0,
    DK_NOT_AVAILABLE = 1,  /* the item or sample is not there (a gap in a curve) */
    DK_EXISTS = 2,         /* the item already exists */
    DK_NOT_UNDERSTOOD = 4, /* bad handle, null output, malformed path, negative count, write off the grid */
    DK_NOT_DATABASE = 8,   /* not a database file, or one of a foreign version */
    DK_MAXIMUM = 16,       /* too many handles, text too long, index beyond 32 bits */
    DK_NOT_WRITTEN = 32,   /* the sample lies beyond the last one written */
    DK_NO_MEMORY = 64,
    DK_DISK_ERROR = 128, /* the file cannot be opened, read or written, is locked too long, or is damaged */
    DK_UNSPECIFIED = 256
};

/* Modes of DBopenA. */
enum {
    DK_OPEN_EXISTING = 0, /* read, and write where the file permits it; never creates */
    /* The same, making an empty database when nothing bears the name. It appears complete; one that another
     * process makes in the same moment is opened. A file that is there, an empty one apart, is never changed
     * by this, and a link that leads nowhere is DK_DISK_ERROR. */
    DK_OPEN_CREATE = 1,
    DK_OPEN_READ_ONLY = 2
};

enum { DK_INDEX_DEPTH = 0, DK_INDEX_TIME = 1 };
enum {
    DK_ITEM_CURVE = 0,
    DK_ITEM_RECORD = 1,
    DK_ITEM_DATASET = 2,
    DK_ITEM_DAMAGED = 3 /* in lists (DBenumA) only: there is an item or dataset by that name, unreadable */
};

/*
 * Item information block: DK_INFO_BYTES bytes, little-endian fields at these byte offsets.
 * An empty curve has extents last < first. A dataset's block: kind DK_ITEM_DATASET, and index kind, step and
 * extents of its first curve (depth-driven when it has none).
 */
enum {
    DK_INFO_BYTES = 256,
    DK_INFO_INDEX_KIND = 0,    /* 16-bit: DK_INDEX_... */
    DK_INFO_STEP = 2,          /* 16-bit: sampling step in index units, > 0 */
    DK_INFO_UNIT = 4,          /* 32-bit: unit code for GetUnitTextA */
    DK_INFO_SCALE = 8,         /* 32-bit real: displayed value = sample * scale + offset */
    DK_INFO_OFFSET = 12,       /* 32-bit real */
    DK_INFO_KIND = 16,         /* 16-bit: DK_ITEM_... */
    DK_INFO_SAMPLE_BYTES = 20, /* 32-bit: 4 for a curve, the record's length for a record */
    DK_INFO_FIRST_INDEX = 24,  /* 32-bit: where the grid begins */
    DK_INFO_VALID_FIRST = 28,  /* 32-bit: span over which a derived curve is a full response; */
    DK_INFO_VALID_LAST = 32,   /* 32-bit: empty (last < first) or the whole curve, as its maker stated it */
    DK_INFO_MADE = 40, /* 96 bytes, NUL-padded text: how a derived curve was made; empty for a recorded one */
    DK_INFO_MADE_BYTES = 96,
    DK_INFO_EXTENT_FIRST = 192, /* 32-bit: index of the first sample written */
    DK_INFO_EXTENT_LAST = 196   /* 32-bit: index of the last sample written */
};

/* Attributes of a new item. Zero-initialise, then set what matters. */
typedef struct DBNewItem {
    int16_t kind;        /* DK_ITEM_CURVE or DK_ITEM_RECORD */
    int16_t indexKind;   /* DK_INDEX_... */
    int16_t step;        /* > 0 */
    int32_t firstIndex;  /* index of the grid's first sample */
    int32_t sampleBytes; /* records only: 1 ... 4096 */
    float scale;         /* 0 counts as 1 */
    float offset;
    const char* unitText; /* null counts as ""; a new text gets a new unit code */
    const char* madeText; /* null for a recorded curve; at most 95 characters */
} DBNewItem;

/* Opens a database. DK_DISK_ERROR (missing, unreadable, no plain file: a pipe or device, also as its
 * journal), DK_NOT_DATABASE, DK_MAXIMUM, DK_NOT_UNDERSTOOD. */
DK_EXPORT int32_t DBopenA(const char* path, int16_t mode, int32_t* database);

/* Closes it, detaching what is still attached and rolling back an open transaction. DK_NOT_UNDERSTOOD. */
DK_EXPORT int32_t DBclose(int32_t database);

/* Attaches an existing item (or dataset) and fills `information` (DK_INFO_BYTES bytes; may be null).
 * DK_NOT_AVAILABLE, DK_NOT_UNDERSTOOD, DK_DISK_ERROR, DK_MAXIMUM. */
DK_EXPORT int32_t DBattachA(int32_t database, const char* path, int32_t* item, int32_t reserved,
                            void* information);

/* Always leaves the handle unusable. DK_NOT_UNDERSTOOD. */
DK_EXPORT int32_t DBdetach(int32_t item);

/* Creates an empty item, and its dataset when that is new. DK_EXISTS, DK_NOT_UNDERSTOOD, DK_MAXIMUM,
 * DK_DISK_ERROR. */
DK_EXPORT int32_t DBnewA(int32_t database, const char* path, const DBNewItem* attributes);

/* Deletes an item, or a dataset with all its items. Attached handles of it give DK_NOT_AVAILABLE from then
 * on. DK_NOT_AVAILABLE, DK_NOT_UNDERSTOOD, DK_DISK_ERROR. */
DK_EXPORT int32_t DBdeleteA(int32_t database, const char* path);

/* Reads `count` samples from index `first` on into `buffer` (count * sample bytes).
 * DK_NOT_AVAILABLE: one of them is a gap or lies before the first sample; DK_NOT_WRITTEN: one lies beyond the
 * last. */
DK_EXPORT int32_t DBread(int32_t item, int32_t first, int32_t count, void* buffer);

/* Curves only: reads what there is of `count` samples. present[i] becomes 1 where buffer[i] is a sample and 0
 * where there is none (gap, before the first, beyond the last; buffer[i] is then 0). */
DK_EXPORT int32_t DBreadpresent(int32_t item, int32_t first, int32_t count, float* buffer, uint8_t* present);

/* Writes `count` samples from index `first` on; `first` lies on the grid, at or after its first index.
 * Samples that exist are replaced; what is skipped stays a gap. DK_NOT_UNDERSTOOD, DK_MAXIMUM, DK_DISK_ERROR.
 */
DK_EXPORT int32_t DBwrite(int32_t item, int32_t first, int32_t count, const void* buffer);

/* The same with gaps: only samples with present[i] != 0 are written. */
DK_EXPORT int32_t DBwritepresent(int32_t item, int32_t first, int32_t count, const float* buffer,
                                 const uint8_t* present);

/* Reads the information block of an attached item afresh (a recorder may have appended). */
DK_EXPORT int32_t DBinformation(int32_t item, void* information);

/* States a derived curve's valid span and how it was made (null: unchanged; at most 95 characters). */
DK_EXPORT int32_t DBmark(int32_t item, int32_t validFirst, int32_t validLast, const char* madeText);

/* One transaction over several calls of this database. Inside it other processes read the state before. A
 * database that is closed or whose process dies before DBcommit is as it was before DBbegin. DBbegin takes
 * the writer's lock at once. A DBcommit that fails has rolled back. */
DK_EXPORT int32_t DBbegin(int32_t database);
DK_EXPORT int32_t DBcommit(int32_t database);
DK_EXPORT int32_t DBrollback(int32_t database);

/* Calls `visit` for every item of a dataset in order of creation, with the item's path inside the dataset
 * ("/ZG/1",
 * "/_defaults_/1") and its information block; for a null or empty dataset, for every dataset with its name. A
 * visit that returns non-zero ends the enumeration with DK_OK. The library may be called from inside `visit`.
 * An item or dataset that is damaged is visited too, with a block of kind DK_ITEM_DAMAGED and nothing else.
 */
typedef int32_t (*DBEnumVisit)(void* context, const char* name, const void* information);
DK_EXPORT int32_t DBenumA(int32_t database, const char* dataset, DBEnumVisit visit, void* context);

/* Reads and verifies everything. Calls `damaged` once for each bad chunk with the item's full path and the
 * indices of the chunk's first and last sample, and once for each item or dataset that is damaged itself with
 * its path and last < first; DK_OK when all is sound, DK_DISK_ERROR otherwise. What cannot be read is never
 * passed as sound. */
typedef void (*DBDamageVisit)(void* context, const char* path, int32_t first, int32_t last);
DK_EXPORT int32_t DBverify(int32_t database, DBDamageVisit damaged, void* context);

/* The text of a unit code of any database opened by this process; "" for an unknown code. Never null; valid
 * until the module is unloaded. */
DK_EXPORT const char* GetUnitTextA(int32_t unitCode);

/* What the last failed call of this process had to say beyond its code ("database or disk is full"); never
 * null. */
DK_EXPORT const char* DBlastdetail(void);

/* --- Claims --- */

/* Claims `what` ("dataset LEVEL1", "analysis"; 1 to 80 bytes) in the database file `path` for this process. A
 * file is known by its device and inode, whatever its names; each claim has one holder at a time. It ends
 * with DBunclaim or with the process, however that dies, and leaves nothing on the disk. Claims are an
 * agreement between programs: no other function looks at them. They do not reach processes on other machines
 * (network file systems) nor those in another network namespace (some containers). DK_EXISTS: it is held, by
 * this process or another; then *holder (may be null) is the holder's process number, 0 when that cannot be
 * told. DK_DISK_ERROR: there is no such file. DK_NOT_UNDERSTOOD, DK_MAXIMUM, DK_UNSPECIFIED. */
DK_EXPORT int32_t DBclaimA(const char* path, const char* what, int32_t* claim, int32_t* holder);
/* Ends a claim of DBclaimA. DK_NOT_UNDERSTOOD. */
DK_EXPORT int32_t DBunclaim(int32_t claim);

/* --- The chooser --- */

/* What DBselectA returns: `count` texts, each a database path, a slash and a dataset name, all of one
 * database. */
typedef struct DBMultiSelect {
    int32_t count;
    char** paths;
} DBMultiSelect;

/* Asks the user. Fills *selection by DBselectionadd; returns non-zero when something was chosen. */
typedef int32_t (*DBChooser)(void* context, DBMultiSelect* selection);

/* Hands the chooser in (null takes it away). */
DK_EXPORT void DBsetchooser(DBChooser chooser, void* context);
/* For a chooser: appends a copy of `path`. */
DK_EXPORT int32_t DBselectionadd(DBMultiSelect* selection, const char* path);

/* Initialises the window support; non-zero when a chooser is there. */
DK_EXPORT int32_t InitWin(int32_t reserved);
/* Runs the chooser. DK_OK with *selection to be released by DBreleaseMS; DK_NOT_AVAILABLE when nothing was
 * chosen. */
DK_EXPORT int32_t DBselectA(DBMultiSelect** selection);
DK_EXPORT void DBreleaseMS(DBMultiSelect* selection);

/* --- Settings of the acquisition system, for this process --- */

enum { DK_SETTING_DEPTH_UNIT = 3 }; /* 0 feet (default), 1 metres */
DK_EXPORT int32_t GetDravikSetting(int32_t number);
DK_EXPORT int32_t SetDravikSetting(int32_t number, int32_t value);

#ifdef __cplusplus
}
#endif

#endif
