#pragma once
// Places in the open books that a text names, and the ways that lead to them.

#include "formula/Coercion.h"

namespace tally {

// A defined name or a reference, seen from the current sheet, on a visible sheet of any open book.
bool FindPlace(WideView text, SheetArea& place);
// Makes its sheet the current one and selects the area.
void ShowPlace(const SheetArea& place);
// The same, and the next Go To leads back.
void GoToPlace(const SheetArea& place);
// Follows the hyperlink of a cell; false when it has none.
bool FollowHyperlink(i32 row, i32 column);

}  // namespace tally
