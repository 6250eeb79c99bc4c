#include "functions/DateArguments.h"

#include "display/Calendar.h"
#include "model/BookTable.h"

namespace tally {

i32 SystemOffset(const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    return book && book->date1904 ? DATE_1904_OFFSET : 0;
}

bool DateArgument(Value& argument, Value& result, const EvalContext& context, i32& out) {
    if (!IntegerArgument(argument, result, context, out)) return false;
    if (!__builtin_add_overflow(out, SystemOffset(context), &out)) return true;
    result = ErrorValue(ERR_NUM);
    return false;
}

bool TwoDates(Value* arguments, Value& result, const EvalContext& context, i32& start, i32& end) {
    return DateArgument(arguments[0], result, context, start) &&
           DateArgument(arguments[1], result, context, end);
}

Value DateValue(double serial, const EvalContext& context) {
    return NumberValue(serial - SystemOffset(context));
}

}  // namespace tally
