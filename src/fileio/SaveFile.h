#pragma once
// Saving a book as a file.

#include "fileio/OpenFile.h"

namespace tally {

// Asked before a file is created, with what it will not hold; false ends the save without a box.
using LossQuestion = bool (*)(i32 book, u32 losses);

// Whether a book can be written as a file of that type.
bool CanWrite(FileType type);
// Writes a book to `path` in the form of `type`; workbooks in the form of the book's biffVersion. The old
// file stays as it is unless all went well. False, with one box, when that fails. `losses` gets SaveLoss bits.
// The stale cells of the worksheets are calculated first; the book's path and changed flag are left alone.
[[nodiscard]] bool WriteBookFile(i32 book, WideView path, FileType type, u32& losses,
                                 LossQuestion mayLose = nullptr);

}  // namespace tally
