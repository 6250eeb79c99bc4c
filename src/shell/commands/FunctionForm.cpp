// Choosing a function from a list, and its call in the entry line.

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "formula/FormulaTypes.h"
#include "model/BookTable.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"

namespace tally {
namespace {

enum FunctionField : u32 { FIELD_CATEGORY, FIELD_FUNCTION };
constexpr u16 ID_OF_IF = 1;

// What the form lists: rows of the function table by name, of the category that is chosen.
struct FunctionList {
    bool onWorksheet = true;
    Array<u16> rows;
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

void FillFunctions(Form& form) {
    auto& list = *static_cast<FunctionList*>(form.context);
    FormField& field = form.fields[FIELD_FUNCTION];
    field.items.Truncate(0);
    field.choice = 0;
    if (!ListFunctions(list, form.fields[FIELD_CATEGORY].choice)) list.rows.Truncate(0);
    for (const u16 row : list.rows) {
        WideText name;
        if (!name.Assign(FunctionTable[row].name) || !field.items.Append(std::move(name))) break;
    }
    form.acceptable = !field.items.IsEmpty();
}

bool FillForm(Form& form, FunctionList& list) {
    if (!form.title.Assign(Message(MSG_FUNCTION_TITLE)) ||
        !AddChoice(form, FIELD_DROP_LIST, Message(MSG_FUNCTION_CATEGORY), {}, CATEGORY_ALL))
        return false;
    const i32 last = list.onWorksheet ? CATEGORY_ENGINEERING : CATEGORY_MACRO_COMMAND;
    for (i32 category = CATEGORY_ALL; category <= last; ++category)
        if (!AddItem(form, Message(static_cast<u16>(MSG_CATEGORY_FIRST + category)))) return false;
    if (!AddChoice(form, FIELD_LIST, Message(MSG_FUNCTION_NAME), {}, 0)) return false;
    form.context = &list;
    form.changed = [](Form& changed, u32 field) {
        if (field == FIELD_CATEGORY) FillFunctions(changed);
    };
    FillFunctions(form);
    return true;
}

// The names of the arguments as they stand in the call, and where the first one ends.
bool ArgumentText(WideView hint, WideText& out, i32& firstEnd) {
    firstEnd = -1;
    for (const char16_t c : hint) {
        if (c == u' ' || c == u'.') continue;
        if (c == u',' && firstEnd < 0) firstEnd = static_cast<i32>(out.Length());
        if (!out.Append(c == u',' ? Locale().listSeparator : c)) return false;
    }
    if (firstEnd < 0) firstEnd = static_cast<i32>(out.Length());
    return true;
}

void TypeCall(const FunctionEntry& row) {
    WideText line, call, arguments;
    i32 firstEnd = 0;
    if (!ArgumentText(row.signature.empty() ? WideView() : row.argumentHint, arguments, firstEnd)) return;
    if (!IsEditing()) {
        ShellPlatform().setEntryText(u"");
        BeginEdit(ENTRY_ENTER);
    }
    i32 start = 0, end = 0;
    ShellPlatform().entrySelection(start, end);
    if (!ShellPlatform().entryText(line) || (line.IsEmpty() && !call.Append(u'='))) return;
    if (!call.Append(row.name) || !call.Append(u'(')) return;
    const i32 inside = start + static_cast<i32>(call.Length());
    if (!call.Append(arguments) || !call.Append(u')')) return;
    ShellPlatform().replaceEntrySelection(call);
    // With arguments the first of them is for the user to type over.
    if (!row.signature.empty()) ShellPlatform().selectEntry(inside, inside + firstEnd);
}

}  // namespace

void FunctionCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    if (!IsEditing() && (RefuseProtected(sheet->view.selection) || RefuseArrayPart(sheet->view.selection)))
        return;
    Form form;
    FunctionList list;
    list.onWorksheet = sheet->kind == SHEET_WORKSHEET;
    if (!FillForm(form, list) || !ShowForm(form) || !HasCells(CurrentSheet())) return;
    const i32 choice = form.fields[FIELD_FUNCTION].choice;
    if (choice >= 0 && static_cast<u32>(choice) < list.rows.Count())
        TypeCall(FunctionTable[list.rows[static_cast<u32>(choice)]]);
}

}  // namespace tally
