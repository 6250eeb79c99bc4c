#pragma once
// A new content for a file whose folder takes no second one.

#include "base/Base.h"

namespace tally {

// The file keeps its inode, and with it owner, links and attributes. It holds the old bytes or the new ones
// afterwards: the old ones are kept by a second process meanwhile, which puts them back when this one dies.
// False, with the old bytes in place, when they cannot be kept, when the disk has no room, or when a write
// fails.
[[nodiscard]] bool OverwriteInPlace(const char* path, const u8* bytes, std::size_t count);

}  // namespace tally
