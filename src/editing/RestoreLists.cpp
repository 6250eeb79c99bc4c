#include "editing/RestoreLists.h"

#include "formula/TokenRebasing.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

// An area of the block, at the target's first tile.
RefArea FirstTile(const RestoreOrder& order, const RefArea& target, const RefArea& area) {
    const RefArea& whole = order.block->area;
    i32 row = area.firstRow - whole.firstRow, lastRow = area.lastRow - whole.firstRow;
    i32 column = area.firstColumn - whole.firstColumn, lastColumn = area.lastColumn - whole.firstColumn;
    if (order.transpose) {
        std::swap(row, column);
        std::swap(lastRow, lastColumn);
    }
    return {static_cast<u16>(target.firstRow + row), static_cast<u16>(target.firstRow + lastRow),
            static_cast<u8>(target.firstColumn + column), static_cast<u8>(target.firstColumn + lastColumn)};
}

// Whether a target behind that of number `own`, which a filter has made start inside it, takes a tile over.
bool IsTakenOver(std::span<const RefArea> targets, std::size_t own, const RefArea& tile) {
    for (std::size_t i = own + 1; i < targets.size() && targets[i].firstRow <= tile.lastRow; ++i)
        if (AreasMeet(targets[i], tile)) return true;
    return false;
}

// Calls visit(area) for an area of the block at every tile of every target; a visit that returns false ends
// it. With `join` what touches from tile to tile is one area.
template <typename Visit>
bool VisitTiles(const RestoreOrder& order, RefArea area, bool join, Visit visit) {
    area = CommonArea(area, order.block->area);
    const i32 height = TileRows(order), width = TileColumns(order);
    for (std::size_t t = 0; t < order.targets.size(); ++t) {
        const RefArea& target = order.targets[t];
        RefArea first = FirstTile(order, target, area);
        i32 rows = (target.lastRow - target.firstRow + 1) / height,
            columns = (target.lastColumn - target.firstColumn + 1) / width;
        if (join && first.lastRow - first.firstRow + 1 == height) {
            first.lastRow = target.lastRow;
            rows = 1;
        }
        if (join && first.lastColumn - first.firstColumn + 1 == width) {
            first.lastColumn = target.lastColumn;
            columns = 1;
        }
        for (i32 r = 0; r < rows; ++r) {
            for (i32 c = 0; c < columns; ++c) {
                const RefArea tile = {static_cast<u16>(first.firstRow + r * height),
                                      static_cast<u16>(first.lastRow + r * height),
                                      static_cast<u8>(first.firstColumn + c * width),
                                      static_cast<u8>(first.lastColumn + c * width)};
                if (!join && IsTakenOver(order.targets, t, tile)) continue;
                if (!visit(tile)) return false;
            }
        }
    }
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

// Copies the sheet's rules, takes the targets out of them, adds those of the block and joins equal ones.
template <typename Rule>
bool MakeRules(const RestoreOrder& order, const Array<Rule>& old, const Array<Rule>& source, bool& changes,
               Array<Rule>& made) {
    changes = !source.IsEmpty();
    for (const RefArea& target : order.targets) changes = changes || AnyRuleTouches(old, target);
    if (!changes) return true;
    if (!CopyRules(made, old)) return false;
    const u64 failures = FailedAllocations();
    for (const RefArea& target : order.targets) RemoveRulesIn(made, target);
    if (FailedAllocations() != failures || !AddRules(order, source, made)) return false;
    MergeEqualRules(made);
    return true;
}

}  // namespace

bool MeetsAny(std::span<const RefArea> targets, const RefArea& area) {
    for (const RefArea& target : targets)
        if (AreasMeet(target, area)) return true;
    return false;
}

bool KeepArraysAndMerges(const Sheet& sheet, std::span<const RefArea> targets, UndoRecord& after) {
    for (const ArrayEntry& entry : sheet.arrayFormulas)
        if (!MeetsAny(targets, entry.area) && !after.arrays.Append(entry)) return false;
    for (const RefArea& merge : sheet.mergedAreas)
        if (!MeetsAny(targets, merge) && !after.merges.Append(merge)) return false;
    return true;
}

bool BringsColumns(const RestoreOrder& order) {
    return IsWholeColumns(order.block->area) && (order.mask & BLOCK_CONDITIONAL) && !order.transpose;
}

bool RestoreArrays(const RestoreOrder& order, UndoRecord& after) {
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

bool RestoreMerges(const RestoreOrder& order, UndoRecord& after) {
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

bool RestoreRules(const RestoreOrder& order, const Sheet& sheet, UndoRecord& after) {
    SavedRules* rules = after.rules.AppendDefault();
    if (!rules) return false;
    rules->serial = sheet.serial;
    const CellBlock& block = *order.block;
    return (!(order.mask & BLOCK_VALIDATION) || MakeRules(order, sheet.validations, block.validations,
                                                          rules->hasValidations, rules->validations)) &&
           (!(order.mask & BLOCK_CONDITIONAL) ||
            MakeRules(order, sheet.conditionalFormats, block.formats, rules->hasFormats, rules->formats));
}

bool RestoreLinks(const RestoreOrder& order, const Sheet& sheet, std::span<const u8> drops, UndoRecord& after) {
    after.mask |= BLOCK_HYPERLINKS;
    Array<SavedLink>& links = after.block.links;
    const bool replaces = (order.mask & BLOCK_HYPERLINKS) != 0;
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        const Hyperlink& link = sheet.hyperlinks[i];
        if (!AreasMeet(link.area, after.area) || drops[i]) continue;
        if (replaces && MeetsAny(order.targets, link.area)) continue;
        SavedLink* saved = links.AppendDefault();
        if (!saved || !CopyLink(saved->link, link)) return false;
        saved->place = i;
    }
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
