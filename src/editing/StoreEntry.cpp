#include "editing/StoreEntry.h"

#include "editing/AreaLists.h"
#include "editing/Undo.h"
#include "editing/Validation.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/FormulaTypes.h"
#include "formula/Recalculation.h"
#include "formula/TokenRebasing.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u16 HYPERLINK_FUNCTION = 359;
constexpr u16 HYPERLINK_COLOUR = 12;

struct Content {
    EntryKind kind = ENTRY_EMPTY;
    EntryResult result;
    FormulaTokens tokens;
    u16 proposed = 0;  // number format id, 0 none
    WideView text;
    bool lineFeed = false;
    bool quoted = false;
};

FormulaPlace PlaceOf(const EntryTarget& target) {
    FormulaPlace place;
    place.book = target.book;
    place.sheet = target.sheet;
    place.row = target.refRow;
    place.column = target.refColumn;
    place.arrayMode = target.isArray;
    return place;
}

u16 NumberFormatOf(const Workbook& book, const Sheet& sheet, i32 row, i32 column) {
    return ResolveCellFormat(book, GetCellFormat(sheet, row, column)).numberFormat;
}

// A text that was meant as a formula and is none.
bool IsFailedFormula(WideView text) {
    return text.size() > 1 && (text[0] == u'=' || text[0] == u'-' || text[0] == u'+');
}

bool Recognise(const EntryTarget& target, WideView text, Content& content, i32& outcome) {
    const Workbook& book = *BookAt(target.book);
    content.text = text;
    const u16 format = NumberFormatOf(book, *SheetAt(target.book, target.sheet), target.area.firstRow,
                                      target.area.firstColumn);
    if (GetNumberFormatText(book, format) == u"@") {
        content.kind = text.empty() ? ENTRY_EMPTY : ENTRY_TEXT;
        return true;
    }
    FormulaPlace place = PlaceOf(target);
    // A formula that found no memory is none that the user could mend.
    const u64 failures = FailedAllocations();
    const auto refuse = [&] {
        if (FailedAllocations() == failures) outcome = ENTRY_BAD_FORMULA;
        return false;
    };
    content.kind = ClassifyEntry(place, text, content.result);
    if (content.kind == ENTRY_TEXT && IsFailedFormula(text)) return refuse();
    if (content.kind == ENTRY_NUMBER)
        return FormatForEntry(target.book, content.result.formatKind, content.result.subKind, WideView(),
                              content.proposed);
    if (content.kind != ENTRY_FORMULA) return true;
    if (!CompileFormula(place, text, 'V', content.tokens)) return refuse();
    if (content.result.formatProposal > 0) content.proposed = static_cast<u16>(content.result.formatProposal);
    return true;
}

bool HyperlinkFont(Workbook& book, CellFormat& format) {
    const FontRecord& font = ResolveFont(book, 0);
    return FindOrAddFont(book, WideView(font.faceName), false, false, true, false, font.height,
                         HYPERLINK_COLOUR, format.font);
}

// The cell's format with what the entry brings, merged into the book's table.
bool ApplyEntryFormat(Workbook& book, const Content& content, u16& index) {
    CellFormat format = ResolveCellFormat(book, index);
    format.flags = static_cast<u16>(content.quoted ? format.flags | FORMAT_QUOTE_PREFIX
                                                   : format.flags & ~FORMAT_QUOTE_PREFIX);
    if ((content.kind == ENTRY_FORMULA || content.kind == ENTRY_NUMBER) &&
        TakesProposedFormat(format.numberFormat, content.proposed))
        format.numberFormat = content.proposed;
    if (content.kind == ENTRY_FORMULA && TokensCall(content.tokens, HYPERLINK_FUNCTION) &&
        !HyperlinkFont(book, format))
        return false;
    if (content.kind == ENTRY_TEXT && content.lineFeed) format.flags |= FORMAT_WRAP;
    return FindOrAddCellFormat(book, format, index);
}

// The formula as the cell has it: in a fill its references go with the distance from where it was typed.
bool TokensFor(const EntryTarget& target, const Content& content, i32 row, i32 column, FormulaTokens& out) {
    CopyTokens(out, content.tokens);
    if (!target.isFill || target.isArray) return true;
    TokenRebase rebase;
    rebase.sourceBook = rebase.targetBook = target.book;
    rebase.sourceSheet = target.sheet;
    rebase.rowDelta = row - target.refRow;
    rebase.columnDelta = column - target.refColumn;
    rebase.area = target.area;
    if (RebaseTokens(rebase, out)) return true;
    FreeTokens(out);
    return false;
}

// The value of an entry that is no formula.
Value ValueOf(const Content& content) {
    switch (content.kind) {
        case ENTRY_NUMBER: return NumberValue(content.result.number);
        case ENTRY_BOOL: return BoolValue(content.result.boolean != 0);
        case ENTRY_ERROR: return ErrorValue(content.result.error);
        case ENTRY_TEXT: return TextValue(content.quoted ? content.text.substr(1) : content.text);
        default: return Value();
    }
}

void NoteMarks(Content& content, WideView text) {
    content.lineFeed = text.find(u'\n') != WideView::npos;
    content.quoted = content.kind == ENTRY_TEXT && !text.empty() && text[0] == u'\'';
}

bool StoreOne(const EntryTarget& target, const Content& content, i32 row, i32 column) {
    CellInput input;
    input.row = static_cast<u16>(row);
    input.column = static_cast<u8>(column);
    input.format = GetCellFormat(*SheetAt(target.book, target.sheet), row, column);
    if (!ApplyEntryFormat(*BookAt(target.book), content, input.format)) return false;
    if (content.kind == ENTRY_FORMULA && !TokensFor(target, content, row, column, input.tokens)) return false;
    input.value = ValueOf(content);
    // A text that found no memory.
    if (content.kind == ENTRY_TEXT && input.value.type != VT_STRING) return false;
    return SetCell(target.book, target.sheet, input, true, true);
}

}  // namespace

bool StoreEntry(const EntryTarget& target, WideView text, i32& outcome) {
    outcome = ENTRY_STORED;
    Sheet* sheet = SheetAt(target.book, target.sheet);
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    Content content;
    if (!Recognise(target, text, content, outcome)) {
        FreeTokens(content.tokens);
        return false;
    }
    NoteMarks(content, text);
    const bool recorded = target.undoKind >= 0 &&
                          RecordBlock(target.undoKind, target.book, target.sheet, target.area, BLOCK_BY_ENTRY);
    const bool ruled = target.checkRules && !sheet->validations.IsEmpty();
    if (ruled && !recorded) {
        // What could not be taken back is not stored.
        FreeTokens(content.tokens);
        return false;
    }
    const u32 wasDirty = BookAt(target.book)->dirty;
    RemoveArraysInside(*sheet, target.area);
    bool good = true;
    if (target.isArray && content.kind == ENTRY_FORMULA)
        good = sheet->arrayFormulas.Append({target.area, 0, 0});
    for (i32 row = target.area.firstRow; good && row <= target.area.lastRow; ++row)
        for (i32 column = target.area.firstColumn; good && column <= target.area.lastColumn; ++column)
            good = StoreOne(target, content, row, column);
    FreeTokens(content.tokens);
    BookAt(target.book)->dirty = 1;
    good = good && (!ruled || CheckEntryRules(target.book, target.sheet, target.area, outcome));
    // A fill that stops half way is taken back, and so is what a rule refuses.
    if (!good && recorded && UndoLast()) BookAt(target.book)->dirty = wasDirty;
    return good;
}

bool MakeEntryCell(i32 book, i32 sheet, WideView text, SavedCell& cell) {
    EntryTarget target;
    target.book = book;
    target.sheet = sheet;
    target.refRow = cell.row;
    target.refColumn = cell.column;
    target.area = {cell.row, cell.row, cell.column, cell.column};
    Content content;
    i32 outcome = ENTRY_STORED;
    if (!Recognise(target, text, content, outcome)) {
        FreeTokens(content.tokens);
        if (outcome != ENTRY_BAD_FORMULA) return false;
        content.kind = ENTRY_TEXT;
    }
    NoteMarks(content, text);
    if (!ApplyEntryFormat(*BookAt(book), content, cell.format)) {
        FreeTokens(content.tokens);
        return false;
    }
    cell.tokens = content.tokens;
    cell.value = ValueOf(content);
    // A text that found no memory.
    return content.kind != ENTRY_TEXT || cell.value.type == VT_STRING;
}

}  // namespace tally
