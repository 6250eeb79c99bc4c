#include "shell/entry/TypedCall.h"

#include "display/LocaleSettings.h"
#include "formula/FormulaTypes.h"
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

}  // namespace

void TypeCall(u16 functionRow) {
    const FunctionEntry& row = FunctionTable[functionRow];
    WideText line, call, arguments;
    i32 firstEnd = 0;
    if (!ArgumentText(row.signature.empty() ? WideView() : row.argumentHint, arguments, firstEnd)) return;
    if (!IsEditing()) {
        ShellPlatform().setEditText(ENTRY_LINE, u"");
        BeginEdit(ENTRY_ENTER);
    }
    i32 start = 0, end = 0;
    ShellPlatform().editSelection(ENTRY_LINE, start, end);
    if (!ShellPlatform().editText(ENTRY_LINE, line) || (line.IsEmpty() && !call.Append(u'='))) return;
    if (!call.Append(row.name) || !call.Append(u'(')) return;
    const i32 inside = start + static_cast<i32>(call.Length());
    if (!call.Append(arguments) || !call.Append(u')')) return;
    ShellPlatform().replaceEditSelection(ENTRY_LINE, call);
    Shell().typedCall = functionRow;
    // With arguments the first of them is for the user to type over.
    if (!row.signature.empty()) ShellPlatform().selectEdit(ENTRY_LINE, inside, inside + firstEnd);
}

// From the last optional argument to the first: behind the ones that are used its separator goes, too, while
// one between used ones stays as an empty place.
bool DropUnusedArguments(WideText& line) {
    if (Shell().typedCall < 0) return true;
    const FunctionEntry& row = FunctionTable[Shell().typedCall];
    WideText hint;
    i32 firstEnd = 0;
    if (!ArgumentText(row.argumentHint, hint, firstEnd)) return false;
    for (std::size_t end = hint.View().rfind(u']'); end != WideView::npos;) {
        const std::size_t start = hint.View().rfind(u'[', end);
        if (start == WideView::npos) break;
        const WideView argument = hint.View().substr(start, end - start + 1);
        if (const std::size_t at = line.View().rfind(argument); at != WideView::npos) {
            const std::size_t behind = at + argument.size();
            const bool last = behind >= line.Length() || line[static_cast<u32>(behind)] == u')';
            const bool separated = at > 0 && line[static_cast<u32>(at - 1)] == Locale().listSeparator;
            const std::size_t from = last && separated ? at - 1 : at;
            WideText shorter;
            if (!shorter.Assign(line.View().substr(0, from)) || !shorter.Append(line.View().substr(behind)))
                return false;
            line = std::move(shorter);
        }
        end = start == 0 ? WideView::npos : hint.View().rfind(u']', start - 1);
    }
    return true;
}

}  // namespace tally
