#include "editing/Undo.h"

#include <cstring>

#include "base/MessageTable.h"
#include "editing/UndoInverse.h"
#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

Array<UndoRecord> records;
u64 lastNumber = 0;
void (*undoneCall)(const UndoRecord& record) = nullptr;

void SaveView(SavedView& saved, const Sheet& sheet) {
    std::memcpy(saved.name, sheet.name, sizeof saved.name);
    saved.zoomPercent = sheet.zoomPercent;
    saved.viewFlags = sheet.viewFlags;
    saved.defaultColumnWidth = sheet.defaultColumnWidth;
    saved.defaultRowHeight = sheet.defaultRowHeight;
    saved.passwordHash = sheet.passwordHash;
    saved.tabColour = sheet.tabColour;
    saved.view = sheet.view;
}

// A record with contents of an area.
bool RecordContents(i32 kind, i32 book, i32 sheet, const RefArea& area, u32 mask) {
    QuietMemoryScope quiet;
    if (!RecordUndo(book, sheet, kind)) return false;
    if (SaveContents(records.Last().contents, *SheetAt(book, sheet), area, mask)) return true;
    DropLastUndo();
    return false;
}

void RecordSheetInsert(i32 book, i32 sheet, i32 kind) {
    const i32 undo = kind == SHEET_CHART   ? UNDO_INSERT_CHART
                     : kind == SHEET_MACRO ? UNDO_INSERT_MACRO_SHEET
                                           : UNDO_INSERT_WORKSHEET;
    if (kind != SHEET_MODULE) IgnoreFailure(RecordUndo(book, sheet, undo));
    // References keep the numbers of their sheets over a chart, and so speak of others behind it.
    if (kind == SHEET_CHART && SheetAt(book, sheet + 1)) MarkAllStale();
}

// Names of a closing book are gone, those of later books count one less.
void DropTokensOfBook(Array<TokenChange>& changes, i32 book) {
    u32 kept = 0;
    for (TokenChange& saved : changes) {
        if (!saved.serial && saved.book == book) {
            FreeTokens(saved.tokens);
            continue;
        }
        if (!saved.serial && saved.book > book) --saved.book;
        changes[kept++] = saved;
    }
    changes.Truncate(kept);
}

}  // namespace

void FreeUndoContents(UndoRecord& record) {
    FreeContents(record.contents);
    for (SavedName& name : record.names) FreeTokens(name.tokens);
    FreeSheet(record.removed);
    record.removed = nullptr;
}

void ConnectUndo() {
    while (!records.IsEmpty()) DropLastUndo();
    records.Clear();
    Calls().bookClosing = DropUndoOfBook;
    Calls().recordSheetInsert = RecordSheetInsert;
}

bool RecordUndo(i32 book, i32 sheet, i32 kind) {
    const Sheet* recorded = SheetAt(book, sheet);
    if (!recorded) return false;
    // Without undo the operation goes on, and nobody is told.
    QuietMemoryScope quiet;
    if (records.Count() >= u32{UNDO_DEPTH}) FreeUndoRecord(0);
    UndoRecord* record = records.AppendDefault();
    if (!record) return false;
    record->number = ++lastNumber;
    record->book = book;
    record->kind = kind;
    record->sheet = sheet;
    record->serial = recorded->serial;
    SaveView(record->view, *recorded);
    return true;
}

bool RecordBlock(i32 kind, i32 book, i32 sheet, const RefArea& area, u32 mask) {
    return RecordContents(kind, book, sheet, area, mask | CONTENTS_ROWS);
}

bool RecordRows(i32 kind, i32 book, i32 sheet, const RefArea& area) {
    return RecordContents(kind, book, sheet, area, CONTENTS_ROWS);
}

bool RecordColumns(i32 kind, i32 book, i32 sheet, const RefArea& area) {
    return RecordContents(kind, book, sheet, area, BLOCK_COLUMNS);
}

bool RecordName(i32 kind, i32 book, i32 name) {
    const Workbook* workbook = BookAt(book);
    QuietMemoryScope quiet;
    if (!workbook || name < 0 || static_cast<u32>(name) >= workbook->names.Count() ||
        !RecordUndo(book, workbook->currentSheet, kind))
        return false;
    SavedName* saved = records.Last().names.AppendDefault();
    if (saved && SaveName(*saved, *workbook, name)) return true;
    DropLastUndo();
    return false;
}

UndoRecord* LastUndo() { return records.IsEmpty() ? nullptr : &records.Last(); }
void DropLastUndo() {
    if (!records.IsEmpty()) FreeUndoRecord(records.Count() - 1);
}
u64 LastUndoNumber() { return lastNumber; }
void SetUndoneCall(void (*call)(const UndoRecord& record)) { undoneCall = call; }
u32 UndoCount() { return records.Count(); }

WideView UndoLabel() {
    if (records.IsEmpty()) return WideView();
    const i32 kind = records.Last().kind;
    return Message(kind == UNDO_TAB_COLOUR ? u16{MSG_UNDO_TAB_COLOUR}
                                           : static_cast<u16>(MSG_UNDO_FIRST + kind));
}

bool UndoLast() {
    if (records.IsEmpty()) return false;
    if (undoneCall) undoneCall(records.Last());
    if (!RunInverse(records.Last())) return false;
    DropLastUndo();
    return true;
}

void DropUndoOfBook(i32 book) {
    for (u32 i = records.Count(); i-- > 0;) {
        if (records[i].book == book) {
            FreeUndoRecord(i);
            continue;
        }
        if (records[i].book > book) --records[i].book;
        DropTokensOfBook(records[i].contents.tokens, book);
    }
}

void FreeUndoRecord(u32 index) {
    FreeUndoContents(records[index]);
    records.RemoveAt(index);
    if (records.IsEmpty()) records.Clear();
}

const Array<UndoRecord>& UndoRecords() { return records; }

}  // namespace tally
