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

// What is lost between two moments of a life. When `straight` is set a year takes its even share of what is
// left of the worth and of the life as soon as that is more. False when there are too many years.
bool SumYears(Declining asset, double life, double start, double end, bool straight, double& sum) {
    sum = 0;
    for (i32 year = 0; year < MAX_YEARS && year < end; ++year) {
        double amount = asset.Amount();
        if (straight) amount = std::fmax(amount, (asset.left - asset.salvage) / (life - year));
        if (amount == 0) return true;
        const double share = std::fmin(end, year + 1.0) - std::fmax(start, year);
        if (share > 0) sum += share * amount;
        asset.left -= amount;
    }
    return end <= MAX_YEARS;
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
    if (!(period >= 1 && period <= life)) {
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
    if (life == 0 || period < 1) {
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
    // Behind the years of life comes what the first one left of a year.
    result = NumberValue(period > life ? (cost - total) * (12.0 - month) * k / 12 : (cost - total) * k);
}

void CallDdb(Value* arguments, Value& result, const EvalContext& context) {
    double x[4] = {}, factor = 0;
    if (!Numbers(arguments, 4, result, context, x)) return;
    if (!OptionalNumber(arguments[4], result, context, 2, factor)) return;
    const double life = x[2], period = x[3];
    if (!(period >= 1 && period <= life)) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    Declining asset{x[1], factor / life, x[0]};
    asset.Pass(std::floor(period - 1));
    // A part of a year takes the same part of the decline, as long as that does not end.
    const double part = period - std::floor(period);
    if (part > 0) asset.left = std::fmax(asset.left * std::pow(1 - asset.part, part), asset.salvage);
    result = NumberValue(asset.Amount());
}

void CallVdb(Value* arguments, Value& result, const EvalContext& context) {
    double x[5] = {}, factor = 0;
    bool noSwitch = false;
    if (!Numbers(arguments, 5, result, context, x)) return;
    if (!OptionalNumber(arguments[5], result, context, 2, factor)) return;
    if (!OptionalBool(arguments[6], result, context, false, noSwitch)) return;
    const double cost = x[0], salvage = x[1], life = x[2], start = x[3], end = x[4];
    if (!(start >= 0 && start <= end && end <= life && life > 0)) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    double sum = 0;
    const bool done = SumYears({salvage, factor / life, cost}, life, start, end, !noSwitch, sum);
    result = done ? NumberValue(sum) : ErrorValue(ERR_NUM);
}

}  // namespace tally
