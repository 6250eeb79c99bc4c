#include <cmath>
#include <limits>

#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/SpecialFunctions.h"

// The continuous distributions and their inverses. An inverse of what is no share is none, and so no number
// here.

namespace tally {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double MAX_FREEDOM = 1e11;
constexpr double MAX_DENSITY_ALPHA = 171;

Value NumberOrError(double x) { return std::isfinite(x) ? NumberValue(x) : ErrorValue(ERR_NUM); }

// Reads `count` numbers in their order.
bool Numbers(Value* arguments, Value& result, const EvalContext& context, i32 count, double* out) {
    for (i32 i = 0; i < count; ++i) {
        if (!NumberArgument(arguments[i], result, context, out[i])) return false;
    }
    return true;
}

// Handlers of plain numbers: `work` gives NaN outside its domain.
template <i32 COUNT, typename Work>
void OfNumbers(Value* arguments, Value& result, const EvalContext& context, Work work) {
    double x[COUNT];
    if (Numbers(arguments, result, context, COUNT, x)) result = NumberOrError(work(x));
}

// The same with a flag behind three numbers or two: whether the share below is asked for.
template <i32 COUNT, typename Work>
void OfNumbersAndFlag(Value* arguments, Value& result, const EvalContext& context, Work work) {
    double x[COUNT];
    bool cumulative = false;
    if (!Numbers(arguments, result, context, COUNT, x)) return;
    if (BoolArgument(arguments[COUNT], result, context, cumulative))
        result = NumberOrError(work(x, cumulative));
}

bool IsFreedom(double freedom) { return freedom >= 1 && freedom < MAX_FREEDOM; }

// The optional bounds of a beta distribution behind three numbers; false with the error in `result`.
bool BetaArguments(Value* arguments, Value& result, const EvalContext& context, double* x) {
    if (!Numbers(arguments, result, context, 3, x)) return false;
    if (!OptionalNumber(arguments[3], result, context, 0, x[3])) return false;
    if (!OptionalNumber(arguments[4], result, context, 1, x[4])) return false;
    result = ErrorValue(ERR_NUM);
    return x[1] > 0 && x[2] > 0 && x[3] != x[4];
}

}  // namespace

void CallNormsdist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<1>(arguments, result, context, [](double* x) { return NormalCdf(x[0]); });
}
void CallNormsinv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<1>(arguments, result, context, [](double* x) { return NormalInverse(x[0]); });
}
void CallNormdist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbersAndFlag<3>(arguments, result, context, [](double* x, bool cumulative) {
        if (!(x[2] > 0)) return NOT_A_NUMBER;
        const double z = (x[0] - x[1]) / x[2];
        return cumulative ? NormalCdf(z) : std::exp(-0.5 * z * z) / (x[2] * 2.5066282746310002);
    });
}
void CallNorminv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context,
                 [](double* x) { return x[2] > 0 ? x[1] + x[2] * NormalInverse(x[0]) : NOT_A_NUMBER; });
}
void CallLognormdist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        return x[0] > 0 && x[2] > 0 ? NormalCdf((std::log(x[0]) - x[1]) / x[2]) : NOT_A_NUMBER;
    });
}
void CallLoginv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        return x[0] > 0 && x[2] > 0 ? std::exp(x[1] + x[2] * NormalInverse(x[0])) : NOT_A_NUMBER;
    });
}
void CallStandardize(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context,
                 [](double* x) { return x[2] > 0 ? (x[0] - x[1]) / x[2] : NOT_A_NUMBER; });
}
void CallConfidence(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        const double size = std::trunc(x[2]);
        if (!(x[0] > 0 && x[0] < 1 && x[1] > 0 && size >= 1)) return NOT_A_NUMBER;
        return -NormalInverse(x[0] / 2) * x[1] / std::sqrt(size);
    });
}
void CallFisher(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<1>(arguments, result, context, [](double* x) { return std::atanh(x[0]); });
}
void CallFisherinv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<1>(arguments, result, context, [](double* x) { return std::tanh(x[0]); });
}
void CallWeibull(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbersAndFlag<3>(arguments, result, context, [](double* x, bool cumulative) {
        if (!(x[0] >= 0 && x[1] > 0 && x[2] > 0)) return NOT_A_NUMBER;
        const double power = std::pow(x[0] / x[2], x[1]);
        if (cumulative) return -std::expm1(-power);
        return x[1] / x[2] * std::pow(x[0] / x[2], x[1] - 1) * std::exp(-power);
    });
}
void CallExpondist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbersAndFlag<2>(arguments, result, context, [](double* x, bool cumulative) {
        if (!(x[0] >= 0 && x[1] > 0)) return NOT_A_NUMBER;
        return cumulative ? -std::expm1(-x[0] * x[1]) : x[1] * std::exp(-x[0] * x[1]);
    });
}

void CallGammaln(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<1>(arguments, result, context,
                 [](double* x) { return x[0] > 0 ? LogGamma(x[0]) : NOT_A_NUMBER; });
}
void CallGammadist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbersAndFlag<3>(arguments, result, context, [](double* x, bool cumulative) {
        if (!(x[0] >= 0 && x[1] > 0 && x[2] > 0)) return NOT_A_NUMBER;
        if (!cumulative && x[1] >= MAX_DENSITY_ALPHA) return NOT_A_NUMBER;
        if (x[0] == 0) return 0.0;
        return cumulative ? IncompleteGammaP(x[0] / x[2], x[1]) : GammaPower(x[0] / x[2], x[1]) / x[0];
    });
}
void CallGammainv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        return x[1] > 0 && x[2] > 0 ? x[2] * InverseGammaP(x[0], x[1]) : NOT_A_NUMBER;
    });
}
void CallChidist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<2>(arguments, result, context, [](double* x) {
        const double freedom = std::floor(x[1]);
        return x[0] >= 0 && freedom >= 1 ? IncompleteGammaQ(x[0] / 2, freedom / 2) : NOT_A_NUMBER;
    });
}
void CallChiinv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<2>(arguments, result, context, [](double* x) {
        const double freedom = std::floor(x[1]);
        return IsFreedom(freedom) ? 2 * InverseChiHalf(freedom / 2, x[0]) : NOT_A_NUMBER;
    });
}

void CallBetadist(Value* arguments, Value& result, const EvalContext& context) {
    double x[5];
    if (!BetaArguments(arguments, result, context, x) || !(x[0] >= x[3] && x[0] <= x[4])) return;
    const double width = x[4] - x[3];
    result = NumberOrError(IncompleteBetaOf((x[0] - x[3]) / width, (x[4] - x[0]) / width, x[1], x[2]));
}
void CallBetainv(Value* arguments, Value& result, const EvalContext& context) {
    double x[5];
    if (!BetaArguments(arguments, result, context, x)) return;
    result = NumberOrError(x[3] + InverseBeta(x[0], x[1], x[2]) * (x[4] - x[3]));
}

void CallTdist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        const double freedom = std::trunc(x[1]), tails = std::trunc(x[2]);
        if (!(x[0] >= 0 && freedom >= 1 && (tails == 1 || tails == 2))) return NOT_A_NUMBER;
        return tails * StudentTail(x[0], freedom);
    });
}
void CallTinv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<2>(arguments, result, context, [](double* x) {
        const double freedom = std::trunc(x[1]);
        if (!IsFreedom(freedom)) return NOT_A_NUMBER;
        // The square over the freedom is the odds of a beta distribution.
        return std::sqrt(freedom * InverseBetaOdds(1 - x[0], x[0], 0.5, freedom / 2));
    });
}
void CallFdist(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        const double freedom1 = std::trunc(x[1]), freedom2 = std::trunc(x[2]);
        return x[0] >= 0 && freedom1 >= 1 && freedom2 >= 1 ? FisherTail(x[0], freedom1, freedom2)
                                                           : NOT_A_NUMBER;
    });
}
void CallFinv(Value* arguments, Value& result, const EvalContext& context) {
    OfNumbers<3>(arguments, result, context, [](double* x) {
        const double freedom1 = std::trunc(x[1]), freedom2 = std::trunc(x[2]);
        if (!(IsFreedom(freedom1) && IsFreedom(freedom2))) return NOT_A_NUMBER;
        return InverseBetaOdds(1 - x[0], x[0], freedom1 / 2, freedom2 / 2) * (freedom2 / freedom1);
    });
}

}  // namespace tally
