#include "base/Text.h"
#include "formula/EvaluationNotes.h"
#include "formula/Links.h"

namespace tally {
namespace {

constexpr u32 MAX_ROWS_OF_A_TABLE = 32766;  // indexes are 16-bit and signed in ExternSheet

// Sheet of an open book by its place in a link's list of names; -1 when it is not there.
i32 LinkedSheet(const ExternBook& link, i32 book, i16 nameIndex) {
    if (nameIndex == EXTERN_NO_SHEET) return EXTERN_NO_SHEET;
    if (nameIndex < 0 || static_cast<u32>(nameIndex) >= link.sheetNames.Count()) return -1;
    return FindSheet(book, link.sheetNames[static_cast<u32>(nameIndex)]);
}

bool Resolve(i32 externIndex, ResolvedRef& ref, bool mayOpen) {
    const Workbook* book = BookAt(ref.book);
    const ExternBook* link = book ? LinkAt(*book, externIndex) : nullptr;
    if (!link) return false;
    const ExternSheet row = *ExternRowAt(*book, externIndex);
    switch (link->kind) {
        case EXTERN_SELF:
            ref.targetBook = ref.book;
            ref.firstSheet = row.firstSheet;
            ref.lastSheet = row.lastSheet;
            return true;
        case EXTERN_CURRENT:
            if (!CurrentWorkbook()) return false;
            ref.targetBook = CurrentBook();
            ref.firstSheet = ref.lastSheet = CurrentWorkbook()->currentSheet;
            return true;
        case EXTERN_FILE: break;
        default: return false;
    }
    ref.targetBook = mayOpen ? FindOrOpenLinkedBook(ref.book, row.externBook) : FindOpenBook(link->path, false);
    if (ref.targetBook < 0) {
        if (mayOpen) NoteEvaluation(NOTE_AWAY);
        return false;
    }
    // Opening may have moved the table of books.
    link = LinkOfRow(*BookAt(ref.book), &row);
    ref.firstSheet = LinkedSheet(*link, ref.targetBook, row.firstSheet);
    ref.lastSheet = LinkedSheet(*link, ref.targetBook, row.lastSheet);
    return ref.firstSheet != -1 && ref.lastSheet != -1;
}

// The place of a target book's sheet in the link's list of names; -1 when memory fails.
i32 SheetNameIndex(ExternBook& link, i32 targetBook, i32 sheet) {
    const Sheet* target = SheetAt(targetBook, sheet);
    return target ? AddExternSheetName(link, target->name) : i32{EXTERN_NO_SHEET};
}

}  // namespace

bool ResolveExternRef(i32 externIndex, ResolvedRef& ref) { return Resolve(externIndex, ref, true); }
bool ResolveOpenExternRef(i32 externIndex, ResolvedRef& ref) { return Resolve(externIndex, ref, false); }

bool AddExternRef(const ResolvedRef& ref, i32& externIndex) {
    Workbook* book = BookAt(ref.book);
    const Workbook* target = BookAt(ref.targetBook);
    if (!book || !target) return false;
    i32 first = ref.firstSheet;
    i32 last = ref.lastSheet;
    i32 row = 0;
    if (ref.targetBook == ref.book) {
        row = FindOrAddExternBook(*book, EXTERN_SELF);
    } else {
        row = FindOrAddLink(*book, target->path);
        if (row < 0) return false;
        ExternBook& link = book->externBooks[static_cast<u32>(row)];
        first = SheetNameIndex(link, ref.targetBook, first);
        last = SheetNameIndex(link, ref.targetBook, last);
        if (first == -1 || last == -1) return false;
    }
    if (row < 0) return false;
    externIndex = FindExternSheet(*book, row, first, last);
    return externIndex >= 0;
}

i32 FindOrAddExternBook(Workbook& book, u32 kind) {
    for (u32 i = 0; i < book.externBooks.Count(); ++i) {
        if (book.externBooks[i].kind == kind) return static_cast<i32>(i);
    }
    if (book.externBooks.Count() >= MAX_ROWS_OF_A_TABLE) return -1;
    ExternBook* row = book.externBooks.AppendDefault();
    if (!row) return -1;
    row->kind = kind;
    return static_cast<i32>(book.externBooks.Count()) - 1;
}

i32 FindOrAddLink(Workbook& book, WideView otherBookPath) {
    const WideView wanted = LinkFileName(otherBookPath);
    for (u32 i = 0; i < book.externBooks.Count(); ++i) {
        const ExternBook& row = book.externBooks[i];
        if (row.kind == EXTERN_FILE && EqualIgnoringCase(LinkFileName(row.path), wanted))
            return static_cast<i32>(i);
    }
    WideText stored;
    if (book.externBooks.Count() >= MAX_ROWS_OF_A_TABLE || !MakeStoredPath(stored, otherBookPath, book))
        return -1;
    ExternBook* row = book.externBooks.AppendDefault();
    if (!row) return -1;
    row->path = std::move(stored);
    return static_cast<i32>(book.externBooks.Count()) - 1;
}

i32 FindExternSheet(Workbook& book, i32 externBook, i32 first, i32 last) {
    for (u32 i = 0; i < book.externSheets.Count(); ++i) {
        const ExternSheet& row = book.externSheets[i];
        if (row.externBook == externBook && row.firstSheet == first && row.lastSheet == last)
            return static_cast<i32>(i);
    }
    if (book.externSheets.Count() >= MAX_ROWS_OF_A_TABLE) return -1;
    const ExternSheet row = {static_cast<i16>(externBook), static_cast<i16>(first), static_cast<i16>(last)};
    return book.externSheets.Append(row) ? static_cast<i32>(book.externSheets.Count()) - 1 : -1;
}

i32 AddExternSheetName(ExternBook& row, WideView name) {
    for (u32 i = 0; i < row.sheetNames.Count(); ++i) {
        if (EqualIgnoringCase(row.sheetNames[i], name)) return static_cast<i32>(i);
    }
    WideText copy;
    if (row.sheetNames.Count() >= MAX_ROWS_OF_A_TABLE || !copy.Assign(name) ||
        !row.sheetNames.Append(std::move(copy))) {
        return -1;
    }
    return static_cast<i32>(row.sheetNames.Count()) - 1;
}

i32 FindOrAddExternName(ExternBook& row, WideView text) {
    for (u32 i = 0; i < row.names.Count(); ++i) {
        if (EqualIgnoringCase(row.names[i].text, text)) return static_cast<i32>(i);
    }
    ExternName* name = row.names.Count() < MAX_ROWS_OF_A_TABLE ? row.names.AppendDefault() : nullptr;
    if (!name) return -1;
    if (!name->text.Assign(text)) {
        row.names.RemoveLast();
        return -1;
    }
    return static_cast<i32>(row.names.Count()) - 1;
}

}  // namespace tally
