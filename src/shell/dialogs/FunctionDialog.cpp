// Choosing a function by category and name.

#include "base/MessageTable.h"
#include "base/Text.h"
#include "formula/FormulaTypes.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { CATEGORY_LABEL = 100, CATEGORY, FUNCTION_LABEL, FUNCTION };
constexpr u16 ID_OF_IF = 1;

constexpr ControlRow controls[] = {
    {.id = CATEGORY_LABEL, .kind = CONTROL_LABEL, .text = MSG_FUNCTION_CATEGORY, .cell = {0, 0}},
    {.id = CATEGORY, .kind = CONTROL_DROP_LIST, .cell = {1, 0}, .width = 34},
    {.id = FUNCTION_LABEL, .kind = CONTROL_LABEL, .text = MSG_FUNCTION_NAME, .cell = {2, 0}},
    {.id = FUNCTION, .kind = CONTROL_LIST, .cell = {3, 0}, .width = 34, .lines = 12},
};

// What the dialog lists: rows of the function table by name, of the category that is chosen.
struct FunctionList {
    bool onWorksheet = true;
    Array<u16> rows;
    u16 chosen = 0;
};

// The control row IF is a function of macros too.
bool IsListed(const FunctionEntry& row, i32 category, bool onWorksheet, bool addIn) {
    if (category == CATEGORY_ALL)
        return row.category != CATEGORY_NONE && (!onWorksheet || row.category < CATEGORY_MACRO_CONTROL);
    if (category == CATEGORY_MACRO_CONTROL && !addIn && row.id == ID_OF_IF) return true;
    return row.category == category;
}

// Both halves of the table are in order; the list is merged from them.
bool ListFunctions(FunctionList& list, i32 category) {
    list.rows.Truncate(0);
    i32 main = 0, addIn = MAIN_FUNCTIONS;
    const auto next = [&](i32& row, i32 end) {
        while (row < end && !IsListed(FunctionTable[row], category, list.onWorksheet, row >= MAIN_FUNCTIONS))
            ++row;
        return row < end;
    };
    for (;;) {
        const bool hasMain = next(main, MAIN_FUNCTIONS), hasAddIn = next(addIn, FUNCTION_ROWS);
        if (!hasMain && !hasAddIn) return true;
        const bool takeMain = hasMain && (!hasAddIn || CompareIgnoringCase(FunctionTable[main].name,
                                                                           FunctionTable[addIn].name) <= 0);
        if (!list.rows.Append(static_cast<u16>(takeMain ? main++ : addIn++))) return false;
    }
}

// What memory has no room for is not offered.
bool FillFunctions(Dialog& dialog, FunctionList& list) {
    ClearControlItems(dialog, FUNCTION);
    bool good = ListFunctions(list, ControlChoice(dialog, CATEGORY));
    if (!good) list.rows.Truncate(0);
    for (u32 i = 0; good && i < list.rows.Count(); ++i)
        good = AddControlItem(dialog, FUNCTION, FunctionTable[list.rows[i]].name);
    SetControlChoice(dialog, FUNCTION, list.rows.IsEmpty() ? -1 : 0);
    EnableControl(dialog, IDOK, !list.rows.IsEmpty());
    return good;
}

bool Start(Dialog& dialog, FunctionList& list) {
    const i32 last = list.onWorksheet ? CATEGORY_ENGINEERING : CATEGORY_MACRO_COMMAND;
    for (i32 category = CATEGORY_ALL; category <= last; ++category)
        if (!AddControlItem(dialog, CATEGORY, Message(static_cast<u16>(MSG_CATEGORY_FIRST + category))))
            return false;
    SetControlChoice(dialog, CATEGORY, CATEGORY_ALL);
    return FillFunctions(dialog, list);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& list = *static_cast<FunctionList*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START: return Start(dialog, list);
        case DIALOG_CHANGED:
            if (event.control == CATEGORY) IgnoreFailure(FillFunctions(dialog, list));
            return true;
        case DIALOG_ACCEPT: {
            const i32 choice = ControlChoice(dialog, FUNCTION);
            if (choice < 0 || static_cast<u32>(choice) >= list.rows.Count()) return false;
            list.chosen = list.rows[static_cast<u32>(choice)];
            return true;
        }
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_FUNCTION_TITLE, .rows = controls, .procedure = Procedure};

}  // namespace

bool AskFunction(bool onWorksheet, u16& row) {
    FunctionList list;
    list.onWorksheet = onWorksheet;
    if (!RunDialog(table, &list)) return false;
    row = list.chosen;
    return true;
}

}  // namespace tally
