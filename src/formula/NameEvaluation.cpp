#include "formula/NameEvaluation.h"

#include "formula/EngineState.h"
#include "formula/EvaluationNotes.h"
#include "formula/TokenReferences.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// Runs a name's formula for the context's cell.
void RunName(i32 row, Value& result, const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    if (!book || row < 0) {
        result = ErrorValue(ERR_NAME);
        return;
    }
    FormulaTokens tokens;
    CopyTokens(tokens, book->names[static_cast<u32>(row)].tokens);
    if (!UnshareTokens(tokens)) {
        result = ErrorValue(ERR_NA);
    } else {
        if (AbsoluteTokens(tokens, context.row, context.column)) NoteEvaluation(NOTE_PLACE);
        RunFormula(tokens, result, context);
    }
    FreeTokens(tokens);
}

// A reference that came out of another book, as this book names it.
void Reexpress(Value& value, i32 fromBook, i32 fromSheet, const EvalContext& context) {
    if (value.type != VT_REF && value.type != VT_AREA) return;
    ResolvedRef ref;
    ref.book = fromBook;
    ref.targetBook = fromBook;
    ref.firstSheet = ref.lastSheet = fromSheet;
    if (value.type == VT_REF && !ResolveExternRef(value.externIndex, ref)) return SetError(value, ERR_REF);
    i32 externIndex = 0;
    const ResolvedRef wanted = {context.book, ref.targetBook, ref.firstSheet, ref.lastSheet};
    if (!AddExternRef(wanted, externIndex)) return SetError(value, ERR_REF);
    if (value.type == VT_REF) {
        value.externIndex = externIndex;
        return;
    }
    const RefArea area = value.area;
    value = RefValue(externIndex, 1);
    if (value.type == VT_REF) value.areas->areas[0] = area;
}

void PushAddIn(i32 row, i32 externIndex, Value& result) {
    result = RefValue(externIndex, 1);
    if (result.type == VT_REF) result.areas->areas[0].firstRow = static_cast<u16>(row - MAIN_FUNCTIONS);
}

}  // namespace

void EvaluateName(const NameMention& mention, Value& result, const EvalContext& context) {
    const NameMeaning meaning = FindMeaning(mention, context.book, context.sheet, true);
    if (meaning.addIn >= 0) return PushAddIn(meaning.addIn, mention.externIndex, result);
    EvalContext inner = context;
    inner.book = meaning.book;
    inner.sheet = meaning.sheet;
    RunName(meaning.name, result, inner);
    if (meaning.book != context.book || meaning.sheet != context.sheet)
        Reexpress(result, meaning.book, meaning.sheet, context);
}

}  // namespace tally
