#include "model/BookTable.h"

#include <algorithm>
#include <cstring>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"

namespace tally {

BookTable bookTable;

namespace {

void NoBooks() {}
void NoBook(i32) {}
void NoSheet(i32, i32) {}
void NoRecord(i32, i32, i32) {}
bool NoMacro(i32) { return false; }
void NoFormula(FormulaCell&) {}

constexpr ModelCalls harmlessCalls = {NoBooks, NoBook, NoSheet, NoSheet, NoBooks, NoRecord, NoFormula, NoMacro};
ModelCalls calls = harmlessCalls;

// Gives back what a sheet's cells and rules hold beside their records.
void FreeSheetContents(Sheet* sheet) {
    FreeStore(sheet->cells);
    FreeRules(sheet->validations);
    FreeRules(sheet->conditionalFormats);
}

void FreeBook(Workbook* book) {
    for (Sheet* sheet : book->sheets) FreeSheet(sheet);
    for (DefinedName& name : book->names) FreeTokens(name.tokens);
    DestroyRecord(book);
}

// Those from `first` on: a sheet that is appended to thousands touches none of them.
void RenumberSheets(Workbook& book, i32 bookIndex, i32 first = 0) {
    for (u32 i = static_cast<u32>(first); i < book.sheets.Count(); ++i) {
        book.sheets[i]->book = bookIndex;
        book.sheets[i]->index = static_cast<i32>(i);
    }
}

// Frees a book's element and closes the gap; `currentBook` keeps pointing to the same book.
void DropBook(i32 book) {
    calls.bookClosing(book);
    FreeBook(bookTable.books[static_cast<u32>(book)]);
    bookTable.books.RemoveAt(static_cast<u32>(book));
    if (bookTable.currentBook > book) --bookTable.currentBook;
    for (u32 i = static_cast<u32>(book); i < bookTable.books.Count(); ++i) {
        RenumberSheets(*bookTable.books[i], static_cast<i32>(i));
    }
}

// The visible book that follows `book`, else the nearest visible one before it, else -1.
i32 NextVisibleBook(i32 book) {
    const i32 count = static_cast<i32>(bookTable.books.Count());
    for (i32 i = book + 1; i < count; ++i) {
        if (!BookAt(i)->hiddenLink) return i;
    }
    for (i32 i = book - 1; i >= 0; --i) {
        if (!BookAt(i)->hiddenLink) return i;
    }
    return -1;
}

// Marks what the links of `book` reach, with an explicit list instead of recursion.
bool MarkReached(i32 book, Array<u8>& reached) {
    Array<i32> waiting;
    reached[static_cast<u32>(book)] = 1;
    if (!waiting.Append(book)) return false;
    while (!waiting.IsEmpty()) {
        const Workbook& from = *BookAt(waiting.Last());
        waiting.RemoveLast();
        for (const ExternBook& link : from.externBooks) {
            if (link.kind != EXTERN_FILE) continue;
            for (u32 i = 0; i < bookTable.books.Count(); ++i) {
                if (reached[i] ||
                    !EqualIgnoringCase(LinkFileName(link.path), FileNameOf(bookTable.books[i]->path)))
                    continue;
                reached[i] = 1;
                if (!waiting.Append(static_cast<i32>(i))) return false;
            }
        }
    }
    return true;
}

// Closes the hidden books that no visible book and no running macro needs. Without memory for the
// marks they stay: the next close sweeps them.
void SweepHiddenBooks() {
    Array<u8> reached;
    if (!reached.Resize(bookTable.books.Count())) return;
    for (u32 i = 0; i < bookTable.books.Count(); ++i) {
        const bool root = !bookTable.books[i]->hiddenLink || calls.macroRunsIn(static_cast<i32>(i));
        if (root && !reached[i] && !MarkReached(static_cast<i32>(i), reached)) return;
    }
    for (u32 i = bookTable.books.Count(); i-- > 0;) {
        if (!reached[i]) DropBook(static_cast<i32>(i));
    }
}

bool NumberedName(WideText& out, const char* stem, u32 number) {
    out.Truncate(0);
    return out.AppendAscii(stem) && AppendInteger(out, number);
}

void SetSheetName(Sheet& sheet, WideView name) {
    const std::size_t length = name.size() < MAX_SHEET_NAME ? name.size() : MAX_SHEET_NAME;
    std::memcpy(sheet.name, name.data(), length * sizeof(char16_t));
    sheet.name[length] = 0;
}

void RaiseSheetReferences(Workbook& book, i32 position, bool withCells) {
    for (DefinedName& name : book.names) {
        if (name.sheet > position) ++name.sheet;
    }
    if (!withCells) return;
    for (ExternSheet& row : book.externSheets) {
        if (row.externBook < 0 || static_cast<u32>(row.externBook) >= book.externBooks.Count() ||
            book.externBooks[static_cast<u32>(row.externBook)].kind != EXTERN_SELF) {
            continue;
        }
        if (row.firstSheet >= position) ++row.firstSheet;
        if (row.lastSheet >= position) ++row.lastSheet;
    }
}

i32 StepToSheet(i32 book, i32 step) {
    const Workbook* workbook = BookAt(book);
    if (!workbook) return -1;
    const i32 count = static_cast<i32>(workbook->sheets.Count());
    for (i32 i = workbook->currentSheet + step; i >= 0 && i < count; i += step) {
        if (!workbook->sheets[static_cast<u32>(i)]->hidden) return i;
    }
    return workbook->currentSheet;
}

bool FillNewBook(Workbook& book, const WideView* path) {
    if (path) {
        if (!book.path.Assign(*path)) return false;
    } else {
        book.untitled = true;
        if (!NumberedName(book.path, "Book", ++bookTable.newBookNumber)) return false;
    }
    book.codePage = static_cast<u16>(Platform().getACP());
    book.fileCodePage = book.codePage;
    return BuildDefaultFormats(book) && InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false);
}

}  // namespace

ModelCalls& Calls() { return calls; }

Workbook* CurrentWorkbook() { return BookAt(bookTable.currentBook); }
Sheet* CurrentSheet() {
    const Workbook* book = CurrentWorkbook();
    return book ? SheetAt(bookTable.currentBook, book->currentSheet) : nullptr;
}

bool CreateWorkbook(const WideView* path, bool redraw) {
    Workbook* book = CreateRecord<Workbook>();
    if (!book) return false;
    if (!bookTable.books.Append(book)) {
        DestroyRecord(book);
        return false;
    }
    const i32 previous = bookTable.currentBook;
    bookTable.currentBook = static_cast<i32>(bookTable.books.Count()) - 1;
    if (!FillNewBook(*book, path)) {
        FreeBook(book);
        bookTable.books.RemoveLast();
        bookTable.currentBook = previous;
        return false;
    }
    if (redraw) calls.booksChanged();
    return true;
}

void RemoveBook(i32 book) {
    if (!BookAt(book)) return;
    if (bookTable.currentBook == book) bookTable.currentBook = NextVisibleBook(book);
    DropBook(book);
    SweepHiddenBooks();
    calls.structureChanged();
    calls.booksChanged();
}

void ResetBooks() {
    while (!bookTable.books.IsEmpty()) DropBook(static_cast<i32>(bookTable.books.Count()) - 1);
    // What others keep of a sheet is known by its serial, so that no later sheet may have it.
    const u32 serial = bookTable.sheetSerial;
    bookTable = BookTable();
    bookTable.sheetSerial = serial;
    calls.structureChanged();
    calls = harmlessCalls;
}

bool DefaultSheetName(i32 book, i32 kind, WideText& out) {
    const char* stem = kind == SHEET_CHART ? "Chart" : kind == SHEET_MACRO ? "Macro" : "Sheet";
    for (u32 n = 1;; ++n) {
        if (!NumberedName(out, stem, n)) return false;
        if (FindSheet(book, out) < 0) return true;
    }
}

bool InsertSheet(i32 position, const WideView* name, i32 kind, bool recordUndo, bool redraw) {
    Workbook* book = CurrentWorkbook();
    if (!book) return false;
    const i32 count = static_cast<i32>(book->sheets.Count());
    if (count >= MAX_SHEETS) {
        ShowMessage(Message(MSG_NO_ROOM_FOR_SHEET));
        return false;
    }
    if (position < 0 || position > count) position = count;
    WideText ownName;
    if (!name && !DefaultSheetName(bookTable.currentBook, kind, ownName)) return false;
    Sheet* sheet = CreateRecord<Sheet>();
    if (!sheet) return false;
    if (!book->sheets.InsertAt(static_cast<u32>(position), sheet)) {
        DestroyRecord(sheet);
        return false;
    }
    book->currentSheet = position;
    ResetSheet(kind, 0);
    SetSheetName(*sheet, name ? *name : ownName.View());
    RenumberSheets(*book, bookTable.currentBook, position);
    RaiseSheetReferences(*book, position, (kind & SHEET_WITH_CELLS) != 0);
    if (recordUndo) calls.recordSheetInsert(bookTable.currentBook, position, kind);
    calls.sheetInserted(bookTable.currentBook, position);
    calls.structureChanged();
    if (recordUndo) book->dirty = 1;
    if (redraw) calls.booksChanged();
    return true;
}

void ResetSheet(i32 kind, i32 hidden) {
    Workbook* book = CurrentWorkbook();
    Sheet* sheet = CurrentSheet();
    if (!sheet) return;
    // Only the name and the sheet's place outlive the reset; what was kept of the cells must not.
    char16_t name[MAX_SHEET_NAME + 1];
    std::memcpy(name, sheet->name, sizeof name);
    FreeSheetContents(sheet);
    *sheet = Sheet();
    std::memcpy(sheet->name, name, sizeof name);
    sheet->serial = ++bookTable.sheetSerial;
    sheet->book = bookTable.currentBook;
    sheet->index = book->currentSheet;
    sheet->kind = kind;
    sheet->hidden = hidden;
    sheet->viewFlags = VIEW_GRIDLINES | VIEW_HEADERS | VIEW_STANDARD_WIDTH | VIEW_STANDARD_HEIGHT;
    if (kind != SHEET_WORKSHEET) sheet->viewFlags |= VIEW_FORMULAS;
    if (kind == SHEET_CHART) sheet->viewFlags = 0;
    calls.structureChanged();
}

Sheet* DetachSheet(i32 book, i32 sheet) {
    Workbook* workbook = BookAt(book);
    Sheet* detached = SheetAt(book, sheet);
    if (!detached) return nullptr;
    workbook->sheets.RemoveAt(static_cast<u32>(sheet));
    detached->book = detached->index = -1;
    RenumberSheets(*workbook, book, sheet);
    const i32 count = static_cast<i32>(workbook->sheets.Count());
    if (workbook->currentSheet >= count && count) workbook->currentSheet = count - 1;
    calls.sheetRemoved(book, sheet);
    calls.structureChanged();
    return detached;
}

bool AttachSheet(i32 book, i32 position, Sheet* sheet) {
    Workbook* workbook = BookAt(book);
    if (!workbook || workbook->sheets.Count() >= u32{MAX_SHEETS}) return false;
    position = std::clamp(position, 0, static_cast<i32>(workbook->sheets.Count()));
    if (!workbook->sheets.InsertAt(static_cast<u32>(position), sheet)) return false;
    RenumberSheets(*workbook, book, position);
    calls.sheetInserted(book, position);
    calls.structureChanged();
    return true;
}

void MoveSheetPlace(i32 book, i32 from, i32 to) {
    Workbook* workbook = BookAt(book);
    if (!SheetAt(book, from) || !SheetAt(book, to)) return;
    Sheet** sheets = workbook->sheets.Data();
    if (from < to) std::rotate(sheets + from, sheets + from + 1, sheets + to + 1);
    else std::rotate(sheets + to, sheets + from, sheets + from + 1);
    RenumberSheets(*workbook, book);
    calls.structureChanged();
}

void FreeSheet(Sheet* sheet) {
    if (!sheet) return;
    FreeSheetContents(sheet);
    DestroyRecord(sheet);
}

void RemoveSheet(i32 book, i32 sheet) { FreeSheet(DetachSheet(book, sheet)); }

i32 FindSheet(i32 book, WideView name) {
    const Workbook* workbook = BookAt(book);
    if (!workbook) return -1;
    for (u32 i = 0; i < workbook->sheets.Count(); ++i) {
        if (EqualIgnoringCase(workbook->sheets[i]->name, name)) return static_cast<i32>(i);
    }
    return -1;
}

i32 PreviousSheet(i32 book) { return StepToSheet(book, -1); }
i32 NextSheet(i32 book) { return StepToSheet(book, 1); }

i32 FindOpenBook(WideView path, bool visibleOnly) {
    const WideView wanted = LinkFileName(path);
    for (u32 i = 0; i < bookTable.books.Count(); ++i) {
        if (visibleOnly && bookTable.books[i]->hiddenLink) continue;
        if (EqualIgnoringCase(FileNameOf(bookTable.books[i]->path), wanted)) return static_cast<i32>(i);
    }
    return -1;
}

WideView LinkFileName(WideView path) {
    const std::size_t cut = path.find_last_of(u"\\/\u0001\u0002\u0003");
    return cut == WideView::npos ? path : path.substr(cut + 1);
}

const ExternSheet* ExternRowAt(const Workbook& book, i32 index) {
    return index >= 0 && static_cast<u32>(index) < book.externSheets.Count()
               ? &book.externSheets[static_cast<u32>(index)]
               : nullptr;
}

const ExternBook* LinkOfRow(const Workbook& book, const ExternSheet* row) {
    return row && row->externBook >= 0 && static_cast<u32>(row->externBook) < book.externBooks.Count()
               ? &book.externBooks[static_cast<u32>(row->externBook)]
               : nullptr;
}

}  // namespace tally
