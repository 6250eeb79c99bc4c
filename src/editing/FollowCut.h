#pragma once
// References that go along with cells that were cut, once these are pasted.

#include "editing/Undo.h"
#include "formula/ReferenceAdjustment.h"

namespace tally {

// The new tokens of every formula and name that the move changes, but for cells of its target: what pointed at
// the moved cells points at their new place, what pointed at overwritten ones is lost. False when memory fails.
[[nodiscard]] bool CollectFollowers(const AreaMove& move, Array<TokenChange>& followers);

}  // namespace tally
