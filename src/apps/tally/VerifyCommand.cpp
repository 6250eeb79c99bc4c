#include <cmath>

#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "base/MessageTable.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr double RELATIVE_TOLERANCE = 1e-9;

// A formula with the value that the file holds, in the order of the walk.
struct SavedValue {
    i32 sheet = 0;
    u16 row = 0;
    u8 column = 0;
    Value value;
};

bool IsNothing(const Value& value) {
    return value.type == VT_EMPTY || (value.type == VT_STRING && TextOf(value).empty());
}

bool SameValue(const Value& a, const Value& b) {
    if (IsNothing(a) && IsNothing(b)) return true;
    if (a.type != b.type) return false;
    switch (a.type) {
        case VT_NUMBER:
            return a.number == b.number ||
                   std::fabs(a.number - b.number) <=
                       RELATIVE_TOLERANCE * std::fmax(std::fabs(a.number), std::fabs(b.number));
        case VT_STRING: return TextOf(a) == TextOf(b);
        case VT_BOOL: return a.boolean == b.boolean;
        case VT_ERROR: return a.error == b.error;
        default: return true;
    }
}

bool CollectSaved(Workbook& book, Array<SavedValue>& saved) {
    for (u32 sheet = 0; sheet < book.sheets.Count(); ++sheet) {
        if (book.sheets[sheet]->kind != SHEET_WORKSHEET) continue;
        CellStore& store = book.sheets[sheet]->cells;
        for (CellPosition p; !AtEnd(store, p); NextCell(store, p)) {
            CellRecord& cell = CellAt(store, p);
            if (!cell.formula) continue;
            SavedValue entry;
            entry.sheet = static_cast<i32>(sheet);
            entry.row = RowAt(store, p);
            entry.column = cell.column;
            CopyValue(entry.value, cell.value);
            if (!saved.Append(entry)) return false;
        }
    }
    return true;
}

bool WriteDifference(i32 book, const SavedValue& saved, const CellRecord& cell) {
    WideText formula;
    if (!FormulaToText(book, cell.formula->tokens, saved.row, saved.column, true, formula)) return false;
    WriteDifferenceLine(SheetAt(book, saved.sheet)->name, saved.row, saved.column, formula, saved.value,
                        cell.value);
    return true;
}

}  // namespace

int RunVerify(const Options& options) {
    int status = EXIT_GOOD;
    if (!OpenInput(options.input, options.from, options, status)) return status;
    const i32 book = CurrentBook();
    Array<SavedValue> saved;
    if (!CollectSaved(*BookAt(book), saved)) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    RecalculateAll();
    // What a volatile cell feeds is stale after this, and no fault of the calculation.
    MarkVolatileCells();
    VerifyCounts counts;
    bool good = true;
    for (SavedValue& entry : saved) {
        const CellRecord* cell = GetCell(SheetAt(book, entry.sheet)->cells, entry.row, entry.column);
        ++counts.formulas;
        if (!cell || !cell->formula) continue;
        if (cell->formula->kept) {
            ++counts.kept;
        } else if (SameValue(entry.value, cell->value)) {
            ++counts.equal;
        } else if (cell->calcState == CALC_STALE) {
            ++counts.volatileOnes;
        } else {
            ++counts.different;
            good = good && WriteDifference(book, entry, *cell);
        }
        FreeValue(entry.value);
    }
    WriteVerifyLine(counts);
    if (!good) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    return FinishLines();
}

}  // namespace tally
