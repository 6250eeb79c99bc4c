#pragma once
// The references that stand in the text of a formula, finished or not, and what can be done to them there.

#include "base/Array.h"
#include "base/WideText.h"
#include "formula/Compiler.h"

namespace tally {

struct TextReference {
    i32 start = 0, end = 0;  // places in the text
    i32 cells = 0;           // where the cells begin, behind a sheet's name
    i32 sheet = -1;          // of the formula's own book; -1 for several sheets or another book
    RefArea area;
};
// All of them in the order of the text, which need not be a sound formula. False when memory fails.
[[nodiscard]] bool FindTextReferences(const FormulaPlace& place, WideView text, Array<TextReference>& out);

// The four forms of a reference in the order in which they follow each other: "A1", "$A$1", "A$1", "$A1".
enum ReferenceForm : u8 { FORM_RELATIVE, FORM_ABSOLUTE, FORM_ROW_ABSOLUTE, FORM_COLUMN_ABSOLUTE, FORM_COUNT };
// The form of what stands behind a sheet's name, by its first corner. Whole rows and columns have the first
// two.
ReferenceForm FormOfReference(WideView cells);
// Appends the cells in another form: "a1:B$2" in FORM_ABSOLUTE is "$a$1:$B$2".
[[nodiscard]] bool AppendInForm(WideView cells, ReferenceForm form, WideText& out);

// The text with the name of the place's sheet before each reference that names none. False when memory fails.
[[nodiscard]] bool WithSheetNames(const FormulaPlace& place, WideView text, WideText& out);

// Whether a text can be a defined name: one identifier that is read neither as a reference nor as a truth
// value.
bool IsNameText(WideView text);

}  // namespace tally
