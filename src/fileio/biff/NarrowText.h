#pragma once
// Narrow texts and the code pages that can hold them.

#include "model/ModelTypes.h"

namespace tally {

// The book's own page, or another one that holds more of its letters.
u16 ChooseCodePage(const Workbook& book);
// The text with signs of money and the like in full width where the page has them in that alone. False when
// memory fails.
[[nodiscard]] bool WidenTwins(u16 page, WideView text, WideText& out);
// Whether two texts differ in the width of such signs at most.
bool EqualButForTwins(WideView a, WideView b);

}  // namespace tally
