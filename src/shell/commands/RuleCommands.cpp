// The rules of the selected cells: what may be typed, and how they look by their values.

#include "base/MessageTable.h"
#include "editing/RuleOperations.h"
#include "model/BookTable.h"
#include "model/RuleLists.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/ConditionLook.h"
#include "shell/dialogs/Questions.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

// The active cell, from which the formulas of rules are meant.
FormulaPlace ActivePlace(const Sheet& sheet) {
    FormulaPlace place;
    place.book = sheet.book;
    place.sheet = sheet.index;
    place.row = sheet.view.activeRow;
    place.column = sheet.view.activeColumn;
    return place;
}

bool MayEraseSeveral() {
    return Platform().messageBox(Message(MSG_VALIDATION_SEVERAL), PROGRAM_NAME, MB_YESNO | MB_ICONQUESTION) ==
           IDYES;
}

// The pages of looks, as far as a condition holds them.
bool AskConditionLook(ConditionalCondition& condition) {
    CellFormatQuestion question;
    question.book = CurrentBook();
    question.pages = FORMAT_PAGE_FONT | FORMAT_PAGE_BORDER | FORMAT_PAGE_PATTERN;
    question.look = LookOfCondition(condition);
    question.namedFonts = question.rows = question.columns = false;
    if (!AskCellFormat(question)) return false;
    PutLook(condition, question.request);
    return true;
}

}  // namespace

void ValidationCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const RefArea area = sheet->view.selection;
    const u32 count = CountValidations(*sheet, area);
    if (count > 1 && !MayEraseSeveral()) return;
    sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    ValidationQuestion question;
    question.place = ActivePlace(*sheet);
    const i32 old = count == 1 ? FirstValidation(*sheet, area) : -1;
    if (old >= 0 && !CopyRule(question.rule, sheet->validations[static_cast<u32>(old)])) return;
    const bool asked = AskValidation(question) && HasCells(CurrentSheet());
    if (asked && ApplyValidation({CurrentBook(), CurrentSheet()->index, area, &question.rule}))
        ShowChangedCells();
    FreeRule(question.rule);
}

void ConditionalCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const RefArea area = sheet->view.selection;
    const ConditionalCondition* old[MAX_CONDITIONS] = {};
    ConditionalQuestion question;
    question.place = ActivePlace(*sheet);
    question.askLook = AskConditionLook;
    question.count = GatherConditions(*sheet, area, old);
    for (u32 i = 0; i < question.count; ++i) CopyCondition(question.edits[i].condition, *old[i]);
    const bool asked = AskConditionalFormats(question) && HasCells(CurrentSheet());
    if (asked && ApplyConditionalFormats({CurrentBook(), CurrentSheet()->index, area, question.edits}))
        ShowChangedCells();
    for (ConditionEdit& edit : question.edits) FreeCondition(edit.condition);
}

}  // namespace tally
