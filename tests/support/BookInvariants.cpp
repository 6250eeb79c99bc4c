#include "support/BookInvariants.h"

#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

bool AreDisjoint(const Array<RefArea>& areas) {
    for (u32 i = 0; i < areas.Count(); ++i)
        for (u32 k = 0; k < i; ++k)
            if (AreasMeet(areas[i], areas[k])) return false;
    return true;
}

std::string BrokenList(const Sheet& sheet) {
    Array<RefArea> areas;
    for (const auto& array : sheet.arrayFormulas)
        if (!areas.Append(array.area)) return "no memory";
    if (!AreDisjoint(areas)) return "array formulas meet";
    if (!AreDisjoint(sheet.mergedAreas)) return "merged areas meet";
    areas.Truncate(0);  // a cell has one rule
    for (const ValidationRule& rule : sheet.validations)
        if (!areas.AppendMany(rule.areas.Data(), rule.areas.Count())) return "no memory";
    if (!AreDisjoint(areas)) return "validation rules meet";
    for (const ConditionalFormat& format : sheet.conditionalFormats)
        if (!AreDisjoint(format.areas)) return "the areas of a conditional format meet";
    return "";
}

std::string BrokenStore(const Sheet& sheet) {
    i32 lastRow = -1, lastColumn = -1;
    u32 cells = 0, formulas = 0;
    for (CellPosition p; !AtEnd(sheet.cells, p); NextCell(sheet.cells, p)) {
        const CellRecord& cell = CellAt(sheet.cells, p);
        const i32 row = RowAt(sheet.cells, p);
        if (row < lastRow || (row == lastRow && cell.column <= lastColumn)) return "cells out of order";
        lastRow = row;
        lastColumn = cell.column;
        ++cells;
        if (!cell.formula) continue;
        ++formulas;
        if (cell.formula->row != row || cell.formula->column != cell.column)
            return "a formula does not know its place";
    }
    if (sheet.cells.count != cells) return "the count of cells is wrong";
    if (sheet.cells.formulas.Count() != formulas) return "the list of formulas is not whole";
    return BrokenList(sheet);
}

}  // namespace

std::string BrokenInvariant() {
    for (const Workbook* book : Books().books)
        for (const Sheet* sheet : book->sheets)
            if (const std::string fault = BrokenStore(*sheet); !fault.empty()) return fault;
    return "";
}

}  // namespace tally
