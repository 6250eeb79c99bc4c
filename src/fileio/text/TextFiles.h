#pragma once
// Delimited text: one sheet, a line each row.

#include "base/Platform.h"
#include "fileio/common/FileForms.h"

namespace tally {

// The code page of a text, and how many bytes of it are a byte-order mark.
struct TextCoding {
    u16 page = 0;
    u8 mark = 0;
};
// By the mark; without one the platform's page for text or, for what is no UTF-8 there, the region's page.
TextCoding CodingOfText(ByteView file);
// The byte-order mark of a page; empty for one that has none.
ByteView MarkOfPage(u16 page);

// Reads text into the first sheet of a new book. `type` is FILE_CSV or FILE_TXT; `delimiter` 0 takes the
// one of the type. False, with a box for bad data and without one when memory fails.
[[nodiscard]] bool ReadText(i32 book, ByteView file, FileType type, char16_t delimiter);
// Writes the current sheet of a book, in the coding that it was read in. False when a write fails; the caller
// closes or abandons the file. `losses` gets SaveLoss bits.
[[nodiscard]] bool WriteText(i32 book, OutputHandle file, FileType type, u32& losses);
// Writes the current sheet to a path, which is replaced only when all went well. A failure has been told.
[[nodiscard]] bool SaveText(i32 book, WideView path, FileType type, u32& losses);

}  // namespace tally
