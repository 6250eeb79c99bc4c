#pragma once
// What a POSIX system says about itself: the rows of PlatformTable of the same meaning.

#include "base/WideText.h"

namespace tally {

bool PosixMemoryStatus(u64& total, u64& available);
bool PosixVersion(u32& major, u32& minor);
bool PosixCurrentDirectory(WideText& out);

}  // namespace tally
