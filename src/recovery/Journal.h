#pragma once
// The crash journal. Each changed book has a snapshot and a log of what changed since, so that a program that
// ends in whatever way leaves behind all but the last second. Nothing here tells, asks or holds up the user:
// what fails is tried again later.
//
// Changes are found by the undo records that they leave. A book whose `dirty` is 1 was changed since the
// journal last looked, which sets it to 2; a change without a record costs a snapshot.

#include "base/Base.h"
#include "base/WideText.h"

namespace tally {

// In milliseconds between two calls of JournalTick while there is something to do.
constexpr i32 JOURNAL_PERIOD = 500;

// Begins to watch the books, or, when not `on`, never keeps anything. After ConnectUndo and ConnectClipboard.
void ConnectJournal(bool on);
// Looks for changes, once what the user did has been handled. True when JournalTick is wanted.
bool NoteChanges();
// Writes what was noted. True when it is wanted again.
bool JournalTick();
// The same at once and to the disk, whatever it takes: the process is about to end.
void FlushJournal();
// A book as it is now is safe elsewhere: it was just opened, or saved.
void ForgetChanges(i32 book);
// Whether a book was recovered and has not been saved since.
bool IsRecoveredBook(i32 book);
// The end of the program. Books that are still open and changed stay in the journal.
void CloseJournal();
// Forgets everything and leaves the files as they are: for tests, and the end of the process.
void ResetJournal();

}  // namespace tally
