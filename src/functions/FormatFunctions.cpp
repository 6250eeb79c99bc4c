#include <cmath>

#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "model/BookTable.h"

// The functions that give a number as text.

namespace tally {
namespace {

constexpr i32 MAX_DECIMALS = 32000;
constexpr std::size_t MAX_FORMAT = 65535;

void FormatInto(double value, WideView format, const EvalContext& context, Value& result) {
    const Workbook* book = BookAt(context.book);
    WideText out;
    const bool made = FormatNumber(value, format, nullptr, 0, book && book->date1904, nullptr, out);
    result = made ? TextValue(out) : ErrorValue(ERR_NA);
}

// Whether an argument, taken as a single value, is a text that does not read as a number.
bool IsPlainText(Value& argument, const EvalContext& context) {
    if (argument.type == VT_REF || argument.type == VT_AREA) DerefValue(argument, context);
    double number = 0;
    return argument.type == VT_STRING && !TextToNumber(TextOf(argument), number);
}

// Powers of ten that leave the range of a double round nothing, or everything away.
double RoundedTo(double value, i32 decimals) {
    const double power = std::pow(10.0, decimals);
    if (power == 0) return 0;
    const double rounded = RoundToInteger(value * power) / power;
    return std::isfinite(rounded) ? rounded : value;
}

// The number, rounded, and its decimals.
bool RoundedArguments(Value* arguments, Value& result, const EvalContext& context, double& value,
                      i32& decimals) {
    if (!NumberArgument(arguments[0], result, context, value) ||
        !OptionalInteger(arguments[1], result, context, 2, decimals)) {
        return false;
    }
    if (decimals > MAX_DECIMALS) {
        result = ErrorValue(ERR_VALUE);
        return false;
    }
    value = RoundedTo(value, decimals);
    return true;
}

bool AppendDigits(WideText& format, WideView whole, i32 decimals) {
    if (!format.Append(whole)) return false;
    return decimals <= 0 || (format.Append(u'.') && format.AppendRun(u'0', static_cast<std::size_t>(decimals)));
}

// The currency symbol as a literal text, and the digits.
bool AppendMoney(WideText& format, i32 decimals) {
    return format.Append(u'"') && format.Append(WideView(Locale().currencySymbol)) && format.Append(u'"') &&
           AppendDigits(format, u"#,##0", decimals);
}

}  // namespace

void CallText(Value* arguments, Value& result, const EvalContext& context) {
    double value = 0;
    WideView format;
    const bool isText = IsPlainText(arguments[0], context);
    if ((!isText && !NumberArgument(arguments[0], result, context, value)) ||
        !TextArgument(arguments[1], result, context, format)) {
        return;
    }
    if (format.size() > MAX_FORMAT) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    if (!isText) return FormatInto(value, format, context, result);
    WideText out;
    result = FormatTextValue(TextOf(arguments[0]), format, out) ? TextValue(out) : ErrorValue(ERR_NA);
}

void CallFixed(Value* arguments, Value& result, const EvalContext& context) {
    double value = 0;
    i32 decimals = 0;
    bool plain = false;
    if (!RoundedArguments(arguments, result, context, value, decimals)) return;
    if (!IsMissing(arguments[2]) && !BoolArgument(arguments[2], result, context, plain)) return;
    WideText format;
    if (!AppendDigits(format, plain ? u"0" : u"#,##0", decimals)) {
        result = ErrorValue(ERR_NA);
        return;
    }
    FormatInto(value, format, context, result);
}

void CallDollar(Value* arguments, Value& result, const EvalContext& context) {
    double value = 0;
    i32 decimals = 0;
    if (!RoundedArguments(arguments, result, context, value, decimals)) return;
    WideText format;
    if (!AppendMoney(format, decimals) || !format.Append(u";(") || !AppendMoney(format, decimals) ||
        !format.Append(u')')) {
        result = ErrorValue(ERR_NA);
        return;
    }
    FormatInto(value, format, context, result);
}

}  // namespace tally
