#pragma once
// The state of the formula engine: one record, one reset.

#include "formula/Evaluator.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"

namespace tally {

struct DependentIndex;

struct CellPlace {
    i32 book = 0;
    i32 sheet = 0;
    i32 row = 0;
    i32 column = 0;
};

struct EvaluationState {
    i32 depth = 0;         // runs and calculations inside each other
    i32 base = 0;          // the depth at which the evaluation at hand began
    i32 calculations = 0;  // of cells, inside each other
    i32 solid = 0;         // macros and data tables under way: what they read is calculated on the spot
    u64 elements = 0;      // spent by the evaluation at hand
    u64 steps = 0;
    EvaluationStop stop = STOP_NONE;
    CellPlace wanted;  // of STOP_WANTS_CELL
    EvaluationBudget budget;
};

struct EngineState {
    EvaluationState evaluation;
    CalculationReport report;
    bool suspended =
        false;  // the user stopped a calculation: nothing begins one by itself until something changes
    MacroCalls macros;
    RecalculationCalls view;
    LinkOpener openLink;
    DependentIndex* dependents = nullptr;

    EngineState();
};
EngineState& Engine();

// The evaluation of one cell: names count as parts of it, and what it spends is its own.
struct OwnEvaluation {
    OwnEvaluation();
    ~OwnEvaluation();
    OwnEvaluation(const OwnEvaluation&) = delete;
    OwnEvaluation& operator=(const OwnEvaluation&) = delete;

  private:
    i32 base_;
    u64 elements_, steps_;
};

// One run of the stack machine as a part of the evaluation under way. False when a macro signal asked to
// abandon it. When the evaluation was stopped the result is worth nothing.
bool RunFormula(const FormulaTokens& tokens, Value& result, const EvalContext& context);

// A stop has reached the outermost calculation.
void NoteStop(EvaluationStop why);

}  // namespace tally
