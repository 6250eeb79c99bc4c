#include "formula/NameEvaluation.h"

#include "base/Text.h"
#include "formula/Evaluator.h"
#include "formula/Links.h"

namespace tally {
namespace {

bool HasTokens(const Workbook& book, i32 row) {
    return row >= 0 && HasFormula(book.names[static_cast<u32>(row)].tokens);
}

// The row that a token's row stands for on a sheet (1-based); -1 without a formula.
i32 EffectiveName(const Workbook& book, u32 index, i32 sheet) {
    if (index < 1 || index > book.names.Count()) return -1;
    const DefinedName& name = book.names[index - 1];
    const i32 own = static_cast<i32>(index - 1);
    if (name.sheet) {
        if (HasTokens(book, own)) return own;
        const i32 global = FindName(book, name.text, 0);
        return HasTokens(book, global) ? global : -1;
    }
    const i32 local = FindName(book, name.text, static_cast<u16>(sheet));
    if (sheet > 0 && HasTokens(book, local)) return local;
    return HasTokens(book, own) ? own : -1;
}

// Runs a name's formula for the context's cell.
void RunName(i32 bookIndex, i32 row, Value& result, const EvalContext& context) {
    if (row < 0) {
        result = ErrorValue(ERR_NAME);
        return;
    }
    FormulaTokens tokens;
    CopyTokens(tokens, BookAt(bookIndex)->names[static_cast<u32>(row)].tokens);
    EvalContext inner = context;
    inner.book = bookIndex;
    if (!UnshareTokens(tokens)) {
        result = ErrorValue(ERR_NA);
    } else {
        AbsoluteTokens(tokens, context.row, context.column);
        EvaluateFormula(tokens, result, inner);
    }
    FreeTokens(tokens);
}

// A name by its text: of the sheet when one is named, else of the book.
i32 NameByText(const Workbook& book, WideView text, i32 sheet) {
    if (sheet >= 0) {
        const i32 local = FindName(book, text, static_cast<u16>(sheet + 1));
        if (HasTokens(book, local)) return local;
    }
    const i32 global = FindName(book, text, 0);
    return HasTokens(book, global) ? global : -1;
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

void PushAddIn(const ExternBook& link, u32 index, u32 externIndex, Value& result) {
    const i32 row =
        index >= 1 && index <= link.names.Count() ? FindAddInFunction(link.names[index - 1].text) : -1;
    if (row < 0) {
        result = ErrorValue(ERR_NAME);
        return;
    }
    result = RefValue(static_cast<i32>(externIndex), 1);
    if (result.type == VT_REF) result.areas->areas[0].firstRow = static_cast<u16>(row - MAIN_FUNCTIONS);
}

}  // namespace

void EvaluateName(u32 index, Value& result, const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    RunName(context.book, book ? EffectiveName(*book, index, context.sheet + 1) : -1, result, context);
}

void EvaluateNameX(u32 externIndex, u32 index, Value& result, const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    result = ErrorValue(ERR_NAME);
    if (!book || externIndex >= book->externSheets.Count()) return;
    const ExternSheet row = book->externSheets[externIndex];
    if (row.externBook < 0 || static_cast<u32>(row.externBook) >= book->externBooks.Count()) return;
    const ExternBook& link = book->externBooks[static_cast<u32>(row.externBook)];
    if (link.kind == EXTERN_ADDIN) return PushAddIn(link, index, externIndex, result);
    if (link.kind == EXTERN_SELF) {
        const i32 scope = row.firstSheet >= 0 ? row.firstSheet + 1 : context.sheet + 1;
        return RunName(context.book, EffectiveName(*book, index, scope), result, context);
    }
    WideText text;
    if (index < 1 || index > link.names.Count() || !text.Assign(link.names[index - 1].text)) return;
    ResolvedRef ref;
    ref.book = context.book;
    if (!ResolveExternRef(static_cast<i32>(externIndex), ref)) return;
    EvalContext inner = context;
    inner.book = ref.targetBook;
    inner.sheet = ref.firstSheet >= 0 ? ref.firstSheet : 0;
    RunName(ref.targetBook, NameByText(*BookAt(ref.targetBook), text, ref.firstSheet), result, inner);
    if (ref.targetBook != context.book) Reexpress(result, ref.targetBook, inner.sheet, context);
}

}  // namespace tally
