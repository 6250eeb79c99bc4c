#include <algorithm>
#include <cmath>
#include <functional>

#include "base/Platform.h"
#include "formula/EvaluationNotes.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/Random.h"

namespace tally {
namespace {

constexpr double LARGEST_WHOLE = 9007199254740992.0;  // 2 to the power of 53

RandomState randomState;

double Gcd(double a, double b) {
    while (b != 0) {
        const double rest = std::fmod(a, b);
        a = b;
        b = rest;
    }
    return a;
}

// The truncated numbers of all arguments, none below zero or beyond what a double holds whole.
bool WholeNumbers(Value* arguments, Value& result, const EvalContext& context, CollectOptions& options) {
    if (!CollectAll(arguments, context, options, result)) return false;
    for (double& x : options.values) {
        x = std::trunc(x);
        if (x < 0 || x > LARGEST_WHOLE) {
            result = ErrorValue(ERR_NUM);
            return false;
        }
    }
    return true;
}

}  // namespace

RandomState& Random() { return randomState; }

double NextRandom() {
    if (!randomState.seeded) {
        randomState.seeded = true;
        randomState.state = Platform().clockSeconds();
    }
    // SplitMix64: a counter that a hash spreads over all 64 bits, of which 53 make a double.
    randomState.state += 0x9E3779B97F4A7C15u;
    u64 bits = randomState.state;
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBu;
    return static_cast<double>((bits ^ bits >> 31) >> 11) * 0x1p-53;
}

void CallRand(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(arguments);
    IgnoreFailure(context);
    NoteEvaluation(NOTE_PLACE);
    result = NumberValue(NextRandom());
}

void CallRandbetween(Value* arguments, Value& result, const EvalContext& context) {
    double low = 0, high = 0;
    if (!TwoNumbers(arguments, result, context, low, high)) return;
    low = std::trunc(low);
    high = std::trunc(high);
    if (low > high) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    CalculateAlways(context);
    NoteEvaluation(NOTE_PLACE);
    result = NumberValue(std::floor(NextRandom() * (high - low + 1)) + low);
}

void CallGcd(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    if (!WholeNumbers(arguments, result, context, options)) return;
    double gcd = 0;
    for (double x : options.values) gcd = Gcd(gcd, x);
    result = NumberValue(gcd);
}

void CallLcm(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    if (!WholeNumbers(arguments, result, context, options)) return;
    double lcm = options.values.IsEmpty() ? 0 : 1;
    for (double x : options.values) lcm = x == 0 || lcm == 0 ? 0 : lcm / Gcd(lcm, x) * x;
    result = lcm > LARGEST_WHOLE ? ErrorValue(ERR_NUM) : NumberValue(lcm);
}

void CallMultinomial(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    if (!WholeNumbers(arguments, result, context, options)) return;
    // The order does not count. Behind the largest each step at least doubles, so that large numbers soon
    // leave the range of a double, where they stay.
    std::sort(options.values.begin(), options.values.end(), std::greater<>());
    double total = 0;
    double value = 1;
    for (double x : options.values) {
        if (total == 0) {
            total = x;
            continue;
        }
        for (double i = 1; i <= x && std::isfinite(value); ++i) value = value * ++total / i;
    }
    result = NumberValue(value);
}

void CallSeriessum(Value* arguments, Value& result, const EvalContext& context) {
    double x = 0, power = 0, step = 0;
    if (!NumberArgument(arguments[0], result, context, x) ||
        !NumberArgument(arguments[1], result, context, power) ||
        !NumberArgument(arguments[2], result, context, step)) {
        return;
    }
    CollectOptions options;
    if (!CollectNumbers(arguments[3], context, options)) {
        result = ErrorValue(options.error);
        return;
    }
    double sum = 0;
    for (double coefficient : options.values) {
        sum += coefficient * std::pow(x, power);
        power += step;
    }
    result = NumberValue(sum);
}

namespace {

struct RomanStep {
    i32 value;
    WideView text;
    i32 form;  // the least concise form that uses it
};
// Ascending conciseness: form 0 is the classic one, each further form allows wider subtractions.
constexpr RomanStep romanSteps[] = {
    {1000, u"M", 0}, {999, u"IM", 4}, {995, u"VM", 3}, {990, u"XM", 2}, {950, u"LM", 1},
    {900, u"CM", 0}, {500, u"D", 0},  {499, u"ID", 4}, {495, u"VD", 3}, {490, u"XD", 2},
    {450, u"LD", 1}, {400, u"CD", 0}, {100, u"C", 0},  {99, u"IC", 2},  {95, u"VC", 1},
    {90, u"XC", 0},  {50, u"L", 0},   {49, u"IL", 2},  {45, u"VL", 1},  {40, u"XL", 0},
    {10, u"X", 0},   {9, u"IX", 0},   {5, u"V", 0},    {4, u"IV", 0},   {1, u"I", 0},
};

bool RomanForm(Value& argument, Value& result, const EvalContext& context, i32& form) {
    if (argument.type == VT_BOOL) {
        form = argument.boolean ? 0 : 4;
        return true;
    }
    double number = 0;
    if (argument.type == VT_STRING) {
        form = TextToNumber(TextOf(argument), number) && number >= 0 && number <= 4 ? static_cast<i32>(number)
                                                                                    : -1;
        return true;
    }
    return OptionalInteger(argument, result, context, 0, form);
}

}  // namespace

void CallRoman(Value* arguments, Value& result, const EvalContext& context) {
    i32 number = 0, form = 0;
    if (!IntegerArgument(arguments[0], result, context, number) ||
        !RomanForm(arguments[1], result, context, form))
        return;
    if (number < 0 || number > 3999 || form < 0 || form > 4) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    WideText text;
    result = ErrorValue(ERR_NA);
    for (const RomanStep& step : romanSteps) {
        while (step.form <= form && number >= step.value) {
            if (!text.Append(step.text)) return;
            number -= step.value;
        }
    }
    result = TextValue(text);
}

}  // namespace tally
