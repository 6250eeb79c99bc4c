#include "formula/Operators.h"

#include <algorithm>
#include <cmath>

#include "base/Text.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/ReferenceOperators.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr double TOLERANCE = 1e-15;

// ---- scalar operations: both operands of the kind that the family wants ---------------------------

void Power(Value& a, double x, double y) {
    if ((x == 0 && y == 0) || (x < 0 && y != std::trunc(y))) {
        a = ErrorValue(ERR_NUM);
    } else if (x == 0 && y < 0) {
        a = ErrorValue(ERR_DIV0);
    } else {
        a.number = std::pow(x, y);
    }
}

void ArithmeticScalar(u8 token, Value& a, const Value& b) {
    const double x = a.number;
    const double y = b.number;
    switch (token) {
        case ptgAdd: a.number = x + y; return;
        case ptgSub: a.number = x - y; return;
        case ptgMul: a.number = x * y; return;
        case ptgDiv:
            if (y < 0 || y > 0) {
                a.number = x / y;
            } else {
                a = ErrorValue(ERR_DIV0);
            }
            return;
        default: Power(a, x, y); return;
    }
}

void ConcatScalar(Value& a, const Value& b) {
    a.text = ExtendText(a.text, TextOf(b));
    if (!a.text) a = ErrorValue(ERR_NA);
}

int CompareNumbers(double a, double b) {
    if (a == b) return 0;
    const double t = std::fmin(std::fabs(a), std::fabs(b)) * TOLERANCE;
    if (t >= std::fabs(a - b)) return 0;
    return a < b ? -1 : 1;
}

int Rank(u16 type) { return type == VT_NUMBER ? 0 : type == VT_STRING ? 1 : 2; }

bool Compares(const Value& v) {
    return v.type == VT_EMPTY || v.type == VT_NUMBER || v.type == VT_STRING || v.type == VT_BOOL;
}

bool Truth(u8 token, int order) {
    switch (token) {
        case ptgLT: return order < 0;
        case ptgLE: return order <= 0;
        case ptgEQ: return order == 0;
        case ptgGE: return order >= 0;
        case ptgGT: return order > 0;
        default: return order != 0;
    }
}

void CompareInto(u8 token, Value& a, const Value& b) {
    if (a.type == VT_ERROR) return;
    Value result;
    if (b.type == VT_ERROR) {
        result = b;
    } else if (!Compares(a) || !Compares(b)) {
        result = ErrorValue(ERR_VALUE);
    } else {
        result = BoolValue(Truth(token, CompareScalars(a, b)));
    }
    FreeValue(a);
    a = result;
}

// ---- families -------------------------------------------------------------------------------------

bool IsComparison(u8 token) { return token >= ptgLT && token <= ptgNE; }
u16 WantedType(u8 token) { return token == ptgConcat ? u16{VT_STRING} : u16{VT_NUMBER}; }

void CoerceElement(u8 token, Value& value, const EvalContext& context) {
    if (IsComparison(token) || value.type == VT_ERROR) return;
    CoerceValue(value, WantedType(token), context);
}

// Operands of the right kind or errors; the result in `a`, `b` stays the caller's.
void ScalarOperation(u8 token, Value& a, const Value& b) {
    if (IsComparison(token)) return CompareInto(token, a, b);
    if (a.type == VT_ERROR) return;
    if (b.type == VT_ERROR) {
        FreeValue(a);
        a = b;
        return;
    }
    if (token == ptgConcat) {
        ConcatScalar(a, b);
    } else {
        ArithmeticScalar(token, a, b);
    }
}

bool TakesAsNumber(const Value& value, double& number) {
    if (value.type != VT_NUMBER && value.type != VT_BOOL) return false;
    number = value.type == VT_NUMBER ? value.number : value.boolean;
    return true;
}

// Numbers and booleans, which long arrays mostly hold, without the general way's copies. False leaves `a` as it
// is.
bool QuickOperation(u8 token, Value& a, const Value& b) {
    if (IsComparison(token)) {
        if (a.type != VT_NUMBER || b.type != VT_NUMBER) return false;
        a = BoolValue(Truth(token, CompareNumbers(a.number, b.number)));
        return true;
    }
    double x = 0, y = 0;
    if (token == ptgConcat || !TakesAsNumber(a, x) || !TakesAsNumber(b, y)) return false;
    a = NumberValue(x);
    ArithmeticScalar(token, a, NumberValue(y));
    return true;
}

// Left scalar, right array: the array takes the results in place.
void ScalarWithArray(u8 token, Value& left, Value& right, const EvalContext& context) {
    const u32 count = ArrayElementCount(right);
    for (u32 i = 0; i < count; ++i) {
        Value& element = right.elements[i];
        if (left.type == VT_ERROR) {
            SetError(element, left.error);
            continue;
        }
        Value quick = left;
        if (QuickOperation(token, quick, element)) {
            element = quick;
            continue;
        }
        CoerceElement(token, element, context);
        if (element.type == VT_ERROR) continue;
        Value result;
        CopyValue(result, left);
        ScalarOperation(token, result, element);
        FreeValue(element);
        element = result;
    }
    FreeValue(left);
    left = TakeValue(right);
}

void ArrayWithScalar(u8 token, Value& left, Value& right, const EvalContext& context) {
    const u32 count = ArrayElementCount(left);
    for (u32 i = 0; i < count; ++i) {
        Value& element = left.elements[i];
        if (QuickOperation(token, element, right)) continue;
        CoerceElement(token, element, context);
        // In a comparison an error scalar replaces every element; elsewhere an element keeps its own error.
        if (IsComparison(token) && right.type == VT_ERROR) {
            SetError(element, right.error);
        } else {
            ScalarOperation(token, element, right);
        }
    }
    FreeValue(right);
}

// Element by element; the left array takes the results in place.
void SameShapes(u8 token, Value& left, Value& right, const EvalContext& context) {
    const u32 count = ArrayElementCount(left);
    if (!SpendElements(count)) SetError(left, ERR_NA);
    for (u32 i = 0; left.type == VT_ARRAY && i < count; ++i) {
        Value& element = left.elements[i];
        Value& operand = right.elements[i];
        if (QuickOperation(token, element, operand)) continue;
        CoerceElement(token, element, context);
        CoerceElement(token, operand, context);
        ScalarOperation(token, element, operand);
    }
    FreeValue(right);
    right = Value();
}

void ArrayWithArray(u8 token, Value& left, Value& right, const EvalContext& context) {
    if (left.rows == right.rows && left.columns == right.columns)
        return SameShapes(token, left, right, context);
    const u32 leftRows = ArrayRows(left), rightRows = ArrayRows(right);
    const u32 leftColumns = left.columns, rightColumns = right.columns;
    const u32 rows = std::max(leftRows, rightRows);
    const u32 columns = std::max(leftColumns, rightColumns);
    Value result = SpendElements(u64{rows} * columns) ? ArrayValue(rows, columns) : ErrorValue(ERR_NA);
    for (u32 i = 0; result.type == VT_ARRAY && i < rows * columns; ++i) {
        const u32 r = i / columns, c = i % columns;
        const u32 lr = leftRows == 1 ? 0 : r, lc = leftColumns == 1 ? 0 : c;
        const u32 rr = rightRows == 1 ? 0 : r, rc = rightColumns == 1 ? 0 : c;
        Value& element = result.elements[i];
        if (lr >= leftRows || lc >= leftColumns || rr >= rightRows || rc >= rightColumns) {
            element = ErrorValue(ERR_NA);
            continue;
        }
        Value operand;
        CopyValue(element, left.elements[lr * leftColumns + lc]);
        CopyValue(operand, right.elements[rr * rightColumns + rc]);
        CoerceElement(token, element, context);
        CoerceElement(token, operand, context);
        ScalarOperation(token, element, operand);
        FreeValue(operand);
    }
    FreeValue(left);
    FreeValue(right);
    left = result;
    right = Value();
}

void PrepareOperand(u8 token, Value& value, const EvalContext& context) {
    switch (value.type) {
        case VT_NUMBER:
            if (token == ptgConcat) CoerceValue(value, VT_STRING, context);
            return;
        case VT_ERROR:
        case VT_ARRAY: return;
        case VT_REF:
        case VT_AREA: return CoerceValue(value, VT_ARRAY, context);
        default:
            if (!IsComparison(token)) CoerceValue(value, WantedType(token), context);
            return;
    }
}

void ValueOperator(u8 token, Value& left, Value& right, const EvalContext& context) {
    PrepareOperand(token, left, context);
    PrepareOperand(token, right, context);
    if (left.type == VT_ARRAY && right.type == VT_ARRAY) return ArrayWithArray(token, left, right, context);
    if (left.type == VT_ARRAY) return ArrayWithScalar(token, left, right, context);
    if (right.type == VT_ARRAY) return ScalarWithArray(token, left, right, context);
    ScalarOperation(token, left, right);
    FreeValue(right);
}

void MapNumber(Value& value, double factor, const EvalContext& context) {
    if (value.type != VT_ERROR && value.type != VT_NUMBER) CoerceValue(value, VT_NUMBER, context);
    if (value.type == VT_NUMBER) value.number *= factor;
}

void UnaryOperator(Value& value, double factor, const EvalContext& context) {
    if (value.type == VT_AREA || value.type == VT_REF) CoerceValue(value, VT_ARRAY, context);
    if (value.type == VT_ARRAY) {
        const u32 count = ArrayElementCount(value);
        for (u32 i = 0; i < count; ++i) MapNumber(value.elements[i], factor, context);
        return;
    }
    MapNumber(value, factor, context);
}

}  // namespace

int CompareScalars(const Value& left, const Value& right) {
    if (left.type == VT_EMPTY || right.type == VT_EMPTY) {
        const Value& other = left.type == VT_EMPTY ? right : left;
        const int sign = left.type == VT_EMPTY ? -1 : 1;
        switch (other.type) {
            case VT_NUMBER: return other.number == 0 ? 0 : other.number > 0 ? sign : -sign;
            case VT_STRING: return TextOf(other).empty() ? 0 : sign;
            case VT_BOOL: return other.boolean ? sign : 0;
            default: return 0;
        }
    }
    if (left.type != right.type) return Rank(left.type) < Rank(right.type) ? -1 : 1;
    switch (left.type) {
        case VT_NUMBER: return CompareNumbers(left.number, right.number);
        case VT_STRING: return CollateText(TextOf(left), TextOf(right));
        default: return (left.boolean != 0) - (right.boolean != 0);
    }
}

void ApplyBinary(u8 token, Value& left, Value& right, const EvalContext& context) {
    switch (token) {
        case ptgIsect: return IntersectRefs(left, right, context);
        case ptgUnion: return UnionRefs(left, right, context);
        case ptgRange: return RangeRefs(left, right, context);
        default: return ValueOperator(token, left, right, context);
    }
}

void NegateValue(Value& value, const EvalContext& context) { UnaryOperator(value, -1, context); }
void PercentValue(Value& value, const EvalContext& context) { UnaryOperator(value, 0.01, context); }

}  // namespace tally
