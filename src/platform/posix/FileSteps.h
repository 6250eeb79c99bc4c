#pragma once
// The steps in which a file reaches the disk. A test can make each of them fail, or end the process in it.

#include "base/Base.h"

namespace tally {

enum FileStep : u8 {
    STEP_BESIDE,     // a file without a name in the target's folder
    STEP_NAMED,      // the same with a name, where the file system knows no other
    STEP_LOOKS,      // it takes owner, mode and attributes of the old file
    STEP_WRITE,      // bytes go to it
    STEP_FLUSH,      // and to the disk
    STEP_LINK,       // it gets a name
    STEP_RENAME,     // and the target's
    STEP_KEEP,       // in place: the old bytes are kept
    STEP_RESERVE,    // the disk gives room for the new ones
    STEP_OVERWRITE,  // some new bytes stand over old ones
    STEP_SHORTEN,    // what is left of a longer old file goes
    STEP_COUNT,
};

// Called before each step: 0, or the error number that the step fails with. Null does nothing.
using FileStepHook = int (*)(FileStep step);
void SetFileStepHook(FileStepHook hook);
// Whether the hook lets a step fail; `errno` is set then.
[[nodiscard]] bool StepFails(FileStep step);

// The step, then all of `count` bytes, however often the system is interrupted. An `offset` below 0 writes
// where the descriptor stands.
[[nodiscard]] bool WriteWhole(FileStep step, int descriptor, const u8* bytes, std::size_t count,
                              i64 offset = -1);

}  // namespace tally
