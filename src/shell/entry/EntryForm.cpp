// The form of the references in the entry line: "A1", "$A$1", "A$1", "$A1".

#include "shell/entry/EntryEditor.h"
#include "shell/entry/EntryMarks.h"

namespace tally {
namespace {

WideView CellsOf(WideView text, const TextReference& reference) {
    return text.substr(static_cast<std::size_t>(reference.cells),
                       static_cast<std::size_t>(reference.end - reference.cells));
}

// The references that the caret touches, or that lie in the selected span or over one of its ends.
bool TouchedReferences(WideView text, i32 start, i32 end, Array<TextReference>& touched) {
    Array<TextReference> all;
    if (!ReferencesInLine(text, all)) return false;
    for (const TextReference& reference : all) {
        const bool meets = start == end ? reference.start <= start && start <= reference.end
                                        : reference.start < end && start < reference.end;
        if (meets && !touched.Append(reference)) return false;
    }
    return true;
}

}  // namespace

bool TurnReferences() {
    WideText text, turned;
    i32 start = 0, end = 0;
    if (!IsEditing() || !ShellPlatform().editText(ENTRY_LINE, text) || !BeginsAsFormula(text)) return false;
    ShellPlatform().editSelection(ENTRY_LINE, start, end);
    Array<TextReference> touched;
    if (!TouchedReferences(text, start, end, touched) || touched.IsEmpty()) return false;
    const TextReference& first = touched[0];
    // All of them take the form that follows that of the first.
    const WideView firstCells = CellsOf(text, first);
    WideText as;
    auto form = FormOfReference(firstCells);
    // Whole rows and columns have two forms only.
    do {
        form = static_cast<ReferenceForm>((form + 1) % FORM_COUNT);
        as.Truncate(0);
        if (!AppendInForm(firstCells, form, as)) return false;
    } while (FormOfReference(as) == FormOfReference(firstCells));
    i32 at = first.start;
    for (const TextReference& reference : touched) {
        const auto behind = static_cast<std::size_t>(at);
        const auto cells = static_cast<std::size_t>(reference.cells);
        if (!turned.Append(text.View().substr(behind, cells - behind)) ||
            !AppendInForm(CellsOf(text, reference), form, turned))
            return false;
        at = reference.end;
    }
    EndPoint();
    ShellPlatform().selectEdit(ENTRY_LINE, first.start, at);
    ShellPlatform().replaceEditSelection(ENTRY_LINE, turned);
    const i32 last = first.start + static_cast<i32>(turned.Length());
    ShellPlatform().selectEdit(ENTRY_LINE, start == end ? last : first.start, last);
    return true;
}

}  // namespace tally
