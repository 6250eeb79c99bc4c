#include "editing/SheetOperations.h"

#include <algorithm>
#include <cstring>

#include "base/Number.h"
#include "base/Text.h"
#include "editing/ShiftBlock.h"
#include "editing/UndoInverse.h"
#include "formula/Links.h"
#include "formula/TokenRebasing.h"
#include "model/CellStore.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

// ---- what refers to a sheet -----------------------------------------------------------------------

bool IsSelf(const Workbook& book, const ExternSheet& row) {
    const ExternBook* link = LinkOfRow(book, &row);
    return link && link->kind == EXTERN_SELF;
}

// Which rows of `from`'s extern sheets end on a sheet of `book`, and which lead over it at all. For another
// book every row of a link to `book` does.
bool RowsToSheet(i32 from, i32 book, i32 sheet, Array<u8>& ends, Array<u8>& over) {
    const Workbook& source = *BookAt(from);
    if (!ends.Resize(source.externSheets.Count()) || !over.Resize(source.externSheets.Count())) return false;
    for (u32 i = 0; i < source.externSheets.Count(); ++i) {
        const ExternSheet& row = source.externSheets[i];
        const ExternBook* link = LinkOfRow(source, &row);
        if (from == book && IsSelf(source, row)) {
            ends[i] = row.firstSheet == sheet || row.lastSheet == sheet;
            over[i] = row.firstSheet <= sheet && sheet <= row.lastSheet;
        } else if (from != book && link && link->kind == EXTERN_FILE) {
            over[i] = FindOpenBook(link->path, false) == book;
        }
    }
    return true;
}

// ---- deleting -------------------------------------------------------------------------------------

constexpr u16 NAME_HIDDEN = 1;

struct Removal {
    i32 book = 0, sheet = 0;
    UndoRecord* record = nullptr;
    bool takesBack = false;  // undo of an insert: the sheet's own names go, too
    bool rowsStay = false;   // the numbers of sheets in extern rows were not raised for this one
    Array<u8> ends, over;
    Array<u16> names;           // the row that takes the place of each name
    Array<WideText> leftTexts;  // for the rows of `scoped`
    Array<u16> scoped;          // rows of the sheet's own names
    Array<TokenChange> changes;
    Array<SavedRules> rules;
    Marks stale;
};

struct HashedName {
    u32 hash;
    u16 row;
};

// The sheet's own names, and the global ones of the same text.
bool FindScopedNames(Removal& r) {
    const Workbook& book = *BookAt(r.book);
    Array<HashedName> globals;
    for (u32 i = 0; i < book.names.Count(); ++i) {
        const u16 row = static_cast<u16>(i);
        if (!r.names.Append(row)) return false;
        if (book.names[i].sheet == 0 && !globals.Append({HashIgnoringCase(book.names[i].text), row}))
            return false;
        if (book.names[i].sheet == r.sheet + 1 && !r.scoped.Append(row)) return false;
    }
    std::sort(globals.begin(), globals.end(),
              [](const HashedName& a, const HashedName& b) { return a.hash < b.hash; });
    for (const u16 row : r.scoped) {
        const WideView text = book.names[row].text;
        const u32 hash = HashIgnoringCase(text);
        const HashedName* place = std::lower_bound(globals.begin(), globals.end(), hash,
                                                   [](const HashedName& a, u32 h) { return a.hash < h; });
        for (; place != globals.end() && place->hash == hash; ++place) {
            if (!EqualIgnoringCase(book.names[place->row].text, text)) continue;
            r.names[row] = place->row;
            break;
        }
        // What stands in the row of a name that gives way; a file has no names without a text.
        WideText* left = r.leftTexts.AppendDefault();
        if (!left || !left->AppendAscii("_Removed") || !AppendInteger(*left, row)) return false;
    }
    return true;
}

// A global name that formulas have asked for and nobody has defined takes the formula over.
bool TakesFormulaOver(const Workbook& book, const Removal& r, u32 row) {
    return r.names[row] != row && !HasFormula(book.names[r.names[row]].tokens);
}

bool IsTouched(const Removal& r, const FormulaTokens& tokens) {
    return RefersThroughRows(tokens, r.ends.Span()) ||
           (!r.scoped.IsEmpty() && UsesRetargetedName(*BookAt(r.book), tokens, r.names.Span()));
}

// The tokens as they are without the sheet.
bool WithoutSheet(const Removal& r, const FormulaTokens& tokens, FormulaTokens& out) {
    CopyTokens(out, tokens);
    if (!UnshareTokens(out)) {
        FreeTokens(out);
        return false;
    }
    MarkSheetDeleted(out, r.ends.Span());
    RetargetNames(*BookAt(r.book), out, r.names.Span());
    return true;
}

bool AppendRemovalChange(Removal& r, TokenChange change, const FormulaTokens& tokens) {
    if (r.record && !SaveTokens(r.record->contents.tokens, change, tokens)) return false;
    return WithoutSheet(r, tokens, change.tokens) && AppendTokenChange(r.changes, change);
}

template <typename Rule>
bool RulesWithoutSheet(const Removal& r, Array<Rule>& rules, Array<Rule>& made, bool& changed) {
    for (Rule& rule : rules)
        VisitRuleFormulas(rule, [&](FormulaTokens& tokens) { changed = changed || IsTouched(r, tokens); });
    if (!changed) return true;
    bool good = CopyRules(made, rules);
    for (Rule& rule : made) {
        VisitRuleFormulas(rule, [&](FormulaTokens& tokens) {
            FormulaTokens fresh;
            if (!good || !IsTouched(r, tokens)) return;
            good = WithoutSheet(r, tokens, fresh);
            if (!good) return;
            FreeTokens(tokens);
            tokens = fresh;
        });
    }
    return good;
}

bool PrepareRuleRemoval(Removal& r, Sheet& sheet) {
    if (sheet.validations.IsEmpty() && sheet.conditionalFormats.IsEmpty()) return true;
    SavedRules made;
    made.serial = sheet.serial;
    SavedRules* place = nullptr;
    if (RulesWithoutSheet(r, sheet.validations, made.validations, made.hasValidations) &&
        RulesWithoutSheet(r, sheet.conditionalFormats, made.formats, made.hasFormats)) {
        if (!made.hasValidations && !made.hasFormats) return true;
        place = r.rules.AppendDefault();
    }
    if (!place) {
        FreeSavedRules(made);
        return false;
    }
    *place = std::move(made);
    return true;
}

bool PrepareSheetRemoval(Removal& r, Sheet& sheet) {
    for (FormulaCell* formula : sheet.cells.formulas) {
        const bool touched = IsTouched(r, formula->tokens);
        if (!touched && !RefersThroughRows(formula->tokens, r.over.Span())) continue;
        if (!r.stale.formulas.Append(formula)) return false;
        if (touched && !AppendRemovalChange(r, ChangeOfCell(*formula), formula->tokens)) return false;
    }
    return PrepareRuleRemoval(r, sheet);
}

bool PrepareNameRemoval(Removal& r) {
    const Workbook& book = *BookAt(r.book);
    for (u32 i = 0; i < book.names.Count(); ++i) {
        const DefinedName& name = book.names[i];
        if (!HasFormula(name.tokens)) continue;
        const i32 row = static_cast<i32>(i);
        const bool touched = IsTouched(r, name.tokens);
        const bool scoped = name.sheet == r.sheet + 1;
        if ((touched || scoped || RefersThroughRows(name.tokens, r.over.Span())) &&
            !r.stale.names.Append({r.book, row}))
            return false;
        if (scoped && r.names[i] != i && !r.stale.names.Append({r.book, r.names[i]})) return false;
        // Those that go keep their tokens for the record.
        if (!touched || (scoped && r.names[i] != i)) continue;
        if (!AppendRemovalChange(r, ChangeOfName(r.book, row), name.tokens)) return false;
    }
    return true;
}

// Formulas that look into a sheet from other books and, with `own`, from its own.
bool CollectReaders(i32 book, i32 sheet, bool own, Array<FormulaCell*>& stale) {
    for (u32 b = 0; b < Books().books.Count(); ++b) {
        const i32 other = static_cast<i32>(b);
        Array<u8> ends, over;
        if (other == book && !own) continue;
        if (!RowsToSheet(other, book, sheet, ends, over)) return false;
        if (std::find(over.begin(), over.end(), 1) == over.end()) continue;
        for (Sheet* reading : BookAt(other)->sheets)
            for (FormulaCell* formula : reading->cells.formulas)
                if (RefersThroughRows(formula->tokens, over.Span()) && !stale.Append(formula)) return false;
    }
    return true;
}

bool SaveRemovalState(Removal& r) {
    if (!r.record) return true;
    const Workbook& book = *BookAt(r.book);
    for (const u16 row : r.scoped) {
        for (const u16 each : {row, r.names[row]}) {
            SavedName* saved = r.record->names.AppendDefault();
            if (!saved || !SaveName(*saved, book, each)) return false;
            if (!TakesFormulaOver(book, r, row)) break;
        }
    }
    return r.record->externSheets.AppendMany(book.externSheets.Data(), book.externSheets.Count()) &&
           r.record->contents.rules.Reserve(r.rules.Count());
}

bool PrepareRemoval(Removal& r) {
    if (!(r.rowsStay || RowsToSheet(r.book, r.book, r.sheet, r.ends, r.over)) || !FindScopedNames(r))
        return false;
    for (Sheet* sheet : BookAt(r.book)->sheets)
        if (sheet->index != r.sheet && !PrepareSheetRemoval(r, *sheet)) return false;
    return PrepareNameRemoval(r) && CollectReaders(r.book, r.sheet, false, r.stale.formulas) &&
           SaveRemovalState(r);
}

void DropRemoval(Removal& r) {
    FreeTokenChanges(r.changes);
    for (SavedRules& rules : r.rules) FreeSavedRules(rules);
    r = Removal();
}

// The sheet's own names become global, or give way to the global ones; those of later sheets follow them.
void RemoveScopedNames(Removal& r) {
    Workbook& book = *BookAt(r.book);
    for (DefinedName& name : book.names)
        if (name.sheet > r.sheet + 1) --name.sheet;
    for (u32 i = 0; i < r.scoped.Count(); ++i) {
        const u16 row = r.scoped[i];
        DefinedName& name = book.names[row];
        name.sheet = 0;
        if (r.names[row] == row && !r.takesBack) continue;
        if (TakesFormulaOver(book, r, row) && !r.takesBack)
            std::swap(book.names[r.names[row]].tokens, name.tokens);
        // An emptied row: the rows of the others stay what they are.
        FreeTokens(name.tokens);
        name.text = std::move(r.leftTexts[i]);
        name.flags = NAME_HIDDEN;
        name.shortcut = 0;
    }
}

void LowerExternRows(const Removal& r) {
    Workbook& book = *BookAt(r.book);
    for (u32 i = 0; i < book.externSheets.Count() && !r.rowsStay; ++i) {
        ExternSheet& row = book.externSheets[i];
        if (!IsSelf(book, row)) continue;
        if (r.ends[i]) {
            row.firstSheet = row.lastSheet = -1;
            continue;
        }
        if (row.firstSheet > r.sheet) --row.firstSheet;
        if (row.lastSheet > r.sheet) --row.lastSheet;
    }
}

void CommitRemoval(Removal& r) {
    Sheet* sheet = DetachSheet(r.book, r.sheet);
    for (TokenChange& change : r.changes) std::swap(TokensOf(change), change.tokens);
    for (SavedRules& rules : r.rules) {
        SwapRules(rules);
        if (r.record) IgnoreFailure(r.record->contents.rules.Append(std::move(rules)));
    }
    if (r.record) r.rules.Clear();
    RemoveScopedNames(r);
    LowerExternRows(r);
    if (r.record) r.record->removed = sheet;
    else FreeSheet(sheet);
    BookAt(r.book)->dirty = 1;
    MarkAll(r.stale);
}

i32 NeighbourOf(i32 book, i32 sheet) {
    const Array<Sheet*>& sheets = BookAt(book)->sheets;
    const i32 count = static_cast<i32>(sheets.Count());
    for (i32 i = sheet + 1; i < count; ++i)
        if (!sheets[static_cast<u32>(i)]->hidden) return i;
    for (i32 i = sheet - 1; i >= 0; --i)
        if (!sheets[static_cast<u32>(i)]->hidden) return i;
    return sheet > 0 ? sheet - 1 : std::min(sheet + 1, count - 1);
}

bool RunRemoval(i32 book, i32 sheet, i32 nextCurrent, UndoRecord* record, bool takesBack) {
    Removal removal;
    removal.takesBack = takesBack;
    removal.rowsStay = takesBack && SheetAt(book, sheet)->kind == SHEET_CHART;
    removal.book = book;
    removal.sheet = sheet;
    removal.record = record;
    if (!PrepareRemoval(removal)) {
        DropRemoval(removal);
        return false;
    }
    CommitRemoval(removal);
    BookAt(book)->currentSheet = nextCurrent > sheet ? nextCurrent - 1 : nextCurrent;
    DropRemoval(removal);
    return true;
}

bool DeleteWithoutUndo(i32 book, i32 sheet, bool takesBack) {
    if (!SheetAt(book, sheet) || BookAt(book)->sheets.Count() < 2) return false;
    const i32 current = BookAt(book)->currentSheet;
    return RunRemoval(book, sheet, current == sheet ? NeighbourOf(book, sheet) : current, nullptr, takesBack);
}

// ---- moving ---------------------------------------------------------------------------------------

i32 MovedIndex(i32 sheet, i32 from, i32 to) {
    if (sheet == from) return to;
    if (from < to) return sheet > from && sheet <= to ? sheet - 1 : sheet;
    return sheet >= to && sheet < from ? sheet + 1 : sheet;
}

void MapSheetNumbers(Workbook& book, i32 from, i32 to) {
    for (DefinedName& name : book.names)
        if (name.sheet) name.sheet = static_cast<u16>(MovedIndex(name.sheet - 1, from, to) + 1);
    for (ExternSheet& row : book.externSheets) {
        if (!IsSelf(book, row)) continue;
        if (row.firstSheet >= 0) row.firstSheet = static_cast<i16>(MovedIndex(row.firstSheet, from, to));
        if (row.lastSheet >= 0) row.lastSheet = static_cast<i16>(MovedIndex(row.lastSheet, from, to));
        if (row.firstSheet > row.lastSheet) std::swap(row.firstSheet, row.lastSheet);
    }
}

void MoveWithReferences(i32 book, i32 from, i32 to) {
    Workbook& workbook = *BookAt(book);
    MoveSheetPlace(book, from, to);
    MapSheetNumbers(workbook, from, to);
    workbook.currentSheet = MovedIndex(workbook.currentSheet, from, to);
    workbook.dirty = 1;
    MarkSheetRanges(book);
}

// ---- returning ------------------------------------------------------------------------------------

void ReturnNames(Workbook& book, UndoRecord& record, Array<ChangedName>& changed) {
    for (DefinedName& name : book.names)
        if (name.sheet > record.sheet) ++name.sheet;
    for (SavedName& saved : record.names) {
        DefinedName& name = book.names[static_cast<u32>(saved.name)];
        std::swap(name.text, saved.text);
        std::swap(name.tokens, saved.tokens);
        name.flags = saved.flags;
        name.shortcut = saved.shortcut;
        name.sheet = saved.sheet;
        IgnoreFailure(changed.Append({record.book, saved.name}));
    }
}

// The rows that stood then are as they were; those added since make room for the sheet.
void ReturnExternRows(Workbook& book, const UndoRecord& record) {
    for (u32 i = 0; i < book.externSheets.Count(); ++i) {
        ExternSheet& row = book.externSheets[i];
        if (i < record.externSheets.Count()) {
            row = record.externSheets[i];
        } else if (IsSelf(book, row)) {
            if (row.firstSheet >= record.sheet) ++row.firstSheet;
            if (row.lastSheet >= record.sheet) ++row.lastSheet;
        }
    }
}

}  // namespace

bool RenameSheet(Sheet& sheet, WideView name) {
    name = name.substr(0, MAX_SHEET_NAME);
    if (!RenameLinkedSheet(sheet.book, sheet.name, name)) return false;
    std::copy(name.begin(), name.end(), sheet.name);
    sheet.name[name.size()] = 0;
    return true;
}

void MarkSheetRanges(i32 book) {
    const Workbook& workbook = *BookAt(book);
    Array<u8> rows;
    bool any = false;
    bool good = rows.Resize(workbook.externSheets.Count());
    for (u32 i = 0; good && i < workbook.externSheets.Count(); ++i) {
        const ExternSheet& row = workbook.externSheets[i];
        rows[i] = IsSelf(workbook, row) && row.firstSheet != row.lastSheet;
        any = any || rows[i];
    }
    if (good && !any) return;
    Array<FormulaCell*> stale;
    for (Sheet* sheet : workbook.sheets)
        for (FormulaCell* formula : sheet->cells.formulas)
            if (good && RefersThroughRows(formula->tokens, rows.Span())) good = stale.Append(formula);
    if (good) MarkChanged(stale.Span(), {});
    else MarkAllStale();
}

bool CanDeleteSheet(i32 book, i32 sheet) {
    if (!SheetAt(book, sheet)) return false;
    bool worksheet = false, visible = false;
    for (const Sheet* other : BookAt(book)->sheets) {
        if (other->index == sheet) continue;
        worksheet = worksheet || other->kind == SHEET_WORKSHEET;
        visible = visible || !other->hidden;
    }
    return worksheet && visible;
}

bool DeleteSheet(i32 sheet, i32 nextCurrent) {
    const i32 book = CurrentBook();
    const Sheet* removed = SheetAt(book, sheet);
    if (!removed || BookAt(book)->sheets.Count() < 2) return false;
    const i32 kind = removed->kind == SHEET_CHART   ? UNDO_DELETE_CHART
                     : removed->kind == SHEET_MACRO ? UNDO_DELETE_MACRO_SHEET
                                                    : UNDO_DELETE_WORKSHEET;
    const bool recorded = RecordUndo(book, sheet, kind);
    if (nextCurrent < 0) nextCurrent = NeighbourOf(book, sheet);
    if (RunRemoval(book, sheet, nextCurrent, recorded ? LastUndo() : nullptr, false)) return true;
    if (recorded) DropLastUndo();
    return false;
}

bool DeleteSheetPlain(i32 book, i32 sheet) { return DeleteWithoutUndo(book, sheet, false); }

bool TakeBackInsert(i32 book, i32 sheet) {
    const Sheet* inserted = SheetAt(book, sheet);
    const bool chart = inserted && inserted->kind == SHEET_CHART && SheetAt(book, sheet + 1);
    if (!DeleteWithoutUndo(book, sheet, true)) return false;
    if (chart) MarkAllStale();
    return true;
}

bool MoveSheet(i32 book, i32 from, i32 before) {
    const i32 to = before > from ? before - 1 : before;
    if (!SheetAt(book, from) || !SheetAt(book, to)) return false;
    if (to == from) return true;
    if (RecordUndo(book, from, UNDO_MOVE_SHEET)) LastUndo()->oldIndex = from;
    MoveWithReferences(book, from, to);
    return true;
}

void MoveSheetBack(const UndoRecord& record) {
    const Sheet* sheet = FindSheetBySerial(record.serial);
    if (!sheet || !SheetAt(record.book, record.oldIndex) || sheet->book != record.book) return;
    MoveWithReferences(record.book, sheet->index, record.oldIndex);
}

bool ReturnSheet(UndoRecord& record) {
    Workbook& book = *BookAt(record.book);
    Marks marks;
    if (!record.removed) return true;
    if (!ReserveMarks(marks, record.contents.tokens) ||
        !marks.names.Reserve(std::size_t{marks.names.Capacity()} + record.names.Count()) ||
        !AttachSheet(record.book, record.sheet, record.removed))
        return false;
    record.removed = nullptr;
    ReturnNames(book, record, marks.names);
    ReturnExternRows(book, record);
    for (SavedRules& rules : record.contents.rules) SwapRules(rules);
    PutTokenChanges(record.contents.tokens, marks);
    // Marking costs memory, and what it cannot reach is marked with everything else.
    if (CollectReaders(record.book, record.sheet, true, marks.formulas)) MarkAll(marks);
    else MarkAllStale();
    return true;
}

}  // namespace tally
