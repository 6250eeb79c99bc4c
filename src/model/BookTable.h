#pragma once
// The open books and their sheets. A book is an index, a sheet a second one.

#include "model/ModelTypes.h"

namespace tally {

// The one table; reached through the routines below.
extern BookTable bookTable;
inline BookTable& Books() { return bookTable; }
// Null for an index out of range.
inline Workbook* BookAt(i32 book) {
    return book >= 0 && static_cast<u32>(book) < bookTable.books.Count()
               ? bookTable.books[static_cast<u32>(book)]
               : nullptr;
}
inline Sheet* SheetAt(i32 book, i32 sheet) {
    const Workbook* workbook = BookAt(book);
    return workbook && sheet >= 0 && static_cast<u32>(sheet) < workbook->sheets.Count()
               ? workbook->sheets[static_cast<u32>(sheet)]
               : nullptr;
}
inline i32 CurrentBook() { return Books().currentBook; }
Workbook* CurrentWorkbook();
Sheet* CurrentSheet();

// Adds a book, makes it current and gives it one worksheet, "Sheet1". A null path makes an untitled
// one. On failure nothing has changed.
[[nodiscard]] bool CreateWorkbook(const WideView* path, bool redraw);
// Frees a book's contents and closes the gap; hidden link books that no visible book reaches go too.
// CloseWorkbook with its questions stands in the shell.
void RemoveBook(i32 book);
// Removes every book and restarts the numbering: for tests and the end of the process.
void ResetBooks();

// Inserts a sheet into the current book and makes it current; a null name takes the next default
// name. At 32,767 sheets "No room to insert sheet".
[[nodiscard]] bool InsertSheet(i32 position, const WideView* name, i32 kind, bool recordUndo, bool redraw);
// Puts the fixed fields and the empty body of a kind into the current sheet.
void ResetSheet(i32 kind, i32 hidden);
// Frees a sheet and closes the gap; what referred to it is the caller's matter.
void RemoveSheet(i32 book, i32 sheet);
// Takes a sheet out of its book and hands it over, cells and all; null when there is none.
Sheet* DetachSheet(i32 book, i32 sheet);
// Puts such a sheet back among the others. False with nothing changed when memory fails.
[[nodiscard]] bool AttachSheet(i32 book, i32 position, Sheet* sheet);
// Releases a sheet that belongs to no book; null is allowed.
void FreeSheet(Sheet* sheet);
// The sheet at `from` stands at `to` afterwards. References are the caller's matter.
void MoveSheetPlace(i32 book, i32 from, i32 to);
// Index of the sheet of that name, compared without regard to case, or -1.
i32 FindSheet(i32 book, WideView name);
// Nearest sheet in that direction with hidden 0; the sheet itself when there is none.
i32 PreviousSheet(i32 book);
i32 NextSheet(i32 book);
// The default name of the next sheet of a kind ("Sheet%d", "Chart%d", "Macro%d").
[[nodiscard]] bool DefaultSheetName(i32 book, i32 kind, WideText& out);
// Index of the open book with this file name (without path, case ignored), or -1.
i32 FindOpenBook(WideView path, bool visibleOnly);

// Calls from the model to what stands above it. Each row has a harmless default; the shell and the
// engine fill in theirs once at start.
struct ModelCalls {
    void (*booksChanged)();                                    // a book was added, removed or made current
    void (*bookClosing)(i32 book);                             // undo records and macro frames of it must go
    void (*sheetInserted)(i32 book, i32 sheet);                // indexes at and above have risen
    void (*sheetRemoved)(i32 book, i32 sheet);                 // indexes above have fallen
    void (*structureChanged)();                                // the index of dependents is out of date
    void (*recordSheetInsert)(i32 book, i32 sheet, i32 kind);  // undo kinds 11, 12 and 33
    void (*formulaGone)(FormulaCell& formula);  // an indexed formula is released or gets other tokens
    bool (*macroRunsIn)(i32 book);              // a running macro keeps a hidden book open
};
ModelCalls& Calls();

// The last element of a stored or plain path; characters 1 to 3 separate directories in the stored form.
WideView LinkFileName(WideView path);
// The row of an extern index, and the link that it goes through; null when there is none.
const ExternSheet* ExternRowAt(const Workbook& book, i32 index);
const ExternBook* LinkOfRow(const Workbook& book, const ExternSheet* row);
inline const ExternBook* LinkAt(const Workbook& book, i32 index) {
    return LinkOfRow(book, ExternRowAt(book, index));
}

}  // namespace tally
