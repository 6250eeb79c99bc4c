#include "Common.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "model/CellStore.h"

// Token bytes, with trailing data behind, printed and run in a small book.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 2 || size > 4096) return 0;
    BeginRun();
    Budget() = {1u << 14, 1u << 16};
    const std::size_t length = data[0] < size - 1 ? size - 1 - data[0] : size - 1;
    FormulaTokens tokens, name;
    const u8 nameBytes[] = {0x24, 0, 0, 0, 0xC0};
    Workbook& book = *CurrentWorkbook();
    if (AddName(book, u"n", 0) == 0 && MakeTokens(name, nameBytes, {})) book.names[0].tokens = name;
    for (i32 i = 0; i < 20; ++i) {
        IgnoreFailure(InsertCell(*CurrentSheet(), i, i % 3, 15, i % 4 ? NumberValue(i) : TextValue(u"t"),
                                 FormulaTokens()));
    }
    if (MakeTokens(tokens, ByteView(data + 1, length), ByteView(data + 1 + length, size - 1 - length))) {
        WideText text;
        IgnoreFailure(FormulaToText(CurrentBook(), tokens, 3, 3, true, text));
        IgnoreFailure(FormulaToText(CurrentBook(), tokens, 3, 3, false, text));
        for (i32 arrayMode = 0; arrayMode < 2; ++arrayMode) {
            Value result;
            const EvalContext context{CurrentBook(), 0, 3, 3, arrayMode};
            if (EvaluateFormula(tokens, result, context)) ReduceToScalar(result, context);
            FreeValue(result);
        }
    }
    FreeTokens(tokens);
    EndRun();
    return 0;
}
