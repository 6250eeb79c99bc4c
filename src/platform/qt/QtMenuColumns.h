#pragma once
// Menus that the toolkit has no form for: items in columns, and items that the shell paints.

#include <QMenu>

#include "platform/ShellPlatform.h"

namespace tally {

bool NeedsColumns(const Array<MenuItem>& items);
// Puts all items into one action of an empty menu. The menu's signal tells which was chosen: the action's data
// is its command.
void AddColumns(QMenu& menu, const Array<MenuItem>& items);

}  // namespace tally
