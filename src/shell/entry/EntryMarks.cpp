#include "shell/entry/EntryMarks.h"

#include <utility>

#include "model/BookTable.h"
#include "shell/grid/SelectionMarks.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// One frame for all references to the same cells, in the colour of the first of them.
bool AddFrame(Array<ReferenceFrame>& frames, i32 sheet, const RefArea& area) {
    for (const ReferenceFrame& frame : frames)
        if (frame.sheet == sheet && frame.area == area) return true;
    const u8 colour = static_cast<u8>(frames.Count() % REFERENCE_COLOURS);
    return frames.Append({sheet, area, colour});
}

bool FramesOf(WideView text, Array<ReferenceFrame>& frames) {
    Array<TextReference> references;
    if (!BeginsAsFormula(text) || !ReferencesInLine(text, references)) return false;
    for (const TextReference& reference : references) {
        const Sheet* sheet = reference.sheet < 0 ? nullptr : SheetAt(Shell().marks.book, reference.sheet);
        if (!HasCells(sheet)) continue;
        RefArea area = reference.area;
        WidenOverMerges(*sheet, area);
        if (!AddFrame(frames, reference.sheet, area)) return false;
    }
    return true;
}

bool HoldsFrame(const Array<ReferenceFrame>& frames, const ReferenceFrame& wanted) {
    for (const ReferenceFrame& frame : frames)
        if (frame == wanted) return true;
    return false;
}

// Those of one list that the other one does not have.
void InvalidateOthers(const Array<ReferenceFrame>& frames, const Array<ReferenceFrame>& others) {
    for (const ReferenceFrame& frame : frames)
        if (!HoldsFrame(others, frame)) InvalidateReferenceFrame(frame);
}

void UseFrames(Array<ReferenceFrame>&& frames) {
    Array<ReferenceFrame> former = std::exchange(Shell().marks.frames, std::move(frames));
    InvalidateOthers(former, Shell().marks.frames);
    InvalidateOthers(Shell().marks.frames, former);
}

void UseCall(const CallPlace& call) {
    EntryMarks& marks = Shell().marks;
    if (marks.call == call) return;
    ShellPlatform().invalidate(CallHintPlace());
    marks.call = call;
    ShellPlatform().invalidate(CallHintPlace());
}

void EndMarks() {
    EntryMarks& marks = Shell().marks;
    if (!marks.active) return;
    UseFrames({});
    UseCall({});
    marks = EntryMarks();
}

}  // namespace

bool BeginsAsFormula(WideView text) {
    return !text.empty() && WideView(u"=-+").find(text[0]) != WideView::npos;
}

bool ReferencesInLine(WideView text, Array<TextReference>& out) {
    const EntryMarks& marks = Shell().marks;
    FormulaPlace place;
    place.book = marks.active ? marks.book : CurrentBook();
    place.sheet = marks.active ? marks.sheet : CurrentWorkbook()->currentSheet;
    return FindTextReferences(place, text, out);
}

void SettleEntryMarks() {
    EntryMarks& marks = Shell().marks;
    WideText text;
    if (!IsEditing() || !HasCells(CurrentSheet()) || !ShellPlatform().editText(ENTRY_LINE, text)) {
        EndMarks();
        return;
    }
    if (!marks.active) {
        marks.active = true;
        marks.book = CurrentBook();
        marks.sheet = CurrentWorkbook()->currentSheet;
    }
    if (text.View() != marks.text.View()) {
        // What memory refuses is not framed.
        Array<ReferenceFrame> frames;
        if (!FramesOf(text, frames)) frames.Truncate(0);
        UseFrames(std::move(frames));
        marks.text = std::move(text);
    }
    i32 start = 0, end = 0;
    ShellPlatform().editSelection(ENTRY_LINE, start, end);
    UseCall(BeginsAsFormula(marks.text) ? FindCall(marks.text, end) : CallPlace());
}

}  // namespace tally
