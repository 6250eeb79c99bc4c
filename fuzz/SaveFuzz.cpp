#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Common.h"
#include "fileio/SaveFile.h"
#include "fileio/compound/CompoundTree.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"

// A record stream as a book that is saved in both forms and read again: what was saved opens, holds what was
// written, and is the same to the byte when it is saved again.

namespace tally {
namespace {

[[noreturn]] void Fail(const char* what, i32 row = -1, i32 column = -1) {
    std::fprintf(stderr, "%s differs at row %d, column %d\n", what, row, column);
    std::abort();
}

bool HasZero(WideView text) { return text.find(u'\0') != WideView::npos; }

bool SameValue(const Value& before, const Value& after) {
    if (before.type == VT_STRING && HasZero(TextOf(before))) return true;  // a text in a file ends at a zero
    if (before.type != after.type) return false;
    switch (before.type) {
        case VT_NUMBER: return std::memcmp(&before.number, &after.number, sizeof before.number) == 0;
        case VT_STRING: return TextOf(before) == TextOf(after);
        case VT_BOOL: return (before.boolean != 0) == (after.boolean != 0);
        case VT_ERROR: return before.error == after.error;
        default: return true;
    }
}

// Tokens that a file holds once for several cells are compared in none of them.
bool SameFormula(const Sheet& sheet, i32 row, const CellRecord& before, const CellRecord& after) {
    if (FindArray(sheet, row, before.column)) return true;
    if (!after.formula) return false;
    return EqualTokens(before.formula->tokens, after.formula->tokens);
}

void CompareCells(const Sheet& before, const Sheet& after, u32 losses) {
    const bool form8 = BookAt(after.book)->biffVersion == 8;
    for (CellPosition p; !AtEnd(before.cells, p); NextCell(before.cells, p)) {
        const CellRecord& cell = CellAt(before.cells, p);
        const i32 row = RowAt(before.cells, p);
        if (!form8 && row > 0x3FFF) return;
        const CellRecord* other = GetCell(after.cells, row, cell.column);
        if (!other) {
            if (cell.formula || cell.value.type != VT_EMPTY) Fail("presence", row, cell.column);
            continue;
        }
        if (!SameValue(cell.value, other->value) && !(losses & (LOSS_TEXT | LOSS_CHARACTERS)))
            Fail("value", row, cell.column);
        if (cell.formula && form8 && !(losses & LOSS_FORMULAS) && !SameFormula(before, row, cell, *other))
            Fail("formula", row, cell.column);
    }
    if (!form8) return;
    if (before.mergedAreas.Count() != after.mergedAreas.Count()) Fail("merges");
    if (!(losses & LOSS_HYPERLINKS) && before.hyperlinks.Count() != after.hyperlinks.Count())
        Fail("hyperlinks");
    if (!(losses & LOSS_RULES) && before.validations.Count() != after.validations.Count()) Fail("rules");
}

void CompareBooks(const Workbook& before, const Workbook& after, u32 losses) {
    if (before.sheets.Count() != after.sheets.Count()) Fail("sheets");
    for (u32 i = 0; i < before.sheets.Count(); ++i) {
        if (before.sheets[i]->kind != after.sheets[i]->kind) Fail("kind");
        CompareCells(*before.sheets[i], *after.sheets[i], losses);
    }
}

bool Save(i32 book, WideView path, u8 form, u32& losses) {
    BookAt(book)->biffVersion = form;
    return WriteBookFile(book, path, FILE_XLS, losses);
}

// Saves a book, reads it beside it, compares, and saves what was read twice on.
void SaveAndCompare(i32 book, u8 form) {
    u32 losses = 0, again = 0;
    if (!Save(book, u"one.xls", form, losses)) Fail("saving");
    if (!OpenFile(u"one.xls", OPEN_SILENT_LINKS)) Fail("opening");
    const i32 second = CurrentBook();
    CompareBooks(*BookAt(book), *BookAt(second), losses);
    if (!Save(second, u"two.xls", form, again)) Fail("saving again");
    if (!OpenFile(u"two.xls", OPEN_SILENT_LINKS)) Fail("opening again");
    const i32 third = CurrentBook();
    CompareBooks(*BookAt(second), *BookAt(third), again);
    if (!Save(third, u"three.xls", form, again)) Fail("the third save");
    RemoveBook(third);
    RemoveBook(second);
    Books().currentBook = book;
}

}  // namespace
}  // namespace tally

extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 1 || size > 1 << 16) return 0;
    // The first byte picks the form of the input.
    const u8 version = data[0] & 1 ? 8 : 5;
    const u8 globals[] = {0x09, 0x08, 0x08, 0x00, 0x00, static_cast<u8>(version == 8 ? 6 : 5),
                          0x05, 0x00, 0,    0,    0,    0};
    Array<u8> stream, file;
    if (!stream.AppendMany(globals, sizeof globals) || !stream.AppendMany(data + 1, size - 1)) return 0;
    if (!BuildCompoundFile(stream.Span(), version, file)) return 0;
    BeginRun();
    const bool opened = OpenFileFromMemory(u"a.xls", file.Span(), OPEN_SILENT_LINKS);
    if (opened) {
        SaveAndCompare(CurrentBook(), 8);
        SaveAndCompare(CurrentBook(), 7);
    }
    EndRun(opened ? 4 : 0);
    return 0;
}
