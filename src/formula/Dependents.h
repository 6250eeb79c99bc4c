#pragma once
// The index of who reads what. It is derived from the books, built when it is first asked, kept up with
// single formulas, and dropped when the structure of the books changes.

#include "model/ModelTypes.h"

namespace tally {

// Builds the index unless it stands. What names stand for is entered with the formulas that use them: after a
// name has got another formula the index does not fit any more. False when memory failed.
[[nodiscard]] bool EnsureDependents();
bool HasDependents();
// A marking begins: ranges that the one before has been through are visited again.
void BeginVisits();
// Calls visit(FormulaCell&) for the indexed formulas that read the cell, by themselves or through names, some
// perhaps more than once; those that read it through a range which this marking has already been through are
// left out. Formulas without fixed inputs are not among them.
using DependentVisit = void (*)(FormulaCell& formula, void* context);
void VisitDependents(const Sheet& sheet, i32 row, i32 column, DependentVisit visit, void* context);
// Calls visit for every indexed formula that reads a cell of an area, by a walk over all that is indexed: for
// areas of so many cells that this is shorter than asking for each.
void VisitReadersOfArea(const Sheet& sheet, const RefArea& area, DependentVisit visit, void* context);
u32 IndexedFormulas();
// Calls visit for the formulas of worksheets that must follow every change.
void VisitAlways(DependentVisit visit, void* context);
// Calls visit for the formulas that mention a name of that text and book, themselves or through other names.
// What the name stood for when the index was built does not count.
void VisitNameUsers(i32 book, WideView text, DependentVisit visit, void* context);
// Enters a formula that was stored after the index was built; without an index nothing is done.
void EnterFormula(FormulaCell& formula);
// Sets alwaysCalculate of a formula that may have been entered without it.
void EnterAlwaysCalculated(FormulaCell& formula);
// Takes a formula out that is about to be released.
void ForgetFormula(FormulaCell& formula);

}  // namespace tally
