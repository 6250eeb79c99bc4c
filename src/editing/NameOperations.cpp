#include "editing/NameOperations.h"

#include "base/Memory.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "editing/Undo.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/NameMeaning.h"
#include "formula/Recalculation.h"
#include "formula/TextReferences.h"
#include "formula/TokenReferences.h"
#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u16 NAME_HIDDEN = 1;

WideView TrimBlanks(WideView text) {
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == WideView::npos) return {};
    return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

// A written name, taken apart: the scope is 0 for the book's, else the 1-based sheet.
struct WrittenName {
    u16 scope = 0;
    WideText text;
};

// False for a sheet that is not there.
bool ReadWrittenName(i32 book, WideView written, WrittenName& out) {
    written = TrimBlanks(written);
    const std::size_t mark = written.rfind(u'!');
    if (mark == WideView::npos) return out.text.Assign(written);
    WideView sheet = written.substr(0, mark);
    WideText plain;
    const bool quoted = sheet.size() >= 2 && sheet.front() == u'\'' && sheet.back() == u'\'';
    if (quoted) sheet = sheet.substr(1, sheet.size() - 2);
    for (std::size_t i = 0; i < sheet.size(); ++i) {
        if (!plain.Append(sheet[i])) return false;
        if (quoted && sheet[i] == u'\'' && i + 1 < sheet.size() && sheet[i + 1] == u'\'') ++i;
    }
    const i32 index = FindSheet(book, plain);
    if (index < 0) return false;
    out.scope = static_cast<u16>(index + 1);
    return out.text.Assign(written.substr(mark + 1));
}

// Compiles the formula as a name holds it: each reference with its sheet, relative ones as offsets from A1.
bool CompileName(const NameRequest& request, FormulaTokens& tokens) {
    FormulaPlace place;
    place.book = request.book;
    place.sheet = request.sheet;
    place.row = request.row;
    place.column = request.column;
    WideView written = TrimBlanks(request.formula);
    if (!written.empty() && written.front() == u'=') written = written.substr(1);
    WideText formula, named;
    if (TrimBlanks(written).empty() || !formula.Append(u'=') || !formula.Append(written) ||
        !WithSheetNames(place, formula, named) || !CompileFormula(place, named, 'R', tokens))
        return false;
    if (UnshareTokens(tokens)) {
        IgnoreFailure(AbsoluteTokens(tokens, -request.row, -request.column));
        return true;
    }
    FreeTokens(tokens);
    return false;
}

u16 WrittenNameFault(i32 book, WideView name, WrittenName& written) {
    if (!ReadWrittenName(book, name, written) || !IsNameText(written.text)) return MSG_DEFINED_NAME_INVALID;
    const i32 row = FindName(*BookAt(book), written.text, written.scope);
    // What the program keeps for itself under a hidden name is not the user's.
    const bool taken = row >= 0 && (BookAt(book)->names[static_cast<u32>(row)].flags & NAME_HIDDEN) &&
                       HasFormula(BookAt(book)->names[static_cast<u32>(row)].tokens);
    return taken ? u16{MSG_DEFINED_NAME_TAKEN} : u16{0};
}

}  // namespace

bool DefineName(const NameRequest& request, u16& fault) {
    WrittenName written;
    FormulaTokens tokens;
    const u64 failures = FailedAllocations();
    fault = MSG_DEFINED_NAME_INVALID;
    if (SheetAt(request.book, request.sheet)) fault = WrittenNameFault(request.book, request.name, written);
    if (!fault && !CompileName(request, tokens)) fault = MSG_FORMULA_ERROR;
    if (fault) {
        if (FailedAllocations() != failures) fault = 0;
        return false;
    }
    Workbook& book = *BookAt(request.book);
    i32 row = FindName(book, written.text, written.scope);
    const bool isNew = row < 0 || !HasFormula(book.names[static_cast<u32>(row)].tokens);
    if (row < 0) row = AddName(book, written.text, written.scope);
    if (row < 0) {
        FreeTokens(tokens);
        return false;
    }
    IgnoreFailure(RecordName(isNew ? UNDO_ADD_NAME : UNDO_CHANGE_NAME, request.book, row));
    DefinedName& name = book.names[static_cast<u32>(row)];
    FreeTokens(name.tokens);
    name.tokens = tokens;
    book.dirty = 1;
    MarkDependentsOfName(request.book, row);
    return true;
}

bool DeleteName(i32 bookIndex, i32 row) {
    Workbook* book = BookAt(bookIndex);
    if (!book || row < 0 || static_cast<u32>(row) >= book->names.Count()) return false;
    DefinedName& name = book->names[static_cast<u32>(row)];
    if (!HasFormula(name.tokens)) return false;
    IgnoreFailure(RecordName(UNDO_DELETE_NAME, bookIndex, row));
    FreeTokens(name.tokens);
    book->dirty = 1;
    MarkDependentsOfName(bookIndex, row);
    return true;
}

bool IsListedName(const DefinedName& name) { return HasFormula(name.tokens) && !(name.flags & NAME_HIDDEN); }

bool NameLabel(i32 book, i32 row, WideText& out) {
    const DefinedName& name = BookAt(book)->names[static_cast<u32>(row)];
    out.Truncate(0);
    if (name.sheet) {
        if (!AreaToText(book, name.sheet - 1, RefArea{}, AREA_USE_A1 | AREA_WITH_SHEET, 0, 0, out))
            return false;
        out.Truncate(static_cast<u32>(out.View().rfind(u'!') + 1));
    }
    return out.Append(name.text);
}

i32 FindWrittenName(i32 book, i32 sheet, WideView text) {
    WrittenName written;
    if (!BookAt(book) || !ReadWrittenName(book, text, written)) return -1;
    return FindDefinedName(*BookAt(book), written.text, written.scope ? written.scope - 1 : sheet);
}

bool NameFormula(i32 book, i32 row, i32 cellRow, i32 cellColumn, WideText& out) {
    FormulaTokens tokens;
    CopyTokens(tokens, BookAt(book)->names[static_cast<u32>(row)].tokens);
    bool good = UnshareTokens(tokens);
    if (good) {
        IgnoreFailure(AbsoluteTokens(tokens, cellRow, cellColumn));
        good = FormulaToText(book, tokens, cellRow, cellColumn, true, out);
    }
    FreeTokens(tokens);
    return good;
}

}  // namespace tally
