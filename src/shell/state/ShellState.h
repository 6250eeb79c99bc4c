#pragma once
// What the shell remembers between messages: one record, one reset.

#include "formula/Evaluator.h"
#include "model/ModelTypes.h"
#include "platform/ShellPlatform.h"
#include "shell/state/GridMetrics.h"

namespace tally {

constexpr u32 RECENT_FILES = 9;

enum EntryModeValue : i32 { ENTRY_NONE = 0, ENTRY_ENTER = 1, ENTRY_EDIT = 2 };

enum Gesture : u8 {
    GESTURE_NONE,
    GESTURE_CELLS,
    GESTURE_ROWS,
    GESTURE_COLUMNS,
    GESTURE_RESIZE_ROW,
    GESTURE_RESIZE_COLUMN,
    GESTURE_POINT,
    GESTURE_PICK,   // a reference for a dialog
    GESTURE_FILL,   // the selection's corner is drawn over the cells that it is to fill
    GESTURE_CARRY,  // the selection is drawn elsewhere by its edge
    GESTURE_TAB,    // a sheet's tab is drawn to another place
};

// A row or column on the screen; `end` lies outside.
struct ShownLine {
    i32 index = 0;
    i32 start = 0;
    i32 end = 0;
};

// Where everything in the client area lies, worked out by RefreshChrome.
struct Layout {
    i32 width = 0, height = 0;
    i32 dpi = 96;         // pixels to the inch of the screen that the window is on
    GridMetrics metrics;  // of the window, zoomed
    i32 headerHeight = 0, headerWidth = 0;
    PixelRect toolbar;
    PixelRect nameBox;    // with its arrow, at the left of the entry line
    PixelRect nameArrow;  // within it
    PixelRect entryLine;
    PixelRect grid;   // GridArea: headers and cells
    PixelRect cells;  // without the headers
    PixelRect tabScroller;
    PixelRect tabs;
    PixelRect statusBar;
    // Shown rows and columns in the order of the screen: those of the fixed pane first.
    Array<ShownLine> rows, columns;
    u32 fixedRows = 0, fixedColumns = 0;  // how many of them are in the fixed pane
};

// What is kept of a band beside whether it is hidden: its place among the four, its style bits, and its width
// in pixels, 0 for that of the frame.
struct BandLayout {
    i32 index = 0, style = 0, width = 0;
};

// The buttons, by their place in the table.
struct Toolbar {
    u32 enabled = 0;  // bit by bit, as they were last shown
    i32 hover = -1;   // under the pointer
    i32 pressed = -1;
    i32 dragged = -1;    // the band that is moved by its grip
    i32 dragOffset = 0;  // of the pointer from where the band begins
};

// While a reference is written into the entry line by keys or the mouse.
struct PointState {
    bool active = false;
    i32 start = 0, end = 0;  // the span of the reference in the entry line
    RefArea area;
    i32 anchorRow = 0, anchorColumn = 0;
    i32 row = 0, column = 0;  // the moving corner
    bool wholeRows = false, wholeColumns = false;
};

// A selection that is drawn by its corner or its edge.
struct BlockDrag {
    RefArea from;             // it
    RefArea frame;            // what a release would fill it to, or where it would go
    i32 row = 0, column = 0;  // of the press
    bool moved = false;
};

// A tab on its way: the sheet that it would stand before, counted with hidden ones, below 0 while it has not
// left its place.
struct TabDrag {
    i32 sheet = 0;
    i32 before = -1;
    i32 pressX = 0;
};

// The last used column, which costs a walk over all rows, as long as the sheet holds as many cells and merges.
struct UsedColumn {
    u32 serial = 0;
    u32 cells = 0;
    u32 merges = 0;
    i32 column = 0;
};

// Rows that wait to be fitted to what was stored in them.
struct WantedRows {
    i32 book = -1;
    i32 sheet = -1;
    RefArea area;
};

// The condition in force at a cell: the places of a conditional format in its sheet's list and of the condition
// in it. A format below 0 is none.
struct ConditionPlace {
    i32 format = -1;
    i32 condition = 0;
};
struct MergeCondition {
    RefArea merge;
    ConditionPlace place;
};

struct PaintGuard;

// What is seen of the current sheet beside the values of its cells, as it was last brought up to date.
struct ShownState {
    bool changed = false;  // what is seen may be out of date
    bool painted = false;  // and was painted as it was
    u32 serial = 0;        // of the sheet
    // Row by row, beside Layout.rows and Layout.columns; empty when no cell has a condition.
    Array<ConditionPlace> conditions;
    Array<MergeCondition> merges;
    bool aggregateChanged = false;
    WideText aggregate;  // the middle part of the status bar
};

// The command that F4 does again.
struct RepeatState {
    i32 command = 0;   // 0: none yet
    i32 argument = 0;  // what it was told or found, in its own way
    bool running = false;
};

// The frame around the cells that references in the entry line stand for; the colour is a place in the table.
struct ReferenceFrame {
    i32 sheet = 0;
    RefArea area;
    u8 colour = 0;
    bool operator==(const ReferenceFrame&) const = default;
};

// A call in a formula: its row of the function table and which of its arguments, from 0. A row below 0: none,
// or one of something that the table does not hold.
struct CallPlace {
    i32 row = -1;
    i32 argument = 0;
    bool operator==(const CallPlace&) const = default;
};

// What is shown of the formula in the entry line.
struct EntryMarks {
    bool active = false;
    i32 book = 0, sheet = 0;  // that the entry is for
    WideText text;            // that the frames are of
    Array<ReferenceFrame> frames;
    CallPlace call;  // that the caret is in
};

// What was last told to those who do not see the window.
struct ToldState {
    bool any = false;
    bool editing = false;
    u32 serial = 0;  // of the sheet
    RefArea active, selection;
    WideText value;  // of the active cell
};

struct ShellState {
    ShownState shown;
    bool circle = false;  // the mark of a circular reference stands in the column headers
    Layout layout;
    i32 entryMode = ENTRY_NONE;
    i32 typedCall = -1;           // row of the function whose call was typed for the user into the line
    bool percentOffered = false;  // the line began with a "%" behind the caret
    bool endMode = false;
    Gesture gesture = GESTURE_NONE;
    i32 gestureLine = 0;                  // row or column that is being resized
    i32 gestureOffset = 0;                // distance of the pointer from its edge
    i32 gestureX = 0, gestureY = 0;       // last pointer position
    i32 cornerRow = 0, cornerColumn = 0;  // moving corner of the selection
    BlockDrag drag;
    TabDrag tab;
    bool naming = false;  // the name box has the focus
    PointState point;
    EntryMarks marks;
    Toolbar toolbar;
    RepeatState repeat;
    Dialog* modal = nullptr;            // the innermost one that the user must end first
    Dialog* pickInto = nullptr;         // whose reference edit has the focus
    i32 pickBook = 0, pickSheet = 0;    // that its references are seen from
    i32 hintRow = -1, hintColumn = -1;  // the cell under the pointer
    WantedRows wantedRows;
    UsedColumn usedColumn;
    bool decimalKey = false;  // the last key was the number pad's decimal key
    i32 firstTab = 0;         // first sheet tab shown
    WideText goToTarget;      // what the next Go To begins with
    Array<WideText> recent;
    bool bandHidden[4] = {false, false, true, true};  // standard, formula, format, entry
    BandLayout bands[4];
    bool statusBarShown = true;
    i32 aggregate = 6;
    u32 options5 = 0;
    bool trustClosed = false;  // no book reaches outside, and nobody is asked
    bool closing = false;
    bool painted = false;       // at least once
    bool journalOn = true;      // unsaved changes are kept for the next start
    bool journalWaits = false;  // its timer runs
    u32 lostSearches = 0;       // for books that were not saved
    i32 messageDepth = 0;       // messages that are being handled, one inside the other
    ToldState told;
    PaintGuard* paintGuard = nullptr;     // of the paint under way
    u32 paintFaults = 0;                  // what paints did and must not
    bool countsPaintFaults = false;       // and which then do not end a program with its checks
    EvaluationStop toldStop = STOP_NONE;  // of a calculation, to be told
    bool memoryTold = false;              // the user knows that the outermost one was refused memory
};
ShellState& Shell();
// Back to what it is before StartShell.
void ResetShell();

constexpr u32 OPTION_FULL_SCREEN = 32;
enum BandNumber : i32 { BAND_STANDARD, BAND_FORMULA, BAND_FORMAT, BAND_ENTRY };

inline bool IsEditing() { return Shell().entryMode != ENTRY_NONE; }
inline bool HasCells(const Sheet* sheet) { return sheet && (sheet->kind & SHEET_WITH_CELLS); }

}  // namespace tally
