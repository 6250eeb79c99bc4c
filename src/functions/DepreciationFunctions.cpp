#include <cmath>

#include "display/NumberFormatter.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"

// How an asset loses its worth over the years.

namespace tally {
namespace {

// Years that are worked out one by one. What is behind them is taken in one step, or refused.
constexpr i32 MAX_YEARS = 100000;

bool Numbers(Value* arguments, i32 count, Value& result, const EvalContext& context, double* out) {
    for (i32 i = 0; i < count; ++i) {
        if (!NumberArgument(arguments[i], result, context, out[i])) return false;
    }
    return true;
}

// An asset that loses a fixed part of what is left every year, never below its salvage.
struct Declining {
    double salvage;
    double part;
    double left;  // what the asset is worth now

    // What the next year takes; negative when the asset is worth less than its salvage.
    double Amount() const {
        const double amount = left * part;
        return left - salvage < amount ? left - salvage : amount;
    }
    // Lets years pass. Ends early when nothing is lost any more.
    void Pass(double years) {
        for (i32 year = 0; year < MAX_YEARS; ++year) {
            if (year >= years) return;
            const double amount = Amount();
            if (amount == 0 || !std::isfinite(amount)) return;
            left -= amount;
        }
        if (years > MAX_YEARS) left = std::fmax(left * std::pow(1 - part, years - MAX_YEARS), salvage);
    }
};

// The sum of the amounts of the years first to last (counted from 1), each not below `straight`.
// False when there are too many.
bool SumYears(Declining asset, double first, double last, double straight, double& sum) {
    sum = 0;
    if (last < first) return true;
    asset.Pass(first - 1);
    for (i32 i = 0; i < MAX_YEARS; ++i) {
        if (first + i > last) return true;
        const double amount = asset.Amount();
        const double counted = amount <= straight ? straight : amount;
        if (amount == 0) {
            sum += counted * (last - (first + i) + 1);
            return true;
        }
        sum += counted;
        asset.left -= amount;
    }
    return first + MAX_YEARS > last;
}

}  // namespace

void CallSln(Value* arguments, Value& result, const EvalContext& context) {
    double x[3] = {};
    if (!Numbers(arguments, 3, result, context, x)) return;
    result = x[2] == 0 ? ErrorValue(ERR_DIV0) : NumberValue((x[0] - x[1]) / x[2]);
}

void CallSyd(Value* arguments, Value& result, const EvalContext& context) {
    double x[4] = {};
    if (!Numbers(arguments, 4, result, context, x)) return;
    const double life = x[2], period = x[3];
    if (!(life > 0 && period >= 1 && period <= life)) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    result = NumberValue((x[0] - x[1]) * (life - period + 1) * 2 / (life * (life + 1)));
}

void CallDb(Value* arguments, Value& result, const EvalContext& context) {
    double x[3] = {};
    i32 period = 0, month = 0;
    if (!Numbers(arguments, 3, result, context, x)) return;
    if (!IntegerArgument(arguments[3], result, context, period)) return;
    if (!OptionalInteger(arguments[4], result, context, 12, month)) return;
    const double cost = x[0], salvage = x[1], life = x[2];
    if (life == 0) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    const double k = RoundToInteger((1 - std::pow(salvage / cost, 1 / life)) * 1000) * 0.001;
    const double firstYear = month * k * cost / 12;
    if (period == 1) {
        result = NumberValue(firstYear);
        return;
    }
    double total = firstYear;
    for (i32 year = 2; year < period; ++year) {
        const double amount = (cost - total) * k;
        if (amount == 0 || !std::isfinite(amount)) break;
        if (year > MAX_YEARS) {
            total = cost - (cost - total) * std::pow(1 - k, period - year);
            break;
        }
        total += amount;
    }
    const bool last = period >= life && (period > life || month >= 12);
    result = NumberValue(last ? (cost - total) * (12.0 - month) * k / 12 : (cost - total) * k);
}

void CallDdb(Value* arguments, Value& result, const EvalContext& context) {
    double x[3] = {}, factor = 0;
    i32 period = 0;
    if (!Numbers(arguments, 3, result, context, x)) return;
    if (!IntegerArgument(arguments[3], result, context, period)) return;
    if (!OptionalNumber(arguments[4], result, context, 2, factor)) return;
    if (x[2] == 0) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    Declining asset{x[1], factor / x[2], x[0]};
    asset.Pass(period - 1.0);
    result = NumberValue(asset.Amount());
}

void CallVdb(Value* arguments, Value& result, const EvalContext& context) {
    double x[5] = {}, factor = 0;
    bool noSwitch = false;
    if (!Numbers(arguments, 5, result, context, x)) return;
    if (!OptionalNumber(arguments[5], result, context, 2, factor)) return;
    if (!OptionalBool(arguments[6], result, context, false, noSwitch)) return;
    const double cost = x[0], salvage = x[1], life = x[2], start = x[3], end = x[4];
    if (life == 0 || start > end || start < 0) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    if (start == end) {
        result = NumberValue(0);
        return;
    }
    const Declining asset{salvage, factor / life, cost};
    const double straight = noSwitch ? -INFINITY : (cost - salvage) / life;
    const double i = std::trunc(start), j = std::trunc(end);
    double first = 0, whole = 0, last = 0;
    bool done = SumYears(asset, i + 1, i + 1, straight, first) && SumYears(asset, j + 1, j + 1, straight, last);
    if (i == j) {
        result = NumberValue((end - start) * first);
        return;
    }
    done = done && SumYears(asset, i + 2, j, straight, whole);
    const double sum = (i + 1 - start) * first + whole + (end - j) * last;
    result = done ? NumberValue(sum) : ErrorValue(ERR_NUM);
}

}  // namespace tally
