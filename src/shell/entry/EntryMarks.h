#pragma once
// What is shown of a formula while it is typed: frames around the cells that it refers to, and the arguments of
// the call that the caret is in.

#include "formula/TextReferences.h"
#include "shell/state/ShellState.h"

namespace tally {

// Whether a text in the line is meant as a formula, by its first character.
bool BeginsAsFormula(WideView text);
// The references in the line's text, seen from the sheet that the entry belongs to. False when memory fails.
[[nodiscard]] bool ReferencesInLine(WideView text, Array<TextReference>& out);

// Brings frames and hint up to what the line holds, after the user or the shell may have changed it, and has
// painted again what of them has changed. Without an edit they go.
void SettleEntryMarks();

// The innermost call that a place in a text lies in, finished or not.
CallPlace FindCall(WideView text, i32 place);
// How the call is shown: "SUM(number1,[number2,...])", with the region's separator, and the span of the
// argument in it; an empty span for one that has no name. False when memory fails.
[[nodiscard]] bool CallText(const CallPlace& call, WideText& out, i32& start, i32& end);

// The place of the hint in the client area; empty without one.
PixelRect CallHintPlace();
void PaintCallHint(DrawTarget& target);

}  // namespace tally
