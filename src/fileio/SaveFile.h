#pragma once
// Saving a book as a file.

#include "fileio/OpenFile.h"

namespace tally {

// What a form cannot hold and a save has left out, as bits.
enum SaveLoss : u32 {
    LOSS_ROWS = 1,         // rows beyond 16,384
    LOSS_MERGES = 2,
    LOSS_RULES = 4,        // conditional formats and validation
    LOSS_HYPERLINKS = 8,
    LOSS_FORMULAS = 16,    // the value stays
    LOSS_TEXT = 32,        // texts were cut
    LOSS_CHARACTERS = 64,  // characters that the code page lacks
    LOSS_FORMATS = 128,    // rotations and border styles
    LOSS_CHARTS = 256,
    LOSS_SHEETS = 512,     // of which only one is written
};

// What a loss bit stands for, in English: "merged cells".
std::string_view SaveLossText(u32 loss);

// Writes a book to `path` in the form of `type`; workbooks in the form of the book's biffVersion. The old
// file stays as it is unless all went well. False, with one box, when that fails. `losses` gets SaveLoss bits.
// The book itself, its path and its changed flag are left alone.
[[nodiscard]] bool WriteBookFile(i32 book, WideView path, FileType type, u32& losses);
// The same as a user's save: the type is that of the path, a text of several sheets is asked about, and the
// book is unchanged afterwards.
[[nodiscard]] bool SaveFile(i32 book, WideView path);

}  // namespace tally
