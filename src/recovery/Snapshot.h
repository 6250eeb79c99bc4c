#pragma once
// A book as it was at one moment, with what its own file form does not say: where it came from and how it is to
// be saved again. Only a whole snapshot has its name.

#include "recovery/JournalEntry.h"

namespace tally {

// What stands in front of the book.
struct SnapshotHead {
    WideText path;  // of the book; an untitled one has its name alone
    bool untitled = false;
    u8 biffVersion = 8;
    u16 textCodePage = 0;
    bool textMark = false;
    u32 acceptedLosses = 0;
    FileStamp stamp;
    bool stale = false;  // values are out of date
    SystemTime time = {};
};

// Whether the journal can go on from a snapshot of the book. One that carries parts which only the older form
// has a place for is kept by snapshots alone.
bool CanBeJournaled(const Workbook& book);
// Writes a book to a file. False when that fails; nothing is changed or told.
[[nodiscard]] bool WriteSnapshot(i32 book, WideView path);
// The head of a snapshot's bytes, and the book's own bytes behind it. False for anything else.
[[nodiscard]] bool ReadSnapshotHead(ByteView bytes, SnapshotHead& head, ByteView& book);
// Opens a snapshot as a new book and makes it current. It has its old path, type and stamp and is changed.
// False with no new book when that fails; nobody is told.
[[nodiscard]] bool OpenSnapshot(ByteView bytes);

}  // namespace tally
