#pragma once
// Laying a captured block over areas of a sheet: the machinery of Paste and Fill.

#include "editing/PasteOperations.h"
#include "editing/Undo.h"
#include "formula/ReferenceAdjustment.h"

namespace tally {

enum ClipboardMode : i32 {
    PASTE_ALL = 1,
    PASTE_FORMULAS = 2,
    PASTE_VALUES = 3,
    PASTE_FORMATS = 4,
    PASTE_COMMENTS = 5,
    PASTE_BUT_BORDERS = 6,
    PASTE_VALIDATION = 7,
    PASTE_VALUES_AND_FORMATS = 8,
};

struct RestoreOrder {
    const CellBlock* block = nullptr;
    // Where rows and columns of the block stood, one by one; empty when they stand in its area.
    std::span<const u16> rowPlaces;
    std::span<const u8> columnPlaces;
    i32 book = 0, sheet = 0;
    std::span<const RefArea> targets;  // one or more, multiples of the block's size where there is no origin
    // The tiles of all targets are counted from its first cell, so that a target may show a part of one; null:
    // each target has its own from its first cell on.
    const RefArea* origin = nullptr;
    // Rows and columns of the first tile that lie before that.
    i32 rowsBefore = 0, columnsBefore = 0;
    // Has the last word on a cell before it is stored; false: the target's stays. Null: none.
    bool (*place)(const void* context, i32 row, i32 column, SavedCell& cell) = nullptr;
    const void* context = nullptr;
    i32 mode = PASTE_ALL;
    i32 operation = PASTE_NONE;
    bool skipBlanks = false;
    bool transpose = false;
    bool isCut = false;
    // What gives way in the targets and what of the block comes there, beside cells, arrays and merges.
    u32 mask = 0;
    i32 undoKind = UNDO_PASTE;  // below 0: without undo
    u32 undoMask = BLOCK_BUT_OBJECTS;
    // References to the block's old place go along; null: they stay.
    const AreaMove* move = nullptr;
};

// What a mode replaces and brings beside cells, arrays and merges.
u32 MaskOfMode(i32 mode);

// Tiles the block over the targets, as one operation with its undo record. False with the book as it was when
// memory fails or too many cells would come about; the user has then been told.
[[nodiscard]] bool RestoreBlock(const RestoreOrder& order);

}  // namespace tally
