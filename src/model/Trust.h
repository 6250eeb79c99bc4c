#pragma once
// The gate between a book and the world outside: every read, write, start or load that a book wants, and not
// its user, passes here. The platform decides for all books (closed, open) or leaves it to the user, who is
// told what would be opened and what for, and whose answer holds while the book is open.

#include "base/Platform.h"

namespace tally {

enum BookTrust : u8 { TRUST_NOT_ASKED = 0, TRUST_REFUSED = 1, TRUST_GRANTED = 2 };

// What holds for a book without asking anybody: the user's setting first, then the platform, then the answer.
TrustState TrustOf(i32 book, ForeignUse use);
// Closes the gate for all books, whatever the platform says: the user's setting.
void CloseTrust(bool closed);

// Whether a book may do something outside to `target`. Asks one box when nobody has been asked yet: not for
// what runs inside a calculation or a paint.
[[nodiscard]] bool MayReachOutside(i32 book, ForeignUse use, WideView target);

// Reads a file that a link of a book leads to, the row of its externBooks. Shows no box: what the user has not
// been asked about is refused and noted in `wantedLink`.
ReadOutcome ReadLinkedFile(i32 book, i32 externBook, const FileRequest& request, Array<u8>& out);
// Whether a link's file is one that could be read at all once the user lets it be.
bool CanAskForLink(i32 book, i32 externBook, WideView path);

// What a use is, as the user reads it in front of the target.
WideView TrustUseText(ForeignUse use);

void ResetTrust();

}  // namespace tally
