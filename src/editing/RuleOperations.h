#pragma once
// Operations on the rules of cells: what may be typed (validation) and how they look by their values
// (conditional formats). Each records undo and marks the book as changed. Nobody is asked anything.

#include "model/ModelTypes.h"

namespace tally {

struct ValidationRequest {
    i32 book = 0, sheet = 0;
    RefArea area;
    const ValidationRule* rule = nullptr;  // the caller's; its areas do not count
};
// The rule takes the place of all others in the area; what its kind has no use for is left out, and a rule that
// neither tests nor says anything is none. An equal rule of the sheet gets the area. False with nothing changed
// when memory fails.
[[nodiscard]] bool ApplyValidation(const ValidationRequest& request);

// How many rules of the sheet touch an area.
u32 CountValidations(const Sheet& sheet, const RefArea& area);
// The first of them, -1 for none.
i32 FirstValidation(const Sheet& sheet, const RefArea& area);

constexpr u32 MAX_CONDITIONS = 3;  // of one record

struct ConditionEdit {
    ConditionalCondition condition;
    bool deleted = false;
};
struct ConditionalRequest {
    i32 book = 0, sheet = 0;
    RefArea area;
    std::span<const ConditionEdit> conditions;  // the caller's; at most MAX_CONDITIONS are taken
};
// The conditions take the place of all others in the area, without the deleted ones and those that change
// nothing of a look. A record with the same conditions gets the area. False with nothing changed when memory
// fails.
[[nodiscard]] bool ApplyConditionalFormats(const ConditionalRequest& request);

// Whether a condition changes anything of a cell's look.
bool HasLook(const ConditionalCondition& condition);
// The conditions of the records that touch an area, in their order, at most MAX_CONDITIONS. They still belong
// to the sheet: what is to be kept is copied with CopyCondition.
u32 GatherConditions(const Sheet& sheet, const RefArea& area,
                     const ConditionalCondition* (&out)[MAX_CONDITIONS]);
// The formulas get one more user.
void CopyCondition(ConditionalCondition& target, const ConditionalCondition& source);
void FreeCondition(ConditionalCondition& condition);

}  // namespace tally
