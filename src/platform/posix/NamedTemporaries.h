#pragma once
// Files beside their target that have a name of their own, where a file system knows no files without one. The
// signals that end a process take them along.

#include "base/Base.h"

namespace tally {

// Enters a path, which must stay where it is until it is left again. False when there are too many.
[[nodiscard]] bool NoteTemporary(const char* path);
void ForgetTemporary(const char* path);

}  // namespace tally
