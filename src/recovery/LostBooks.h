#pragma once
// The unsaved books that processes which have ended left behind.

#include "base/Array.h"
#include "base/Platform.h"
#include "base/WideText.h"

namespace tally {

struct LostBook {
    WideText folder;       // of its files, which this process holds until the book is opened, discarded or left
    u32 id = 0;            // in their names
    WideText path;         // of the book; an untitled one has its name alone
    SystemTime time = {};  // of the snapshot
};

enum RecoverOutcome : u8 {
    RECOVERED_WHOLE,
    RECOVERED_IN_PART,  // the end of the log could not be read
    NOT_RECOVERED,      // the files stay
    NAME_IS_OPEN,       // a changed book of that name is open; the files stay
};

// Finds them, the newest last. `busy`: more may be there in a moment. False when memory fails.
[[nodiscard]] bool FindLostBooks(Array<LostBook>& lost, bool& busy);
// Opens one as a changed book of its old path and makes it current; its files go once it is in the journal of
// this process. An open book of that name which has not been changed gives way. Nobody is told.
RecoverOutcome RecoverLostBook(const LostBook& lost);
void DiscardLostBook(const LostBook& lost);
// Leaves it for another start.
void LeaveLostBook(const LostBook& lost);

}  // namespace tally
