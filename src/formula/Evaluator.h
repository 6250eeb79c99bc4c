#pragma once
// The stack machine that runs token strings, and the calling of functions.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// Runs the tokens. True with what is on top of the stack in `result`, "#N/A" when the evaluation was stopped;
// false when a macro signal asked to abandon the run. `result` must own nothing on entry.
bool EvaluateFormula(const FormulaTokens& tokens, Value& result, const EvalContext& context);
// Array lifting and the call itself; frees the arguments.
void CallFunction(Value* arguments, i32 count, Value& result, FunctionHandler handler,
                  std::string_view signature, const EvalContext& context);
// The same for an add-in function, whose letters do not tell single values from areas.
void CallAddIn(Value* arguments, i32 count, Value& result, const FunctionEntry& entry,
               const EvalContext& context);
// What the evaluation of one cell, with the names that it calls, may make and go over, and what all cells
// together may hold. The first values suit a desktop; fuzz targets come to the end sooner.
struct EvaluationBudget {
    u64 elements = 1u << 22;  // of arrays that are made
    u64 steps = 1u << 26;     // over elements of arrays, each token by itself
    u64 texts = 1u << 27;     // characters of long texts in all cells
};
EvaluationBudget& Budget();
// Counts elements of arrays against what one evaluation may make, so that a few tokens over whole sheets
// end. False when it is used up: the evaluation is stopped then.
bool SpendElements(u64 count);
// The same for elements that are gone over again and again.
bool SpendSteps(u64 count);
// The same for a token that is run.
bool SpendToken();
// Cells that are read have no bound, but the user may have had enough. False when the evaluation is stopped.
bool ReadCells(u64 count);

// Why the evaluation under way cannot come to its end. What it has worked out is worth nothing: the cell keeps
// its value and stays stale.
enum EvaluationStop : u8 {
    STOP_NONE,
    STOP_WANTS_CELL,  // a stale cell must be calculated first, from less deep
    STOP_BOUND,       // it would have taken too many steps or too much room
    STOP_CANCELLED,   // by the user
    STOP_MEMORY,
};
void StopEvaluation(EvaluationStop why);
bool EvaluationStopped();

// True when the tokens call that function number (a ptgAttr sum counts as 4).
bool TokensCall(const FormulaTokens& tokens, u16 id);

// The macro interpreter's part, filled in by it at start; the default rows yield FALSE and "#REF!".
struct MacroCalls {
    // Whether the context's cell is the one that a running macro stands on.
    bool (*isRunningCell)(const EvalContext& context);
    // Depth above 0 and side effects switched off.
    bool (*sideEffectsBarred)();
    // Calls the macro at a cell with arguments as a function.
    void (*runMacro)(i32 book, i32 sheet, i32 row, i32 column, Value* arguments, i32 count, Value& result,
                     const Value& caller);
};
MacroCalls& MacroEngine();

// Puts the engine into its first state: nothing is kept of books, and nobody is called.
void ResetFormulaEngine();

}  // namespace tally
