#pragma once
// Opening a file as a new book.

#include "fileio/common/FileForms.h"
#include "model/ModelTypes.h"

namespace tally {

enum OpenFlags : u32 {
    OPEN_VISIBLE = 0,
    OPEN_HIDDEN_LINK = 1,   // in the background, to serve links: no box, the current book stays
    OPEN_UPDATE_LINKS = 2,  // with OPEN_SILENT: the answer to the question about links
    OPEN_SILENT_LINKS = 4,  // does not ask about links
    OPEN_TEMPLATE = 8,      // a book of its own beside all others, even where the file is open
};

// Opens a file that the user named and makes its book current, or makes an open book of that path current.
// False, with one box and no new book, when that fails; `outcome` tells how the reading went. `delimiter`, when
// not 0, forces delimited text.
[[nodiscard]] bool OpenFile(WideView path, u32 flags, char16_t delimiter = 0, ReadOutcome* outcome = nullptr);
// The same from bytes in memory; `path` names the book and gives its type.
[[nodiscard]] bool OpenFileFromMemory(WideView path, ByteView bytes, u32 flags, char16_t delimiter = 0);

// Whether a path leads to the file that a book came from, under whatever name, and another program has written
// that file since the book was read or written there.
bool FileHasChanged(const Workbook& book, WideView path);

// Lets references open linked books.
void ConnectLinkOpener();

}  // namespace tally
