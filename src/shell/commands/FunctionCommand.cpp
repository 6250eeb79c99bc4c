// The call of a chosen function in the entry line.

#include "display/LocaleSettings.h"
#include "formula/FormulaTypes.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/entry/EntryEditor.h"

namespace tally {
namespace {

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
    u16 row = 0;
    if (AskFunction(sheet->kind == SHEET_WORKSHEET, row) && HasCells(CurrentSheet()))
        TypeCall(FunctionTable[row]);
}

}  // namespace tally
