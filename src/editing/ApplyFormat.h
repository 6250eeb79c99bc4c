#pragma once
// The look of cells: a request names the fields that change.

#include "model/ModelTypes.h"

namespace tally {

struct FormatField {
    bool present = false;
    i32 value = 0;
};

struct FormatRequest {
    FormatField numberFormat;
    FormatField horizontal, vertical, wrap, rotation;
    FormatField bold, italic, underline, strikeout;  // 0 or 1
    FormatField fontSize;                            // twips
    FormatField fontColour;                          // palette index
    FormatField locked, hidden;
};

// More cells than this take no format at once, whole columns excepted.
constexpr i64 MAX_FORMATTED_CELLS = 4'194'304;

// The look of an area of a sheet, with undo. False with nothing changed when it was refused (a locked cell,
// more cells than that), the user having been told.
[[nodiscard]] bool FormatArea(i32 book, i32 sheet, const RefArea& area, const FormatRequest& request);

// The index of a row's format with what the request changes. False when memory fails.
[[nodiscard]] bool ApplyToFormat(Workbook& book, u16 index, const FormatRequest& request, u16& newIndex);
// Gives the cells of an area the request's look: those that do not exist are made, of whole columns only the
// columns' own format changes beside the cells that exist. Refusals and the record for undo are the caller's. A
// cell that memory has no format for keeps its own; false when one did.
bool ApplyFormat(Sheet& sheet, const RefArea& area, const FormatRequest& request);

}  // namespace tally
