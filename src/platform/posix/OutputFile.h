#pragma once
// One output file on its way to its target.

#include "base/Array.h"

namespace tally {

// How the bytes of an output reach their target.
enum OutputWay : u8 {
    WAY_RENAME,    // a file beside the target takes its place
    WAY_IN_PLACE,  // kept in memory until the close, for a target that no other file can stand for
    WAY_STREAM,    // a pipe or a device: written as it comes
};

struct OutputFile {
    OutputWay way = WAY_RENAME;
    bool failed = false;
    bool named = false;  // the file beside has a name already
    int descriptor = -1;
    u64 written = 0;        // bytes handed to the system
    Array<char> target;     // zero-terminated
    Array<char> temporary;  // the name of the file beside; WAY_RENAME
    Array<u8> buffer;
};

// Chooses the way to the target and opens what it needs. False with nothing left behind.
[[nodiscard]] bool OpenOutput(OutputFile& output);
// Puts everything in its place. The output is closed afterwards, and nothing is left behind, good or not.
[[nodiscard]] bool CommitOutput(OutputFile& output);
void DropOutput(OutputFile& output);
[[nodiscard]] bool FlushOutput(OutputFile& output);

}  // namespace tally
