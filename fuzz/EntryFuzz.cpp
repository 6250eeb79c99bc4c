#include <cmath>

#include "Common.h"
#include "editing/EntryRecognition.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

// A byte for the region, then what is typed.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (!size || size > 4096) return 0;
    BeginRun();
    WideText text, shown;
    FormulaPlace place;
    place.book = CurrentBook();
    EntryResult result;
    if (InputText(data + 1, size - 1, text)) {
        const EntryKind kind = ClassifyEntry(place, text, result);
        if (kind == ENTRY_NUMBER) {
            if (!std::isfinite(result.number)) __builtin_trap();
            u16 id = 0;
            IgnoreFailure(FormatForEntry(place.book, result.formatKind, result.subKind, {}, id));
            IgnoreFailure(EditableText(place.book, NumberValue(result.number), id, shown));
        }
        // What the check accepts must compile or be too long for the token room.
        FormulaTokens tokens;
        if (kind == ENTRY_FORMULA && CompileFormula(place, text, 'V', tokens)) FreeTokens(tokens);
    }
    EndRun();
    return 0;
}
