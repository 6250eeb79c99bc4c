#pragma once
// The recovery of unsaved books for the headless platform: folders in memory, or those of the system.

#include "base/RecoveryPlatform.h"

namespace tally {

const RecoveryTable& HeadlessRecovery();

}  // namespace tally
