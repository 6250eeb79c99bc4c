#include "editing/AreaChange.h"

#include <utility>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/CellBlock.h"
#include "formula/Dependents.h"
#include "formula/Recalculation.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

bool CopyArrays(AreaChange& change, const Sheet& sheet) {
    if (change.hasArrays) return true;
    change.hasArrays = true;
    return change.arrays.AppendMany(sheet.arrayFormulas.Data(), sheet.arrayFormulas.Count());
}

bool CopyLinks(AreaChange& change, const Sheet& sheet) {
    if (change.hasLinks) return true;
    change.hasLinks = true;
    if (!change.links.Reserve(sheet.hyperlinks.Count())) return false;
    for (const Hyperlink& link : sheet.hyperlinks) {
        Hyperlink* copy = change.links.AppendDefault();
        if (!copy || !CopyLink(*copy, link)) return false;
    }
    return true;
}

bool CopyRuleLists(AreaChange& change, const Sheet& sheet) {
    if (change.hasRules) return true;
    change.hasRules = true;
    return CopyRules(change.validations, sheet.validations) &&
           CopyRules(change.formats, sheet.conditionalFormats);
}

template <typename Item>
void DropMeeting(Array<Item>& list, const RefArea& part, bool whole) {
    u32 kept = 0;
    for (u32 i = 0; i < list.Count(); ++i) {
        const RefArea& area = list[i].area;
        if (whole ? AreaHoldsArea(part, area) : AreasMeet(part, area)) continue;
        if (kept != i) list[kept] = std::move(list[i]);
        ++kept;
    }
    list.Truncate(kept);
}

void IndexNewFormulas(const AreaChange& change, Sheet& sheet) {
    if (!(sheet.kind & SHEET_WORKSHEET)) return;
    const u32 all = sheet.cells.formulas.Count();
    for (u32 i = all - change.patch.formulas; i < all; ++i) EnterFormula(*sheet.cells.formulas[i]);
}

}  // namespace

bool RefuseSize() {
    ShowMessage(Message(MSG_OUT_OF_MEMORY));
    return false;
}

bool ClearArraysAndLinks(AreaChange& change, const RefArea& part) {
    const Sheet& sheet = *SheetAt(change.book, change.sheet);
    if (!CopyArrays(change, sheet) || !CopyLinks(change, sheet)) return false;
    DropMeeting(change.arrays, part, true);
    DropMeeting(change.links, part, false);
    return true;
}

bool ClearRules(AreaChange& change, const RefArea& part) {
    if (!CopyRuleLists(change, *SheetAt(change.book, change.sheet))) return false;
    RemoveRulesIn(change.validations, part);
    RemoveRulesIn(change.formats, part);
    return true;
}

bool TakeMerges(AreaChange& change) {
    if (change.hasMerges) return true;
    change.hasMerges = true;
    const Array<RefArea>& merges = SheetAt(change.book, change.sheet)->mergedAreas;
    return change.merges.AppendMany(merges.Data(), merges.Count());
}

bool PrepareChange(AreaChange& change) {
    return PrepareCells(change.patch, *SheetAt(change.book, change.sheet), change.area, change.cells.Span(), 0);
}

void CommitChange(AreaChange& change) {
    Sheet& sheet = *SheetAt(change.book, change.sheet);
    CommitCells(change.patch, sheet);
    if (change.hasArrays) std::swap(sheet.arrayFormulas, change.arrays);
    if (change.hasMerges) std::swap(sheet.mergedAreas, change.merges);
    if (change.hasLinks) std::swap(sheet.hyperlinks, change.links);
    if (change.hasRules) {
        std::swap(sheet.validations, change.validations);
        std::swap(sheet.conditionalFormats, change.formats);
    }
    IndexNewFormulas(change, sheet);
    MarkDependentsOfArea(change.book, change.sheet, change.area);
    BookAt(change.book)->dirty = 1;
    if (!(sheet.kind & SHEET_WORKSHEET)) return;
    i32 last = -1;
    for (const SavedCell& cell : change.cells) {
        if (cell.row != last) RecalculationView().rowHeightWanted(change.book, change.sheet, cell.row);
        last = cell.row;
    }
}

void DropChange(AreaChange& change) {
    DropPatch(change.patch);
    FreeSavedCells(change.cells);
    FreeRules(change.validations);
    FreeRules(change.formats);
    change = AreaChange();
}

}  // namespace tally
