#pragma once
// Unsaved changes on their way into the journal, and back at the next start.

#include "platform/ShellPlatform.h"

namespace tally {

// What the message that was handled last has changed will be kept soon.
void KeepChanges();
// Looks for books that were not saved once the window has been painted.
void SearchLostBooks();
// TIMER_JOURNAL and TIMER_LOST_BOOKS.
bool RecoveryTimer(const ShellMessage& message);

}  // namespace tally
