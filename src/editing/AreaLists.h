#pragma once
// The lists of a sheet without what lies in some areas of it, for the contents that will stand there.

#include "editing/AreaContents.h"
#include "model/AreaList.h"
#include "model/RuleLists.h"

namespace tally {

// Takes the arrays and data tables that lie wholly in an area from the sheet's lists.
void RemoveArraysInside(Sheet& sheet, const RefArea& area);
// Whether any target has a cell in an area.
bool MeetsAny(std::span<const RefArea> targets, const RefArea& area);
// The arrays, data tables and merged areas that lie beside all targets, into `after`.
[[nodiscard]] bool KeepArraysAndMerges(const Sheet& sheet, std::span<const RefArea> targets,
                                       AreaContents& after);

// Of the hyperlinks that touch the area of `after`, copies of those that keep(number) chooses.
template <typename Keep>
bool KeepLinks(const Sheet& sheet, AreaContents& after, Keep keep) {
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        if (!AreasMeet(sheet.hyperlinks[i].area, after.area) || !keep(i)) continue;
        SavedLink* saved = after.links.AppendDefault();
        if (!saved || !CopyLink(saved->link, sheet.hyperlinks[i])) return false;
        saved->place = i;
    }
    return true;
}

// Rules without the targets. `changes` is false, and nothing made, when none touches them and not `always`.
template <typename Rule>
bool RulesWithout(const Array<Rule>& old, std::span<const RefArea> targets, bool always, bool& changes,
                  Array<Rule>& made) {
    changes = always;
    for (const RefArea& target : targets) changes = changes || AnyRuleTouches(old, target);
    if (!changes) return true;
    if (!CopyRules(made, old)) return false;
    const u64 failures = FailedAllocations();
    for (const RefArea& target : targets) RemoveRulesIn(made, target);
    return FailedAllocations() == failures;
}
// Both lists of a sheet without them, into a saved record of it.
[[nodiscard]] bool SheetRulesWithout(const Sheet& sheet, std::span<const RefArea> targets, SavedRules& made);

// The lists of a sheet once everything in the area of `after` is taken away: arrays, merges and hyperlinks that
// touch it go, rules lose it.
[[nodiscard]] bool EmptyLists(const Sheet& sheet, AreaContents& after);

}  // namespace tally
