#pragma once
// What the recovery of unsaved books needs of the system: a folder that a process owns as long as it lives,
// files that grow at their end, and a writer that works beside the program.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

enum WriterState : u8 { WRITER_RUNNING, WRITER_DONE, WRITER_FAILED };

struct RecoveryTable {
    // The folder of this process, with a separator at its end; made and locked at the first call.
    bool (*ownFolder)(WideText& folder);
    // Appends the folders of processes that have ended; they stay locked by this one until it leaves them.
    // `busy`: a writer is still at work for one of them, so that another call later may find more.
    bool (*lostFolders)(Array<WideText>& folders, bool& busy);
    // Unlocks the own folder or a lost one. An empty one goes.
    void (*leaveFolder)(WideView folder);
    // Appends the names of the files in a folder.
    bool (*listFiles)(WideView folder, Array<WideText>& names);
    bool (*deleteFile)(WideView path);
    // All bytes go behind the end of a file, which is made when there is none, or none does. The disk is asked
    // to have them soon, and nobody waits for it.
    bool (*appendFile)(WideView path, ByteView bytes);
    // Waits until the disk has all that was appended.
    void (*flushAppended)();
    // Calls write(context) beside the program, on the memory as it is now; whatever it changes there is lost. A
    // number above 0, or 0 when that cannot be done. The writer must not touch anything but memory and files.
    i32 (*startWriter)(bool (*write)(void* context), void* context);
    // `wait`: until it has ended, but no longer than a few seconds. The end is told once.
    WriterState (*writerState)(i32 writer, bool wait);
    // Ends a writer before its time; what it has not finished has no name.
    void (*stopWriter)(i32 writer);
};

// The operations in force; never null. Until some are set every one of them fails.
const RecoveryTable& RecoveryPlatform();
void SetRecoveryPlatform(const RecoveryTable* table);

}  // namespace tally
