#include "editing/CellBlock.h"

#include "model/BookTable.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

bool CaptureColumns(CellBlock& block, const Sheet& sheet) {
    for (const ColumnInfo& info : sheet.columns) {
        if (info.column < block.area.firstColumn || info.column > block.area.lastColumn) continue;
        if (!block.columns.Append(info)) return false;
    }
    return true;
}

bool Capture(CellBlock& block, Sheet& sheet) {
    const RefArea& area = block.area;
    const u32 mask = block.mask;
    if ((mask & BLOCK_CELLS) && !SaveCells(sheet.cells, area, block.cells)) return false;
    if ((mask & BLOCK_COLUMNS) && !CaptureColumns(block, sheet)) return false;
    if (mask & BLOCK_ARRAYS) {
        for (const ArrayEntry& entry : sheet.arrayFormulas)
            if (AreasMeet(entry.area, area) && !block.arrays.Append(entry)) return false;
    }
    if (mask & BLOCK_MERGES) {
        for (const RefArea& merge : sheet.mergedAreas)
            if (AreasMeet(merge, area) && !block.merges.Append(merge)) return false;
    }
    if ((mask & BLOCK_HYPERLINKS) && !SaveLinks(block.links, sheet, area)) return false;
    if ((mask & BLOCK_VALIDATION) && !CopyRulesIn(block.validations, sheet.validations, area)) return false;
    return !(mask & BLOCK_CONDITIONAL) || CopyRulesIn(block.formats, sheet.conditionalFormats, area);
}

}  // namespace

bool CaptureBlock(CellBlock& block, i32 book, i32 sheet, const RefArea& area, u32 mask) {
    FreeBlock(block);
    Sheet* source = SheetAt(book, sheet);
    if (!source) return false;
    block.book = book;
    block.sheet = sheet;
    block.area = area;
    block.mask = mask;
    if (Capture(block, *source)) return true;
    FreeBlock(block);
    return false;
}

void FreeBlock(CellBlock& block) {
    FreeSavedCells(block.cells);
    FreeRules(block.validations);
    FreeRules(block.formats);
    block = CellBlock();
}

bool SaveLinks(Array<SavedLink>& links, const Sheet& sheet, const RefArea& area) {
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        if (!AreasMeet(sheet.hyperlinks[i].area, area)) continue;
        SavedLink* saved = links.AppendDefault();
        if (!saved || !CopyLink(saved->link, sheet.hyperlinks[i])) return false;
        saved->place = i;
    }
    return true;
}

bool CopyLink(Hyperlink& target, const Hyperlink& source) {
    target.area = source.area;
    target.kind = source.kind;
    return target.target.Assign(source.target) && target.location.Assign(source.location) &&
           target.description.Assign(source.description) && target.frame.Assign(source.frame);
}

}  // namespace tally
