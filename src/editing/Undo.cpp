#include "editing/Undo.h"

#include <algorithm>
#include <cstring>

#include "base/MessageTable.h"
#include "editing/UndoInverse.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"

namespace tally {
namespace {

Array<UndoRecord> records;

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

bool SaveRules(UndoRecord& record, const Sheet& sheet) {
    const bool validations = (record.mask & BLOCK_VALIDATION) != 0,
               formats = (record.mask & BLOCK_CONDITIONAL) != 0;
    if (!validations && !formats) return true;
    SavedRules* saved = record.rules.AppendDefault();
    if (!saved) return false;
    saved->serial = sheet.serial;
    saved->hasValidations = validations;
    saved->hasFormats = formats;
    return (!validations || CopyRules(saved->validations, sheet.validations)) &&
           (!formats || CopyRules(saved->formats, sheet.conditionalFormats));
}

bool SaveArea(UndoRecord& record) {
    const Sheet& sheet = *SheetAt(record.book, record.sheet);
    constexpr u32 ofBlock = BLOCK_CELLS | BLOCK_COLUMNS | BLOCK_HYPERLINKS;
    const u32 mask = record.mask;
    return CaptureBlock(record.block, record.book, record.sheet, record.area, mask & ofBlock) &&
           (!(mask & BLOCK_ARRAYS) ||
            record.arrays.AppendMany(sheet.arrayFormulas.Data(), sheet.arrayFormulas.Count())) &&
           (!(mask & BLOCK_MERGES) ||
            record.merges.AppendMany(sheet.mergedAreas.Data(), sheet.mergedAreas.Count())) &&
           SaveRules(record, sheet);
}

bool SaveRows(UndoRecord& record) {
    record.hasRows = true;
    const Array<RowInfo>& rows = SheetAt(record.book, record.sheet)->rows;
    const auto before = [](const RowInfo& info, i32 row) { return info.row < row; };
    const RowInfo* first = std::lower_bound(rows.begin(), rows.end(), i32{record.area.firstRow}, before);
    const RowInfo* last = std::lower_bound(first, rows.end(), record.area.lastRow + 1, before);
    return record.rows.AppendMany(first, static_cast<std::size_t>(last - first));
}

bool SaveColumns(UndoRecord& record) {
    record.hasColumns = true;
    for (const ColumnInfo& info : SheetAt(record.book, record.sheet)->columns) {
        if (info.column < record.area.firstColumn || info.column > record.area.lastColumn) continue;
        if (!record.columns.Append(info)) return false;
    }
    return true;
}

// A record over an area, filled by `save`.
template <typename Save>
bool RecordArea(i32 kind, i32 book, i32 sheet, const RefArea& area, u32 mask, Save save) {
    QuietMemoryScope quiet;
    if (!RecordUndo(book, sheet, kind)) return false;
    UndoRecord& record = records.Last();
    record.area = area;
    record.mask = mask;
    if (save(record)) return true;
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
void DropTokensOfBook(UndoRecord& record, i32 book) {
    u32 kept = 0;
    for (SavedTokens& saved : record.tokens) {
        if (saved.holder == HOLDER_NAME && saved.book == book) {
            FreeTokens(saved.tokens);
            continue;
        }
        if (saved.holder == HOLDER_NAME && saved.book > book) --saved.book;
        record.tokens[kept++] = saved;
    }
    record.tokens.Truncate(kept);
}

}  // namespace

void FreeUndoContents(UndoRecord& record) {
    FreeBlock(record.block);
    for (SavedRules& rules : record.rules) {
        FreeRules(rules.validations);
        FreeRules(rules.formats);
    }
    for (SavedTokens& saved : record.tokens) FreeTokens(saved.tokens);
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
    record->book = book;
    record->kind = kind;
    record->sheet = sheet;
    record->serial = recorded->serial;
    SaveView(record->view, *recorded);
    return true;
}

bool RecordBlock(i32 kind, i32 book, i32 sheet, const RefArea& area, u32 mask) {
    return RecordArea(kind, book, sheet, area, mask,
                      [](UndoRecord& record) { return SaveArea(record) && SaveRows(record); });
}

bool RecordRows(i32 kind, i32 book, i32 sheet, const RefArea& area) {
    return RecordArea(kind, book, sheet, area, 0, SaveRows);
}

bool RecordColumns(i32 kind, i32 book, i32 sheet, const RefArea& area) {
    return RecordArea(kind, book, sheet, area, 0, SaveColumns);
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
u32 UndoCount() { return records.Count(); }

WideView UndoLabel() {
    return records.IsEmpty() ? WideView() : Message(static_cast<u16>(MSG_UNDO_FIRST + records.Last().kind));
}

bool UndoLast() {
    if (records.IsEmpty()) return false;
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
        DropTokensOfBook(records[i], book);
    }
}

void FreeUndoRecord(u32 index) {
    FreeUndoContents(records[index]);
    records.RemoveAt(index);
    if (records.IsEmpty()) records.Clear();
}

const Array<UndoRecord>& UndoRecords() { return records; }

}  // namespace tally
