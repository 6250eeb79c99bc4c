// Validation rules and conditional formats when cells move.

#include "editing/ShiftBlock.h"
#include "model/AreaList.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

template <typename Rule>
bool IsAffected(Rule& rule, const MoveView& view, const RefArea& lost) {
    if (view.plainMoves && (AnyAreaMeets(rule.areas, view.move.from) || AnyAreaMeets(rule.areas, lost)))
        return true;
    if (rule.areas.IsEmpty()) return false;
    const RuleBase base = {rule.areas[0].firstRow, rule.areas[0].firstColumn};
    bool affected = false;
    VisitRuleFormulas(rule, [&](FormulaTokens& tokens) {
        MoveView own = view;
        affected = affected || (EffectOfRuleMove(tokens, own, base) & MOVE_CHANGED);
    });
    return affected;
}

// A copy of a rule over those areas, seen from its first cell before and after the move.
template <typename Rule>
bool AppendMoved(Array<Rule>& made, const Rule& rule, Array<RefArea>& areas, const MoveView& view, i32 rows,
                 i32 columns) {
    if (areas.IsEmpty()) return true;
    Rule* copy = made.AppendDefault();
    if (!copy || !CopyRule(*copy, rule)) {
        if (copy) made.RemoveLast();
        return false;
    }
    copy->areas = std::move(areas);
    const RuleBase base = {copy->areas[0].firstRow, copy->areas[0].firstColumn};
    VisitRuleFormulas(*copy, [&](FormulaTokens& tokens) {
        MoveView own = view;
        AdjustRuleForMove(tokens, own, base, {base.row + rows, base.column + columns});
    });
    for (RefArea& area : copy->areas) area = TargetOf({view.move.book, view.move.sheet, area, rows, columns});
    return true;
}

template <typename Rule>
bool SplitRule(Array<Rule>& kept, Array<Rule>& moved, const Rule& rule, const MoveView& view,
               const RefArea& lost) {
    Array<RefArea> inside, outside;
    for (const RefArea& area : rule.areas) {
        const bool good =
            view.plainMoves ? SplitAreaInto(area, view.move.from, inside, outside) : outside.Append(area);
        if (!good) return false;
    }
    if (view.plainMoves && !SubtractArea(outside, lost)) return false;
    // A rule that moves whole keeps its place among the others.
    Array<Rule>& target = outside.IsEmpty() ? kept : moved;
    return AppendMoved(kept, rule, outside, view, 0, 0) &&
           AppendMoved(target, rule, inside, view, view.move.rowDelta, view.move.columnDelta);
}

template <typename Rule>
bool Shifted(Array<Rule>& rules, const MoveView& view, Array<Rule>& made, bool& changed) {
    const RefArea lost = LostArea(view.move);
    for (Rule& rule : rules) changed = changed || IsAffected(rule, view, lost);
    if (!changed) return true;
    Array<Rule> moved;
    bool good = made.Reserve(rules.Count());
    for (const Rule& rule : rules) good = good && SplitRule(made, moved, rule, view, lost);
    good = good && made.Reserve(std::size_t{made.Count()} + moved.Count());
    if (!good) {
        FreeRules(moved);
        FreeRules(made);
        return false;
    }
    for (Rule& rule : moved) IgnoreFailure(made.Append(std::move(rule)));
    MergeEqualRules(made);
    return true;
}

}  // namespace

bool ShiftedRules(Sheet& sheet, const MoveView& view, SavedRules& made) {
    made.serial = sheet.serial;
    if (Shifted(sheet.validations, view, made.validations, made.hasValidations) &&
        Shifted(sheet.conditionalFormats, view, made.formats, made.hasFormats))
        return true;
    FreeSavedRules(made);
    return false;
}

}  // namespace tally
