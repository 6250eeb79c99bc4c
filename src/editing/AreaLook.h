#pragma once
// How the cells of an area look, as far as they agree.

#include "editing/ApplyFormat.h"

namespace tally {

// The fields in which all cells of an area agree are present, in the dialog's order of colours; the others are
// not. `merge` is 1 for exactly one merged area, 0 where nothing is merged. Applying it would change nothing.
FormatRequest LookOfArea(const Sheet& sheet, const RefArea& area);
// Whether a request asks for anything.
bool AnyField(const FormatRequest& request);
// The fields that a request has replace those of a look.
void TakeFields(FormatRequest& look, const FormatRequest& request);
// The look of one format, as that of a single cell.
FormatRequest LookOfFormat(const Workbook& book, const CellFormat& format);

}  // namespace tally
