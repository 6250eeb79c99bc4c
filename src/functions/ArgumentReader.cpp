#include "functions/ArgumentReader.h"

namespace tally {

double ArgumentReader::Number() {
    double out = 0;
    good = good && NumberArgument(arguments[next++], result, context, out);
    return out;
}

double ArgumentReader::NumberOr(double missing) {
    double out = missing;
    good = good && OptionalNumber(arguments[next++], result, context, missing, out);
    return out;
}

i32 ArgumentReader::Integer() {
    i32 out = 0;
    good = good && PositionArgument(arguments[next++], result, context, out);
    return out;
}

i32 ArgumentReader::IntegerOr(i32 missing) {
    i32 out = missing;
    good = good && OptionalPosition(arguments[next++], result, context, missing, out);
    return out;
}

i32 ArgumentReader::Date() {
    i32 out = 0;
    good = good && DateArgument(arguments[next++], result, context, out);
    return out;
}

WideView ArgumentReader::Text() {
    WideView out;
    good = good && TextArgument(arguments[next++], result, context, out);
    return out;
}

bool ArgumentReader::Done() {
    if (good && !inside) result = ErrorValue(ERR_NUM);
    return good && inside;
}

}  // namespace tally
