#include "editing/AreaLists.h"

namespace tally {
namespace {

template <typename Entry>
void RemoveInside(Array<Entry>& list, const RefArea& area) {
    u32 kept = 0;
    for (const Entry& entry : list)
        if (!AreaHoldsArea(area, entry.area)) list[kept++] = entry;
    list.Truncate(kept);
}

}  // namespace

void RemoveArraysInside(Sheet& sheet, const RefArea& area) {
    RemoveInside(sheet.arrayFormulas, area);
    RemoveInside(sheet.dataTables, area);
}

bool MeetsAny(std::span<const RefArea> targets, const RefArea& area) {
    for (const RefArea& target : targets)
        if (AreasMeet(target, area)) return true;
    return false;
}

bool KeepArraysAndMerges(const Sheet& sheet, std::span<const RefArea> targets, AreaContents& after) {
    after.mask |= BLOCK_ARRAYS | BLOCK_MERGES;
    for (const ArrayEntry& entry : sheet.arrayFormulas)
        if (!MeetsAny(targets, entry.area) && !after.arrays.Append(entry)) return false;
    for (const DataTable& table : sheet.dataTables)
        if (!MeetsAny(targets, table.area) && !after.tables.Append(table)) return false;
    for (const RefArea& merge : sheet.mergedAreas)
        if (!MeetsAny(targets, merge) && !after.merges.Append(merge)) return false;
    return true;
}

bool SheetRulesWithout(const Sheet& sheet, std::span<const RefArea> targets, SavedRules& made) {
    made.serial = sheet.serial;
    return RulesWithout(sheet.validations, targets, false, made.hasValidations, made.validations) &&
           RulesWithout(sheet.conditionalFormats, targets, false, made.hasFormats, made.formats);
}

bool EmptyLists(const Sheet& sheet, AreaContents& after) {
    const std::span<const RefArea> area(&after.area, 1);
    after.mask |= BLOCK_HYPERLINKS;
    if (!KeepArraysAndMerges(sheet, area, after)) return false;
    SavedRules* rules = after.rules.AppendDefault();
    return rules && SheetRulesWithout(sheet, area, *rules);
}

}  // namespace tally
