#pragma once
// The folders, logs and writers of the recovery of unsaved books, on POSIX systems.

#include "base/RecoveryPlatform.h"

namespace tally {

// Below $XDG_STATE_HOME, or ~/.local/state. A folder belongs to the process that holds the lock on the file in
// it.
const RecoveryTable& PosixRecovery();
// Unlocks and forgets everything: for tests, and what a fork inherits.
void ResetPosixRecovery();

}  // namespace tally
