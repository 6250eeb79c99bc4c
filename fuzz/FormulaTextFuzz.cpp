#include "Common.h"
#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"

// A formula that compiles prints to a text that compiles to tokens that print the same.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size > 4096) return 0;
    BeginRun();
    WideText text, first, second;
    FormulaPlace place;
    place.book = CurrentBook();
    FormulaTokens tokens, again;
    if (InputText(data, size, text) && CompileFormula(place, text, 'V', tokens) &&
        FormulaToText(place.book, tokens, 0, 0, true, first) && CompileFormula(place, first, 'V', again)) {
        if (!FormulaToText(place.book, again, 0, 0, true, second) || first.View() != second.View())
            __builtin_trap();
    }
    FreeTokens(tokens);
    FreeTokens(again);
    EndRun();
    return 0;
}
