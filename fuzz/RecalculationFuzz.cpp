#include "Common.h"
#include "formula/Evaluator.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace {

using namespace tally;

// Stores tokens, or a number where there are none, as an edit does.
void Edit(u8 place, ByteView tokens) {
    CellInput input;
    input.row = place & 7;
    input.column = place >> 3 & 3;
    input.format = 15;
    if (tokens.empty() || !MakeTokens(input.tokens, tokens, {})) input.value = NumberValue(place);
    IgnoreFailure(SetCell(CurrentBook(), 0, input, true, false));
}

}  // namespace

// Pieces of token bytes become the formulas of a small block of cells, one edit after the other: each is
// a place, a length and that many bytes. Bit 7 of a place asks for a calculation of the whole book.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    if (size < 2 || size > 1024) return 0;
    BeginRun();
    Budget() = {1u << 14, 1u << 16};
    for (std::size_t at = 0; at + 2 <= size;) {
        const u8 place = data[at];
        const std::size_t left = size - at - 2;
        const std::size_t length = data[at + 1] % 48 < left ? data[at + 1] % 48 : left;
        Edit(place, ByteView(data + at + 2, length));
        if (place & 0x80) CalculateBook(CurrentBook());
        if (place & 0x40) MarkDependentsOfArea(CurrentBook(), 0, {0, 7, 0, 3});
        at += 2 + length;
    }
    CalculateBook(CurrentBook());
    // Nothing is left half done, nor stale without a bound's doing, whatever the tokens were.
    for (const FormulaCell* formula : CurrentSheet()->cells.formulas) {
        const CellRecord* cell = GetCell(CurrentSheet()->cells, formula->row, formula->column);
        if (!cell || cell->calcState != (formula->stopped ? CALC_STALE : CALC_CURRENT)) __builtin_trap();
    }
    EndRun();
    return 0;
}
