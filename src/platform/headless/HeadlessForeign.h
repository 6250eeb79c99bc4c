#pragma once
// What books may want done outside: files as the headless platform keeps them, programs and libraries recorded
// and answered from its state.

#include "base/ForeignPlatform.h"

namespace tally {

const ForeignTable& HeadlessForeign();

}  // namespace tally
