#include "editing/RestoreLists.h"

#include <algorithm>

#include "editing/AreaLists.h"
#include "formula/TokenRebasing.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

// An area of the block in the tile that begins at a row and a column.
struct TileArea {
    i32 firstRow, lastRow, firstColumn, lastColumn;
};
TileArea AtTile(const RestoreOrder& order, i32 tileRow, i32 tileColumn, const RefArea& area) {
    const RefArea& whole = order.block->area;
    i32 row = area.firstRow - whole.firstRow, lastRow = area.lastRow - whole.firstRow;
    i32 column = area.firstColumn - whole.firstColumn, lastColumn = area.lastColumn - whole.firstColumn;
    if (order.transpose) {
        std::swap(row, column);
        std::swap(lastRow, lastColumn);
    }
    return {tileRow + row, tileRow + lastRow, tileColumn + column, tileColumn + lastColumn};
}

// What of it lies in a target. False when nothing does, or not all when `whole`.
bool CutToTarget(const RefArea& target, bool whole, const TileArea& tile, RefArea& out) {
    const i32 firstRow = std::max(tile.firstRow, i32{target.firstRow}),
              lastRow = std::min(tile.lastRow, i32{target.lastRow}),
              firstColumn = std::max(tile.firstColumn, i32{target.firstColumn}),
              lastColumn = std::min(tile.lastColumn, i32{target.lastColumn});
    if (firstRow > lastRow || firstColumn > lastColumn) return false;
    out = {static_cast<u16>(firstRow), static_cast<u16>(lastRow), static_cast<u8>(firstColumn),
           static_cast<u8>(lastColumn)};
    return !whole || (firstRow == tile.firstRow && lastRow == tile.lastRow && firstColumn == tile.firstColumn &&
                      lastColumn == tile.lastColumn);
}

// Whether a target behind that of number `own`, which a filter has made start inside it, takes a tile over.
bool IsTakenOver(std::span<const RefArea> targets, std::size_t own, const RefArea& tile) {
    for (std::size_t i = own + 1; i < targets.size() && targets[i].firstRow <= tile.lastRow; ++i)
        if (AreasMeet(targets[i], tile)) return true;
    return false;
}

// Calls visit(area) for an area of the block at every tile of one target. What a tile has of it beyond the
// target is cut off, or with `join` false is not visited at all. With `join` what touches from tile to tile is
// one area.
template <typename Visit>
bool VisitTarget(const RestoreOrder& order, std::size_t number, const RefArea& area, bool join, Visit visit) {
    const RefArea& target = order.targets[number];
    const TileStart origin = TileOrigin(order, target);
    const i32 height = TileRows(order), width = TileColumns(order);
    TileArea reach = AtTile(order, 0, 0, area);
    const bool tall = join && reach.lastRow - reach.firstRow + 1 == height,
               wide = join && reach.lastColumn - reach.firstColumn + 1 == width;
    const i32 first = (target.firstRow - origin.row) / height,
              last = tall ? first : (target.lastRow - origin.row) / height;
    const i32 left = (target.firstColumn - origin.column) / width,
              right = wide ? left : (target.lastColumn - origin.column) / width;
    for (i32 r = first; r <= last; ++r) {
        for (i32 c = left; c <= right; ++c) {
            TileArea tile = AtTile(order, origin.row + r * height, origin.column + c * width, area);
            if (tall) tile.lastRow = target.lastRow;
            if (wide) tile.lastColumn = target.lastColumn;
            RefArea cut;
            if (!CutToTarget(target, !join, tile, cut)) continue;
            if (!join && IsTakenOver(order.targets, number, cut)) continue;
            if (!visit(cut)) return false;
        }
    }
    return true;
}

template <typename Visit>
bool VisitTiles(const RestoreOrder& order, RefArea area, bool join, Visit visit) {
    area = CommonArea(area, order.block->area);
    for (std::size_t t = 0; t < order.targets.size(); ++t)
        if (!VisitTarget(order, t, area, join, visit)) return false;
    return true;
}

bool Rebase(const RestoreOrder& order, FormulaTokens& tokens) {
    TokenRebase rebase;
    rebase.mode = REBASE_NOTHING;
    rebase.sourceBook = order.block->book;
    rebase.sourceSheet = order.block->sheet;
    rebase.targetBook = order.book;
    return RebaseTokens(rebase, tokens);
}

// The rules of the block behind those of the sheet, with their areas at the targets.
template <typename Rule>
bool AddRules(const RestoreOrder& order, const Array<Rule>& source, Array<Rule>& list) {
    for (const Rule& rule : source) {
        if (rule.areas.IsEmpty()) continue;
        Rule* copy = list.AppendDefault();
        if (!copy || !CopyRule(*copy, rule)) return false;
        bool good = true;
        VisitRuleFormulas(*copy, [&](FormulaTokens& tokens) { good = good && Rebase(order, tokens); });
        for (const RefArea& area : rule.areas) {
            good = good && VisitTiles(order, area, true, [&](const RefArea& tile) {
                       return copy->areas.Count() < MAX_PASTED_RECORDS && copy->areas.Append(tile);
                   });
        }
        if (!good) return false;
    }
    return true;
}

// The sheet's rules without the targets, and those of the block; `changes` tells whether there is any
// difference.
template <typename Rule>
bool MakeRules(const RestoreOrder& order, const Array<Rule>& old, const Array<Rule>& source, bool& changes,
               Array<Rule>& made) {
    if (!RulesWithout(old, order.targets, !source.IsEmpty(), changes, made)) return false;
    if (!AddRules(order, source, made)) return false;
    // Without memory equal rules would stay two, which nothing tells but the list's length.
    const u64 failures = FailedAllocations();
    MergeEqualRules(made);
    return FailedAllocations() == failures;
}

}  // namespace

bool BringsColumns(const RestoreOrder& order) {
    return IsWholeColumns(order.block->area) && (order.mask & BLOCK_CONDITIONAL) && !order.transpose;
}

bool RestoreArrays(const RestoreOrder& order, AreaContents& after) {
    const bool brings =
        (order.mode == PASTE_ALL || order.mode == PASTE_FORMULAS || order.mode == PASTE_BUT_BORDERS) &&
        order.operation == PASTE_NONE;
    if (!brings) return true;
    const RefArea& whole = order.block->area;
    for (const ArrayEntry& entry : order.block->arrays) {
        // The rest of an array comes with its top left cell or not at all.
        if (!AreaHolds(whole, entry.area.firstRow, entry.area.firstColumn)) continue;
        const bool good = VisitTiles(order, entry.area, false, [&](const RefArea& tile) {
            return after.arrays.Count() < MAX_PASTED_RECORDS && after.arrays.Append({tile, 0, 0});
        });
        if (!good) return false;
    }
    return true;
}

bool RestoreMerges(const RestoreOrder& order, AreaContents& after) {
    // Merges come where the look of a cell comes.
    const bool brings = order.mode == PASTE_ALL || order.mode == PASTE_FORMATS ||
                        order.mode == PASTE_BUT_BORDERS || order.mode == PASTE_VALUES_AND_FORMATS;
    if (!brings) return true;
    const RefArea& whole = order.block->area;
    for (const RefArea& merge : order.block->merges) {
        if (!AreaHolds(whole, merge.firstRow, merge.firstColumn) || IsOneCell(CommonArea(merge, whole)))
            continue;
        const bool good = VisitTiles(order, merge, false, [&](const RefArea& tile) {
            return after.merges.Count() < MAX_PASTED_RECORDS && after.merges.Append(tile);
        });
        if (!good) return false;
    }
    return true;
}

bool RestoreRules(const RestoreOrder& order, const Sheet& sheet, AreaContents& after) {
    SavedRules* rules = after.rules.AppendDefault();
    if (!rules) return false;
    rules->serial = sheet.serial;
    const CellBlock& block = *order.block;
    return (!(order.mask & BLOCK_VALIDATION) || MakeRules(order, sheet.validations, block.validations,
                                                          rules->hasValidations, rules->validations)) &&
           (!(order.mask & BLOCK_CONDITIONAL) ||
            MakeRules(order, sheet.conditionalFormats, block.formats, rules->hasFormats, rules->formats));
}

bool RestoreLinks(const RestoreOrder& order, const Sheet& sheet, std::span<const u8> drops,
                  AreaContents& after) {
    after.mask |= BLOCK_HYPERLINKS;
    Array<SavedLink>& links = after.links;
    const bool replaces = (order.mask & BLOCK_HYPERLINKS) != 0;
    const bool kept = KeepLinks(sheet, after, [&](u32 i) {
        return !drops[i] && !(replaces && MeetsAny(order.targets, sheet.hyperlinks[i].area));
    });
    if (!kept) return false;
    if (!replaces) return true;
    for (const SavedLink& source : order.block->links) {
        const bool good = VisitTiles(order, source.link.area, false, [&](const RefArea& tile) {
            SavedLink* saved = links.Count() < MAX_PASTED_RECORDS ? links.AppendDefault() : nullptr;
            if (!saved || !CopyLink(saved->link, source.link)) return false;
            saved->link.area = tile;
            saved->place = 0xFFFFFFFF;
            return true;
        });
        if (!good) return false;
    }
    return true;
}

}  // namespace tally
