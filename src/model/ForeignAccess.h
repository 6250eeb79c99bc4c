#pragma once
// What a macro may do outside the program. Each routine asks the gate (Trust.h) for its book first, so that no
// caller can forget; nothing that leads to another machine is touched, whatever the gate says. A refusal is the
// routine's ordinary failure.

#include "base/ForeignPlatform.h"
#include "base/Platform.h"

namespace tally {

// The whole of a plain file; READ_REFUSED where it may not be read. `request` need not say that it is foreign.
ReadOutcome ReadForeignFile(i32 book, const FileRequest& request, Array<u8>& out);
// An output file (PlatformTable::createFile); 0 where none may be made.
OutputHandle CreateForeignFile(i32 book, WideView path);
[[nodiscard]] bool DeleteForeignFile(i32 book, WideView path);
// ForeignTable::listFolder; an empty pattern is "*.*".
[[nodiscard]] bool ListForeignFolder(i32 book, WideView pattern, u32 limit, Array<WideText>& names);
// ForeignTable::startProcess. The arguments are the program's own affair; the user sees the whole line.
u32 StartForeignProgram(i32 book, WideView line, ShowState show);

// A library is loaded for a formula of a macro sheet only: worksheets find it closed without a question.
LibraryHandle LoadForeignLibrary(i32 book, i32 sheet, WideView path);
LibraryProcedure FindForeignProcedure(LibraryHandle library, WideView name);
void FreeForeignLibrary(LibraryHandle library);

}  // namespace tally
