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

// Writes a book as it stands, stale values and all, behind what an output file has already: for a copy that is
// read by OpenFileFromMemory. Nothing is calculated or changed, and nobody is told or asked. It has the 97
// form; where `mayBeOlder`, the 95 form when only that holds all of the book. False when memory or a write
// fails.
[[nodiscard]] bool WriteBookCopy(i32 book, OutputHandle file, bool mayBeOlder);

}  // namespace tally
