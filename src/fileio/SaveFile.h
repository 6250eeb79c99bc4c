#pragma once
// Saving a book as a file.

#include "fileio/OpenFile.h"

namespace tally {

// What a form cannot hold and a save has left out, as bits.
enum SaveLoss : u32 {
    LOSS_ROWS = 1,  // rows beyond 16,384
    LOSS_MERGES = 2,
    LOSS_RULES = 4,  // conditional formats and validation
    LOSS_HYPERLINKS = 8,
    LOSS_FORMULAS = 16,    // the value stays
    LOSS_TEXT = 32,        // texts were cut
    LOSS_CHARACTERS = 64,  // characters that the code page lacks
    LOSS_FORMATS = 128,    // rotations and border styles
    LOSS_CHARTS = 256,
    LOSS_SHEETS = 512,        // of which only one is written
    LOSS_SHEET_KINDS = 1024,  // macro sheets and modules
    LOSS_NAMES = 2048,
    LOSS_OBJECTS = 4096,
    LOSS_FILTERS = 8192,
    LOSS_SHEET_STATE = 16384,
    LOSS_PAGE = 32768,
    LOSS_DATES = 65536,
    // What the book carries without understanding it, and what belongs to it.
    LOSS_COMMENTS = 1 << 17,
    LOSS_PIVOTS = 1 << 18,
    LOSS_MACROS = 1 << 19,
    LOSS_EMBEDDED = 1 << 20,
    LOSS_PROPERTIES = 1 << 21,
    LOSS_VIEWS = 1 << 22,
    LOSS_PARTS = 1 << 23,
    LOSS_RICH_TEXT = 1 << 24,
    LOSS_STYLES = 1 << 25,
    LOSS_OUTLINES = 1 << 26,
    LOSS_LINK_VALUES = 1 << 27,
};
constexpr u32 LOSS_COUNT = 28;

// What a loss bit stands for, as the user reads it: "merged cells".
WideView SaveLossText(u32 loss);

// Asked before a file is created, with what it will not hold; false ends the save without a box.
using LossQuestion = bool (*)(i32 book, u32 losses);

// Whether a book can be written as a file of that type.
bool CanWrite(FileType type);
// Writes a book to `path` in the form of `type`; workbooks in the form of the book's biffVersion. The old
// file stays as it is unless all went well. False, with one box, when that fails. `losses` gets SaveLoss bits.
// The stale cells of the worksheets are calculated first; the book's path and changed flag are left alone.
[[nodiscard]] bool WriteBookFile(i32 book, WideView path, FileType type, u32& losses,
                                 LossQuestion mayLose = nullptr);

}  // namespace tally
