#include "recovery/Journal.h"

#include <algorithm>
#include <utility>

#include "base/RecoveryPlatform.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "recovery/JournalState.h"
#include "recovery/Snapshot.h"

namespace tally {
namespace {

constexpr u32 CHANGE_SEEN = 2;
// Beyond these a snapshot, which is written beside the program, costs the user less than an entry.
constexpr u32 ENTRY_CELLS = 20000, ENTRY_NOTES = 1000;
constexpr u64 LOG_LEAST = 1u << 18;  // bytes that any log may have
constexpr u32 LONGEST_PAUSE = 240;   // ticks between two tries

// Kinds whose record says all that they change: an area with its lists, or fields of the sheet.
constexpr i32 toldKinds[] = {
    UNDO_TYPING,        UNDO_CLEAR,          UNDO_CUT,          UNDO_PASTE,        UNDO_CELL_FORMAT,
    UNDO_ROW_HEIGHT,    UNDO_HIDE_ROWS,      UNDO_SHOW_ROWS,    UNDO_COLUMN_WIDTH, UNDO_HIDE_COLUMNS,
    UNDO_SHOW_COLUMNS,  UNDO_STANDARD_WIDTH, UNDO_RENAME_SHEET, UNDO_GRIDLINES,    UNDO_HEADERS,
    UNDO_ZOOM,          UNDO_PROTECT,        UNDO_FREEZE,       UNDO_UNFREEZE,     UNDO_SORT,
    UNDO_SHOW_FORMULAS, UNDO_FILL_DOWN,      UNDO_FILL_RIGHT,   UNDO_FILL_UP,      UNDO_FILL_LEFT,
    UNDO_FILL_SERIES,   UNDO_REPLACE,        UNDO_HIDE_SHEET,   UNDO_SHOW_SHEET,   UNDO_VALIDATION,
    UNDO_CONDITIONAL,   UNDO_GOAL_SEEK,      UNDO_HYPERLINK,    UNDO_DATA_FORM,    UNDO_TEXT_TO_COLUMNS,
    UNDO_TAB_COLOUR,
};

// ---- what changed ---------------------------------------------------------------------------------

bool NoteTokens(const Array<TokenChange>& tokens, Array<ChangeNote>& notes) {
    if (tokens.Count() > ENTRY_NOTES) return false;
    for (const TokenChange& change : tokens) {
        const RefArea cell = {change.row, change.row, change.column, change.column};
        // A name's formula is in no entry.
        if (!change.serial || !notes.Append({change.serial, cell, BLOCK_CELLS})) return false;
    }
    return true;
}

bool NoteRules(const Array<SavedRules>& all, Array<ChangeNote>& notes) {
    for (const SavedRules& rules : all) {
        const u32 mask = (rules.hasValidations ? u32{BLOCK_VALIDATION} : 0u) |
                         (rules.hasFormats ? u32{BLOCK_CONDITIONAL} : 0u);
        if (!notes.Append({rules.serial, RefArea(), mask})) return false;
    }
    return true;
}

// What a record says was changed. False when no entry can tell it.
bool NoteRecord(const UndoRecord& record, Array<ChangeNote>& notes) {
    const bool told = std::find(std::begin(toldKinds), std::end(toldKinds), record.kind) != std::end(toldKinds);
    const AreaContents& contents = record.contents;
    const u32 objects = BLOCK_COMMENTS | BLOCK_OBJECTS;
    if (!told || (contents.mask & ~(JOURNAL_MASK | objects)) || record.removed || !record.names.IsEmpty())
        return false;
    const u32 mask = contents.mask & ~u32{objects | BLOCK_VALIDATION | BLOCK_CONDITIONAL};
    return notes.Append({record.serial, contents.area, contents.serial ? mask : 0u}) &&
           NoteRules(contents.rules, notes) && NoteTokens(contents.tokens, notes);
}

void RecordUndone(const UndoRecord& record) {
    if (!Journal().on || Journal().rawLost) return;
    Journal().rawLost = !NoteRecord(record, Journal().raw);
}

i32 BookOfNote(const ChangeNote& note) {
    const Sheet* sheet = FindSheetBySerial(note.serial);
    return sheet ? sheet->book : -1;
}

// Sorts notes out to the books that they are of. Null where nothing can be noted.
void KeepNotes(std::span<const ChangeNote> notes, Array<u8>& explained) {
    for (const ChangeNote& note : notes) {
        const i32 book = BookOfNote(note);
        if (book < 0) continue;
        if (static_cast<u32>(book) < explained.Count()) explained[static_cast<u32>(book)] = 1;
        JournaledBook* row = JournalOf(book);
        if (!row || row->wantsSnapshot) continue;
        const auto same = [&](const ChangeNote& other) {
            return other.serial == note.serial && other.area == note.area && other.mask == note.mask;
        };
        if (std::any_of(row->notes.begin(), row->notes.end(), same)) continue;
        if (row->notes.Count() >= ENTRY_NOTES || !row->notes.Append(note)) row->wantsSnapshot = true;
    }
}

// The undo records since the last look. A record that is gone again, or that no entry can tell, explains
// nothing.
bool CollectNotes(Array<ChangeNote>& notes) {
    JournalState& journal = Journal();
    bool whole = !std::exchange(journal.rawLost, false);
    whole = notes.AppendMany(journal.raw.Data(), journal.raw.Count()) && whole;
    journal.raw.Truncate(0);
    for (const UndoRecord& record : UndoRecords()) {
        if (record.number <= journal.seenRecords) continue;
        whole = record.number == ++journal.seenRecords && NoteRecord(record, notes) && whole;
        journal.seenRecords = record.number;
    }
    journal.seenRecords = LastUndoNumber();
    return whole;
}

TablePrint PrintOf(const Workbook& book) {
    TablePrint print;
    print.externBooks = book.externBooks.Count();
    for (const ExternBook& link : book.externBooks) {
        print.externNames += link.names.Count();
        print.externSheetNames += link.sheetNames.Count();
    }
    return print;
}

bool IsKept(i32 index) {
    const Workbook* book = BookAt(index);
    return book && book->dirty && !book->hiddenLink;
}

// ---- files ----------------------------------------------------------------------------------------

bool OwnFolder() { return !Journal().folder.IsEmpty() || RecoveryPlatform().ownFolder(Journal().folder); }

void Pause(JournaledBook& row) {
    row.failures = std::min(row.failures + 1, 8u);
    row.pause = std::min(LONGEST_PAUSE, 1u << row.failures);
}

struct SnapshotOrder {
    i32 book = -1;
    WideText path;
};
bool WriteOrder(void* context) {
    const auto& order = *static_cast<const SnapshotOrder*>(context);
    return WriteSnapshot(order.book, order.path);
}

// The names behind the last one with a formula may be left out of a snapshot.
TableSizes SizesInSnapshot(const Workbook& book) {
    TableSizes sizes = SizesOf(book);
    while (sizes.names && !book.names[sizes.names - 1].tokens.bytes) --sizes.names;
    return sizes;
}

bool StartSnapshot(JournaledBook& row) {
    const Workbook& book = *BookAt(row.book);
    SnapshotOrder order;
    const u32 number = ++Journal().lastNumber;
    order.book = row.book;
    if (!OwnFolder() || !JournalPath(order.path, Journal().folder, row.id, number, FILE_OF_SNAPSHOT))
        return false;
    const i32 writer = RecoveryPlatform().startWriter(WriteOrder, &order);
    if (!writer) return false;
    row.pending = number;
    row.writer = writer;
    row.wantsSnapshot = false;
    // All that was noted until now is in it.
    row.notes.Clear();
    row.told.Clear();
    row.print = PrintOf(book);
    row.sizes = SizesInSnapshot(book);
    row.logBytes = 0;
    return true;
}

void DeleteNumber(const JournaledBook& row, u32 number) {
    WideText path;
    for (const JournalFile file : {FILE_OF_LOG, FILE_OF_SNAPSHOT})
        if (number && JournalPath(path, Journal().folder, row.id, number, file))
            IgnoreFailure(RecoveryPlatform().deleteFile(path));
}

void TakeSnapshot(JournaledBook& row) {
    WideText path;
    FileStamp stamp;
    DeleteNumber(row, std::exchange(row.snapshot, std::exchange(row.pending, 0u)));
    if (JournalPath(path, Journal().folder, row.id, row.snapshot, FILE_OF_SNAPSHOT) &&
        Platform().fileStamp(path, stamp))
        row.snapshotBytes = stamp.size;
    row.failures = 0;
    DeleteLostFiles(row);
}

void AskWriter(JournaledBook& row, bool wait) {
    if (!row.writer) return;
    const WriterState state = RecoveryPlatform().writerState(row.writer, wait);
    if (state == WRITER_RUNNING) return;
    row.writer = 0;
    if (state == WRITER_DONE) return TakeSnapshot(row);
    DeleteNumber(row, std::exchange(row.pending, 0u));
    row.wantsSnapshot = true;
    Pause(row);
}

bool IsTooLarge(const JournaledBook& row) {
    u32 cells = 0;
    for (const ChangeNote& note : row.notes) {
        Sheet* sheet = FindSheetBySerial(note.serial);
        if (!sheet || !(note.mask & BLOCK_CELLS)) continue;
        WalkArea(sheet->cells, note.area, [&](u16, const CellRecord&) { return ++cells <= ENTRY_CELLS; });
    }
    return cells > ENTRY_CELLS;
}

bool AppendEntry(JournaledBook& row) {
    const u32 number = row.pending ? row.pending : row.snapshot;
    Array<u8> entry, bytes;
    WideText path;
    if (!row.logBytes && !BeginLog(number, bytes)) return false;
    if (!WriteJournalEntry(row.book, row.notes.Span(), row.sizes, row.told, entry) ||
        !FrameEntry(entry.Span(), bytes) || !JournalPath(path, Journal().folder, row.id, number, FILE_OF_LOG) ||
        !RecoveryPlatform().appendFile(path, bytes.Span()))
        return false;
    row.logBytes += bytes.Count();
    return true;
}

void WriteNotes(JournaledBook& row) {
    if (row.notes.IsEmpty() || row.wantsSnapshot) return;
    const Workbook& book = *BookAt(row.book);
    if (!CanBeJournaled(book) || !(PrintOf(book) == row.print) || IsTooLarge(row)) {
        row.wantsSnapshot = true;
        return;
    }
    if (!AppendEntry(row)) {
        row.wantsSnapshot = true;
        Pause(row);
    }
    row.notes.Clear();
    if (row.logBytes > std::max(row.snapshotBytes, LOG_LEAST) && !row.pending) row.wantsSnapshot = true;
}

bool AnyWriter() {
    return std::any_of(Journal().books.begin(), Journal().books.end(),
                       [](const JournaledBook& row) { return row.writer != 0; });
}

// True when there is more to do.
bool Serve(JournaledBook& row) {
    const QuietMemoryScope quiet;
    AskWriter(row, false);
    WriteNotes(row);
    if (row.wantsSnapshot && row.pause) --row.pause;
    else if (row.wantsSnapshot && !AnyWriter() && !StartSnapshot(row)) Pause(row);
    return row.writer || row.wantsSnapshot || !row.notes.IsEmpty();
}

void BookClosing(i32 book) {
    JournalState& journal = Journal();
    if (journal.closing) journal.closing(book);
    for (u32 i = journal.books.Count(); i-- > 0;) {
        if (journal.books[i].book == book) DropJournal(i);
        else if (journal.books[i].book > book) --journal.books[i].book;
    }
}

}  // namespace

void ConnectJournal(bool on) {
    ResetJournal();
    JournalState& journal = Journal();
    journal.on = on;
    journal.seenRecords = LastUndoNumber();
    journal.closing = std::exchange(Calls().bookClosing, BookClosing);
    SetUndoneCall(RecordUndone);
}

bool NoteChanges() {
    JournalState& journal = Journal();
    if (!journal.on) return false;
    const bool recorded = journal.seenRecords != LastUndoNumber() || !journal.raw.IsEmpty() || journal.rawLost;
    const bool touched = std::any_of(Books().books.begin(), Books().books.end(),
                                     [](const Workbook* book) { return book->dirty == 1; });
    if (!recorded && !touched) return false;
    const QuietMemoryScope quiet;
    Array<ChangeNote> notes;
    Array<u8> explained;
    const bool good = explained.Resize(Books().books.Count());
    const bool whole = CollectNotes(notes) && good;
    KeepNotes(notes.Span(), explained);
    for (u32 i = 0; i < Books().books.Count(); ++i) {
        Workbook& book = *Books().books[i];
        if (!IsKept(static_cast<i32>(i)) || book.dirty != 1) continue;
        JournaledBook* row = JournalOf(static_cast<i32>(i));
        // Without a place for it the change is seen the next time.
        if (!row) continue;
        book.dirty = CHANGE_SEEN;
        if (!whole || !explained[i]) row->wantsSnapshot = true;
    }
    return !journal.books.IsEmpty();
}

bool JournalTick() {
    bool more = false;
    if (!Journal().on) return false;
    for (JournaledBook& row : Journal().books)
        if (IsKept(row.book)) more = Serve(row) || more;
    return more;
}

void FlushJournal() {
    if (!Journal().on) return;
    IgnoreFailure(NoteChanges());
    // A snapshot under way, then one that a change behind it wants.
    for (int turn = 0; turn < 3; ++turn) {
        for (JournaledBook& row : Journal().books) {
            if (!IsKept(row.book)) continue;
            AskWriter(row, true);
            row.pause = 0;
            if (Serve(row)) AskWriter(row, true);
        }
    }
    RecoveryPlatform().flushAppended();
}

void ForgetChanges(i32 book) {
    Workbook* workbook = BookAt(book);
    if (!workbook) return;
    if (workbook->dirty) workbook->dirty = CHANGE_SEEN;
    JournalState& journal = Journal();
    for (u32 i = journal.books.Count(); i-- > 0;)
        if (journal.books[i].book == book) DropJournal(i);
}

bool IsRecoveredBook(i32 book) {
    const JournaledBook* row = FindJournal(book);
    return row && row->recovered;
}

void CloseJournal() {
    JournalState& journal = Journal();
    if (!journal.on) return ResetJournal();
    FlushJournal();
    for (u32 i = journal.books.Count(); i-- > 0;)
        if (!IsKept(journal.books[i].book)) DropJournal(i);
    for (const HeldFolder& held : journal.held) RecoveryPlatform().leaveFolder(held.path);
    if (!journal.folder.IsEmpty()) RecoveryPlatform().leaveFolder(journal.folder);
    ResetJournal();
}

void ResetJournal() {
    SetUndoneCall(nullptr);
    if (Calls().bookClosing == BookClosing) Calls().bookClosing = Journal().closing;
    Journal() = JournalState();
}

}  // namespace tally
