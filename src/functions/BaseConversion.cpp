#include <cmath>

#include "functions/ArgumentReader.h"
#include "functions/Handlers.h"

// Numbers in other bases, as ten digits at most. The digit that is worth most counts down in the tenth place:
// half of the numbers are negative, in two's complement.

namespace tally {
namespace {

constexpr i32 MOST_DIGITS = 10;

struct Base {
    i32 radix;
    i64 half;  // numbers run from -half to half - 1
};
constexpr Base BINARY{2, i64{1} << 9};
constexpr Base OCTAL{8, i64{1} << 29};
constexpr Base HEXADECIMAL{16, i64{1} << 39};

i64 Signed(i64 number, const Base& base) { return number >= base.half ? number - 2 * base.half : number; }

// A text of digits, or a number by the digits that it shows. Nothing is 0.
i64 ReadDigits(ArgumentReader& in, const Base& base) {
    const WideView text = in.Text();
    in.Require(text.size() <= MOST_DIGITS);
    i64 number = 0;
    for (std::size_t i = 0; in.inside && i < text.size(); ++i) {
        const char16_t letter = text[i] | u' ';
        const i32 digit = text[i] >= u'0' && text[i] <= u'9' ? text[i] - u'0'
                          : letter >= u'a' && letter <= u'f' ? letter - u'a' + 10
                                                             : base.radix;
        in.Require(digit < base.radix);
        number = number * base.radix + digit;
    }
    return Signed(number, base);
}

// A number too large for any base is outside of all of them.
i64 ReadDecimal(ArgumentReader& in) {
    const double number = std::trunc(in.Number());
    in.Require(std::fabs(number) <= static_cast<double>(HEXADECIMAL.half));
    return in.inside ? static_cast<i64>(number) : 0;
}

// The number with zeros in front up to the places of the next argument; all ten when it is negative. Too few
// places are outside the domain.
void WriteDigits(ArgumentReader& in, i64 number, const Base& base) {
    TakeDefaults(in.arguments + in.next, 1);
    const bool free = IsMissing(in.arguments[in.next]);
    const i32 places = in.IntegerOr(1);
    in.Require(places >= 1 && places <= MOST_DIGITS);
    in.Require(number >= -base.half && number < base.half);
    if (!in.Done()) return;
    char16_t text[MOST_DIGITS];
    i32 at = MOST_DIGITS;
    for (i64 rest = number < 0 ? number + 2 * base.half : number; rest || at == MOST_DIGITS; rest /= base.radix)
        text[--at] = u"0123456789ABCDEF"[rest % base.radix];
    if (!free && number >= 0 && MOST_DIGITS - at > places) {
        in.result = ErrorValue(ERR_NUM);
        return;
    }
    while (MOST_DIGITS - at < places) text[--at] = u'0';
    in.result = TextValue({text + at, static_cast<std::size_t>(MOST_DIGITS - at)});
}

void WriteDecimal(ArgumentReader& in, i64 number) {
    if (in.Done()) in.result = NumberValue(static_cast<double>(number));
}

}  // namespace

void CallBin2dec(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDecimal(in, ReadDigits(in, BINARY));
}

void CallBin2hex(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, BINARY), HEXADECIMAL);
}

void CallBin2oct(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, BINARY), OCTAL);
}

void CallDec2bin(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDecimal(in), BINARY);
}

void CallDec2hex(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDecimal(in), HEXADECIMAL);
}

void CallDec2oct(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDecimal(in), OCTAL);
}

void CallHex2bin(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, HEXADECIMAL), BINARY);
}

void CallHex2dec(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDecimal(in, ReadDigits(in, HEXADECIMAL));
}

void CallHex2oct(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, HEXADECIMAL), OCTAL);
}

void CallOct2bin(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, OCTAL), BINARY);
}

void CallOct2dec(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDecimal(in, ReadDigits(in, OCTAL));
}

void CallOct2hex(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    WriteDigits(in, ReadDigits(in, OCTAL), HEXADECIMAL);
}

}  // namespace tally
