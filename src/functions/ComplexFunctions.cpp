#include <numbers>

#include "functions/ArgumentReader.h"
#include "functions/ComplexNumber.h"
#include "functions/Handlers.h"

// The functions of complex numbers.

namespace tally {
namespace {

// A value as a complex number: a number as it is, an empty one as 0, all others by their text. An error index,
// or -1.
i32 ReadScalar(Value& value, const EvalContext& context, Complex& out) {
    out = Complex();
    if (value.type == VT_EMPTY) return -1;
    if (value.type == VT_NUMBER) {
        out.re = value.number;
        return -1;
    }
    if (value.type != VT_ERROR) CoerceValue(value, VT_STRING, context);
    if (value.type == VT_ERROR) return value.error;
    return ParseComplex(TextOf(value), out) ? -1 : i32{ERR_NUM};
}

// Complex arguments; an error among them goes before what cannot be read as a number. False with the error
// in `result`.
bool ReadComplex(Value* arguments, Value& result, const EvalContext& context, i32 count, Complex* out) {
    i32 unread = -1;
    for (i32 i = 0; i < count; ++i) {
        Value& argument = arguments[i];
        if (argument.type == VT_REF || argument.type == VT_AREA) DerefValue(argument, context);
        if (argument.type == VT_ARRAY) ArrayValueToScalar(argument, context);
        const bool isError = argument.type == VT_ERROR;
        const i32 error = ReadScalar(argument, context, out[i]);
        if (error < 0) continue;
        if (isError || unread < 0) unread = error;
        if (isError) break;
    }
    if (unread >= 0) result = ErrorValue(unread);
    return unread < 0;
}

bool SuffixesAgree(const Complex& a, const Complex& b) {
    return !a.suffix || !b.suffix || a.suffix == b.suffix;
}

// Two arguments with one suffix.
bool ReadPair(Value* arguments, Value& result, const EvalContext& context, Complex* out) {
    if (!ReadComplex(arguments, result, context, 2, out)) return false;
    if (SuffixesAgree(out[0], out[1])) return true;
    result = ErrorValue(ERR_VALUE);
    return false;
}

void OfOne(Value* arguments, Value& result, const EvalContext& context, Complex (*value)(const Complex&)) {
    Complex z;
    if (ReadComplex(arguments, result, context, 1, &z)) result = ComplexValue(value(z));
}

// A logarithm to a base, given by the base's natural one.
void LogarithmTo(Value* arguments, Value& result, const EvalContext& context, long double base) {
    Complex z;
    if (!ReadComplex(arguments, result, context, 1, &z)) return;
    if (IsZero(z)) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    const Complex natural = Logarithm(z);
    result = ComplexValue({natural.re / base, natural.im / base, z.suffix});
}

struct Folding {
    Complex (*join)(const Complex&, const Complex&);
    const EvalContext& context;
    Complex total;
    bool any = false;
    i32 error = -1;
};

bool FoldOne(const VisitedValue& visited, void* state) {
    Folding& folding = *static_cast<Folding*>(state);
    if (visited.value->type == VT_EMPTY) return true;
    Value copy;
    CopyValue(copy, *visited.value);
    Complex z;
    folding.error = ReadScalar(copy, folding.context, z);
    FreeValue(copy);
    if (folding.error >= 0) return false;
    if (!SuffixesAgree(folding.total, z)) {
        folding.error = ERR_VALUE;
        return false;
    }
    folding.total = folding.any ? folding.join(folding.total, z) : z;
    folding.any = true;
    return true;
}

// All values of all arguments joined; 0 when there are none.
void Fold(Value* arguments, Value& result, const EvalContext& context,
          Complex (*join)(const Complex&, const Complex&)) {
    Folding folding{join, context, {}};
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        i32 error = -1;
        if (VisitValues(arguments[i], context, FoldOne, &folding, error)) continue;
        result = ErrorValue(folding.error >= 0 ? folding.error : error >= 0 ? error : i32{ERR_NA});
        return;
    }
    result = ComplexValue(folding.total);
}

constexpr long double LN_2 = std::numbers::ln2_v<long double>;
constexpr long double LN_10 = std::numbers::ln10_v<long double>;

}  // namespace

void CallComplex(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    Complex z{in.Number(), in.Number(), u'i'};
    if (!IsMissing(arguments[2])) {
        const WideView suffix = in.Text();
        if (in.good && !suffix.empty() && suffix != u"i" && suffix != u"j") {
            result = ErrorValue(ERR_VALUE);
            return;
        }
        if (in.good && !suffix.empty()) z.suffix = suffix[0];
    }
    if (in.Done()) result = ComplexValue(z);
}

void CallImabs(Value* arguments, Value& result, const EvalContext& context) {
    Complex z;
    if (ReadComplex(arguments, result, context, 1, &z)) result = NumberValue(static_cast<double>(Modulus(z)));
}

void CallImaginary(Value* arguments, Value& result, const EvalContext& context) {
    Complex z;
    if (ReadComplex(arguments, result, context, 1, &z)) result = NumberValue(static_cast<double>(z.im));
}

void CallImreal(Value* arguments, Value& result, const EvalContext& context) {
    Complex z;
    if (ReadComplex(arguments, result, context, 1, &z)) result = NumberValue(static_cast<double>(z.re));
}

void CallImargument(Value* arguments, Value& result, const EvalContext& context) {
    Complex z;
    if (!ReadComplex(arguments, result, context, 1, &z)) return;
    result = IsZero(z) ? ErrorValue(ERR_DIV0) : NumberValue(static_cast<double>(Angle(z)));
}

void CallImconjugate(Value* arguments, Value& result, const EvalContext& context) {
    OfOne(arguments, result, context, [](const Complex& z) { return Complex{z.re, -z.im, z.suffix}; });
}

void CallImcos(Value* arguments, Value& result, const EvalContext& context) {
    OfOne(arguments, result, context, Cosine);
}

void CallImsin(Value* arguments, Value& result, const EvalContext& context) {
    OfOne(arguments, result, context, Sine);
}

void CallImexp(Value* arguments, Value& result, const EvalContext& context) {
    OfOne(arguments, result, context, Exponential);
}

void CallImsqrt(Value* arguments, Value& result, const EvalContext& context) {
    OfOne(arguments, result, context, SquareRoot);
}

void CallImln(Value* arguments, Value& result, const EvalContext& context) {
    LogarithmTo(arguments, result, context, 1);
}

void CallImlog10(Value* arguments, Value& result, const EvalContext& context) {
    LogarithmTo(arguments, result, context, LN_10);
}

void CallImlog2(Value* arguments, Value& result, const EvalContext& context) {
    LogarithmTo(arguments, result, context, LN_2);
}

void CallImpower(Value* arguments, Value& result, const EvalContext& context) {
    Complex z;
    double exponent = 0;
    const bool read = ReadComplex(arguments, result, context, 1, &z);
    if (arguments[0].type == VT_ERROR || !NumberArgument(arguments[1], result, context, exponent) || !read)
        return;
    if (IsZero(z)) result = exponent > 0 ? ComplexValue(z) : ErrorValue(ERR_NUM);
    else result = ComplexValue(Power(z, exponent));
}

void CallImdiv(Value* arguments, Value& result, const EvalContext& context) {
    Complex z[2];
    if (!ReadPair(arguments, result, context, z)) return;
    result = IsZero(z[1]) ? ErrorValue(ERR_NUM) : ComplexValue(Divide(z[0], z[1]));
}

void CallImsub(Value* arguments, Value& result, const EvalContext& context) {
    Complex z[2];
    if (ReadPair(arguments, result, context, z)) result = ComplexValue(Subtract(z[0], z[1]));
}

void CallImsum(Value* arguments, Value& result, const EvalContext& context) {
    Fold(arguments, result, context, Add);
}

void CallImproduct(Value* arguments, Value& result, const EvalContext& context) {
    Fold(arguments, result, context, Multiply);
}

}  // namespace tally
