#pragma once
// The forms of files, and what a form cannot hold.

#include "base/WideText.h"

namespace tally {

enum FileType : i32 {
    FILE_CSV = 0,
    FILE_PXL = 1,
    FILE_XLS = 2,
    FILE_XLT = 3,
    FILE_BMP = 4,
    FILE_TXT = 5,
    FILE_PXT = 6,
    FILE_UNKNOWN = 7,
};
// By the last four characters of the path alone.
FileType FileTypeOf(WideView path);

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

}  // namespace tally
