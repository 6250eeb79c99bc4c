#include "editing/ConditionalFormats.h"

#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/Operators.h"
#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

enum ConditionType : u32 { CONDITION_VALUE = 1, CONDITION_FORMULA = 2 };
enum ConditionComparison : u32 {
    CONDITION_BETWEEN = 1,
    CONDITION_NOT_BETWEEN,
    CONDITION_EQUAL,
    CONDITION_NOT_EQUAL,
    CONDITION_GREATER,
    CONDITION_LESS,
    CONDITION_GREATER_EQUAL,
    CONDITION_LESS_EQUAL,
};

// One value of a formula at a cell. False when it gives an error or none.
bool ScalarAt(const FormulaTokens& tokens, const EvalContext& context, Value& out) {
    if (!HasFormula(tokens) || !EvaluateFormula(tokens, out, context)) return false;
    ReduceToScalar(out, context);
    return out.type != VT_ERROR;
}

// With `order` the comparison of the cell's value with the first limit, `second` with the second one.
bool Holds(u32 comparison, int order, int second) {
    switch (comparison) {
        case CONDITION_BETWEEN: return order >= 0 && second <= 0;
        case CONDITION_NOT_BETWEEN: return order < 0 || second > 0;
        case CONDITION_EQUAL: return order == 0;
        case CONDITION_NOT_EQUAL: return order != 0;
        case CONDITION_GREATER: return order > 0;
        case CONDITION_LESS: return order < 0;
        case CONDITION_GREATER_EQUAL: return order >= 0;
        case CONDITION_LESS_EQUAL: return order <= 0;
        default: return false;
    }
}

bool ValueConditionHolds(const ConditionalCondition& condition, const Value& value,
                         const EvalContext& context) {
    if (value.type == VT_ERROR) return false;
    const bool two = condition.comparison <= CONDITION_NOT_BETWEEN;
    Value first, second;
    const bool good =
        ScalarAt(condition.formula1, context, first) && (!two || ScalarAt(condition.formula2, context, second));
    const bool holds = good && Holds(condition.comparison, CompareScalars(value, first),
                                     two ? CompareScalars(value, second) : 0);
    FreeValue(first);
    FreeValue(second);
    return holds;
}

bool FormulaConditionHolds(const ConditionalCondition& condition, const EvalContext& context) {
    Value result;
    bool holds = ScalarAt(condition.formula1, context, result);
    if (holds) {
        CoerceValue(result, VT_BOOL, context);
        holds = result.type == VT_BOOL && result.boolean;
    }
    FreeValue(result);
    return holds;
}

}  // namespace

const ConditionalCondition* FindConditionalFormat(i32 book, i32 sheet, i32 row, i32 column) {
    const Sheet* target = SheetAt(book, sheet);
    if (!target) return nullptr;
    const ConditionalFormat* format = nullptr;
    for (const ConditionalFormat& candidate : target->conditionalFormats) {
        for (const RefArea& area : candidate.areas)
            if (AreaHolds(area, row, column)) format = &candidate;
        if (format) break;
    }
    if (!format) return nullptr;
    const EvalContext context{book, sheet, row, column, 0};
    Value value;
    GetCellValue(book, sheet, row, column, value);
    const ConditionalCondition* found = nullptr;
    for (const ConditionalCondition& condition : format->conditions) {
        const bool holds = condition.type == CONDITION_FORMULA ? FormulaConditionHolds(condition, context)
                                                               : ValueConditionHolds(condition, value, context);
        if (!holds) continue;
        found = &condition;
        break;
    }
    FreeValue(value);
    return found;
}

}  // namespace tally
