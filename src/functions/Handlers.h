#pragma once
// The handlers of the function table that are worked out, by the function's name, and the shared ones.

#include "formula/FormulaTypes.h"

namespace tally {

// The boolean FALSE, TRUE and "#N/A" whatever the arguments are.
void ReturnFalse(Value* arguments, Value& result, const EvalContext& context);
void ReturnTrue(Value* arguments, Value& result, const EvalContext& context);
void ReturnNA(Value* arguments, Value& result, const EvalContext& context);
// "#N/A": the functions that are still to be built.
void HandlerPending(Value* arguments, Value& result, const EvalContext& context);

void CallAbs(Value* arguments, Value& result, const EvalContext& context);
void CallAcos(Value* arguments, Value& result, const EvalContext& context);
void CallAcosh(Value* arguments, Value& result, const EvalContext& context);
void CallAnd(Value* arguments, Value& result, const EvalContext& context);
void CallAsin(Value* arguments, Value& result, const EvalContext& context);
void CallAsinh(Value* arguments, Value& result, const EvalContext& context);
void CallAtan(Value* arguments, Value& result, const EvalContext& context);
void CallAtan2(Value* arguments, Value& result, const EvalContext& context);
void CallAtanh(Value* arguments, Value& result, const EvalContext& context);
void CallAverage(Value* arguments, Value& result, const EvalContext& context);
void CallAveragea(Value* arguments, Value& result, const EvalContext& context);
void CallCeiling(Value* arguments, Value& result, const EvalContext& context);
void CallChar(Value* arguments, Value& result, const EvalContext& context);
void CallClean(Value* arguments, Value& result, const EvalContext& context);
void CallCode(Value* arguments, Value& result, const EvalContext& context);
void CallCombin(Value* arguments, Value& result, const EvalContext& context);
void CallConcatenate(Value* arguments, Value& result, const EvalContext& context);
void CallCos(Value* arguments, Value& result, const EvalContext& context);
void CallCosh(Value* arguments, Value& result, const EvalContext& context);
void CallCount(Value* arguments, Value& result, const EvalContext& context);
void CallCounta(Value* arguments, Value& result, const EvalContext& context);
void CallCountif(Value* arguments, Value& result, const EvalContext& context);
void CallDegrees(Value* arguments, Value& result, const EvalContext& context);
void CallDollar(Value* arguments, Value& result, const EvalContext& context);
void CallEven(Value* arguments, Value& result, const EvalContext& context);
void CallExact(Value* arguments, Value& result, const EvalContext& context);
void CallExp(Value* arguments, Value& result, const EvalContext& context);
void CallFact(Value* arguments, Value& result, const EvalContext& context);
void CallFactdouble(Value* arguments, Value& result, const EvalContext& context);
void CallFind(Value* arguments, Value& result, const EvalContext& context);
void CallFixed(Value* arguments, Value& result, const EvalContext& context);
void CallFloor(Value* arguments, Value& result, const EvalContext& context);
void CallGcd(Value* arguments, Value& result, const EvalContext& context);
void CallIf(Value* arguments, Value& result, const EvalContext& context);
void CallInt(Value* arguments, Value& result, const EvalContext& context);
void CallLcm(Value* arguments, Value& result, const EvalContext& context);
void CallLeft(Value* arguments, Value& result, const EvalContext& context);
void CallLen(Value* arguments, Value& result, const EvalContext& context);
void CallLn(Value* arguments, Value& result, const EvalContext& context);
void CallLog(Value* arguments, Value& result, const EvalContext& context);
void CallLog10(Value* arguments, Value& result, const EvalContext& context);
void CallLower(Value* arguments, Value& result, const EvalContext& context);
void CallMax(Value* arguments, Value& result, const EvalContext& context);
void CallMaxa(Value* arguments, Value& result, const EvalContext& context);
void CallMdeterm(Value* arguments, Value& result, const EvalContext& context);
void CallMid(Value* arguments, Value& result, const EvalContext& context);
void CallMin(Value* arguments, Value& result, const EvalContext& context);
void CallMina(Value* arguments, Value& result, const EvalContext& context);
void CallMinverse(Value* arguments, Value& result, const EvalContext& context);
void CallMmult(Value* arguments, Value& result, const EvalContext& context);
void CallMod(Value* arguments, Value& result, const EvalContext& context);
void CallMround(Value* arguments, Value& result, const EvalContext& context);
void CallMultinomial(Value* arguments, Value& result, const EvalContext& context);
void CallNot(Value* arguments, Value& result, const EvalContext& context);
void CallOdd(Value* arguments, Value& result, const EvalContext& context);
void CallOr(Value* arguments, Value& result, const EvalContext& context);
void CallPi(Value* arguments, Value& result, const EvalContext& context);
void CallPower(Value* arguments, Value& result, const EvalContext& context);
void CallProduct(Value* arguments, Value& result, const EvalContext& context);
void CallProper(Value* arguments, Value& result, const EvalContext& context);
void CallQuotient(Value* arguments, Value& result, const EvalContext& context);
void CallRadians(Value* arguments, Value& result, const EvalContext& context);
void CallRand(Value* arguments, Value& result, const EvalContext& context);
void CallRandbetween(Value* arguments, Value& result, const EvalContext& context);
void CallReplace(Value* arguments, Value& result, const EvalContext& context);
void CallRept(Value* arguments, Value& result, const EvalContext& context);
void CallRight(Value* arguments, Value& result, const EvalContext& context);
void CallRoman(Value* arguments, Value& result, const EvalContext& context);
void CallRound(Value* arguments, Value& result, const EvalContext& context);
void CallRounddown(Value* arguments, Value& result, const EvalContext& context);
void CallRoundup(Value* arguments, Value& result, const EvalContext& context);
void CallSearch(Value* arguments, Value& result, const EvalContext& context);
void CallSeriessum(Value* arguments, Value& result, const EvalContext& context);
void CallSign(Value* arguments, Value& result, const EvalContext& context);
void CallSin(Value* arguments, Value& result, const EvalContext& context);
void CallSinh(Value* arguments, Value& result, const EvalContext& context);
void CallSqrt(Value* arguments, Value& result, const EvalContext& context);
void CallSqrtpi(Value* arguments, Value& result, const EvalContext& context);
void CallStdev(Value* arguments, Value& result, const EvalContext& context);
void CallStdevp(Value* arguments, Value& result, const EvalContext& context);
void CallSubstitute(Value* arguments, Value& result, const EvalContext& context);
void CallSubtotal(Value* arguments, Value& result, const EvalContext& context);
void CallSum(Value* arguments, Value& result, const EvalContext& context);
void CallSumif(Value* arguments, Value& result, const EvalContext& context);
void CallSumproduct(Value* arguments, Value& result, const EvalContext& context);
void CallSumsq(Value* arguments, Value& result, const EvalContext& context);
void CallSumx2my2(Value* arguments, Value& result, const EvalContext& context);
void CallSumx2py2(Value* arguments, Value& result, const EvalContext& context);
void CallSumxmy2(Value* arguments, Value& result, const EvalContext& context);
void CallT(Value* arguments, Value& result, const EvalContext& context);
void CallTan(Value* arguments, Value& result, const EvalContext& context);
void CallTanh(Value* arguments, Value& result, const EvalContext& context);
void CallText(Value* arguments, Value& result, const EvalContext& context);
void CallTrim(Value* arguments, Value& result, const EvalContext& context);
void CallTrunc(Value* arguments, Value& result, const EvalContext& context);
void CallUpper(Value* arguments, Value& result, const EvalContext& context);
void CallValue(Value* arguments, Value& result, const EvalContext& context);
void CallVar(Value* arguments, Value& result, const EvalContext& context);
void CallVarp(Value* arguments, Value& result, const EvalContext& context);

}  // namespace tally
