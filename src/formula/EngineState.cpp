#include "formula/EngineState.h"

#include "base/LongOperation.h"
#include "formula/ArrayIndex.h"
#include "formula/KeptNumbers.h"

namespace tally {
namespace {

constexpr u64 TOKEN_STEPS = 16;  // what a token costs beside an element that is gone over

bool NoRunningCell(const EvalContext&) { return false; }
bool NothingBarred() { return false; }
void NoMacro(i32, i32, i32, i32, Value*, i32, Value& result, const Value&) { result = ErrorValue(ERR_REF); }
void NoCell(i32, i32, i32, i32) {}
void NoRow(i32, i32, i32) {}
void NobodyTold(EvaluationStop) {}
i32 OpenNothing(i32, i32, WideView) { return -1; }

EngineState engine;

}  // namespace

EngineState::EngineState()
    : macros{NoRunningCell, NothingBarred, NoMacro}, view{NoCell, NoRow, NobodyTold}, openLink(OpenNothing) {}

EngineState& Engine() { return engine; }

void ResetFormulaEngine() {
    DropDependents();
    ResetKeptNumbers();
    ResetArrayIndex();
    engine = EngineState();
}

EvaluationBudget& Budget() { return engine.evaluation.budget; }
MacroCalls& MacroEngine() { return engine.macros; }
RecalculationCalls& RecalculationView() { return engine.view; }
void SetLinkOpener(LinkOpener opener) { engine.openLink = opener ? opener : OpenNothing; }

// ---- what an evaluation may spend -----------------------------------------------------------------

OwnEvaluation::OwnEvaluation()
    : base_(engine.evaluation.base), elements_(engine.evaluation.elements), steps_(engine.evaluation.steps) {
    engine.evaluation.base = engine.evaluation.depth;
    engine.evaluation.elements = engine.evaluation.steps = 0;
}

OwnEvaluation::~OwnEvaluation() {
    engine.evaluation.base = base_;
    engine.evaluation.elements = elements_;
    engine.evaluation.steps = steps_;
}

bool SpendElements(u64 count) {
    EvaluationState& e = engine.evaluation;
    if (!e.depth) return true;
    e.elements += count;
    if (e.elements > e.budget.elements) StopEvaluation(STOP_BOUND);
    return e.stop == STOP_NONE;
}

bool SpendSteps(u64 count) {
    EvaluationState& e = engine.evaluation;
    if (!e.depth) return true;
    e.steps += count;
    if (e.steps > e.budget.steps) StopEvaluation(STOP_BOUND);
    return ReadCells(count);
}

bool SpendToken() { return SpendSteps(TOKEN_STEPS); }

bool ReadCells(u64 count) {
    if (!GoOn(count)) StopEvaluation(STOP_CANCELLED);
    return engine.evaluation.stop == STOP_NONE;
}

// ---- stops ----------------------------------------------------------------------------------------

void StopEvaluation(EvaluationStop why) {
    EvaluationState& e = engine.evaluation;
    // The first one counts: what follows was worked out from nothing.
    if (e.depth && e.stop == STOP_NONE) e.stop = why;
}

bool EvaluationStopped() { return engine.evaluation.stop != STOP_NONE; }

void NoteStop(EvaluationStop why) {
    ++engine.report.stops[why];
    if (why == STOP_CANCELLED) engine.suspended = true;
    engine.view.calculationStopped(why);
}

CalculationReport TakeCalculationReport() {
    const CalculationReport report = engine.report;
    engine.report = CalculationReport();
    return report;
}

}  // namespace tally
