#include "editing/AreaContents.h"

#include <algorithm>
#include <cstring>

#include "formula/Dependents.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

// ---- sorted size records --------------------------------------------------------------------------

template <typename Record, typename Key>
u32 PlaceOf(const Array<Record>& list, Key Record::*key, i32 wanted) {
    const Record* found = std::lower_bound(list.begin(), list.end(), wanted,
                                           [key](const Record& r, i32 k) { return i32{r.*key} < k; });
    return static_cast<u32>(found - list.begin());
}

template <typename Record, typename Key>
bool CopyRange(Array<Record>& saved, const Array<Record>& list, Key Record::*key, i32 first, i32 last) {
    const u32 from = PlaceOf(list, key, first), to = PlaceOf(list, key, last + 1);
    return saved.AppendMany(list.Data() + from, to - from);
}

// The records of a range give way to the saved ones. Room was made before.
template <typename Record, typename Key>
void ReplaceRange(Array<Record>& list, Key Record::*key, i32 first, i32 last, const Array<Record>& saved) {
    const u32 from = PlaceOf(list, key, first), to = PlaceOf(list, key, last + 1);
    const u32 tail = list.Count() - to, count = from + saved.Count() + tail;
    IgnoreFailure(list.ResizeRaw(std::max(count, list.Count())));
    Record* records = list.Data();
    if (tail) std::memmove(records + from + saved.Count(), records + to, tail * sizeof(Record));
    if (saved.Count()) std::memcpy(records + from, saved.Data(), saved.Count() * sizeof(Record));
    IgnoreFailure(list.ResizeRaw(count));
}

template <typename Record>
bool CopyAll(Array<Record>& saved, const Array<Record>& list) {
    return saved.AppendMany(list.Data(), list.Count());
}

template <typename Record>
bool ReserveMore(Array<Record>& list, u32 more) {
    return list.Reserve(std::size_t{list.Count()} + more);
}

// ---- lists ----------------------------------------------------------------------------------------

void DropLinksIn(Sheet& sheet, const RefArea& area) {
    u32 kept = 0;
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        if (AreasMeet(sheet.hyperlinks[i].area, area)) continue;
        if (kept != i) sheet.hyperlinks[kept] = std::move(sheet.hyperlinks[i]);
        ++kept;
    }
    sheet.hyperlinks.Truncate(kept);
}

bool SaveRules(AreaContents& contents, const Sheet& sheet) {
    const bool validations = (contents.mask & BLOCK_VALIDATION) != 0,
               formats = (contents.mask & BLOCK_CONDITIONAL) != 0;
    if (!validations && !formats) return true;
    SavedRules* saved = contents.rules.AppendDefault();
    if (!saved) return false;
    saved->serial = sheet.serial;
    saved->hasValidations = validations;
    saved->hasFormats = formats;
    return (!validations || CopyRules(saved->validations, sheet.validations)) &&
           (!formats || CopyRules(saved->formats, sheet.conditionalFormats));
}

}  // namespace

void StartContents(AreaContents& contents, const Sheet& sheet, const RefArea& area, u32 mask) {
    contents.serial = sheet.serial;
    contents.area = area;
    contents.mask = mask;
}

bool SaveContents(AreaContents& contents, Sheet& sheet, const RefArea& area, u32 mask) {
    StartContents(contents, sheet, area, mask);
    return (!(mask & BLOCK_CELLS) || SaveCells(sheet.cells, area, contents.cells)) &&
           (!(mask & BLOCK_COLUMNS) || CopyRange(contents.columns, sheet.columns, &ColumnInfo::column,
                                                 area.firstColumn, area.lastColumn)) &&
           (!(mask & CONTENTS_ROWS) ||
            CopyRange(contents.rows, sheet.rows, &RowInfo::row, area.firstRow, area.lastRow)) &&
           (!(mask & BLOCK_HYPERLINKS) || SaveLinks(contents.links, sheet, area)) &&
           (!(mask & BLOCK_ARRAYS) ||
            (CopyAll(contents.arrays, sheet.arrayFormulas) && CopyAll(contents.tables, sheet.dataTables))) &&
           (!(mask & BLOCK_MERGES) || CopyAll(contents.merges, sheet.mergedAreas)) &&
           SaveRules(contents, sheet);
}

bool PutContents(AreaContents& contents) {
    Sheet* sheet = FindSheetBySerial(contents.serial);
    if (!sheet) return true;
    CellPatch patch;
    Marks marks;
    Array<Hyperlink> linkRoom;
    const u32 mask = contents.mask;
    const RefArea& area = contents.area;
    const bool good = ReserveMarks(marks, contents.tokens) && MakeLinkRoom(*sheet, contents.links, linkRoom) &&
                      ReserveMore(sheet->rows, contents.rows.Count()) &&
                      ReserveMore(sheet->columns, contents.columns.Count()) &&
                      (!(mask & BLOCK_CELLS) || PrepareCells(patch, *sheet, area, contents.cells.Span(), 0));
    if (!good) return false;
    if (mask & BLOCK_CELLS) {
        CommitCells(patch, *sheet);
        IndexNewFormulas(*sheet, patch.formulas);
    }
    if (mask & BLOCK_ARRAYS) {
        std::swap(sheet->arrayFormulas, contents.arrays);
        std::swap(sheet->dataTables, contents.tables);
    }
    if (mask & BLOCK_MERGES) std::swap(sheet->mergedAreas, contents.merges);
    for (SavedRules& rules : contents.rules) SwapRules(rules);
    if (mask & BLOCK_HYPERLINKS) {
        DropLinksIn(*sheet, area);
        ReturnLinks(*sheet, contents.links, linkRoom);
    }
    if (mask & BLOCK_COLUMNS)
        ReplaceRange(sheet->columns, &ColumnInfo::column, area.firstColumn, area.lastColumn, contents.columns);
    if (mask & CONTENTS_ROWS)
        ReplaceRange(sheet->rows, &RowInfo::row, area.firstRow, area.lastRow, contents.rows);
    if (mask & BLOCK_CELLS) MarkDependentsOfArea(sheet->book, sheet->index, area);
    if (contents.tokens.IsEmpty()) return true;
    PutTokenChanges(contents.tokens, marks);
    MarkAll(marks);
    return true;
}

void FreeContents(AreaContents& contents) {
    FreeSavedCells(contents.cells);
    for (SavedRules& rules : contents.rules) FreeSavedRules(rules);
    FreeTokenChanges(contents.tokens);
    contents = AreaContents();
}

void SwapRules(SavedRules& rules) {
    Sheet* sheet = FindSheetBySerial(rules.serial);
    if (!sheet) return;
    if (rules.hasValidations) std::swap(sheet->validations, rules.validations);
    if (rules.hasFormats) std::swap(sheet->conditionalFormats, rules.formats);
}

void FreeSavedRules(SavedRules& rules) {
    FreeRules(rules.validations);
    FreeRules(rules.formats);
}

bool MakeLinkRoom(const Sheet& sheet, const Array<SavedLink>& saved, Array<Hyperlink>& room) {
    return saved.IsEmpty() || room.Reserve(std::size_t{sheet.hyperlinks.Count()} + saved.Count());
}

void ReturnLinks(Sheet& sheet, Array<SavedLink>& saved, Array<Hyperlink>& room) {
    if (!room.Capacity()) return;
    u32 next = 0;
    const auto put = [&](Hyperlink& link) { IgnoreFailure(room.Append(std::move(link))); };
    const auto putSaved = [&] {
        while (next < saved.Count() && saved[next].place <= room.Count()) put(saved[next++].link);
    };
    for (Hyperlink& link : sheet.hyperlinks) {
        putSaved();
        put(link);
    }
    while (next < saved.Count()) put(saved[next++].link);
    sheet.hyperlinks = std::move(room);
}

void IndexNewFormulas(Sheet& sheet, u32 count) {
    if (!(sheet.kind & SHEET_WORKSHEET)) return;
    const u32 all = sheet.cells.formulas.Count();
    for (u32 i = all - count; i < all; ++i) EnterFormula(*sheet.cells.formulas[i]);
}

}  // namespace tally
