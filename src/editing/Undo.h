#pragma once
// The list of the last operations. It only goes backwards: an operation that is undone is forgotten.

#include "editing/AreaContents.h"

namespace tally {

// The label of kind k is message MSG_UNDO_FIRST + k, from UNDO_TAB_COLOUR on a message of its own.
enum UndoKind : i32 {
    UNDO_TYPING = 0,
    UNDO_CLEAR = 1,
    UNDO_CUT = 2,
    UNDO_PASTE = 3,
    UNDO_DELETE_ROWS = 4,
    UNDO_DELETE_COLUMNS = 5,
    UNDO_DELETE_WORKSHEET = 6,
    UNDO_DELETE_CHART = 7,
    UNDO_INSERT_CELLS = 8,
    UNDO_INSERT_ROWS = 9,
    UNDO_INSERT_COLUMNS = 10,
    UNDO_INSERT_WORKSHEET = 11,
    UNDO_INSERT_CHART = 12,
    UNDO_ADD_NAME = 13,
    UNDO_CHANGE_NAME = 14,
    UNDO_DELETE_NAME = 15,
    UNDO_CELL_FORMAT = 16,
    UNDO_ROW_HEIGHT = 17,
    UNDO_HIDE_ROWS = 18,
    UNDO_SHOW_ROWS = 19,
    UNDO_COLUMN_WIDTH = 20,
    UNDO_HIDE_COLUMNS = 21,
    UNDO_SHOW_COLUMNS = 22,
    UNDO_STANDARD_WIDTH = 23,
    UNDO_RENAME_SHEET = 24,
    UNDO_GRIDLINES = 25,
    UNDO_HEADERS = 26,
    UNDO_ZOOM = 27,
    UNDO_PROTECT = 28,
    UNDO_FREEZE = 29,
    UNDO_UNFREEZE = 30,
    UNDO_SORT = 31,
    UNDO_DELETE_MACRO_SHEET = 32,
    UNDO_INSERT_MACRO_SHEET = 33,
    UNDO_SHOW_FORMULAS = 34,
    UNDO_DELETE_CELLS = 35,
    UNDO_FILL_DOWN = 36,
    UNDO_FILL_RIGHT = 37,
    UNDO_FILL_UP = 38,
    UNDO_FILL_LEFT = 39,
    UNDO_FILL_SERIES = 40,
    UNDO_REPLACE = 41,
    UNDO_NEW_COMMENT = 42,
    UNDO_EDIT_COMMENT = 43,
    UNDO_HIDE_SHEET = 44,
    UNDO_SHOW_SHEET = 45,
    UNDO_VALIDATION = 46,
    UNDO_CONDITIONAL = 47,
    UNDO_GOAL_SEEK = 48,
    UNDO_HYPERLINK = 49,
    UNDO_DATA_FORM = 50,
    UNDO_OBJECT_FORMAT = 51,
    UNDO_MOVE_OBJECTS = 52,
    UNDO_RESIZE_OBJECTS = 53,
    UNDO_INSERT_OBJECTS = 54,
    UNDO_DELETE_OBJECTS = 55,
    UNDO_MOVE_SHEET = 56,
    UNDO_COPY_SHEET = 57,
    UNDO_TEXT_TO_COLUMNS = 58,
    UNDO_TAB_COLOUR = 59,
    UNDO_KINDS = 60,
};
// Where an operation wants a kind: no record of its own, or the last record goes on over this step, too.
constexpr i32 UNDO_NONE = -1, UNDO_CONTINUED = -2;

// The view of a sheet as it was.
struct SavedView {
    char16_t name[MAX_SHEET_NAME + 1] = {};
    i32 zoomPercent = 100;
    u16 viewFlags = 0, defaultColumnWidth = 0, defaultRowHeight = 0;
    u16 passwordHash = 0;
    u8 tabColour = 0;
    SheetView view;
};

struct SavedName {
    i32 name = -1;
    u16 flags = 0;
    u16 sheet = 0;
    u8 shortcut = 0;
    WideText text;
    FormulaTokens tokens;
};

struct UndoRecord {
    u64 number = 0;  // one above that of the record made before
    i32 book = 0;
    i32 kind = 0;
    i32 sheet = 0;   // index; of sheet operations the sheet that was made or removed
    u32 serial = 0;  // of that sheet
    SavedView view;
    AreaContents contents;     // of a structural edit: whole lists of the sheet, its links moved
    Array<RefArea> linkAreas;  // places of all links before a structural edit
    Array<PageBreak> rowBreaks, columnBreaks;  // with the sizes of a structural edit
    i32 rowDelta = 0, columnDelta = 0;  // the shift of a structural edit; both 0 when nothing was shifted
    RefArea moved;                      // the area that was shifted, where it stood before
    Sheet* removed = nullptr;           // owned
    Array<ExternSheet> externSheets;    // as they were
    Array<SavedName> names;
    i32 oldIndex = 0;      // of a moved sheet
    u32 sourceSerial = 0;  // of the sheet that was copied, current again afterwards
};

// Empties the list and enters it among the model's calls. Again after ResetBooks.
void ConnectUndo();

// Makes room (the oldest of 16 goes) and a record with the view of the sheet. False when memory fails; the
// operation then goes on without undo.
[[nodiscard]] bool RecordUndo(i32 book, i32 sheet, i32 kind);
// The same with all that the mask names over an area, and its row records.
[[nodiscard]] bool RecordBlock(i32 kind, i32 book, i32 sheet, const RefArea& area, u32 mask);
// The same with the row records of an area, or the column records.
[[nodiscard]] bool RecordRows(i32 kind, i32 book, i32 sheet, const RefArea& area);
[[nodiscard]] bool RecordColumns(i32 kind, i32 book, i32 sheet, const RefArea& area);
// The same with a defined name as it is; for a new one, after it was added.
[[nodiscard]] bool RecordName(i32 kind, i32 book, i32 name);
// The record made last; null when there is none. Holds until the list next changes.
UndoRecord* LastUndo();
// Takes the last record back without undoing: its operation failed.
void DropLastUndo();

u32 UndoCount();
// Label of the last operation; empty when there is none.
WideView UndoLabel();
// Undoes the last operation and makes its book and sheet current. False when there is none, or memory
// failed: the record then stays and nothing has changed.
[[nodiscard]] bool UndoLast();
// The number of the record made last, whether it still stands or not.
u64 LastUndoNumber();
// Called with each record before it is undone; null for nobody.
void SetUndoneCall(void (*call)(const UndoRecord& record));
// Removes a book's records; those of later books count one less.
void DropUndoOfBook(i32 book);
void FreeUndoRecord(u32 index);

// The list, oldest first; for tests.
const Array<UndoRecord>& UndoRecords();

}  // namespace tally
