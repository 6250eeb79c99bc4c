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

// Kinds of number formats; recognition produces some of them.
enum FormatKind : i32 {
    KIND_PLAIN = 0,
    KIND_FIXED = 1,  // of this, currency, accounting, percent and scientific the sub-kind counts decimals
    KIND_CURRENCY = 2,
    KIND_ACCOUNTING = 3,
    KIND_DATE = 4,  // the sub-kind is the id of a time that follows, 0 for none
    KIND_TIME = 5,  // the sub-kind is an id, 0 for the region's own
    KIND_PERCENT = 6,
    KIND_FRACTION = 7,  // the sub-kind counts digits
    KIND_SCIENTIFIC = 8,
    KIND_TEXT = 9,
    KIND_CUSTOM = 10,
    FORMAT_KINDS = 11,
};

struct EntryResult {
    double number = 0;
    i32 boolean = 0;
    i32 error = 0;
    i32 formatKind = KIND_PLAIN;
    i32 subKind = 0;
    i32 formatProposal = -1;  // of a formula: the id that its first function proposes
};

EntryKind ClassifyEntry(const FormulaPlace& place, WideView text, EntryResult& result);
// Finds or adds the number format of a format kind. `custom` serves kind 10.
[[nodiscard]] bool FormatForEntry(i32 book, i32 formatKind, i32 subKind, WideView custom, u16& formatId);
// The text that it finds or adds, in file form.
[[nodiscard]] bool EntryFormatText(i32 book, i32 formatKind, i32 subKind, WideView custom, WideText& out);
// What is meant by a text that was typed in front of a "%" which stood in the line beforehand: numbers take it,
// a text with a "%" of its own, dates, times, formulas and words do without.
WideView WithoutOfferedPercent(WideView text);
// Whether a cell of format `current` takes a proposed id.
bool TakesProposedFormat(u16 current, i32 proposed);
// Whether a number of that format shows a day or a year.
bool ShowsDate(const Workbook& book, u16 numberFormat);
// A value as the entry line shows it for editing.
[[nodiscard]] bool EditableText(i32 book, const Value& value, u16 numberFormat, WideText& out);

}  // namespace tally
