#include <algorithm>
#include <cmath>

#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/SpecialFunctions.h"

// The discrete distributions. Their sums are taken from the incomplete functions, which equal them, so
// that no number of trials costs more than another.

namespace tally {
namespace {

constexpr double MAX_TRIALS = 9007199254740992.0;  // above it whole numbers are no longer told apart
constexpr i32 MAX_HALVINGS = 64;

// Reads `count` numbers; those of the first `whole` are truncated.
bool Counts(Value* arguments, Value& result, const EvalContext& context, i32 count, i32 whole, double* out) {
    for (i32 i = 0; i < count; ++i) {
        if (!NumberArgument(arguments[i], result, context, out[i])) return false;
        if (i < whole) out[i] = std::trunc(out[i]);
    }
    result = ErrorValue(ERR_NUM);
    return true;
}

Value NumberOrError(double x) { return std::isfinite(x) ? NumberValue(x) : ErrorValue(ERR_NUM); }

// The probability of k successes in n trials.
double BinomialTerm(double k, double n, double p) {
    if (p == 0) return k == 0;
    if (p == 1) return k == n;
    if (k == 0) return std::exp(n * std::log1p(-p));
    if (k == n) return std::exp(n * std::log(p));
    return BetaPower(p, 1 - p, k, n - k) * n / (k * (n - k));
}

double BinomialSum(double k, double n, double p) {
    return k >= n ? 1 : IncompleteBetaOf(1 - p, p, n - k, k + 1);
}

// The probability of k of a kind in a sample of n out of a population that holds `kind` of them.
double HypergeometricTerm(double k, double n, double kind, double population) {
    const double p = n / population;
    return BinomialTerm(k, kind, p) * BinomialTerm(n - k, population - kind, p) /
           BinomialTerm(n, population, p);
}

}  // namespace

void CallBinomdist(Value* arguments, Value& result, const EvalContext& context) {
    double x[3];
    bool cumulative = false;
    if (!Counts(arguments, result, context, 3, 2, x)) return;
    if (!BoolArgument(arguments[3], result, context, cumulative)) return;
    result = ErrorValue(ERR_NUM);
    if (!(x[0] >= 0 && x[0] <= x[1] && x[1] <= MAX_TRIALS && x[2] >= 0 && x[2] <= 1)) return;
    result = NumberOrError(cumulative ? BinomialSum(x[0], x[1], x[2]) : BinomialTerm(x[0], x[1], x[2]));
}

void CallCritbinom(Value* arguments, Value& result, const EvalContext& context) {
    double x[3];
    if (!Counts(arguments, result, context, 3, 1, x)) return;
    if (!(x[0] >= 0 && x[0] <= MAX_TRIALS && x[1] >= 0 && x[1] <= 1 && x[2] >= 0 && x[2] <= 1)) return;
    // A sum that equals the wanted share but for its last digits reaches it.
    const double wanted = x[2] * (1 - 1e-14);
    double below = -1, reached = x[0];
    for (i32 i = 0; i < MAX_HALVINGS && reached - below > 1; ++i) {
        const double middle = std::floor((below + reached) / 2);
        const double sum = BinomialSum(middle, x[0], x[1]);
        if (std::isnan(sum)) return;
        (sum >= wanted ? reached : below) = middle;
    }
    result = NumberValue(reached);
}

void CallHypgeomdist(Value* arguments, Value& result, const EvalContext& context) {
    double x[4];
    if (!Counts(arguments, result, context, 4, 4, x)) return;
    const double k = x[0], n = x[1], kind = x[2], population = x[3];
    if (!(population > 0 && population <= MAX_TRIALS && n > 0 && n <= population && kind > 0 &&
          kind <= population))
        return;
    if (!(k >= std::max(0.0, n - population + kind) && k <= std::min(n, kind))) return;
    result = NumberOrError(HypergeometricTerm(k, n, kind, population));
}

void CallNegbinomdist(Value* arguments, Value& result, const EvalContext& context) {
    double x[3];
    if (!Counts(arguments, result, context, 3, 2, x)) return;
    const double trials = x[0] + x[1];
    if (!(x[0] >= 0 && x[1] >= 1 && trials <= MAX_TRIALS && x[2] >= 0 && x[2] <= 1)) return;
    result = NumberOrError(x[1] / trials * BinomialTerm(x[1], trials, x[2]));
}

void CallPoisson(Value* arguments, Value& result, const EvalContext& context) {
    double x[2];
    bool cumulative = false;
    if (!Counts(arguments, result, context, 2, 1, x)) return;
    if (!BoolArgument(arguments[2], result, context, cumulative)) return;
    result = ErrorValue(ERR_NUM);
    if (!(x[0] >= 0 && x[1] >= 0)) return;
    if (cumulative) {
        result = NumberOrError(IncompleteGammaQ(x[1], x[0] + 1));
    } else {
        result = NumberOrError(x[0] == 0 ? std::exp(-x[1]) : GammaPower(x[1], x[0]) / x[0]);
    }
}

void CallPermut(Value* arguments, Value& result, const EvalContext& context) {
    double x[2];
    if (!Counts(arguments, result, context, 2, 2, x)) return;
    if (!(x[0] > 0 && x[1] >= 0 && x[0] >= x[1])) return;
    double product = 1;
    // Ends early: at most some hundred factors fit into a number.
    for (double i = 0; i < x[1] && std::isfinite(product); i += 1) product *= x[0] - i;
    result = NumberOrError(product);
}

}  // namespace tally
