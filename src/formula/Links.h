#pragma once
// Defined names, and the tables that lead from a token to another sheet, book or add-in.

#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {

// ---- names ----------------------------------------------------------------------------------------

// The row of that text and scope (0 global, else the 1-based sheet), or -1. Without regard to case.
i32 FindName(const Workbook& book, WideView text, u16 sheet);
// Appends a row without a formula; -1 when memory fails.
i32 AddName(Workbook& book, WideView text, u16 sheet);
// Text of a built-in name by its code 0 to 13; empty beyond.
WideView BuiltInName(u8 code);
// The code of a built-in name's text, or -1.
i32 BuiltInNameCode(WideView text);
// The sheet's AutoFilter area, from the hidden name "_FilterDatabase". False when there is none.
bool GetFilterArea(i32 book, i32 sheet, RefArea& area);

// ---- extern tables --------------------------------------------------------------------------------

// Where an extern index leads. A sheet of -2 is no sheet.
struct ResolvedRef {
    i32 book = 0;  // in: the referring book
    i32 targetBook = 0;
    i32 firstSheet = 0;
    i32 lastSheet = 0;
};
// False when the row cannot be resolved. May open a linked book in the background.
bool ResolveExternRef(i32 externIndex, ResolvedRef& ref);
// The same without opening anything: only books that are open resolve.
bool ResolveOpenExternRef(i32 externIndex, ResolvedRef& ref);
// Finds or adds the row for the target book and sheets of `ref`, seen from ref.book.
[[nodiscard]] bool AddExternRef(const ResolvedRef& ref, i32& externIndex);
// The first row of that kind, added when absent; -1 when memory fails.
i32 FindOrAddExternBook(Workbook& book, u32 kind);
// The row of kind EXTERN_FILE with this file name; added with the stored form of the path.
i32 FindOrAddLink(Workbook& book, WideView otherBookPath);
i32 FindExternSheet(Workbook& book, i32 externBook, i32 first, i32 last);
i32 AddExternSheetName(ExternBook& row, WideView name);
i32 FindOrAddExternName(ExternBook& row, WideView text);

// ---- paths and linked books -----------------------------------------------------------------------

[[nodiscard]] bool ExpandStoredPath(WideText& target, WideView stored, const Workbook& book);
[[nodiscard]] bool MakeAbsolutePath(WideText& path, const Workbook& book);
[[nodiscard]] bool MakeStoredPath(WideText& target, WideView path, const Workbook& book);
// The book that a link leads to, opened in the background if need be; -1 when it cannot be.
i32 FindOrOpenLinkedBook(i32 book, i32 externBook);
// After a book was opened: refreshes the cells that its links feed, asking when `prompt` is set.
void UpdateLinks(i32 book, bool prompt, bool silentAnswer);
// Asks about the files that formulas of a book have wanted to read since the last time, and reads them on a
// Yes. False when nothing was wanted. Not inside a calculation.
bool AskForWantedLinks(i32 book);

// After a book was opened: what other open books read of it is stale, having kept the values of before.
void RefreshLinksTo(i32 book);

// A sheet of an open book gets another name: the links of other books that name it go along. False with nothing
// changed when memory fails.
[[nodiscard]] bool RenameLinkedSheet(i32 book, WideView from, WideView to);

// Filled in by fileio at start: opens the file of a book's link in the background, if the gate lets it. Returns
// the book or -1.
using LinkOpener = i32 (*)(i32 book, i32 externBook, WideView path);
void SetLinkOpener(LinkOpener opener);

}  // namespace tally
