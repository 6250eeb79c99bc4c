#include "functions/RoundDigits.h"

#include <cmath>
#include <cstring>

#include "base/Number.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

constexpr i32 PRINTED_PLACES = 323;
constexpr i32 SIGNIFICANT_DIGITS = 15;

// The printed value behind one "0" that takes a carry.
struct Printed {
    char text[FIXED_TEXT_ROOM + 2];
    i32 length = 0;
    i32 point = 0;
};

// Adds one to the digit in front of `at`, carrying to the left over the point.
void AddOne(Printed& p, i32 at) {
    for (i32 i = at - 1; i >= 0; --i) {
        if (p.text[i] == '.') continue;
        if (p.text[i] != '9') {
            ++p.text[i];
            return;
        }
        p.text[i] = '0';
    }
}

void ZeroFrom(Printed& p, i32 at) {
    for (i32 i = at; i < p.length; ++i) {
        if (p.text[i] != '.') p.text[i] = '0';
    }
}

bool ZerosFrom(const Printed& p, i32 at) {
    for (i32 i = at; i < p.length; ++i) {
        if (p.text[i] != '0' && p.text[i] != '.') return false;
    }
    return true;
}

void CutToSignificant(Printed& p) {
    i32 first = 0;
    while (first < p.length && (p.text[first] == '0' || p.text[first] == '.')) ++first;
    i32 behind = first + SIGNIFICANT_DIGITS;
    if (p.point >= first && p.point <= behind) ++behind;
    if (behind >= p.length) return;
    const bool up = p.text[behind] >= '5' && p.text[behind] <= '9';
    if (up) AddOne(p, behind);
    ZeroFrom(p, behind);
}

double ReadBack(const Printed& p) {
    double value = 0;
    return ReadPlainNumber({p.text, static_cast<std::size_t>(p.length)}, value) ? value : 0;
}

// Rounds at the cut; the value is not negative.
double RoundAt(Printed& p, i32 cut, double digits, RoundMode mode) {
    if (cut <= 0) return mode == ROUND_UP ? std::pow(10.0, -digits) : 0;
    if (cut >= p.length) return ReadBack(p);
    const i32 at = p.text[cut] == '.' ? cut + 1 : cut;
    const bool up = mode == ROUND_NEAREST ? p.text[at] >= '5' : mode == ROUND_UP && !ZerosFrom(p, cut);
    if (up) AddOne(p, cut);
    ZeroFrom(p, cut);
    return ReadBack(p);
}

void CallRounding(Value* arguments, Value& result, const EvalContext& context, RoundMode mode) {
    double value = 0, digits = 0;
    if (!NumberArgument(arguments[0], result, context, value) ||
        !OptionalNumber(arguments[1], result, context, 0, digits))
        return;
    result = NumberValue(RoundDigits(value, std::trunc(digits), mode));
}

}  // namespace

double RoundDigits(double value, double digits, RoundMode mode) {
    if (value == 0 || !std::isfinite(value)) return value;
    Printed p;
    p.text[0] = '0';
    p.length = 1 + static_cast<i32>(PrintFixed(std::fabs(value), PRINTED_PLACES, p.text + 1));
    p.point = static_cast<i32>(
        static_cast<const char*>(std::memchr(p.text, '.', static_cast<std::size_t>(p.length))) - p.text);
    CutToSignificant(p);
    const double cut = digits >= 0 ? p.point + digits + 1 : p.point + digits;
    const double rounded = RoundAt(p,
                                   cut > p.length ? p.length
                                   : cut < -1     ? -1
                                                  : static_cast<i32>(cut),
                                   digits, mode);
    return value < 0 ? -rounded : rounded;
}

void CallRound(Value* arguments, Value& result, const EvalContext& context) {
    CallRounding(arguments, result, context, ROUND_NEAREST);
}
void CallRounddown(Value* arguments, Value& result, const EvalContext& context) {
    CallRounding(arguments, result, context, ROUND_DOWN);
}
void CallRoundup(Value* arguments, Value& result, const EvalContext& context) {
    CallRounding(arguments, result, context, ROUND_UP);
}

}  // namespace tally
