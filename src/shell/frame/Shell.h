#pragma once
// The shell as a program starts and stops it. The toolkit reaches it through FrameCalls.

#include "platform/ShellPlatform.h"

namespace tally {

// Everything before the message loop, once the frame and its children stand: settings, then the book of
// the command line (one path, quotes allowed) or the first book. Reads the regional settings itself. From here
// on the messages of the frame are the shell's.
void StartShell(WideView commandLine);
// One more file of the command line; what cannot be read is passed over as there.
void OpenAnotherFile(WideView path);
// Everything behind the loop: settings are written, books are freed.
void StopShell();
// The rows that StartShell puts in force.
const FrameCalls& ShellFrameCalls();

}  // namespace tally
