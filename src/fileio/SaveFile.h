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
};
constexpr u32 LOSS_COUNT = 17;

// What a loss bit stands for, in English: "merged cells".
std::string_view SaveLossText(u32 loss);

// Whether a book can be written as a file of that type.
bool CanWrite(FileType type);
// Writes a book to `path` in the form of `type`; workbooks in the form of the book's biffVersion. The old
// file stays as it is unless all went well. False, with one box, when that fails. `losses` gets SaveLoss bits.
// The stale cells of the worksheets are calculated first; the book's path and changed flag are left alone.
[[nodiscard]] bool WriteBookFile(i32 book, WideView path, FileType type, u32& losses);

}  // namespace tally
