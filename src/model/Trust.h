#pragma once
// What a book may do outside the books.

#include "base/Base.h"

namespace tally {

// Whether something in this book may start a program, reach the network or touch other files. The user is asked
// once for a book, at the first time, and the answer holds while the book is open; the platform may have
// decided for all books.
bool MayReachOutside(i32 book);

}  // namespace tally
