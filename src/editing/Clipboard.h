#pragma once
// The one block of cells that Cut and Copy keep for a paste, and the text of it for other programs.

#include "editing/CellBlock.h"

namespace tally {

struct ClipboardBlock {
    CellBlock block;
    bool blockExists = false;
    bool fromCut = false;
    u32 serial = 0;  // of the sheet
    // Of a visibleOnly block: where its rows and columns stood on the sheet. The block's positions count on
    // from the first cell of its area without a gap.
    Array<u16> rowPlaces;
    Array<u8> columnPlaces;
};
// The block's sheet is told by its index now, -1 when it is gone.
const ClipboardBlock& Clipboard();

// Empties the clipboard and enters it among the model's calls, behind ConnectUndo.
void ConnectClipboard();
void DropClipboardBlock();

// Keeps an area of a sheet. Rows and columns that a filter hides are left out; a merged area that is partly
// hidden refuses, with a box. False with no block kept.
[[nodiscard]] bool CopyCells(i32 book, i32 sheet, const RefArea& area);
// Keeps an area and takes its cells and all that hangs on them away. A protected, cut array's or cut merge's
// cell refuses, with a box. False with block and book as they were.
[[nodiscard]] bool CutCells(i32 book, i32 sheet, const RefArea& area);
// The same as one step of an operation that has recorded all of it.
[[nodiscard]] bool CutCellsContinued(i32 book, i32 sheet, const RefArea& area);

// The held block steps aside for an operation that uses the clipboard's ways, and comes back.
[[nodiscard]] ClipboardBlock SetClipboardAside();
void ReturnClipboard(ClipboardBlock&& aside);

// What the block shows: a tab between cells, "\r\n" between rows, up to the last cell that shows something.
// False when memory fails.
[[nodiscard]] bool ClipboardBlockText(WideText& out);

}  // namespace tally
