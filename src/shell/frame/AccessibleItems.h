#pragma once
// What is painted, told as items of names and values (platform/Accessible.h).

#include "platform/Accessible.h"

namespace tally {

// The whole tree as it is now, the root first and the children of each item one behind the other. False when
// memory fails.
[[nodiscard]] bool BuildAccessibleItems(Array<AccessibleItem>& items);
// Tells the platform what has changed since the last call, when somebody listens.
void TellAccessible();

}  // namespace tally
