#include "formula/Evaluator.h"

#include <cmath>

#include "base/LongOperation.h"
#include "formula/AreaSums.h"
#include "formula/ArrayChoice.h"
#include "formula/Coercion.h"
#include "formula/EngineState.h"
#include "formula/EvaluationNotes.h"
#include "formula/NameEvaluation.h"
#include "formula/Operators.h"
#include "formula/TokenWalk.h"
#include "formula/ValueStack.h"
#include "model/AreaList.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u16 ID_IF = 1;
constexpr u16 ID_CHOOSE = 100;
constexpr u16 ID_USER_CALL = 255;
constexpr u8 SIGNAL_ABANDON = 129;
constexpr i32 MAX_DEPTH = 200;  // runs inside each other within one evaluation: names in names

// One run over a token string.
struct Run {
    const u8* bytes;
    u32 length;
    const u8* extra;
    u32 extraLeft;
    const EvalContext& context;
    ValueStack stack;
    bool abandoned = false;
};

u32 TokenClass(u8 byte) { return byte & 0x60; }

// Numbers that have left the range become errors at once. An array counts with every token that leaves
// it on top, so that a long row of operators over a large one ends.
void CheckTop(Run& run) {
    if (!run.stack.Count()) return;
    Value& top = run.stack.Top();
    if (top.type == VT_NUMBER) {
        if (!std::isfinite(top.number)) top = ErrorValue(ERR_NUM);
    } else if (top.type == VT_ARRAY) {
        const u32 count = ArrayElementCount(top);
        if (!SpendSteps(count)) return;
        for (u32 i = 0; i < count; ++i) {
            Value& element = top.elements[i];
            if (element.type == VT_NUMBER && !std::isfinite(element.number)) element = ErrorValue(ERR_NUM);
        }
    }
}

// ---- constants ------------------------------------------------------------------------------------

Value CharactersValue(const u8* at, u32 count, bool wide) {
    TextBlock* text = MakeTextRoom(count);
    if (!text) return ErrorValue(ERR_NA);
    for (u32 i = 0; i < count; ++i)
        text->characters[i] = wide ? static_cast<char16_t>(ReadU16(at + 2 * i)) : at[i];
    return OwnedTextValue(text);
}

void TakeExtra(Run& run, u32 size) {
    size = size < run.extraLeft ? size : run.extraLeft;
    run.extra += size;
    run.extraLeft -= size;
}

Value ReadElement(Run& run) {
    if (!run.extraLeft) return Value();
    const u8 kind = run.extra[0];
    if (kind == VT_STRING) {
        if (run.extraLeft < 4) return Value();
        const bool wide = run.extra[3] & 1;
        u32 count = ReadU16(run.extra + 1);
        const u32 most = (run.extraLeft - 4) / (wide ? 2 : 1);
        count = count < most ? count : most;
        const Value value = CharactersValue(run.extra + 4, count, wide);
        TakeExtra(run, 4 + count * (wide ? 2 : 1));
        return value;
    }
    Value value;
    if (run.extraLeft >= 9) {
        if (kind == VT_NUMBER) value = NumberValue(ReadF64(run.extra + 1));
        if (kind == VT_BOOL) value = BoolValue(run.extra[1] != 0);
        if (kind == VT_ERROR) value = ErrorValue(ErrorFromBiff(run.extra[1]));
    }
    TakeExtra(run, 9);
    return value;
}

void PushArray(Run& run) {
    if (run.extraLeft < 3) return run.stack.Push(ErrorValue(ERR_NA));
    const u32 columns = run.extra[0] + 1u;
    const u32 rows = ReadU16(run.extra + 1) + 1u;
    TakeExtra(run, 3);
    // Every element takes nine bytes, or four of a text: damaged counts ask for no memory.
    if (u64{rows} * columns > u64{run.extraLeft} / 4 + 1) return run.stack.Push(ErrorValue(ERR_NA));
    Value array = ArrayValue(rows, columns);
    for (u32 i = 0; array.type == VT_ARRAY && i < rows * columns; ++i) array.elements[i] = ReadElement(run);
    run.stack.Push(array);
}

// ---- references -----------------------------------------------------------------------------------

void ApplyClass(Run& run, u8 byte, bool oneCell) {
    Value& top = run.stack.Top();
    if (TokenClass(byte) == CLASS_VALUE) return DerefValue(top, run.context);
    if (TokenClass(byte) != CLASS_ARRAY) return;
    CoerceValue(top, VT_ARRAY, run.context);
    if (!oneCell || top.type != VT_ARRAY || !ArrayElementCount(top)) return;
    Value first = TakeValue(top.elements[0]);
    FreeValue(top);
    top = first;
}

RefArea ReadArea(const u8* operand, bool oneCell, u8& nibble) {
    return oneCell ? ReadRefOperand(operand, nibble) : ReadAreaOperand(operand, nibble);
}

void AddContext(RefArea& area, u8 nibble, i32 row, i32 column) {
    if (nibble & FIRST_ROW_RELATIVE) area.firstRow = static_cast<u16>(area.firstRow + row);
    if (nibble & LAST_ROW_RELATIVE) area.lastRow = static_cast<u16>(area.lastRow + row);
    if (nibble & FIRST_COLUMN_RELATIVE) area.firstColumn = static_cast<u8>(area.firstColumn + column);
    if (nibble & LAST_COLUMN_RELATIVE) area.lastColumn = static_cast<u8>(area.lastColumn + column);
}

// Corners in order, whatever a file or an offset made of them.
void PushLocalReference(Run& run, const u8* token) {
    const u8 folded = FoldToken(*token);
    const bool oneCell = folded == ptgRef || folded == ptgRefN;
    const bool offsets = folded == ptgRefN || folded == ptgAreaN;
    u8 nibble = 0;
    RefArea area = ReadArea(token + 1, oneCell, nibble);
    if (offsets) NoteEvaluation(NOTE_PLACE);
    if (offsets) AddContext(area, nibble, run.context.row, run.context.column);
    run.stack.Push(AreaValue(OrderedArea(area)));
    if (run.stack.Failed() || folded == ptgAreaN) return;
    ApplyClass(run, *token, folded == ptgRef);
}

void PushOutsideReference(Run& run, const u8* token) {
    const bool oneCell = FoldToken(*token) == ptgRef3d;
    u8 nibble = 0;
    const RefArea area = OrderedArea(ReadArea(token + 3, oneCell, nibble));
    Value reference = RefValue(ReadU16(token + 1), 1);
    if (reference.type == VT_REF) reference.areas->areas[0] = area;
    const bool made = reference.type == VT_REF;
    run.stack.Push(reference);
    if (made && !run.stack.Failed()) ApplyClass(run, *token, oneCell);
}

// ---- jumps ----------------------------------------------------------------------------------------

u32 WordOf(const Run& run, u32 at) { return at + 2 <= run.length ? ReadU16(run.bytes + at) : 0; }

void RunTokens(Run& run, u32 from, u32 to);
void SkipJumpedArrays(Run& run, u32 from, u32 to);

// The tokens of one branch, without the goto that ends it.
struct Branch {
    u32 from = 0;
    u32 to = 0;
};

// IF and CHOOSE by an array: all branches are run, and the result is taken from them element by element.
// `first` is where the first branch may begin, `end` the position behind the call.
u32 ChooseByArray(Run& run, const Branch* branches, u32 count, BranchKind kind, u32 first, u32 end) {
    Value condition = run.stack.Pop();
    const u32 base = run.stack.Count();
    const u8* const extra = run.extra;
    const u32 extraLeft = run.extraLeft;
    Value values[MAX_ARGUMENTS];
    ++Engine().evaluation.depth;
    for (u32 i = 0; i < count && !run.abandoned && !EvaluationStopped(); ++i) {
        run.extra = extra;
        run.extraLeft = extraLeft;
        SkipJumpedArrays(run, first, branches[i].from);
        RunTokens(run, branches[i].from, branches[i].to);
        if (run.stack.Count() > base) values[i] = run.stack.Pop();
        while (run.stack.Count() > base) {
            Value left = run.stack.Pop();
            FreeValue(left);
        }
    }
    --Engine().evaluation.depth;
    // The jump to the end passes over the trailing data of the branches once more.
    run.extra = extra;
    run.extraLeft = extraLeft;
    Value chosen = ChooseElements(condition, values, static_cast<i32>(count), kind, run.context);
    const bool called = end >= 4 && end <= run.length && FoldToken(run.bytes[end - 4]) == ptgFuncVar;
    const bool single = called && TokenClass(run.bytes[end - 4]) == CLASS_VALUE && !run.context.arrayMode;
    if (single && chosen.type == VT_ARRAY) ArrayValueToScalar(chosen, run.context);
    run.stack.Push(chosen);
    return end;
}

bool TakesChoiceArray(Run& run) {
    const EvaluationState& e = Engine().evaluation;
    return IsChoiceArray(run.stack.Top()) && e.depth - e.base < MAX_DEPTH;
}

// Both positions are those of the next token.
u32 JumpIf(Run& run, u32 at) {
    const u32 elseAt = at + 4 + WordOf(run, at + 2);
    const u32 gotoAt = elseAt >= 4 ? elseAt - 4 : 0;
    const u32 gotoDistance = WordOf(run, gotoAt + 2);
    if (!run.stack.Count()) return run.length;
    const u32 end = gotoAt + gotoDistance + 5;
    if (TakesChoiceArray(run)) {
        const Branch branches[] = {{at + 4, gotoAt}, {elseAt, end}};
        return ChooseByArray(run, branches, gotoDistance == 3 ? 1 : 2, BRANCH_IF, at + 4, end);
    }
    Value& top = run.stack.Top();
    if (top.type != VT_ERROR) CoerceValue(top, VT_BOOL, run.context);
    if (top.type == VT_ERROR) return end;
    if (top.boolean) {
        run.stack.Pop();
        return at + 4;
    }
    // Without an else part the FALSE stays, and the call behind the closing goto is passed over.
    if (gotoDistance == 3) return elseAt + 4;
    run.stack.Pop();
    return elseAt;
}

// The branches of a CHOOSE as its table tells; false when they do not follow each other.
bool ReadBranches(const Run& run, u32 table, u32 count, Branch (&branches)[MAX_ARGUMENTS]) {
    if (count > MAX_ARGUMENTS) return false;
    for (u32 i = 0; i < count; ++i) {
        branches[i].from = table + WordOf(run, table + i * 2);
        const u32 next = table + WordOf(run, table + i * 2 + 2);
        if (next < branches[i].from + 4) return false;
        branches[i].to = next - 4;
    }
    return true;
}

u32 JumpChoose(Run& run, u32 at) {
    const u32 count = WordOf(run, at + 2);
    const u32 table = at + 4;
    // The last offset is that of the call, over which the run steps.
    const u32 end = table + WordOf(run, table + count * 2) + 4;
    if (!run.stack.Count()) return run.length;
    Branch branches[MAX_ARGUMENTS];
    if (TakesChoiceArray(run) && ReadBranches(run, table, count, branches))
        return ChooseByArray(run, branches, count, BRANCH_CHOOSE, table + (count + 1) * 2, end);
    Value& top = run.stack.Top();
    if (top.type != VT_ERROR) CoerceValue(top, VT_NUMBER, run.context);
    if (top.type == VT_ERROR) return end;
    const double index = std::trunc(top.number);
    if (!(index >= 1 && index <= count)) {
        top = ErrorValue(ERR_VALUE);
        return end;
    }
    run.stack.Pop();
    return table + WordOf(run, table + (static_cast<u32>(index) - 1) * 2);
}

void SumTop(Run& run) {
    if (!run.stack.Count()) return;
    Value& top = run.stack.Top();
    switch (top.type) {
        case VT_AREA:
        case VT_REF:
        case VT_ARRAY: {
            const Value sum = SumValue(top, run.context);
            FreeValue(top);
            top = sum;
            return;
        }
        case VT_STRING:
        case VT_BOOL: return CoerceValue(top, VT_NUMBER, run.context);
        default: return;
    }
}

// The position of the token behind a ptgAttr.
u32 RunAttr(Run& run, u32 at, u32 next) {
    switch (run.bytes[at + 1]) {
        case 0:
        case ATTR_GOTO: return at + WordOf(run, at + 2) + 5;
        case ATTR_IF: return JumpIf(run, at);
        case ATTR_CHOOSE: return JumpChoose(run, at);
        case ATTR_SUM: SumTop(run); return next;
        default: return next;
    }
}

// ---- calls ----------------------------------------------------------------------------------------

struct Call {
    Value frame[MAX_ARGUMENTS];
    i32 count = 0;
};

// Moves the top values into the frame. What does not fit is dropped.
void TakeArguments(Run& run, u32 count, Call& call) {
    while (count > MAX_ARGUMENTS) {
        Value extra = run.stack.Pop();
        FreeValue(extra);
        --count;
    }
    for (u32 i = count; i-- > 0;) call.frame[i] = run.stack.Pop();
    call.count = static_cast<i32>(count);
}

void FreeArguments(Value* arguments, i32 count) {
    for (i32 i = 0; i < count; ++i) ClearValue(arguments[i]);
}

char LetterAt(std::string_view signature, i32 index) {
    const char letter =
        static_cast<std::size_t>(index) < signature.size() ? signature[static_cast<std::size_t>(index)] : 'r';
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
}

void PrepareArguments(Call& call, std::string_view signature, const EvalContext& context) {
    for (i32 i = 0; i < call.count; ++i) {
        Value& argument = call.frame[i];
        if (LetterAt(signature, i) != 'V' || (argument.type != VT_REF && argument.type != VT_AREA)) continue;
        DerefValue(argument, context);
    }
}

// Macro functions run only where the running macro stands, commands not without side effects.
bool IsBarred(const FunctionEntry& entry, bool addIn, const EvalContext& context) {
    const bool macroFunction = entry.category >= CATEGORY_MACRO_CONTROL && entry.category != CATEGORY_NONE;
    if (macroFunction) NoteEvaluation(NOTE_PLACE);
    if (macroFunction && !Engine().macros.isRunningCell(context)) return true;
    return !addIn && (entry.id & COMMAND_BIT) && Engine().macros.sideEffectsBarred();
}

void CallEntry(Call& call, const FunctionEntry& entry, bool addIn, Value& result, const EvalContext& context) {
    PrepareArguments(call, entry.signature, context);
    // What a stop has left of the arguments must not reach a handler that does something.
    if (EvaluationStopped()) return FreeArguments(call.frame, call.count);
    if (IsBarred(entry, addIn, context)) {
        FreeArguments(call.frame, call.count);
        result = BoolValue(false);
        return;
    }
    if (addIn) return CallAddIn(call.frame, call.count, result, entry, context);
    const bool chooses = entry.id == ID_IF || entry.id == ID_CHOOSE;
    if (chooses && call.count > 1 && IsChoiceArray(call.frame[0])) {
        // A call that stands without its jumps.
        const BranchKind kind = entry.id == ID_IF ? BRANCH_IF : BRANCH_CHOOSE;
        result = ChooseElements(call.frame[0], call.frame + 1, call.count - 1, kind, context);
        return;
    }
    CallFunction(call.frame, call.count, result, entry.handler, entry.signature, context);
}

// The row of the add-in function that a call's first argument stands for, or -1.
i32 AddInRow(const Value& target, const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    const ExternBook* link = target.type == VT_REF && book ? LinkAt(*book, target.externIndex) : nullptr;
    if (!link || link->kind != EXTERN_ADDIN) return -1;
    const i32 function = MAIN_FUNCTIONS + target.areas->areas[0].firstRow;
    return function < FUNCTION_ROWS ? function : -1;
}

// A call of a macro as a function: the first argument names it.
void CallMacro(Call& call, Value& result, const EvalContext& context) {
    const Sheet* sheet = SheetAt(context.book, context.sheet);
    const bool onMacroSheet = sheet && sheet->kind == SHEET_MACRO;
    Value target = TakeValue(call.frame[0]);
    NoteEvaluation(target.type == VT_ERROR && target.error == ERR_NAME ? NOTE_PLACE | NOTE_AWAY : NOTE_PLACE);
    SheetArea at;
    i32 error = ERR_REF;
    if (onMacroSheet && !Engine().macros.isRunningCell(context)) {
        result = BoolValue(false);
    } else if (target.type == VT_ERROR) {
        result = target;
    } else if ((target.type != VT_REF && target.type != VT_AREA) ||
               !ResolveSingleArea(target, context, at, error) ||
               SheetAt(at.book, at.sheet)->kind != SHEET_MACRO) {
        result = ErrorValue(ERR_REF);
    } else {
        const Value caller = AreaValue({static_cast<u16>(context.row), static_cast<u16>(context.row),
                                        static_cast<u8>(context.column), static_cast<u8>(context.column)});
        ++Engine().evaluation.solid;
        Engine().macros.runMacro(at.book, at.sheet, at.area.firstRow, at.area.firstColumn, call.frame + 1,
                                 call.count - 1, result, caller);
        --Engine().evaluation.solid;
    }
    if (target.type != VT_ERROR) FreeValue(target);
    FreeArguments(call.frame, call.count);
}

void CallUser(Call& call, Value& result, const EvalContext& context) {
    if (!call.count) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const i32 row = AddInRow(call.frame[0], context);
    if (row < 0) return CallMacro(call, result, context);
    FreeValue(call.frame[0]);
    for (i32 i = 1; i < call.count; ++i) call.frame[i - 1] = call.frame[i];
    call.frame[--call.count] = Value();
    CallEntry(call, FunctionTable[row], true, result, context);
}

void RunCall(Run& run, const u8* token) {
    const bool fixed = FoldToken(*token) == ptgFunc;
    const u16 id = ReadU16(token + (fixed ? 1 : 2));
    const i32 row = !fixed && id == ID_USER_CALL ? -1 : FindFunctionById(id);
    const u32 count =
        fixed ? (row < 0 ? 0 : static_cast<u32>(FunctionTable[row].signature.size())) : token[1] & 0x7Fu;
    Call call;
    TakeArguments(run, count < run.stack.Count() ? count : run.stack.Count(), call);
    Value result;
    if (row >= 0) {
        CallEntry(call, FunctionTable[row], false, result, run.context);
    } else if (!fixed && id == ID_USER_CALL) {
        CallUser(call, result, run.context);
    } else {
        FreeArguments(call.frame, call.count);
        result = ErrorValue(ERR_NA);
    }
    if (result.type == VT_CONTROL && result.control.code == SIGNAL_ABANDON) run.abandoned = true;
    if (!fixed && TokenClass(*token) == CLASS_VALUE && !run.context.arrayMode && result.type == VT_ARRAY) {
        ArrayValueToScalar(result, run.context);
    }
    run.stack.Push(result);
}

// ---- the loop -------------------------------------------------------------------------------------

void RunBinary(Run& run, u8 token) {
    Value right = run.stack.Pop();
    if (!run.stack.Count()) run.stack.Push(Value());
    if (run.stack.Failed()) return FreeValue(right);
    ApplyBinary(token, run.stack.Top(), right, run.context);
}

void RunName(Run& run, const u8* token, bool outside) {
    Value result;
    const NameMention mention =
        outside ? NameMention{ReadU16(token + 1), ReadU16(token + 3)} : NameMention{-1, ReadU16(token + 1)};
    EvaluateName(mention, result, run.context);
    run.stack.Push(result);
    if (run.stack.Failed()) return;
    Value& top = run.stack.Top();
    if (top.type != VT_REF && top.type != VT_AREA) return;
    // The name of an add-in function is for the call that follows.
    if (outside && AddInRow(top, run.context) >= 0) return;
    if (TokenClass(*token) == CLASS_VALUE) DerefValue(top, run.context);
    if (TokenClass(*token) == CLASS_ARRAY) CoerceValue(top, VT_ARRAY, run.context);
}

// Runs the token at `at`; returns the position of the next one. `last` is its last byte.
u32 RunToken(Run& run, u32 at, u32 last) {
    const u8* token = run.bytes + at;
    const u8 folded = FoldToken(*token);
    const u32 next = last + 1;
    if (folded >= ptgAdd && folded <= ptgRange) {
        RunBinary(run, folded);
        return next;
    }
    switch (folded) {
        case ptgUminus:
        case ptgPercent:
            if (!run.stack.Count()) run.stack.Push(Value());
            if (run.stack.Failed()) return next;
            folded == ptgUminus ? NegateValue(run.stack.Top(), run.context)
                                : PercentValue(run.stack.Top(), run.context);
            return next;
        case ptgMissArg: run.stack.Push(Value()); return next;
        case ptgStr: run.stack.Push(CharactersValue(token + 3, token[1], token[2] & 1)); return next;
        case ptgErr: run.stack.Push(ErrorValue(ErrorFromBiff(token[1]))); return next;
        case ptgBool: run.stack.Push(BoolValue(token[1] != 0)); return next;
        case ptgInt: run.stack.Push(NumberValue(ReadU16(token + 1))); return next;
        case ptgNum: run.stack.Push(NumberValue(ReadF64(token + 1))); return next;
        case ptgArray: PushArray(run); return next;
        case ptgRef:
        case ptgArea:
        case ptgRefN:
        case ptgAreaN: PushLocalReference(run, token); return next;
        case ptgRef3d:
        case ptgArea3d: PushOutsideReference(run, token); return next;
        case ptgRefErr:
        case ptgAreaErr:
        case ptgRefErr3d:
        case ptgAreaErr3d: run.stack.Push(ErrorValue(ERR_REF)); return next;
        case ptgMemNoMem: run.stack.Push(ErrorValue(ERR_NA)); return next + ReadU16(token + 5);
        case ptgMemErr: run.stack.Push(ErrorValue(ErrorFromBiff(token[1]))); return next + ReadU16(token + 5);
        case ptgAttr: return RunAttr(run, at, next);
        case ptgFunc:
        case ptgFuncVar: RunCall(run, token); return next;
        case ptgName:
        case ptgNameX: RunName(run, token, folded == ptgNameX); return next;
        default: return next;
    }
}

// True when the token's operand bytes reach past the end of the stream.
bool IsCut(const Run& run, u32 at) {
    FormulaTokens rest;
    rest.bytes = const_cast<u8*>(run.bytes + at);
    rest.length = static_cast<u16>(NextToken(run.bytes, run.length, at) - at + 1);
    return !TokensAreWhole(rest);
}

// Steps over an array's trailing data as over the array itself.
void SkipArrayData(Run& run) {
    if (run.extraLeft < 3) return;
    const u64 elements = (run.extra[0] + u64{1}) * (ReadU16(run.extra + 1) + u64{1});
    TakeExtra(run, 3);
    for (u64 i = 0; i < elements && run.extraLeft; ++i) {
        Value element = ReadElement(run);
        FreeValue(element);
    }
}

// The trailing data lies in the order of the tokens: what a jump passes over is passed over there too.
void SkipJumpedArrays(Run& run, u32 from, u32 to) {
    for (u32 at = from; run.extraLeft && at < to && at < run.length;
         at = NextToken(run.bytes, run.length, at) + 1) {
        if (FoldToken(run.bytes[at]) == ptgArray) SkipArrayData(run);
    }
}

void RunTokens(Run& run, u32 from, u32 to) {
    for (u32 at = from; at < to && at < run.length && !run.abandoned;) {
        const u32 last = NextToken(run.bytes, run.length, at);
        // Only the last token can be cut off.
        if (last + 1 == run.length && IsCut(run, at)) return;
        const u32 next = RunToken(run, at, last);
        CheckTop(run);
        if (!SpendToken() || run.stack.Failed()) return;
        if (next > last + 1) SkipJumpedArrays(run, last + 1, next);
        // A jump backwards would not end.
        at = next > at ? next : at + 1;
    }
}

}  // namespace

bool RunFormula(const FormulaTokens& tokens, Value& result, const EvalContext& context) {
    EvaluationState& e = Engine().evaluation;
    result = Value();
    if (!tokens.bytes || e.stop != STOP_NONE) return true;
    if (e.depth - e.base >= MAX_DEPTH) {
        result = ErrorValue(ERR_NUM);
        return true;
    }
    ++e.depth;
    QuietMemoryScope quiet;
    // Held as a user of the block: a macro or a link may drop the cell that the tokens stand in.
    FormulaTokens held;
    CopyTokens(held, tokens);
    bool completed = true;
    {
        Run run{held.bytes, held.length, held.bytes + held.length, held.extraLength, context, {}};
        RunTokens(run, 0, run.length);
        completed = !run.abandoned;
        result = run.stack.Failed() || e.stop != STOP_NONE ? ErrorValue(ERR_NA) : run.stack.Pop();
    }
    FreeTokens(held);
    --e.depth;
    return completed;
}

bool EvaluateFormula(const FormulaTokens& tokens, Value& result, const EvalContext& context) {
    EvaluationState& e = Engine().evaluation;
    if (e.depth) return RunFormula(tokens, result, context);
    const LongOperation work(OPERATION_CALCULATE);
    for (;;) {
        bool completed = true;
        {
            const OwnEvaluation own;
            completed = RunFormula(tokens, result, context);
        }
        const EvaluationStop stop = e.stop;
        e.stop = STOP_NONE;
        if (stop == STOP_NONE) return completed;
        const CellPlace wanted = e.wanted;
        if (stop == STOP_WANTS_CELL && CalculateCell(wanted.book, wanted.sheet, wanted.row, wanted.column))
            continue;
        if (stop != STOP_WANTS_CELL) NoteStop(stop);
        return true;
    }
}

bool TokensCall(const FormulaTokens& tokens, u16 id) {
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        const u8 folded = FoldToken(tokens.bytes[at]);
        if (folded == ptgFunc && at + 3 <= tokens.length && ReadU16(tokens.bytes + at + 1) == id) return true;
        if (folded == ptgFuncVar && at + 4 <= tokens.length && ReadU16(tokens.bytes + at + 2) == id)
            return true;
        if (folded == ptgAttr && id == 4 && at + 2 <= tokens.length && tokens.bytes[at + 1] == ATTR_SUM)
            return true;
    }
    return false;
}

}  // namespace tally
