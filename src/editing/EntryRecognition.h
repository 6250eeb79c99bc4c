#pragma once
// Decides what a typed, pasted or imported text is.

#include "formula/Compiler.h"
#include "model/ModelTypes.h"

namespace tally {

enum EntryKind : i32 {
    ENTRY_EMPTY = 0,
    ENTRY_FORMULA = 1,
    ENTRY_TEXT = 2,
    ENTRY_NUMBER = 3,
    ENTRY_BOOL = 4,
    ENTRY_ERROR = 5,
};

struct EntryResult {
    double number = 0;
    i32 boolean = 0;
    i32 error = 0;
    i32 formatKind = 0;  // 0 plain, 2 currency, 4 date, 5 time, 6 percent, 7 mixed fraction
    i32 subKind = 0;
    i32 formatProposal = -1;  // of a formula: the id that its first function proposes
};

EntryKind ClassifyEntry(const FormulaPlace& place, WideView text, EntryResult& result);
// Finds or adds the number format of a format kind. `custom` serves kind 10.
[[nodiscard]] bool FormatForEntry(i32 book, i32 formatKind, i32 subKind, WideView custom, u16& formatId);
// What is meant by a text that was typed in front of a "%" which stood in the line beforehand: numbers take it,
// a text with a "%" of its own, dates, times, formulas and words do without.
WideView WithoutOfferedPercent(WideView text);
// Whether a cell of format `current` takes a proposed id.
bool TakesProposedFormat(u16 current, i32 proposed);
// A value as the entry line shows it for editing.
[[nodiscard]] bool EditableText(i32 book, const Value& value, u16 numberFormat, WideText& out);

}  // namespace tally
