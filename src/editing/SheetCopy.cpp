// A sheet with all that belongs to it, once more.

#include "editing/CellBlock.h"
#include "editing/SheetOperations.h"
#include "editing/ShiftBlock.h"
#include "formula/Links.h"
#include "formula/TokenReferences.h"
#include "model/CellStore.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

template <typename Record>
bool CopyRecords(Array<Record>& target, const Array<Record>& source) {
    return target.AppendMany(source.Data(), source.Count());
}

bool CopyCells(Sheet& target, Sheet& source) {
    if (!target.cells.rows.Reserve(source.cells.rows.Count())) return false;
    bool good = true;
    WalkArea(source.cells, {0, MAX_ROWS - 1, 0, MAX_COLUMNS - 1}, [&](u16 row, const CellRecord& cell) {
        Value value;
        FormulaTokens tokens;
        CopyValue(value, cell.value);
        if (cell.formula) CopyTokens(tokens, cell.formula->tokens);
        good = InsertCell(target, row, cell.column, cell.format, value, tokens);
        if (!good || !cell.formula) return good;
        // Its own sheet holds the same cells, so the value is good as it is.
        CellRecord* copy = GetCell(target.cells, row, cell.column);
        copy->calcState = cell.calcState;
        copy->formula->alwaysCalculate = cell.formula->alwaysCalculate;
        return true;
    });
    return good;
}

bool CopyLinks(Sheet& target, const Sheet& source) {
    for (const Hyperlink& link : source.hyperlinks) {
        Hyperlink* copy = target.hyperlinks.AppendDefault();
        if (!copy || !CopyLink(*copy, link)) return false;
    }
    return true;
}

bool CopyFilter(Sheet& target, const Sheet& source) {
    target.filterState = source.filterState;
    for (const FilterColumn& column : source.filterColumns) {
        FilterColumn* copy = target.filterColumns.AppendDefault();
        if (!copy) return false;
        copy->top10 = column.top10;
        copy->top = column.top;
        copy->percent = column.percent;
        copy->count = column.count;
        copy->threshold = column.threshold;
        copy->joinOr = column.joinOr;
        for (u32 i = 0; i < 2; ++i) {
            copy->conditions[i].kind = column.conditions[i].kind;
            copy->conditions[i].comparison = column.conditions[i].comparison;
            if (!copy->conditions[i].text.Assign(column.conditions[i].text)) return false;
        }
    }
    return true;
}

bool CopyPage(PageSettings& target, const PageSettings& source) {
    target.leftMargin = source.leftMargin;
    target.rightMargin = source.rightMargin;
    target.topMargin = source.topMargin;
    target.bottomMargin = source.bottomMargin;
    target.printHeaders = source.printHeaders;
    target.printGridlines = source.printGridlines;
    target.gridSet = source.gridSet;
    target.centreHorizontally = source.centreHorizontally;
    target.centreVertically = source.centreVertically;
    target.fitToPage = source.fitToPage;
    for (u32 i = 0; i < 4; ++i) target.guts[i] = source.guts[i];
    return CopyRecords(target.rowBreaks, source.rowBreaks) &&
           CopyRecords(target.columnBreaks, source.columnBreaks) && target.header.Assign(source.header) &&
           target.footer.Assign(source.footer) && CopyRecords(target.setup, source.setup) &&
           CopyRecords(target.printer, source.printer);
}

void CopyView(Sheet& target, const Sheet& source) {
    target.zoomPercent = source.zoomPercent;
    target.viewFlags = source.viewFlags;
    target.defaultColumnWidth = source.defaultColumnWidth;
    target.defaultRowHeight = source.defaultRowHeight;
    target.view = source.view;
    target.passwordHash = source.passwordHash;
    target.tabColour = source.tabColour;
    target.options = source.options;
    target.options.tabId = 0;
}

bool CopyContents(Sheet& target, Sheet& source) {
    CopyView(target, source);
    // Of carried records only those of a whole chart mean the same once more.
    if (source.kind == SHEET_CHART) {
        target.carried.form = source.carried.form;
        return CopyRecords(target.carried.runs, source.carried.runs) &&
               CopyRecords(target.carried.bytes, source.carried.bytes);
    }
    return CopyRecords(target.columns, source.columns) && CopyRecords(target.rows, source.rows) &&
           CopyRecords(target.arrayFormulas, source.arrayFormulas) &&
           CopyRecords(target.dataTables, source.dataTables) &&
           CopyRecords(target.mergedAreas, source.mergedAreas) && CopyRecords(target.objects, source.objects) &&
           CopyCells(target, source) && CopyRules(target.validations, source.validations) &&
           CopyRules(target.conditionalFormats, source.conditionalFormats) && CopyLinks(target, source) &&
           CopyFilter(target, source) && CopyPage(target.page, source.page);
}

// References to one sheet lead to another afterwards. The tokens are unshared.
bool RedirectSheet(i32 book, FormulaTokens& tokens, i32 from, i32 to) {
    TokenReference reference;
    for (u32 at = 0; NextReference(tokens, at, reference);) {
        ResolvedRef ref;
        ref.book = book;
        if (reference.externIndex < 0 || !ResolveOpenExternRef(reference.externIndex, ref) ||
            ref.targetBook != book || ref.firstSheet != from || ref.lastSheet != from)
            continue;
        ref.firstSheet = ref.lastSheet = to;
        i32 row = 0;
        if (!AddExternRef(ref, row)) return false;
        PutU16(tokens.bytes + reference.at + 1, static_cast<u32>(row));
    }
    return true;
}

// The names of the sheet for its copy, where they speak of the copy.
bool CopyNames(i32 book, const Sheet& target, const Sheet& source) {
    Workbook& workbook = *BookAt(book);
    const u32 count = workbook.names.Count();
    for (u32 i = 0; i < count; ++i) {
        if (workbook.names[i].sheet != source.index + 1) continue;
        WideText text;
        FormulaTokens tokens;
        if (!text.Assign(workbook.names[i].text)) return false;
        const i32 row = AddName(workbook, text, static_cast<u16>(target.index + 1));
        if (row < 0) return false;
        const DefinedName& name = workbook.names[i];
        CopyTokens(tokens, name.tokens);
        DefinedName& copy = workbook.names[static_cast<u32>(row)];
        copy.flags = name.flags;
        copy.tokens = tokens;
        if (!UnshareTokens(copy.tokens) || !RedirectSheet(book, copy.tokens, source.index, target.index))
            return false;
    }
    return true;
}

// A new sheet that nothing refers to but its own names, which were added last, goes again.
void TakeBackSheet(i32 book, i32 sheet) {
    Workbook& workbook = *BookAt(book);
    const bool withCells = (workbook.sheets[static_cast<u32>(sheet)]->kind & SHEET_WITH_CELLS) != 0;
    while (!workbook.names.IsEmpty() && workbook.names.Last().sheet == sheet + 1) {
        FreeTokens(workbook.names.Last().tokens);
        workbook.names.RemoveLast();
    }
    RemoveSheet(book, sheet);
    for (DefinedName& name : workbook.names)
        if (name.sheet > sheet) --name.sheet;
    for (ExternSheet& row : workbook.externSheets) {
        const u32 link = static_cast<u32>(row.externBook);
        if (!withCells || link >= workbook.externBooks.Count() ||
            workbook.externBooks[link].kind != EXTERN_SELF)
            continue;
        if (row.firstSheet > sheet) --row.firstSheet;
        if (row.lastSheet > sheet) --row.lastSheet;
    }
}

}  // namespace

bool CopySheet(i32 before) {
    const Sheet* current = CurrentSheet();
    if (!current) return false;
    const u32 serial = current->serial;
    const i32 book = CurrentBook();
    if (!InsertSheet(before, nullptr, current->kind, false, false)) return false;
    Sheet* copy = CurrentSheet();
    Sheet* source = FindSheetBySerial(serial);
    if (!CopyContents(*copy, *source) || !CopyNames(book, *copy, *source)) {
        TakeBackSheet(book, copy->index);
        BookAt(book)->currentSheet = FindSheetBySerial(serial)->index;
        return false;
    }
    if (RecordUndo(book, copy->index, UNDO_COPY_SHEET)) LastUndo()->sourceSerial = serial;
    MarkSheetRanges(book);
    BookAt(book)->dirty = 1;
    return true;
}

}  // namespace tally
