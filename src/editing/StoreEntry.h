#pragma once
// From the text of an entry to stored cells.

#include "editing/EntryRecognition.h"
#include "model/SavedCells.h"

namespace tally {

enum EntryOutcome : i32 { ENTRY_STORED = 0, ENTRY_BAD_FORMULA = 1, ENTRY_RETRY = 2, ENTRY_CANCELLED = 3 };

struct EntryTarget {
    i32 book = 0;
    i32 sheet = 0;
    RefArea area;
    i32 refRow = 0, refColumn = 0;  // the cell that relative references of the text are meant from
    bool isArray = false;
    bool isFill = false;
    bool checkRules = false;  // what a rule refuses, asking the user, is taken back
    i32 undoKind = 0;         // UndoKind of the record; -1: the caller has made one
};

// Stores one text over an area. False, with the reason in `outcome`, when nothing was stored; out of
// memory leaves 0 there.
[[nodiscard]] bool StoreEntry(const EntryTarget& target, WideView text, i32& outcome);

// What a text becomes in a cell without a user who is asked: what is no formula stays a text. Row, column and
// the format that the cell has come in with `cell`; value, tokens and the new format come out. False when
// memory fails, `cell` then holding nothing.
[[nodiscard]] bool MakeEntryCell(i32 book, i32 sheet, WideView text, SavedCell& cell);

}  // namespace tally
