#include "Common.h"
#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "formula/TokenWalk.h"
#include "model/BookTable.h"

// A text to tokens, the tokens to a text, that text to tokens again, under every notation and class.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (!size || size > 4096) return 0;
    BeginRun();
    WideText text, printed;
    FormulaPlace place;
    place.book = CurrentBook();
    place.useA1 = !(data[0] & 1);
    place.arrayMode = data[0] & 2;
    place.relativeForm = data[0] & 4;
    FormulaTokens tokens, again;
    if (InputText(data + 1, size - 1, text) && CompileFormula(place, text, data[0] & 8 ? 'R' : 'V', tokens) &&
        FormulaToText(place.book, tokens, 0, 0, place.useA1, printed) &&
        CompileFormula(place, printed, 'V', again)) {
        if (!TokensAreWhole(tokens) || !TokensAreWhole(again)) __builtin_trap();
    }
    FreeTokens(tokens);
    FreeTokens(again);
    EndRun();
    return 0;
}
