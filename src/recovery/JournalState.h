#pragma once
// What the journal knows of the books that it keeps, and the files of its folder.

#include "recovery/JournalEntry.h"

namespace tally {

// The tables of a book that an entry does not tell about.
struct TablePrint {
    u64 externBooks = 0, externNames = 0, externSheetNames = 0;
    bool operator==(const TablePrint&) const = default;
};

// A lost folder that this process holds, and for how many books.
struct HeldFolder {
    WideText path;
    u32 users = 0;
};

struct JournaledBook {
    i32 book = -1;     // its index; kept up when one closes
    u32 id = 0;        // in the names of its files
    u32 snapshot = 0;  // number of the whole snapshot, with the log of the same number; 0 none
    u32 pending = 0;   // of the one that is being written; 0 none
    i32 writer = 0;
    bool wantsSnapshot = true;
    u32 failures = 0, pause = 0;  // in a row; ticks until the next try
    Array<ChangeNote> notes;
    TablePrint print;  // at the snapshot
    TableSizes sizes;  // that the log has told
    Array<ToldLists> told;
    u64 logBytes = 0, snapshotBytes = 0;
    bool recovered = false;
    WideText lostFolder;  // of the files that it was recovered from, until it has a snapshot of its own
    u32 lostId = 0;
};

struct JournalState {
    bool on = false;
    Array<JournaledBook> books;
    WideText folder;  // empty until something is written
    u32 lastId = 0, lastNumber = 0;
    u64 seenRecords = 0;    // number of the last undo record that was looked at
    Array<ChangeNote> raw;  // of changes that were undone, since the journal last looked
    bool rawLost = false;   // it could not note one of them, or no entry can hold it
    Array<HeldFolder> held;
    void (*closing)(i32 book) = nullptr;  // who was told of closing books before
};
JournalState& Journal();

enum JournalFile : u8 { FILE_OF_SNAPSHOT, FILE_OF_LOG };

// "FOLDER" + "ID-NUMBER.book" or ".log".
[[nodiscard]] bool JournalPath(WideText& out, WideView folder, u32 id, u32 number, JournalFile file);
// The same taken apart; false for any other name.
bool SplitJournalName(WideView name, u32& id, u32& number, JournalFile& file);

// The row of a book, added when there is none; null when memory fails.
JournaledBook* JournalOf(i32 book);
JournaledBook* FindJournal(i32 book);
// The book has no files any more, and no row.
void DropJournal(u32 row);
// The files that a book was recovered from go, where there are any.
void DeleteLostFiles(JournaledBook& book);
// One user of a lost folder less; without any it is left.
void LetFolderGo(WideView folder);

// ---- the log ----------------------------------------------------------------------------------------

// What the log begins with.
[[nodiscard]] bool BeginLog(u32 number, Array<u8>& out);
// An entry with its length and checksum.
[[nodiscard]] bool FrameEntry(ByteView entry, Array<u8>& out);
// The next entry behind `at`, which moves behind it; false at the end and at what is no whole entry.
bool NextEntry(ByteView log, u32 number, std::size_t& at, ByteView& entry);
// Whether what stands behind the last whole entry is more than the beginning of one, as a sudden end leaves it.
bool IsLogDamaged(ByteView log, std::size_t at);

}  // namespace tally
