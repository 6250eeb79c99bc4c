#pragma once
// Delimited text: one sheet, a line each row.

#include "base/Platform.h"
#include "fileio/OpenFile.h"

namespace tally {

// Reads text into the first sheet of a new book. `type` is FILE_CSV or FILE_TXT; `delimiter` 0 takes the
// one of the type. False, with a box for bad data and without one when memory fails.
[[nodiscard]] bool ReadText(i32 book, ByteView file, FileType type, char16_t delimiter);
// Writes the current sheet of a book. False when a write fails; the caller closes or abandons the file.
[[nodiscard]] bool WriteText(i32 book, OutputHandle file, FileType type);
// Writes the current sheet to a path, which is replaced only when all went well. A failure has been told.
[[nodiscard]] bool SaveText(i32 book, WideView path, FileType type);

}  // namespace tally
